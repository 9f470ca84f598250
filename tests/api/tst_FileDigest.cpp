// SPDX-License-Identifier: MIT

#include "api/FileDigest.h"

#include "tests/support/Md5.h"
#include "tests/support/TestBytes.h"
#include "tests/support/TestFiles.h"

#include <QTemporaryDir>
#include <QTest>

class tst_FileDigest : public QObject
{
    Q_OBJECT

private slots:
    void the_digest_is_that_of_the_published_test_values_data();
    void the_digest_is_that_of_the_published_test_values();
    void the_whole_content_counts_around_the_chunk_size_data();
    void the_whole_content_counts_around_the_chunk_size();
    void a_changed_last_byte_changes_the_digest();
    void what_cannot_be_opened_has_no_digest_and_is_told_to_the_debug_log_data();
    void what_cannot_be_opened_has_no_digest_and_is_told_to_the_debug_log();

private:
    QString Write(const QByteArray &content);

    QTemporaryDir m_directory;
};

QString tst_FileDigest::Write(const QByteArray &content)
{
    return gPutFile(m_directory.filePath("file"), content);
}

void tst_FileDigest::the_digest_is_that_of_the_published_test_values_data()
{
    QTest::addColumn<QByteArray>("content");
    QTest::addColumn<QString>("digest");
    QTest::newRow("no_data") << QByteArray() << "d41d8cd98f00b204e9800998ecf8427e";
    QTest::newRow("abc") << QByteArray("abc") << "900150983cd24fb0d6963f7d28e17f72";
    QTest::newRow("message_digest")
        << QByteArray("message digest") << "f96b697d7cb7938d525a2f31aaf161d0";
}

void tst_FileDigest::the_digest_is_that_of_the_published_test_values()
{
    QFETCH(QByteArray, content);
    QTEST(FileMd5Hex(Write(content)), "digest");
}

void tst_FileDigest::the_whole_content_counts_around_the_chunk_size_data()
{
    QTest::addColumn<int>("size");
    for (const int size : {1, 4095, 4096, 4097, 8192, 3 * 4096 + 17, 1000003}) {
        QTest::addRow("%d_bytes", size) << size;
    }
}

void tst_FileDigest::the_whole_content_counts_around_the_chunk_size()
{
    QFETCH(int, size);
    const QByteArray content = gTestBytes(size);
    QCOMPARE(FileMd5Hex(Write(content)), gMd5(content));
}

void tst_FileDigest::a_changed_last_byte_changes_the_digest()
{
    QByteArray content = gTestBytes(4097);
    const QString digest = FileMd5Hex(Write(content));
    content[4096] = static_cast<char>(content.at(4096) + 1);
    QVERIFY(FileMd5Hex(Write(content)) != digest);
}

void tst_FileDigest::what_cannot_be_opened_has_no_digest_and_is_told_to_the_debug_log_data()
{
    QTest::addColumn<QString>("path");
    QTest::newRow("a_missing_file") << m_directory.filePath("missing");
    QTest::newRow("a_directory") << m_directory.path();
    QTest::newRow("no_path_at_all") << QString();
}

void tst_FileDigest::what_cannot_be_opened_has_no_digest_and_is_told_to_the_debug_log()
{
    QFETCH(QString, path);
    if (path.isEmpty()) {
        QTest::ignoreMessage(QtWarningMsg, "QFSFileEngine::open: No file name specified");
    }
    QTest::ignoreMessage(QtDebugMsg, "file open error.");
    QCOMPARE(FileMd5Hex(path), QString());
}

QTEST_GUILESS_MAIN(tst_FileDigest)
#include "tst_FileDigest.moc"
