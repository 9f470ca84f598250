// SPDX-License-Identifier: MIT

#include "tests/support/LogCapture.h"
#include "tests/support/TestBytes.h"
#include "tests/update/UpdateRig.h"
#include "update/base/DownloadState.h"
#include "update/install/PostponedInstaller.h"
#include "update/plan/PlanFiles.h"
#include "update/plan/ResumePoint.h"

#include <QtTest>

#include <csignal>

#include <sys/resource.h>

/// Full disks, and targets that are missing. A limit on the size of files makes a write fail
/// half-way, as a full disk does.
class tst_DownloadMgr_Disk : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void cleanup();
    void a_full_disk_is_told_at_once_and_the_rest_follows_when_there_is_room();
    void a_target_that_vanishes_is_told_and_not_made_anew();
    void a_target_that_is_a_folder_is_told();
    void a_package_that_the_disk_does_not_keep_is_not_put_in_place();
    void a_state_that_the_disk_cannot_take_stays_as_it_was();
    void a_plan_that_the_disk_cannot_take_leaves_no_older_one();
    void a_plan_taken_back_that_the_disk_cannot_take_leaves_the_older_one();
    void settings_that_the_disk_cannot_take_stay_as_they_were();

private:
    DownloadTarget Target() const
    {
        DownloadTarget target;
        target.path = m_rig->Target();
        return target;
    }
    static void LimitFiles(rlim_t bytes);

    /// In bytes: enough for the lock of the settings class, but not for a whole state.
    static constexpr int longestLock = 200;

    QByteArray m_package;
    std::unique_ptr<UpdateRig> m_rig;
};

void tst_DownloadMgr_Disk::initTestCase()
{
    QVERIFY(std::signal(SIGXFSZ, SIG_IGN) != SIG_ERR);
}

void tst_DownloadMgr_Disk::init()
{
    m_rig = std::make_unique<UpdateRig>();
    m_rig->Build();
    m_package = gTestBytes(1000003);
}

void tst_DownloadMgr_Disk::cleanup()
{
    LimitFiles(RLIM_INFINITY);
    m_rig.reset();
}

void tst_DownloadMgr_Disk::LimitFiles(rlim_t bytes)
{
    const rlimit limit{bytes, RLIM_INFINITY};
    QCOMPARE(setrlimit(RLIMIT_FSIZE, &limit), 0);
}

void tst_DownloadMgr_Disk::a_full_disk_is_told_at_once_and_the_rest_follows_when_there_is_room()
{
    const LogCapture log;
    m_rig->StartFullDownload(HttpAnswer::Broken(m_package, HttpAnswer::Fault::StallAfter, 1000));
    QTRY_COMPARE(gDownloadState().alreadyDownloaded, qint64(5000));
    m_rig->Forget();
    LimitFiles(450000);
    m_rig->StartFullDownload(HttpAnswer::Body(m_package));
    QTRY_COMPARE(m_rig->HintText(), QStringLiteral("Failed to download the update."));
    QTRY_COMPARE(m_rig->Pages().count("hint"), 3);
    QVERIFY(log.CountContaining("disk failure, file write error!!! file path = " +
                                m_rig->Target()) >= 3);
    QTRY_COMPARE(m_rig->State().value("DownLoad_Tasks/Start_Byte2"), QStringLiteral("400000"));
    QCOMPARE(m_rig->State().value("DownLoad_Tasks/Start_Byte3"), QStringLiteral("450000"));
    QCOMPARE(m_rig->State().value("DownLoad_Tasks/Start_Byte4"), QStringLiteral("601000"));
    QVERIFY(gReadFile(m_rig->Target()).mid(400000, 50000) == m_package.mid(400000, 50000));
    LimitFiles(RLIM_INFINITY);
    m_rig->Forget();
    m_rig->StartFullDownload(HttpAnswer::Body(m_package));
    QTRY_COMPARE(m_rig->Boxes(), 1);
    const QStringList rest{"bytes=450000-599999", "bytes=601000-799999", "bytes=801000-"};
    QCOMPARE(gRangeHeaders(m_rig->Server()), rest);
    QVERIFY(gReadFile(m_rig->Installer()) == m_package);
}

void tst_DownloadMgr_Disk::a_target_that_vanishes_is_told_and_not_made_anew()
{
    const LogCapture log;
    HttpAnswer answer = HttpAnswer::Body(m_package);
    answer.chunkSize = 1000;
    answer.chunkPauseMs = 20;
    m_rig->StartFullDownload(answer);
    QTRY_VERIFY(gDownloadState().alreadyDownloaded > 5000);
    QVERIFY(QFile::remove(m_rig->Target()));
    QTRY_COMPARE(m_rig->Pages().count("hint"), 5);
    QCOMPARE(m_rig->HintText(), QStringLiteral("File open error!"));
    QVERIFY(!QFile::exists(m_rig->Target()));
    QVERIFY(log.CountContaining("file open error!!! file path = " + m_rig->Target()) >= 5);
    m_rig->Forget();
    m_rig->StartFullDownload(HttpAnswer::Body(m_package));
    QTRY_COMPARE(m_rig->Boxes(), 1);
    QVERIFY(gReadFile(m_rig->Installer()) == m_package);
}

void tst_DownloadMgr_Disk::a_target_that_is_a_folder_is_told()
{
    QVERIFY(QDir().mkpath(m_rig->Target() + "/in the way"));
    m_rig->StartFullDownload(HttpAnswer::Body(m_package));
    QTRY_COMPARE(m_rig->Pages().count("hint"), 5);
    QCOMPARE(m_rig->HintText(), QStringLiteral("File open error!"));
    QTRY_COMPARE(m_rig->Server().Requests("GET").size(), 5);
    QCOMPARE(gDownloadState().alreadyDownloaded, qint64(0));
}

void tst_DownloadMgr_Disk::a_package_that_the_disk_does_not_keep_is_not_put_in_place()
{
    const LogCapture log;
    m_rig->System().flush = [](const QString &) { return FlushResult::Failed; };
    m_rig->Build();
    m_rig->StartFullDownload(HttpAnswer::Body(m_package));
    QTRY_COMPARE(m_rig->HintText(), QStringLiteral("Failed to download the update."));
    QVERIFY(!QFile::exists(m_rig->Installer()));
    QCOMPARE(log.CountContaining("disk failure, " + m_rig->Target() +
                                 " cannot be put on stable storage"),
             1);
    QCOMPARE(m_rig->Boxes(), 0);

    m_rig->Forget();
    m_rig->System().flush = gFlushToDisk;
    m_rig->Build();
    m_rig->StartFullDownload(HttpAnswer::Body(m_package));
    QTRY_COMPARE(m_rig->Boxes(), 1);
    // Bytes that could not be flushed count as missing, so all five ranges are asked for.
    QCOMPARE(gRangeHeaders(m_rig->Server()).size(), 5);
    QVERIFY(gReadFile(m_rig->Installer()) == m_package);
}

void tst_DownloadMgr_Disk::a_state_that_the_disk_cannot_take_stays_as_it_was()
{
    ResumeState state(m_rig->ConfigFolder());
    gSetPlan(&state, 1000003, gFreshStart(1000003), "boot one", {});
    QVERIFY(state.Sync());
    const QByteArray before = gReadFile(m_rig->StateFile());
    QVERIFY(before.size() > longestLock);
    state.SetStartByte(1, 4711);
    LimitFiles(longestLock);
    QVERIFY(!state.Sync());
    LimitFiles(RLIM_INFINITY);
    QCOMPARE(gReadFile(m_rig->StateFile()), before);
}

void tst_DownloadMgr_Disk::a_plan_that_the_disk_cannot_take_leaves_no_older_one()
{
    ResumeState state(m_rig->ConfigFolder());
    gSetPlan(&state, 1000003, gFreshStart(1000003), "boot one", {});
    QVERIFY(state.Sync());
    QVERIFY(QDir().mkpath(m_rig->WorkingFolder()));
    PlanFiles files(Target(), 1000003, state, m_rig->Context(), nullptr);
    const QSignalSpy ready(&files, &PlanFiles::Ready);
    LimitFiles(longestLock);
    files.StartAnew(gFreshStart(1000003), nullptr);
    QTRY_COMPARE(ready.count(), 1);
    LimitFiles(RLIM_INFINITY);
    QVERIFY(!QFile::exists(m_rig->StateFile()));
    files.StartAnew(gFreshStart(1000003), nullptr);
    QTRY_COMPARE(ready.count(), 2);
    QCOMPARE(m_rig->State().value("FullPackage_size/FullPackage_size"), QStringLiteral("1000003"));
}

void tst_DownloadMgr_Disk::a_plan_taken_back_that_the_disk_cannot_take_leaves_the_older_one()
{
    ResumeState state(m_rig->ConfigFolder());
    gSetPlan(&state, 1000003, gFreshStart(1000003), "boot one", {});
    state.SetStartByte(1, 4711);
    QVERIFY(state.Sync());
    const QByteArray before = gReadFile(m_rig->StateFile());
    const ResumePoint point = gResumePoint(state, 1000003, "boot two");
    QVERIFY(point.isTakenBack);
    PlanFiles files(Target(), 1000003, state, m_rig->Context(), nullptr);
    const QSignalSpy ready(&files, &PlanFiles::Ready);
    LimitFiles(longestLock);
    files.GoOn(point, nullptr);
    QTRY_COMPARE(ready.count(), 1);
    LimitFiles(RLIM_INFINITY);
    QCOMPARE(gReadFile(m_rig->StateFile()), before);
}

void tst_DownloadMgr_Disk::settings_that_the_disk_cannot_take_stay_as_they_were()
{
    const QByteArray before = "[Host]\nLayout=wide\n";
    QVERIFY(gWriteFile(m_rig->SettingsFile(), before));
    QSettings settings(m_rig->SettingsFile(), QSettings::IniFormat);
    const LogCapture log;
    LimitFiles(1000);
    gWriteSetupFile(&settings, "/kept.exe");
    LimitFiles(RLIM_INFINITY);
    QCOMPARE(gReadFile(m_rig->SettingsFile()), before);
    QCOMPARE(
        log.CountContaining("the settings cannot be written, file path = " + m_rig->SettingsFile()),
        1);
    gWriteSetupFile(&settings, "/kept.exe");
    QCOMPARE(m_rig->Setting("SetupFile"), QStringLiteral("/kept.exe"));
    QCOMPARE(settings.value("Host/Layout").toString(), QStringLiteral("wide"));
}

QTEST_MAIN(tst_DownloadMgr_Disk)
#include "tst_DownloadMgr_Disk.moc"
