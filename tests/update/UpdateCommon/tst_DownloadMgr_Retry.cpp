// SPDX-License-Identifier: MIT

#include "tests/support/LaterCalls.h"
#include "tests/support/LogCapture.h"
#include "tests/support/TestBytes.h"
#include "tests/update/UpdateRig.h"
#include "update/base/DownloadState.h"

#include <QtTest>

using namespace std::chrono_literals;

/// One range against a server that stalls, closes connections early, and sends wrong answers.
/// Delayed calls are made by the test; only the watchdog uses real time, with a short limit.
class tst_DownloadMgr_Retry : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void a_cut_range_is_asked_for_again_from_the_next_byte();
    void the_last_range_is_asked_for_again_open_ended();
    void without_a_byte_it_is_asked_for_five_times_and_then_given_up();
    void a_byte_starts_the_waits_anew();
    void a_short_body_is_asked_for_again();
    void a_server_that_is_away_for_a_while_is_asked_again();
    void a_server_that_is_away_behind_a_stall_is_asked_again();
    void a_stopped_range_is_not_asked_for_again();
    void a_redirected_package_that_is_cut_is_fetched_whole_again();
    void a_redirected_package_that_is_always_cut_is_given_up();
    void a_redirected_package_that_comes_no_further_is_given_up_data();
    void a_redirected_package_that_comes_no_further_is_given_up();
    void a_redirected_package_that_comes_further_each_time_is_asked_for_again();
    void a_chain_of_redirects_is_followed_data();
    void a_chain_of_redirects_is_followed();

    void a_stalled_range_is_asked_for_again_from_the_next_byte();
    void after_three_stalls_without_a_byte_the_range_is_given_up();
    void a_slow_range_that_delivers_is_left_alone();
    void a_range_with_all_its_bytes_does_not_wait_for_the_end_of_the_reply();

    void an_answer_is_refused_before_a_byte_is_written_data();
    void an_answer_is_refused_before_a_byte_is_written();
    void a_page_is_ignored_whatever_its_length_data();
    void a_page_is_ignored_whatever_its_length();
    void a_page_does_not_name_the_version_of_the_package();
    void nothing_is_written_past_the_end_of_the_range_data();
    void nothing_is_written_past_the_end_of_the_range();
    void a_package_that_is_replaced_between_ranges_is_refused_and_planned_anew();
    void a_redirect_to_a_file_of_this_machine_is_not_followed();
    void no_query_reaches_the_log();

private:
    void Start(int number, qint64 start, qint64 end, const QString &path = "/setup.exe");
    void Serve(const HttpAnswer &answer) { m_rig->Server().Serve("/setup.exe", answer); }
    /// The Range headers in their order. Qt itself may repeat a request when the server closes the
    /// connection before the answer was read; so two equal ones in a row count once.
    QList<QByteArray> Asked() const
    {
        QList<QByteArray> ranges;
        const QList<HttpRequest> requests = m_rig->Server().Requests("GET");
        for (const HttpRequest &request : requests) {
            const QByteArray range = request.headers.value("range", "-");
            if (ranges.isEmpty() || ranges.last() != range || range == "-") {
                ranges.append(range);
            }
        }
        return ranges;
    }
    int Errors() const { return m_errors->count(); }
    QByteArray Target() const { return gReadFile(m_rig->Target()); }

    QByteArray m_package;
    LaterCalls m_later;
    std::unique_ptr<UpdateRig> m_rig;
    std::unique_ptr<DownloadMgr> m_downloader;
    std::unique_ptr<QSignalSpy> m_errors;
};

void tst_DownloadMgr_Retry::init()
{
    m_rig = std::make_unique<UpdateRig>();
    m_package = gTestBytes(50000);
    m_rig->WriteState(
        "50000", "0",
        {{{0, 9999}, {10000, 19999}, {20000, 29999}, {30000, 39999}, {40000, 49999}}});
    QVERIFY(gWriteFile(m_rig->Target(), QByteArray(m_package.size(), '\0')));
    gDownloadState().activeSegments = 5;
    gDownloadState().downloadStarted = true;
    m_later = LaterCalls();
    m_rig->System().callLater = m_later.Seam();
}

void tst_DownloadMgr_Retry::cleanup()
{
    m_errors.reset();
    m_downloader.reset();
    m_rig.reset();
}

void tst_DownloadMgr_Retry::Start(int number, qint64 start, qint64 end, const QString &path)
{
    m_downloader = std::make_unique<DownloadMgr>(m_rig->Context(), nullptr);
    m_errors = std::make_unique<QSignalSpy>(m_downloader.get(), &DownloadMgr::Error);
    m_downloader->ResumeDownload(m_rig->Target(), m_rig->Server().Url(path), m_rig->Installer(),
                                 start, end, number, false, QString(), QString());
}

void tst_DownloadMgr_Retry::a_cut_range_is_asked_for_again_from_the_next_byte()
{
    Serve(HttpAnswer::Broken(m_package, HttpAnswer::Fault::CloseAfter, 3000));
    Start(2, 10000, 19999);
    QTRY_COMPARE(m_later.Seconds(), QList<int>{1});
    QCOMPARE(m_rig->State().value("DownLoad_Tasks/Start_Byte2"), QStringLiteral("13000"));
    QVERIFY2(m_downloader->IsRunning(), "the range has not ended");
    Serve(HttpAnswer::Body(m_package));
    m_later.Run();
    QTRY_COMPARE(gDownloadState().finishedSegments, 1);
    const QList<QByteArray> expected{"bytes=10000-19999", "bytes=13000-19999"};
    QCOMPARE(Asked(), expected);
    QVERIFY(Target().mid(10000, 10000) == m_package.mid(10000, 10000));
    QCOMPARE(gDownloadState().alreadyDownloaded, qint64(10000));
    QCOMPARE(Errors(), 0);
}

void tst_DownloadMgr_Retry::the_last_range_is_asked_for_again_open_ended()
{
    Serve(HttpAnswer::Broken(m_package, HttpAnswer::Fault::CloseAfter, 3000));
    Start(5, 40000, 49999);
    QTRY_COMPARE(m_later.Seconds(), QList<int>{1});
    Serve(HttpAnswer::Body(m_package));
    m_later.Run();
    QTRY_COMPARE(gDownloadState().finishedSegments, 1);
    const QList<QByteArray> expected{"bytes=40000-", "bytes=43000-"};
    QCOMPARE(Asked(), expected);
}

void tst_DownloadMgr_Retry::without_a_byte_it_is_asked_for_five_times_and_then_given_up()
{
    const LogCapture log;
    m_later.RunAtOnce();
    Serve(HttpAnswer::Broken(m_package, HttpAnswer::Fault::CloseAfter, 0));
    Start(2, 10000, 19999);
    QTRY_COMPARE(Errors(), 1);
    QCOMPARE(m_errors->first().first().toString(),
             QStringLiteral("Failed to download the update."));
    const QList<int> expected{1, 2, 4, 8, 16};
    QCOMPARE(m_later.Seconds(), expected);
    QVERIFY(m_rig->Server().Requests("GET").size() >= 6);
    QCOMPARE(log.CountContaining("range 2 is given up, cut 6 times without a byte"), 1);
    QCOMPARE(m_rig->State().value("DownLoad_Tasks/Start_Byte2"), QStringLiteral("10000"));
    QVERIFY(!m_downloader->IsRunning());
}

void tst_DownloadMgr_Retry::a_byte_starts_the_waits_anew()
{
    Serve(HttpAnswer::Broken(m_package, HttpAnswer::Fault::CloseAfter, 0));
    Start(2, 10000, 19999);
    QTRY_COMPARE(m_later.Seconds().size(), 1);
    m_later.Run();
    QTRY_COMPARE(m_later.Seconds().size(), 2);
    Serve(HttpAnswer::Broken(m_package, HttpAnswer::Fault::CloseAfter, 1));
    m_later.Run();
    const QList<int> expected{1, 2, 1};
    QTRY_COMPARE(m_later.Seconds(), expected);
    QCOMPARE(Errors(), 0);
}

void tst_DownloadMgr_Retry::a_short_body_is_asked_for_again()
{
    const LogCapture log;
    HttpAnswer answer;
    answer.status = 206;
    answer.ranges = false;
    answer.announceLength = false;
    answer.body = m_package.mid(10000, 4000);
    answer.headers = {{"Content-Range", "bytes 10000-19999/50000"}};
    Serve(answer);
    Start(2, 10000, 19999);
    QTRY_COMPARE(m_later.Seconds(), QList<int>{1});
    QCOMPARE(log.CountContaining("short body, range 2 ended at byte 14000"), 1);
    QCOMPARE(gDownloadState().finishedSegments, 0);
    Serve(HttpAnswer::Body(m_package));
    m_later.Run();
    QTRY_COMPARE(gDownloadState().finishedSegments, 1);
    QVERIFY(Target().mid(10000, 10000) == m_package.mid(10000, 10000));
}

void tst_DownloadMgr_Retry::a_server_that_is_away_for_a_while_is_asked_again()
{
    auto server = std::make_unique<HttpServer>();
    server->Serve("/setup.exe", HttpAnswer::Broken(m_package, HttpAnswer::Fault::CloseAfter, 3000));
    m_downloader = std::make_unique<DownloadMgr>(m_rig->Context(), nullptr);
    m_errors = std::make_unique<QSignalSpy>(m_downloader.get(), &DownloadMgr::Error);
    m_downloader->ResumeDownload(m_rig->Target(), server->Url("/setup.exe"), m_rig->Installer(),
                                 10000, 19999, 2, false, QString(), QString());
    QTRY_COMPARE(m_later.Seconds(), QList<int>{1});
    server.reset();
    m_later.Run();
    // After a cut, a server that cannot be reached is no failure yet.
    QTRY_COMPARE(m_later.Seconds().size(), 2);
    QCOMPARE(Errors(), 0);
    m_later.RunAtOnce();
    m_later.Run();
    QTRY_COMPARE(Errors(), 1);
    const QList<int> expected{1, 2, 4, 8, 16};
    QCOMPARE(m_later.Seconds(), expected);
}

void tst_DownloadMgr_Retry::a_server_that_is_away_behind_a_stall_is_asked_again()
{
    const LogCapture log;
    m_rig->System().stallLimit = 200ms;
    Serve(HttpAnswer::Broken(m_package, HttpAnswer::Fault::StallAfter, 500));
    Start(2, 10000, 19999);
    QTRY_COMPARE(gDownloadState().alreadyDownloaded, qint64(500));
    m_rig->Server().StopListening();
    QTRY_COMPARE(m_later.Seconds(), QList<int>{1});
    QCOMPARE(log.CountContaining("range 2 was cut, it is asked for again"), 1);
    QVERIFY(m_downloader->IsRunning());
    m_later.Run();
    const QList<int> expected{1, 2};
    QTRY_COMPARE(m_later.Seconds(), expected);
    m_rig->Server().ListenAgain();
    Serve(HttpAnswer::Body(m_package));
    m_later.Run();
    QTRY_COMPARE(gDownloadState().finishedSegments, 1);
    QVERIFY(Target().mid(10000, 10000) == m_package.mid(10000, 10000));
    QCOMPARE(Errors(), 0);
}

void tst_DownloadMgr_Retry::a_stopped_range_is_not_asked_for_again()
{
    Serve(HttpAnswer::Broken(m_package, HttpAnswer::Fault::CloseAfter, 3000));
    Start(2, 10000, 19999);
    QTRY_COMPARE(m_later.Seconds().size(), 1);
    m_downloader->Stop();
    QTRY_COMPARE(m_rig->Server().OpenConnections(), 0);
    m_later.Run();
    for (const QNetworkReply *reply : m_downloader->findChildren<QNetworkReply *>()) {
        QVERIFY(reply->error() != QNetworkReply::NoError);
    }
    QCOMPARE(Asked(), QList<QByteArray>{"bytes=10000-19999"});
    QCOMPARE(Errors(), 0);
}

void tst_DownloadMgr_Retry::a_redirected_package_that_is_cut_is_fetched_whole_again()
{
    Serve(HttpAnswer::Redirect("/moved"));
    m_rig->Server().Serve("/moved",
                          HttpAnswer::Broken(m_package, HttpAnswer::Fault::CloseAfter, 20000));
    Start(2, 10000, 19999);
    QTRY_COMPARE(m_later.Seconds(), QList<int>{1});
    m_rig->Server().Serve("/moved", HttpAnswer::Body(m_package));
    m_later.Run();
    QTRY_COMPARE(m_rig->Boxes(), 1);
    const QList<QByteArray> expected{"bytes=10000-19999", "-", "-"};
    QCOMPARE(Asked(), expected);
    QVERIFY(gReadFile(m_rig->Installer()) == m_package);
}

void tst_DownloadMgr_Retry::a_redirected_package_that_is_always_cut_is_given_up()
{
    m_later.RunAtOnce();
    // Once in many runs Qt does not report a reset; then the range stalls, which this limit ends.
    m_rig->System().stallLimit = 500ms;
    Serve(HttpAnswer::Redirect("/moved"));
    m_rig->Server().Serve("/moved",
                          HttpAnswer::Broken(m_package, HttpAnswer::Fault::ResetAfter, 20000));
    Start(2, 10000, 19999);
    QTRY_COMPARE(Errors(), 1);
    QVERIFY(m_later.Seconds().size() < 15);
    QVERIFY(!QFile::exists(m_rig->Installer()));
}

void tst_DownloadMgr_Retry::a_redirected_package_that_comes_no_further_is_given_up_data()
{
    QTest::addColumn<int>("laterCuts");
    QTest::newRow("cut_at_the_same_byte") << 20000;
    QTest::newRow("cut_at_an_earlier_byte") << 10000;
}

void tst_DownloadMgr_Retry::a_redirected_package_that_comes_no_further_is_given_up()
{
    QFETCH(int, laterCuts);
    m_later.RunAtOnce();
    Serve(HttpAnswer::Redirect("/moved"));
    const FaultAnswer package = FaultAnswer::File(m_package);
    FaultScript script;
    script.When("GET", "/moved").Answer(package.CutAfter(20000)).Then(package.CutAfter(laterCuts));
    m_rig->Server().Play(script);
    Start(2, 10000, 19999);
    QTRY_COMPARE(Errors(), 1);
    const QList<int> expected{1, 2, 4, 8, 16};
    QCOMPARE(m_later.Seconds(), expected);
}

void tst_DownloadMgr_Retry::a_redirected_package_that_comes_further_each_time_is_asked_for_again()
{
    m_later.RunAtOnce();
    Serve(HttpAnswer::Redirect("/moved"));
    const FaultAnswer package = FaultAnswer::File(m_package);
    FaultScript script;
    FaultRule &moved = script.When("GET", "/moved");
    // All of them below the first byte of the range, which says nothing about the package.
    for (const int cut : {1000, 2000, 3000, 4000, 5000, 6000, 7000}) {
        moved.Then(package.CutAfter(cut));
    }
    moved.Then(package);
    m_rig->Server().Play(script);
    Start(2, 10000, 19999);
    QTRY_COMPARE(m_rig->Boxes(), 1);
    QVERIFY(gReadFile(m_rig->Installer()) == m_package);
    const QList<int> expected{1, 1, 1, 1, 1, 1, 1};
    QCOMPARE(m_later.Seconds(), expected);
    QCOMPARE(Errors(), 0);
}

void tst_DownloadMgr_Retry::a_chain_of_redirects_is_followed_data()
{
    QTest::addColumn<int>("redirects");
    QTest::addColumn<bool>("isFollowed");
    QTest::newRow("of_ten") << 10 << true;
    QTest::newRow("not_of_eleven") << 11 << false;
}

void tst_DownloadMgr_Retry::a_chain_of_redirects_is_followed()
{
    QFETCH(int, redirects);
    QFETCH(bool, isFollowed);
    const LogCapture log;
    QByteArray path = "/setup.exe";
    for (int number = 1; number <= redirects; ++number) {
        const QByteArray next = "/" + QByteArray::number(number);
        m_rig->Server().Serve(path, HttpAnswer::Redirect(next));
        path = next;
    }
    m_rig->Server().Serve(path, HttpAnswer::Body(m_package));
    Start(2, 10000, 19999);
    if (isFollowed) {
        QTRY_COMPARE(m_rig->Boxes(), 1);
        QVERIFY(gReadFile(m_rig->Installer()) == m_package);
        QCOMPARE(Errors(), 0);
    } else {
        QTRY_COMPARE(Errors(), 1);
        QCOMPARE(log.CountContaining("redirect no. 11 to "), 1);
    }
}

void tst_DownloadMgr_Retry::a_stalled_range_is_asked_for_again_from_the_next_byte()
{
    const LogCapture log;
    m_rig->System().stallLimit = 200ms;
    Serve(HttpAnswer::Broken(m_package, HttpAnswer::Fault::StallAfter, 500));
    Start(2, 10000, 19999);
    QTRY_COMPARE(gDownloadState().alreadyDownloaded, qint64(500));
    Serve(HttpAnswer::Body(m_package));
    QTRY_COMPARE(gDownloadState().finishedSegments, 1);
    const QList<QByteArray> expected{"bytes=10000-19999", "bytes=10500-19999"};
    QCOMPARE(Asked(), expected);
    QVERIFY(Target().mid(10000, 10000) == m_package.mid(10000, 10000));
    QVERIFY(log.CountContaining("stall, range 2 has received nothing for 200 ms") >= 1);
    QCOMPARE(Errors(), 0);
    QCOMPARE(m_later.Seconds(), QList<int>());
}

void tst_DownloadMgr_Retry::after_three_stalls_without_a_byte_the_range_is_given_up()
{
    m_rig->System().stallLimit = 100ms;
    Serve(HttpAnswer::Broken({}, HttpAnswer::Fault::Silence));
    Start(2, 10000, 19999);
    QTRY_COMPARE(Errors(), 1);
    QCOMPARE(m_errors->first().first().toString(),
             QStringLiteral("Failed to download the update."));
    QCOMPARE(m_rig->Server().Requests("GET").size(), 3);
    QTRY_COMPARE(m_rig->Server().OpenConnections(), 0);
}

void tst_DownloadMgr_Retry::a_slow_range_that_delivers_is_left_alone()
{
    m_rig->System().stallLimit = 1000ms;
    HttpAnswer answer = HttpAnswer::Body(m_package);
    answer.chunkSize = 400;
    answer.chunkPauseMs = 100;
    Serve(answer);
    Start(2, 10000, 19999);
    QTRY_COMPARE(gDownloadState().finishedSegments, 1);
    QCOMPARE(m_rig->Server().Requests("GET").size(), 1);
    QCOMPARE(Errors(), 0);
}

void tst_DownloadMgr_Retry::a_range_with_all_its_bytes_does_not_wait_for_the_end_of_the_reply()
{
    HttpAnswer answer = HttpAnswer::Broken(m_package, HttpAnswer::Fault::StallAfter, 10000);
    answer.announceLength = false;
    Serve(answer);
    Start(2, 10000, 19999);
    QTRY_COMPARE(gDownloadState().finishedSegments, 1);
    QTRY_COMPARE(m_rig->Server().OpenConnections(), 0);
}

void tst_DownloadMgr_Retry::an_answer_is_refused_before_a_byte_is_written_data()
{
    QTest::addColumn<int>("status");
    QTest::addColumn<QByteArray>("contentRange");
    QTest::addColumn<QByteArray>("encoding");
    QTest::addColumn<int>("size");
    QTest::newRow("the_whole_package") << 200 << QByteArray() << QByteArray() << 50000;
    QTest::newRow("another_offset")
        << 206 << QByteArray("bytes 0-9999/50000") << QByteArray() << 10000;
    QTest::newRow("a_compressed_part")
        << 206 << QByteArray("bytes 10000-19999/50000") << QByteArray("gzip") << 10000;
    QTest::newRow("a_part_of_another_package")
        << 206 << QByteArray("bytes 10000-19999/60000") << QByteArray() << 10000;
}

void tst_DownloadMgr_Retry::an_answer_is_refused_before_a_byte_is_written()
{
    QFETCH(int, status);
    QFETCH(QByteArray, contentRange);
    QFETCH(QByteArray, encoding);
    QFETCH(int, size);
    const LogCapture log;
    HttpAnswer answer = HttpAnswer::Body(m_package.left(size));
    answer.status = status;
    answer.ranges = false;
    if (!contentRange.isEmpty()) {
        answer.headers.append({"Content-Range", contentRange});
    }
    if (!encoding.isEmpty()) {
        answer.headers.append({"Content-Encoding", encoding});
    }
    Serve(answer);
    Start(2, 10000, 19999);
    QTRY_COMPARE(Errors(), 1);
    QCOMPARE(m_errors->first().first().toString(),
             QStringLiteral("Failed to download the update."));
    QVERIFY(Target() == QByteArray(50000, '\0'));
    QCOMPARE(gDownloadState().alreadyDownloaded, qint64(0));
    QCOMPARE(log.CountContaining(QString("range 2 is refused, HTTP status %1, ").arg(status)), 1);
    QCOMPARE(m_later.Seconds(), QList<int>());
    QVERIFY(!m_downloader->IsRunning());
}

void tst_DownloadMgr_Retry::a_page_is_ignored_whatever_its_length_data()
{
    QTest::addColumn<int>("size");
    QTest::addColumn<QByteArray>("contentRange");
    QTest::addColumn<QByteArray>("encoding");
    QTest::newRow("of_one_byte") << 1 << QByteArray() << QByteArray();
    QTest::newRow("of_one_byte_less_than_asked_for") << 9999 << QByteArray() << QByteArray();
    QTest::newRow("as_long_as_asked_for") << 10000 << QByteArray() << QByteArray();
    QTest::newRow("longer_than_the_package") << 70000 << QByteArray() << QByteArray();
    QTest::newRow("of_another_offset") << 10000 << QByteArray("bytes 0-9999/50000") << QByteArray();
    QTest::newRow("of_another_package")
        << 10000 << QByteArray("bytes 10000-19999/70000") << QByteArray();
    QTest::newRow("compressed") << 500 << QByteArray() << QByteArray("br");
}

void tst_DownloadMgr_Retry::a_page_is_ignored_whatever_its_length()
{
    QFETCH(int, size);
    QFETCH(QByteArray, contentRange);
    QFETCH(QByteArray, encoding);
    const LogCapture log;
    HttpAnswer page = HttpAnswer::Body(QByteArray(size, 'p'));
    page.contentType = "text/html; charset=utf-8";
    page.ranges = false;
    page.headers.append({"Content-Range", contentRange});
    page.headers.append({"Content-Encoding", encoding});
    Serve(page);
    Start(2, 10000, 19999);
    QTRY_COMPARE(m_later.Seconds(), QList<int>{1});
    QCOMPARE(log.CountContaining("range 2 is ignored, wrong content type \"text/html\""), 1);
    QVERIFY(Target() == QByteArray(50000, '\0'));
    QCOMPARE(m_rig->State().value("DownLoad_Tasks/Start_Byte2"), QStringLiteral("10000"));
    QCOMPARE(Errors(), 0);
    Serve(HttpAnswer::Body(m_package));
    m_later.Run();
    QTRY_COMPARE(gDownloadState().finishedSegments, 1);
    QVERIFY(Target().mid(10000, 10000) == m_package.mid(10000, 10000));
}

void tst_DownloadMgr_Retry::a_page_does_not_name_the_version_of_the_package()
{
    HttpAnswer answer = HttpAnswer::Body(m_package);
    answer.contentType = "text/html";
    answer.headers = {{"ETag", "\"of the page\""}};
    Serve(answer);
    Start(2, 10000, 19999);
    QTRY_COMPARE(m_later.Seconds(), QList<int>{1});
    QCOMPARE(gDownloadState().validator, QByteArray());
    answer = HttpAnswer::Body(m_package);
    answer.headers = {{"ETag", "\"of the package\""}};
    Serve(answer);
    m_later.Run();
    QTRY_COMPARE(gDownloadState().finishedSegments, 1);
    QCOMPARE(gDownloadState().validator, QByteArray("\"of the package\""));
    QCOMPARE(Errors(), 0);
}

void tst_DownloadMgr_Retry::nothing_is_written_past_the_end_of_the_range_data()
{
    QTest::addColumn<int>("number");
    QTest::newRow("of_a_middle_range") << 2;
    QTest::newRow("of_the_package") << 5;
}

void tst_DownloadMgr_Retry::nothing_is_written_past_the_end_of_the_range()
{
    QFETCH(int, number);
    const qint64 start = number == 2 ? 10000 : 40000;
    HttpAnswer answer;
    answer.status = 206;
    answer.ranges = false;
    answer.body = m_package.mid(int(start), 10000) + QByteArray(5000, 'x');
    answer.headers = {{"Content-Range", "bytes " + QByteArray::number(start) + "-" +
                                            QByteArray::number(start + 9999) + "/50000"}};
    Serve(answer);
    Start(number, start, start + 9999);
    QTRY_COMPARE(gDownloadState().finishedSegments, 1);
    QByteArray expected(50000, '\0');
    expected.replace(int(start), 10000, m_package.mid(int(start), 10000));
    QVERIFY(Target() == expected);
    QCOMPARE(gDownloadState().alreadyDownloaded, qint64(10000));
    QCOMPARE(Errors(), 0);
}

void tst_DownloadMgr_Retry::a_package_that_is_replaced_between_ranges_is_refused_and_planned_anew()
{
    const LogCapture log;
    HttpAnswer answer = HttpAnswer::Body(m_package);
    answer.headers = {{"ETag", "\"one\""}};
    Serve(answer);
    Start(1, 0, 9999);
    QTRY_COMPARE(gDownloadState().finishedSegments, 1);
    answer.headers = {{"ETag", "\"two\""}};
    Serve(answer);
    Start(2, 10000, 19999);
    QTRY_COMPARE(Errors(), 1);
    QVERIFY(Target().mid(10000) == QByteArray(40000, '\0'));
    QCOMPARE(log.CountContaining("the package was replaced on the server"), 1);
    QCOMPARE(m_rig->State().value("FullPackage_size/FullPackage_size"), QStringLiteral("0"));
}

void tst_DownloadMgr_Retry::a_redirect_to_a_file_of_this_machine_is_not_followed()
{
    QVERIFY(gWriteFile(m_rig->Path("secret"), m_package));
    Serve(HttpAnswer::Redirect("file://" + m_rig->Path("secret").toUtf8()));
    Start(2, 10000, 19999);
    QTRY_COMPARE(Errors(), 1);
    QVERIFY(Target() == QByteArray(50000, '\0'));
}

void tst_DownloadMgr_Retry::no_query_reaches_the_log()
{
    const LogCapture log;
    Serve(HttpAnswer::Status(403));
    Start(2, 10000, 19999, "/setup.exe?email=someone@example.com");
    QTRY_COMPARE(Errors(), 1);
    QCOMPARE(log.CountContaining("HTTP status 403, "), 1);
    QCOMPARE(log.CountContaining("email"), 0);
    QCOMPARE(log.CountContaining("example.com"), 0);
}

QTEST_MAIN(tst_DownloadMgr_Retry)
#include "tst_DownloadMgr_Retry.moc"
