// SPDX-License-Identifier: MIT

#include "platform/CommonDocuments.h"

#include "tests/support/SystemPlaces.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>
#include <QTest>

class tst_CommonDocuments : public QObject
{
    Q_OBJECT

private slots:
    void the_folder_is_the_one_that_the_system_names();
    void a_missing_folder_is_created_with_its_parents();
    void an_existing_folder_keeps_its_files();
    void a_folder_that_cannot_be_created_gives_nothing();
    void the_name_has_forward_slashes_and_no_trailing_one_data();
    void the_name_has_forward_slashes_and_no_trailing_one();

private:
    QTemporaryDir m_directory;
    SystemPlaces m_places{m_directory.path()};
};

void tst_CommonDocuments::the_folder_is_the_one_that_the_system_names()
{
    const QString folder = m_directory.filePath("data");
    SystemPlaces::PutDocuments(folder);
    QCOMPARE(gCommonDocumentsFolder(), folder);
}

void tst_CommonDocuments::a_missing_folder_is_created_with_its_parents()
{
    const QString folder = m_directory.filePath("missing/parents/data");
    SystemPlaces::PutDocuments(folder);
    QVERIFY(!QFileInfo::exists(folder));
    QCOMPARE(gCommonDocumentsFolder(), folder);
    QVERIFY(QFileInfo(folder).isDir());
}

void tst_CommonDocuments::an_existing_folder_keeps_its_files()
{
    const QString folder = m_directory.filePath("existing");
    QVERIFY(QDir().mkpath(folder));
    QFile file(folder + "/kept");
    QVERIFY(file.open(QIODevice::WriteOnly));
    SystemPlaces::PutDocuments(folder);
    QCOMPARE(gCommonDocumentsFolder(), folder);
    QVERIFY(file.exists());
}

void tst_CommonDocuments::a_folder_that_cannot_be_created_gives_nothing()
{
    QFile file(m_directory.filePath("file"));
    QVERIFY(file.open(QIODevice::WriteOnly));
    SystemPlaces::PutDocuments(file.fileName() + "/below");
    QCOMPARE(gCommonDocumentsFolder(), QString());
}

void tst_CommonDocuments::the_name_has_forward_slashes_and_no_trailing_one_data()
{
    QTest::addColumn<QString>("name");
    QTest::newRow("a_name_with_a_blank") << "shared documents";
    QTest::newRow("a_name_beyond_ascii") << QString::fromUtf8("gemeinsame Dokumente für alle");
    QTest::newRow("a_slash_at_its_end") << "data/";
}

void tst_CommonDocuments::the_name_has_forward_slashes_and_no_trailing_one()
{
    QFETCH(QString, name);
    SystemPlaces::PutDocuments(m_directory.filePath(name));
    QCOMPARE(gCommonDocumentsFolder(), QDir::cleanPath(m_directory.filePath(name)));
}

QTEST_GUILESS_MAIN(tst_CommonDocuments)
#include "tst_CommonDocuments.moc"
