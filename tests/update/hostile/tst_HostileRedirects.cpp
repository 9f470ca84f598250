// SPDX-License-Identifier: MIT

#include "tests/update/hostile/HostileScripts.h"

#include <QtTest>

/// Redirects of the ranges; the answer behind one is the whole package.
class tst_HostileRedirects : public QObject
{
    Q_OBJECT

private slots:
    void a_redirect_data();
    void a_redirect() { gCheckHostileRow(); }
};

namespace
{
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

void tst_HostileRedirects::a_redirect_data()
{
    const QByteArray larger = HostileWorld::Package() + "more";
    const QByteArray smaller = HostileWorld::Package().chopped(4);
    const FaultAnswer page = FaultAnswer::Text("<html>Log in</html>", "text/html");
    gAddHostileRows({
        {"found_elsewhere", gElsewhere(gHonest()), installed},
        {"moved_for_good", gElsewhere(gHonest(), 301), installed},
        {"see_elsewhere", gElsewhere(gHonest(), 303), installed},
        {"for_now_elsewhere", gElsewhere(gHonest(), 307), installed},
        {"a_few_bytes_at_a_time_elsewhere", gElsewhere(gHonest().Pieces(10000, 5)), installed},
        {"one_range_elsewhere",
         [](FaultScript &script) {
             HostileWorld::Range(script, 3).Answer(FaultAnswer::Redirect("/elsewhere"));
             script.When("GET", "/elsewhere").Answer(gHonest());
         },
         installed},
        {"around_in_a_circle_of_one", gAllTo("/files/setup.exe"), told, "is not followed"},
        {"around_in_a_circle_of_two",
         [](FaultScript &script) {
             script.When("GET", "/files/setup.exe").Answer(FaultAnswer::Redirect("/two"));
             script.When("GET", "/two").Answer(FaultAnswer::Redirect("/files/setup.exe"));
         },
         told},
        {"to_nowhere", gAllTo(""), told},
        {"to_no_address", gAllTo("http://[::::/"), told},
        {"to_a_host_that_cannot_be", gAllTo("http://no-such-host.invalid/setup.exe"), told,
         "offline or unknown host"},
        {"to_a_port_where_nobody_listens", gAllTo("http://127.0.0.1:1/setup.exe"), told, "refused"},
        {"to_a_file_of_this_machine", gAllTo("file:///etc/passwd"), told},
        {"to_its_own_bytes", gAllTo("data:application/octet-stream;base64,AAAA"), told},
        {"to_another_protocol", gAllTo("ftp://127.0.0.1:1/setup.exe"), told},
        {"not_found_elsewhere", gElsewhere(FaultAnswer::Status(404)), told, "HTTP status 404"},
        {"a_page_elsewhere", gElsewhere(page), told, "wrong content type"},
        {"a_larger_file_elsewhere", gElsewhere(FaultAnswer::File(larger)), told},
        {"a_smaller_file_elsewhere", gElsewhere(FaultAnswer::File(smaller)), told},
        {"a_compressed_file_elsewhere", gElsewhere(gHonest().Gzip()), told},
        {"a_body_without_an_end_elsewhere", gElsewhere(gHonest().NoLength().Endless()), told},
        {"closed_elsewhere", gElsewhere(FaultAnswer::Closed()), told},
        {"silence_elsewhere", gElsewhere(FaultAnswer::Silence()), told},
        {"cut_for_good_elsewhere", gElsewhere(gHonest().CutAfter(30000)), told},
        {"stalled_for_good_elsewhere", gElsewhere(gHonest().StallAfter(30000)), told},
    });
}

QTEST_MAIN(tst_HostileRedirects)
#include "tst_HostileRedirects.moc"
