// SPDX-License-Identifier: MIT

#include "update/UpdateCommon/VersionDisplay.h"

#include "CvButton.h"
#include "tests/support/FakeTranslator.h"
#include "tests/support/MetaMethods.h"

#include <QFontMetrics>
#include <QLabel>
#include <QScrollArea>
#include <QSignalSpy>
#include <QTest>

namespace
{

QScrollArea *gScrollArea(const QWidget &page)
{
    return page.findChild<QScrollArea *>(QString(), Qt::FindDirectChildrenOnly);
}

QLabel *gVersionLabel(const QWidget &page)
{
    return page.findChild<QLabel *>("VersionDisplay_VersionLabel");
}

CvButton *gPageButton(const QWidget &page, int index)
{
    return page.findChildren<CvButton *>(QString(), Qt::FindDirectChildrenOnly).value(index);
}

CvButton *gUpdateButton(const QWidget &page)
{
    return gPageButton(page, 0);
}

CvButton *gRemindButton(const QWidget &page)
{
    return gPageButton(page, 1);
}

int gButtonWidth(const CvButton &button)
{
    return QFontMetrics(button.font()).horizontalAdvance(button.text()) + 20;
}

/// Whether the buttons of @p page stand right-aligned below the scroll area, as wide as their
/// texts.
void gCompareButtons(const QWidget &page)
{
    const CvButton &update = *gUpdateButton(page);
    const CvButton &remind = *gRemindButton(page);
    const int y = page.height() - 50 - 1 + 10;
    const int remindX = page.width() - 20 - gButtonWidth(remind);
    const int updateX = remindX - gButtonWidth(update) - 20;
    QCOMPARE(remind.geometry(), QRect(remindX, y, gButtonWidth(remind), 30));
    QCOMPARE(update.geometry(), QRect(updateX, y, gButtonWidth(update), 30));
}

} // namespace

class tst_VersionDisplay : public QObject
{
    Q_OBJECT

private slots:
    void it_is_a_ur_base_widget_with_a_styled_background();
    void its_signals_are_update_now_and_remind_me_later_in_this_order();
    void its_children_are_the_scroll_area_and_two_buttons();
    void the_label_is_the_scroll_areas_resizable_widget();
    void both_buttons_carry_the_hosts_style_name();
    void the_buttons_say_update_now_and_remind_me_later();
    void the_buttons_are_laid_out_at_construction();
    void the_layout_follows_the_pages_size_data();
    void the_layout_follows_the_pages_size();
    void the_update_button_emits_update_now();
    void the_remind_button_emits_remind_me_later();
    void set_text_replaces_the_whole_text_data();
    void set_text_replaces_the_whole_text();
    void no_text_format_is_forced();
    void a_language_change_retexts_and_relays_the_buttons_at_once();
    void a_language_change_leaves_the_release_notes_alone();
    void a_long_translation_pushes_the_update_button_beyond_the_left_edge();
};

void tst_VersionDisplay::it_is_a_ur_base_widget_with_a_styled_background()
{
    QCOMPARE(VersionDisplay::staticMetaObject.superClass(), &URBaseWidget::staticMetaObject);
    VersionDisplay page(nullptr);
    QVERIFY(page.testAttribute(Qt::WA_StyledBackground));
}

void tst_VersionDisplay::its_signals_are_update_now_and_remind_me_later_in_this_order()
{
    QCOMPARE(gOwnMethods(VersionDisplay::staticMetaObject, QMetaMethod::Signal),
             QByteArrayList({"UpdateNow()", "RemindMeLater()"}));
}

void tst_VersionDisplay::its_children_are_the_scroll_area_and_two_buttons()
{
    VersionDisplay page(nullptr);
    QCOMPARE(page.children(),
             QObjectList({gScrollArea(page), gUpdateButton(page), gRemindButton(page)}));
}

void tst_VersionDisplay::the_label_is_the_scroll_areas_resizable_widget()
{
    VersionDisplay page(nullptr);
    QVERIFY(gVersionLabel(page));
    QCOMPARE(gScrollArea(page)->widget(), gVersionLabel(page));
    QVERIFY(gScrollArea(page)->widgetResizable());
    QCOMPARE(gScrollArea(page)->verticalScrollBarPolicy(), Qt::ScrollBarAsNeeded);
    QVERIFY(gVersionLabel(page)->wordWrap());
}

void tst_VersionDisplay::both_buttons_carry_the_hosts_style_name()
{
    VersionDisplay page(nullptr);
    QCOMPARE(page.findChildren<CvButton *>("CvCommonLib_Normal_Btn").size(), 2);
}

void tst_VersionDisplay::the_buttons_say_update_now_and_remind_me_later()
{
    VersionDisplay page(nullptr);
    QCOMPARE(gUpdateButton(page)->text(), QString("Update Now"));
    QCOMPARE(gRemindButton(page)->text(), QString("Remind Me Later"));
}

void tst_VersionDisplay::the_buttons_are_laid_out_at_construction()
{
    VersionDisplay page(nullptr);
    gCompareButtons(page);
}

void tst_VersionDisplay::the_layout_follows_the_pages_size_data()
{
    QTest::addColumn<QSize>("size");
    QTest::addColumn<QRect>("scrollArea");
    QTest::newRow("as_the_dialog_shows_it") << QSize(638, 289) << QRect(20, 0, 618, 239);
    QTest::newRow("larger") << QSize(900, 500) << QRect(20, 0, 880, 450);
}

void tst_VersionDisplay::the_layout_follows_the_pages_size()
{
    QFETCH(QSize, size);
    QWidget window;
    auto *page = new VersionDisplay(&window);
    page->resize(size);
    window.show();
    QTEST(gScrollArea(*page)->geometry(), "scrollArea");
    gCompareButtons(*page);
}

void tst_VersionDisplay::the_update_button_emits_update_now()
{
    VersionDisplay page(nullptr);
    QSignalSpy update(&page, &VersionDisplay::UpdateNow);
    QSignalSpy remind(&page, &VersionDisplay::RemindMeLater);
    gUpdateButton(page)->click();
    QCOMPARE(update.count(), 1);
    QCOMPARE(remind.count(), 0);
}

void tst_VersionDisplay::the_remind_button_emits_remind_me_later()
{
    VersionDisplay page(nullptr);
    QSignalSpy update(&page, &VersionDisplay::UpdateNow);
    QSignalSpy remind(&page, &VersionDisplay::RemindMeLater);
    gRemindButton(page)->click();
    QCOMPARE(update.count(), 0);
    QCOMPARE(remind.count(), 1);
}

void tst_VersionDisplay::set_text_replaces_the_whole_text_data()
{
    QTest::addColumn<QString>("text");
    QTest::newRow("a_document") << "<h4><b>What's new:</b></h4><ol><li>one</li></ol>";
    QTest::newRow("plain_text") << "Version 9.2";
    QTest::newRow("nothing") << QString("");
}

void tst_VersionDisplay::set_text_replaces_the_whole_text()
{
    QFETCH(QString, text);
    VersionDisplay page(nullptr);
    page.SetText("the text of an earlier check");
    page.SetText(text);
    QCOMPARE(gVersionLabel(page)->text(), text);
}

void tst_VersionDisplay::no_text_format_is_forced()
{
    VersionDisplay page(nullptr);
    page.SetText("<b>notes</b>");
    QCOMPARE(gVersionLabel(page)->textFormat(), Qt::AutoText);
}

void tst_VersionDisplay::a_language_change_retexts_and_relays_the_buttons_at_once()
{
    VersionDisplay page(nullptr);
    page.resize(638, 289);
    page.show();
    FakeTranslator translator;
    translator.Add("VersionDisplay", "Update Now", "Jetzt sofort aktualisieren");
    translator.Add("VersionDisplay", "Remind Me Later", "Nein");
    QVERIFY(QCoreApplication::installTranslator(&translator));
    QEvent event(QEvent::LanguageChange);
    QCoreApplication::sendEvent(&page, &event);
    QCOMPARE(gUpdateButton(page)->text(), QString("Jetzt sofort aktualisieren"));
    QCOMPARE(gRemindButton(page)->text(), QString("Nein"));
    gCompareButtons(page);
}

void tst_VersionDisplay::a_language_change_leaves_the_release_notes_alone()
{
    VersionDisplay page(nullptr);
    page.SetText("What's new:");
    FakeTranslator translator;
    translator.Add("VersionDisplay", "What's new:", "Neu:");
    translator.Add("LiveUpdateMgr", "What's new:", "Neu:");
    QVERIFY(QCoreApplication::installTranslator(&translator));
    QEvent event(QEvent::LanguageChange);
    QCoreApplication::sendEvent(&page, &event);
    QCOMPARE(gVersionLabel(page)->text(), QString("What's new:"));
}

void tst_VersionDisplay::a_long_translation_pushes_the_update_button_beyond_the_left_edge()
{
    VersionDisplay page(nullptr);
    page.resize(638, 289);
    page.show();
    FakeTranslator translator;
    translator.Add("VersionDisplay", "Remind Me Later", QString(300, QChar('m')));
    QVERIFY(QCoreApplication::installTranslator(&translator));
    page.RetranslateUi();
    gCompareButtons(page);
    QVERIFY(gUpdateButton(page)->x() < 0);
}

QTEST_MAIN(tst_VersionDisplay)
#include "tst_VersionDisplay.moc"
