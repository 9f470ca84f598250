// SPDX-License-Identifier: MIT

#include "update/base/DownloadState.h"

#include <QtTest>

Q_DECLARE_METATYPE(DownloadState::Left)

class tst_DownloadState : public QObject
{
    Q_OBJECT

private slots:
    void a_new_state_is_empty();
    void every_caller_shares_one_state();
    void a_plan_begins_without_what_was_before();
    void what_is_left_is_told_once_data();
    void what_is_left_is_told_once();
    void a_package_of_no_size_is_never_complete();
    void one_call_ends_the_download();
};

void tst_DownloadState::a_new_state_is_empty()
{
    const DownloadState &state = gDownloadState();
    QVERIFY(state.validator.isEmpty());
    QCOMPARE(state.downloadStarted, false);
    QCOMPARE(state.alreadyDownloaded, qint64(0));
    QCOMPARE(state.activeSegments, 0);
    QCOMPARE(state.finishedSegments, 0);
    QVERIFY(state.installerReady.isEmpty());
}

void tst_DownloadState::every_caller_shares_one_state()
{
    gDownloadState().alreadyDownloaded = 5000000000;
    QCOMPARE(gDownloadState().alreadyDownloaded, qint64(5000000000));
    QCOMPARE(&gDownloadState(), &gDownloadState());
}

void tst_DownloadState::a_plan_begins_without_what_was_before()
{
    DownloadState state;
    state.finishedSegments = 4;
    state.validator = "\"one\"";
    state.BeginPlan();
    QVERIFY(state.downloadStarted);
    QCOMPARE(state.finishedSegments, 0);
    QVERIFY(state.validator.isEmpty());
}

void tst_DownloadState::what_is_left_is_told_once_data()
{
    QTest::addColumn<qint64>("written");
    QTest::addColumn<int>("ranges");
    QTest::addColumn<DownloadState::Left>("expected");
    QTest::newRow("all_bytes_with_the_last_range")
        << qint64(100) << 3 << DownloadState::Left::Nothing;
    QTest::newRow("bytes_are_missing") << qint64(99) << 3 << DownloadState::Left::Bytes;
    QTest::newRow("all_bytes_before_the_last_range")
        << qint64(100) << 1 << DownloadState::Left::Nothing;
}

void tst_DownloadState::what_is_left_is_told_once()
{
    QFETCH(qint64, written);
    QFETCH(int, ranges);
    QFETCH(DownloadState::Left, expected);
    DownloadState state;
    state.BeginPlan();
    state.activeSegments = 3;
    for (int ended = 1; ended < ranges; ++ended) {
        QCOMPARE(state.CountEndedRange(100), DownloadState::Left::Others);
        QCOMPARE(state.finishedSegments, ended);
    }
    state.alreadyDownloaded = written;
    QCOMPARE(state.CountEndedRange(100), expected);
    QVERIFY(!state.downloadStarted);
    QCOMPARE(state.finishedSegments, 0);
    for (int late = 0; late < 3; ++late) {
        QCOMPARE(state.CountEndedRange(100), DownloadState::Left::Others);
        QCOMPARE(state.finishedSegments, 0);
    }
}

void tst_DownloadState::a_package_of_no_size_is_never_complete()
{
    DownloadState state;
    state.BeginPlan();
    state.activeSegments = 2;
    QCOMPARE(state.CountEndedRange(0), DownloadState::Left::Others);
    QCOMPARE(state.CountEndedRange(0), DownloadState::Left::Bytes);
}

void tst_DownloadState::one_call_ends_the_download()
{
    DownloadState state;
    QVERIFY(!state.EndDownload());
    state.BeginPlan();
    state.finishedSegments = 2;
    QVERIFY(state.EndDownload());
    QCOMPARE(state.finishedSegments, 0);
    QVERIFY(!state.EndDownload());
}

QTEST_GUILESS_MAIN(tst_DownloadState)
#include "tst_DownloadState.moc"
