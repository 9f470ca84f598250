// SPDX-License-Identifier: MIT

#include "platform/PrivateFolder.h"

#include "tests/support/TestFiles.h"

#include <QStandardPaths>
#include <QTemporaryDir>
#include <QtTest>

/// What holds on every system. The folder of this user stays as it is: the tests have a place of
/// their own.
class tst_PrivateFolder : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void the_folder_is_there_by_its_full_path();
    void the_folder_is_private();
    void the_folder_keeps_what_is_in_it();
    void a_file_in_its_place_is_refused();
    void a_file_in_place_of_the_folder_above_is_refused();
    void a_folder_that_is_made_is_private();
    void a_folder_with_a_long_path_is_private();
    void a_folder_is_made_once();
    void a_folder_is_not_made_in_a_missing_one();
    void a_file_is_no_private_folder();
    void a_missing_folder_is_not_private();
    void a_private_folder_keeps_the_name_of_what_is_in_it();
    void a_missing_folder_keeps_no_name();

private:
    QString Path(const QString &name) const { return m_folder->filePath(name); }

    std::unique_ptr<QTemporaryDir> m_folder;
    /// Where this user's folder lies.
    QString m_place;
};

void tst_PrivateFolder::init()
{
    QStandardPaths::setTestModeEnabled(true);
    m_folder = std::make_unique<QTemporaryDir>();
    qputenv("HOME", m_folder->path().toLocal8Bit());
    QString failure;
    m_place = QFileInfo(gPrivateFolder(&failure)).path();
    QVERIFY2(failure.isEmpty(), qPrintable(failure));
    QVERIFY(m_place.contains("qttest"));
    QVERIFY(QDir(m_place).removeRecursively());
}

void tst_PrivateFolder::cleanup()
{
    QVERIFY(QFile::remove(m_place) || QDir(m_place).removeRecursively());
}

void tst_PrivateFolder::the_folder_is_there_by_its_full_path()
{
    QString failure;
    const QString path = gPrivateFolder(&failure);
    QVERIFY2(QFileInfo(path).isDir(), qPrintable(failure));
    QVERIFY(QFileInfo(path).isAbsolute());
    QCOMPARE(path, QFileInfo(path).canonicalFilePath());
    QCOMPARE(failure, QString());
}

void tst_PrivateFolder::the_folder_is_private()
{
    QString failure;
    const QString path = gPrivateFolder(&failure);
    QVERIFY2(gIsPrivateFolder(path, &failure), qPrintable(failure));
    QVERIFY2(gIsKeptAbove(path, &failure), qPrintable(failure));
}

void tst_PrivateFolder::the_folder_keeps_what_is_in_it()
{
    QString failure;
    const QString path = gPrivateFolder(&failure);
    QVERIFY(gWriteFile(path + "/kept", "bytes"));
    QCOMPARE(gPrivateFolder(&failure), path);
    QCOMPARE(gReadFile(path + "/kept"), QByteArray("bytes"));
}

void tst_PrivateFolder::a_file_in_its_place_is_refused()
{
    QVERIFY(QDir().mkpath(m_place));
    QVERIFY(gWriteFile(m_place + "/Halvard", "in the way"));
    QString failure;
    QCOMPARE(gPrivateFolder(&failure), QString());
    QVERIFY2(failure.contains(m_place + "/Halvard"), qPrintable(failure));
    QCOMPARE(gReadFile(m_place + "/Halvard"), QByteArray("in the way"));
}

void tst_PrivateFolder::a_file_in_place_of_the_folder_above_is_refused()
{
    QVERIFY(gWriteFile(m_place, "in the way"));
    QString failure;
    QCOMPARE(gPrivateFolder(&failure), QString());
    QVERIFY(!failure.isEmpty());
    QCOMPARE(gReadFile(m_place), QByteArray("in the way"));
}

void tst_PrivateFolder::a_folder_that_is_made_is_private()
{
    QString failure;
    QVERIFY2(gMakePrivateFolder(Path("made"), &failure), qPrintable(failure));
    QVERIFY(QFileInfo(Path("made")).isDir());
    QVERIFY2(gIsPrivateFolder(Path("made"), &failure), qPrintable(failure));
    QVERIFY(gWriteFile(Path("made/file"), "bytes"));
    QCOMPARE(failure, QString());
}

void tst_PrivateFolder::a_folder_with_a_long_path_is_private()
{
    QString path = m_folder->path();
    QString failure;
    for (int level = 0; level < 3; ++level) {
        path += '/' + QString(100, 'x');
        QVERIFY2(gMakePrivateFolder(path, &failure), qPrintable(failure));
        QVERIFY2(gIsPrivateFolder(path, &failure), qPrintable(failure));
    }
    QVERIFY(QFileInfo(path).isDir());
    QVERIFY2(gIsKeptAbove(path, &failure), qPrintable(failure));
}

void tst_PrivateFolder::a_folder_is_made_once()
{
    QString failure;
    QVERIFY(gMakePrivateFolder(Path("made"), &failure));
    QVERIFY(!gMakePrivateFolder(Path("made"), &failure));
    QVERIFY2(failure.startsWith(Path("made") + ": "), qPrintable(failure));
}

void tst_PrivateFolder::a_folder_is_not_made_in_a_missing_one()
{
    QString failure;
    QVERIFY(!gMakePrivateFolder(Path("missing/made"), &failure));
    QVERIFY2(failure.startsWith(Path("missing/made") + ": "), qPrintable(failure));
    QVERIFY(!QFileInfo::exists(Path("missing")));
}

void tst_PrivateFolder::a_file_is_no_private_folder()
{
    QVERIFY(gWriteFile(Path("file"), "bytes"));
    QString failure;
    QVERIFY(!gIsPrivateFolder(Path("file"), &failure));
    QVERIFY2(failure.contains(Path("file")), qPrintable(failure));
}

void tst_PrivateFolder::a_missing_folder_is_not_private()
{
    QString failure;
    QVERIFY(!gIsPrivateFolder(Path("missing"), &failure));
    QVERIFY2(failure.contains(Path("missing")), qPrintable(failure));
}

void tst_PrivateFolder::a_private_folder_keeps_the_name_of_what_is_in_it()
{
    QString failure;
    QVERIFY(gMakePrivateFolder(Path("made"), &failure));
    QVERIFY2(gIsKeptAbove(Path("made/inner"), &failure), qPrintable(failure));
}

void tst_PrivateFolder::a_missing_folder_keeps_no_name()
{
    QString failure;
    QVERIFY(!gIsKeptAbove(Path("missing/inner"), &failure));
    QVERIFY2(failure.contains(Path("missing")), qPrintable(failure));
}

QTEST_GUILESS_MAIN(tst_PrivateFolder)
#include "tst_PrivateFolder.moc"
