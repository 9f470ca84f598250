// SPDX-License-Identifier: MIT

#include "update/transfer/RetryPolicy.h"

#include <QtTest>

class tst_RetryPolicy : public QObject
{
    Q_OBJECT

private slots:
    void five_cuts_have_their_waits_and_no_further_one_has();
    void two_stalls_are_asked_for_again_and_no_further_one_is();
    void a_cut_behind_a_mebibyte_is_followed_at_once();
    void a_byte_resets_both_counts();
    void a_cut_leaves_the_count_of_stalls();
    void a_stall_leaves_the_count_of_cuts();
    void it_is_asking_again_behind_a_cut_or_a_stall();

private:
    /// The wait behind one more cut in seconds; 0 when there is none.
    static int Cut(RetryPolicy &policy)
    {
        const auto wait = policy.Cut();
        return wait.has_value() ? static_cast<int>(wait->count() / 1000) : 0;
    }
};

void tst_RetryPolicy::five_cuts_have_their_waits_and_no_further_one_has()
{
    RetryPolicy policy;
    QList<int> waits;
    for (int cut = 1; cut <= 7; ++cut) {
        waits.append(Cut(policy));
    }
    const QList<int> expected{1, 2, 4, 8, 16, 0, 0};
    QCOMPARE(waits, expected);
}

void tst_RetryPolicy::two_stalls_are_asked_for_again_and_no_further_one_is()
{
    RetryPolicy policy;
    QVERIFY(policy.Stalled());
    QVERIFY(policy.Stalled());
    QVERIFY(!policy.Stalled());
    QVERIFY(!policy.Stalled());
}

void tst_RetryPolicy::a_cut_behind_a_mebibyte_is_followed_at_once()
{
    using std::chrono::milliseconds;

    RetryPolicy policy;
    policy.BytesReceived(RetryPolicy::worthAskingAtOnce - 1);
    policy.BytesReceived(1);
    QVERIFY(!policy.IsAskingAgain());
    QCOMPARE(policy.Cut(), std::make_optional(milliseconds(0)));
    QVERIFY(policy.IsAskingAgain());
    QCOMPARE(policy.Cut(), std::make_optional(milliseconds(1000)));
    QCOMPARE(policy.Cut(), std::make_optional(milliseconds(2000)));
    policy.BytesReceived(RetryPolicy::worthAskingAtOnce - 1);
    QCOMPARE(policy.Cut(), std::make_optional(milliseconds(1000)));
    policy.BytesReceived(1);
    QCOMPARE(policy.Cut(), std::make_optional(milliseconds(1000)));
}

void tst_RetryPolicy::a_byte_resets_both_counts()
{
    RetryPolicy policy;
    policy.Stalled();
    policy.Stalled();
    Cut(policy);
    Cut(policy);
    policy.BytesReceived(1);
    QVERIFY(!policy.IsAskingAgain());
    QCOMPARE(Cut(policy), 1);
    QVERIFY(policy.Stalled());
    QVERIFY(policy.Stalled());
    QVERIFY(!policy.Stalled());
}

void tst_RetryPolicy::a_cut_leaves_the_count_of_stalls()
{
    RetryPolicy policy;
    policy.Stalled();
    policy.Stalled();
    Cut(policy);
    QVERIFY(!policy.Stalled());
}

void tst_RetryPolicy::a_stall_leaves_the_count_of_cuts()
{
    RetryPolicy policy;
    Cut(policy);
    policy.Stalled();
    QCOMPARE(Cut(policy), 2);
}

void tst_RetryPolicy::it_is_asking_again_behind_a_cut_or_a_stall()
{
    RetryPolicy cut;
    QVERIFY(!cut.IsAskingAgain());
    Cut(cut);
    QVERIFY(cut.IsAskingAgain());
    RetryPolicy stalled;
    stalled.Stalled();
    QVERIFY(stalled.IsAskingAgain());
}

QTEST_APPLESS_MAIN(tst_RetryPolicy)
#include "tst_RetryPolicy.moc"
