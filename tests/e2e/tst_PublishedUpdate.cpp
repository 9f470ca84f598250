// SPDX-License-Identifier: MIT

#include "tests/e2e/DemoProcess.h"
#include "tests/e2e/UpdateSite.h"
#include "tests/support/TestFiles.h"
#include "tests/tools/quillon-publish/DocumentedNginx.h"
#include "tests/tools/quillon-publish/ReleaseDesk.h"

#include <QFileInfo>
#include <QJsonDocument>
#include <QTest>

#include <memory>

/// A whole update over TLS: released with quillon-publish, served by nginx with the documented
/// configuration, installed by a host, whose reports nginx receives.
class tst_PublishedUpdate : public QObject
{
    Q_OBJECT

private:
    bool Publish(const QString &version, const QStringList &previous);
    int Update(const QString &fromVersion);
    QList<int> ReportedResults() const;
    QByteArray InstallLog() const;

    QString m_kept;
    std::unique_ptr<UpdateSite> m_user;
    ReleaseDesk m_desk;
    DocumentedNginx m_nginx;
    std::unique_ptr<DemoProcess> m_host;

private slots:
    void initTestCase();
    void the_full_package_arrives_first();
    void the_next_release_arrives_as_a_patch();
    void the_newest_version_is_offered_nothing();
    void a_host_that_does_not_trust_the_service_says_so();
};

bool tst_PublishedUpdate::Publish(const QString &version, const QStringList &previous)
{
    const ReleaseDesk::Outcome outcome = ReleaseDesk::Run(m_desk.Arguments(
        {
            {QStringLiteral("base-url"), m_nginx.SecureUrl()},
            {QStringLiteral("product-version"), version},
            {QStringLiteral("installer"), ReleaseDesk::Installer(version)},
            {QStringLiteral("bspatch"), QStringLiteral(BSPATCH)},
        },
        previous));
    if (outcome.code != 0) {
        qWarning().noquote() << outcome.err;
    }
    return outcome.code == 0;
}

int tst_PublishedUpdate::Update(const QString &fromVersion)
{
    const QString address = m_nginx.SecureUrl() + QStringLiteral("/update?pid=&version=&email=");
    m_host = std::make_unique<DemoProcess>(m_user->Home(), address);
    m_host->Start({QStringLiteral("--product-version"), fromVersion, QStringLiteral("--ca"),
                   m_user->Home() + QStringLiteral("/ca.pem"), QStringLiteral("--statistics-host"),
                   m_nginx.SecureUrl().mid(int(qstrlen("https://"))),
                   QStringLiteral("--on-version"), QStringLiteral("update"),
                   QStringLiteral("--on-prompt"), QStringLiteral("yes"),
                   QStringLiteral("--on-hint"), QStringLiteral("close")});
    return m_host->WaitForEnd();
}

/// The results of all statistics records that nginx has logged.
QList<int> tst_PublishedUpdate::ReportedResults() const
{
    QList<int> results;
    const QList<QByteArray> lines = m_nginx.Log(QStringLiteral("update-visits.log")).split('\n');
    for (const QByteArray &line : lines) {
        if (!line.isEmpty()) {
            results.append(QJsonDocument::fromJson(line)[QStringLiteral("result")].toInt());
        }
    }
    return results;
}

QByteArray tst_PublishedUpdate::InstallLog() const
{
    return gReadFile(m_user->Home() + QStringLiteral("/installed"));
}

void tst_PublishedUpdate::initTestCase()
{
    m_user = std::make_unique<UpdateSite>();
    QVERIFY(m_nginx.Start(m_desk.Site()));
    m_desk.Write(QStringLiteral("notes.md"), "- Faster export\n");
    QVERIFY(gWriteFile(m_user->Home() + QStringLiteral("/ca.pem"), m_nginx.Certificate().toPem()));
}

void tst_PublishedUpdate::the_full_package_arrives_first()
{
    const QString version = QStringLiteral("9.2.0.0");
    QVERIFY(Publish(version, {}));
    QCOMPARE(Update(QStringLiteral("9.1.0.0")), 0);

    const QString installer = ReleaseDesk::Installer(version);
    m_kept = m_user->WorkingFolder() + QLatin1Char('/') + QFileInfo(installer).fileName();
    QCOMPARE(gReadFile(m_kept), gReadFile(installer));
    QTRY_VERIFY_WITH_TIMEOUT(InstallLog().contains("Corvina 9.2.0.0 installed"), 20000);
    QCOMPARE(ReportedResults(), QList<int>{1});
}

void tst_PublishedUpdate::the_next_release_arrives_as_a_patch()
{
    const QString version = QStringLiteral("9.3.0.0");
    QVERIFY(Publish(version, {ReleaseDesk::Installer(QStringLiteral("9.2.0.0"))}));
    QCOMPARE(Update(QStringLiteral("9.2.0.0")), 0);

    QVERIFY(m_host->Log().contains(QStringLiteral("End Patch IncreasePackage")));
    QCOMPARE(gReadFile(m_kept), gReadFile(ReleaseDesk::Installer(version)));
    QTRY_VERIFY_WITH_TIMEOUT(InstallLog().contains("Corvina 9.3.0.0 installed"), 20000);
    QCOMPARE(ReportedResults(), (QList<int>{1, 1}));
}

void tst_PublishedUpdate::the_newest_version_is_offered_nothing()
{
    QCOMPARE(Update(QStringLiteral("9.3.0.0")), 0);
    QCOMPARE(m_host->PageText(), QStringLiteral("Your current version is the latest version!"));
}

void tst_PublishedUpdate::a_host_that_does_not_trust_the_service_says_so()
{
    m_host = std::make_unique<DemoProcess>(
        m_user->Home(), m_nginx.SecureUrl() + QStringLiteral("/update?pid=&version=&email="));
    m_host->Start({QStringLiteral("--on-hint"), QStringLiteral("close")});
    QCOMPARE(m_host->WaitForEnd(), 0);
    QCOMPARE(m_host->PageText(), QStringLiteral("Failed to check update!"));
}

QTEST_GUILESS_MAIN(tst_PublishedUpdate)

#include "tst_PublishedUpdate.moc"
