// SPDX-License-Identifier: MIT

#include "tests/support/FakeTranslator.h"
#include "tests/support/LogCapture.h"
#include "tests/support/TestBytes.h"
#include "tests/update/UpdateRig.h"
#include "update/base/DownloadState.h"
#include "update/UpdateCommon/VersionInfo.h"

#include <QDir>
#include <QElapsedTimer>
#include <QtTest>

namespace
{

constexpr qint64 packageSize = 1000003;

const QStringList allRanges{"bytes=0-199999", "bytes=200000-399999", "bytes=400000-599999",
                            "bytes=600000-799999", "bytes=800000-"};

/// An answer that announces @p size bytes and sends none.
HttpAnswer gSilentPackage(qint64 size = packageSize)
{
    HttpAnswer answer = HttpAnswer::Broken({}, HttpAnswer::Fault::StallAfter, 0);
    answer.announcedLength = size;
    answer.ranges = false;
    return answer;
}

} // namespace

/// The plan of a download: the size, the fresh start, resuming, and the progress that is shown.
class tst_LiveUpdateMgr_Plan : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void a_fresh_start_fetches_five_ranges_and_completes_the_package();
    void a_fresh_start_writes_its_plan_into_the_state_file();
    void a_fresh_start_preallocates_the_target();
    void a_fresh_start_sets_the_shared_state();
    void a_fresh_start_shows_the_progress_page();
    void the_page_tells_of_the_download_while_the_size_is_asked_for();
    void an_older_installer_and_target_are_replaced();
    void a_stale_state_file_is_overwritten();
    void a_deleted_target_means_a_fresh_start();
    void a_package_of_fewer_than_five_bytes_completes_data();
    void a_package_of_fewer_than_five_bytes_completes();

    void resuming_fetches_only_what_is_missing();
    void resuming_shows_and_sets_how_far_it_was();
    void a_range_that_was_never_written_starts_at_byte_zero();
    void a_package_of_two_gibibytes_is_never_resumed();
    void a_leftover_lock_delays_no_download();

    void without_release_notes_nothing_happens_at_all();
    void without_common_documents_the_applications_folder_serves();
    void a_target_that_cannot_be_created_is_logged_and_the_requests_are_made();
    void update_now_logs_the_full_package();

    void every_error_of_a_downloader_shows_the_hint_page();
    void planning_anew_replaces_the_downloaders();

    void progress_counts_the_bytes_up();
    void progress_without_a_total_is_ignored();
    void the_progress_text_is_translated();

private:
    qint64 FileSize(const QString &path) const { return QFileInfo(path).size(); }

    std::unique_ptr<UpdateRig> m_rig;
};

void tst_LiveUpdateMgr_Plan::init()
{
    m_rig = std::make_unique<UpdateRig>();
    m_rig->Build();
}

void tst_LiveUpdateMgr_Plan::cleanup()
{
    m_rig.reset();
}

void tst_LiveUpdateMgr_Plan::a_fresh_start_fetches_five_ranges_and_completes_the_package()
{
    const QByteArray package = gTestBytes(packageSize);
    m_rig->StartFullDownload(HttpAnswer::Body(package));
    QTRY_COMPARE(m_rig->Boxes(), 1);
    QVERIFY(gReadFile(m_rig->Installer()) == package);
    QVERIFY(!QFile::exists(m_rig->Target()));
    QCOMPARE(gRangeHeaders(m_rig->Server()), allRanges);
    QCOMPARE(m_rig->Server().Requests("HEAD").size(), 1);
    QCOMPARE(m_rig->Signals().count("BeginInstall"), 1);
    QCOMPARE(m_rig->Bar()->value(), int(packageSize));
    QCOMPARE(m_rig->ProgressText(),
             QStringLiteral("Downloading the update, please wait...(downloaded 976.57 KB,"
                            "total 976.57 KB)"));
    const QMap<QString, QString> state = m_rig->State();
    QCOMPARE(state.value("AlreadyDownload_size/AlreadyDownload_size"), QStringLiteral("1000003"));
    for (int number = 1; number <= 5; ++number) {
        const QString suffix = QString::number(number);
        QCOMPARE(state.value("DownLoad_Tasks/Start_Byte" + suffix).toLongLong(),
                 state.value("DownLoad_Tasks/End_Byte" + suffix).toLongLong() + 1);
    }
}

void tst_LiveUpdateMgr_Plan::a_fresh_start_writes_its_plan_into_the_state_file()
{
    m_rig->System().bootIdentity = [] { return QStringLiteral("this boot"); };
    m_rig->System().fileIdentity = [](const QString &) { return QStringLiteral("a file"); };
    m_rig->Build();
    m_rig->StartFullDownload(gSilentPackage());
    const QMap<QString, QString> expected{{"Flushed/Boot_Id", "this boot"},
                                          {"Flushed/Flushed_Byte1", "0"},
                                          {"Flushed/Flushed_Byte2", "200000"},
                                          {"Flushed/Flushed_Byte3", "400000"},
                                          {"Flushed/Flushed_Byte4", "600000"},
                                          {"Flushed/Flushed_Byte5", "800000"},
                                          {"Identity/Target_File", "a file"},
                                          {"Identity/Package_Md5", ""},
                                          {"Identity/Package_Version", "9.2.0.0"},
                                          {"FullPackage_size/FullPackage_size", "1000003"},
                                          {"AlreadyDownload_size/AlreadyDownload_size", "0"},
                                          {"DownLoad_Tasks/Start_Byte1", "0"},
                                          {"DownLoad_Tasks/End_Byte1", "199999"},
                                          {"DownLoad_Tasks/Start_Byte2", "200000"},
                                          {"DownLoad_Tasks/End_Byte2", "399999"},
                                          {"DownLoad_Tasks/Start_Byte3", "400000"},
                                          {"DownLoad_Tasks/End_Byte3", "599999"},
                                          {"DownLoad_Tasks/Start_Byte4", "600000"},
                                          {"DownLoad_Tasks/End_Byte4", "799999"},
                                          {"DownLoad_Tasks/Start_Byte5", "800000"},
                                          {"DownLoad_Tasks/End_Byte5", "1000002"}};
    QTRY_COMPARE(m_rig->State(), expected);
}

void tst_LiveUpdateMgr_Plan::a_fresh_start_preallocates_the_target()
{
    QVERIFY(gWriteFile(m_rig->Target(), "left behind"));
    m_rig->StartFullDownload(gSilentPackage());
    QCOMPARE(FileSize(m_rig->Target()), packageSize);
    QVERIFY(gReadFile(m_rig->Target()) == QByteArray(packageSize, '\0'));
}

void tst_LiveUpdateMgr_Plan::a_fresh_start_sets_the_shared_state()
{
    gDownloadState().finishedSegments = 3;
    gDownloadState().alreadyDownloaded = 77;
    m_rig->StartFullDownload(gSilentPackage());
    QCOMPARE(m_rig->State().value("DownLoad_Tasks/Start_Byte2"), QStringLiteral("200000"));
    QCOMPARE(gDownloadState().alreadyDownloaded, qint64(0));
    QCOMPARE(gDownloadState().activeSegments, 5);
    QCOMPARE(gDownloadState().finishedSegments, 0);
    QVERIFY(gDownloadState().downloadStarted);
}

void tst_LiveUpdateMgr_Plan::a_fresh_start_shows_the_progress_page()
{
    m_rig->Progress().SetBusy();
    m_rig->Progress().SetCloseVisible(0);
    m_rig->StartFullDownload(gSilentPackage());
    const QStringList pages{"progress", "progress"};
    QCOMPARE(m_rig->Pages(), pages);
    QCOMPARE(m_rig->ProgressText(),
             QStringLiteral("Downloading the update, please wait...(downloaded 0.00 ,"
                            "total 976.57 KB)"));
    QCOMPARE(m_rig->Bar()->maximum(), int(packageSize));
    QCOMPARE(m_rig->Bar()->value(), 0);
    QVERIFY(m_rig->CloseOffered());
}

void tst_LiveUpdateMgr_Plan::the_page_tells_of_the_download_while_the_size_is_asked_for()
{
    m_rig->Progress().SetText("Checking the version.");
    m_rig->Progress().SetCloseVisible(0);
    m_rig->Progress().SetValue(37);
    // What is on the page when it is shown for the first time, which is before the size is asked for.
    QStringList seen;
    connect(&m_rig->Manager(), &LiveUpdateMgr::SetCurrentWidget, this, [this, &seen] {
        if (seen.isEmpty()) {
            seen = QStringList{m_rig->Pages().join(' '), m_rig->ProgressText(),
                               m_rig->CloseOffered() ? "Close" : "no Close",
                               QString::number(m_rig->Bar()->maximum())};
        }
    });
    m_rig->StartFullDownload(gSilentPackage());
    const QStringList expected{"progress", "Downloading the update, please wait.", "Close", "0"};
    QCOMPARE(seen, expected);
}

void tst_LiveUpdateMgr_Plan::an_older_installer_and_target_are_replaced()
{
    const QByteArray package = gTestBytes(4096, 7);
    QVERIFY(gWriteFile(m_rig->Installer(), gTestBytes(9000, 8)));
    QVERIFY(gWriteFile(m_rig->Target(), gTestBytes(9000, 9)));
    m_rig->StartFullDownload(HttpAnswer::Body(package));
    QTRY_COMPARE(m_rig->Boxes(), 1);
    QVERIFY(gReadFile(m_rig->Installer()) == package);
}

void tst_LiveUpdateMgr_Plan::a_stale_state_file_is_overwritten()
{
    const QByteArray package = gTestBytes(packageSize);
    m_rig->WriteState("1000004", "600000",
                      {{{200000, 199999}, {400000, 399999}, {600000, 599999}, {1, 2}, {3, 4}}});
    QVERIFY(gWriteFile(m_rig->Target(), QByteArray(1000004, 'x')));
    m_rig->StartFullDownload(HttpAnswer::Body(package));
    QCOMPARE(gDownloadState().alreadyDownloaded, qint64(0));
    QTRY_COMPARE(m_rig->Boxes(), 1);
    QCOMPARE(gRangeHeaders(m_rig->Server()), allRanges);
    QVERIFY(gReadFile(m_rig->Installer()) == package);
}

void tst_LiveUpdateMgr_Plan::a_deleted_target_means_a_fresh_start()
{
    const QByteArray package = gTestBytes(packageSize);
    m_rig->WriteState("1000003", "600000",
                      {{{200000, 199999},
                        {400000, 399999},
                        {600000, 599999},
                        {600000, 799999},
                        {800000, 1000002}}});
    m_rig->StartFullDownload(HttpAnswer::Body(package));
    QCOMPARE(gDownloadState().activeSegments, 5);
    QTRY_COMPARE(m_rig->Boxes(), 1);
    QCOMPARE(gRangeHeaders(m_rig->Server()), allRanges);
    QVERIFY(gReadFile(m_rig->Installer()) == package);
}

void tst_LiveUpdateMgr_Plan::a_package_of_fewer_than_five_bytes_completes_data()
{
    QTest::addColumn<int>("size");
    QTest::newRow("one_byte") << 1;
    QTest::newRow("four_bytes") << 4;
}

void tst_LiveUpdateMgr_Plan::a_package_of_fewer_than_five_bytes_completes()
{
    QFETCH(int, size);
    const QByteArray package = gTestBytes(size);
    m_rig->StartFullDownload(HttpAnswer::Body(package));
    QCOMPARE(m_rig->State().value("DownLoad_Tasks/Start_Byte2"), QStringLiteral("0"));
    QTRY_COMPARE(m_rig->Boxes(), 1);
    QCOMPARE(gRangeHeaders(m_rig->Server()), QStringList{"bytes=0-"});
    QCOMPARE(gReadFile(m_rig->Installer()), package);
    QCOMPARE(m_rig->State().value("DownLoad_Tasks/Start_Byte1"), QStringLiteral("0"));
    QCOMPARE(m_rig->State().value("DownLoad_Tasks/End_Byte1"), QStringLiteral("-1"));
    QCOMPARE(m_rig->State().value("DownLoad_Tasks/End_Byte5"), QString::number(size - 1));
    QVERIFY(!m_rig->Pages().contains("hint"));
}

void tst_LiveUpdateMgr_Plan::resuming_fetches_only_what_is_missing()
{
    const QByteArray package = gTestBytes(packageSize);
    QByteArray partial(packageSize, '\0');
    partial.replace(0, 250000, package.left(250000));
    partial.replace(400000, 200000, package.mid(400000, 200000));
    QVERIFY(gWriteFile(m_rig->Target(), partial));
    m_rig->WriteState("1000003", "450000",
                      {{{200000, 199999},
                        {250000, 399999},
                        {600000, 599999},
                        {600000, 799999},
                        {800000, 1000002}}});
    m_rig->StartFullDownload(HttpAnswer::Body(package));
    QCOMPARE(gDownloadState().activeSegments, 3);
    QTRY_COMPARE(m_rig->Boxes(), 1);
    const QStringList missing{"bytes=250000-399999", "bytes=600000-799999", "bytes=800000-"};
    QCOMPARE(gRangeHeaders(m_rig->Server()), missing);
    QVERIFY(gReadFile(m_rig->Installer()) == package);
}

void tst_LiveUpdateMgr_Plan::resuming_shows_and_sets_how_far_it_was()
{
    QVERIFY(gWriteFile(m_rig->Target(), QByteArray(packageSize, '\0')));
    m_rig->WriteState("1000003", "450560",
                      {{{200000, 199999},
                        {250560, 399999},
                        {600000, 599999},
                        {600000, 799999},
                        {800000, 1000002}}});
    const QMap<QString, QString> state = m_rig->State();
    gDownloadState().finishedSegments = 2;
    m_rig->StartFullDownload(gSilentPackage());
    QCOMPARE(m_rig->Pages(), QStringList{"progress"});
    QCOMPARE(m_rig->Bar()->maximum(), int(packageSize));
    QCOMPARE(m_rig->Bar()->value(), 450560);
    QCOMPARE(m_rig->ProgressText(),
             QStringLiteral("Downloading the update, please wait...(downloaded 440.00 KB,"
                            "total 976.57 KB)"));
    QVERIFY(m_rig->CloseOffered());
    QCOMPARE(gDownloadState().alreadyDownloaded, qint64(450560));
    QCOMPARE(gDownloadState().activeSegments, 3);
    QCOMPARE(gDownloadState().finishedSegments, 0);
    QVERIFY(gDownloadState().downloadStarted);
    QTRY_COMPARE(m_rig->Server().Requests("GET").size(), 3);
    const QMap<QString, QString> now = m_rig->State();
    for (auto value = state.begin(); value != state.end(); ++value) {
        QCOMPARE(now.value(value.key()), value.value());
    }
}

void tst_LiveUpdateMgr_Plan::a_range_that_was_never_written_starts_at_byte_zero()
{
    QVERIFY(gWriteFile(m_rig->Target(), QByteArray(packageSize, '\0')));
    m_rig->WriteState(
        "1000003", "0",
        {{{200000, 199999}, {0, 0}, {600000, 599999}, {800000, 799999}, {1000003, 1000002}}});
    m_rig->StartFullDownload(gSilentPackage());
    QTRY_COMPARE(gRangeHeaders(m_rig->Server()), QStringList{"bytes=0-0"});
    QCOMPARE(gDownloadState().activeSegments, 1);
}

void tst_LiveUpdateMgr_Plan::a_package_of_two_gibibytes_is_never_resumed()
{
    const std::pair<qint64, qint64> complete{10, 9};
    m_rig->WriteState("2147483648", "0", {{complete, complete, complete, complete, complete}});
    QVERIFY(gWriteFile(m_rig->Target(), "there"));
    m_rig->StartFullDownload(gSilentPackage(2147483648));
    QCOMPARE(gDownloadState().activeSegments, 5);
    QTRY_COMPARE(m_rig->Server().Requests("GET").size(), 5);
    QCOMPARE(FileSize(m_rig->Target()), qint64(2147483648));
    QTRY_COMPARE(m_rig->State().value("DownLoad_Tasks/End_Byte5"), QStringLiteral("2147483647"));
    QCOMPARE(m_rig->State().value("FullPackage_size/FullPackage_size"),
             QStringLiteral("2147483648"));
}

void tst_LiveUpdateMgr_Plan::a_leftover_lock_delays_no_download()
{
    QVERIFY(gWriteFile(m_rig->StateFile() + ".lock", {}));
    m_rig->Build();
    const QByteArray package = gTestBytes(2000);
    QElapsedTimer timer;
    timer.start();
    m_rig->StartFullDownload(HttpAnswer::Body(package));
    QTRY_COMPARE_WITH_TIMEOUT(m_rig->Boxes(), 1, 60000);
    QVERIFY2(timer.elapsed() < 5000, qPrintable(QString::number(timer.elapsed())));
}

void tst_LiveUpdateMgr_Plan::without_release_notes_nothing_happens_at_all()
{
    m_rig->Server().Serve("/a.exe", HttpAnswer::Body("body"));
    m_rig->Manager().findChild<VersionInfo *>()->setXml(
        "<a><ExeUrl_x64>" + m_rig->Server().Address("/a.exe") + "</ExeUrl_x64></a>");
    m_rig->Manager().UpdateNow();
    m_rig->Manager().StartDownload(false, {});
    QCOMPARE(m_rig->Pages(), QStringList());
    QVERIFY(m_rig->Server().Requests().isEmpty());
    QVERIFY(!QFile::exists(m_rig->Target()));
    QVERIFY(!QFile::exists(m_rig->StateFile()));
    QVERIFY(!gDownloadState().downloadStarted);
}

void tst_LiveUpdateMgr_Plan::without_common_documents_the_applications_folder_serves()
{
    const QString target = QCoreApplication::applicationDirPath() + "/Corvina9(x64).tmp";
    const QString installer = QCoreApplication::applicationDirPath() + "/tst_Plan_fallback.exe";
    QFile::remove(installer);
    m_rig->BlockWorkingFolder();
    const QByteArray package = gTestBytes(packageSize);
    m_rig->Server().Serve("/tst_Plan_fallback.exe", HttpAnswer::Body(package));
    m_rig->Offer("/tst_Plan_fallback.exe");
    m_rig->Manager().UpdateNow();
    UpdateRig::SettlePlan();
    QVERIFY(QFile::exists(target));
    QTRY_COMPARE(m_rig->Boxes(), 1);
    QVERIFY(gReadFile(installer) == package);
    QVERIFY(QFile::remove(installer));
}

void tst_LiveUpdateMgr_Plan::a_target_that_cannot_be_created_is_logged_and_the_requests_are_made()
{
    QVERIFY(QDir().mkpath(m_rig->Target() + "/in the way"));
    const LogCapture log;
    m_rig->StartFullDownload(gSilentPackage());
    QCOMPARE(log.Count("LiveUpdateMgr", "LiveUpdateMgr::CreateEmptyFile", "Create file Filed!"), 1);
    QCOMPARE(log.Count("UpdateCommon", "DownloadMgr::ResumeDownload",
                       "file open error!!! file path = " + m_rig->Target()),
             5);
    QCOMPARE(m_rig->HintText(), QStringLiteral("File open error!"));
    QTRY_COMPARE(gRangeHeaders(m_rig->Server()), allRanges);
}

void tst_LiveUpdateMgr_Plan::update_now_logs_the_full_package()
{
    const LogCapture log;
    m_rig->StartFullDownload(gSilentPackage());
    QCOMPARE(log.Count("LiveUpdateMgr", "LiveUpdateMgr::UpdateNow", "Start Download FullPackage"),
             1);
}

void tst_LiveUpdateMgr_Plan::every_error_of_a_downloader_shows_the_hint_page()
{
    const QByteArray package = gTestBytes(packageSize);
    m_rig->Server().Serve("/files/setup.exe", HttpAnswer::Body(package), "HEAD");
    m_rig->StartFullDownload(HttpAnswer::Status(404));
    QTRY_COMPARE(m_rig->Pages().count("hint"), 5);
    QCOMPARE(m_rig->HintText(), QStringLiteral("Failed to download the update."));
    QCOMPARE(m_rig->Boxes(), 0);
}

void tst_LiveUpdateMgr_Plan::planning_anew_replaces_the_downloaders()
{
    m_rig->StartFullDownload(gSilentPackage());
    QTRY_COMPARE(m_rig->Server().Requests("GET").size(), 5);
    const int downloaders = m_rig->Downloaders();
    const QByteArray package = gTestBytes(60000, 3);
    m_rig->StartFullDownload(HttpAnswer::Body(package));
    QTRY_COMPARE(m_rig->Boxes(), 1);
    QCOMPARE(m_rig->Downloaders(), downloaders);
    QVERIFY(gReadFile(m_rig->Installer()) == package);
    QCOMPARE(m_rig->Bar()->value(), 60000);
    QVERIFY(!m_rig->Pages().contains("hint"));
}

void tst_LiveUpdateMgr_Plan::progress_counts_the_bytes_up()
{
    m_rig->StartFullDownload(gSilentPackage());
    m_rig->Manager().OnDownloadProgress(512, 1);
    QCOMPARE(m_rig->ProgressText(),
             QStringLiteral("Downloading the update, please wait...(downloaded 512.00 Bytes,"
                            "total 976.57 KB)"));
    m_rig->Manager().OnDownloadProgress(1024, 99999999);
    QCOMPARE(m_rig->ProgressText(),
             QStringLiteral("Downloading the update, please wait...(downloaded 1.50 KB,"
                            "total 976.57 KB)"));
    QCOMPARE(m_rig->Bar()->value(), 1536);
    QCOMPARE(m_rig->Bar()->maximum(), int(packageSize));
}

void tst_LiveUpdateMgr_Plan::progress_without_a_total_is_ignored()
{
    m_rig->StartFullDownload(gSilentPackage());
    m_rig->Progress().SetText("before");
    m_rig->Manager().OnDownloadProgress(512, 0);
    QCOMPARE(m_rig->ProgressText(), QStringLiteral("before"));
    m_rig->Manager().OnDownloadProgress(1, 1);
    QCOMPARE(m_rig->Bar()->value(), 1);
}

void tst_LiveUpdateMgr_Plan::the_progress_text_is_translated()
{
    FakeTranslator translator;
    translator.Add("LiveUpdateMgr",
                   "Downloading the update, please wait...(downloaded %1,total %2)", "%2 nach %1");
    QCoreApplication::installTranslator(&translator);
    m_rig->StartFullDownload(gSilentPackage());
    QCOMPARE(m_rig->ProgressText(), QStringLiteral("976.57 KB nach 0.00 "));
}

QTEST_MAIN(tst_LiveUpdateMgr_Plan)
#include "tst_LiveUpdateMgr_Plan.moc"
