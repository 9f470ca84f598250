// SPDX-License-Identifier: MIT

#include "tests/support/TestCertificates.h"
#include "tests/update/hostile/HostileScripts.h"

#include <QtTest>

/// Connections that fail without being closed.
class tst_HostileNetwork : public QObject
{
    Q_OBJECT

private slots:
    void an_encrypted_connection_that_is_spoilt_data();
    void an_encrypted_connection_that_is_spoilt();
};

void tst_HostileNetwork::an_encrypted_connection_that_is_spoilt_data()
{
    const FaultAnswer spoilt = gHonest().SpoilAfter(7000);
    gAddHostileRows({
        {"the_second_range_once", gAtFirst(2, spoilt), installed, "range 2 was cut"},
        {"all_ranges_once", gAllRangesAtFirst(spoilt), installed, "was cut"},
        {"the_last_range_again_and_again_but_it_goes_on", gAlways(5, spoilt), installed,
         "range 5 was cut"},
        {"the_fourth_range_behind_its_head_for_good", gAlways(4, gHonest().SpoilAfter(0)), told,
         "range 4 is given up, cut 6 times"},
        {"the_package_elsewhere_once",
         [spoilt](FaultScript &script) {
             script.When("GET", "/files/setup.exe").Answer(FaultAnswer::Redirect("/elsewhere"));
             script.When("GET", "/elsewhere").Answer(5, spoilt).Then(gHonest());
         },
         installed, "was cut"},
    });
}

void tst_HostileNetwork::an_encrypted_connection_that_is_spoilt()
{
    QFETCH(HostileRow, row);
    static const TestCertificates certificates;
    static const bool isTrusted = [] {
        certificates.TrustAuthority();
        return true;
    }();
    QVERIFY(isTrusted);
    HostileWorld world(certificates);
    // On a busy machine the handshakes of five connections take longer than a stall in other tests.
    world.Rig().System().stallLimit = std::chrono::seconds(4);
    gCheckHostileDownload(row, world);
    QVERIFY2(world.Log().CountContaining("offline, ") > 0, world.Story().constData());
}

QTEST_MAIN(tst_HostileNetwork)
#include "tst_HostileNetwork.moc"
