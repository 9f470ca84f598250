// SPDX-License-Identifier: MIT

#include "update/plan/ResumePoint.h"

#include "tests/update/UpdateRig.h"

#include <QTemporaryDir>
#include <QtTest>

/// The point from which a download of 1000 bytes resumes, before and after a restart of the
/// machine.
class tst_ResumePoint : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void within_a_boot_the_ranges_go_on_at_their_next_bytes();
    void after_another_start_they_go_on_at_what_was_flushed_data();
    void after_another_start_they_go_on_at_what_was_flushed();
    void a_doubtful_state_is_taken_back_data();
    void a_doubtful_state_is_taken_back();
    void a_flushed_byte_that_cannot_be_is_not_believed();
    void a_state_that_knows_of_no_boot_is_taken_at_its_word();
    void a_recorded_plan_is_read_back();
    void whether_a_plan_is_usable_data();
    void whether_a_plan_is_usable();
    void ranges_that_are_all_complete_need_all_bytes();
    void a_state_belongs_to_one_file_and_one_package_data();
    void a_state_belongs_to_one_file_and_one_package();
    void a_state_of_no_file_belongs_to_none();
    void a_state_that_names_nothing_belongs_to_every_file();

private:
    QList<qint64> Starts(const ResumePoint &point) const
    {
        QList<qint64> starts;
        for (const ByteRange &range : point.ranges) {
            starts.append(range.start);
        }
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
    gSetPlan(state, 1000, gFreshStart(1000), "boot one", {"file", "md5", "9.2"});
    QVERIFY(state->Sync());
    for (int number = 1; number <= 5; ++number) {
        state->SetStartByte(number, (number - 1) * 200 + 50);
        state->SetFlushedByte(number, (number - 1) * 200 + 30);
    }
    state->SetAlreadyDownloaded(250);
}

void tst_ResumePoint::within_a_boot_the_ranges_go_on_at_their_next_bytes()
{
    ResumeState state(m_folder->path());
    WriteHalf(&state);
    const ResumePoint point = gResumePoint(state, 1000, "boot one");
    const QList<qint64> expected{50, 250, 450, 650, 850};
    QCOMPARE(Starts(point), expected);
    QCOMPARE(point.alreadyDownloaded, qint64(250));
    QVERIFY(!point.isTakenBack);
}

void tst_ResumePoint::after_another_start_they_go_on_at_what_was_flushed_data()
{
    QTest::addColumn<QString>("boot");
    QTest::newRow("another_boot") << "boot two";
    QTest::newRow("a_boot_that_nobody_knows") << QString();
}

void tst_ResumePoint::after_another_start_they_go_on_at_what_was_flushed()
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

void tst_ResumePoint::a_doubtful_state_is_taken_back_data()
{
    QTest::addColumn<QString>("boot");
    QTest::newRow("in_the_same_boot") << "boot one";
    QTest::newRow("where_no_boot_is_known") << QString();
}

void tst_ResumePoint::a_doubtful_state_is_taken_back()
{
    QFETCH(QString, boot);
    ResumeState state(m_folder->path());
    WriteHalf(&state);
    state.SetBootId(QString());
    const ResumePoint point = gResumePoint(state, 1000, boot);
    const QList<qint64> expected{30, 230, 430, 630, 830};
    QCOMPARE(Starts(point), expected);
    QCOMPARE(point.alreadyDownloaded, qint64(150));
    QVERIFY(point.isTakenBack);
}

void tst_ResumePoint::a_flushed_byte_that_cannot_be_is_not_believed()
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

void tst_ResumePoint::a_state_that_knows_of_no_boot_is_taken_at_its_word()
{
    QVERIFY(gWriteFile(m_folder->filePath("CvBreakResumeDownLoad.ini"),
                       "[DownLoad_Tasks]\nStart_Byte1=7\nEnd_Byte1=199\n"
                       "[AlreadyDownload_size]\nAlreadyDownload_size=7\n"));
    const ResumePoint point = gResumePoint(ResumeState(m_folder->path()), 1000, "boot one");
    QCOMPARE(point.ranges.front().start, qint64(7));
    QCOMPARE(point.alreadyDownloaded, qint64(7));
    QVERIFY(!point.isTakenBack);
}

void tst_ResumePoint::a_recorded_plan_is_read_back()
{
    ResumeState state(m_folder->path());
    gSetPlan(&state, 1003, gFreshStart(1003), "boot one", {"file", "md5", "9.2"});
    QVERIFY(state.Sync());
    QCOMPARE(state.PackageSize(), 1003);
    QCOMPARE(state.BootId(), QStringLiteral("boot one"));
    QCOMPARE(state.FlushedByte(5), 800);
    const ResumePoint point = gResumePoint(state, 1003, "boot one");
    const QList<qint64> expected{0, 200, 400, 600, 800};
    QCOMPARE(Starts(point), expected);
    QCOMPARE(point.ranges.back().end, qint64(1002));
}

void tst_ResumePoint::whether_a_plan_is_usable_data()
{
    QTest::addColumn<qint64>("start");
    QTest::addColumn<qint64>("end");
    QTest::addColumn<bool>("usable");
    QTest::newRow("a_range_that_is_missing") << qint64(0) << qint64(199) << true;
    QTest::newRow("a_range_that_is_complete") << qint64(200) << qint64(199) << true;
    QTest::newRow("a_range_that_was_never_written") << qint64(0) << qint64(0) << true;
    QTest::newRow("a_range_behind_its_end") << qint64(201) << qint64(199) << false;
    QTest::newRow("a_range_before_the_package") << qint64(-1) << qint64(199) << false;
}

void tst_ResumePoint::whether_a_plan_is_usable()
{
    QFETCH(qint64, start);
    QFETCH(qint64, end);
    QFETCH(bool, usable);
    ResumePoint point = gFreshStart(1000);
    point.ranges.front() = {start, end};
    QCOMPARE(gIsUsable(point, 1000), usable);
}

void tst_ResumePoint::ranges_that_are_all_complete_need_all_bytes()
{
    ResumePoint point = gFreshStart(1000);
    for (ByteRange &range : point.ranges) {
        range.start = range.end + 1;
    }
    point.alreadyDownloaded = 999;
    QVERIFY(!gIsUsable(point, 1000));
    point.alreadyDownloaded = 1000;
    QVERIFY(gIsUsable(point, 1000));
    // With a range that is missing, the number is what its writer counted, and goes on from there.
    point.ranges.back().start -= 1;
    point.alreadyDownloaded = 7;
    QVERIFY(gIsUsable(point, 1000));
}

void tst_ResumePoint::a_state_belongs_to_one_file_and_one_package_data()
{
    QTest::addColumn<QString>("file");
    QTest::addColumn<QString>("md5");
    QTest::addColumn<QString>("version");
    QTest::addColumn<bool>("belongs");
    QTest::newRow("the_same") << "file"
                              << "md5"
                              << "9.2" << true;
    QTest::newRow("another_file") << "other"
                                  << "md5"
                                  << "9.2" << false;
    QTest::newRow("another_package") << "file"
                                     << "other"
                                     << "9.2" << false;
    QTest::newRow("a_package_without_an_md5") << "file"
                                              << ""
                                              << "9.2" << false;
    QTest::newRow("another_version") << "file"
                                     << "md5"
                                     << "9.3" << false;
}

void tst_ResumePoint::a_state_belongs_to_one_file_and_one_package()
{
    QFETCH(QString, file);
    QFETCH(QString, md5);
    QFETCH(QString, version);
    QFETCH(bool, belongs);
    {
        ResumeState state(m_folder->path());
        WriteHalf(&state);
        QVERIFY(state.Sync());
    }
    const ResumeState state(m_folder->path());
    QCOMPARE(gBelongsTo(state, {file, md5, version}), belongs);
}

void tst_ResumePoint::a_state_of_no_file_belongs_to_none()
{
    ResumeState state(m_folder->path());
    WriteHalf(&state);
    state.SetIdentity({QString(), "md5", "9.2"});
    QVERIFY(!gBelongsTo(state, {QString(), "md5", "9.2"}));
}

void tst_ResumePoint::a_state_that_names_nothing_belongs_to_every_file()
{
    QVERIFY(gWriteFile(m_folder->filePath("CvBreakResumeDownLoad.ini"),
                       "[FullPackage_size]\nFullPackage_size=1000\n"));
    QVERIFY(gBelongsTo(ResumeState(m_folder->path()), {"file", "md5", "9.2"}));
}

QTEST_GUILESS_MAIN(tst_ResumePoint)
#include "tst_ResumePoint.moc"
