// SPDX-License-Identifier: MIT

#include "tests/e2e/UpdateScene.h"

#include "tests/e2e/Nginx.h"
#include "tests/e2e/QuillonServe.h"
#include "tests/support/TestFiles.h"

#include <QProcess>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QTest>

#include <utility>

const QString &UpdateScene::InstallerName()
{
    static const QString name = QStringLiteral("corvina-setup-9.2.0.0.exe");
    return name;
}

UpdateScene::UpdateScene(QString serverName, HostProgram host, const QString &workingFolder)
    : site(workingFolder)
    , m_serverName(std::move(serverName))
    , m_host(std::move(host))
{
}

UpdateScene::~UpdateScene() = default;

bool UpdateScene::StartServer(int bytesPerSecond)
{
    demo.reset();
    if (m_serverName == QLatin1String("nginx")) {
        // The limit of nginx is for each connection.
        server = std::make_unique<Nginx>();
        bytesPerSecond /= rangeCount;
    } else {
        server = std::make_unique<QuillonServe>();
    }
    if (!server->Start(site.Folder(), bytesPerSecond)) {
        return false;
    }
    demo = std::make_unique<DemoProcess>(site.Home(), server->CheckTemplate(), m_host);
    return true;
}

bool UpdateScene::PublishInstaller(const QByteArray &content) const
{
    return site.Publish(InstallerName(), content) &&
           site.WriteManifest(PackageUrl(InstallerName()));
}

QString UpdateScene::PackageUrl(const QString &name, const QString &prefix) const
{
    return server->BaseUrl() + prefix + QStringLiteral("/packages/") + name;
}

QString UpdateScene::InstalledPath() const
{
    return site.WorkingFolder() + QLatin1Char('/') + InstallerName();
}

QString UpdateScene::TargetPath() const
{
    return site.WorkingFolder() + QStringLiteral("/Corvina9(x64).tmp");
}

int UpdateScene::Run(const QString &promptAnswer) const
{
    demo->Start({QStringLiteral("--on-version"), QStringLiteral("update"),
                 QStringLiteral("--on-prompt"), promptAnswer, QStringLiteral("--on-hint"),
                 QStringLiteral("close")});
    return demo->WaitForEnd();
}

bool UpdateScene::InstallerHasRun(const QString &version) const
{
    constexpr int limitMs = 20000;
    const QByteArray expected = "Corvina " + version.toLatin1() + " installed: payload of ";
    return QTest::qWaitFor(
        [&] { return gReadFile(site.Home() + QStringLiteral("/installed")).contains(expected); },
        limitMs);
}

QStringList UpdateScene::RangesLeft() const
{
    QStringList ranges;
    for (int number = 1; number <= rangeCount; ++number) {
        const QString group = QStringLiteral("DownLoad_Tasks");
        const int start = site.ResumeValue(group, QStringLiteral("Start_Byte%1").arg(number));
        const int end = site.ResumeValue(group, QStringLiteral("End_Byte%1").arg(number));
        if (start <= end) {
            // The request of the last range is open-ended.
            ranges.append(number < rangeCount ? QStringLiteral("bytes=%1-%2").arg(start).arg(end)
                                              : QStringLiteral("bytes=%1-").arg(start));
        }
    }
    ranges.sort();
    return ranges;
}

QStringList UpdateScene::RangesAsked(const QString &name) const
{
    static const QRegularExpression line(QStringLiteral("^GET /packages/(\\S+) (\\S+) \\d+$"));
    QStringList ranges;
    const QStringList requests = server->Requests();
    for (const QString &request : requests) {
        const QRegularExpressionMatch match = line.match(request);
        if (match.hasMatch() && match.captured(1) == name) {
            ranges.append(match.captured(2));
        }
    }
    ranges.sort();
    return ranges;
}

QByteArray UpdateScene::MakeInstaller(const QString &version, int megabytes)
{
    const QTemporaryDir folder;
    const QString path = folder.filePath(InstallerName());
    QProcess make;
    make.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    make.start(QStringLiteral(MAKE_INSTALLER), {version, QString::number(megabytes), path});
    return make.waitForFinished() ? gReadFile(path) : QByteArray();
}
