// SPDX-License-Identifier: MIT

#include "platform/ProcessLock.h"
#include "tests/support/LaterCalls.h"
#include "tests/support/TestBytes.h"
#include "tests/update/UpdateRig.h"
#include "update/base/DownloadState.h"

#include <QtTest>

#include <atomic>

/// What is true inside a slot: a host acts there, and deletes or closes what it likes.
class tst_LiveUpdateMgr_Order : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void in_download_finished_nothing_is_flushed_yet();
    void in_an_error_the_range_has_ended_data();
    void in_an_error_the_range_has_ended();
    void in_the_error_of_a_flush_every_range_has_ended();
    void in_the_error_of_the_last_flush_the_state_is_doubtful_on_disk();
    void in_progress_the_bytes_are_in_the_state_and_in_the_file();
    void in_begin_install_the_lock_is_free();
    void a_dialog_closed_between_plan_and_ranges_asks_for_nothing();

private:
    bool IsLocked() const
    {
        ProcessLock probe;
        return probe.TryLock(m_rig->WorkingFolder() + "/Corvina9(x64).lock") ==
               ProcessLock::Outcome::HeldByAnother;
    }
    /// The downloaders of the ranges; the manager's own one never runs.
    QList<DownloadMgr *> Running() const
    {
        QList<DownloadMgr *> running;
        const auto all = m_rig->Manager().findChildren<DownloadMgr *>();
        for (DownloadMgr *downloader : all) {
            if (downloader->IsRunning()) {
                running.append(downloader);
            }
        }
        return running;
    }

    QByteArray m_package;
    LaterCalls m_later;
    std::unique_ptr<UpdateRig> m_rig;
};

void tst_LiveUpdateMgr_Order::init()
{
    m_package = gTestBytes(50000);
    m_later = LaterCalls();
    m_later.RunAtOnce();
    m_rig = std::make_unique<UpdateRig>();
    m_rig->System().callLater = m_later.Seam();
    m_rig->Build();
}

void tst_LiveUpdateMgr_Order::cleanup()
{
    m_rig.reset();
}

void tst_LiveUpdateMgr_Order::in_download_finished_nothing_is_flushed_yet()
{
    std::atomic<int> flushes{0};
    m_rig->System().flush = [&flushes](const QString &path) {
        ++flushes;
        return gFlushToDisk(path);
    };
    m_rig->Build();
    m_rig->Server().Serve("/files/setup.exe", HttpAnswer::Body(m_package), "HEAD");
    m_rig->Server().Serve("/moved", HttpAnswer::Body(m_package));
    m_rig->StartFullDownload(HttpAnswer::Redirect("/moved"));
    const QList<DownloadMgr *> downloaders = Running();
    QCOMPARE(downloaders.size(), 5);
    QList<int> flushed;
    for (DownloadMgr *downloader : downloaders) {
        connect(downloader, &DownloadMgr::DownloadFinished, this, [&flushed, &flushes, downloader] {
            flushed.append(flushes);
            QVERIFY(!downloader->IsRunning());
        });
    }
    QTRY_COMPARE(m_rig->Boxes(), 1);
    QCOMPARE(flushed, QList<int>{0});
    QCOMPARE(flushes.load(), 1);
}

void tst_LiveUpdateMgr_Order::in_an_error_the_range_has_ended_data()
{
    QTest::addColumn<int>("how");
    QTest::newRow("by_a_status") << 0;
    QTest::newRow("by_a_refused_answer") << 1;
    QTest::newRow("by_cuts") << 2;
    QTest::newRow("by_too_many_redirects") << 3;
    QTest::newRow("by_a_package_of_another_size_behind_a_redirect") << 4;
}

void tst_LiveUpdateMgr_Order::in_an_error_the_range_has_ended()
{
    QFETCH(int, how);
    HttpAnswer whole = HttpAnswer::Body(m_package);
    whole.ranges = false;
    const QList<HttpAnswer> answers{HttpAnswer::Status(404), whole,
                                    HttpAnswer::Broken(m_package, HttpAnswer::Fault::CloseAfter, 0),
                                    HttpAnswer::Redirect("/files/setup.exe"),
                                    HttpAnswer::Redirect("/moved")};
    m_rig->Server().Serve("/moved", HttpAnswer::Body(m_package.left(40000)));
    m_rig->Server().Serve("/files/setup.exe", HttpAnswer::Body(m_package), "HEAD");
    m_rig->StartFullDownload(answers.at(how));
    const QList<DownloadMgr *> downloaders = Running();
    QCOMPARE(downloaders.size(), 5);
    QList<int> running;
    QList<bool> locked;
    for (DownloadMgr *downloader : downloaders) {
        connect(downloader, &DownloadMgr::Error, this, [&, downloader] {
            QVERIFY(!downloader->IsRunning());
            running.append(Running().size());
            locked.append(IsLocked());
        });
    }
    QTRY_COMPARE(m_rig->Pages().count("hint"), 5);
    const QList<int> fewerEachTime{4, 3, 2, 1, 0};
    QCOMPARE(running, fewerEachTime);
    const QList<bool> freeAtTheLast{true, true, true, true, false};
    QCOMPARE(locked, freeAtTheLast);
}

void tst_LiveUpdateMgr_Order::in_the_error_of_a_flush_every_range_has_ended()
{
    m_rig->System().flushBytes = 15000;
    m_rig->System().flush = [](const QString &) { return FlushResult::Failed; };
    m_rig->Build();
    QList<int> running;
    connect(&m_rig->Manager(), &LiveUpdateMgr::SetCurrentWidget, this, [&](QWidget *page) {
        if (page == &m_rig->Hint()) {
            running.append(Running().size());
            QVERIFY(!IsLocked());
            QVERIFY(!gDownloadState().downloadStarted);
            QCOMPARE(m_rig->State().value("Flushed/Boot_Id"), QString());
        }
    });
    m_rig->StartFullDownload(HttpAnswer::Broken(m_package, HttpAnswer::Fault::StallAfter, 3000));
    QTRY_COMPARE(running, QList<int>{0});
    QTRY_COMPARE(m_rig->Server().OpenConnections(), 0);
    QCOMPARE(m_rig->Pages().count("hint"), 1);
}

void tst_LiveUpdateMgr_Order::in_the_error_of_the_last_flush_the_state_is_doubtful_on_disk()
{
    m_rig->System().bootIdentity = [] { return QStringLiteral("boot one"); };
    m_rig->System().flush = [](const QString &) { return FlushResult::Failed; };
    m_rig->Build();
    QStringList boots;
    connect(&m_rig->Manager(), &LiveUpdateMgr::SetCurrentWidget, this, [&](QWidget *page) {
        if (page == &m_rig->Hint()) {
            boots.append(m_rig->State().value("Flushed/Boot_Id"));
        }
    });
    m_rig->StartFullDownload(HttpAnswer::Body(m_package));
    QCOMPARE(m_rig->State().value("Flushed/Boot_Id"), QStringLiteral("boot one"));
    QTRY_COMPARE(boots, QStringList{QString()});
}

void tst_LiveUpdateMgr_Order::in_progress_the_bytes_are_in_the_state_and_in_the_file()
{
    m_rig->StartFullDownload(HttpAnswer::Broken(m_package, HttpAnswer::Fault::StallAfter, 3000));
    const QList<DownloadMgr *> downloaders = Running();
    qint64 told = 0;
    for (DownloadMgr *downloader : downloaders) {
        connect(downloader, &DownloadMgr::DownloadProgress, this, [&](qint64 bytes) {
            told += bytes;
            const QMap<QString, QString> state = m_rig->State();
            QCOMPARE(state.value("AlreadyDownload_size/AlreadyDownload_size"),
                     QString::number(told));
            const QByteArray target = gReadFile(m_rig->Target());
            for (int number = 1; number <= 5; ++number) {
                const int first = (number - 1) * 10000;
                const int next =
                    state.value(QString("DownLoad_Tasks/Start_Byte%1").arg(number)).toInt();
                QVERIFY(target.mid(first, next - first) == m_package.mid(first, next - first));
            }
        });
    }
    QTRY_COMPARE(told, qint64(15000));
}

void tst_LiveUpdateMgr_Order::in_begin_install_the_lock_is_free()
{
    QList<bool> locked;
    connect(&m_rig->Manager(), &LiveUpdateMgr::BeginInstall, this, [&] {
        locked.append(IsLocked());
        QCOMPARE(Running().size(), 0);
    });
    m_rig->StartFullDownload(HttpAnswer::Body(m_package));
    QTRY_COMPARE(m_rig->Boxes(), 1);
    QCOMPARE(locked, QList<bool>{false});
}

void tst_LiveUpdateMgr_Order::a_dialog_closed_between_plan_and_ranges_asks_for_nothing()
{
    connect(&m_rig->Manager(), &LiveUpdateMgr::SetCurrentWidget, this, [this](QWidget *page) {
        if (page == &m_rig->Progress() && IsLocked()) {
            emit m_rig->Progress().Close();
        }
    });
    m_rig->StartFullDownload(HttpAnswer::Body(m_package));
    QVERIFY2(!m_rig->Signals().isEmpty(), "the plan was there, and was closed");
    QVERIFY(!IsLocked());
    QTRY_COMPARE(m_rig->Server().OpenConnections(), 0);
    QVERIFY(m_rig->Server().Requests("GET").isEmpty());
    QCOMPARE(Running().size(), 0);
}

QTEST_MAIN(tst_LiveUpdateMgr_Order)
#include "tst_LiveUpdateMgr_Order.moc"
