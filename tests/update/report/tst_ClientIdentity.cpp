// SPDX-License-Identifier: MIT

#include "tests/support/SystemPlaces.h"
#include "update/report/ClientIdentity.h"

#include <QTemporaryDir>
#include <QtTest>

using Owner = SystemPlaces::Owner;
Q_DECLARE_METATYPE(Owner)

/// The client sign: how it is made from its sources, and when it is stored.
class tst_ClientIdentity : public QObject
{
    Q_OBJECT

private slots:
    void init();

    void a_sign_is_made_of_data();
    void a_sign_is_made_of();
    void a_short_disk_identifier_is_padded_with_zeros_in_front();
    void the_guid_is_used_without_data();
    void the_guid_is_used_without();
    void without_any_source_the_sign_is_empty();
    void the_sources_of_this_machine_give_a_sign();

    void a_users_sign_is_returned_though_the_machines_differ_and_nothing_is_written();
    void a_stored_sign_is_returned_as_it_is_data();
    void a_stored_sign_is_returned_as_it_is();
    void a_new_sign_is_stored_in_both_places_of_the_machine_and_not_in_the_users();
    void an_empty_stored_sign_is_replaced();
    void the_next_run_finds_the_sign();
    void a_sign_is_returned_though_it_cannot_be_stored();
    void a_guid_that_cannot_be_stored_is_another_one_in_the_next_run();

private:
    QScopedPointer<QTemporaryDir> m_folder;
    QScopedPointer<SystemPlaces> m_places;
};

static const QString firstPlace = "Halvard/Halvard Tessel Pack";
static const QString secondPlace = "Halvard/TPX";
static const QString guid = "{01234567-89AB-CDEF-0123-456789ABCDEF}";

/// An identity with the given values as its sources.
static ClientIdentity gIdentityOf(const QByteArray &address, const QByteArray &serial,
                                  const QByteArray &disk, const QString &newGuid = guid)
{
    return ClientIdentity({[address] { return address; }, [serial] { return serial; },
                           [disk] { return disk; }, [newGuid] { return newGuid; }});
}

static ClientIdentity gIdentityWithAllSources()
{
    return gIdentityOf("00AABBCCDDEE", "0000ABCD", "AB-12 3");
}
static const QString fullSign = "{0000ABCD-0000-000A-B123-00AABBCCDDEE}";

void tst_ClientIdentity::init()
{
    m_places.reset();
    m_folder.reset(new QTemporaryDir);
    m_places.reset(new SystemPlaces(m_folder->path()));
}

void tst_ClientIdentity::a_sign_is_made_of_data()
{
    QTest::addColumn<QByteArray>("address");
    QTest::addColumn<QByteArray>("serial");
    QTest::addColumn<QByteArray>("disk");
    QTest::addColumn<QString>("sign");
    const QByteArray address = "00AABBCCDDEE";
    const QByteArray serial = "0000ABCD";
    QTest::newRow("a_disk_identifier_of_twelve_characters")
        << address << serial << QByteArray("123456789ABC")
        << "{0000ABCD-1234-5678-9ABC-00AABBCCDDEE}";
    QTest::newRow("the_first_twelve_of_a_longer_disk_identifier")
        << address << serial << QByteArray("WD-WCC 4N0123456789")
        << "{0000ABCD-WDWC-C4N0-1234-00AABBCCDDEE}";
    QTest::newRow("zeros_for_a_disk_without_an_identifier")
        << address << serial << QByteArray() << "{0000ABCD-0000-0000-0000-00AABBCCDDEE}";
    QTest::newRow("zeros_for_a_volume_without_a_serial_number")
        << address << QByteArray("00000000") << QByteArray("123456789ABC")
        << "{00000000-1234-5678-9ABC-00AABBCCDDEE}";
    QTest::newRow("the_first_eight_of_a_longer_serial_number")
        << address << QByteArray("12345678FFFF") << QByteArray("123456789ABC")
        << "{12345678-1234-5678-9ABC-00AABBCCDDEE}";
    QTest::newRow("every_letter_in_upper_case")
        << QByteArray("00aabbccddee") << QByteArray("0000abcd") << QByteArray("abc-def ghijkl")
        << "{0000ABCD-ABCD-EFGH-IJKL-00AABBCCDDEE}";
}

void tst_ClientIdentity::a_sign_is_made_of()
{
    QFETCH(QByteArray, address);
    QFETCH(QByteArray, serial);
    QFETCH(QByteArray, disk);
    QTEST(gIdentityOf(address, serial, disk).MakeClientSign(), "sign");
    QCOMPARE(gIdentityOf(address, serial, disk).MakeClientSign().size(), 38);
}

void tst_ClientIdentity::a_short_disk_identifier_is_padded_with_zeros_in_front()
{
    // "AB123" behind seven zeros: the pieces 0000, 000A and B123.
    QCOMPARE(gIdentityWithAllSources().MakeClientSign(), fullSign);
}

void tst_ClientIdentity::the_guid_is_used_without_data()
{
    QTest::addColumn<QByteArray>("address");
    QTest::addColumn<QByteArray>("serial");
    QTest::newRow("a_network_adapter_with_a_six_byte_address")
        << QByteArray() << QByteArray("0000ABCD");
    QTest::newRow("all_of_an_address") << QByteArray("00AABBCCDDE") << QByteArray("0000ABCD");
    QTest::newRow("a_volume_serial") << QByteArray("00AABBCCDDEE") << QByteArray();
    QTest::newRow("all_of_a_volume_serial") << QByteArray("00AABBCCDDEE") << QByteArray("0000ABC");
    QTest::newRow("either") << QByteArray() << QByteArray();
}

void tst_ClientIdentity::the_guid_is_used_without()
{
    QFETCH(QByteArray, address);
    QFETCH(QByteArray, serial);
    QCOMPARE(gIdentityOf(address, serial, "123456789ABC").MakeClientSign(), guid);
}

void tst_ClientIdentity::without_any_source_the_sign_is_empty()
{
    const ClientIdentity identity = gIdentityOf({}, {}, {}, {});
    QVERIFY(identity.MakeClientSign().isEmpty());
    QVERIFY(identity.GetClientSign("Halvard").isEmpty());
}

void tst_ClientIdentity::the_sources_of_this_machine_give_a_sign()
{
    const QString sign = ClientIdentity().MakeClientSign();
    QCOMPARE(sign.size(), 38);
    QVERIFY(sign.startsWith('{') && sign.endsWith('}'));
    QCOMPARE(sign.count('-'), 4);
    QCOMPARE(sign, sign.toUpper());
}

void tst_ClientIdentity::
    a_users_sign_is_returned_though_the_machines_differ_and_nothing_is_written()
{
    SystemPlaces::PutSign(Owner::User, firstPlace, "user");
    SystemPlaces::PutSign(Owner::Machine, firstPlace, "first");
    QCOMPARE(gIdentityWithAllSources().GetClientSign("Halvard"), QString("user"));
    QCOMPARE(SystemPlaces::Sign(Owner::Machine, firstPlace), QString("first"));
    QVERIFY(SystemPlaces::Sign(Owner::Machine, secondPlace).isEmpty());
}

void tst_ClientIdentity::a_stored_sign_is_returned_as_it_is_data()
{
    QTest::addColumn<Owner>("owner");
    QTest::addColumn<QString>("place");
    QTest::newRow("from_the_first_place_of_the_user") << Owner::User << firstPlace;
    QTest::newRow("from_the_first_place_of_the_machine") << Owner::Machine << firstPlace;
    QTest::newRow("from_the_second_place_of_the_machine") << Owner::Machine << secondPlace;
}

void tst_ClientIdentity::a_stored_sign_is_returned_as_it_is()
{
    QFETCH(Owner, owner);
    QFETCH(QString, place);
    SystemPlaces::PutSign(owner, place, "in lower case");
    QCOMPARE(gIdentityWithAllSources().GetClientSign("Halvard"), QString("in lower case"));
    int signs = 0;
    for (const QString &sign : {SystemPlaces::Sign(Owner::User, firstPlace),
                                SystemPlaces::Sign(Owner::Machine, firstPlace),
                                SystemPlaces::Sign(Owner::Machine, secondPlace)}) {
        signs += sign.isEmpty() ? 0 : 1;
    }
    QCOMPARE(signs, 1);
}

void tst_ClientIdentity::a_new_sign_is_stored_in_both_places_of_the_machine_and_not_in_the_users()
{
    QCOMPARE(gIdentityWithAllSources().GetClientSign("Halvard"), fullSign);
    QCOMPARE(SystemPlaces::Sign(Owner::Machine, firstPlace), fullSign);
    QCOMPARE(SystemPlaces::Sign(Owner::Machine, secondPlace), fullSign);
    QVERIFY(SystemPlaces::Sign(Owner::User, firstPlace).isEmpty());
    QVERIFY(SystemPlaces::Sign(Owner::User, secondPlace).isEmpty());
}

void tst_ClientIdentity::an_empty_stored_sign_is_replaced()
{
    SystemPlaces::PutSign(Owner::Machine, firstPlace, "");
    QCOMPARE(gIdentityWithAllSources().GetClientSign("Halvard"), fullSign);
    QCOMPARE(SystemPlaces::Sign(Owner::Machine, firstPlace), fullSign);
}

void tst_ClientIdentity::the_next_run_finds_the_sign()
{
    gIdentityWithAllSources().GetClientSign("Halvard");
    const ClientIdentity other = gIdentityOf("FFFFFFFFFFFF", "FFFFFFFF", "other disk");
    QCOMPARE(other.GetClientSign("Halvard"), fullSign);
    QCOMPARE(other.ReadClientSign("Halvard"), fullSign);
    QVERIFY(other.ReadClientSign("Another").isEmpty());
}

void tst_ClientIdentity::a_sign_is_returned_though_it_cannot_be_stored()
{
    SystemPlaces::BlockSignsOf("Halvard");
    QCOMPARE(gIdentityWithAllSources().GetClientSign("Halvard"), fullSign);
    QCOMPARE(gIdentityWithAllSources().GetClientSign("Halvard"), fullSign);
    QVERIFY(gIdentityWithAllSources().ReadClientSign("Halvard").isEmpty());
    QVERIFY(SystemPlaces::Sign(Owner::User, firstPlace).isEmpty());
}

void tst_ClientIdentity::a_guid_that_cannot_be_stored_is_another_one_in_the_next_run()
{
    SystemPlaces::BlockSignsOf("Halvard");
    QCOMPARE(gIdentityOf({}, {}, {}, "{1}").GetClientSign("Halvard"), QString("{1}"));
    QCOMPARE(gIdentityOf({}, {}, {}, "{2}").GetClientSign("Halvard"), QString("{2}"));
}

QTEST_GUILESS_MAIN(tst_ClientIdentity)
#include "tst_ClientIdentity.moc"
