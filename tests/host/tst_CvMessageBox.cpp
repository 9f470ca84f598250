// SPDX-License-Identifier: MIT

#include "CvMessageBox.h"

#include "tests/support/FakeTranslator.h"

#include <QLabel>
#include <QPushButton>
#include <QtTest>

#include <functional>

using Answer = std::function<void(QWidget *box)>;
Q_DECLARE_METATYPE(Answer)

namespace
{
constexpr int question = CvMessageBox::Yes | CvMessageBox::Cancel;
constexpr QSize usualSize(560, 186);

QString gLabelText(const QWidget &box, const char *label)
{
    return box.findChild<QLabel *>(QString::fromLatin1(label))->text();
}

Answer gPressKeyAnswer(int key)
{
    return [key](QWidget *box) { QTest::keyClick(box->focusWidget(), Qt::Key(key)); };
}

Answer gClickAnswer(const char *button)
{
    return [button](QWidget *box) {
        QTest::mouseClick(box->findChild<QPushButton *>(QString::fromLatin1(button)),
                          Qt::LeftButton);
    };
}

/// Ends the modal loop after a failed check, so that no test waits forever.
void gCloseIfOpen(QWidget *box)
{
    if (box && box->isVisible()) {
        box->close();
    }
}

/// Where @p widget lies in @p window.
QRect gGeometryIn(const QWidget *widget, const QWidget &window)
{
    return {widget->mapTo(&window, QPoint(0, 0)), widget->size()};
}

void gSendMouse(QWidget *target, QEvent::Type type, const QPoint &at, const QPoint &global)
{
    const Qt::MouseButton button = type == QEvent::MouseMove ? Qt::NoButton : Qt::LeftButton;
    QMouseEvent event(type, at, global, button, Qt::LeftButton, Qt::NoModifier);
    QCoreApplication::sendEvent(target, &event);
}
} // namespace

class tst_CvMessageBox : public QObject
{
    Q_OBJECT

private slots:
    void the_buttons_are_those_asked_for_data();
    void the_buttons_are_those_asked_for();
    void only_yes_and_ok_are_affirmative_data();
    void only_yes_and_ok_are_affirmative();
    void information_ok_tells_the_button_from_closing_data();
    void information_ok_tells_the_button_from_closing();
    void a_prompt_of_the_update_fits_the_usual_size_data();
    void a_prompt_of_the_update_fits_the_usual_size();
    void a_longer_text_makes_the_box_grow();
    void the_buttons_stand_where_the_alignment_puts_them_data();
    void the_buttons_stand_where_the_alignment_puts_them();
    void the_text_is_shown_without_markup();
    void the_icon_carries_the_name_it_was_given_and_its_own_picture();
    void the_content_lies_inside_the_shadow();
    void the_box_has_the_look_of_the_dialog();
    void the_box_is_dragged_by_its_title_only_data();
    void the_box_is_dragged_by_its_title_only();
    void assistive_tools_read_title_text_and_icon();
    void the_button_texts_are_translated();
};

void tst_CvMessageBox::the_buttons_are_those_asked_for_data()
{
    QTest::addColumn<int>("buttons");
    QTest::addColumn<QStringList>("texts");
    QTest::newRow("9_is_the_question_box") << 9 << QStringList{"Yes", "Cancel"};
    QTest::newRow("ok_alone") << int(CvMessageBox::Ok) << QStringList{"OK"};
    QTest::newRow("yes_and_no") << (CvMessageBox::Yes | CvMessageBox::No)
                                << QStringList{"Yes", "No"};
    QTest::newRow("all_four") << 15 << QStringList{"Yes", "OK", "No", "Cancel"};
    QTest::newRow("none") << 0 << QStringList();
}

void tst_CvMessageBox::the_buttons_are_those_asked_for()
{
    QFETCH(int, buttons);
    QFETCH(QStringList, texts);
    const CvMessageBox box(QStringLiteral("Title"), QStringLiteral("Text"), Qt::AlignRight, buttons,
                           nullptr);
    QStringList found;
    const auto children = box.findChildren<QPushButton *>();
    for (const QPushButton *button : children) {
        found.append(button->text());
    }
    QCOMPARE(found, texts);
}

void tst_CvMessageBox::only_yes_and_ok_are_affirmative_data()
{
    QTest::addColumn<int>("buttons");
    QTest::addColumn<Answer>("answer");
    QTest::addColumn<int>("result");
    const int yesNo = CvMessageBox::Yes | CvMessageBox::No;
    const int okCancel = CvMessageBox::Ok | CvMessageBox::Cancel;
    QTest::newRow("return_answers_yes") << question << gPressKeyAnswer(Qt::Key_Return) << 1;
    QTest::newRow("enter_answers_yes") << question << gPressKeyAnswer(Qt::Key_Enter) << 1;
    QTest::newRow("return_answers_ok") << okCancel << gPressKeyAnswer(Qt::Key_Return) << 1;
    QTest::newRow("escape_cancels") << question << gPressKeyAnswer(Qt::Key_Escape) << 0;
    QTest::newRow("tab_and_return_cancel") << question << Answer([](QWidget *box) {
        QTest::keyClick(box->focusWidget(), Qt::Key_Tab);
        QTest::keyClick(box->focusWidget(), Qt::Key_Return);
    }) << 0;
    QTest::newRow("a_click_on_yes") << question << gClickAnswer("CvMessageBox_YesBtn") << 1;
    QTest::newRow("a_click_on_ok") << okCancel << gClickAnswer("CvMessageBox_OkBtn") << 1;
    QTest::newRow("a_click_on_no") << yesNo << gClickAnswer("CvMessageBox_NoBtn") << 0;
    QTest::newRow("a_click_on_cancel") << question << gClickAnswer("CvMessageBox_CancelBtn") << 0;
    QTest::newRow("closing_the_box") << question << Answer([](QWidget *box) { box->close(); }) << 0;
}

void tst_CvMessageBox::only_yes_and_ok_are_affirmative()
{
    QFETCH(int, buttons);
    QFETCH(Answer, answer);
    QFETCH(int, result);
    CvMessageBox box(QStringLiteral("Title"), QStringLiteral("Text"), Qt::AlignRight, buttons,
                     nullptr);
    box.resize(usualSize);
    QTimer::singleShot(0, &box, [&]() {
        const auto closing = qScopeGuard([&box]() { gCloseIfOpen(&box); });
        QVERIFY(QTest::qWaitForWindowActive(&box));
        answer(&box);
    });
    QCOMPARE(box.DoModal(), result);
}

void tst_CvMessageBox::information_ok_tells_the_button_from_closing_data()
{
    QTest::addColumn<Answer>("answer");
    QTest::addColumn<int>("result");
    QTest::newRow("return_is_ok") << gPressKeyAnswer(Qt::Key_Return) << int(CvMessageBox::Ok);
    QTest::newRow("a_click_is_ok") << gClickAnswer("CvMessageBox_OkBtn") << int(CvMessageBox::Ok);
    QTest::newRow("escape_is_cancel")
        << gPressKeyAnswer(Qt::Key_Escape) << int(CvMessageBox::Cancel);
    QTest::newRow("closing_is_cancel")
        << Answer([](QWidget *box) { box->close(); }) << int(CvMessageBox::Cancel);
}

void tst_CvMessageBox::information_ok_tells_the_button_from_closing()
{
    QFETCH(Answer, answer);
    QFETCH(int, result);
    QWidget parent;
    QTimer::singleShot(0, &parent, [&]() {
        QWidget *box = QApplication::activeModalWidget();
        QVERIFY(box);
        const auto closing = qScopeGuard([box = QPointer<QWidget>(box)]() { gCloseIfOpen(box); });
        QCOMPARE(box->parentWidget(), &parent);
        QCOMPARE(box->size(), usualSize);
        QCOMPARE(gLabelText(*box, "CvMessageBox_TitleLabel"), QStringLiteral("Title"));
        QCOMPARE(gLabelText(*box, "CvMessageBox_TextLabel"), QStringLiteral("Text"));
        QVERIFY(box->findChild<QLabel *>(QStringLiteral("MessageBox_Icon_Information")));
        QVERIFY(QTest::qWaitForWindowActive(box));
        answer(box);
    });
    QCOMPARE(int(CvMessageBox::informationOk(QStringLiteral("Title"), QStringLiteral("Text"),
                                             &parent, usualSize.width(), usualSize.height())),
             result);
}

void tst_CvMessageBox::a_prompt_of_the_update_fits_the_usual_size_data()
{
    QTest::addColumn<QString>("prompt");
    QTest::newRow("after_a_download")
        << "Download completed. However, the program is running. Please click Yes to terminate the "
           "program and install the new version. Click Cancel to install it next time.";
    QTest::newRow("with_a_package_kept_from_before")
        << "A new version has been found in your device. However, the program is running. Please "
           "click "
           "Yes to terminate the program and install the new version. Click Cancel to install it "
           "next "
           "time.";
}

void tst_CvMessageBox::a_prompt_of_the_update_fits_the_usual_size()
{
    QFETCH(QString, prompt);
    CvMessageBox box(QStringLiteral("Information"), prompt, Qt::AlignRight, question, nullptr);
    box.resize(usualSize);
    box.show();

    QCOMPARE(box.size(), usualSize);
    const auto *text = box.findChild<QLabel *>(QStringLiteral("CvMessageBox_TextLabel"));
    QVERIFY(text->height() >= text->heightForWidth(text->width()));
    const auto *yes = box.findChild<QPushButton *>(QStringLiteral("CvMessageBox_YesBtn"));
    const auto *title = box.findChild<QLabel *>(QStringLiteral("CvMessageBox_TitleLabel"));
    QVERIFY(gGeometryIn(text, box).bottom() < gGeometryIn(yes, box).top());
    QVERIFY(gGeometryIn(text, box).top() > gGeometryIn(title, box).bottom());
}

void tst_CvMessageBox::a_longer_text_makes_the_box_grow()
{
    const QString text = QStringLiteral("A sentence that some language needs. ").repeated(20);
    CvMessageBox box(QStringLiteral("Title"), text, Qt::AlignRight, question, nullptr);
    box.resize(usualSize);
    box.show();

    QCOMPARE(box.width(), usualSize.width());
    QVERIFY(box.height() > usualSize.height());
    const auto *label = box.findChild<QLabel *>(QStringLiteral("CvMessageBox_TextLabel"));
    QVERIFY(label->height() >= label->heightForWidth(label->width()));
}

void tst_CvMessageBox::the_buttons_stand_where_the_alignment_puts_them_data()
{
    QTest::addColumn<int>("alignment");
    QTest::addColumn<int>("leftOverRight");
    QTest::newRow("on_the_left") << int(Qt::AlignLeft) << -1;
    QTest::newRow("in_the_middle") << int(Qt::AlignHCenter) << 0;
    QTest::newRow("on_the_right") << int(Qt::AlignRight) << 1;
}

void tst_CvMessageBox::the_buttons_stand_where_the_alignment_puts_them()
{
    QFETCH(int, alignment);
    QFETCH(int, leftOverRight);
    CvMessageBox box(QStringLiteral("Title"), QStringLiteral("Text"), Qt::AlignmentFlag(alignment),
                     question, nullptr);
    box.resize(usualSize);
    box.show();

    const auto *yes = box.findChild<QPushButton *>(QStringLiteral("CvMessageBox_YesBtn"));
    const auto *cancel = box.findChild<QPushButton *>(QStringLiteral("CvMessageBox_CancelBtn"));
    const int left = gGeometryIn(yes, box).left();
    const int right = box.width() - 1 - gGeometryIn(cancel, box).right();
    QVERIFY(gGeometryIn(yes, box).right() < gGeometryIn(cancel, box).left());
    QVERIFY(qAbs(left - right) <= 1 ? leftOverRight == 0 : (left > right) == (leftOverRight > 0));
    if (leftOverRight != 0) {
        QVERIFY(qAbs(left - right) > 100);
    }
}

void tst_CvMessageBox::the_text_is_shown_without_markup()
{
    const CvMessageBox box(QStringLiteral("<b>T</b>"), QStringLiteral("<img src='x'>"),
                           Qt::AlignRight, question, nullptr);
    const auto *title = box.findChild<QLabel *>(QStringLiteral("CvMessageBox_TitleLabel"));
    const auto *text = box.findChild<QLabel *>(QStringLiteral("CvMessageBox_TextLabel"));
    QCOMPARE(title->textFormat(), Qt::PlainText);
    QCOMPARE(text->textFormat(), Qt::PlainText);
}

void tst_CvMessageBox::the_icon_carries_the_name_it_was_given_and_its_own_picture()
{
    CvMessageBox box(QStringLiteral("Title"), QStringLiteral("Text"), Qt::AlignRight, question,
                     nullptr);
    auto *icon = box.findChild<QLabel *>(QStringLiteral("MessageBox_Icon_Information"));
    QVERIFY(icon);
    const QImage information = icon->grab().toImage();
    box.SetIconObjectName(QStringLiteral("MessageBox_Icon_Question"));

    QCOMPARE(icon->objectName(), QStringLiteral("MessageBox_Icon_Question"));
    QVERIFY(icon->grab().toImage() != information);
}

void tst_CvMessageBox::the_content_lies_inside_the_shadow()
{
    CvMessageBox box(QStringLiteral("Title"), QStringLiteral("Text"), Qt::AlignRight, question,
                     nullptr);
    box.resize(usualSize);
    box.show();
    const int border = gGetSystemBorder();
    const QRect inside = box.rect().adjusted(border, border, -border, -border);
    const auto children = box.findChildren<QWidget *>();
    for (const QWidget *child : children) {
        QVERIFY2(inside.contains(gGeometryIn(child, box)), qPrintable(child->objectName()));
    }
}

void tst_CvMessageBox::the_box_has_the_look_of_the_dialog()
{
    CvMessageBox box(QStringLiteral("Title"), QStringLiteral("Text"), Qt::AlignRight, question,
                     nullptr);
    box.resize(usualSize);
    box.show();
    const QImage picture = box.grab().toImage();
    const auto colourAt = [&](int x, int y) {
        const double ratio = picture.devicePixelRatio();
        return picture.pixelColor(qRound(x * ratio), qRound(y * ratio));
    };
    const int border = gGetSystemBorder();
    QCOMPARE(colourAt(border, 100), QColor("#2A343F"));
    QCOMPARE(colourAt(border + 4, 100), QColor("#1C232A"));
    // The line below the title.
    QCOMPARE(colourAt(200, border + 30), QColor("#000000"));
}

void tst_CvMessageBox::the_box_is_dragged_by_its_title_only_data()
{
    QTest::addColumn<QString>("label");
    QTest::addColumn<QPoint>("moved");
    QTest::newRow("by_the_title") << "CvMessageBox_TitleLabel" << QPoint(30, -20);
    QTest::newRow("not_by_the_text") << "CvMessageBox_TextLabel" << QPoint(0, 0);
}

void tst_CvMessageBox::the_box_is_dragged_by_its_title_only()
{
    QFETCH(QString, label);
    QFETCH(QPoint, moved);
    CvMessageBox box(QStringLiteral("Title"), QStringLiteral("Text"), Qt::AlignRight, question,
                     nullptr);
    box.resize(usualSize);
    box.move(100, 100);
    box.show();
    const QPoint start = box.pos();
    const QPoint grip = gGeometryIn(box.findChild<QLabel *>(label), box).center();

    gSendMouse(&box, QEvent::MouseButtonPress, grip, start + grip);
    gSendMouse(&box, QEvent::MouseMove, grip, start + grip + QPoint(30, -20));
    QCOMPARE(box.pos(), start + moved);
    gSendMouse(&box, QEvent::MouseButtonRelease, grip, start + grip + moved);
    gSendMouse(&box, QEvent::MouseMove, grip, start + grip + QPoint(99, 99));
    QCOMPARE(box.pos(), start + moved);
}

void tst_CvMessageBox::assistive_tools_read_title_text_and_icon()
{
    CvMessageBox box(QStringLiteral("Title"), QStringLiteral("Text"), Qt::AlignRight, question,
                     nullptr);
    box.SetIconObjectName(QStringLiteral("MessageBox_Icon_Question"));
    QCOMPARE(box.windowTitle(), QStringLiteral("Title"));
    QCOMPARE(box.accessibleName(), QStringLiteral("Title"));
    QCOMPARE(box.accessibleDescription(), QStringLiteral("Text"));
    const auto *icon = box.findChild<QLabel *>(QStringLiteral("MessageBox_Icon_Question"));
    QCOMPARE(icon->accessibleName(), QStringLiteral("Question"));
}

void tst_CvMessageBox::the_button_texts_are_translated()
{
    FakeTranslator translator;
    translator.Add(QStringLiteral("CvMessageBox"), QStringLiteral("Yes"), QStringLiteral("Ja"));
    translator.Add(QStringLiteral("CvMessageBox"), QStringLiteral("Cancel"),
                   QStringLiteral("Den ganzen Vorgang abbrechen"));
    QVERIFY(QCoreApplication::installTranslator(&translator));
    const CvMessageBox box(QStringLiteral("Title"), QStringLiteral("Text"), Qt::AlignRight,
                           question, nullptr);

    const auto *yes = box.findChild<QPushButton *>(QStringLiteral("CvMessageBox_YesBtn"));
    const auto *cancel = box.findChild<QPushButton *>(QStringLiteral("CvMessageBox_CancelBtn"));
    QCOMPARE(yes->text(), QStringLiteral("Ja"));
    QVERIFY(cancel->width() >= cancel->fontMetrics().horizontalAdvance(cancel->text()) + 20);
}

QTEST_MAIN(tst_CvMessageBox)
#include "tst_CvMessageBox.moc"
