// SPDX-License-Identifier: MIT

#include "api/UpdateInit.h"
#include "platform/FileVersion.h"
#include "platform/ProcessLock.h"
#include "tests/support/LaterCalls.h"
#include "tests/support/LogCapture.h"
#include "tests/support/Md5.h"
#include "tests/support/PatchProgram.h"
#include "tests/support/StandIn.h"
#include "tests/support/StatisticsServer.h"
#include "tests/support/TestBytes.h"
#include "tests/update/UpdateRig.h"
#include "update/base/DownloadState.h"
#include "update/plan/PackageFolder.h"

#include <QtTest>

#include <atomic>

/// A whole incremental package: the download, the patch, and the question. The installers are
/// stand-ins that write a file "mark".
class tst_DownloadMgr_Increase : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void cleanup();

    void the_kept_installer_becomes_the_new_one();
    void yes_starts_the_new_installer();
    void the_result_is_the_base_of_the_next_incremental_update();
    void the_question_comes_after_the_patch();
    void the_download_is_told_as_finished_after_the_patch();
    void the_lock_is_held_while_the_patch_program_runs();
    void closing_while_the_kept_installer_is_held_replaces_nothing();
    void a_failed_patch_is_told_and_asks_nothing_data();
    void a_failed_patch_is_told_and_asks_nothing();
    void an_upper_case_md5_of_the_manifest_is_a_failed_patch();
    void a_result_that_the_disk_does_not_keep_is_a_failed_patch();
    void a_host_may_delete_the_dialog_when_the_patch_ends_data();
    void a_host_may_delete_the_dialog_when_the_patch_ends();

    void a_redirected_package_is_patched();
    void five_redirected_ranges_patch_once();
    void a_redirected_package_that_cannot_be_patched_is_told();
    void progress_of_a_redirected_package_is_passed_on();

    void a_package_that_is_all_there_is_patched_at_once();
    void a_package_that_is_half_there_is_resumed();

private:
    QString Mark() const { return m_rig->Path("mark"); }
    /// An installer of @p version.
    QByteArray Installer(const QByteArray &version) const
    {
        return StandIn::Bytes("write\t" + Mark().toUtf8() + '\t' + version,
                              gTestBytes(20000, 4) + gTestBytes(100, qHash(version)));
    }
    QString Kept() const { return m_rig->WorkingFolder() + "/Corvina9"; }
    QString Target() const { return m_rig->WorkingFolder() + "/increase.patch"; }
    void Offer(const QByteArray &oldInstaller, const QString &newMd5,
               const QByteArray &patchPath = "/files/increase.patch");
    /// Starts one range of the package without a manager.
    std::unique_ptr<DownloadMgr> Start(const QString &md5);
    QList<int> Reports()
    {
        gSettleReports();
        return m_statistics->Results();
    }

    TestCertificates m_certificates;
    std::unique_ptr<UpdateRig> m_rig;
    std::unique_ptr<StatisticsServer> m_statistics;
    QByteArray m_old;
    QByteArray m_new;
    QByteArray m_patch;
    QStringList m_told;
};

static const QByteArray path = "/files/increase.patch";

void tst_DownloadMgr_Increase::initTestCase()
{
    m_certificates.TrustAuthority();
}

void tst_DownloadMgr_Increase::init()
{
    m_rig = std::make_unique<UpdateRig>();
    m_statistics = std::make_unique<StatisticsServer>(m_certificates);
    m_rig->SendReportsTo(*m_statistics);
    QFile::remove(PatchProgram::Path());
    m_old = Installer("9.1.0.0");
    m_new = Installer("9.2.0.0");
    m_patch = PatchProgram::MakePatch(m_old, m_new);
    m_told.clear();
    QVERIFY(gWriteFile(Kept(), m_old));
    // Read from the file, because on Windows a stand-in has the version resource of its program.
    UpdateInit::SetUpdateVersion(FileVersionString(Kept()));
    m_rig->Server().Serve(path, HttpAnswer::Body(m_patch));
    m_rig->Build();
}

void tst_DownloadMgr_Increase::cleanup()
{
    m_rig.reset();
    m_statistics.reset();
}

void tst_DownloadMgr_Increase::Offer(const QByteArray &oldInstaller, const QString &newMd5,
                                     const QByteArray &patchPath)
{
    m_rig->Offer("/files/setup.exe",
                 QString("<OldVerify_x64>%1</OldVerify_x64><IncreasePackage><Url_x64>%2</Url_x64>"
                         "<Verify_x64>%3</Verify_x64></IncreasePackage>")
                     .arg(gMd5(oldInstaller), m_rig->Server().Address(patchPath), newMd5));
}

std::unique_ptr<DownloadMgr> tst_DownloadMgr_Increase::Start(const QString &md5)
{
    const int size = m_patch.size();
    m_rig->WriteState(QString::number(size), "0",
                      {{{0, 0}, {0, 0}, {0, 0}, {0, 0}, {0, size - 1}}});
    gWriteFile(Target(), QByteArray(size, '\0'));
    gDownloadState().activeSegments = 1;
    gDownloadState().downloadStarted = true;
    auto downloader = std::make_unique<DownloadMgr>(m_rig->Context(), nullptr);
    const auto note = [this, &downloader](void (DownloadMgr::*signal)(), const char *name) {
        connect(downloader.get(), signal, this, [this, name] { m_told.append(name); });
    };
    note(&DownloadMgr::DownloadFinished, "DownloadFinished");
    note(&DownloadMgr::BeginInstall, "BeginInstall");
    note(&DownloadMgr::CancelInstall, "CancelInstall");
    note(&DownloadMgr::Close, "Close");
    note(&DownloadMgr::PatchIncreasePackageFaild, "PatchIncreasePackageFaild");
    connect(downloader.get(), &DownloadMgr::Error, this, [this] { m_told.append("Error"); });
    downloader->ResumeDownload(Target(), m_rig->Server().Url(path), m_rig->Installer(), 0, size - 1,
                               5, true, md5, Kept());
    return downloader;
}

void tst_DownloadMgr_Increase::the_kept_installer_becomes_the_new_one()
{
    const PatchProgram program;
    Offer(m_old, gMd5(m_new));
    m_rig->Manager().UpdateNow();
    QTRY_COMPARE(m_rig->Boxes(), 1);
    QVERIFY(m_rig->BoxSaid("Information",
                           "Download completed. However, the program is running. Please click Yes "
                           "to terminate the program and install the new version. Click Cancel to "
                           "install it next time."));
    QVERIFY(gReadFile(Kept()) == m_new);
    QVERIFY(gReadFile(Target()) == m_patch);
    QCOMPARE(gDownloadState().installerReady, Kept());
    const QStringList expected{"BeginInstall", "CancelInstall", "Close"};
    QTRY_COMPARE(m_rig->Signals(), expected);
    QCOMPARE(m_rig->Setting("SetupFile"), Kept());
    QCOMPARE(m_rig->Server().Requests("GET").size(), 5);
    QVERIFY(!QFile::exists(m_rig->Installer()));
    QVERIFY(Reports().isEmpty());
}

void tst_DownloadMgr_Increase::yes_starts_the_new_installer()
{
    const PatchProgram program;
    m_rig->SetAnswer(UpdateRig::Answer::Yes);
    Offer(m_old, gMd5(m_new));
    m_rig->Manager().UpdateNow();
    QTRY_COMPARE(gReadFile(Mark()), QByteArray("9.2.0.0"));
    const QStringList expected{"BeginInstall", "Close", "InstallStarted"};
    QTRY_COMPARE(m_rig->Signals(), expected);
    QCOMPARE(Reports(), QList<int>{1});
}

void tst_DownloadMgr_Increase::the_result_is_the_base_of_the_next_incremental_update()
{
    const PatchProgram program;
    Offer(m_old, gMd5(m_new));
    m_rig->Manager().UpdateNow();
    QTRY_COMPARE(m_rig->Signals().count("Close"), 1);

    const QByteArray next = Installer("9.3.0.0");
    m_rig->Server().Serve("/files/next.patch",
                          HttpAnswer::Body(PatchProgram::MakePatch(m_new, next)));
    UpdateInit::SetUpdateVersion(FileVersionString(Kept()));
    m_rig->Build();
    Offer(m_new, gMd5(next), "/files/next.patch");
    m_rig->Manager().UpdateNow();
    QTRY_COMPARE(m_rig->Boxes(), 2);
    QVERIFY(gReadFile(Kept()) == next);
    QCOMPARE(gDownloadState().installerReady, Kept());
}

void tst_DownloadMgr_Increase::the_question_comes_after_the_patch()
{
    const PatchProgram program;
    int boxes = -1;
    QByteArray inPlace;
    connect(&m_rig->Manager(), &LiveUpdateMgr::BeginInstall, this, [&] {
        boxes = m_rig->Boxes();
        inPlace = gReadFile(Kept());
    });
    Offer(m_old, gMd5(m_new));
    m_rig->Manager().UpdateNow();
    QTRY_COMPARE(m_rig->Boxes(), 1);
    QCOMPARE(boxes, 0);
    QVERIFY(inPlace == m_new);
}

void tst_DownloadMgr_Increase::the_download_is_told_as_finished_after_the_patch()
{
    const PatchProgram program;
    QByteArray inPlace;
    const auto downloader = Start(gMd5(m_new));
    connect(downloader.get(), &DownloadMgr::DownloadFinished, this,
            [&] { inPlace = gReadFile(Kept()); });
    const QStringList expected{"DownloadFinished", "BeginInstall", "CancelInstall", "Close"};
    QTRY_COMPARE(m_told, expected);
    QVERIFY(inPlace == m_new);
    QVERIFY(!gDownloadState().downloadStarted);
    QCOMPARE(gDownloadState().finishedSegments, 0);
}

void tst_DownloadMgr_Increase::the_lock_is_held_while_the_patch_program_runs()
{
    // The file of the lock is there while the lock is held.
    const QString seen = m_rig->Path("seen");
    const PatchProgram program("copy\t" + gPackageLockFile().toUtf8() + '\t' + seen.toUtf8() +
                               "\ncopy\t$3\t$2");
    bool wasThere = true;
    Offer(m_old, gMd5(m_patch));
    connect(&m_rig->Manager(), &LiveUpdateMgr::BeginInstall, this,
            [&wasThere] { wasThere = QFile::exists(gPackageLockFile()); });
    m_rig->Manager().UpdateNow();
    QTRY_COMPARE(m_rig->Boxes(), 1);
    QVERIFY(QFile::exists(seen));
    QVERIFY(!wasThere);
}

void tst_DownloadMgr_Increase::closing_while_the_kept_installer_is_held_replaces_nothing()
{
    const PatchProgram program;
    LaterCalls later;
    m_rig->System().callLater = later.Seam();
    std::atomic<int> attempts{0};
    m_rig->System().renameOver = [&](const QString &from, const QString &to, QString *failure) {
        const bool isHeld = to == Kept() && ++attempts == 1;
        return isHeld ? RenameResult::Busy : gRenameOver(from, to, failure);
    };
    m_rig->Build();
    Offer(m_old, gMd5(m_new));
    m_rig->Manager().UpdateNow();
    QTRY_COMPARE(attempts.load(), 1);
    QCOMPARE(ProcessLock().TryLock(gPackageLockFile()), ProcessLock::Outcome::HeldByAnother);
    emit m_rig->Progress().Close();
    QCOMPARE(ProcessLock().TryLock(gPackageLockFile()), ProcessLock::Outcome::Taken);
    later.Run();
    QCoreApplication::processEvents();
    QCOMPARE(attempts.load(), 1);
    QVERIFY(gReadFile(Kept()) == m_old);
    QCOMPARE(m_rig->Boxes(), 0);
    QCOMPARE(m_rig->Signals().count("Close"), 5);

    m_rig->Forget();
    m_rig->Build();
    Offer(m_old, gMd5(m_new));
    m_rig->Manager().UpdateNow();
    QTRY_COMPARE(m_rig->Boxes(), 1);
    QVERIFY(m_rig->Server().Requests("GET").isEmpty());
    QVERIFY(gReadFile(Kept()) == m_new);
}

void tst_DownloadMgr_Increase::a_failed_patch_is_told_and_asks_nothing_data()
{
    QTest::addColumn<QByteArray>("orders");
    QTest::addColumn<QList<int>>("reports");
    QTest::newRow("the_program_is_missing") << QByteArray() << QList<int>{};
    QTest::newRow("the_result_is_wrong") << QByteArray("write\t$2\twrong") << QList<int>{-2, -3};
    QTest::newRow("the_program_crashes") << QByteArray("crash") << QList<int>{-3};
}

void tst_DownloadMgr_Increase::a_failed_patch_is_told_and_asks_nothing()
{
    QFETCH(QByteArray, orders);
    const auto program = orders.isEmpty() ? nullptr : std::make_unique<PatchProgram>(orders);
    const auto downloader = Start(gMd5(m_new));
    QTRY_COMPARE(m_told, QStringList{"PatchIncreasePackageFaild"});
    QTEST(Reports(), "reports");
    QCOMPARE(m_told, QStringList{"PatchIncreasePackageFaild"});
    QCOMPARE(m_rig->Boxes(), 0);
    QVERIFY(gReadFile(Kept()) == m_old);
    QVERIFY(gReadFile(Target()) == m_patch);
    QVERIFY(gDownloadState().installerReady.isEmpty());
}

void tst_DownloadMgr_Increase::an_upper_case_md5_of_the_manifest_is_a_failed_patch()
{
    const PatchProgram program;
    m_rig->Server().Serve("/files/setup.exe", HttpAnswer::Body(gTestBytes(30000)));
    Offer(m_old, gMd5(m_new).toUpper());
    m_rig->Manager().UpdateNow();
    QTRY_COMPARE(m_rig->Boxes(), 1);
    QCOMPARE(gDownloadState().installerReady, m_rig->Installer());
    QVERIFY(gReadFile(Kept()) == m_old);
    QVERIFY2(gReadFile(Kept() + ".patch") == m_new, "the unverified file is left on disk");
    const QList<int> expected{-2, -3};
    QCOMPARE(Reports(), expected);
}

void tst_DownloadMgr_Increase::a_result_that_the_disk_does_not_keep_is_a_failed_patch()
{
    const PatchProgram program;
    const LogCapture log;
    const QString result = Kept() + ".patch";
    m_rig->System().flush = [result](const QString &file) {
        return file == result ? FlushResult::Failed : FlushResult::Flushed;
    };
    m_rig->Build();
    Offer(m_old, gMd5(m_new));
    m_rig->Manager().UpdateNow();
    QTRY_COMPARE(
        log.CountContaining("disk failure, " + result + " cannot be put on stable storage"), 1);
    QCOMPARE(log.CountContaining("DispatchPackageFailed!!!"), 1);
    QVERIFY(gReadFile(Kept()) == m_old);
    // The full package is planned, and the server has none.
    QTRY_COMPARE(m_rig->HintText(), QStringLiteral("Failed to download the update."));
}

void tst_DownloadMgr_Increase::a_host_may_delete_the_dialog_when_the_patch_ends_data()
{
    QTest::addColumn<bool>("isRight");
    QTest::newRow("well") << true;
    QTest::newRow("badly") << false;
}

void tst_DownloadMgr_Increase::a_host_may_delete_the_dialog_when_the_patch_ends()
{
    QFETCH(bool, isRight);
    const PatchProgram program;
    Offer(m_old, isRight ? gMd5(m_new) : gMd5(m_old));
    m_rig->Manager().UpdateNow();
    UpdateRig::SettlePlan();
    const QPointer<LiveUpdateMgr> manager = &m_rig->Manager();
    const auto destroy = [this] { m_rig->Destroy(); };
    const auto downloaders = manager->findChildren<DownloadMgr *>();
    for (const DownloadMgr *downloader : downloaders) {
        connect(downloader, &DownloadMgr::DownloadFinished, this, destroy);
        connect(downloader, &DownloadMgr::PatchIncreasePackageFaild, this, destroy);
    }
    QTRY_VERIFY(manager.isNull());
    QVERIFY(gReadFile(Kept()) == (isRight ? m_new : m_old));
    // Waits until the connections are closed, so that a late event would still be seen below.
    QTRY_COMPARE(m_rig->Server().OpenConnections(), 0);
    QCOMPARE(Reports(), isRight ? QList<int>{} : (QList<int>{-2, -3}));
    QCOMPARE(m_rig->Boxes(), 0);
}

void tst_DownloadMgr_Increase::a_redirected_package_is_patched()
{
    const PatchProgram program;
    m_rig->Server().Serve(path, HttpAnswer::Redirect(m_rig->Server().Address("/moved").toLatin1()));
    m_rig->Server().Serve("/moved", HttpAnswer::Body(m_patch));
    const auto downloader = Start(gMd5(m_new));
    const QStringList expected{"DownloadFinished", "BeginInstall", "CancelInstall", "Close"};
    QTRY_COMPARE(m_told, expected);
    QVERIFY(gReadFile(Kept()) == m_new);
    QCOMPARE(gDownloadState().installerReady, Kept());
    QVERIFY(!m_rig->Server().Requests().last().headers.contains("range"));
}

void tst_DownloadMgr_Increase::five_redirected_ranges_patch_once()
{
    const PatchProgram program;
    m_rig->Server().Serve(path, HttpAnswer::Redirect(m_rig->Server().Address("/moved").toLatin1()));
    m_rig->Server().Serve(path, HttpAnswer::Body(m_patch), "HEAD");
    m_rig->Server().Serve("/moved", HttpAnswer::Body(m_patch));
    Offer(m_old, gMd5(m_new));
    m_rig->Manager().UpdateNow();
    QTRY_COMPARE(m_rig->Signals().count("Close"), 1);
    gSettleReports();
    QCOMPARE(m_rig->Boxes(), 1);
    QCOMPARE(m_rig->Signals().count("BeginInstall"), 1);
    QVERIFY(gReadFile(Kept()) == m_new);
    QVERIFY(Reports().isEmpty());
}

void tst_DownloadMgr_Increase::a_redirected_package_that_cannot_be_patched_is_told()
{
    m_rig->Server().Serve(path, HttpAnswer::Redirect(m_rig->Server().Address("/moved").toLatin1()));
    m_rig->Server().Serve("/moved", HttpAnswer::Body(m_patch));
    const auto downloader = Start(gMd5(m_new));
    QTRY_COMPARE(m_told, QStringList{"PatchIncreasePackageFaild"});
    gSettleReports();
    QCOMPARE(m_told, QStringList{"PatchIncreasePackageFaild"});
    QCOMPARE(m_rig->Boxes(), 0);
    QVERIFY(gReadFile(Kept()) == m_old);
}

void tst_DownloadMgr_Increase::progress_of_a_redirected_package_is_passed_on()
{
    DownloadMgr downloader(m_rig->Context(), nullptr);
    const QSignalSpy progress(&downloader, &DownloadMgr::DownloadProgress);
    downloader.DownloadIncreasePackageProgress(300, 50000);
    QCOMPARE(progress.count(), 1);
    QCOMPARE(progress.first().at(0).toLongLong(), qint64(300));
    QCOMPARE(progress.first().at(1).toLongLong(), qint64(50000));
    downloader.DownloadIncreasePackageProgress(400, 0);
    QCOMPARE(progress.count(), 2);
    QCOMPARE(m_rig->Boxes(), 0);
}

void tst_DownloadMgr_Increase::a_package_that_is_all_there_is_patched_at_once()
{
    const PatchProgram program;
    const qint64 size = m_patch.size();
    const qint64 part = size / 5;
    m_rig->WriteState(QString::number(size), QString::number(size),
                      {{{part, part - 1},
                        {2 * part, 2 * part - 1},
                        {3 * part, 3 * part - 1},
                        {4 * part, 4 * part - 1},
                        {size, size - 1}}});
    QVERIFY(gWriteFile(Target(), m_patch));
    m_rig->Build();
    Offer(m_old, gMd5(m_new));
    m_rig->Manager().UpdateNow();
    QTRY_COMPARE(m_rig->Boxes(), 1);
    QVERIFY(gReadFile(Kept()) == m_new);
    QCOMPARE(gDownloadState().installerReady, Kept());
    QCOMPARE(m_rig->Server().Requests("HEAD").size(), 1);
    QVERIFY(m_rig->Server().Requests("GET").isEmpty());
}

void tst_DownloadMgr_Increase::a_package_that_is_half_there_is_resumed()
{
    const PatchProgram program;
    const qint64 size = m_patch.size();
    const qint64 part = size / 5;
    m_rig->WriteState(QString::number(size), QString::number(2 * part),
                      {{{part, part - 1},
                        {part, 2 * part - 1},
                        {3 * part, 3 * part - 1},
                        {3 * part, 4 * part - 1},
                        {4 * part, size - 1}}});
    QByteArray half = m_patch;
    half.replace(int(part), int(part), QByteArray(int(part), '\0'));
    half.replace(int(3 * part), int(size - 3 * part), QByteArray(int(size - 3 * part), '\0'));
    QVERIFY(gWriteFile(Target(), half));
    m_rig->Build();
    Offer(m_old, gMd5(m_new));
    m_rig->Manager().UpdateNow();
    QTRY_COMPARE(m_rig->Boxes(), 1);
    QVERIFY(gReadFile(Kept()) == m_new);
    QCOMPARE(m_rig->Server().Requests("GET").size(), 3);
}

QTEST_MAIN(tst_DownloadMgr_Increase)
#include "tst_DownloadMgr_Increase.moc"
