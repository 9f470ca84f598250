// SPDX-License-Identifier: MIT

#include "BaseDialog.h"

#include <QtTest>

#include <functional>

class tst_BaseDialog : public QObject
{
    Q_OBJECT

private slots:
    void the_modal_loop_returns_1_only_for_the_affirmative_answer_data();
    void the_modal_loop_returns_1_only_for_the_affirmative_answer();
};

using Answer = std::function<void(BaseDialog *)>;
Q_DECLARE_METATYPE(Answer)

void tst_BaseDialog::the_modal_loop_returns_1_only_for_the_affirmative_answer_data()
{
    QTest::addColumn<Answer>("answer");
    QTest::addColumn<int>("result");
    QTest::newRow("accepting_gives_1") << Answer([](BaseDialog *box) { box->accept(); }) << 1;
    QTest::newRow("rejecting_gives_0") << Answer([](BaseDialog *box) { box->reject(); }) << 0;
    QTest::newRow("closing_gives_0") << Answer([](BaseDialog *box) { box->close(); }) << 0;
    QTest::newRow("a_code_of_another_kind_gives_0")
        << Answer([](BaseDialog *box) { box->done(7); }) << 0;
    QTest::newRow("escape_gives_0")
        << Answer([](BaseDialog *box) { QTest::keyClick(box, Qt::Key_Escape); }) << 0;
}

void tst_BaseDialog::the_modal_loop_returns_1_only_for_the_affirmative_answer()
{
    QFETCH(Answer, answer);
    QFETCH(int, result);
    BaseDialog dialog;
    bool wasModal = false;
    QTimer::singleShot(0, &dialog, [&]() {
        wasModal = QApplication::activeModalWidget() == &dialog;
        answer(&dialog);
    });

    QCOMPARE(dialog.DoModal(), result);
    QVERIFY(wasModal);
    QVERIFY(dialog.isHidden());
}

QTEST_MAIN(tst_BaseDialog)
#include "tst_BaseDialog.moc"
