// SPDX-License-Identifier: MIT

#include "platform/FileIdentity.h"
#include "platform/ProcessLock.h"
#include "tests/support/LogCapture.h"
#include "tests/support/TestBytes.h"
#include "tests/update/UpdateRig.h"
#include "update/base/DownloadState.h"
#include "update/UpdateCommon/VersionInfo.h"

#include <QLabel>
#include <QtTest>

/// Two downloads at the same time, and a restart of the machine.
class tst_LiveUpdateMgr_Lock : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void the_second_download_says_so_and_writes_nothing();
    void a_dialog_that_was_refused_leaves_the_download_of_another_alone();
    void a_download_holds_the_lock_until_it_is_closed();
    void a_download_holds_the_lock_until_its_ranges_have_failed();
    void the_lock_is_free_when_the_last_range_tells_its_failure();
    void the_lock_is_free_when_a_package_cannot_be_placed();
    void a_complete_package_leaves_no_lock();
    void a_leftover_lock_file_delays_nothing();

    void within_the_boot_the_download_goes_on_where_it_was();
    void after_another_start_of_the_machine_it_goes_on_at_what_was_flushed();
    void data_that_cannot_be_flushed_end_the_download();

private:
    QString LockFile() const { return m_rig->WorkingFolder() + "/Corvina9(x64).lock"; }
    bool IsLocked() const
    {
        ProcessLock probe;
        return probe.TryLock(LockFile()) == ProcessLock::Outcome::HeldByAnother;
    }
    void StartAndStall();

    QByteArray m_package;
    QString m_boot;
    std::unique_ptr<UpdateRig> m_rig;
};

void tst_LiveUpdateMgr_Lock::init()
{
    m_rig = std::make_unique<UpdateRig>();
    m_boot = "boot one";
    m_rig->System().bootIdentity = [this] { return m_boot; };
    m_rig->Build();
    m_package = gTestBytes(50000);
}

void tst_LiveUpdateMgr_Lock::cleanup()
{
    m_rig.reset();
}

void tst_LiveUpdateMgr_Lock::StartAndStall()
{
    m_rig->StartFullDownload(HttpAnswer::Broken(m_package, HttpAnswer::Fault::StallAfter, 3000));
    QTRY_COMPARE(gDownloadState().alreadyDownloaded, qint64(15000));
}

void tst_LiveUpdateMgr_Lock::the_second_download_says_so_and_writes_nothing()
{
    const LogCapture log;
    QVERIFY(QDir().mkpath(m_rig->WorkingFolder()));
    ProcessLock other;
    QCOMPARE(other.TryLock(LockFile()), ProcessLock::Outcome::Taken);
    QVERIFY(gWriteFile(m_rig->Target(), "the other's"));
    m_rig->StartFullDownload(HttpAnswer::Body(m_package));
    QCOMPARE(m_rig->HintText(), QStringLiteral("Failed to download the update."));
    QCOMPARE(m_rig->Pages().last(), QStringLiteral("hint"));
    QVERIFY(!QFile::exists(m_rig->StateFile()));
    QCOMPARE(gReadFile(m_rig->Target()), QByteArray("the other's"));
    QVERIFY(m_rig->Server().Requests("GET").isEmpty());
    QCOMPARE(log.CountContaining("another download is running"), 1);
    other.Unlock();
    m_rig->StartFullDownload(HttpAnswer::Body(m_package));
    QTRY_COMPARE(m_rig->Boxes(), 1);
}

void tst_LiveUpdateMgr_Lock::a_dialog_that_was_refused_leaves_the_download_of_another_alone()
{
    HttpAnswer slow = HttpAnswer::Body(m_package);
    slow.chunkSize = 2000;
    slow.chunkPauseMs = 50;
    m_rig->StartFullDownload(slow);
    ProgressDisplay progress(nullptr);
    VersionDisplay version(nullptr);
    HintDisplay hint(nullptr);
    LiveUpdateMgr second(&progress, &version, &hint, m_rig->Context(), nullptr);
    second.findChild<VersionInfo *>()->setXml(
        UpdateRig::Manifest(m_rig->Server().Address("/files/setup.exe")));
    second.UpdateNow();
    QCOMPARE(hint.findChild<QLabel *>()->text(), QStringLiteral("Failed to download the update."));
    const QString state = gFileIdentity(m_rig->StateFile());
    emit hint.Close();
    const qint64 saved = gDownloadState().alreadyDownloaded;
    QTRY_VERIFY(gDownloadState().alreadyDownloaded > saved);
    QVERIFY2(gFileIdentity(m_rig->StateFile()) == state, "it is still written over in place");
    QTRY_COMPARE(m_rig->Boxes(), 1);
    QVERIFY(gReadFile(m_rig->Installer()) == m_package);
}

void tst_LiveUpdateMgr_Lock::a_download_holds_the_lock_until_it_is_closed()
{
    StartAndStall();
    QVERIFY(IsLocked());
    emit m_rig->Progress().Close();
    QVERIFY(!IsLocked());
}

void tst_LiveUpdateMgr_Lock::a_download_holds_the_lock_until_its_ranges_have_failed()
{
    m_rig->Server().Serve("/files/setup.exe", HttpAnswer::Body(m_package), "HEAD");
    m_rig->StartFullDownload(HttpAnswer::Status(404));
    QVERIFY(IsLocked());
    QTRY_COMPARE(m_rig->Pages().count("hint"), 5);
    QVERIFY(!IsLocked());
}

void tst_LiveUpdateMgr_Lock::the_lock_is_free_when_the_last_range_tells_its_failure()
{
    m_rig->Server().Serve("/files/setup.exe", HttpAnswer::Body(m_package), "HEAD");
    m_rig->StartFullDownload(HttpAnswer::Status(404));
    QList<bool> locked;
    const auto downloaders = m_rig->Manager().findChildren<DownloadMgr *>();
    for (const DownloadMgr *downloader : downloaders) {
        connect(downloader, &DownloadMgr::Error, this, [&] { locked.append(IsLocked()); });
    }
    QTRY_COMPARE(locked.size(), 5);
    const QList<bool> expected{true, true, true, true, false};
    QCOMPARE(locked, expected);
}

void tst_LiveUpdateMgr_Lock::the_lock_is_free_when_a_package_cannot_be_placed()
{
    m_rig->System().renameOver = [](const QString &, const QString &, QString *) {
        return RenameResult::Failed;
    };
    m_rig->StartFullDownload(HttpAnswer::Body(m_package));
    QList<bool> locked;
    const auto downloaders = m_rig->Manager().findChildren<DownloadMgr *>();
    for (const DownloadMgr *downloader : downloaders) {
        connect(downloader, &DownloadMgr::Error, this, [&] { locked.append(IsLocked()); });
    }
    QTRY_COMPARE(locked, QList<bool>{false});
    QCOMPARE(m_rig->HintText(), QStringLiteral("Failed to download the update."));
}

void tst_LiveUpdateMgr_Lock::a_complete_package_leaves_no_lock()
{
    bool wasLocked = true;
    connect(&m_rig->Manager(), &LiveUpdateMgr::BeginInstall, this, [&] { wasLocked = IsLocked(); });
    m_rig->StartFullDownload(HttpAnswer::Body(m_package));
    QTRY_COMPARE(m_rig->Boxes(), 1);
    QVERIFY(!wasLocked);
    QVERIFY(!QFile::exists(LockFile()));
    QVERIFY(gReadFile(m_rig->Installer()) == m_package);
}

void tst_LiveUpdateMgr_Lock::a_leftover_lock_file_delays_nothing()
{
    QVERIFY(gWriteFile(LockFile(), "left behind"));
    m_rig->StartFullDownload(HttpAnswer::Body(m_package));
    QTRY_COMPARE(m_rig->Boxes(), 1);
}

void tst_LiveUpdateMgr_Lock::within_the_boot_the_download_goes_on_where_it_was()
{
    StartAndStall();
    emit m_rig->Progress().Close();
    m_rig->Forget();
    m_rig->Build();
    m_rig->StartFullDownload(HttpAnswer::Body(m_package));
    QTRY_COMPARE(m_rig->Boxes(), 1);
    QVERIFY(gRangeHeaders(m_rig->Server()).contains("bytes=13000-19999"));
    QVERIFY(gReadFile(m_rig->Installer()) == m_package);
}

void tst_LiveUpdateMgr_Lock::after_another_start_of_the_machine_it_goes_on_at_what_was_flushed()
{
    m_rig->System().flushBytes = 15000;
    m_rig->Build();
    StartAndStall();
    QTRY_COMPARE(m_rig->State().value("Flushed/Flushed_Byte2"), QStringLiteral("13000"));
    emit m_rig->Progress().Close();
    // The state claims bytes that were written but not flushed, and so were lost with the power.
    ResumeState state(m_rig->ConfigFolder());
    state.SetStartByte(2, 17000);
    state.SetAlreadyDownloaded(19000);
    QVERIFY(state.Sync());
    m_boot = "boot two";
    m_rig->Forget();
    m_rig->Build();
    m_rig->StartFullDownload(HttpAnswer::Broken(m_package, HttpAnswer::Fault::StallAfter, 0));
    QTRY_COMPARE(m_rig->Server().Requests("GET").size(), 5);
    QVERIFY(gRangeHeaders(m_rig->Server()).contains("bytes=13000-19999"));
    QCOMPARE(gDownloadState().alreadyDownloaded, qint64(15000));
    QCOMPARE(m_rig->State().value("Flushed/Boot_Id"), QStringLiteral("boot two"));
    QCOMPARE(m_rig->State().value("DownLoad_Tasks/Start_Byte2"), QStringLiteral("13000"));
    QCOMPARE(m_rig->State().value("AlreadyDownload_size/AlreadyDownload_size"),
             QStringLiteral("15000"));
    m_rig->StartFullDownload(HttpAnswer::Body(m_package));
    QTRY_COMPARE(m_rig->Boxes(), 1);
    QVERIFY(gReadFile(m_rig->Installer()) == m_package);
}

void tst_LiveUpdateMgr_Lock::data_that_cannot_be_flushed_end_the_download()
{
    m_rig->System().flushBytes = 15000;
    m_rig->System().flush = [](const QString &) { return FlushResult::Failed; };
    m_rig->Build();
    StartAndStall();
    QTRY_COMPARE(m_rig->HintText(), QStringLiteral("Failed to download the update."));
    QCOMPARE(m_rig->State().value("Flushed/Boot_Id"), QString());
    QVERIFY(!IsLocked());
    m_rig->System().flush = gFlushToDisk;
    m_rig->Forget();
    m_rig->Build();
    m_rig->StartFullDownload(HttpAnswer::Body(m_package));
    QTRY_COMPARE(m_rig->Boxes(), 1);
    QVERIFY2(gRangeHeaders(m_rig->Server()).contains("bytes=10000-19999"), "nothing was flushed");
    QVERIFY(gReadFile(m_rig->Installer()) == m_package);
}

QTEST_MAIN(tst_LiveUpdateMgr_Lock)
#include "tst_LiveUpdateMgr_Lock.moc"
