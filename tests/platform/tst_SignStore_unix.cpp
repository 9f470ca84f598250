// SPDX-License-Identifier: MIT

#include "platform/SignStore.h"

#include "tests/support/IniText.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QtTest>

/// The ini files with a sign: one in the user's settings folder, two in the machine's.
class tst_SignStore_unix : public QObject
{
    Q_OBJECT

private slots:
    void init();

    void without_any_file_there_is_no_sign();
    void a_sign_is_found_in_data();
    void a_sign_is_found_in();
    void the_users_sign_goes_before_those_of_the_machine();
    void the_first_place_of_the_machine_goes_before_the_second();
    void the_users_second_place_is_no_place();
    void a_file_without_the_value_ends_no_search();
    void an_empty_sign_ends_the_search();
    void reading_writes_nothing();
    void every_company_has_its_own_places();
    void a_long_sign_is_cut_to49_characters();

    void a_sign_is_stored_in_both_places_of_the_machine_and_not_in_the_users();
    void storing_replaces_the_sign_and_keeps_the_rest();
    void only_the_first_folder_of_the_machine_is_written();
    void a_machine_folder_that_cannot_be_written_is_overlooked();
    void a_lock_that_a_killed_process_left_holds_nothing_up();

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

void tst_SignStore_unix::without_any_file_there_is_no_sign()
{
    QVERIFY(gReadStoredSign("Halvard").isEmpty());
}

void tst_SignStore_unix::a_sign_is_found_in_data()
{
    QTest::addColumn<QString>("path");
    QTest::newRow("the_first_place_of_the_user") << "user" + firstPlace;
    QTest::newRow("the_first_place_of_the_machine") << "machine" + firstPlace;
    QTest::newRow("the_second_place_of_the_machine") << "machine" + secondPlace;
}

void tst_SignStore_unix::a_sign_is_found_in()
{
    QFETCH(QString, path);
    Write(m_folder->filePath(path), "[General]\nClientSign={AB-12}\n");
    QCOMPARE(gReadStoredSign("Halvard"), QString("{AB-12}"));
}

void tst_SignStore_unix::the_users_sign_goes_before_those_of_the_machine()
{
    Write(User() + firstPlace, "[General]\nClientSign=user\n");
    Write(Machine() + firstPlace, "[General]\nClientSign=first\n");
    Write(Machine() + secondPlace, "[General]\nClientSign=second\n");
    QCOMPARE(gReadStoredSign("Halvard"), QString("user"));
}

void tst_SignStore_unix::the_first_place_of_the_machine_goes_before_the_second()
{
    Write(Machine() + firstPlace, "[General]\nClientSign=first\n");
    Write(Machine() + secondPlace, "[General]\nClientSign=second\n");
    QCOMPARE(gReadStoredSign("Halvard"), QString("first"));
}

void tst_SignStore_unix::the_users_second_place_is_no_place()
{
    Write(User() + secondPlace, "[General]\nClientSign=user\n");
    QVERIFY(gReadStoredSign("Halvard").isEmpty());
}

void tst_SignStore_unix::a_file_without_the_value_ends_no_search()
{
    Write(User() + firstPlace, "[General]\nOther=1\n");
    Write(Machine() + firstPlace, "");
    Write(Machine() + secondPlace, "[General]\nClientSign=second\n");
    QCOMPARE(gReadStoredSign("Halvard"), QString("second"));
}

void tst_SignStore_unix::an_empty_sign_ends_the_search()
{
    Write(User() + firstPlace, "[General]\nClientSign=\n");
    Write(Machine() + firstPlace, "[General]\nClientSign=first\n");
    QVERIFY(gReadStoredSign("Halvard").isEmpty());
}

void tst_SignStore_unix::reading_writes_nothing()
{
    gReadStoredSign("Halvard");
    QVERIFY(!QFile::exists(User() + firstPlace));
    QVERIFY(!QFile::exists(Machine() + firstPlace));
    QVERIFY(!QFile::exists(Machine() + secondPlace));
}

void tst_SignStore_unix::every_company_has_its_own_places()
{
    gStoreSign("Other", "{other}");
    QCOMPARE(Stored(Machine() + "/Other/Other Tessel Pack.ini"), QString("{other}"));
    QCOMPARE(Stored(Machine() + "/Other/TPX.ini"), QString("{other}"));
    QCOMPARE(gReadStoredSign("Other"), QString("{other}"));
    QVERIFY(gReadStoredSign("Halvard").isEmpty());
}

void tst_SignStore_unix::a_long_sign_is_cut_to49_characters()
{
    Write(Machine() + secondPlace, "[General]\nClientSign=" + QByteArray(60, 'x') + "\n");
    QCOMPARE(gReadStoredSign("Halvard"), QString(49, 'x'));
}

void tst_SignStore_unix::a_sign_is_stored_in_both_places_of_the_machine_and_not_in_the_users()
{
    const QString sign = "{0000ABCD-0000-000A-B123-00AABBCCDDEE}";
    gStoreSign("Halvard", sign);
    QCOMPARE(Stored(Machine() + firstPlace), sign);
    QCOMPARE(Stored(Machine() + secondPlace), sign);
    QVERIFY(!QFile::exists(User() + firstPlace));
    QVERIFY(!QFile::exists(User() + secondPlace));
    QCOMPARE(gReadStoredSign("Halvard"), sign);
}

void tst_SignStore_unix::storing_replaces_the_sign_and_keeps_the_rest()
{
    Write(Machine() + secondPlace, "[General]\nClientSign=old\nOther=1\n");
    gStoreSign("Halvard", "new");
    QCOMPARE(Stored(Machine() + secondPlace), QString("new"));
    QCOMPARE(gReadIniText(Machine() + secondPlace).value("General/Other"), QString("1"));
}

void tst_SignStore_unix::only_the_first_folder_of_the_machine_is_written()
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

void tst_SignStore_unix::a_machine_folder_that_cannot_be_written_is_overlooked()
{
    Write(Machine(), "a file where a folder is needed");
    gStoreSign("Halvard", "sign");
    QVERIFY(gReadStoredSign("Halvard").isEmpty());
    QVERIFY(!QFile::exists(User() + firstPlace));
    QVERIFY(QFileInfo(Machine()).isFile());
}

void tst_SignStore_unix::a_lock_that_a_killed_process_left_holds_nothing_up()
{
    Write(Machine() + firstPlace + ".lock", "");
    gStoreSign("Halvard", "sign");
    QCOMPARE(Stored(Machine() + firstPlace), QString("sign"));
}

QTEST_GUILESS_MAIN(tst_SignStore_unix)
#include "tst_SignStore_unix.moc"
