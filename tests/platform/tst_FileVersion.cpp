// SPDX-License-Identifier: MIT

#include "platform/FileVersion.h"
#include "platform/PeVersionResource.h"

#include "tests/support/PeBuilder.h"
#include "tests/support/SystemTraits.h"
#include "tests/support/TestFiles.h"

#include <QBuffer>
#include <QFile>
#include <QTemporaryDir>
#include <QtEndian>
#include <QTest>

namespace
{

const QString version = QStringLiteral("9.1.0.0");

template<typename Integer>
void gOverwrite(QByteArray &image, int offset, Integer value)
{
    const Integer little = qToLittleEndian(value);
    constexpr int size = sizeof(little);
    image.replace(offset, size, QByteArray(reinterpret_cast<const char *>(&little), size));
}

QString gVersionOf(QByteArray image)
{
    QBuffer device(&image);
    device.open(QIODevice::ReadOnly);
    return gPeFileVersion(device);
}

bool gIsImagePe(QByteArray image)
{
    QBuffer device(&image);
    device.open(QIODevice::ReadOnly);
    return gIsPortableExecutable(device);
}

} // namespace

Q_DECLARE_METATYPE(PeBuilder::Format)

class tst_FileVersion : public QObject
{
    Q_OBJECT

private slots:
    void the_text_of_the_version_resource_is_returned_data();
    void the_text_of_the_version_resource_is_returned();
    void an_executable_of_five_gigabytes_is_read_as_well();
    void text_lines_of_an_executable_do_not_count();
    void a_line_names_the_version_of_a_file_that_is_no_executable_data();
    void a_line_names_the_version_of_a_file_that_is_no_executable();
    void a_missing_file_and_a_directory_have_no_version();
    void a_portable_executable_is_recognised_by_both_signatures_data();
    void a_portable_executable_is_recognised_by_both_signatures();
    void a_file_cut_anywhere_gives_no_version_data();
    void a_file_cut_anywhere_gives_no_version();
    void a_damaged_file_does_the_system_no_harm_data();
    void a_damaged_file_does_the_system_no_harm();
    void damaged_numbers_never_crash_or_hang_data();
    void damaged_numbers_never_crash_or_hang();
    void a_resource_tree_that_leads_back_to_its_root_gives_no_version();
    void a_version_node_of_no_length_gives_no_version();
    void a_resource_outside_every_section_gives_no_version();

private:
    QString Write(const QByteArray &content);

    QTemporaryDir m_directory;
};

QString tst_FileVersion::Write(const QByteArray &content)
{
    return gPutFile(m_directory.filePath("file"), content);
}

void tst_FileVersion::the_text_of_the_version_resource_is_returned_data()
{
    QTest::addColumn<QByteArray>("image");
    QTest::addColumn<QString>("text");
    const PeBuilder usual = PeBuilder::WithFileVersion(version);
    const QString accented = QString::fromUtf8("9.1.0.0 \"β\" für 😀");

    QTest::newRow("pe32_plus_us_english_unicode") << usual.Build() << version;
    QTest::newRow("pe32") << PeBuilder(usual).SetFormat(PeBuilder::Format::Pe32).Build() << version;
    QTest::newRow("the_translations_stand_before_the_strings")
        << PeBuilder(usual).PutTranslationsFirst().Build() << version;
    QTest::newRow("translation_0x804_0x3a8_leads_to_the_table_080403a8")
        << PeBuilder()
               .AddTranslation(0x804, 0x3a8)
               .AddString("080403a8", "FileVersion", "9.2")
               .Build()
        << "9.2";
    QTest::newRow("numbers_are_written_with_four_digits")
        << PeBuilder().AddTranslation(0, 0).AddString("00000000", "FileVersion", "9.3").Build()
        << "9.3";
    QTest::newRow("of_several_translations_the_first_one_counts")
        << PeBuilder()
               .AddTranslation(0x407, 0x4e4)
               .AddTranslation(0x409, 0x4b0)
               .AddString("040904b0", "FileVersion", "second")
               .AddString("040704e4", "FileVersion", "first")
               .Build()
        << "first";
    QTest::newRow("the_second_translation_does_not_stand_in_for_the_first")
        << PeBuilder()
               .AddTranslation(0x407, 0x4e4)
               .AddTranslation(0x409, 0x4b0)
               .AddString("040904b0", "FileVersion", "second")
               .Build()
        << "";
    QTest::newRow("the_text_is_not_rebuilt_from_the_numbers")
        << PeBuilder(usual).SetFixedVersion(5, 6, 7, 8).Build() << version;
    QTest::newRow("any_text_is_returned_as_it_is_stored")
        << PeBuilder::WithFileVersion("  9, 1, 0, 0 (release) ").Build()
        << "  9, 1, 0, 0 (release) ";
    QTest::newRow("characters_beyond_ascii")
        << PeBuilder::WithFileVersion(accented).Build() << accented;
    QTest::newRow("trailing_zeros_do_not_belong_to_the_text")
        << PeBuilder::WithFileVersion(version + QString(3, QChar('\0'))).Build() << version;
    QTest::newRow("a_table_key_in_upper_case_hexadecimal_is_found")
        << PeBuilder()
               .AddTranslation(0x409, 0x4b0)
               .AddString("040904B0", "FileVersion", "9.4")
               .Build()
        << "9.4";
    QTest::newRow("no_resources_at_all") << PeBuilder(usual).LeaveOutResources().Build() << "";
    QTest::newRow("resources_without_a_version")
        << PeBuilder(usual).LeaveOutVersionResource().Build() << "";
    QTest::newRow("no_translation")
        << PeBuilder().AddString("040904b0", "FileVersion", version).Build() << "";
    QTest::newRow("no_table_for_the_translation")
        << PeBuilder()
               .AddTranslation(0x409, 0x4b0)
               .AddString("040704b0", "FileVersion", version)
               .Build()
        << "";
    QTest::newRow("no_file_version_in_the_table")
        << PeBuilder()
               .AddTranslation(0x409, 0x4b0)
               .AddString("040904b0", "ProductVersion", version)
               .Build()
        << "";
    QTest::newRow("an_empty_file_version") << PeBuilder::WithFileVersion("").Build() << "";
    QTest::newRow("the_headers_alone") << usual.Build().left(0x400) << "";
}

void tst_FileVersion::the_text_of_the_version_resource_is_returned()
{
    QFETCH(QByteArray, image);
    QTEST(FileVersionString(Write(image)), "text");
    QTEST(gVersionOf(image), "text");
}

void tst_FileVersion::an_executable_of_five_gigabytes_is_read_as_well()
{
    // An installer has its payload behind the sections; here it is a sparse end of the file.
    QFile file(Write(PeBuilder::WithFileVersion(version).Build()));
    QVERIFY(file.resize(Q_INT64_C(5) << 30));
    QCOMPARE(FileVersionString(file.fileName()), version);
    QVERIFY(file.remove());
}

void tst_FileVersion::text_lines_of_an_executable_do_not_count()
{
    QByteArray image = PeBuilder::WithFileVersion(version).LeaveOutVersionResource().Build();
    image.replace(0x410, 22, "\nFileVersion=6.6.6.6\n\n");
    QCOMPARE(FileVersionString(Write(image)), QString());
}

void tst_FileVersion::a_line_names_the_version_of_a_file_that_is_no_executable_data()
{
    QTest::addColumn<QByteArray>("content");
    QTest::addColumn<QString>("text");
    const QByteArray line = "FileVersion=9.2.0.0\n";
    QTest::newRow("a_line_of_its_own") << line << "9.2.0.0";
    QTest::newRow("without_an_end_of_line") << QByteArray("FileVersion=9.2.0.0") << "9.2.0.0";
    QTest::newRow("behind_a_hash") << "# " + line << "9.2.0.0";
    QTest::newRow("behind_two_slashes") << "// " + line << "9.2.0.0";
    QTest::newRow("behind_a_hash_without_a_blank") << "#" + line << "9.2.0.0";
    QTest::newRow("in_a_script") << "#!/bin/sh\nexit 0\n# " + line + "echo\n"
                                 << "9.2.0.0";
    QTest::newRow("with_carriage_returns_at_the_ends_of_lines")
        << QByteArray("@echo off\r\n# FileVersion=9.2.0.0\r\nrem\r\n") << "9.2.0.0";
    QTest::newRow("at_the_end_of_the_first_4096_bytes")
        << QByteArray(4095 - line.size(), 'x') + "\n" + line << "9.2.0.0";
    QTest::newRow("behind_the_first_4096_bytes") << QByteArray(4095, 'x') + "\n" + line << "";
    QTest::newRow("in_the_middle_of_a_line") << "print " + line << "";
    QTest::newRow("as_a_part_of_another_name") << QByteArray("ProductFileVersion=9.2.0.0\n") << "";
    QTest::newRow("with_nothing_behind_it") << QByteArray("FileVersion=\n") << "";
    QTest::newRow("an_empty_file") << QByteArray() << "";
    QTest::newRow("some_other_text") << QByteArray("release notes of 9.2.0.0\n") << "";
}

void tst_FileVersion::a_line_names_the_version_of_a_file_that_is_no_executable()
{
    QFETCH(QByteArray, content);
    QFETCH(QString, text);
    QCOMPARE(FileVersionString(Write(content)), gHasVersionLines() ? text : QString());
}

void tst_FileVersion::a_missing_file_and_a_directory_have_no_version()
{
    QCOMPARE(FileVersionString(m_directory.filePath("missing")), QString());
    QCOMPARE(FileVersionString(m_directory.path()), QString());
    QCOMPARE(FileVersionString(QString()), QString());
}

void tst_FileVersion::a_portable_executable_is_recognised_by_both_signatures_data()
{
    QTest::addColumn<QByteArray>("image");
    QTest::addColumn<bool>("recognised");
    const QByteArray image = PeBuilder::WithFileVersion(version).Build();
    QByteArray otherFormat = image;
    otherFormat.replace(0x80, 4, QByteArray("NE\0\0", 4));
    QByteArray farAway = image;
    gOverwrite(farAway, 0x3c, 0x7fffffffU);
    QByteArray noDosHeader = image;
    noDosHeader.replace(0, 2, "ZM");
    QTest::newRow("pe32_plus") << image << true;
    QTest::newRow("pe32") << PeBuilder().SetFormat(PeBuilder::Format::Pe32).Build() << true;
    QTest::newRow("without_resources") << PeBuilder().LeaveOutResources().Build() << true;
    QTest::newRow("no_dos_header") << noDosHeader << false;
    QTest::newRow("another_format_behind_the_dos_header") << otherFormat << false;
    QTest::newRow("a_header_far_behind_the_end") << farAway << false;
    QTest::newRow("a_dos_header_alone") << image.left(0x40) << false;
    QTest::newRow("the_first_two_letters") << QByteArray("MZ") << false;
    QTest::newRow("text") << QByteArray("FileVersion=9.2.0.0\n") << false;
    QTest::newRow("nothing") << QByteArray() << false;
}

void tst_FileVersion::a_portable_executable_is_recognised_by_both_signatures()
{
    QFETCH(QByteArray, image);
    QFETCH(bool, recognised);
    QCOMPARE(gIsImagePe(image), recognised);
    if (!recognised) {
        QCOMPARE(gVersionOf(image), QString());
    }
}

void tst_FileVersion::a_file_cut_anywhere_gives_no_version_data()
{
    QTest::addColumn<PeBuilder::Format>("format");
    QTest::newRow("pe32") << PeBuilder::Format::Pe32;
    QTest::newRow("pe32_plus") << PeBuilder::Format::Pe32Plus;
}

void tst_FileVersion::a_file_cut_anywhere_gives_no_version()
{
    QFETCH(PeBuilder::Format, format);
    const PeBuilder builder = PeBuilder::WithFileVersion(version).SetFormat(format);
    const QByteArray image = builder.Build();
    QCOMPARE(gVersionOf(image), version);
    for (int size = 0; size < builder.VersionInfoEnd(); size += 16) {
        QVERIFY2(gVersionOf(image.left(size)).isEmpty(), qPrintable(QString::number(size)));
    }
}

void tst_FileVersion::a_damaged_file_does_the_system_no_harm_data()
{
    a_file_cut_anywhere_gives_no_version_data();
}

void tst_FileVersion::a_damaged_file_does_the_system_no_harm()
{
    QFETCH(PeBuilder::Format, format);
    const PeBuilder builder = PeBuilder::WithFileVersion(version).SetFormat(format);
    const QByteArray image = builder.Build();
    for (int size = 0; size < builder.VersionInfoEnd(); size += 64) {
        QVERIFY2(FileVersionString(Write(image.left(size))).isEmpty(),
                 qPrintable(QString::number(size)));
    }
    // Each file has its own name, because Windows may keep a damaged file open.
    const QTemporaryDir directory;
    for (int offset = 0x80; offset + 4 <= builder.VersionInfoEnd(); offset += 4) {
        const bool isCode = offset >= 0x200 && offset < PeBuilder::resourceDirectory;
        if (isCode) {
            continue;
        }
        QByteArray damaged = image;
        gOverwrite(damaged, offset, 0xffffffffU);
        QFile file(directory.filePath(QString::number(offset)));
        QVERIFY(file.open(QIODevice::WriteOnly) && file.write(damaged) == damaged.size());
        file.close();
        // Windows may give no version where the module's reader still finds one.
        const QString text = FileVersionString(file.fileName());
        QVERIFY2(text.isEmpty() || text == gVersionOf(damaged), qPrintable(file.fileName()));
    }
}

void tst_FileVersion::damaged_numbers_never_crash_or_hang_data()
{
    QTest::addColumn<PeBuilder::Format>("format");
    QTest::addColumn<quint32>("number");
    const QList<QPair<const char *, PeBuilder::Format>> formats{
        {"PE32", PeBuilder::Format::Pe32}, {"PE32+", PeBuilder::Format::Pe32Plus}};
    const QList<quint32> numbers{0xffffffff, 0x7fffffff, 0x80000000, 0, 1, 0xffff, 0xffff0000};
    for (const auto &format : formats) {
        for (const quint32 number : numbers) {
            QTest::addRow("%s_every_number_set_to_0x%x", format.first, number)
                << format.second << number;
        }
        // 0xfeedface is replaced by the number's own offset in the file.
        QTest::addRow("%s_every_number_leads_to_itself", format.first)
            << format.second << quint32(0xfeedface);
    }
}

void tst_FileVersion::damaged_numbers_never_crash_or_hang()
{
    QFETCH(PeBuilder::Format, format);
    QFETCH(quint32, number);
    const bool ownOffset = number == 0xfeedface;
    const QByteArray image = PeBuilder::WithFileVersion(version).SetFormat(format).Build();
    for (int offset = 0; offset + 4 <= image.size(); offset += 2) {
        QByteArray damaged = image;
        gOverwrite(damaged, offset, ownOffset ? static_cast<quint32>(offset) : number);
        QVERIFY(gVersionOf(damaged).size() < image.size());
        if (ownOffset && offset >= PeBuilder::resourceDirectory) {
            const int inSection = offset - PeBuilder::resourceDirectory;
            gOverwrite(damaged, offset, 0x80000000U | static_cast<quint32>(inSection));
            QVERIFY(gVersionOf(damaged).size() < image.size());
            gOverwrite(damaged, offset, 0x3000U + static_cast<quint32>(inSection));
            QVERIFY(gVersionOf(damaged).size() < image.size());
        }
    }
}

void tst_FileVersion::a_resource_tree_that_leads_back_to_its_root_gives_no_version()
{
    QByteArray image = PeBuilder::WithFileVersion(version).Build();
    // The second entry of the root is that of the version resources.
    const int versionEntry = PeBuilder::resourceDirectory + 16 + 8;
    QCOMPARE(qFromLittleEndian<quint32>(image.constData() + versionEntry), 16U);
    gOverwrite(image, versionEntry + 4, 0x80000000U);
    QCOMPARE(gVersionOf(image), QString());
}

void tst_FileVersion::a_version_node_of_no_length_gives_no_version()
{
    const PeBuilder builder = PeBuilder::WithFileVersion(version);
    QByteArray image = builder.Build();
    gOverwrite(image, builder.VersionInfoOffset(), quint16(0));
    QCOMPARE(gVersionOf(image), QString());

    image = builder.Build();
    const int stringFileInfo = builder.VersionInfoOffset() + 40 + 52;
    QCOMPARE(image.mid(stringFileInfo + 6, 6), QByteArray("S\0t\0r\0", 6));
    gOverwrite(image, stringFileInfo, quint16(0));
    QCOMPARE(gVersionOf(image), QString());
}

void tst_FileVersion::a_resource_outside_every_section_gives_no_version()
{
    const PeBuilder builder = PeBuilder::WithFileVersion(version);
    QByteArray image = builder.Build();
    const int dataEntry = builder.VersionInfoOffset() - 16;
    QCOMPARE(qFromLittleEndian<quint32>(image.constData() + dataEntry + 4),
             quint32(builder.VersionInfoEnd() - builder.VersionInfoOffset()));
    gOverwrite(image, dataEntry, 0x9000U);
    QCOMPARE(gVersionOf(image), QString());
}

QTEST_GUILESS_MAIN(tst_FileVersion)
#include "tst_FileVersion.moc"
