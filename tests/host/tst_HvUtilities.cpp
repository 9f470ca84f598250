// SPDX-License-Identifier: MIT

#include "host/HvUtilities/HvUtilities.h"

#include "tests/support/TestFiles.h"

#include <QLibrary>
#include <QtTest>

#include <array>
#include <string>

namespace
{
/// Larger than every value below, and filled with a mark, so that every write is visible.
using Buffer = std::array<char16_t, 16>;
constexpr char16_t mark = u'#';

Buffer gMarkedBuffer()
{
    Buffer buffer{};
    buffer.fill(mark);
    return buffer;
}
} // namespace

class tst_HvUtilities : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();
    void the_library_has_this_one_name_on_every_system();
    void an_entry_is_found_by_key_and_language_data();
    void an_entry_is_found_by_key_and_language();
    void what_is_not_in_the_store_leaves_the_buffer_alone_data();
    void what_is_not_in_the_store_leaves_the_buffer_alone();
    void a_value_is_cut_to_the_buffer_data();
    void a_value_is_cut_to_the_buffer();
    void no_buffer_gives_zero();
    void a_file_that_is_no_store_gives_zero_and_empties_the_store_data();
    void a_file_that_is_no_store_gives_zero_and_empties_the_store();
    void a_missing_file_gives_zero();
    void loading_again_replaces_the_values();
    void the_example_file_is_a_store();

private:
    int Load(const QByteArray &content);
    int Read(const QString &key, const QString &language, Buffer *buffer, int units = 16) const;
    QString Value(const QString &key, const QString &language) const;

    QLibrary m_library{QStringLiteral(HVUTILITIES_LIBRARY)};
    QTemporaryDir m_folder;
    decltype(&LoadCustomizeXMLFileW) m_load = nullptr;
    decltype(&ReadCustomizeInfoW) m_read = nullptr;
};

int tst_HvUtilities::Load(const QByteArray &content)
{
    const QString path = m_folder.filePath(QString::fromUtf8("Customization-\u00fc.xml"));
    return gWriteFile(path, content) ? m_load(path.toStdU16String().c_str()) : -1;
}

int tst_HvUtilities::Read(const QString &key, const QString &language, Buffer *buffer,
                          int units) const
{
    return m_read(key.toStdU16String().c_str(), language.toStdU16String().c_str(), buffer->data(),
                  units, 0, 0);
}

QString tst_HvUtilities::Value(const QString &key, const QString &language) const
{
    Buffer buffer = gMarkedBuffer();
    return Read(key, language, &buffer) ? QString::fromUtf16(buffer.data()) : QString();
}

void tst_HvUtilities::init()
{
    QVERIFY2(m_library.load(), qPrintable(m_library.errorString()));
    m_load = reinterpret_cast<decltype(m_load)>(m_library.resolve("LoadCustomizeXMLFileW"));
    m_read = reinterpret_cast<decltype(m_read)>(m_library.resolve("ReadCustomizeInfoW"));
    QVERIFY(m_load);
    QVERIFY(m_read);
    QVERIFY(Load("<Customization>"
                 "<Entry key='PID'>10001</Entry>"
                 "<Entry key='PID' language='DEU'> 10002\n</Entry>"
                 "<Entry key='OnlyDEU' language='DEU'>x</Entry>"
                 "<Entry key='Empty'/>"
                 "<Entry key='Twice'>first</Entry><Entry key='Twice'>last</Entry>"
                 "<Entry key='Text'>Gr&#xfc;&#xdf;e &amp; \xe4\xbd\xa0</Entry>"
                 "<Other key='PID'><Entry key='Hidden'>1</Entry></Other>"
                 "</Customization>") > 0);
}

void tst_HvUtilities::cleanup()
{
    m_library.unload();
}

void tst_HvUtilities::the_library_has_this_one_name_on_every_system()
{
    QCOMPARE(QFileInfo(QStringLiteral(HVUTILITIES_LIBRARY)).fileName(),
             QStringLiteral("HvUtilities.dll"));
}

void tst_HvUtilities::an_entry_is_found_by_key_and_language_data()
{
    QTest::addColumn<QString>("key");
    QTest::addColumn<QString>("language");
    QTest::addColumn<QString>("value");
    QTest::newRow("the_languages_own_entry_comes_first") << "PID"
                                                         << "DEU"
                                                         << "10002";
    QTest::newRow("other_languages_share_the_entry_without_one") << "PID"
                                                                 << "ENG"
                                                                 << "10001";
    QTest::newRow("no_language_reads_the_shared_entry") << "PID"
                                                        << ""
                                                        << "10001";
    QTest::newRow("of_two_entries_the_last_counts") << "Twice"
                                                    << "ENG"
                                                    << "last";
    QTest::newRow("characters_beyond_ascii_arrive") << "Text"
                                                    << "ENG" << QString::fromUtf8("Grüße & 你");
}

void tst_HvUtilities::an_entry_is_found_by_key_and_language()
{
    QFETCH(QString, key);
    QFETCH(QString, language);
    QFETCH(QString, value);
    QCOMPARE(Value(key, language), value);
}

void tst_HvUtilities::what_is_not_in_the_store_leaves_the_buffer_alone_data()
{
    QTest::addColumn<QString>("key");
    QTest::addColumn<QString>("language");
    QTest::newRow("an_unknown_key") << "Nothing"
                                    << "ENG";
    QTest::newRow("a_key_in_another_case") << "pid"
                                           << "ENG";
    QTest::newRow("an_entry_of_another_language") << "OnlyDEU"
                                                  << "ENG";
    QTest::newRow("an_entry_inside_a_foreign_element") << "Hidden"
                                                       << "ENG";
}

void tst_HvUtilities::what_is_not_in_the_store_leaves_the_buffer_alone()
{
    QFETCH(QString, key);
    QFETCH(QString, language);
    Buffer buffer = gMarkedBuffer();
    QCOMPARE(Read(key, language, &buffer), 0);
    QCOMPARE(buffer, gMarkedBuffer());
}

void tst_HvUtilities::a_value_is_cut_to_the_buffer_data()
{
    QTest::addColumn<QString>("key");
    QTest::addColumn<int>("units");
    QTest::addColumn<QString>("value");
    QTest::newRow("just_large_enough") << "PID" << 6 << "10001";
    QTest::newRow("one_unit_too_small") << "PID" << 5 << "1000";
    QTest::newRow("room_for_the_terminating_zero_only") << "PID" << 1 << "";
    QTest::newRow("an_empty_value") << "Empty" << 16 << "";
}

void tst_HvUtilities::a_value_is_cut_to_the_buffer()
{
    QFETCH(QString, key);
    QFETCH(int, units);
    QFETCH(QString, value);
    Buffer buffer = gMarkedBuffer();
    QVERIFY(Read(key, QStringLiteral("ENG"), &buffer, units) != 0);

    Buffer wanted = gMarkedBuffer();
    const std::u16string written = value.toStdU16String();
    std::copy_n(written.c_str(), written.size() + 1, wanted.begin());
    QCOMPARE(buffer, wanted);
}

void tst_HvUtilities::no_buffer_gives_zero()
{
    Buffer buffer = gMarkedBuffer();
    QCOMPARE(Read(QStringLiteral("PID"), QStringLiteral("ENG"), &buffer, 0), 0);
    QCOMPARE(Read(QStringLiteral("PID"), QStringLiteral("ENG"), &buffer, -1), 0);
    QCOMPARE(buffer, gMarkedBuffer());
    QCOMPARE(m_read(u"PID", u"ENG", nullptr, 16, 0, 0), 0);
}

void tst_HvUtilities::a_file_that_is_no_store_gives_zero_and_empties_the_store_data()
{
    QTest::addColumn<QByteArray>("content");
    QTest::newRow("nothing") << QByteArray();
    QTest::newRow("not_xml") << QByteArray("PID=10001\n");
    QTest::newRow("cut_off") << QByteArray("<Customization><Entry key='PID'>10001</Entry><Ent");
    QTest::newRow("a_tag_is_not_closed")
        << QByteArray("<Customization><Entry key='PID'>1</Customization>");
    QTest::newRow("an_entry_holds_an_element")
        << QByteArray("<Customization><Entry key='PID'><b>1</b></Entry></Customization>");
    QTest::newRow("another_root_element")
        << QByteArray("<Other><Entry key='PID'>10001</Entry></Other>");
    QTest::newRow("a_second_root_element")
        << QByteArray("<Customization><Entry key='PID'>1</Entry></Customization><Customization/>");
    QTest::newRow("bytes_that_are_no_utf_8")
        << QByteArray("<Customization><Entry key='PID'>\xff\xfe</Entry></Customization>");
}

void tst_HvUtilities::a_file_that_is_no_store_gives_zero_and_empties_the_store()
{
    QFETCH(QByteArray, content);
    QCOMPARE(Load(content), 0);
    QCOMPARE(Value(QStringLiteral("PID"), QStringLiteral("ENG")), QString());
}

void tst_HvUtilities::a_missing_file_gives_zero()
{
    const QString missing = m_folder.filePath(QStringLiteral("missing.xml"));
    QCOMPARE(m_load(missing.toStdU16String().c_str()), 0);
    QCOMPARE(m_load(m_folder.path().toStdU16String().c_str()), 0);
    QCOMPARE(m_load(u""), 0);
}

void tst_HvUtilities::loading_again_replaces_the_values()
{
    QVERIFY(Load("<Customization><Entry key='New'>1</Entry></Customization>") > 0);
    QCOMPARE(Value(QStringLiteral("New"), QStringLiteral("ENG")), QStringLiteral("1"));
    QCOMPARE(Value(QStringLiteral("PID"), QStringLiteral("ENG")), QString());
}

void tst_HvUtilities::the_example_file_is_a_store()
{
    QVERIFY(m_load(QStringLiteral(HVUTILITIES_EXAMPLE).toStdU16String().c_str()) != 0);
    QCOMPARE(Value(QStringLiteral("PID"), QStringLiteral("ENG")), QStringLiteral("10001"));
    QCOMPARE(Value(QStringLiteral("PID"), QStringLiteral("DEU")), QStringLiteral("10002"));
}

QTEST_GUILESS_MAIN(tst_HvUtilities)
#include "tst_HvUtilities.moc"
