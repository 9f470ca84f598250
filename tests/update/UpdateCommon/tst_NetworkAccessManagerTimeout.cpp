// SPDX-License-Identifier: MIT

#include "update/UpdateCommon/NetworkAccessManagerTimeout.h"

#include "tests/support/HttpServer.h"

#include <QElapsedTimer>
#include <QPointer>
#include <QSemaphore>
#include <QTcpServer>
#include <QtTest>

#include <memory>

class tst_NetworkAccessManagerTimeout : public QObject
{
    Q_OBJECT

private slots:
    void a_body_within_the_limit_is_returned_and_the_runner_deletes_itself();
    void a_late_answer_gives_nothing_after_the_limit_and_is_discarded();
    void an_answer_gives_nothing_data();
    void an_answer_gives_nothing();
    void a_host_that_refuses_gives_nothing_before_the_limit();
    void a_body_without_an_end_gives_nothing_and_is_not_read_to_the_limit();
    void a_body_is_returned_up_to_one_mebibyte_data();
    void a_body_is_returned_up_to_one_mebibyte();
    void the_reader_runs_on_the_worker_before_the_body_is_returned();
    void a_reader_that_takes_too_long_gives_nothing_after_the_limit();
    void a_failed_answer_is_not_read();
    void a_redirect_is_not_followed();
    void the_headers_of_the_request_are_sent();
    void the_callers_event_loop_stands_still_meanwhile();
    void several_runners_do_not_disturb_each_other();
    void the_class_declares_no_methods_of_its_own();
};

static QByteArray gGetWithin(const QUrl &url, int msecs)
{
    return (new NetworkAccessManagerTimeout)->Get(QNetworkRequest(url), msecs);
}

void tst_NetworkAccessManagerTimeout::
    a_body_within_the_limit_is_returned_and_the_runner_deletes_itself()
{
    HttpServer server;
    server.Serve("/a", HttpAnswer::Body("the body"));
    const QPointer<NetworkAccessManagerTimeout> runner = new NetworkAccessManagerTimeout;
    QCOMPARE(runner->Get(QNetworkRequest(server.Url("/a")), 20000), QByteArray("the body"));
    QVERIFY2(runner, "it has to wait for the event loop");
    QTRY_VERIFY(!runner);
    QCOMPARE(server.Requests().size(), 1);
    QCOMPARE(server.Requests().first().method, QByteArray("GET"));
}

void tst_NetworkAccessManagerTimeout::a_late_answer_gives_nothing_after_the_limit_and_is_discarded()
{
    HttpServer server;
    HttpAnswer answer = HttpAnswer::Body("late");
    answer.delayMs = 3000;
    server.Serve("/a", answer);
    const QPointer<NetworkAccessManagerTimeout> runner = new NetworkAccessManagerTimeout;
    QElapsedTimer timer;
    timer.start();
    QCOMPARE(runner->Get(QNetworkRequest(server.Url("/a")), 300), QByteArray());
    QVERIFY(timer.elapsed() >= 300);
    QVERIFY2(runner && runner->isRunning(), "the request is left to end on its own");
    QTRY_VERIFY_WITH_TIMEOUT(!runner, 10000);
}

void tst_NetworkAccessManagerTimeout::an_answer_gives_nothing_data()
{
    QTest::addColumn<int>("status");
    QTest::addColumn<int>("fault");
    QTest::newRow("when_the_page_is_not_found") << 404 << int(HttpAnswer::Fault::None);
    QTest::newRow("when_the_server_fails") << 500 << int(HttpAnswer::Fault::None);
    QTest::newRow("when_the_connection_is_reset_at_once")
        << 200 << int(HttpAnswer::Fault::ResetAtOnce);
}

void tst_NetworkAccessManagerTimeout::an_answer_gives_nothing()
{
    QFETCH(int, status);
    QFETCH(int, fault);
    HttpServer server;
    HttpAnswer answer = HttpAnswer::Broken("body", HttpAnswer::Fault(fault));
    answer.status = status;
    server.Serve("/a", answer);
    QCOMPARE(gGetWithin(server.Url("/a"), 20000), QByteArray());
    QVERIFY(!server.Requests().isEmpty());
}

void tst_NetworkAccessManagerTimeout::a_host_that_refuses_gives_nothing_before_the_limit()
{
    QTcpServer closed;
    QVERIFY(closed.listen(QHostAddress::LocalHost));
    const QUrl url(QString("http://127.0.0.1:%1/").arg(closed.serverPort()));
    closed.close();
    QElapsedTimer timer;
    timer.start();
    QCOMPARE(gGetWithin(url, 20000), QByteArray());
    QVERIFY(timer.elapsed() < 20000);
}

void tst_NetworkAccessManagerTimeout::
    a_body_without_an_end_gives_nothing_and_is_not_read_to_the_limit()
{
    HttpServer server;
    FaultScript script;
    script.When("GET", "/a").Answer(FaultAnswer::File(QByteArray(65536, 'x')).NoLength().Endless());
    server.Play(script);
    QElapsedTimer timer;
    timer.start();
    QCOMPARE(gGetWithin(QUrl(server.Address("/a")), 100000), QByteArray());
    QVERIFY(timer.elapsed() < 100000);
}

void tst_NetworkAccessManagerTimeout::a_body_is_returned_up_to_one_mebibyte_data()
{
    QTest::addColumn<int>("size");
    QTest::addColumn<bool>("isReturned");
    QTest::newRow("the_longest") << 1048576 << true;
    QTest::newRow("one_byte_more") << 1048577 << false;
}

void tst_NetworkAccessManagerTimeout::a_body_is_returned_up_to_one_mebibyte()
{
    QFETCH(int, size);
    QFETCH(bool, isReturned);
    const QByteArray body(size, 'x');
    HttpServer server;
    server.Serve("/a", HttpAnswer::Body(body));
    QCOMPARE(gGetWithin(server.Url("/a"), 20000).size(), isReturned ? size : 0);
}

void tst_NetworkAccessManagerTimeout::the_reader_runs_on_the_worker_before_the_body_is_returned()
{
    HttpServer server;
    server.Serve("/a", HttpAnswer::Body("the body"));
    QByteArray read;
    QThread *thread = nullptr;
    const QByteArray body = (new NetworkAccessManagerTimeout)
                                ->Get(QNetworkRequest(server.Url("/a")), 20000,
                                      [&read, &thread](const QByteArray &text) {
                                          read = text;
                                          thread = QThread::currentThread();
                                      });
    QCOMPARE(body, QByteArray("the body"));
    QCOMPARE(read, body);
    QVERIFY(thread != nullptr && thread != QThread::currentThread());
}

void tst_NetworkAccessManagerTimeout::a_reader_that_takes_too_long_gives_nothing_after_the_limit()
{
    HttpServer server;
    server.Serve("/a", HttpAnswer::Body("the body"));
    const auto given = std::make_shared<QSemaphore>();
    const QPointer<NetworkAccessManagerTimeout> runner = new NetworkAccessManagerTimeout;
    const QByteArray body = runner->Get(QNetworkRequest(server.Url("/a")), 1000,
                                        [given](const QByteArray &) { given->acquire(); });
    QCOMPARE(body, QByteArray());
    QVERIFY(runner && runner->isRunning());
    given->release();
    QTRY_VERIFY(!runner);
}

void tst_NetworkAccessManagerTimeout::a_failed_answer_is_not_read()
{
    HttpServer server;
    HttpAnswer answer = HttpAnswer::Body("a page");
    answer.status = 404;
    server.Serve("/a", answer);
    bool isRead = false;
    (new NetworkAccessManagerTimeout)
        ->Get(QNetworkRequest(server.Url("/a")), 20000,
              [&isRead](const QByteArray &) { isRead = true; });
    QVERIFY(!isRead);
}

void tst_NetworkAccessManagerTimeout::a_redirect_is_not_followed()
{
    HttpServer server;
    HttpAnswer redirect = HttpAnswer::Redirect("/b");
    redirect.body = "moved";
    server.Serve("/a", redirect);
    server.Serve("/b", HttpAnswer::Body("target"));
    QCOMPARE(gGetWithin(server.Url("/a"), 20000), QByteArray("moved"));
    QCOMPARE(server.Requests().size(), 1);
}

void tst_NetworkAccessManagerTimeout::the_headers_of_the_request_are_sent()
{
    HttpServer server;
    QNetworkRequest request(server.Url("/a?pid=1"));
    request.setRawHeader("X-Own", "value");
    (new NetworkAccessManagerTimeout)->Get(request, 20000);
    QCOMPARE(server.Requests().value(0).headers.value("x-own"), QByteArray("value"));
    QCOMPARE(server.Requests().value(0).target, QByteArray("/a?pid=1"));
}

void tst_NetworkAccessManagerTimeout::the_callers_event_loop_stands_still_meanwhile()
{
    HttpServer server;
    HttpAnswer answer = HttpAnswer::Body("body");
    answer.delayMs = 100;
    server.Serve("/a", answer);
    bool ran = false;
    QTimer::singleShot(0, this, [&ran] { ran = true; });
    QCOMPARE(gGetWithin(server.Url("/a"), 20000), QByteArray("body"));
    QVERIFY(!ran);
    QTRY_VERIFY(ran);
}

void tst_NetworkAccessManagerTimeout::several_runners_do_not_disturb_each_other()
{
    QPointer<NetworkAccessManagerTimeout> abandoned;
    {
        HttpServer server;
        server.Serve("/silent", HttpAnswer::Broken({}, HttpAnswer::Fault::Silence));
        server.Serve("/a", HttpAnswer::Body("first"));
        server.Serve("/b", HttpAnswer::Body("second"));
        QCOMPARE(gGetWithin(server.Url("/a"), 20000), QByteArray("first"));
        abandoned = new NetworkAccessManagerTimeout;
        QCOMPARE(abandoned->Get(QNetworkRequest(server.Url("/silent")), 100), QByteArray());
        QCOMPARE(gGetWithin(server.Url("/b"), 20000), QByteArray("second"));
        QVERIFY(abandoned);
    }
    // Waits for the end of the abandoned thread, which must not run when the program ends.
    QTRY_VERIFY_WITH_TIMEOUT(!abandoned, 10000);
}

void tst_NetworkAccessManagerTimeout::the_class_declares_no_methods_of_its_own()
{
    const QMetaObject &meta = NetworkAccessManagerTimeout::staticMetaObject;
    QCOMPARE(meta.methodCount(), meta.methodOffset());
    QCOMPARE(meta.propertyCount(), meta.propertyOffset());
    QCOMPARE(meta.className(), "NetworkAccessManagerTimeout");
}

QTEST_GUILESS_MAIN(tst_NetworkAccessManagerTimeout)
#include "tst_NetworkAccessManagerTimeout.moc"
