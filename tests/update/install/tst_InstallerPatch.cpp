// SPDX-License-Identifier: MIT

#include "platform/ProcessLock.h"
#include "tests/support/LaterCalls.h"
#include "tests/support/LogCapture.h"
#include "tests/support/Md5.h"
#include "tests/support/PatchProgram.h"
#include "tests/support/RunningProcess.h"
#include "tests/support/StatisticsServer.h"
#include "tests/support/TestBytes.h"
#include "tests/update/UpdateRig.h"
#include "update/base/DownloadState.h"
#include "update/install/InstallerPatch.h"
#include "update/plan/PackageFolder.h"

#include <QtTest>

#include <atomic>

using namespace std::chrono_literals;

/// Rebuilding an installer with the patch program beside the application.
class tst_InstallerPatch : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void cleanup();

    void a_real_patch_replaces_the_kept_installer_under_its_name();
    void the_result_is_the_base_of_the_next_patch();
    void a_real_patch_for_another_file_fails();
    void the_downloader_points_at_the_new_installer();

    void a_missing_program_fails_without_a_trace();
    void the_arguments_are_old_new_and_patch();
    void the_exit_code_is_not_asked();
    void an_upper_case_md5_never_matches();
    void a_wrong_result_is_reported_twice_and_left_on_disk();
    void a_program_that_makes_nothing_is_a_wrong_result();
    void a_manifest_without_an_md5_matches_nothing_data();
    void a_manifest_without_an_md5_matches_nothing();
    void a_crash_is_reported_once_though_the_result_is_right();
    void a_program_that_takes_too_long_is_ended();
    void a_program_that_cannot_be_started_is_reported();

    void a_program_that_takes_too_long_leaves_nothing();
    void a_program_that_crashes_leaves_no_temporary_file();
    void what_earlier_programs_left_is_removed_first();
    void without_the_lock_the_files_of_others_stay();
    void nothing_is_patched_while_an_earlier_program_may_run();

    void a_kept_installer_that_cannot_be_replaced_stays_as_it_was();
    void a_kept_installer_that_another_program_holds_is_waited_for();
    void the_downloader_waits_for_a_held_kept_installer();
    void a_downloader_that_is_ended_meanwhile_replaces_nothing_data();
    void a_downloader_that_is_ended_meanwhile_replaces_nothing();
    void the_lock_is_held_until_the_end_and_free_in_the_slots_data();
    void the_lock_is_held_until_the_end_and_free_in_the_slots();
    void the_name_of_the_result_is_flushed();

private:
    QString Kept() const { return m_rig->WorkingFolder() + "/Corvina 9.exe"; }
    QString New() const { return Kept() + ".patch"; }
    /// A file that the patch program has not given its name yet.
    QString Temporary() const { return m_rig->WorkingFolder() + "/bspatch-4711-815.tmp"; }
    QString Patch() const { return m_rig->WorkingFolder() + "/increase.patch"; }
    /// Takes the lock and patches. @return whether that succeeded; it has ended either way.
    bool Apply(const QString &md5, std::chrono::milliseconds limit = 90s) const
    {
        m_rig->System().patchLimit = limit;
        InstallerPatch patch(m_rig->Context(), nullptr);
        const QSignalSpy patched(&patch, &InstallerPatch::Patched);
        const QSignalSpy failed(&patch, &InstallerPatch::Failed);
        patch.Start(Kept(), Patch(), md5, gLockPackages());
        return QTest::qWaitFor([&patch] { return !patch.IsRunning(); }) && patched.count() == 1 &&
               failed.isEmpty();
    }
    /// After every failure: the kept installer is unchanged, the patch is left, no installer is
    /// ready.
    void VerifyUntouched() const
    {
        QVERIFY(gReadFile(Kept()) == m_old);
        QVERIFY(QFile::exists(Patch()));
        QVERIFY(gDownloadState().installerReady.isEmpty());
    }
    QStringList Log() const { return m_log->Messages("UpdateCommon"); }
    QList<int> Reports()
    {
        gSettleReports();
        return m_statistics->Results();
    }

    TestCertificates m_certificates;
    const QByteArray m_old = gTestBytes(40000, 1);
    const QByteArray m_new = gTestBytes(20000, 1) + "changed" + gTestBytes(25000, 2);
    std::unique_ptr<UpdateRig> m_rig;
    std::unique_ptr<StatisticsServer> m_statistics;
    std::unique_ptr<LogCapture> m_log;
};

/// The script of a stand-in that copies the patch as the result.
static const QByteArray copyPatch = "copy\t$3\t$2";
static const QString startLine = "Start Patch IncreasePackage";
static const QString endLine = "End Patch IncreasePackage";
static const QString mismatchLine = "Match PatchPackage md5 Failed";
static const QString failedLine = "DispatchPackageFailed!!!";

void tst_InstallerPatch::initTestCase()
{
    m_certificates.TrustAuthority();
}

void tst_InstallerPatch::init()
{
    m_rig = std::make_unique<UpdateRig>();
    m_statistics = std::make_unique<StatisticsServer>(m_certificates);
    m_rig->SendReportsTo(*m_statistics);
    QVERIFY(gWriteFile(Kept(), m_old));
    // The stand-ins below copy the patch file as the result.
    QVERIFY(gWriteFile(Patch(), m_new));
    QFile::remove(PatchProgram::Path());
    m_log = std::make_unique<LogCapture>();
}

void tst_InstallerPatch::cleanup()
{
    m_log.reset();
    m_rig.reset();
    m_statistics.reset();
}

void tst_InstallerPatch::a_real_patch_replaces_the_kept_installer_under_its_name()
{
    const PatchProgram program;
    QVERIFY(gWriteFile(Patch(), PatchProgram::MakePatch(m_old, m_new)));
    QVERIFY(Apply(gMd5(m_new)));
    QVERIFY(gReadFile(Kept()) == m_new);
    QVERIFY(!QFile::exists(New()));
    const QStringList expected{startLine, endLine};
    QCOMPARE(Log(), expected);
    QCOMPARE(m_log->Count("UpdateCommon", "DownloadMgr::PatchIncreasePackage", endLine), 1);
    QVERIFY(Reports().isEmpty());
}

void tst_InstallerPatch::the_result_is_the_base_of_the_next_patch()
{
    const PatchProgram program;
    const QByteArray next = m_new.mid(5000) + gTestBytes(3000, 3);
    QVERIFY(gWriteFile(Patch(), PatchProgram::MakePatch(m_old, m_new)));
    QVERIFY(Apply(gMd5(m_new)));
    QVERIFY(gWriteFile(Patch(), PatchProgram::MakePatch(m_new, next)));
    QVERIFY(Apply(gMd5(next)));
    QVERIFY(gReadFile(Kept()) == next);
}

void tst_InstallerPatch::a_real_patch_for_another_file_fails()
{
    const PatchProgram program;
    const QByteArray other = gTestBytes(40000, 7);
    QVERIFY(gWriteFile(Patch(), PatchProgram::MakePatch(m_old, m_new)));
    QVERIFY(gWriteFile(Kept(), other));
    QVERIFY(!Apply(gMd5(m_new)));
    QVERIFY(gReadFile(Kept()) == other);
    const QList<int> expected{-2, -3};
    QCOMPARE(Reports(), expected);
}

void tst_InstallerPatch::the_downloader_points_at_the_new_installer()
{
    const PatchProgram program(copyPatch);
    m_rig->Server().Serve("/increase.patch", HttpAnswer::Body(m_new));
    DownloadMgr downloader(m_rig->Context(), nullptr);
    downloader.ResumeDownload(Patch(), m_rig->Server().Url("/increase.patch"), m_rig->Installer(),
                              0, 9, 1, true, gMd5(m_new), Kept());
    downloader.Stop();
    QVERIFY(downloader.PatchIncreasePackage());
    QCOMPARE(gDownloadState().installerReady, Kept());
    QVERIFY(gReadFile(Kept()) == m_new);
    QVERIFY(!QFile::exists(m_rig->Installer()));
}

void tst_InstallerPatch::a_missing_program_fails_without_a_trace()
{
    QVERIFY(!Apply(gMd5(m_new)));
    VerifyUntouched();
    QVERIFY(!QFile::exists(New()));
    QCOMPARE(Log(), QStringList());
    QVERIFY(Reports().isEmpty());
}

void tst_InstallerPatch::the_arguments_are_old_new_and_patch()
{
    const QString told = m_rig->Path("arguments");
    const PatchProgram program("arguments\t" + told.toUtf8() + '\n' + copyPatch);
    QVERIFY(Apply(gMd5(m_new)));
    const QStringList expected{"3", Kept(), New(), Patch(), ""};
    QCOMPARE(QString::fromUtf8(gReadFile(told)).split('\n'), expected);
}

void tst_InstallerPatch::the_exit_code_is_not_asked()
{
    const PatchProgram program(copyPatch + "\nexit\t3");
    QVERIFY(Apply(gMd5(m_new)));
    QVERIFY(gReadFile(Kept()) == m_new);
    QVERIFY(Reports().isEmpty());
}

void tst_InstallerPatch::an_upper_case_md5_never_matches()
{
    const PatchProgram program(copyPatch);
    QVERIFY(!Apply(gMd5(m_new).toUpper()));
    VerifyUntouched();
    const QStringList expected{startLine, mismatchLine, failedLine};
    QCOMPARE(Log(), expected);
}

void tst_InstallerPatch::a_wrong_result_is_reported_twice_and_left_on_disk()
{
    const PatchProgram program("write\t$2\twrong");
    QVERIFY(!Apply(gMd5(m_new)));
    VerifyUntouched();
    QCOMPARE(gReadFile(New()), QByteArray("wrong"));
    QVERIFY(gReadFile(Patch()) == m_new);
    const QStringList lines{startLine, mismatchLine, failedLine};
    QCOMPARE(Log(), lines);
    const QList<int> reports{-2, -3};
    QCOMPARE(Reports(), reports);
}

void tst_InstallerPatch::a_program_that_makes_nothing_is_a_wrong_result()
{
    const PatchProgram program("exit\t0");
    QVERIFY(!Apply(gMd5(m_new)));
    VerifyUntouched();
    const QStringList lines{startLine, mismatchLine, failedLine};
    QCOMPARE(Log(), lines);
    const QList<int> reports{-2, -3};
    QCOMPARE(Reports(), reports);
}

void tst_InstallerPatch::a_manifest_without_an_md5_matches_nothing_data()
{
    QTest::addColumn<QByteArray>("orders");
    QTest::newRow("and_a_program_made_a_file") << copyPatch;
    QTest::newRow("and_a_program_made_nothing") << QByteArray("exit\t0");
}

void tst_InstallerPatch::a_manifest_without_an_md5_matches_nothing()
{
    QFETCH(QByteArray, orders);
    const PatchProgram program(orders);
    QVERIFY(!Apply(QString()));
    VerifyUntouched();
    const QStringList lines{startLine, mismatchLine, failedLine};
    QCOMPARE(Log(), lines);
    const QList<int> reports{-2, -3};
    QCOMPARE(Reports(), reports);
}

void tst_InstallerPatch::a_crash_is_reported_once_though_the_result_is_right()
{
    const PatchProgram program(copyPatch + "\ncrash");
    QVERIFY(!Apply(gMd5(m_new)));
    VerifyUntouched();
    QVERIFY2(gReadFile(New()) == m_new, "what the program made is left");
    const QStringList lines{startLine, failedLine};
    QCOMPARE(Log(), lines);
    QCOMPARE(Reports(), QList<int>{-3});
}

void tst_InstallerPatch::a_program_that_takes_too_long_is_ended()
{
    const QString told = m_rig->Path("pid");
    const PatchProgram program(copyPatch + "\npid\t" + told.toUtf8() + "\nsleep\t1000");
    QVERIFY(!Apply(gMd5(m_new), 2s));
    VerifyUntouched();
    const QStringList lines{startLine, failedLine};
    QCOMPARE(Log(), lines);
    QCOMPARE(Reports(), QList<int>{-3});
    const int pid = gReadFile(told).toInt();
    QVERIFY(pid > 0);
    QVERIFY(!gIsRunning(pid));
}

void tst_InstallerPatch::a_program_that_cannot_be_started_is_reported()
{
    const PatchProgram program(copyPatch);
    QVERIFY(gWriteFile(PatchProgram::Path(), "no program of any system"));
    QVERIFY(!Apply(gMd5(m_new)));
    VerifyUntouched();
    const QStringList lines{startLine, failedLine};
    QCOMPARE(Log(), lines);
    QCOMPARE(Reports(), QList<int>{-3});
}

void tst_InstallerPatch::a_program_that_takes_too_long_leaves_nothing()
{
    const PatchProgram program(copyPatch + "\nwrite\t" + Temporary().toUtf8() +
                               "\thalf of it\nsleep\t1000");
    const QString other = m_rig->WorkingFolder() + "/bspatch-1.tmp";
    QVERIFY(gWriteFile(other, "not the program's"));
    QVERIFY(!Apply(gMd5(m_new), 2s));
    VerifyUntouched();
    QVERIFY(!QFile::exists(New()));
    QVERIFY(!QFile::exists(Temporary()));
    QVERIFY(QFile::exists(other));
}

void tst_InstallerPatch::a_program_that_crashes_leaves_no_temporary_file()
{
    const PatchProgram program("write\t" + Temporary().toUtf8() + "\thalf of it\ncrash");
    QVERIFY(!Apply(gMd5(m_new)));
    VerifyUntouched();
    QVERIFY(!QFile::exists(Temporary()));
}

void tst_InstallerPatch::what_earlier_programs_left_is_removed_first()
{
    const QString below = m_rig->WorkingFolder() + "/below/bspatch-1-2.tmp";
    QVERIFY(gWriteFile(below, "in another folder"));
    QVERIFY(gWriteFile(Temporary(), "half of it"));
    // It is right, but this run has not made it.
    QVERIFY(gWriteFile(New(), m_new));
    const PatchProgram program("exit\t0");
    QVERIFY(!Apply(gMd5(m_new)));
    VerifyUntouched();
    QVERIFY(!QFile::exists(New()));
    QVERIFY(!QFile::exists(Temporary()));
    QVERIFY(QFile::exists(below));
}

void tst_InstallerPatch::without_the_lock_the_files_of_others_stay()
{
    QVERIFY(gWriteFile(Temporary(), "another program's, which runs"));
    const PatchProgram program(copyPatch);
    InstallerPatch patch(m_rig->Context(), nullptr);
    patch.Start(Kept(), Patch(), gMd5(m_new), nullptr);
    QTRY_VERIFY(!patch.IsRunning());
    QVERIFY(gReadFile(Kept()) == m_new);
    QVERIFY(QFile::exists(Temporary()));
}

void tst_InstallerPatch::nothing_is_patched_while_an_earlier_program_may_run()
{
    // Stands for a file that a program holds, which not every system refuses to remove.
    QVERIFY(QDir().mkpath(Temporary()));
    const PatchProgram program(copyPatch);
    QVERIFY(!Apply(gMd5(m_new)));
    VerifyUntouched();
    QVERIFY(!QFile::exists(New()));
    const QStringList lines{startLine, "disk failure, " + Temporary() + " cannot be removed",
                            failedLine};
    QCOMPARE(Log(), lines);
    QCOMPARE(Reports(), QList<int>{-3});
}

void tst_InstallerPatch::a_kept_installer_that_cannot_be_replaced_stays_as_it_was()
{
    const PatchProgram program(copyPatch);
    m_rig->System().renameOver = [](const QString &, const QString &, QString *failure) {
        *failure = "not today";
        return RenameResult::Failed;
    };
    QVERIFY(!Apply(gMd5(m_new)));
    VerifyUntouched();
    QVERIFY2(gReadFile(New()) == m_new, "what the program made is left");
    const QString move = "disk failure, " + New() + " cannot be moved to " + Kept() + ", not today";
    const QStringList lines{startLine, endLine, move, Kept() + " cannot be replaced", failedLine};
    QCOMPARE(Log(), lines);
    QCOMPARE(Reports(), QList<int>{-3});
}

void tst_InstallerPatch::a_kept_installer_that_another_program_holds_is_waited_for()
{
    const PatchProgram program(copyPatch);
    LaterCalls later;
    m_rig->System().callLater = later.Seam();
    bool isHeld = true;
    QByteArray meanwhile;
    m_rig->System().renameOver = [&](const QString &from, const QString &to, QString *failure) {
        meanwhile = gReadFile(to);
        return isHeld ? RenameResult::Busy : gRenameOver(from, to, failure);
    };
    InstallerPatch patch(m_rig->Context(), nullptr);
    const QSignalSpy patched(&patch, &InstallerPatch::Patched);
    patch.Start(Kept(), Patch(), gMd5(m_new), nullptr);
    QTRY_COMPARE(later.Waiting(), 1);
    later.Run();
    QTRY_COMPARE(later.Waiting(), 1);
    QVERIFY(patch.IsRunning());
    isHeld = false;
    later.Run();
    QTRY_COMPARE(patched.count(), 1);
    QVERIFY(!patch.IsRunning());
    QVERIFY2(meanwhile == m_old, "until it is replaced, the old one is there");
    QVERIFY(gReadFile(Kept()) == m_new);
}

/// The first attempt finds the file held by another program.
static void gHoldOnce(DownloadSystem *system)
{
    const auto isHeld = std::make_shared<std::atomic<bool>>(true);
    system->renameOver = [isHeld](const QString &from, const QString &to, QString *failure) {
        return isHeld->exchange(false) ? RenameResult::Busy : gRenameOver(from, to, failure);
    };
}

void tst_InstallerPatch::the_downloader_waits_for_a_held_kept_installer()
{
    const PatchProgram program(copyPatch);
    m_rig->System().replacePause = 1ms;
    gHoldOnce(&m_rig->System());
    bool wasLocked = false;
    m_rig->System().callLater = [&wasLocked](std::chrono::milliseconds delay, QObject *context,
                                             const std::function<void()> &action) {
        wasLocked =
            ProcessLock().TryLock(gPackageLockFile()) == ProcessLock::Outcome::HeldByAnother;
        gCallLater(delay, context, action);
    };
    DownloadMgr downloader(m_rig->Context(), nullptr);
    downloader.ResumeDownload(Patch(), m_rig->Server().Url("/increase.patch"), m_rig->Installer(),
                              0, 9, 1, true, gMd5(m_new), Kept());
    downloader.Stop();
    QVERIFY(downloader.PatchIncreasePackage());
    QVERIFY(wasLocked);
    QVERIFY(gReadFile(Kept()) == m_new);
    QCOMPARE(gDownloadState().installerReady, Kept());
    QCOMPARE(m_rig->Boxes(), 0);
}

void tst_InstallerPatch::a_downloader_that_is_ended_meanwhile_replaces_nothing_data()
{
    QTest::addColumn<bool>("isDeleted");
    QTest::newRow("deleted") << true;
    QTest::newRow("stopped") << false;
}

void tst_InstallerPatch::a_downloader_that_is_ended_meanwhile_replaces_nothing()
{
    QFETCH(bool, isDeleted);
    const PatchProgram program(copyPatch);
    auto downloader = std::make_unique<DownloadMgr>(m_rig->Context(), nullptr);
    gHoldOnce(&m_rig->System());
    bool wasRunning = false;
    // In the pause between two attempts.
    m_rig->System().callLater = [&](std::chrono::milliseconds delay, QObject *context,
                                    const std::function<void()> &action) {
        gCallLater(delay, context, action);
        QTimer::singleShot(0, this, [&] {
            wasRunning = downloader->IsRunning();
            if (isDeleted) {
                downloader.reset();
            } else {
                downloader->Stop();
            }
        });
    };
    downloader->ResumeDownload(Patch(), m_rig->Server().Url("/increase.patch"), m_rig->Installer(),
                               0, 9, 1, true, gMd5(m_new), Kept());
    downloader->Stop();
    QVERIFY(!downloader->PatchIncreasePackage());
    QVERIFY(wasRunning);
    VerifyUntouched();
}

void tst_InstallerPatch::the_lock_is_held_until_the_end_and_free_in_the_slots_data()
{
    QTest::addColumn<QByteArray>("orders");
    QTest::newRow("of_a_success") << copyPatch;
    QTest::newRow("of_a_failure") << QByteArray("exit\t0");
    QTest::newRow("of_a_missing_program") << QByteArray();
}

void tst_InstallerPatch::the_lock_is_held_until_the_end_and_free_in_the_slots()
{
    QFETCH(QByteArray, orders);
    const auto program = orders.isEmpty() ? nullptr : std::make_unique<PatchProgram>(orders);
    const QString lockFile = m_rig->WorkingFolder() + "/Corvina9(x64).lock";
    const auto isFree = [lockFile] {
        return ProcessLock().TryLock(lockFile) == ProcessLock::Outcome::Taken;
    };
    bool wasFree = false;
    m_rig->System().renameOver = [&](const QString &from, const QString &to, QString *failure) {
        wasFree = wasFree || isFree();
        return gRenameOver(from, to, failure);
    };
    QList<bool> freed;
    InstallerPatch patch(m_rig->Context(), nullptr);
    connect(&patch, &InstallerPatch::Patched, this, [&] { freed.append(isFree()); });
    connect(&patch, &InstallerPatch::Failed, this, [&] { freed.append(isFree()); });
    patch.Start(Kept(), Patch(), gMd5(m_new), gLockPackages());
    QTRY_COMPARE(freed, QList<bool>{true});
    QVERIFY(!wasFree);
}

void tst_InstallerPatch::the_name_of_the_result_is_flushed()
{
    const PatchProgram program(copyPatch);
    QString folder;
    QByteArray inPlace;
    m_rig->System().flushFolder = [&](const QString &path) {
        folder = path;
        inPlace = gReadFile(Kept());
    };
    QVERIFY(Apply(gMd5(m_new)));
    QCOMPARE(folder, m_rig->WorkingFolder());
    QVERIFY(inPlace == m_new);
}

QTEST_MAIN(tst_InstallerPatch)
#include "tst_InstallerPatch.moc"
