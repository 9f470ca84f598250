// SPDX-License-Identifier: MIT

#include "tests/e2e/DemoProcess.h"
#include "tests/e2e/UpdateSite.h"
#include "tests/support/TestFiles.h"
#include "tests/tools/quillon-publish/DocumentedNginx.h"
#include "tests/tools/quillon-publish/ReleaseDesk.h"

#include <QDirIterator>
#include <QFile>
#include <QProcess>
#include <QTest>

#include <memory>

/// A release engineer signs with minisign, and a host that trusts the key updates: released with
/// quillon-publish, served by nginx with the documented configuration.
class tst_SignedUpdate : public QObject
{
    Q_OBJECT

private:
    bool MakeKeys(const QString &name) const;
    QString PublicKey(const QString &name) const;
    bool Publish(const QString &version, const QStringList &previous);
    bool Renew();
    int Update(const QString &fromVersion, const QString &key);
    QStringList PrivateCopies() const;
    QByteArray InstallLog() const;

    std::unique_ptr<UpdateSite> m_user;
    ReleaseDesk m_desk;
    DocumentedNginx m_nginx;
    std::unique_ptr<DemoProcess> m_host;
    QString m_kept;

private slots:
    void initTestCase();
    void the_full_package_arrives_first();
    void the_next_release_arrives_as_a_patch();
    void the_newest_version_is_told_so_by_a_signed_manifest();
    void a_renewed_site_is_accepted();
    void a_manifest_of_before_is_refused();
    void a_host_that_trusts_another_key_refuses();
    void a_host_without_keys_is_offered_the_same();
};

bool tst_SignedUpdate::MakeKeys(const QString &name) const
{
    QProcess minisign;
    minisign.start(QStringLiteral("minisign"),
                   {QStringLiteral("-G"), QStringLiteral("-W"), QStringLiteral("-p"),
                    m_desk.Path(name + QStringLiteral(".pub")), QStringLiteral("-s"),
                    m_desk.Path(name + QStringLiteral(".key"))});
    return minisign.waitForFinished() && minisign.exitCode() == 0;
}

QString tst_SignedUpdate::PublicKey(const QString &name) const
{
    const QByteArray file = gReadFile(m_desk.Path(name + QStringLiteral(".pub")));
    return QString::fromLatin1(file.split('\n').value(1));
}

bool tst_SignedUpdate::Publish(const QString &version, const QStringList &previous)
{
    const ReleaseDesk::Outcome outcome = ReleaseDesk::Run(m_desk.Arguments(
        {
            {QStringLiteral("base-url"), m_nginx.SecureUrl()},
            {QStringLiteral("product-version"), version},
            {QStringLiteral("installer"), ReleaseDesk::Installer(version)},
            {QStringLiteral("bspatch"), QStringLiteral(BSPATCH)},
            {QStringLiteral("sign-key"), m_desk.Path(QStringLiteral("release.key"))},
            {QStringLiteral("expires"), QStringLiteral("2")},
        },
        previous));
    if (outcome.code != 0) {
        qWarning().noquote() << outcome.err;
    }
    return outcome.code == 0;
}

bool tst_SignedUpdate::Renew()
{
    return ReleaseDesk::Run({QStringLiteral("--site"), m_desk.Site(), QStringLiteral("--renew"),
                             QStringLiteral("--sign-key"),
                             m_desk.Path(QStringLiteral("release.key")),
                             QStringLiteral("--expires"), QStringLiteral("30")})
               .code == 0;
}

int tst_SignedUpdate::Update(const QString &fromVersion, const QString &key)
{
    const QString address = m_nginx.SecureUrl() + QStringLiteral("/update?pid=&version=&email=");
    m_host = std::make_unique<DemoProcess>(m_user->Home(), address);
    QStringList arguments{QStringLiteral("--product-version"),
                          fromVersion,
                          QStringLiteral("--ca"),
                          m_user->Home() + QStringLiteral("/ca.pem"),
                          QStringLiteral("--on-version"),
                          QStringLiteral("update"),
                          QStringLiteral("--on-prompt"),
                          QStringLiteral("yes"),
                          QStringLiteral("--on-hint"),
                          QStringLiteral("close")};
    if (!key.isEmpty()) {
        arguments << QStringLiteral("--trust-key") << key;
    }
    m_host->Start(arguments);
    return m_host->WaitForEnd();
}

QStringList tst_SignedUpdate::PrivateCopies() const
{
    QStringList copies;
    QDirIterator files(m_user->Home() + QStringLiteral("/cache/Halvard"), QDir::Files,
                       QDirIterator::Subdirectories);
    while (files.hasNext()) {
        files.next();
        copies.append(files.fileName());
    }
    return copies;
}

QByteArray tst_SignedUpdate::InstallLog() const
{
    return gReadFile(m_user->Home() + QStringLiteral("/installed"));
}

void tst_SignedUpdate::initTestCase()
{
    m_user = std::make_unique<UpdateSite>();
    QVERIFY(m_nginx.Start(m_desk.Site()));
    m_desk.Write(QStringLiteral("notes.md"), "- Faster export\n");
    QVERIFY(gWriteFile(m_user->Home() + QStringLiteral("/ca.pem"), m_nginx.Certificate().toPem()));
    QVERIFY(MakeKeys(QStringLiteral("release")));
    QVERIFY(MakeKeys(QStringLiteral("other")));
}

void tst_SignedUpdate::the_full_package_arrives_first()
{
    const QString version = QStringLiteral("9.2.0.0");
    QVERIFY(Publish(version, {}));
    QCOMPARE(Update(QStringLiteral("9.1.0.0"), PublicKey(QStringLiteral("release"))), 0);

    const QString installer = ReleaseDesk::Installer(version);
    m_kept = m_user->WorkingFolder() + QLatin1Char('/') + QFileInfo(installer).fileName();
    QCOMPARE(gReadFile(m_kept), gReadFile(installer));
    QCOMPARE(PrivateCopies(), QStringList{QFileInfo(installer).fileName()});
    QTRY_VERIFY_WITH_TIMEOUT(InstallLog().contains("Corvina 9.2.0.0 installed"), 20000);
}

void tst_SignedUpdate::the_next_release_arrives_as_a_patch()
{
    const QString version = QStringLiteral("9.3.0.0");
    QVERIFY(Publish(version, {ReleaseDesk::Installer(QStringLiteral("9.2.0.0"))}));
    QCOMPARE(Update(QStringLiteral("9.2.0.0"), PublicKey(QStringLiteral("release"))), 0);

    QVERIFY(m_host->Log().contains(QStringLiteral("End Patch IncreasePackage")));
    QCOMPARE(gReadFile(m_kept), gReadFile(ReleaseDesk::Installer(version)));
    // That of the release before is gone.
    QCOMPARE(PrivateCopies(), QStringList{QFileInfo(m_kept).fileName()});
    QTRY_VERIFY_WITH_TIMEOUT(InstallLog().contains("Corvina 9.3.0.0 installed"), 20000);
}

void tst_SignedUpdate::the_newest_version_is_told_so_by_a_signed_manifest()
{
    QCOMPARE(Update(QStringLiteral("9.3.0.0"), PublicKey(QStringLiteral("release"))), 0);
    QCOMPARE(m_host->PageText(), QStringLiteral("Your current version is the latest version!"));
}

void tst_SignedUpdate::a_renewed_site_is_accepted()
{
    QVERIFY(QFile::copy(m_desk.Site() + QStringLiteral("/manifest.xml"),
                        m_desk.Path(QStringLiteral("before.xml"))));
    QVERIFY(Renew());
    QCOMPARE(Update(QStringLiteral("9.3.0.0"), PublicKey(QStringLiteral("release"))), 0);
    QCOMPARE(m_host->PageText(), QStringLiteral("Your current version is the latest version!"));
}

void tst_SignedUpdate::a_manifest_of_before_is_refused()
{
    const QString manifest = m_desk.Site() + QStringLiteral("/manifest.xml");
    const QByteArray current = gReadFile(manifest);
    QVERIFY(gWriteFile(manifest, gReadFile(m_desk.Path(QStringLiteral("before.xml")))));
    QCOMPARE(Update(QStringLiteral("9.1.0.0"), PublicKey(QStringLiteral("release"))), 0);
    QCOMPARE(m_host->PageText(), QStringLiteral("Failed to check update!"));
    QVERIFY(m_host->Log().contains(QStringLiteral("the manifest is older than one before")));
    QVERIFY(gWriteFile(manifest, current));
}

void tst_SignedUpdate::a_host_that_trusts_another_key_refuses()
{
    QCOMPARE(Update(QStringLiteral("9.1.0.0"), PublicKey(QStringLiteral("other"))), 0);
    QCOMPARE(m_host->PageText(), QStringLiteral("Failed to check update!"));
    QVERIFY(m_host->Log().contains(QStringLiteral("the key of the signature is not trusted")));
}

void tst_SignedUpdate::a_host_without_keys_is_offered_the_same()
{
    QCOMPARE(Update(QStringLiteral("9.1.0.0"), QString()), 0);
    QVERIFY(m_host->Signals().contains(QStringLiteral("InstallStarted")));
}

QTEST_GUILESS_MAIN(tst_SignedUpdate)

#include "tst_SignedUpdate.moc"
