// SPDX-License-Identifier: MIT

#include "update/check/ManifestTrust.h"

#include "platform/ProcessLock.h"
#include "tests/support/MinisignKeyPair.h"
#include "tests/support/SignedManifest.h"
#include "tests/update/UpdateRig.h"
#include "update/check/TrustedManifest.h"

#include <QSettings>
#include <QtTest>

class tst_ManifestTrust : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void without_keys_it_is_off();
    void with_texts_that_are_no_keys_it_is_on();
    void the_highest_serial_is_remembered();
    void a_lower_serial_is_refused();
    void an_older_release_with_a_higher_serial_is_accepted();
    void the_same_serial_is_accepted_again();
    void a_manifest_of_another_version_is_refused();
    void a_manifest_for_all_versions_is_accepted();
    void the_clock_decides_data();
    void the_clock_decides();
    void a_clock_that_was_set_back_is_noticed();
    void without_an_expiry_the_clock_is_not_looked_at();
    void a_clock_that_cannot_be_read_refuses();
    void a_refused_manifest_is_not_remembered();
    void a_damaged_settings_file_refuses_data();
    void a_damaged_settings_file_refuses();
    void a_settings_file_of_the_hosts_own_is_read();
    void a_folder_for_the_settings_is_made();
    void another_process_is_waited_for();
    void a_serial_that_another_process_has_remembered_counts();
    void a_damaged_record_refuses_data();
    void a_damaged_record_refuses();
    void settings_that_cannot_be_written_refuse();
    void settings_of_the_host_stay();
    void the_offer_has_to_be_what_is_signed_data();
    void the_offer_has_to_be_what_is_signed();

private:
    bool Accepts(quint64 serial, const QString &forVersion = QString());
    bool AcceptsUntil(const QDateTime &expires);
    void SetClock(const QDateTime &now);

    std::unique_ptr<UpdateRig> m_rig;
    QString m_refusal;
};

static const QDateTime noon({2026, 6, 15}, {12, 0}, Qt::UTC);
constexpr qint64 hour = 60 * 60;
constexpr qint64 day = 24 * hour;

void tst_ManifestTrust::init()
{
    m_rig = std::make_unique<UpdateRig>();
    m_rig->SetPublicKeys({MinisignKeyPair('a').PublicKey()});
    SetClock(noon);
    m_refusal.clear();
}

void tst_ManifestTrust::cleanup()
{
    m_rig.reset();
}

void tst_ManifestTrust::SetClock(const QDateTime &now)
{
    m_rig->System().now = [now] { return now; };
}

bool tst_ManifestTrust::Accepts(quint64 serial, const QString &forVersion)
{
    SignedStatement statement;
    statement.serial = serial;
    statement.forVersion = forVersion;
    return ManifestTrust(m_rig->Context()).Accept(statement, "9.1.0.0", &m_refusal);
}

bool tst_ManifestTrust::AcceptsUntil(const QDateTime &expires)
{
    SignedStatement statement;
    statement.serial = 1;
    statement.expires = expires;
    return ManifestTrust(m_rig->Context()).Accept(statement, "9.1.0.0", &m_refusal);
}

void tst_ManifestTrust::without_keys_it_is_off()
{
    m_rig->SetPublicKeys({});
    QVERIFY(!ManifestTrust(m_rig->Context()).IsOn());
}

void tst_ManifestTrust::with_texts_that_are_no_keys_it_is_on()
{
    m_rig->SetPublicKeys({"no key", ""});
    const ManifestTrust trust(m_rig->Context());
    QVERIFY(trust.IsOn());
    QVERIFY(trust.Keys().isEmpty());
}

void tst_ManifestTrust::the_highest_serial_is_remembered()
{
    QVERIFY(Accepts(7));
    QCOMPARE(m_rig->Setting("TrustSerial"), QString("7"));
    QVERIFY(Accepts(Q_UINT64_C(18446744073709551614)));
    QCOMPARE(m_rig->Setting("TrustSerial"), QString("18446744073709551614"));
}

void tst_ManifestTrust::a_lower_serial_is_refused()
{
    QVERIFY(Accepts(7));
    QVERIFY(!Accepts(6));
    QCOMPARE(m_refusal, QString("the manifest is older than one before, serial 6 after 7"));
    QCOMPARE(m_rig->Setting("TrustSerial"), QString("7"));
}

void tst_ManifestTrust::an_older_release_with_a_higher_serial_is_accepted()
{
    QVERIFY(Accepts(7));
    QVERIFY(Accepts(8)); // whatever release it offers
}

void tst_ManifestTrust::the_same_serial_is_accepted_again()
{
    QVERIFY(Accepts(7));
    QVERIFY(Accepts(7));
}

void tst_ManifestTrust::a_manifest_of_another_version_is_refused()
{
    QVERIFY(!Accepts(1, "9.1.0.1"));
    QCOMPARE(m_refusal, QString("the manifest is for version 9.1.0.1 and not for 9.1.0.0"));
    QVERIFY(!Accepts(1, " 9.1.0.0"));
    QVERIFY(Accepts(1, "9.1.0.0"));
}

void tst_ManifestTrust::a_manifest_for_all_versions_is_accepted()
{
    QVERIFY(Accepts(1, QString()));
}

void tst_ManifestTrust::the_clock_decides_data()
{
    QTest::addColumn<QDateTime>("expires");
    QTest::addColumn<QString>("rule");
    QTest::newRow("a_second_later") << noon.addSecs(1) << QString();
    QTest::newRow("now") << noon << "the manifest has expired on 2026-06-15T12:00:00Z";
    QTest::newRow("a_year_ago") << noon.addYears(-1)
                                << "the manifest has expired on 2025-06-15T12:00:00Z";
    QTest::newRow("in_ten_years") << noon.addYears(10) << QString();
    QTest::newRow("in_the_far_future")
        << QDateTime({9999, 12, 31}, {23, 59, 59}, Qt::UTC)
        << "the manifest expires too far in the future, on 9999-12-31T23:59:59Z";
}

void tst_ManifestTrust::the_clock_decides()
{
    QFETCH(QDateTime, expires);
    QFETCH(QString, rule);
    QCOMPARE(AcceptsUntil(expires), rule.isEmpty());
    QCOMPARE(m_refusal, rule);
}

void tst_ManifestTrust::a_clock_that_was_set_back_is_noticed()
{
    const QDateTime expires = noon.addDays(30);
    QVERIFY(AcceptsUntil(expires));
    SetClock(noon.addSecs(-day + 1)); // as another system with another time zone leaves it
    QVERIFY(AcceptsUntil(expires));
    SetClock(noon.addSecs(-day - 1));
    QVERIFY(!AcceptsUntil(expires));
    QCOMPARE(m_refusal, QString("the clock was set back, it has been 2026-06-15T12:00:00Z"));
    SetClock(noon.addDays(-3650)); // the battery is empty
    QVERIFY(!AcceptsUntil(expires));
}

void tst_ManifestTrust::without_an_expiry_the_clock_is_not_looked_at()
{
    QVERIFY(AcceptsUntil(noon.addDays(30)));
    SetClock(noon.addYears(-20));
    QVERIFY(Accepts(2));
    SetClock(QDateTime());
    QVERIFY(Accepts(3));
}

void tst_ManifestTrust::a_clock_that_cannot_be_read_refuses()
{
    SetClock(QDateTime());
    QVERIFY(!AcceptsUntil(noon.addDays(30)));
    QVERIFY(m_refusal.contains("the clock cannot be read"));
}

void tst_ManifestTrust::a_refused_manifest_is_not_remembered()
{
    QVERIFY(!Accepts(100, "another version"));
    SetClock(noon.addYears(30)); // a clock in the far future sees an expired manifest
    QVERIFY(!AcceptsUntil(noon.addDays(30)));
    QCOMPARE(m_rig->Setting("TrustSerial") + m_rig->Setting("TrustTime"), QString());
    SetClock(noon);
    QVERIFY(AcceptsUntil(noon.addDays(30)));
}

void tst_ManifestTrust::a_damaged_settings_file_refuses_data()
{
    QTest::addColumn<QByteArray>("text");
    const QByteArray whole = "[Quillon]\nEmail=a@b.example\nTrustSerial=100\n";
    QTest::newRow("cut_in_the_group") << QByteArray("[Quil");
    QTest::newRow("cut_in_the_key") << whole.left(whole.indexOf("ial="));
    QTest::newRow("cut_in_the_number") << whole.chopped(2);
    QTest::newRow("zeros_after_a_loss_of_power") << QByteArray(whole.size(), '\0');
    QTest::newRow("zeros_behind_the_first_line") << whole.left(10) + QByteArray(40, '\0');
    QTest::newRow("one_quotation_mark_before_it")
        << QByteArray("[Quillon]\nEmail=\"a@b.example\nTrustSerial=100\nX=\"\"\n");
    QTest::newRow("a_backslash_before_it")
        << QByteArray("[Quillon]\nEmail=a@b.example\\\nTrustSerial=100\n");
    QTest::newRow("a_quotation_mark_before_the_time")
        << QByteArray("[Quillon]\nTrustSerial=1\nA=\"\nTrustTime=2026-06-15T12:00:00Z\n");
    // QSettings reads it, and does not write it any more.
    QTest::newRow("a_byte_order_mark") << "\xef\xbb\xbf" + whole;
    QTest::newRow("something_else") << QByteArray("<html>\n") + whole;
}

/// Also when the settings were read before in this process, as the dialog does: QSettings tells of damage
/// only once.
void tst_ManifestTrust::a_damaged_settings_file_refuses()
{
    QFETCH(QByteArray, text);
    gPutFile(m_rig->SettingsFile(), text);
    const QSettings dialog(m_rig->SettingsFile(), QSettings::IniFormat);
    for (int check = 0; check < 2; ++check) {
        QVERIFY(!Accepts(99));
        QVERIFY2(m_refusal.startsWith("the settings file with the last serial cannot be read"),
                 qPrintable(m_refusal));
    }
    QCOMPARE(gReadFile(m_rig->SettingsFile()), text);
}

void tst_ManifestTrust::a_settings_file_of_the_hosts_own_is_read()
{
    gPutFile(m_rig->SettingsFile(), "; a comment\r\n\r\n[Quillon]\r\nTrustSerial=7\r\n"
                                    "[Other]\r\nkey = value");
    QVERIFY(!Accepts(6));
    QCOMPARE(m_refusal, QString("the manifest is older than one before, serial 6 after 7"));
    QVERIFY2(Accepts(8), qPrintable(m_refusal));
}

void tst_ManifestTrust::a_folder_for_the_settings_is_made()
{
    UpdateContext context = m_rig->Context();
    context.configDirectory = m_rig->Path("not/yet");
    SignedStatement statement;
    statement.serial = 7;
    QVERIFY2(ManifestTrust(context).Accept(statement, "9.1.0.0", &m_refusal),
             qPrintable(m_refusal));
    statement.serial = 6;
    QVERIFY(!ManifestTrust(context).Accept(statement, "9.1.0.0", &m_refusal));
}

void tst_ManifestTrust::another_process_is_waited_for()
{
    ProcessLock other;
    QCOMPARE(other.TryLock(m_rig->SettingsFile() + ".trust.lock"), ProcessLock::Outcome::Taken);
    QVERIFY(!Accepts(7));
    QVERIFY2(m_refusal.contains("locked"), qPrintable(m_refusal));
    other.Unlock();
    QVERIFY(Accepts(7));
    QVERIFY(!QFile::exists(m_rig->SettingsFile() + ".trust.lock"));
}

void tst_ManifestTrust::a_serial_that_another_process_has_remembered_counts()
{
    QVERIFY(Accepts(8));
    QByteArray text = gReadFile(m_rig->SettingsFile());
    gPutFile(m_rig->SettingsFile(), text.replace("TrustSerial=8", "TrustSerial=12"));
    QVERIFY(!Accepts(10));
    QCOMPARE(m_rig->Setting("TrustSerial"), QString("12"));
}

void tst_ManifestTrust::a_damaged_record_refuses_data()
{
    QTest::addColumn<QString>("key");
    QTest::addColumn<QString>("value");
    QTest::newRow("no_number") << "TrustSerial"
                               << "seven";
    QTest::newRow("an_empty_number") << "TrustSerial"
                                     << "";
    QTest::newRow("a_number_with_a_sign") << "TrustSerial"
                                          << "+7";
    QTest::newRow("a_list") << "TrustSerial"
                            << "7, 8";
    QTest::newRow("no_time") << "TrustTime"
                             << "yesterday";
}

void tst_ManifestTrust::a_damaged_record_refuses()
{
    QFETCH(QString, key);
    QFETCH(QString, value);
    m_rig->WriteSetting(key, value);
    QVERIFY(!Accepts(Q_UINT64_C(18446744073709551614)));
    QVERIFY2(m_refusal.startsWith("the settings file with the last serial cannot be read"),
             qPrintable(m_refusal));
}

void tst_ManifestTrust::settings_that_cannot_be_written_refuse()
{
    QVERIFY(QFile::remove(m_rig->SettingsFile()));
    QVERIFY(QDir().mkpath(m_rig->SettingsFile())); // a folder, which no account can write over
    QVERIFY(!Accepts(7));
    QVERIFY2(m_refusal.contains("settings file") || m_refusal.contains("disk failure"),
             qPrintable(m_refusal));
}

void tst_ManifestTrust::settings_of_the_host_stay()
{
    m_rig->WriteSetting("Email", "a@b.example");
    QVERIFY(Accepts(7));
    QCOMPARE(m_rig->Setting("Email"), QString("a@b.example"));
}

void tst_ManifestTrust::the_offer_has_to_be_what_is_signed_data()
{
    QTest::addColumn<QByteArray>("find");
    QTest::addColumn<QByteArray>("put");
    QTest::addColumn<QString>("rule");
    const QString full = "the full package is offered or signed, and not both";
    const QString patch = "the incremental package is offered or signed, and not both";
    QTest::newRow("all_agrees") << QByteArray() << QByteArray() << QString();
    QTest::newRow("a_signed_package_that_is_not_offered")
        << QByteArray("<ExeUrl_x64>https://u.example/setup.exe</ExeUrl_x64>") << QByteArray()
        << full;
    QTest::newRow("a_signed_patch_that_is_not_offered")
        << QByteArray("<Url_x64>https://u.example/setup.patch</Url_x64>") << QByteArray() << patch;
    QTest::newRow("no_xml") << QByteArray("</Update>") << QByteArray()
                            << "the manifest is no XML, Premature end of document.";
}

void tst_ManifestTrust::the_offer_has_to_be_what_is_signed()
{
    QFETCH(QByteArray, find);
    QFETCH(QByteArray, put);
    QFETCH(QString, rule);
    SignedManifest manifest;
    manifest.exeUrl = "https://u.example/setup.exe";
    manifest.full = "full";
    manifest.patchUrl = "https://u.example/setup.patch";
    manifest.patch = "patch";
    manifest.result = "full";
    manifest.kept = "kept";
    QByteArray document = manifest.Document();
    if (!find.isNull()) {
        QVERIFY(document.contains(find));
        document.replace(find, put);
    }
    const MinisignKeyPair pair('a');
    const auto read = gReadTrustedManifest(pair.Sign(document),
                                           gReadMinisignKeys({pair.PublicKey()}), &m_refusal);
    QCOMPARE(read ? QString() : m_refusal, rule);
    if (read) {
        QCOMPARE(read->xml.toUtf8(), document);
        QVERIFY(read->values.statement);
    }
}

QTEST_MAIN(tst_ManifestTrust)
#include "tst_ManifestTrust.moc"
