// SPDX-License-Identifier: MIT

#include "demo/corvina/GapHistogram.h"

#include <QtTest>

class tst_GapHistogram : public QObject
{
    Q_OBJECT

private slots:
    void no_gaps_are_no_time();
    void the_longest_gap_is_told_to_the_nanosecond();
    void one_gap_in_a_thousand_may_exceed_p999_data();
    void one_gap_in_a_thousand_may_exceed_p999();
};

void tst_GapHistogram::no_gaps_are_no_time()
{
    const GapHistogram gaps;
    QCOMPARE(gaps.MaxMs(), 0.0);
    QCOMPARE(gaps.P999Ms(), 0.0);
}

void tst_GapHistogram::the_longest_gap_is_told_to_the_nanosecond()
{
    GapHistogram gaps;
    gaps.Add(1000000);
    gaps.Add(12345678);
    gaps.Add(2000000);
    QCOMPARE(gaps.MaxMs(), 12.345678);
}

void tst_GapHistogram::one_gap_in_a_thousand_may_exceed_p999_data()
{
    QTest::addColumn<int>("ordinary");
    QTest::addColumn<int>("others");
    QTest::addColumn<double>("p999");
    QTest::newRow("all_the_same") << 5000 << 0 << 1.0;
    QTest::newRow("fewer_than_a_thousand") << 998 << 1 << 30.0;
    QTest::newRow("one_in_a_thousand") << 999 << 1 << 1.0;
    QTest::newRow("two_in_a_thousand") << 998 << 2 << 30.0;
    QTest::newRow("ten_in_ten_thousand") << 9990 << 10 << 1.0;
    QTest::newRow("eleven_in_ten_thousand") << 9989 << 11 << 30.0;
}

void tst_GapHistogram::one_gap_in_a_thousand_may_exceed_p999()
{
    QFETCH(int, ordinary);
    QFETCH(int, others);
    GapHistogram gaps;
    for (int gap = 0; gap < ordinary; ++gap) {
        gaps.Add(1004000);
    }
    for (int gap = 0; gap < others; ++gap) {
        gaps.Add(30000000);
    }
    QTEST(gaps.P999Ms(), "p999");
}

QTEST_GUILESS_MAIN(tst_GapHistogram)
#include "tst_GapHistogram.moc"
