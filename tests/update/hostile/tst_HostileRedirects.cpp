#include "tests/update/hostile/HostileScripts.h"

#include <QtTest>

/// Redirects of the ranges; the answer behind one is the whole package.
class tst_HostileRedirects : public QObject
{
    Q_OBJECT

private slots:
    void ARedirect_data();
    void ARedirect();
};

namespace
{
constexpr auto installed = HostileWorld::End::Installed;
constexpr auto told = HostileWorld::End::Told;

/// All ranges are redirected to "/elsewhere", which gives @p answer.
HostileRow::Spoil gElsewhere(const FaultAnswer &answer, int status = 302)
{
    return [answer, status](FaultScript &script) {
        script.When("GET", "/files/setup.exe").Answer(FaultAnswer::Redirect("/elsewhere", status));
        script.When("GET", "/elsewhere").Answer(answer);
    };
}

HostileRow::Spoil gAllTo(const QByteArray &location)
{
    return [location](FaultScript &script) {
        script.When("GET", "/files/setup.exe").Answer(FaultAnswer::Redirect(location));
    };
}
} // namespace

void tst_HostileRedirects::ARedirect_data()
{
    QTest::addColumn<HostileRow>("row");
    const QByteArray larger = HostileWorld::Package() + "more";
    const QByteArray smaller = HostileWorld::Package().chopped(4);
    const FaultAnswer page = FaultAnswer::Text("<html>Log in</html>", "text/html");
    const QList<HostileRow> rows{
        {"found elsewhere", gElsewhere(gHonest()), installed},
        {"moved for good", gElsewhere(gHonest(), 301), installed},
        {"see elsewhere", gElsewhere(gHonest(), 303), installed},
        {"for now elsewhere", gElsewhere(gHonest(), 307), installed},
        {"a few bytes at a time elsewhere", gElsewhere(gHonest().Pieces(10000, 5)), installed},
        {"one range elsewhere",
         [](FaultScript &script) {
             HostileWorld::Range(script, 3).Answer(FaultAnswer::Redirect("/elsewhere"));
             script.When("GET", "/elsewhere").Answer(gHonest());
         },
         installed},
        {"around in a circle of one", gAllTo("/files/setup.exe"), told, "is not followed"},
        {"around in a circle of two",
         [](FaultScript &script) {
             script.When("GET", "/files/setup.exe").Answer(FaultAnswer::Redirect("/two"));
             script.When("GET", "/two").Answer(FaultAnswer::Redirect("/files/setup.exe"));
         },
         told},
        {"to nowhere", gAllTo(""), told},
        {"to no address", gAllTo("http://[::::/"), told},
        {"to a host that cannot be", gAllTo("http://no-such-host.invalid/setup.exe"), told,
         "offline or unknown host"},
        {"to a port where nobody listens", gAllTo("http://127.0.0.1:1/setup.exe"), told, "refused"},
        {"to a file of this machine", gAllTo("file:///etc/passwd"), told},
        {"to its own bytes", gAllTo("data:application/octet-stream;base64,AAAA"), told},
        {"to another protocol", gAllTo("ftp://127.0.0.1:1/setup.exe"), told},
        {"not found elsewhere", gElsewhere(FaultAnswer::Status(404)), told, "HTTP status 404"},
        {"a page elsewhere", gElsewhere(page), told, "wrong content type"},
        {"a larger file elsewhere", gElsewhere(FaultAnswer::File(larger)), told},
        {"a smaller file elsewhere", gElsewhere(FaultAnswer::File(smaller)), told},
        {"a compressed file elsewhere", gElsewhere(gHonest().Gzip()), told},
        {"a body without an end elsewhere", gElsewhere(gHonest().NoLength().Endless()), told},
        {"closed elsewhere", gElsewhere(FaultAnswer::Closed()), told},
        {"silence elsewhere", gElsewhere(FaultAnswer::Silence()), told},
        {"cut for good elsewhere", gElsewhere(gHonest().CutAfter(30000)), told},
        {"stalled for good elsewhere", gElsewhere(gHonest().StallAfter(30000)), told},
    };
    for (const HostileRow &row : rows)
        QTest::newRow(row.sentence) << row;
}

void tst_HostileRedirects::ARedirect()
{
    QFETCH(HostileRow, row);
    HostileWorld world;
    gCheckHostileDownload(row, world);
}

QTEST_MAIN(tst_HostileRedirects)
#include "tst_HostileRedirects.moc"
