// SPDX-License-Identifier: MIT

#include "update/plan/DownloadPlan.h"

#include <QtTest>

class tst_DownloadPlan : public QObject
{
    Q_OBJECT

private slots:
    void the_ranges_are_data();
    void the_ranges_are();
    void the_ranges_follow_each_other_without_gap_data();
    void the_ranges_follow_each_other_without_gap();
};

void tst_DownloadPlan::the_ranges_are_data()
{
    QTest::addColumn<qint64>("total");
    QTest::addColumn<QString>("expected");
    QTest::newRow("the_last_range_takes_the_remainder")
        << qint64(1000003) << "0-199999 200000-399999 400000-599999 600000-799999 800000-1000002";
    QTest::newRow("a_multiple_of_five_is_cut_evenly") << qint64(10) << "0-1 2-3 4-5 6-7 8-9";
    QTest::newRow("five_bytes_one_each") << qint64(5) << "0-0 1-1 2-2 3-3 4-4";
    QTest::newRow("four_bytes_all_in_the_last_range") << qint64(4) << "0--1 0--1 0--1 0--1 0-3";
    QTest::newRow("one_byte_in_the_last_range") << qint64(1) << "0--1 0--1 0--1 0--1 0-0";
    QTest::newRow("nothing_five_empty_ranges") << qint64(0) << "0--1 0--1 0--1 0--1 0--1";
}

void tst_DownloadPlan::the_ranges_are()
{
    QFETCH(qint64, total);
    QFETCH(QString, expected);
    QStringList ranges;
    for (const ByteRange &range : gSplitIntoRanges(total)) {
        ranges.append(QStringLiteral("%1-%2").arg(range.start).arg(range.end));
    }
    QCOMPARE(ranges.join(' '), expected);
}

void tst_DownloadPlan::the_ranges_follow_each_other_without_gap_data()
{
    QTest::addColumn<qint64>("total");
    for (qint64 total : {qint64(6), qint64(9), qint64(65537), qint64(2147483647)}) {
        QTest::addRow("%lld_bytes", static_cast<long long>(total)) << total;
    }
}

void tst_DownloadPlan::the_ranges_follow_each_other_without_gap()
{
    QFETCH(qint64, total);
    qint64 next = 0;
    for (const ByteRange &range : gSplitIntoRanges(total)) {
        QCOMPARE(range.start, next);
        next = range.end + 1;
    }
    QCOMPARE(next, total);
}

QTEST_GUILESS_MAIN(tst_DownloadPlan)
#include "tst_DownloadPlan.moc"
