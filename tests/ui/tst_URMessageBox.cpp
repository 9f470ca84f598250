// SPDX-License-Identifier: MIT

#include "ui/URMessageBox.h"

#include "tests/support/BoxAnswerer.h"
#include "tests/support/MetaMethods.h"

#include <QAbstractButton>
#include <QApplication>
#include <QLabel>
#include <QPointer>
#include <QTest>

namespace
{

/// The names of the signals that a message box emits, in the order of their emission.
class SignalLog
{
public:
    explicit SignalLog(URMessageBox *box)
    {
        QObject::connect(box, &URMessageBox::Close, [this]() { calls << "Close"; });
        QObject::connect(box, &URMessageBox::Ok, [this]() { calls << "Ok"; });
        QObject::connect(box, &URMessageBox::Yes, [this]() { calls << "Yes"; });
        QObject::connect(box, &URMessageBox::Cancel, [this]() { calls << "Cancel"; });
    }

    QStringList calls;
};

/// The visible properties of a box.
struct SeenBox {
    QSize size;
    bool modal = false;
    QWidget *parent = nullptr;
    QStringList texts;
    QStringList buttons;
    bool questionIcon = false;
    bool buttonsOnTheRight = true;
};

SeenBox gReadBox(QWidget *box)
{
    SeenBox seen;
    seen.size = box->size();
    seen.modal = box->isModal();
    seen.parent = box->parentWidget();
    seen.texts << box->windowTitle();
    for (const auto *label : box->findChildren<QLabel *>()) {
        seen.texts << label->text();
        seen.questionIcon |= label->objectName() == "MessageBox_Icon_Question";
    }
    for (const auto *button : box->findChildren<QAbstractButton *>()) {
        if (button->objectName().startsWith("CvMessageBox_")) {
            seen.buttons << button->objectName();
            const int x = button->mapTo(box, button->rect().center()).x();
            seen.buttonsOnTheRight &= x > box->width() / 2;
        }
    }
    seen.buttons.sort();
    return seen;
}

/// Shows @p box, reads its properties, and answers it with @p answer.
SeenBox gShowAndAnswer(URMessageBox &box, const BoxAnswerer::Answer &answer)
{
    SeenBox seen;
    BoxAnswerer user([&seen, &answer](QWidget *shown) {
        seen = gReadBox(shown);
        answer(shown);
    });
    box.ShowMessage("Information", "Download completed.");
    return seen;
}

BoxAnswerer::Answer gPressKey(Qt::Key key)
{
    return [key](QWidget *box) { QTest::keyClick(box, key); };
}

} // namespace

Q_DECLARE_METATYPE(BoxAnswerer::Answer)

class tst_URMessageBox : public QObject
{
    Q_OBJECT

private slots:
    void its_signals_are_close_ok_yes_cancel_in_this_order();
    void it_is_owned_by_its_parent();
    void the_kinds_have_the_values_that_callers_pass();
    void an_answer_becomes_one_signal_data();
    void an_answer_becomes_one_signal();
    void a_question_box_has_yes_and_cancel_the_question_icon_and_its_size();
    void an_information_box_has_ok_and_its_size();
    void any_other_kind_shows_nothing_and_emits_nothing_data();
    void any_other_kind_shows_nothing_and_emits_nothing();
    void a_widget_parent_is_the_boxes_dialog_parent_data();
    void a_widget_parent_is_the_boxes_dialog_parent();
    void a_parent_that_is_no_widget_gives_no_dialog_parent_data();
    void a_parent_that_is_no_widget_gives_no_dialog_parent();
    void show_message_returns_after_the_slots_of_the_answer();
    void the_question_box_is_destroyed_after_the_answer_was_delivered();
    void one_object_may_be_shown_any_number_of_times();
};

void tst_URMessageBox::its_signals_are_close_ok_yes_cancel_in_this_order()
{
    QCOMPARE(gOwnMethods(URMessageBox::staticMetaObject, QMetaMethod::Signal),
             QByteArrayList({"Close()", "Ok()", "Yes()", "Cancel()"}));
    QCOMPARE(URMessageBox::staticMetaObject.superClass(), &QObject::staticMetaObject);
}

void tst_URMessageBox::it_is_owned_by_its_parent()
{
    QPointer<URMessageBox> box;
    {
        QObject parent;
        box = new URMessageBox(URMessageBox::Question, &parent);
        QCOMPARE(box->parent(), &parent);
    }
    QVERIFY(box.isNull());
}

void tst_URMessageBox::the_kinds_have_the_values_that_callers_pass()
{
    QCOMPARE(int(URMessageBox::Information), 0);
    QCOMPARE(int(URMessageBox::Question), 1);
}

void tst_URMessageBox::an_answer_becomes_one_signal_data()
{
    QTest::addColumn<int>("kind");
    QTest::addColumn<BoxAnswerer::Answer>("answer");
    QTest::addColumn<QStringList>("emitted");
    const int question = URMessageBox::Question;
    const int information = URMessageBox::Information;
    QTest::newRow("a_question_answered_with_the_yes_button_emits_yes")
        << question << BoxAnswerer::Press("CvMessageBox_YesBtn") << QStringList("Yes");
    QTest::newRow("a_question_answered_with_the_cancel_button_emits_cancel")
        << question << BoxAnswerer::Press("CvMessageBox_CancelBtn") << QStringList("Cancel");
    QTest::newRow("a_question_closed_with_the_windows_close_control_emits_cancel")
        << question << BoxAnswerer::CloseBox() << QStringList("Cancel");
    QTest::newRow("a_question_left_with_escape_emits_cancel")
        << question << gPressKey(Qt::Key_Escape) << QStringList("Cancel");
    QTest::newRow("an_information_answered_with_the_ok_button_emits_ok")
        << information << BoxAnswerer::Press("CvMessageBox_OkBtn") << QStringList("Ok");
    QTest::newRow("an_information_that_is_only_closed_emits_ok_as_well")
        << information << BoxAnswerer::CloseBox() << QStringList("Ok");
    QTest::newRow("an_information_left_with_escape_emits_ok_as_well")
        << information << gPressKey(Qt::Key_Escape) << QStringList("Ok");
}

void tst_URMessageBox::an_answer_becomes_one_signal()
{
    QFETCH(int, kind);
    QFETCH(BoxAnswerer::Answer, answer);
    URMessageBox box(kind, nullptr);
    SignalLog log(&box);
    BoxAnswerer user(answer);
    box.ShowMessage("Information", "Download completed.");
    QCOMPARE(user.Answered(), 1);
    QTEST(log.calls, "emitted");
}

void tst_URMessageBox::a_question_box_has_yes_and_cancel_the_question_icon_and_its_size()
{
    URMessageBox box(URMessageBox::Question, nullptr);
    const SeenBox seen = gShowAndAnswer(box, BoxAnswerer::CloseBox());
    QCOMPARE(seen.buttons, QStringList({"CvMessageBox_CancelBtn", "CvMessageBox_YesBtn"}));
    QVERIFY(seen.buttonsOnTheRight);
    QVERIFY(seen.questionIcon);
    QCOMPARE(seen.size, QSize(560, 186));
    QVERIFY(seen.modal);
    QVERIFY(seen.texts.contains("Information"));
    QVERIFY(seen.texts.contains("Download completed."));
}

void tst_URMessageBox::an_information_box_has_ok_and_its_size()
{
    URMessageBox box(URMessageBox::Information, nullptr);
    const SeenBox seen = gShowAndAnswer(box, BoxAnswerer::CloseBox());
    QCOMPARE(seen.buttons, QStringList({"CvMessageBox_OkBtn"}));
    QVERIFY(!seen.questionIcon);
    QCOMPARE(seen.size, QSize(560, 186));
    QVERIFY(seen.modal);
    QVERIFY(seen.texts.contains("Information"));
    QVERIFY(seen.texts.contains("Download completed."));
}

void tst_URMessageBox::any_other_kind_shows_nothing_and_emits_nothing_data()
{
    QTest::addColumn<int>("kind");
    QTest::newRow("the_first_number_behind_the_kinds") << 2;
    QTest::newRow("a_negative_number") << -1;
    QTest::newRow("a_number_whose_low_byte_is_a_kind") << 0x101;
}

void tst_URMessageBox::any_other_kind_shows_nothing_and_emits_nothing()
{
    QFETCH(int, kind);
    URMessageBox box(kind, nullptr);
    SignalLog log(&box);
    BoxAnswerer user(BoxAnswerer::CloseBox());
    box.ShowMessage("Information", "Download completed.");
    QCOMPARE(user.Answered(), 0);
    QCOMPARE(log.calls, QStringList());
    QVERIFY(!QApplication::activeModalWidget());
}

void tst_URMessageBox::a_widget_parent_is_the_boxes_dialog_parent_data()
{
    QTest::addColumn<int>("kind");
    QTest::newRow("of_a_question") << int(URMessageBox::Question);
    QTest::newRow("of_an_information") << int(URMessageBox::Information);
}

void tst_URMessageBox::a_widget_parent_is_the_boxes_dialog_parent()
{
    QFETCH(int, kind);
    QWidget parent;
    auto *box = new URMessageBox(kind, &parent);
    QCOMPARE(gShowAndAnswer(*box, BoxAnswerer::CloseBox()).parent, &parent);
}

void tst_URMessageBox::a_parent_that_is_no_widget_gives_no_dialog_parent_data()
{
    a_widget_parent_is_the_boxes_dialog_parent_data();
}

void tst_URMessageBox::a_parent_that_is_no_widget_gives_no_dialog_parent()
{
    QFETCH(int, kind);
    QObject parent;
    auto *owned = new URMessageBox(kind, &parent);
    QCOMPARE(gShowAndAnswer(*owned, BoxAnswerer::CloseBox()).parent, nullptr);
    URMessageBox free(kind, nullptr);
    QCOMPARE(gShowAndAnswer(free, BoxAnswerer::CloseBox()).parent, nullptr);
}

void tst_URMessageBox::show_message_returns_after_the_slots_of_the_answer()
{
    URMessageBox box(URMessageBox::Question, nullptr);
    SignalLog log(&box);
    BoxAnswerer user(BoxAnswerer::Press("CvMessageBox_YesBtn"));
    box.ShowMessage("Information", "Download completed.");
    log.calls << "returned";
    QCOMPARE(log.calls, QStringList({"Yes", "returned"}));
}

void tst_URMessageBox::the_question_box_is_destroyed_after_the_answer_was_delivered()
{
    URMessageBox box(URMessageBox::Question, nullptr);
    QPointer<QWidget> shown;
    bool aliveInSlot = false;
    connect(&box, &URMessageBox::Yes, this, [&]() { aliveInSlot = !shown.isNull(); });
    gShowAndAnswer(box, [&shown](QWidget *seen) {
        shown = seen;
        BoxAnswerer::Press("CvMessageBox_YesBtn")(seen);
    });
    QVERIFY(aliveInSlot);
    QVERIFY(shown.isNull());
}

void tst_URMessageBox::one_object_may_be_shown_any_number_of_times()
{
    URMessageBox box(URMessageBox::Question, nullptr);
    SignalLog log(&box);
    gShowAndAnswer(box, BoxAnswerer::Press("CvMessageBox_YesBtn"));
    gShowAndAnswer(box, BoxAnswerer::CloseBox());
    gShowAndAnswer(box, BoxAnswerer::Press("CvMessageBox_YesBtn"));
    QCOMPARE(log.calls, QStringList({"Yes", "Cancel", "Yes"}));
}

QTEST_MAIN(tst_URMessageBox)
#include "tst_URMessageBox.moc"
