// SPDX-License-Identifier: MIT

#include "CvPaths.h"

#include <QtTest>

class tst_CvPaths : public QObject
{
    Q_OBJECT

private slots:
    void an_ordinary_folder_is_writeable_and_stays_as_it_was();
    void what_is_not_a_writeable_folder_is_told_so_data();
    void what_is_not_a_writeable_folder_is_told_so();
    void a_folder_without_write_permission_is_judged_by_trying();
    void the_data_folder_is_the_applications_until_it_is_set();
    void the_data_folder_has_no_trailing_slash();
};

void tst_CvPaths::an_ordinary_folder_is_writeable_and_stays_as_it_was()
{
    const QTemporaryDir folder;
    QVERIFY(IsPathWriteable(folder.path()));
    QVERIFY(IsPathWriteable(folder.path() + QLatin1Char('/')));
    QVERIFY(QDir(folder.path()).isEmpty());
}

void tst_CvPaths::what_is_not_a_writeable_folder_is_told_so_data()
{
    QTest::addColumn<QString>("path");
    QTest::newRow("a_folder_that_does_not_exist") << "/no/such/folder";
    QTest::newRow("a_file") << QCoreApplication::applicationFilePath();
    QTest::newRow("no_path_at_all") << QString();
    if (QDir(QStringLiteral("/proc/self")).exists()) {
        QTest::newRow("a_folder_in_which_even_the_administrator_creates_nothing") << "/proc/self";
    }
}

void tst_CvPaths::what_is_not_a_writeable_folder_is_told_so()
{
    QFETCH(QString, path);
    QVERIFY(!IsPathWriteable(path));
}

void tst_CvPaths::a_folder_without_write_permission_is_judged_by_trying()
{
    const QTemporaryDir folder;
    QVERIFY(QFile::setPermissions(folder.path(), QFile::ReadOwner | QFile::ExeOwner));
    // Root may write here, other users may not; so the test finds out what this user may.
    QFile attempt(folder.filePath(QStringLiteral("attempt")));
    const bool works = attempt.open(QIODevice::WriteOnly);

    QCOMPARE(IsPathWriteable(folder.path()), works);
    QVERIFY(QFile::setPermissions(folder.path(),
                                  QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner));
}

void tst_CvPaths::the_data_folder_is_the_applications_until_it_is_set()
{
    QCOMPARE(CvGetCorvinaDirectory(), QCoreApplication::applicationDirPath());
    CvSetCorvinaDirectory(QStringLiteral("/data/corvina"));
    QCOMPARE(CvGetCorvinaDirectory(), QStringLiteral("/data/corvina"));
    CvSetCorvinaDirectory(QString());
    QCOMPARE(CvGetCorvinaDirectory(), QCoreApplication::applicationDirPath());
}

void tst_CvPaths::the_data_folder_has_no_trailing_slash()
{
    CvSetCorvinaDirectory(QStringLiteral("/data/corvina/"));
    QCOMPARE(CvGetCorvinaDirectory(), QStringLiteral("/data/corvina"));
    CvSetCorvinaDirectory(QString());
}

QTEST_GUILESS_MAIN(tst_CvPaths)
#include "tst_CvPaths.moc"
