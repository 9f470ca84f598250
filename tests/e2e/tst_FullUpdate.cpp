// SPDX-License-Identifier: MIT

#include "tests/e2e/ServerTestMain.h"
#include "tests/e2e/UpdateScene.h"
#include "tests/support/TestBytes.h"
#include "tests/support/TestFiles.h"

#include <QFileInfo>
#include <QSettings>
#include <QTest>

#include <memory>

namespace
{
constexpr int rangeCount = UpdateScene::rangeCount;
constexpr int largestChunk = 1024 * 1024;
const QString failedText = QStringLiteral("Failed to download the update.");

QStringList gSorted(QStringList list)
{
    list.sort();
    return list;
}
} // namespace

/// Whole updates by the full package, each with a new user's home.
class tst_FullUpdate : public QObject
{
    Q_OBJECT

public:
    explicit tst_FullUpdate(QString serverName)
        : m_serverName(std::move(serverName))
    {
    }

private:
    void RunAndAnswer(const QString &prompt);

    QString m_serverName;
    QByteArray m_installer;
    std::unique_ptr<UpdateScene> m_scene;

private slots:
    void initTestCase();
    void init();
    void cleanup();

    void a_fresh_update_runs_the_installer_that_it_downloaded();
    void the_host_hears_every_signal_of_a_fresh_update_in_order();
    void a_killed_download_continues_where_its_state_stood();
    void ranges_that_are_complete_are_not_asked_for_again();
    void a_deleted_target_starts_from_the_beginning();
    void everything_downloaded_but_not_in_place_is_put_in_place();
    void two_redirects_lead_to_the_package();
    void one_redirect_fails_without_touching_anything();
    void a_package_of_no_bytes_fails();
    void a_package_of_fewer_than_five_bytes_arrives();
    void a_kept_installer_is_started_on_yes_without_any_request();
    void a_kept_installer_stays_kept_on_cancel();
    void an_installer_put_off_is_offered_by_the_next_run();
    void closing_a_download_gives_five_close_and_the_next_run_continues();
    void the_title_bar_closes_a_download_with_six_close();
    void a_second_process_leaves_the_download_of_the_first_alone();
    void a_large_package_takes_at_most64_mi_b_of_memory();
    void remind_me_later_downloads_nothing();
    void no_newer_version_says_so();
    void an_unreachable_service_says_so();
};

/// Runs an update that accepts the offer and answers the prompt as asked, to its end.
void tst_FullUpdate::RunAndAnswer(const QString &prompt)
{
    QCOMPARE(m_scene->Run(prompt), 0);
}

void tst_FullUpdate::initTestCase()
{
    m_installer = UpdateScene::MakeInstaller(QStringLiteral("9.2.0.0"), 12);
    QVERIFY(m_installer.size() > 12 * 1024 * 1024);
}

void tst_FullUpdate::init()
{
    m_scene = std::make_unique<UpdateScene>(m_serverName);
}

void tst_FullUpdate::cleanup()
{
    if (QTest::currentTestFailed() && m_scene->demo != nullptr) {
        qWarning().noquote() << m_scene->demo->Log()
                             << m_scene->server->Requests().join(QLatin1Char('\n'));
    }
    m_scene.reset();
}

void tst_FullUpdate::a_fresh_update_runs_the_installer_that_it_downloaded()
{
    QVERIFY(m_scene->StartServer());
    QVERIFY(m_scene->PublishInstaller(m_installer));
    RunAndAnswer(QStringLiteral("yes"));

    QCOMPARE(gReadFile(m_scene->InstalledPath()), m_installer);
    QVERIFY(!QFileInfo::exists(m_scene->TargetPath()));
    QVERIFY(m_scene->InstallerHasRun(QStringLiteral("9.2.0.0")));
    const int segment = m_installer.size() / rangeCount;
    QStringList expected{QStringLiteral("bytes=%1-").arg(4 * segment)};
    for (int index = 0; index < rangeCount - 1; ++index) {
        expected.append(
            QStringLiteral("bytes=%1-%2").arg(index * segment).arg((index + 1) * segment - 1));
    }
    QCOMPARE(m_scene->RangesAsked(UpdateScene::InstallerName()), gSorted(expected));
}

void tst_FullUpdate::the_host_hears_every_signal_of_a_fresh_update_in_order()
{
    QVERIFY(m_scene->StartServer());
    QVERIFY(m_scene->PublishInstaller(m_installer));
    RunAndAnswer(QStringLiteral("yes"));

    QCOMPARE(m_scene->demo->Signals(),
             (QStringList{QStringLiteral("BeginInstall"), QStringLiteral("Close"),
                          QStringLiteral("InstallStarted")}));
    QStringList pages = m_scene->demo->Values(QStringLiteral("page"), QStringLiteral("name"));
    pages.removeDuplicates();
    QCOMPARE(pages, (QStringList{QStringLiteral("progress"), QStringLiteral("version")}));
    QCOMPARE(m_scene->demo->Events(QStringLiteral("prompt")).size(), 1);
    const QJsonObject last = m_scene->demo->Events(QStringLiteral("progress")).last();
    QCOMPARE(last.value(QLatin1String("value")).toInt(), m_installer.size());
    QCOMPARE(last.value(QLatin1String("maximum")).toInt(), m_installer.size());
}

void tst_FullUpdate::a_killed_download_continues_where_its_state_stood()
{
    QVERIFY(m_scene->StartServer(5 * 1024 * 1024));
    QVERIFY(m_scene->PublishInstaller(m_installer));
    m_scene->demo->Start({QStringLiteral("--on-version"), QStringLiteral("update")});
    QVERIFY(m_scene->demo->WaitForBytes(m_installer.size() / 2));
    m_scene->demo->Kill();

    const QByteArray target = gReadFile(m_scene->TargetPath());
    QCOMPARE(target.size(), m_installer.size());
    const int segment = m_installer.size() / rangeCount;
    int counted = 0;
    for (int number = 1; number <= rangeCount; ++number) {
        const QString group = QStringLiteral("DownLoad_Tasks");
        const int start =
            m_scene->site.ResumeValue(group, QStringLiteral("Start_Byte%1").arg(number));
        const int end = m_scene->site.ResumeValue(group, QStringLiteral("End_Byte%1").arg(number));
        const int first = (number - 1) * segment;
        counted += start - first;
        QCOMPARE(target.mid(first, start - first), m_installer.mid(first, start - first));
        int written = start;
        while (written <= end && target.at(written) == m_installer.at(written)) {
            ++written;
        }
        QVERIFY2(written - start <= largestChunk, "the state lags by more than one chunk");
    }
    const QString already = QStringLiteral("AlreadyDownload_size");
    QCOMPARE(m_scene->site.ResumeValue(already, already), counted);
    const QStringList expected = m_scene->RangesLeft();

    QVERIFY(m_scene->StartServer());
    QVERIFY(m_scene->PublishInstaller(m_installer));
    RunAndAnswer(QStringLiteral("yes"));
    QCOMPARE(m_scene->RangesAsked(UpdateScene::InstallerName()), expected);
    QCOMPARE(gReadFile(m_scene->InstalledPath()), m_installer);
    QVERIFY(m_scene->InstallerHasRun(QStringLiteral("9.2.0.0")));
}

void tst_FullUpdate::ranges_that_are_complete_are_not_asked_for_again()
{
    const QByteArray content = gTestBytes(1000003);
    QVERIFY(m_scene->StartServer());
    QVERIFY(m_scene->PublishInstaller(content));
    QByteArray partial(content.size(), '\0');
    for (const int first : {0, 400000}) {
        partial.replace(first, 200000, content.mid(first, 200000));
    }
    QVERIFY(gWriteFile(m_scene->TargetPath(), partial));
    m_scene->site.WriteResumeState(content.size(), 400000,
                                   {{200000, 199999},
                                    {200000, 399999},
                                    {600000, 599999},
                                    {600000, 799999},
                                    {800000, 1000002}});
    RunAndAnswer(QStringLiteral("cancel"));

    QCOMPARE(m_scene->RangesAsked(UpdateScene::InstallerName()),
             gSorted({QStringLiteral("bytes=200000-399999"), QStringLiteral("bytes=600000-799999"),
                      QStringLiteral("bytes=800000-")}));
    QCOMPARE(gReadFile(m_scene->InstalledPath()), content);
    const QList<QJsonObject> progress = m_scene->demo->Events(QStringLiteral("progress"));
    QCOMPARE(progress.last().value(QLatin1String("value")).toInt(), content.size());
}

void tst_FullUpdate::a_deleted_target_starts_from_the_beginning()
{
    const QByteArray content = gTestBytes(1000003);
    QVERIFY(m_scene->StartServer());
    QVERIFY(m_scene->PublishInstaller(content));
    m_scene->site.WriteResumeState(content.size(), 400000,
                                   {{200000, 199999},
                                    {200000, 399999},
                                    {600000, 599999},
                                    {600000, 799999},
                                    {800000, 1000002}});
    RunAndAnswer(QStringLiteral("cancel"));

    QCOMPARE(m_scene->RangesAsked(UpdateScene::InstallerName()).size(), rangeCount);
    QCOMPARE(gReadFile(m_scene->InstalledPath()), content);
}

void tst_FullUpdate::everything_downloaded_but_not_in_place_is_put_in_place()
{
    const QByteArray content = gTestBytes(1000003);
    QVERIFY(m_scene->StartServer());
    QVERIFY(m_scene->PublishInstaller(content));
    QVERIFY(gWriteFile(m_scene->TargetPath(), content));
    m_scene->site.WriteResumeState(content.size(), content.size(),
                                   {{200000, 199999},
                                    {400000, 399999},
                                    {600000, 599999},
                                    {800000, 799999},
                                    {1000003, 1000002}});
    RunAndAnswer(QStringLiteral("cancel"));

    QCOMPARE(m_scene->RangesAsked(UpdateScene::InstallerName()), QStringList());
    QCOMPARE(gReadFile(m_scene->InstalledPath()), content);
}

void tst_FullUpdate::two_redirects_lead_to_the_package()
{
    const QByteArray content = gTestBytes(1000003);
    QVERIFY(m_scene->StartServer());
    QVERIFY(m_scene->PublishInstaller(content));
    QVERIFY(m_scene->site.WriteManifest(
        m_scene->PackageUrl(UpdateScene::InstallerName(), QStringLiteral("/redirect/redirect"))));
    RunAndAnswer(QStringLiteral("cancel"));

    QCOMPARE(gReadFile(m_scene->InstalledPath()), content);
    QCOMPARE(m_scene->RangesAsked(UpdateScene::InstallerName()).size(), rangeCount);
}

void tst_FullUpdate::one_redirect_fails_without_touching_anything()
{
    QVERIFY(m_scene->StartServer());
    QVERIFY(m_scene->PublishInstaller(gTestBytes(1000003)));
    QVERIFY(m_scene->site.WriteManifest(
        m_scene->PackageUrl(UpdateScene::InstallerName(), QStringLiteral("/redirect"))));
    RunAndAnswer(QStringLiteral("cancel"));

    QCOMPARE(m_scene->demo->PageText(), failedText);
    QVERIFY(!QFileInfo::exists(m_scene->TargetPath()));
    QVERIFY(
        !QFileInfo::exists(m_scene->site.Home() + QStringLiteral("/CvBreakResumeDownLoad.ini")));
}

void tst_FullUpdate::a_package_of_no_bytes_fails()
{
    QVERIFY(m_scene->StartServer());
    QVERIFY(m_scene->PublishInstaller(QByteArray()));
    RunAndAnswer(QStringLiteral("cancel"));

    QCOMPARE(m_scene->demo->PageText(), failedText);
    QCOMPARE(m_scene->demo->Signals(), QStringList{QStringLiteral("Close")});
    QVERIFY(!QFileInfo::exists(m_scene->TargetPath()));
}

void tst_FullUpdate::a_package_of_fewer_than_five_bytes_arrives()
{
    QVERIFY(m_scene->StartServer());
    QVERIFY(m_scene->PublishInstaller("abc"));
    RunAndAnswer(QStringLiteral("cancel"));

    QCOMPARE(gReadFile(m_scene->InstalledPath()), QByteArray("abc"));
    QCOMPARE(m_scene->RangesAsked(UpdateScene::InstallerName()),
             QStringList{QStringLiteral("bytes=0-")});
}

void tst_FullUpdate::a_kept_installer_is_started_on_yes_without_any_request()
{
    QVERIFY(m_scene->StartServer());
    QVERIFY(gWriteFile(m_scene->InstalledPath(), m_installer));
    QSettings(m_scene->site.Home() + QStringLiteral("/Corvina.ini"), QSettings::IniFormat)
        .setValue(QStringLiteral("Quillon/SetupFile"), m_scene->InstalledPath());
    RunAndAnswer(QStringLiteral("yes"));

    QVERIFY(m_scene->InstallerHasRun(QStringLiteral("9.2.0.0")));
    QCOMPARE(m_scene->server->Requests(), QStringList());
    QCOMPARE(m_scene->demo->Signals(),
             (QStringList{QStringLiteral("Close"), QStringLiteral("InstallStarted")}));
    QVERIFY(m_scene->demo->Values(QStringLiteral("prompt"), QStringLiteral("text"))
                .first()
                .startsWith(QStringLiteral("A new version has been found in your device.")));
}

void tst_FullUpdate::a_kept_installer_stays_kept_on_cancel()
{
    QVERIFY(m_scene->StartServer());
    QVERIFY(gWriteFile(m_scene->InstalledPath(), m_installer));
    const QString settings = m_scene->site.Home() + QStringLiteral("/Corvina.ini");
    QSettings(settings, QSettings::IniFormat)
        .setValue(QStringLiteral("Quillon/SetupFile"), m_scene->InstalledPath());
    RunAndAnswer(QStringLiteral("cancel"));

    QCOMPARE(QSettings(settings, QSettings::IniFormat)
                 .value(QStringLiteral("Quillon/SetupFile"))
                 .toString(),
             m_scene->InstalledPath());
    QCOMPARE(m_scene->demo->Signals(),
             (QStringList{QStringLiteral("CancelInstall"), QStringLiteral("Close")}));
    QVERIFY(!QFileInfo::exists(m_scene->site.Home() + QStringLiteral("/installed")));
}

void tst_FullUpdate::an_installer_put_off_is_offered_by_the_next_run()
{
    QVERIFY(m_scene->StartServer());
    QVERIFY(m_scene->PublishInstaller(m_installer));
    RunAndAnswer(QStringLiteral("cancel"));
    QCOMPARE(m_scene->demo->Signals(),
             (QStringList{QStringLiteral("BeginInstall"), QStringLiteral("CancelInstall"),
                          QStringLiteral("Close")}));
    QVERIFY(!QFileInfo::exists(m_scene->site.Home() + QStringLiteral("/installed")));

    QVERIFY(m_scene->StartServer());
    RunAndAnswer(QStringLiteral("yes"));
    QVERIFY(m_scene->InstallerHasRun(QStringLiteral("9.2.0.0")));
    QCOMPARE(m_scene->server->Requests(), QStringList());
}

void tst_FullUpdate::closing_a_download_gives_five_close_and_the_next_run_continues()
{
    QVERIFY(m_scene->StartServer(4 * 1024 * 1024));
    QVERIFY(m_scene->PublishInstaller(m_installer));
    m_scene->demo->Start({QStringLiteral("--on-version"), QStringLiteral("update"),
                          QStringLiteral("--close-at-bytes"),
                          QString::number(m_installer.size() / 3)});
    QCOMPARE(m_scene->demo->WaitForEnd(), 0);
    QStringList fiveTimes;
    for (int range = 0; range < rangeCount; ++range) {
        fiveTimes.append(QStringLiteral("Close"));
    }
    QCOMPARE(m_scene->demo->Signals(), fiveTimes);
    const QString already = QStringLiteral("AlreadyDownload_size");
    QVERIFY(m_scene->site.ResumeValue(already, already) >= m_installer.size() / 3);
    QVERIFY(m_scene->site.ResumeValue(already, already) < m_installer.size());

    QVERIFY(m_scene->StartServer());
    QVERIFY(m_scene->PublishInstaller(m_installer));
    RunAndAnswer(QStringLiteral("yes"));
    QCOMPARE(gReadFile(m_scene->InstalledPath()), m_installer);
    QVERIFY(m_scene->InstallerHasRun(QStringLiteral("9.2.0.0")));
}

void tst_FullUpdate::the_title_bar_closes_a_download_with_six_close()
{
    QVERIFY(m_scene->StartServer(4 * 1024 * 1024));
    QVERIFY(m_scene->PublishInstaller(m_installer));
    m_scene->demo->Start({QStringLiteral("--on-version"), QStringLiteral("update"),
                          QStringLiteral("--titlebar-close-at-bytes"),
                          QString::number(m_installer.size() / 3)});
    QCOMPARE(m_scene->demo->WaitForEnd(), 0);
    const QStringList signalNames = m_scene->demo->Signals();
    QCOMPARE(signalNames.size(), rangeCount + 1);
    QCOMPARE(signalNames.count(QStringLiteral("Close")), rangeCount + 1);
}

void tst_FullUpdate::a_second_process_leaves_the_download_of_the_first_alone()
{
    QVERIFY(m_scene->StartServer(5 * 1024 * 1024));
    QVERIFY(m_scene->PublishInstaller(m_installer));
    m_scene->demo->Start({QStringLiteral("--on-version"), QStringLiteral("update"),
                          QStringLiteral("--on-prompt"), QStringLiteral("cancel")});
    QVERIFY(m_scene->demo->WaitForBytes(m_installer.size() / 10));

    DemoProcess second(m_scene->site.Home(), m_scene->server->CheckTemplate());
    second.Start({QStringLiteral("--on-version"), QStringLiteral("update"),
                  QStringLiteral("--on-hint"), QStringLiteral("close")});
    QCOMPARE(second.WaitForEnd(), 0);
    QCOMPARE(second.PageText(), failedText);
    QVERIFY(QFileInfo::exists(m_scene->TargetPath()));

    QCOMPARE(m_scene->demo->WaitForEnd(), 0);
    QCOMPARE(gReadFile(m_scene->InstalledPath()), m_installer);
    QCOMPARE(m_scene->RangesAsked(UpdateScene::InstallerName()).size(), rangeCount);
}

void tst_FullUpdate::a_large_package_takes_at_most64_mi_b_of_memory()
{
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
    QSKIP("a sanitizer needs memory of its own");
#endif
    QVERIFY(m_scene->StartServer());
    QVERIFY(m_scene->PublishInstaller(gTestBytes(300 * 1024 * 1024)));
    m_scene->demo->Start({QStringLiteral("--on-version"), QStringLiteral("update"),
                          QStringLiteral("--on-prompt"), QStringLiteral("wait")});
    QVERIFY(m_scene->demo->WaitFor([](const QJsonObject &event) {
        return event.value(QLatin1String("name")).toString() == QLatin1String("version");
    }));
    const int idle = m_scene->demo->MemoryKiB("VmRSS");
    QVERIFY(m_scene->demo->WaitFor([](const QJsonObject &event) {
        return event.value(QLatin1String("event")).toString() == QLatin1String("prompt");
    }));
    const int most = m_scene->demo->MemoryKiB("VmHWM");
    qInfo("%d MiB over %d MiB when idle", (most - idle) / 1024, idle / 1024);
    QVERIFY(idle > 0);
    QVERIFY(most - idle <= 64 * 1024);
}

void tst_FullUpdate::remind_me_later_downloads_nothing()
{
    QVERIFY(m_scene->StartServer());
    QVERIFY(m_scene->PublishInstaller(m_installer));
    m_scene->demo->Start({QStringLiteral("--on-version"), QStringLiteral("remind")});
    QCOMPARE(m_scene->demo->WaitForEnd(), 0);
    QCOMPARE(m_scene->demo->Signals(), QStringList{QStringLiteral("RemindMeLater")});
    QCOMPARE(m_scene->server->Requests().size(), 1);
    QVERIFY(m_scene->demo->Events(QStringLiteral("page"))
                .last()
                .value(QLatin1String("html"))
                .toString()
                .contains(QStringLiteral("<ol><li>Faster export</li><li>Fewer stalls</li></ol>")));
}

void tst_FullUpdate::no_newer_version_says_so()
{
    QVERIFY(m_scene->StartServer());
    QVERIFY(m_scene->site.WriteManifest(QString()));
    RunAndAnswer(QStringLiteral("cancel"));
    QCOMPARE(m_scene->demo->PageText(),
             QStringLiteral("Your current version is the latest version!"));
}

void tst_FullUpdate::an_unreachable_service_says_so()
{
    QVERIFY(m_scene->StartServer());
    m_scene->server->Stop();
    RunAndAnswer(QStringLiteral("cancel"));
    QCOMPARE(m_scene->demo->PageText(), QStringLiteral("Failed to check update!"));
}

QUILLON_SERVER_TEST_MAIN(tst_FullUpdate)

#include "tst_FullUpdate.moc"
