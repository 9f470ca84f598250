// SPDX-License-Identifier: MIT

#include "update/base/DownloadState.h"

#include <QtTest>

class tst_DownloadState : public QObject
{
    Q_OBJECT

private slots:
    void a_new_state_is_empty();
    void every_caller_shares_one_state();
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

QTEST_GUILESS_MAIN(tst_DownloadState)
#include "tst_DownloadState.moc"
