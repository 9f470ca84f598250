// SPDX-License-Identifier: MIT

#include "ui/TitleBar.h"

#include "tests/support/FakeTranslator.h"
#include "tests/support/MetaMethods.h"
#include "ui/ImageButton.h"

#include <QGuiApplication>
#include <QLabel>
#include <QMouseEvent>
#include <QScreen>
#include <QSignalSpy>
#include <QTest>

namespace
{

constexpr QPoint pressedAt(10, 12);

QLabel *gCaptionLabel(const TitleBar &bar)
{
    return bar.findChild<QLabel *>("Quillon_TitleBar_CaptionLabel", Qt::FindDirectChildrenOnly);
}

ImageButton *gCloseButton(const TitleBar &bar)
{
    return bar.findChild<ImageButton *>("Quillon_TitleBar_CloseBtn", Qt::FindDirectChildrenOnly);
}

void gPressAt(TitleBar &bar, const QPoint &position, Qt::MouseButton button = Qt::LeftButton)
{
    QMouseEvent event(QEvent::MouseButtonPress, position, bar.mapToGlobal(position), button, button,
                      Qt::NoModifier);
    QCoreApplication::sendEvent(&bar, &event);
}

void gDragTo(TitleBar &bar, const QPoint &position)
{
    QMouseEvent event(QEvent::MouseMove, position, bar.mapToGlobal(position), Qt::NoButton,
                      Qt::LeftButton, Qt::NoModifier);
    QCoreApplication::sendEvent(&bar, &event);
}

/// One row above the bottom row of the primary screen's available area.
int gLowestDragRow()
{
    return QGuiApplication::primaryScreen()->availableGeometry().bottom() - 1;
}

/// A frameless window with a title bar where the update dialog has it.
class DragWindow : public QWidget
{
public:
    DragWindow()
        : QWidget(nullptr, Qt::FramelessWindowHint)
        , bar(new TitleBar(this))
    {
        setGeometry(100, 200, 400, 300);
        bar->setGeometry(1, 1, 398, 30);
    }

    int pressesHandedOn = 0;
    TitleBar *bar;

protected:
    void mousePressEvent(QMouseEvent *event) override
    {
        Q_UNUSED(event)
        ++pressesHandedOn;
    }
};

} // namespace

Q_DECLARE_METATYPE(Qt::MouseButton)

class tst_TitleBar : public QObject
{
    Q_OBJECT

private slots:
    void it_is_a_ur_base_widget_with_a_styled_background();
    void its_signals_are_close_and_move_in_this_order();
    void caption_and_close_button_carry_the_names_that_the_style_sheet_uses();
    void it_sets_no_caption_no_fixed_size_and_no_window_flags();
    void set_title_sets_the_caption();
    void set_close_enabled_switches_the_close_button_only();
    void a_language_change_leaves_the_caption_to_the_owner();
    void the_close_button_is_centred_at_the_right_edge_data();
    void the_close_button_is_centred_at_the_right_edge();
    void pressing_the_close_button_emits_close_data();
    void pressing_the_close_button_emits_close();
    void a_disabled_close_button_emits_nothing();
    void a_press_alone_moves_nothing_and_stays_with_the_title_bar();
    void a_drag_emits_the_displacement_since_the_press_data();
    void a_drag_emits_the_displacement_since_the_press();
    void a_drag_started_with_the_right_button_moves_as_well();
    void the_bar_stays_where_it_is_when_it_has_a_window();
    void a_window_that_follows_stays_below_the_mouse();
    void a_move_without_a_press_counts_from_the_top_left_corner();
    void the_press_position_persists_between_drags();
    void the_point_used_is_never_below_the_limit_data();
    void the_point_used_is_never_below_the_limit();
    void top_left_and_right_are_not_limited_data();
    void top_left_and_right_are_not_limited();
    void without_a_window_the_bar_moves_to_the_displacement_as_a_position();
    void without_a_window_the_bottom_is_limited_too();
};

void tst_TitleBar::it_is_a_ur_base_widget_with_a_styled_background()
{
    QCOMPARE(TitleBar::staticMetaObject.superClass(), &URBaseWidget::staticMetaObject);
    TitleBar bar(nullptr);
    QVERIFY(bar.testAttribute(Qt::WA_StyledBackground));
}

void tst_TitleBar::its_signals_are_close_and_move_in_this_order()
{
    QCOMPARE(gOwnMethods(TitleBar::staticMetaObject, QMetaMethod::Signal),
             QByteArrayList({"Close()", "Move(int,int)"}));
}

void tst_TitleBar::caption_and_close_button_carry_the_names_that_the_style_sheet_uses()
{
    TitleBar bar(nullptr);
    QVERIFY(gCaptionLabel(bar));
    QVERIFY(gCloseButton(bar));
    QCOMPARE(bar.children(), QObjectList({gCaptionLabel(bar), gCloseButton(bar)}));
}

void tst_TitleBar::it_sets_no_caption_no_fixed_size_and_no_window_flags()
{
    QWidget window;
    auto *bar = new TitleBar(&window);
    QCOMPARE(gCaptionLabel(*bar)->text(), QString());
    QCOMPARE(bar->minimumSize(), QSize(0, 0));
    QCOMPARE(bar->maximumSize(), QSize(QWIDGETSIZE_MAX, QWIDGETSIZE_MAX));
    QCOMPARE(bar->windowFlags(), QWidget(&window).windowFlags());
    QVERIFY(!bar->hasMouseTracking());
}

void tst_TitleBar::set_title_sets_the_caption()
{
    TitleBar bar(nullptr);
    bar.SetTitle("Live Update");
    QCOMPARE(gCaptionLabel(bar)->text(), QString("Live Update"));
    bar.SetTitle("");
    QCOMPARE(gCaptionLabel(bar)->text(), QString());
}

void tst_TitleBar::set_close_enabled_switches_the_close_button_only()
{
    TitleBar bar(nullptr);
    QVERIFY(gCloseButton(bar)->isEnabled());
    bar.SetCloseEnabled(false);
    QVERIFY(!gCloseButton(bar)->isEnabled());
    QVERIFY(gCaptionLabel(bar)->isEnabled());
    QVERIFY(bar.isEnabled());
    bar.SetCloseEnabled(true);
    QVERIFY(gCloseButton(bar)->isEnabled());
}

void tst_TitleBar::a_language_change_leaves_the_caption_to_the_owner()
{
    TitleBar bar(nullptr);
    bar.SetTitle("Live Update");
    FakeTranslator translator;
    translator.Add("TitleBar", "Live Update", "Aktualisierung");
    QVERIFY(QCoreApplication::installTranslator(&translator));
    QEvent event(QEvent::LanguageChange);
    QCoreApplication::sendEvent(&bar, &event);
    QCOMPARE(gCaptionLabel(bar)->text(), QString("Live Update"));
}

void tst_TitleBar::the_close_button_is_centred_at_the_right_edge_data()
{
    QTest::addColumn<QSize>("size");
    QTest::addColumn<QRect>("caption");
    QTest::addColumn<QRect>("button");
    QTest::newRow("30_high_the_button_is_at_y_3")
        << QSize(638, 30) << QRect(20, 0, 594, 30) << QRect(614, 3, 24, 24);
    QTest::newRow("25_high_half_a_row_is_cut_to_y_0")
        << QSize(638, 25) << QRect(20, 0, 594, 25) << QRect(614, 0, 24, 24);
    QTest::newRow("23_high_half_a_row_is_cut_toward_zero_not_down")
        << QSize(638, 23) << QRect(20, 0, 594, 23) << QRect(614, 0, 24, 24);
    QTest::newRow("20_high_the_button_stands_out_at_both_ends")
        << QSize(300, 20) << QRect(20, 0, 256, 20) << QRect(276, -2, 24, 24);
    QTest::newRow("as_wide_as_at_construction_of_the_dialog")
        << QSize(568, 30) << QRect(20, 0, 524, 30) << QRect(544, 3, 24, 24);
}

void tst_TitleBar::the_close_button_is_centred_at_the_right_edge()
{
    QFETCH(QSize, size);
    QWidget window;
    auto *bar = new TitleBar(&window);
    bar->resize(size);
    window.show();
    QTEST(gCaptionLabel(*bar)->geometry(), "caption");
    QTEST(gCloseButton(*bar)->geometry(), "button");
}

void tst_TitleBar::pressing_the_close_button_emits_close_data()
{
    QTest::addColumn<Qt::MouseButton>("mouseButton");
    QTest::newRow("with_the_left_button") << Qt::LeftButton;
    QTest::newRow("with_the_right_button") << Qt::RightButton;
}

void tst_TitleBar::pressing_the_close_button_emits_close()
{
    QFETCH(Qt::MouseButton, mouseButton);
    DragWindow window;
    QSignalSpy clicked(gCloseButton(*window.bar), &ImageButton::Clicked);
    QSignalSpy close(window.bar, &TitleBar::Close);
    QTest::mousePress(gCloseButton(*window.bar), mouseButton);
    QCOMPARE(clicked.count(), 1);
    QCOMPARE(close.count(), 1);
    QTest::mouseRelease(gCloseButton(*window.bar), mouseButton);
    QCOMPARE(close.count(), 1);
}

void tst_TitleBar::a_disabled_close_button_emits_nothing()
{
    DragWindow window;
    window.bar->SetCloseEnabled(false);
    QSignalSpy close(window.bar, &TitleBar::Close);
    QTest::mousePress(gCloseButton(*window.bar), Qt::LeftButton);
    QCOMPARE(close.count(), 0);
}

void tst_TitleBar::a_press_alone_moves_nothing_and_stays_with_the_title_bar()
{
    DragWindow window;
    QSignalSpy move(window.bar, &TitleBar::Move);
    gPressAt(*window.bar, pressedAt);
    QCOMPARE(move.count(), 0);
    QCOMPARE(window.pressesHandedOn, 0);
}

void tst_TitleBar::a_drag_emits_the_displacement_since_the_press_data()
{
    QTest::addColumn<QPoint>("displacement");
    QTest::newRow("right_and_down") << QPoint(30, 40);
    QTest::newRow("left_and_up") << QPoint(-7, -9);
    QTest::newRow("nowhere") << QPoint(0, 0);
}

void tst_TitleBar::a_drag_emits_the_displacement_since_the_press()
{
    QFETCH(QPoint, displacement);
    DragWindow window;
    QSignalSpy move(window.bar, &TitleBar::Move);
    gPressAt(*window.bar, pressedAt);
    gDragTo(*window.bar, pressedAt + displacement);
    QCOMPARE(move, QList<QVariantList>({{displacement.x(), displacement.y()}}));
}

void tst_TitleBar::a_drag_started_with_the_right_button_moves_as_well()
{
    DragWindow window;
    QSignalSpy move(window.bar, &TitleBar::Move);
    gPressAt(*window.bar, pressedAt, Qt::RightButton);
    gDragTo(*window.bar, pressedAt + QPoint(5, 6));
    QCOMPARE(move, QList<QVariantList>({{5, 6}}));
}

void tst_TitleBar::the_bar_stays_where_it_is_when_it_has_a_window()
{
    DragWindow window;
    gPressAt(*window.bar, pressedAt);
    gDragTo(*window.bar, pressedAt + QPoint(50, 60));
    QCOMPARE(window.bar->geometry(), QRect(1, 1, 398, 30));
    QCOMPARE(window.geometry(), QRect(100, 200, 400, 300));
}

void tst_TitleBar::a_window_that_follows_stays_below_the_mouse()
{
    DragWindow window;
    connect(window.bar, &TitleBar::Move, &window,
            [&window](int x, int y) { window.move(window.pos() + QPoint(x, y)); });
    gPressAt(*window.bar, pressedAt);
    gDragTo(*window.bar, pressedAt + QPoint(5, 6));
    gDragTo(*window.bar, pressedAt + QPoint(5, 6));
    QCOMPARE(window.pos(), QPoint(110, 212));
}

void tst_TitleBar::a_move_without_a_press_counts_from_the_top_left_corner()
{
    DragWindow window;
    QSignalSpy move(window.bar, &TitleBar::Move);
    gDragTo(*window.bar, QPoint(21, 22));
    QCOMPARE(move, QList<QVariantList>({{21, 22}}));
}

void tst_TitleBar::the_press_position_persists_between_drags()
{
    DragWindow window;
    QSignalSpy move(window.bar, &TitleBar::Move);
    gPressAt(*window.bar, pressedAt);
    gDragTo(*window.bar, pressedAt + QPoint(1, 1));
    QTest::mouseRelease(window.bar, Qt::LeftButton, {}, pressedAt);
    gDragTo(*window.bar, pressedAt + QPoint(2, 3));
    QCOMPARE(move, QList<QVariantList>({{1, 1}, {2, 3}}));
}

void tst_TitleBar::the_point_used_is_never_below_the_limit_data()
{
    QTest::addColumn<int>("rowsBelowLimit");
    QTest::addColumn<int>("rowsUsedBelowLimit");
    QTest::newRow("one_row_above_the_limit_is_used_as_it_is") << -1 << -1;
    QTest::newRow("the_limit_itself") << 0 << 0;
    QTest::newRow("the_bottom_row_of_the_available_area_is_too_low") << 1 << 0;
    QTest::newRow("far_below_the_screen") << 5000 << 0;
}

void tst_TitleBar::the_point_used_is_never_below_the_limit()
{
    QFETCH(int, rowsBelowLimit);
    QFETCH(int, rowsUsedBelowLimit);
    DragWindow window;
    QSignalSpy move(window.bar, &TitleBar::Move);
    gPressAt(*window.bar, pressedAt);
    const int limit = window.bar->mapFromGlobal(QPoint(0, gLowestDragRow())).y();
    gDragTo(*window.bar, QPoint(pressedAt.x() + 3, limit + rowsBelowLimit));
    QCOMPARE(move, QList<QVariantList>({{3, limit + rowsUsedBelowLimit - pressedAt.y()}}));
}

void tst_TitleBar::top_left_and_right_are_not_limited_data()
{
    QTest::addColumn<QPoint>("displacement");
    QTest::newRow("above_the_top_of_the_screen") << QPoint(0, -4000);
    QTest::newRow("beyond_the_left_edge") << QPoint(-4000, 0);
    QTest::newRow("beyond_the_right_edge") << QPoint(4000, 0);
}

void tst_TitleBar::top_left_and_right_are_not_limited()
{
    a_drag_emits_the_displacement_since_the_press();
}

void tst_TitleBar::without_a_window_the_bar_moves_to_the_displacement_as_a_position()
{
    TitleBar bar(nullptr);
    bar.setGeometry(200, 100, 300, 30);
    QSignalSpy move(&bar, &TitleBar::Move);
    gPressAt(bar, pressedAt);
    gDragTo(bar, pressedAt + QPoint(15, 25));
    QCOMPARE(bar.pos(), QPoint(15, 25));
    gDragTo(bar, pressedAt + QPoint(15, 25));
    QCOMPARE(bar.pos(), QPoint(15, 25));
    QCOMPARE(move.count(), 0);
}

void tst_TitleBar::without_a_window_the_bottom_is_limited_too()
{
    TitleBar bar(nullptr);
    bar.setGeometry(200, 100, 300, 30);
    const int limit = bar.mapFromGlobal(QPoint(0, gLowestDragRow())).y();
    gPressAt(bar, pressedAt);
    gDragTo(bar, QPoint(pressedAt.x(), limit + 500));
    QCOMPARE(bar.pos(), QPoint(0, limit - pressedAt.y()));
}

QTEST_MAIN(tst_TitleBar)
#include "tst_TitleBar.moc"
