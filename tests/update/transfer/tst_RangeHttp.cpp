// SPDX-License-Identifier: MIT

#include "update/transfer/RangeHttp.h"

#include "tests/support/HttpServer.h"

#include <QNetworkAccessManager>
#include <QtTest>

class tst_RangeHttp : public QObject
{
    Q_OBJECT

private slots:
    void an_error_is_one_of_the_connection_data();
    void an_error_is_one_of_the_connection();
    void a_status_is_that_of_an_error_page_data();
    void a_status_is_that_of_an_error_page();
    void a_reply_is_answered_once_its_head_is_there();
};

void tst_RangeHttp::an_error_is_one_of_the_connection_data()
{
    QTest::addColumn<int>("code");
    QTest::addColumn<bool>("expected");
    const auto row = [](const char *name, QNetworkReply::NetworkError code, bool expected) {
        QTest::newRow(name) << int(code) << expected;
    };
    row("a_refused_connection", QNetworkReply::ConnectionRefusedError, true);
    row("a_host_that_is_not_found", QNetworkReply::HostNotFoundError, true);
    row("a_time_out", QNetworkReply::TimeoutError, true);
    row("a_network_that_is_away", QNetworkReply::TemporaryNetworkFailureError, true);
    row("a_network_session_that_is_away", QNetworkReply::NetworkSessionFailedError, true);
    row("an_unreachable_network", QNetworkReply::UnknownNetworkError, true);
    row("a_proxy_that_refuses_connections", QNetworkReply::ProxyConnectionRefusedError, true);
    row("a_proxy_that_closes", QNetworkReply::ProxyConnectionClosedError, true);
    row("a_proxy_that_is_not_found", QNetworkReply::ProxyNotFoundError, true);
    row("a_proxy_that_does_not_answer", QNetworkReply::ProxyTimeoutError, true);

    row("no_error", QNetworkReply::NoError, false);
    row("a_cancelled_request", QNetworkReply::OperationCanceledError, false);
    row("a_certificate_that_is_not_trusted", QNetworkReply::SslHandshakeFailedError, false);
    row("a_proxy_that_wants_a_password", QNetworkReply::ProxyAuthenticationRequiredError, false);
    row("a_page_that_is_missing", QNetworkReply::ContentNotFoundError, false);
    row("a_server_that_is_overloaded", QNetworkReply::ServiceUnavailableError, false);
    row("an_unknown_status", QNetworkReply::UnknownContentError, false);
    row("something_that_is_not_http", QNetworkReply::ProtocolFailure, false);
}

void tst_RangeHttp::an_error_is_one_of_the_connection()
{
    QFETCH(int, code);
    QFETCH(bool, expected);
    QCOMPARE(gIsConnectionError(QNetworkReply::NetworkError(code)), expected);
}

void tst_RangeHttp::a_status_is_that_of_an_error_page_data()
{
    QTest::addColumn<int>("status");
    QTest::addColumn<bool>("expected");
    QTest::newRow("the_last_one_below") << 399 << false;
    QTest::newRow("the_first_one") << 400 << true;
    QTest::newRow("one_of_the_server") << 503 << true;
    QTest::newRow("a_part") << 206 << false;
}

void tst_RangeHttp::a_status_is_that_of_an_error_page()
{
    QFETCH(int, status);
    QFETCH(bool, expected);
    HttpServer server;
    HttpAnswer answer = HttpAnswer::Status(status);
    answer.body = "a page";
    server.Serve("/page", answer);
    QNetworkAccessManager network;
    const std::unique_ptr<QNetworkReply> reply(network.get(gPackageRequest(server.Url("/page"))));
    QTRY_VERIFY(reply->isFinished());
    QCOMPARE(gIsErrorOrRedirect(*reply), expected);
}

void tst_RangeHttp::a_reply_is_answered_once_its_head_is_there()
{
    HttpServer server;
    server.Serve("/package", HttpAnswer::Broken("bytes", HttpAnswer::Fault::StallAfter, 0));
    QNetworkAccessManager network;
    const std::unique_ptr<QNetworkReply> reply(
        network.get(gPackageRequest(server.Url("/package"))));
    QVERIFY(!gIsAnswered(*reply));
    QTRY_VERIFY(gIsAnswered(*reply));
    reply->abort();
}

QTEST_GUILESS_MAIN(tst_RangeHttp)
#include "tst_RangeHttp.moc"
