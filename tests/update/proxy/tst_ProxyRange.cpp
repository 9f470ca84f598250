// SPDX-License-Identifier: MIT

#include "tests/support/LaterCalls.h"
#include "tests/support/LogCapture.h"
#include "tests/support/ProxyProcess.h"
#include "tests/support/TestBytes.h"
#include "tests/update/UpdateRig.h"
#include "update/base/DownloadState.h"

#include <QtTest>

/// One range that is fetched through a proxy, and a proxy that goes away or changes meanwhile.
class tst_ProxyRange : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void a_proxy_that_goes_away_is_waited_for();
    void a_proxy_that_is_not_there_is_a_failure_at_once();
    void a_proxy_that_wants_a_password_meanwhile_is_a_failure();
    void a_proxy_that_closes_in_place_of_a_tunnel_is_asked_again();

private:
    void Start(const QUrl &url);
    void StartThroughProxy();
    /// The test's server takes the place of a proxy that closes every connection.
    void StartThroughClosingProxy();
    void Serve(const HttpAnswer &answer) { m_rig->Server().Serve("/setup.exe", answer); }

    QByteArray m_package;
    LaterCalls m_later;
    std::unique_ptr<ProxyProcess> m_proxy;
    std::unique_ptr<UpdateRig> m_rig;
    std::unique_ptr<DownloadMgr> m_downloader;
    std::unique_ptr<QSignalSpy> m_errors;
};

void tst_ProxyRange::init()
{
    m_package = gTestBytes(50000);
    m_proxy = std::make_unique<ProxyProcess>();
    m_rig = std::make_unique<UpdateRig>();
    m_rig->WriteState(
        "50000", "0",
        {{{0, 9999}, {10000, 19999}, {20000, 29999}, {30000, 39999}, {40000, 49999}}});
    QVERIFY(gWriteFile(m_rig->Target(), QByteArray(m_package.size(), '\0')));
    gDownloadState().activeSegments = 5;
    gDownloadState().downloadStarted = true;
    m_later = LaterCalls();
    m_rig->System().callLater = m_later.Seam();
}

void tst_ProxyRange::cleanup()
{
    m_errors.reset();
    m_downloader.reset();
    m_rig.reset();
    QNetworkProxy::setApplicationProxy(QNetworkProxy::NoProxy);
    m_proxy.reset();
}

void tst_ProxyRange::Start(const QUrl &url)
{
    m_downloader = std::make_unique<DownloadMgr>(m_rig->Context(), nullptr);
    m_errors = std::make_unique<QSignalSpy>(m_downloader.get(), &DownloadMgr::Error);
    m_downloader->ResumeDownload(m_rig->Target(), url, m_rig->Installer(), 10000, 19999, 2, false,
                                 QString(), QString());
}

void tst_ProxyRange::StartThroughProxy()
{
    QVERIFY(m_proxy->Start());
    QNetworkProxy::setApplicationProxy(m_proxy->Proxy());
    Serve(HttpAnswer::Broken(m_package, HttpAnswer::Fault::StallAfter, 500));
    Start(QUrl(ProxyProcess::Outside(m_rig->Server().Address("/setup.exe"))));
    QTRY_COMPARE(gDownloadState().alreadyDownloaded, qint64(500));
    m_proxy->Stop();
    QTRY_COMPARE(m_later.Seconds(), QList<int>{1});
}

void tst_ProxyRange::StartThroughClosingProxy()
{
    FaultScript script;
    script.When("CONNECT", "package.example:443").Answer(FaultAnswer::Closed());
    m_rig->Server().Play(script);
    const QUrl proxy = m_rig->Server().Url("/");
    QNetworkProxy::setApplicationProxy(
        {QNetworkProxy::HttpProxy, proxy.host(), static_cast<quint16>(proxy.port())});
    Start(QUrl("https://package.example/setup.exe"));
}

void tst_ProxyRange::a_proxy_that_goes_away_is_waited_for()
{
    StartThroughProxy();
    m_later.Run();
    const QList<int> expected{1, 2};
    QTRY_COMPARE(m_later.Seconds(), expected);
    QVERIFY(m_proxy->Start());
    Serve(HttpAnswer::Body(m_package));
    m_later.Run();
    QTRY_COMPARE(gDownloadState().finishedSegments, 1);
    QVERIFY(gReadFile(m_rig->Target()).mid(10000, 10000) == m_package.mid(10000, 10000));
    QCOMPARE(m_errors->count(), 0);
}

void tst_ProxyRange::a_proxy_that_is_not_there_is_a_failure_at_once()
{
    QVERIFY(m_proxy->Start());
    m_proxy->Stop();
    QNetworkProxy::setApplicationProxy(m_proxy->Proxy());
    const LogCapture log;
    Start(QUrl(ProxyProcess::Outside(m_rig->Server().Address("/setup.exe"))));
    QTRY_COMPARE(m_errors->count(), 1);
    QCOMPARE(m_errors->first().first().toString(),
             QStringLiteral("Failed to download the update."));
    // To the network layer, a proxy of unencrypted requests is as good as the server.
    QCOMPARE(log.CountContaining("refused, http://0.0.0.0"), 1);
    QCOMPARE(m_later.Seconds(), QList<int>());
}

void tst_ProxyRange::a_proxy_that_wants_a_password_meanwhile_is_a_failure()
{
    StartThroughProxy();
    QVERIFY(m_proxy->Start("secret"));
    const LogCapture log;
    m_later.Run();
    QTRY_COMPARE(m_errors->count(), 1);
    QCOMPARE(log.CountContaining("proxy, http://0.0.0.0"), 1);
    QCOMPARE(m_later.Seconds(), QList<int>{1});
    QVERIFY(!m_downloader->IsRunning());
}

void tst_ProxyRange::a_proxy_that_closes_in_place_of_a_tunnel_is_asked_again()
{
    const LogCapture log;
    // The network layer does not tell of such an end, so the range stalls.
    m_rig->System().stallLimit = std::chrono::milliseconds(200);
    StartThroughClosingProxy();
    QTRY_COMPARE(m_errors->count(), 1);
    QCOMPARE(m_rig->Server().Requests("CONNECT").size(), 3);
    QCOMPARE(log.CountContaining("stall, range 2 has received nothing"), 3);
    QCOMPARE(m_errors->first().first().toString(),
             QStringLiteral("Failed to download the update."));
}

QTEST_MAIN(tst_ProxyRange)
#include "tst_ProxyRange.moc"
