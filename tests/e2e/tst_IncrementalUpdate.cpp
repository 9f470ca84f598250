// SPDX-License-Identifier: MIT

#include "tests/e2e/ServerTestMain.h"
#include "tests/e2e/UpdateScene.h"
#include "tests/support/TestFiles.h"

#include <QFile>
#include <QFileInfo>
#include <QProcess>
#include <QTest>

#include <memory>

namespace
{
const QString newVersion = QStringLiteral("9.2.0.0");

QByteArray gMakePatch(const QByteArray &oldFile, const QByteArray &newFile)
{
    const QTemporaryDir folder;
    const QString oldPath = folder.filePath(QStringLiteral("old"));
    const QString newPath = folder.filePath(QStringLiteral("new"));
    const QString patchPath = folder.filePath(QStringLiteral("patch"));
    QProcess bsdiff;
    if (!gWriteFile(oldPath, oldFile) || !gWriteFile(newPath, newFile)) {
        return {};
    }
    bsdiff.start(QStringLiteral("bsdiff"), {oldPath, newPath, patchPath});
    return bsdiff.waitForFinished(60000) ? gReadFile(patchPath) : QByteArray();
}
} // namespace

/// Whole updates by a patch against the installer that an earlier update kept.
class tst_IncrementalUpdate : public QObject
{
    Q_OBJECT

public:
    explicit tst_IncrementalUpdate(QString serverName)
        : m_serverName(std::move(serverName))
    {
    }

private:
    bool Publish(const QByteArray &patch);
    bool UseSlowPatchProgram(const QString &folder);

    QString m_serverName;
    QByteArray m_oldInstaller;
    QByteArray m_newInstaller;
    QByteArray m_patch;
    QString m_keptPath;
    std::unique_ptr<UpdateScene> m_scene;

private slots:
    void initTestCase();
    void init();
    void cleanup();

    void a_patch_against_the_kept_installer_is_the_update();
    void the_installer_of_a_full_update_is_the_base_of_the_next_patch();
    void a_killed_patch_download_continues_where_its_state_stood();
    void a_host_killed_while_patching_patches_again();
    void a_damaged_patch_is_followed_by_the_full_package();
    void a_kept_installer_with_another_checksum_leads_to_the_full_package();
};

/// Publishes 9.2.0.0 to hosts of 9.1.0.0, with @p patch as the incremental package.
bool tst_IncrementalUpdate::Publish(const QByteArray &patch)
{
    const QString fullUrl = m_scene->PackageUrl(UpdateScene::InstallerName());
    return m_scene->PublishInstaller(m_newInstaller) &&
           m_scene->site.PublishPatch(m_scene->server->BaseUrl(), QStringLiteral("9.1.0.0"),
                                      m_oldInstaller, m_newInstaller, fullUrl, patch);
}

/// Makes @p folder a host's folder whose patch program waits before it works.
bool tst_IncrementalUpdate::UseSlowPatchProgram(const QString &folder)
{
    const QString program = folder + QStringLiteral("/bspatch.exe");
    const QByteArray script = "#!/bin/sh\necho started > \"" + folder.toUtf8() +
                              "/started\"\nsleep 2\nexec \"" BSPATCH "\" \"$@\"\n";
    return QFile::copy(QStringLiteral(CORVINA_DEMO), folder + QStringLiteral("/corvina-demo")) &&
           gWriteFile(program, script) &&
           QFile::setPermissions(program, QFileDevice::ReadOwner | QFileDevice::ExeOwner);
}

void tst_IncrementalUpdate::initTestCase()
{
    m_oldInstaller = UpdateScene::MakeInstaller(QStringLiteral("9.1.0.0"), 4);
    m_newInstaller = UpdateScene::MakeInstaller(newVersion, 4);
    QVERIFY(m_newInstaller.size() > 4 * 1024 * 1024);
    m_patch = gMakePatch(m_oldInstaller, m_newInstaller);
    QVERIFY(!m_patch.isEmpty());
    QVERIFY(m_patch.size() < m_newInstaller.size() / 2);
}

void tst_IncrementalUpdate::init()
{
    m_scene = std::make_unique<UpdateScene>(m_serverName);
    m_keptPath = m_scene->site.WorkingFolder() + QStringLiteral("/kept.run");
    QVERIFY(gWriteFile(m_keptPath, m_oldInstaller));
}

void tst_IncrementalUpdate::cleanup()
{
    if (QTest::currentTestFailed() && m_scene->demo != nullptr) {
        qWarning().noquote() << m_scene->demo->Log()
                             << m_scene->server->Requests().join(QLatin1Char('\n'));
    }
    m_scene.reset();
}

void tst_IncrementalUpdate::a_patch_against_the_kept_installer_is_the_update()
{
    QVERIFY(m_scene->StartServer());
    QVERIFY(Publish(m_patch));
    QCOMPARE(m_scene->Run(QStringLiteral("yes")), 0);

    QVERIFY(m_scene->InstallerHasRun(newVersion));
    QCOMPARE(gReadFile(m_keptPath), m_newInstaller);
    QCOMPARE(m_scene->RangesAsked(UpdateSite::PatchName()).size(), UpdateScene::rangeCount);
    QCOMPARE(m_scene->RangesAsked(UpdateScene::InstallerName()), QStringList());
    QCOMPARE(m_scene->demo->Signals(),
             (QStringList{QStringLiteral("BeginInstall"), QStringLiteral("Close"),
                          QStringLiteral("InstallStarted")}));
}

void tst_IncrementalUpdate::the_installer_of_a_full_update_is_the_base_of_the_next_patch()
{
    QVERIFY(QFile::remove(m_keptPath));
    QVERIFY(m_scene->StartServer());
    QVERIFY(m_scene->PublishInstaller(m_newInstaller));
    QCOMPARE(m_scene->Run(QStringLiteral("yes")), 0);
    QVERIFY(m_scene->InstallerHasRun(newVersion));

    const QByteArray third = UpdateScene::MakeInstaller(QStringLiteral("9.3.0.0"), 4);
    const QByteArray patch = gMakePatch(m_newInstaller, third);
    QVERIFY(m_scene->StartServer());
    QVERIFY(
        m_scene->site.PublishPatch(m_scene->server->BaseUrl(), newVersion, m_newInstaller, third,
                                   m_scene->PackageUrl(QStringLiteral("full-9.3.0.0.run")), patch));
    m_scene->demo->Start({QStringLiteral("--product-version"), newVersion,
                          QStringLiteral("--on-version"), QStringLiteral("update"),
                          QStringLiteral("--on-prompt"), QStringLiteral("yes")});
    QCOMPARE(m_scene->demo->WaitForEnd(), 0);
    QVERIFY(m_scene->InstallerHasRun(QStringLiteral("9.3.0.0")));
    QCOMPARE(gReadFile(m_scene->InstalledPath()), third);
}

void tst_IncrementalUpdate::a_killed_patch_download_continues_where_its_state_stood()
{
    QVERIFY(m_scene->StartServer(256 * 1024));
    QVERIFY(Publish(m_patch));
    m_scene->demo->Start({QStringLiteral("--on-version"), QStringLiteral("update")});
    QVERIFY(m_scene->demo->WaitForBytes(m_patch.size() / 3));
    m_scene->demo->Kill();
    const QString group = QStringLiteral("AlreadyDownload_size");
    QVERIFY(m_scene->site.ResumeValue(group, group) > 0);
    QVERIFY(m_scene->site.ResumeValue(group, group) < m_patch.size());

    QVERIFY(m_scene->StartServer());
    QVERIFY(Publish(m_patch));
    QCOMPARE(m_scene->Run(QStringLiteral("yes")), 0);
    QVERIFY(!m_scene->RangesAsked(UpdateSite::PatchName()).contains(QStringLiteral("bytes=0-")));
    QVERIFY(m_scene->InstallerHasRun(newVersion));
    QCOMPARE(gReadFile(m_keptPath), m_newInstaller);
}

void tst_IncrementalUpdate::a_host_killed_while_patching_patches_again()
{
    const QTemporaryDir folder;
    QVERIFY(UseSlowPatchProgram(folder.path()));
    QVERIFY(m_scene->StartServer());
    QVERIFY(Publish(m_patch));
    HostProgram host;
    host.path = folder.filePath(QStringLiteral("corvina-demo"));
    DemoProcess slowHost(m_scene->site.Home(), m_scene->server->CheckTemplate(), host);
    slowHost.Start({QStringLiteral("--on-version"), QStringLiteral("update")});
    QTRY_VERIFY_WITH_TIMEOUT(QFileInfo::exists(folder.filePath(QStringLiteral("started"))), 20000);
    slowHost.Kill();
    QCOMPARE(gReadFile(m_keptPath), m_oldInstaller);

    const int asked = m_scene->RangesAsked(UpdateSite::PatchName()).size();
    QCOMPARE(m_scene->Run(QStringLiteral("yes")), 0);
    QCOMPARE(m_scene->RangesAsked(UpdateSite::PatchName()).size(), asked);
    QVERIFY(m_scene->InstallerHasRun(newVersion));
    QCOMPARE(gReadFile(m_keptPath), m_newInstaller);
}

void tst_IncrementalUpdate::a_damaged_patch_is_followed_by_the_full_package()
{
    QByteArray damaged = m_patch;
    damaged.replace(damaged.size() / 2, 64, QByteArray(64, 'x'));
    QVERIFY(m_scene->StartServer());
    QVERIFY(Publish(damaged));
    QCOMPARE(m_scene->Run(QStringLiteral("yes")), 0);

    QVERIFY(m_scene->demo->Log().contains(QStringLiteral("DispatchPackageFailed!!!")));
    QCOMPARE(m_scene->RangesAsked(UpdateScene::InstallerName()).size(), UpdateScene::rangeCount);
    QCOMPARE(gReadFile(m_scene->InstalledPath()), m_newInstaller);
    QCOMPARE(gReadFile(m_keptPath), m_oldInstaller);
    QVERIFY(m_scene->InstallerHasRun(newVersion));
    QCOMPARE(m_scene->demo->Events(QStringLiteral("prompt")).size(), 1);
}

void tst_IncrementalUpdate::a_kept_installer_with_another_checksum_leads_to_the_full_package()
{
    QVERIFY(gWriteFile(m_keptPath, m_oldInstaller + "x"));
    QVERIFY(m_scene->StartServer());
    QVERIFY(Publish(m_patch));
    QCOMPARE(m_scene->Run(QStringLiteral("cancel")), 0);

    QVERIFY(m_scene->demo->Log().contains(QStringLiteral("Match old version md5 failed")));
    QCOMPARE(m_scene->RangesAsked(UpdateSite::PatchName()), QStringList());
    QCOMPARE(gReadFile(m_scene->InstalledPath()), m_newInstaller);
}

QUILLON_SERVER_TEST_MAIN(tst_IncrementalUpdate)

#include "tst_IncrementalUpdate.moc"
