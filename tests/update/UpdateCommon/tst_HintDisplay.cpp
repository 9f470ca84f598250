// SPDX-License-Identifier: MIT

#include "update/UpdateCommon/HintDisplay.h"

#include "CvButton.h"
#include "tests/support/FakeTranslator.h"
#include "tests/support/MetaMethods.h"

#include <QLabel>
#include <QSignalSpy>
#include <QTest>

namespace
{

QLabel *gHintLabel(const QWidget &page)
{
    return page.findChild<QLabel *>(QString(), Qt::FindDirectChildrenOnly);
}

CvButton *gCloseButton(const QWidget &page)
{
    return page.findChild<CvButton *>("CvCommonLib_Normal_Btn", Qt::FindDirectChildrenOnly);
}

} // namespace

class tst_HintDisplay : public QObject
{
    Q_OBJECT

private slots:
    void it_is_a_ur_base_widget();
    void its_only_signal_is_close();
    void its_children_are_the_label_and_the_button();
    void the_label_has_no_name_the_default_alignment_and_no_word_wrap();
    void the_close_button_is_visible_takes_no_focus_and_says_close();
    void the_close_button_emits_close();
    void set_text_sets_the_hint();
    void a_hint_longer_than_the_label_is_cut_not_wrapped();
    void the_layout_follows_the_pages_size_data();
    void the_layout_follows_the_pages_size();
    void a_language_change_sets_the_buttons_text_again();
};

void tst_HintDisplay::it_is_a_ur_base_widget()
{
    QCOMPARE(HintDisplay::staticMetaObject.superClass(), &URBaseWidget::staticMetaObject);
    QVERIFY(HintDisplay(nullptr).testAttribute(Qt::WA_StyledBackground));
}

void tst_HintDisplay::its_only_signal_is_close()
{
    QCOMPARE(gOwnMethods(HintDisplay::staticMetaObject, QMetaMethod::Signal),
             QByteArrayList({"Close()"}));
}

void tst_HintDisplay::its_children_are_the_label_and_the_button()
{
    HintDisplay page(nullptr);
    QVERIFY(gHintLabel(page) && gCloseButton(page));
    QCOMPARE(page.children(), QObjectList({gHintLabel(page), gCloseButton(page)}));
}

void tst_HintDisplay::the_label_has_no_name_the_default_alignment_and_no_word_wrap()
{
    HintDisplay page(nullptr);
    QCOMPARE(gHintLabel(page)->objectName(), QString());
    QCOMPARE(gHintLabel(page)->alignment(), QLabel().alignment());
    QVERIFY(!gHintLabel(page)->wordWrap());
}

void tst_HintDisplay::the_close_button_is_visible_takes_no_focus_and_says_close()
{
    HintDisplay page(nullptr);
    QVERIFY(gCloseButton(page)->isVisibleTo(&page));
    QCOMPARE(gCloseButton(page)->focusPolicy(), Qt::NoFocus);
    QCOMPARE(gCloseButton(page)->text(), QString("Close"));
}

void tst_HintDisplay::the_close_button_emits_close()
{
    HintDisplay page(nullptr);
    QSignalSpy close(&page, &HintDisplay::Close);
    gCloseButton(page)->click();
    QCOMPARE(close.count(), 1);
}

void tst_HintDisplay::set_text_sets_the_hint()
{
    HintDisplay page(nullptr);
    page.SetText("Failed to check update!");
    QCOMPARE(gHintLabel(page)->text(), QString("Failed to check update!"));
    page.SetText("Your current version is the latest version!");
    QCOMPARE(gHintLabel(page)->text(), QString("Your current version is the latest version!"));
}

void tst_HintDisplay::a_hint_longer_than_the_label_is_cut_not_wrapped()
{
    QWidget window;
    auto *page = new HintDisplay(&window);
    page->resize(300, 239);
    window.show();
    page->SetText(QString("wide ").repeated(100));
    QCOMPARE(gHintLabel(*page)->geometry(), QRect(10, 0, 290, 169));
    QVERIFY(gHintLabel(*page)->sizeHint().width() > 290);
    QVERIFY(gHintLabel(*page)->sizeHint().height() < 2 * gHintLabel(*page)->fontMetrics().height());
}

void tst_HintDisplay::the_layout_follows_the_pages_size_data()
{
    QTest::addColumn<QSize>("size");
    QTest::addColumn<QRect>("label");
    QTest::addColumn<QRect>("button");
    QTest::newRow("as_the_dialog_shows_it")
        << QSize(638, 239) << QRect(10, 0, 628, 169) << QRect(538, 178, 80, 30);
    QTest::newRow("500_x_300") << QSize(500, 300) << QRect(10, 0, 490, 230)
                               << QRect(400, 239, 80, 30);
}

void tst_HintDisplay::the_layout_follows_the_pages_size()
{
    QFETCH(QSize, size);
    QWidget window;
    auto *page = new HintDisplay(&window);
    page->resize(size);
    window.show();
    QTEST(gHintLabel(*page)->geometry(), "label");
    QTEST(gCloseButton(*page)->geometry(), "button");
}

void tst_HintDisplay::a_language_change_sets_the_buttons_text_again()
{
    HintDisplay page(nullptr);
    FakeTranslator translator;
    translator.Add("HintDisplay", "Close", QString::fromUtf8("Schließen"));
    QVERIFY(QCoreApplication::installTranslator(&translator));
    QEvent event(QEvent::LanguageChange);
    QCoreApplication::sendEvent(&page, &event);
    QCOMPARE(gCloseButton(page)->text(), QString::fromUtf8("Schließen"));
}

QTEST_MAIN(tst_HintDisplay)
#include "tst_HintDisplay.moc"
