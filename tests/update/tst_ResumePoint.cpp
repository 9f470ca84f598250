#include "update/ResumePoint.h"

#include "tests/update/UpdateRig.h"

#include <QTemporaryDir>
#include <QtTest>

/// Where a download of 1000 bytes goes on, before and after the machine was started again.
class tst_ResumePoint : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void WithinABootTheRangesGoOnAtTheirNextBytes();
    void AfterAnotherStartTheyGoOnAtWhatWasFlushed_data();
    void AfterAnotherStartTheyGoOnAtWhatWasFlushed();
    void AFlushedByteThatCannotBeIsNotBelieved();
    void AStateThatKnowsOfNoBootIsTakenAtItsWord();
    void ARecordedPlanIsReadBack();
    void WhetherAPlanIsUsable_data();
    void WhetherAPlanIsUsable();

private:
    QList<qint64> Starts(const ResumePoint &point) const
    {
        QList<qint64> starts;
        for (const ByteRange &range : point.ranges)
            starts.append(range.start);
        return starts;
    }
    /// A plan of "boot one" of which 50 bytes of each range were written and 30 flushed.
    void WriteHalf(ResumeState *state) const;

    std::unique_ptr<QTemporaryDir> m_folder;
};

void tst_ResumePoint::init()
{
    m_folder = std::make_unique<QTemporaryDir>();
}

void tst_ResumePoint::WriteHalf(ResumeState *state) const
{
    QVERIFY(gRecordPlan(state, 1000, gFreshStart(1000), "boot one"));
    for (int number = 1; number <= 5; ++number) {
        state->SetStartByte(number, (number - 1) * 200 + 50);
        state->SetFlushedByte(number, (number - 1) * 200 + 30);
    }
    state->SetAlreadyDownloaded(250);
}

void tst_ResumePoint::WithinABootTheRangesGoOnAtTheirNextBytes()
{
    ResumeState state(m_folder->path());
    WriteHalf(&state);
    const ResumePoint point = gResumePoint(state, 1000, "boot one");
    const QList<qint64> expected{50, 250, 450, 650, 850};
    QCOMPARE(Starts(point), expected);
    QCOMPARE(point.alreadyDownloaded, qint64(250));
    QVERIFY(!point.isTakenBack);
}

void tst_ResumePoint::AfterAnotherStartTheyGoOnAtWhatWasFlushed_data()
{
    QTest::addColumn<QString>("boot");
    QTest::newRow("another boot") << "boot two";
    QTest::newRow("a boot that nobody knows") << QString();
}

void tst_ResumePoint::AfterAnotherStartTheyGoOnAtWhatWasFlushed()
{
    QFETCH(QString, boot);
    ResumeState state(m_folder->path());
    WriteHalf(&state);
    const ResumePoint point = gResumePoint(state, 1000, boot);
    const QList<qint64> expected{30, 230, 430, 630, 830};
    QCOMPARE(Starts(point), expected);
    QCOMPARE(point.alreadyDownloaded, qint64(150));
    QVERIFY(point.isTakenBack);
    QCOMPARE(point.ranges.back().end, qint64(999));
}

void tst_ResumePoint::AFlushedByteThatCannotBeIsNotBelieved()
{
    ResumeState state(m_folder->path());
    WriteHalf(&state);
    state.SetFlushedByte(1, 60);
    state.SetFlushedByte(2, 0);
    state.SetFlushedByte(3, -5);
    const ResumePoint point = gResumePoint(state, 1000, "boot two");
    const QList<qint64> expected{50, 200, 400, 630, 830};
    QCOMPARE(Starts(point), expected);
    QCOMPARE(point.alreadyDownloaded, qint64(50 + 0 + 0 + 30 + 30));
}

void tst_ResumePoint::AStateThatKnowsOfNoBootIsTakenAtItsWord()
{
    QVERIFY(gWriteFile(m_folder->filePath("CvBreakResumeDownLoad.ini"),
                       "[DownLoad_Tasks]\nStart_Byte1=7\nEnd_Byte1=199\n"
                       "[AlreadyDownload_size]\nAlreadyDownload_size=7\n"));
    const ResumePoint point = gResumePoint(ResumeState(m_folder->path()), 1000, "boot one");
    QCOMPARE(point.ranges.front().start, qint64(7));
    QCOMPARE(point.alreadyDownloaded, qint64(7));
    QVERIFY(!point.isTakenBack);
}

void tst_ResumePoint::ARecordedPlanIsReadBack()
{
    ResumeState state(m_folder->path());
    QVERIFY(gRecordPlan(&state, 1003, gFreshStart(1003), "boot one"));
    QCOMPARE(state.PackageSize(), 1003);
    QCOMPARE(state.BootId(), QStringLiteral("boot one"));
    QCOMPARE(state.FlushedByte(5), 800);
    const ResumePoint point = gResumePoint(state, 1003, "boot one");
    const QList<qint64> expected{0, 200, 400, 600, 800};
    QCOMPARE(Starts(point), expected);
    QCOMPARE(point.ranges.back().end, qint64(1002));
}

void tst_ResumePoint::WhetherAPlanIsUsable_data()
{
    QTest::addColumn<qint64>("start");
    QTest::addColumn<qint64>("end");
    QTest::addColumn<bool>("usable");
    QTest::newRow("a range that is missing") << qint64(0) << qint64(199) << true;
    QTest::newRow("a range that is complete") << qint64(200) << qint64(199) << true;
    QTest::newRow("a range that was never written") << qint64(0) << qint64(0) << true;
    QTest::newRow("a range behind its end") << qint64(201) << qint64(199) << false;
    QTest::newRow("a range before the package") << qint64(-1) << qint64(199) << false;
}

void tst_ResumePoint::WhetherAPlanIsUsable()
{
    QFETCH(qint64, start);
    QFETCH(qint64, end);
    QFETCH(bool, usable);
    ResumePoint point = gFreshStart(1000);
    point.ranges.front() = {start, end};
    QCOMPARE(gIsUsable(point), usable);
}

QTEST_GUILESS_MAIN(tst_ResumePoint)
#include "tst_ResumePoint.moc"
