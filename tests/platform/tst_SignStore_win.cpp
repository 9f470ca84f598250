// SPDX-License-Identifier: MIT

#include "platform/SignStore.h"

#include <QByteArray>
#include <QtTest>

#include <optional>

#include <windows.h>

namespace
{
const QString company = QStringLiteral("Quillon test of SignStore");
const QString other = QStringLiteral("Quillon test of SignStore, other");

QString gFirstPlace(const QString &maker = company)
{
    return QStringLiteral("Software\\%1\\%1 Tessel Pack").arg(maker);
}

QString gSecondPlace(const QString &maker = company)
{
    return QStringLiteral("Software\\%1\\TPX").arg(maker);
}

std::wstring gMakersKey(const QString &maker)
{
    return QStringLiteral("Software\\%1").arg(maker).toStdWString();
}

/// Creates the key of the test's company as a volatile one, which ends with this run of the system.
bool gCreateVolatile(HKEY root)
{
    HKEY key = nullptr;
    if (RegCreateKeyExW(root, gMakersKey(company).c_str(), 0, nullptr, REG_OPTION_VOLATILE,
                        KEY_ALL_ACCESS, nullptr, &key, nullptr) != ERROR_SUCCESS) {
        return false;
    }
    RegCloseKey(key);
    return true;
}

bool gWriteRaw(HKEY root, const QString &place, const wchar_t *name, DWORD type,
               const QByteArray &bytes)
{
    // The dots keep the system from storing a terminator that happens to follow the bytes.
    const QByteArray followed = bytes + "..";
    return RegSetKeyValueW(root, place.toStdWString().c_str(), name, type, followed.constData(),
                           static_cast<DWORD>(bytes.size())) == ERROR_SUCCESS;
}

QByteArray gUtf16(const QString &text)
{
    return {reinterpret_cast<const char *>(text.utf16()), text.size() * 2};
}

/// Writes @p sign with a terminator, as most programs do.
bool gWriteSign(HKEY root, const QString &place, const QString &sign)
{
    return gWriteRaw(root, place, L"ClientSign", REG_SZ, gUtf16(sign) + QByteArray(2, '\0'));
}

bool gKeyExists(HKEY root, const QString &place)
{
    HKEY key = nullptr;
    const LSTATUS status =
        RegOpenKeyExW(root, place.toStdWString().c_str(), 0, KEY_QUERY_VALUE, &key);
    if (status == ERROR_SUCCESS) {
        RegCloseKey(key);
    }
    return status == ERROR_SUCCESS;
}

struct Stored {
    DWORD type = 0;
    QByteArray bytes;
};

std::optional<Stored> gStoredValue(HKEY root, const QString &place,
                                   const wchar_t *name = L"ClientSign")
{
    HKEY key = nullptr;
    if (RegOpenKeyExW(root, place.toStdWString().c_str(), 0, KEY_QUERY_VALUE, &key) !=
        ERROR_SUCCESS) {
        return std::nullopt;
    }
    Stored stored;
    stored.bytes.fill('\0', 1000);
    auto size = static_cast<DWORD>(stored.bytes.size());
    const LSTATUS status = RegQueryValueExW(key, name, nullptr, &stored.type,
                                            reinterpret_cast<BYTE *>(stored.bytes.data()), &size);
    RegCloseKey(key);
    if (status != ERROR_SUCCESS) {
        return std::nullopt;
    }
    stored.bytes.truncate(static_cast<int>(size));
    return stored;
}
} // namespace

/// The registry of this machine, in the keys of an invented company.
class tst_SignStore_win : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void without_any_key_there_is_no_sign();
    void a_sign_is_found_in_data();
    void a_sign_is_found_in();
    void the_users_sign_goes_before_those_of_the_machine();
    void the_first_place_of_the_machine_goes_before_the_second();
    void the_users_second_place_is_no_place();
    void a_key_without_the_value_ends_no_search();
    void an_empty_sign_ends_the_search();
    void reading_writes_no_value();
    void every_company_has_its_own_places();
    void a_sign_of49_characters_is_read();
    void a_longer_sign_is_passed_over();
    void a_sign_without_terminator_is_read();

    void a_sign_is_stored_in_both_places_of_the_machine_and_not_in_the_users();
    void a_stored_sign_is_a_text_without_terminator();
    void storing_replaces_the_sign_and_keeps_the_rest();
    void a_machine_that_cannot_be_written_is_overlooked();
};

void tst_SignStore_win::init()
{
    cleanup();
    if (!gCreateVolatile(HKEY_LOCAL_MACHINE)) {
        QSKIP("Only an administrator can write the keys of the machine.");
    }
    cleanup();
}

void tst_SignStore_win::cleanup()
{
    for (HKEY root : {HKEY_CURRENT_USER, HKEY_LOCAL_MACHINE}) {
        for (const QString &maker : {company, other}) {
            RegDeleteTreeW(root, gMakersKey(maker).c_str());
        }
    }
}

void tst_SignStore_win::without_any_key_there_is_no_sign()
{
    QVERIFY(gReadStoredSign(company).isEmpty());
}

void tst_SignStore_win::a_sign_is_found_in_data()
{
    QTest::addColumn<bool>("ofUser");
    QTest::addColumn<QString>("place");
    QTest::newRow("the_first_place_of_the_user") << true << gFirstPlace();
    QTest::newRow("the_first_place_of_the_machine") << false << gFirstPlace();
    QTest::newRow("the_second_place_of_the_machine") << false << gSecondPlace();
}

void tst_SignStore_win::a_sign_is_found_in()
{
    QFETCH(bool, ofUser);
    QFETCH(QString, place);
    QVERIFY(gWriteSign(ofUser ? HKEY_CURRENT_USER : HKEY_LOCAL_MACHINE, place, "{sign}"));
    QCOMPARE(gReadStoredSign(company), QString("{sign}"));
}

void tst_SignStore_win::the_users_sign_goes_before_those_of_the_machine()
{
    QVERIFY(gWriteSign(HKEY_CURRENT_USER, gFirstPlace(), "user"));
    QVERIFY(gWriteSign(HKEY_LOCAL_MACHINE, gFirstPlace(), "first"));
    QVERIFY(gWriteSign(HKEY_LOCAL_MACHINE, gSecondPlace(), "second"));
    QCOMPARE(gReadStoredSign(company), QString("user"));
}

void tst_SignStore_win::the_first_place_of_the_machine_goes_before_the_second()
{
    QVERIFY(gWriteSign(HKEY_LOCAL_MACHINE, gFirstPlace(), "first"));
    QVERIFY(gWriteSign(HKEY_LOCAL_MACHINE, gSecondPlace(), "second"));
    QCOMPARE(gReadStoredSign(company), QString("first"));
}

void tst_SignStore_win::the_users_second_place_is_no_place()
{
    QVERIFY(gWriteSign(HKEY_CURRENT_USER, gSecondPlace(), "user"));
    QVERIFY(gReadStoredSign(company).isEmpty());
}

void tst_SignStore_win::a_key_without_the_value_ends_no_search()
{
    QVERIFY(gWriteRaw(HKEY_CURRENT_USER, gFirstPlace(), L"Other", REG_SZ, gUtf16("1")));
    QVERIFY(gWriteRaw(HKEY_LOCAL_MACHINE, gFirstPlace(), L"Other", REG_SZ, gUtf16("1")));
    QVERIFY(gWriteSign(HKEY_LOCAL_MACHINE, gSecondPlace(), "second"));
    QCOMPARE(gReadStoredSign(company), QString("second"));
}

void tst_SignStore_win::an_empty_sign_ends_the_search()
{
    QVERIFY(gWriteSign(HKEY_CURRENT_USER, gFirstPlace(), ""));
    QVERIFY(gWriteSign(HKEY_LOCAL_MACHINE, gFirstPlace(), "first"));
    QVERIFY(gReadStoredSign(company).isEmpty());
}

void tst_SignStore_win::reading_writes_no_value()
{
    gReadStoredSign(company);
    for (HKEY root : {HKEY_CURRENT_USER, HKEY_LOCAL_MACHINE}) {
        QVERIFY(!gStoredValue(root, gFirstPlace()).has_value());
        QVERIFY(!gStoredValue(root, gSecondPlace()).has_value());
    }
    QVERIFY(!gKeyExists(HKEY_CURRENT_USER, gSecondPlace()));
}

void tst_SignStore_win::every_company_has_its_own_places()
{
    gStoreSign(other, "{other}");
    QVERIFY(gStoredValue(HKEY_LOCAL_MACHINE, gFirstPlace(other)).has_value());
    QVERIFY(gStoredValue(HKEY_LOCAL_MACHINE, gSecondPlace(other)).has_value());
    QCOMPARE(gReadStoredSign(other), QString("{other}"));
    QVERIFY(gReadStoredSign(company).isEmpty());
}

void tst_SignStore_win::a_sign_of49_characters_is_read()
{
    QVERIFY(gWriteSign(HKEY_LOCAL_MACHINE, gSecondPlace(), QString(49, 'x')));
    QCOMPARE(gReadStoredSign(company), QString(49, 'x'));
}

void tst_SignStore_win::a_longer_sign_is_passed_over()
{
    QVERIFY(gWriteSign(HKEY_CURRENT_USER, gFirstPlace(), QString(50, 'x')));
    QVERIFY(gWriteSign(HKEY_LOCAL_MACHINE, gFirstPlace(), QString(600, 'x')));
    QVERIFY(gWriteSign(HKEY_LOCAL_MACHINE, gSecondPlace(), "second"));
    QCOMPARE(gReadStoredSign(company), QString("second"));
}

void tst_SignStore_win::a_sign_without_terminator_is_read()
{
    const auto write = [](int length) {
        return gWriteRaw(HKEY_CURRENT_USER, gFirstPlace(), L"ClientSign", REG_SZ,
                         gUtf16(QString(length, 'x')));
    };
    QVERIFY(write(38));
    QCOMPARE(gReadStoredSign(company), QString(38, 'x'));
    // 50 characters fill the buffer, so the last one is replaced by the terminator.
    QVERIFY(write(50));
    QCOMPARE(gReadStoredSign(company), QString(49, 'x'));
}

void tst_SignStore_win::a_sign_is_stored_in_both_places_of_the_machine_and_not_in_the_users()
{
    const QString sign = "{0000ABCD-0000-000A-B123-00AABBCCDDEE}";
    gStoreSign(company, sign);
    QVERIFY(gStoredValue(HKEY_LOCAL_MACHINE, gFirstPlace()).has_value());
    QVERIFY(gStoredValue(HKEY_LOCAL_MACHINE, gSecondPlace()).has_value());
    QVERIFY(!gKeyExists(HKEY_CURRENT_USER, gFirstPlace()));
    QVERIFY(!gKeyExists(HKEY_CURRENT_USER, gSecondPlace()));
    QCOMPARE(gReadStoredSign(company), sign);
}

void tst_SignStore_win::a_stored_sign_is_a_text_without_terminator()
{
    const QString sign = "{0000ABCD-0000-000A-B123-00AABBCCDDEE}";
    gStoreSign(company, sign);
    for (const QString &place : {gFirstPlace(), gSecondPlace()}) {
        const Stored stored = gStoredValue(HKEY_LOCAL_MACHINE, place).value_or(Stored());
        QCOMPARE(stored.type, DWORD{REG_SZ});
        QCOMPARE(stored.bytes, gUtf16(sign));
    }
}

void tst_SignStore_win::storing_replaces_the_sign_and_keeps_the_rest()
{
    QVERIFY(gWriteSign(HKEY_LOCAL_MACHINE, gSecondPlace(), "a longer sign from earlier"));
    QVERIFY(gWriteRaw(HKEY_LOCAL_MACHINE, gSecondPlace(), L"Other", REG_SZ, gUtf16("1")));
    gStoreSign(company, "new");
    QCOMPARE(gStoredValue(HKEY_LOCAL_MACHINE, gSecondPlace())->bytes, gUtf16("new"));
    QCOMPARE(gStoredValue(HKEY_LOCAL_MACHINE, gSecondPlace(), L"Other")->bytes, gUtf16("1"));
}

void tst_SignStore_win::a_machine_that_cannot_be_written_is_overlooked()
{
    // Windows creates no permanent key below a volatile one, so nothing can be stored.
    QVERIFY(gCreateVolatile(HKEY_LOCAL_MACHINE));
    gStoreSign(company, "sign");
    QVERIFY(gReadStoredSign(company).isEmpty());
    QVERIFY(!gKeyExists(HKEY_LOCAL_MACHINE, gFirstPlace()));
    QVERIFY(!gKeyExists(HKEY_CURRENT_USER, gSecondPlace()));
}

QTEST_GUILESS_MAIN(tst_SignStore_win)
#include "tst_SignStore_win.moc"
