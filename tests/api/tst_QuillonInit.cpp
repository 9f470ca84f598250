// SPDX-License-Identifier: MIT

#include "api/QuillonInit.h"

#include <QFile>
#include <QTemporaryDir>
#include <QTest>

class tst_QuillonInit : public QObject
{
    Q_OBJECT

private slots:
    void the_directory_is_empty_when_the_module_is_loaded();
    void the_directory_is_returned_as_it_was_set_data();
    void the_directory_is_returned_as_it_was_set();
    void a_style_sheet_is_returned_whole_data();
    void a_style_sheet_is_returned_whole();
    void the_modules_own_style_sheets_are_read_from_the_resources_data();
    void the_modules_own_style_sheets_are_read_from_the_resources();
    void a_style_sheet_that_cannot_be_opened_is_empty_data();
    void a_style_sheet_that_cannot_be_opened_is_empty();

private:
    QTemporaryDir m_directory;
};

void tst_QuillonInit::the_directory_is_empty_when_the_module_is_loaded()
{
    QCOMPARE(QuillonInit::GetConfigFileDir(), QString());
}

void tst_QuillonInit::the_directory_is_returned_as_it_was_set_data()
{
    QTest::addColumn<QString>("directory");
    QTest::newRow("a_folder") << "/home/user/.config/corvina";
    QTest::newRow("another_folder_which_replaces_it") << QString::fromUtf8("C:/Users/Jörg/Corvina");
    QTest::newRow("a_trailing_slash_is_not_taken_away") << "/tmp/";
    QTest::newRow("nothing") << QString();
}

void tst_QuillonInit::the_directory_is_returned_as_it_was_set()
{
    QFETCH(QString, directory);
    QuillonInit::SetConfigFileDir(directory);
    QCOMPARE(QuillonInit::GetConfigFileDir(), directory);
}

void tst_QuillonInit::a_style_sheet_is_returned_whole_data()
{
    QTest::addColumn<QByteArray>("content");
    QTest::addColumn<QString>("text");
    const QByteArray accented = "/* für */\n";
    QTest::newRow("several_lines")
        << QByteArray("A {\n\tcolor: red;\n}\n") << "A {\n\tcolor: red;\n}\n";
    QTest::newRow("carriage_returns_as_line_ends")
        << QByteArray("A {\r\tcolor: red;\r}\r") << "A {\r\tcolor: red;\r}\r";
    QTest::newRow("text_in_the_systems_own_encoding")
        << accented << QString::fromLocal8Bit(accented);
    QTest::newRow("a_byte_order_mark_belongs_to_the_encoding_not_to_the_text")
        << "\xef\xbb\xbf" + accented << QString::fromUtf8(accented);
    QTest::newRow("more_than_one_buffer_of_the_reader")
        << QByteArray(100000, 'x') << QString(100000, QChar('x'));
    QTest::newRow("an_empty_file") << QByteArray("") << QString();
}

void tst_QuillonInit::a_style_sheet_is_returned_whole()
{
    QFETCH(QByteArray, content);
    QFile file(m_directory.filePath("sheet.qss"));
    QVERIFY(file.open(QIODevice::WriteOnly));
    QCOMPARE(file.write(content), qint64(content.size()));
    file.close();
    QTEST(QuillonInit::gGetStyleSheet(file.fileName()), "text");
}

void tst_QuillonInit::the_modules_own_style_sheets_are_read_from_the_resources_data()
{
    QTest::addColumn<QString>("path");
    QTest::newRow("normal_density") << ":/Quillon/Resources/Quillon.qss";
    QTest::newRow("pixel_ratio_2") << ":/Quillon/Resources/Quillon_2x.qss";
}

void tst_QuillonInit::the_modules_own_style_sheets_are_read_from_the_resources()
{
    QFETCH(QString, path);
    const QString sheet = QuillonInit::gGetStyleSheet(path);
    QVERIFY(sheet.startsWith("UpdateMainImpl"));
    QVERIFY(sheet.contains("ImageButton#Quillon_TitleBar_CloseBtn:disabled"));
    QVERIFY(sheet.contains('\r'));
}

void tst_QuillonInit::a_style_sheet_that_cannot_be_opened_is_empty_data()
{
    QTest::addColumn<QString>("path");
    QTest::newRow("a_missing_file") << m_directory.filePath("missing.qss");
    QTest::newRow("a_missing_resource") << ":/Quillon/Resources/missing.qss";
    QTest::newRow("a_directory") << m_directory.path();
    QTest::newRow("no_path_at_all") << QString();
}

void tst_QuillonInit::a_style_sheet_that_cannot_be_opened_is_empty()
{
    QFETCH(QString, path);
    QCOMPARE(QuillonInit::gGetStyleSheet(path), QString());
}

QTEST_GUILESS_MAIN(tst_QuillonInit)
#include "tst_QuillonInit.moc"
