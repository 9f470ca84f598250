#include "update/DownloadPlan.h"

#include <QtTest>

class tst_DownloadPlan : public QObject
{
    Q_OBJECT

private slots:
    void TheRangesAre_data();
    void TheRangesAre();
    void TheRangesFollowEachOtherWithoutGap_data();
    void TheRangesFollowEachOtherWithoutGap();
};

void tst_DownloadPlan::TheRangesAre_data()
{
    QTest::addColumn<qint64>("total");
    QTest::addColumn<QString>("expected");
    QTest::newRow("the last range takes the remainder")
        << qint64(1000003) << "0-199999 200000-399999 400000-599999 600000-799999 800000-1000002";
    QTest::newRow("a multiple of five is cut evenly") << qint64(10) << "0-1 2-3 4-5 6-7 8-9";
    QTest::newRow("five bytes: one each") << qint64(5) << "0-0 1-1 2-2 3-3 4-4";
    QTest::newRow("four bytes: all in the last range") << qint64(4) << "0--1 0--1 0--1 0--1 0-3";
    QTest::newRow("one byte: in the last range") << qint64(1) << "0--1 0--1 0--1 0--1 0-0";
    QTest::newRow("nothing: five empty ranges") << qint64(0) << "0--1 0--1 0--1 0--1 0--1";
}

void tst_DownloadPlan::TheRangesAre()
{
    QFETCH(qint64, total);
    QFETCH(QString, expected);
    QStringList ranges;
    for (const ByteRange &range : gSplitIntoRanges(total))
        ranges.append(QStringLiteral("%1-%2").arg(range.start).arg(range.end));
    QCOMPARE(ranges.join(' '), expected);
}

void tst_DownloadPlan::TheRangesFollowEachOtherWithoutGap_data()
{
    QTest::addColumn<qint64>("total");
    for (qint64 total : {qint64(6), qint64(9), qint64(65537), qint64(2147483647)})
        QTest::addRow("%lld bytes", static_cast<long long>(total)) << total;
}

void tst_DownloadPlan::TheRangesFollowEachOtherWithoutGap()
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
