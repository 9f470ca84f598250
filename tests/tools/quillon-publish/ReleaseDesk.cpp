// SPDX-License-Identifier: MIT

#include "tests/tools/quillon-publish/ReleaseDesk.h"

#include "tests/support/Md5.h"
#include "tests/support/TestFiles.h"

#include <QDirIterator>
#include <QFile>
#include <QFileInfo>

namespace
{
constexpr int patienceMs = 60000;

QString gPackageName(const QString &url)
{
    return url.mid(url.lastIndexOf(QLatin1Char('/')) + 1);
}
} // namespace

QString ReleaseDesk::Installer(const QString &version)
{
    static const QTemporaryDir shelf;
    const QString path = shelf.filePath(QStringLiteral("corvina-%1.exe").arg(version));
    // Another size than the other installers, as releases mostly have.
    const QString megabytes =
        version == QLatin1String("9.3.0.0") ? QStringLiteral("3") : QStringLiteral("2");
    if (!QFileInfo::exists(path)) {
        QProcess::execute(QStringLiteral(MAKE_INSTALLER), {version, megabytes, path});
    }
    return path;
}

QString ReleaseDesk::Write(const QString &name, const QByteArray &content) const
{
    return gWriteFile(Path(name), content) ? Path(name) : QString();
}

QString ReleaseDesk::Script(const QString &name, const QByteArray &body) const
{
    const QString path = Write(name, "#!/bin/sh\n" + body);
    QFile::setPermissions(path,
                          QFileDevice::ReadOwner | QFileDevice::WriteOwner | QFileDevice::ExeOwner);
    return path;
}

QMap<QString, QString> ReleaseDesk::QuickPatches() const
{
    return {{QStringLiteral("bsdiff"), Script(QStringLiteral("bsdiff"), "cp \"$2\" \"$3\"\n")},
            {QStringLiteral("bspatch"), Script(QStringLiteral("bspatch"), "cp \"$3\" \"$2\"\n")}};
}

QStringList ReleaseDesk::Arguments(const QMap<QString, QString> &changes,
                                   const QStringList &previous) const
{
    QMap<QString, QString> values{
        {QStringLiteral("site"), Site()},
        {QStringLiteral("base-url"), QStringLiteral("https://updates.example/corvina")},
        {QStringLiteral("product-version"), QStringLiteral("9.3.0.0")},
        {QStringLiteral("installer"), Installer(QStringLiteral("9.3.0.0"))},
        {QStringLiteral("notes"), Path(QStringLiteral("notes.md"))},
        {QStringLiteral("bspatch"), QStringLiteral("bspatch")},
    };
    for (auto change = changes.cbegin(); change != changes.cend(); ++change) {
        values.insert(change.key(), change.value());
    }
    QStringList arguments;
    for (auto value = values.cbegin(); value != values.cend(); ++value) {
        if (!value.value().isEmpty()) {
            arguments << QLatin1String("--") + value.key() << value.value();
        }
    }
    for (const QString &path : previous) {
        arguments << QStringLiteral("--previous") << path;
    }
    return arguments;
}

ReleaseDesk::Outcome ReleaseDesk::Run(const QStringList &arguments)
{
    const std::unique_ptr<QProcess> process = Start(arguments);
    if (!process->waitForFinished(patienceMs) || process->exitStatus() != QProcess::NormalExit) {
        return {};
    }
    return {process->exitCode(), QString::fromUtf8(process->readAllStandardOutput()),
            QString::fromUtf8(process->readAllStandardError())};
}

bool ReleaseDesk::Publish(const QStringList &arguments)
{
    const Outcome outcome = Run(arguments);
    if (outcome.code != 0) {
        qWarning("%d: %s", outcome.code, qPrintable(outcome.err));
    }
    return outcome.code == 0;
}

QString ReleaseDesk::RefusalFault(const QStringList &arguments, const QString &says, int code) const
{
    const auto before = Files();
    const Outcome outcome = Run(arguments);
    if (outcome.code != code) {
        return QStringLiteral("exit code %1: %2").arg(outcome.code).arg(outcome.err);
    }
    if (!outcome.err.contains(says) || outcome.err.count(QLatin1Char('\n')) != 1) {
        return QStringLiteral("not one line with '%1': %2").arg(says, outcome.err);
    }
    return Files() == before ? QString() : QStringLiteral("it changed files");
}

std::unique_ptr<QProcess> ReleaseDesk::Start(const QStringList &arguments)
{
    auto process = std::make_unique<QProcess>();
    process->start(QStringLiteral(QUILLON_PUBLISH), arguments);
    process->waitForStarted();
    return process;
}

std::unique_ptr<VersionInfo> ReleaseDesk::Manifest(const QString &relative) const
{
    return std::make_unique<VersionInfo>(
        QString::fromUtf8(gReadFile(Site() + QLatin1Char('/') + relative)), nullptr);
}

QStringList ReleaseDesk::MissingPackages() const
{
    QStringList missing;
    QDirIterator manifests(Site(), {QStringLiteral("*.xml")}, QDir::Files,
                           QDirIterator::Subdirectories);
    while (manifests.hasNext()) {
        const VersionInfo manifest(QString::fromUtf8(gReadFile(manifests.next())), nullptr);
        for (const QString &url : {manifest.ExeUrl(), manifest.IncreaseUrl()}) {
            if (!url.isEmpty() &&
                !QFileInfo::exists(Site() + QLatin1String("/packages/") + gPackageName(url))) {
                missing.append(url);
            }
        }
    }
    return missing;
}

QMap<QString, QByteArray> ReleaseDesk::Files() const
{
    QMap<QString, QByteArray> files;
    QDirIterator entries(m_folder.path(), QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot,
                         QDirIterator::Subdirectories);
    while (entries.hasNext()) {
        const QString path = entries.next();
        // A digest, because a failed comparison would print the content of two installers.
        files.insert(path, entries.fileInfo().isDir() ? QByteArray("folder")
                                                      : gMd5(gReadFile(path)).toLatin1());
    }
    return files;
}
