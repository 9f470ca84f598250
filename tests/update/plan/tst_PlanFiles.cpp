// SPDX-License-Identifier: MIT

#include "update/plan/PlanFiles.h"

#include "platform/ProcessLock.h"
#include "tests/update/UpdateRig.h"
#include "update/plan/PackageFolder.h"

#include <QMutex>
#include <QThread>
#include <QtTest>

namespace
{
constexpr int packageSize = 50003;
} // namespace

class tst_PlanFiles : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();
    void a_fresh_start_makes_the_target_and_its_state();
    void an_earlier_download_keeps_its_file();
    void the_threads_of_a_pool_wait_for_the_disk();
    void the_lock_is_given_back_before_the_signal();
    void a_cancelled_plan_tells_nothing_and_gives_the_lock_back();
    void a_state_that_is_closed_can_be_replaced_by_others();

private:
    bool IsLocked() const
    {
        return ProcessLock().TryLock(gPackageLockFile()) == ProcessLock::Outcome::HeldByAnother;
    }

    std::unique_ptr<UpdateRig> m_rig;
    std::unique_ptr<ResumeState> m_state;
    std::unique_ptr<PlanFiles> m_files;
};

void tst_PlanFiles::init()
{
    m_rig = std::make_unique<UpdateRig>();
    QVERIFY(QDir().mkpath(m_rig->WorkingFolder()));
    m_state = std::make_unique<ResumeState>(m_rig->ConfigFolder());
    DownloadTarget target;
    target.path = m_rig->Target();
    target.version = "9.2.0.0";
    m_files = std::make_unique<PlanFiles>(target, packageSize, *m_state, m_rig->Context(), nullptr);
}

void tst_PlanFiles::cleanup()
{
    m_files.reset();
    m_state.reset();
    m_rig.reset();
}

void tst_PlanFiles::a_fresh_start_makes_the_target_and_its_state()
{
    QVERIFY(gWriteFile(m_rig->Target(), "of an earlier package"));
    const QSignalSpy ready(m_files.get(), &PlanFiles::Ready);
    m_files->StartAnew(gFreshStart(packageSize), gLockPackages());
    QTRY_COMPARE(ready.count(), 1);
    QCOMPARE(QFileInfo(m_rig->Target()).size(), qint64(packageSize));
    QVERIFY(!gReadFile(m_rig->Target()).startsWith("of"));
    QCOMPARE(m_rig->State().value("FullPackage_size/FullPackage_size"), QStringLiteral("50003"));
    QCOMPARE(m_rig->State().value("DownLoad_Tasks/Start_Byte5"), QStringLiteral("40000"));
    QCOMPARE(m_rig->State().value("Identity/Target_File"), gFileIdentity(m_rig->Target()));
}

void tst_PlanFiles::an_earlier_download_keeps_its_file()
{
    QVERIFY(gWriteFile(m_rig->Target(), "half of it"));
    const QString identity = gFileIdentity(m_rig->Target());
    const QSignalSpy ready(m_files.get(), &PlanFiles::Ready);
    m_files->GoOn(gFreshStart(packageSize), gLockPackages());
    QTRY_COMPARE(ready.count(), 1);
    QCOMPARE(gReadFile(m_rig->Target()), QByteArray("half of it"));
    QCOMPARE(m_rig->State().value("Identity/Target_File"), identity);
}

void tst_PlanFiles::the_threads_of_a_pool_wait_for_the_disk()
{
    QMutex mutex;
    int here = 0;
    int elsewhere = 0;
    const auto count = [&, gui = QThread::currentThread()] {
        const QMutexLocker locker(&mutex);
        ++(QThread::currentThread() == gui ? here : elsewhere);
    };
    m_rig->System().flushFolder = [count](const QString &) { count(); };
    m_rig->System().renameOver = [count](const QString &from, const QString &to, QString *failure) {
        count();
        return gRenameOver(from, to, failure);
    };
    const QSignalSpy ready(m_files.get(), &PlanFiles::Ready);
    m_files->StartAnew(gFreshStart(packageSize), gLockPackages());
    QTRY_COMPARE(ready.count(), 1);
    const QMutexLocker locker(&mutex);
    QCOMPARE(here, 0);
    // The state's folder, the target's name, the target's folder; the state again where the file is
    // another one for the system under its new name.
    QVERIFY2(elsewhere == 3 || elsewhere == 4, qPrintable(QString::number(elsewhere)));
}

void tst_PlanFiles::the_lock_is_given_back_before_the_signal()
{
    QList<bool> locked;
    connect(m_files.get(), &PlanFiles::Ready, this, [&] { locked.append(IsLocked()); });
    m_files->StartAnew(gFreshStart(packageSize), gLockPackages());
    QVERIFY(IsLocked());
    QTRY_COMPARE(locked, QList<bool>{false});
}

void tst_PlanFiles::a_cancelled_plan_tells_nothing_and_gives_the_lock_back()
{
    const QSignalSpy ready(m_files.get(), &PlanFiles::Ready);
    const QSignalSpy notMade(m_files.get(), &PlanFiles::NotMade);
    m_files->StartAnew(gFreshStart(packageSize), gLockPackages());
    m_files->Cancel();
    UpdateRig::SettlePlan();
    QVERIFY(!IsLocked());
    QCOMPARE(ready.count() + notMade.count(), 0);
    QVERIFY(!QFile::exists(m_rig->Target()));
}

void tst_PlanFiles::a_state_that_is_closed_can_be_replaced_by_others()
{
    const QSignalSpy ready(m_files.get(), &PlanFiles::Ready);
    m_files->StartAnew(gFreshStart(packageSize), gLockPackages());
    QTRY_COMPARE(ready.count(), 1);
    m_state->Close();
    QVERIFY(gReplaceStateFile(m_rig->StateFile(), "[FullPackage_size]\nFullPackage_size=7\n"));
    m_state->Reload();
    QCOMPARE(m_state->PackageSize(), 7);
}

QTEST_MAIN(tst_PlanFiles)
#include "tst_PlanFiles.moc"
