// SPDX-License-Identifier: MIT

#include "tests/tools/quillon-publish/SigningDesk.h"
#include "update/trust/SignedDocument.h"

#include <QRegularExpression>
#include <QTest>

using Changes = SigningDesk::Changes;

namespace
{
QString gLatin1(const char *text)
{
    return QString::fromLatin1(text);
}

/// What a renewal has to leave as it is.
QString gWithoutTerm(const QByteArray &document)
{
    // The last ones: release notes can contain the same letters.
    static const QRegularExpression term(
        QStringLiteral("<Serial>\\d+</Serial>\\s*<Expires>[^<]*</Expires>(?=\\s*<ForVersion>)"));
    return QString::fromUtf8(gWithoutSignature(document)).remove(term);
}

const char mainManifest[] = "manifest.xml";
const char patchManifest[] = "manifests/9.2.0.0.xml";
} // namespace

/// quillon-publish --renew: the same offers with a later end.
class tst_Renewal : public QObject
{
    Q_OBJECT

private slots:
    void init();

    void manifests_are_the_same_but_for_serial_end_and_signature();
    void packages_stay_untouched();
    void a_site_can_be_renewed_again_and_again();
    void a_site_that_has_expired_can_be_renewed();
    void notes_that_look_like_the_signed_element_stay();
    void a_release_can_follow_a_renewal();

    void a_release_that_ends_the_expiry_is_warned_about();
    void an_end_that_is_not_later_is_refused_data();
    void an_end_that_is_not_later_is_refused();
    void a_site_without_an_end_is_not_renewed();
    void what_somebody_else_has_changed_is_not_signed_data();
    void what_somebody_else_has_changed_is_not_signed();
    void an_older_publication_is_not_renewed();
    void a_site_that_is_not_there_is_refused();
    void a_signature_that_clients_would_refuse_is_not_published();
    void a_failure_of_the_program_leaves_the_site_as_it_was();

private:
    void RefuseRenewal(const QStringList &arguments, const QString &says) const;

    QScopedPointer<SigningDesk> m_desk;
};

/// Publishes 9.2.0.0, then 9.3.0.0 with a patch, for 30 days.
void tst_Renewal::init()
{
    m_desk.reset(new SigningDesk);
    const Changes expires{{gLatin1("expires"), gLatin1("30")}};
    QCOMPARE(
        ReleaseDesk::Run(m_desk->Release(gLatin1("9.2.0.0"), {gLatin1("9.1.0.0")}, expires)).code,
        0);
    QCOMPARE(
        ReleaseDesk::Run(m_desk->Release(gLatin1("9.3.0.0"), {gLatin1("9.2.0.0")}, expires)).code,
        0);
    QCOMPARE(m_desk->Manifests().size(), 4);
}

void tst_Renewal::RefuseRenewal(const QStringList &arguments, const QString &says) const
{
    const auto before = m_desk->Files();
    const ReleaseDesk::Outcome outcome = ReleaseDesk::Run(arguments);
    QCOMPARE(outcome.code, 1);
    QVERIFY2(outcome.err.contains(says), qPrintable(outcome.err));
    QCOMPARE(outcome.err.count(QLatin1Char('\n')), 1);
    QCOMPARE(m_desk->Files(), before);
}

void tst_Renewal::manifests_are_the_same_but_for_serial_end_and_signature()
{
    const QStringList names = m_desk->Manifests();
    QMap<QString, QByteArray> before;
    for (const QString &name : names) {
        before.insert(name, m_desk->Document(name));
    }
    const QDateTime oldEnd = *m_desk->Statement(gLatin1(mainManifest)).expires;

    const ReleaseDesk::Outcome outcome = ReleaseDesk::Run(m_desk->Renewal(gLatin1("60")));
    QVERIFY2(outcome.code == 0, qPrintable(outcome.err));
    QCOMPARE(outcome.err, QString());
    QCOMPARE(m_desk->Manifests(), names);
    QCOMPARE(m_desk->Document(gLatin1("serial")), QByteArray("3\n"));
    for (const QString &name : names) {
        QCOMPARE(gWithoutTerm(m_desk->Document(name)), gWithoutTerm(before.value(name)));
        const SignedStatement statement = m_desk->Statement(name);
        QCOMPARE(statement.serial, Q_UINT64_C(3));
        QVERIFY(oldEnd.daysTo(*statement.expires) >= 30);
        QVERIFY(!gWithoutTerm(m_desk->Document(name)).contains(gLatin1("Expires")));
    }
    QVERIFY(m_desk->Manifest(gLatin1(patchManifest))->HasIncreasePackage());
}

void tst_Renewal::packages_stay_untouched()
{
    const auto packages = [this] {
        QMap<QString, QByteArray> files = m_desk->Files();
        for (const QString &path : files.keys()) {
            if (!path.contains(gLatin1("/packages/"))) {
                files.remove(path);
            }
        }
        return files;
    };
    const QMap<QString, QByteArray> before = packages();
    QCOMPARE(before.size(), 4);
    QCOMPARE(ReleaseDesk::Run(m_desk->Renewal(gLatin1("60"))).code, 0);
    QCOMPARE(packages(), before);
}

void tst_Renewal::a_site_can_be_renewed_again_and_again()
{
    for (const int days : {40, 50, 60}) {
        QCOMPARE(ReleaseDesk::Run(m_desk->Renewal(QString::number(days))).code, 0);
    }
    QCOMPARE(m_desk->Statement(gLatin1(mainManifest)).serial, Q_UINT64_C(5));
}

void tst_Renewal::a_site_that_has_expired_can_be_renewed()
{
    static const QRegularExpression end(QStringLiteral("<Expires>[^<]*</Expires>"));
    for (const QString &name : m_desk->Manifests()) {
        QString document = QString::fromUtf8(gWithoutSignature(m_desk->Document(name)));
        document.replace(end, gLatin1("<Expires>2020-01-01T00:00:00Z</Expires>"));
        m_desk->Replace(name, m_desk->Signed(document.toUtf8(), gLatin1("plain")));
        QCOMPARE(m_desk->Statement(name).expires->date().year(), 2020);
    }
    const ReleaseDesk::Outcome outcome = ReleaseDesk::Run(m_desk->Renewal(gLatin1("1")));
    QVERIFY2(outcome.code == 0, qPrintable(outcome.err));
    for (const QString &name : m_desk->Manifests()) {
        QVERIFY(*m_desk->Statement(name).expires > QDateTime::currentDateTimeUtc());
    }
}

void tst_Renewal::notes_that_look_like_the_signed_element_stay()
{
    const QString notes = m_desk->Write(
        gLatin1("notes.html"), "<Signed><Serial>1</Serial><Expires>never</Expires></Signed>");
    const auto read = [this] {
        return m_desk->Manifest(gLatin1(mainManifest))->ReleaseNotes().value(0).notes;
    };
    const ReleaseDesk::Outcome outcome = ReleaseDesk::Run(m_desk->Release(
        gLatin1("9.3.0.0"), {}, {{gLatin1("notes"), notes}, {gLatin1("expires"), gLatin1("30")}}));
    QVERIFY2(outcome.code == 0, qPrintable(outcome.err));
    const QString before = read();
    QVERIFY(before.contains(gLatin1("<Expires>never</Expires>")));
    QCOMPARE(ReleaseDesk::Run(m_desk->Renewal(gLatin1("60"))).code, 0);
    QCOMPARE(read(), before);
    QCOMPARE(m_desk->Statement(gLatin1(mainManifest)).serial, Q_UINT64_C(4));
}

void tst_Renewal::a_release_can_follow_a_renewal()
{
    QCOMPARE(ReleaseDesk::Run(m_desk->Renewal(gLatin1("60"))).code, 0);
    const QStringList arguments =
        m_desk->Release(gLatin1("9.3.0.0"), {}, {{gLatin1("expires"), gLatin1("30")}});
    const ReleaseDesk::Outcome outcome = ReleaseDesk::Run(arguments);
    QCOMPARE(outcome.code, 0);
    QCOMPARE(outcome.err, QString());
    for (const QString &name : m_desk->Manifests()) {
        QCOMPARE(m_desk->Statement(name).serial, Q_UINT64_C(4));
    }
}

void tst_Renewal::a_release_that_ends_the_expiry_is_warned_about()
{
    const QStringList arguments = m_desk->Release(gLatin1("9.3.0.0"), {});
    const ReleaseDesk::Outcome outcome = ReleaseDesk::Run(arguments);
    QCOMPARE(outcome.code, 0);
    QCOMPARE(outcome.err,
             gLatin1("quillon-publish: warning: the manifests did expire, and will not any more; "
                     "give --expires to keep that\n"));
    const ReleaseDesk::Outcome again = ReleaseDesk::Run(arguments);
    QCOMPARE(again.code, 0);
    QCOMPARE(again.err, QString());
}

void tst_Renewal::an_end_that_is_not_later_is_refused_data()
{
    QTest::addColumn<QString>("days");
    QTest::newRow("earlier_than_all") << gLatin1("29");
    QTest::newRow("earlier_than_one") << gLatin1("35");
}

void tst_Renewal::an_end_that_is_not_later_is_refused()
{
    QFETCH(QString, days);
    static const QRegularExpression end(QStringLiteral("<Expires>[^<]*</Expires>"));
    QString document =
        QString::fromUtf8(gWithoutSignature(m_desk->Document(gLatin1(mainManifest))));
    const QDateTime later = QDateTime::currentDateTimeUtc().addDays(40);
    document.replace(
        end, gLatin1("<Expires>%1T00:00:00Z</Expires>").arg(later.date().toString(Qt::ISODate)));
    m_desk->Replace(gLatin1(mainManifest), m_desk->Signed(document.toUtf8(), gLatin1("plain")));
    RefuseRenewal(m_desk->Renewal(days), gLatin1("a renewal has to end later"));
}

void tst_Renewal::a_site_without_an_end_is_not_renewed()
{
    QCOMPARE(ReleaseDesk::Run(m_desk->Release(gLatin1("9.3.0.0"), {})).code, 0);
    RefuseRenewal(m_desk->Renewal(gLatin1("60")), gLatin1("does not expire"));
}

void tst_Renewal::what_somebody_else_has_changed_is_not_signed_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QByteArray>("content");
    QTest::addColumn<QString>("says");
    const QString main = gLatin1(mainManifest);
    const QString patch = gLatin1(patchManifest);
    init();
    const QByteArray document = m_desk->Document(patch);
    const QByteArray bare = gWithoutSignature(document);
    QByteArray altered = document;
    altered.replace("9.2.0.0-to", "9.1.0.0-to");

    QTest::newRow("an_altered_byte")
        << patch << altered << gLatin1("does not belong to the document");
    QTest::newRow("an_unsigned_manifest") << patch << bare << gLatin1("is not signed");
    QTest::newRow("an_unsigned_main_manifest")
        << main << gWithoutSignature(m_desk->Document(main)) << gLatin1("is not signed");
    QTest::newRow("a_manifest_of_another_key")
        << patch << m_desk->Signed(bare, gLatin1("other"))
        << gLatin1("was signed by another key; name its public key with --public-key too");
    QTest::newRow("a_manifest_for_another_version")
        << patch << m_desk->Document(main) << gLatin1("signed for clients of the version ''");
    QByteArray older = bare;
    older.replace("<Serial>2<", "<Serial>1<");
    QTest::newRow("a_manifest_of_an_older_publication")
        << patch << m_desk->Signed(older, gLatin1("plain")) << gLatin1("has 1;");
    QByteArray odd = bare;
    odd.replace("<Signed>", "<Signed >");
    QTest::newRow("a_manifest_of_another_writer")
        << patch << m_desk->Signed(odd, gLatin1("plain")) << gLatin1("not written by");
}

void tst_Renewal::what_somebody_else_has_changed_is_not_signed()
{
    QFETCH(QString, name);
    QFETCH(QByteArray, content);
    QFETCH(QString, says);
    QVERIFY(!content.isEmpty() && content != m_desk->Document(name));
    m_desk->Replace(name, content);
    RefuseRenewal(m_desk->Renewal(gLatin1("60")), says);
    RefuseRenewal(m_desk->Renewal(gLatin1("60")), name);
}

void tst_Renewal::an_older_publication_is_not_renewed()
{
    QMap<QString, QByteArray> older;
    for (const QString &name : m_desk->Manifests()) {
        older.insert(name, m_desk->Document(name));
    }
    QCOMPARE(ReleaseDesk::Run(m_desk->Renewal(gLatin1("60"))).code, 0);
    for (auto manifest = older.cbegin(); manifest != older.cend(); ++manifest) {
        m_desk->Replace(manifest.key(), manifest.value());
    }
    RefuseRenewal(m_desk->Renewal(gLatin1("60")),
                  gLatin1("the manifests have the serial 2, and the last publication had 3; "
                          "publish the release again"));
}

void tst_Renewal::a_site_that_is_not_there_is_refused()
{
    RefuseRenewal(
        m_desk->Renewal(gLatin1("60"), {{gLatin1("site"), m_desk->Path(gLatin1("gone"))}}),
        gLatin1("no manifest.xml"));
    QVERIFY(QFile::remove(m_desk->Site() + gLatin1("/manifest.xml")));
    RefuseRenewal(m_desk->Renewal(gLatin1("60")), gLatin1("no manifest.xml"));
}

void tst_Renewal::a_signature_that_clients_would_refuse_is_not_published()
{
    RefuseRenewal(
        m_desk->Renewal(gLatin1("60"),
                        {{gLatin1("sign-key"), SigningDesk::Key(gLatin1("other"))},
                         {gLatin1("public-key"), SigningDesk::PublicKey(gLatin1("plain"))}}),
        gLatin1("the secret key does not belong to the public key"));
}

void tst_Renewal::a_failure_of_the_program_leaves_the_site_as_it_was()
{
    RefuseRenewal(
        m_desk->Renewal(gLatin1("60"), {{gLatin1("minisign"), m_desk->Path(gLatin1("nothing"))}}),
        gLatin1("cannot start"));
    RefuseRenewal(m_desk->Renewal(gLatin1("60"), {{gLatin1("public-key"),
                                                   SigningDesk::PublicKey(gLatin1("other"))}}),
                  gLatin1("was signed by another key"));
}

QTEST_GUILESS_MAIN(tst_Renewal)
#include "tst_Renewal.moc"
