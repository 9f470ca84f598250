// SPDX-License-Identifier: MIT

#include "api/UpdateInit.h"
#include "tests/support/LogCapture.h"
#include "tests/support/Md5.h"
#include "tests/support/PatchProgram.h"
#include "tests/support/PeBuilder.h"
#include "tests/support/StatisticsServer.h"
#include "tests/support/TestBytes.h"
#include "tests/update/UpdateRig.h"
#include "update/UpdateCommon/UpdateEventReport.h"
#include "update/UpdateCommon/VersionInfo.h"

#include <QDir>
#include <QtTest>

/// "Update Now": which of the two packages is fetched, and what is logged and reported meanwhile.
/// There is no patch program beside this test, so every incremental package fails after its
/// download.
class tst_LiveUpdateMgr_Select : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void cleanup();

    void without_an_incremental_address_the_full_package_is_taken_and_no_file_is_looked_at();
    void without_release_notes_nothing_happens_data();
    void without_release_notes_nothing_happens();
    void the_matching_installer_leads_to_the_incremental_package();
    void the_folder_is_created_when_it_is_missing();
    void without_a_candidate_the_full_package_is_taken();
    void with_a_wrong_md5_the_full_package_is_taken_and_the_mismatch_is_reported();
    void of_two_files_of_the_version_the_second_is_taken();
    void an_upper_case_md5_of_the_manifest_never_matches();
    void without_a_shared_folder_the_full_package_is_taken_silently_data();
    void without_a_shared_folder_the_full_package_is_taken_silently();

    void a_patch_whose_name_is_taken_is_not_asked_for_data();
    void a_patch_whose_name_is_taken_is_not_asked_for();
    void an_installer_whose_name_no_file_can_have_is_not_asked_for_data();
    void an_installer_whose_name_no_file_can_have_is_not_asked_for();

    void reports_carry_full_once_a_download_is_planned_data();
    void reports_carry_full_once_a_download_is_planned();
    void every_failing_range_is_reported();

    void a_failed_patch_falls_back_to_the_full_package();
    void a_silent_check_during_the_download_does_not_change_what_follows_a_failed_patch();
    void several_failed_patches_fall_back_once();
    void a_patch_that_failed_is_not_downloaded_again();

private:
    QString Folder() const { return m_rig->WorkingFolder(); }
    QString Elements(const QString &oldVerify) const;
    /// Offers "/files/setup.exe" and, as the incremental package, "/files/increase.patch".
    void Offer(const QString &oldVerify) { m_rig->Offer("/files/setup.exe", Elements(oldVerify)); }
    void Keep(const QString &name, const QByteArray &bytes) const
    {
        QVERIFY(gWriteFile(Folder() + '/' + name, bytes));
    }
    /// The paths whose sizes were asked for; they show which package was chosen.
    QByteArrayList Planned()
    {
        QByteArrayList paths;
        const QList<HttpRequest> requests = m_rig->Server().Requests("HEAD");
        for (const HttpRequest &request : requests) {
            paths.append(request.Path());
        }
        return paths;
    }
    QStringList Log() const { return m_log->Messages("LiveUpdateMgr", "LiveUpdateMgr::UpdateNow"); }
    QList<int> Reports()
    {
        gSettleReports();
        return m_statistics->Results();
    }

    TestCertificates m_certificates;
    std::unique_ptr<UpdateRig> m_rig;
    std::unique_ptr<StatisticsServer> m_statistics;
    std::unique_ptr<LogCapture> m_log;
};

static const QByteArray fullPath = "/files/setup.exe";
static const QByteArray increasePath = "/files/increase.patch";
static const QString checkLine = "Start UpdateNow Check IncreasePackage Info";
static const QString versionLine = "packVersion 9.1.0.0;currentVersion = 9.1.0.0";
static const QString failedLine = "Match old version md5 failed";
static const QString increaseLine = "Start Download IncreasePackage";
static const QString fullLine = "Start Download FullPackage";

static QByteArray gInstallerBytes(quint64 seed = 1)
{
    return PeBuilder::WithFileVersion("9.1.0.0").Build() + gTestBytes(2000, seed);
}

static QString gMd5Line(const QString &local, const QString &expected)
{
    return "local oldpackage md5:" + local + "; update response oldpackage md5:" + expected;
}

void tst_LiveUpdateMgr_Select::initTestCase()
{
    QVERIFY(!QFile::exists(PatchProgram::Path()));
    m_certificates.TrustAuthority();
}

void tst_LiveUpdateMgr_Select::init()
{
    m_rig = std::make_unique<UpdateRig>();
    m_statistics = std::make_unique<StatisticsServer>(m_certificates);
    m_rig->SendReportsTo(*m_statistics);
    m_rig->Build();
    m_log = std::make_unique<LogCapture>();
}

void tst_LiveUpdateMgr_Select::cleanup()
{
    m_log.reset();
    m_rig.reset();
    m_statistics.reset();
}

QString tst_LiveUpdateMgr_Select::Elements(const QString &oldVerify) const
{
    return QString("<OldVerify_x64>%1</OldVerify_x64><IncreasePackage><Url_x64>%2</Url_x64>"
                   "<Version>9.2.0.0</Version><Verify_x64>%3</Verify_x64></IncreasePackage>")
        .arg(oldVerify, m_rig->Server().Address("/files/increase.patch"), gMd5("new"));
}

void tst_LiveUpdateMgr_Select::
    without_an_incremental_address_the_full_package_is_taken_and_no_file_is_looked_at()
{
    Keep("Corvina9", gInstallerBytes());
    m_rig->Offer("/files/setup.exe", "<OldVerify_x64>" + gMd5(gInstallerBytes()) +
                                         "</OldVerify_x64><IncreasePackage>"
                                         "<Url_x64></Url_x64></IncreasePackage>");
    m_rig->Manager().UpdateNow();
    QCOMPARE(Planned(), QByteArrayList{fullPath});
    QCOMPARE(Log(), QStringList{fullLine});
}

void tst_LiveUpdateMgr_Select::without_release_notes_nothing_happens_data()
{
    QTest::addColumn<QString>("manifest");
    QTest::addColumn<QStringList>("log");
    QTest::newRow("with_an_incremental_package")
        << "<Update><ExeUrl_x64>http://127.0.0.1:1/setup.exe</ExeUrl_x64><IncreasePackage>"
           "<Url_x64>http://127.0.0.1:1/increase</Url_x64></IncreasePackage></Update>"
        << QStringList{checkLine};
    QTest::newRow("without_one")
        << "<Update><ExeUrl_x64>http://127.0.0.1:1/setup.exe</ExeUrl_x64><WhatNews/></Update>"
        << QStringList{fullLine};
}

void tst_LiveUpdateMgr_Select::without_release_notes_nothing_happens()
{
    QFETCH(QString, manifest);
    Keep("Corvina9", gInstallerBytes());
    m_rig->Manager().findChild<VersionInfo *>()->setXml(manifest);
    m_rig->Forget();
    m_rig->Manager().UpdateNow();
    QTEST(Log(), "log");
    QVERIFY(m_rig->Pages().isEmpty());
    QVERIFY(m_rig->Signals().isEmpty());
    QVERIFY(!QFile::exists(m_rig->StateFile()));
    QVERIFY(!QFile::exists(m_rig->Target()));
    QVERIFY(Reports().isEmpty());
}

void tst_LiveUpdateMgr_Select::the_matching_installer_leads_to_the_incremental_package()
{
    const QString md5 = gMd5(gInstallerBytes());
    Keep("Corvina9", gInstallerBytes());
    Offer(md5);
    m_rig->Manager().UpdateNow();
    QCOMPARE(Planned(), QByteArrayList{increasePath});
    const QStringList expected{checkLine, versionLine, gMd5Line(md5, md5), increaseLine};
    QCOMPARE(Log(), expected);
    QVERIFY(Reports().isEmpty());
}

void tst_LiveUpdateMgr_Select::the_folder_is_created_when_it_is_missing()
{
    QVERIFY(!QFile::exists(Folder()));
    Offer(gMd5(gInstallerBytes()));
    m_rig->Manager().UpdateNow();
    QVERIFY(QFileInfo(Folder()).isDir());
    QCOMPARE(Planned(), QByteArrayList{fullPath});
}

void tst_LiveUpdateMgr_Select::without_a_candidate_the_full_package_is_taken()
{
    Keep("Corvina8", PeBuilder::WithFileVersion("9.0.0.0").Build());
    Offer(gMd5(gInstallerBytes()));
    m_rig->Manager().UpdateNow();
    QCOMPARE(Planned(), QByteArrayList{fullPath});
    const QStringList expected{checkLine, "packVersion 9.0.0.0;currentVersion = 9.1.0.0", fullLine};
    QCOMPARE(Log(), expected);
    QVERIFY(Reports().isEmpty());
}

void tst_LiveUpdateMgr_Select::
    with_a_wrong_md5_the_full_package_is_taken_and_the_mismatch_is_reported()
{
    const QString md5 = gMd5(gInstallerBytes(1));
    Keep("Corvina9", gInstallerBytes(2));
    Offer(md5);
    m_rig->Manager().UpdateNow();
    QCOMPARE(Planned(), QByteArrayList{fullPath});
    const QStringList expected{checkLine, versionLine, gMd5Line(gMd5(gInstallerBytes(2)), md5),
                               failedLine, fullLine};
    QCOMPARE(Log(), expected);
    QCOMPARE(Reports(), QList<int>{-4});
}

void tst_LiveUpdateMgr_Select::of_two_files_of_the_version_the_second_is_taken()
{
    Keep("one", "to be filled");
    Keep("other", "to be filled");
    const QFileInfoList files = QDir(Folder()).entryInfoList(QDir::Files, QDir::Unsorted);
    Keep(files.at(0).fileName(), gInstallerBytes(1));
    Keep(files.at(1).fileName(), gInstallerBytes(2));
    const QString md5 = gMd5(gInstallerBytes(2));
    Offer(md5);
    m_rig->Manager().UpdateNow();
    QCOMPARE(Planned(), QByteArrayList{increasePath});
    const QStringList expected{checkLine,   versionLine, gMd5Line(gMd5(gInstallerBytes(1)), md5),
                               failedLine,  versionLine, gMd5Line(md5, md5),
                               increaseLine};
    QCOMPARE(Log(), expected);
    QCOMPARE(Reports(), QList<int>{-4});
}

void tst_LiveUpdateMgr_Select::an_upper_case_md5_of_the_manifest_never_matches()
{
    Keep("Corvina9", gInstallerBytes());
    Offer(gMd5(gInstallerBytes()).toUpper());
    m_rig->Manager().UpdateNow();
    QCOMPARE(Planned(), QByteArrayList{fullPath});
    QCOMPARE(Log().count(failedLine), 1);
    QCOMPARE(Reports(), QList<int>{-4});
}

void tst_LiveUpdateMgr_Select::without_a_shared_folder_the_full_package_is_taken_silently_data()
{
    QTest::addColumn<bool>("documents");
    QTest::newRow("there_is_no_common_documents_folder") << false;
    QTest::newRow("the_folder_cannot_be_created_or_written") << true;
}

void tst_LiveUpdateMgr_Select::without_a_shared_folder_the_full_package_is_taken_silently()
{
    QFETCH(bool, documents);
    if (documents) {
        QVERIFY(gWriteFile(Folder(), "a file where a folder is needed"));
    } else {
        m_rig->BlockWorkingFolder();
    }
    Offer(gMd5(gInstallerBytes()));
    m_rig->Manager().UpdateNow();
    QCOMPARE(Planned(), QByteArrayList{fullPath});
    QCOMPARE(Log(), QStringList{fullLine});
    QVERIFY(Reports().isEmpty());
}

void tst_LiveUpdateMgr_Select::a_patch_whose_name_is_taken_is_not_asked_for_data()
{
    QTest::addColumn<QString>("name");
    QTest::newRow("by_the_kept_installer") << "Corvina9";
    QTest::newRow("by_what_the_patch_makes") << "Corvina9.patch";
    QTest::newRow("by_the_lock") << "Corvina9(x64).lock";
    QTest::newRow("by_the_new_file_of_the_full_package") << "Corvina9(x64).tmp.new";
    QTest::newRow("by_the_folder_above") << "..";
}

void tst_LiveUpdateMgr_Select::a_patch_whose_name_is_taken_is_not_asked_for()
{
    QFETCH(QString, name);
    Keep("Corvina9", gInstallerBytes());
    m_rig->Offer("/files/setup.exe",
                 Elements(gMd5(gInstallerBytes())).replace("increase.patch", name));
    m_rig->Manager().UpdateNow();
    QCOMPARE(Planned(), QByteArrayList{fullPath});
    QCOMPARE(m_log->CountContaining("the incremental package is not taken, "), 1);
    QVERIFY(!Log().contains(increaseLine));
    QCOMPARE(Log().last(), fullLine);
    QVERIFY(Reports().isEmpty());
}

void tst_LiveUpdateMgr_Select::an_installer_whose_name_no_file_can_have_is_not_asked_for_data()
{
    QTest::addColumn<QString>("address");
    QTest::newRow("none") << "/files/";
    QTest::newRow("the_folder_above") << "/files/..";
    QTest::newRow("the_file_that_is_downloaded_into") << "/files/Corvina9(x64).tmp";
}

void tst_LiveUpdateMgr_Select::an_installer_whose_name_no_file_can_have_is_not_asked_for()
{
    QFETCH(QString, address);
    m_rig->Offer(address);
    m_rig->Manager().UpdateNow();
    QCOMPARE(m_rig->HintText(), QStringLiteral("Failed to download the update."));
    QCOMPARE(m_rig->Pages().last(), QStringLiteral("hint"));
    QCOMPARE(m_log->CountContaining("the package is not downloaded, "), 1);
    QVERIFY(m_rig->Server().Requests().isEmpty());
    QVERIFY(!QFile::exists(m_rig->StateFile()));
    QVERIFY(Reports().isEmpty());
}

void tst_LiveUpdateMgr_Select::reports_carry_full_once_a_download_is_planned_data()
{
    QTest::addColumn<QString>("oldVerify");
    QTest::newRow("the_incremental_package_too") << gMd5(gInstallerBytes());
    QTest::newRow("the_full_package") << "no such MD5";
}

void tst_LiveUpdateMgr_Select::reports_carry_full_once_a_download_is_planned()
{
    QFETCH(QString, oldVerify);
    Keep("Corvina9", gInstallerBytes());
    Offer(oldVerify);
    m_rig->Manager().UpdateNow();
    gSettleReports();
    m_statistics->Server().ForgetRequests();
    UpdateEventReport::GetInstance()->ReportEvent(UpdateEventReport::DownloadError);
    QCOMPARE(Reports(), QList<int>{-1});
    const QJsonObject label = m_statistics->Record(0).value("label").toObject();
    QCOMPARE(label.value("type"), QJsonValue("full"));
    QCOMPARE(label.value("oldver"), QJsonValue("9.1.0.0"));
    QCOMPARE(label.value("newver"), QJsonValue("9.2.0.0"));
}

void tst_LiveUpdateMgr_Select::every_failing_range_is_reported()
{
    m_rig->Server().Serve(fullPath, HttpAnswer::Body(gTestBytes(50000)), "HEAD");
    m_rig->StartFullDownload(HttpAnswer::Status(404));
    QTRY_COMPARE(m_rig->Pages().count("hint"), 5);
    QCOMPARE(m_rig->HintText(), QString("Failed to download the update."));
    const QList<int> expected{-1, -1, -1, -1, -1};
    QCOMPARE(Reports(), expected);
}

void tst_LiveUpdateMgr_Select::a_failed_patch_falls_back_to_the_full_package()
{
    const QString md5 = gMd5(gInstallerBytes());
    const QByteArray package = gTestBytes(40000, 5);
    Keep("Corvina9", gInstallerBytes());
    m_rig->Server().Serve(increasePath, HttpAnswer::Body(gTestBytes(700, 3)));
    m_rig->Server().Serve(fullPath, HttpAnswer::Body(package));
    Offer(md5);
    m_rig->Manager().UpdateNow();
    QTRY_COMPARE(m_rig->Boxes(), 1);
    const QByteArrayList planned{increasePath, fullPath};
    QCOMPARE(Planned(), planned);
    const QStringList expected{checkLine, versionLine, gMd5Line(md5, md5), increaseLine, fullLine};
    QCOMPARE(Log(), expected);
    QVERIFY(gReadFile(m_rig->Installer()) == package);
    QVERIFY2(gReadFile(Folder() + "/Corvina9") == gInstallerBytes(), "the kept installer stays");
    QVERIFY(gReadFile(Folder() + "/increase.patch") == gTestBytes(700, 3));
    QVERIFY(!m_rig->Pages().contains("hint"));
}

void tst_LiveUpdateMgr_Select::
    a_silent_check_during_the_download_does_not_change_what_follows_a_failed_patch()
{
    const QByteArray package = gTestBytes(40000, 5);
    Keep("Corvina9", gInstallerBytes());
    m_rig->Server().Serve(increasePath, HttpAnswer::Body(gTestBytes(700, 3)));
    m_rig->Server().Serve(fullPath, HttpAnswer::Body(package));
    m_rig->Server().Serve("/other.exe", HttpAnswer::Body("another package"));
    m_rig->Server().Serve(
        "/check",
        HttpAnswer::Body(UpdateRig::Manifest(m_rig->Server().Address("/other.exe")).toUtf8()));
    Offer(gMd5(gInstallerBytes()));
    m_rig->Manager().UpdateNow();
    QVERIFY(m_rig->Manager().IsNeedUpdate());
    QTRY_COMPARE(m_rig->Boxes(), 1);
    const QByteArrayList planned{increasePath, fullPath};
    QCOMPARE(Planned(), planned);
    QVERIFY(gReadFile(m_rig->Installer()) == package);
}

void tst_LiveUpdateMgr_Select::several_failed_patches_fall_back_once()
{
    Keep("Corvina9", gInstallerBytes());
    HttpAnswer slow = HttpAnswer::Body(gTestBytes(700, 3));
    slow.delayMs = 60000;
    m_rig->Server().Serve(increasePath, HttpAnswer::Body(gTestBytes(700, 3)), "HEAD");
    m_rig->Server().Serve(increasePath, slow);
    m_rig->Server().Serve(fullPath, HttpAnswer::Body(gTestBytes(40000, 5)));
    Offer(gMd5(gInstallerBytes()));
    m_rig->Manager().UpdateNow();
    UpdateRig::SettlePlan();
    QCOMPARE(Planned(), QByteArrayList{increasePath});
    int failures = 0;
    const QList<DownloadMgr *> downloaders = m_rig->Manager().findChildren<DownloadMgr *>();
    for (DownloadMgr *downloader : downloaders) {
        if (downloader->IsRunning()) {
            ++failures;
            emit downloader->PatchIncreasePackageFaild();
        }
    }
    QCOMPARE(failures, 5);
    QTRY_COMPARE(m_rig->Boxes(), 1);
    const QByteArrayList planned{increasePath, fullPath};
    QCOMPARE(Planned(), planned);
    QCOMPARE(Log().count(fullLine), 1);
}

void tst_LiveUpdateMgr_Select::a_patch_that_failed_is_not_downloaded_again()
{
    Keep("Corvina9", gInstallerBytes());
    m_rig->Server().Serve(increasePath, HttpAnswer::Body(gTestBytes(700, 3)));
    m_rig->Server().Serve(fullPath, HttpAnswer::Body(gTestBytes(40000, 5)));
    Offer(gMd5(gInstallerBytes()));
    m_rig->Manager().UpdateNow();
    QTRY_COMPARE(m_rig->Signals().count("Close"), 1);
    m_rig->Manager().UpdateNow();
    QTRY_COMPARE(m_rig->Boxes(), 2);
    const QByteArrayList planned{increasePath, fullPath, fullPath};
    QCOMPARE(Planned(), planned);
}

QTEST_MAIN(tst_LiveUpdateMgr_Select)
#include "tst_LiveUpdateMgr_Select.moc"
