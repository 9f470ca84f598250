// SPDX-License-Identifier: MIT

#include "update/plan/StateFile.h"

#include "platform/FileIdentity.h"
#include "tests/support/SystemTraits.h"
#include "tests/support/TestFiles.h"

#include <QDir>
#include <QTemporaryDir>
#include <QtTest>

class tst_StateFile : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void a_new_file_takes_the_place_of_the_old_one();
    void a_folder_in_the_way_leaves_nothing_behind();
    void a_file_that_is_held_is_not_waited_for_by_who_gave_up();
    void what_is_written_over_it_keeps_the_rest();
    void a_longer_text_needs_a_new_file();
    void a_closed_file_needs_a_new_file();
    void a_file_that_was_removed_is_missed();

private:
    QString Path() const { return m_folder->filePath("state"); }
    QStringList Files() const
    {
        return QDir(m_folder->path()).entryList(QDir::AllEntries | QDir::NoDotAndDotDot);
    }

    std::unique_ptr<QTemporaryDir> m_folder;
};

void tst_StateFile::init()
{
    m_folder = std::make_unique<QTemporaryDir>();
    QVERIFY(m_folder->isValid());
}

void tst_StateFile::a_new_file_takes_the_place_of_the_old_one()
{
    QVERIFY(gWriteFile(Path(), "an older and longer text"));
    QVERIFY(gWriteFile(Path() + ".new", "left by a process that was killed meanwhile"));
    QVERIFY(gReplaceStateFile(Path(), "new"));
    QCOMPARE(StateFile(Path()).Read(), QByteArray("new"));
    QCOMPARE(Files(), QStringList{"state"});
}

void tst_StateFile::a_folder_in_the_way_leaves_nothing_behind()
{
    QVERIFY(gWriteFile(Path() + "/file", "of the folder"));
    QVERIFY(!gReplaceStateFile(Path(), "new"));
    QCOMPARE(Files(), QStringList{"state"});
    QCOMPARE(StateFile(Path()).Read(), QByteArray());
}

void tst_StateFile::a_file_that_is_held_is_not_waited_for_by_who_gave_up()
{
    if (gRemovesOpenFiles()) {
        QSKIP("On this system a file that is open can be replaced.");
    }
    QVERIFY(gWriteFile(Path(), "old"));
    QFile held(Path());
    QVERIFY(held.open(QIODevice::ReadOnly));
    const std::atomic<bool> isGivenUp(true);
    QVERIFY(!gReplaceStateFile(Path(), "new", std::chrono::hours(1), &isGivenUp));
    QCOMPARE(Files(), QStringList{"state"});
    QCOMPARE(StateFile(Path()).Read(), QByteArray("old"));
}

void tst_StateFile::what_is_written_over_it_keeps_the_rest()
{
    QVERIFY(gReplaceStateFile(Path(), "0123456789"));
    const QString identity = gFileIdentity(Path());
    StateFile file(Path());
    file.Open("0123456789");
    QCOMPARE(file.Size(), 10);
    QVERIFY(file.Overwrite("abc"));
    QCOMPARE(file.Read(), QByteArray("abc3456789"));
    QVERIFY(file.Overwrite("ABCDEFGHIJ"));
    QCOMPARE(file.Read(), QByteArray("ABCDEFGHIJ"));
    file.Close();
    QCOMPARE(gFileIdentity(Path()), identity);
}

void tst_StateFile::a_longer_text_needs_a_new_file()
{
    QVERIFY(gReplaceStateFile(Path(), "012"));
    StateFile file(Path());
    file.Open("012");
    QVERIFY(!file.Overwrite("0123"));
    QVERIFY2(!file.Overwrite("0"), "it is closed");
    QCOMPARE(file.Read(), QByteArray("012"));
}

void tst_StateFile::a_closed_file_needs_a_new_file()
{
    QVERIFY(gReplaceStateFile(Path(), "012"));
    StateFile file(Path());
    QVERIFY(!file.Overwrite("0"));
    file.Open("012");
    file.Close();
    QCOMPARE(file.Size(), 0);
    QVERIFY(!file.Overwrite("0"));
    QVERIFY2(gReplaceStateFile(Path(), "3"), "nothing holds it");
}

void tst_StateFile::a_file_that_was_removed_is_missed()
{
    if (!gRemovesOpenFiles()) {
        QSKIP("On this system a file that is open does not vanish.");
    }
    QVERIFY(gReplaceStateFile(Path(), "012"));
    StateFile file(Path());
    QVERIFY2(!file.HasName(), "it is not open");
    file.Open("012");
    QVERIFY(file.HasName());
    QVERIFY(QFile::remove(Path()));
    QVERIFY(!file.HasName());
}

QTEST_GUILESS_MAIN(tst_StateFile)
#include "tst_StateFile.moc"
