// SPDX-License-Identifier: MIT

#include "tests/e2e/UpdateScene.h"
#include "tests/support/MinisignKeyPair.h"
#include "tests/support/SignedManifest.h"
#include "tests/support/TestFiles.h"
#include "tests/windows/WindowsMachine.h"
#include "tests/windows/WindowsTestMain.h"

#include <QDir>
#include <QFile>
#include <QTest>

#include <memory>

/// Signed updates of corvina-demo.exe by real Windows installers.
class tst_WindowsTrust : public QObject
{
    Q_OBJECT

public:
    tst_WindowsTrust(const QString &build, const QString &sdk)
        : m_machine(build, sdk)
    {
    }

private:
    QByteArray Built(const QString &name) const;
    /// Signs @p manifest and serves it with the two packages.
    bool Publish(const SignedManifest &manifest, const QByteArray &full, const QByteArray &patch);
    SignedManifest Manifest() const;
    int Run(const QString &promptAnswer, const QString &version = QStringLiteral("9.1.0.0"));

    WindowsMachine m_machine;
    MinisignKeyPair m_key{'w'};
    QByteArray m_installer;
    QByteArray m_nextInstaller;
    QByteArray m_patch;
    std::unique_ptr<UpdateScene> m_scene;

private slots:
    void initTestCase();
    void init();
    void cleanup();

    void a_signed_package_is_started_from_a_private_copy();
    void a_signed_patch_is_applied();
    void an_unsigned_manifest_is_a_failed_check();
    void an_altered_package_is_not_started();
    void an_installer_put_off_that_was_swapped_is_not_started();
};

QByteArray tst_WindowsTrust::Built(const QString &name) const
{
    return gReadFile(m_machine.Built(QStringLiteral("tests/windows/") + name));
}

SignedManifest tst_WindowsTrust::Manifest() const
{
    SignedManifest manifest;
    manifest.exeUrl = m_scene->PackageUrl(UpdateScene::InstallerName());
    manifest.full = m_installer;
    return manifest;
}

bool tst_WindowsTrust::Publish(const SignedManifest &manifest, const QByteArray &full,
                               const QByteArray &patch)
{
    return m_scene->site.Publish(UpdateScene::InstallerName(), full) &&
           m_scene->site.Publish(UpdateSite::PatchName(), patch) &&
           gWriteFile(m_scene->site.Folder() + QStringLiteral("/manifest.xml"),
                      m_key.Sign(manifest.Document()));
}

int tst_WindowsTrust::Run(const QString &promptAnswer, const QString &version)
{
    m_scene->demo->Start({QStringLiteral("--product-version"), version,
                          QStringLiteral("--trust-key"), m_key.PublicKey(),
                          QStringLiteral("--on-version"), QStringLiteral("update"),
                          QStringLiteral("--on-prompt"), promptAnswer, QStringLiteral("--on-hint"),
                          QStringLiteral("close")});
    return m_scene->demo->WaitForEnd();
}

void tst_WindowsTrust::initTestCase()
{
    QVERIFY(m_machine.Start());
    m_installer = Built(QStringLiteral("corvina-9.2.0.0.exe"));
    m_nextInstaller = Built(QStringLiteral("corvina-9.3.0.0.exe"));
    m_patch = Built(QStringLiteral("corvina-9.3.0.0.patch"));
    QVERIFY(!m_installer.isEmpty() && !m_nextInstaller.isEmpty() && !m_patch.isEmpty());
}

void tst_WindowsTrust::init()
{
    QVERIFY(m_machine.RemovePackages());
    m_scene = std::make_unique<UpdateScene>(QStringLiteral("quillon-serve"), m_machine.Host(),
                                            m_machine.PackageFolder());
    QVERIFY(m_scene->StartServer());
}

void tst_WindowsTrust::cleanup()
{
    if (QTest::currentTestFailed()) {
        qWarning().noquote() << m_scene->demo->Log();
    }
    QFile::remove(m_machine.HoldFile());
    m_scene.reset();
}

void tst_WindowsTrust::a_signed_package_is_started_from_a_private_copy()
{
    QVERIFY(Publish(Manifest(), m_installer, {}));
    QVERIFY(gWriteFile(m_machine.HoldFile(), QByteArray())); // the installer waits for its end
    QCOMPARE(Run(QStringLiteral("yes")), 0);
    QCOMPARE(m_machine.PrivateCopies(), QStringList{UpdateScene::InstallerName()});
    // What another account puts into the shared folder now starts nobody.
    QVERIFY(gWriteFile(m_scene->InstalledPath(), "swapped"));
    QVERIFY(QFile::remove(m_machine.HoldFile()));
    QVERIFY(m_scene->InstallerHasRun(QStringLiteral("9.2.0.0")));

    // The next host removes the copy, now that it does not run any more.
    QVERIFY(m_scene->StartServer());
    QVERIFY(Publish(SignedManifest(), m_installer, {}));
    QTRY_VERIFY_WITH_TIMEOUT(
        Run(QStringLiteral("cancel")) == 0 && m_machine.PrivateCopies().isEmpty(), 20000);
    QCOMPARE(m_scene->demo->PageText(),
             QStringLiteral("Your current version is the latest version!"));
}

void tst_WindowsTrust::a_signed_patch_is_applied()
{
    SignedManifest manifest = Manifest();
    manifest.full = m_nextInstaller;
    manifest.result = m_nextInstaller;
    manifest.kept = m_installer;
    manifest.patch = m_patch;
    manifest.patchUrl = m_scene->PackageUrl(UpdateSite::PatchName());
    manifest.forVersion = "9.2.0.0";
    const QString kept = m_scene->site.WorkingFolder() + QStringLiteral("/kept.exe");
    QVERIFY(gWriteFile(kept, m_installer));
    QVERIFY(Publish(manifest, m_nextInstaller, m_patch));
    QCOMPARE(Run(QStringLiteral("yes"), QStringLiteral("9.2.0.0")), 0);
    QVERIFY(m_scene->demo->Log().contains(QStringLiteral("End Patch IncreasePackage")));
    QVERIFY(m_scene->InstallerHasRun(QStringLiteral("9.3.0.0")));
    QVERIFY(gReadFile(kept) == m_nextInstaller);
}

void tst_WindowsTrust::an_unsigned_manifest_is_a_failed_check()
{
    QVERIFY(m_scene->PublishInstaller(m_installer));
    QCOMPARE(Run(QStringLiteral("yes")), 0);
    QCOMPARE(m_scene->demo->PageText(), QStringLiteral("Failed to check update!"));
    QVERIFY(m_scene->demo->Log().contains(
        QStringLiteral("the manifest is refused, the document is not signed")));
}

void tst_WindowsTrust::an_altered_package_is_not_started()
{
    QByteArray altered = m_installer;
    altered[altered.size() / 2] = static_cast<char>(altered.at(altered.size() / 2) ^ 1);
    QVERIFY(Publish(Manifest(), altered, {}));
    QCOMPARE(Run(QStringLiteral("yes")), 0);
    QCOMPARE(m_scene->demo->PageText(), QStringLiteral("Failed to download the update."));
    QVERIFY(!QFile::exists(m_scene->InstalledPath()));
    QVERIFY(!QFile::exists(m_scene->TargetPath()));
    QVERIFY(!m_scene->demo->Signals().contains(QStringLiteral("BeginInstall")));
}

void tst_WindowsTrust::an_installer_put_off_that_was_swapped_is_not_started()
{
    QVERIFY(Publish(Manifest(), m_installer, {}));
    QCOMPARE(Run(QStringLiteral("cancel")), 0);
    QVERIFY(gWriteFile(m_scene->InstalledPath(), m_nextInstaller));
    QVERIFY(m_scene->StartServer());
    QVERIFY(Publish(Manifest(), m_installer, {}));
    QCOMPARE(Run(QStringLiteral("yes")), 0);
    QVERIFY(m_scene->demo->Log().contains(QStringLiteral("is not offered, ")));
    // The service was asked, and what it offers is what was started.
    QVERIFY(m_scene->InstallerHasRun(QStringLiteral("9.2.0.0")));
}

QUILLON_WINDOWS_TEST_MAIN(tst_WindowsTrust)

#include "tst_WindowsTrust.moc"
