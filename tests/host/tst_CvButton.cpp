// SPDX-License-Identifier: MIT

#include "CvButton.h"

#include <QDialog>
#include <QtTest>

#include <functional>

using Prepare = std::function<void(CvButton *)>;
Q_DECLARE_METATYPE(Prepare)

class tst_CvButton : public QObject
{
    Q_OBJECT

private slots:
    void every_state_has_a_look_of_its_own_data();
    void every_state_has_a_look_of_its_own();
    void the_look_is_the_same_under_any_parent_and_name();
    void the_font_is_there_before_the_button_is_shown();
    void a_button_20_wider_than_its_text_shows_all_of_it();

private:
    static CvButton *CreateIn(QWidget *window);
    static QImage Picture(CvButton *button);
};

CvButton *tst_CvButton::CreateIn(QWidget *window)
{
    auto *button = new CvButton(window);
    button->setObjectName(QStringLiteral("CvCommonLib_Normal_Btn"));
    button->setText(QStringLiteral("Update Now"));
    button->setGeometry(10, 10, 120, 30);
    window->resize(200, 60);
    return button;
}

QImage tst_CvButton::Picture(CvButton *button)
{
    return button->grab().toImage();
}

void tst_CvButton::every_state_has_a_look_of_its_own_data()
{
    QTest::addColumn<Prepare>("prepare");
    QTest::addColumn<QColor>("background");
    QTest::addColumn<QColor>("border");
    QTest::newRow("normal") << Prepare([](CvButton *) {}) << QColor("#2A343F") << QColor("#3D4A57");
    QTest::newRow("under_the_mouse") << Prepare([](CvButton *button) {
        // On some systems a moved pointer does not reach the button in a test.
        button->setAttribute(Qt::WA_UnderMouse);
        QMouseEvent move(QEvent::MouseMove, button->rect().center(), Qt::NoButton, Qt::NoButton,
                         Qt::NoModifier);
        QCoreApplication::sendEvent(button, &move);
    }) << QColor("#384653") << QColor("#61DED0");
    QTest::newRow("pressed") << Prepare([](CvButton *button) { button->setDown(true); })
                             << QColor("#61DED0") << QColor("#61DED0");
    QTest::newRow("disabled") << Prepare([](CvButton *button) { button->setEnabled(false); })
                              << QColor("#1F272F") << QColor("#2A343F");
    QTest::newRow("with_the_focus") << Prepare([](CvButton *button) { button->setFocus(); })
                                    << QColor("#2A343F") << QColor("#61DED0");
    QTest::newRow("default") << Prepare([](CvButton *button) { button->setDefault(true); })
                             << QColor("#2A343F") << QColor("#61DED0");
}

void tst_CvButton::every_state_has_a_look_of_its_own()
{
    QFETCH(Prepare, prepare);
    QFETCH(QColor, background);
    QFETCH(QColor, border);
    QDialog window;
    QWidget other(&window);
    CvButton *button = CreateIn(&window);
    button->setAutoDefault(false);
    other.setFocusPolicy(Qt::StrongFocus);
    other.setFocus();
    window.show();
    QVERIFY(QTest::qWaitForWindowActive(&window));

    prepare(button);
    const QImage picture = Picture(button);
    QCOMPARE(picture.pixelColor(60, 3), background);
    QCOMPARE(picture.pixelColor(60, 0), border);
}

void tst_CvButton::the_look_is_the_same_under_any_parent_and_name()
{
    QWidget plain;
    CvButton *button = CreateIn(&plain);
    QWidget loud;
    loud.setStyleSheet(QStringLiteral("QPushButton { background: red; color: red; }"));
    CvButton *inLoudWindow = CreateIn(&loud);
    inLoudWindow->setObjectName(QStringLiteral("another"));

    QCOMPARE(Picture(inLoudWindow), Picture(button));
}

void tst_CvButton::the_font_is_there_before_the_button_is_shown()
{
    QWidget window;
    CvButton *button = CreateIn(&window);
    const QFont before = button->font();
    QCOMPARE(before.family(), QStringLiteral("Lato"));
    QCOMPARE(before.pixelSize(), 14);
    window.show();
    QCOMPARE(button->font(), before);
}

void tst_CvButton::a_button_20_wider_than_its_text_shows_all_of_it()
{
    QWidget window;
    CvButton *button = CreateIn(&window);
    const int textWidth = QFontMetrics(button->font()).horizontalAdvance(button->text());
    button->setGeometry(0, 0, textWidth + 20, 30);
    QCOMPARE(button->size(), QSize(textWidth + 20, 30));

    // The whole text is visible: the columns beside it, inside the frame, are background.
    const QImage picture = Picture(button);
    for (int y = 4; y < 26; ++y) {
        QCOMPARE(picture.pixelColor(5, y), QColor("#2A343F"));
        QCOMPARE(picture.pixelColor(picture.width() - 6, y), QColor("#2A343F"));
    }
}

QTEST_MAIN(tst_CvButton)
#include "tst_CvButton.moc"
