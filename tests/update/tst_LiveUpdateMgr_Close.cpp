// SPDX-License-Identifier: MIT

#include "platform/ProcessLock.h"
#include "tests/support/SystemTraits.h"
#include "tests/support/TestBytes.h"
#include "tests/update/UpdateRig.h"
#include "update/base/DownloadState.h"
#include "update/plan/PackageFolder.h"

#include <QNetworkAccessManager>
#include <QSemaphore>
#include <QThreadPool>
#include <QtTest>

/// Closing the progress page during a download: what is saved, which signals follow, and how the
/// next download resumes.
class tst_LiveUpdateMgr_Close : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void closing_tells_five_times_and_saves_how_far_it_came();
    void closing_saves_what_an_earlier_write_could_not();
    void closing_a_redirected_download_leaves_the_state_alone();
    void closing_ends_the_transfers();
    void a_running_download_adds_no_close();
    void several_downloads_in_one_manager_add_no_close();
    void a_closed_download_is_resumed_to_the_same_bytes();
    void a_destroyed_manager_leaves_a_state_to_resume();
    void its_transfers_end_with_the_application_at_the_latest();
    void a_cut_connection_is_silent_and_resumed();
    void closing_during_the_last_flush_puts_nothing_in_place();

private:
    /// The first @p count bytes of every range arrive, then nothing more.
    void StartAndStall(const QByteArray &package, int count);

    std::unique_ptr<UpdateRig> m_rig;
};

static const QStringList fiveTimes{"Close", "Close", "Close", "Close", "Close"};

void tst_LiveUpdateMgr_Close::init()
{
    m_rig = std::make_unique<UpdateRig>();
    m_rig->Build();
}

void tst_LiveUpdateMgr_Close::cleanup()
{
    m_rig.reset();
}

void tst_LiveUpdateMgr_Close::StartAndStall(const QByteArray &package, int count)
{
    m_rig->StartFullDownload(HttpAnswer::Broken(package, HttpAnswer::Fault::StallAfter, count));
    QTRY_COMPARE(gDownloadState().alreadyDownloaded, qint64(5) * count);
}

void tst_LiveUpdateMgr_Close::closing_tells_five_times_and_saves_how_far_it_came()
{
    StartAndStall(gTestBytes(1000003), 3000);
    // The state on disk at each of the five Close.
    QList<QMap<QString, QString>> states;
    connect(&m_rig->Manager(), &LiveUpdateMgr::Close, this,
            [this, &states] { states.append(m_rig->State()); });
    emit m_rig->Progress().Close();
    QCOMPARE(m_rig->Signals(), fiveTimes);
    QCOMPARE(states.size(), 5);
    QCOMPARE(states.first().value("DownLoad_Tasks/Start_Byte1"), QStringLiteral("3000"));
    QCOMPARE(states.last().value("AlreadyDownload_size/AlreadyDownload_size"),
             QStringLiteral("15000"));
    for (int number = 1; number <= 5; ++number) {
        QCOMPARE(states.last().value(QString("DownLoad_Tasks/Start_Byte%1").arg(number)),
                 QString::number((number - 1) * 200000 + 3000));
    }
    QCOMPARE(states.last().value("DownLoad_Tasks/End_Byte5"), QStringLiteral("1000002"));
}

void tst_LiveUpdateMgr_Close::closing_saves_what_an_earlier_write_could_not()
{
    StartAndStall(gTestBytes(1000003), 3000);
    // On some systems a file that is open cannot be removed; then it is emptied.
    QVERIFY(gRemovesOpenFiles() ? QFile::remove(m_rig->StateFile())
                                : gWriteFile(m_rig->StateFile(), QByteArray()));
    emit m_rig->Progress().Close();
    for (int number = 1; number <= 5; ++number) {
        QCOMPARE(m_rig->State().value(QString("DownLoad_Tasks/Start_Byte%1").arg(number)),
                 QString::number((number - 1) * 200000 + 3000));
    }
}

void tst_LiveUpdateMgr_Close::closing_a_redirected_download_leaves_the_state_alone()
{
    const QByteArray package = gTestBytes(50000);
    m_rig->Server().Serve("/files/setup.exe", HttpAnswer::Body(package), "HEAD");
    m_rig->Server().Serve("/moved",
                          HttpAnswer::Broken(package, HttpAnswer::Fault::StallAfter, 30000));
    m_rig->StartFullDownload(HttpAnswer::Redirect("/moved"));
    const QMap<QString, QString> state = m_rig->State();
    QTRY_VERIFY(gReadFile(m_rig->Target()).left(30000) == package.left(30000));
    emit m_rig->Progress().Close();
    QCOMPARE(m_rig->State(), state);
    m_rig->StartFullDownload(HttpAnswer::Body(package));
    QTRY_COMPARE(m_rig->Boxes(), 1);
    QVERIFY(gReadFile(m_rig->Installer()) == package);
}

void tst_LiveUpdateMgr_Close::closing_ends_the_transfers()
{
    StartAndStall(gTestBytes(1000003), 3000);
    QVERIFY(m_rig->Server().OpenConnections() >= 5);
    emit m_rig->Progress().Close();
    QTRY_COMPARE(m_rig->Server().OpenConnections(), 0);
    QVERIFY2(!m_rig->Pages().contains("hint"), "the user's own wish is no failure");
    QCOMPARE(m_rig->Boxes(), 0);
    QCOMPARE(gDownloadState().alreadyDownloaded, qint64(15000));
}

void tst_LiveUpdateMgr_Close::a_running_download_adds_no_close()
{
    StartAndStall(gTestBytes(50000), 10);
    emit m_rig->Progress().Close();
    emit m_rig->Progress().Close();
    QCOMPARE(m_rig->Signals(), fiveTimes + fiveTimes);
}

void tst_LiveUpdateMgr_Close::several_downloads_in_one_manager_add_no_close()
{
    for (int size : {50000, 60000, 70000}) {
        StartAndStall(gTestBytes(size), 10);
        emit m_rig->Progress().Close();
        QCOMPARE(m_rig->Signals(), fiveTimes);
        m_rig->Forget();
    }
}

void tst_LiveUpdateMgr_Close::a_closed_download_is_resumed_to_the_same_bytes()
{
    const QByteArray package = gTestBytes(1000003);
    StartAndStall(package, 3000);
    emit m_rig->Progress().Close();
    m_rig->Forget();
    m_rig->Build();
    m_rig->StartFullDownload(HttpAnswer::Body(package));
    QTRY_COMPARE(m_rig->Boxes(), 1);
    const QStringList rest{"bytes=203000-399999", "bytes=3000-199999", "bytes=403000-599999",
                           "bytes=603000-799999", "bytes=803000-"};
    QCOMPARE(gRangeHeaders(m_rig->Server()), rest);
    QVERIFY(gReadFile(m_rig->Installer()) == package);
}

void tst_LiveUpdateMgr_Close::a_destroyed_manager_leaves_a_state_to_resume()
{
    const QByteArray package = gTestBytes(1000003);
    StartAndStall(package, 3000);
    m_rig->Destroy();
    QCOMPARE(m_rig->State().value("AlreadyDownload_size/AlreadyDownload_size"),
             QStringLiteral("15000"));
    m_rig->Forget();
    m_rig->StartFullDownload(HttpAnswer::Body(package));
    QTRY_COMPARE(m_rig->Boxes(), 1);
    QVERIFY(gReadFile(m_rig->Installer()) == package);
    QVERIFY(!gRangeHeaders(m_rig->Server()).contains("bytes=0-199999"));
}

void tst_LiveUpdateMgr_Close::its_transfers_end_with_the_application_at_the_latest()
{
    StartAndStall(gTestBytes(1000003), 3000);
    const auto inFlight = m_rig->Manager().findChildren<QNetworkAccessManager *>().size();
    QVERIFY(inFlight > 5);
    m_rig->Destroy();
    QCOMPARE(qApp->findChildren<QNetworkAccessManager *>().size(), inFlight);
    QTRY_COMPARE(qApp->findChildren<QNetworkAccessManager *>().size(), 0);
}

void tst_LiveUpdateMgr_Close::a_cut_connection_is_silent_and_resumed()
{
    const QByteArray package = gTestBytes(1000003);
    m_rig->StartFullDownload(HttpAnswer::Broken(package, HttpAnswer::Fault::CloseAfter, 70000));
    QTRY_COMPARE(gDownloadState().alreadyDownloaded, qint64(350000));
    QTRY_COMPARE(m_rig->Server().OpenConnections(), 0);
    QVERIFY(!m_rig->Pages().contains("hint"));
    QCOMPARE(m_rig->Boxes(), 0);
    m_rig->Forget();
    m_rig->StartFullDownload(HttpAnswer::Body(package));
    QTRY_COMPARE(m_rig->Boxes(), 1);
    QVERIFY(gReadFile(m_rig->Installer()) == package);
    QVERIFY(gRangeHeaders(m_rig->Server()).contains("bytes=70000-199999"));
}

void tst_LiveUpdateMgr_Close::closing_during_the_last_flush_puts_nothing_in_place()
{
    const QByteArray package = gTestBytes(50000);
    QSemaphore flushes;
    QSemaphore goOn;
    m_rig->System().flush = [&](const QString &) {
        flushes.release();
        goOn.acquire();
        return FlushResult::Flushed;
    };
    m_rig->Build();
    m_rig->StartFullDownload(HttpAnswer::Body(package));
    QTRY_COMPARE(flushes.available(), 1);
    emit m_rig->Progress().Close();
    QCOMPARE(m_rig->Signals(), fiveTimes);
    QCOMPARE(ProcessLock().TryLock(gPackageLockFile()), ProcessLock::Outcome::Taken);
    goOn.release();
    QVERIFY(gFlushPool()->waitForDone());
    QCoreApplication::processEvents();
    QVERIFY(!QFile::exists(m_rig->Installer()));
    QVERIFY(gReadFile(m_rig->Target()) == package);
    QCOMPARE(m_rig->Boxes(), 0);
    QCOMPARE(m_rig->Signals(), fiveTimes);

    m_rig->System().flush = gFlushToDisk;
    m_rig->Forget();
    m_rig->Build();
    m_rig->StartFullDownload(HttpAnswer::Body(package));
    QTRY_COMPARE(m_rig->Boxes(), 1);
    QVERIFY(gRangeHeaders(m_rig->Server()).isEmpty());
    QVERIFY(gReadFile(m_rig->Installer()) == package);
}

QTEST_MAIN(tst_LiveUpdateMgr_Close)
#include "tst_LiveUpdateMgr_Close.moc"
