#include "tests/support/SystemPlaces.h"
#include "update/ClientIdentity.h"

#include <QTemporaryDir>
#include <QtTest>

using Owner = SystemPlaces::Owner;
Q_DECLARE_METATYPE(Owner)

/// The client sign: how it is made of its sources, and when it is stored.
class tst_ClientIdentity : public QObject
{
    Q_OBJECT

private slots:
    void init();

    void ASignIsMadeOf_data();
    void ASignIsMadeOf();
    void AShortDiskIdentifierIsPaddedWithZerosInFront();
    void TheGuidIsUsedWithout_data();
    void TheGuidIsUsedWithout();
    void WithoutAnySourceTheSignIsEmpty();
    void TheSourcesOfThisMachineGiveASign();

    void AUsersSignIsReturnedThoughTheMachinesDifferAndNothingIsWritten();
    void AStoredSignIsReturnedAsItIs_data();
    void AStoredSignIsReturnedAsItIs();
    void ANewSignIsStoredInBothPlacesOfTheMachineAndNotInTheUsers();
    void AnEmptyStoredSignIsReplaced();
    void TheNextRunFindsTheSign();
    void ASignIsReturnedThoughItCannotBeStored();
    void AGuidThatCannotBeStoredIsAnotherOneInTheNextRun();

private:
    QScopedPointer<QTemporaryDir> m_folder;
    QScopedPointer<SystemPlaces> m_places;
};

static const QString firstPlace = "Halvard/Halvard Tessel Pack";
static const QString secondPlace = "Halvard/TPX";
static const QString guid = "{01234567-89AB-CDEF-0123-456789ABCDEF}";

/// Sources that say what the test wants them to.
static ClientIdentity gIdentity(const QByteArray &address, const QByteArray &serial,
                                const QByteArray &disk, const QString &newGuid = guid)
{
    return ClientIdentity({[address] { return address; }, [serial] { return serial; },
                           [disk] { return disk; }, [newGuid] { return newGuid; }});
}

static ClientIdentity gFullIdentity()
{
    return gIdentity("00AABBCCDDEE", "0000ABCD", "AB-12 3");
}
static const QString fullSign = "{0000ABCD-0000-000A-B123-00AABBCCDDEE}";

void tst_ClientIdentity::init()
{
    m_places.reset();
    m_folder.reset(new QTemporaryDir);
    m_places.reset(new SystemPlaces(m_folder->path()));
}

void tst_ClientIdentity::ASignIsMadeOf_data()
{
    QTest::addColumn<QByteArray>("address");
    QTest::addColumn<QByteArray>("serial");
    QTest::addColumn<QByteArray>("disk");
    QTest::addColumn<QString>("sign");
    const QByteArray address = "00AABBCCDDEE";
    const QByteArray serial = "0000ABCD";
    QTest::newRow("a disk identifier of twelve characters")
        << address << serial << QByteArray("123456789ABC")
        << "{0000ABCD-1234-5678-9ABC-00AABBCCDDEE}";
    QTest::newRow("the first twelve of a longer disk identifier")
        << address << serial << QByteArray("WD-WCC 4N0123456789")
        << "{0000ABCD-WDWC-C4N0-1234-00AABBCCDDEE}";
    QTest::newRow("zeros for a disk without an identifier")
        << address << serial << QByteArray() << "{0000ABCD-0000-0000-0000-00AABBCCDDEE}";
    QTest::newRow("zeros for a volume without a serial number")
        << address << QByteArray("00000000") << QByteArray("123456789ABC")
        << "{00000000-1234-5678-9ABC-00AABBCCDDEE}";
    QTest::newRow("the first eight of a longer serial number")
        << address << QByteArray("12345678FFFF") << QByteArray("123456789ABC")
        << "{12345678-1234-5678-9ABC-00AABBCCDDEE}";
    QTest::newRow("every letter in upper case")
        << QByteArray("00aabbccddee") << QByteArray("0000abcd") << QByteArray("abc-def ghijkl")
        << "{0000ABCD-ABCD-EFGH-IJKL-00AABBCCDDEE}";
}

void tst_ClientIdentity::ASignIsMadeOf()
{
    QFETCH(QByteArray, address);
    QFETCH(QByteArray, serial);
    QFETCH(QByteArray, disk);
    QTEST(gIdentity(address, serial, disk).MakeClientSign(), "sign");
    QCOMPARE(gIdentity(address, serial, disk).MakeClientSign().size(), 38);
}

void tst_ClientIdentity::AShortDiskIdentifierIsPaddedWithZerosInFront()
{
    // "AB123" behind seven zeros: the pieces 0000, 000A and B123.
    QCOMPARE(gFullIdentity().MakeClientSign(), fullSign);
}

void tst_ClientIdentity::TheGuidIsUsedWithout_data()
{
    QTest::addColumn<QByteArray>("address");
    QTest::addColumn<QByteArray>("serial");
    QTest::newRow("a network adapter with a six-byte address")
        << QByteArray() << QByteArray("0000ABCD");
    QTest::newRow("all of an address") << QByteArray("00AABBCCDDE") << QByteArray("0000ABCD");
    QTest::newRow("a volume serial") << QByteArray("00AABBCCDDEE") << QByteArray();
    QTest::newRow("all of a volume serial") << QByteArray("00AABBCCDDEE") << QByteArray("0000ABC");
    QTest::newRow("either") << QByteArray() << QByteArray();
}

void tst_ClientIdentity::TheGuidIsUsedWithout()
{
    QFETCH(QByteArray, address);
    QFETCH(QByteArray, serial);
    QCOMPARE(gIdentity(address, serial, "123456789ABC").MakeClientSign(), guid);
}

void tst_ClientIdentity::WithoutAnySourceTheSignIsEmpty()
{
    const ClientIdentity identity = gIdentity({}, {}, {}, {});
    QVERIFY(identity.MakeClientSign().isEmpty());
    QVERIFY(identity.GetClientSign("Halvard").isEmpty());
}

void tst_ClientIdentity::TheSourcesOfThisMachineGiveASign()
{
    const QString sign = ClientIdentity().MakeClientSign();
    QCOMPARE(sign.size(), 38);
    QVERIFY(sign.startsWith('{') && sign.endsWith('}'));
    QCOMPARE(sign.count('-'), 4);
    QCOMPARE(sign, sign.toUpper());
}

void tst_ClientIdentity::AUsersSignIsReturnedThoughTheMachinesDifferAndNothingIsWritten()
{
    SystemPlaces::PutSign(Owner::User, firstPlace, "user");
    SystemPlaces::PutSign(Owner::Machine, firstPlace, "first");
    QCOMPARE(gFullIdentity().GetClientSign("Halvard"), QString("user"));
    QCOMPARE(SystemPlaces::Sign(Owner::Machine, firstPlace), QString("first"));
    QVERIFY(SystemPlaces::Sign(Owner::Machine, secondPlace).isEmpty());
}

void tst_ClientIdentity::AStoredSignIsReturnedAsItIs_data()
{
    QTest::addColumn<Owner>("owner");
    QTest::addColumn<QString>("place");
    QTest::newRow("from the first place of the user") << Owner::User << firstPlace;
    QTest::newRow("from the first place of the machine") << Owner::Machine << firstPlace;
    QTest::newRow("from the second place of the machine") << Owner::Machine << secondPlace;
}

void tst_ClientIdentity::AStoredSignIsReturnedAsItIs()
{
    QFETCH(Owner, owner);
    QFETCH(QString, place);
    SystemPlaces::PutSign(owner, place, "in lower case");
    QCOMPARE(gFullIdentity().GetClientSign("Halvard"), QString("in lower case"));
    int signs = 0;
    for (const QString &sign : {SystemPlaces::Sign(Owner::User, firstPlace),
                                SystemPlaces::Sign(Owner::Machine, firstPlace),
                                SystemPlaces::Sign(Owner::Machine, secondPlace)})
        signs += sign.isEmpty() ? 0 : 1;
    QCOMPARE(signs, 1);
}

void tst_ClientIdentity::ANewSignIsStoredInBothPlacesOfTheMachineAndNotInTheUsers()
{
    QCOMPARE(gFullIdentity().GetClientSign("Halvard"), fullSign);
    QCOMPARE(SystemPlaces::Sign(Owner::Machine, firstPlace), fullSign);
    QCOMPARE(SystemPlaces::Sign(Owner::Machine, secondPlace), fullSign);
    QVERIFY(SystemPlaces::Sign(Owner::User, firstPlace).isEmpty());
    QVERIFY(SystemPlaces::Sign(Owner::User, secondPlace).isEmpty());
}

void tst_ClientIdentity::AnEmptyStoredSignIsReplaced()
{
    SystemPlaces::PutSign(Owner::Machine, firstPlace, "");
    QCOMPARE(gFullIdentity().GetClientSign("Halvard"), fullSign);
    QCOMPARE(SystemPlaces::Sign(Owner::Machine, firstPlace), fullSign);
}

void tst_ClientIdentity::TheNextRunFindsTheSign()
{
    gFullIdentity().GetClientSign("Halvard");
    const ClientIdentity other = gIdentity("FFFFFFFFFFFF", "FFFFFFFF", "other disk");
    QCOMPARE(other.GetClientSign("Halvard"), fullSign);
    QCOMPARE(other.ReadClientSign("Halvard"), fullSign);
    QVERIFY(other.ReadClientSign("Another").isEmpty());
}

void tst_ClientIdentity::ASignIsReturnedThoughItCannotBeStored()
{
    SystemPlaces::BlockSignsOf("Halvard");
    QCOMPARE(gFullIdentity().GetClientSign("Halvard"), fullSign);
    QCOMPARE(gFullIdentity().GetClientSign("Halvard"), fullSign);
    QVERIFY(gFullIdentity().ReadClientSign("Halvard").isEmpty());
    QVERIFY(SystemPlaces::Sign(Owner::User, firstPlace).isEmpty());
}

void tst_ClientIdentity::AGuidThatCannotBeStoredIsAnotherOneInTheNextRun()
{
    SystemPlaces::BlockSignsOf("Halvard");
    QCOMPARE(gIdentity({}, {}, {}, "{1}").GetClientSign("Halvard"), QString("{1}"));
    QCOMPARE(gIdentity({}, {}, {}, "{2}").GetClientSign("Halvard"), QString("{2}"));
}

QTEST_GUILESS_MAIN(tst_ClientIdentity)
#include "tst_ClientIdentity.moc"
