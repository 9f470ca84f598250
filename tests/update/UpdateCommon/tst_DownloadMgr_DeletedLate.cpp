// SPDX-License-Identifier: MIT

#include "tests/support/LaterCalls.h"
#include "tests/support/TestBytes.h"
#include "tests/update/UpdateRig.h"
#include "update/base/BackgroundFlush.h"
#include "update/base/DownloadState.h"

#include <QThreadPool>
#include <QtTest>

#include <atomic>

/// A host that deletes the dialog where a range, a flush or a package comes to its end. What follows
/// in the shared state is compared; a use of a deleted object is found by the address sanitizer.
class tst_DownloadMgr_DeletedLate : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void in_the_progress_of_a_chunk_beyond_its_range_data();
    void in_the_progress_of_a_chunk_beyond_its_range();
    void in_the_progress_of_the_last_chunk_of_all();
    void when_a_flush_fails();
    void when_the_last_flush_fails();
    void in_the_error_of_a_range_data();
    void in_the_error_of_a_range();
    void in_download_finished_of_a_redirected_package();
    void when_the_language_changes_behind_a_failure();

private:
    void Deleted() { QTRY_VERIFY(m_manager.isNull()); }
    void Settle()
    {
        QTRY_COMPARE(m_rig->Server().OpenConnections(), 0);
        gSettleReports();
    }
    template<typename Signal>
    void DeleteInEach(Signal signal)
    {
        const QList<DownloadMgr *> downloaders = m_manager->findChildren<DownloadMgr *>();
        for (DownloadMgr *downloader : downloaders) {
            connect(downloader, signal, this, [this] { m_rig->Destroy(); });
        }
    }
    /// Deletes the dialog in the progress of the chunk that makes it @p bytes of the package.
    void DeleteWith(qint64 bytes)
    {
        const QList<DownloadMgr *> downloaders = m_manager->findChildren<DownloadMgr *>();
        for (DownloadMgr *downloader : downloaders) {
            connect(downloader, &DownloadMgr::DownloadProgress, this, [this, bytes] {
                if (gDownloadState().alreadyDownloaded == bytes) {
                    m_rig->Destroy();
                }
            });
        }
    }
    void DeleteOnHint()
    {
        connect(m_manager, &LiveUpdateMgr::SetCurrentWidget, this, [this](QWidget *page) {
            if (page == &m_rig->Hint()) {
                m_rig->Destroy();
            }
        });
    }
    /// The next download goes on with what is there, and completes the package.
    void CheckGoesOn()
    {
        m_rig->System() = DownloadSystem();
        m_rig->StartFullDownload(HttpAnswer::Body(m_package));
        QTRY_COMPARE(m_rig->Boxes(), 1);
        QVERIFY(gReadFile(m_rig->Installer()) == m_package);
    }

    QByteArray m_package;
    std::unique_ptr<UpdateRig> m_rig;
    QPointer<LiveUpdateMgr> m_manager;
    LaterCalls m_later;
};

void tst_DownloadMgr_DeletedLate::init()
{
    m_later = LaterCalls();
    m_later.RunAtOnce();
    m_rig = std::make_unique<UpdateRig>();
    m_rig->System().callLater = m_later.Seam();
    m_manager = &m_rig->Build();
    m_package = gTestBytes(50000);
    m_rig->Server().Serve("/files/setup.exe", HttpAnswer::Body(m_package), "HEAD");
}

void tst_DownloadMgr_DeletedLate::cleanup()
{
    m_rig.reset();
}

void tst_DownloadMgr_DeletedLate::in_the_progress_of_a_chunk_beyond_its_range_data()
{
    QTest::addColumn<int>("number");
    QTest::newRow("of_a_middle_range") << 2;
    QTest::newRow("of_the_package") << 5;
}

void tst_DownloadMgr_DeletedLate::in_the_progress_of_a_chunk_beyond_its_range()
{
    QFETCH(int, number);
    const int first = (number - 1) * 10000;
    HttpAnswer answer;
    answer.status = 206;
    answer.ranges = false;
    answer.body = m_package.mid(first, 10000) + QByteArray(5000, 'x');
    answer.headers = {{"Content-Range", "bytes " + QByteArray::number(first) + "-" +
                                            QByteArray::number(first + 9999) + "/50000"}};
    // Only this range is accepted: it was not what the others have asked for.
    m_rig->StartFullDownload(answer);
    DeleteWith(10000);
    Deleted();
    QCOMPARE(gDownloadState().alreadyDownloaded, qint64(10000));
    const int ended = gDownloadState().finishedSegments;
    Settle();
    QCOMPARE(gDownloadState().finishedSegments, ended);
    QCOMPARE(m_rig->State().value(QString("DownLoad_Tasks/Start_Byte%1").arg(number)),
             QString::number(first + 10000));
    CheckGoesOn();
}

void tst_DownloadMgr_DeletedLate::in_the_progress_of_the_last_chunk_of_all()
{
    m_rig->StartFullDownload(HttpAnswer::Body(m_package));
    DeleteWith(m_package.size());
    Deleted();
    Settle();
    QVERIFY(!QFile::exists(m_rig->Installer()));
    QCOMPARE(m_rig->Boxes(), 0);
    m_rig->Forget();
    CheckGoesOn();
    QVERIFY2(m_rig->Server().Requests("GET").isEmpty(), "all bytes were there");
}

void tst_DownloadMgr_DeletedLate::when_a_flush_fails()
{
    std::atomic<int> flushes{0};
    m_rig->System().flushBytes = 15000;
    m_rig->System().flush = [&flushes](const QString &) {
        ++flushes;
        return FlushResult::Failed;
    };
    m_manager = &m_rig->Build();
    DeleteOnHint();
    m_rig->StartFullDownload(HttpAnswer::Broken(m_package, HttpAnswer::Fault::StallAfter, 3000));
    Deleted();
    Settle();
    QCOMPARE(flushes.load(), 1);
    QVERIFY(!gDownloadState().downloadStarted);
    QCOMPARE(m_rig->State().value("Flushed/Boot_Id"), QString());
    CheckGoesOn();
}

void tst_DownloadMgr_DeletedLate::when_the_last_flush_fails()
{
    m_rig->System().flush = [](const QString &) { return FlushResult::Failed; };
    m_manager = &m_rig->Build();
    DeleteOnHint();
    m_rig->StartFullDownload(HttpAnswer::Body(m_package));
    Deleted();
    Settle();
    QVERIFY(!QFile::exists(m_rig->Installer()));
    CheckGoesOn();
}

void tst_DownloadMgr_DeletedLate::in_the_error_of_a_range_data()
{
    QTest::addColumn<int>("how");
    QTest::newRow("by_a_status") << 0;
    QTest::newRow("by_a_refused_answer") << 1;
    QTest::newRow("by_cuts") << 2;
    QTest::newRow("by_too_many_redirects") << 3;
    QTest::newRow("by_a_package_of_another_size_behind_a_redirect") << 4;
    QTest::newRow("by_a_status_behind_cuts") << 5;
}

void tst_DownloadMgr_DeletedLate::in_the_error_of_a_range()
{
    QFETCH(int, how);
    HttpAnswer whole = HttpAnswer::Body(m_package);
    whole.ranges = false;
    const QList<HttpAnswer> answers{
        HttpAnswer::Status(404),
        whole,
        HttpAnswer::Broken(m_package, HttpAnswer::Fault::CloseAfter, 0),
        HttpAnswer::Redirect("/files/setup.exe"),
        HttpAnswer::Redirect("/moved"),
        HttpAnswer::Broken(m_package, HttpAnswer::Fault::CloseAfter, 100)};
    m_rig->Server().Serve("/moved", HttpAnswer::Body(m_package.left(40000)));
    m_rig->StartFullDownload(answers.at(how));
    DeleteInEach(&DownloadMgr::Error);
    if (how == 5) {
        QTRY_VERIFY(gDownloadState().alreadyDownloaded >= 500);
        m_rig->Server().Serve("/files/setup.exe", HttpAnswer::Status(404));
    }
    Deleted();
    Settle();
    CheckGoesOn();
}

void tst_DownloadMgr_DeletedLate::in_download_finished_of_a_redirected_package()
{
    m_rig->Server().Serve("/moved", HttpAnswer::Body(m_package));
    m_rig->StartFullDownload(HttpAnswer::Redirect("/moved"));
    DeleteInEach(&DownloadMgr::DownloadFinished);
    Deleted();
    Settle();
    QVERIFY(!QFile::exists(m_rig->Installer()));
    CheckGoesOn();
}

void tst_DownloadMgr_DeletedLate::when_the_language_changes_behind_a_failure()
{
    m_rig->StartFullDownload(HttpAnswer::Status(404));
    QTRY_COMPARE(m_rig->Pages().count("hint"), 5);
    const QList<DownloadMgr *> downloaders = m_manager->findChildren<DownloadMgr *>();
    DeleteInEach(&DownloadMgr::Error);
    QEvent languageChange(QEvent::LanguageChange);
    QCoreApplication::sendEvent(downloaders.last(), &languageChange);
    QVERIFY(m_manager.isNull());
    CheckGoesOn();
}

QTEST_MAIN(tst_DownloadMgr_DeletedLate)
#include "tst_DownloadMgr_DeletedLate.moc"
