// SPDX-License-Identifier: MIT

#include "update/trust/Sha256.h"

#include "tests/support/TestBytes.h"
#include "tests/support/TestFiles.h"

#include <QCryptographicHash>
#include <QTemporaryDir>
#include <QtTest>

namespace
{
QString gExpected(const QByteArray &bytes)
{
    return QCryptographicHash::hash(bytes, QCryptographicHash::Sha256).toHex();
}
} // namespace

/// The digest of bytes, by pieces and by files.
class tst_Sha256 : public QObject
{
    Q_OBJECT

private slots:
    void known_messages_have_their_known_digests_data();
    void known_messages_have_their_known_digests();
    void pieces_give_the_digest_of_the_whole_data();
    void pieces_give_the_digest_of_the_whole();
    void a_file_has_the_digest_of_its_bytes_data();
    void a_file_has_the_digest_of_its_bytes();
    void a_missing_file_has_none();
    void a_folder_has_none();
    void a_file_that_cannot_be_read_has_none();
    void a_text_is_a_digest_data();
    void a_text_is_a_digest();
};

void tst_Sha256::known_messages_have_their_known_digests_data()
{
    // The examples of FIPS 180.
    QTest::addColumn<QByteArray>("message");
    QTest::addColumn<QString>("digest");
    QTest::newRow("empty") << QByteArray()
                           << "e3b0c44298fc1c149afbf4c8996fb92427ae41e4649b934ca495991b7852b855";
    QTest::newRow("one_block")
        << QByteArray("abc") << "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad";
    QTest::newRow("two_blocks")
        << QByteArray("abcdbcdecdefdefgefghfghighijhijkijkljklmklmnlmnomnopnopq")
        << "248d6a61d20638b8e5c026930c3e6039a33ce45964ff2167f6ecedd419db06c1";
    QTest::newRow("one_million_a")
        << QByteArray(1000000, 'a')
        << "cdc76e5c9914fb9281a1c7e284d73e67f1809a48a497200e046d39ccc7112cd0";
}

void tst_Sha256::known_messages_have_their_known_digests()
{
    QFETCH(QByteArray, message);
    Sha256 digest;
    digest.Add(message.constData(), message.size());
    QTEST(digest.Hex(), "digest");
}

void tst_Sha256::pieces_give_the_digest_of_the_whole_data()
{
    QTest::addColumn<int>("piece");
    for (const int piece : {1, 3, 55, 63, 64, 65, 127, 1000, 4099}) {
        QTest::addRow("pieces_of_%d", piece) << piece;
    }
}

void tst_Sha256::pieces_give_the_digest_of_the_whole()
{
    QFETCH(int, piece);
    const QByteArray bytes = gTestBytes(10007);
    Sha256 digest;
    for (int begin = 0; begin < bytes.size(); begin += piece) {
        digest.Add(bytes.constData() + begin, std::min(piece, bytes.size() - begin));
        digest.Add(bytes.constData(), 0);
    }
    QCOMPARE(digest.Hex(), gExpected(bytes));
}

void tst_Sha256::a_file_has_the_digest_of_its_bytes_data()
{
    QTest::addColumn<int>("size");
    for (const int size : {0, 1, 262143, 262144, 262145, 1000003}) {
        QTest::addRow("%d_bytes", size) << size;
    }
}

void tst_Sha256::a_file_has_the_digest_of_its_bytes()
{
    QFETCH(int, size);
    const QTemporaryDir folder;
    const QByteArray bytes = gTestBytes(size);
    QVERIFY(gWriteFile(folder.filePath("file"), bytes));
    QCOMPARE(gFileSha256(folder.filePath("file")), gExpected(bytes));
}

void tst_Sha256::a_missing_file_has_none()
{
    const QTemporaryDir folder;
    QCOMPARE(gFileSha256(folder.filePath("missing")), QString());
}

void tst_Sha256::a_folder_has_none()
{
    const QTemporaryDir folder;
    QCOMPARE(gFileSha256(folder.path()), QString());
}

void tst_Sha256::a_file_that_cannot_be_read_has_none()
{
    // Linux opens it, and reads nothing at its beginning. Other systems have no such file.
    QCOMPARE(gFileSha256("/proc/self/mem"), QString());
}

void tst_Sha256::a_text_is_a_digest_data()
{
    const QString digits = "0123456789abcdef0123456789abcdef0123456789abcdef0123456789abcdef";
    QTest::addColumn<QString>("text");
    QTest::addColumn<bool>("isDigest");
    QTest::newRow("all_digits") << digits << true;
    QTest::newRow("of_nothing") << gExpected({}) << true;
    QTest::newRow("upper_case") << digits.toUpper() << false;
    QTest::newRow("one_upper_case") << digits.chopped(1) + "F" << false;
    QTest::newRow("one_digit_less") << digits.chopped(1) << false;
    QTest::newRow("one_digit_more") << digits + "0" << false;
    QTest::newRow("no_hexadecimal_digit") << digits.chopped(1) + "g" << false;
    QTest::newRow("a_line_end_behind") << digits + "\n" << false;
    QTest::newRow("a_blank_before") << " " + digits << false;
    QTest::newRow("a_blank_for_a_digit") << digits.chopped(1) + " " << false;
    QTest::newRow("two_lines") << digits + "\n" + digits << false;
    QTest::newRow("wide_digits") << QString(64, QChar(0xff11)) << false;
    QTest::newRow("empty") << "" << false;
}

void tst_Sha256::a_text_is_a_digest()
{
    QFETCH(QString, text);
    QTEST(gIsSha256(text), "isDigest");
}

QTEST_GUILESS_MAIN(tst_Sha256)
#include "tst_Sha256.moc"
