// SPDX-License-Identifier: MIT

#include "api/UpdateInit.h"
#include "tests/support/HttpServer.h"
#include "tests/update/UpdateRig.h"

#include <QElapsedTimer>
#include <QtTest>

/// The silent check ends in time when a server keeps it waiting.
class tst_HostileSilentCheck : public QObject
{
    Q_OBJECT

private slots:
    void it_ends_in_time_data();
    void it_ends_in_time();
    void elements_nested_a_hundred_thousand_deep();
};

void tst_HostileSilentCheck::it_ends_in_time_data()
{
    QTest::addColumn<FaultAnswer>("answer");
    QTest::addColumn<QString>("scheme");
    const FaultAnswer honest =
        FaultAnswer::Text(UpdateRig::Manifest("http://u.example/setup.exe").toUtf8());
    QTest::newRow("with_a_body_without_an_end")
        << honest.NoLength().Endless().Pieces(4096, 5) << "http:";
    QTest::newRow("with_one_byte_at_a_time") << honest.Pieces(1, 1000) << "http:";
    // The server waits for the end of a request, and the client for the start of the encryption.
    QTest::newRow("with_a_server_that_does_not_encrypt") << honest << "https:";
}

void tst_HostileSilentCheck::it_ends_in_time()
{
    QFETCH(FaultAnswer, answer);
    QFETCH(QString, scheme);
    HttpServer server;
    FaultScript script;
    script.When("GET", "/check").Answer(answer);
    server.Play(script);
    UpdateRig rig;
    UpdateInit::SetUpdateUrl(
        server.Address("/check?pid=&version=&email=").replace("http:", scheme));
    rig.Build();
    QElapsedTimer timer;
    timer.start();
    QVERIFY(!rig.Manager().IsNeedUpdate());
    QVERIFY2(timer.elapsed() < 8000, qPrintable(QString::number(timer.elapsed())));
}

void tst_HostileSilentCheck::elements_nested_a_hundred_thousand_deep()
{
    constexpr int depth = 100000;
    HttpServer server;
    FaultScript script;
    script.When("GET", "/check")
        .Answer(FaultAnswer::Text(QByteArray("<a>").repeated(depth) +
                                  QByteArray("</a>").repeated(depth)));
    server.Play(script);
    UpdateRig rig;
    UpdateInit::SetUpdateUrl(server.Address("/check?pid=&version=&email="));
    rig.Build();
    QVERIFY(!rig.Manager().IsNeedUpdate());
}

QTEST_MAIN(tst_HostileSilentCheck)
#include "tst_HostileSilentCheck.moc"
