// SPDX-License-Identifier: MIT

#include "ui/URBaseWidget.h"

#include "tests/support/FakeTranslator.h"

#include <QApplication>
#include <QEvent>
#include <QTest>

namespace
{

/// Records the order of the calls of its hook and of Qt's own handling of an event.
class RecordingWidget : public URBaseWidget
{
public:
    using URBaseWidget::URBaseWidget;

    void RetranslateUi() override { calls << "RetranslateUi"; }

    QStringList calls;

protected:
    void changeEvent(QEvent *event) override
    {
        if (event->type() == QEvent::LanguageChange) {
            calls << "Qt's own handling";
        }
        URBaseWidget::changeEvent(event);
    }
};

} // namespace

class tst_URBaseWidget : public QObject
{
    Q_OBJECT

private slots:
    void it_is_a_plain_widget_below_its_parent();
    void its_style_sheet_background_is_painted();
    void the_retranslation_hook_does_nothing_by_default();
    void a_language_change_calls_retranslate_ui_before_qts_own_handling();
    void an_installed_translator_reaches_a_page_inside_a_window();
    void other_events_do_not_call_retranslate_ui_data();
    void other_events_do_not_call_retranslate_ui();
};

void tst_URBaseWidget::it_is_a_plain_widget_below_its_parent()
{
    QCOMPARE(URBaseWidget::staticMetaObject.superClass(), &QWidget::staticMetaObject);
    QWidget parent;
    auto *widget = new URBaseWidget(&parent);
    QCOMPARE(widget->parentWidget(), &parent);
    QCOMPARE(widget->windowFlags(), QWidget(&parent).windowFlags());
    QVERIFY(!widget->isWindow());
}

void tst_URBaseWidget::its_style_sheet_background_is_painted()
{
    URBaseWidget widget(nullptr);
    QVERIFY(widget.testAttribute(Qt::WA_StyledBackground));

    widget.setStyleSheet(QStringLiteral("URBaseWidget { background-color: #12ab34; }"));
    widget.resize(8, 8);
    QCOMPARE(widget.grab().toImage().pixelColor(4, 4), QColor(0x12, 0xab, 0x34));
}

void tst_URBaseWidget::the_retranslation_hook_does_nothing_by_default()
{
    URBaseWidget widget(nullptr);
    widget.setGeometry(3, 4, 50, 60);
    widget.RetranslateUi();
    QCOMPARE(widget.geometry(), QRect(3, 4, 50, 60));
    QVERIFY(widget.children().isEmpty());
}

void tst_URBaseWidget::a_language_change_calls_retranslate_ui_before_qts_own_handling()
{
    RecordingWidget widget(nullptr);
    QEvent event(QEvent::LanguageChange);
    QVERIFY(QCoreApplication::sendEvent(&widget, &event));
    QCOMPARE(widget.calls, QStringList({"RetranslateUi", "Qt's own handling"}));
}

void tst_URBaseWidget::an_installed_translator_reaches_a_page_inside_a_window()
{
    QWidget window;
    auto *page = new RecordingWidget(&window);
    FakeTranslator translator;
    translator.Add("URBaseWidget", "a", "b");
    QVERIFY(QCoreApplication::installTranslator(&translator));
    QTRY_COMPARE(page->calls, QStringList({"RetranslateUi", "Qt's own handling"}));
}

void tst_URBaseWidget::other_events_do_not_call_retranslate_ui_data()
{
    QTest::addColumn<QEvent::Type>("type");
    QTest::newRow("a_change_of_the_font") << QEvent::FontChange;
    QTest::newRow("a_change_of_the_locale") << QEvent::LocaleChange;
    QTest::newRow("a_change_of_the_style") << QEvent::StyleChange;
    QTest::newRow("an_event_of_an_applications_own") << QEvent::User;
}

void tst_URBaseWidget::other_events_do_not_call_retranslate_ui()
{
    QFETCH(QEvent::Type, type);
    RecordingWidget widget(nullptr);
    QEvent event(type);
    QCoreApplication::sendEvent(&widget, &event);
    QVERIFY(widget.calls.isEmpty());
}

QTEST_MAIN(tst_URBaseWidget)
#include "tst_URBaseWidget.moc"
