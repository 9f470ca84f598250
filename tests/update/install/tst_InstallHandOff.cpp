// SPDX-License-Identifier: MIT

#include "tests/support/LogCapture.h"
#include "tests/support/StandIn.h"
#include "tests/support/StatisticsServer.h"
#include "tests/update/UpdateRig.h"
#include "update/base/DownloadState.h"
#include "update/install/PostponedInstaller.h"

#include <QSettings>
#include <QtTest>

Q_DECLARE_METATYPE(UpdateRig::Answer)

/// The hand-off to the installer: a complete package or a kept installer is offered, and then
/// started or kept. The installers are stand-ins that write a file "mark".
class tst_InstallHandOff : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void cleanup();

    void a_complete_package_asks_the_user();
    void a_complete_package_is_told_before_the_question();
    void yes_after_a_download_starts_the_installer();
    void no_after_a_download_keeps_the_installer_data();
    void no_after_a_download_keeps_the_installer();

    void a_kept_installer_asks_the_user();
    void yes_for_a_kept_installer_starts_it();
    void no_for_a_kept_installer_keeps_it_data();
    void no_for_a_kept_installer_keeps_it();
    void an_installer_kept_from_a_download_is_offered_at_the_next_check();
    void a_kept_installer_is_offered_at_every_check();

    void an_installer_that_another_process_has_kept_is_offered();
    void a_kept_installer_is_on_disk_when_it_was_written();

    void close_is_told_before_the_installer_starts();
    void an_installer_that_cannot_be_started_is_not_told();
    void a_started_installer_is_reported_before_the_host_is_told();
    void an_installer_that_cannot_be_started_is_reported();
    void a_report_that_fails_holds_nothing_back();
    void the_setting_is_written_before_the_host_is_told();
    void install_without_a_yes_starts_nothing();
    void install_after_a_yes_starts_the_installer_again();
    void install_after_a_yes_and_a_later_no_starts_nothing();
    void a_downloader_offers_nothing_without_the_file();
    void a_downloader_tells_the_answer();

private:
    QString Mark() const { return m_rig->Path("mark"); }
    /// An installer that writes @p text into "mark".
    QByteArray Installer(const QByteArray &text) const
    {
        return StandIn::Bytes("write\t" + Mark().toUtf8() + '\t' + text);
    }
    void KeepInstaller()
    {
        QVERIFY(gWriteFile(Kept(), Installer("kept")));
        m_rig->WriteSetting("SetupFile", Kept());
        m_rig->Build();
    }
    QString Kept() const { return m_rig->Path("kept installer.exe"); }

    /// Starts a server for the event reports; called by the tests that compare them.
    void ReceiveReports()
    {
        m_statistics = std::make_unique<StatisticsServer>(m_certificates);
        m_rig->SendReportsTo(*m_statistics);
    }

    TestCertificates m_certificates;
    std::unique_ptr<StatisticsServer> m_statistics;
    std::unique_ptr<UpdateRig> m_rig;
};

static const QString completeText =
    "Download completed. However, the program is running. Please click Yes to terminate the "
    "program "
    "and install the new version. Click Cancel to install it next time.";
static const QString keptText =
    "A new version has been found in your device. However, the program is running. Please click "
    "Yes "
    "to terminate the program and install the new version. Click Cancel to install it next time.";

void tst_InstallHandOff::initTestCase()
{
    m_certificates.TrustAuthority();
}

void tst_InstallHandOff::init()
{
    m_rig = std::make_unique<UpdateRig>();
    m_rig->Build();
}

void tst_InstallHandOff::cleanup()
{
    m_rig.reset();
    m_statistics.reset();
}

void tst_InstallHandOff::a_complete_package_asks_the_user()
{
    m_rig->StartFullDownload(HttpAnswer::Body(Installer("new")));
    QTRY_COMPARE(m_rig->Boxes(), 1);
    QVERIFY(m_rig->BoxSaid("Information", completeText));
    QCOMPARE(gDownloadState().installerReady, m_rig->Installer());
}

void tst_InstallHandOff::a_complete_package_is_told_before_the_question()
{
    int boxes = -1;
    bool inPlace = false;
    connect(&m_rig->Manager(), &LiveUpdateMgr::BeginInstall, this, [&] {
        boxes = m_rig->Boxes();
        inPlace = QFile::exists(m_rig->Installer()) && !QFile::exists(m_rig->Target());
    });
    m_rig->StartFullDownload(HttpAnswer::Body(Installer("new")));
    QTRY_COMPARE(m_rig->Boxes(), 1);
    QCOMPARE(boxes, 0);
    QVERIFY(inPlace);
}

void tst_InstallHandOff::yes_after_a_download_starts_the_installer()
{
    m_rig->SetAnswer(UpdateRig::Answer::Yes);
    m_rig->StartFullDownload(HttpAnswer::Body(Installer("new")));
    QTRY_COMPARE(gReadFile(Mark()), QByteArray("new"));
    const QStringList expected{"BeginInstall", "Close", "InstallStarted"};
    QTRY_COMPARE(m_rig->Signals(), expected);
    QCOMPARE(m_rig->Setting("SetupFile"), QString());
}

void tst_InstallHandOff::no_after_a_download_keeps_the_installer_data()
{
    QTest::addColumn<UpdateRig::Answer>("answer");
    QTest::newRow("cancel") << UpdateRig::Answer::Cancel;
    QTest::newRow("closing_the_box") << UpdateRig::Answer::CloseBox;
}

void tst_InstallHandOff::no_after_a_download_keeps_the_installer()
{
    QFETCH(UpdateRig::Answer, answer);
    m_rig->SetAnswer(answer);
    m_rig->StartFullDownload(HttpAnswer::Body(Installer("new")));
    const QStringList expected{"BeginInstall", "CancelInstall", "Close"};
    QTRY_COMPARE(m_rig->Signals(), expected);
    QCOMPARE(m_rig->Setting("SetupFile"), m_rig->WorkingFolder() + "/setup.exe");
    QVERIFY(!QFile::exists(Mark()));
}

void tst_InstallHandOff::a_kept_installer_asks_the_user()
{
    KeepInstaller();
    m_rig->Manager().LiveUpdate();
    QTRY_COMPARE(m_rig->Boxes(), 1);
    QVERIFY(m_rig->BoxSaid("Information", keptText));
    QVERIFY(m_rig->Server().Requests().isEmpty());
}

void tst_InstallHandOff::yes_for_a_kept_installer_starts_it()
{
    KeepInstaller();
    m_rig->SetAnswer(UpdateRig::Answer::Yes);
    m_rig->Manager().LiveUpdate();
    QTRY_COMPARE(gReadFile(Mark()), QByteArray("kept"));
    const QStringList expected{"Close", "InstallStarted"};
    QTRY_COMPARE(m_rig->Signals(), expected);
    QCOMPARE(m_rig->Setting("SetupFile"), Kept());
}

void tst_InstallHandOff::no_for_a_kept_installer_keeps_it_data()
{
    no_after_a_download_keeps_the_installer_data();
}

void tst_InstallHandOff::no_for_a_kept_installer_keeps_it()
{
    QFETCH(UpdateRig::Answer, answer);
    KeepInstaller();
    m_rig->SetAnswer(answer);
    m_rig->Manager().LiveUpdate();
    const QStringList expected{"CancelInstall", "Close"};
    QTRY_COMPARE(m_rig->Signals(), expected);
    QCOMPARE(m_rig->Setting("SetupFile"), Kept());
    QCOMPARE(gDownloadState().installerReady, Kept());
    QVERIFY(!QFile::exists(Mark()));
}

void tst_InstallHandOff::an_installer_kept_from_a_download_is_offered_at_the_next_check()
{
    m_rig->StartFullDownload(HttpAnswer::Body(Installer("new")));
    QTRY_COMPARE(m_rig->Signals().count("CancelInstall"), 1);
    m_rig->Forget();
    m_rig->Build();
    m_rig->SetAnswer(UpdateRig::Answer::Yes);
    m_rig->Manager().LiveUpdate();
    QTRY_COMPARE(gReadFile(Mark()), QByteArray("new"));
    QVERIFY(m_rig->BoxSaid("Information", keptText));
    QVERIFY(m_rig->Server().Requests().isEmpty());
}

void tst_InstallHandOff::a_kept_installer_is_offered_at_every_check()
{
    KeepInstaller();
    m_rig->SetAnswer(UpdateRig::Answer::Yes);
    m_rig->Manager().LiveUpdate();
    QTRY_COMPARE(m_rig->Signals().count("InstallStarted"), 1);
    m_rig->SetAnswer(UpdateRig::Answer::Cancel);
    m_rig->Manager().LiveUpdate();
    QTRY_COMPARE(m_rig->Boxes(), 2);
    QTRY_COMPARE(m_rig->Signals().count("CancelInstall"), 1);
}

void tst_InstallHandOff::an_installer_that_another_process_has_kept_is_offered()
{
    // The settings have been read.
    m_rig->Manager().LiveUpdate();
    QTRY_COMPARE(m_rig->Server().Requests().size(), 1);
    QVERIFY(gWriteFile(Kept(), Installer("kept")));
    QVERIFY(gWriteFile(m_rig->SettingsFile(), "[Quillon]\nSetupFile=" + Kept().toUtf8() + '\n'));
    m_rig->Manager().LiveUpdate();
    QTRY_COMPARE(m_rig->Boxes(), 1);
    QVERIFY(m_rig->BoxSaid("Information", keptText));
    QCOMPARE(m_rig->Server().Requests().size(), 1);
}

void tst_InstallHandOff::a_kept_installer_is_on_disk_when_it_was_written()
{
    QSettings settings(m_rig->SettingsFile(), QSettings::IniFormat);
    gWriteSetupFile(&settings, "/kept.exe");
    // Not through QSettings, whose objects share what is not on disk yet.
    QVERIFY(gReadFile(m_rig->SettingsFile()).contains("SetupFile=/kept.exe"));
}

void tst_InstallHandOff::close_is_told_before_the_installer_starts()
{
    KeepInstaller();
    m_rig->SetAnswer(UpdateRig::Answer::Yes);
    // An installer that was started before `Close` would write the other text.
    connect(&m_rig->Manager(), &LiveUpdateMgr::Close, this, [this] {
        QFile::remove(Kept());
        gWriteFile(Kept(), Installer("exchanged"));
    });
    m_rig->Manager().LiveUpdate();
    QTRY_VERIFY(QFile::exists(Mark()));
    QCOMPARE(gReadFile(Mark()), QByteArray("exchanged"));
}

void tst_InstallHandOff::an_installer_that_cannot_be_started_is_not_told()
{
    KeepInstaller();
    m_rig->SetAnswer(UpdateRig::Answer::Yes);
    connect(&m_rig->Manager(), &LiveUpdateMgr::Close, this, [this] { QFile::remove(Kept()); });
    m_rig->Manager().LiveUpdate();
    QTRY_COMPARE(m_rig->Signals(), QStringList{"Close"});
    QCoreApplication::processEvents();
    QCOMPARE(m_rig->Signals(), QStringList{"Close"});
    QCOMPARE(m_rig->Setting("SetupFile"), Kept());
}

void tst_InstallHandOff::a_started_installer_is_reported_before_the_host_is_told()
{
    ReceiveReports();
    HttpAnswer slow = HttpAnswer::Status(200);
    slow.delayMs = 200;
    m_statistics->Answer(slow);
    KeepInstaller();
    m_rig->SetAnswer(UpdateRig::Answer::Yes);
    QList<int> reportsAtClose{0};
    QList<int> reportsAtStart;
    QElapsedTimer sinceClose;
    qint64 waited = 0;
    connect(&m_rig->Manager(), &LiveUpdateMgr::Close, this, [&] {
        reportsAtClose = m_statistics->Results();
        sinceClose.start();
    });
    connect(&m_rig->Manager(), &LiveUpdateMgr::InstallStarted, this, [&] {
        reportsAtStart = m_statistics->Results();
        waited = sinceClose.elapsed();
    });
    m_rig->Manager().LiveUpdate();
    QTRY_COMPARE(m_rig->Signals().count("InstallStarted"), 1);
    QVERIFY(reportsAtClose.isEmpty());
    QCOMPARE(reportsAtStart, QList<int>{1});
    QVERIFY2(waited >= 200, "the answer was waited for");
    gSettleReports();
    QCOMPARE(m_statistics->Results(), QList<int>{1});
}

void tst_InstallHandOff::an_installer_that_cannot_be_started_is_reported()
{
    const LogCapture log;
    ReceiveReports();
    KeepInstaller();
    m_rig->SetAnswer(UpdateRig::Answer::Yes);
    connect(&m_rig->Manager(), &LiveUpdateMgr::Close, this, [this] { QFile::remove(Kept()); });
    m_rig->Manager().LiveUpdate();
    QTRY_COMPARE(m_statistics->Results(), QList<int>{-6});
    QCOMPARE(log.CountContaining("the installer " + Kept() + " could not be started"), 1);
    gSettleReports();
    QCOMPARE(m_statistics->Results(), QList<int>{-6});
    QCOMPARE(m_rig->Signals(), QStringList{"Close"});
}

void tst_InstallHandOff::a_report_that_fails_holds_nothing_back()
{
    ReceiveReports();
    m_statistics->Answer(HttpAnswer::Status(500));
    KeepInstaller();
    m_rig->SetAnswer(UpdateRig::Answer::Yes);
    m_rig->Manager().LiveUpdate();
    const QStringList expected{"Close", "InstallStarted"};
    QTRY_COMPARE(m_rig->Signals(), expected);
    QTRY_COMPARE(gReadFile(Mark()), QByteArray("kept"));
}

void tst_InstallHandOff::the_setting_is_written_before_the_host_is_told()
{
    QString setting;
    connect(&m_rig->Manager(), &LiveUpdateMgr::CancelInstall, this,
            [this, &setting] { setting = m_rig->Setting("SetupFile"); });
    m_rig->StartFullDownload(HttpAnswer::Body(Installer("new")));
    QTRY_COMPARE(setting, m_rig->Installer());
}

void tst_InstallHandOff::install_without_a_yes_starts_nothing()
{
    m_rig->Manager().Install();
    KeepInstaller();
    m_rig->Manager().Install();
    m_rig->Manager().LiveUpdate();
    QTRY_COMPARE(m_rig->Signals().count("CancelInstall"), 1);
    m_rig->Manager().Install();
    QVERIFY(!m_rig->Signals().contains("InstallStarted"));
    QVERIFY(!QFile::exists(Mark()));
}

void tst_InstallHandOff::install_after_a_yes_starts_the_installer_again()
{
    KeepInstaller();
    m_rig->SetAnswer(UpdateRig::Answer::Yes);
    m_rig->Manager().LiveUpdate();
    QTRY_VERIFY(QFile::exists(Mark()));
    QTRY_COMPARE(m_rig->Signals().count("InstallStarted"), 1);
    QVERIFY(QFile::remove(Mark()));
    m_rig->Manager().Install();
    QTRY_VERIFY(QFile::exists(Mark()));
    QTRY_COMPARE(m_rig->Signals().count("InstallStarted"), 2);
}

void tst_InstallHandOff::install_after_a_yes_and_a_later_no_starts_nothing()
{
    KeepInstaller();
    m_rig->SetAnswer(UpdateRig::Answer::Yes);
    m_rig->Manager().LiveUpdate();
    QTRY_VERIFY(QFile::exists(Mark()));
    QTRY_COMPARE(m_rig->Signals().count("InstallStarted"), 1);
    m_rig->SetAnswer(UpdateRig::Answer::Cancel);
    m_rig->Manager().LiveUpdate();
    QTRY_COMPARE(m_rig->Signals().count("CancelInstall"), 1);
    m_rig->Manager().Install();
    QCOMPARE(m_rig->Signals().count("InstallStarted"), 1);
}

void tst_InstallHandOff::a_downloader_offers_nothing_without_the_file()
{
    DownloadMgr downloader(m_rig->Context(), nullptr);
    const QSignalSpy cancelled(&downloader, &DownloadMgr::CancelInstall);
    downloader.OfferKeptInstaller(m_rig->Path("gone.exe"));
    QCoreApplication::processEvents();
    QCOMPARE(m_rig->Boxes(), 0);
    QCOMPARE(cancelled.count(), 0);
    QVERIFY(gDownloadState().installerReady.isEmpty());
}

void tst_InstallHandOff::a_downloader_tells_the_answer()
{
    QVERIFY(gWriteFile(Kept(), Installer("kept")));
    DownloadMgr downloader(m_rig->Context(), nullptr);
    QStringList told;
    connect(&downloader, &DownloadMgr::Close, this, [&told] { told.append("Close"); });
    connect(&downloader, &DownloadMgr::CancelInstall, this,
            [&told] { told.append("CancelInstall"); });
    connect(&downloader, &DownloadMgr::InstallStarted, this,
            [&told] { told.append("InstallStarted"); });
    downloader.OfferKeptInstaller(Kept());
    const QStringList afterCancel{"CancelInstall", "Close"};
    QTRY_COMPARE(told, afterCancel);
    told.clear();
    m_rig->SetAnswer(UpdateRig::Answer::Yes);
    downloader.OfferKeptInstaller(Kept());
    const QStringList afterYes{"Close", "InstallStarted"};
    QTRY_COMPARE(told, afterYes);
    QTRY_COMPARE(gReadFile(Mark()), QByteArray("kept"));
}

QTEST_MAIN(tst_InstallHandOff)
#include "tst_InstallHandOff.moc"
