// SPDX-License-Identifier: MIT

#include "update/UpdateCommon/NetworkCheck.h"

#include "tests/support/MetaMethods.h"

#include <QThread>
#include <QTimer>
#include <QtTest>

#include <atomic>
#include <memory>

using namespace std::chrono_literals;

class tst_NetworkCheck : public QObject
{
    Q_OBJECT

private slots:
    void the_methods_stand_in_their_order();
    void the_interval_is_half_a_minute_unless_told();
    void the_timer_repeats_and_is_not_started_yet();
    void it_lives_on_a_thread_of_its_own();
    void it_is_idle_until_it_is_armed();
    void it_fires_again_and_again_until_it_is_stopped();
    void it_does_not_fire_when_it_is_rearmed_in_time();
    void it_fires_while_its_owners_thread_is_busy();
    void it_can_be_armed_again_after_a_stop();
    void destroying_an_armed_one_ends_its_thread();
};

static void gStartCheck(NetworkCheck &check)
{
    QMetaObject::invokeMethod(&check, &NetworkCheck::_Check, Qt::QueuedConnection);
}

static void gStopCheck(NetworkCheck &check)
{
    QMetaObject::invokeMethod(&check, &NetworkCheck::_StopCheck, Qt::BlockingQueuedConnection);
}

/// A count of the signals of @p check. It is incremented on the watchdog's thread, so it is atomic;
/// it lives as long as the connection.
static std::shared_ptr<const std::atomic<int>> gCountTimeOuts(NetworkCheck &check)
{
    auto count = std::make_shared<std::atomic<int>>(0);
    QObject::connect(
        &check, &NetworkCheck::TimeOut, &check, [count] { ++*count; }, Qt::DirectConnection);
    return count;
}

void tst_NetworkCheck::the_methods_stand_in_their_order()
{
    QCOMPARE(gOwnMethods(NetworkCheck::staticMetaObject, QMetaMethod::Signal),
             QByteArrayList{"TimeOut()"});
    const QByteArrayList expectedSlots{"_StopCheck()", "_Check()"};
    QCOMPARE(gOwnMethods(NetworkCheck::staticMetaObject, QMetaMethod::Slot), expectedSlots);
}

void tst_NetworkCheck::the_interval_is_half_a_minute_unless_told()
{
    const NetworkCheck check;
    QCOMPARE(check.findChild<QTimer *>()->interval(), 30000);
}

void tst_NetworkCheck::the_timer_repeats_and_is_not_started_yet()
{
    const NetworkCheck check;
    QVERIFY(!check.findChild<QTimer *>()->isSingleShot());
    QVERIFY(!check.findChild<QTimer *>()->isActive());
    QVERIFY(!check.parent());
}

void tst_NetworkCheck::it_lives_on_a_thread_of_its_own()
{
    NetworkCheck check(10ms);
    QVERIFY(check.thread() != QThread::currentThread());
    QVERIFY(check.thread()->isRunning());
    std::atomic<QThread *> emitter{nullptr};
    connect(
        &check, &NetworkCheck::TimeOut, &check, [&emitter] { emitter = QThread::currentThread(); },
        Qt::DirectConnection);
    gStartCheck(check);
    QTRY_COMPARE(emitter.load(), check.thread());
    gStopCheck(check);
}

void tst_NetworkCheck::it_is_idle_until_it_is_armed()
{
    NetworkCheck idle(10ms);
    NetworkCheck armed(10ms);
    const auto idleCount = gCountTimeOuts(idle);
    const auto armedCount = gCountTimeOuts(armed);
    gStartCheck(armed);
    QTRY_VERIFY(armedCount->load() >= 5);
    QCOMPARE(idleCount->load(), 0);
}

void tst_NetworkCheck::it_fires_again_and_again_until_it_is_stopped()
{
    NetworkCheck check(10ms);
    NetworkCheck clock(10ms);
    std::atomic<int> fired{0};
    connect(
        &check, &NetworkCheck::TimeOut, &check, [&fired] { ++fired; }, Qt::DirectConnection);
    const auto clockCount = gCountTimeOuts(clock);
    gStartCheck(check);
    QTRY_VERIFY(fired >= 3);
    gStopCheck(check);
    const int atTheStop = fired;
    gStartCheck(clock);
    QTRY_VERIFY(clockCount->load() >= 10);
    QCOMPARE(fired.load(), atTheStop);
}

void tst_NetworkCheck::it_does_not_fire_when_it_is_rearmed_in_time()
{
    NetworkCheck check(2000ms);
    const auto count = gCountTimeOuts(check);
    QTimer rearm;
    int rearmed = 0;
    connect(&rearm, &QTimer::timeout, &check, &NetworkCheck::_Check);
    connect(&rearm, &QTimer::timeout, this, [&rearmed] { ++rearmed; });
    rearm.start(100);
    // The sum of the times is longer than the interval, each of them far shorter.
    QTRY_VERIFY_WITH_TIMEOUT(rearmed >= 30, 20000);
    rearm.stop();
    QCOMPARE(count->load(), 0);
    QTRY_COMPARE(count->load(), 1);
}

void tst_NetworkCheck::it_fires_while_its_owners_thread_is_busy()
{
    NetworkCheck check(10ms);
    QSemaphore fired;
    connect(
        &check, &NetworkCheck::TimeOut, &check, [&fired] { fired.release(); },
        Qt::DirectConnection);
    gStartCheck(check);
    // This thread handles no events while it waits here.
    QVERIFY(fired.tryAcquire(2, 10000));
}

void tst_NetworkCheck::it_can_be_armed_again_after_a_stop()
{
    NetworkCheck check(10ms);
    gStartCheck(check);
    gStopCheck(check);
    const auto count = gCountTimeOuts(check);
    gStartCheck(check);
    QTRY_VERIFY(count->load() >= 2);
}

void tst_NetworkCheck::destroying_an_armed_one_ends_its_thread()
{
    auto check = std::make_unique<NetworkCheck>(10ms);
    const QPointer<QThread> thread = check->thread();
    gStartCheck(*check);
    check.reset();
    QVERIFY(!thread || thread->isFinished());
}

QTEST_GUILESS_MAIN(tst_NetworkCheck)
#include "tst_NetworkCheck.moc"
