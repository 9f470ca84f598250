#include "platform/SignStore.h"

#include "tests/support/IniText.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QtTest>

/// The ini files that keep a sign: one in the user's settings folder, two in the machine's.
class tst_SignStore_unix : public QObject
{
    Q_OBJECT

private slots:
    void init();

    void WithoutAnyFileThereIsNoSign();
    void ASignIsFoundIn_data();
    void ASignIsFoundIn();
    void TheUsersSignGoesBeforeThoseOfTheMachine();
    void TheFirstPlaceOfTheMachineGoesBeforeTheSecond();
    void TheUsersSecondPlaceIsNoPlace();
    void AFileWithoutTheValueEndsNoSearch();
    void AnEmptySignEndsTheSearch();
    void ReadingWritesNothing();
    void EveryCompanyHasItsOwnPlaces();
    void ALongSignIsCutTo49Characters();

    void ASignIsStoredInBothPlacesOfTheMachineAndNotInTheUsers();
    void StoringReplacesTheSignAndKeepsTheRest();
    void OnlyTheFirstFolderOfTheMachineIsWritten();
    void AMachineFolderThatCannotBeWrittenIsOverlooked();
    void ALockThatAKilledProcessLeftHoldsNothingUp();

private:
    QString User() const { return m_folder->filePath("user"); }
    QString Machine() const { return m_folder->filePath("machine"); }
    static void Write(const QString &path, const QByteArray &text);
    static QString Stored(const QString &path)
    {
        return gReadIniText(path).value("General/ClientSign");
    }

    QScopedPointer<QTemporaryDir> m_folder;
};

static const QString firstPlace = "/Halvard/Halvard Tessel Pack.ini";
static const QString secondPlace = "/Halvard/TPX.ini";

void tst_SignStore_unix::init()
{
    m_folder.reset(new QTemporaryDir);
    qputenv("XDG_CONFIG_HOME", QFile::encodeName(User()));
    qputenv("XDG_CONFIG_DIRS", QFile::encodeName(Machine()));
}

void tst_SignStore_unix::Write(const QString &path, const QByteArray &text)
{
    QVERIFY(QDir().mkpath(QFileInfo(path).path()));
    QFile file(path);
    QVERIFY(file.open(QIODevice::WriteOnly));
    QCOMPARE(file.write(text), qint64(text.size()));
}

void tst_SignStore_unix::WithoutAnyFileThereIsNoSign()
{
    QVERIFY(gReadStoredSign("Halvard").isEmpty());
}

void tst_SignStore_unix::ASignIsFoundIn_data()
{
    QTest::addColumn<QString>("path");
    QTest::newRow("the first place of the user") << "user" + firstPlace;
    QTest::newRow("the first place of the machine") << "machine" + firstPlace;
    QTest::newRow("the second place of the machine") << "machine" + secondPlace;
}

void tst_SignStore_unix::ASignIsFoundIn()
{
    QFETCH(QString, path);
    Write(m_folder->filePath(path), "[General]\nClientSign={AB-12}\n");
    QCOMPARE(gReadStoredSign("Halvard"), QString("{AB-12}"));
}

void tst_SignStore_unix::TheUsersSignGoesBeforeThoseOfTheMachine()
{
    Write(User() + firstPlace, "[General]\nClientSign=user\n");
    Write(Machine() + firstPlace, "[General]\nClientSign=first\n");
    Write(Machine() + secondPlace, "[General]\nClientSign=second\n");
    QCOMPARE(gReadStoredSign("Halvard"), QString("user"));
}

void tst_SignStore_unix::TheFirstPlaceOfTheMachineGoesBeforeTheSecond()
{
    Write(Machine() + firstPlace, "[General]\nClientSign=first\n");
    Write(Machine() + secondPlace, "[General]\nClientSign=second\n");
    QCOMPARE(gReadStoredSign("Halvard"), QString("first"));
}

void tst_SignStore_unix::TheUsersSecondPlaceIsNoPlace()
{
    Write(User() + secondPlace, "[General]\nClientSign=user\n");
    QVERIFY(gReadStoredSign("Halvard").isEmpty());
}

void tst_SignStore_unix::AFileWithoutTheValueEndsNoSearch()
{
    Write(User() + firstPlace, "[General]\nOther=1\n");
    Write(Machine() + firstPlace, "");
    Write(Machine() + secondPlace, "[General]\nClientSign=second\n");
    QCOMPARE(gReadStoredSign("Halvard"), QString("second"));
}

void tst_SignStore_unix::AnEmptySignEndsTheSearch()
{
    Write(User() + firstPlace, "[General]\nClientSign=\n");
    Write(Machine() + firstPlace, "[General]\nClientSign=first\n");
    QVERIFY(gReadStoredSign("Halvard").isEmpty());
}

void tst_SignStore_unix::ReadingWritesNothing()
{
    gReadStoredSign("Halvard");
    QVERIFY(!QFile::exists(User() + firstPlace));
    QVERIFY(!QFile::exists(Machine() + firstPlace));
    QVERIFY(!QFile::exists(Machine() + secondPlace));
}

void tst_SignStore_unix::EveryCompanyHasItsOwnPlaces()
{
    gStoreSign("Other", "{other}");
    QCOMPARE(Stored(Machine() + "/Other/Other Tessel Pack.ini"), QString("{other}"));
    QCOMPARE(Stored(Machine() + "/Other/TPX.ini"), QString("{other}"));
    QCOMPARE(gReadStoredSign("Other"), QString("{other}"));
    QVERIFY(gReadStoredSign("Halvard").isEmpty());
}

void tst_SignStore_unix::ALongSignIsCutTo49Characters()
{
    Write(Machine() + secondPlace, "[General]\nClientSign=" + QByteArray(60, 'x') + "\n");
    QCOMPARE(gReadStoredSign("Halvard"), QString(49, 'x'));
}

void tst_SignStore_unix::ASignIsStoredInBothPlacesOfTheMachineAndNotInTheUsers()
{
    const QString sign = "{0000ABCD-0000-000A-B123-00AABBCCDDEE}";
    gStoreSign("Halvard", sign);
    QCOMPARE(Stored(Machine() + firstPlace), sign);
    QCOMPARE(Stored(Machine() + secondPlace), sign);
    QVERIFY(!QFile::exists(User() + firstPlace));
    QVERIFY(!QFile::exists(User() + secondPlace));
    QCOMPARE(gReadStoredSign("Halvard"), sign);
}

void tst_SignStore_unix::StoringReplacesTheSignAndKeepsTheRest()
{
    Write(Machine() + secondPlace, "[General]\nClientSign=old\nOther=1\n");
    gStoreSign("Halvard", "new");
    QCOMPARE(Stored(Machine() + secondPlace), QString("new"));
    QCOMPARE(gReadIniText(Machine() + secondPlace).value("General/Other"), QString("1"));
}

void tst_SignStore_unix::OnlyTheFirstFolderOfTheMachineIsWritten()
{
    const QString later = m_folder->filePath("later");
    qputenv("XDG_CONFIG_DIRS", QFile::encodeName(Machine() + ':' + later));
    gStoreSign("Halvard", "sign");
    QCOMPARE(Stored(Machine() + firstPlace), QString("sign"));
    QVERIFY(!QFile::exists(later));
    QFile::remove(Machine() + firstPlace);
    QFile::remove(Machine() + secondPlace);
    Write(later + firstPlace, "[General]\nClientSign=later\n");
    QVERIFY(gReadStoredSign("Halvard").isEmpty());
}

void tst_SignStore_unix::AMachineFolderThatCannotBeWrittenIsOverlooked()
{
    Write(Machine(), "a file where a folder is needed");
    gStoreSign("Halvard", "sign");
    QVERIFY(gReadStoredSign("Halvard").isEmpty());
    QVERIFY(!QFile::exists(User() + firstPlace));
    QVERIFY(QFileInfo(Machine()).isFile());
}

void tst_SignStore_unix::ALockThatAKilledProcessLeftHoldsNothingUp()
{
    Write(Machine() + firstPlace + ".lock", "");
    gStoreSign("Halvard", "sign");
    QCOMPARE(Stored(Machine() + firstPlace), QString("sign"));
}

QTEST_GUILESS_MAIN(tst_SignStore_unix)
#include "tst_SignStore_unix.moc"
