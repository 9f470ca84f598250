// SPDX-License-Identifier: MIT

#include "platform/PeVersionResource.h"

#include "tests/support/PeBuilder.h"

#include <QBuffer>
#include <QtEndian>
#include <QTest>

namespace
{
const QString version = QStringLiteral("9.1.0.0");

QString gVersionOf(QByteArray image)
{
    QBuffer device(&image);
    device.open(QIODevice::ReadOnly);
    return gPeFileVersion(device);
}

template<typename Integer>
Integer gNumberAt(const QByteArray &image, int offset)
{
    return qFromLittleEndian<Integer>(image.constData() + offset);
}

template<typename Integer>
QByteArray gWithNumber(QByteArray image, int offset, Integer value)
{
    qToLittleEndian(value, image.data() + offset);
    return image;
}

PeBuilder gWithComment(int characters)
{
    PeBuilder builder;
    builder.AddTranslation(0x409, 0x4b0).PutTranslationsFirst();
    builder.AddString("040904b0", "Comments", QString(characters, 'c'));
    return builder.AddString("040904b0", "FileVersion", version);
}

/// A comment makes its resource as long as it can be with at most @p size bytes.
PeBuilder gOfSize(int size)
{
    const PeBuilder small = gWithComment(0);
    int characters = (size - small.VersionInfoEnd() + small.VersionInfoOffset()) / 2 + 4;
    PeBuilder builder;
    do {
        builder = gWithComment(--characters);
    } while (builder.VersionInfoEnd() - builder.VersionInfoOffset() > size);
    return builder;
}

/// Its resource is the last thing in its section, and that is the last one in the file.
PeBuilder gFilledToTheEnd()
{
    const PeBuilder small = gOfSize(0x300);
    return gOfSize(0x800 - small.VersionInfoOffset() + PeBuilder::resourceDirectory);
}

PeBuilder gOfVersion(const char *text)
{
    return PeBuilder::WithFileVersion(text);
}
} // namespace

/// Where offsets and lengths lead exactly to the end of what holds them, and one byte beyond it.
class tst_PeVersionResource : public QObject
{
    Q_OBJECT

private slots:
    void a_resource_may_end_with_its_section();
    void a_resource_may_end_with_its_file();
    void a_directory_may_end_with_its_section();
    void a_resource_has_65535_bytes_at_most();
    void the_structure_may_be_as_long_as_its_resource();
    void a_child_may_end_with_its_parent();
    void a_text_without_a_terminator_ends_with_its_block();
    void a_translation_has_four_bytes_at_least();
    void of_two_languages_data();
    void of_two_languages();
    void of_two_tables_the_one_of_the_first_translation_counts_data();
    void of_two_tables_the_one_of_the_first_translation_counts();

private:
    static constexpr int sectionSize = 0x80 + 24 + 240 + 40 + 16;
};

void tst_PeVersionResource::a_resource_may_end_with_its_section()
{
    const PeBuilder builder = gFilledToTheEnd();
    const QByteArray image = builder.Build();
    const auto size = gNumberAt<quint32>(image, sectionSize);
    QCOMPARE(builder.VersionInfoEnd(), PeBuilder::resourceDirectory + int(size));
    QCOMPARE(gVersionOf(image), version);
    const QByteArray longer = image + QByteArray(0x200, '\0');
    QCOMPARE(gVersionOf(longer), version);
    QCOMPARE(gVersionOf(gWithNumber(longer, sectionSize, size - 1)), QString());
    const int dataSize = builder.VersionInfoOffset() - 12;
    const auto bytes = gNumberAt<quint32>(image, dataSize);
    QCOMPARE(int(bytes), builder.VersionInfoEnd() - builder.VersionInfoOffset());
    QCOMPARE(gVersionOf(gWithNumber(longer, dataSize, bytes + 1)), QString());
}

void tst_PeVersionResource::a_resource_may_end_with_its_file()
{
    const PeBuilder builder = gFilledToTheEnd();
    const QByteArray image = builder.Build();
    QCOMPARE(builder.VersionInfoEnd(), image.size());
    QCOMPARE(gVersionOf(image), version);
    QCOMPARE(gVersionOf(image.left(image.size() - 1)), QString());
}

void tst_PeVersionResource::a_directory_may_end_with_its_section()
{
    // A section of its own for the structure, right behind the one of the directories: the data
    // entry is the last thing in the first of them.
    const PeBuilder builder = PeBuilder::WithFileVersion(version);
    const QByteArray image = builder.Build();
    const int tree = builder.VersionInfoOffset() - PeBuilder::resourceDirectory;
    const int headers = sectionSize - 16 - 40;
    QByteArray split = image;
    split.replace(headers, 40, image.mid(headers + 40, 40));
    split = gWithNumber(split, headers + 12, 0x3000U);
    split = gWithNumber(split, headers + 16, quint32(tree));
    split = gWithNumber(split, headers + 40 + 12, 0x3000U + quint32(tree));
    split = gWithNumber(split, headers + 40 + 20, quint32(builder.VersionInfoOffset()));
    split =
        gWithNumber(split, headers + 40 + 16, quint32(image.size() - builder.VersionInfoOffset()));
    QCOMPARE(gVersionOf(split), version);
    QCOMPARE(gVersionOf(gWithNumber(split, headers + 16, quint32(tree - 1))), QString());
}

void tst_PeVersionResource::a_resource_has_65535_bytes_at_most()
{
    const PeBuilder builder = gOfSize(0xffff);
    const int dataSize = builder.VersionInfoOffset() - 12;
    const QByteArray image = builder.Build();
    QCOMPARE(gNumberAt<quint32>(image, dataSize), 0xfffcU);
    QVERIFY(builder.VersionInfoOffset() + 0x10000 <= image.size());
    QCOMPARE(gVersionOf(image), version);
    QCOMPARE(gVersionOf(gWithNumber(image, dataSize, 0xffffU)), version);
    QCOMPARE(gVersionOf(gWithNumber(image, dataSize, 0x10000U)), QString());
}

void tst_PeVersionResource::the_structure_may_be_as_long_as_its_resource()
{
    const PeBuilder builder = gOfSize(0xffff);
    const int dataSize = builder.VersionInfoOffset() - 12;
    const QByteArray image =
        gWithNumber(builder.Build(), builder.VersionInfoOffset(), quint16(0xffff));
    QCOMPARE(gVersionOf(gWithNumber(image, dataSize, 0xffffU)), version);
    QCOMPARE(gVersionOf(gWithNumber(image, dataSize, 0xfffeU)), QString());
}

void tst_PeVersionResource::a_child_may_end_with_its_parent()
{
    // The version is the last string of its table, and the table the last block of all.
    const PeBuilder builder = gOfSize(0x400);
    const QByteArray image = builder.Build();
    const int node = builder.VersionInfoEnd() - 48;
    QCOMPARE(gNumberAt<quint16>(image, node), quint16(48));
    QCOMPARE(gVersionOf(image), version);
    QCOMPARE(gVersionOf(gWithNumber(image, node, quint16(49))), QString());
}

void tst_PeVersionResource::a_text_without_a_terminator_ends_with_its_block()
{
    const PeBuilder builder = gOfSize(0x400);
    const int node = builder.VersionInfoEnd() - 48;
    const int terminator = node + 32 + 2 * version.size();
    QByteArray image = gWithNumber(builder.Build(), terminator, quint16('X'));
    QCOMPARE(gVersionOf(image), version + 'X');
    image = gWithNumber(image, node, quint16(terminator - node));
    QCOMPARE(gVersionOf(image), version);
    QCOMPARE(gVersionOf(gWithNumber(image, node, quint16(terminator - node - 1))), "9.1.0.");
}

void tst_PeVersionResource::a_translation_has_four_bytes_at_least()
{
    const PeBuilder builder = PeBuilder::WithFileVersion(version);
    const QByteArray image = builder.Build();
    // It is the last block: a header of 6 bytes, the key, and one pair.
    const int node = builder.VersionInfoEnd() - (6 + 24 + 2 + 4);
    QCOMPARE(image.mid(node + 6, 4), QByteArray("T\0r\0", 4));
    QCOMPARE(gNumberAt<quint16>(image, node + 2), quint16(4));
    QCOMPARE(gVersionOf(image), version);
    QCOMPARE(gVersionOf(gWithNumber(image, node + 2, quint16(3))), QString());
}

void tst_PeVersionResource::of_two_languages_data()
{
    QTest::addColumn<QByteArray>("image");
    QTest::addColumn<QString>("text");
    constexpr quint16 neutral = 0;
    constexpr quint16 german = 0x407;
    constexpr quint16 english = 0x409;
    constexpr quint16 french = 0x40c;
    const auto row = [](const char *name, quint16 first, quint16 second, const char *text) {
        PeBuilder builder;
        builder.AddLanguage(first, gOfVersion("the first"));
        builder.AddLanguage(second, gOfVersion("the second"));
        QTest::newRow(name) << builder.Build() << text;
    };
    row("the_neutral_one_comes_before_the_english_one", neutral, english, "the first");
    row("in_whatever_order_they_stand", english, neutral, "the second");
    row("the_english_one_comes_before_any_other", german, english, "the second");
    row("the_neutral_one_comes_before_any_other", french, neutral, "the second");
    row("otherwise_the_first_one_counts", german, french, "the first");
}

void tst_PeVersionResource::of_two_languages()
{
    QFETCH(QByteArray, image);
    QTEST(gVersionOf(image), "text");
}

void tst_PeVersionResource::of_two_tables_the_one_of_the_first_translation_counts_data()
{
    QTest::addColumn<quint16>("language");
    QTest::addColumn<QString>("text");
    QTest::newRow("neutral") << quint16(0) << "of the neutral table";
    QTest::newRow("english") << quint16(0x409) << "of the english table";
}

void tst_PeVersionResource::of_two_tables_the_one_of_the_first_translation_counts()
{
    QFETCH(quint16, language);
    const quint16 other = language == 0 ? 0x409 : 0;
    PeBuilder builder;
    builder.AddTranslation(language, 0x4b0).AddTranslation(other, 0x4b0);
    builder.AddString("000004b0", "FileVersion", "of the neutral table");
    builder.AddString("040904b0", "FileVersion", "of the english table");
    QTEST(gVersionOf(builder.Build()), "text");
}

QTEST_GUILESS_MAIN(tst_PeVersionResource)
#include "tst_PeVersionResource.moc"
