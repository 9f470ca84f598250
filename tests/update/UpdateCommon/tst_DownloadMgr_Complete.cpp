// SPDX-License-Identifier: MIT

#include "tests/support/TestBytes.h"
#include "tests/update/UpdateRig.h"
#include "update/base/DownloadState.h"

#include <QtTest>

/// The downloader that ends a package: complete, incomplete, or behind a redirect.
class tst_DownloadMgr_Complete : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void the_last_range_puts_the_installer_in_place_and_asks();
    void an_installer_of_before_is_replaced();
    void a_complete_byte_count_completes_though_ranges_are_missing();
    void a_server_that_holds_less_than_the_package_is_refused();
    void when_all_ranges_end_short_the_error_is_told_only_for_a_size_of_one_data();
    void when_all_ranges_end_short_the_error_is_told_only_for_a_size_of_one();
    void the_size_is_read_when_the_downloader_is_made();
    void five_downloaders_ask_once();
    void a_range_whose_reply_ends_late_does_not_keep_the_package_from_its_place();

    void a_redirect_is_fetched_whole_without_a_range();
    void a_redirect_may_name_a_path_only();
    void five_redirected_ranges_complete_once();
    void a_redirected_body_of_another_size_is_an_error_data();
    void a_redirected_body_of_another_size_is_an_error();
    void a_redirect_that_is_cut_completes_nothing();
    void progress_of_a_redirect_is_passed_on();

private:
    /// Prepares a package of @p size bytes with @p activeRanges ranges to go.
    void Prepare(int size, int activeRanges);
    std::unique_ptr<DownloadMgr> Start(int number, qint64 start, qint64 end);
    void Serve(const QByteArray &path, const HttpAnswer &answer)
    {
        m_rig->Server().Serve(path, answer);
    }
    QByteArray Address(const QString &path) { return m_rig->Server().Address(path).toLatin1(); }

    QByteArray m_package;
    std::unique_ptr<UpdateRig> m_rig;
    int m_errors = 0;
    int m_finished = 0;
    int m_begun = 0;
};

void tst_DownloadMgr_Complete::init()
{
    m_rig = std::make_unique<UpdateRig>();
    m_errors = m_finished = m_begun = 0;
}

void tst_DownloadMgr_Complete::cleanup()
{
    m_rig.reset();
}

void tst_DownloadMgr_Complete::Prepare(int size, int activeRanges)
{
    m_package = gTestBytes(size);
    m_rig->WriteState(QString::number(size), "0",
                      {{{0, 0}, {0, 0}, {0, 0}, {0, 0}, {0, size - 1}}});
    QVERIFY(gWriteFile(m_rig->Target(), QByteArray(size, '\0')));
    gDownloadState().activeSegments = activeRanges;
    gDownloadState().downloadStarted = true;
}

std::unique_ptr<DownloadMgr> tst_DownloadMgr_Complete::Start(int number, qint64 start, qint64 end)
{
    auto downloader = std::make_unique<DownloadMgr>(m_rig->Context(), nullptr);
    connect(downloader.get(), &DownloadMgr::Error, this, [this] { ++m_errors; });
    connect(downloader.get(), &DownloadMgr::DownloadFinished, this, [this] { ++m_finished; });
    connect(downloader.get(), &DownloadMgr::BeginInstall, this, [this] { ++m_begun; });
    downloader->ResumeDownload(m_rig->Target(), m_rig->Server().Url("/setup.exe"),
                               m_rig->Installer(), start, end, number, false, QString(), QString());
    return downloader;
}

void tst_DownloadMgr_Complete::the_last_range_puts_the_installer_in_place_and_asks()
{
    Prepare(50000, 1);
    Serve("/setup.exe", HttpAnswer::Body(m_package));
    const auto downloader = Start(5, 0, 49999);
    QTRY_COMPARE(m_rig->Boxes(), 1);
    QVERIFY(m_rig->BoxSaid("Information",
                           "Download completed. However, the program is running. Please click Yes "
                           "to terminate the program and install the new version. Click Cancel to "
                           "install it next time."));
    QVERIFY(gReadFile(m_rig->Installer()) == m_package);
    QVERIFY(!QFile::exists(m_rig->Target()));
    QCOMPARE(gDownloadState().installerReady, m_rig->Installer());
    QCOMPARE(gDownloadState().finishedSegments, 0);
    QVERIFY(!gDownloadState().downloadStarted);
    QCOMPARE(m_begun, 1);
    QCOMPARE(m_finished, 0);
    QCOMPARE(m_errors, 0);
    QVERIFY2(QFile::exists(m_rig->StateFile()), "the state outlives the package");
}

void tst_DownloadMgr_Complete::an_installer_of_before_is_replaced()
{
    Prepare(50000, 1);
    QVERIFY(gWriteFile(m_rig->Installer(), gTestBytes(60000, 9)));
    Serve("/setup.exe", HttpAnswer::Body(m_package));
    const auto downloader = Start(5, 0, 49999);
    QTRY_COMPARE(m_rig->Boxes(), 1);
    QVERIFY(gReadFile(m_rig->Installer()) == m_package);
}

void tst_DownloadMgr_Complete::a_complete_byte_count_completes_though_ranges_are_missing()
{
    Prepare(50000, 3);
    Serve("/setup.exe", HttpAnswer::Body(m_package));
    const auto downloader = Start(5, 0, 49999);
    QTRY_COMPARE(m_rig->Boxes(), 1);
    QVERIFY(gReadFile(m_rig->Installer()) == m_package);
    QVERIFY(!gDownloadState().downloadStarted);
}

void tst_DownloadMgr_Complete::a_server_that_holds_less_than_the_package_is_refused()
{
    Prepare(50000, 1);
    Serve("/setup.exe", HttpAnswer::Body(m_package.left(20000)));
    const auto downloader = Start(5, 0, 49999);
    QTRY_COMPARE(m_errors, 1);
    QVERIFY(!gDownloadState().downloadStarted);
    QCOMPARE(gDownloadState().finishedSegments, 0);
    QCOMPARE(gDownloadState().alreadyDownloaded, qint64(0));
    QCOMPARE(m_begun, 0);
    QCOMPARE(m_rig->Boxes(), 0);
    QVERIFY(gReadFile(m_rig->Target()) == QByteArray(50000, '\0'));
    QVERIFY(!QFile::exists(m_rig->Installer()));
}

void tst_DownloadMgr_Complete::
    when_all_ranges_end_short_the_error_is_told_only_for_a_size_of_one_data()
{
    QTest::addColumn<int>("size");
    QTest::addColumn<qint64>("already");
    QTest::addColumn<int>("errors");
    QTest::newRow("no_byte_of_a_package_of_one_told") << 1 << qint64(0) << 1;
    QTest::newRow("no_byte_of_a_larger_package_silent") << 2 << qint64(0) << 0;
    QTest::newRow("some_bytes_of_a_package_of_unknown_size_told") << 0 << qint64(3) << 1;
    QTest::newRow("some_bytes_of_a_larger_package_silent") << 9 << qint64(3) << 0;
}

void tst_DownloadMgr_Complete::when_all_ranges_end_short_the_error_is_told_only_for_a_size_of_one()
{
    QFETCH(int, size);
    QFETCH(qint64, already);
    QFETCH(int, errors);
    Prepare(size, 1);
    gDownloadState().alreadyDownloaded = already;
    const auto downloader = Start(1, 0, -1);
    QTRY_VERIFY(!gDownloadState().downloadStarted);
    QCOMPARE(m_errors, errors);
    QCOMPARE(m_rig->Boxes(), 0);
}

void tst_DownloadMgr_Complete::the_size_is_read_when_the_downloader_is_made()
{
    Prepare(50000, 1);
    Serve("/setup.exe", HttpAnswer::Body(m_package));
    const auto downloader = Start(5, 0, 49999);
    ResumeState(m_rig->ConfigFolder()).SetPackageSize(7);
    QTRY_COMPARE(m_rig->Boxes(), 1);
}

void tst_DownloadMgr_Complete::five_downloaders_ask_once()
{
    Prepare(50000, 5);
    HttpAnswer answer = HttpAnswer::Body(m_package);
    answer.chunkSize = 3000;
    answer.chunkPauseMs = 2;
    Serve("/setup.exe", answer);
    std::vector<std::unique_ptr<DownloadMgr>> downloaders;
    for (int number = 1; number <= 5; ++number) {
        downloaders.push_back(Start(number, (number - 1) * 10000, number * 10000 - 1));
    }
    QTRY_COMPARE(m_rig->Boxes(), 1);
    QTRY_COMPARE(m_rig->Server().Requests().size(), 5);
    downloaders.clear();
    QCoreApplication::processEvents();
    QCOMPARE(m_rig->Boxes(), 1);
    QCOMPARE(m_begun, 1);
    QVERIFY(gReadFile(m_rig->Installer()) == m_package);
}

void tst_DownloadMgr_Complete::
    a_range_whose_reply_ends_late_does_not_keep_the_package_from_its_place()
{
    Prepare(50000, 2);
    HttpAnswer endless = HttpAnswer::Body(m_package);
    endless.announcedLength = 20001;
    endless.fault = HttpAnswer::Fault::StallAfter;
    endless.faultAfter = 20000;
    Serve("/setup.exe", endless);
    const auto first = Start(1, 0, 19999);
    QTRY_COMPARE(gDownloadState().alreadyDownloaded, qint64(20000));
    QVERIFY(!first->IsRunning());

    Serve("/setup.exe", HttpAnswer::Body(m_package));
    const auto last = Start(5, 20000, 49999);
    QTRY_COMPARE(m_rig->Boxes(), 1);
    QVERIFY(gReadFile(m_rig->Installer()) == m_package);
    QVERIFY(!QFile::exists(m_rig->Target()));
    QCOMPARE(m_errors, 0);
}

void tst_DownloadMgr_Complete::a_redirect_is_fetched_whole_without_a_range()
{
    Prepare(50000, 1);
    Serve("/setup.exe", HttpAnswer::Redirect(Address("/moved")));
    Serve("/moved", HttpAnswer::Body(m_package));
    const auto downloader = Start(3, 20000, 29999);
    QTRY_COMPARE(m_rig->Boxes(), 1);
    const QList<HttpRequest> requests = m_rig->Server().Requests();
    QCOMPARE(requests.size(), 2);
    QCOMPARE(requests.at(0).headers.value("range"), QByteArray("bytes=20000-29999"));
    QCOMPARE(requests.at(1).target, QByteArray("/moved"));
    QVERIFY(!requests.at(1).headers.contains("range"));
    QVERIFY(gReadFile(m_rig->Installer()) == m_package);
    QCOMPARE(gDownloadState().installerReady, m_rig->Installer());
    QCOMPARE(m_finished, 1);
    QCOMPARE(m_begun, 1);
    QCOMPARE(m_errors, 0);
}

void tst_DownloadMgr_Complete::a_redirect_may_name_a_path_only()
{
    Prepare(50000, 1);
    Serve("/setup.exe", HttpAnswer::Redirect("/moved"));
    Serve("/moved", HttpAnswer::Body(m_package));
    const auto downloader = Start(3, 20000, 29999);
    QTRY_COMPARE(m_rig->Boxes(), 1);
    QCOMPARE(m_rig->Server().Requests().last().target, QByteArray("/moved"));
    QVERIFY(gReadFile(m_rig->Installer()) == m_package);
    QCOMPARE(m_errors, 0);
}

void tst_DownloadMgr_Complete::five_redirected_ranges_complete_once()
{
    m_package = gTestBytes(50000);
    Serve("/files/setup.exe", HttpAnswer::Redirect(Address("/moved")));
    HttpAnswer answer = HttpAnswer::Body(m_package);
    answer.chunkSize = 7000;
    answer.chunkPauseMs = 2;
    Serve("/moved", answer);
    m_rig->Server().Serve("/files/setup.exe", HttpAnswer::Body(m_package), "HEAD");
    m_rig->StartFullDownload(HttpAnswer::Redirect(Address("/moved")));
    QTRY_COMPARE(m_rig->Boxes(), 1);
    QTRY_COMPARE(m_rig->Signals().count("Close"), 1);
    // Time in which the other four could go on, which they must not after the completed one.
    HttpAnswer slow = HttpAnswer::Body("slow");
    slow.delayMs = 200;
    Serve("/slow", slow);
    QCOMPARE(m_rig->Manager().QueryPackageSize(m_rig->Server().Url("/slow")), qint64(4));
    QCOMPARE(m_rig->Boxes(), 1);
    QCOMPARE(m_rig->Signals().count("BeginInstall"), 1);
    QVERIFY(gReadFile(m_rig->Installer()) == m_package);
    QVERIFY(!QFile::exists(m_rig->Target()));
    QVERIFY(!m_rig->Pages().contains("hint"));
}

void tst_DownloadMgr_Complete::a_redirected_body_of_another_size_is_an_error_data()
{
    QTest::addColumn<int>("size");
    QTest::newRow("a_shorter_one") << 49999;
    QTest::newRow("a_longer_one") << 50001;
}

void tst_DownloadMgr_Complete::a_redirected_body_of_another_size_is_an_error()
{
    QFETCH(int, size);
    Prepare(50000, 1);
    Serve("/setup.exe", HttpAnswer::Redirect(Address("/moved")));
    Serve("/moved", HttpAnswer::Body(gTestBytes(size)));
    const auto downloader = Start(1, 0, 9999);
    QTRY_COMPARE(m_errors, 1);
    QTRY_COMPARE(m_rig->Server().Requests().size(), 2);
    QCoreApplication::processEvents();
    QCOMPARE(m_errors, 1);
    QCOMPARE(m_begun, 0);
    QCOMPARE(m_rig->Boxes(), 0);
    QVERIFY(!QFile::exists(m_rig->Installer()));
}

void tst_DownloadMgr_Complete::a_redirect_that_is_cut_completes_nothing()
{
    Prepare(50000, 1);
    Serve("/setup.exe", HttpAnswer::Redirect(Address("/moved")));
    Serve("/moved", HttpAnswer::Broken(m_package, HttpAnswer::Fault::CloseAfter, 20000));
    const auto downloader = Start(1, 0, 9999);
    QTRY_COMPARE(m_rig->Server().Requests().size(), 2);
    QTRY_COMPARE(m_rig->Server().OpenConnections(), 0);
    QCoreApplication::processEvents();
    QCOMPARE(m_begun, 0);
    QCOMPARE(m_rig->Boxes(), 0);
    QVERIFY(!QFile::exists(m_rig->Installer()));
}

void tst_DownloadMgr_Complete::progress_of_a_redirect_is_passed_on()
{
    Prepare(50000, 1);
    DownloadMgr downloader(m_rig->Context(), nullptr);
    const QSignalSpy progress(&downloader, &DownloadMgr::DownloadProgress);
    downloader.slotDownloadProgress(300, 50000);
    QCOMPARE(progress.count(), 1);
    QCOMPARE(progress.first().at(0).toLongLong(), qint64(300));
    QCOMPARE(progress.first().at(1).toLongLong(), qint64(50000));
    downloader.slotDownloadProgress(400, 0);
    QCOMPARE(progress.count(), 2);
    QCOMPARE(m_rig->Boxes(), 0);
}

QTEST_MAIN(tst_DownloadMgr_Complete)
#include "tst_DownloadMgr_Complete.moc"
