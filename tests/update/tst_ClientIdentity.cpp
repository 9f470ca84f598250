#include "platform/SignStore.h"
#include "tests/support/IniText.h"
#include "update/ClientIdentity.h"

#include <QDir>
#include <QFile>
#include <QSettings>
#include <QTemporaryDir>
#include <QtTest>

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
    QString User(const QString &place) const { return m_folder->filePath("user" + place); }
    QString Machine(const QString &place) const { return m_folder->filePath("machine" + place); }
    static void Write(const QString &path, const QByteArray &text);
    static QString Stored(const QString &path)
    {
        return gReadIniText(path).value("General/ClientSign");
    }

    QScopedPointer<QTemporaryDir> m_folder;
};

static const QString firstPlace = "/Halvard/Halvard Tessel Pack.ini";
static const QString secondPlace = "/Halvard/TPX.ini";
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
    m_folder.reset(new QTemporaryDir);
    qputenv("XDG_CONFIG_HOME", QFile::encodeName(m_folder->filePath("user")));
    qputenv("XDG_CONFIG_DIRS", QFile::encodeName(m_folder->filePath("machine")));
}

void tst_ClientIdentity::Write(const QString &path, const QByteArray &text)
{
    QVERIFY(QDir().mkpath(QFileInfo(path).path()));
    QFile file(path);
    QVERIFY(file.open(QIODevice::WriteOnly));
    QCOMPARE(file.write(text), qint64(text.size()));
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
    Write(User(firstPlace), "[General]\nClientSign=user\n");
    Write(Machine(firstPlace), "[General]\nClientSign=first\n");
    QCOMPARE(gFullIdentity().GetClientSign("Halvard"), QString("user"));
    QCOMPARE(Stored(Machine(firstPlace)), QString("first"));
    QVERIFY(!QFile::exists(Machine(secondPlace)));
}

void tst_ClientIdentity::AStoredSignIsReturnedAsItIs_data()
{
    QTest::addColumn<QString>("place");
    QTest::newRow("from the first place of the user") << "user" + firstPlace;
    QTest::newRow("from the first place of the machine") << "machine" + firstPlace;
    QTest::newRow("from the second place of the machine") << "machine" + secondPlace;
}

void tst_ClientIdentity::AStoredSignIsReturnedAsItIs()
{
    QFETCH(QString, place);
    Write(m_folder->filePath(place), "[General]\nClientSign=in lower case\n");
    QCOMPARE(gFullIdentity().GetClientSign("Halvard"), QString("in lower case"));
    int files = 0;
    for (const QString &other : {User(firstPlace), Machine(firstPlace), Machine(secondPlace)})
        files += QFile::exists(other) ? 1 : 0;
    QCOMPARE(files, 1);
}

void tst_ClientIdentity::ANewSignIsStoredInBothPlacesOfTheMachineAndNotInTheUsers()
{
    QCOMPARE(gFullIdentity().GetClientSign("Halvard"), fullSign);
    QCOMPARE(Stored(Machine(firstPlace)), fullSign);
    QCOMPARE(Stored(Machine(secondPlace)), fullSign);
    QVERIFY(!QFile::exists(User(firstPlace)));
    QVERIFY(!QFile::exists(User(secondPlace)));
}

void tst_ClientIdentity::AnEmptyStoredSignIsReplaced()
{
    Write(Machine(firstPlace), "[General]\nClientSign=\n");
    QCOMPARE(gFullIdentity().GetClientSign("Halvard"), fullSign);
    QCOMPARE(Stored(Machine(firstPlace)), fullSign);
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
    Write(m_folder->filePath("machine"), "a file where a folder is needed");
    QCOMPARE(gFullIdentity().GetClientSign("Halvard"), fullSign);
    QCOMPARE(gFullIdentity().GetClientSign("Halvard"), fullSign);
    QVERIFY(gFullIdentity().ReadClientSign("Halvard").isEmpty());
    QVERIFY(!QFile::exists(User(firstPlace)));
}

void tst_ClientIdentity::AGuidThatCannotBeStoredIsAnotherOneInTheNextRun()
{
    Write(m_folder->filePath("machine"), "a file where a folder is needed");
    QCOMPARE(gIdentity({}, {}, {}, "{1}").GetClientSign("Halvard"), QString("{1}"));
    QCOMPARE(gIdentity({}, {}, {}, "{2}").GetClientSign("Halvard"), QString("{2}"));
}

QTEST_GUILESS_MAIN(tst_ClientIdentity)
#include "tst_ClientIdentity.moc"
