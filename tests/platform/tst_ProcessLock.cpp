// SPDX-License-Identifier: MIT

#include "platform/ProcessLock.h"

#include <QElapsedTimer>
#include <QFile>
#include <QProcess>
#include <QTemporaryDir>
#include <QtTest>

#include <memory>

/// The lock in one process, between two processes, and with the file of a killed process.
class tst_ProcessLock : public QObject
{
    Q_OBJECT

private slots:
    void one_holds_it_at_a_time();
    void it_goes_with_its_holder_and_its_file();
    void a_leftover_file_is_no_lock();
    void a_killed_process_holds_nothing();
    void where_no_file_can_be_nobody_can_tell();

private:
    static ProcessLock::Outcome Try(ProcessLock &lock, const QTemporaryDir &folder)
    {
        return lock.TryLock(folder.filePath("lock"));
    }
};

void tst_ProcessLock::one_holds_it_at_a_time()
{
    const QTemporaryDir folder;
    ProcessLock first;
    ProcessLock second;
    QCOMPARE(Try(first, folder), ProcessLock::Outcome::Taken);
    QCOMPARE(Try(second, folder), ProcessLock::Outcome::HeldByAnother);
    first.Unlock();
    QCOMPARE(Try(second, folder), ProcessLock::Outcome::Taken);
    QCOMPARE(Try(first, folder), ProcessLock::Outcome::HeldByAnother);
}

void tst_ProcessLock::it_goes_with_its_holder_and_its_file()
{
    const QTemporaryDir folder;
    auto first = std::make_unique<ProcessLock>();
    QCOMPARE(Try(*first, folder), ProcessLock::Outcome::Taken);
    QVERIFY(QFile::exists(folder.filePath("lock")));
    first.reset();
    QVERIFY(!QFile::exists(folder.filePath("lock")));
    ProcessLock again;
    QCOMPARE(Try(again, folder), ProcessLock::Outcome::Taken);
    QCOMPARE(Try(again, folder), ProcessLock::Outcome::Taken);
}

void tst_ProcessLock::a_leftover_file_is_no_lock()
{
    const QTemporaryDir folder;
    QFile leftover(folder.filePath("lock"));
    QVERIFY(leftover.open(QIODevice::WriteOnly));
    leftover.close();
    ProcessLock lock;
    QCOMPARE(Try(lock, folder), ProcessLock::Outcome::Taken);
}

void tst_ProcessLock::a_killed_process_holds_nothing()
{
    const QTemporaryDir folder;
    QProcess holder;
    holder.start("flock", {folder.filePath("lock"), "sh", "-c", "echo held; exec sleep 600"});
    if (!holder.waitForStarted()) {
        QSKIP("there is no program that holds a lock");
    }
    QVERIFY(holder.waitForReadyRead());
    ProcessLock lock;
    QCOMPARE(Try(lock, folder), ProcessLock::Outcome::HeldByAnother);
    // The child of the flock program inherits the lock, so it is killed as well.
    QProcess children;
    children.start("pgrep", {"-P", QString::number(holder.processId())});
    QVERIFY(children.waitForFinished());
    const QList<QByteArray> sleepers = children.readAll().split('\n');
    for (const QByteArray &sleeper : sleepers) {
        if (!sleeper.isEmpty()) {
            QProcess::execute("kill", {"-9", QString::fromLatin1(sleeper)});
        }
    }
    holder.kill();
    QVERIFY(holder.waitForFinished());
    QTRY_COMPARE(Try(lock, folder), ProcessLock::Outcome::Taken);
}

void tst_ProcessLock::where_no_file_can_be_nobody_can_tell()
{
    const QTemporaryDir folder;
    ProcessLock lock;
    QCOMPARE(lock.TryLock(folder.filePath("no folder/lock")), ProcessLock::Outcome::Unavailable);
}

QTEST_GUILESS_MAIN(tst_ProcessLock)
#include "tst_ProcessLock.moc"
