// SPDX-License-Identifier: MIT

#include "update/plan/FlushSchedule.h"

#include "tests/support/IniText.h"
#include "tests/support/LogCapture.h"
#include "tests/support/TestFiles.h"
#include "update/base/BackgroundFlush.h"

#include <QMutex>
#include <QSemaphore>
#include <QTemporaryDir>
#include <QThread>
#include <QThreadPool>
#include <QtTest>

#include <atomic>

using namespace std::chrono_literals;

/// When data is flushed to stable storage, and what the resume state records of it.
class tst_FlushSchedule : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();
    void enough_bytes_are_flushed_and_recorded();
    void enough_time_is_enough();
    void bytes_that_keep_coming_do_not_put_it_off();
    void what_arrives_during_the_flush_is_not_recorded();
    void the_callers_thread_does_not_wait();
    void a_flush_that_tells_nothing_is_not_recorded();
    void a_flush_that_fails_makes_the_state_doubtful();
    void a_flush_takes_no_doubt_back();
    void a_flush_of_the_download_before_is_not_recorded();
    void bytes_of_the_download_before_do_not_count();
    void nothing_is_flushed_behind_the_end();
    void a_flush_that_ends_behind_the_download_leaves_the_state();
    void a_busy_application_does_not_put_it_off();
    void a_flush_leaves_nothing_behind();
    void it_may_be_deleted_during_a_flush();

private:
    void Build();
    QString OnDisk(const QString &key) const { return gReadIniText(m_state->Path()).value(key); }
    int Flushed(int number = 1) const { return m_state->FlushedByte(number); }

    std::unique_ptr<QTemporaryDir> m_folder;
    std::unique_ptr<ResumeState> m_state;
    DownloadSystem m_system;
    /// Released once for each flush that may continue.
    QSemaphore m_mayFlush;
    std::atomic<int> m_flushes{0};
    std::atomic<FlushResult> m_result{FlushResult::Flushed};
    std::unique_ptr<FlushSchedule> m_schedule;
};

void tst_FlushSchedule::init()
{
    m_folder = std::make_unique<QTemporaryDir>();
    m_state = std::make_unique<ResumeState>(m_folder->path());
    QVERIFY2(m_state->Sync(), "as a plan does");
    m_flushes = 0;
    m_result = FlushResult::Flushed;
    while (m_mayFlush.tryAcquire()) {
    }
    m_system = DownloadSystem();
    m_system.flushBytes = 100;
    m_system.bootIdentity = [] { return QStringLiteral("this boot"); };
    m_system.flush = [this](const QString &) {
        ++m_flushes;
        m_mayFlush.acquire();
        return m_result.load();
    };
    Build();
}

void tst_FlushSchedule::cleanup()
{
    m_mayFlush.release(100);
    m_schedule.reset();
    gFlushPool()->waitForDone();
}

void tst_FlushSchedule::Build()
{
    m_schedule = std::make_unique<FlushSchedule>(*m_state, m_system, nullptr);
    m_schedule->Begin(m_folder->filePath("target"));
}

void tst_FlushSchedule::enough_bytes_are_flushed_and_recorded()
{
    m_mayFlush.release(100);
    m_state->SetStartByte(1, 99);
    m_schedule->Written(99);
    QCOMPARE(m_flushes.load(), 0);
    m_state->SetStartByte(1, 100);
    m_state->SetStartByte(4, 7);
    m_schedule->Written(1);
    QTRY_COMPARE(Flushed(), 100);
    QCOMPARE(Flushed(4), 7);
    QCOMPARE(m_state->BootId(), QStringLiteral("this boot"));
    QCOMPARE(m_flushes.load(), 1);
}

void tst_FlushSchedule::enough_time_is_enough()
{
    m_mayFlush.release(100);
    m_system.flushTime = 20ms;
    Build();
    m_state->SetStartByte(1, 1);
    m_schedule->Written(1);
    QTRY_COMPARE(Flushed(), 1);
}

void tst_FlushSchedule::bytes_that_keep_coming_do_not_put_it_off()
{
    m_mayFlush.release(100);
    m_system.flushTime = 100ms;
    m_system.flushBytes = 1000000;
    Build();
    QTimer arrival;
    connect(&arrival, &QTimer::timeout, m_schedule.get(), [this] { m_schedule->Written(1); });
    arrival.start(10);
    QTRY_VERIFY(m_flushes >= 1);
}

void tst_FlushSchedule::what_arrives_during_the_flush_is_not_recorded()
{
    m_state->SetStartByte(1, 100);
    m_schedule->Written(100);
    QTRY_COMPARE(m_flushes.load(), 1);
    m_state->SetStartByte(1, 350);
    m_schedule->Written(250);
    QCOMPARE(gFlushPool()->activeThreadCount(), 1);
    QCOMPARE(m_flushes.load(), 1);
    QCOMPARE(Flushed(), 0);
    m_mayFlush.release();
    QTRY_COMPARE(Flushed(), 100);
    QTRY_COMPARE(m_flushes.load(), 2);
    m_mayFlush.release();
    QTRY_COMPARE(Flushed(), 350);
}

void tst_FlushSchedule::the_callers_thread_does_not_wait()
{
    std::atomic<QThread *> thread{nullptr};
    m_system.flush = [&thread](const QString &) {
        thread = QThread::currentThread();
        return FlushResult::Flushed;
    };
    Build();
    m_state->SetStartByte(1, 100);
    m_schedule->Written(100);
    QTRY_COMPARE(Flushed(), 100);
    QVERIFY(thread.load() != QThread::currentThread());
}

void tst_FlushSchedule::a_flush_that_tells_nothing_is_not_recorded()
{
    m_result = FlushResult::Unknown;
    const QSignalSpy failed(m_schedule.get(), &FlushSchedule::Failed);
    m_state->SetStartByte(1, 100);
    m_schedule->Written(100);
    m_schedule->Written(100);
    m_mayFlush.release(100);
    QTRY_COMPARE(m_flushes.load(), 2);
    QCOMPARE(Flushed(), 0);
    QVERIFY(!m_state->KnowsBoot());
    QCOMPARE(failed.count(), 0);
}

void tst_FlushSchedule::a_flush_that_fails_makes_the_state_doubtful()
{
    const LogCapture log;
    m_state->SetBootId("this boot");
    m_state->SetFlushedByte(1, 30);
    QVERIFY(m_state->Sync());
    m_result = FlushResult::Failed;
    QSignalSpy failed(m_schedule.get(), &FlushSchedule::Failed);
    QString bootOnDisk = "none was read";
    connect(m_schedule.get(), &FlushSchedule::Failed, this,
            [&] { bootOnDisk = OnDisk("Flushed/Boot_Id"); });
    m_state->SetStartByte(1, 100);
    m_schedule->Written(100);
    m_mayFlush.release();
    QTRY_COMPARE(failed.count(), 1);
    QCOMPARE(Flushed(), 30);
    QVERIFY(m_state->KnowsBoot());
    QCOMPARE(m_state->BootId(), QString());
    QCOMPARE(bootOnDisk, QString());
    QCOMPARE(log.CountContaining("disk failure"), 1);
    m_schedule->Written(1000);
    QCOMPARE(m_flushes.load(), 1);
}

void tst_FlushSchedule::a_flush_takes_no_doubt_back()
{
    m_state->SetStartByte(1, 500);
    m_schedule->Begin(m_folder->filePath("package"));
    m_schedule->Written(100);
    m_state->SetBootId(QString());
    m_mayFlush.release();
    QTRY_COMPARE(m_flushes.load(), 1);
    gFlushPool()->waitForDone();
    QCoreApplication::processEvents();
    QCOMPARE(m_state->BootId(), QString());
    QCOMPARE(Flushed(), 0);
}

void tst_FlushSchedule::a_flush_of_the_download_before_is_not_recorded()
{
    m_state->SetStartByte(1, 100);
    m_schedule->Written(100);
    QTRY_COMPARE(m_flushes.load(), 1);
    m_state->SetStartByte(1, 0);
    m_schedule->Begin(m_folder->filePath("other target"));
    m_state->SetStartByte(1, 40);
    m_schedule->Written(100);
    QTRY_COMPARE(m_flushes.load(), 2);
    m_mayFlush.release(2);
    QTRY_COMPARE(Flushed(), 40);
}

void tst_FlushSchedule::bytes_of_the_download_before_do_not_count()
{
    m_schedule->Written(99);
    m_schedule->End();
    m_schedule->Begin(m_folder->filePath("other target"));
    m_schedule->Written(1);
    QCOMPARE(gFlushPool()->activeThreadCount(), 0);
}

void tst_FlushSchedule::nothing_is_flushed_behind_the_end()
{
    m_schedule->End();
    m_schedule->Written(1000);
    QCOMPARE(gFlushPool()->activeThreadCount(), 0);
}

void tst_FlushSchedule::a_flush_that_ends_behind_the_download_leaves_the_state()
{
    m_state->SetStartByte(1, 200);
    m_schedule->Written(200);
    QTRY_COMPARE(m_flushes.load(), 1);
    m_state->Close();
    const QByteArray ofAnother("[FullPackage_size]\nFullPackage_size=1\n");
    QVERIFY(gWriteFile(m_state->Path(), ofAnother));
    m_mayFlush.release(100);
    gFlushPool()->waitForDone();
    QCoreApplication::sendPostedEvents(nullptr, QEvent::FutureCallOut);
    QCOMPARE(gReadFile(m_state->Path()), ofAnother);
    QVERIFY(!m_state->IsOpen());
}

void tst_FlushSchedule::a_busy_application_does_not_put_it_off()
{
    QSemaphore mayEnd;
    QThreadPool *const pool = QThreadPool::globalInstance();
    while (pool->tryStart([&mayEnd] { mayEnd.acquire(); })) {
    }
    m_mayFlush.release();
    m_state->SetStartByte(1, 100);
    m_schedule->Written(100);
    QTRY_COMPARE(Flushed(), 100);
    mayEnd.release(pool->activeThreadCount());
    QVERIFY(pool->waitForDone(10000));
}

void tst_FlushSchedule::a_flush_leaves_nothing_behind()
{
    m_mayFlush.release(100);
    const int before = m_schedule->findChildren<QObject *>().size();
    for (int next : {100, 200, 300}) {
        m_state->SetStartByte(1, next);
        m_schedule->Written(100);
        QTRY_COMPARE(Flushed(), next);
    }
    QTRY_COMPARE(m_schedule->findChildren<QObject *>().size(), before);
}

void tst_FlushSchedule::it_may_be_deleted_during_a_flush()
{
    m_schedule->Written(100);
    QTRY_COMPARE(m_flushes.load(), 1);
    m_schedule.reset();
    m_state.reset();
    m_mayFlush.release();
    QVERIFY(gFlushPool()->waitForDone(10000));
    QCoreApplication::processEvents();
}

QTEST_GUILESS_MAIN(tst_FlushSchedule)
#include "tst_FlushSchedule.moc"
