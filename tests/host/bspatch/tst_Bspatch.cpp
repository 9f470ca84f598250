#include "tests/host/bspatch/PatchFolder.h"
#include "tests/support/BsdiffWriter.h"
#include "tests/support/TestBytes.h"

#include <QDir>
#include <QProcess>
#include <QRandomGenerator>
#include <QtTest>

#include <limits>

namespace
{
constexpr int patience = 100000;

struct Result {
    int exitCode = -1;
    QByteArray output;
    QByteArray errors;
};

Result Run(const QString &program, const QStringList &arguments, const QString &folder = {})
{
    QProcess process;
    process.setWorkingDirectory(folder);
    process.start(program, arguments);
    Result result;
    if (process.waitForFinished(patience) && process.exitStatus() == QProcess::NormalExit)
        result.exitCode = process.exitCode();
    result.output = process.readAllStandardOutput();
    result.errors = process.readAllStandardError();
    return result;
}

/// Empty when the program ran well and silently.
QString Complaint(const QString &program, const QStringList &arguments, const QString &folder = {})
{
    const Result result = Run(program, arguments, folder);
    if (result.exitCode == 0 && result.errors.isEmpty() && result.output.isEmpty())
        return {};
    return QStringLiteral("%1 ended with %2: %3")
        .arg(program)
        .arg(result.exitCode)
        .arg(QString::fromLocal8Bit(result.errors));
}

QString Bspatch()
{
    return QStringLiteral(BSPATCH);
}

/// Runs the program on the folder's files. Empty when it was content.
QString Apply(const PatchFolder &folder)
{
    return Complaint(Bspatch(), {folder.OldPath(), folder.NewPath(), folder.PatchPath()});
}

/// Zeros with a few other bytes among them, as the differences of like files are.
QByteArray SparseDiff(int size, QRandomGenerator *random)
{
    QByteArray diff(size, '\0');
    for (int index = 0; index < size; index += random->bounded(1, 5000))
        diff[index] = static_cast<char>(random->bounded(256));
    return diff;
}

/// What @p diff makes of the old file's bytes from @p position on.
QByteArray Sum(const QByteArray &old, qint64 position, const QByteArray &diff)
{
    QByteArray sum = diff;
    for (int index = 0; index < sum.size(); ++index) {
        const qint64 from = position + index;
        if (from >= 0 && from < old.size())
            sum[index] = static_cast<char>(sum.at(index) + old.at(static_cast<int>(from)));
    }
    return sum;
}

struct RandomPatch {
    BsdiffWriter writer;
    QByteArray newContent;
};

/// A patch for @p old with steps as any tool might make them, short and long ones, also to places
/// outside of the old file, but not before @p lowest.
RandomPatch MakeRandomPatch(const QByteArray &old, int newSize, int longestStep, int lowest)
{
    QRandomGenerator random(static_cast<quint32>(longestStep));
    RandomPatch patch;
    int position = 0;
    while (patch.newContent.size() < newSize) {
        const QByteArray diff = SparseDiff(random.bounded(longestStep), &random);
        const QByteArray extra =
            gTestBytes(random.bounded(longestStep / 20 + 1), random.generate());
        patch.newContent += Sum(old, position, diff) + extra;
        const int end = position + diff.size();
        position = qMax(lowest, end + random.bounded(-longestStep, longestStep / 2));
        patch.writer.AddStep(diff, extra, position - end);
    }
    return patch;
}

/// A file with single bytes changed, some bytes inserted and some left out, every so often.
QByteArray Edited(const QByteArray &content, int edits, quint32 seed)
{
    QRandomGenerator random(seed);
    QByteArray edited;
    const int part = content.size() / edits;
    for (int edit = 0; edit < edits; ++edit) {
        edited += content.mid(edit * part + random.bounded(20), part);
        edited += gTestBytes(random.bounded(30), random.generate());
        edited[edited.size() / 2] = static_cast<char>(random.bounded(256));
    }
    return edited;
}
} // namespace

/// The program itself, compared with the one that the format comes from.
class tst_Bspatch : public QObject
{
    Q_OBJECT

private slots:
    void the_new_file_is_what_the_reference_makes_data();
    void the_new_file_is_what_the_reference_makes();
    void an_empty_file_is_a_file_data();
    void an_empty_file_is_a_file();
    void the_installers_of_two_versions_are_patched();
    void steps_to_any_place_are_followed_data();
    void steps_to_any_place_are_followed();
    void a_position_far_outside_the_old_file_adds_nothing_data();
    void a_position_far_outside_the_old_file_adds_nothing();
    void memory_stays_small_for_a_large_file();
    void an_earlier_new_file_is_replaced();
    void names_are_taken_as_they_are_data();
    void names_are_taken_as_they_are();
    void another_number_of_arguments_is_a_usage_error_data();
    void another_number_of_arguments_is_a_usage_error();
    void a_failure_says_why_in_one_line_data();
    void a_failure_says_why_in_one_line();
    void a_full_disk_leaves_the_earlier_new_file();
    void an_absurd_size_takes_no_room_on_the_disk();

private:
    static QString DifferenceToReference(const PatchFolder &folder);
};

/// Applies the folder's patch with both programs. Empty when the new files are the same.
QString tst_Bspatch::DifferenceToReference(const PatchFolder &folder)
{
    const QString reference = folder.Path(QStringLiteral("reference"));
    QString complaint = Complaint(QStringLiteral(REFERENCE_BSPATCH),
                                  {folder.OldPath(), reference, folder.PatchPath()});
    if (complaint.isEmpty())
        complaint = Apply(folder);
    if (complaint.isEmpty() && PatchFolder::Read(folder.NewPath()) != PatchFolder::Read(reference))
        return QStringLiteral("the new files differ");
    return complaint;
}

void tst_Bspatch::the_new_file_is_what_the_reference_makes_data()
{
    QTest::addColumn<QByteArray>("oldContent");
    QTest::addColumn<QByteArray>("newContent");

    const QByteArray some = gTestBytes(100000);
    QTest::newRow("identical") << some << some;
    QTest::newRow("old is the begin of new") << some.left(40000) << some;
    QTest::newRow("new is the begin of old") << some << some.left(65536);
    QTest::newRow("halves changed places") << some << some.mid(50000) + some.left(50000);
    QTest::newRow("nothing in common") << some << gTestBytes(90000, 2);
    QTest::newRow("zeros") << QByteArray(300000, '\0') << QByteArray(200001, '\0');
    const QByteArray large = gTestBytes(4 << 20);
    QTest::newRow("random edits") << large << Edited(large, 500, 1);
}

void tst_Bspatch::the_new_file_is_what_the_reference_makes()
{
    QFETCH(QByteArray, oldContent);
    QFETCH(QByteArray, newContent);

    PatchFolder folder;
    const QString wanted = folder.Path(QStringLiteral("wanted"));
    PatchFolder::Write(folder.OldPath(), oldContent);
    PatchFolder::Write(wanted, newContent);
    QCOMPARE(Complaint(QStringLiteral(BSDIFF), {folder.OldPath(), wanted, folder.PatchPath()}),
             QString());
    QCOMPARE(DifferenceToReference(folder), QString());
    QVERIFY(PatchFolder::Read(folder.NewPath()) == newContent);
}

void tst_Bspatch::an_empty_file_is_a_file_data()
{
    QTest::addColumn<QByteArray>("oldContent");
    QTest::addColumn<QByteArray>("newContent");

    QTest::newRow("both empty") << QByteArray("") << QByteArray("");
    QTest::newRow("empty old") << QByteArray("") << gTestBytes(100000);
    QTest::newRow("empty new") << gTestBytes(100000) << QByteArray("");
}

void tst_Bspatch::an_empty_file_is_a_file()
{
    QFETCH(QByteArray, oldContent);
    QFETCH(QByteArray, newContent);

    // The distribution's tool refuses to make such patches.
    PatchFolder folder;
    BsdiffWriter writer;
    if (!newContent.isEmpty())
        writer.AddStep(QByteArray(), newContent, 0);
    PatchFolder::Write(folder.OldPath(), oldContent);
    PatchFolder::Write(folder.PatchPath(), writer.Build());
    QCOMPARE(DifferenceToReference(folder), QString());
    QVERIFY(QFile::exists(folder.NewPath()));
    QVERIFY(PatchFolder::Read(folder.NewPath()) == newContent);
}

void tst_Bspatch::the_installers_of_two_versions_are_patched()
{
    PatchFolder folder;
    const QString wanted = folder.Path(QStringLiteral("wanted"));
    const QString megabytes = QStringLiteral("4");
    const QString make = QStringLiteral(MAKE_INSTALLER);
    QCOMPARE(Complaint(make, {QStringLiteral("1.0.0.1"), megabytes, folder.OldPath()}), QString());
    QCOMPARE(Complaint(make, {QStringLiteral("1.0.0.2"), megabytes, wanted}), QString());
    QCOMPARE(Complaint(QStringLiteral(BSDIFF), {folder.OldPath(), wanted, folder.PatchPath()}),
             QString());
    QCOMPARE(DifferenceToReference(folder), QString());
    QVERIFY(QFileInfo(wanted).size() > 4 << 20);
    QVERIFY(PatchFolder::Read(folder.NewPath()) == PatchFolder::Read(wanted));
}

void tst_Bspatch::steps_to_any_place_are_followed_data()
{
    QTest::addColumn<int>("oldSize");
    QTest::addColumn<int>("newSize");
    QTest::addColumn<int>("longestStep");
    QTest::addColumn<int>("lowest");

    QTest::newRow("steps of a few bytes") << 5000 << 60000 << 30 << 0;
    QTest::newRow("steps longer than the old file") << 3000 << 200000 << 20000 << 0;
    QTest::newRow("steps to before the old file") << 30000 << 400000 << 20000 << -20000;
    QTest::newRow("steps about as long as a block") << 1000000 << 4000000 << 140000 << 0;
    QTest::newRow("an old file of whole blocks") << 131072 << 1000000 << 100000 << 0;
    QTest::newRow("an empty old file") << 0 << 100000 << 9000 << 0;
    QTest::newRow("a large file") << (64 << 20) << (64 << 20) << 400000 << 0;
}

void tst_Bspatch::steps_to_any_place_are_followed()
{
    QFETCH(int, oldSize);
    QFETCH(int, newSize);
    QFETCH(int, longestStep);
    QFETCH(int, lowest);

    PatchFolder folder;
    const QByteArray old = gTestBytes(oldSize);
    const RandomPatch patch = MakeRandomPatch(old, newSize, longestStep, lowest);
    PatchFolder::Write(folder.OldPath(), old);
    PatchFolder::Write(folder.PatchPath(), patch.writer.Build());
    // Before the old file the reference reads memory that is not its own.
    if (lowest >= 0)
        QCOMPARE(DifferenceToReference(folder), QString());
    else
        QCOMPARE(Apply(folder), QString());
    QVERIFY(PatchFolder::Read(folder.NewPath()) == patch.newContent);
}

void tst_Bspatch::a_position_far_outside_the_old_file_adds_nothing_data()
{
    QTest::addColumn<qint64>("skipped");

    constexpr qint64 highest = std::numeric_limits<qint64>::max();
    QTest::newRow("one byte before the begin") << qint64(-301);
    QTest::newRow("far before the begin") << -highest;
    QTest::newRow("one byte before the end") << qint64(699);
    QTest::newRow("at the end") << qint64(700);
    QTest::newRow("far behind the end") << highest - 1000;
}

void tst_Bspatch::a_position_far_outside_the_old_file_adds_nothing()
{
    QFETCH(qint64, skipped);

    PatchFolder folder;
    BsdiffWriter writer;
    const QByteArray old = gTestBytes(1000);
    const QByteArray diff(200, '\5');
    writer.AddStep(QByteArray(300, '\0'), QByteArray("extra"), skipped);
    writer.AddStep(diff, QByteArray("extra"), 0);
    PatchFolder::Write(folder.OldPath(), old);
    PatchFolder::Write(folder.PatchPath(), writer.Build());
    QCOMPARE(Apply(folder), QString());
    QCOMPARE(PatchFolder::Read(folder.NewPath()),
             old.left(300) + "extra" + Sum(old, 300 + skipped, diff) + "extra");
}

void tst_Bspatch::memory_stays_small_for_a_large_file()
{
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
    QSKIP("A sanitizer needs memory of its own.");
#endif
    PatchFolder folder;
    BsdiffWriter writer;
    writer.AddStep(QByteArray(48 << 20, '\0'), QByteArray(16 << 20, 'x'), 0);
    PatchFolder::Write(folder.OldPath(), QByteArray(64 << 20, '\7'));
    PatchFolder::Write(folder.PatchPath(), writer.Build());
    const QStringList arguments{QStringLiteral("--data=33554432"), Bspatch(), folder.OldPath(),
                                folder.NewPath(), folder.PatchPath()};
    QCOMPARE(Complaint(QStringLiteral("prlimit"), arguments), QString());
    QCOMPARE(QFileInfo(folder.NewPath()).size(), writer.NewSize());
}

void tst_Bspatch::an_earlier_new_file_is_replaced()
{
    PatchFolder folder;
    BsdiffWriter writer;
    writer.AddStep(QByteArray(10, '\0'), QByteArray("new"), 0);
    PatchFolder::Write(folder.OldPath(), "0123456789");
    PatchFolder::Write(folder.PatchPath(), writer.Build());
    PatchFolder::Write(folder.NewPath(), "a longer new file from earlier");
    QCOMPARE(Apply(folder), QString());
    QCOMPARE(PatchFolder::Read(folder.NewPath()), QByteArray("0123456789new"));
    QCOMPARE(folder.Names().size(), 3);
}

void tst_Bspatch::names_are_taken_as_they_are_data()
{
    QTest::addColumn<QString>("name");

    QTest::newRow("with spaces") << QStringLiteral("a new file");
    QTest::newRow("with letters of other alphabets") << QString::fromUtf8("n\u00fc \u4f60\u597d");
    QTest::newRow("like an option") << QStringLiteral("--help");
    QTest::newRow("as long as can be") << QString(255, QLatin1Char('n'));
    QTest::newRow("with a folder") << QStringLiteral("folder/../new");
    QTest::newRow("the name that the module asks for") << QStringLiteral("old.patch");
}

void tst_Bspatch::names_are_taken_as_they_are()
{
    QFETCH(QString, name);

    PatchFolder folder;
    BsdiffWriter writer;
    writer.AddStep(QByteArray(), QByteArray("new"), 0);
    QVERIFY(QDir(folder.Path(QString())).mkdir(QStringLiteral("folder")));
    PatchFolder::Write(folder.OldPath(), "old");
    PatchFolder::Write(folder.PatchPath(), writer.Build());
    QCOMPARE(Complaint(Bspatch(), {QStringLiteral("old"), name, QStringLiteral("patch")},
                       folder.Path(QString())),
             QString());
    QCOMPARE(PatchFolder::Read(folder.Path(name)), QByteArray("new"));
    QCOMPARE(folder.Names().size(), 4);
}

void tst_Bspatch::another_number_of_arguments_is_a_usage_error_data()
{
    QTest::addColumn<QStringList>("arguments");

    QStringList arguments;
    for (const char *row : {"none", "one", "two"}) {
        QTest::newRow(row) << arguments;
        arguments << QStringLiteral("name");
    }
    QTest::newRow("four") << arguments + arguments;
}

void tst_Bspatch::another_number_of_arguments_is_a_usage_error()
{
    QFETCH(QStringList, arguments);

    const Result result = Run(Bspatch(), arguments);
    QCOMPARE(result.exitCode, 2);
    QCOMPARE(result.errors, QByteArray("usage: bspatch.exe OLDFILE NEWFILE PATCHFILE\n"));
}

void tst_Bspatch::a_failure_says_why_in_one_line_data()
{
    QTest::addColumn<QString>("oldName");
    QTest::addColumn<QString>("newName");
    QTest::addColumn<QString>("patchName");
    QTest::addColumn<QByteArray>("message");

    const auto row = [](const char *what, const char *oldName, const char *newName,
                        const char *patchName, const char *message) {
        QTest::newRow(what) << QString::fromLatin1(oldName) << QString::fromLatin1(newName)
                            << QString::fromLatin1(patchName) << QByteArray(message);
    };
    row("no old file", "none", "new", "patch", "none: cannot be opened: No such file or directory");
    row("no patch", "old", "new", "none", "none: cannot be opened: No such file or directory");
    row("old is a folder", "folder", "new", "patch", "folder: is not a regular file");
    row("patch is a folder", "old", "new", "folder", "folder: is not a regular file");
    row("new is a folder", "old", "folder", "patch", "folder: is not a regular file");
    row("new is in no folder", "old", "none/new", "patch",
        "none/new: cannot be created: No such file or directory");
    row("new is under a file", "old", "old/new", "patch",
        "old/new: cannot be created: Not a directory");
    row("new is a device", "old", "/dev/null", "patch", "/dev/null: is not a regular file");
    row("new has no name", "old", "", "patch", ": is not a regular file");
    row("new is the old one", "old", "old", "patch", "old: is both the old and the new file");
    row("new is the old one by another name", "old", "link", "patch",
        "link: is both the old and the new file");
    row("new is the patch", "old", "patch", "patch", "patch: is both the patch and the new file");
    row("patch is no patch", "old", "new", "old", "old: is not a BSDIFF40 patch");
    row("patch is short", "old", "new", "short", "short: is too short for a patch");
    row("patch is cut off", "old", "new", "cut", "cut: is damaged: its extra block is cut off");
    row("patch has a bad size", "old", "new", "size",
        "size: is damaged: a size in its header is impossible");
    row("patch has a bad step", "old", "new", "step",
        "step: is damaged: its control block makes no sense");
    row("patch has blocks that are none", "old", "new", "swapped",
        "swapped: is damaged: its control block ends too early");
}

void tst_Bspatch::a_failure_says_why_in_one_line()
{
    QFETCH(QString, oldName);
    QFETCH(QString, newName);
    QFETCH(QString, patchName);
    QFETCH(QByteArray, message);

    PatchFolder folder;
    BsdiffWriter writer;
    writer.AddStep(QByteArray(100, '\0'), gTestBytes(1000), 0);
    const QByteArray patch = writer.Build();
    const auto write = [&folder](const char *name, const QByteArray &content) {
        PatchFolder::Write(folder.Path(QString::fromLatin1(name)), content);
    };
    write("old", gTestBytes(500));
    write("new", "a new file from earlier");
    write("patch", patch);
    write("short", patch.left(31));
    write("cut", patch.chopped(1));
    write("size", QByteArray(patch).replace(8, 8, BsdiffWriter::Number(patch.size())));
    const BsdiffWriter::Blocks &blocks = writer.Unpacked();
    write("step", BsdiffWriter::Build(blocks, writer.NewSize() - 1));
    write("swapped", BsdiffWriter::Build({{}, blocks.diff, blocks.extra}, writer.NewSize()));
    QVERIFY(QDir(folder.Path(QString())).mkdir(QStringLiteral("folder")));
    QVERIFY(QFile::link(folder.OldPath(), folder.Path(QStringLiteral("link"))));
    const QStringList names = folder.Names();

    const Result result = Run(Bspatch(), {oldName, newName, patchName}, folder.Path(QString()));

    QCOMPARE(result.exitCode, 1);
    QCOMPARE(result.errors, "bspatch: " + message + '\n');
    QCOMPARE(result.output, QByteArray());
    QCOMPARE(folder.Names(), names);
    QCOMPARE(PatchFolder::Read(folder.NewPath()), QByteArray("a new file from earlier"));
    QCOMPARE(PatchFolder::Read(folder.OldPath()), gTestBytes(500));
    QCOMPARE(PatchFolder::Read(folder.PatchPath()), patch);
}

void tst_Bspatch::a_full_disk_leaves_the_earlier_new_file()
{
    PatchFolder folder;
    BsdiffWriter writer;
    writer.AddStep(QByteArray(), QByteArray(200000, 'x'), 0);
    PatchFolder::Write(folder.OldPath(), "old");
    PatchFolder::Write(folder.PatchPath(), writer.Build());
    PatchFolder::Write(folder.NewPath(), "a new file from earlier");
    // A limit on the size of a file stands in for the disk, first for the bytes that are written
    // at once and then for those that are still buffered at the end.
    for (const int kilobytes : {64, 192}) {
        const QString script = QStringLiteral("trap '' XFSZ; ulimit -f %1; exec \"$@\"");
        const Result result =
            Run(QStringLiteral("bash"),
                {QStringLiteral("-c"), script.arg(kilobytes), QStringLiteral("bash"), Bspatch(),
                 folder.OldPath(), folder.NewPath(), folder.PatchPath()});
        QCOMPARE(result.exitCode, 1);
        QCOMPARE(QString::fromLocal8Bit(result.errors),
                 QStringLiteral("bspatch: %1: cannot be written: File too large\n")
                     .arg(folder.NewPath()));
        QCOMPARE(PatchFolder::Read(folder.NewPath()), QByteArray("a new file from earlier"));
        QCOMPARE(folder.Names().size(), 3);
    }
}

void tst_Bspatch::an_absurd_size_takes_no_room_on_the_disk()
{
    constexpr qint64 absurd = qint64(1) << 60;
    PatchFolder folder;
    const QByteArray control =
        BsdiffWriter::Number(0) + BsdiffWriter::Number(absurd) + BsdiffWriter::Number(0);
    PatchFolder::Write(folder.OldPath(), "old");
    PatchFolder::Write(folder.PatchPath(),
                       BsdiffWriter::Build({control, QByteArray(), QByteArray("extra")}, absurd));
    const Result result =
        Run(QStringLiteral("prlimit"), {QStringLiteral("--fsize=1000"), Bspatch(), folder.OldPath(),
                                        folder.NewPath(), folder.PatchPath()});
    QCOMPARE(result.exitCode, 1);
    QCOMPARE(QString::fromLocal8Bit(result.errors),
             QStringLiteral("bspatch: %1: is damaged: its extra block ends too early\n")
                 .arg(folder.PatchPath()));
    QCOMPARE(folder.Names().size(), 2);
}

QTEST_GUILESS_MAIN(tst_Bspatch)
#include "tst_Bspatch.moc"
