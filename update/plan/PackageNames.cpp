// SPDX-License-Identifier: MIT

#include "update/plan/PackageNames.h"

#include "api/ProductSettings.h"
#include "platform/FileIdentity.h"
#include "platform/FileName.h"
#include "update/plan/DownloadTarget.h"
#include "update/plan/PackageFolder.h"
#include "update/plan/PackageOffer.h"

#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>
#include <QRegularExpression>
#include <QStringList>

#include <algorithm>

namespace
{
/// What stands behind the last slash. QFileInfo would take a backslash for a slash on Windows.
QString gNameOf(const QString &path)
{
    return path.mid(path.lastIndexOf(QLatin1Char('/')) + 1);
}

/// The names are compared because a file may not exist yet; the files because one that exists may have
/// several names, such as the short ones of Windows and links.
bool gIsSameFile(const QString &one, const QString &other)
{
    const QString identity = gFileIdentity(one);
    if (!identity.isEmpty() && identity == gFileIdentity(other)) {
        return true;
    }
    return gIsSameFileName(gNameOf(one), gNameOf(other)) &&
           QFileInfo(one).absoluteDir() == QFileInfo(other).absoluteDir();
}

/// The module's own files, and those of the host that can lie beside them: where there is no shared
/// folder, packages land in the application's.
QStringList gFilesInUse()
{
    const QString application = QCoreApplication::applicationDirPath();
    const QString folder = gPackageFolder();
    const QString fullTarget = gDownloadTarget(PackageOffer(), false).path;
    return {gPackageLockFile(), fullTarget, gNewTarget(fullTarget),
            // Wherever the host keeps them: no package has these names.
            folder + QLatin1String(ProductSettings::fileName),
            folder + QStringLiteral("/CvBreakResumeDownLoad.ini"),
            folder + QStringLiteral("/CvBreakResumeDownLoad.ini.new"),
            QCoreApplication::applicationFilePath(), application + QStringLiteral("/bspatch.exe")};
}

QString gRefusal(const QString &path)
{
    if (!gIsFileName(gNameOf(path))) {
        return QStringLiteral("no file can have the name of %1").arg(path);
    }
    if (QFileInfo(path).isDir()) {
        return QStringLiteral("there is a folder at %1").arg(path);
    }
    const QStringList inUse = gFilesInUse();
    const bool isInUse = gIsPatchTemporaryFile(gNameOf(path)) ||
                         std::any_of(inUse.begin(), inUse.end(), [&path](const QString &file) {
                             return gIsSameFile(path, file);
                         });
    return isInUse ? QStringLiteral("%1 is used for something else").arg(path) : QString();
}
} // namespace

QString gNameRefusal(const DownloadTarget &target)
{
    return gRefusal(target.isIncremental ? target.path : target.installerPath);
}

QString gNameRefusal(const DownloadTarget &target, const QString &keptInstaller)
{
    const QString made = gNewInstaller(keptInstaller);
    const QString newTarget = gNewTarget(target.path);
    for (const QString &refusal : {gRefusal(target.path), gRefusal(newTarget), gRefusal(made)}) {
        if (!refusal.isEmpty()) {
            return refusal;
        }
    }
    for (const QString &written : {target.path, newTarget}) {
        if (gIsSameFile(written, keptInstaller)) {
            return QStringLiteral("%1 is the kept installer").arg(written);
        }
    }
    if (gIsPatchTemporaryFile(gNameOf(keptInstaller))) {
        return QStringLiteral("%1 has the name of a temporary file").arg(keptInstaller);
    }
    if (gIsSameFile(target.path, made) || gIsSameFile(made, keptInstaller)) {
        return QStringLiteral("%1 is what the patch program makes").arg(target.path);
    }
    return {};
}

QString gNewInstaller(const QString &keptInstaller)
{
    return keptInstaller + QStringLiteral(".patch");
}

bool gIsPatchTemporaryFile(const QString &name)
{
    static const QRegularExpression temporary(QStringLiteral("\\Abspatch-[0-9]+-[0-9]+\\.tmp\\z"));
    return temporary.match(name).hasMatch();
}
