// SPDX-License-Identifier: MIT

#include "tests/update/trust/TrustScene.h"

#include "api/UpdateInit.h"
#include "tests/support/FaultScript.h"
#include "update/check/VersionCheck.h"

#include <QtTest>

/// Attacks on the manifest, each by its name: each ends in a failed check and a line in the log.
class tst_TrustedCheck : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void a_signed_offer_is_shown();
    void a_signed_manifest_without_an_offer_is_the_latest_version();
    void an_attack_is_a_failed_check_data();
    void an_attack_is_a_failed_check();
    void an_older_manifest_is_refused_after_a_newer_one();
    void a_clock_that_was_set_back_is_a_failed_check();
    void an_older_release_with_a_higher_serial_is_offered();
    void a_manifest_in_many_pieces_is_waited_for();
    void an_answer_of_one_mebibyte_is_read();
    void an_answer_above_one_mebibyte_is_given_up();
    void an_endless_answer_is_given_up();
    void a_pause_in_the_answer_is_given_up();
    void an_answer_that_never_begins_is_given_up();
    void a_byte_now_and_then_does_not_keep_the_user_waiting();
    void the_first_bytes_show_no_page();
    void an_error_page_is_a_failed_check();
    void an_empty_answer_is_a_failed_check();
    void a_redirect_is_not_followed();
    void keys_are_rotated();
    void keys_that_are_none_refuse_everything();
    void a_refused_silent_check_leaves_the_last_manifest();
    void a_serial_that_cannot_be_remembered_is_a_failed_check();
    void without_keys_a_signed_manifest_is_read_as_ever();

private:
    void ExpectRefused(const QByteArray &answer, const QString &rule);

    TestCertificates m_certificates;
    std::unique_ptr<TrustScene> m_scene;
};

static const QDateTime noon({2026, 6, 15}, {12, 0}, Qt::UTC);
static const QString failed = "Failed to check update!";

void tst_TrustedCheck::init()
{
    m_certificates.TrustAuthority();
    m_scene = std::make_unique<TrustScene>(m_certificates);
    m_scene->Rig().System().now = [] { return noon; };
    UpdateInit::SetUpdateVersion("9.1.0.0");
}

void tst_TrustedCheck::cleanup()
{
    m_scene.reset();
}

void tst_TrustedCheck::ExpectRefused(const QByteArray &answer, const QString &rule)
{
    m_scene->Publish();
    m_scene->ServeCheck(answer);
    QCOMPARE(m_scene->Check(), QString("hint"));
    QCOMPARE(m_scene->Rig().HintText(), failed);
    // The page with the notes is never shown for what was refused.
    QVERIFY(!m_scene->Rig().Pages().contains("version"));
    QCOMPARE(m_scene->Rule(), rule);
    QVERIFY(!m_scene->CheckSilently());
    // Even a press of the button leads nowhere: there is no offer.
    m_scene->Rig().Manager().UpdateNow();
    QVERIFY(m_scene->Rig().Server().Requests("HEAD").isEmpty());
    QCOMPARE(m_scene->Rig().Setting("TrustSerial"), QString());
}

void tst_TrustedCheck::a_signed_offer_is_shown()
{
    m_scene->Manifest().forVersion = "9.1.0.0";
    m_scene->Manifest().expires = "2026-06-15T12:00:01Z";
    m_scene->Publish();
    QCOMPARE(m_scene->Check(), QString("version"));
    QTRY_VERIFY(m_scene->Rig().VersionText().contains("Faster"));
    QCOMPARE(m_scene->Rig().Setting("TrustSerial"), QString("5"));
    QVERIFY(m_scene->CheckSilently());
}

void tst_TrustedCheck::a_signed_manifest_without_an_offer_is_the_latest_version()
{
    m_scene->Publish();
    m_scene->ServeCheck(m_scene->Key().Sign(SignedManifest().Document()));
    QCOMPARE(m_scene->Check(), QString("hint"));
    QCOMPARE(m_scene->Rig().HintText(), QString("Your current version is the latest version!"));
    QVERIFY(!m_scene->CheckSilently());
}

void tst_TrustedCheck::an_attack_is_a_failed_check_data()
{
    QTest::addColumn<QByteArray>("answer");
    QTest::addColumn<QString>("rule");

    const MinisignKeyPair key('k');
    const MinisignKeyPair other('x');
    SignedManifest offer;
    offer.exeUrl = "http://u.example/files/setup.exe";
    offer.full = "a package";
    const QByteArray document = offer.Document();
    const QByteArray good = key.Sign(document);
    const QByteArray signature = good.mid(document.size());
    const auto row = [](const char *name, const QByteArray &answer, const QString &rule) {
        QTest::newRow(name) << answer << rule;
    };
    const auto changed = [&](const auto &change) {
        SignedManifest manifest = offer;
        change(manifest);
        return key.Sign(manifest.Document());
    };
    const auto spoilt = [&](const auto &change) {
        MinisignKeyPair::Spoil spoil;
        change(spoil);
        return key.Sign(document, spoil);
    };

    row("no_signature", document, "the document is not signed");
    row("no_newer_version_without_a_signature", "<Update/>", "the document is not signed");
    row("a_stripped_signature", document + "<!--minisign\n-->\n", "the signature is damaged");
    row("a_truncated_signature", good.chopped(40), "the signature is cut off");
    row("two_signatures", good + signature, "the document has more than one signature");
    row("a_signature_that_is_not_last", good + "<!-- more -->",
        "the signature is not the last thing in the document");
    row("a_signature_in_front", signature + document,
        "the signature is not the last thing in the document");
    row("an_unknown_key", other.Sign(document), "the key of the signature is not trusted");
    row("the_right_key_with_other_bytes", document + key.Sign("<Update/>").mid(9),
        "the signature does not belong to the document");
    row("an_altered_body", QByteArray(good).replace("u.example", "v.example"),
        "the signature does not belong to the document");
    row("an_altered_trusted_comment",
        spoilt([](MinisignKeyPair::Spoil &spoil) { spoil.shownComment = "timestamp:9999999999"; }),
        "the trusted comment does not belong to the signature");
    row("an_altered_key_id",
        spoilt([](MinisignKeyPair::Spoil &spoil) { spoil.shownId = QByteArray(8, 'z'); }),
        "the key of the signature is not trusted");
    row("the_legacy_algorithm",
        spoilt([](MinisignKeyPair::Spoil &spoil) { spoil.algorithm = "Ed"; }),
        "the signature is of the legacy algorithm");
    row("a_serial_at_its_maximum",
        changed([](SignedManifest &manifest) { manifest.serial = "18446744073709551615"; }),
        "the value of Serial in Signed is none");
    row("a_serial_with_a_sign", changed([](SignedManifest &manifest) { manifest.serial = "+9"; }),
        "the value of Serial in Signed is none");
    row("a_serial_with_blanks", changed([](SignedManifest &manifest) { manifest.serial = " 9 "; }),
        "the value of Serial in Signed is none");
    row("an_expired_manifest",
        changed([](SignedManifest &manifest) { manifest.expires = "2026-06-15T12:00:00Z"; }),
        "the manifest has expired on 2026-06-15T12:00:00Z");
    row("an_expiry_in_the_far_future",
        changed([](SignedManifest &manifest) { manifest.expires = "9999-12-31T23:59:59Z"; }),
        "the manifest expires too far in the future, on 9999-12-31T23:59:59Z");
    row("the_manifest_of_another_version",
        changed([](SignedManifest &manifest) { manifest.forVersion = "9.0.0.0"; }),
        "the manifest is for version 9.0.0.0 and not for 9.1.0.0");
    row("a_second_element_of_a_signed_name",
        changed([](SignedManifest &manifest) { manifest.more = "<Serial>9</Serial>"; }),
        "the element Serial stands outside of Signed");
    row("a_second_digest_outside_of_the_signed_element", changed([](SignedManifest &manifest) {
            manifest.more = "<FullSha256>" + QByteArray(64, 'a') + "</FullSha256>";
        }),
        "the element FullSha256 stands outside of Signed");
    row("a_second_signed_element",
        changed([](SignedManifest &manifest) { manifest.more = "<Signed/>"; }),
        "the element Signed stands twice, or not below the root");
    row("an_offer_without_a_digest", changed([](SignedManifest &manifest) { manifest.full = {}; }),
        "the full package is offered or signed, and not both");
    row("a_document_type", key.Sign("<!DOCTYPE a [<!ENTITY e \"e\">]>" + document),
        "the manifest has a document type");
    row("a_page_of_a_network_that_wants_a_login", "<html><body>Log in</body></html>",
        "the document is not signed");
}

void tst_TrustedCheck::an_attack_is_a_failed_check()
{
    QFETCH(QByteArray, answer);
    QFETCH(QString, rule);
    ExpectRefused(answer, rule);
}

void tst_TrustedCheck::an_older_manifest_is_refused_after_a_newer_one()
{
    m_scene->Publish();
    const QByteArray older = m_scene->Key().Sign(m_scene->Manifest().Document());
    m_scene->Manifest().serial = "6";
    m_scene->ServeCheck(m_scene->Key().Sign(m_scene->Manifest().Document()));
    QCOMPARE(m_scene->Check(), QString("version"));
    m_scene->ServeCheck(older);
    QCOMPARE(m_scene->Check(), QString("hint"));
    QCOMPARE(m_scene->Rule(), QString("the manifest is older than one before, serial 5 after 6"));
    QVERIFY(!m_scene->CheckSilently());
    // In another session as well.
    m_scene->Rig().Build();
    QCOMPARE(m_scene->Check(), QString("hint"));
}

void tst_TrustedCheck::a_clock_that_was_set_back_is_a_failed_check()
{
    m_scene->Manifest().expires = "2026-07-01T00:00:00Z";
    m_scene->Publish();
    QCOMPARE(m_scene->Check(), QString("version"));
    // The manifest has expired by now, and somebody wants it to hold again.
    m_scene->Rig().System().now = [] { return noon.addDays(-30); };
    m_scene->Rig().Build();
    QCOMPARE(m_scene->Check(), QString("hint"));
    QCOMPARE(m_scene->Rule(), QString("the clock was set back, it has been 2026-06-15T12:00:00Z"));
    QVERIFY(!m_scene->CheckSilently());
}

void tst_TrustedCheck::an_older_release_with_a_higher_serial_is_offered()
{
    m_scene->Publish();
    QCOMPARE(m_scene->Check(), QString("version"));
    m_scene->Manifest().serial = "6";
    m_scene->Manifest().full = "the release before the one that is withdrawn";
    m_scene->Publish();
    QCOMPARE(m_scene->Check(), QString("version"));
    QVERIFY(m_scene->CheckSilently());
}

void tst_TrustedCheck::a_manifest_in_many_pieces_is_waited_for()
{
    m_scene->Publish();
    HttpAnswer slow = HttpAnswer::Body(m_scene->Key().Sign(m_scene->Manifest().Document()));
    slow.chunkSize = 100;
    slow.chunkPauseMs = 5;
    m_scene->Rig().Server().Serve("/check", slow);
    QCOMPARE(m_scene->Check(), QString("version"));
    QTRY_VERIFY(m_scene->Rig().VersionText().contains("Faster"));
}

void tst_TrustedCheck::an_answer_of_one_mebibyte_is_read()
{
    SignedManifest manifest = m_scene->Manifest();
    const int room = 1024 * 1024 - m_scene->Key().Sign(manifest.Document()).size();
    manifest.more = "<X>" + QByteArray(room - 7, 'x') + "</X>";
    m_scene->Publish();
    const QByteArray answer = m_scene->Key().Sign(manifest.Document());
    QCOMPARE(answer.size(), 1024 * 1024);
    m_scene->ServeCheck(answer);
    QCOMPARE(m_scene->Check(), QString("version"));
}

void tst_TrustedCheck::an_answer_above_one_mebibyte_is_given_up()
{
    SignedManifest manifest = m_scene->Manifest();
    manifest.more = "<X>" + QByteArray(1024 * 1024, 'x') + "</X>";
    m_scene->Publish();
    m_scene->ServeCheck(m_scene->Key().Sign(manifest.Document()));
    QCOMPARE(m_scene->Check(), QString("hint"));
    QVERIFY(m_scene->Log().CountContaining("the answer is longer than") > 0);
    QVERIFY(!m_scene->CheckSilently());
}

void tst_TrustedCheck::an_endless_answer_is_given_up()
{
    m_scene->Publish();
    FaultScript script;
    script.When("GET", "/check").Answer(FaultAnswer::Text("<Update>").NoLength().Endless());
    m_scene->Rig().Server().Play(script);
    QCOMPARE(m_scene->Check(), QString("hint"));
    QCOMPARE(m_scene->Rig().HintText(), failed);
    QVERIFY(m_scene->Log().CountContaining("the answer is longer than") > 0);
}

void tst_TrustedCheck::a_pause_in_the_answer_is_given_up()
{
    m_scene->Rig().System().stallLimit = std::chrono::milliseconds(200);
    m_scene->Publish();
    FaultScript script;
    script.When("GET", "/check").Answer(FaultAnswer::Text(QByteArray(900, ' ')).StallAfter(300));
    m_scene->Rig().Server().Play(script);
    QCOMPARE(m_scene->Check(), QString("hint"));
    QVERIFY(m_scene->Log().CountContaining("stall, the answer is given up") > 0);
}

void tst_TrustedCheck::an_answer_that_never_begins_is_given_up()
{
    m_scene->Rig().System().stallLimit = std::chrono::milliseconds(200);
    m_scene->Publish();
    FaultScript script;
    script.When("GET", "/check").Answer(FaultAnswer::Silence());
    m_scene->Rig().Server().Play(script);
    QCOMPARE(m_scene->Check(), QString("hint"));
    QVERIFY(m_scene->Log().CountContaining("stall, the answer is given up") > 0);
}

void tst_TrustedCheck::a_byte_now_and_then_does_not_keep_the_user_waiting()
{
    m_scene->Rig().System().stallLimit = std::chrono::milliseconds(10000);
    m_scene->Rig().System().answerLimit = std::chrono::milliseconds(500);
    m_scene->Publish();
    FaultScript script;
    script.When("GET", "/check").Answer(FaultAnswer::Text(QByteArray(100000, ' ')).Pieces(1, 20));
    m_scene->Rig().Server().Play(script);
    QCOMPARE(m_scene->Check(), QString("hint"));
    QVERIFY(m_scene->Log().CountContaining("stall, the answer is given up") > 0);
}

void tst_TrustedCheck::the_first_bytes_show_no_page()
{
    m_scene->Publish();
    FaultScript script;
    script.When("GET", "/check")
        .Answer(FaultAnswer::Text(m_scene->Manifest().Document()).StallAfter(200));
    m_scene->Rig().Server().Play(script);
    LiveUpdateMgr &manager = m_scene->Rig().Manager();
    manager.LiveUpdate("1", "9.1.0.0", "me@u.example");
    auto *reply = manager.findChild<VersionCheck *>()->findChild<QNetworkReply *>();
    QVERIFY(reply != nullptr);
    QTRY_VERIFY(reply->bytesAvailable() >= 200);
    manager.OnCheckReplyReady();
    QCOMPARE(reply->bytesAvailable(), qint64(200));
    QCOMPARE(m_scene->Rig().Pages(), QStringList{"progress"});
}

void tst_TrustedCheck::an_error_page_is_a_failed_check()
{
    m_scene->Publish();
    HttpAnswer page = HttpAnswer::Status(503);
    page.body = m_scene->Key().Sign(m_scene->Manifest().Document());
    m_scene->Rig().Server().Serve("/check", page);
    QCOMPARE(m_scene->Check(), QString("hint"));
    QCOMPARE(m_scene->Rig().HintText(), failed);
    QVERIFY(!m_scene->CheckSilently());
}

void tst_TrustedCheck::an_empty_answer_is_a_failed_check()
{
    m_scene->Publish();
    m_scene->ServeCheck("");
    QCOMPARE(m_scene->Check(), QString("hint"));
    QCOMPARE(m_scene->Rule(), QString("the document is not signed"));
    QVERIFY(!m_scene->CheckSilently());
}

void tst_TrustedCheck::a_redirect_is_not_followed()
{
    m_scene->Publish();
    m_scene->Rig().Server().Serve("/check", HttpAnswer::Redirect("/elsewhere"));
    QCOMPARE(m_scene->Check(), QString("hint"));
    QCOMPARE(m_scene->Rig().Server().Requests().size(), 1);
}

void tst_TrustedCheck::keys_are_rotated()
{
    const MinisignKeyPair retired('o');
    const MinisignKeyPair current('n');
    const QByteArray byRetired = retired.Sign(m_scene->Manifest().Document());
    const QByteArray byCurrent = current.Sign(m_scene->Manifest().Document());
    const auto accepts = [this](const QStringList &keys, const QByteArray &answer) {
        m_scene->Rig().SetPublicKeys(keys);
        m_scene->Publish();
        m_scene->ServeCheck(answer);
        return m_scene->Check() == QLatin1String("version");
    };
    const QString oldKey = retired.PublicKey();
    const QString newKey = current.PublicKey();
    QVERIFY(accepts({oldKey}, byRetired));
    QVERIFY(!accepts({oldKey}, byCurrent));
    QVERIFY(accepts({oldKey, newKey}, byRetired));
    QVERIFY(accepts({oldKey, newKey}, byCurrent));
    QVERIFY(accepts({newKey}, byCurrent));
    QVERIFY(!accepts({newKey}, byRetired));
}

void tst_TrustedCheck::keys_that_are_none_refuse_everything()
{
    m_scene->Rig().SetPublicKeys({"RWQ", "untrusted comment: a key"});
    ExpectRefused(m_scene->Key().Sign(m_scene->Manifest().Document()),
                  "the key of the signature is not trusted");
    QCOMPARE(m_scene->Log().CountContaining("not trusted, no minisign public key: "), 2);
}

void tst_TrustedCheck::a_refused_silent_check_leaves_the_last_manifest()
{
    m_scene->Publish();
    QCOMPARE(m_scene->Check(), QString("version"));
    QTRY_VERIFY(m_scene->Rig().VersionText().contains("Faster"));
    m_scene->ServeCheck("<Update><ExeUrl_x64>http://v.example/evil.exe</ExeUrl_x64></Update>");
    QVERIFY(!m_scene->CheckSilently());
    m_scene->Rig().Manager().UpdateNow();
    QTRY_VERIFY(!m_scene->Rig().Server().Requests("HEAD").isEmpty());
    QCOMPARE(m_scene->Rig().Server().Requests("HEAD").first().target,
             QByteArray("/files/setup.exe"));
}

void tst_TrustedCheck::a_serial_that_cannot_be_remembered_is_a_failed_check()
{
    m_scene->Publish();
    QVERIFY(QFile::remove(m_scene->Rig().SettingsFile()));
    QVERIFY(QDir().mkpath(m_scene->Rig().SettingsFile()));
    QCOMPARE(m_scene->Check(), QString("hint"));
    QCOMPARE(m_scene->Rig().HintText(), failed);
    QVERIFY(!m_scene->Rule().isEmpty());
}

void tst_TrustedCheck::without_keys_a_signed_manifest_is_read_as_ever()
{
    m_scene->Rig().SetPublicKeys({});
    m_scene->Publish();
    QCOMPARE(m_scene->Check(), QString("version"));
    QTRY_VERIFY(m_scene->Rig().VersionText().contains("Faster"));
    // Whatever stands in the signature, and in the signed element.
    m_scene->ServeCheck(m_scene->Manifest().Document().replace("<Serial>5", "<Serial>x") +
                        "<!--minisign\nx\n-->\n");
    QCOMPARE(m_scene->Check(), QString("version"));
    QTRY_VERIFY(m_scene->Rig().VersionText().contains("Faster"));
    QVERIFY(m_scene->CheckSilently());
    QCOMPARE(m_scene->Rig().Setting("TrustSerial"), QString());
}

QTEST_MAIN(tst_TrustedCheck)
#include "tst_TrustedCheck.moc"
