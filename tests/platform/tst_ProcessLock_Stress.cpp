// SPDX-License-Identifier: MIT

#include "platform/ProcessLock.h"

#include "tests/support/OpenHandles.h"
#include "tests/support/TestFiles.h"

#include <QProcess>
#include <QTemporaryDir>
#include <QtTest>

#include <filesystem>
#include <iostream>
#include <memory>
#include <string>
#include <thread>
#include <vector>

/// The lock between processes that take it often. This program is the other process, too.
class tst_ProcessLock_Stress : public QObject
{
    Q_OBJECT

private slots:
    void a_child_process_does_not_inherit_it();
    void taking_it_in_vain_leaves_nothing_open();
    void a_try_that_follows_its_release_finds_it_free();
    void processes_never_hold_it_at_the_same_time();

private:
    std::unique_ptr<QProcess> StartSelf(const QStringList &arguments) const;
};

namespace
{
constexpr int patienceMs = 100000;
constexpr int sections = 200;

/// Waits for a line of the test, or for its end.
void gAwaitWord()
{
    std::cout << "up" << std::endl;
    std::string word;
    std::getline(std::cin, word);
}

/// Enters @p sections sections under the lock at @p lock. In each of them it creates a file, which no
/// other process must have created, adds one to a number in a second file, and removes the first.
/// @return how often it was not alone
int gCountSections(const QString &lock)
{
    int violations = 0;
    gAwaitWord();
    for (int section = 0; section < sections;) {
        ProcessLock held;
        if (held.TryLock(lock) != ProcessLock::Outcome::Taken) {
            std::this_thread::yield();
            continue;
        }
        QFile marker(lock + ".marker");
        if (!marker.open(QIODevice::WriteOnly | QIODevice::NewOnly)) {
            ++violations;
        }
        marker.close();
        const int count = gReadFile(lock + ".count").toInt();
        gPutFile(lock + ".count", QByteArray::number(count + 1));
        marker.remove();
        ++section;
    }
    return violations;
}
} // namespace

std::unique_ptr<QProcess> tst_ProcessLock_Stress::StartSelf(const QStringList &arguments) const
{
    auto process = std::make_unique<QProcess>();
    process->setProcessChannelMode(QProcess::ForwardedErrorChannel);
    process->start(QCoreApplication::applicationFilePath(), arguments);
    // A word of it says that it runs.
    return process->waitForReadyRead(patienceMs) ? std::move(process) : nullptr;
}

void tst_ProcessLock_Stress::a_child_process_does_not_inherit_it()
{
    const QTemporaryDir folder;
    const QString path = folder.filePath("lock");
    auto lock = std::make_unique<ProcessLock>();
    QCOMPARE(lock->TryLock(path), ProcessLock::Outcome::Taken);
    const auto child = StartSelf({"--wait"});
    QVERIFY(child);
    // A second name, because the first one goes with the lock.
    const QString otherName = folder.filePath("other name");
    std::filesystem::create_hard_link(path.toStdWString(), otherName.toStdWString());
    lock.reset();
    QCOMPARE(child->state(), QProcess::Running);
    ProcessLock other;
    QCOMPARE(other.TryLock(otherName), ProcessLock::Outcome::Taken);
    QCOMPARE(other.TryLock(path), ProcessLock::Outcome::Taken);
    child->closeWriteChannel();
    QVERIFY(child->waitForFinished(patienceMs));
}

void tst_ProcessLock_Stress::taking_it_in_vain_leaves_nothing_open()
{
    const QTemporaryDir folder;
    const QString path = folder.filePath("lock");
    ProcessLock holder;
    QCOMPARE(holder.TryLock(path), ProcessLock::Outcome::Taken);
    const int open = gOpenHandles();
    ProcessLock second;
    for (int attempt = 0; attempt < 1000; ++attempt) {
        QCOMPARE(second.TryLock(path), ProcessLock::Outcome::HeldByAnother);
        QCOMPARE(second.TryLock(folder.filePath("none/lock")), ProcessLock::Outcome::Unavailable);
    }
    QCOMPARE(gOpenHandles(), open);
}

void tst_ProcessLock_Stress::a_try_that_follows_its_release_finds_it_free()
{
    const QTemporaryDir folder;
    const QString path = folder.filePath("lock");
    ProcessLock first;
    ProcessLock second;
    QCOMPARE(first.TryLock(path), ProcessLock::Outcome::Taken);
    const int open = gOpenHandles();
    for (int attempt = 0; attempt < 1000; ++attempt) {
        first.Unlock();
        QCOMPARE(second.TryLock(path), ProcessLock::Outcome::Taken);
        second.Unlock();
        QCOMPARE(first.TryLock(path), ProcessLock::Outcome::Taken);
    }
    QCOMPARE(gOpenHandles(), open);
}

void tst_ProcessLock_Stress::processes_never_hold_it_at_the_same_time()
{
    constexpr int processes = 3;
    const QTemporaryDir folder;
    const QString path = folder.filePath("lock");
    std::vector<std::unique_ptr<QProcess>> others;
    for (int number = 0; number < processes; ++number) {
        others.push_back(StartSelf({"--count", path}));
        QVERIFY(others.back());
    }
    for (const auto &other : others) {
        other->closeWriteChannel();
    }
    for (const auto &other : others) {
        QVERIFY(other->waitForFinished(patienceMs));
        QCOMPARE(other->exitStatus(), QProcess::NormalExit);
        QCOMPARE(other->exitCode(), 0);
    }
    QCOMPARE(gReadFile(path + ".count").toInt(), processes * sections);
    QVERIFY(!QFile::exists(path));
}

int main(int argc, char *argv[])
{
    const QCoreApplication application(argc, argv);
    const QStringList arguments = QCoreApplication::arguments();
    if (arguments.value(1) == "--wait") {
        gAwaitWord();
        return 0;
    }
    if (arguments.value(1) == "--count") {
        return gCountSections(arguments.value(2)) == 0 ? 0 : 1;
    }
    tst_ProcessLock_Stress test;
    return QTest::qExec(&test, argc, argv);
}
#include "tst_ProcessLock_Stress.moc"
