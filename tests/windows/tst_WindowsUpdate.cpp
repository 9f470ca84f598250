// SPDX-License-Identifier: MIT

#include "tests/e2e/UpdateScene.h"
#include "tests/support/StatisticsServer.h"
#include "tests/support/TestFiles.h"
#include "tests/windows/WindowsMachine.h"
#include "tests/windows/WindowsTestMain.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QImage>
#include <QTest>

#include <memory>

namespace
{
const QString version = QStringLiteral("9.2.0.0");
const QString nextVersion = QStringLiteral("9.3.0.0");
const QString yes = QStringLiteral("yes");
const QString cancel = QStringLiteral("cancel");

/// Whether some pixel of the picture is much lighter or darker than its centre.
bool gShowsSomething(const QString &path)
{
    const QImage picture(path);
    const QPoint centre = picture.rect().center();
    for (int y = 0; y < picture.height(); ++y) {
        for (int x = 0; x < picture.width(); ++x) {
            if (qAbs(qGray(picture.pixel(x, y)) - qGray(picture.pixel(centre))) > 100) {
                return true;
            }
        }
    }
    return false;
}
} // namespace

/// Whole updates of corvina-demo.exe by real Windows installers.
class tst_WindowsUpdate : public QObject
{
    Q_OBJECT

public:
    tst_WindowsUpdate(const QString &build, const QString &sdk)
        : m_machine(build, sdk)
    {
    }

private:
    QByteArray Built(const QString &name) const;
    int RunWithReportsTo(const StatisticsServer &statistics) const;
    bool NoInstallerHasRun() const;

    WindowsMachine m_machine;
    QByteArray m_installer;
    QByteArray m_nextInstaller;
    QByteArray m_patch;
    std::unique_ptr<UpdateScene> m_scene;

private slots:
    void initTestCase();
    void init();
    void cleanup();

    void a_fresh_update_runs_the_installer_that_it_downloaded();
    void the_installer_outlives_the_host();
    void a_patch_against_the_kept_installer_is_the_update();
    void a_killed_download_continues_where_its_state_stood();
    void an_installer_put_off_is_offered_by_the_next_run();
    void a_report_reaches_a_service_that_the_machine_trusts();
    void no_report_is_sent_to_a_service_that_the_machine_does_not_trust();
    void every_page_has_its_picture();
};

QByteArray tst_WindowsUpdate::Built(const QString &name) const
{
    return gReadFile(m_machine.Built(QStringLiteral("tests/windows/") + name));
}

/// Runs an update to its end, with event reports to @p statistics. @return the host's exit status
int tst_WindowsUpdate::RunWithReportsTo(const StatisticsServer &statistics) const
{
    m_scene->demo->Start({QStringLiteral("--statistics-host"), statistics.Host(),
                          QStringLiteral("--on-version"), QStringLiteral("update"),
                          QStringLiteral("--on-prompt"), yes});
    return m_scene->demo->WaitForEnd();
}

bool tst_WindowsUpdate::NoInstallerHasRun() const
{
    return !QFileInfo::exists(m_scene->site.Home() + QStringLiteral("/installed"));
}

void tst_WindowsUpdate::initTestCase()
{
    QVERIFY(m_machine.Start());
    m_installer = Built(QStringLiteral("corvina-9.2.0.0.exe"));
    m_nextInstaller = Built(QStringLiteral("corvina-9.3.0.0.exe"));
    m_patch = Built(QStringLiteral("corvina-9.3.0.0.patch"));
    constexpr int leastPayload = 30 * 1024 * 1024;
    QVERIFY(m_installer.size() > leastPayload);
    QVERIFY(m_nextInstaller.size() > leastPayload);
    QVERIFY(!m_patch.isEmpty());
    QVERIFY(m_patch.size() < m_nextInstaller.size() / 10);
}

void tst_WindowsUpdate::init()
{
    QVERIFY(m_machine.RemovePackages());
    m_scene = std::make_unique<UpdateScene>(QStringLiteral("quillon-serve"), m_machine.Host(),
                                            m_machine.PackageFolder());
}

void tst_WindowsUpdate::cleanup()
{
    if (QTest::currentTestFailed() && m_scene->demo != nullptr) {
        qWarning().noquote() << m_scene->demo->Log()
                             << m_scene->server->Requests().join(QLatin1Char('\n'));
    }
    QFile::remove(m_machine.HoldFile());
    m_scene.reset();
}

void tst_WindowsUpdate::a_fresh_update_runs_the_installer_that_it_downloaded()
{
    QVERIFY(m_scene->StartServer());
    QVERIFY(m_scene->PublishInstaller(m_installer));
    QCOMPARE(m_scene->Run(yes), 0);

    QVERIFY(m_scene->InstallerHasRun(version));
    QVERIFY(gReadFile(m_scene->InstalledPath()) == m_installer);
    QVERIFY(!QFileInfo::exists(m_scene->TargetPath()));
    QCOMPARE(m_scene->RangesAsked(UpdateScene::InstallerName()).size(), UpdateScene::rangeCount);
    QCOMPARE(m_scene->demo->Signals(),
             (QStringList{QStringLiteral("BeginInstall"), QStringLiteral("Close"),
                          QStringLiteral("InstallStarted")}));
}

void tst_WindowsUpdate::the_installer_outlives_the_host()
{
    QVERIFY(gWriteFile(m_machine.HoldFile(), QByteArray()));
    QVERIFY(m_scene->StartServer());
    QVERIFY(m_scene->PublishInstaller(m_installer));
    QCOMPARE(m_scene->Run(yes), 0);
    QVERIFY(NoInstallerHasRun());

    QVERIFY(QFile::remove(m_machine.HoldFile()));
    QVERIFY(m_scene->InstallerHasRun(version));
}

void tst_WindowsUpdate::a_patch_against_the_kept_installer_is_the_update()
{
    const QString kept = m_scene->site.WorkingFolder() + QStringLiteral("/kept.exe");
    QVERIFY(gWriteFile(kept, m_installer));
    QVERIFY(m_scene->StartServer());
    const QString fullPackage = QStringLiteral("full.exe");
    QVERIFY(m_scene->site.PublishPatch(m_scene->server->BaseUrl(), version, m_installer,
                                       m_nextInstaller, m_scene->PackageUrl(fullPackage), m_patch,
                                       nextVersion));
    m_scene->demo->Start({QStringLiteral("--product-version"), version,
                          QStringLiteral("--on-version"), QStringLiteral("update"),
                          QStringLiteral("--on-prompt"), yes, QStringLiteral("--on-hint"),
                          QStringLiteral("close")});
    QCOMPARE(m_scene->demo->WaitForEnd(), 0);

    QVERIFY(m_scene->demo->Log().contains(QStringLiteral("End Patch IncreasePackage")));
    QVERIFY(m_scene->InstallerHasRun(nextVersion));
    QVERIFY(gReadFile(kept) == m_nextInstaller);
    QCOMPARE(m_scene->RangesAsked(UpdateSite::PatchName()).size(), UpdateScene::rangeCount);
    QCOMPARE(m_scene->RangesAsked(fullPackage), QStringList());
}

void tst_WindowsUpdate::a_killed_download_continues_where_its_state_stood()
{
    constexpr int bytesPerSecond = 16 * 1024 * 1024;
    QVERIFY(m_scene->StartServer(bytesPerSecond));
    QVERIFY(m_scene->PublishInstaller(m_installer));
    m_scene->demo->Start({QStringLiteral("--on-version"), QStringLiteral("update")});
    QVERIFY(m_scene->demo->WaitForBytes(m_installer.size() / 2));
    m_scene->demo->Kill();

    const QString already = QStringLiteral("AlreadyDownload_size");
    QVERIFY(m_scene->site.ResumeValue(already, already) >= m_installer.size() / 2);
    QVERIFY(m_scene->site.ResumeValue(already, already) < m_installer.size());
    const QStringList left = m_scene->RangesLeft();
    QVERIFY(!left.contains(QStringLiteral("bytes=0-")));

    QVERIFY(m_scene->StartServer());
    QVERIFY(m_scene->PublishInstaller(m_installer));
    QCOMPARE(m_scene->Run(yes), 0);
    QCOMPARE(m_scene->RangesAsked(UpdateScene::InstallerName()), left);
    QVERIFY(m_scene->InstallerHasRun(version));
    QVERIFY(gReadFile(m_scene->InstalledPath()) == m_installer);
}

void tst_WindowsUpdate::an_installer_put_off_is_offered_by_the_next_run()
{
    QVERIFY(m_scene->StartServer());
    QVERIFY(m_scene->PublishInstaller(m_installer));
    QCOMPARE(m_scene->Run(cancel), 0);
    QCOMPARE(m_scene->demo->Signals(),
             (QStringList{QStringLiteral("BeginInstall"), QStringLiteral("CancelInstall"),
                          QStringLiteral("Close")}));
    QVERIFY(NoInstallerHasRun());

    QVERIFY(m_scene->StartServer());
    QCOMPARE(m_scene->Run(yes), 0);
    QVERIFY(m_scene->demo->Values(QStringLiteral("prompt"), QStringLiteral("text"))
                .first()
                .startsWith(QStringLiteral("A new version has been found in your device.")));
    QVERIFY(m_scene->InstallerHasRun(version));
    QCOMPARE(m_scene->server->Requests(), QStringList());
}

void tst_WindowsUpdate::a_report_reaches_a_service_that_the_machine_trusts()
{
    const TestCertificates certificates;
    QVERIFY(m_machine.Trust(certificates.AuthorityFile()));
    const StatisticsServer statistics(certificates);
    QVERIFY(m_scene->StartServer());
    QVERIFY(m_scene->PublishInstaller(m_installer));
    QCOMPARE(RunWithReportsTo(statistics), 0);

    constexpr int installerStarted = 1;
    QCOMPARE(statistics.Results(), QList<int>{installerStarted});
    const QJsonObject record = statistics.Record(0);
    const QJsonObject label = record.value(QLatin1String("label")).toObject();
    QCOMPARE(label.value(QLatin1String("oldver")).toString(), QStringLiteral("9.1.0.0"));
    QCOMPARE(label.value(QLatin1String("newver")).toString(), version);
    QCOMPARE(label.value(QLatin1String("type")).toString(), QStringLiteral("full"));
    constexpr int signLength = 38;
    QCOMPARE(record.value(QLatin1String("uid")).toString().size(), signLength);
}

void tst_WindowsUpdate::no_report_is_sent_to_a_service_that_the_machine_does_not_trust()
{
    const TestCertificates certificates;
    StatisticsServer statistics(certificates);
    QVERIFY(m_scene->StartServer());
    QVERIFY(m_scene->PublishInstaller(m_installer));
    QCOMPARE(RunWithReportsTo(statistics), 0);

    QVERIFY(statistics.Server().Connections() > 0);
    QCOMPARE(statistics.Results(), QList<int>());
    QVERIFY(m_scene->InstallerHasRun(version));
}

void tst_WindowsUpdate::every_page_has_its_picture()
{
    const QDir pictures(m_machine.Built(QStringLiteral("screenshots")));
    QVERIFY(QDir(pictures).removeRecursively());
    constexpr int bytesPerSecond = 32 * 1024 * 1024;
    QVERIFY(m_scene->StartServer(bytesPerSecond));
    QVERIFY(m_scene->PublishInstaller(m_installer));
    const QStringList screenshots{QStringLiteral("--screenshots"), m_machine.Path(pictures.path())};
    m_scene->demo->Start(screenshots + QStringList{QStringLiteral("--on-version"),
                                                   QStringLiteral("update"),
                                                   QStringLiteral("--on-prompt"), cancel});
    QCOMPARE(m_scene->demo->WaitForEnd(), 0);
    QVERIFY(m_machine.RemovePackages());
    QVERIFY(m_scene->StartServer());
    QVERIFY(m_scene->site.WriteManifest(QString()));
    m_scene->demo->Start(screenshots +
                         QStringList{QStringLiteral("--on-hint"), QStringLiteral("close")});
    QCOMPARE(m_scene->demo->WaitForEnd(), 0);

    for (const char *page : {"progress-checking", "version", "progress-downloading",
                             "progress-halfway", "prompt", "hint"}) {
        const QStringList found =
            pictures.entryList({QStringLiteral("[0-9][0-9]-%1.png").arg(QLatin1String(page))});
        QVERIFY2(!found.isEmpty(), page);
        QVERIFY2(gShowsSomething(pictures.filePath(found.first())), page);
    }
}

QUILLON_WINDOWS_TEST_MAIN(tst_WindowsUpdate)

#include "tst_WindowsUpdate.moc"
