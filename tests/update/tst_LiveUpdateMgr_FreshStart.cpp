// SPDX-License-Identifier: MIT

#include "platform/ProcessLock.h"
#include "tests/support/LaterCalls.h"
#include "tests/support/LogCapture.h"
#include "tests/support/SystemTraits.h"
#include "tests/support/TestBytes.h"
#include "tests/update/UpdateRig.h"
#include "update/UpdateCommon/VersionInfo.h"

#include <QtTest>

namespace
{
constexpr int packageSize = 50003;
} // namespace

/// A fresh start: a new file is made under another name, the plan names it and is on disk, then it
/// takes the target's name in one step.
class tst_LiveUpdateMgr_FreshStart : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup() { m_rig.reset(); }

    void the_plan_is_on_disk_before_the_new_file_takes_the_targets_name();
    void the_folder_of_the_new_name_is_flushed_before_the_ranges_are_asked_for();
    void a_process_that_ends_before_the_rename_leaves_nothing_to_go_on_with();
    void a_file_whose_identity_changes_with_its_name_is_recorded_again();
    void a_target_that_another_program_holds_is_waited_for();
    void a_download_that_is_closed_meanwhile_asks_for_nothing();
    void a_target_that_cannot_be_replaced_is_left_as_it_is();
    void a_plan_without_a_new_file_fits_no_file();
    void a_new_file_of_an_ended_process_is_not_used_again();
    void what_a_state_names_is_in_one_line();
    void a_failed_patch_is_remembered_by_its_result_data();
    void a_failed_patch_is_remembered_by_its_result();

private:
    QString NewFile() const { return m_rig->Target() + QStringLiteral(".new"); }
    bool IsLocked() const
    {
        ProcessLock probe;
        return probe.TryLock(m_rig->WorkingFolder() + "/Corvina9(x64).lock") ==
               ProcessLock::Outcome::HeldByAnother;
    }

    const QByteArray m_package = gTestBytes(packageSize);
    LaterCalls m_later;
    std::unique_ptr<UpdateRig> m_rig;
};

void tst_LiveUpdateMgr_FreshStart::init()
{
    m_later = LaterCalls();
    m_rig = std::make_unique<UpdateRig>();
    m_rig->System().callLater = m_later.Seam();
}

void tst_LiveUpdateMgr_FreshStart::the_plan_is_on_disk_before_the_new_file_takes_the_targets_name()
{
    QVERIFY(gWriteFile(m_rig->Target(), "left behind"));
    QStringList flushed;
    int renames = 0;
    m_rig->System().flushFolder = [&flushed](const QString &folder) { flushed.append(folder); };
    m_rig->System().renameOver = [&](const QString &from, const QString &to, QString *failure) {
        if (++renames == 1) {
            [&] {
                QCOMPARE(from, NewFile());
                QCOMPARE(to, m_rig->Target());
                QCOMPARE(gReadFile(to), QByteArray("left behind"));
                QCOMPARE(QFileInfo(from).size(), qint64(packageSize));
                const QMap<QString, QString> state = m_rig->State();
                QCOMPARE(state.value("Identity/Target_File"), gFileIdentity(from));
                QCOMPARE(state.value("FullPackage_size/FullPackage_size"),
                         QString::number(packageSize));
                QCOMPARE(flushed, QStringList{m_rig->ConfigFolder()});
            }();
        }
        return gRenameOver(from, to, failure);
    };
    m_rig->StartFullDownload(HttpAnswer::Body(m_package));
    QTRY_COMPARE(m_rig->Boxes(), 1);
    QCOMPARE(renames, 2);
    QVERIFY(!QFile::exists(NewFile()));
    QVERIFY(gReadFile(m_rig->Installer()) == m_package);
}

void tst_LiveUpdateMgr_FreshStart::
    the_folder_of_the_new_name_is_flushed_before_the_ranges_are_asked_for()
{
    QStringList flushed;
    m_rig->System().flushFolder = [&](const QString &folder) {
        flushed.append(folder);
        if (folder == m_rig->WorkingFolder()) {
            QVERIFY(QFile::exists(m_rig->Target()) && !QFile::exists(NewFile()));
            QVERIFY(m_rig->Manager().findChildren<DownloadMgr *>().size() == 1);
        }
    };
    m_rig->StartFullDownload(HttpAnswer::Broken(m_package, HttpAnswer::Fault::StallAfter, 1));
    const QStringList both{m_rig->ConfigFolder(), m_rig->WorkingFolder()};
    QCOMPARE(flushed, both);
}

void tst_LiveUpdateMgr_FreshStart::
    a_process_that_ends_before_the_rename_leaves_nothing_to_go_on_with()
{
    QVERIFY(gWriteFile(m_rig->Target(), QByteArray(packageSize, 'o')));
    // For ever: the process is gone.
    m_rig->System().renameOver = [](const QString &, const QString &, QString *) {
        return RenameResult::Busy;
    };
    m_rig->StartFullDownload(HttpAnswer::Body(m_package));
    QVERIFY(m_rig->Server().Requests("GET").isEmpty());
    m_rig->Destroy();
    m_rig->System().renameOver = gRenameOver;
    m_rig->StartFullDownload(HttpAnswer::Body(m_package));
    QTRY_COMPARE(m_rig->Boxes(), 1);
    QVERIFY(gReadFile(m_rig->Installer()) == m_package);
}

void tst_LiveUpdateMgr_FreshStart::a_file_whose_identity_changes_with_its_name_is_recorded_again()
{
    m_rig->System().fileIdentity = [](const QString &path) { return QFileInfo(path).fileName(); };
    m_rig->StartFullDownload(HttpAnswer::Broken(m_package, HttpAnswer::Fault::StallAfter, 1));
    QCOMPARE(m_rig->State().value("Identity/Target_File"), QStringLiteral("Corvina9(x64).tmp"));
}

void tst_LiveUpdateMgr_FreshStart::a_target_that_another_program_holds_is_waited_for()
{
    bool isHeld = true;
    m_rig->System().renameOver = [&](const QString &from, const QString &to, QString *failure) {
        return isHeld ? RenameResult::Busy : gRenameOver(from, to, failure);
    };
    m_rig->StartFullDownload(HttpAnswer::Body(m_package));
    QVERIFY(IsLocked());
    QVERIFY(m_rig->Server().Requests("GET").isEmpty());
    isHeld = false;
    m_later.RunAtOnce();
    m_later.Run();
    QTRY_COMPARE(m_rig->Boxes(), 1);
    QVERIFY(gReadFile(m_rig->Installer()) == m_package);
}

void tst_LiveUpdateMgr_FreshStart::a_download_that_is_closed_meanwhile_asks_for_nothing()
{
    bool isHeld = true;
    m_rig->System().renameOver = [&](const QString &from, const QString &to, QString *failure) {
        return isHeld ? RenameResult::Busy : gRenameOver(from, to, failure);
    };
    m_rig->StartFullDownload(HttpAnswer::Body(m_package));
    emit m_rig->Progress().Close();
    QVERIFY(!IsLocked());
    isHeld = false;
    m_later.Run();
    QCOMPARE(m_rig->Downloaders(), 1);
    QVERIFY(m_rig->Server().Requests("GET").isEmpty());
}

void tst_LiveUpdateMgr_FreshStart::a_target_that_cannot_be_replaced_is_left_as_it_is()
{
    const LogCapture log;
    const QByteArray ofAnother(packageSize, 'o');
    QVERIFY(gWriteFile(m_rig->Target(), ofAnother));
    m_rig->System().renameOver = [](const QString &, const QString &, QString *failure) {
        *failure = QStringLiteral("not today");
        return RenameResult::Failed;
    };
    m_rig->StartFullDownload(HttpAnswer::Body(m_package));
    QCOMPARE(m_rig->HintText(), QStringLiteral("Failed to download the update."));
    QCOMPARE(m_rig->Pages().constLast(), QStringLiteral("hint"));
    QCOMPARE(log.Count("LiveUpdateMgr", "LiveUpdateMgr::CreateEmptyFile", "Create file Filed!"), 1);
    QVERIFY(!IsLocked());
    QVERIFY(!QFile::exists(NewFile()));
    QVERIFY(m_rig->Server().Requests("GET").isEmpty());
    QVERIFY(gReadFile(m_rig->Target()) == ofAnother);

    m_rig->Destroy();
    m_rig->System().renameOver = gRenameOver;
    m_rig->StartFullDownload(HttpAnswer::Body(m_package));
    QTRY_COMPARE(m_rig->Boxes(), 1);
    QVERIFY(gReadFile(m_rig->Installer()) == m_package);
}

void tst_LiveUpdateMgr_FreshStart::a_plan_without_a_new_file_fits_no_file()
{
    const QByteArray ofAnother(packageSize, 'o');
    QVERIFY(gWriteFile(m_rig->Target(), ofAnother));
    QVERIFY(QDir().mkpath(NewFile() + "/in the way"));
    m_rig->StartFullDownload(HttpAnswer::Body(m_package));
    QCOMPARE(m_rig->HintText(), QStringLiteral("Failed to download the update."));
    QCOMPARE(m_rig->State().value("Identity/Target_File", "none"), QString());
    QVERIFY(gReadFile(m_rig->Target()) == ofAnother);
    QVERIFY(m_rig->Server().Requests("GET").isEmpty());
}

void tst_LiveUpdateMgr_FreshStart::a_new_file_of_an_ended_process_is_not_used_again()
{
    if (!gRemovesOpenFiles()) {
        QSKIP("The number of a file that is removed may be given to the next one.");
    }
    QVERIFY(gWriteFile(NewFile(), "left behind"));
    const QString identity = gFileIdentity(NewFile());
    // Held open, so that its number is not given away.
    QFile held(NewFile());
    QVERIFY(held.open(QIODevice::ReadOnly));
    m_rig->StartFullDownload(HttpAnswer::Broken(m_package, HttpAnswer::Fault::StallAfter, 1));
    QVERIFY(gFileIdentity(m_rig->Target()) != identity);
}

void tst_LiveUpdateMgr_FreshStart::what_a_state_names_is_in_one_line()
{
    m_rig->Server().Serve("/files/setup.exe",
                          HttpAnswer::Broken(m_package, HttpAnswer::Fault::StallAfter, 1));
    m_rig->Build();
    QString manifest = UpdateRig::Manifest(m_rig->Server().Address("/files/setup.exe"),
                                           "<Verify_x64>\n 0123\r\n</Verify_x64>");
    manifest.replace("9.2.0.0", "\n  9.2.0.0\n");
    m_rig->Manager().findChild<VersionInfo *>()->setXml(manifest);
    m_rig->Manager().UpdateNow();
    UpdateRig::SettlePlan();
    QCOMPARE(m_rig->State().value("Identity/Package_Version"), QStringLiteral("9.2.0.0"));
    QCOMPARE(m_rig->State().value("Identity/Package_Md5"), QStringLiteral("0123"));
}

void tst_LiveUpdateMgr_FreshStart::a_failed_patch_is_remembered_by_its_result_data()
{
    QTest::addColumn<QString>("recorded");
    QTest::addColumn<bool>("isFailed");
    QTest::newRow("the_same_result") << "0123" << true;
    QTest::newRow("the_same_result_in_lines_of_its_own") << "\n 0123\n" << true;
    QTest::newRow("another_result") << "4567" << false;
    QTest::newRow("none_for_an_empty_one") << "" << false;
}

void tst_LiveUpdateMgr_FreshStart::a_failed_patch_is_remembered_by_its_result()
{
    QFETCH(QString, recorded);
    QFETCH(bool, isFailed);
    {
        ResumeState state(m_rig->ConfigFolder());
        QVERIFY(!state.IsFailedPatch(QStringLiteral("0123")));
        QVERIFY(!state.IsFailedPatch(QString()));
        state.SetFailedPatch(recorded);
        QVERIFY(state.Sync());
    }
    QCOMPARE(ResumeState(m_rig->ConfigFolder()).IsFailedPatch(QStringLiteral("0123")), isFailed);
    QCOMPARE(ResumeState(m_rig->ConfigFolder()).IsFailedPatch(recorded), true);
}

QTEST_MAIN(tst_LiveUpdateMgr_FreshStart)
#include "tst_LiveUpdateMgr_FreshStart.moc"
