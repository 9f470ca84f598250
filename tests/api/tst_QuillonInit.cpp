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
    QTest::newRow("a folder") << "/home/user/.config/corvina";
    QTest::newRow("another folder, which replaces it")
        << QString::fromUtf8("C:/Users/Jörg/Corvina");
    QTest::newRow("a trailing slash is not taken away") << "/tmp/";
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
    QTest::newRow("several lines")
        << QByteArray("A {\n\tcolor: red;\n}\n") << "A {\n\tcolor: red;\n}\n";
    QTest::newRow("carriage returns as line ends")
        << QByteArray("A {\r\tcolor: red;\r}\r") << "A {\r\tcolor: red;\r}\r";
    QTest::newRow("text in the system's own encoding")
        << accented << QString::fromLocal8Bit(accented);
    QTest::newRow("a byte-order mark belongs to the encoding, not to the text")
        << "\xef\xbb\xbf" + accented << QString::fromUtf8(accented);
    QTest::newRow("more than one buffer of the reader")
        << QByteArray(100000, 'x') << QString(100000, QChar('x'));
    QTest::newRow("an empty file") << QByteArray("") << QString();
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
    QTest::newRow("normal density") << ":/Quillon/Resources/Quillon.qss";
    QTest::newRow("pixel ratio 2") << ":/Quillon/Resources/Quillon_2x.qss";
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
    QTest::newRow("a missing file") << m_directory.filePath("missing.qss");
    QTest::newRow("a missing resource") << ":/Quillon/Resources/missing.qss";
    QTest::newRow("a directory") << m_directory.path();
    QTest::newRow("no path at all") << QString();
}

void tst_QuillonInit::a_style_sheet_that_cannot_be_opened_is_empty()
{
    QFETCH(QString, path);
    QCOMPARE(QuillonInit::gGetStyleSheet(path), QString());
}

QTEST_GUILESS_MAIN(tst_QuillonInit)
#include "tst_QuillonInit.moc"
