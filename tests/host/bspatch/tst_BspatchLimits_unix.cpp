// SPDX-License-Identifier: MIT

#include "tests/host/bspatch/PatchFolder.h"
#include "tests/host/bspatch/ProgramRun.h"
#include "tests/support/BsdiffWriter.h"
#include "tests/support/TestFiles.h"

#include <QtTest>

/// The patch program under limits that a Unix shell sets for a process.
class tst_BspatchLimits_unix : public QObject
{
    Q_OBJECT

private slots:
    void memory_stays_small_for_a_large_file();
    void a_full_disk_leaves_the_earlier_new_file();
    void an_absurd_size_takes_no_room_on_the_disk();
};

void tst_BspatchLimits_unix::memory_stays_small_for_a_large_file()
{
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
    QSKIP("A sanitizer needs memory of its own.");
#endif
    PatchFolder folder;
    BsdiffWriter writer;
    writer.AddStep(QByteArray(48 << 20, '\0'), QByteArray(16 << 20, 'x'), 0);
    PatchFolder::Write(folder.OldPath(), QByteArray(64 << 20, '\7'));
    PatchFolder::Write(folder.PatchPath(), writer.Build());
    const QStringList arguments{QStringLiteral("--data=33554432"), ProgramRun::Bspatch(),
                                folder.OldPath(), folder.NewPath(), folder.PatchPath()};
    QCOMPARE(ProgramRun::Complaint(QStringLiteral("prlimit"), arguments), QString());
    QCOMPARE(QFileInfo(folder.NewPath()).size(), writer.NewSize());
}

void tst_BspatchLimits_unix::a_full_disk_leaves_the_earlier_new_file()
{
    PatchFolder folder;
    BsdiffWriter writer;
    writer.AddStep(QByteArray(), QByteArray(200000, 'x'), 0);
    PatchFolder::Write(folder.OldPath(), "old");
    PatchFolder::Write(folder.PatchPath(), writer.Build());
    PatchFolder::Write(folder.NewPath(), "a new file from earlier");
    // A limit on the size of a file takes the place of a full disk: the first one is reached by a
    // write, the second one only by the buffered rest at the end.
    for (const int kilobytes : {64, 192}) {
        const QString script = QStringLiteral("trap '' XFSZ; ulimit -f %1; exec \"$@\"");
        const ProgramRun result = ProgramRun::Of(
            QStringLiteral("bash"),
            {QStringLiteral("-c"), script.arg(kilobytes), QStringLiteral("bash"),
             ProgramRun::Bspatch(), folder.OldPath(), folder.NewPath(), folder.PatchPath()});
        QCOMPARE(result.exitCode, 1);
        QCOMPARE(QString::fromLocal8Bit(result.errors),
                 QStringLiteral("bspatch: %1: cannot be written: File too large\n")
                     .arg(folder.NewPath()));
        QCOMPARE(gReadFile(folder.NewPath()), QByteArray("a new file from earlier"));
        QCOMPARE(folder.Names().size(), 3);
    }
}

void tst_BspatchLimits_unix::an_absurd_size_takes_no_room_on_the_disk()
{
    constexpr qint64 absurd = qint64(1) << 60;
    PatchFolder folder;
    const QByteArray control =
        BsdiffWriter::Number(0) + BsdiffWriter::Number(absurd) + BsdiffWriter::Number(0);
    PatchFolder::Write(folder.OldPath(), "old");
    PatchFolder::Write(folder.PatchPath(),
                       BsdiffWriter::Build({control, QByteArray(), QByteArray("extra")}, absurd));
    const ProgramRun result = ProgramRun::Of(
        QStringLiteral("prlimit"), {QStringLiteral("--fsize=1000"), ProgramRun::Bspatch(),
                                    folder.OldPath(), folder.NewPath(), folder.PatchPath()});
    QCOMPARE(result.exitCode, 1);
    QCOMPARE(QString::fromLocal8Bit(result.errors),
             QStringLiteral("bspatch: %1: is damaged: its extra block ends too early\n")
                 .arg(folder.PatchPath()));
    QCOMPARE(folder.Names().size(), 2);
}

QTEST_GUILESS_MAIN(tst_BspatchLimits_unix)
#include "tst_BspatchLimits_unix.moc"
