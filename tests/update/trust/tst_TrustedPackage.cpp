// SPDX-License-Identifier: MIT

#include "tests/update/trust/TrustScene.h"

#include "platform/FileName.h"
#include "tests/support/PatchProgram.h"
#include "update/base/BackgroundFlush.h"

#include <QThreadPool>
#include <QtTest>

/// Attacks on packages, each by its name: none ends in a started installer that is not the signed one.
class tst_TrustedPackage : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void the_signed_package_is_started_from_its_private_copy();
    void the_private_copy_is_removed_by_the_next_session();
    void a_private_copy_that_nobody_wants_is_removed_at_once();
    void an_altered_package_is_discarded_data();
    void an_altered_package_is_discarded();
    void after_an_altered_package_the_right_one_is_downloaded_anew();
    void a_package_that_is_swapped_while_the_user_is_asked_is_not_started();
    void a_package_that_is_swapped_before_it_is_read_is_discarded();
    void a_package_without_a_private_copy_is_not_offered();
    void an_offer_without_a_signature_is_not_downloaded();

    void the_signed_patch_makes_the_signed_installer();
    void another_accounts_name_for_the_kept_installer_means_nothing();
    void the_program_is_given_a_private_copy_of_the_patch();
    void a_result_that_is_swapped_while_the_user_is_asked_is_not_started();
    void an_altered_patch_is_not_given_to_the_program_data();
    void an_altered_patch_is_not_given_to_the_program();
    void after_an_altered_patch_the_full_package_is_taken();
    void after_a_patch_of_another_size_the_full_package_is_taken();
    void a_patch_of_another_release_is_refused();
    void a_result_that_is_not_the_signed_one_is_a_failed_patch();
    void a_patch_without_a_private_copy_is_not_applied();
    void a_result_without_a_private_copy_is_not_offered();

    void a_kept_installer_is_verified_and_offered_again();
    void a_kept_installer_that_was_swapped_is_not_offered_data();
    void a_kept_installer_that_was_swapped_is_not_offered();
    void a_kept_installer_that_is_swapped_while_the_user_is_asked_is_not_started();
    void nobody_is_asked_about_a_kept_installer_behind_a_closed_dialog();
    void a_second_check_overtakes_the_look_for_a_kept_installer();
    void an_installer_that_is_put_off_twice_is_offered_a_third_time();
    void an_endless_file_in_the_place_of_the_kept_installer_is_not_copied();
    void a_dialog_may_be_deleted_at_any_moment_data();
    void a_dialog_may_be_deleted_at_any_moment();

private:
    /// "Update Now" for what the site offers.
    void Update()
    {
        QCOMPARE(m_scene->Check(), QString("version"));
        m_scene->UpdateNow();
    }
    void ExpectRefusedDownload();
    /// The full package was put off: the next check finds it.
    void PutOff();

    TestCertificates m_certificates;
    std::unique_ptr<TrustScene> m_scene;
};

static const QString failed = "Failed to download the update.";
using Answer = UpdateRig::Answer;

void tst_TrustedPackage::init()
{
    m_certificates.TrustAuthority();
    QFile::remove(PatchProgram::Path());
    m_scene = std::make_unique<TrustScene>(m_certificates);
}

void tst_TrustedPackage::cleanup()
{
    m_scene.reset();
}

void tst_TrustedPackage::ExpectRefusedDownload()
{
    QCOMPARE(m_scene->Rig().HintText(), failed);
    QCOMPARE(m_scene->Rig().Boxes(), 0);
    QCOMPARE(m_scene->Started(""), QByteArray());
    QCOMPARE(m_scene->PrivateFiles(), QStringList());
}

void tst_TrustedPackage::PutOff()
{
    m_scene->Rig().SetAnswer(Answer::Cancel);
    m_scene->Publish();
    Update();
    QCOMPARE(m_scene->Rig().Setting("SetupFile"), m_scene->Full());
    QCOMPARE(m_scene->Rig().Setting("SetupSha256").size(), 64);
    // The next session.
    m_scene->Rig().Build();
}

// --- The full package ------------------------------------------------------------------------------

void tst_TrustedPackage::the_signed_package_is_started_from_its_private_copy()
{
    m_scene->Rig().SetAnswer(Answer::Yes);
    m_scene->Publish();
    Update();
    QVERIFY(m_scene->Rig().Signals().contains("InstallStarted"));
    QCOMPARE(m_scene->Started("9.2.0.0"), QByteArray("9.2.0.0"));
    QCOMPARE(gReadFile(m_scene->Full()), m_scene->Manifest().full);
    QCOMPARE(m_scene->PrivateFiles().filter("setup.exe"), QStringList{"setup.exe"});
    QCOMPARE(m_scene->Reports(), QList<int>{1});
}

void tst_TrustedPackage::the_private_copy_is_removed_by_the_next_session()
{
    the_signed_package_is_started_from_its_private_copy();
    m_scene->Rig().Destroy();
    QVERIFY(!m_scene->PrivateFiles().isEmpty());
    m_scene->Rig().Build();
    // Windows lets go of a program when its process has ended.
    QTRY_VERIFY(m_scene->PrivateFiles().isEmpty() || (m_scene->Rig().Build(), false));
}

void tst_TrustedPackage::a_private_copy_that_nobody_wants_is_removed_at_once()
{
    m_scene->Rig().SetAnswer(Answer::Cancel);
    m_scene->Publish();
    Update();
    QVERIFY(m_scene->Rig().Signals().contains("CancelInstall"));
    QCOMPARE(m_scene->PrivateFiles(), QStringList());
    QCOMPARE(m_scene->Started(""), QByteArray());
}

void tst_TrustedPackage::an_altered_package_is_discarded_data()
{
    QTest::addColumn<int>("more");
    QTest::newRow("of_the_same_size") << 0;
    QTest::newRow("longer") << 1;
    QTest::newRow("shorter") << -1;
}

void tst_TrustedPackage::an_altered_package_is_discarded()
{
    QFETCH(int, more);
    m_scene->Rig().SetAnswer(Answer::Yes);
    m_scene->Publish();
    QByteArray altered = m_scene->Manifest().full;
    altered[altered.size() / 2] = static_cast<char>(altered.at(altered.size() / 2) ^ 1);
    altered.resize(altered.size() + more);
    m_scene->ServeFull(altered);
    Update();
    ExpectRefusedDownload();
    QVERIFY(!QFile::exists(m_scene->Full()));
    QCOMPARE(m_scene->Reports(), QList<int>{-1});
    if (more == 0) {
        // The file is gone, and the plan with it.
        QVERIFY(!QFile::exists(m_scene->Rig().Target()));
        QCOMPARE(m_scene->Rig().State().value("FullPackage_size/FullPackage_size"), QString("0"));
        QCOMPARE(m_scene->Log().CountContaining("is not the signed package"), 1);
    } else {
        // Not a byte was fetched.
        QCOMPARE(gRangeHeaders(m_scene->Rig().Server()).filter("bytes"), QStringList());
        QCOMPARE(m_scene->Log().CountContaining("the package is not the signed one"), 1);
    }
}

void tst_TrustedPackage::after_an_altered_package_the_right_one_is_downloaded_anew()
{
    m_scene->Rig().SetAnswer(Answer::Yes);
    m_scene->Publish();
    m_scene->ServeFull(QByteArray(m_scene->Manifest().full.size(), 'x'));
    Update();
    QCOMPARE(m_scene->Rig().HintText(), failed);
    m_scene->ServeFull(m_scene->Manifest().full);
    Update();
    QCOMPARE(m_scene->Started("9.2.0.0"), QByteArray("9.2.0.0"));
}

void tst_TrustedPackage::a_package_that_is_swapped_while_the_user_is_asked_is_not_started()
{
    m_scene->Rig().SetAnswer(Answer::Yes);
    m_scene->Publish();
    QCOMPARE(m_scene->Check(), QString("version"));
    // The host is told when the package is verified, and the user asked next.
    connect(&m_scene->Rig().Manager(), &LiveUpdateMgr::BeginInstall, this,
            [this] { gPutFile(m_scene->Full(), m_scene->Installer("evil")); });
    m_scene->UpdateNow();
    QCOMPARE(m_scene->Started("9.2.0.0"), QByteArray("9.2.0.0"));
}

/// The size query and the ranges were right. In the shared folder another account puts another file there.
void tst_TrustedPackage::a_package_that_is_swapped_before_it_is_read_is_discarded()
{
    m_scene->Rig().SetAnswer(Answer::Yes);
    m_scene->Rig().System().flush = [this](const QString &path) {
        if (path == m_scene->Rig().Target()) {
            gPutFile(path, m_scene->Manifest().full + "x");
        }
        return FlushResult::Flushed;
    };
    m_scene->Publish();
    Update();
    ExpectRefusedDownload();
    QVERIFY(!QFile::exists(m_scene->Full()));
    QVERIFY(!QFile::exists(m_scene->Rig().Target()));
    QCOMPARE(m_scene->Reports(), QList<int>{-1});
}

void tst_TrustedPackage::a_package_without_a_private_copy_is_not_offered()
{
    m_scene->Rig().SetAnswer(Answer::Yes);
    m_scene->Rig().System().privateFolder = [](QString *failure) {
        *failure = "another account can change it";
        return QString();
    };
    m_scene->Publish();
    Update();
    ExpectRefusedDownload();
    QVERIFY(m_scene->Log().CountContaining("another account can change it") > 0);
    QCOMPARE(m_scene->Reports(), QList<int>{-1});
    // Nothing is known against the package: it need not be downloaded again.
    QVERIFY(QFile::exists(m_scene->Rig().Target()));
    m_scene->Rig().Server().ForgetRequests();
    m_scene->Rig().System().privateFolder = [folder = m_scene->Rig().PrivateFolder()](QString *) {
        return folder;
    };
    m_scene->Rig().Build();
    Update();
    QCOMPARE(m_scene->Started("9.2.0.0"), QByteArray("9.2.0.0"));
    QCOMPARE(gRangeHeaders(m_scene->Rig().Server()).filter("bytes"), QStringList());
}

void tst_TrustedPackage::an_offer_without_a_signature_is_not_downloaded()
{
    m_scene->Publish();
    m_scene->Rig().Offer("/files/setup.exe"); // as if it had come past the check
    m_scene->UpdateNow();
    ExpectRefusedDownload();
    QCOMPARE(m_scene->Rig().Server().Requests().size(), 0);
    QCOMPARE(m_scene->Log().CountContaining("no signed manifest names it"), 1);
}

// --- The incremental package -----------------------------------------------------------------------

void tst_TrustedPackage::the_signed_patch_makes_the_signed_installer()
{
    const PatchProgram program;
    m_scene->Rig().SetAnswer(Answer::Yes);
    m_scene->AddPatch();
    m_scene->Publish();
    Update();
    QCOMPARE(m_scene->Started("9.2.0.0"), QByteArray("9.2.0.0"));
    QCOMPARE(gReadFile(m_scene->Kept()), m_scene->Manifest().full);
    // The copy of the patch is gone, that of the installer is being run.
    QCOMPARE(m_scene->PrivateFiles().filter("Corvina9"), QStringList{gProgramName("Corvina9")});
    QVERIFY(!m_scene->PrivateFiles().contains("setup.patch"));
    QCOMPARE(m_scene->Reports(), QList<int>{1});
}

/// On Windows the system would hand a batch file to its command processor.
void tst_TrustedPackage::another_accounts_name_for_the_kept_installer_means_nothing()
{
    const QString name = "a&b.bat";
    const PatchProgram program;
    m_scene->Rig().SetAnswer(Answer::Yes);
    m_scene->AddPatch();
    QVERIFY(QFile::rename(m_scene->Kept(), m_scene->Rig().WorkingFolder() + '/' + name));
    m_scene->Publish();
    Update();
    QCOMPARE(m_scene->Started("9.2.0.0"), QByteArray("9.2.0.0"));
    QCOMPARE(m_scene->PrivateFiles().filter("a&b"), QStringList{gProgramName(name)});
}

void tst_TrustedPackage::the_program_is_given_a_private_copy_of_the_patch()
{
    const QString seen = m_scene->Rig().Path("seen");
    const QString made = gPutFile(m_scene->Rig().Path("made"), m_scene->Manifest().full);
    const PatchProgram program("arguments\t" + seen.toUtf8() + "\ncopy\t" + made.toUtf8() + "\t$2");
    m_scene->Rig().SetAnswer(Answer::Yes);
    m_scene->AddPatch();
    m_scene->Publish();
    Update();
    QCOMPARE(m_scene->Started("9.2.0.0"), QByteArray("9.2.0.0"));
    const QString arguments = QString::fromUtf8(gReadFile(seen)).replace('\\', '/');
    QVERIFY2(arguments.contains(m_scene->Rig().PrivateFolder()), qPrintable(arguments));
    QVERIFY2(!arguments.contains(m_scene->PatchFile()), qPrintable(arguments));
}

void tst_TrustedPackage::a_result_that_is_swapped_while_the_user_is_asked_is_not_started()
{
    const PatchProgram program;
    m_scene->Rig().SetAnswer(Answer::Yes);
    m_scene->AddPatch();
    m_scene->Publish();
    QCOMPARE(m_scene->Check(), QString("version"));
    connect(&m_scene->Rig().Manager(), &LiveUpdateMgr::BeginInstall, this,
            [this] { gPutFile(m_scene->Kept(), m_scene->Installer("evil")); });
    m_scene->UpdateNow();
    QCOMPARE(m_scene->Started("9.2.0.0"), QByteArray("9.2.0.0"));
}

void tst_TrustedPackage::an_altered_patch_is_not_given_to_the_program_data()
{
    an_altered_package_is_discarded_data();
}

void tst_TrustedPackage::an_altered_patch_is_not_given_to_the_program()
{
    QFETCH(int, more);
    const QString seen = m_scene->Rig().Path("seen");
    const PatchProgram program("arguments\t" + seen.toUtf8());
    m_scene->AddPatch();
    m_scene->Publish();
    QByteArray altered = m_scene->Manifest().patch;
    altered[altered.size() - 1] = static_cast<char>(altered.at(altered.size() - 1) ^ 1);
    altered.resize(altered.size() + more);
    m_scene->ServePatch(altered);
    Update();
    ExpectRefusedDownload();
    QVERIFY(!QFile::exists(seen));
    QCOMPARE(gReadFile(m_scene->Kept()), m_scene->Manifest().kept);
    QCOMPARE(m_scene->Reports(), QList<int>{-1});
    if (more == 0) {
        QVERIFY(!QFile::exists(m_scene->PatchFile()));
        QCOMPARE(m_scene->Rig().State().value("FullPackage_size/FullPackage_size"), QString("0"));
        QCOMPARE(m_scene->Log().CountContaining("the patch is not the signed one"), 1);
    }
}

void tst_TrustedPackage::after_an_altered_patch_the_full_package_is_taken()
{
    const PatchProgram program;
    m_scene->Rig().SetAnswer(Answer::Yes);
    m_scene->AddPatch();
    m_scene->Publish();
    m_scene->ServePatch(QByteArray(m_scene->Manifest().patch.size(), 'x'));
    Update();
    QCOMPARE(m_scene->Rig().HintText(), failed);
    Update();
    QCOMPARE(m_scene->Started("9.2.0.0"), QByteArray("9.2.0.0"));
    QCOMPARE(gReadFile(m_scene->Full()), m_scene->Manifest().full);
}

void tst_TrustedPackage::after_a_patch_of_another_size_the_full_package_is_taken()
{
    const PatchProgram program;
    m_scene->Rig().SetAnswer(Answer::Yes);
    m_scene->AddPatch();
    m_scene->Publish();
    m_scene->ServePatch(m_scene->Manifest().patch + "x");
    Update();
    QCOMPARE(m_scene->Rig().HintText(), failed);
    // In the next session, too.
    m_scene->Rig().Build();
    Update();
    QCOMPARE(m_scene->Started("9.2.0.0"), QByteArray("9.2.0.0"));
    QCOMPARE(gReadFile(m_scene->Full()), m_scene->Manifest().full);
}

void tst_TrustedPackage::a_patch_of_another_release_is_refused()
{
    const PatchProgram program;
    m_scene->AddPatch();
    const QByteArray withdrawn = m_scene->Installer("9.1.5.0");
    QByteArray other = PatchProgram::MakePatch(m_scene->Manifest().kept, withdrawn);
    m_scene->Publish();
    m_scene->ServePatch(other);
    Update();
    ExpectRefusedDownload();
    QCOMPARE(gReadFile(m_scene->Kept()), m_scene->Manifest().kept);
}

/// The MD5 of the manifest is that of the result, and the signed digest is not: two installers with one MD5
/// can be made.
void tst_TrustedPackage::a_result_that_is_not_the_signed_one_is_a_failed_patch()
{
    const PatchProgram program;
    m_scene->Rig().SetAnswer(Answer::Yes);
    m_scene->AddPatch();
    QByteArray document = m_scene->Manifest().Document();
    const int begin = document.indexOf("<ResultSha256>") + 14;
    document.replace(begin, 64, QByteArray(64, 'a'));
    m_scene->Publish();
    m_scene->ServeCheck(m_scene->Key().Sign(document));
    Update();
    // As after every failed patch the full package follows.
    QCOMPARE(m_scene->Started("9.2.0.0"), QByteArray("9.2.0.0"));
    QCOMPARE(gReadFile(m_scene->Kept()), m_scene->Manifest().kept);
    QCOMPARE(m_scene->Reports(), (QList<int>{-2, -3, 1}));
    QCOMPARE(m_scene->Log().CountContaining("the result is not the signed installer"), 1);
}

void tst_TrustedPackage::a_patch_without_a_private_copy_is_not_applied()
{
    const QString seen = m_scene->Rig().Path("seen");
    const PatchProgram program("arguments\t" + seen.toUtf8());
    m_scene->AddPatch();
    m_scene->Rig().System().privateFolder = [](QString *failure) {
        *failure = "no room";
        return QString();
    };
    m_scene->Publish();
    Update();
    ExpectRefusedDownload();
    QVERIFY(!QFile::exists(seen));
    QVERIFY(m_scene->Log().CountContaining("there is no private copy, no room") > 0);
    QVERIFY(QFile::exists(m_scene->PatchFile()));
}

void tst_TrustedPackage::a_result_without_a_private_copy_is_not_offered()
{
    const PatchProgram program;
    m_scene->Rig().SetAnswer(Answer::Yes);
    m_scene->AddPatch();
    // Looked for at the start of the session, for the patch, and for the result.
    auto calls = std::make_shared<std::atomic<int>>(0);
    const QString folder = m_scene->Rig().PrivateFolder();
    m_scene->Rig().System().privateFolder = [calls, folder](QString *failure) {
        *failure = "no room";
        return ++*calls < 3 ? folder : QString();
    };
    m_scene->Publish();
    Update();
    ExpectRefusedDownload();
    QCOMPARE(gReadFile(m_scene->Kept()), m_scene->Manifest().kept);
    QCOMPARE(m_scene->Reports(), QList<int>{-1});
}

// --- The kept installer ----------------------------------------------------------------------------

void tst_TrustedPackage::a_kept_installer_is_verified_and_offered_again()
{
    PutOff();
    m_scene->Rig().SetAnswer(Answer::Yes);
    m_scene->Rig().Forget();
    QCOMPARE(m_scene->Check(), QString("progress"));
    QTRY_VERIFY(m_scene->Rig().Signals().contains("InstallStarted"));
    QCOMPARE(m_scene->Started("9.2.0.0"), QByteArray("9.2.0.0"));
    QVERIFY(m_scene->Rig().Server().Requests().isEmpty());
    QVERIFY(!m_scene->PrivateFiles().isEmpty());
}

void tst_TrustedPackage::a_kept_installer_that_was_swapped_is_not_offered_data()
{
    QTest::addColumn<QString>("how");
    for (const char *how : {"another_file", "no_digest", "another_digest", "an_empty_file"}) {
        QTest::newRow(how) << how;
    }
}

void tst_TrustedPackage::a_kept_installer_that_was_swapped_is_not_offered()
{
    QFETCH(QString, how);
    PutOff();
    if (how == "another_file") {
        gPutFile(m_scene->Full(), m_scene->Installer("evil"));
    } else if (how == "no_digest") {
        m_scene->Rig().WriteSetting("SetupSha256", "");
    } else if (how == "another_digest") {
        m_scene->Rig().WriteSetting("SetupSha256", QString(64, 'a'));
    } else {
        gPutFile(m_scene->Full(), "");
    }
    const int boxes = m_scene->Rig().Boxes();
    m_scene->Rig().SetAnswer(Answer::Yes);
    m_scene->Rig().Build();
    // The check goes on to the service.
    QCOMPARE(m_scene->Check(), QString("version"));
    QCOMPARE(m_scene->Rig().Boxes(), boxes);
    QCOMPARE(m_scene->Rig().Server().Requests("GET").size(), 1);
    QCOMPARE(m_scene->Log().CountContaining("is not offered, "), 1);
    QCOMPARE(m_scene->Started(""), QByteArray());
    QCOMPARE(m_scene->PrivateFiles(), QStringList());
}

void tst_TrustedPackage::a_kept_installer_that_is_swapped_while_the_user_is_asked_is_not_started()
{
    PutOff();
    m_scene->Rig().SetAnswer(Answer::Yes);
    connect(&m_scene->Rig().Manager(), &LiveUpdateMgr::Close, this,
            [this] { gPutFile(m_scene->Full(), m_scene->Installer("evil")); });
    m_scene->Check();
    QCOMPARE(m_scene->Started("9.2.0.0"), QByteArray("9.2.0.0"));
}

void tst_TrustedPackage::nobody_is_asked_about_a_kept_installer_behind_a_closed_dialog()
{
    PutOff();
    const int boxes = m_scene->Rig().Boxes();
    LiveUpdateMgr &manager = m_scene->Rig().Manager();
    m_scene->Rig().Forget();
    manager.LiveUpdate("1", "9.1.0.0", "me@u.example");
    emit m_scene->Rig().Progress().Close();
    gFlushPool()->waitForDone();
    QCoreApplication::processEvents();
    QCoreApplication::processEvents();
    QCOMPARE(m_scene->Rig().Boxes(), boxes);
    QVERIFY(m_scene->Rig().Server().Requests().isEmpty());
    QCOMPARE(m_scene->PrivateFiles(), QStringList());
}

void tst_TrustedPackage::a_second_check_overtakes_the_look_for_a_kept_installer()
{
    PutOff();
    const int boxes = m_scene->Rig().Boxes();
    LiveUpdateMgr &manager = m_scene->Rig().Manager();
    m_scene->Rig().Forget();
    manager.LiveUpdate("1", "9.1.0.0", "me@u.example");
    manager.LiveUpdate("1", "9.1.0.0", "me@u.example");
    QTRY_VERIFY(m_scene->Rig().Signals().contains("CancelInstall"));
    gFlushPool()->waitForDone();
    QCoreApplication::processEvents();
    QCOMPARE(m_scene->Rig().Boxes(), boxes + 1);
}

void tst_TrustedPackage::an_installer_that_is_put_off_twice_is_offered_a_third_time()
{
    PutOff();
    m_scene->Check();
    QVERIFY(m_scene->Rig().Signals().contains("CancelInstall"));
    m_scene->Rig().SetAnswer(Answer::Yes);
    m_scene->Rig().Build();
    m_scene->Check();
    QCOMPARE(m_scene->Started("9.2.0.0"), QByteArray("9.2.0.0"));
}

/// Another account made it so large that the copy would fill the disk.
void tst_TrustedPackage::an_endless_file_in_the_place_of_the_kept_installer_is_not_copied()
{
    PutOff();
    m_scene->Rig().WriteSetting("SetupSha256", "");
    QFile file(m_scene->Full());
    QVERIFY(file.open(QIODevice::ReadWrite) && file.resize(qint64{64} * 1024 * 1024 * 1024));
    m_scene->Rig().Build();
    QCOMPARE(m_scene->Check(), QString("version"));
    QCOMPARE(m_scene->Log().CountContaining("no SHA-256 was remembered"), 1);
}

void tst_TrustedPackage::a_dialog_may_be_deleted_at_any_moment_data()
{
    QTest::addColumn<QString>("moment");
    for (const char *moment : {"while_the_package_is_copied", "in_begin_install", "in_close",
                               "in_cancel_install", "while_the_kept_installer_is_copied"}) {
        QTest::newRow(moment) << moment;
    }
}

void tst_TrustedPackage::a_dialog_may_be_deleted_at_any_moment()
{
    QFETCH(QString, moment);
    const auto destroy = [this] { m_scene->Rig().Destroy(); };
    const bool isYes = moment == "in_close";
    if (moment == "while_the_kept_installer_is_copied") {
        PutOff();
        m_scene->Rig().Manager().LiveUpdate("1", "9.1.0.0", "me@u.example");
        destroy();
    } else {
        m_scene->Rig().SetAnswer(isYes ? Answer::Yes : Answer::Cancel);
        m_scene->Publish();
        QCOMPARE(m_scene->Check(), QString("version"));
        LiveUpdateMgr &manager = m_scene->Rig().Manager();
        QSignalSpy destroyed(&manager, &QObject::destroyed);
        if (moment == "in_begin_install") {
            connect(&manager, &LiveUpdateMgr::BeginInstall, this, destroy);
        } else if (isYes) {
            connect(&manager, &LiveUpdateMgr::Close, this, destroy);
        } else if (moment == "in_cancel_install") {
            connect(&manager, &LiveUpdateMgr::CancelInstall, this, destroy);
        } else {
            // From the pool thread that is about to make the copy.
            m_scene->Rig().System().privateFolder =
                [this, destroy, folder = m_scene->Rig().PrivateFolder()](QString * /*failure*/) {
                    QMetaObject::invokeMethod(this, destroy, Qt::QueuedConnection);
                    return folder;
                };
        }
        manager.UpdateNow();
        QTRY_COMPARE(destroyed.size(), 1);
    }
    gFlushPool()->waitForDone();
    QCoreApplication::processEvents();
    // What the user agreed to is started all the same.
    QCOMPARE(m_scene->Started(isYes ? "9.2.0.0" : ""), QByteArray(isYes ? "9.2.0.0" : ""));
    QCOMPARE(m_scene->PrivateFiles().filter("setup.exe").size(), isYes ? 1 : 0);
}

QTEST_MAIN(tst_TrustedPackage)
#include "tst_TrustedPackage.moc"
