// SPDX-License-Identifier: MIT

#include "tests/windows/WindowsMachine.h"

#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QFileInfo>
#include <QProcess>

namespace
{
constexpr int limitMs = 120000;

int gRunProgram(const QStringList &command, const QMap<QString, QString> &variables)
{
    QProcess process;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    for (auto it = variables.cbegin(); it != variables.cend(); ++it) {
        environment.insert(it.key(), it.value());
    }
    process.setProcessEnvironment(environment);
    process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    process.start(command.first(), command.mid(1));
    const bool ended = process.waitForFinished(limitMs);
    return ended && process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1;
}
} // namespace

WindowsMachine::WindowsMachine(const QString &build, const QString &sdk)
    : m_build(build)
{
    m_host.path = Built(QStringLiteral("demo/corvina-demo.exe"));
    m_host.launcher = QStringList{QStringLiteral(WINE_LAUNCHER), build, sdk};
    m_host.drive = QStringLiteral("Z:");
}

WindowsMachine::~WindowsMachine()
{
    if (m_host.environment.contains(QStringLiteral("QUILLON_WINEPREFIX"))) {
        gRunProgram(m_host.launcher + QStringList{QStringLiteral("--end")}, m_host.environment);
    }
}

bool WindowsMachine::Start()
{
    m_prefix = std::make_unique<QTemporaryDir>(Built(QStringLiteral("wine-XXXXXX")));
    if (!m_prefix->isValid() || !m_screen.Start()) {
        return false;
    }
    m_host.environment = {
        {QStringLiteral("DISPLAY"), m_screen.Name()},
        {QStringLiteral("QT_QPA_PLATFORM"), QStringLiteral("windows")},
        {QStringLiteral("CORVINA_INSTALL_HOLD"), Path(HoldFile())},
    };
    const QStringList prepare{QStringLiteral("--prepare")};
    if (gRunProgram(m_host.launcher + prepare, m_host.environment) != 0 || !CopyPrefix()) {
        return false;
    }
    m_host.environment.insert(QStringLiteral("QUILLON_WINEPREFIX"), m_prefix->path());
    return true;
}

bool WindowsMachine::CopyPrefix() const
{
    return gRunProgram({QStringLiteral("cp"), QStringLiteral("-a"),
                        QStringLiteral("--reflink=auto"), Built(QStringLiteral("wine/.")),
                        m_prefix->path()},
                       {}) == 0;
}

int WindowsMachine::Run(const QString &program, const QStringList &arguments) const
{
    return gRunProgram(m_host.launcher + QStringList{program} + arguments, m_host.environment);
}

bool WindowsMachine::Trust(const QString &path) const
{
    return Run(Built(QStringLiteral("tests/windows/TrustCertificate.exe")), {Path(path)}) == 0;
}

QString WindowsMachine::PackageFolder() const
{
    return m_prefix->filePath(QStringLiteral("drive_c/users/Public/Documents/Halvard"));
}

bool WindowsMachine::RemovePackages() const
{
    return QDir(PackageFolder()).removeRecursively();
}

QStringList WindowsMachine::PrivateCopies() const
{
    QStringList copies;
    QDirIterator files(m_prefix->filePath(QStringLiteral("drive_c/users")), QDir::Files,
                       QDirIterator::Subdirectories);
    while (files.hasNext()) {
        const QString path = files.next();
        if (path.contains(QLatin1String("/AppData/Local/Halvard/Corvina-")) &&
            !path.endsWith(QLatin1String(".lock"))) {
            copies.append(files.fileName());
        }
    }
    return copies;
}

QString WindowsMachine::HoldFile() const
{
    return m_prefix->filePath(QStringLiteral("hold"));
}
