// SPDX-License-Identifier: MIT

#include "update/transfer/PackageFile.h"

#include "tests/support/SystemTraits.h"
#include "tests/update/UpdateRig.h"

#include <QDir>
#include <QTemporaryDir>
#include <QtTest>

class tst_PackageFile : public QObject
{
    Q_OBJECT

private slots:
    void init();

    void bytes_land_where_the_file_was_opened();
    void an_open_file_goes_on_where_it_was();
    void bytes_are_with_the_system_at_once();
    void a_file_that_is_missing_is_not_made();
    void a_file_that_is_missing_is_made_when_told_to();
    void a_file_that_is_there_keeps_its_bytes_when_told_to_make_it();
    void a_file_that_has_vanished_is_not_written_to();
    void a_folder_is_no_file();

private:
    QString Path(const QString &name) const { return m_folder->filePath(name); }

    std::unique_ptr<QTemporaryDir> m_folder;
    PackageFile m_file;
};

void tst_PackageFile::init()
{
    m_file.Close();
    m_folder = std::make_unique<QTemporaryDir>();
    QVERIFY(gWriteFile(Path("package"), "0123456789"));
    m_file.SetPath(Path("package"));
}

void tst_PackageFile::bytes_land_where_the_file_was_opened()
{
    QVERIFY(m_file.Open(3));
    QCOMPARE(m_file.Write("abc"), 3);
    m_file.Close();
    QCOMPARE(gReadFile(Path("package")), QByteArray("012abc6789"));
}

void tst_PackageFile::an_open_file_goes_on_where_it_was()
{
    QVERIFY(m_file.Open(3));
    QCOMPARE(m_file.Write("a"), 1);
    QVERIFY(m_file.Open(0));
    QCOMPARE(m_file.Write("b"), 1);
    m_file.Close();
    QCOMPARE(gReadFile(Path("package")), QByteArray("012ab56789"));
}

void tst_PackageFile::bytes_are_with_the_system_at_once()
{
    QVERIFY(m_file.Open(9));
    QCOMPARE(m_file.Write("abc"), 3);
    QCOMPARE(gReadFile(Path("package")), QByteArray("012345678abc"));
}

void tst_PackageFile::a_file_that_is_missing_is_not_made()
{
    m_file.SetPath(Path("missing"));
    QVERIFY(!m_file.Open(0));
    QVERIFY(!m_file.Failure().isEmpty());
    QVERIFY(!QFile::exists(Path("missing")));
}

void tst_PackageFile::a_file_that_is_missing_is_made_when_told_to()
{
    m_file.SetPath(Path("missing"));
    QVERIFY(m_file.Open(3, PackageFile::IfMissing::Make));
    QCOMPARE(m_file.Write("abc"), 3);
    QCOMPARE(gReadFile(Path("missing")), QByteArray("\0\0\0abc", 6));
}

void tst_PackageFile::a_file_that_is_there_keeps_its_bytes_when_told_to_make_it()
{
    QVERIFY(m_file.Open(3, PackageFile::IfMissing::Make));
    QCOMPARE(m_file.Write("abc"), 3);
    QCOMPARE(gReadFile(Path("package")), QByteArray("012abc6789"));
}

void tst_PackageFile::a_file_that_has_vanished_is_not_written_to()
{
    if (!gRemovesOpenFiles()) {
        QSKIP("On this system a file that is open does not vanish.");
    }
    QVERIFY(m_file.Open(0));
    QVERIFY(QFile::remove(Path("package")));
    QVERIFY(!m_file.Open(0));
    QVERIFY(!QFile::exists(Path("package")));
}

void tst_PackageFile::a_folder_is_no_file()
{
    QVERIFY(QDir().mkpath(Path("folder")));
    m_file.SetPath(Path("folder"));
    QVERIFY(!m_file.Open(0));
    QVERIFY(!m_file.Failure().isEmpty());
}

QTEST_GUILESS_MAIN(tst_PackageFile)
#include "tst_PackageFile.moc"
