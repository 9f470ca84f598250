#include "tests/support/TestCertificates.h"
#include "tests/update/hostile/HostileScripts.h"

#include <QTcpServer>
#include <QtTest>

/// The question for the size of the package, and addresses that no honest manifest names.
class tst_HostileSize : public QObject
{
    Q_OBJECT

private slots:
    void AnAnswer_data();
    void AnAnswer();
    void AnAddress_data();
    void AnAddress();
    void NobodyListens();
    void ACertificateOfAnUnknownAuthority();
    void AnEncryptedDownloadThatIsCutGoesOn();
};

namespace
{
using Script = FaultScript;

constexpr auto installed = HostileWorld::End::Installed;
constexpr auto told = HostileWorld::End::Told;

HostileRow::Spoil gLength(const QByteArray &length)
{
    return gHead(gHonest().Length(length));
}

HostileRow::Spoil gRedirects(const QByteArray &first, const QByteArray &second)
{
    return [first, second](Script &script) {
        script.When("HEAD", "/files/setup.exe").Answer(FaultAnswer::Redirect(first));
        script.When("HEAD", "/two").Answer(FaultAnswer::Redirect(second));
        script.When("HEAD", "/three").Answer(gHonest());
        script.When("GET", "/three").Answer(gHonest());
    };
}
} // namespace

void tst_HostileSize::AnAnswer_data()
{
    QTest::addColumn<HostileRow>("row");
    const QList<HostileRow> rows{
        {"closed before it answers", gHead(FaultAnswer::Closed()), told, "cut"},
        {"reset before it answers", gHead(FaultAnswer::WithReset()), told},
        {"never answered", gHead(FaultAnswer::Silence()), told},
        {"a head one byte at a time",
         gHead(FaultAnswer::Text("", "text/plain").Pieces(1, 100).BodyToHead().StallAfter(0)),
         told},
        {"something that is not HTTP", gHead(FaultAnswer::Raw("\1\2\3\r\n\r\n")), told},
        {"not found", gHead(FaultAnswer::Status(404)), told, "HTTP status 404"},
        {"a failing server", gHead(FaultAnswer::Status(500)), told, "HTTP status 500"},
        {"no length", gHead(gHonest().NoLength()), told, "no length is given"},
        {"a length of zero", gLength("0"), told, "no length is given"},
        {"a length below zero", gLength("-5"), told},
        {"a length beyond 64 bits", gLength("99999999999999999999"), told},
        {"a length of words", gLength("many"), told, "no length is given"},
        {"two lengths", gHead(gHonest().Length("100003").Length("5")), installed},
        {"a length larger than any disk", gLength("9223372036854775807"), told},
        {"a length larger than the package", gLength("150000"), told},
        {"a length smaller than the package", gLength("50000"), told},
        {"a length of one byte", gLength("1"), told},
        {"a body where none belongs", gHead(gHonest().BodyToHead()), installed},
        {"a late answer", gHead(gHonest().FirstByteAfter(60)), installed},
        {"very many header fields", gHead(gHonest().HeaderFlood(10000)), installed},
        {"one redirect where two belong", gHead(FaultAnswer::Redirect("/three")), told},
        {"two redirects", gRedirects("/two", "/three"), installed},
        {"a redirect to itself", gHead(FaultAnswer::Redirect("/files/setup.exe")), told},
        {"a redirect to nowhere", gHead(FaultAnswer::Redirect("")), told},
        {"a redirect to a file of this machine", gHead(FaultAnswer::Redirect("file:///etc/passwd")),
         told},
        {"a second redirect to a file of this machine", gRedirects("/two", "file:///etc/passwd"),
         told},
    };
    for (const HostileRow &row : rows)
        QTest::newRow(row.sentence) << row;
}

void tst_HostileSize::AnAnswer()
{
    QFETCH(HostileRow, row);
    HostileWorld world;
    gCheckHostileDownload(row, world);
}

void tst_HostileSize::AnAddress_data()
{
    QTest::addColumn<QString>("address");
    QTest::newRow("of a folder") << "/files/";
    QTest::newRow("of the folder above") << "/files/..";
    QTest::newRow("of a file of this machine") << "file:///etc/passwd";
    QTest::newRow("of its own bytes") << "data:application/octet-stream;base64,AAAA";
    QTest::newRow("that is none") << "::::";
    QTest::newRow("of a host that cannot be") << "http://no-such-host.invalid/setup.exe";
}

void tst_HostileSize::AnAddress()
{
    QFETCH(QString, address);
    HostileWorld world;
    FaultScript script = HostileWorld::Honest();
    for (const char *path : {"/files/", "/files/.."}) {
        script.When("HEAD", path).Answer(gHonest());
        script.When("GET", path).Answer(gHonest());
    }
    world.Server().Play(script);
    world.Offer(address.startsWith('/') ? world.Server().Address(address) : address);
    world.PressUpdateNow();
    QTRY_COMPARE(world.Ended(), told);
    QCOMPARE(world.Rig().HintText(), QStringLiteral("Failed to download the update."));
    QCOMPARE(world.Damage(), QString());
}

void tst_HostileSize::NobodyListens()
{
    QTcpServer closed;
    QVERIFY(closed.listen(QHostAddress::LocalHost));
    const QString address = QString("http://127.0.0.1:%1/setup.exe").arg(closed.serverPort());
    closed.close();
    HostileWorld world;
    world.Offer(address);
    world.PressUpdateNow();
    QTRY_COMPARE(world.Ended(), told);
    QCOMPARE(world.Rig().HintText(), QStringLiteral("Failed to download the update."));
    QCOMPARE(world.Damage(), QString());
}

void tst_HostileSize::ACertificateOfAnUnknownAuthority()
{
    const TestCertificates certificates;
    HostileWorld world(certificates);
    world.Offer();
    world.PressUpdateNow();
    QTRY_COMPARE(world.Ended(), told);
    QCOMPARE(world.Rig().HintText(), QStringLiteral("Failed to download the update."));
    QVERIFY(world.Server().Requests().isEmpty());
    QCOMPARE(world.Damage(), QString());
}

void tst_HostileSize::AnEncryptedDownloadThatIsCutGoesOn()
{
    const TestCertificates certificates;
    certificates.TrustAuthority();
    HostileWorld world(certificates);
    gCheckHostileDownload({"",
                           [](Script &script) {
                               for (int number = 1; number <= 5; ++number)
                                   HostileWorld::Range(script, number)
                                       .Answer(gHonest().CutAfter(4000))
                                       .Then(gHonest().ResetAfter(4000))
                                       .Then(gHonest());
                           },
                           installed},
                          world);
}

QTEST_MAIN(tst_HostileSize)
#include "tst_HostileSize.moc"
