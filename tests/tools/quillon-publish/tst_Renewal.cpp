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

private:
    QScopedPointer<SigningDesk> m_desk;
};

void tst_Renewal::init()
{
    m_desk.reset(new SigningDesk);
    QVERIFY(m_desk->PublishTwice({{gLatin1("expires"), gLatin1("30")}}));
    QCOMPARE(m_desk->Manifests().size(), 4);
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

QTEST_GUILESS_MAIN(tst_Renewal)
#include "tst_Renewal.moc"
