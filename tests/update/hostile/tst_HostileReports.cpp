// SPDX-License-Identifier: MIT

#include "tests/support/TestCertificates.h"
#include "tests/update/hostile/HostileWorld.h"

#include <QElapsedTimer>
#include <QtTest>

/// Statistics endpoints that misbehave: the user is told at once, and the report ends in time.
class tst_HostileReports : public QObject
{
    Q_OBJECT

private slots:
    void an_endpoint_data();
    void an_endpoint();
    void an_endpoint_of_an_unknown_authority();

private:
    /// A download that fails, which is reported.
    static void FailADownload(HostileWorld &world);
};

void tst_HostileReports::FailADownload(HostileWorld &world)
{
    FaultScript script = HostileWorld::Honest();
    script.When("GET", "/files/setup.exe").Answer(FaultAnswer::Status(404));
    world.Server().Play(script);
    world.Offer();
    world.PressUpdateNow();
    QTRY_COMPARE(world.Rig().Pages().last(), QStringLiteral("hint"));
    QCOMPARE(world.Rig().HintText(), QStringLiteral("Failed to download the update."));
}

void tst_HostileReports::an_endpoint_of_an_unknown_authority()
{
    const TestCertificates unknown;
    HttpServer endpoint(unknown);
    HostileWorld world;
    world.Rig().WriteSetting("StatisticsHost", endpoint.Host());
    FailADownload(world);
    gSettleReports();
    QVERIFY(endpoint.Requests().isEmpty());
}

void tst_HostileReports::an_endpoint_data()
{
    QTest::addColumn<FaultAnswer>("answer");
    QTest::addColumn<int>("waits"); // attempts that take all of their time
    const FaultAnswer honest = FaultAnswer::Text("ok", "text/plain");
    QTest::newRow("closed_before_it_answers") << FaultAnswer::Closed() << 0;
    QTest::newRow("reset_before_it_answers") << FaultAnswer::WithReset() << 0;
    QTest::newRow("something_that_is_not_http") << FaultAnswer::Raw("-ERR\r\n\r\n") << 0;
    QTest::newRow("a_failing_server") << FaultAnswer::Status(500) << 0;
    QTest::newRow("a_redirect_to_itself") << FaultAnswer::Redirect("/tallow/visit/?data=") << 0;
    QTest::newRow("cut_within_the_answer") << honest.CutAfter(1) << 0;
    QTest::newRow("a_flood_of_header_fields") << honest.WithStatus(500).HeaderFlood(100000) << 0;
    QTest::newRow("a_body_without_an_end") << honest.NoLength().Endless().Pieces(4096, 5) << 1;
    QTest::newRow("one_byte_at_a_time") << honest.Pieces(1, 3000) << 1;
}

void tst_HostileReports::an_endpoint()
{
    QFETCH(FaultAnswer, answer);
    QFETCH(int, waits);
    constexpr int attemptMs = 5000; // the most that one attempt to report takes
    static const TestCertificates certificates;
    certificates.TrustAuthority();
    HttpServer endpoint(certificates);
    FaultScript script;
    script.When("GET", "/tallow/visit/").Answer(answer).Then(FaultAnswer::Status(200));
    endpoint.Play(script);
    HostileWorld world;
    world.Rig().WriteSetting("StatisticsHost", endpoint.Host());
    QElapsedTimer timer;
    timer.start();
    FailADownload(world);
    QVERIFY2(timer.elapsed() < attemptMs, "the page waits for the report");
    gSettleReports();
    QVERIFY2(timer.elapsed() < (waits + 1) * attemptMs,
             qPrintable(QString::number(timer.elapsed())));
    QVERIFY(!endpoint.Requests().isEmpty());
    QCOMPARE(world.Damage(), QString());
}

QTEST_MAIN(tst_HostileReports)
#include "tst_HostileReports.moc"
