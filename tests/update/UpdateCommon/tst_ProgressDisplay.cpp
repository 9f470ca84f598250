// SPDX-License-Identifier: MIT

#include "update/UpdateCommon/ProgressDisplay.h"

#include "CvButton.h"
#include "tests/support/FakeTranslator.h"
#include "tests/support/MetaMethods.h"

#include <QLabel>
#include <QProgressBar>
#include <QSignalSpy>
#include <QTest>

namespace
{

QLabel *gProgressLabel(const QWidget &page)
{
    return page.findChild<QLabel *>("UpdateProgressLabel", Qt::FindDirectChildrenOnly);
}

QProgressBar *gProgressBar(const QWidget &page)
{
    return page.findChild<QProgressBar *>("UpdateProgressBar", Qt::FindDirectChildrenOnly);
}

CvButton *gCloseButton(const QWidget &page)
{
    return page.findChild<CvButton *>("CvCommonLib_Normal_Btn", Qt::FindDirectChildrenOnly);
}

/// The label with the percentage, which has no object name.
QLabel *gPercentLabel(const QWidget &page)
{
    for (auto *label : page.findChildren<QLabel *>(QString(), Qt::FindDirectChildrenOnly)) {
        if (label->objectName().isEmpty()) {
            return label;
        }
    }
    return nullptr;
}

QString gPercentText(const QWidget &page)
{
    return gPercentLabel(page)->text();
}

} // namespace

class tst_ProgressDisplay : public QObject
{
    Q_OBJECT

private slots:
    void it_is_a_ur_base_widget();
    void its_only_signal_is_close();
    void its_children_are_created_in_the_order_of_the_page();
    void the_status_text_is_at_the_bottom_left_and_wraps();
    void the_bar_starts_with_qts_defaults_and_no_text_of_its_own();
    void the_close_button_is_visible_takes_no_focus_and_says_close();
    void the_close_button_emits_close();
    void set_text_sets_the_status_text();
    void set_busy_shows_that_something_goes_on_but_not_how_much();
    void set_maximum_and_set_value_after_set_busy_leave_busy_mode();
    void the_percentage_is_a_whole_number_with_a_percent_sign_data();
    void the_percentage_is_a_whole_number_with_a_percent_sign();
    void the_same_value_again_leaves_the_percentage_alone();
    void a_new_maximum_alone_leaves_the_percentage_alone();
    void in_busy_mode_the_percentage_is_empty();
    void set_close_visible_shows_for_any_number_but_zero_data();
    void set_close_visible_shows_for_any_number_but_zero();
    void the_layout_follows_the_pages_size_data();
    void the_layout_follows_the_pages_size();
    void a_language_change_sets_the_buttons_text_again();
};

void tst_ProgressDisplay::it_is_a_ur_base_widget()
{
    QCOMPARE(ProgressDisplay::staticMetaObject.superClass(), &URBaseWidget::staticMetaObject);
    QVERIFY(ProgressDisplay(nullptr).testAttribute(Qt::WA_StyledBackground));
}

void tst_ProgressDisplay::its_only_signal_is_close()
{
    QCOMPARE(gOwnMethods(ProgressDisplay::staticMetaObject, QMetaMethod::Signal),
             QByteArrayList({"Close()"}));
}

void tst_ProgressDisplay::its_children_are_created_in_the_order_of_the_page()
{
    ProgressDisplay page(nullptr);
    QCOMPARE(page.children(), QObjectList({gProgressLabel(page), gPercentLabel(page),
                                           gProgressBar(page), gCloseButton(page)}));
}

void tst_ProgressDisplay::the_status_text_is_at_the_bottom_left_and_wraps()
{
    ProgressDisplay page(nullptr);
    QCOMPARE(int(gProgressLabel(page)->alignment()), int(Qt::AlignLeft | Qt::AlignBottom));
    QVERIFY(gProgressLabel(page)->wordWrap());
    QCOMPARE(gProgressLabel(page)->text(), QString());
}

void tst_ProgressDisplay::the_bar_starts_with_qts_defaults_and_no_text_of_its_own()
{
    ProgressDisplay page(nullptr);
    const QProgressBar fresh;
    QVERIFY(!gProgressBar(page)->isTextVisible());
    QCOMPARE(gProgressBar(page)->minimum(), 0);
    QCOMPARE(gProgressBar(page)->maximum(), 100);
    QCOMPARE(gProgressBar(page)->value(), fresh.value());
    QCOMPARE(gProgressBar(page)->format(), fresh.format());
    QCOMPARE(gPercentText(page), QString());
}

void tst_ProgressDisplay::the_close_button_is_visible_takes_no_focus_and_says_close()
{
    ProgressDisplay page(nullptr);
    QVERIFY(gCloseButton(page)->isVisibleTo(&page));
    QCOMPARE(gCloseButton(page)->focusPolicy(), Qt::NoFocus);
    QCOMPARE(gCloseButton(page)->text(), QString("Close"));
}

void tst_ProgressDisplay::the_close_button_emits_close()
{
    ProgressDisplay page(nullptr);
    QSignalSpy close(&page, &ProgressDisplay::Close);
    gCloseButton(page)->click();
    QCOMPARE(close.count(), 1);
}

void tst_ProgressDisplay::set_text_sets_the_status_text()
{
    ProgressDisplay page(nullptr);
    page.SetText("Checking the version.");
    QCOMPARE(gProgressLabel(page)->text(), QString("Checking the version."));
}

void tst_ProgressDisplay::set_busy_shows_that_something_goes_on_but_not_how_much()
{
    ProgressDisplay page(nullptr);
    page.SetBusy();
    QCOMPARE(gProgressBar(page)->minimum(), 0);
    QCOMPARE(gProgressBar(page)->maximum(), 0);
    QCOMPARE(gPercentText(page), QString());
}

void tst_ProgressDisplay::set_maximum_and_set_value_after_set_busy_leave_busy_mode()
{
    ProgressDisplay page(nullptr);
    page.SetBusy();
    page.SetMaximum(100);
    page.SetValue(50);
    QCOMPARE(gProgressBar(page)->minimum(), 0);
    QCOMPARE(gProgressBar(page)->maximum(), 100);
    QCOMPARE(gProgressBar(page)->value(), 50);
    QCOMPARE(gPercentText(page), QString("50%"));
}

void tst_ProgressDisplay::the_percentage_is_a_whole_number_with_a_percent_sign_data()
{
    QTest::addColumn<int>("maximum");
    QTest::addColumn<int>("value");
    QTest::addColumn<QString>("percentage");
    QTest::newRow("the_start") << 1000 << 0 << "0%";
    QTest::newRow("37_of_100") << 100 << 37 << "37%";
    QTest::newRow("a_fraction_is_cut_not_rounded") << 1000 << 379 << "37%";
    QTest::newRow("the_last_byte_is_missing") << 1000003 << 1000002 << "99%";
    QTest::newRow("complete") << 1000003 << 1000003 << "100%";
    QTest::newRow("nearly_as_much_as_the_bars_type_can_hold") << 2147483647 << 1073741824 << "50%";
}

void tst_ProgressDisplay::the_percentage_is_a_whole_number_with_a_percent_sign()
{
    QFETCH(int, maximum);
    QFETCH(int, value);
    ProgressDisplay page(nullptr);
    page.SetMaximum(maximum);
    page.SetValue(value);
    QTEST(gPercentText(page), "percentage");
}

void tst_ProgressDisplay::the_same_value_again_leaves_the_percentage_alone()
{
    ProgressDisplay page(nullptr);
    page.SetValue(50);
    gPercentLabel(page)->setText("untouched");
    page.SetValue(50);
    QCOMPARE(gPercentText(page), QString("untouched"));
    page.SetValue(51);
    QCOMPARE(gPercentText(page), QString("51%"));
}

void tst_ProgressDisplay::a_new_maximum_alone_leaves_the_percentage_alone()
{
    ProgressDisplay page(nullptr);
    page.SetValue(50);
    page.SetMaximum(200);
    QCOMPARE(gPercentText(page), QString("50%"));
}

void tst_ProgressDisplay::in_busy_mode_the_percentage_is_empty()
{
    ProgressDisplay page(nullptr);
    page.SetValue(37);
    QCOMPARE(gPercentText(page), QString("37%"));
    page.SetBusy();
    QCOMPARE(gPercentText(page), QString());
    page.SetValue(1);
    QCOMPARE(gPercentText(page), gProgressBar(page)->text());
    QCOMPARE(gPercentText(page), QString());
}

void tst_ProgressDisplay::set_close_visible_shows_for_any_number_but_zero_data()
{
    QTest::addColumn<int>("number");
    QTest::addColumn<bool>("visible");
    QTest::newRow("0_hides") << 0 << false;
    QTest::newRow("1_shows") << 1 << true;
    QTest::newRow("2_shows") << 2 << true;
    QTest::newRow("minus_1_shows") << -1 << true;
    QTest::newRow("a_number_whose_low_byte_is_0_shows") << 0x100 << true;
}

void tst_ProgressDisplay::set_close_visible_shows_for_any_number_but_zero()
{
    QFETCH(int, number);
    QFETCH(bool, visible);
    ProgressDisplay page(nullptr);
    page.SetCloseVisible(visible ? 0 : 1);
    page.SetCloseVisible(number);
    QCOMPARE(gCloseButton(page)->isVisibleTo(&page), visible);
}

void tst_ProgressDisplay::the_layout_follows_the_pages_size_data()
{
    QTest::addColumn<QSize>("size");
    QTest::addColumn<QRect>("label");
    QTest::addColumn<QRect>("bar");
    QTest::addColumn<QRect>("percentage");
    QTest::addColumn<QRect>("button");
    QTest::newRow("500_x_300") << QSize(500, 300) << QRect(20, 78, 480, 40)
                               << QRect(20, 137, 430, 4) << QRect(454, 117, 40, 40)
                               << QRect(400, 250, 80, 30);
    QTest::newRow("as_the_dialog_shows_it_an_odd_height")
        << QSize(638, 239) << QRect(20, 47, 618, 40) << QRect(20, 106, 568, 4)
        << QRect(592, 86, 40, 40) << QRect(538, 189, 80, 30);
}

void tst_ProgressDisplay::the_layout_follows_the_pages_size()
{
    QFETCH(QSize, size);
    QWidget window;
    auto *page = new ProgressDisplay(&window);
    page->resize(size);
    window.show();
    QTEST(gProgressLabel(*page)->geometry(), "label");
    QTEST(gProgressBar(*page)->geometry(), "bar");
    QTEST(gPercentLabel(*page)->geometry(), "percentage");
    QTEST(gCloseButton(*page)->geometry(), "button");
}

void tst_ProgressDisplay::a_language_change_sets_the_buttons_text_again()
{
    ProgressDisplay page(nullptr);
    page.SetText("Checking the version.");
    FakeTranslator translator;
    translator.Add("ProgressDisplay", "Close", QString::fromUtf8("Schließen"));
    translator.Add("ProgressDisplay", "Checking the version.", "wrong");
    QVERIFY(QCoreApplication::installTranslator(&translator));
    QEvent event(QEvent::LanguageChange);
    QCoreApplication::sendEvent(&page, &event);
    QCOMPARE(gCloseButton(page)->text(), QString::fromUtf8("Schließen"));
    QCOMPARE(gProgressLabel(page)->text(), QString("Checking the version."));
}

QTEST_MAIN(tst_ProgressDisplay)
#include "tst_ProgressDisplay.moc"
