// SPDX-License-Identifier: MIT

#include "api/UpdateInit.h"
#include "tests/support/FakeTranslator.h"
#include "tests/support/MetaMethods.h"
#include "tests/support/SystemTraits.h"
#include "tests/update/UpdateRig.h"
#include "update/check/VersionCheck.h"
#include "update/check/VersionPageHtml.h"
#include "update/UpdateCommon/VersionInfo.h"

#include <QElapsedTimer>
#include <QNetworkAccessManager>
#include <QTcpServer>
#include <QtTest>

/// The update check, interactive and silent.
class tst_LiveUpdateMgr_Check : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void the_signals_stand_in_their_order();
    void the_template_is_copied_at_construction();
    void a_check_shows_the_busy_progress_page();
    void a_check_sends_one_plain_get_with_the_given_values();
    void a_check_without_arguments_gathers_its_values();
    void the_version_of_the_host_is_read_at_every_check();
    void a_newer_version_shows_its_release_notes();
    void a_manifest_without_full_package_means_latest_version_data();
    void a_manifest_without_full_package_means_latest_version();
    void only_what_had_arrived_first_is_parsed();
    void the_manifest_is_decoded_as_utf8();
    void a_failed_check_says_so_data();
    void a_failed_check_says_so();
    void an_error_status_with_a_body_shows_the_failure_last();
    void the_lowest_error_status_is_400();
    void a_status_below_400_is_an_answer();
    void an_empty_body_leaves_the_progress_page();
    void a_kept_installer_short_circuits_the_check();
    void a_kept_installer_that_is_gone_is_overlooked();
    void a_second_check_starts_anew();
    void a_second_check_overtakes_one_that_is_under_way();
    void an_overtaken_check_says_nothing_any_more();
    void a_check_that_a_kept_installer_overtakes_says_nothing_any_more();
    void a_check_that_is_started_when_the_version_page_shows_is_not_mixed_up();

    void the_silent_check_gives_data();
    void the_silent_check_gives();
    void an_answer_is_read_up_to_one_mebibyte_data();
    void an_answer_is_read_up_to_one_mebibyte();
    void the_silent_check_changes_no_page_data();
    void the_silent_check_changes_no_page();
    void the_silent_check_gives_up_after_five_seconds();
    void the_silent_check_sends_the_gathered_values();
    void after_a_silent_check_a_failure_is_not_spelled_out();
    void an_interactive_check_spells_failures_out_again();

    void tls_errors_are_told_by_the_same_rule();
    void tls_errors_of_the_check_are_always_spelled_out();
    void remind_me_later_is_passed_on();
    void the_hint_pages_close_is_passed_on_once();
    void the_progress_pages_close_comes_five_times();
    void the_texts_are_translated();

private:
    QNetworkAccessManager *Network() const
    {
        return m_rig->Manager().findChild<VersionCheck *>()->findChild<QNetworkAccessManager *>();
    }
    void ServeManifest(const QString &xml) { m_rig->Server().Serve("/check", Xml(xml.toUtf8())); }
    static HttpAnswer Xml(const QByteArray &text)
    {
        HttpAnswer answer = HttpAnswer::Body(text);
        answer.contentType = "text/xml";
        return answer;
    }

    std::unique_ptr<UpdateRig> m_rig;
};

static const QString exeUrl = "http://u.example/files/setup.exe";

void tst_LiveUpdateMgr_Check::init()
{
    m_rig = std::make_unique<UpdateRig>();
    m_rig->Build();
}

void tst_LiveUpdateMgr_Check::cleanup()
{
    m_rig.reset();
}

void tst_LiveUpdateMgr_Check::the_signals_stand_in_their_order()
{
    const QByteArrayList expected{
        "SetCurrentWidget(QWidget*)", "Close()",        "BeginInstall()", "CancelInstall()",
        "InstallStarted()",           "RemindMeLater()"};
    QCOMPARE(gOwnMethods(LiveUpdateMgr::staticMetaObject, QMetaMethod::Signal), expected);
}

void tst_LiveUpdateMgr_Check::the_template_is_copied_at_construction()
{
    UpdateInit::SetUpdateUrl("http://other.example/?pid=&version=&email=");
    QCOMPARE(m_rig->Manager().BuildCheckUrl("1", "2", "3"),
             m_rig->Server().Url("/check?pid=1&version=2&email=3"));
}

void tst_LiveUpdateMgr_Check::a_check_shows_the_busy_progress_page()
{
    m_rig->Server().Serve("/check", HttpAnswer::Broken({}, HttpAnswer::Fault::Silence));
    m_rig->Progress().SetCloseVisible(1);
    m_rig->Progress().SetText("before");
    m_rig->Manager().LiveUpdate("1", "2", "3");
    QCOMPARE(m_rig->Pages(), QStringList{"progress"});
    QCOMPARE(m_rig->ProgressText(), QStringLiteral("Checking the version."));
    QCOMPARE(m_rig->Bar()->minimum(), 0);
    QCOMPARE(m_rig->Bar()->maximum(), 0);
    QVERIFY(!m_rig->CloseOffered());
}

void tst_LiveUpdateMgr_Check::a_check_sends_one_plain_get_with_the_given_values()
{
    ServeManifest("<a/>");
    m_rig->Manager().LiveUpdate("1", "2", "me@u.example");
    QTRY_COMPARE(m_rig->Pages().last(), QStringLiteral("hint"));
    const QList<HttpRequest> requests = m_rig->Server().Requests();
    QCOMPARE(requests.size(), 1);
    QCOMPARE(requests.first().method, QByteArray("GET"));
    QCOMPARE(requests.first().target, QByteArray("/check?pid=1&version=2&email=me@u.example"));
    QVERIFY(!requests.first().headers.contains("range"));
}

void tst_LiveUpdateMgr_Check::a_check_without_arguments_gathers_its_values()
{
    m_rig->WriteSetting("Email", "kept@u.example");
    m_rig->Build();
    ServeManifest("<a/>");
    m_rig->Manager().LiveUpdate();
    QTRY_COMPARE(m_rig->Server().Requests().size(), 1);
    // There is no customisation store beside this test, so there is no product identifier.
    QCOMPARE(m_rig->Server().Requests().first().target,
             QByteArray("/check?pid=&version=9.1.0.0&email=kept@u.example"));
}

void tst_LiveUpdateMgr_Check::the_version_of_the_host_is_read_at_every_check()
{
    ServeManifest("<a/>");
    UpdateInit::SetUpdateVersion("9.9");
    m_rig->Manager().LiveUpdate();
    QTRY_COMPARE(m_rig->Server().Requests().size(), 1);
    QCOMPARE(m_rig->Server().Requests().first().target,
             QByteArray("/check?pid=&version=9.9&email="));
}

void tst_LiveUpdateMgr_Check::a_newer_version_shows_its_release_notes()
{
    ServeManifest(UpdateRig::Manifest(exeUrl));
    m_rig->Manager().LiveUpdate("1", "2", "3");
    const QString expected = BuildVersionPageHtml({{"9.2.0.0", "<ol><li>Faster</li></ol>"}});
    QTRY_COMPARE(m_rig->VersionText(), expected);
    const QStringList pages{"progress", "version"};
    QCOMPARE(m_rig->Pages(), pages);
    QCOMPARE(m_rig->Manager().findChild<VersionInfo *>()->ExeUrl(), exeUrl);
}

void tst_LiveUpdateMgr_Check::a_manifest_without_full_package_means_latest_version_data()
{
    QTest::addColumn<QString>("xml");
    QTest::newRow("an_empty_address_whatever_the_version_numbers_say")
        << UpdateRig::Manifest("", "<IncreasePackage><Url_x64>x</Url_x64><Version>99.0</Version>"
                                   "<AutoNotify>1</AutoNotify></IncreasePackage>");
    QTest::newRow("no_address_at_all") << "<a/>";
    QTest::newRow("no_manifest_at_all") << "not XML";
}

void tst_LiveUpdateMgr_Check::a_manifest_without_full_package_means_latest_version()
{
    QFETCH(QString, xml);
    ServeManifest(xml);
    m_rig->Manager().LiveUpdate("1", "2", "3");
    QTRY_COMPARE(m_rig->HintText(), QStringLiteral("Your current version is the latest version!"));
    const QStringList pages{"progress", "version", "hint"};
    QCOMPARE(m_rig->Pages(), pages);
    QVERIFY2(m_rig->VersionText().isEmpty(), "the notes of the version page are not touched");
}

void tst_LiveUpdateMgr_Check::only_what_had_arrived_first_is_parsed()
{
    HttpAnswer answer = Xml(UpdateRig::Manifest(exeUrl).toUtf8());
    answer.chunkSize = answer.body.size() - 5;
    answer.chunkPauseMs = 400;
    m_rig->Server().Serve("/check", answer);
    m_rig->Manager().LiveUpdate("1", "2", "3");
    QTRY_COMPARE(m_rig->HintText(), QStringLiteral("Your current version is the latest version!"));
    const QStringList pages{"progress", "version", "hint"};
    QCOMPARE(m_rig->Pages(), pages);
    // A second, whole check: when it has ended, the rest of the first answer has arrived as well.
    ServeManifest("<a/>");
    m_rig->Manager().LiveUpdate("1", "2", "3");
    const QStringList both = pages + pages;
    QTRY_COMPARE(m_rig->Pages(), both);
    QVERIFY(m_rig->VersionText().isEmpty());
}

void tst_LiveUpdateMgr_Check::the_manifest_is_decoded_as_utf8()
{
    const QString address = QStringLiteral("http://u.example/\u00fc\u4e16.exe");
    ServeManifest(UpdateRig::Manifest(address));
    m_rig->Manager().LiveUpdate("1", "2", "3");
    QTRY_COMPARE(m_rig->Manager().findChild<VersionInfo *>()->ExeUrl(), address);
}

void tst_LiveUpdateMgr_Check::a_failed_check_says_so_data()
{
    QTest::addColumn<int>("status");
    QTest::addColumn<int>("fault");
    QTest::newRow("the_page_is_not_found") << 404 << int(HttpAnswer::Fault::None);
    QTest::newRow("the_server_fails") << 503 << int(HttpAnswer::Fault::None);
    QTest::newRow("the_connection_is_reset") << 200 << int(HttpAnswer::Fault::ResetAtOnce);
    QTest::newRow("the_host_refuses_the_connection") << 0 << int(HttpAnswer::Fault::None);
}

void tst_LiveUpdateMgr_Check::a_failed_check_says_so()
{
    QFETCH(int, status);
    QFETCH(int, fault);
    if (fault != int(HttpAnswer::Fault::None) && !gTellsOfEarlyResets()) {
        QSKIP("This system does not tell of a reset before the first byte.");
    }
    if (status == 0) {
        QTcpServer closed;
        QVERIFY(closed.listen(QHostAddress::LocalHost));
        UpdateInit::SetUpdateUrl(
            QString("http://127.0.0.1:%1/?pid=&version=&email=").arg(closed.serverPort()));
        closed.close();
        m_rig->Build();
    }
    HttpAnswer answer = HttpAnswer::Broken({}, HttpAnswer::Fault(fault));
    answer.status = status;
    m_rig->Server().Serve("/check", answer);
    m_rig->Manager().LiveUpdate("1", "2", "3");
    QTRY_COMPARE(m_rig->HintText(), QStringLiteral("Failed to check update!"));
    const QStringList pages{"progress", "hint"};
    QCOMPARE(m_rig->Pages(), pages);
}

void tst_LiveUpdateMgr_Check::an_error_status_with_a_body_shows_the_failure_last()
{
    HttpAnswer answer = Xml(UpdateRig::Manifest(exeUrl).toUtf8());
    answer.status = 404;
    m_rig->Server().Serve("/check", answer);
    m_rig->Manager().LiveUpdate("1", "2", "3");
    QTRY_COMPARE(m_rig->HintText(), QStringLiteral("Failed to check update!"));
    const QStringList pages{"progress", "version", "hint"};
    QCOMPARE(m_rig->Pages(), pages);
}

void tst_LiveUpdateMgr_Check::the_lowest_error_status_is_400()
{
    // Its end comes later, and only with that its error.
    HttpAnswer answer = Xml(UpdateRig::Manifest(exeUrl).toUtf8() + "\n\n");
    answer.status = 400;
    answer.chunkSize = answer.body.size() - 1;
    answer.chunkPauseMs = 100;
    m_rig->Server().Serve("/check", answer);
    m_rig->Manager().LiveUpdate("1", "2", "3");
    QTRY_COMPARE(m_rig->HintText(), QStringLiteral("Failed to check update!"));
    const QStringList pages{"progress", "version", "hint"};
    QCOMPARE(m_rig->Pages(), pages);
}

void tst_LiveUpdateMgr_Check::a_status_below_400_is_an_answer()
{
    HttpAnswer answer = Xml(UpdateRig::Manifest(exeUrl).toUtf8() + "\n\n");
    answer.status = 399;
    answer.fault = HttpAnswer::Fault::StallAfter;
    answer.faultAfter = answer.body.size() - 1;
    m_rig->Server().Serve("/check", answer);
    m_rig->Manager().LiveUpdate("1", "2", "3");
    QTRY_VERIFY(!m_rig->VersionText().isEmpty());
    // Its end is not waited for.
    QTRY_COMPARE(Network()->findChildren<QNetworkReply *>().size(), 0);
    const QStringList pages{"progress", "version"};
    QCOMPARE(m_rig->Pages(), pages);
}

void tst_LiveUpdateMgr_Check::an_empty_body_leaves_the_progress_page()
{
    ServeManifest({});
    const QSignalSpy finished(Network(), &QNetworkAccessManager::finished);
    m_rig->Manager().LiveUpdate("1", "2", "3");
    QTRY_COMPARE(finished.count(), 1);
    QCOMPARE(m_rig->Pages(), QStringList{"progress"});
    QCOMPARE(m_rig->ProgressText(), QStringLiteral("Checking the version."));
}

void tst_LiveUpdateMgr_Check::a_kept_installer_short_circuits_the_check()
{
    QVERIFY(gWriteFile(m_rig->Path("kept.exe"), "an installer"));
    m_rig->WriteSetting("SetupFile", m_rig->Path("kept.exe"));
    m_rig->Build();
    ServeManifest(UpdateRig::Manifest(exeUrl));
    m_rig->Manager().LiveUpdate("1", "2", "3");
    QTRY_COMPARE(m_rig->Boxes(), 1);
    QVERIFY(m_rig->BoxSaid("Information",
                           "A new version has been found in your device. However, the program is "
                           "running. Please click Yes to terminate the program and install the new "
                           "version. Click Cancel to install it next time."));
    QCOMPARE(m_rig->Pages(), QStringList{"progress"});
    QVERIFY(m_rig->Server().Requests().isEmpty());
}

void tst_LiveUpdateMgr_Check::a_kept_installer_that_is_gone_is_overlooked()
{
    m_rig->WriteSetting("SetupFile", m_rig->Path("gone.exe"));
    m_rig->Build();
    ServeManifest("<a/>");
    m_rig->Manager().LiveUpdate("1", "2", "3");
    QTRY_COMPARE(m_rig->Pages().last(), QStringLiteral("hint"));
    QCOMPARE(m_rig->Server().Requests().size(), 1);
    QCOMPARE(m_rig->Boxes(), 0);
}

void tst_LiveUpdateMgr_Check::a_second_check_starts_anew()
{
    ServeManifest(UpdateRig::Manifest(exeUrl));
    m_rig->Manager().LiveUpdate("1", "2", "3");
    QTRY_VERIFY(!m_rig->VersionText().isEmpty());
    ServeManifest("<a/>");
    m_rig->Manager().LiveUpdate("4", "5", "6");
    QTRY_COMPARE(m_rig->HintText(), QStringLiteral("Your current version is the latest version!"));
    QCOMPARE(m_rig->Server().Requests().last().target,
             QByteArray("/check?pid=4&version=5&email=6"));
    QVERIFY(m_rig->Manager().findChild<VersionInfo *>()->ExeUrl().isEmpty());
}

void tst_LiveUpdateMgr_Check::a_second_check_overtakes_one_that_is_under_way()
{
    HttpAnswer slow = Xml("<a/>");
    slow.delayMs = 300;
    m_rig->Server().Serve("/check", slow);
    m_rig->Manager().LiveUpdate("1", "2", "3");
    QTRY_COMPARE(m_rig->Server().Requests().size(), 1);
    ServeManifest(UpdateRig::Manifest(exeUrl));
    m_rig->Manager().LiveUpdate("4", "5", "6");
    const QStringList pages{"progress", "progress", "version"};
    QTRY_COMPARE(m_rig->Pages(), pages);
    // Both replies are deleted, so neither can change the page any more.
    QTRY_COMPARE(Network()->findChildren<QNetworkReply *>().size(), 0);
    QCOMPARE(m_rig->Pages(), pages);
    QVERIFY(!m_rig->VersionText().isEmpty());
}

void tst_LiveUpdateMgr_Check::an_overtaken_check_says_nothing_any_more()
{
    m_rig->Server().Serve("/check", HttpAnswer::Broken({}, HttpAnswer::Fault::Silence));
    m_rig->Manager().LiveUpdate("1", "2", "3");
    auto *overtaken = Network()->findChild<QNetworkReply *>();
    QVERIFY(overtaken);
    m_rig->Manager().LiveUpdate("4", "5", "6");
    emit Network()->sslErrors(overtaken, {});
    emit overtaken->sslErrors({});
    overtaken->abort();
    QVERIFY(overtaken->error() != QNetworkReply::NoError);
    const QStringList pages{"progress", "progress"};
    QCOMPARE(m_rig->Pages(), pages);
}

void tst_LiveUpdateMgr_Check::a_check_that_a_kept_installer_overtakes_says_nothing_any_more()
{
    m_rig->Server().Serve("/check", HttpAnswer::Broken({}, HttpAnswer::Fault::Silence));
    m_rig->Manager().LiveUpdate("1", "2", "3");
    const QPointer<QNetworkReply> overtaken = Network()->findChild<QNetworkReply *>();
    QVERIFY(overtaken);
    QVERIFY(gWriteFile(m_rig->Path("kept.exe"), "an installer"));
    m_rig->WriteSetting("SetupFile", m_rig->Path("kept.exe"));
    // Before the event loop of the question, which deletes the reply.
    connect(&m_rig->Manager(), &LiveUpdateMgr::SetCurrentWidget, overtaken.data(),
            [overtaken] { overtaken->abort(); });
    m_rig->Manager().LiveUpdate("4", "5", "6");
    QCOMPARE(m_rig->Boxes(), 1);
    const QStringList pages{"progress", "progress"};
    QCOMPARE(m_rig->Pages(), pages);
}

void tst_LiveUpdateMgr_Check::a_check_that_is_started_when_the_version_page_shows_is_not_mixed_up()
{
    ServeManifest("<a/>");
    const QMetaObject::Connection connection =
        connect(&m_rig->Manager(), &LiveUpdateMgr::SetCurrentWidget, this, [this](QWidget *page) {
            if (page == &m_rig->Version() && m_rig->Pages().count("version") == 1) {
                ServeManifest(UpdateRig::Manifest(exeUrl));
                m_rig->Manager().LiveUpdate("4", "5", "6");
            }
        });
    m_rig->Manager().LiveUpdate("1", "2", "3");
    QTRY_VERIFY(!m_rig->VersionText().isEmpty());
    disconnect(connection);
    const QStringList pages{"progress", "version", "progress", "version"};
    QCOMPARE(m_rig->Pages(), pages);
}

void tst_LiveUpdateMgr_Check::the_silent_check_gives_data()
{
    QTest::addColumn<int>("status");
    QTest::addColumn<QString>("body");
    QTest::addColumn<bool>("expected");
    QTest::newRow("true_for_a_full_package") << 200 << UpdateRig::Manifest(exeUrl) << true;
    QTest::newRow("false_without_one") << 200 << UpdateRig::Manifest("") << false;
    QTest::newRow("false_for_what_is_no_manifest") << 200 << "not XML" << false;
    QTest::newRow("false_for_an_empty_body") << 200 << "" << false;
    QTest::newRow("false_for_an_error_status") << 404 << UpdateRig::Manifest(exeUrl) << false;
}

void tst_LiveUpdateMgr_Check::the_silent_check_gives()
{
    QFETCH(int, status);
    QFETCH(QString, body);
    QFETCH(bool, expected);
    HttpAnswer answer = Xml(body.toUtf8());
    answer.status = status;
    m_rig->Server().Serve("/check", answer);
    QCOMPARE(m_rig->Manager().IsNeedUpdate(), expected);
    QCOMPARE(m_rig->Server().Requests().size(), 1);
}

void tst_LiveUpdateMgr_Check::an_answer_is_read_up_to_one_mebibyte_data()
{
    QTest::addColumn<int>("size");
    QTest::addColumn<bool>("isRead");
    QTest::newRow("the_longest") << 1048576 << true;
    QTest::newRow("one_byte_more") << 1048577 << false;
}

void tst_LiveUpdateMgr_Check::an_answer_is_read_up_to_one_mebibyte()
{
    QFETCH(int, size);
    QFETCH(bool, isRead);
    const QString manifest = UpdateRig::Manifest(exeUrl);
    ServeManifest("<!--" + QString(size - manifest.size() - 7, 'x') + "-->" + manifest);
    QCOMPARE(m_rig->Manager().IsNeedUpdate(), isRead);
    // The interactive check: as if all of it were there with the first bytes.
    m_rig->Manager().LiveUpdate("1", "2", "3");
    auto *reply = Network()->findChild<QNetworkReply *>();
    QVERIFY(reply);
    disconnect(reply, &QNetworkReply::readyRead, nullptr, nullptr);
    QTRY_COMPARE(reply->bytesAvailable(), qint64(size));
    m_rig->Manager().OnCheckReplyReady();
    QCOMPARE(m_rig->Manager().findChild<VersionInfo *>()->HasExeUrl(), isRead);
}

void tst_LiveUpdateMgr_Check::the_silent_check_changes_no_page_data()
{
    QTest::addColumn<int>("status");
    QTest::newRow("when_it_finds_an_update") << 200;
    QTest::newRow("when_it_fails") << 404;
}

void tst_LiveUpdateMgr_Check::the_silent_check_changes_no_page()
{
    QFETCH(int, status);
    m_rig->Progress().SetText("p");
    m_rig->Hint().SetText("h");
    m_rig->Version().SetText("v");
    HttpAnswer answer = Xml(UpdateRig::Manifest(exeUrl).toUtf8());
    answer.status = status;
    m_rig->Server().Serve("/check", answer);
    QCOMPARE(m_rig->Manager().IsNeedUpdate(), status == 200);
    QCoreApplication::processEvents();
    QCOMPARE(m_rig->Pages(), QStringList());
    QCOMPARE(m_rig->ProgressText(), QStringLiteral("p"));
    QCOMPARE(m_rig->HintText(), QStringLiteral("h"));
    QCOMPARE(m_rig->VersionText(), QStringLiteral("v"));
}

void tst_LiveUpdateMgr_Check::the_silent_check_gives_up_after_five_seconds()
{
    m_rig->Server().Serve("/check", HttpAnswer::Broken({}, HttpAnswer::Fault::Silence));
    QElapsedTimer timer;
    timer.start();
    QVERIFY(!m_rig->Manager().IsNeedUpdate());
    QVERIFY2(timer.elapsed() >= 4990, qPrintable(QString::number(timer.elapsed())));
    QVERIFY2(timer.elapsed() < 8000, qPrintable(QString::number(timer.elapsed())));
}

void tst_LiveUpdateMgr_Check::the_silent_check_sends_the_gathered_values()
{
    m_rig->WriteSetting("Email", "kept@u.example");
    m_rig->Build();
    UpdateInit::SetUpdateVersion("9.5");
    m_rig->Manager().IsNeedUpdate();
    QCOMPARE(m_rig->Server().Requests().value(0).target,
             QByteArray("/check?pid=&version=9.5&email=kept@u.example"));
}

/// A reply that has already failed.
static std::unique_ptr<QNetworkReply> gFailedReply(QNetworkAccessManager &network)
{
    std::unique_ptr<QNetworkReply> reply(network.get(QNetworkRequest(QUrl("unknown://scheme"))));
    QSignalSpy(reply.get(), &QNetworkReply::finished).wait();
    return reply;
}

void tst_LiveUpdateMgr_Check::after_a_silent_check_a_failure_is_not_spelled_out()
{
    m_rig->Manager().IsNeedUpdate();
    m_rig->Hint().SetText("before");
    QNetworkAccessManager network;
    const auto reply = gFailedReply(network);
    QVERIFY(reply->error() != QNetworkReply::NoError);
    m_rig->Manager().OnRequestFinished(reply.get());
    QCOMPARE(m_rig->Pages(), QStringList{"hint"});
    QCOMPARE(m_rig->HintText(), QStringLiteral("before"));
}

void tst_LiveUpdateMgr_Check::an_interactive_check_spells_failures_out_again()
{
    QVERIFY(!m_rig->Manager().IsNeedUpdate());
    m_rig->Manager().LiveUpdate("1", "2", "3");
    QTRY_COMPARE(m_rig->HintText(), QStringLiteral("Failed to check update!"));
}

void tst_LiveUpdateMgr_Check::tls_errors_are_told_by_the_same_rule()
{
    emit Network()->sslErrors(nullptr, {});
    QCOMPARE(m_rig->HintText(), QStringLiteral("Failed to check update!"));
    QCOMPARE(m_rig->Pages(), QStringList{"hint"});
    m_rig->Hint().SetText("before");
    m_rig->Manager().IsNeedUpdate();
    emit Network()->sslErrors(nullptr, {});
    QCOMPARE(m_rig->HintText(), QStringLiteral("before"));
    const QStringList pages{"hint", "hint"};
    QCOMPARE(m_rig->Pages(), pages);
}

void tst_LiveUpdateMgr_Check::tls_errors_of_the_check_are_always_spelled_out()
{
    m_rig->Server().Serve("/check", HttpAnswer::Broken({}, HttpAnswer::Fault::Silence));
    m_rig->Manager().LiveUpdate("1", "2", "3");
    QTRY_COMPARE(m_rig->Server().Requests().size(), 1);
    auto *reply = Network()->findChild<QNetworkReply *>();
    QVERIFY(reply);
    m_rig->Server().Serve("/check", HttpAnswer::Status(404));
    QVERIFY(!m_rig->Manager().IsNeedUpdate());
    emit reply->sslErrors({});
    QCOMPARE(m_rig->HintText(), QStringLiteral("Failed to check update!"));
    QCOMPARE(m_rig->Pages().last(), QStringLiteral("hint"));
}

void tst_LiveUpdateMgr_Check::remind_me_later_is_passed_on()
{
    const QByteArray settings = gReadFile(m_rig->SettingsFile());
    emit m_rig->Version().RemindMeLater();
    QCOMPARE(m_rig->Signals(), QStringList{"RemindMeLater"});
    QCOMPARE(gReadFile(m_rig->SettingsFile()), settings);
}

void tst_LiveUpdateMgr_Check::the_hint_pages_close_is_passed_on_once()
{
    emit m_rig->Hint().Close();
    QCOMPARE(m_rig->Signals(), QStringList{"Close"});
}

void tst_LiveUpdateMgr_Check::the_progress_pages_close_comes_five_times()
{
    emit m_rig->Progress().Close();
    const QStringList expected{"Close", "Close", "Close", "Close", "Close"};
    QCOMPARE(m_rig->Signals(), expected);
}

void tst_LiveUpdateMgr_Check::the_texts_are_translated()
{
    FakeTranslator translator;
    translator.Add("LiveUpdateMgr", "Checking the version.", "checking, translated");
    translator.Add("LiveUpdateMgr", "Your current version is the latest version!",
                   "latest, translated");
    translator.Add("LiveUpdateMgr", "Failed to check update!", "failed, translated");
    QCoreApplication::installTranslator(&translator);
    ServeManifest("<a/>");
    m_rig->Manager().LiveUpdate("1", "2", "3");
    QCOMPARE(m_rig->ProgressText(), QStringLiteral("checking, translated"));
    QTRY_COMPARE(m_rig->HintText(), QStringLiteral("latest, translated"));
    m_rig->Server().Serve("/check", HttpAnswer::Status(404));
    m_rig->Manager().LiveUpdate("1", "2", "3");
    QTRY_COMPARE(m_rig->HintText(), QStringLiteral("failed, translated"));
}

QTEST_MAIN(tst_LiveUpdateMgr_Check)
#include "tst_LiveUpdateMgr_Check.moc"
