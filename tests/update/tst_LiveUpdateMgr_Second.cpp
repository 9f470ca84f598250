// SPDX-License-Identifier: MIT

#include "tests/support/LaterCalls.h"
#include "tests/support/TestBytes.h"
#include "tests/update/UpdateRig.h"
#include "update/base/BackgroundFlush.h"
#include "update/base/DownloadState.h"
#include "update/UpdateCommon/VersionInfo.h"

#include <QSemaphore>
#include <QThreadPool>
#include <QtTest>

#include <atomic>

/// A second download in one process: nothing of the first one counts for it.
class tst_LiveUpdateMgr_Second : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void another_version_of_the_package_is_another_download_data();
    void another_version_of_the_package_is_another_download();
    void ranges_that_ended_do_not_count_for_the_next_plan();
    void bytes_that_were_written_do_not_count_for_the_next_plan();
    void a_late_flush_records_nothing_for_the_next_plan_data();
    void a_late_flush_records_nothing_for_the_next_plan();
    void a_flush_that_fails_late_does_not_end_the_next_plan();
    void a_plan_that_waits_for_its_file_gives_way_to_the_next();
    void a_plan_made_while_the_size_is_asked_for_is_the_one_that_closes();
    void what_the_first_wrote_makes_the_second_flush_no_earlier();
    void the_full_package_may_fail_in_each_update_now();

private:
    static HttpAnswer Version(const QByteArray &bytes, const QByteArray &tag)
    {
        HttpAnswer answer = HttpAnswer::Body(bytes);
        answer.headers = {{"ETag", tag}};
        return answer;
    }
    /// Five ranges, of each of which @p bytes arrive.
    void StartAndStall(const QByteArray &package, int bytes);
    QString Flushed(int number) const
    {
        return m_rig->State().value(QString("Flushed/Flushed_Byte%1").arg(number));
    }

    std::unique_ptr<UpdateRig> m_rig;
};

void tst_LiveUpdateMgr_Second::init()
{
    m_rig = std::make_unique<UpdateRig>();
    m_rig->System().bootIdentity = [] { return QStringLiteral("boot one"); };
    m_rig->Build();
}

void tst_LiveUpdateMgr_Second::cleanup()
{
    m_rig.reset();
}

void tst_LiveUpdateMgr_Second::StartAndStall(const QByteArray &package, int bytes)
{
    m_rig->StartFullDownload(HttpAnswer::Broken(package, HttpAnswer::Fault::StallAfter, bytes));
    QTRY_COMPARE(gDownloadState().alreadyDownloaded, qint64(5) * bytes);
}

void tst_LiveUpdateMgr_Second::another_version_of_the_package_is_another_download_data()
{
    QTest::addColumn<bool>("isFirstClosed");
    QTest::newRow("behind_a_complete_one") << false;
    QTest::newRow("behind_a_closed_one") << true;
}

void tst_LiveUpdateMgr_Second::another_version_of_the_package_is_another_download()
{
    QFETCH(bool, isFirstClosed);
    const QByteArray first = gTestBytes(50000);
    const QByteArray second = gTestBytes(60000, 3);
    HttpAnswer answer = Version(first, "\"one\"");
    if (isFirstClosed) {
        answer.fault = HttpAnswer::Fault::StallAfter;
        answer.faultAfter = 100;
    }
    m_rig->StartFullDownload(answer);
    QTRY_VERIFY(isFirstClosed ? gDownloadState().alreadyDownloaded == 500 : m_rig->Boxes() == 1);
    emit m_rig->Progress().Close();
    const int boxes = m_rig->Boxes();
    m_rig->StartFullDownload(Version(second, "\"two\""));
    QTRY_COMPARE(m_rig->Boxes(), boxes + 1);
    QVERIFY(gReadFile(m_rig->Installer()) == second);
    QVERIFY(!m_rig->Pages().contains("hint"));
}

void tst_LiveUpdateMgr_Second::ranges_that_ended_do_not_count_for_the_next_plan()
{
    const QByteArray first = gTestBytes(50003);
    m_rig->StartFullDownload(HttpAnswer::Broken(first, HttpAnswer::Fault::StallAfter, 10000));
    QTRY_COMPARE(gDownloadState().finishedSegments, 4);
    emit m_rig->Progress().Close();
    const QByteArray second = gTestBytes(60000, 3);
    m_rig->StartFullDownload(HttpAnswer::Body(second));
    QTRY_COMPARE(m_rig->Boxes(), 1);
    QVERIFY(gReadFile(m_rig->Installer()) == second);
    QCOMPARE(gDownloadState().finishedSegments, 0);
}

void tst_LiveUpdateMgr_Second::bytes_that_were_written_do_not_count_for_the_next_plan()
{
    StartAndStall(gTestBytes(50000), 3000);
    StartAndStall(gTestBytes(60000), 10);
    QCOMPARE(m_rig->Bar()->value(), 50);
    QCOMPARE(m_rig->Bar()->maximum(), 60000);
    QCOMPARE(m_rig->State().value("AlreadyDownload_size/AlreadyDownload_size"),
             QStringLiteral("50"));
}

void tst_LiveUpdateMgr_Second::a_late_flush_records_nothing_for_the_next_plan_data()
{
    QTest::addColumn<bool>("fails");
    QTest::newRow("one_that_succeeds") << false;
    QTest::newRow("one_that_fails") << true;
}

void tst_LiveUpdateMgr_Second::a_late_flush_records_nothing_for_the_next_plan()
{
    QFETCH(bool, fails);
    QSemaphore mayFlush;
    std::atomic<int> flushes{0};
    m_rig->System().flushBytes = 15000;
    m_rig->System().flush = [&](const QString &) {
        ++flushes;
        mayFlush.acquire();
        return fails ? FlushResult::Failed : FlushResult::Flushed;
    };
    m_rig->Build();
    StartAndStall(gTestBytes(50000), 3000);
    QTRY_COMPARE(flushes.load(), 1);
    emit m_rig->Progress().Close();
    ProgressDisplay progress(nullptr);
    VersionDisplay version(nullptr);
    HintDisplay hint(nullptr);
    LiveUpdateMgr second(&progress, &version, &hint, m_rig->Context(), nullptr);
    m_rig->Server().Serve(
        "/other.exe", HttpAnswer::Broken(gTestBytes(60000), HttpAnswer::Fault::StallAfter, 1000));
    second.findChild<VersionInfo *>()->setXml(
        UpdateRig::Manifest(m_rig->Server().Address("/other.exe")));
    second.UpdateNow();
    QTRY_COMPARE(gDownloadState().alreadyDownloaded, qint64(5000));
    const QMap<QString, QString> state = m_rig->State();
    QCOMPARE(Flushed(2), QStringLiteral("12000"));
    mayFlush.release(10);
    QVERIFY(gFlushPool()->waitForDone(10000));
    QCoreApplication::processEvents();
    QCOMPARE(m_rig->State(), state);
    QCOMPARE(m_rig->State().value("Flushed/Boot_Id"), QStringLiteral("boot one"));
    QVERIFY(!m_rig->Pages().contains("hint"));
    QVERIFY(gDownloadState().downloadStarted);
}

void tst_LiveUpdateMgr_Second::a_flush_that_fails_late_does_not_end_the_next_plan()
{
    QSemaphore mayFlush;
    std::atomic<int> flushes{0};
    m_rig->System().flushBytes = 15000;
    m_rig->System().flush = [&](const QString &path) {
        if (++flushes > 1) {
            return gFlushToDisk(path);
        }
        mayFlush.acquire();
        return FlushResult::Failed;
    };
    m_rig->Build();
    StartAndStall(gTestBytes(50000), 3000);
    QTRY_COMPARE(flushes.load(), 1);
    const QByteArray second = gTestBytes(60000, 3);
    HttpAnswer slow = HttpAnswer::Body(second);
    slow.delayMs = 300;
    m_rig->Server().Serve("/files/setup.exe", slow, "HEAD");
    // From the event loop, as a user does: what is deleted later lives while the size is asked for,
    // and the flush ends meanwhile.
    QTimer::singleShot(0, this, [&] { m_rig->StartFullDownload(HttpAnswer::Body(second)); });
    QTimer::singleShot(50, this, [&] { mayFlush.release(); });
    QTRY_COMPARE(m_rig->Boxes(), 1);
    QVERIFY(gReadFile(m_rig->Installer()) == second);
    QVERIFY(!m_rig->Pages().contains("hint"));
}

void tst_LiveUpdateMgr_Second::a_plan_that_waits_for_its_file_gives_way_to_the_next()
{
    LaterCalls later;
    m_rig->System().callLater = later.Seam();
    m_rig->System().renameOver = [](const QString &, const QString &, QString *) {
        return RenameResult::Busy;
    };
    m_rig->Build();
    m_rig->StartFullDownload(HttpAnswer::Body(gTestBytes(50000)));
    m_rig->System().renameOver = gRenameOver;
    const QByteArray second = gTestBytes(60000, 3);
    // From the event loop, as a user does: what is deleted later lives while the size is asked for.
    HttpAnswer slow = HttpAnswer::Body(second);
    slow.delayMs = 300;
    m_rig->Server().Serve("/files/setup.exe", slow, "HEAD");
    QTimer::singleShot(0, this, [&] { m_rig->StartFullDownload(HttpAnswer::Body(second)); });
    int started = -1;
    QTimer::singleShot(50, this, [&] {
        later.Run();
        started = m_rig->Downloaders() - 1;
    });
    QTRY_COMPARE(m_rig->Boxes(), 1);
    QCOMPARE(started, 0);
    QVERIFY(gReadFile(m_rig->Installer()) == second);
    QVERIFY(!m_rig->Pages().contains("hint"));
}

void tst_LiveUpdateMgr_Second::a_plan_made_while_the_size_is_asked_for_is_the_one_that_closes()
{
    const QByteArray package = gTestBytes(50000);
    HttpAnswer slow = HttpAnswer::Body(package);
    slow.delayMs = 300;
    m_rig->Server().Serve("/files/setup.exe", slow, "HEAD");
    m_rig->Server().Serve("/files/setup.exe",
                          HttpAnswer::Broken(package, HttpAnswer::Fault::StallAfter, 100), "GET");
    m_rig->Offer("/files/setup.exe");
    QTimer::singleShot(50, this, [&] {
        m_rig->Server().Serve("/files/setup.exe", HttpAnswer::Body(package), "HEAD");
        m_rig->Manager().UpdateNow();
    });
    m_rig->Manager().UpdateNow();
    QTRY_COMPARE(gDownloadState().alreadyDownloaded, qint64(500));
    emit m_rig->Progress().Close();
    QVERIFY(!gDownloadState().downloadStarted);
    QTRY_COMPARE(m_rig->Server().OpenConnections(), 0);
    m_rig->Server().Serve("/files/setup.exe", HttpAnswer::Body(package), "GET");
    m_rig->StartFullDownload(HttpAnswer::Body(package));
    QTRY_COMPARE(m_rig->Boxes(), 1);
    QVERIFY(gReadFile(m_rig->Installer()) == package);
}

void tst_LiveUpdateMgr_Second::what_the_first_wrote_makes_the_second_flush_no_earlier()
{
    std::atomic<int> flushes{0};
    m_rig->System().flushBytes = 15000;
    m_rig->System().flush = [&](const QString &) {
        ++flushes;
        return FlushResult::Flushed;
    };
    m_rig->Build();
    const QByteArray package = gTestBytes(50000);
    StartAndStall(package, 2500);
    emit m_rig->Progress().Close();
    m_rig->StartFullDownload(HttpAnswer::Broken(package, HttpAnswer::Fault::StallAfter, 600));
    QTRY_COMPARE(gDownloadState().alreadyDownloaded, qint64(5) * (2500 + 600));
    QCOMPARE(flushes.load(), 0);
}

void tst_LiveUpdateMgr_Second::the_full_package_may_fail_in_each_update_now()
{
    for (int attempt = 1; attempt <= 3; ++attempt) {
        m_rig->StartFullDownload(HttpAnswer::Status(404));
        QCOMPARE(m_rig->Pages().count("hint"), attempt);
    }
    const QByteArray package = gTestBytes(50000);
    m_rig->StartFullDownload(HttpAnswer::Body(package));
    QTRY_COMPARE(m_rig->Boxes(), 1);
    QVERIFY(gReadFile(m_rig->Installer()) == package);
}

QTEST_MAIN(tst_LiveUpdateMgr_Second)
#include "tst_LiveUpdateMgr_Second.moc"
