// SPDX-License-Identifier: MIT

#include "update/trust/SignedDocument.h"

#include "tests/support/MinisignKeyPair.h"

#include <QtTest>

#include <functional>

class tst_SignedDocument : public QObject
{
    Q_OBJECT

private slots:
    void the_signed_bytes_are_those_before_the_comment();
    void the_last_line_feed_may_be_missing();
    void any_of_several_keys_may_have_signed();
    void two_keys_may_have_one_number();
    void what_is_altered_is_refused_with_the_rule_data();
    void what_is_altered_is_refused_with_the_rule();
    void no_byte_of_a_signed_document_can_be_changed();
    void no_signed_document_can_be_cut_or_grow();
    void without_keys_everything_is_refused();
    void the_signature_file_of_the_program_becomes_the_comment();
    void a_key_is_read_data();
    void a_key_is_read();
};

static const QByteArray manifest = "<?xml version=\"1.0\"?>\n<Update><ExeUrl_x64/></Update>\n";

static QList<MinisignKey> gKeysOf(const QList<MinisignKeyPair> &pairs)
{
    QStringList texts;
    for (const MinisignKeyPair &pair : pairs) {
        texts += pair.PublicKey();
    }
    return gReadMinisignKeys(texts);
}

static QString gRefusal(const QByteArray &document, const QList<MinisignKeyPair> &pairs)
{
    QString refusal;
    return gVerifyDocument(document, gKeysOf(pairs), &refusal) ? QString() : refusal;
}

void tst_SignedDocument::the_signed_bytes_are_those_before_the_comment()
{
    const MinisignKeyPair pair('a');
    QString refusal;
    const auto bytes = gVerifyDocument(pair.Sign(manifest), gKeysOf({pair}), &refusal);
    QVERIFY2(bytes, qPrintable(refusal));
    QCOMPARE(*bytes, manifest);
}

void tst_SignedDocument::the_last_line_feed_may_be_missing()
{
    const MinisignKeyPair pair('a');
    QCOMPARE(gRefusal(pair.Sign(manifest).chopped(1), {pair}), QString());
}

void tst_SignedDocument::any_of_several_keys_may_have_signed()
{
    const MinisignKeyPair retired('a');
    const MinisignKeyPair current('b');
    for (const MinisignKeyPair &signer : {retired, current}) {
        QCOMPARE(gRefusal(signer.Sign(manifest), {retired, current}), QString());
    }
}

void tst_SignedDocument::two_keys_may_have_one_number()
{
    const MinisignKeyPair pair('a');
    MinisignKey other = *gReadMinisignKey(MinisignKeyPair('b').PublicKey());
    const MinisignKey right = *gReadMinisignKey(pair.PublicKey());
    other.id = right.id;
    QString refusal;
    QVERIFY(gVerifyDocument(pair.Sign(manifest), {other, right}, &refusal));
    QVERIFY(gVerifyDocument(pair.Sign(manifest), {right, other}, &refusal));
}

void tst_SignedDocument::what_is_altered_is_refused_with_the_rule_data()
{
    QTest::addColumn<QByteArray>("document");
    QTest::addColumn<QString>("rule");

    const MinisignKeyPair pair('a');
    const MinisignKeyPair other('b');
    const QByteArray good = pair.Sign(manifest);
    const QByteArray signature = good.mid(manifest.size());
    const QString none = "the document is not signed";
    const QString cut = "the signature is cut off";
    const QString damaged = "the signature is damaged";
    const QString foreign = "the signature does not belong to the document";
    const QString notLast = "the signature is not the last thing in the document";
    const QString unknown = "the key of the signature is not trusted";
    const QString comment = "the trusted comment does not belong to the signature";
    const auto row = [](const char *name, const QByteArray &document, const QString &rule) {
        QTest::newRow(name) << document << rule;
    };
    const auto spoilt = [&pair](const std::function<void(MinisignKeyPair::Spoil &)> &change) {
        MinisignKeyPair::Spoil spoil;
        change(spoil);
        return pair.Sign(manifest, spoil);
    };

    row("an_empty_answer", "", none);
    row("no_signature", manifest, none);
    row("an_ordinary_comment", manifest + "<!-- minisign -->\n", none);
    row("two_signatures", good + signature, "the document has more than one signature");
    row("a_signature_of_a_signed_document", pair.Sign(good),
        "the document has more than one signature");
    row("an_element_behind_it", good + "<Update/>", notLast);
    row("two_line_feeds_behind_it", good + "\n", notLast);
    row("cut_off", good.chopped(6), cut);
    row("no_line_at_all", manifest + "<!--minisign\n-->\n", damaged);
    row("an_empty_line", manifest + "<!--minisign\n\n-->\n", damaged);
    row("no_line_feed_behind_the_word", manifest + "<!--minisign" + signature.mid(13), damaged);
    row("a_line_more", QByteArray(good).replace("\n-->", "\nx\n-->"), damaged);
    row("lines_of_windows", manifest + QByteArray(signature).replace("\n", "\r\n"), notLast);
    row("no_untrusted_comment", QByteArray(good).replace("untrusted comment", "a comment"),
        damaged);
    row("markup_in_the_untrusted_comment", spoilt([](MinisignKeyPair::Spoil &spoil) {
            spoil.untrustedComment = "untrusted comment: --><ExeUrl_x64>x</ExeUrl_x64><!-";
        }),
        damaged);
    row("a_blank_in_the_signature", QByteArray(good).replace("\nRU", "\n RU"), damaged);
    row("a_signature_that_is_too_short", QByteArray(good).replace("\nRU", "\n"), damaged);
    row("another_body", QByteArray(good).replace("Update>", "update>"), foreign);
    row("an_empty_body", signature, foreign);
    row("the_signature_of_another_document", manifest + pair.Sign("x").mid(1), foreign);
    row("the_legacy_algorithm",
        spoilt([](MinisignKeyPair::Spoil &spoil) { spoil.algorithm = "Ed"; }),
        "the signature is of the legacy algorithm");
    row("another_algorithm", spoilt([](MinisignKeyPair::Spoil &spoil) { spoil.algorithm = "EX"; }),
        "the signature is of an unknown algorithm");
    row("another_trusted_comment",
        spoilt([](MinisignKeyPair::Spoil &spoil) { spoil.shownComment = "timestamp:1"; }), comment);
    row("another_key_number",
        spoilt([](MinisignKeyPair::Spoil &spoil) { spoil.shownId = QByteArray(8, 'x'); }), unknown);
    row("an_unknown_key", other.Sign(manifest), unknown);
    row(
        "the_number_of_a_known_key",
        [&other] {
            MinisignKeyPair::Spoil spoil;
            spoil.shownId = QByteArray(8, 'a');
            return other.Sign(manifest, spoil);
        }(),
        foreign);
}

void tst_SignedDocument::what_is_altered_is_refused_with_the_rule()
{
    QFETCH(QByteArray, document);
    QFETCH(QString, rule);
    QCOMPARE(gRefusal(document, {MinisignKeyPair('a')}), rule);
}

void tst_SignedDocument::no_byte_of_a_signed_document_can_be_changed()
{
    const MinisignKeyPair pair('a');
    const QList<MinisignKey> keys = gKeysOf({pair});
    const QByteArray good = pair.Sign(manifest);
    const int untrusted = good.indexOf("untrusted comment: ") + 19;
    const int untrustedEnd = good.indexOf('\n', untrusted);
    for (int at = 0; at < good.size(); ++at) {
        QByteArray document = good;
        document[at] = static_cast<char>(document.at(at) ^ 1);
        QString refusal;
        // The untrusted comment is what its name says. The last line feed is no part of anything.
        const bool isFree = (at >= untrusted && at < untrustedEnd);
        QVERIFY2(isFree == gVerifyDocument(document, keys, &refusal).has_value(),
                 qPrintable(QString::number(at)));
    }
}

void tst_SignedDocument::no_signed_document_can_be_cut_or_grow()
{
    const MinisignKeyPair pair('a');
    const QList<MinisignKey> keys = gKeysOf({pair});
    const QByteArray good = pair.Sign(manifest);
    QString refusal;
    for (int size = 0; size < good.size() - 1; ++size) {
        QVERIFY2(!gVerifyDocument(good.left(size), keys, &refusal),
                 qPrintable(QString::number(size)));
    }
    for (int at = 0; at <= good.size(); ++at) {
        QByteArray document = good;
        document.insert(at, 'x');
        const int untrusted = good.indexOf("untrusted comment: ") + 19;
        const bool isFree = at >= untrusted && at <= good.indexOf('\n', untrusted);
        QVERIFY2(isFree == gVerifyDocument(document, keys, &refusal).has_value(),
                 qPrintable(QString::number(at)));
    }
}

void tst_SignedDocument::without_keys_everything_is_refused()
{
    QCOMPARE(gRefusal(MinisignKeyPair('a').Sign(manifest), {}),
             QString("the key of the signature is not trusted"));
}

void tst_SignedDocument::the_signature_file_of_the_program_becomes_the_comment()
{
    const MinisignKeyPair pair('a');
    const QByteArray document = gWithSignature(manifest, pair.SignatureFile(manifest));
    QCOMPARE(document, pair.Sign(manifest));
    QCOMPARE(gWithoutSignature(document), manifest);
    QCOMPARE(gWithoutSignature(manifest), manifest);
}

void tst_SignedDocument::a_key_is_read_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<bool>("isKey");
    const QString key = MinisignKeyPair('a').PublicKey();
    QTest::newRow("a_key") << key << true;
    QTest::newRow("nothing") << QString() << false;
    QTest::newRow("a_blank_behind_it") << key + ' ' << false;
    QTest::newRow("a_line_feed_behind_it") << key + '\n' << false;
    QTest::newRow("a_character_less") << key.chopped(1) << false;
    QTest::newRow("four_characters_more") << key + "AAAA" << false;
    QTest::newRow("another_algorithm") << 'S' + key.mid(1) << false;
    QTest::newRow("no_base64") << QString(key).replace(10, 1, '!') << false;
    QTest::newRow("beyond_latin") << QString(key).replace(10, 1, QChar(0x0416)) << false;
    QTest::newRow("the_file_with_its_comment")
        << "untrusted comment: minisign public key\n" + key << false;
}

void tst_SignedDocument::a_key_is_read()
{
    QFETCH(QString, text);
    QFETCH(bool, isKey);
    QCOMPARE(gReadMinisignKey(text).has_value(), isKey);
    QCOMPARE(gReadMinisignKeys({text, MinisignKeyPair('b').PublicKey()}).size(), isKey ? 2 : 1);
}

QTEST_GUILESS_MAIN(tst_SignedDocument)
#include "tst_SignedDocument.moc"
