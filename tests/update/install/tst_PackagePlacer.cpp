// SPDX-License-Identifier: MIT

#include "update/install/PackagePlacer.h"

#include "platform/ProcessLock.h"
#include "tests/support/LaterCalls.h"
#include "tests/support/LogCapture.h"
#include "tests/support/Md5.h"
#include "tests/support/TestBytes.h"
#include "tests/update/UpdateRig.h"
#include "update/install/PackageEnd.h"
#include "update/plan/PackageFolder.h"
#include "update/transfer/RangeStore.h"
#include "update/transfer/RangeTask.h"

#include <QSemaphore>
#include <QtTest>

#include <atomic>

/// A complete full package takes the installer's place, in one step of the system.
class tst_PackagePlacer : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void the_installer_of_before_is_there_until_it_is_replaced();
    void an_installer_that_cannot_be_replaced_stays_as_it_was();
    void an_installer_that_another_program_holds_is_waited_for();
    void an_installer_that_stays_held_is_given_up();
    void nothing_is_moved_once_it_is_cancelled_data();
    void nothing_is_moved_once_it_is_cancelled();
    void a_late_flush_is_not_taken_for_that_of_a_later_start();
    void the_lock_is_free_in_the_slots_data();
    void the_lock_is_free_in_the_slots();
    void the_new_name_is_flushed();

    void a_package_with_the_md5_of_the_manifest_is_placed_data();
    void a_package_with_the_md5_of_the_manifest_is_placed();
    void another_package_is_removed_and_its_plan_is_void_data();
    void another_package_is_removed_and_its_plan_is_void();
    void a_package_that_is_cancelled_while_it_is_read_is_not_judged();
    void a_package_that_cannot_be_read_is_kept();
    void the_end_of_a_package_removes_what_patch_programs_left();
    void the_end_of_a_package_compares_it_with_the_md5_of_its_task();

private:
    bool IsLockFree() const
    {
        return ProcessLock().TryLock(m_rig->WorkingFolder() + "/Corvina9(x64).lock") ==
               ProcessLock::Outcome::Taken;
    }
    DownloadSystem &System() { return m_rig->System(); }
    void Start(const QString &md5 = QString())
    {
        m_placer->Start(m_rig->Installer(), md5, gLockPackages());
    }
    bool IsOver() const { return !m_placer->IsRunning() && IsLockFree(); }
    /// Neither file has changed.
    void VerifyUntouched() const
    {
        QCOMPARE(gReadFile(m_rig->Installer()), QByteArray("of the last version"));
        QVERIFY(gReadFile(m_rig->Target()) == m_package);
    }

    const QByteArray m_package = gTestBytes(50000);
    std::unique_ptr<UpdateRig> m_rig;
    std::unique_ptr<ResumeState> m_state;
    std::unique_ptr<RangeStore> m_store;
    std::unique_ptr<PackagePlacer> m_placer;
    int m_placed = 0;
    int m_failed = 0;
};

void tst_PackagePlacer::init()
{
    m_rig = std::make_unique<UpdateRig>();
    m_rig->WriteState("50000", "50000", {{{0, -1}, {0, -1}, {0, -1}, {0, -1}, {50000, 49999}}});
    QVERIFY(gWriteFile(m_rig->Target(), m_package));
    QVERIFY(gWriteFile(m_rig->Installer(), "of the last version"));
    m_state = std::make_unique<ResumeState>(m_rig->ConfigFolder());
    m_store = std::make_unique<RangeStore>(*m_state);
    m_store->Begin(m_rig->Target(), 5, 50000, 49999);
    QVERIFY(m_store->Open("test"));
    m_placer = std::make_unique<PackagePlacer>(*m_store, System(), nullptr);
    m_placed = m_failed = 0;
    connect(m_placer.get(), &PackagePlacer::Placed, this, [this] { ++m_placed; });
    connect(m_placer.get(), &PackagePlacer::Failed, this, [this] { ++m_failed; });
}

void tst_PackagePlacer::cleanup()
{
    m_placer.reset();
    m_store.reset();
    m_state.reset();
    m_rig.reset();
}

void tst_PackagePlacer::the_installer_of_before_is_there_until_it_is_replaced()
{
    QByteArray before;
    System().renameOver = [&before](const QString &from, const QString &to, QString *failure) {
        before = gReadFile(to);
        return gRenameOver(from, to, failure);
    };
    Start();
    QVERIFY(m_placer->IsRunning());
    QTRY_COMPARE(m_placed, 1);
    QCOMPARE(before, QByteArray("of the last version"));
    QVERIFY(gReadFile(m_rig->Installer()) == m_package);
    QVERIFY(!QFile::exists(m_rig->Target()));
    QVERIFY(IsOver());
}

void tst_PackagePlacer::an_installer_that_cannot_be_replaced_stays_as_it_was()
{
    const LogCapture log;
    System().renameOver = [](const QString &, const QString &, QString *failure) {
        *failure = "not today";
        return RenameResult::Failed;
    };
    Start();
    QTRY_COMPARE(m_failed, 1);
    VerifyUntouched();
    QVERIFY(IsOver());
    QCOMPARE(log.Count("UpdateCommon", "DownloadMgr::_DownloadFinished",
                       "disk failure, " + m_rig->Target() + " cannot be moved to " +
                           m_rig->Installer() + ", not today"),
             1);
}

void tst_PackagePlacer::an_installer_that_another_program_holds_is_waited_for()
{
    LaterCalls later;
    System().callLater = later.Seam();
    int attempts = 0;
    System().renameOver = [&attempts](const QString &from, const QString &to, QString *failure) {
        return ++attempts < 3 ? RenameResult::Busy : gRenameOver(from, to, failure);
    };
    Start();
    QTRY_COMPARE(later.Waiting(), 1);
    later.Run();
    QTRY_COMPARE(later.Waiting(), 1);
    QVERIFY(m_placer->IsRunning());
    QVERIFY(!IsLockFree());
    VerifyUntouched();
    later.Run();
    QTRY_COMPARE(m_placed, 1);
    QCOMPARE(attempts, 3);
    QVERIFY(gReadFile(m_rig->Installer()) == m_package);
    QVERIFY(IsOver());
}

void tst_PackagePlacer::an_installer_that_stays_held_is_given_up()
{
    LaterCalls later;
    later.RunAtOnce();
    System().callLater = later.Seam();
    int attempts = 0;
    System().renameOver = [&attempts](const QString &, const QString &, QString *) {
        ++attempts;
        return RenameResult::Busy;
    };
    Start();
    QTRY_COMPARE(m_failed, 1);
    QCOMPARE(attempts, static_cast<int>(System().replaceLimit / System().replacePause) + 1);
    VerifyUntouched();
    QVERIFY(IsOver());
}

void tst_PackagePlacer::nothing_is_moved_once_it_is_cancelled_data()
{
    QTest::addColumn<bool>("isHeld");
    QTest::newRow("while_it_is_flushed") << false;
    QTest::newRow("while_another_program_holds_the_installer") << true;
}

void tst_PackagePlacer::nothing_is_moved_once_it_is_cancelled()
{
    QFETCH(bool, isHeld);
    LaterCalls later;
    System().callLater = later.Seam();
    std::atomic<int> attempts{0};
    System().renameOver = [&](const QString &from, const QString &to, QString *failure) {
        return ++attempts == 1 && isHeld ? RenameResult::Busy : gRenameOver(from, to, failure);
    };
    Start();
    QTRY_COMPARE(attempts.load(), isHeld ? 1 : 0);
    m_placer->Cancel();
    QVERIFY(IsOver());
    later.Run();
    QVERIFY(gFlushPool()->waitForDone());
    QCoreApplication::processEvents();
    VerifyUntouched();
    QCOMPARE(m_placed + m_failed, 0);
    QCOMPARE(attempts.load(), isHeld ? 1 : 0);
}

void tst_PackagePlacer::a_late_flush_is_not_taken_for_that_of_a_later_start()
{
    int flushes = 0;
    System().flush = [&flushes](const QString &) {
        // The first one ends late, and badly.
        return ++flushes == 1 ? FlushResult::Failed : FlushResult::Flushed;
    };
    Start();
    QVERIFY(gFlushPool()->waitForDone());
    m_placer->Cancel();
    Start();
    QTRY_COMPARE(m_placed, 1);
    QCOMPARE(m_failed, 0);
    QVERIFY(gReadFile(m_rig->Installer()) == m_package);
}

void tst_PackagePlacer::the_lock_is_free_in_the_slots_data()
{
    QTest::addColumn<bool>("isPlaced");
    QTest::newRow("of_placed") << true;
    QTest::newRow("of_failed") << false;
}

void tst_PackagePlacer::the_lock_is_free_in_the_slots()
{
    QFETCH(bool, isPlaced);
    bool wasFree = false;
    System().flush = [&, isPlaced](const QString &) {
        wasFree = IsLockFree();
        return isPlaced ? FlushResult::Flushed : FlushResult::Failed;
    };
    QList<bool> freed;
    connect(m_placer.get(), &PackagePlacer::Placed, this, [&] { freed.append(IsLockFree()); });
    connect(m_placer.get(), &PackagePlacer::Failed, this, [&] { freed.append(IsLockFree()); });
    Start();
    QTRY_COMPARE(freed, QList<bool>{true});
    QVERIFY(!wasFree);
    QCOMPARE(m_placed, isPlaced ? 1 : 0);
}

void tst_PackagePlacer::the_new_name_is_flushed()
{
    QString folder;
    bool isInPlace = false;
    System().flushFolder = [&](const QString &path) {
        folder = path;
        isInPlace = !QFile::exists(m_rig->Target()) && m_placed == 0;
    };
    Start();
    QTRY_COMPARE(m_placed, 1);
    QCOMPARE(folder, m_rig->WorkingFolder());
    QVERIFY(isInPlace);
}

void tst_PackagePlacer::a_package_with_the_md5_of_the_manifest_is_placed_data()
{
    QTest::addColumn<QString>("md5");
    const QString md5 = gMd5(m_package);
    QTest::newRow("in_lower_case") << md5;
    QTest::newRow("in_upper_case") << md5.toUpper();
    QTest::newRow("none_is_named") << QString();
    QTest::newRow("too_short_to_be_one") << gMd5("other").left(31);
    QTest::newRow("too_long_to_be_one") << gMd5("other") + '0';
    QTest::newRow("with_a_line_feed_behind") << gMd5("other") + '\n';
    QTest::newRow("with_other_letters") << QString(32, 'g');
}

void tst_PackagePlacer::a_package_with_the_md5_of_the_manifest_is_placed()
{
    QFETCH(QString, md5);
    Start(md5);
    QTRY_COMPARE(m_placed, 1);
    QVERIFY(gReadFile(m_rig->Installer()) == m_package);
}

void tst_PackagePlacer::another_package_is_removed_and_its_plan_is_void_data()
{
    QTest::addColumn<QByteArray>("package");
    QTest::addColumn<QString>("md5");
    QByteArray damaged = m_package;
    damaged[49999] = static_cast<char>(damaged.at(49999) ^ 1);
    QTest::newRow("one_bit_is_wrong") << damaged << gMd5(m_package);
    QTest::newRow("the_file_is_shorter") << m_package.left(49999) << gMd5(m_package.left(49999));
    QTest::newRow("the_file_is_longer") << m_package + 'x' << QString();
}

void tst_PackagePlacer::another_package_is_removed_and_its_plan_is_void()
{
    QFETCH(QByteArray, package);
    QFETCH(QString, md5);
    const LogCapture log;
    QVERIFY(gWriteFile(m_rig->Target(), package));
    Start(md5);
    QTRY_COMPARE(m_failed, 1);
    QCOMPARE(m_placed, 0);
    QVERIFY(!QFile::exists(m_rig->Target()));
    QCOMPARE(gReadFile(m_rig->Installer()), QByteArray("of the last version"));
    QCOMPARE(m_rig->State().value("FullPackage_size/FullPackage_size"), QStringLiteral("0"));
    QCOMPARE(log.CountContaining(m_rig->Target() + " is another package"), 1);
    QVERIFY(IsOver());
}

void tst_PackagePlacer::a_package_that_is_cancelled_while_it_is_read_is_not_judged()
{
    // The flush, which runs in front of the reading on the same thread, waits until the window's thread
    // has gone on.
    QSemaphore goOn;
    System().flush = [&goOn](const QString &) {
        goOn.acquire();
        return FlushResult::Flushed;
    };
    Start(gMd5("other"));
    // A cancelled package is not judged: nothing is removed.
    m_placer->Cancel();
    goOn.release();
    QVERIFY(gFlushPool()->waitForDone());
    QCoreApplication::processEvents();
    VerifyUntouched();
    QCOMPARE(m_rig->State().value("FullPackage_size/FullPackage_size"), QStringLiteral("50000"));
    QCOMPARE(m_placed + m_failed, 0);
}

void tst_PackagePlacer::a_package_that_cannot_be_read_is_kept()
{
    const LogCapture log;
    const QString aside = m_rig->Path("aside");
    m_store->Close();
    System().flush = [&](const QString &path) {
        // Stands for a program that denies reading: the file cannot be opened.
        QFile::rename(path, aside);
        return FlushResult::Unknown;
    };
    Start(gMd5(m_package));
    QTRY_COMPARE(m_failed, 1);
    QCOMPARE(log.CountContaining(m_rig->Target() + " cannot be read"), 1);
    QCOMPARE(m_rig->State().value("FullPackage_size/FullPackage_size"), QStringLiteral("50000"));
    QVERIFY(IsOver());
}

void tst_PackagePlacer::the_end_of_a_package_removes_what_patch_programs_left()
{
    const QString left = m_rig->WorkingFolder() + "/bspatch-4711-815.tmp";
    QVERIFY(gWriteFile(left, "half of it"));
    PackageEnd end(*m_store, m_rig->Context(), nullptr);
    RangeTask task;
    task.targetPath = m_rig->Target();
    task.installerPath = m_rig->Installer();
    end.Complete(task, gLockPackages());
    QTRY_COMPARE(m_rig->Boxes(), 1);
    QVERIFY(!QFile::exists(left));
}

void tst_PackagePlacer::the_end_of_a_package_compares_it_with_the_md5_of_its_task()
{
    PackageEnd end(*m_store, m_rig->Context(), nullptr);
    const QSignalSpy failed(&end, &PackageEnd::PlaceFailed);
    RangeTask task;
    task.targetPath = m_rig->Target();
    task.installerPath = m_rig->Installer();
    task.packageMd5 = gMd5("other");
    end.Complete(task, gLockPackages());
    QTRY_COMPARE(failed.count(), 1);
    QVERIFY(!QFile::exists(m_rig->Target()));
    QCOMPARE(m_rig->Boxes(), 0);
}

QTEST_MAIN(tst_PackagePlacer)
#include "tst_PackagePlacer.moc"
