// SPDX-License-Identifier: MIT

#include "tests/support/TestCertificates.h"
#include "tests/update/hostile/HostileScripts.h"

#include <QTcpServer>
#include <QtTest>

/// Wrong answers to the request for the size of the package, and wrong addresses in the manifest.
class tst_HostileSize : public QObject
{
    Q_OBJECT

private slots:
    void an_answer_data();
    void an_answer() { gCheckHostileRow(); }
    void an_address_data();
    void an_address();
    void nobody_listens();
    void a_certificate_of_an_unknown_authority();
    void an_encrypted_download_that_is_cut_goes_on();

private:
    /// "Update Now" ends with the user being told, and without damage.
    static void CheckFailure(HostileWorld &world);
};

namespace
{
HostileRow::Spoil gLength(const QByteArray &length)
{
    return gHead(gHonest().Length(length));
}

HostileRow::Spoil gRedirects(const QByteArray &first, const QByteArray &second)
{
    return [first, second](FaultScript &script) {
        script.When("HEAD", "/files/setup.exe").Answer(FaultAnswer::Redirect(first));
        script.When("HEAD", "/two").Answer(FaultAnswer::Redirect(second));
        script.When("HEAD", "/three").Answer(gHonest());
        script.When("GET", "/three").Answer(gHonest());
    };
}
} // namespace

void tst_HostileSize::an_answer_data()
{
    gAddHostileRows({
        {"closed_before_it_answers", gHead(FaultAnswer::Closed()), told, "cut"},
        {"reset_before_it_answers", gHead(FaultAnswer::WithReset()), told},
        {"never_answered", gHead(FaultAnswer::Silence()), told},
        {"a_head_one_byte_at_a_time",
         gHead(FaultAnswer::Text("", "text/plain").Pieces(1, 100).BodyToHead().StallAfter(0)),
         told},
        {"something_that_is_not_http", gHead(FaultAnswer::Raw("\1\2\3\r\n\r\n")), told},
        {"not_found", gHead(FaultAnswer::Status(404)), told, "HTTP status 404"},
        {"a_failing_server", gHead(FaultAnswer::Status(500)), told, "HTTP status 500"},
        {"a_page_with_a_length", gHead(FaultAnswer::Text("<html>Log in</html>", "text/html")), told,
         "the answer is a page"},
        {"no_length", gHead(gHonest().NoLength()), told, "no length is given"},
        {"a_length_of_zero", gLength("0"), told, "no length is given"},
        {"a_length_below_zero", gLength("-5"), told},
        {"a_length_beyond_64_bits", gLength("99999999999999999999"), told},
        {"a_length_of_words", gLength("many"), told, "no length is given"},
        {"two_lengths", gHead(gHonest().Length("100003").Length("5")), installed},
        {"a_length_larger_than_any_disk", gLength("9223372036854775807"), told},
        {"a_length_larger_than_the_package", gLength("150000"), told},
        {"a_length_smaller_than_the_package", gLength("50000"), told},
        {"a_length_of_one_byte", gLength("1"), told},
        {"a_body_where_none_belongs", gHead(gHonest().BodyToHead()), installed},
        {"a_late_answer", gHead(gHonest().FirstByteAfter(60)), installed},
        {"very_many_header_fields", gHead(gHonest().HeaderFlood(10000)), installed},
        {"one_redirect_where_two_belong", gHead(FaultAnswer::Redirect("/three")), told},
        {"two_redirects", gRedirects("/two", "/three"), installed},
        {"a_redirect_to_itself", gHead(FaultAnswer::Redirect("/files/setup.exe")), told},
        {"a_redirect_to_nowhere", gHead(FaultAnswer::Redirect("")), told},
        {"a_redirect_to_a_file_of_this_machine", gHead(FaultAnswer::Redirect("file:///etc/passwd")),
         told},
        {"a_second_redirect_to_a_file_of_this_machine", gRedirects("/two", "file:///etc/passwd"),
         told},
    });
}

void tst_HostileSize::an_address_data()
{
    QTest::addColumn<QString>("address");
    QTest::newRow("of_a_folder") << "/files/";
    QTest::newRow("of_the_folder_above") << "/files/..";
    QTest::newRow("of_a_file_of_this_machine") << "file:///etc/passwd";
    QTest::newRow("of_its_own_bytes") << "data:application/octet-stream;base64,AAAA";
    QTest::newRow("that_is_none") << "::::";
    QTest::newRow("of_a_host_that_cannot_be") << "http://no-such-host.invalid/setup.exe";
}

void tst_HostileSize::an_address()
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
    CheckFailure(world);
}

void tst_HostileSize::CheckFailure(HostileWorld &world)
{
    world.PressUpdateNow();
    QTRY_COMPARE(world.Ended(), told);
    QCOMPARE(world.Rig().HintText(), QStringLiteral("Failed to download the update."));
    QCOMPARE(world.Damage(), QString());
}

void tst_HostileSize::nobody_listens()
{
    QTcpServer closed;
    QVERIFY(closed.listen(QHostAddress::LocalHost));
    const QString address = QString("http://127.0.0.1:%1/setup.exe").arg(closed.serverPort());
    closed.close();
    HostileWorld world;
    world.Offer(address);
    CheckFailure(world);
}

void tst_HostileSize::a_certificate_of_an_unknown_authority()
{
    const TestCertificates certificates;
    HostileWorld world(certificates);
    world.Offer();
    CheckFailure(world);
    QVERIFY(world.Server().Requests().isEmpty());
}

void tst_HostileSize::an_encrypted_download_that_is_cut_goes_on()
{
    const TestCertificates certificates;
    certificates.TrustAuthority();
    HostileWorld world(certificates);
    gCheckHostileDownload({"",
                           [](FaultScript &script) {
                               for (int number = 1; number <= 5; ++number) {
                                   HostileWorld::Range(script, number)
                                       .Answer(gHonest().CutAfter(4000))
                                       .Then(gHonest().ResetAfter(4000))
                                       .Then(gHonest());
                               }
                           },
                           installed},
                          world);
}

QTEST_MAIN(tst_HostileSize)
#include "tst_HostileSize.moc"
