// SPDX-License-Identifier: MIT

#include "tests/tools/quillon-publish/SigningDesk.h"
#include "update/trust/SignedDocument.h"

#include <QTest>

using Changes = SigningDesk::Changes;

namespace
{
QString gLatin1(const char *text)
{
    return QString::fromLatin1(text);
}
} // namespace

/// What quillon-publish refuses to sign, and what happens when the program that signs fails:
/// nothing is published.
class tst_SignFailure : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();

    void wrong_command_lines_are_usage_errors_data();
    void wrong_command_lines_are_usage_errors();
    void help_names_every_option();

    void a_failure_leaves_the_site_as_it_was_data();
    void a_failure_leaves_the_site_as_it_was();
    void the_limit_of_a_manifest_counts_with_its_signature();
    void a_wrong_password_is_told_in_one_line_and_not_repeated();
    void a_descriptor_without_a_password_is_refused_data();
    void a_descriptor_without_a_password_is_refused();

private:
    QStringList Release(const Changes &changes) const
    {
        // Without a patch: that of a few bytes would be warned about.
        return m_desk.Release(gLatin1("9.3.0.0"), {}, changes);
    }
    /// A program that calls minisign with @p command, in which "$@" are its arguments.
    QString Signing(const char *name, const QByteArray &command) const
    {
        return m_desk.Script(gLatin1(name), command + '\n');
    }

    SigningDesk m_desk;
};

void tst_SignFailure::initTestCase()
{
    const ReleaseDesk::Outcome outcome =
        ReleaseDesk::Run(m_desk.Release(gLatin1("9.2.0.0"), {gLatin1("9.1.0.0")}));
    QVERIFY2(outcome.code == 0, qPrintable(outcome.err));
}

void tst_SignFailure::wrong_command_lines_are_usage_errors_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<QString>("says");
    const auto release = [this](const char *row, const Changes &changes, const QStringList &more,
                                const char *says) {
        QTest::newRow(row) << Release(changes) + more << gLatin1(says);
    };
    const auto renewal = [this](const char *row, const Changes &changes, const QStringList &more,
                                const char *says) {
        QTest::newRow(row) << m_desk.Renewal(gLatin1("30"), changes) + more << gLatin1(says);
    };
    release("a_key_and_none", {}, {gLatin1("--no-sign")}, "--no-sign");
    release("an_empty_key", {{gLatin1("sign-key"), QString()}}, {gLatin1("--sign-key=")},
            "--sign-key names no file");
    release("two_keys", {}, {gLatin1("--sign-key"), gLatin1("b.key")}, "--sign-key is given twice");
    for (const char *days : {"0", "3651", "-1", "many", "1.5", "007"}) {
        release(days, {}, {gLatin1("--expires=") + gLatin1(days)}, "--expires has to be");
    }
    release("a_descriptor_that_is_no_number", {}, {gLatin1("--sign-password-fd=x")},
            "--sign-password-fd has to be");
    for (const char *option : {"public-key", "expires", "minisign", "sign-password-fd"}) {
        const QByteArray row = QByteArray(option) + "_without_a_key";
        release(row.constData(),
                {{gLatin1("sign-key"), QString()}, {gLatin1(option), gLatin1("5")}}, {},
                (QByteArray("--") + option + " needs --sign-key").constData());
    }
    for (const char *option : {"site", "sign-key", "expires"}) {
        const QByteArray row = QByteArray("renewal_without_") + option;
        renewal(row.constData(), {{gLatin1(option), QString()}}, {},
                (QByteArray("--") + option + " is missing").constData());
    }
    for (const char *option :
         {"base-url", "product-version", "installer", "previous", "notes", "bsdiff", "bspatch"}) {
        const QByteArray row = QByteArray("renewal_with_") + option;
        renewal(row.constData(), {{gLatin1(option), gLatin1("x")}}, {},
                (QByteArray("--") + option + " cannot stand with it").constData());
    }
    for (const char *option : {"--no-sign", "--auto-notify"}) {
        const QByteArray row = QByteArray("renewal_with_") + option;
        renewal(row.constData(), {}, {gLatin1(option)},
                (QByteArray(option) + " cannot stand with it").constData());
    }
}

void tst_SignFailure::wrong_command_lines_are_usage_errors()
{
    QFETCH(QStringList, arguments);
    QFETCH(QString, says);
    QCOMPARE(m_desk.RefusalFault(arguments, says, 2), QString());
}

void tst_SignFailure::help_names_every_option()
{
    const ReleaseDesk::Outcome outcome = ReleaseDesk::Run({gLatin1("--help")});
    QCOMPARE(outcome.code, 0);
    for (const char *option : {"--sign-key", "--public-key", "--expires", "--minisign",
                               "--sign-password-fd", "--renew", "--no-sign"}) {
        QVERIFY2(outcome.out.contains(gLatin1(option)), option);
    }
}

void tst_SignFailure::a_failure_leaves_the_site_as_it_was_data()
{
    QTest::addColumn<Changes>("changes");
    QTest::addColumn<QString>("says");
    const auto add = [](const char *row, const Changes &changes, const char *says) {
        QTest::newRow(row) << changes << gLatin1(says);
    };
    const QString secretKey = gLatin1("sign-key");
    const QString publicKey = gLatin1("public-key");
    const QString minisign = gLatin1("minisign");
    const QString notes = gLatin1("notes");

    const QString alone = m_desk.Path(gLatin1("alone.key"));
    QVERIFY(QFile::copy(SigningDesk::Key(gLatin1("plain")), alone));
    add("no_secret_key", {{secretKey, m_desk.Path(gLatin1("gone.key"))}},
        "cannot read the secret key");
    add("a_folder_as_the_secret_key", {{secretKey, m_desk.Path(QString())}},
        "cannot read the secret key");
    add("no_public_key_beside_the_secret_one", {{secretKey, alone}}, "--public-key");
    add("a_missing_public_key_can_be_made_anew", {{secretKey, alone}},
        qPrintable(gLatin1("minisign -R -s %1 -p ").arg(alone)));
    add("a_public_key_that_is_none", {{publicKey, gLatin1("RWQ")}}, "neither a public key");
    add("a_file_that_is_no_public_key", {{publicKey, m_desk.Path(gLatin1("notes.md"))}},
        "neither a public key");
    add("the_public_key_of_another_pair", {{publicKey, SigningDesk::PublicKey(gLatin1("other"))}},
        "the secret key does not belong to the public key");

    add("no_program", {{minisign, m_desk.Path(gLatin1("nothing"))}}, "cannot start");
    add("a_program_that_writes_nothing", {{minisign, Signing("idle", "exit 0")}},
        "left no signature");
    add("a_program_that_writes_no_signature",
        {{minisign,
          Signing("damaging", "for file; do :; done; f=${file%/*}; "
                              "for x in \"$f\"/*.xml; do echo no > \"$x.minisig\"; done")}},
        "the signature is damaged");
    add("a_program_that_signs_without_a_digest",
        {{minisign, Signing("legacy", "minisign -l \"$@\"")}}, "legacy algorithm");
    add("a_program_that_signs_something_else",
        {{minisign, Signing("other", "minisign \"$@\"; for file; do :; done; "
                                     "cp \"${file%/*}/0.xml.minisig\" \"$file.minisig\"")}},
        "does not belong to the document");
    add("a_trusted_comment_with_two_hyphens",
        {{minisign, Signing("hyphens", "minisign \"$@\" && shift 6 && "
                                       "minisign -S -H -s '" +
                                           SigningDesk::Key(gLatin1("plain")).toUtf8() +
                                           "' -t 'a--b' \"$@\"")}},
        "the signature is damaged");

    add("notes_with_a_signature",
        {{notes, m_desk.Write(gLatin1("s.html"), "<li>One</li><!--minisign x-->")}},
        "remove it from the release notes");
}

void tst_SignFailure::a_failure_leaves_the_site_as_it_was()
{
    QFETCH(Changes, changes);
    QFETCH(QString, says);
    const QStringList arguments = Release(changes);
    QCOMPARE(m_desk.RefusalFault(arguments, says), QString());
}

void tst_SignFailure::the_limit_of_a_manifest_counts_with_its_signature()
{
    constexpr int limit = 15 * 1024;
    const SigningDesk desk;
    const auto publish = [&desk](int length) {
        const QString notes = desk.Write(gLatin1("l.html"), QByteArray(length, 'x'));
        return ReleaseDesk::Run(desk.Release(gLatin1("9.3.0.0"), {}, {{gLatin1("notes"), notes}}));
    };
    QCOMPARE(publish(1).code, 0);
    const QByteArray document = desk.Document(gLatin1("manifest.xml"));
    const int rest = document.size() - 1;
    QCOMPARE(publish(limit - rest).code, 0);
    QCOMPARE(desk.Document(gLatin1("manifest.xml")).size(), limit);

    for (const int length : {limit - rest + 1, limit - gWithoutSignature(document).size() + 1}) {
        const ReleaseDesk::Outcome outcome = publish(length);
        QCOMPARE(outcome.code, 1);
        // It was not too long before.
        QVERIFY2(outcome.out.contains(gLatin1("Signing")), qPrintable(outcome.out));
        QVERIFY2(outcome.err.contains(gLatin1("shorten the release notes")),
                 qPrintable(outcome.err));
    }
}

void tst_SignFailure::a_wrong_password_is_told_in_one_line_and_not_repeated()
{
    m_desk.Write(gLatin1("wrong"), "battery staple\n");
    const QStringList arguments =
        Release({{gLatin1("sign-key"), SigningDesk::Key(gLatin1("locked"))},
                 {gLatin1("sign-password-fd"), gLatin1("3")}});
    const auto before = m_desk.Files();
    const ReleaseDesk::Outcome outcome = m_desk.RunWithDescriptor(arguments, gLatin1("wrong"));
    QCOMPARE(outcome.code, 1);
    const QString line = gLatin1("quillon-publish: minisign failed, exit code %1: the password may "
                                 "be wrong, or the key cannot be read\n");
    QCOMPARE(outcome.err, line.arg(2));
    QCOMPARE(m_desk.Files(), before);

    const QString repeating =
        Signing("repeating", R"(read -r line; echo "no: $line" >&2; echo "$line"; exit 3)");
    const ReleaseDesk::Outcome told = m_desk.RunWithDescriptor(
        arguments + QStringList{gLatin1("--minisign"), repeating}, gLatin1("wrong"));
    QCOMPARE(told.code, 1);
    QCOMPARE(told.err, line.arg(3));
    QVERIFY(!told.out.contains(gLatin1("battery")));
}

void tst_SignFailure::a_descriptor_without_a_password_is_refused_data()
{
    QTest::addColumn<QString>("descriptor");
    QTest::addColumn<QByteArray>("content");
    QTest::newRow("not_open") << gLatin1("77") << QByteArray("one\n");
    QTest::newRow("at_its_end") << gLatin1("3") << QByteArray();
    QTest::newRow("an_empty_first_line") << gLatin1("3") << QByteArray("\nsecond\n");
}

void tst_SignFailure::a_descriptor_without_a_password_is_refused()
{
    QFETCH(QString, descriptor);
    QFETCH(QByteArray, content);
    m_desk.Write(gLatin1("input"), content);
    const QStringList arguments = Release({{gLatin1("sign-password-fd"), descriptor}});
    const auto before = m_desk.Files();
    const ReleaseDesk::Outcome outcome = m_desk.RunWithDescriptor(arguments, gLatin1("input"));
    QCOMPARE(outcome.code, 1);
    QVERIFY2(outcome.err.contains(gLatin1("descriptor ") + descriptor), qPrintable(outcome.err));
    QCOMPARE(outcome.err.count(QLatin1Char('\n')), 1);
    QCOMPARE(m_desk.Files(), before);
}

QTEST_GUILESS_MAIN(tst_SignFailure)
#include "tst_SignFailure.moc"
