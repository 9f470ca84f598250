// SPDX-License-Identifier: MIT

#include "tests/host/bspatch/PatchFolder.h"
#include "tests/host/bspatch/ProgramRun.h"
#include "tests/host/bspatch/RandomPatch.h"
#include "tests/support/TestBytes.h"
#include "tests/support/TestFiles.h"

#include <QRandomGenerator>
#include <QtTest>

namespace
{
/// @p content with @p edits changes at random places: bytes replaced, inserted or left out.
QByteArray gEditedCopy(const QByteArray &content, int edits, quint32 seed)
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

/// Applies the folder's patch with both programs. Empty when the new files are the same.
QString gDifferenceToReference(const PatchFolder &folder)
{
    const QString reference = folder.Path(QStringLiteral("reference"));
    QString complaint = ProgramRun::Complaint(QStringLiteral(REFERENCE_BSPATCH),
                                              {folder.OldPath(), reference, folder.PatchPath()});
    if (complaint.isEmpty()) {
        complaint = ProgramRun::ComplaintOfBspatch(folder);
    }
    if (complaint.isEmpty() && gReadFile(folder.NewPath()) != gReadFile(reference)) {
        return QStringLiteral("the new files differ");
    }
    return complaint;
}
} // namespace

/// The patch program compared with the bspatch of the distribution.
class tst_BspatchReference_unix : public QObject
{
    Q_OBJECT

private slots:
    void the_new_file_is_what_the_reference_makes_data();
    void the_new_file_is_what_the_reference_makes();
    void the_installers_of_two_versions_are_patched();
    void steps_go_where_those_of_the_reference_go_data();
    void steps_go_where_those_of_the_reference_go();
};

void tst_BspatchReference_unix::the_new_file_is_what_the_reference_makes_data()
{
    QTest::addColumn<QByteArray>("oldContent");
    QTest::addColumn<QByteArray>("newContent");

    const QByteArray some = gTestBytes(100000);
    QTest::newRow("identical") << some << some;
    QTest::newRow("old_is_the_begin_of_new") << some.left(40000) << some;
    QTest::newRow("new_is_the_begin_of_old") << some << some.left(65536);
    QTest::newRow("halves_changed_places") << some << some.mid(50000) + some.left(50000);
    QTest::newRow("nothing_in_common") << some << gTestBytes(90000, 2);
    QTest::newRow("zeros") << QByteArray(300000, '\0') << QByteArray(200001, '\0');
    const QByteArray large = gTestBytes(4 << 20);
    QTest::newRow("random_edits") << large << gEditedCopy(large, 500, 1);
}

void tst_BspatchReference_unix::the_new_file_is_what_the_reference_makes()
{
    QFETCH(QByteArray, oldContent);
    QFETCH(QByteArray, newContent);

    PatchFolder folder;
    const QString wanted = folder.Path(QStringLiteral("wanted"));
    PatchFolder::Write(folder.OldPath(), oldContent);
    PatchFolder::Write(wanted, newContent);
    QCOMPARE(ProgramRun::Complaint(QStringLiteral(BSDIFF),
                                   {folder.OldPath(), wanted, folder.PatchPath()}),
             QString());
    QCOMPARE(gDifferenceToReference(folder), QString());
    QVERIFY(gReadFile(folder.NewPath()) == newContent);
}

void tst_BspatchReference_unix::the_installers_of_two_versions_are_patched()
{
    PatchFolder folder;
    const QString wanted = folder.Path(QStringLiteral("wanted"));
    const QString megabytes = QStringLiteral("4");
    const QString make = QStringLiteral(MAKE_INSTALLER);
    QCOMPARE(ProgramRun::Complaint(make, {QStringLiteral("1.0.0.1"), megabytes, folder.OldPath()}),
             QString());
    QCOMPARE(ProgramRun::Complaint(make, {QStringLiteral("1.0.0.2"), megabytes, wanted}),
             QString());
    QCOMPARE(ProgramRun::Complaint(QStringLiteral(BSDIFF),
                                   {folder.OldPath(), wanted, folder.PatchPath()}),
             QString());
    QCOMPARE(gDifferenceToReference(folder), QString());
    QVERIFY(QFileInfo(wanted).size() > 4 << 20);
    QVERIFY(gReadFile(folder.NewPath()) == gReadFile(wanted));
}

void tst_BspatchReference_unix::steps_go_where_those_of_the_reference_go_data()
{
    QTest::addColumn<int>("oldSize");
    QTest::addColumn<int>("newSize");
    QTest::addColumn<int>("longestStep");

    QTest::newRow("steps_of_a_few_bytes") << 5000 << 60000 << 30;
    QTest::newRow("steps_longer_than_the_old_file") << 3000 << 200000 << 20000;
    QTest::newRow("steps_about_as_long_as_a_block") << 1000000 << 4000000 << 140000;
    QTest::newRow("an_old_file_of_whole_blocks") << 131072 << 1000000 << 100000;
    QTest::newRow("an_empty_old_file") << 0 << 100000 << 9000;
    QTest::newRow("an_empty_new_file") << 100000 << 0 << 9000;
    QTest::newRow("two_empty_files") << 0 << 0 << 9000;
    QTest::newRow("a_large_file") << (64 << 20) << (64 << 20) << 400000;
}

void tst_BspatchReference_unix::steps_go_where_those_of_the_reference_go()
{
    QFETCH(int, oldSize);
    QFETCH(int, newSize);
    QFETCH(int, longestStep);

    PatchFolder folder;
    const QByteArray old = gTestBytes(oldSize);
    const RandomPatch patch = RandomPatch::Make(old, newSize, longestStep, 0);
    PatchFolder::Write(folder.OldPath(), old);
    PatchFolder::Write(folder.PatchPath(), patch.writer.Build());
    QCOMPARE(gDifferenceToReference(folder), QString());
    QVERIFY(gReadFile(folder.NewPath()) == patch.newContent);
}

QTEST_GUILESS_MAIN(tst_BspatchReference_unix)
#include "tst_BspatchReference_unix.moc"
