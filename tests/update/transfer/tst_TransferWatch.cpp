// SPDX-License-Identifier: MIT

#include "update/transfer/TransferWatch.h"

#include "tests/support/LaterCalls.h"
#include "update/base/DownloadSystem.h"
#include "update/UpdateCommon/NetworkCheck.h"

#include <QtTest>

class tst_TransferWatch : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void cuts_are_answered_after_longer_and_longer_waits();
    void the_sixth_cut_is_the_last();
    void a_byte_resets_the_retry_count();
    void an_appointment_that_is_overtaken_is_void_data();
    void an_appointment_that_is_overtaken_is_void();
    void the_third_silence_is_the_last();
    void a_byte_ends_the_count_of_silences();
    void a_chunk_that_is_handed_over_when_a_stall_is_judged_is_no_silence();
    void there_is_no_silence_where_nothing_is_awaited();
    void a_warning_that_is_overtaken_by_the_end_is_void();
    void it_is_asking_again_behind_a_cut_until_a_byte_arrives();
    void it_is_asking_again_behind_a_stall_until_a_byte_arrives();

private:
    /// Cuts the connection and makes the delayed call, @p times times.
    void Cut(int times);

    LaterCalls m_later;
    DownloadSystem m_system;
    std::unique_ptr<TransferWatch> m_watch;
    std::unique_ptr<NetworkCheck> m_watchdog;
    std::unique_ptr<QSignalSpy> m_asked;
    std::unique_ptr<QSignalSpy> m_givenUp;
};

void tst_TransferWatch::init()
{
    m_later = LaterCalls();
    m_system.callLater = m_later.Seam();
    m_system.stallLimit = std::chrono::milliseconds(50);
    m_watch = std::make_unique<TransferWatch>(m_system, nullptr);
    m_watchdog = std::make_unique<NetworkCheck>(m_system.stallLimit);
    connect(m_watch.get(), &TransferWatch::Armed, m_watchdog.get(), &NetworkCheck::_Check);
    connect(m_watch.get(), &TransferWatch::Disarmed, m_watchdog.get(), &NetworkCheck::_StopCheck);
    connect(m_watchdog.get(), &NetworkCheck::TimeOut, m_watch.get(), &TransferWatch::OnTimeOut);
    m_asked = std::make_unique<QSignalSpy>(m_watch.get(), &TransferWatch::AskAgain);
    m_givenUp = std::make_unique<QSignalSpy>(m_watch.get(), &TransferWatch::GivenUp);
}

void tst_TransferWatch::cleanup()
{
    m_watchdog.reset();
    m_watch.reset();
}

void tst_TransferWatch::Cut(int times)
{
    for (int time = 0; time < times; ++time) {
        m_watch->Cut();
        m_later.Run();
    }
}

void tst_TransferWatch::cuts_are_answered_after_longer_and_longer_waits()
{
    Cut(5);
    QCOMPARE(m_later.Seconds(), (QList<int>{1, 2, 4, 8, 16}));
    QCOMPARE(m_asked->count(), 5);
    QCOMPARE(m_givenUp->count(), 0);
}

void tst_TransferWatch::the_sixth_cut_is_the_last()
{
    Cut(6);
    QCOMPARE(m_asked->count(), 5);
    QCOMPARE(m_givenUp->count(), 1);
}

void tst_TransferWatch::a_byte_resets_the_retry_count()
{
    Cut(5);
    m_watch->BytesReceived(1);
    Cut(2);
    QCOMPARE(m_later.Seconds(), (QList<int>{1, 2, 4, 8, 16, 1, 2}));
    QCOMPARE(m_givenUp->count(), 0);
}

void tst_TransferWatch::an_appointment_that_is_overtaken_is_void_data()
{
    QTest::addColumn<bool>("isStopped");
    QTest::newRow("when_the_download_was_closed") << true;
    QTest::newRow("when_another_request_was_sent") << false;
}

void tst_TransferWatch::an_appointment_that_is_overtaken_is_void()
{
    QFETCH(bool, isStopped);
    m_watch->Cut();
    if (isStopped) {
        m_watch->Stop();
    } else {
        m_watch->Restart();
    }
    m_later.Run();
    QCOMPARE(m_asked->count(), 0);
}

void tst_TransferWatch::the_third_silence_is_the_last()
{
    for (int silence = 1; silence <= 2; ++silence) {
        m_watch->Restart();
        QTRY_COMPARE(m_asked->count(), silence);
    }
    m_watch->Restart();
    QTRY_COMPARE(m_givenUp->count(), 1);
    QCOMPARE(m_asked->count(), 2);
}

void tst_TransferWatch::a_byte_ends_the_count_of_silences()
{
    for (int silence = 1; silence <= 4; ++silence) {
        m_watch->Restart();
        QTRY_COMPARE(m_asked->count(), silence);
        m_watch->BytesReceived(1);
    }
    QCOMPARE(m_givenUp->count(), 0);
}

void tst_TransferWatch::a_warning_that_is_overtaken_by_the_end_is_void()
{
    m_watch->Restart();
    QTest::qSleep(100); // this thread handles no events; the watchdog's thread posts its warning
    m_watch->Stop();
    QTest::qWait(100);
    QCOMPARE(m_asked->count() + m_givenUp->count(), 0);
}

void tst_TransferWatch::a_chunk_that_is_handed_over_when_a_stall_is_judged_is_no_silence()
{
    int judged = 0;
    connect(m_watch.get(), &TransferWatch::Judging, this, [&] {
        ++judged;
        m_watch->Restart();
    });
    m_watch->Restart();
    QTRY_VERIFY(judged >= 3);
    QCOMPARE(m_asked->count() + m_givenUp->count(), 0);
}

void tst_TransferWatch::there_is_no_silence_where_nothing_is_awaited()
{
    m_watch->Restart();
    m_watch->Stop();
    QTest::qWait(200);
    QCOMPARE(m_asked->count() + m_givenUp->count(), 0);
}

void tst_TransferWatch::it_is_asking_again_behind_a_cut_until_a_byte_arrives()
{
    QVERIFY(!m_watch->IsAskingAgain());
    Cut(1);
    QVERIFY(m_watch->IsAskingAgain());
    m_watch->Restart();
    QVERIFY(m_watch->IsAskingAgain());
    m_watch->BytesReceived(1);
    QVERIFY(!m_watch->IsAskingAgain());
}

void tst_TransferWatch::it_is_asking_again_behind_a_stall_until_a_byte_arrives()
{
    m_watch->Restart();
    QVERIFY(!m_watch->IsAskingAgain());
    QTRY_COMPARE(m_asked->count(), 1);
    QVERIFY(m_watch->IsAskingAgain());
    m_watch->BytesReceived(1);
    QVERIFY(!m_watch->IsAskingAgain());
}

QTEST_GUILESS_MAIN(tst_TransferWatch)
#include "tst_TransferWatch.moc"
