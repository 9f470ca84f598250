// SPDX-License-Identifier: MIT

#include "tests/support/HttpServer.h"
#include "tests/support/SystemTraits.h"
#include "tests/support/TestBytes.h"

#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QTcpSocket>
#include <QtTest>

#include <memory>

/// The test server does on the wire what its script, or the answer for a path, says.
class tst_HttpServer : public QObject
{
    Q_OBJECT

private slots:
    void init() { m_server = std::make_unique<HttpServer>(); }
    void on_the_wire_data();
    void on_the_wire();
    void a_stalled_answer_stays_open();
    void an_endless_body_ends_with_the_client();
    void a_compressed_body_is_one();
    void a_later_rule_goes_before_an_earlier_one();
    void answers_come_one_after_the_other();
    void one_connection_carries_several_requests();
    void a_served_answer_on_the_wire_data();
    void a_served_answer_on_the_wire();
    void a_served_silence_stays_open();
    void an_answer_for_a_method_goes_before_one_for_all();
    void a_script_goes_before_a_served_answer();

private:
    void Play(const FaultAnswer &answer)
    {
        FaultScript script;
        script.When("GET", "/f").Answer(answer);
        m_server->Play(script);
    }
    void Send(QTcpSocket &socket, const QByteArray &range = QByteArray())
    {
        if (socket.state() == QAbstractSocket::UnconnectedState) {
            socket.connectToHost("127.0.0.1",
                                 static_cast<quint16>(QUrl(m_server->Address("/")).port()));
        }
        socket.write("GET /f HTTP/1.1\r\n" +
                     (range.isEmpty() ? range : "Range: bytes=" + range + "\r\n") + "\r\n");
    }
    /// All that comes before the server closes the connection.
    QByteArray Received(const QByteArray &range)
    {
        QTcpSocket socket;
        const QSignalSpy ended(&socket, &QTcpSocket::disconnected);
        Send(socket, range);
        return QTest::qWaitFor([&ended] { return ended.count() == 1; })
                   ? socket.readAll()
                   : QByteArray("the connection stays open");
    }
    QByteArray Status(const QByteArray &range = QByteArray())
    {
        QTcpSocket socket;
        Send(socket, range);
        const bool answered = QTest::qWaitFor([&socket] { return socket.canReadLine(); });
        return answered ? socket.readLine().split(' ').value(1) : QByteArray();
    }

    std::unique_ptr<HttpServer> m_server;
};

Q_DECLARE_METATYPE(HttpAnswer)

static const QByteArray file = "0123456789";

void tst_HttpServer::on_the_wire_data()
{
    QTest::addColumn<FaultAnswer>("answer");
    QTest::addColumn<QByteArray>("range");
    QTest::addColumn<QByteArray>("expected");
    const QByteArray type = "Content-Type: application/octet-stream\r\n";
    const QByteArray ok = "HTTP/1.1 200 Scripted\r\n" + type;
    const QByteArray partial = "HTTP/1.1 206 Scripted\r\n" + type;
    const QByteArray rest = "Content-Range: bytes 7-9/10\r\nContent-Length: 3\r\n\r\n789";
    const FaultAnswer honest = FaultAnswer::File(file);
    const FaultAnswer ends = honest.CutAfter(99); // closes, so that the test knows the end
    const auto row = [](const char *name, const FaultAnswer &answer, const char *range,
                        const QByteArray &expected) {
        QTest::newRow(name) << answer << QByteArray(range) << expected;
    };
    row("the_whole_file", ends, "", ok + "Content-Length: 10\r\n\r\n0123456789");
    row("a_range", ends, "2-4",
        partial + "Content-Range: bytes 2-4/10\r\nContent-Length: 3\r\n\r\n234");
    row("an_open_range", ends, "7-", partial + rest);
    row("a_range_out_of_reach", ends, "10-",
        "HTTP/1.1 416 Scripted\r\n" + type +
            "Content-Range: bytes */10\r\nContent-Length: 0\r\n\r\n");
    row("a_range_overlooked", ends.OverlookRange(), "7-",
        ok + "Content-Length: 10\r\n\r\n0123456789");
    row("a_range_shifted", ends.Shifted(2), "5-", partial + rest);
    row("cut_within_the_body", honest.CutAfter(4), "", ok + "Content-Length: 10\r\n\r\n0123");
    row("no_length", honest.NoLength(), "", ok + "Connection: close\r\n\r\n0123456789");
    row("two_lengths", ends.Length("5").Length("x"), "7-",
        partial +
            "Content-Range: bytes 7-9/10\r\nContent-Length: 5\r\nContent-Length: x\r\n\r\n789");
    row("another_content_range", ends.ContentRange("bytes 0-2/3"), "7-",
        partial + "Content-Range: bytes 0-2/3\r\nContent-Length: 3\r\n\r\n789");
    row("no_content_range", ends.ContentRange(""), "7-", partial + "Content-Length: 3\r\n\r\n789");
    row("another_body", ends.Body("ab"), "", ok + "Content-Length: 10\r\n\r\nab");
    row("a_longer_body", ends.Longer(2), "7-", partial + rest + "ss");
    row("a_body_in_pieces", ends.Pieces(3, 1), "7-", partial + rest);
    row("a_pause_within_the_body", ends.PauseAfter(1, 1), "7-", partial + rest);
    row("a_header_field", ends.Header("ETag", "\"1\""), "",
        ok + "ETag: \"1\"\r\nContent-Length: 10\r\n\r\n0123456789");
    row("a_redirect", FaultAnswer::Redirect("/g").CutAfter(0), "",
        "HTTP/1.1 302 Scripted\r\nLocation: /g\r\nContent-Length: 0\r\n\r\n");
    row("something_else", FaultAnswer::Raw("!"), "", "!");
    row("a_close", FaultAnswer::Closed(), "", "");
    row("a_reset", FaultAnswer::WithReset(), "", "");
    row("a_reset_within_the_body", honest.ResetAfter(4), "", ok + "Content-Length: 10\r\n\r\n0123");
}

void tst_HttpServer::on_the_wire()
{
    QFETCH(FaultAnswer, answer);
    QFETCH(QByteArray, range);
    QFETCH(QByteArray, expected);
    Play(answer);
    QCOMPARE(Received(range), expected);
}

void tst_HttpServer::a_stalled_answer_stays_open()
{
    Play(FaultAnswer::File(file).StallAfter(4));
    QTcpSocket socket;
    Send(socket);
    QTRY_VERIFY(socket.peek(1000).endsWith("0123"));
    QTest::qWait(50);
    QVERIFY(socket.peek(1000).endsWith("0123"));
    QCOMPARE(socket.state(), QAbstractSocket::ConnectedState);
    QCOMPARE(m_server->OpenConnections(), 1);
    socket.abort();
    QTRY_COMPARE(m_server->OpenConnections(), 0);
}

void tst_HttpServer::an_endless_body_ends_with_the_client()
{
    if (!gTellsOfEarlyResets()) {
        QSKIP("This system does not always tell a server that its client is gone.");
    }
    Play(FaultAnswer::File(QByteArray(65536, 'x')).NoLength().Endless());
    QTcpSocket socket;
    Send(socket);
    QTRY_VERIFY(socket.bytesAvailable() > 1000000);
    socket.abort();
    QTRY_COMPARE(m_server->OpenConnections(), 0);
}

void tst_HttpServer::a_compressed_body_is_one()
{
    const QByteArray bytes = gTestBytes(5000) + QByteArray(5000, '\0');
    Play(FaultAnswer::File(bytes).Gzip());
    QNetworkAccessManager manager;
    const std::unique_ptr<QNetworkReply> reply(
        manager.get(QNetworkRequest(QUrl(m_server->Address("/f")))));
    QTRY_VERIFY(reply->isFinished());
    QVERIFY(reply->readAll() == bytes);
}

void tst_HttpServer::a_later_rule_goes_before_an_earlier_one()
{
    FaultScript script;
    script.When("GET", "/f").Answer(FaultAnswer::Status(201));
    script.When("GET", "/f").From(3, 5).Answer(FaultAnswer::Status(202));
    script.When("GET", "/f").WithoutRange().Answer(FaultAnswer::Status(203));
    m_server->Play(script);
    QCOMPARE(Status("2-9"), QByteArray("201"));
    QCOMPARE(Status("3-9"), QByteArray("202"));
    QCOMPARE(Status("5-"), QByteArray("202"));
    QCOMPARE(Status("6-"), QByteArray("201"));
    QCOMPARE(Status(), QByteArray("203"));
    m_server->Play({});
    QCOMPARE(Status(), QByteArray("404"));
}

void tst_HttpServer::answers_come_one_after_the_other()
{
    FaultScript script;
    script.When("GET", "/f")
        .Answer(2, FaultAnswer::Status(201))
        .Then(FaultAnswer::Status(202))
        .Then(FaultAnswer::Status(203));
    m_server->Play(script);
    for (const char *status : {"201", "201", "202", "203", "203"}) {
        QCOMPARE(Status(), QByteArray(status));
    }
}

void tst_HttpServer::one_connection_carries_several_requests()
{
    Play(FaultAnswer::File(file));
    QTcpSocket socket;
    Send(socket, "0-1");
    Send(socket, "8-9");
    QTRY_VERIFY(socket.peek(1000).endsWith("\r\n\r\n89"));
    QVERIFY(socket.readAll().contains("\r\n\r\n01HTTP/1.1 206"));
    QCOMPARE(m_server->Requests().size() >= 2, true);
}

void tst_HttpServer::a_served_answer_on_the_wire_data()
{
    using Fault = HttpAnswer::Fault;
    QTest::addColumn<HttpAnswer>("answer");
    QTest::addColumn<QByteArray>("range");
    QTest::addColumn<QByteArray>("expected");
    const QByteArray type = "Content-Type: application/octet-stream\r\n";
    const QByteArray ok = "HTTP/1.1 200 Scripted\r\n" + type;
    const QByteArray rest = "HTTP/1.1 206 Scripted\r\n" + type +
                            "Content-Range: bytes 7-9/10\r\nContent-Length: 3\r\n\r\n";
    const HttpAnswer ends = HttpAnswer::Broken(file, Fault::CloseAfter, 99);
    const auto row = [](const char *name, const HttpAnswer &answer, const char *range,
                        const QByteArray &expected) {
        QTest::newRow(name) << answer << QByteArray(range) << expected;
    };
    row("the_whole_body", ends, "", ok + "Content-Length: 10\r\n\r\n0123456789");
    row("a_range", ends, "7-", rest + "789");
    row("a_cut_within_a_range", HttpAnswer::Broken(file, Fault::CloseAfter, 2), "7-", rest + "78");
    row("a_reset_within_a_range", HttpAnswer::Broken(file, Fault::ResetAfter, 2), "7-",
        rest + "78");
    row("a_close", HttpAnswer::Broken(file, Fault::CloseAtOnce), "", "");
    row("a_reset", HttpAnswer::Broken(file, Fault::ResetAtOnce), "", "");
    HttpAnswer answer = ends;
    answer.chunkSize = 4;
    answer.chunkPauseMs = 1;
    answer.delayMs = 1;
    row("a_body_in_pieces", answer, "", ok + "Content-Length: 10\r\n\r\n0123456789");
    answer = ends;
    answer.ranges = false;
    row("a_range_overlooked", answer, "7-", ok + "Content-Length: 10\r\n\r\n0123456789");
    answer = ends;
    answer.announcedLength = 6000000000;
    row("another_length", answer, "", ok + "Content-Length: 6000000000\r\n\r\n0123456789");
    answer = HttpAnswer::Body(file);
    answer.announceLength = false;
    row("no_length", answer, "", ok + "Connection: close\r\n\r\n0123456789");
    answer = HttpAnswer::Redirect("/g", 301);
    answer.announceLength = false;
    answer.contentType = "text/html";
    row("a_redirect", answer, "7-",
        "HTTP/1.1 301 Scripted\r\nContent-Type: text/html\r\nLocation: /g\r\n"
        "Connection: close\r\n\r\n");
}

void tst_HttpServer::a_served_answer_on_the_wire()
{
    QFETCH(HttpAnswer, answer);
    QFETCH(QByteArray, range);
    QFETCH(QByteArray, expected);
    m_server->Serve("/f", answer);
    QCOMPARE(Received(range), expected);
}

void tst_HttpServer::a_served_silence_stays_open()
{
    m_server->Serve("/f", HttpAnswer::Broken(file, HttpAnswer::Fault::Silence));
    QTcpSocket socket;
    Send(socket);
    QTRY_COMPARE(m_server->Requests().size(), 1);
    QTest::qWait(50);
    QCOMPARE(socket.bytesAvailable(), qint64(0));
    QCOMPARE(socket.state(), QAbstractSocket::ConnectedState);
}

void tst_HttpServer::an_answer_for_a_method_goes_before_one_for_all()
{
    m_server->Serve("/f", HttpAnswer::Status(201), "GET");
    m_server->Serve("/f", HttpAnswer::Status(202));
    QCOMPARE(Status(), QByteArray("201"));
    m_server->Serve("/f", HttpAnswer::Status(203), "GET");
    QCOMPARE(Status(), QByteArray("203"));
}

void tst_HttpServer::a_script_goes_before_a_served_answer()
{
    m_server->Serve("/f", HttpAnswer::Status(201), "GET");
    Play(FaultAnswer::Status(202));
    QCOMPARE(Status(), QByteArray("202"));
    m_server->Play({});
    QCOMPARE(Status(), QByteArray("201"));
}

QTEST_MAIN(tst_HttpServer)
#include "tst_HttpServer.moc"
