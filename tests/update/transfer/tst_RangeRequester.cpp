// SPDX-License-Identifier: MIT

#include "update/transfer/RangeRequester.h"

#include "tests/support/HttpServer.h"
#include "tests/support/TestBytes.h"
#include "update/base/DownloadSystem.h"
#include "update/base/LoopTurn.h"
#include "update/transfer/RangeHttp.h"
#include "update/transfer/TransferWatch.h"

#include <QNetworkAccessManager>
#include <QtTest>

#include <memory>
#include <utility>
#include <vector>

class tst_RangeRequester : public QObject
{
    Q_OBJECT

private slots:
    void a_body_that_is_not_read_stays_with_the_server();
    void small_pieces_are_handed_over_together();
    void one_requester_hands_over_in_a_pass_of_the_event_loop();
    void what_has_arrived_comes_before_the_end_data();
    void what_has_arrived_comes_before_the_end();
    void what_has_arrived_comes_before_a_stall_is_judged();
    void what_arrives_while_a_slot_runs_an_event_loop_is_handed_over();
    void a_dropped_reply_sends_no_signal();
    void a_dropped_connection_is_not_used_again_data();
    void a_dropped_connection_is_not_used_again();

private:
    DownloadSystem m_system;
    std::shared_ptr<LoopTurn> m_turn = std::make_shared<LoopTurn>();
};

void tst_RangeRequester::a_body_that_is_not_read_stays_with_the_server()
{
    constexpr int megabyte = 1024 * 1024;

    HttpServer server;
    const QByteArray body = gTestBytes(8 * megabyte);
    server.Serve("/package", HttpAnswer::Body(body));
    RangeRequester requester(m_system, m_turn, nullptr);
    const QSignalSpy ended(&requester, &RangeRequester::Ended);
    requester.Send(gPackageRequest(server.Url("/package")));
    const auto available = [&requester] { return requester.Reply()->bytesAvailable(); };
    QTRY_VERIFY(available() >= megabyte / 2);
    QVERIFY(!QTest::qWaitFor([&] { return available() > 2 * megabyte || ended.count() > 0; }, 500));
    QByteArray received;
    QTRY_VERIFY((received += requester.Reply()->readAll()).size() == body.size());
    QVERIFY(received == body);
    QTRY_COMPARE(ended.count(), 1);
}

void tst_RangeRequester::small_pieces_are_handed_over_together()
{
    HttpServer server;
    HttpAnswer answer = HttpAnswer::Body(gTestBytes(4000));
    answer.chunkSize = 10;
    server.Serve("/package", answer);
    RangeRequester requester(m_system, m_turn, nullptr);
    QByteArray received;
    int handedOver = 0;
    connect(&requester, &RangeRequester::Readable, this, [&] {
        ++handedOver;
        received += requester.Reply()->readAll();
    });
    requester.Send(gPackageRequest(server.Url("/package")));
    connect(requester.Reply(), &QNetworkReply::readyRead, this,
            [&] { QVERIFY2(requester.HasArrived(), "it waits for more"); });
    QTRY_COMPARE(received, gTestBytes(4000));
    QVERIFY2(handedOver < 100, qPrintable(QString::number(handedOver)));
}

void tst_RangeRequester::one_requester_hands_over_in_a_pass_of_the_event_loop()
{
    constexpr int requesterCount = 5;
    constexpr int bodySize = 3000000;

    HttpServer server;
    const QByteArray body = gTestBytes(bodySize + 1);
    server.Serve("/package", HttpAnswer::Broken(body, HttpAnswer::Fault::StallAfter, bodySize));
    int pass = 0;
    QTimer passes;
    connect(&passes, &QTimer::timeout, this, [&pass] { ++pass; });
    passes.start(0);
    QList<int> passesOfChunks;
    qint64 received = 0;
    std::vector<std::unique_ptr<RangeRequester>> requesters;
    for (int number = 0; number < requesterCount; ++number) {
        requesters.push_back(std::make_unique<RangeRequester>(m_system, m_turn, nullptr));
        RangeRequester *const requester = requesters.back().get();
        connect(requester, &RangeRequester::Readable, this, [&, requester] {
            received += requester->Reply()->readAll().size();
            passesOfChunks.append(pass);
        });
        requester->Send(gPackageRequest(server.Url("/package")));
    }
    QTRY_COMPARE(received, qint64(requesterCount) * bodySize);
    QVERIFY(passesOfChunks.size() > requesterCount);
    for (int chunk = 1; chunk < passesOfChunks.size(); ++chunk) {
        QVERIFY(passesOfChunks.at(chunk) > passesOfChunks.at(chunk - 1));
    }
}

void tst_RangeRequester::what_has_arrived_comes_before_the_end_data()
{
    QTest::addColumn<int>("cutAfter");
    QTest::newRow("of_a_whole_body") << -1;
    QTest::newRow("of_a_body_that_is_cut") << 3000;
}

void tst_RangeRequester::what_has_arrived_comes_before_the_end()
{
    QFETCH(int, cutAfter);
    const QByteArray body = gTestBytes(4000);
    HttpServer server;
    server.Serve("/package",
                 cutAfter < 0 ? HttpAnswer::Body(body)
                              : HttpAnswer::Broken(body, HttpAnswer::Fault::CloseAfter, cutAfter));
    RangeRequester requester(m_system, m_turn, nullptr);
    QByteArray received;
    QList<int> atTheEnd;
    connect(&requester, &RangeRequester::Readable, this, [&] {
        QVERIFY(requester.HasArrived());
        received += requester.Reply()->readAll();
    });
    connect(&requester, &RangeRequester::Failed, this, [&] { atTheEnd.append(received.size()); });
    connect(&requester, &RangeRequester::Ended, this, [&] {
        QVERIFY(!requester.HasArrived());
        atTheEnd.append(received.size());
    });
    connect(&requester, &RangeRequester::ManagerFinished, this,
            [&] { atTheEnd.append(received.size()); });
    requester.Send(gPackageRequest(server.Url("/package")));
    const int all = cutAfter < 0 ? body.size() : cutAfter;
    QTRY_COMPARE(atTheEnd.size(), cutAfter < 0 ? 2 : 3);
    QCOMPARE(atTheEnd, QList<int>()
                           << all << all << (cutAfter < 0 ? QList<int>() : QList<int>{all}));
}

void tst_RangeRequester::what_has_arrived_comes_before_a_stall_is_judged()
{
    HttpServer server;
    server.Serve("/package", HttpAnswer::Broken("bytes", HttpAnswer::Fault::StallAfter, 3));
    RangeRequester requester(m_system, m_turn, nullptr);
    const QSignalSpy readable(&requester, &RangeRequester::Readable);
    requester.Send(gPackageRequest(server.Url("/package")));
    int judged = 0;
    connect(requester.Reply(), &QNetworkReply::readyRead, this, [&] {
        QVERIFY(requester.HasArrived());
        emit requester.Watch().Judging();
        ++judged;
    });
    QTRY_COMPARE(judged, 1);
    QCOMPARE(readable.count(), 1);
    QVERIFY(!requester.HasArrived());
}

void tst_RangeRequester::what_arrives_while_a_slot_runs_an_event_loop_is_handed_over()
{
    HttpServer server;
    HttpAnswer answer = HttpAnswer::Broken(gTestBytes(4000), HttpAnswer::Fault::StallAfter, 2000);
    answer.chunkSize = 1000;
    answer.chunkPauseMs = 100;
    server.Serve("/package", answer);
    RangeRequester requester(m_system, m_turn, nullptr);
    QByteArray received;
    bool isFirst = true;
    connect(&requester, &RangeRequester::Readable, this, [&] {
        received += requester.Reply()->readAll();
        if (std::exchange(isFirst, false)) {
            // Up to the moment when more has arrived and is not handed over yet.
            QEventLoop loop;
            connect(requester.Reply(), &QNetworkReply::readyRead, &loop, &QEventLoop::quit);
            loop.exec();
        }
    });
    requester.Send(gPackageRequest(server.Url("/package")));
    QTRY_COMPARE(received, gTestBytes(4000).left(2000));
}

void tst_RangeRequester::a_dropped_reply_sends_no_signal()
{
    HttpServer server;
    server.Serve("/package", HttpAnswer::Broken("bytes", HttpAnswer::Fault::StallAfter, 3));
    RangeRequester requester(m_system, m_turn, nullptr);
    const QSignalSpy ended(&requester, &RangeRequester::Ended);
    const QSignalSpy failed(&requester, &RangeRequester::Failed);
    const QSignalSpy readable(&requester, &RangeRequester::Readable);
    requester.Send(gPackageRequest(server.Url("/package")));
    QTRY_COMPARE(readable.count(), 1);
    requester.Drop();
    QVERIFY(requester.Reply() == nullptr);
    QTRY_COMPARE(server.OpenConnections(), 0);
    QCOMPARE(ended.count() + failed.count(), 0);
}

void tst_RangeRequester::a_dropped_connection_is_not_used_again_data()
{
    QTest::addColumn<bool>("isDropped");
    QTest::addColumn<int>("connections");
    QTest::newRow("when_it_is_dropped") << true << 2;
    QTest::newRow("but_one_that_is_kept_is") << false << 1;
}

void tst_RangeRequester::a_dropped_connection_is_not_used_again()
{
    QFETCH(bool, isDropped);
    QFETCH(int, connections);
    HttpServer server;
    server.Serve("/package", HttpAnswer::Body("bytes"));
    RangeRequester requester(m_system, m_turn, nullptr);
    const QSignalSpy ended(&requester, &RangeRequester::Ended);
    const QSignalSpy finished(&requester, &RangeRequester::ManagerFinished);
    requester.Send(gPackageRequest(server.Url("/package")));
    QTRY_COMPARE(ended.count(), 1);
    if (isDropped) {
        requester.DropConnection();
        QVERIFY(requester.Reply() == nullptr);
        QCOMPARE(requester.findChildren<QNetworkAccessManager *>().size(), 1);
    } else {
        requester.Drop();
    }
    requester.Send(gPackageRequest(server.Url("/package")));
    QTRY_COMPARE(ended.count(), 2);
    QCOMPARE(finished.count(), 2);
    QCOMPARE(server.Connections(), connections);
}

QTEST_GUILESS_MAIN(tst_RangeRequester)
#include "tst_RangeRequester.moc"
