// SPDX-License-Identifier: MIT

#include "update/trust/SignedStatement.h"

#include "tests/support/SignedManifest.h"
#include "update/trust/SignedPackage.h"

#include <QtTest>

class tst_SignedStatement : public QObject
{
    Q_OBJECT

private slots:
    void every_value_is_read();
    void a_manifest_without_an_offer_names_no_package();
    void an_expiry_may_be_missing();
    void elements_of_later_versions_are_skipped();
    void what_is_not_exactly_right_is_refused_data();
    void what_is_not_exactly_right_is_refused();
    void the_package_that_is_fetched_is_the_one_named();
};

static SignedManifest gOffer()
{
    SignedManifest manifest;
    manifest.exeUrl = "https://u.example/setup.exe";
    manifest.full = "the full package";
    manifest.patchUrl = "https://u.example/setup.patch";
    manifest.patch = "the patch";
    manifest.result = "the result";
    manifest.kept = "the kept one";
    return manifest;
}

static QString gHash(const QByteArray &bytes)
{
    return QString::fromLatin1(QCryptographicHash::hash(bytes, QCryptographicHash::Sha256).toHex());
}

void tst_SignedStatement::every_value_is_read()
{
    SignedManifest manifest = gOffer();
    manifest.serial = "18446744073709551614";
    manifest.expires = "2027-01-31T12:30:05Z";
    manifest.forVersion = "9.1.0.0";
    QString refusal;
    const auto statement = gReadSignedStatement(manifest.Document(), &refusal);
    QVERIFY2(statement, qPrintable(refusal));
    QCOMPARE(statement->serial, Q_UINT64_C(18446744073709551614));
    QCOMPARE(*statement->expires, QDateTime({2027, 1, 31}, {12, 30, 5}, Qt::UTC));
    QCOMPARE(statement->forVersion, QString("9.1.0.0"));
    QCOMPARE(statement->full->sha256, gHash("the full package"));
    QCOMPARE(statement->full->size, qint64(16));
    QCOMPARE(statement->patch->sha256, gHash("the patch"));
    QCOMPARE(statement->patch->size, qint64(9));
    QCOMPARE(statement->resultSha256, gHash("the result"));
}

void tst_SignedStatement::a_manifest_without_an_offer_names_no_package()
{
    QString refusal;
    const auto statement = gReadSignedStatement(SignedManifest().Document(), &refusal);
    QVERIFY2(statement, qPrintable(refusal));
    QVERIFY(!statement->full && !statement->patch && !statement->expires);
    QCOMPARE(statement->forVersion + statement->resultSha256, QString());
}

void tst_SignedStatement::an_expiry_may_be_missing()
{
    QString refusal;
    const auto statement = gReadSignedStatement(
        SignedManifest().Document().replace("<Expires></Expires>", ""), &refusal);
    QVERIFY2(statement, qPrintable(refusal));
    QVERIFY(!statement->expires);
}

void tst_SignedStatement::elements_of_later_versions_are_skipped()
{
    SignedManifest manifest = gOffer();
    manifest.moreSigned = "<Channel>beta<i/></Channel>";
    manifest.more = "<!-- a comment --><Other a=\"b\">x</Other>";
    QString refusal;
    QVERIFY2(gReadSignedStatement(manifest.Document(), &refusal), qPrintable(refusal));
}

void tst_SignedStatement::what_is_not_exactly_right_is_refused_data()
{
    QTest::addColumn<QByteArray>("document");
    QTest::addColumn<QString>("rule");

    const QByteArray good = gOffer().Document();
    const auto row = [](const char *name, const QByteArray &document, const QString &rule) {
        QTest::newRow(name) << document << rule;
    };
    const auto value = [&row](const char *name, const char *element, const QByteArray &text,
                              const QString &named) {
        QByteArray document = gOffer().Document();
        const QByteArray opening = '<' + QByteArray(element) + '>';
        const int begin = document.indexOf(opening) + opening.size();
        document.replace(begin, document.indexOf("</", begin) - begin, text);
        row(name, document, "the value of " + named + " in Signed is none");
    };
    const QByteArray hash(64, 'a');

    value("a_serial_of_nothing", "Serial", "", "Serial");
    value("a_serial_with_a_plus", "Serial", "+5", "Serial");
    value("a_serial_below_0", "Serial", "-5", "Serial");
    value("a_serial_with_a_blank", "Serial", " 5", "Serial");
    value("a_serial_with_a_line_feed", "Serial", "5\n", "Serial");
    value("a_serial_with_a_zero_in_front", "Serial", "05", "Serial");
    value("a_serial_in_hexadecimal", "Serial", "0x5", "Serial");
    value("a_serial_of_other_digits", "Serial", "\xd9\xa5", "Serial");
    value("a_serial_with_a_fraction", "Serial", "5.0", "Serial");
    value("a_serial_at_its_maximum", "Serial", "18446744073709551615", "Serial");
    value("a_serial_beyond_its_maximum", "Serial", "18446744073709551616", "Serial");
    value("an_expiry_without_a_zone", "Expires", "2027-01-31T12:30:05", "Expires");
    value("an_expiry_of_another_zone", "Expires", "2027-01-31T12:30:05+01:00", "Expires");
    value("an_expiry_without_a_time", "Expires", "2027-01-31", "Expires");
    value("a_day_that_no_month_has", "Expires", "2027-02-30T00:00:00Z", "Expires");
    value("an_expiry_with_a_blank", "Expires", "2027-01-31T12:30:05Z ", "Expires");
    value("an_expiry_in_words", "Expires", "never", "Expires");
    value("a_digest_in_capitals", "FullSha256", hash.toUpper(), "FullSha256 or FullSize");
    value("a_digest_that_is_too_short", "FullSha256", hash.chopped(1), "FullSha256 or FullSize");
    value("no_digest_of_the_package", "FullSha256", "", "FullSha256 or FullSize");
    value("no_size_of_the_package", "FullSize", "", "FullSha256 or FullSize");
    value("a_size_of_0", "FullSize", "0", "FullSha256 or FullSize");
    value("a_size_beyond_63_bits", "FullSize", "9223372036854775808", "FullSha256 or FullSize");
    value("no_digest_of_the_patch", "PatchSha256", "", "PatchSha256 or PatchSize");
    value("a_size_with_a_unit", "PatchSize", "9kB", "PatchSha256 or PatchSize");
    value("no_digest_of_the_result", "ResultSha256", "", "ResultSha256");
    value("a_result_that_is_no_digest", "ResultSha256", "abc", "ResultSha256");

    for (const char *name : {"Serial", "ForVersion", "FullSha256", "FullSize", "PatchSha256",
                             "PatchSize", "ResultSha256"}) {
        const QByteArray element(name);
        row(qPrintable(QString("without_") + name),
            QByteArray(good)
                .replace('<' + element + '>', "<X>")
                .replace("</" + element + '>', "</X>"),
            QString("the element %1 is missing in Signed").arg(name));
        row(qPrintable(QString("a_second_") + name),
            QByteArray(good).replace("</Signed>", '<' + element + "/></Signed>"),
            QString("the element %1 stands twice").arg(name));
        row(qPrintable(QString(name) + "_outside"),
            QByteArray(good).replace("</Update>", '<' + element + ">1</" + element + "></Update>"),
            QString("the element %1 stands outside of Signed").arg(name));
    }
    row("a_value_in_another_element_of_the_statement",
        QByteArray(good).replace("<Serial>5</Serial>", "<X><Serial>5</Serial></X>"),
        "the element Serial stands outside of Signed");
    row("two_statements", QByteArray(good).replace("</Update>", "<Signed/></Update>"),
        "the element Signed stands twice, or not below the root");
    row("a_statement_further_down",
        QByteArray(good).replace("<Signed>", "<X><Signed>").replace("</Signed>", "</Signed></X>"),
        "the element Signed stands twice, or not below the root");
    row("a_statement_as_the_root", "<Signed><Serial>1</Serial></Signed>",
        "the element Signed stands twice, or not below the root");
    row("no_statement", "<Update><ExeUrl_x64/></Update>", "the manifest has no element Signed");
    row("a_document_type", "<!DOCTYPE Update>" + good, "the manifest has a document type");
}

void tst_SignedStatement::what_is_not_exactly_right_is_refused()
{
    QFETCH(QByteArray, document);
    QFETCH(QString, rule);
    QString refusal;
    QVERIFY(!gReadSignedStatement(document, &refusal));
    QCOMPARE(refusal, rule);
}

void tst_SignedStatement::the_package_that_is_fetched_is_the_one_named()
{
    QString refusal;
    const auto statement = gReadSignedStatement(gOffer().Document(), &refusal);
    QCOMPARE(gSignedPackage(statement, false)->file.sha256, gHash("the full package"));
    QCOMPARE(gSignedPackage(statement, false)->installerSha256, gHash("the full package"));
    QCOMPARE(gSignedPackage(statement, true)->file.sha256, gHash("the patch"));
    QCOMPARE(gSignedPackage(statement, true)->installerSha256, gHash("the result"));
    QVERIFY(!gSignedPackage(std::nullopt, false));
    // No file has a size of 0 or an empty digest: nothing can be taken for it.
    QCOMPARE(gSignedPackage(SignedStatement(), false)->file.size, qint64(0));
}

QTEST_GUILESS_MAIN(tst_SignedStatement)
#include "tst_SignedStatement.moc"
