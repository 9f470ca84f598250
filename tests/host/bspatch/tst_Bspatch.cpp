// SPDX-License-Identifier: MIT

#include "tests/host/bspatch/PatchFolder.h"
#include "tests/host/bspatch/ProgramRun.h"
#include "tests/host/bspatch/RandomPatch.h"
#include "tests/support/BsdiffWriter.h"
#include "tests/support/TestBytes.h"
#include "tests/support/TestFiles.h"

#include <QDir>
#include <QOperatingSystemVersion>
#include <QtTest>

#include <filesystem>
#include <limits>

namespace
{
bool gIsWindows()
{
    return QOperatingSystemVersion::currentType() == QOperatingSystemVersion::Windows;
}
} // namespace

/// The patch program, run as a process.
class tst_Bspatch : public QObject
{
    Q_OBJECT

private slots:
    void the_patch_of_another_program_is_applied();
    void an_empty_file_is_a_file_data();
    void an_empty_file_is_a_file();
    void steps_to_any_place_are_followed_data();
    void steps_to_any_place_are_followed();
    void a_position_far_outside_the_old_file_adds_nothing_data();
    void a_position_far_outside_the_old_file_adds_nothing();
    void an_earlier_new_file_is_replaced();
    void names_are_taken_as_they_are_data();
    void names_are_taken_as_they_are();
    void another_number_of_arguments_is_a_usage_error_data();
    void another_number_of_arguments_is_a_usage_error();
    void a_failure_says_why_in_one_line_data();
    void a_failure_says_why_in_one_line();
};

void tst_Bspatch::the_patch_of_another_program_is_applied()
{
    PatchFolder folder;
    const QString wanted = folder.Path(QStringLiteral("wanted"));
    const QByteArray content = gTestBytes(100000);
    PatchFolder::Write(folder.OldPath(), content);
    PatchFolder::Write(wanted, content.mid(50000) + "between" + content.left(60000));
    QCOMPARE(ProgramRun::Complaint(QFileInfo(QStringLiteral(BSDIFF)).absoluteFilePath(),
                                   {folder.OldPath(), wanted, folder.PatchPath()}),
             QString());
    QCOMPARE(ProgramRun::ComplaintOfBspatch(folder), QString());
    QVERIFY(gReadFile(folder.NewPath()) == gReadFile(wanted));
}

void tst_Bspatch::an_empty_file_is_a_file_data()
{
    QTest::addColumn<QByteArray>("oldContent");
    QTest::addColumn<QByteArray>("newContent");

    QTest::newRow("both_empty") << QByteArray("") << QByteArray("");
    QTest::newRow("empty_old") << QByteArray("") << gTestBytes(100000);
    QTest::newRow("empty_new") << gTestBytes(100000) << QByteArray("");
}

void tst_Bspatch::an_empty_file_is_a_file()
{
    QFETCH(QByteArray, oldContent);
    QFETCH(QByteArray, newContent);

    // The distribution's tool refuses to make such patches.
    PatchFolder folder;
    BsdiffWriter writer;
    if (!newContent.isEmpty()) {
        writer.AddStep(QByteArray(), newContent, 0);
    }
    PatchFolder::Write(folder.OldPath(), oldContent);
    PatchFolder::Write(folder.PatchPath(), writer.Build());
    QCOMPARE(ProgramRun::ComplaintOfBspatch(folder), QString());
    QVERIFY(QFile::exists(folder.NewPath()));
    QVERIFY(gReadFile(folder.NewPath()) == newContent);
}

void tst_Bspatch::steps_to_any_place_are_followed_data()
{
    QTest::addColumn<int>("oldSize");
    QTest::addColumn<int>("newSize");
    QTest::addColumn<int>("longestStep");
    QTest::addColumn<int>("lowest");

    QTest::newRow("steps_of_a_few_bytes") << 5000 << 60000 << 30 << 0;
    QTest::newRow("steps_longer_than_the_old_file") << 3000 << 200000 << 20000 << 0;
    QTest::newRow("steps_to_before_the_old_file") << 30000 << 400000 << 20000 << -20000;
    QTest::newRow("steps_about_as_long_as_a_block") << 1000000 << 4000000 << 140000 << 0;
    QTest::newRow("an_old_file_of_whole_blocks") << 131072 << 1000000 << 100000 << 0;
    QTest::newRow("an_empty_old_file") << 0 << 100000 << 9000 << 0;
    QTest::newRow("a_large_file") << (64 << 20) << (64 << 20) << 400000 << 0;
}

void tst_Bspatch::steps_to_any_place_are_followed()
{
    QFETCH(int, oldSize);
    QFETCH(int, newSize);
    QFETCH(int, longestStep);
    QFETCH(int, lowest);

    PatchFolder folder;
    const QByteArray old = gTestBytes(oldSize);
    const RandomPatch patch = RandomPatch::Make(old, newSize, longestStep, lowest);
    PatchFolder::Write(folder.OldPath(), old);
    PatchFolder::Write(folder.PatchPath(), patch.writer.Build());
    QCOMPARE(ProgramRun::ComplaintOfBspatch(folder), QString());
    QVERIFY(gReadFile(folder.NewPath()) == patch.newContent);
}

void tst_Bspatch::a_position_far_outside_the_old_file_adds_nothing_data()
{
    QTest::addColumn<qint64>("skipped");

    constexpr qint64 highest = std::numeric_limits<qint64>::max();
    QTest::newRow("one_byte_before_the_begin") << qint64(-301);
    QTest::newRow("far_before_the_begin") << -highest;
    QTest::newRow("one_byte_before_the_end") << qint64(699);
    QTest::newRow("at_the_end") << qint64(700);
    QTest::newRow("far_behind_the_end") << highest - 1000;
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
    QCOMPARE(ProgramRun::ComplaintOfBspatch(folder), QString());
    QCOMPARE(gReadFile(folder.NewPath()),
             old.left(300) + "extra" + RandomPatch::Sum(old, 300 + skipped, diff) + "extra");
}

void tst_Bspatch::an_earlier_new_file_is_replaced()
{
    PatchFolder folder;
    BsdiffWriter writer;
    writer.AddStep(QByteArray(10, '\0'), QByteArray("new"), 0);
    PatchFolder::Write(folder.OldPath(), "0123456789");
    PatchFolder::Write(folder.PatchPath(), writer.Build());
    PatchFolder::Write(folder.NewPath(), "a longer new file from earlier");
    QCOMPARE(ProgramRun::ComplaintOfBspatch(folder), QString());
    QCOMPARE(gReadFile(folder.NewPath()), QByteArray("0123456789new"));
    QCOMPARE(folder.Names().size(), 3);
}

void tst_Bspatch::names_are_taken_as_they_are_data()
{
    QTest::addColumn<QString>("name");

    QTest::newRow("with_spaces") << QStringLiteral("a new file");
    QTest::newRow("with_letters_of_other_alphabets") << QString::fromUtf8("n\u00fc \u4f60\u597d");
    QTest::newRow("like_an_option") << QStringLiteral("--help");
    // Windows limits the length of the whole path, including the temporary folder.
    QTest::newRow("as_long_as_can_be") << QString(gIsWindows() ? 150 : 255, QLatin1Char('n'));
    QTest::newRow("with_a_folder") << QStringLiteral("folder/../new");
    QTest::newRow("the_name_that_the_module_asks_for") << QStringLiteral("old.patch");
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
    QCOMPARE(ProgramRun::Complaint(ProgramRun::Bspatch(),
                                   {QStringLiteral("old"), name, QStringLiteral("patch")},
                                   folder.Path(QString())),
             QString());
    QCOMPARE(gReadFile(folder.Path(name)), QByteArray("new"));
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

    const ProgramRun result = ProgramRun::Of(ProgramRun::Bspatch(), arguments);
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
    row("no_old_file", "none", "new", "patch", "none: cannot be opened: No such file or directory");
    row("no_patch", "old", "new", "none", "none: cannot be opened: No such file or directory");
    row("old_is_a_folder", "folder", "new", "patch", "folder: is not a regular file");
    row("patch_is_a_folder", "old", "new", "folder", "folder: is not a regular file");
    row("new_is_a_folder", "old", "folder", "patch", "folder: is not a regular file");
    row("new_is_in_no_folder", "old", "none/new", "patch",
        "none/new: cannot be created: No such file or directory");
    row("new_is_under_a_file", "old", "old/new", "patch",
        gIsWindows() ? "old/new: cannot be created: No such file or directory"
                     : "old/new: cannot be created: Not a directory");
    if (!gIsWindows()) {
        row("new_is_a_device", "old", "/dev/null", "patch", "/dev/null: is not a regular file");
    }
    row("new_has_no_name", "old", "", "patch", ": is not a regular file");
    row("new_is_the_old_one", "old", "old", "patch", "old: is both the old and the new file");
    row("new_is_the_old_one_by_another_name", "old", "link", "patch",
        "link: is both the old and the new file");
    row("new_is_the_patch", "old", "patch", "patch", "patch: is both the patch and the new file");
    row("patch_is_no_patch", "old", "new", "old", "old: is not a BSDIFF40 patch");
    row("patch_is_short", "old", "new", "short", "short: is too short for a patch");
    row("patch_is_cut_off", "old", "new", "cut", "cut: is damaged: its extra block is cut off");
    row("patch_has_a_bad_size", "old", "new", "size",
        "size: is damaged: a size in its header is impossible");
    row("patch_has_a_bad_step", "old", "new", "step",
        "step: is damaged: its control block makes no sense");
    row("patch_has_blocks_that_are_none", "old", "new", "swapped",
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
    std::error_code error;
    std::filesystem::create_hard_link(folder.OldPath().toStdString(),
                                      folder.Path(QStringLiteral("link")).toStdString(), error);
    QVERIFY2(!error, error.message().c_str());
    const QStringList names = folder.Names();

    const ProgramRun result = ProgramRun::Of(ProgramRun::Bspatch(), {oldName, newName, patchName},
                                             folder.Path(QString()));

    QCOMPARE(result.exitCode, 1);
    QCOMPARE(result.errors, "bspatch: " + message + '\n');
    QCOMPARE(result.output, QByteArray());
    QCOMPARE(folder.Names(), names);
    QCOMPARE(gReadFile(folder.NewPath()), QByteArray("a new file from earlier"));
    QCOMPARE(gReadFile(folder.OldPath()), gTestBytes(500));
    QCOMPARE(gReadFile(folder.PatchPath()), patch);
}

QTEST_GUILESS_MAIN(tst_Bspatch)
#include "tst_Bspatch.moc"
