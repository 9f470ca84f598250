// SPDX-License-Identifier: MIT

#include "ui/ImageButton.h"

#include "tests/support/MetaMethods.h"
#include "ui/URBaseWidget.h"

#include <QMouseEvent>
#include <QSignalSpy>
#include <QTest>

namespace
{

/// A parent that records the presses that its button ignores.
class RecordingParent : public QWidget
{
public:
    QStringList calls;

protected:
    void mousePressEvent(QMouseEvent *event) override
    {
        Q_UNUSED(event)
        calls << "the press reached the parent";
    }
};

} // namespace

Q_DECLARE_METATYPE(Qt::MouseButton)

class tst_ImageButton : public QObject
{
    Q_OBJECT

private slots:
    void it_is_a_q_widget_and_no_ur_base_widget();
    void its_only_signal_is_clicked();
    void its_style_sheet_background_is_painted();
    void every_mouse_button_clicks_on_the_press_alone_data();
    void every_mouse_button_clicks_on_the_press_alone();
    void clicked_is_emitted_before_qts_own_handling_of_the_press();
    void a_disabled_button_does_not_click();
};

void tst_ImageButton::it_is_a_q_widget_and_no_ur_base_widget()
{
    QCOMPARE(ImageButton::staticMetaObject.superClass(), &QWidget::staticMetaObject);
    QVERIFY(!ImageButton::staticMetaObject.inherits(&URBaseWidget::staticMetaObject));
    QWidget parent;
    QCOMPARE((new ImageButton(&parent))->parentWidget(), &parent);
}

void tst_ImageButton::its_only_signal_is_clicked()
{
    QCOMPARE(gOwnMethods(ImageButton::staticMetaObject, QMetaMethod::Signal),
             QByteArrayList({"Clicked()"}));
}

void tst_ImageButton::its_style_sheet_background_is_painted()
{
    ImageButton button(nullptr);
    QVERIFY(button.testAttribute(Qt::WA_StyledBackground));

    button.setStyleSheet(QStringLiteral("ImageButton { background-color: #12ab34; }"));
    button.resize(24, 24);
    QCOMPARE(button.grab().toImage().pixelColor(12, 12), QColor(0x12, 0xab, 0x34));
}

void tst_ImageButton::every_mouse_button_clicks_on_the_press_alone_data()
{
    QTest::addColumn<Qt::MouseButton>("mouseButton");
    QTest::newRow("left") << Qt::LeftButton;
    QTest::newRow("right") << Qt::RightButton;
    QTest::newRow("middle") << Qt::MiddleButton;
    QTest::newRow("back") << Qt::BackButton;
}

void tst_ImageButton::every_mouse_button_clicks_on_the_press_alone()
{
    QFETCH(Qt::MouseButton, mouseButton);
    ImageButton button(nullptr);
    button.resize(24, 24);
    QSignalSpy clicked(&button, &ImageButton::Clicked);

    QTest::mousePress(&button, mouseButton);
    QCOMPARE(clicked.count(), 1);
    QTest::mouseRelease(&button, mouseButton);
    QCOMPARE(clicked.count(), 1);
}

void tst_ImageButton::clicked_is_emitted_before_qts_own_handling_of_the_press()
{
    RecordingParent parent;
    auto *button = new ImageButton(&parent);
    button->resize(24, 24);
    QMouseEvent press(QEvent::MouseButtonPress, QPointF(3, 3), Qt::LeftButton, Qt::LeftButton,
                      Qt::NoModifier);
    connect(button, &ImageButton::Clicked, &parent, [&parent, &press]() {
        parent.calls << (press.isAccepted() ? "Clicked"
                                            : "Clicked, but the press was ignored already");
    });

    QCoreApplication::sendEvent(button, &press);
    // A plain widget ignores a press, so Qt propagates it to the parent.
    QCOMPARE(parent.calls, QStringList({"Clicked", "the press reached the parent"}));
}

void tst_ImageButton::a_disabled_button_does_not_click()
{
    ImageButton button(nullptr);
    button.resize(24, 24);
    button.setEnabled(false);
    QSignalSpy clicked(&button, &ImageButton::Clicked);
    QTest::mousePress(&button, Qt::LeftButton);
    QCOMPARE(clicked.count(), 0);
}

QTEST_MAIN(tst_ImageButton)
#include "tst_ImageButton.moc"
