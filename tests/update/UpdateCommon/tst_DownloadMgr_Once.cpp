// SPDX-License-Identifier: MIT

#include "tests/support/LaterCalls.h"
#include "tests/support/TestBytes.h"
#include "tests/update/UpdateRig.h"
#include "update/base/DownloadState.h"

#include <QSignalSpy>
#include <QtTest>

/// What happens once, though the network tells of it several times: the end of a range, a failure, a
/// byte of a redirected package.
class tst_DownloadMgr_Once : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void a_range_that_has_ended_is_not_counted_again_data();
    void a_range_that_has_ended_is_not_counted_again();
    void a_range_that_was_stopped_behind_its_end_is_counted_once();
    void an_empty_range_that_is_stopped_is_not_counted();
    void progress_behind_several_redirects_is_told_once();
    void the_last_progress_behind_a_redirect_is_told_once();
    void redirects_may_have_bodies();
    void a_failure_behind_a_redirect_is_counted_once();
    void a_package_that_is_cut_behind_a_redirect_goes_on_once();
    void a_range_stopped_in_its_last_progress_does_not_end_data();
    void a_range_stopped_in_its_last_progress_does_not_end();
    void a_language_change_tells_a_real_failure_only();

private:
    void Start(int number, qint64 start, qint64 end);
    void Serve(const QByteArray &path, const HttpAnswer &answer)
    {
        m_rig->Server().Serve(path, answer);
    }
    int Counted() const { return gDownloadState().finishedSegments; }

    QByteArray m_package;
    LaterCalls m_later;
    std::unique_ptr<UpdateRig> m_rig;
    std::unique_ptr<DownloadMgr> m_downloader;
    std::unique_ptr<QSignalSpy> m_errors;
    std::unique_ptr<QSignalSpy> m_progress;
};

void tst_DownloadMgr_Once::init()
{
    m_package = gTestBytes(50000);
    m_later = LaterCalls();
    m_later.RunAtOnce();
    m_rig = std::make_unique<UpdateRig>();
    m_rig->System().callLater = m_later.Seam();
    m_rig->WriteState(
        "50000", "0",
        {{{0, 9999}, {10000, 19999}, {20000, 29999}, {30000, 39999}, {40000, 49999}}});
    QVERIFY(gWriteFile(m_rig->Target(), QByteArray(50000, '\0')));
    gDownloadState().BeginPlan();
    gDownloadState().activeSegments = 5;
    m_downloader = std::make_unique<DownloadMgr>(m_rig->Context(), nullptr);
    m_errors = std::make_unique<QSignalSpy>(m_downloader.get(), &DownloadMgr::Error);
    m_progress = std::make_unique<QSignalSpy>(m_downloader.get(), &DownloadMgr::DownloadProgress);
}

void tst_DownloadMgr_Once::cleanup()
{
    m_downloader.reset();
    m_rig.reset();
}

void tst_DownloadMgr_Once::Start(int number, qint64 start, qint64 end)
{
    m_downloader->ResumeDownload(m_rig->Target(), m_rig->Server().Url("/setup.exe"),
                                 m_rig->Installer(), start, end, number, false, QString(),
                                 QString());
}

void tst_DownloadMgr_Once::a_range_that_has_ended_is_not_counted_again_data()
{
    QTest::addColumn<int>("status");
    QTest::newRow("with_all_bytes") << 200;
    QTest::newRow("with_a_failure") << 404;
}

void tst_DownloadMgr_Once::a_range_that_has_ended_is_not_counted_again()
{
    QFETCH(int, status);
    HttpAnswer answer = HttpAnswer::Body(m_package);
    answer.status = status;
    Serve("/setup.exe", answer);
    Start(2, 10000, 19999);
    QTRY_COMPARE(Counted(), 1);
    QTRY_COMPARE(m_errors->count(), status == 404 ? 1 : 0);
    m_downloader->_DownloadFinished();
    m_downloader->_ReadyRead();
    m_downloader->ReplyError(QNetworkReply::RemoteHostClosedError);
    QCoreApplication::processEvents();
    QCOMPARE(Counted(), 1);
    QCOMPARE(m_errors->count(), status == 404 ? 1 : 0);
    QVERIFY(gDownloadState().downloadStarted);
}

void tst_DownloadMgr_Once::a_range_that_was_stopped_behind_its_end_is_counted_once()
{
    Serve("/setup.exe", HttpAnswer::Body(m_package));
    Start(2, 10000, 19999);
    QTRY_COMPARE(Counted(), 1);
    m_downloader->Stop();
    m_downloader.reset();
    QTRY_COMPARE(m_rig->Server().OpenConnections(), 0);
    QCOMPARE(Counted(), 1);
    QCOMPARE(gDownloadState().alreadyDownloaded, qint64(10000));
}

void tst_DownloadMgr_Once::an_empty_range_that_is_stopped_is_not_counted()
{
    Start(2, 20000, 19999);
    QVERIFY(m_downloader->IsRunning());
    m_downloader->Stop();
    QVERIFY(!m_downloader->IsRunning());
    QCoreApplication::processEvents();
    QCOMPARE(Counted(), 0);
    QVERIFY(gDownloadState().downloadStarted);
}

void tst_DownloadMgr_Once::progress_behind_several_redirects_is_told_once()
{
    HttpAnswer slow = HttpAnswer::Body(m_package);
    slow.chunkSize = 5000;
    slow.chunkPauseMs = 20;
    Serve("/setup.exe", HttpAnswer::Redirect("/second"));
    Serve("/second", HttpAnswer::Redirect("/third"));
    Serve("/third", slow);
    Start(1, 0, 9999);
    QTRY_COMPARE(m_rig->Boxes(), 1);
    qint64 before = -1;
    for (const QList<QVariant> &progress : *m_progress) {
        QVERIFY2(progress.first().toLongLong() > before, "each state of the transfer is told once");
        before = progress.first().toLongLong();
    }
    QCOMPARE(before, qint64(50000));
    QVERIFY(gReadFile(m_rig->Installer()) == m_package);
}

void tst_DownloadMgr_Once::the_last_progress_behind_a_redirect_is_told_once()
{
    gDownloadState().downloadStarted = false;
    for (qint64 bytes : {10, 20, 20, 20}) {
        m_downloader->slotDownloadProgress(bytes, 20);
    }
    QCOMPARE(m_progress->count(), 2);
}

void tst_DownloadMgr_Once::redirects_may_have_bodies()
{
    HttpAnswer first = HttpAnswer::Redirect("/second");
    first.contentType = "text/html";
    first.body = "<html><body>302 Found</body></html>";
    HttpAnswer second = first;
    second.headers = {{"Location", "/third"}};
    Serve("/setup.exe", first);
    Serve("/second", second);
    Serve("/third", HttpAnswer::Body(m_package));
    Start(1, 0, 9999);
    QTRY_COMPARE(m_rig->Boxes(), 1);
    QVERIFY(gReadFile(m_rig->Installer()) == m_package);
    QCOMPARE(m_errors->count(), 0);
}

void tst_DownloadMgr_Once::a_failure_behind_a_redirect_is_counted_once()
{
    Serve("/setup.exe", HttpAnswer::Redirect("/gone"));
    Start(2, 10000, 19999);
    QTRY_COMPARE(m_errors->count(), 1);
    QCoreApplication::processEvents();
    QCOMPARE(Counted(), 1);
    QCOMPARE(m_errors->count(), 1);
}

void tst_DownloadMgr_Once::a_package_that_is_cut_behind_a_redirect_goes_on_once()
{
    Serve("/setup.exe", HttpAnswer::Redirect("/moved"));
    Serve("/moved", HttpAnswer::Broken(m_package, HttpAnswer::Fault::CloseAfter, 30000));
    m_later = LaterCalls();
    Start(1, 0, 9999);
    QTRY_COMPARE(m_later.Seconds().size(), 1);
    QCOMPARE(Counted(), 0);
    Serve("/moved", HttpAnswer::Body(m_package));
    m_later.Run();
    QTRY_COMPARE(m_rig->Boxes(), 1);
    QCOMPARE(m_later.Seconds(), QList<int>{1});
    QCOMPARE(m_rig->Server().Requests("GET").size(), 3);
    QVERIFY(gReadFile(m_rig->Installer()) == m_package);
    QCOMPARE(m_errors->count(), 0);
}

void tst_DownloadMgr_Once::a_range_stopped_in_its_last_progress_does_not_end_data()
{
    QTest::addColumn<bool>("isRedirected");
    QTest::newRow("of_a_range") << false;
    QTest::newRow("of_a_redirected_package") << true;
}

void tst_DownloadMgr_Once::a_range_stopped_in_its_last_progress_does_not_end()
{
    QFETCH(bool, isRedirected);
    Serve("/setup.exe",
          isRedirected ? HttpAnswer::Redirect("/moved") : HttpAnswer::Body(m_package));
    Serve("/moved", HttpAnswer::Body(m_package));
    const QSignalSpy finished(m_downloader.get(), &DownloadMgr::DownloadFinished);
    connect(m_downloader.get(), &DownloadMgr::DownloadProgress, this, [&](qint64 bytes) {
        if (isRedirected ? bytes == 50000 : gDownloadState().alreadyDownloaded == 10000) {
            m_downloader->Stop();
        }
    });
    Start(2, 10000, 19999);
    QTRY_VERIFY(!m_downloader->IsRunning());
    QCoreApplication::processEvents();
    QCOMPARE(Counted(), 0);
    QVERIFY(gDownloadState().downloadStarted);
    QCOMPARE(finished.count(), 0);
    QCOMPARE(m_errors->count(), 0);
    QVERIFY(!QFile::exists(m_rig->Installer()));
}

void tst_DownloadMgr_Once::a_language_change_tells_a_real_failure_only()
{
    m_later = LaterCalls();
    Serve("/setup.exe", HttpAnswer::Broken(m_package, HttpAnswer::Fault::CloseAfter, 100));
    Start(1, 0, 9999);
    QTRY_COMPARE(m_later.Seconds().size(), 1);
    QEvent languageChange(QEvent::LanguageChange);
    QCoreApplication::sendEvent(m_downloader.get(), &languageChange);
    QCOMPARE(m_errors->count(), 0);
}

QTEST_MAIN(tst_DownloadMgr_Once)
#include "tst_DownloadMgr_Once.moc"
