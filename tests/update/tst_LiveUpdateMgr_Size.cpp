// SPDX-License-Identifier: MIT

#include "tests/support/LogCapture.h"
#include "tests/support/TestBytes.h"
#include "tests/update/UpdateRig.h"
#include "update/UpdateCommon/VersionInfo.h"

#include <QTcpServer>
#include <QtTest>

/// How the size of a package is found, also behind redirects, and what follows without one.
class tst_LiveUpdateMgr_Size : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void without_a_size_the_hint_page_says_so_data();
    void without_a_size_the_hint_page_says_so();
    void a_server_that_never_answers_is_not_waited_for_for_ever();
    void the_size_of_data();
    void the_size_of();
    void behind_two_redirects_the_last_address_is_downloaded();

private:
    std::unique_ptr<UpdateRig> m_rig;
};

void tst_LiveUpdateMgr_Size::init()
{
    m_rig = std::make_unique<UpdateRig>();
    m_rig->Build();
}

void tst_LiveUpdateMgr_Size::cleanup()
{
    m_rig.reset();
}

void tst_LiveUpdateMgr_Size::without_a_size_the_hint_page_says_so_data()
{
    QTest::addColumn<int>("kind");
    QTest::newRow("the_package_is_not_found") << 0;
    QTest::newRow("the_length_is_not_announced") << 1;
    QTest::newRow("the_package_is_empty") << 2;
    QTest::newRow("a_single_redirect_leads_to_it") << 3;
    QTest::newRow("the_connection_is_reset") << 4;
    QTest::newRow("the_server_is_gone") << 5;
}

void tst_LiveUpdateMgr_Size::without_a_size_the_hint_page_says_so()
{
    QFETCH(int, kind);
    HttpAnswer noLength = HttpAnswer::Body("body");
    noLength.announceLength = false;
    const QList<HttpAnswer> answers{HttpAnswer::Status(404), noLength, HttpAnswer::Body({}),
                                    HttpAnswer::Redirect(m_rig->Server().Address("/b").toLatin1()),
                                    HttpAnswer::Broken({}, HttpAnswer::Fault::ResetAtOnce)};
    m_rig->Server().Serve("/b", HttpAnswer::Body("body"));
    m_rig->Server().Serve("/files/setup.exe", answers.value(kind));
    m_rig->WriteState("4", "2", {{{0, -1}, {0, -1}, {0, -1}, {0, -1}, {2, 3}}});
    const QByteArray state = gReadFile(m_rig->StateFile());
    m_rig->Build();
    m_rig->Offer("/files/setup.exe");
    if (kind == 5) {
        QTcpServer closed;
        QVERIFY(closed.listen(QHostAddress::LocalHost));
        const QString address = QString("http://127.0.0.1:%1/setup.exe").arg(closed.serverPort());
        closed.close();
        m_rig->Manager().findChild<VersionInfo *>()->setXml(UpdateRig::Manifest(address));
    }
    m_rig->Manager().UpdateNow();
    QCOMPARE(m_rig->HintText(), QStringLiteral("Failed to download the update."));
    const QStringList pages{"progress", "hint"};
    QCOMPARE(m_rig->Pages(), pages);
    QVERIFY(m_rig->Server().Requests("GET").isEmpty());
    QVERIFY(!QFile::exists(m_rig->Target()));
    QCOMPARE(gReadFile(m_rig->StateFile()), state);
}

void tst_LiveUpdateMgr_Size::a_server_that_never_answers_is_not_waited_for_for_ever()
{
    QCOMPARE(DownloadSystem().sizeLimit, std::chrono::milliseconds(30000));
    const LogCapture log;
    m_rig->System().sizeLimit = std::chrono::milliseconds(100);
    m_rig->Build();
    m_rig->StartFullDownload(HttpAnswer::Broken({}, HttpAnswer::Fault::Silence));
    QCOMPARE(m_rig->HintText(), QStringLiteral("Failed to download the update."));
    QCOMPARE(log.CountContaining("stall, no answer in time"), 1);
    QVERIFY(m_rig->Server().Requests("GET").isEmpty());
}

void tst_LiveUpdateMgr_Size::the_size_of_data()
{
    QTest::addColumn<QString>("path");
    QTest::addColumn<qint64>("expected");
    QTest::addColumn<int>("requests");
    QTest::newRow("a_package_is_its_announced_length") << "/direct" << qint64(12) << 1;
    QTest::newRow("a_large_package_has_64_bits") << "/large" << qint64(6000000000) << 1;
    QTest::newRow("a_package_behind_two_redirects_is_the_last_answers")
        << "/two" << qint64(12) << 3;
    QTest::newRow("the_status_of_the_last_answer_does_not_count")
        << "/twoToError" << qint64(5) << 3;
    QTest::newRow("a_package_behind_one_redirect_is_0") << "/one" << qint64(0) << 2;
    QTest::newRow("a_package_behind_three_redirects_is_0") << "/three" << qint64(0) << 3;
    QTest::newRow("another_success_than_200_is_0") << "/created" << qint64(0) << 1;
}

void tst_LiveUpdateMgr_Size::the_size_of()
{
    QFETCH(QString, path);
    QFETCH(qint64, expected);
    QFETCH(int, requests);
    HttpServer &server = m_rig->Server();
    const auto redirect = [&server](const char *from, const char *to, int status) {
        server.Serve(from, HttpAnswer::Redirect(server.Address(to).toLatin1(), status));
    };
    server.Serve("/direct", HttpAnswer::Body("twelve bytes"));
    HttpAnswer large = HttpAnswer::Body("not that many");
    large.announcedLength = 6000000000;
    server.Serve("/large", large);
    HttpAnswer failure = HttpAnswer::Status(404);
    failure.body = "12345";
    server.Serve("/error", failure);
    HttpAnswer created = HttpAnswer::Body("body");
    created.status = 201;
    server.Serve("/created", created);
    redirect("/one", "/direct", 302);
    redirect("/two", "/one", 301);
    redirect("/three", "/two", 302);
    redirect("/toError", "/error", 307);
    redirect("/twoToError", "/toError", 302);
    QCOMPARE(m_rig->Manager().QueryPackageSize(server.Url(path)), expected);
    QCOMPARE(server.Requests("HEAD").size(), requests);
    QVERIFY(server.Requests("GET").isEmpty());
}

void tst_LiveUpdateMgr_Size::behind_two_redirects_the_last_address_is_downloaded()
{
    const QByteArray package = gTestBytes(1000003);
    HttpServer &server = m_rig->Server();
    server.Serve("/second", HttpAnswer::Redirect(server.Address("/last/other.exe").toLatin1()));
    server.Serve("/last/other.exe", HttpAnswer::Body(package));
    m_rig->StartFullDownload(HttpAnswer::Redirect(server.Address("/second").toLatin1()));
    QTRY_COMPARE(m_rig->Boxes(), 1);
    const QStringList expected{"bytes=0-199999", "bytes=200000-399999", "bytes=400000-599999",
                               "bytes=600000-799999", "bytes=800000-"};
    QCOMPARE(gRangeHeaders(server), expected);
    const QList<HttpRequest> requests = server.Requests("GET");
    for (const HttpRequest &request : requests) {
        QCOMPARE(request.target, QByteArray("/last/other.exe"));
    }
    QVERIFY2(gReadFile(m_rig->Installer()) == package, "named after the manifest's address");
}

QTEST_MAIN(tst_LiveUpdateMgr_Size)
#include "tst_LiveUpdateMgr_Size.moc"
