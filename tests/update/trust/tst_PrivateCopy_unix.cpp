// SPDX-License-Identifier: MIT

#include "update/trust/PrivateCopy.h"

#include "tests/support/TestBytes.h"
#include "tests/support/TestFiles.h"

#include <QDir>
#include <QProcess>
#include <QTemporaryDir>
#include <QtTest>

#include <csignal>

#include <sys/resource.h>
#include <sys/stat.h>

/// Copies of what only this system has, on a disk that is full, and beside another process.
class tst_PrivateCopy_unix : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void cleanup();

    void a_named_pipe_is_not_copied();
    void a_link_to_a_file_is_followed_once();
    void the_mode_of_the_process_opens_no_copy();
    void a_source_that_cannot_be_read_leaves_no_copy();
    void a_full_disk_leaves_no_copy_data();
    void a_full_disk_leaves_no_copy();
    void what_another_process_uses_is_not_removed();

private:
    static constexpr qint64 noLimit = qint64{1} << 40;

    static void LimitFiles(rlim_t bytes);
    QString Path(const QString &name) const { return m_folder->filePath(name); }
    QStringList Left() const
    {
        return QDir(Path("private")).entryList(QDir::AllEntries | QDir::NoDotAndDotDot);
    }
    PrivateFolderFunction Private() const
    {
        return [path = Path("private")](QString *) { return path; };
    }
    PrivateCopy::Outcome Make() const
    {
        return PrivateCopy::Make(Path("source"), "setup.exe", noLimit, Private());
    }

    std::unique_ptr<QTemporaryDir> m_folder;
};

void tst_PrivateCopy_unix::initTestCase()
{
    QVERIFY(std::signal(SIGXFSZ, SIG_IGN) != SIG_ERR);
}

void tst_PrivateCopy_unix::init()
{
    m_folder = std::make_unique<QTemporaryDir>();
    QVERIFY(QDir().mkpath(Path("private")));
}

void tst_PrivateCopy_unix::cleanup()
{
    LimitFiles(RLIM_INFINITY);
}

void tst_PrivateCopy_unix::LimitFiles(rlim_t bytes)
{
    const rlimit limit{bytes, RLIM_INFINITY};
    QCOMPARE(setrlimit(RLIMIT_FSIZE, &limit), 0);
}

void tst_PrivateCopy_unix::a_named_pipe_is_not_copied()
{
    QCOMPARE(mkfifo(QFile::encodeName(Path("source")).constData(), S_IRUSR | S_IWUSR), 0);
    const PrivateCopy::Outcome outcome = Make();
    QVERIFY(outcome.copy == nullptr);
    QCOMPARE(outcome.failure, Path("source") + " is no file that can be read");
    QCOMPARE(Left(), QStringList());
}

void tst_PrivateCopy_unix::a_link_to_a_file_is_followed_once()
{
    QVERIFY(gWriteFile(Path("target"), "bytes"));
    QVERIFY(QFile::link(Path("target"), Path("source")));
    const PrivateCopy::Outcome outcome = Make();
    QVERIFY2(outcome.copy != nullptr, qPrintable(outcome.failure));
    QVERIFY(!QFileInfo(outcome.copy->Path()).isSymLink());
    QVERIFY(gWriteFile(Path("target"), "other bytes"));
    QCOMPARE(gReadFile(outcome.copy->Path()), QByteArray("bytes"));
}

void tst_PrivateCopy_unix::the_mode_of_the_process_opens_no_copy()
{
    QVERIFY(gWriteFile(Path("source"), "bytes"));
    const mode_t before = umask(0);
    const PrivateCopy::Outcome outcome = Make();
    umask(before);
    QVERIFY2(outcome.copy != nullptr, qPrintable(outcome.failure));
    const QFileInfo folder(QFileInfo(outcome.copy->Path()).path());
    QCOMPARE(folder.permissions() & ~(QFile::ReadUser | QFile::WriteUser | QFile::ExeUser),
             QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
}

void tst_PrivateCopy_unix::a_source_that_cannot_be_read_leaves_no_copy()
{
    // It can be opened, and nothing is at its beginning.
    const QString source = "/proc/self/mem";
    if (!QFile(source).open(QIODevice::ReadOnly)) {
        QSKIP("This system has no file that can be opened and not be read.");
    }
    const PrivateCopy::Outcome outcome = PrivateCopy::Make(source, "setup.exe", noLimit, Private());
    QVERIFY(outcome.copy == nullptr);
    QVERIFY2(outcome.failure.startsWith(source + ": "), qPrintable(outcome.failure));
    QCOMPARE(Left(), QStringList());
}

void tst_PrivateCopy_unix::a_full_disk_leaves_no_copy_data()
{
    QTest::addColumn<int>("room");
    QTest::newRow("none") << 0;
    QTest::newRow("for_a_part") << 450000;
    QTest::newRow("for_all_but_one_byte") << 1000002;
}

void tst_PrivateCopy_unix::a_full_disk_leaves_no_copy()
{
    QFETCH(int, room);
    QVERIFY(gWriteFile(Path("source"), gTestBytes(1000003)));
    LimitFiles(static_cast<rlim_t>(room));
    const PrivateCopy::Outcome outcome = Make();
    LimitFiles(RLIM_INFINITY);
    QVERIFY(outcome.copy == nullptr);
    QVERIFY2(outcome.failure.startsWith(Path("private/Corvina-")), qPrintable(outcome.failure));
    QVERIFY2(outcome.failure.contains("/setup.exe: "), qPrintable(outcome.failure));
    QCOMPARE(Left(), QStringList());
}

void tst_PrivateCopy_unix::what_another_process_uses_is_not_removed()
{
    QVERIFY(gWriteFile(Path("source"), "bytes"));
    PrivateCopy::Outcome outcome = Make();
    const QString folder = QFileInfo(outcome.copy->Path()).path();
    outcome.copy->Leave();
    outcome.copy.reset();
    QProcess holder;
    // One process, which ends with its input.
    holder.start("sh", {"-c", R"(exec 9>>"$1" && flock -n 9 && echo held && exec cat)", "sh",
                        folder + ".lock"});
    QVERIFY(holder.waitForStarted());
    QVERIFY(holder.waitForReadyRead());
    QCOMPARE(holder.readAllStandardOutput(), QByteArray("held\n"));
    PrivateCopy::RemoveLeft(Private());
    QCOMPARE(gReadFile(folder + "/setup.exe"), QByteArray("bytes"));
    holder.kill();
    QVERIFY(holder.waitForFinished());
    PrivateCopy::RemoveLeft(Private());
    QCOMPARE(Left(), QStringList());
}

QTEST_GUILESS_MAIN(tst_PrivateCopy_unix)
#include "tst_PrivateCopy_unix.moc"
