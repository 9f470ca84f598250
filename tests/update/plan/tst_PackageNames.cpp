// SPDX-License-Identifier: MIT

#include "update/plan/PackageNames.h"

#include "api/QuillonInit.h"
#include "platform/FileName.h"
#include "tests/support/TestFiles.h"
#include "tests/update/UpdateRig.h"
#include "update/plan/DownloadTarget.h"
#include "update/plan/PackageOffer.h"

#include <QtTest>

/// Which names a manifest may give the files of a package.
class tst_PackageNames : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void a_full_package_data();
    void a_full_package();
    void an_installer_may_replace_the_one_of_before();
    void a_full_package_in_the_folder_of_the_host_data();
    void a_full_package_in_the_folder_of_the_host();
    void an_incremental_package_data();
    void an_incremental_package();
    void another_name_of_the_kept_installer_is_refused();
    void a_kept_installer_with_the_longest_name_is_refused();
    void a_kept_installer_with_the_name_of_the_new_file_is_refused();
    void a_kept_installer_that_looks_like_a_temporary_file_is_refused();
    void temporary_files_of_the_patch_program_data();
    void temporary_files_of_the_patch_program();

private:
    QString Kept() const { return m_rig->WorkingFolder() + "/Corvina9.exe"; }
    QString Refusal(const QString &name) const
    {
        PackageOffer offer;
        offer.fullUrl = "https://u.example/files/" + name;
        return gNameRefusal(gDownloadTarget(offer, false));
    }
    QString PatchRefusal(const QString &name, const QString &kept) const
    {
        PackageOffer offer;
        offer.incrementalUrl = "https://u.example/files/" + name;
        return gNameRefusal(gDownloadTarget(offer, true), kept);
    }

    std::unique_ptr<UpdateRig> m_rig;
};

static const bool isWindows = gFileNameRules() == FileNameRules::Windows;

void tst_PackageNames::init()
{
    m_rig = std::make_unique<UpdateRig>();
    QVERIFY(gWriteFile(Kept(), "kept"));
}

void tst_PackageNames::cleanup()
{
    m_rig.reset();
}

void tst_PackageNames::a_full_package_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("refusal");
    QTest::newRow("an_installer") << "setup.exe" << QString();
    QTest::newRow("no_name") << ""
                             << "no file can have the name";
    QTest::newRow("the_folder_above") << ".."
                                      << "no file can have the name";
    QTest::newRow("a_folder") << "folder"
                              << "there is a folder";
    QTest::newRow("the_file_that_is_downloaded_into") << "Corvina9(x64).tmp"
                                                      << "used for something";
    QTest::newRow("the_lock") << "Corvina9(x64).lock"
                              << "used for something";
    QTest::newRow("the_name_of_the_settings_that_are_in_another_folder") << "Corvina.ini"
                                                                         << "used for something";
    QTest::newRow("a_temporary_file") << "bspatch-1-2.tmp"
                                      << "used for something";
    const QString onWindows = isWindows ? "used for something" : QString();
    QTest::newRow("the_lock_in_another_case") << "corvina9(X64).LOCK" << onWindows;
    QTest::newRow("a_device") << "nul.exe" << QString(isWindows ? "no file can have" : "");
}

void tst_PackageNames::a_full_package()
{
    QFETCH(QString, name);
    QFETCH(QString, refusal);
    QVERIFY(QDir().mkpath(m_rig->WorkingFolder() + "/folder"));
    const QString told = Refusal(name);
    QCOMPARE(told.isEmpty(), refusal.isEmpty());
    QVERIFY2(told.contains(refusal), qPrintable(told));
}

void tst_PackageNames::an_installer_may_replace_the_one_of_before()
{
    QVERIFY(gWriteFile(m_rig->Installer(), "of the last version"));
    QCOMPARE(Refusal("setup.exe"), QString());
    QCOMPARE(Refusal("Corvina9.exe"), QString());
}

void tst_PackageNames::a_full_package_in_the_folder_of_the_host_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<bool>("isRefused");
    QTest::newRow("an_installer") << "setup.exe" << false;
    QTest::newRow("the_host") << QFileInfo(QCoreApplication::applicationFilePath()).fileName()
                              << true;
    QTest::newRow("the_patch_program") << "bspatch.exe" << true;
    QTest::newRow("the_settings") << "Corvina.ini" << true;
    QTest::newRow("the_state") << "CvBreakResumeDownLoad.ini" << true;
    QTest::newRow("the_new_state") << "CvBreakResumeDownLoad.ini.new" << true;
}

void tst_PackageNames::a_full_package_in_the_folder_of_the_host()
{
    QFETCH(QString, name);
    m_rig->BlockWorkingFolder();
    QuillonInit::SetConfigFileDir(QCoreApplication::applicationDirPath());
    QTEST(!Refusal(name).isEmpty(), "isRefused");
    QuillonInit::SetConfigFileDir(m_rig->ConfigFolder());
}

void tst_PackageNames::an_incremental_package_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("refusal");
    QTest::newRow("a_patch") << "increase.patch" << QString();
    QTest::newRow("no_name") << ""
                             << "no file can have the name";
    QTest::newRow("a_folder") << "folder"
                              << "there is a folder";
    QTest::newRow("the_kept_installer") << "Corvina9.exe"
                                        << "is the kept installer";
    QTest::newRow("what_the_patch_makes") << "Corvina9.exe.patch"
                                          << "patch program makes";
    QTest::newRow("what_a_full_package_is_downloaded_into") << "Corvina9(x64).tmp"
                                                            << "used for something";
    QTest::newRow("the_lock") << "Corvina9(x64).lock"
                              << "used for something";
    QTest::newRow("a_temporary_file") << "bspatch-1-2.tmp"
                                      << "used for something";
    QTest::newRow("the_kept_installer_in_another_case")
        << "CORVINA9.EXE" << QString(isWindows ? "is the kept installer" : "");
    QTest::newRow("what_the_patch_makes_in_another_case")
        << "corvina9.exe.PATCH" << QString(isWindows ? "patch program makes" : "");
}

void tst_PackageNames::an_incremental_package()
{
    QFETCH(QString, name);
    QFETCH(QString, refusal);
    QVERIFY(QDir().mkpath(m_rig->WorkingFolder() + "/folder"));
    const QString told = PatchRefusal(name, Kept());
    QCOMPARE(told.isEmpty(), refusal.isEmpty());
    QVERIFY2(told.contains(refusal), qPrintable(told));
}

void tst_PackageNames::another_name_of_the_kept_installer_is_refused()
{
    if (!QFile::link(Kept(), m_rig->WorkingFolder() + "/linked.patch") ||
        gReadFile(m_rig->WorkingFolder() + "/linked.patch") != "kept") {
        QSKIP("This system has no links of this kind.");
    }
    QVERIFY(PatchRefusal("linked.patch", Kept()).contains("is the kept installer"));
}

void tst_PackageNames::a_kept_installer_with_the_longest_name_is_refused()
{
    const QString kept = m_rig->WorkingFolder() + '/' + QString(255, 'k');
    QVERIFY(PatchRefusal("increase.patch", kept).contains("no file can have the name"));
}

void tst_PackageNames::a_kept_installer_with_the_name_of_the_new_file_is_refused()
{
    const QString kept = m_rig->WorkingFolder() + "/increase.patch.new";
    QVERIFY(PatchRefusal("increase.patch", kept).contains("is the kept installer"));
    QVERIFY(PatchRefusal("increase.patch", Kept()).isEmpty());
}

void tst_PackageNames::a_kept_installer_that_looks_like_a_temporary_file_is_refused()
{
    const QString kept = m_rig->WorkingFolder() + "/bspatch-1-2.tmp";
    QVERIFY(PatchRefusal("increase.patch", kept).contains("temporary file"));
}

void tst_PackageNames::temporary_files_of_the_patch_program_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<bool>("is");
    QTest::newRow("one") << "bspatch-4294967295-0.tmp" << true;
    QTest::newRow("one_number") << "bspatch-1.tmp" << false;
    QTest::newRow("three_numbers") << "bspatch-1-2-3.tmp" << false;
    QTest::newRow("letters") << "bspatch-1-a.tmp" << false;
    QTest::newRow("more_in_front") << "abspatch-1-2.tmp" << false;
    QTest::newRow("more_behind") << "bspatch-1-2.tmp.exe" << false;
    QTest::newRow("any_letter_for_the_dot") << "bspatch-1-2xtmp" << false;
}

void tst_PackageNames::temporary_files_of_the_patch_program()
{
    QFETCH(QString, name);
    QTEST(gIsPatchTemporaryFile(name), "is");
}

QTEST_MAIN(tst_PackageNames)
#include "tst_PackageNames.moc"
