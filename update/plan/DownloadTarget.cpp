// SPDX-License-Identifier: MIT

#include "update/plan/DownloadTarget.h"

#include "api/Log.h"
#include "platform/SparseFile.h"
#include "update/plan/PackageFolder.h"
#include "update/plan/PackageOffer.h"

#include <QFile>

namespace
{
/// Everything behind the last slash of a package's address.
QString gLastComponent(const QString &url)
{
    return url.mid(url.lastIndexOf(QLatin1Char('/')) + 1);
}
} // namespace

DownloadTarget gDownloadTarget(const PackageOffer &offer, bool incremental)
{
    const QString folder = gPackageFolder() + QLatin1Char('/');
    const QString installerPath = folder + gLastComponent(offer.fullUrl);
    if (incremental) {
        return {QUrl(offer.incrementalUrl),
                folder + gLastComponent(offer.incrementalUrl),
                installerPath,
                offer.incrementalMd5,
                true,
                QString(),
                offer.version,
                gSignedPackage(offer.statement, true)};
    }
    return {QUrl(offer.fullUrl),
            folder + QStringLiteral("Corvina9(x64).tmp"),
            installerPath,
            QString(),
            false,
            offer.fullMd5.trimmed(),
            offer.version,
            gSignedPackage(offer.statement, false)};
}

QString gIdentifyingMd5(const DownloadTarget &target)
{
    return (target.isIncremental ? target.expectedMd5 : target.packageMd5).toLower();
}

QString gNewTarget(const QString &target)
{
    return target + QStringLiteral(".new");
}

bool gCreateEmptyFile(const QString &path, qint64 size)
{
    constexpr char file[] = "LiveUpdateMgr";
    constexpr char function[] = "LiveUpdateMgr::CreateEmptyFile";

    QFile target(path);
    const bool isOpen = target.open(QIODevice::WriteOnly | QIODevice::Truncate);
    if (isOpen) {
        gMakeSparse(path); // where it fails, the file is only slower
    }
    if (!isOpen || !target.resize(size)) {
        QUILLON_LOG(file, function, "Create file Filed!");
        QUILLON_LOG(file, function, "disk failure, file path = %s, %s", path.toStdString().c_str(),
                    target.errorString().toStdString().c_str());
    }
    return isOpen;
}
