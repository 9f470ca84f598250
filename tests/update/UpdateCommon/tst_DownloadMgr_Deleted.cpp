// SPDX-License-Identifier: MIT

#include "tests/support/SystemTraits.h"
#include "tests/support/TestBytes.h"
#include "tests/update/UpdateRig.h"
#include "update/base/BackgroundFlush.h"
#include "update/base/DownloadState.h"

#include <QThreadPool>
#include <QtTest>

#include <functional>

/// A host that deletes the dialog in any slot and at any moment. The tests compare little: a use of
/// a deleted object is found by the address sanitizer.
class tst_DownloadMgr_Deleted : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void in_a_slot_for_a_page_data();
    void in_a_slot_for_a_page();
    void in_a_slot_of_the_installation_data();
    void in_a_slot_of_the_installation();
    void while_the_question_is_asked();
    void while_a_kept_installer_is_offered();
    void while_the_size_is_asked_for();
    void within_a_chunk();
    void within_the_progress_of_a_redirect();
    void when_the_download_fails_data();
    void when_the_download_fails();
    void while_the_data_are_flushed();
    void while_a_range_waits_to_be_asked_for_again();

private:
    void DeleteOn(void (LiveUpdateMgr::*signal)());
    void Deleted() { QTRY_VERIFY(m_manager.isNull()); }
    /// Runs the event loop until connections and reports have ended, so that late events are
    /// handled.
    void Settle()
    {
        QTRY_COMPARE(m_rig->Server().OpenConnections(), 0);
        gSettleReports();
    }

    QByteArray m_package;
    std::unique_ptr<UpdateRig> m_rig;
    QPointer<LiveUpdateMgr> m_manager;
};

void tst_DownloadMgr_Deleted::init()
{
    m_rig = std::make_unique<UpdateRig>();
    m_manager = &m_rig->Build();
    m_package = gTestBytes(50000);
}

void tst_DownloadMgr_Deleted::cleanup()
{
    m_rig.reset();
}

void tst_DownloadMgr_Deleted::DeleteOn(void (LiveUpdateMgr::*signal)())
{
    connect(m_manager, signal, this, [this] { m_rig->Destroy(); });
}

void tst_DownloadMgr_Deleted::in_a_slot_for_a_page_data()
{
    QTest::addColumn<int>("at");
    QTest::addColumn<int>("status");
    QTest::newRow("while_the_version_is_checked") << 1 << 200;
    QTest::newRow("when_the_version_is_known") << 2 << 200;
    QTest::newRow("when_the_check_has_failed") << 2 << 404;
    QTest::newRow("when_the_size_is_asked_for") << 3 << 200;
    QTest::newRow("when_the_download_starts") << 4 << 200;
}

void tst_DownloadMgr_Deleted::in_a_slot_for_a_page()
{
    QFETCH(int, at);
    QFETCH(int, status);
    int pages = 0;
    connect(m_manager, &LiveUpdateMgr::SetCurrentWidget, this, [&] {
        if (++pages == at) {
            m_rig->Destroy();
        }
    });
    HttpAnswer check = HttpAnswer::Status(status);
    check.body = status == 200
                     ? UpdateRig::Manifest(m_rig->Server().Address("/files/setup.exe")).toUtf8()
                     : QByteArray();
    m_rig->Server().Serve("/check", check);
    m_rig->Server().Serve("/files/setup.exe", HttpAnswer::Body(m_package));
    m_manager->LiveUpdate();
    if (m_manager) {
        QTRY_VERIFY(m_manager.isNull() || pages == 2);
    }
    if (m_manager) {
        m_manager->UpdateNow();
    }
    Deleted();
    Settle();
}

void tst_DownloadMgr_Deleted::in_a_slot_of_the_installation_data()
{
    QTest::addColumn<int>("signal");
    QTest::addColumn<int>("answer");
    QTest::newRow("before_the_question") << 0 << int(UpdateRig::Answer::Cancel);
    QTest::newRow("when_it_is_put_off") << 1 << int(UpdateRig::Answer::Cancel);
    QTest::newRow("when_the_dialog_closes") << 2 << int(UpdateRig::Answer::Cancel);
    QTest::newRow("when_the_dialog_closes_to_install") << 2 << int(UpdateRig::Answer::Yes);
    QTest::newRow("when_the_installer_has_started") << 3 << int(UpdateRig::Answer::Yes);
}

void tst_DownloadMgr_Deleted::in_a_slot_of_the_installation()
{
    QFETCH(int, signal);
    QFETCH(int, answer);
    const QList<void (LiveUpdateMgr::*)()> all{&LiveUpdateMgr::BeginInstall,
                                               &LiveUpdateMgr::CancelInstall, &LiveUpdateMgr::Close,
                                               &LiveUpdateMgr::InstallStarted};
    DeleteOn(all.at(signal));
    m_rig->SetAnswer(UpdateRig::Answer(answer));
    m_package = "#!/bin/sh\nexit 0\n#" + m_package;
    m_rig->StartFullDownload(HttpAnswer::Body(m_package));
    Deleted();
    Settle();
}

void tst_DownloadMgr_Deleted::while_the_question_is_asked()
{
    // The timer fires in the event loop of the question, and so deletes the dialog while the box is
    // shown.
    connect(m_manager, &LiveUpdateMgr::BeginInstall, this,
            [this] { QTimer::singleShot(0, this, [this] { m_rig->Destroy(); }); });
    m_rig->StartFullDownload(HttpAnswer::Body(m_package));
    Deleted();
    Settle();
    QVERIFY(!QApplication::activeModalWidget());
}

void tst_DownloadMgr_Deleted::while_a_kept_installer_is_offered()
{
    QVERIFY(gWriteFile(m_rig->Path("kept.exe"), "an installer"));
    m_rig->WriteSetting("SetupFile", m_rig->Path("kept.exe"));
    m_manager = &m_rig->Build();
    QTimer::singleShot(0, this, [this] { m_rig->Destroy(); });
    m_manager->LiveUpdate();
    Deleted();
    Settle();
    QVERIFY(!QApplication::activeModalWidget());
}

void tst_DownloadMgr_Deleted::while_the_size_is_asked_for()
{
    QTimer::singleShot(50, this, [this] { m_rig->Destroy(); });
    m_rig->StartFullDownload(HttpAnswer::Broken({}, HttpAnswer::Fault::Silence));
    QVERIFY(m_manager.isNull());
    Settle();
    QVERIFY(!QFile::exists(m_rig->Target()));
}

void tst_DownloadMgr_Deleted::within_a_chunk()
{
    m_rig->StartFullDownload(HttpAnswer::Body(m_package));
    const QList<DownloadMgr *> downloaders = m_manager->findChildren<DownloadMgr *>();
    for (DownloadMgr *downloader : downloaders) {
        connect(downloader, &DownloadMgr::DownloadProgress, this, [this] { m_rig->Destroy(); });
    }
    Deleted();
    Settle();
}

void tst_DownloadMgr_Deleted::within_the_progress_of_a_redirect()
{
    m_rig->Server().Serve("/files/setup.exe", HttpAnswer::Body(m_package), "HEAD");
    m_rig->Server().Serve("/moved", HttpAnswer::Body(m_package));
    m_rig->StartFullDownload(HttpAnswer::Redirect("/moved"));
    const QList<DownloadMgr *> downloaders = m_manager->findChildren<DownloadMgr *>();
    for (DownloadMgr *downloader : downloaders) {
        connect(downloader, &DownloadMgr::DownloadProgress, this, [this] { m_rig->Destroy(); });
    }
    Deleted();
    Settle();
}

void tst_DownloadMgr_Deleted::when_the_download_fails_data()
{
    QTest::addColumn<int>("how");
    QTest::newRow("by_a_status") << 0;
    QTest::newRow("by_a_refused_answer") << 1;
    QTest::newRow("by_a_target_that_cannot_be_opened") << 2;
    QTest::newRow("by_a_target_that_vanishes") << 3;
    QTest::newRow("by_stalls") << 4;
    QTest::newRow("by_cuts") << 5;
    QTest::newRow("by_too_many_redirects") << 6;
}

void tst_DownloadMgr_Deleted::when_the_download_fails()
{
    QFETCH(int, how);
    if (how == 3 && !gRemovesOpenFiles()) {
        QSKIP("On this system a file that is open does not vanish.");
    }
    if (how == 5 && !gTellsOfEarlyResets()) {
        QSKIP("This system does not tell of a reset before the first byte.");
    }
    HttpAnswer whole = HttpAnswer::Body(m_package);
    whole.ranges = false;
    HttpAnswer slow = HttpAnswer::Body(m_package);
    slow.delayMs = 100;
    const QList<HttpAnswer> answers{HttpAnswer::Status(404),
                                    whole,
                                    HttpAnswer::Body(m_package),
                                    slow,
                                    HttpAnswer::Broken({}, HttpAnswer::Fault::Silence),
                                    HttpAnswer::Broken({}, HttpAnswer::Fault::ResetAtOnce),
                                    HttpAnswer::Redirect("/files/setup.exe")};
    m_rig->System().stallLimit = std::chrono::milliseconds(50);
    m_rig->System().callLater = [](std::chrono::milliseconds, QObject *context,
                                   const std::function<void()> &action) {
        QTimer::singleShot(0, context, action);
    };
    m_manager = &m_rig->Build();
    connect(m_manager, &LiveUpdateMgr::SetCurrentWidget, this, [this](QWidget *page) {
        if (page == &m_rig->Hint()) {
            m_rig->Destroy();
        }
    });
    if (how == 2) {
        QVERIFY(QDir().mkpath(m_rig->Target() + "/in the way"));
    }
    m_rig->Server().Serve("/files/setup.exe", HttpAnswer::Body(m_package), "HEAD");
    m_rig->StartFullDownload(answers.at(how));
    if (how == 3) {
        QVERIFY(QFile::remove(m_rig->Target()));
    }
    Deleted();
    Settle();
}

void tst_DownloadMgr_Deleted::while_the_data_are_flushed()
{
    QSemaphore mayFlush;
    std::atomic<int> flushes{0};
    m_rig->System().flush = [&](const QString &) {
        ++flushes;
        mayFlush.acquire();
        return FlushResult::Flushed;
    };
    m_manager = &m_rig->Build();
    m_rig->StartFullDownload(HttpAnswer::Body(m_package));
    QTRY_VERIFY(flushes >= 1);
    m_rig->Destroy();
    mayFlush.release(10);
    QVERIFY(gFlushPool()->waitForDone(10000));
    Settle();
    QVERIFY2(!QFile::exists(m_rig->Installer()), "the next plan puts it in place");
    m_rig->System().flush = gFlushToDisk;
    m_rig->StartFullDownload(HttpAnswer::Body(m_package));
    QTRY_COMPARE(m_rig->Boxes(), 1);
    QVERIFY(gReadFile(m_rig->Installer()) == m_package);
}

void tst_DownloadMgr_Deleted::while_a_range_waits_to_be_asked_for_again()
{
    std::function<void()> late;
    m_rig->System().callLater = [&late](std::chrono::milliseconds, QObject *context,
                                        const std::function<void()> &action) {
        late = [guard = QPointer<QObject>(context), action] {
            if (guard) {
                action();
            }
        };
    };
    m_manager = &m_rig->Build();
    m_rig->StartFullDownload(HttpAnswer::Broken(m_package, HttpAnswer::Fault::CloseAfter, 100));
    QTRY_VERIFY(late);
    m_rig->Destroy();
    late();
    Settle();
}

QTEST_MAIN(tst_DownloadMgr_Deleted)
#include "tst_DownloadMgr_Deleted.moc"
