// SPDX-License-Identifier: MIT

#include "api/CustomizeInfoReader.h"

#include "api/ProductSettings.h"
#include "platform/DynamicLibrary.h"
#include "tests/support/LoadedLibrary.h"
#include "tests/support/OddCustomization.h"

#include <QCoreApplication>
#include <QFile>
#include <QTest>

namespace
{

const QString oddLibrary = QStringLiteral(ODD_CUSTOMIZATION);
const QString libraryWithoutRead = QStringLiteral(ODD_CUSTOMIZATION_WITHOUT_READ);
const QString libraryWithoutLoad = QStringLiteral(ODD_CUSTOMIZATION_WITHOUT_LOAD);
const QString hostLibrary = QStringLiteral(HOST_LIBRARY);

QString gInApplicationFolder(const QString &name)
{
    return QCoreApplication::applicationDirPath() + "/" + name;
}

QString gReadValue(const QString &language, const QString &key)
{
    return CustomizeInfoReader().ReadCustomizeInfo(language, key);
}

/// Keeps the library loaded, so that its record of the calls is still there after the reader.
class KeptLibrary
{
public:
    KeptLibrary() { m_library.Load(Path()); }

    QString Calls() const
    {
        const auto calls =
            m_library.Resolve<decltype(&OddCustomizationCalls)>("OddCustomizationCalls");
        return calls ? QString::fromLatin1(calls()) : QString("no library");
    }

    static bool IsInProcess() { return gIsInProcess(Path()); }

private:
    static QString Path() { return gInApplicationFolder("HvUtilities.dll"); }

    DynamicLibrary m_library;
};

} // namespace

/// The reader loads from the application's folder, so this test is built into a folder of its own.
class tst_CustomizeInfoReader : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void without_the_library_every_value_is_empty();
    void a_file_that_is_no_library_gives_empty_values();
    void values_come_from_the_hosts_library_and_its_file_data();
    void values_come_from_the_hosts_library_and_its_file();
    void without_the_customisation_file_every_value_is_empty();
    void the_arguments_arrive_in_the_order_of_the_export();
    void the_file_is_loaded_once_for_several_values();
    void the_answer_of_the_store_decides_data();
    void the_answer_of_the_store_decides();
    void a_value_without_an_end_stays_within_the_buffer();
    void without_the_reading_export_every_value_is_empty();
    void without_the_loading_export_values_are_read_all_the_same();
    void each_look_up_loads_and_unloads_the_library();
    void the_product_identifier_is_the_value_pid();

private:
    void Install(const QString &library);
    void WriteCustomization(const QByteArray &entries);
};

void tst_CustomizeInfoReader::init()
{
    cleanup();
}

void tst_CustomizeInfoReader::cleanup()
{
    QFile::remove(gInApplicationFolder("HvUtilities.dll"));
    QFile::remove(gInApplicationFolder("Customization.xml"));
}

void tst_CustomizeInfoReader::Install(const QString &library)
{
    QVERIFY(QFile::copy(library, gInApplicationFolder("HvUtilities.dll")));
}

void tst_CustomizeInfoReader::WriteCustomization(const QByteArray &entries)
{
    QFile file(gInApplicationFolder("Customization.xml"));
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.write("<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<Customization>" + entries +
               "</Customization>\n");
}

void tst_CustomizeInfoReader::without_the_library_every_value_is_empty()
{
    WriteCustomization("<Entry key=\"PID\">10001</Entry>");
    QCOMPARE(gReadValue("ENG", "PID"), QString());
}

void tst_CustomizeInfoReader::a_file_that_is_no_library_gives_empty_values()
{
    QFile file(gInApplicationFolder("HvUtilities.dll"));
    QVERIFY(file.open(QIODevice::WriteOnly) && file.write("no library\n") > 0);
    file.close();
    QCOMPARE(gReadValue("ENG", "PID"), QString());
}

void tst_CustomizeInfoReader::values_come_from_the_hosts_library_and_its_file_data()
{
    QTest::addColumn<QString>("language");
    QTest::addColumn<QString>("key");
    QTest::addColumn<QString>("value");
    QTest::newRow("an_entry_of_the_language") << "DEU"
                                              << "PID"
                                              << "10002";
    QTest::newRow("an_entry_for_all_languages") << "ENG"
                                                << "PID"
                                                << "10001";
    QTest::newRow("another_key") << "ENG"
                                 << "Name" << QString::fromUtf8("Übersicht 更新");
    QTest::newRow("no_such_key") << "ENG"
                                 << "Missing"
                                 << "";
}

void tst_CustomizeInfoReader::values_come_from_the_hosts_library_and_its_file()
{
    QFETCH(QString, language);
    QFETCH(QString, key);
    Install(hostLibrary);
    WriteCustomization("<Entry key=\"PID\">10001</Entry>"
                       "<Entry key=\"PID\" language=\"DEU\">10002</Entry>"
                       "<Entry key=\"Name\">Übersicht 更新</Entry>");
    QTEST(gReadValue(language, key), "value");
    QTEST(CustomizeValue(language, key), "value");
}

void tst_CustomizeInfoReader::without_the_customisation_file_every_value_is_empty()
{
    Install(hostLibrary);
    QCOMPARE(gReadValue("ENG", "PID"), QString());
}

void tst_CustomizeInfoReader::the_arguments_arrive_in_the_order_of_the_export()
{
    Install(oddLibrary);
    const KeptLibrary library;
    gReadValue("ENG", "PID");
    // First the file, then the look-up: key, language, a buffer of the digit zero and 255 zero
    // units, its size, and two zeros.
    QCOMPARE(library.Calls(),
             "load(" + gInApplicationFolder("Customization.xml") + ");read(PID,ENG,0,255,256,0,0)");
}

void tst_CustomizeInfoReader::the_file_is_loaded_once_for_several_values()
{
    Install(oddLibrary);
    const KeptLibrary library;
    CustomizeInfoReader reader;
    reader.ReadCustomizeInfo("ENG", "PID");
    reader.ReadCustomizeInfo("DEU", "Name");
    QCOMPARE(library.Calls(), "load(" + gInApplicationFolder("Customization.xml") +
                                  ");read(PID,ENG,0,255,256,0,0)read(Name,DEU,0,255,256,0,0)");
}

void tst_CustomizeInfoReader::the_answer_of_the_store_decides_data()
{
    QTest::addColumn<QString>("key");
    QTest::addColumn<QString>("value");
    QTest::newRow("success_with_a_value") << "PID"
                                          << "value";
    QTest::newRow("success_without_writing_anything_gives_the_digit_zero") << "silent"
                                                                           << "0";
    QTest::newRow("success_with_an_empty_value") << "empty"
                                                 << "";
    QTest::newRow("failure_gives_nothing_whatever_was_written") << "refuse"
                                                                << "";
    QTest::newRow("the_value_ends_at_its_first_zero") << "halves"
                                                      << "front";
    QTest::newRow("255_units_fill_the_buffer") << "long" << QString(255, QChar('x'));
}

void tst_CustomizeInfoReader::the_answer_of_the_store_decides()
{
    QFETCH(QString, key);
    Install(oddLibrary);
    QTEST(gReadValue("ENG", key), "value");
}

void tst_CustomizeInfoReader::a_value_without_an_end_stays_within_the_buffer()
{
    Install(oddLibrary);
    const QString value = gReadValue("ENG", "endless");
    QVERIFY(value.size() <= 256);
    QCOMPARE(value, QString(value.size(), QChar('x')));
}

void tst_CustomizeInfoReader::without_the_reading_export_every_value_is_empty()
{
    Install(libraryWithoutRead);
    QCOMPARE(gReadValue("ENG", "PID"), QString());
    QCOMPARE(gReadValue("ENG", "silent"), QString());
}

void tst_CustomizeInfoReader::without_the_loading_export_values_are_read_all_the_same()
{
    Install(libraryWithoutLoad);
    QCOMPARE(gReadValue("ENG", "PID"), QString("value"));
}

void tst_CustomizeInfoReader::each_look_up_loads_and_unloads_the_library()
{
    Install(oddLibrary);
    {
        const CustomizeInfoReader reader;
        QVERIFY(KeptLibrary::IsInProcess());
    }
    QVERIFY(!KeptLibrary::IsInProcess());
    ProductId("ENG");
    QVERIFY(!KeptLibrary::IsInProcess());
}

void tst_CustomizeInfoReader::the_product_identifier_is_the_value_pid()
{
    Install(oddLibrary);
    const KeptLibrary library;
    QCOMPARE(ProductId("DEU"), QString("value"));
    QVERIFY(library.Calls().contains("read(PID,DEU,"));
}

QTEST_GUILESS_MAIN(tst_CustomizeInfoReader)
#include "tst_CustomizeInfoReader.moc"
