// SPDX-License-Identifier: MIT

#include "api/UpdateInit.h"
#include "tests/support/LogCapture.h"
#include "tests/support/ProxyProcess.h"
#include "tests/support/TestBytes.h"
#include "tests/update/UpdateRig.h"
#include "update/UpdateCommon/UpdateEventReport.h"
#include "update/UpdateCommon/VersionInfo.h"

#include <QNetworkProxyFactory>
#include <QtTest>

/// A whole update where the network is reached through a proxy.
class tst_ProxyUpdate : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void cleanup();

    void everything_is_asked_through_the_proxy_data();
    void everything_is_asked_through_the_proxy();
    void a_proxy_that_is_not_let_in_is_a_failure_data();
    void a_proxy_that_is_not_let_in_is_a_failure();

private:
    enum Naming { ByTheHost, ByAFactory, ByTheSystem };

    void Name(Naming naming, const QString &password) const;

    QString PackageUrl() const
    {
        return ProxyProcess::Outside(m_rig->Server().Address("/files/setup.exe"));
    }
    int Asked(const QString &method, const QString &status) const;

    std::unique_ptr<TestCertificates> m_certificates;
    std::unique_ptr<StatisticsServer> m_statistics;
    std::unique_ptr<ProxyProcess> m_proxy;
    std::unique_ptr<UpdateRig> m_rig;
};

namespace
{
class OneProxy : public QNetworkProxyFactory
{
public:
    explicit OneProxy(const QNetworkProxy &proxy)
        : m_proxy(proxy)
    {
    }
    QList<QNetworkProxy> queryProxy(const QNetworkProxyQuery & /*query*/) override
    {
        return {m_proxy};
    }

private:
    QNetworkProxy m_proxy;
};
} // namespace

void tst_ProxyUpdate::initTestCase()
{
    m_certificates = std::make_unique<TestCertificates>();
    m_certificates->TrustAuthority();
}

void tst_ProxyUpdate::init()
{
    m_proxy = std::make_unique<ProxyProcess>();
    m_statistics = std::make_unique<StatisticsServer>(*m_certificates);
    m_rig = std::make_unique<UpdateRig>();
    m_rig->WriteSetting("StatisticsHost", ProxyProcess::Outside(m_statistics->Host()));
    UpdateInit::SetUpdateUrl(
        ProxyProcess::Outside(m_rig->Server().Address("/check?pid=&version=&email=")));
    HttpAnswer manifest = HttpAnswer::Body(UpdateRig::Manifest(PackageUrl()).toUtf8());
    manifest.contentType = "text/xml";
    m_rig->Server().Serve("/check", manifest);
    m_rig->Server().Serve("/files/setup.exe", HttpAnswer::Body(gTestBytes(100003)));
}

void tst_ProxyUpdate::cleanup()
{
    m_rig.reset();
    qunsetenv("http_proxy");
    qunsetenv("https_proxy");
    QNetworkProxyFactory::setUseSystemConfiguration(false);
    QNetworkProxy::setApplicationProxy(QNetworkProxy::NoProxy);
    m_statistics.reset();
    m_proxy.reset();
}

void tst_ProxyUpdate::Name(Naming naming, const QString &password) const
{
    const QNetworkProxy proxy = m_proxy->Proxy(password);
    const QString address = QStringLiteral("http://%1:%2").arg(proxy.hostName()).arg(proxy.port());
    switch (naming) {
    case ByTheHost:
        QNetworkProxy::setApplicationProxy(proxy);
        break;
    case ByAFactory:
        QNetworkProxyFactory::setApplicationProxyFactory(new OneProxy(proxy));
        break;
    case ByTheSystem:
        qputenv("http_proxy", address.toLatin1());
        qputenv("https_proxy", address.toLatin1());
        QNetworkProxyFactory::setUseSystemConfiguration(true);
        break;
    }
}

int tst_ProxyUpdate::Asked(const QString &method, const QString &status) const
{
    const QStringList requests = m_proxy->Requests();
    return int(std::count_if(requests.begin(), requests.end(), [&](const QString &request) {
        return request.startsWith(method + ' ') && request.endsWith(' ' + status);
    }));
}

void tst_ProxyUpdate::everything_is_asked_through_the_proxy_data()
{
    QTest::addColumn<QString>("password");
    QTest::addColumn<int>("naming");
    QTest::newRow("without_a_password") << QString() << int(ByTheHost);
    QTest::newRow("with_the_password_that_the_host_sets") << "secret" << int(ByTheHost);
    QTest::newRow("that_a_factory_names") << QString() << int(ByAFactory);
    QTest::newRow("that_a_factory_names_with_its_password") << "secret" << int(ByAFactory);
    QTest::newRow("that_the_system_names") << QString() << int(ByTheSystem);
}

void tst_ProxyUpdate::everything_is_asked_through_the_proxy()
{
    QFETCH(QString, password);
    QFETCH(int, naming);
    QVERIFY(m_proxy->Start(password));
    Name(Naming(naming), password);
    m_rig->Build();
    QVERIFY(m_rig->Manager().IsNeedUpdate());
    QTRY_COMPARE(Asked("GET", "200"), 1);
    m_rig->Manager().LiveUpdate();
    QTRY_COMPARE(m_rig->Pages().value(1), QStringLiteral("version"));
    QTRY_COMPARE(Asked("GET", "200"), 2);

    m_rig->Manager().UpdateNow();
    QTRY_COMPARE(m_rig->Boxes(), 1);
    QVERIFY(gReadFile(m_rig->Installer()) == gTestBytes(100003));
    QTRY_COMPARE(Asked("HEAD", "200"), 1);
    QTRY_COMPARE(Asked("GET", "206"), 5);

    UpdateEventReport::GetInstance()->ReportEvent(EventSink::DownloadError);
    gSettleReports();
    QCOMPARE(m_statistics->Results(), QList<int>{EventSink::DownloadError});
    QTRY_COMPARE(Asked("CONNECT", "200"), 1);
}

void tst_ProxyUpdate::a_proxy_that_is_not_let_in_is_a_failure_data()
{
    QTest::addColumn<QString>("password");
    QTest::addColumn<int>("attempts");
    // Each request is first sent without the password, as the rules of HTTP have it.
    QTest::newRow("with_a_wrong_password") << "wrong" << 2;
    QTest::newRow("without_a_password") << QString() << 1;
}

void tst_ProxyUpdate::a_proxy_that_is_not_let_in_is_a_failure()
{
    QFETCH(QString, password);
    QFETCH(int, attempts);
    QVERIFY(m_proxy->Start("secret"));
    QNetworkProxy::setApplicationProxy(m_proxy->Proxy(password));
    const LogCapture log;
    m_rig->Build();
    QVERIFY(!m_rig->Manager().IsNeedUpdate());
    QCOMPARE(log.CountContaining("proxy, http://0.0.0.0"), 1);
    m_rig->Manager().LiveUpdate();
    QTRY_COMPARE(m_rig->HintText(), QStringLiteral("Failed to check update!"));
    QCOMPARE(log.CountContaining("proxy, http://0.0.0.0"), 2);

    m_rig->Manager().findChild<VersionInfo *>()->setXml(UpdateRig::Manifest(PackageUrl()));
    m_rig->Manager().UpdateNow();
    QTRY_COMPARE(m_rig->HintText(), QStringLiteral("Failed to download the update."));
    QCOMPARE(log.CountContaining("proxy, http://0.0.0.0"), 3);
    // The proxy writes its log behind its answer.
    QTRY_COMPARE(Asked("GET", "407"), 2 * attempts);
    QTRY_COMPARE(Asked("HEAD", "407"), attempts);
    QCOMPARE(m_rig->Boxes(), 0);
    QVERIFY(m_rig->Server().Requests().isEmpty());

    // A report that fails is tried once more.
    UpdateEventReport::GetInstance()->ReportEvent(EventSink::DownloadError);
    gSettleReports();
    QTRY_COMPARE(Asked("CONNECT", "407"), 2 * attempts);
    QVERIFY(m_statistics->Server().Requests().isEmpty());
}

QTEST_MAIN(tst_ProxyUpdate)
#include "tst_ProxyUpdate.moc"
