// SPDX-License-Identifier: MIT

#include "platform/AtomicRename.h"

#include "tests/support/TestFiles.h"

#include <QDir>
#include <QTemporaryDir>
#include <QtTest>

/// A new file takes the place of an old one, or both stay.
class tst_AtomicRename : public QObject
{
    Q_OBJECT

private slots:
    void init() { m_folder = std::make_unique<QTemporaryDir>(); }

    void the_new_file_takes_the_place_of_the_old_one();
    void it_takes_a_name_that_is_free();
    void what_fails_leaves_both_and_says_why_data();
    void what_fails_leaves_both_and_says_why();
    void a_file_that_a_program_holds_is_busy();

private:
    QString Path(const QString &name) const { return m_folder->filePath(name); }

    std::unique_ptr<QTemporaryDir> m_folder;
};

void tst_AtomicRename::the_new_file_takes_the_place_of_the_old_one()
{
    QVERIFY(gWriteFile(Path("new"), "new"));
    QVERIFY(gWriteFile(Path("old"), "old"));
    QString failure;
    QVERIFY(gRenameOver(Path("new"), Path("old"), &failure) == RenameResult::Renamed);
    QCOMPARE(gReadFile(Path("old")), QByteArray("new"));
    QVERIFY(!QFile::exists(Path("new")));
    QVERIFY(failure.isEmpty());
}

void tst_AtomicRename::it_takes_a_name_that_is_free()
{
    QVERIFY(gWriteFile(Path("new"), "new"));
    QString failure;
    QVERIFY(gRenameOver(Path("new"), Path("free"), &failure) == RenameResult::Renamed);
    QCOMPARE(gReadFile(Path("free")), QByteArray("new"));
}

void tst_AtomicRename::what_fails_leaves_both_and_says_why_data()
{
    QTest::addColumn<QString>("from");
    QTest::addColumn<QString>("to");
    QTest::newRow("a_new_file_that_is_missing") << "missing"
                                                << "old";
    QTest::newRow("into_a_folder_that_is_missing") << "new"
                                                   << "missing/old";
    QTest::newRow("onto_a_folder") << "new"
                                   << "folder";
}

void tst_AtomicRename::what_fails_leaves_both_and_says_why()
{
    QFETCH(QString, from);
    QFETCH(QString, to);
    QVERIFY(gWriteFile(Path("new"), "new"));
    QVERIFY(gWriteFile(Path("old"), "old"));
    QVERIFY(QDir().mkpath(Path("folder")));
    QString failure;
    QVERIFY(gRenameOver(Path(from), Path(to), &failure) == RenameResult::Failed);
    QVERIFY(!failure.isEmpty());
    QCOMPARE(gReadFile(Path("new")), QByteArray("new"));
    QCOMPARE(gReadFile(Path("old")), QByteArray("old"));
}

void tst_AtomicRename::a_file_that_a_program_holds_is_busy()
{
    QVERIFY(gWriteFile(Path("new"), "new"));
    QVERIFY(gWriteFile(Path("old"), "old"));
    QFile held(Path("old"));
    QVERIFY(held.open(QIODevice::ReadOnly));
    QString failure;
    if (gRenameOver(Path("new"), Path("old"), &failure) == RenameResult::Renamed) {
        QSKIP("An open file can be replaced on this system.");
    }
    QVERIFY(gRenameOver(Path("new"), Path("old"), &failure) == RenameResult::Busy);
    QVERIFY(!failure.isEmpty());
    held.close();
    QVERIFY(gRenameOver(Path("new"), Path("old"), &failure) == RenameResult::Renamed);
    QCOMPARE(gReadFile(Path("old")), QByteArray("new"));
}

QTEST_GUILESS_MAIN(tst_AtomicRename)
#include "tst_AtomicRename.moc"
