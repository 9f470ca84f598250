// SPDX-License-Identifier: MIT

#include "update/transfer/RangeRequester.h"

#include "tests/support/HttpServer.h"
#include "tests/support/TestBytes.h"
#include "update/base/DownloadSystem.h"
#include "update/transfer/RangeHttp.h"

#include <QNetworkAccessManager>
#include <QtTest>

class tst_RangeRequester : public QObject
{
    Q_OBJECT

private slots:
    void a_body_that_is_not_read_stays_with_the_server();
    void a_dropped_reply_sends_no_signal();
    void a_dropped_connection_is_not_used_again_data();
    void a_dropped_connection_is_not_used_again();

private:
    DownloadSystem m_system;
};

void tst_RangeRequester::a_body_that_is_not_read_stays_with_the_server()
{
    constexpr int megabyte = 1024 * 1024;

    HttpServer server;
    const QByteArray body = gTestBytes(8 * megabyte);
    server.Serve("/package", HttpAnswer::Body(body));
    RangeRequester requester(m_system, nullptr);
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

void tst_RangeRequester::a_dropped_reply_sends_no_signal()
{
    HttpServer server;
    server.Serve("/package", HttpAnswer::Broken("bytes", HttpAnswer::Fault::StallAfter, 3));
    RangeRequester requester(m_system, nullptr);
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
    RangeRequester requester(m_system, nullptr);
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
