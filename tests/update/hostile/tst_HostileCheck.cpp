// SPDX-License-Identifier: MIT

#include "api/UpdateInit.h"
#include "tests/support/HttpServer.h"
#include "tests/support/LogCapture.h"
#include "tests/support/TestCertificates.h"
#include "tests/update/UpdateRig.h"

#include <QtTest>

#include <functional>

/// Wrong answers to the version check, the interactive one and the silent one.
class tst_HostileCheck : public QObject
{
    Q_OBJECT

private slots:
    void an_answer_data();
    void an_answer();
    void a_manifest_whose_second_half_comes_late();
    void a_manifest_that_is_cut_data();
    void a_manifest_that_is_cut();
    void a_certificate_of_an_unknown_authority();

private:
    static void Listen(const QString &address)
    {
        UpdateInit::SetUpdateUrl(address + "?pid=&version=&email=");
    }
};

namespace
{
const char failed[] = "Failed to check update!";
const char latest[] = "Your current version is the latest version!";
const QByteArray path = "/check";

QByteArray gManifest(const QByteArray &more = QByteArray())
{
    return UpdateRig::Manifest("http://u.example/setup.exe", QString::fromUtf8(more)).toUtf8();
}

QByteArray gNested(int depth)
{
    return QByteArray("<a>").repeated(depth) + QByteArray("</a>").repeated(depth);
}

QByteArray gEntities()
{
    QByteArray text = "<!DOCTYPE a [<!ENTITY e0 \"0123456789\">";
    for (int level = 1; level < 12; ++level) {
        const QByteArray inner = "&e" + QByteArray::number(level - 1) + ';';
        text += "<!ENTITY e" + QByteArray::number(level) + " \"" + inner.repeated(10) + "\">";
    }
    return text + "]><a><ExeUrl_x64>&e11;</ExeUrl_x64></a>";
}

FaultScript gScript(const FaultAnswer &answer)
{
    FaultScript script;
    script.When("GET", path).Answer(answer);
    return script;
}
} // namespace

void tst_HostileCheck::an_answer_data()
{
    QTest::addColumn<FaultAnswer>("answer");
    QTest::addColumn<QString>("page");
    QTest::addColumn<QString>("text");
    QTest::addColumn<bool>("needed");
    const FaultAnswer honest = FaultAnswer::Text(gManifest());
    const auto ends = [](const char *sentence, const FaultAnswer &answer, const char *text) {
        QTest::newRow(sentence) << answer << "hint" << text << false;
    };
    const auto offers = [](const char *sentence, const FaultAnswer &answer) {
        QTest::newRow(sentence) << answer << "version"
                                << "" << true;
    };
    ends("closed before it answers", FaultAnswer::Closed(), failed);
    ends("reset before it answers", FaultAnswer::WithReset(), failed);
    ends("closed within the head", FaultAnswer::Raw("HTTP/1.1 200 OK\r\nContent-Ty"), failed);
    ends("something that is not HTTP", FaultAnswer::Raw("220 mail.example ESMTP\r\n\r\n"), failed);
    ends("not found, with a page", FaultAnswer::Text("<html/>", "text/html").WithStatus(404),
         failed);
    ends("a failing server, with a manifest", honest.WithStatus(500), failed);
    ends("not found, with a page without an end",
         FaultAnswer::Text(QByteArray(65536, 'x')).WithStatus(404).NoLength().Endless(), failed);
    ends("an overloaded server", FaultAnswer::Status(503), failed);
    ends("a page to log in at", FaultAnswer::Text("<html><p>Log in<br></html>", "text/html"),
         latest);
    ends("a redirect with a page", honest.WithStatus(302).Body("<html>moved</html>").Length("18"),
         latest);
    ends("half a manifest that claims to be whole", FaultAnswer::Text(gManifest().left(60)),
         latest);
    ends("zeros", FaultAnswer::Text(QByteArray(5000, '\0')), latest);
    ends("bytes that are no text", FaultAnswer::Text(QByteArray(5000, '\xff')), latest);
    ends("entities that grow without bound", FaultAnswer::Text(gEntities()), latest);
    ends("an entity out of a file of this machine",
         FaultAnswer::Text("<!DOCTYPE a [<!ENTITY e SYSTEM \"file:///etc/hostname\">]>"
                           "<a><ExeUrl_x64>&e;</ExeUrl_x64></a>"),
         latest);
    ends("elements nested two thousand deep", FaultAnswer::Text(gNested(2000)), latest);
    offers("a late first byte", honest.FirstByteAfter(60));
    offers("a compressed manifest", honest.Gzip());
    offers("the same length twice", honest.Length(QByteArray::number(gManifest().size()))
                                        .Length(QByteArray::number(gManifest().size())));
    offers("more bytes than the head announces", honest.Longer(3000));
    offers("very many header fields", honest.HeaderFlood(30000));
}

void tst_HostileCheck::an_answer()
{
    QFETCH(FaultAnswer, answer);
    QFETCH(QString, page);
    QFETCH(QString, text);
    QFETCH(bool, needed);
    HttpServer server;
    server.Play(gScript(answer));
    const LogCapture log;
    UpdateRig rig;
    Listen(server.Address(path));
    rig.Build();
    rig.Manager().LiveUpdate("1", "2", "ann@u.example");
    QTRY_COMPARE(rig.Pages().last(), page);
    if (page == "hint") {
        QTRY_COMPARE(rig.HintText(), text);
    }
    QTest::qWait(50);
    QCOMPARE(rig.Pages().last(), page);
    QVERIFY(text != failed || log.CountContaining("check failed") > 0);
    QVERIFY2(log.CountContaining("ann@u.example") == 0, "an address was logged");
    QVERIFY2(log.CountContaining("email=") == 0, "a query was logged");

    QCOMPARE(rig.Manager().IsNeedUpdate(), needed);
    QVERIFY(!QFile::exists(rig.Target()));
}

/// The interactive check reads the reply once, when the first bytes are there; the silent one waits
/// for all of it.
void tst_HostileCheck::a_manifest_whose_second_half_comes_late()
{
    const FaultAnswer honest = FaultAnswer::Text(gManifest());
    FaultScript script;
    script.When("GET", path).Answer(honest.StallAfter(60)).Answer(honest.PauseAfter(60, 50));
    HttpServer server;
    server.Play(script);
    UpdateRig rig;
    Listen(server.Address(path));
    rig.Build();
    rig.Manager().LiveUpdate("1", "2", "3");
    QTRY_COMPARE(rig.HintText(), QString(latest));
    QCOMPARE(rig.Pages().last(), QStringLiteral("hint"));

    QVERIFY(rig.Manager().IsNeedUpdate());
}

void tst_HostileCheck::a_manifest_that_is_cut_data()
{
    QTest::addColumn<int>("pauseMs");
    QTest::newRow("along with its first bytes") << 0;
    QTest::newRow("behind its first bytes") << 100;
}

/// The end of the connection is seen along with the first bytes, and the check has failed, or behind
/// them, and they have been read: the pauses of this machine decide. Nothing is offered either way.
void tst_HostileCheck::a_manifest_that_is_cut()
{
    QFETCH(int, pauseMs);
    HttpServer server;
    server.Play(gScript(FaultAnswer::Text(gManifest()).PauseAfter(60, pauseMs).CutAfter(60)));
    UpdateRig rig;
    Listen(server.Address(path));
    rig.Build();
    rig.Manager().LiveUpdate("1", "2", "3");
    const QStringList texts = {failed, latest};
    QTRY_VERIFY(texts.contains(rig.HintText()));
    QTest::qWait(pauseMs);
    QVERIFY2(texts.contains(rig.HintText()), qPrintable(rig.HintText()));
    QCOMPARE(rig.Pages().last(), QStringLiteral("hint"));

    QVERIFY(!rig.Manager().IsNeedUpdate());
    QVERIFY(!QFile::exists(rig.Target()));
}

void tst_HostileCheck::a_certificate_of_an_unknown_authority()
{
    const TestCertificates certificates;
    HttpServer server(certificates);
    server.Play(gScript(FaultAnswer::Text(gManifest())));
    const LogCapture log;
    UpdateRig rig;
    Listen(server.Address(path));
    rig.Build();
    rig.Manager().LiveUpdate("1", "2", "3");
    QTRY_COMPARE(rig.Pages().last(), QStringLiteral("hint"));
    QCOMPARE(rig.HintText(), QString(failed));
    QVERIFY(log.CountContaining("TLS, ") > 0);
    QVERIFY(!rig.Manager().IsNeedUpdate());
    QVERIFY(server.Requests().isEmpty());
}

QTEST_MAIN(tst_HostileCheck)
#include "tst_HostileCheck.moc"
