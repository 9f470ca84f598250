// SPDX-License-Identifier: MIT

#include "api/UpdateMain.h"

#include "api/QuillonInit.h"
#include "api/UpdateInit.h"
#include "CvButton.h"
#include "tests/support/BoxAnswerer.h"
#include "tests/support/HttpServer.h"
#include "tests/support/IniText.h"
#include "tests/support/MetaMethods.h"
#include "tests/support/SystemPlaces.h"
#include "ui/ImageButton.h"
#include "ui/UpdateMainImpl.h"
#include "update/UpdateCommon/HintDisplay.h"
#include "update/UpdateCommon/ProgressDisplay.h"
#include "update/UpdateCommon/VersionDisplay.h"

#include <QApplication>
#include <QCloseEvent>
#include <QDir>
#include <QFile>
#include <QHBoxLayout>
#include <QPointer>
#include <QScopedPointer>
#include <QSignalSpy>
#include <QStackedWidget>
#include <QTemporaryDir>
#include <QTest>
#include <QWindow>

namespace
{

const QByteArray newerVersion =
    "<Update><ExeUrl_x64>http://127.0.0.1/Corvina9.exe</ExeUrl_x64>"
    "<WhatNews><Item><Version>9.2.0.0</Version><Text>faster</Text></Item>"
    "</WhatNews></Update>";
QByteArray gManifest(const QUrl &package)
{
    return "<Update><ExeUrl_x64>" + package.toEncoded() +
           "</ExeUrl_x64><WhatNews><Item><Version>9.2.0.0</Version><Text>faster</Text></Item>"
           "</WhatNews></Update>";
}

const QByteArray latestVersion = "<Update><ExeUrl_x64></ExeUrl_x64></Update>";

/// A host: records the dialog's signals, how often the dialog was closed, and whether the dialog
/// was visible at the first signal.
class Host : public QObject
{
public:
    explicit Host(UpdateMain *dialog)
        : m_dialog(dialog)
    {
        connect(dialog, &UpdateMain::BeginInstall, this, [this]() { Note("BeginInstall"); });
        connect(dialog, &UpdateMain::CancelInstall, this, [this]() { Note("CancelInstall"); });
        connect(dialog, &UpdateMain::InstallStarted, this, [this]() { Note("InstallStarted"); });
        connect(dialog, &UpdateMain::Close, this, [this]() { Note("Close"); });
        connect(dialog, &UpdateMain::RemindMeLater, this, [this]() { Note("RemindMeLater"); });
        dialog->installEventFilter(this);
    }

    bool eventFilter(QObject *object, QEvent *event) override
    {
        if (event->type() == QEvent::Close) {
            calls << "closed";
        }
        return QObject::eventFilter(object, event);
    }

    QStringList calls;
    bool visibleAtFirstSignal = false;

private:
    void Note(const QString &signal)
    {
        if (calls.isEmpty()) {
            visibleAtFirstSignal = m_dialog->isVisible();
        }
        calls << signal;
    }

    UpdateMain *m_dialog;
};

} // namespace

/// How a person closes the dialog.
enum class Way { TitleBar, Escape, System };
Q_DECLARE_METATYPE(Way)

class tst_UpdateMain : public QObject
{
    Q_OBJECT

private slots:
    void init();

    void a_fresh_dialog_is_570_by_250_frameless_modal_and_hidden();
    void it_is_a_shadow_dialog_whose_signals_stand_in_the_order_that_hosts_rely_on();
    void the_controller_fills_the_dialog_inside_the_shadow();
    void the_parent_is_optional_and_owns_the_dialog();
    void a_signal_reaches_the_host_before_the_dialog_closes_data();
    void a_signal_reaches_the_host_before_the_dialog_closes();
    void begin_install_leaves_the_dialog_open();
    void closing_does_not_delete_the_dialog();
    void the_dialog_takes_the_size_that_a_page_asks_for_data();
    void the_dialog_takes_the_size_that_a_page_asks_for();
    void a_drag_moves_the_dialog_and_keeps_its_size();
    void the_progress_pages_close_button_gives_close_and_closes_five_times();
    void the_title_bars_close_on_the_progress_page_gives_close_six_times();
    void the_title_bars_close_on_the_version_page_gives_close_once();
    void the_title_bars_close_behind_a_failure_ends_what_still_runs();
    void other_ways_to_close_are_the_title_bars_data();
    void other_ways_to_close_are_the_title_bars();
    void the_hosts_own_close_gives_no_signal();
    void the_host_may_delete_the_dialog_in_its_slot_for_close_data();
    void the_host_may_delete_the_dialog_in_its_slot_for_close();
    void the_hint_pages_close_button_gives_close_once();
    void remind_me_later_reaches_the_host_and_closes();
    void live_update_shows_the_dialog_and_puts_each_argument_behind_its_key();
    void the_dialog_is_visible_when_the_first_page_is_shown_data();
    void the_dialog_is_visible_when_the_first_page_is_shown();
    void live_update_without_arguments_sends_the_modules_own_values();
    void a_newer_version_leads_to_the_version_page_of_640_by_320();
    void the_latest_version_leads_to_the_hint_page_of_640_by_270();
    void a_later_address_does_not_reach_a_dialog_that_exists();
    void a_later_configuration_directory_does_not_reach_a_dialog_that_exists();
    void a_download_keeps_the_configuration_directory_of_its_dialog();
    void a_later_version_does_reach_the_dialog();
    void is_need_update_tells_whether_there_is_a_newer_version_data();
    void is_need_update_tells_whether_there_is_a_newer_version();
    void is_need_update_neither_shows_nor_changes_the_dialog();
    void install_without_an_agreed_package_does_nothing();

private:
    UpdateMainImpl *Content() const { return m_dialog->findChild<UpdateMainImpl *>(); }
    QWidget *CurrentPage() const
    {
        return m_dialog->findChild<QStackedWidget *>()->currentWidget();
    }
    template<typename Page>
    void Show() const
    {
        Content()->ShowPage(m_dialog->findChild<Page *>());
        m_dialog->show();
    }
    void PressTitleBarClose() const
    {
        QTest::mousePress(m_dialog->findChild<ImageButton *>("Quillon_TitleBar_CloseBtn"),
                          Qt::LeftButton);
    }
    void Close(Way way) const;
    /// The target of the last request to the service; empty before the first one.
    QByteArray AskedFor() const
    {
        return m_server->Requests().isEmpty() ? QByteArray() : m_server->Requests().last().target;
    }
    void WriteEmail(const QString &directory, const QByteArray &email) const;

    QScopedPointer<QTemporaryDir> m_directory;
    QScopedPointer<HttpServer> m_server;
    QScopedPointer<UpdateMain> m_dialog;
};

void tst_UpdateMain::init()
{
    m_dialog.reset();
    m_directory.reset(new QTemporaryDir);
    m_server.reset(new HttpServer);
    m_server->Serve("/check", HttpAnswer::Body(newerVersion));
    UpdateInit::SetUpdateUrl(m_server->Address("/check?pid=&version=&email="));
    UpdateInit::SetUpdateVersion("9.1.0.0");
    QuillonInit::SetConfigFileDir(m_directory->path());
    m_dialog.reset(new UpdateMain);
}

void tst_UpdateMain::Close(Way way) const
{
    switch (way) {
    case Way::TitleBar:
        PressTitleBarClose();
        break;
    case Way::Escape:
        QTest::keyPress(m_dialog.data(), Qt::Key_Escape);
        break;
    case Way::System:
        m_dialog->windowHandle()->close();
        break;
    }
}

void tst_UpdateMain::WriteEmail(const QString &directory, const QByteArray &email) const
{
    QFile file(directory + "/Corvina.ini");
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.write("[Quillon]\nEmail=" + email + "\n");
}

void tst_UpdateMain::a_fresh_dialog_is_570_by_250_frameless_modal_and_hidden()
{
    QCOMPARE(m_dialog->size(), QSize(570, 250));
    QVERIFY(m_dialog->windowFlags().testFlag(Qt::FramelessWindowHint));
    QVERIFY(m_dialog->isModal());
    QVERIFY(m_dialog->testAttribute(Qt::WA_StyledBackground));
    QVERIFY(!m_dialog->isVisible());
    m_dialog->show();
    QCOMPARE(m_dialog->size(), QSize(570, 250));
    QVERIFY(qobject_cast<ProgressDisplay *>(CurrentPage()));
}

void tst_UpdateMain::it_is_a_shadow_dialog_whose_signals_stand_in_the_order_that_hosts_rely_on()
{
    QCOMPARE(UpdateMain::staticMetaObject.superClass(), &ShadowDialog::staticMetaObject);
    QCOMPARE(gOwnMethods(UpdateMain::staticMetaObject, QMetaMethod::Signal),
             QByteArrayList({"BeginInstall()", "CancelInstall()", "InstallStarted()", "Close()",
                             "RemindMeLater()"}));
}

void tst_UpdateMain::the_controller_fills_the_dialog_inside_the_shadow()
{
    const int border = gGetSystemBorder();
    auto *layout = qobject_cast<QHBoxLayout *>(m_dialog->layout());
    QVERIFY(layout);
    QCOMPARE(layout->contentsMargins(), QMargins(border, border, border, border));
    QCOMPARE(layout->count(), 1);
    QCOMPARE(layout->itemAt(0)->widget(), Content());
    QCOMPARE(Content()->parentWidget(), m_dialog.data());
    m_dialog->show();
    QCOMPARE(Content()->geometry(), QRect(border, border, 570 - 2 * border, 250 - 2 * border));
}

void tst_UpdateMain::the_parent_is_optional_and_owns_the_dialog()
{
    QVERIFY(!m_dialog->parentWidget());
    QPointer<UpdateMain> dialog;
    QPointer<UpdateMainImpl> content;
    {
        QWidget parent;
        dialog = new UpdateMain(&parent);
        content = dialog->findChild<UpdateMainImpl *>();
        QCOMPARE(dialog->parentWidget(), &parent);
        QVERIFY(dialog->isWindow());
    }
    QVERIFY(dialog.isNull());
    QVERIFY(content.isNull());
}

void tst_UpdateMain::a_signal_reaches_the_host_before_the_dialog_closes_data()
{
    QTest::addColumn<QByteArray>("signal");
    for (const QByteArray signal : {"CancelInstall", "InstallStarted", "Close", "RemindMeLater"}) {
        QTest::newRow(signal.constData()) << signal;
    }
}

void tst_UpdateMain::a_signal_reaches_the_host_before_the_dialog_closes()
{
    QFETCH(QByteArray, signal);
    m_dialog->show();
    const Host host(m_dialog.data());
    QVERIFY(QMetaObject::invokeMethod(Content(), signal.constData()));
    QCOMPARE(host.calls, QStringList({QString::fromLatin1(signal), "closed"}));
    QVERIFY(host.visibleAtFirstSignal);
    QVERIFY(!m_dialog->isVisible());
}

void tst_UpdateMain::begin_install_leaves_the_dialog_open()
{
    m_dialog->show();
    const Host host(m_dialog.data());
    emit Content()->BeginInstall();
    QCOMPARE(host.calls, QStringList("BeginInstall"));
    QVERIFY(m_dialog->isVisible());
}

void tst_UpdateMain::closing_does_not_delete_the_dialog()
{
    auto *dialog = new UpdateMain;
    const QPointer<UpdateMain> watched(dialog);
    dialog->show();
    emit dialog->findChild<UpdateMainImpl *>()->Close();
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    QVERIFY(!watched.isNull());
    dialog->show();
    QVERIFY(dialog->isVisible());
    delete dialog;
}

void tst_UpdateMain::the_dialog_takes_the_size_that_a_page_asks_for_data()
{
    QTest::addColumn<QSize>("size");
    QTest::newRow("640_x_270") << QSize(640, 270);
    QTest::newRow("640_x_320") << QSize(640, 320);
}

void tst_UpdateMain::the_dialog_takes_the_size_that_a_page_asks_for()
{
    QFETCH(QSize, size);
    m_dialog->show();
    emit Content()->Resize(size);
    QCOMPARE(m_dialog->size(), size);
}

void tst_UpdateMain::a_drag_moves_the_dialog_and_keeps_its_size()
{
    m_dialog->show();
    m_dialog->setGeometry(100, 120, 640, 270);
    emit Content()->Move(7, -9);
    QCOMPARE(m_dialog->geometry(), QRect(107, 111, 640, 270));
    emit Content()->Move(-20, 4);
    QCOMPARE(m_dialog->geometry(), QRect(87, 115, 640, 270));
}

void tst_UpdateMain::the_progress_pages_close_button_gives_close_and_closes_five_times()
{
    Show<ProgressDisplay>();
    const Host host(m_dialog.data());
    m_dialog->findChild<ProgressDisplay *>()->findChild<CvButton *>()->click();
    QStringList expected;
    for (int handler = 0; handler < 5; ++handler) {
        expected << "Close"
                 << "closed";
    }
    QCOMPARE(host.calls, expected);
    QVERIFY(host.visibleAtFirstSignal);
    QVERIFY(!m_dialog->isVisible());
}

void tst_UpdateMain::the_title_bars_close_on_the_progress_page_gives_close_six_times()
{
    Show<ProgressDisplay>();
    const Host host(m_dialog.data());
    PressTitleBarClose();
    QCOMPARE(host.calls.count("Close"), 6);
    QCOMPARE(host.calls.count("closed"), 6);
    QVERIFY(host.visibleAtFirstSignal);
    QVERIFY(!m_dialog->isVisible());
}

void tst_UpdateMain::the_title_bars_close_on_the_version_page_gives_close_once()
{
    Show<VersionDisplay>();
    const Host host(m_dialog.data());
    PressTitleBarClose();
    QCOMPARE(host.calls, QStringList({"Close", "closed"}));
}

void tst_UpdateMain::the_title_bars_close_behind_a_failure_ends_what_still_runs()
{
    const SystemPlaces places(m_directory->path());
    m_server->Serve("/setup.exe",
                    HttpAnswer::Broken(QByteArray(50000, 'x'), HttpAnswer::Fault::StallAfter, 10));
    m_server->Serve("/check", HttpAnswer::Body(gManifest(m_server->Url("/setup.exe"))));
    m_dialog->LiveUpdate();
    QTRY_VERIFY(qobject_cast<VersionDisplay *>(CurrentPage()));
    emit m_dialog->findChild<VersionDisplay *>()->UpdateNow();
    // The check and five ranges. A connection whose request was not sent yet has no transfer to end, and
    // the network layer may keep it.
    QTRY_COMPARE(m_server->Requests("GET").size(), 6);
    Show<HintDisplay>();
    PressTitleBarClose();
    QTRY_VERIFY2(m_server->OpenConnections() <= 1, "that of the check may be kept for later");
}

void tst_UpdateMain::other_ways_to_close_are_the_title_bars_data()
{
    QTest::addColumn<Way>("way");
    QTest::newRow("its_button") << Way::TitleBar;
    QTest::newRow("escape") << Way::Escape;
    QTest::newRow("the_systems_like_alt_and_f4") << Way::System;
}

void tst_UpdateMain::other_ways_to_close_are_the_title_bars()
{
    QFETCH(Way, way);
    Show<ProgressDisplay>();
    const Host host(m_dialog.data());
    const QSignalSpy finished(m_dialog.data(), &QDialog::finished);
    const QSignalSpy rejected(m_dialog.data(), &QDialog::rejected);
    QList<bool> visible;
    connect(m_dialog.data(), &UpdateMain::Close, this,
            [this, &visible] { visible.append(m_dialog->isVisible()); });
    Close(way);
    QCOMPARE(host.calls.count("Close"), 6);
    QVERIFY(visible.first());
    QVERIFY(!m_dialog->isVisible());
    QCOMPARE(finished.count(), 1);
    QCOMPARE(finished.first().first().toInt(), int(QDialog::Rejected));
    QCOMPARE(rejected.count(), 1);
}

void tst_UpdateMain::the_hosts_own_close_gives_no_signal()
{
    Show<ProgressDisplay>();
    const Host host(m_dialog.data());
    const QSignalSpy finished(m_dialog.data(), &QDialog::finished);
    m_dialog->close();
    QCOMPARE(host.calls, QStringList("closed"));
    QCOMPARE(finished.count(), 1);
    QVERIFY(!m_dialog->isVisible());
}

void tst_UpdateMain::the_host_may_delete_the_dialog_in_its_slot_for_close_data()
{
    QTest::addColumn<Way>("way");
    QTest::newRow("behind_the_title_bars_button") << Way::TitleBar;
    QTest::newRow("behind_escape") << Way::Escape;
    QTest::newRow("behind_the_systems_close") << Way::System;
}

void tst_UpdateMain::the_host_may_delete_the_dialog_in_its_slot_for_close()
{
    QFETCH(Way, way);
    Show<ProgressDisplay>();
    connect(m_dialog.data(), &UpdateMain::Close, this, [this] { m_dialog.reset(); });
    Close(way);
    QVERIFY(!m_dialog);
}

void tst_UpdateMain::the_hint_pages_close_button_gives_close_once()
{
    Show<HintDisplay>();
    const Host host(m_dialog.data());
    m_dialog->findChild<HintDisplay *>()->findChild<CvButton *>()->click();
    QCOMPARE(host.calls, QStringList({"Close", "closed"}));
}

void tst_UpdateMain::remind_me_later_reaches_the_host_and_closes()
{
    Show<VersionDisplay>();
    const Host host(m_dialog.data());
    m_dialog->findChild<VersionDisplay *>()->findChildren<CvButton *>().last()->click();
    QCOMPARE(host.calls, QStringList({"RemindMeLater", "closed"}));
    QVERIFY(host.visibleAtFirstSignal);
}

void tst_UpdateMain::live_update_shows_the_dialog_and_puts_each_argument_behind_its_key()
{
    m_dialog->LiveUpdate("1", "2", "3");
    QVERIFY(m_dialog->isVisible());
    QVERIFY(qobject_cast<ProgressDisplay *>(CurrentPage()));
    QCOMPARE(m_dialog->size(), QSize(640, 270));
    QTRY_COMPARE(AskedFor(), QByteArray("/check?pid=1&version=2&email=3"));
}

void tst_UpdateMain::the_dialog_is_visible_when_the_first_page_is_shown_data()
{
    QTest::addColumn<bool>("hasArguments");
    QTest::newRow("with_the_hosts_values") << true;
    QTest::newRow("with_the_modules_own_values") << false;
}

void tst_UpdateMain::the_dialog_is_visible_when_the_first_page_is_shown()
{
    QFETCH(bool, hasArguments);
    QList<bool> visible;
    connect(Content(), &UpdateMainImpl::Resize, this,
            [this, &visible] { visible.append(m_dialog->isVisible()); });
    if (hasArguments) {
        m_dialog->LiveUpdate("1", "2", "3");
    } else {
        m_dialog->LiveUpdate();
    }
    QCOMPARE(visible, QList<bool>{true});
}

void tst_UpdateMain::live_update_without_arguments_sends_the_modules_own_values()
{
    WriteEmail(m_directory->path(), "user@corvina.example");
    m_dialog.reset(new UpdateMain);
    m_dialog->LiveUpdate();
    QVERIFY(m_dialog->isVisible());
    // There is no utility library beside this test, so the product identifier is empty.
    QTRY_COMPARE(AskedFor(), QByteArray("/check?pid=&version=9.1.0.0&email=user@corvina.example"));
}

void tst_UpdateMain::a_newer_version_leads_to_the_version_page_of_640_by_320()
{
    m_dialog->LiveUpdate("1", "2", "3");
    QTRY_VERIFY(qobject_cast<VersionDisplay *>(CurrentPage()));
    QCOMPARE(m_dialog->size(), QSize(640, 320));
}

void tst_UpdateMain::the_latest_version_leads_to_the_hint_page_of_640_by_270()
{
    m_server->Serve("/check", HttpAnswer::Body(latestVersion));
    m_dialog->LiveUpdate("1", "2", "3");
    QTRY_VERIFY(qobject_cast<HintDisplay *>(CurrentPage()));
    QCOMPARE(m_dialog->size(), QSize(640, 270));
}

void tst_UpdateMain::a_later_address_does_not_reach_a_dialog_that_exists()
{
    UpdateInit::SetUpdateUrl(m_server->Address("/later?pid=&version=&email="));
    m_dialog->LiveUpdate("1", "2", "3");
    QTRY_COMPARE(AskedFor(), QByteArray("/check?pid=1&version=2&email=3"));
    QVERIFY(m_dialog->IsNeedUpdate());
    QCOMPARE(AskedFor(), QByteArray("/check?pid=&version=9.1.0.0&email="));
}

void tst_UpdateMain::a_later_configuration_directory_does_not_reach_a_dialog_that_exists()
{
    const QTemporaryDir later;
    WriteEmail(m_directory->path(), "first@corvina.example");
    WriteEmail(later.path(), "later@corvina.example");
    m_dialog.reset(new UpdateMain);
    QuillonInit::SetConfigFileDir(later.path());
    m_dialog->LiveUpdate();
    QTRY_COMPARE(AskedFor(), QByteArray("/check?pid=&version=9.1.0.0&email=first@corvina.example"));
}

void tst_UpdateMain::a_download_keeps_the_configuration_directory_of_its_dialog()
{
    const SystemPlaces places(m_directory->path());
    const QTemporaryDir later;
    m_server->Serve("/setup.exe", HttpAnswer::Body(QByteArray(50000, 'x')));
    m_server->Serve("/check", HttpAnswer::Body(gManifest(m_server->Url("/setup.exe"))));
    BoxAnswerer answerer(BoxAnswerer::Press("CvMessageBox_CancelBtn"));
    m_dialog->LiveUpdate();
    QTRY_VERIFY(qobject_cast<VersionDisplay *>(CurrentPage()));
    QuillonInit::SetConfigFileDir(later.path());
    emit m_dialog->findChild<VersionDisplay *>()->UpdateNow();
    QTRY_COMPARE(answerer.Answered(), 1);
    QCOMPARE(QDir(later.path()).entryList(QDir::Files), QStringList());
    const auto state = gReadIniText(m_directory->filePath("CvBreakResumeDownLoad.ini"));
    QCOMPARE(state.value("DownLoad_Tasks/Start_Byte1"), QStringLiteral("10000"));
}

void tst_UpdateMain::a_later_version_does_reach_the_dialog()
{
    UpdateInit::SetUpdateVersion("9.1.0.1");
    m_dialog->LiveUpdate();
    QTRY_COMPARE(AskedFor(), QByteArray("/check?pid=&version=9.1.0.1&email="));
}

void tst_UpdateMain::is_need_update_tells_whether_there_is_a_newer_version_data()
{
    QTest::addColumn<QByteArray>("manifest");
    QTest::addColumn<int>("status");
    QTest::addColumn<bool>("needed");
    QTest::newRow("a_newer_version") << newerVersion << 200 << true;
    QTest::newRow("the_latest_version") << latestVersion << 200 << false;
    QTest::newRow("an_empty_answer") << QByteArray() << 200 << false;
    QTest::newRow("a_failure") << newerVersion << 404 << false;
}

void tst_UpdateMain::is_need_update_tells_whether_there_is_a_newer_version()
{
    QFETCH(QByteArray, manifest);
    QFETCH(int, status);
    HttpAnswer answer = HttpAnswer::Body(manifest);
    answer.status = status;
    m_server->Serve("/check", answer);
    QTEST(m_dialog->IsNeedUpdate(), "needed");
    QCOMPARE(m_server->Requests().size(), 1);
}

void tst_UpdateMain::is_need_update_neither_shows_nor_changes_the_dialog()
{
    const Host host(m_dialog.data());
    QVERIFY(m_dialog->IsNeedUpdate());
    QVERIFY(!m_dialog->isVisible());
    QCOMPARE(m_dialog->size(), QSize(570, 250));
    QVERIFY(qobject_cast<ProgressDisplay *>(CurrentPage()));
    QCOMPARE(host.calls, QStringList());
}

void tst_UpdateMain::install_without_an_agreed_package_does_nothing()
{
    m_dialog->show();
    const Host host(m_dialog.data());
    m_dialog->Install();
    QCOMPARE(host.calls, QStringList());
    QVERIFY(m_dialog->isVisible());
    QCOMPARE(m_server->Requests().size(), 0);
}

QTEST_MAIN(tst_UpdateMain)
#include "tst_UpdateMain.moc"
