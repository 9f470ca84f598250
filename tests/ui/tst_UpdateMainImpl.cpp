// SPDX-License-Identifier: MIT

#include "ui/UpdateMainImpl.h"

#include "api/QuillonInit.h"
#include "ResourcePath.h"
#include "tests/support/FakeTranslator.h"
#include "tests/support/MetaMethods.h"
#include "ui/ImageButton.h"
#include "ui/TitleBar.h"
#include "update/LiveUpdateMgr.h"
#include "update/UpdateCommon/HintDisplay.h"
#include "update/UpdateCommon/ProgressDisplay.h"
#include "update/UpdateCommon/VersionDisplay.h"

#include <QLabel>
#include <QSignalSpy>
#include <QStackedWidget>
#include <QTemporaryDir>
#include <QTest>

#include <array>
#include <memory>
#include <new>

namespace
{

constexpr QSize pageSize(640, 270);
constexpr QSize versionPageSize(640, 320);

QString gCaptionText(const QWidget &content)
{
    return content.findChild<QLabel *>("Quillon_TitleBar_CaptionLabel")->text();
}

} // namespace

class tst_UpdateMainImpl : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void cleanup();

    void it_is_a_ur_base_widget_without_slots();
    void its_signals_stand_in_the_order_that_the_dialog_relies_on();
    void its_style_sheet_background_is_painted();
    void title_bar_stack_and_manager_are_created_in_this_order();
    void the_stack_holds_progress_version_and_hint_page();
    void the_progress_page_is_current_before_any_switch();
    void no_size_is_asked_for_during_construction();
    void it_wears_the_style_sheet_of_the_resources();
    void the_caption_is_live_update();
    void the_caption_follows_the_language();
    void the_layout_fills_the_content_data();
    void the_layout_fills_the_content();
    void the_layout_follows_a_later_resize();
    void show_page_makes_the_page_current_and_asks_for_its_size_data();
    void show_page_makes_the_page_current_and_asks_for_its_size();
    void the_size_is_asked_for_between_the_switch_and_the_show();
    void the_managers_page_switch_shows_the_page_data();
    void the_managers_page_switch_shows_the_page();
    void the_managers_outcome_signals_are_relayed_once_data();
    void the_managers_outcome_signals_are_relayed_once();
    void drag_offsets_of_the_title_bar_pass_through();
    void the_title_bars_close_button_emits_close_once_on_a_quiet_page_data();
    void the_title_bars_close_button_emits_close_once_on_a_quiet_page();
    void the_title_bars_close_button_closes_the_progress_page_too();
    void a_content_that_is_deleted_in_the_slot_for_close_closes_no_page();
    void a_page_switch_in_the_slot_for_close_does_not_change_what_is_closed_data();
    void a_page_switch_in_the_slot_for_close_does_not_change_what_is_closed();
    void the_progress_pages_own_close_emits_close_five_times();
    void the_hint_pages_close_emits_close_once();
    void the_version_pages_remind_button_emits_remind_me_later();

private:
    QWidget *PageAt(int index) const { return Stack()->widget(index); }
    QStackedWidget *Stack() const;
    TitleBar *Bar() const;
    LiveUpdateMgr *Manager() const;
    ImageButton *CloseButton() const;

    QTemporaryDir m_directory;
    UpdateMainImpl *m_content = nullptr;
};

QStackedWidget *tst_UpdateMainImpl::Stack() const
{
    return m_content->findChild<QStackedWidget *>(QString(), Qt::FindDirectChildrenOnly);
}

TitleBar *tst_UpdateMainImpl::Bar() const
{
    return m_content->findChild<TitleBar *>(QString(), Qt::FindDirectChildrenOnly);
}

LiveUpdateMgr *tst_UpdateMainImpl::Manager() const
{
    return m_content->findChild<LiveUpdateMgr *>(QString(), Qt::FindDirectChildrenOnly);
}

ImageButton *tst_UpdateMainImpl::CloseButton() const
{
    return m_content->findChild<ImageButton *>("Quillon_TitleBar_CloseBtn");
}

void tst_UpdateMainImpl::initTestCase()
{
    QVERIFY(m_directory.isValid());
    QuillonInit::SetConfigFileDir(m_directory.path());
}

void tst_UpdateMainImpl::init()
{
    m_content = new UpdateMainImpl(nullptr);
}

void tst_UpdateMainImpl::cleanup()
{
    delete m_content;
    m_content = nullptr;
}

void tst_UpdateMainImpl::it_is_a_ur_base_widget_without_slots()
{
    QCOMPARE(UpdateMainImpl::staticMetaObject.superClass(), &URBaseWidget::staticMetaObject);
    QCOMPARE(gOwnMethods(UpdateMainImpl::staticMetaObject, QMetaMethod::Slot), QByteArrayList());
}

void tst_UpdateMainImpl::its_signals_stand_in_the_order_that_the_dialog_relies_on()
{
    QCOMPARE(gOwnMethods(UpdateMainImpl::staticMetaObject, QMetaMethod::Signal),
             QByteArrayList({"Close()", "BeginInstall()", "CancelInstall()", "InstallStarted()",
                             "RemindMeLater()", "Move(int,int)", "Resize(QSize)"}));
}

void tst_UpdateMainImpl::its_style_sheet_background_is_painted()
{
    QVERIFY(m_content->testAttribute(Qt::WA_StyledBackground));
}

void tst_UpdateMainImpl::title_bar_stack_and_manager_are_created_in_this_order()
{
    QVERIFY(Bar() && Stack() && Manager());
    QCOMPARE(m_content->children(), QObjectList({Bar(), Stack(), Manager()}));
}

void tst_UpdateMainImpl::the_stack_holds_progress_version_and_hint_page()
{
    QCOMPARE(Stack()->count(), 3);
    QVERIFY(qobject_cast<ProgressDisplay *>(PageAt(0)));
    QVERIFY(qobject_cast<VersionDisplay *>(PageAt(1)));
    QVERIFY(qobject_cast<HintDisplay *>(PageAt(2)));
}

void tst_UpdateMainImpl::the_progress_page_is_current_before_any_switch()
{
    QCOMPARE(Stack()->currentIndex(), 0);
}

void tst_UpdateMainImpl::no_size_is_asked_for_during_construction()
{
    QWidget parent;
    parent.resize(570, 250);
    auto *content = new UpdateMainImpl(&parent);
    QSignalSpy resize(content, &UpdateMainImpl::Resize);
    parent.show();
    QCoreApplication::processEvents();
    QCOMPARE(resize.count(), 0);
    QCOMPARE(content->parentWidget(), &parent);
}

void tst_UpdateMainImpl::it_wears_the_style_sheet_of_the_resources()
{
    const QString path = gGetResourcePathWithPixelRatio(":/Quillon/Resources/Quillon.qss");
    QVERIFY(!QuillonInit::gGetStyleSheet(path).isEmpty());
    QCOMPARE(m_content->styleSheet(), QuillonInit::gGetStyleSheet(path));
}

void tst_UpdateMainImpl::the_caption_is_live_update()
{
    QCOMPARE(gCaptionText(*m_content), QString("Live Update"));
}

void tst_UpdateMainImpl::the_caption_follows_the_language()
{
    {
        FakeTranslator translator;
        translator.Add("UpdateMainImpl", "Live Update", "Aktualisierung");
        QVERIFY(QCoreApplication::installTranslator(&translator));
        QTRY_COMPARE(gCaptionText(*m_content), QString("Aktualisierung"));
        UpdateMainImpl constructedInThatLanguage(nullptr);
        QCOMPARE(gCaptionText(constructedInThatLanguage), QString("Aktualisierung"));
    }
    QTRY_COMPARE(gCaptionText(*m_content), QString("Live Update"));
}

void tst_UpdateMainImpl::the_layout_fills_the_content_data()
{
    QTest::addColumn<QSize>("size");
    QTest::addColumn<QRect>("titleBar");
    QTest::addColumn<QRect>("stack");
    QTest::newRow("640_x_270") << pageSize << QRect(1, 1, 638, 30) << QRect(1, 31, 638, 239);
    QTest::newRow("640_x_320") << versionPageSize << QRect(1, 1, 638, 30) << QRect(1, 31, 638, 289);
    QTest::newRow("570_x_250") << QSize(570, 250) << QRect(1, 1, 568, 30) << QRect(1, 31, 568, 219);
}

void tst_UpdateMainImpl::the_layout_fills_the_content()
{
    QFETCH(QSize, size);
    QWidget window;
    m_content->setParent(&window);
    m_content->resize(size);
    window.show();
    QTEST(Bar()->geometry(), "titleBar");
    QTEST(Stack()->geometry(), "stack");
    m_content->setParent(nullptr);
}

void tst_UpdateMainImpl::the_layout_follows_a_later_resize()
{
    QWidget window;
    m_content->setParent(&window);
    m_content->resize(versionPageSize);
    window.show();
    m_content->resize(pageSize);
    QCOMPARE(Bar()->geometry(), QRect(1, 1, 638, 30));
    QCOMPARE(Stack()->geometry(), QRect(1, 31, 638, 239));
    m_content->setParent(nullptr);
}

void tst_UpdateMainImpl::show_page_makes_the_page_current_and_asks_for_its_size_data()
{
    QTest::addColumn<int>("page");
    QTest::addColumn<QSize>("size");
    QTest::newRow("the_progress_page_takes_640_x_270") << 0 << pageSize;
    QTest::newRow("the_version_page_takes_640_x_320") << 1 << versionPageSize;
    QTest::newRow("the_hint_page_takes_640_x_270") << 2 << pageSize;
}

void tst_UpdateMainImpl::show_page_makes_the_page_current_and_asks_for_its_size()
{
    QFETCH(int, page);
    QFETCH(QSize, size);
    QSignalSpy resize(m_content, &UpdateMainImpl::Resize);
    m_content->ShowPage(PageAt(page));
    QCOMPARE(Stack()->currentIndex(), page);
    QVERIFY(PageAt(page)->isVisibleTo(m_content));
    QCOMPARE(resize, QList<QVariantList>({{size}}));
}

void tst_UpdateMainImpl::the_size_is_asked_for_between_the_switch_and_the_show()
{
    // The stack does not show its current page again. So a hidden current page becomes visible by
    // ShowPage alone, and it must still be hidden at Resize.
    m_content->ShowPage(PageAt(2));
    PageAt(2)->hide();
    bool currentAtResize = false;
    bool hiddenAtResize = false;
    connect(m_content, &UpdateMainImpl::Resize, this, [&]() {
        currentAtResize = Stack()->currentIndex() == 2;
        hiddenAtResize = PageAt(2)->isHidden();
    });
    m_content->ShowPage(PageAt(2));
    QVERIFY(currentAtResize);
    QVERIFY(hiddenAtResize);
    QVERIFY(!PageAt(2)->isHidden());

    PageAt(1)->hide();
    connect(m_content, &UpdateMainImpl::Resize, this,
            [&]() { currentAtResize = Stack()->currentIndex() == 1; });
    m_content->ShowPage(PageAt(1));
    QVERIFY(currentAtResize);
}

void tst_UpdateMainImpl::the_managers_page_switch_shows_the_page_data()
{
    show_page_makes_the_page_current_and_asks_for_its_size_data();
}

void tst_UpdateMainImpl::the_managers_page_switch_shows_the_page()
{
    QFETCH(int, page);
    QFETCH(QSize, size);
    QSignalSpy resize(m_content, &UpdateMainImpl::Resize);
    emit Manager()->SetCurrentWidget(PageAt(page));
    QCOMPARE(Stack()->currentIndex(), page);
    QCOMPARE(resize, QList<QVariantList>({{size}}));
}

void tst_UpdateMainImpl::the_managers_outcome_signals_are_relayed_once_data()
{
    QTest::addColumn<QByteArray>("name");
    for (const QByteArray name :
         {"Close", "RemindMeLater", "BeginInstall", "InstallStarted", "CancelInstall"}) {
        QTest::newRow(name.constData()) << name;
    }
}

void tst_UpdateMainImpl::the_managers_outcome_signals_are_relayed_once()
{
    QFETCH(QByteArray, name);
    QStringList emitted;
    connect(m_content, &UpdateMainImpl::Close, this, [&]() { emitted << "Close"; });
    connect(m_content, &UpdateMainImpl::RemindMeLater, this, [&]() { emitted << "RemindMeLater"; });
    connect(m_content, &UpdateMainImpl::BeginInstall, this, [&]() { emitted << "BeginInstall"; });
    connect(m_content, &UpdateMainImpl::InstallStarted, this,
            [&]() { emitted << "InstallStarted"; });
    connect(m_content, &UpdateMainImpl::CancelInstall, this, [&]() { emitted << "CancelInstall"; });
    QVERIFY(QMetaObject::invokeMethod(Manager(), name.constData()));
    QCOMPARE(emitted, QStringList(QString::fromLatin1(name)));
}

void tst_UpdateMainImpl::drag_offsets_of_the_title_bar_pass_through()
{
    QSignalSpy move(m_content, &UpdateMainImpl::Move);
    emit Bar()->Move(-17, 23);
    QCOMPARE(move, QList<QVariantList>({{-17, 23}}));
}

void tst_UpdateMainImpl::the_title_bars_close_button_emits_close_once_on_a_quiet_page_data()
{
    QTest::addColumn<int>("page");
    QTest::newRow("the_version_page") << 1;
    QTest::newRow("the_hint_page") << 2;
}

void tst_UpdateMainImpl::the_title_bars_close_button_emits_close_once_on_a_quiet_page()
{
    QFETCH(int, page);
    m_content->ShowPage(PageAt(page));
    QSignalSpy close(m_content, &UpdateMainImpl::Close);
    QSignalSpy progressClose(qobject_cast<ProgressDisplay *>(PageAt(0)), &ProgressDisplay::Close);
    QTest::mousePress(CloseButton(), Qt::LeftButton);
    QCOMPARE(close.count(), 1);
    QCOMPARE(progressClose.count(), 0);
}

void tst_UpdateMainImpl::the_title_bars_close_button_closes_the_progress_page_too()
{
    QStringList emitted;
    connect(m_content, &UpdateMainImpl::Close, this, [&]() { emitted << "Close"; });
    connect(qobject_cast<ProgressDisplay *>(PageAt(0)), &ProgressDisplay::Close, this,
            [&]() { emitted << "the progress page's Close"; });
    QTest::mousePress(CloseButton(), Qt::LeftButton);
    QCOMPARE(emitted.count("Close"), 6);
    QCOMPARE(emitted.count("the progress page's Close"), 1);
    // First the title bar's own Close, then one for each of the page's five handlers.
    QCOMPARE(emitted.first(), QString("Close"));
    QCOMPARE(emitted.last(), QString("the progress page's Close"));
}

void tst_UpdateMainImpl::a_content_that_is_deleted_in_the_slot_for_close_closes_no_page()
{
    // The memory is not given back, and the page outlives the content: what is done with either behind
    // the deletion can be seen.
    alignas(UpdateMainImpl) static std::array<char, sizeof(UpdateMainImpl)> memory;
    auto *content = new (memory.data()) UpdateMainImpl(nullptr);
    const std::unique_ptr<QWidget> page(content->findChild<ProgressDisplay *>());
    const QSignalSpy closed(static_cast<ProgressDisplay *>(page.get()), &ProgressDisplay::Close);
    bool isDeleted = false;
    connect(content, &UpdateMainImpl::Close, this, [content, &page, &isDeleted] {
        page->setParent(nullptr);
        content->~UpdateMainImpl();
        isDeleted = true;
    });
    emit content->findChild<TitleBar *>()->Close();
    QVERIFY(isDeleted);
    QCOMPARE(closed.count(), 0);
}

void tst_UpdateMainImpl::a_page_switch_in_the_slot_for_close_does_not_change_what_is_closed_data()
{
    QTest::addColumn<int>("closed");
    QTest::addColumn<int>("shown");
    QTest::addColumn<int>("count");
    QTest::newRow("the_progress_page") << 0 << 1 << 6;
    QTest::newRow("the_version_page") << 1 << 0 << 1;
    QTest::newRow("the_hint_page") << 2 << 0 << 1;
}

void tst_UpdateMainImpl::a_page_switch_in_the_slot_for_close_does_not_change_what_is_closed()
{
    QFETCH(int, closed);
    QFETCH(int, shown);
    m_content->ShowPage(PageAt(closed));
    const QSignalSpy close(m_content, &UpdateMainImpl::Close);
    connect(m_content, &UpdateMainImpl::Close, this,
            [this, shown] { m_content->ShowPage(PageAt(shown)); });
    emit Bar()->Close();
    QTEST(close.count(), "count");
}

void tst_UpdateMainImpl::the_progress_pages_own_close_emits_close_five_times()
{
    QSignalSpy close(m_content, &UpdateMainImpl::Close);
    emit qobject_cast<ProgressDisplay *>(PageAt(0))->Close();
    QCOMPARE(close.count(), 5);
}

void tst_UpdateMainImpl::the_hint_pages_close_emits_close_once()
{
    QSignalSpy close(m_content, &UpdateMainImpl::Close);
    emit qobject_cast<HintDisplay *>(PageAt(2))->Close();
    QCOMPARE(close.count(), 1);
}

void tst_UpdateMainImpl::the_version_pages_remind_button_emits_remind_me_later()
{
    QSignalSpy remind(m_content, &UpdateMainImpl::RemindMeLater);
    QSignalSpy close(m_content, &UpdateMainImpl::Close);
    emit qobject_cast<VersionDisplay *>(PageAt(1))->RemindMeLater();
    QCOMPARE(remind.count(), 1);
    QCOMPARE(close.count(), 0);
}

QTEST_MAIN(tst_UpdateMainImpl)
#include "tst_UpdateMainImpl.moc"
