// SPDX-License-Identifier: MIT

#include "api/ProductSettings.h"

#include "api/QuillonInit.h"
#include "CvPaths.h"

#include <QCoreApplication>
#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>
#include <QTest>

class tst_ProductSettings : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanupTestCase();

    void without_the_settings_file_the_language_is_eng_and_no_file_appears();
    void the_language_is_read_from_the_settings_file_data();
    void the_language_is_read_from_the_settings_file();
    void a_changed_file_is_read_anew();
    void the_configuration_directory_is_not_where_the_language_comes_from();
    void without_the_utility_library_there_is_no_product_identifier();

private:
    void WriteSettings(const QString &directory, const QByteArray &content);

    QScopedPointer<QTemporaryDir> m_hostDirectory;
};

void tst_ProductSettings::init()
{
    m_hostDirectory.reset(new QTemporaryDir);
    CvSetCorvinaDirectory(m_hostDirectory->path());
}

void tst_ProductSettings::cleanupTestCase()
{
    CvSetCorvinaDirectory(QString());
}

void tst_ProductSettings::WriteSettings(const QString &directory, const QByteArray &content)
{
    QFile file(directory + "/Corvina.ini");
    QVERIFY(file.open(QIODevice::WriteOnly));
    QCOMPARE(file.write(content), qint64(content.size()));
}

void tst_ProductSettings::without_the_settings_file_the_language_is_eng_and_no_file_appears()
{
    QCOMPARE(InstallLanguage(), QString("ENG"));
    QVERIFY(!QFileInfo::exists(m_hostDirectory->filePath("Corvina.ini")));
}

void tst_ProductSettings::the_language_is_read_from_the_settings_file_data()
{
    QTest::addColumn<QByteArray>("content");
    QTest::addColumn<QString>("language");
    QTest::newRow("the_key_is_there") << QByteArray("[System]\nDefInstallLang=DEU\n") << "DEU";
    QTest::newRow("the_key_is_missing") << QByteArray("[System]\nOther=DEU\n") << "ENG";
    QTest::newRow("the_group_is_missing") << QByteArray("[Quillon]\nEmail=a@b.example\n") << "ENG";
    QTest::newRow("the_key_is_in_another_group")
        << QByteArray("[Quillon]\nDefInstallLang=DEU\n") << "ENG";
    QTest::newRow("the_key_is_in_no_group") << QByteArray("DefInstallLang=DEU\n") << "ENG";
    QTest::newRow("the_file_is_empty") << QByteArray() << "ENG";
    QTest::newRow("carriage_returns_at_the_ends_of_lines")
        << QByteArray("[System]\r\nDefInstallLang=CHS\r\n") << "CHS";
}

void tst_ProductSettings::the_language_is_read_from_the_settings_file()
{
    QFETCH(QByteArray, content);
    WriteSettings(m_hostDirectory->path(), content);
    QTEST(InstallLanguage(), "language");
}

void tst_ProductSettings::a_changed_file_is_read_anew()
{
    WriteSettings(m_hostDirectory->path(), "[System]\nDefInstallLang=DEU\n");
    QCOMPARE(InstallLanguage(), QString("DEU"));
    WriteSettings(m_hostDirectory->path(), "[System]\nDefInstallLang=FRANCE\n");
    QCOMPARE(InstallLanguage(), QString("FRANCE"));
}

void tst_ProductSettings::the_configuration_directory_is_not_where_the_language_comes_from()
{
    const QTemporaryDir configuration;
    QuillonInit::SetConfigFileDir(configuration.path());
    WriteSettings(configuration.path(), "[System]\nDefInstallLang=DEU\n");
    QCOMPARE(InstallLanguage(), QString("ENG"));
    WriteSettings(m_hostDirectory->path(), "[System]\nDefInstallLang=FRA\n");
    QCOMPARE(InstallLanguage(), QString("FRA"));
}

void tst_ProductSettings::without_the_utility_library_there_is_no_product_identifier()
{
    QVERIFY(!QFileInfo::exists(QCoreApplication::applicationDirPath() + "/HvUtilities.dll"));
    QCOMPARE(ProductId("ENG"), QString());
    QCOMPARE(CustomizeValue("ENG", "PID"), QString());
}

QTEST_GUILESS_MAIN(tst_ProductSettings)
#include "tst_ProductSettings.moc"
