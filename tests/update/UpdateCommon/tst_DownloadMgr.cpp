// SPDX-License-Identifier: MIT

#include "tests/support/FakeTranslator.h"
#include "tests/support/LaterCalls.h"
#include "tests/support/LogCapture.h"
#include "tests/support/MetaMethods.h"
#include "tests/support/SystemTraits.h"
#include "tests/support/TestBytes.h"
#include "tests/update/UpdateRig.h"
#include "update/base/DownloadState.h"

#include <QNetworkAccessManager>
#include <QTcpServer>
#include <QtTest>

/// One downloader and its range: the request, the chunks, the state on disk, and every ending.
class tst_DownloadMgr : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void signals_and_slots_stand_in_their_order();
    void the_range_header_is_data();
    void the_range_header_is();
    void a_range_is_written_in_its_place_only();
    void progress_carries_the_bytes_of_each_chunk_and_one();
    void every_chunk_is_on_disk_before_it_is_told();
    void only_the_own_range_is_advanced();
    void an_ended_range_is_counted();
    void an_empty_range_sends_nothing_and_ends();

    void the_content_type_is_accepted_data();
    void the_content_type_is_accepted();
    void the_content_type_is_ignored_data();
    void the_content_type_is_ignored();

    void a_remote_close_is_silent_and_leaves_the_range_unfinished_data();
    void a_remote_close_is_silent_and_leaves_the_range_unfinished();
    void a_failure_is_told_once_and_logged_data();
    void a_failure_is_told_once_and_logged();
    void a_refused_connection_is_told_once();
    void a_target_that_cannot_be_opened_is_told_once_and_the_request_is_made();
    void a_missing_target_is_made_as_long_as_it_has_lost_nothing();
    void a_missing_target_that_had_bytes_is_a_failure();
    void a_target_that_vanishes_while_it_is_fetched_is_a_failure();
    void a_cancelled_reply_is_silent();
    void a_stopped_downloader_is_silent_for_good();
    void a_downloader_may_be_deleted_at_any_time();
    void saving_writes_the_position_and_the_total();

    void a_progress_slot_that_does_nothing();
    void the_error_texts_are_translated();

private:
    /// Starts @p number on the package, whose bytes @p start to @p end are its range.
    void Start(int number, qint64 start, qint64 end);
    void Serve(const HttpAnswer &answer) { m_rig->Server().Serve("/setup.exe", answer); }
    int Errors() const { return m_errors->count(); }
    QNetworkAccessManager *Network() const
    {
        return m_downloader->findChild<QNetworkAccessManager *>();
    }

    QByteArray m_package;
    LaterCalls m_later;
    std::unique_ptr<UpdateRig> m_rig;
    std::unique_ptr<DownloadMgr> m_downloader;
    std::unique_ptr<QSignalSpy> m_errors;
    std::unique_ptr<QSignalSpy> m_progress;
};

void tst_DownloadMgr::init()
{
    m_later = LaterCalls();
    m_rig = std::make_unique<UpdateRig>();
    m_package = gTestBytes(1000003);
    m_rig->WriteState(
        "1000003", "0",
        {{{0, 199999}, {200000, 399999}, {400000, 599999}, {600000, 799999}, {800000, 1000002}}});
    QVERIFY(gWriteFile(m_rig->Target(), QByteArray(m_package.size(), '\0')));
    gDownloadState().activeSegments = 5;
    gDownloadState().downloadStarted = true;
    m_rig->System().callLater = m_later.Seam();
    m_downloader = std::make_unique<DownloadMgr>(m_rig->Context(), nullptr);
    m_errors = std::make_unique<QSignalSpy>(m_downloader.get(), &DownloadMgr::Error);
    m_progress = std::make_unique<QSignalSpy>(m_downloader.get(), &DownloadMgr::DownloadProgress);
}

void tst_DownloadMgr::cleanup()
{
    m_errors.reset();
    m_progress.reset();
    m_downloader.reset();
    m_rig.reset();
}

void tst_DownloadMgr::Start(int number, qint64 start, qint64 end)
{
    m_downloader->ResumeDownload(m_rig->Target(), m_rig->Server().Url("/setup.exe"),
                                 m_rig->Installer(), start, end, number, false, QString(),
                                 QString());
}

void tst_DownloadMgr::signals_and_slots_stand_in_their_order()
{
    const QByteArrayList expectedSignals{"DownloadProgress(qlonglong,qlonglong)",
                                         "Error(QString)",
                                         "Close()",
                                         "DownloadFinished()",
                                         "BeginInstall()",
                                         "CancelInstall()",
                                         "InstallStarted()",
                                         "PatchIncreasePackageFaild()"};
    const QByteArrayList expectedSlots{"ReplyFinished(QNetworkReply*)",
                                       "ReadyRead()",
                                       "slotDownloadProgress(qlonglong,qlonglong)",
                                       "DownloadIncreasePackageProgress(qlonglong,qlonglong)",
                                       "ReplyError(QNetworkReply::NetworkError)",
                                       "_ReadyRead()",
                                       "_slotDownloadProgress(qlonglong,qlonglong)",
                                       "_DownloadFinished()"};
    const QMetaObject &meta = DownloadMgr::staticMetaObject;
    QCOMPARE(gOwnMethods(meta, QMetaMethod::Signal), expectedSignals);
    const QByteArrayList slotsInOrder = gOwnMethods(meta, QMetaMethod::Slot);
    QCOMPARE(slotsInOrder.mid(0, expectedSlots.size()), expectedSlots);
}

void tst_DownloadMgr::the_range_header_is_data()
{
    QTest::addColumn<int>("number");
    QTest::addColumn<qint64>("start");
    QTest::addColumn<qint64>("end");
    QTest::addColumn<QByteArray>("expected");
    QTest::newRow("both_ends_for_the_first_range")
        << 1 << qint64(0) << qint64(199999) << QByteArray("bytes=0-199999");
    QTest::newRow("both_ends_for_the_fourth_range")
        << 4 << qint64(600007) << qint64(799999) << QByteArray("bytes=600007-799999");
    QTest::newRow("open_ended_for_the_last_range")
        << 5 << qint64(800000) << qint64(1000002) << QByteArray("bytes=800000-");
    QTest::newRow("a_single_byte") << 2 << qint64(7) << qint64(7) << QByteArray("bytes=7-7");
    QTest::newRow("of_64_bits") << 3 << qint64(5000000000) << qint64(6000000000)
                                << QByteArray("bytes=5000000000-6000000000");
}

void tst_DownloadMgr::the_range_header_is()
{
    QFETCH(int, number);
    QFETCH(qint64, start);
    QFETCH(qint64, end);
    QFETCH(QByteArray, expected);
    Serve(HttpAnswer::Broken({}, HttpAnswer::Fault::Silence));
    Start(number, start, end);
    QTRY_COMPARE(m_rig->Server().Requests().size(), 1);
    QCOMPARE(m_rig->Server().Requests().first().method, QByteArray("GET"));
    QCOMPARE(m_rig->Server().Requests().first().headers.value("range"), expected);
}

void tst_DownloadMgr::a_range_is_written_in_its_place_only()
{
    Serve(HttpAnswer::Body(m_package));
    Start(2, 200000, 399999);
    QTRY_COMPARE(gDownloadState().finishedSegments, 1);
    QByteArray expected(m_package.size(), '\0');
    expected.replace(200000, 200000, m_package.mid(200000, 200000));
    QVERIFY(gReadFile(m_rig->Target()) == expected);
}

void tst_DownloadMgr::progress_carries_the_bytes_of_each_chunk_and_one()
{
    HttpAnswer answer = HttpAnswer::Body(m_package);
    answer.chunkSize = 30000;
    answer.chunkPauseMs = 60;
    Serve(answer);
    Start(2, 200000, 399999);
    QTRY_COMPARE(gDownloadState().finishedSegments, 1);
    QVERIFY(m_progress->count() > 1);
    qint64 sum = 0;
    for (const QList<QVariant> &arguments : qAsConst(*m_progress)) {
        sum += arguments.at(0).toLongLong();
        QCOMPARE(arguments.at(1).toLongLong(), qint64(1));
    }
    QCOMPARE(sum, qint64(200000));
    QCOMPARE(gDownloadState().alreadyDownloaded, qint64(200000));
}

void tst_DownloadMgr::every_chunk_is_on_disk_before_it_is_told()
{
    HttpAnswer answer = HttpAnswer::Body(m_package);
    answer.chunkSize = 20000;
    answer.chunkPauseMs = 5;
    Serve(answer);
    qint64 received = 0;
    QStringList mistakes;
    connect(m_downloader.get(), &DownloadMgr::DownloadProgress, this, [&](qint64 bytes, qint64) {
        received += bytes;
        const QMap<QString, QString> state = m_rig->State();
        if (state.value("DownLoad_Tasks/Start_Byte2") != QString::number(200000 + received)) {
            mistakes += "position " + state.value("DownLoad_Tasks/Start_Byte2");
        }
        if (state.value("AlreadyDownload_size/AlreadyDownload_size") != QString::number(received)) {
            mistakes += "total " + state.value("AlreadyDownload_size/AlreadyDownload_size");
        }
        if (gReadFile(m_rig->Target()).mid(200000, int(received)) !=
            m_package.mid(200000, int(received))) {
            mistakes += "bytes";
        }
    });
    Start(2, 200000, 399999);
    QTRY_COMPARE(received, qint64(200000));
    QCOMPARE(mistakes, QStringList());
}

void tst_DownloadMgr::only_the_own_range_is_advanced()
{
    QMap<QString, QString> expected = m_rig->State();
    Serve(HttpAnswer::Body(m_package));
    Start(3, 400000, 599999);
    QTRY_COMPARE(gDownloadState().finishedSegments, 1);
    expected["DownLoad_Tasks/Start_Byte3"] = "600000";
    expected["AlreadyDownload_size/AlreadyDownload_size"] = "200000";
    QCOMPARE(m_rig->State(), expected);
}

void tst_DownloadMgr::an_ended_range_is_counted()
{
    gDownloadState().finishedSegments = 2;
    gDownloadState().alreadyDownloaded = 11;
    Serve(HttpAnswer::Body(m_package));
    Start(2, 200000, 399999);
    QTRY_COMPARE(gDownloadState().finishedSegments, 3);
    QCOMPARE(gDownloadState().alreadyDownloaded, qint64(200011));
    QVERIFY2(gDownloadState().downloadStarted, "other ranges are still running");
    QCOMPARE(Errors(), 0);
    QCOMPARE(m_rig->Boxes(), 0);
}

void tst_DownloadMgr::an_empty_range_sends_nothing_and_ends()
{
    Serve(HttpAnswer::Body(m_package));
    Start(1, 0, -1);
    QTRY_COMPARE(gDownloadState().finishedSegments, 1);
    QCOMPARE(m_progress->count(), 0);
    QCOMPARE(Errors(), 0);
    QVERIFY(m_rig->Server().Requests().isEmpty());
}

void tst_DownloadMgr::the_content_type_is_accepted_data()
{
    QTest::addColumn<QByteArray>("type");
    QTest::newRow("of_plain_bytes") << QByteArray("application/octet-stream");
    QTest::newRow("of_a_windows_program") << QByteArray("application/x-msdownload");
    QTest::newRow("in_any_case") << QByteArray("Application/X-MSDownload");
    QTest::newRow("with_a_parameter") << QByteArray("application/octet-stream; charset=binary");
    QTest::newRow("with_a_parameter_without_a_blank")
        << QByteArray("APPLICATION/OCTET-STREAM;charset=binary");
}

void tst_DownloadMgr::the_content_type_is_accepted()
{
    QFETCH(QByteArray, type);
    HttpAnswer answer = HttpAnswer::Body(m_package);
    answer.contentType = type;
    Serve(answer);
    Start(1, 0, 199999);
    QTRY_COMPARE(gDownloadState().alreadyDownloaded, qint64(200000));
    QVERIFY(gReadFile(m_rig->Target()).left(200000) == m_package.left(200000));
}

void tst_DownloadMgr::the_content_type_is_ignored_data()
{
    QTest::addColumn<QByteArray>("type");
    QTest::newRow("of_a_web_page") << QByteArray("text/html; charset=utf-8");
    QTest::newRow("that_only_begins_alike") << QByteArray("application/octet-stream-2");
    QTest::newRow("that_is_missing") << QByteArray();
}

void tst_DownloadMgr::the_content_type_is_ignored()
{
    QFETCH(QByteArray, type);
    const QMap<QString, QString> state = m_rig->State();
    HttpAnswer answer = HttpAnswer::Body(m_package);
    answer.contentType = type;
    Serve(answer);
    Start(1, 0, 199999);
    // An ignored answer counts as none: the range is asked for again, and given up in the end.
    QTRY_COMPARE(m_later.Seconds(), QList<int>{1});
    QCOMPARE(gDownloadState().finishedSegments, 0);
    QCOMPARE(Errors(), 0);
    m_later.RunAtOnce();
    m_later.Run();
    QTRY_COMPARE(Errors(), 1);
    QCOMPARE(m_progress->count(), 0);
    QVERIFY(gReadFile(m_rig->Target()) == QByteArray(m_package.size(), '\0'));
    QCOMPARE(m_rig->State(), state);
}

void tst_DownloadMgr::a_remote_close_is_silent_and_leaves_the_range_unfinished_data()
{
    QTest::addColumn<int>("fault");
    QTest::addColumn<int>("bytes");
    QTest::newRow("within_the_body") << int(HttpAnswer::Fault::CloseAfter) << 70000;
    QTest::newRow("by_a_reset_within_the_body") << int(HttpAnswer::Fault::ResetAfter) << 70000;
    QTest::newRow("before_any_answer") << int(HttpAnswer::Fault::ResetAtOnce) << 0;
}

void tst_DownloadMgr::a_remote_close_is_silent_and_leaves_the_range_unfinished()
{
    QFETCH(int, fault);
    QFETCH(int, bytes);
    if (bytes == 0 && !gTellsOfEarlyResets()) {
        QSKIP("This system does not tell of a reset before the first byte.");
    }
    Serve(HttpAnswer::Broken(m_package, HttpAnswer::Fault(fault), bytes));
    Start(2, 200000, 399999);
    QTRY_COMPARE(m_later.Seconds().size(), 1);
    QCOMPARE(Errors(), 0);
    // Qt at times reports a body that is shorter than announced as a success. So only the number of
    // bytes decides.
    QCOMPARE(gDownloadState().finishedSegments, 0);
    QVERIFY(gDownloadState().downloadStarted);
    QCOMPARE(gDownloadState().alreadyDownloaded, qint64(bytes));
    QCOMPARE(m_rig->State().value("DownLoad_Tasks/Start_Byte2"), QString::number(200000 + bytes));
    QCOMPARE(m_rig->State().value("DownLoad_Tasks/End_Byte2"), QStringLiteral("399999"));
}

void tst_DownloadMgr::a_failure_is_told_once_and_logged_data()
{
    QTest::addColumn<int>("status");
    QTest::addColumn<QByteArray>("body");
    QTest::addColumn<int>("code");
    QTest::newRow("not_found") << 404 << QByteArray() << int(QNetworkReply::ContentNotFoundError);
    QTest::newRow("not_found_with_a_page")
        << 404 << QByteArray("<html/>") << int(QNetworkReply::ContentNotFoundError);
    QTest::newRow("a_failing_server")
        << 500 << QByteArray() << int(QNetworkReply::InternalServerError);
    QTest::newRow("a_range_out_of_reach")
        << 416 << QByteArray() << int(QNetworkReply::UnknownContentError);
    QTest::newRow("an_overloaded_server")
        << 503 << QByteArray("later") << int(QNetworkReply::ServiceUnavailableError);
    QTest::newRow("too_many_requests")
        << 429 << QByteArray("later") << int(QNetworkReply::UnknownContentError);
}

void tst_DownloadMgr::a_failure_is_told_once_and_logged()
{
    QFETCH(int, status);
    QFETCH(QByteArray, body);
    QFETCH(int, code);
    const LogCapture log;
    const QMap<QString, QString> state = m_rig->State();
    HttpAnswer answer = HttpAnswer::Status(status);
    answer.body = body;
    answer.contentType = "text/html";
    Serve(answer);
    const QSignalSpy finished(Network(), &QNetworkAccessManager::finished);
    Start(4, 600000, 799999);
    QTRY_COMPARE(Errors(), 1);
    QTRY_VERIFY(finished.count() >= 1);
    QCoreApplication::processEvents();
    QCOMPARE(Errors(), 1);
    QCOMPARE(m_errors->first().first().toString(),
             QStringLiteral("Failed to download the update."));
    QCOMPARE(log.Count("UpdateCommon", "DownloadMgr::ReplyError",
                       QString("Failed to download the update errcode = %1  4").arg(code)),
             1);
    QVERIFY(log.Count("UpdateCommon", "DownloadMgr::ReplyFinished",
                      QString("Download Filed  error code %1").arg(code)) >= 1);
    QCOMPARE(m_later.Seconds(), QList<int>());
    QCOMPARE(m_rig->State(), state);
    QVERIFY(gReadFile(m_rig->Target()) == QByteArray(m_package.size(), '\0'));
}

void tst_DownloadMgr::a_refused_connection_is_told_once()
{
    QTcpServer closed;
    QVERIFY(closed.listen(QHostAddress::LocalHost));
    const QUrl url(QString("http://127.0.0.1:%1/setup.exe").arg(closed.serverPort()));
    closed.close();
    const LogCapture log;
    m_downloader->ResumeDownload(m_rig->Target(), url, m_rig->Installer(), 0, 199999, 1, false,
                                 QString(), QString());
    QTRY_COMPARE(Errors(), 1);
    QCoreApplication::processEvents();
    QCOMPARE(Errors(), 1);
    QCOMPARE(log.Count("UpdateCommon", "DownloadMgr::ReplyError",
                       "Failed to download the update errcode = 1  1"),
             1);
    // Nothing has answered before, so the address may be wrong; the user is told at once.
    QCOMPARE(m_later.Seconds(), QList<int>());
}

void tst_DownloadMgr::a_target_that_cannot_be_opened_is_told_once_and_the_request_is_made()
{
    const QString target = m_rig->Path("no folder/target.tmp");
    const LogCapture log;
    Serve(HttpAnswer::Body(m_package));
    const QSignalSpy finished(Network(), &QNetworkAccessManager::finished);
    m_downloader->ResumeDownload(target, m_rig->Server().Url("/setup.exe"), m_rig->Installer(), 0,
                                 199999, 1, false, QString(), QString());
    QCOMPARE(Errors(), 1);
    QCOMPARE(m_errors->first().first().toString(), QStringLiteral("File open error!"));
    QVERIFY(log.Count("UpdateCommon", "DownloadMgr::ResumeDownload",
                      "file open error!!! file path = " + target) == 1);
    QTRY_COMPARE(m_rig->Server().Requests("GET").size(), 1);
    QTRY_VERIFY(finished.count() >= 1);
    QCoreApplication::processEvents();
    QCOMPARE(Errors(), 1);
    QCOMPARE(m_progress->count(), 0);
}

void tst_DownloadMgr::a_missing_target_is_made_as_long_as_it_has_lost_nothing()
{
    QVERIFY(QFile::remove(m_rig->Target()));
    Serve(HttpAnswer::Body(m_package));
    Start(2, 200000, 399999);
    QVERIFY(QFile::exists(m_rig->Target()));
    QTRY_COMPARE(gDownloadState().finishedSegments, 1);
    QVERIFY(gReadFile(m_rig->Target()) == QByteArray(200000, '\0') + m_package.mid(200000, 200000));
    QCOMPARE(Errors(), 0);
}

void tst_DownloadMgr::a_missing_target_that_had_bytes_is_a_failure()
{
    QVERIFY(QFile::remove(m_rig->Target()));
    gDownloadState().alreadyDownloaded = 1;
    Serve(HttpAnswer::Body(m_package));
    Start(2, 200001, 399999);
    QCOMPARE(Errors(), 1);
    QCOMPARE(m_errors->first().first().toString(), QStringLiteral("File open error!"));
    QTRY_VERIFY(!m_downloader->IsRunning());
    QVERIFY(!QFile::exists(m_rig->Target()));
}

void tst_DownloadMgr::a_target_that_vanishes_while_it_is_fetched_is_a_failure()
{
    if (!gRemovesOpenFiles()) {
        QSKIP("On this system a file that is open does not vanish.");
    }
    HttpAnswer answer = HttpAnswer::Body(m_package);
    answer.chunkSize = 50000;
    answer.chunkPauseMs = 100;
    Serve(answer);
    connect(m_downloader.get(), &DownloadMgr::DownloadProgress, this,
            [this] { QFile::remove(m_rig->Target()); });
    Start(2, 200000, 399999);
    QTRY_COMPARE(Errors(), 1);
    QCOMPARE(m_errors->first().first().toString(), QStringLiteral("File open error!"));
    QVERIFY(!QFile::exists(m_rig->Target()));
}

void tst_DownloadMgr::a_cancelled_reply_is_silent()
{
    Serve(HttpAnswer::Broken(m_package, HttpAnswer::Fault::StallAfter, 500));
    Start(2, 200000, 399999);
    QTRY_COMPARE(gDownloadState().alreadyDownloaded, qint64(500));
    auto *reply = m_downloader->findChild<QNetworkReply *>();
    QVERIFY(reply);
    reply->abort();
    QTRY_COMPARE(m_rig->Server().OpenConnections(), 0);
    QCOMPARE(Errors(), 0);
    QCOMPARE(m_rig->State().value("DownLoad_Tasks/Start_Byte2"), QStringLiteral("200500"));
}

void tst_DownloadMgr::a_stopped_downloader_is_silent_for_good()
{
    Serve(HttpAnswer::Broken(m_package, HttpAnswer::Fault::StallAfter, 500));
    Start(2, 200000, 399999);
    QTRY_COMPARE(gDownloadState().alreadyDownloaded, qint64(500));
    const int told = m_progress->count();
    const QSignalSpy closed(m_downloader.get(), &DownloadMgr::Close);
    m_downloader->Stop();
    QTRY_COMPARE(m_rig->Server().OpenConnections(), 0);
    QCOMPARE(Errors(), 0);
    QCOMPARE(closed.count(), 0);
    QCOMPARE(m_progress->count(), told);
    QCOMPARE(gDownloadState().finishedSegments, 0);
    QCOMPARE(gDownloadState().alreadyDownloaded, qint64(500));
    m_downloader->Stop();
    QCOMPARE(Errors(), 0);
}

void tst_DownloadMgr::a_downloader_may_be_deleted_at_any_time()
{
    std::make_unique<DownloadMgr>(m_rig->Context(), nullptr);
    Serve(HttpAnswer::Broken(m_package, HttpAnswer::Fault::StallAfter, 500));
    Start(2, 200000, 399999);
    QTRY_COMPARE(gDownloadState().alreadyDownloaded, qint64(500));
    m_downloader.reset();
    QTRY_COMPARE(m_rig->Server().OpenConnections(), 0);
    QCOMPARE(m_rig->State().value("DownLoad_Tasks/Start_Byte2"), QStringLiteral("200500"));
}

void tst_DownloadMgr::saving_writes_the_position_and_the_total()
{
    Serve(HttpAnswer::Broken(m_package, HttpAnswer::Fault::StallAfter, 500));
    Start(5, 800000, 1000002);
    QTRY_COMPARE(gDownloadState().alreadyDownloaded, qint64(500));
    // On some systems a file that is open cannot be removed; then it is emptied.
    QVERIFY(gRemovesOpenFiles() ? QFile::remove(m_rig->StateFile())
                                : gWriteFile(m_rig->StateFile(), QByteArray()));
    gDownloadState().alreadyDownloaded = 123;
    m_downloader->SaveResumeState();
    QCOMPARE(m_rig->State().value("DownLoad_Tasks/Start_Byte5"), QStringLiteral("800500"));
    QCOMPARE(m_rig->State().value("AlreadyDownload_size/AlreadyDownload_size"),
             QStringLiteral("123"));
}

void tst_DownloadMgr::a_progress_slot_that_does_nothing()
{
    m_downloader->_slotDownloadProgress(5, 5);
    QCOMPARE(m_progress->count(), 0);
    QCOMPARE(Errors(), 0);
}

void tst_DownloadMgr::the_error_texts_are_translated()
{
    FakeTranslator translator;
    translator.Add("DownloadMgr", "Failed to download the update.", "download, translated");
    translator.Add("DownloadMgr", "File open error!", "file, translated");
    QCoreApplication::installTranslator(&translator);
    Serve(HttpAnswer::Status(404));
    Start(1, 0, 199999);
    QTRY_COMPARE(Errors(), 1);
    QCOMPARE(m_errors->last().first().toString(), QStringLiteral("download, translated"));
    DownloadMgr other(m_rig->Context(), nullptr);
    const QSignalSpy otherErrors(&other, &DownloadMgr::Error);
    other.ResumeDownload(m_rig->Path("no folder/target.tmp"), m_rig->Server().Url("/setup.exe"),
                         m_rig->Installer(), 0, 199999, 1, false, QString(), QString());
    QCOMPARE(otherErrors.first().first().toString(), QStringLiteral("file, translated"));
    // A change of the language repeats the last failure in the new one.
    translator.Add("DownloadMgr", "Failed to download the update.", "download, again");
    QEvent languageChange(QEvent::LanguageChange);
    QCoreApplication::sendEvent(m_downloader.get(), &languageChange);
    QCOMPARE(m_errors->last().first().toString(), QStringLiteral("download, again"));
}

QTEST_MAIN(tst_DownloadMgr)
#include "tst_DownloadMgr.moc"
