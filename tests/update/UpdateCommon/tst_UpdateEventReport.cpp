// SPDX-License-Identifier: MIT

#include "api/QuillonInit.h"
#include "api/UpdateMain.h"
#include "tests/support/MetaMethods.h"
#include "tests/support/StatisticsServer.h"
#include "tests/support/SystemPlaces.h"
#include "tests/support/TestCertificates.h"
#include "tests/update/UpdateRig.h"
#include "update/UpdateCommon/UpdateEventReport.h"

#include <QApplication>
#include <QDateTime>
#include <QHostInfo>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QtConcurrent>
#include <QtTest>

Q_DECLARE_METATYPE(HttpAnswer::Fault)

using Event = UpdateEventReport::EventType;

namespace
{
/// Occupies every thread of the application's pool.
class PoolJam
{
public:
    PoolJam()
    {
        for (int thread = 0; thread < QThreadPool::globalInstance()->maxThreadCount(); ++thread) {
            QtConcurrent::run([this] { m_end.acquire(); });
        }
    }
    ~PoolJam()
    {
        m_end.release(QThreadPool::globalInstance()->maxThreadCount());
        QThreadPool::globalInstance()->waitForDone();
    }
    PoolJam(const PoolJam &) = delete;
    PoolJam &operator=(const PoolJam &) = delete;

private:
    QSemaphore m_end;
};

/// Raises an event right behind each outcome, while the thread of its report may still be there.
class RaisesNext : public QObject
{
public:
    explicit RaisesNext(int count)
        : m_left(count)
    {
        UpdateEventReport::GetInstance()->installEventFilter(this);
    }

    bool eventFilter(QObject *watched, QEvent *event) override
    {
        if (event->type() != QEvent::MetaCall) {
            return false;
        }
        watched->event(event);
        if (m_left > 0) {
            --m_left;
            UpdateEventReport::GetInstance()->ReportEvent(Event::DownloadError);
        }
        return true;
    }

private:
    int m_left;
};
} // namespace

/// The reports as a TLS server receives them. The process has one reporter, so every test function
/// starts and ends without a report in flight.
class tst_UpdateEventReport : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void cleanupTestCase();
    void init();
    void cleanup();

    // The first one, because it needs a reporter without a call of SetReportInfo.
    void an_event_before_set_report_info_has_empty_strings_but_machine_and_product();
    void the_reporter_has_one_slot_and_no_signal();
    void the_event_codes_are();

    void a_record_is_one_get_without_a_body_and_without_headers_of_its_own();
    void a_record_carries_the_report_info_and_the_time();
    void a_blank_in_a_version_is_not_sent();
    void only_the_last_report_info_counts();

    void the_status200_is_received();
    void any_other_status_is_a_failure_that_is_retried_once_then_the_queue_moves_on_data();
    void any_other_status_is_a_failure_that_is_retried_once_then_the_queue_moves_on();
    void a_retry_that_is_received_is_the_last_attempt();
    void a_redirect_is_not_followed();
    void a_closed_connection_is_retried_once_then_the_queue_moves_on_data();
    void a_closed_connection_is_retried_once_then_the_queue_moves_on();
    void no_answer_within5000_ms_is_retried_once_then_the_queue_moves_on();
    void an_untrusted_certificate_is_retried_once_and_no_record_is_sent();
    void a_certificate_of_another_host_is_not_trusted();
    void where_nobody_listens_nothing_is_held_up();

    void the_second_of_two_events_waits_for_the_first();
    void many_events_are_sent_one_after_the_other_in_their_order();
    void wait_for_reports_waits_for_those_that_were_started_only();
    void a_wait_runs_no_report_itself_and_delivers_no_event();
    void a_wait_is_for_all_that_are_on_their_way();
    void an_event_behind_an_ended_one_keeps_its_place();
    void an_event_raised_at_the_moment_of_an_outcome_is_sent();

    void the_host_is_data();
    void the_host_is();
    void a_changed_host_counts_from_the_next_record_on();
    void reports_go_to_the_host_of_their_own_directory();
    void the_reports_of_a_dialog_keep_its_configuration_directory();

private:
    static void Raise(Event type) { UpdateEventReport::GetInstance()->ReportEvent(type); }
    QList<int> Results() const { return m_statistics->Results(); }
    QJsonObject Label(int index) const
    {
        return m_statistics->Record(index).value("label").toObject();
    }

    /// The number of requests that the server receives for one GET of Qt, without the reporter.
    int RequestsOfOneGet();

    TestCertificates m_certificates;
    std::unique_ptr<UpdateRig> m_rig;
    std::unique_ptr<StatisticsServer> m_statistics;
};

static const QString sign = "{0000ABCD-0000-000A-B123-00AABBCCDDEE}";

static QString gInApplicationFolder(const QString &name)
{
    return QCoreApplication::applicationDirPath() + '/' + name;
}

void tst_UpdateEventReport::initTestCase()
{
    m_certificates.TrustAuthority();
    QFile::remove(gInApplicationFolder("HvUtilities.dll"));
    QVERIFY(QFile::copy(HOST_LIBRARY, gInApplicationFolder("HvUtilities.dll")));
    QVERIFY(gWriteFile(gInApplicationFolder("Customization.xml"),
                       "<Customization><Entry key=\"PID\">100 01</Entry></Customization>"));
    const QTemporaryDir folder;
    const SystemPlaces places(folder.path());
    SystemPlaces::PutSign(SystemPlaces::Owner::User, "Halvard/Halvard Tessel Pack", sign);
    // The sign and the product are read when the reporter is made.
    UpdateEventReport::GetInstance();
}

void tst_UpdateEventReport::cleanupTestCase()
{
    QFile::remove(gInApplicationFolder("HvUtilities.dll"));
    QFile::remove(gInApplicationFolder("Customization.xml"));
}

void tst_UpdateEventReport::init()
{
    m_rig = std::make_unique<UpdateRig>();
    m_statistics = std::make_unique<StatisticsServer>(m_certificates);
    m_rig->SendReportsTo(*m_statistics);
}

void tst_UpdateEventReport::cleanup()
{
    m_rig.reset();
    m_statistics.reset();
}

void tst_UpdateEventReport::
    an_event_before_set_report_info_has_empty_strings_but_machine_and_product()
{
    QCOMPARE(UpdateEventReport::GetInstance(), UpdateEventReport::GetInstance());
    Raise(Event::DownloadError);
    gSettleReports();
    QCOMPARE(Results(), QList<int>{-1});
    QCOMPARE(Label(0).value("oldver"), QJsonValue(""));
    QCOMPARE(Label(0).value("newver"), QJsonValue(""));
    QCOMPARE(Label(0).value("type"), QJsonValue(""));
    QCOMPARE(Label(0).value("pid"), QJsonValue("10001"));
    QCOMPARE(m_statistics->Record(0).value("uid"), QJsonValue(sign));
}

void tst_UpdateEventReport::the_reporter_has_one_slot_and_no_signal()
{
    const QMetaObject &meta = UpdateEventReport::staticMetaObject;
    QCOMPARE(gOwnMethods(meta, QMetaMethod::Slot), QByteArrayList{"_ReportFinished(bool,int)"});
    QCOMPARE(gOwnMethods(meta, QMetaMethod::Signal), QByteArrayList());
}

void tst_UpdateEventReport::the_event_codes_are()
{
    QCOMPARE(int{Event::InstallStarted}, 1);
    QCOMPARE(int{Event::DownloadError}, -1);
    QCOMPARE(int{Event::PatchMd5Mismatch}, -2);
    QCOMPARE(int{Event::PatchDispatchFailed}, -3);
    QCOMPARE(int{Event::OldVersionMd5Mismatch}, -4);
    QCOMPARE(int{Event::InstallStartFailed}, -6);
}

void tst_UpdateEventReport::a_record_is_one_get_without_a_body_and_without_headers_of_its_own()
{
    Raise(Event::InstallStarted);
    gSettleReports();
    QCOMPARE(m_statistics->Server().Requests().size(), 1);
    const HttpRequest request = m_statistics->Server().Requests().first();
    QCOMPARE(request.method, QByteArray("GET"));
    QVERIFY2(request.target.startsWith("/tallow/visit/?data=%7B%22act%22:%22result%22,%22category"
                                       "%22:%22upgrade%22,%22dvalue%22:0,%22label%22:%7B"),
             request.target.constData());
    // Only the headers that Qt adds to every request.
    QByteArrayList headers = request.headers.keys();
    std::sort(headers.begin(), headers.end());
    const QByteArrayList expected{"accept-encoding", "accept-language", "connection", "host",
                                  "user-agent"};
    QCOMPARE(headers, expected);
}

void tst_UpdateEventReport::a_record_carries_the_report_info_and_the_time()
{
    UpdateEventReport::GetInstance()->SetReportInfo("9.1.0.0", "9.2.0.0", "full");
    const qint64 before = QDateTime::currentSecsSinceEpoch();
    Raise(Event::InstallStartFailed);
    gSettleReports();
    const qint64 after = QDateTime::currentSecsSinceEpoch();
    const QJsonObject label{{"newver", "9.2.0.0"},
                            {"oldver", "9.1.0.0"},
                            {"pid", "10001"},
                            {"result", -6},
                            {"type", "full"}};
    QCOMPARE(Label(0), label);
    const QJsonValue time = m_statistics->Record(0).value("ostime");
    QVERIFY(time.isDouble());
    QVERIFY(time.toDouble() >= double(before) && time.toDouble() <= double(after));
}

void tst_UpdateEventReport::a_blank_in_a_version_is_not_sent()
{
    UpdateEventReport::GetInstance()->SetReportInfo("1.1 beta", "1.2 beta", "i n s");
    Raise(Event::DownloadError);
    gSettleReports();
    QCOMPARE(Label(0).value("oldver"), QJsonValue("1.1beta"));
    QCOMPARE(Label(0).value("newver"), QJsonValue("1.2beta"));
    QCOMPARE(Label(0).value("type"), QJsonValue("ins"));
    QVERIFY(!m_statistics->Server().Requests().first().target.contains("%20"));
}

void tst_UpdateEventReport::only_the_last_report_info_counts()
{
    UpdateEventReport::GetInstance()->SetReportInfo("1", "2", "ins");
    UpdateEventReport::GetInstance()->SetReportInfo("3", "4", "full");
    Raise(Event::DownloadError);
    gSettleReports();
    QCOMPARE(Label(0).value("oldver"), QJsonValue("3"));
    QCOMPARE(Label(0).value("newver"), QJsonValue("4"));
    QCOMPARE(Label(0).value("type"), QJsonValue("full"));
}

void tst_UpdateEventReport::the_status200_is_received()
{
    Raise(Event::DownloadError);
    gSettleReports();
    QCOMPARE(Results(), QList<int>{-1});
}

void tst_UpdateEventReport::
    any_other_status_is_a_failure_that_is_retried_once_then_the_queue_moves_on_data()
{
    QTest::addColumn<int>("status");
    for (const int status : {201, 204, 206, 302, 404, 500}) {
        QTest::addRow("%d", status) << status;
    }
}

void tst_UpdateEventReport::
    any_other_status_is_a_failure_that_is_retried_once_then_the_queue_moves_on()
{
    QFETCH(int, status);
    m_statistics->Answer(HttpAnswer::Status(status));
    Raise(Event::PatchMd5Mismatch);
    Raise(Event::PatchDispatchFailed);
    gSettleReports();
    const QList<int> expected{-2, -2, -3, -3};
    QCOMPARE(Results(), expected);
}

void tst_UpdateEventReport::a_retry_that_is_received_is_the_last_attempt()
{
    m_statistics->Answer(HttpAnswer::Status(404));
    Raise(Event::PatchMd5Mismatch);
    UpdateEventReport::GetInstance()->WaitForReports();
    m_statistics->Answer(HttpAnswer::Status(200));
    gSettleReports();
    const QList<int> expected{-2, -2};
    QCOMPARE(Results(), expected);
}

void tst_UpdateEventReport::a_redirect_is_not_followed()
{
    m_statistics->Answer(HttpAnswer::Redirect("/elsewhere"));
    m_statistics->Server().Serve("/elsewhere", HttpAnswer::Status(200));
    Raise(Event::InstallStarted);
    gSettleReports();
    const QList<HttpRequest> requests = m_statistics->Server().Requests();
    QCOMPARE(requests.size(), 2);
    for (const HttpRequest &request : requests) {
        QCOMPARE(request.Path(), QByteArray("/tallow/visit/"));
    }
}

int tst_UpdateEventReport::RequestsOfOneGet()
{
    QNetworkAccessManager manager;
    const QSignalSpy finished(&manager, &QNetworkAccessManager::finished);
    manager.get(QNetworkRequest(m_statistics->Server().Url("/tallow/visit/")));
    if (!QTest::qWaitFor([&finished] { return finished.count() == 1; })) {
        return 0;
    }
    const int count = m_statistics->Server().Requests().size();
    m_statistics->Server().ForgetRequests();
    return count;
}

void tst_UpdateEventReport::a_closed_connection_is_retried_once_then_the_queue_moves_on_data()
{
    QTest::addColumn<HttpAnswer::Fault>("fault");
    QTest::newRow("closed_before_the_answer") << HttpAnswer::Fault::CloseAtOnce;
    QTest::newRow("reset_before_the_answer") << HttpAnswer::Fault::ResetAtOnce;
}

void tst_UpdateEventReport::a_closed_connection_is_retried_once_then_the_queue_moves_on()
{
    QFETCH(HttpAnswer::Fault, fault);
    m_statistics->Answer(HttpAnswer::Broken(QByteArray(), fault));
    // Qt itself repeats a GET up to three times when the server ends the connection before it
    // answers. So one attempt of the reporter is as many requests as any other GET.
    const int sentPerAttempt = RequestsOfOneGet();
    QVERIFY(sentPerAttempt >= 1 && sentPerAttempt <= 4);
    Raise(Event::PatchMd5Mismatch);
    Raise(Event::PatchDispatchFailed);
    gSettleReports();
    QList<int> expected;
    for (const int result : {-2, -2, -3, -3}) {
        for (int sent = 0; sent < sentPerAttempt; ++sent) {
            expected.append(result);
        }
    }
    QCOMPARE(Results(), expected);
}

void tst_UpdateEventReport::no_answer_within5000_ms_is_retried_once_then_the_queue_moves_on()
{
    m_statistics->Answer(HttpAnswer::Broken(QByteArray(), HttpAnswer::Fault::Silence));
    QElapsedTimer timer;
    timer.start();
    Raise(Event::PatchMd5Mismatch);
    Raise(Event::PatchDispatchFailed);
    QVERIFY2(timer.elapsed() < 5000, "raising an event waits for nothing");
    QTRY_COMPARE_WITH_TIMEOUT(Results().size(), 2, 10000);
    QVERIFY(timer.elapsed() >= 5000);
    // The second attempt is waiting for the silent server; later requests are answered.
    m_statistics->Answer(HttpAnswer::Status(200));
    QTRY_COMPARE_WITH_TIMEOUT(Results().size(), 3, 10000);
    QVERIFY(timer.elapsed() >= 10000);
    gSettleReports();
    const QList<int> expected{-2, -2, -3};
    QCOMPARE(Results(), expected);
}

void tst_UpdateEventReport::an_untrusted_certificate_is_retried_once_and_no_record_is_sent()
{
    const TestCertificates strangers;
    StatisticsServer stranger(strangers);
    m_rig->SendReportsTo(stranger);
    Raise(Event::PatchMd5Mismatch);
    Raise(Event::PatchDispatchFailed);
    gSettleReports();
    QTRY_COMPARE(stranger.Server().Connections(), 4);
    QVERIFY(stranger.Server().Requests().isEmpty());
    m_rig->SendReportsTo(*m_statistics);
    Raise(Event::InstallStarted);
    gSettleReports();
    QCOMPARE(Results(), QList<int>{1});
}

void tst_UpdateEventReport::a_certificate_of_another_host_is_not_trusted()
{
    if (QHostInfo::fromName("localhost").addresses().isEmpty()) {
        QSKIP("This machine has no name for itself.");
    }
    // The certificate is issued for 127.0.0.1; "localhost" is another name of the same machine.
    m_rig->WriteSetting("StatisticsHost", m_statistics->Host().replace("127.0.0.1", "localhost"));
    Raise(Event::InstallStarted);
    gSettleReports();
    QTRY_VERIFY(m_statistics->Server().Connections() > 0);
    QVERIFY(Results().isEmpty());
}

void tst_UpdateEventReport::where_nobody_listens_nothing_is_held_up()
{
    m_rig->WriteSetting("StatisticsHost", "127.0.0.1:1");
    Raise(Event::PatchMd5Mismatch);
    UpdateEventReport::GetInstance()->WaitForReports();
    QCoreApplication::processEvents();
    // The retry reads the setting again.
    m_rig->SendReportsTo(*m_statistics);
    Raise(Event::PatchDispatchFailed);
    gSettleReports();
    QCOMPARE(Results(), QList<int>{-3});
}

void tst_UpdateEventReport::the_second_of_two_events_waits_for_the_first()
{
    Raise(Event::PatchMd5Mismatch);
    Raise(Event::PatchDispatchFailed);
    UpdateEventReport::GetInstance()->WaitForReports();
    QCOMPARE(Results(), QList<int>{-2});
    const QList<int> expected{-2, -3};
    QTRY_COMPARE(Results(), expected);
}

void tst_UpdateEventReport::many_events_are_sent_one_after_the_other_in_their_order()
{
    const QList<Event> events{Event::InstallStarted,        Event::DownloadError,
                              Event::DownloadError,         Event::PatchMd5Mismatch,
                              Event::OldVersionMd5Mismatch, Event::InstallStartFailed};
    QList<int> expected;
    for (const Event event : events) {
        Raise(event);
    }
    for (const Event event : events) {
        expected.append(event);
        UpdateEventReport::GetInstance()->WaitForReports();
        QCOMPARE(Results(), expected);
        QCoreApplication::processEvents();
    }
    gSettleReports();
    QCOMPARE(Results(), expected);
}

void tst_UpdateEventReport::wait_for_reports_waits_for_those_that_were_started_only()
{
    HttpAnswer slow = HttpAnswer::Status(200);
    slow.delayMs = 300;
    m_statistics->Answer(slow);
    QElapsedTimer timer;
    timer.start();
    Raise(Event::PatchMd5Mismatch);
    Raise(Event::PatchDispatchFailed);
    UpdateEventReport::GetInstance()->WaitForReports();
    QVERIFY2(timer.elapsed() >= 300, "the answer was waited for");
    QCOMPARE(Results(), QList<int>{-2});
    UpdateEventReport::GetInstance()->WaitForReports();
    QCOMPARE(Results(), QList<int>{-2});
    gSettleReports();
    const QList<int> expected{-2, -3};
    QCOMPARE(Results(), expected);
}

void tst_UpdateEventReport::a_wait_runs_no_report_itself_and_delivers_no_event()
{
    // A host that renders keeps every thread of the application's pool busy.
    const PoolJam jam;
    const auto delivered = std::make_shared<bool>(false);
    QMetaObject::invokeMethod(
        this, [delivered] { *delivered = true; }, Qt::QueuedConnection);
    Raise(Event::InstallStarted);
    UpdateEventReport::GetInstance()->WaitForReports();
    QCOMPARE(Results(), QList<int>{1});
    QVERIFY(!*delivered);
}

void tst_UpdateEventReport::a_wait_is_for_all_that_are_on_their_way()
{
    StatisticsServer slow(m_certificates);
    HttpAnswer late = HttpAnswer::Status(200);
    late.delayMs = 1000;
    slow.Answer(late);
    // The first one fails. Its retry starts with its outcome, when the second one is on its way.
    m_rig->WriteSetting("StatisticsHost", "127.0.0.1:1");
    Raise(Event::PatchMd5Mismatch);
    UpdateEventReport::GetInstance()->WaitForReports();
    m_rig->SendReportsTo(*m_statistics);
    HttpAnswer lessLate = late;
    lessLate.delayMs = 300;
    m_statistics->Answer(lessLate);
    Raise(Event::PatchDispatchFailed);
    // Its thread takes the host that was named last. On a busy machine it starts late: until it has asked,
    // no other host is named. No event is delivered meanwhile.
    const QDeadlineTimer limit(20000);
    while (Results().isEmpty() && !limit.hasExpired()) {
        QThread::yieldCurrentThread();
    }
    m_rig->SendReportsTo(slow);
    QCoreApplication::processEvents();
    UpdateEventReport::GetInstance()->WaitForReports();
    QCOMPARE(Results(), QList<int>{-3});
    QCOMPARE(slow.Results(), QList<int>{-2});
    // Nothing is on its way any more: the next one is sent at once.
    m_rig->SendReportsTo(*m_statistics);
    Raise(Event::InstallStartFailed);
    UpdateEventReport::GetInstance()->WaitForReports();
    const QList<int> expected{-3, -6};
    QCOMPARE(Results(), expected);
    gSettleReports();
}

void tst_UpdateEventReport::an_event_behind_an_ended_one_keeps_its_place()
{
    Raise(Event::PatchMd5Mismatch);
    Raise(Event::PatchDispatchFailed);
    UpdateEventReport::GetInstance()->WaitForReports();
    Raise(Event::InstallStartFailed);
    gSettleReports();
    const QList<int> expected{-2, -3, -6};
    QCOMPARE(Results(), expected);
}

void tst_UpdateEventReport::an_event_raised_at_the_moment_of_an_outcome_is_sent()
{
    constexpr int count = 100;
    const RaisesNext next(count);
    Raise(Event::PatchMd5Mismatch);
    QTRY_COMPARE_WITH_TIMEOUT(Results().size(), 1 + count, 60000);
}

void tst_UpdateEventReport::the_host_is_data()
{
    QTest::addColumn<QByteArray>("settings");
    QTest::addColumn<QString>("host");
    QTest::newRow("the_one_of_the_build_without_the_setting")
        << QByteArray("[Quillon]\nEmail=a@b\n") << QUILLON_STATISTICS_HOST;
    QTest::newRow("the_one_of_the_build_for_an_empty_setting")
        << QByteArray("[Quillon]\nStatisticsHost=\n") << QUILLON_STATISTICS_HOST;
    QTest::newRow("the_one_of_the_build_for_a_setting_of_another_group")
        << QByteArray("[System]\nStatisticsHost=a.example\n") << QUILLON_STATISTICS_HOST;
    QTest::newRow("that_of_the_settings")
        << QByteArray("[Quillon]\nStatisticsHost=a.example\n") << "a.example";
    QTest::newRow("with_its_port")
        << QByteArray("[Quillon]\nStatisticsHost=a.example:8443\n") << "a.example:8443";
}

void tst_UpdateEventReport::the_host_is()
{
    QFETCH(QByteArray, settings);
    const QTemporaryDir folder;
    QVERIFY(gWriteFile(folder.filePath("Corvina.ini"), settings));
    QTEST(gStatisticsHost(folder.path()), "host");
}

void tst_UpdateEventReport::a_changed_host_counts_from_the_next_record_on()
{
    const StatisticsServer other(m_certificates);
    Raise(Event::PatchMd5Mismatch);
    gSettleReports();
    m_rig->SendReportsTo(other);
    Raise(Event::PatchDispatchFailed);
    gSettleReports();
    QCOMPARE(Results(), QList<int>{-2});
    QCOMPARE(other.Results(), QList<int>{-3});
}

void tst_UpdateEventReport::reports_go_to_the_host_of_their_own_directory()
{
    StatisticsServer other(m_certificates);
    other.Answer(HttpAnswer::Status(500));
    const QTemporaryDir folder;
    QVERIFY(gWriteFile(folder.filePath("Corvina.ini"),
                       "[Quillon]\nStatisticsHost=" + other.Host().toLatin1() + '\n'));
    EventSink &otherReports = gProcessReports(folder.path());
    EventSink &reports = gProcessReports(m_rig->ConfigFolder());
    reports.ReportEvent(Event::PatchMd5Mismatch);
    otherReports.ReportEvent(Event::DownloadError);
    reports.ReportEvent(Event::PatchDispatchFailed);
    gSettleReports();
    const QList<int> expected{-2, -3};
    QCOMPARE(Results(), expected);
    const QList<int> twice{-1, -1};
    QCOMPARE(other.Results(), twice);
}

void tst_UpdateEventReport::the_reports_of_a_dialog_keep_its_configuration_directory()
{
    const UpdateMain dialog;
    const QTemporaryDir later;
    QuillonInit::SetConfigFileDir(later.path());
    auto *manager = dialog.findChild<LiveUpdateMgr *>();
    QVERIFY(QMetaObject::invokeMethod(manager, "ShowDownloadError", Q_ARG(QString, "failed")));
    gSettleReports();
    QCOMPARE(Results(), QList<int>{-1});
}

QTEST_MAIN(tst_UpdateEventReport)
#include "tst_UpdateEventReport.moc"
