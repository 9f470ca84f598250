// SPDX-License-Identifier: MIT

#include "tests/tools/quillon-publish/SigningDesk.h"
#include "update/trust/SignedDocument.h"

#include <QRegularExpression>
#include <QTest>

namespace
{
QString gLatin1(const char *text)
{
    return QString::fromLatin1(text);
}

const char mainManifest[] = "manifest.xml";
const char patchManifest[] = "manifests/9.2.0.0.xml";
} // namespace

/// What quillon-publish --renew does not sign: nothing is published then.
class tst_RenewalRefusal : public QObject
{
    Q_OBJECT

private slots:
    void init();

    void an_end_that_is_not_later_is_refused_data();
    void an_end_that_is_not_later_is_refused();
    void a_site_without_an_end_is_not_renewed();
    void what_somebody_else_has_changed_is_not_signed_data();
    void what_somebody_else_has_changed_is_not_signed();
    void an_older_publication_is_not_renewed();
    void an_older_publication_is_not_renewed_without_the_file_of_the_serial();
    void a_site_that_is_not_there_is_refused();
    void a_signature_that_clients_would_refuse_is_not_published();
    void a_failure_of_the_program_leaves_the_site_as_it_was();

private:
    /// Renews the site, and puts the manifests from before back.
    void PutOlderPublicationBack() const;

    QScopedPointer<SigningDesk> m_desk;
};

void tst_RenewalRefusal::init()
{
    m_desk.reset(new SigningDesk);
    QVERIFY(m_desk->PublishTwice({{gLatin1("expires"), gLatin1("30")}}));
    QCOMPARE(m_desk->Manifests().size(), 4);
}

void tst_RenewalRefusal::PutOlderPublicationBack() const
{
    QMap<QString, QByteArray> older;
    for (const QString &name : m_desk->Manifests()) {
        older.insert(name, m_desk->Document(name));
    }
    QVERIFY(ReleaseDesk::Publish(m_desk->Renewal(gLatin1("60"))));
    for (auto manifest = older.cbegin(); manifest != older.cend(); ++manifest) {
        m_desk->Replace(manifest.key(), manifest.value());
    }
}

void tst_RenewalRefusal::an_end_that_is_not_later_is_refused_data()
{
    QTest::addColumn<QString>("days");
    QTest::newRow("earlier_than_all") << gLatin1("29");
    QTest::newRow("earlier_than_one") << gLatin1("35");
}

void tst_RenewalRefusal::an_end_that_is_not_later_is_refused()
{
    QFETCH(QString, days);
    static const QRegularExpression end(QStringLiteral("<Expires>[^<]*</Expires>"));
    QString document =
        QString::fromUtf8(gWithoutSignature(m_desk->Document(gLatin1(mainManifest))));
    const QDateTime later = QDateTime::currentDateTimeUtc().addDays(40);
    document.replace(
        end, gLatin1("<Expires>%1T00:00:00Z</Expires>").arg(later.date().toString(Qt::ISODate)));
    m_desk->Replace(gLatin1(mainManifest), m_desk->Signed(document.toUtf8(), gLatin1("plain")));
    QCOMPARE(m_desk->RefusalFault(m_desk->Renewal(days), gLatin1("a renewal has to end later")),
             QString());
}

void tst_RenewalRefusal::a_site_without_an_end_is_not_renewed()
{
    QCOMPARE(ReleaseDesk::Run(m_desk->Release(gLatin1("9.3.0.0"), {})).code, 0);
    QCOMPARE(m_desk->RefusalFault(m_desk->Renewal(gLatin1("60")), gLatin1("does not expire")),
             QString());
}

void tst_RenewalRefusal::what_somebody_else_has_changed_is_not_signed_data()
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

void tst_RenewalRefusal::what_somebody_else_has_changed_is_not_signed()
{
    QFETCH(QString, name);
    QFETCH(QByteArray, content);
    QFETCH(QString, says);
    QVERIFY(!content.isEmpty() && content != m_desk->Document(name));
    m_desk->Replace(name, content);
    QCOMPARE(m_desk->RefusalFault(m_desk->Renewal(gLatin1("60")), says), QString());
    QCOMPARE(m_desk->RefusalFault(m_desk->Renewal(gLatin1("60")), name), QString());
}

void tst_RenewalRefusal::an_older_publication_is_not_renewed()
{
    PutOlderPublicationBack();
    QCOMPARE(m_desk->RefusalFault(m_desk->Renewal(gLatin1("60")),
                                  gLatin1("the manifests have the serial 2, and the last "
                                          "publication had 3; publish the release again")),
             QString());
}

void tst_RenewalRefusal::an_older_publication_is_not_renewed_without_the_file_of_the_serial()
{
    PutOlderPublicationBack();
    QVERIFY(QFile::remove(m_desk->Site() + gLatin1("/serial")));
    const QString says =
        gLatin1("file \"serial\" is missing, so nothing tells whether the manifests "
                "are of the last publication; write the number of the last "
                "publication into it");
    QCOMPARE(m_desk->RefusalFault(m_desk->Renewal(gLatin1("60")), says), QString());

    m_desk->Replace(gLatin1("serial"), "2\n");
    QVERIFY(ReleaseDesk::Publish(m_desk->Renewal(gLatin1("60"))));
}

void tst_RenewalRefusal::a_site_that_is_not_there_is_refused()
{
    QCOMPARE(m_desk->RefusalFault(
                 m_desk->Renewal(gLatin1("60"), {{gLatin1("site"), m_desk->Path(gLatin1("gone"))}}),
                 gLatin1("no manifest.xml")),
             QString());
    QVERIFY(QFile::remove(m_desk->Site() + gLatin1("/manifest.xml")));
    QCOMPARE(m_desk->RefusalFault(m_desk->Renewal(gLatin1("60")), gLatin1("no manifest.xml")),
             QString());
}

void tst_RenewalRefusal::a_signature_that_clients_would_refuse_is_not_published()
{
    QCOMPARE(
        m_desk->RefusalFault(
            m_desk->Renewal(gLatin1("60"),
                            {{gLatin1("sign-key"), SigningDesk::Key(gLatin1("other"))},
                             {gLatin1("public-key"), SigningDesk::PublicKey(gLatin1("plain"))}}),
            gLatin1("the secret key does not belong to the public key")),
        QString());
}

void tst_RenewalRefusal::a_failure_of_the_program_leaves_the_site_as_it_was()
{
    QCOMPARE(m_desk->RefusalFault(
                 m_desk->Renewal(gLatin1("60"),
                                 {{gLatin1("minisign"), m_desk->Path(gLatin1("nothing"))}}),
                 gLatin1("cannot start")),
             QString());
    QCOMPARE(m_desk->RefusalFault(
                 m_desk->Renewal(gLatin1("60"), {{gLatin1("public-key"),
                                                  SigningDesk::PublicKey(gLatin1("other"))}}),
                 gLatin1("was signed by another key")),
             QString());
}

QTEST_GUILESS_MAIN(tst_RenewalRefusal)
#include "tst_RenewalRefusal.moc"
