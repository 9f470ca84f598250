// SPDX-License-Identifier: MIT

#include "platform/FileIdentity.h"

#include "tests/support/TestFiles.h"

#include <QTemporaryDir>
#include <QtTest>

/// What tells one file from another.
class tst_FileIdentity : public QObject
{
    Q_OBJECT

private slots:
    void init() { m_folder = std::make_unique<QTemporaryDir>(); }

    void a_file_keeps_it_while_it_is_written_and_renamed();
    void two_files_have_two();
    void a_file_that_took_the_name_of_another_has_its_own();
    void a_file_that_is_missing_has_none();

private:
    QString Path(const QString &name) const { return m_folder->filePath(name); }

    std::unique_ptr<QTemporaryDir> m_folder;
};

void tst_FileIdentity::a_file_keeps_it_while_it_is_written_and_renamed()
{
    QFile file(Path("one"));
    QVERIFY(file.open(QIODevice::WriteOnly));
    const QString identity = gFileIdentity(Path("one"));
    QVERIFY(!identity.isEmpty());
    for (int chunk = 0; chunk < 3; ++chunk) {
        QVERIFY(file.write("more") == 4 && file.flush());
        QTest::qWait(20); // so that the file's times change
        QCOMPARE(gFileIdentity(Path("one")), identity);
    }
    file.close();
    QVERIFY(QFile::rename(Path("one"), Path("two")));
    QCOMPARE(gFileIdentity(Path("two")), identity);
}

void tst_FileIdentity::two_files_have_two()
{
    QVERIFY(gWriteFile(Path("one"), "same"));
    QVERIFY(gWriteFile(Path("two"), "same"));
    QVERIFY(gFileIdentity(Path("one")) != gFileIdentity(Path("two")));
}

void tst_FileIdentity::a_file_that_took_the_name_of_another_has_its_own()
{
    QVERIFY(gWriteFile(Path("one"), "same"));
    QVERIFY(gWriteFile(Path("two"), "same"));
    const QString identity = gFileIdentity(Path("one"));
    QVERIFY(QFile::remove(Path("one")) && QFile::rename(Path("two"), Path("one")));
    QVERIFY(gFileIdentity(Path("one")) != identity);
}

void tst_FileIdentity::a_file_that_is_missing_has_none()
{
    QCOMPARE(gFileIdentity(Path("none")), QString());
}

QTEST_GUILESS_MAIN(tst_FileIdentity)
#include "tst_FileIdentity.moc"
