// SPDX-License-Identifier: MIT

#include "platform/ProcessLock.h"
#include "tests/support/LogCapture.h"
#include "tests/support/TestBytes.h"
#include "tests/update/UpdateRig.h"
#include "ui/TitleBar.h"
#include "ui/UpdateMainImpl.h"
#include "update/base/BackgroundFlush.h"
#include "update/base/DownloadState.h"
#include "update/UpdateCommon/VersionInfo.h"

#include <QSemaphore>
#include <QThreadPool>
#include <QtTest>

#include <atomic>
#include <functional>

/// Closing while no range runs: before the first one, and behind the last one.
class tst_LiveUpdateMgr_CloseMoments : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void while_the_size_is_asked_for_no_range_follows_data();
    void while_the_size_is_asked_for_no_range_follows();
    void the_title_bar_closes_a_query_for_the_size();
    void while_the_package_is_flushed_nothing_is_put_in_place_data();
    void while_the_package_is_flushed_nothing_is_put_in_place();
    void a_package_whose_flush_was_closed_is_completed_without_a_request();
    void another_plan_may_follow_before_the_flush_ends();
    void closing_behind_the_end_leaves_the_download_of_another_alone();

private:
    bool IsLocked() const
    {
        ProcessLock probe;
        return probe.TryLock(m_rig->WorkingFolder() + "/Corvina9(x64).lock") ==
               ProcessLock::Outcome::HeldByAnother;
    }
    /// The answer to the query for the size comes late enough to be closed before.
    void ServeSlowSize();
    /// All bytes are there, and the flush before the move has begun.
    void DownloadUntilFlush();
    void EndFlush();
    void CheckNothingFollows();

    QByteArray m_package;
    std::atomic<int> m_flushes{0};
    QSemaphore m_mayFlush;
    std::unique_ptr<UpdateRig> m_rig;
};

void tst_LiveUpdateMgr_CloseMoments::init()
{
    m_package = gTestBytes(50000);
    m_flushes = 0;
    m_rig = std::make_unique<UpdateRig>();
    m_rig->System().flush = [this](const QString &path) {
        ++m_flushes;
        m_mayFlush.acquire();
        return gFlushToDisk(path);
    };
    m_rig->Build();
}

void tst_LiveUpdateMgr_CloseMoments::cleanup()
{
    EndFlush();
    m_rig.reset();
}

void tst_LiveUpdateMgr_CloseMoments::ServeSlowSize()
{
    HttpAnswer slow = HttpAnswer::Body(m_package);
    slow.delayMs = 300;
    m_rig->Server().Serve("/files/setup.exe", slow, "HEAD");
    m_rig->Server().Serve("/files/setup.exe", HttpAnswer::Body(m_package), "GET");
}

void tst_LiveUpdateMgr_CloseMoments::DownloadUntilFlush()
{
    m_rig->StartFullDownload(HttpAnswer::Body(m_package));
    QTRY_COMPARE(m_flushes.load(), 1);
    QCOMPARE(gDownloadState().alreadyDownloaded, qint64(m_package.size()));
}

void tst_LiveUpdateMgr_CloseMoments::EndFlush()
{
    m_mayFlush.release(10);
    QVERIFY(gFlushPool()->waitForDone(10000));
    QCoreApplication::processEvents();
    while (m_mayFlush.tryAcquire()) {
    }
}

void tst_LiveUpdateMgr_CloseMoments::CheckNothingFollows()
{
    QTRY_COMPARE(m_rig->Server().OpenConnections(), 0);
    QVERIFY(m_rig->Server().Requests("GET").isEmpty());
    QVERIFY(!QFile::exists(m_rig->Target()));
    QVERIFY(!QFile::exists(m_rig->StateFile()));
    QVERIFY(!IsLocked());
}

void tst_LiveUpdateMgr_CloseMoments::while_the_size_is_asked_for_no_range_follows_data()
{
    QTest::addColumn<bool>("isDeleted");
    QTest::newRow("closed_by_the_progress_page") << false;
    QTest::newRow("deleted") << true;
}

void tst_LiveUpdateMgr_CloseMoments::while_the_size_is_asked_for_no_range_follows()
{
    QFETCH(bool, isDeleted);
    ServeSlowSize();
    m_rig->Offer("/files/setup.exe");
    QTimer::singleShot(0, this, [this, isDeleted] {
        if (isDeleted) {
            m_rig->Destroy();
        } else {
            emit m_rig->Progress().Close();
        }
    });
    const LogCapture log;
    m_rig->Manager().UpdateNow();
    QCOMPARE(log.CountContaining("cancelled, " + m_rig->Server().Address("/files/setup.exe")), 1);
    CheckNothingFollows();
}

void tst_LiveUpdateMgr_CloseMoments::the_title_bar_closes_a_query_for_the_size()
{
    ServeSlowSize();
    UpdateMainImpl content(nullptr);
    content.findChild<VersionInfo *>()->setXml(
        UpdateRig::Manifest(m_rig->Server().Address("/files/setup.exe")));
    const QSignalSpy closed(&content, &UpdateMainImpl::Close);
    auto *const titleBar = content.findChild<TitleBar *>();
    QTimer::singleShot(0, titleBar, &TitleBar::Close);
    content.findChild<LiveUpdateMgr *>()->UpdateNow();
    QCOMPARE(closed.count(), 6);
    CheckNothingFollows();
}

void tst_LiveUpdateMgr_CloseMoments::while_the_package_is_flushed_nothing_is_put_in_place_data()
{
    QTest::addColumn<int>("how");
    QTest::newRow("closed_by_the_progress_page") << 0;
    QTest::newRow("closed_by_the_hint_page") << 1;
    QTest::newRow("deleted") << 2;
}

void tst_LiveUpdateMgr_CloseMoments::while_the_package_is_flushed_nothing_is_put_in_place()
{
    QFETCH(int, how);
    const QList<std::function<void()>> ways{[this] { emit m_rig->Progress().Close(); },
                                            [this] { emit m_rig->Hint().Close(); },
                                            [this] { m_rig->Destroy(); }};
    DownloadUntilFlush();
    QVERIFY(IsLocked());
    ways.at(how)();
    QVERIFY2(!IsLocked(), "another process may plan at once");
    EndFlush();
    QVERIFY(!QFile::exists(m_rig->Installer()));
    QVERIFY(gReadFile(m_rig->Target()) == m_package);
    QVERIFY(gDownloadState().installerReady.isEmpty());
    QVERIFY(!m_rig->Signals().contains("BeginInstall"));
    QVERIFY(!m_rig->Pages().contains("hint"));
    QCOMPARE(m_rig->Boxes(), 0);
}

void tst_LiveUpdateMgr_CloseMoments::
    a_package_whose_flush_was_closed_is_completed_without_a_request()
{
    DownloadUntilFlush();
    emit m_rig->Progress().Close();
    EndFlush();
    m_rig->Forget();
    m_mayFlush.release();
    m_rig->StartFullDownload(HttpAnswer::Body(m_package));
    QTRY_COMPARE(m_rig->Boxes(), 1);
    QVERIFY(m_rig->Server().Requests("GET").isEmpty());
    QVERIFY(gReadFile(m_rig->Installer()) == m_package);
}

void tst_LiveUpdateMgr_CloseMoments::another_plan_may_follow_before_the_flush_ends()
{
    DownloadUntilFlush();
    emit m_rig->Progress().Close();
    ProgressDisplay progress(nullptr);
    VersionDisplay version(nullptr);
    HintDisplay hint(nullptr);
    m_rig->System().flush = gFlushToDisk;
    LiveUpdateMgr second(&progress, &version, &hint, m_rig->Context(), nullptr);
    const QByteArray other = gTestBytes(60000, 3);
    m_rig->Server().Serve("/other.exe", HttpAnswer::Body(other));
    second.findChild<VersionInfo *>()->setXml(
        UpdateRig::Manifest(m_rig->Server().Address("/other.exe")));
    second.UpdateNow();
    QTRY_COMPARE(m_rig->Boxes(), 1);
    QVERIFY(gReadFile(m_rig->WorkingFolder() + "/other.exe") == other);
    EndFlush();
    QVERIFY(!QFile::exists(m_rig->Installer()));
    QCOMPARE(gDownloadState().installerReady, m_rig->WorkingFolder() + "/other.exe");
    QCOMPARE(m_rig->Boxes(), 1);
}

void tst_LiveUpdateMgr_CloseMoments::closing_behind_the_end_leaves_the_download_of_another_alone()
{
    m_mayFlush.release();
    m_rig->StartFullDownload(HttpAnswer::Body(m_package));
    QTRY_COMPARE(m_rig->Boxes(), 1);
    ProgressDisplay progress(nullptr);
    VersionDisplay version(nullptr);
    HintDisplay hint(nullptr);
    LiveUpdateMgr second(&progress, &version, &hint, m_rig->Context(), nullptr);
    m_rig->Server().Serve("/other.exe",
                          HttpAnswer::Broken(gTestBytes(60000), HttpAnswer::Fault::StallAfter, 10));
    second.findChild<VersionInfo *>()->setXml(
        UpdateRig::Manifest(m_rig->Server().Address("/other.exe")));
    second.UpdateNow();
    QTRY_COMPARE(gDownloadState().alreadyDownloaded, qint64(50));
    const QMap<QString, QString> state = m_rig->State();
    emit m_rig->Progress().Close();
    QVERIFY(gDownloadState().downloadStarted);
    QVERIFY(IsLocked());
    QCOMPARE(m_rig->State(), state);
    emit progress.Close();
    QVERIFY(!gDownloadState().downloadStarted);
}

QTEST_MAIN(tst_LiveUpdateMgr_CloseMoments)
#include "tst_LiveUpdateMgr_CloseMoments.moc"
