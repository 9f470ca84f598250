// SPDX-License-Identifier: MIT

#include "update/plan/PackageChoice.h"

#include "api/Log.h"
#include "update/base/EventSink.h"
#include "update/plan/DownloadTarget.h"
#include "update/plan/KeptInstaller.h"
#include "update/plan/PackageFolder.h"
#include "update/plan/PackageOffer.h"

#include <QFileInfo>

namespace
{
constexpr char logFile[] = "LiveUpdateMgr";
constexpr char logFunction[] = "LiveUpdateMgr::UpdateNow";

/// Whether the incremental package would be downloaded over the installer that it applies to: the
/// manifest chooses its file name.
bool gOverwritesKeptInstaller(const PackageOffer &offer, const QString &keptInstaller)
{
    return QFileInfo(gDownloadTarget(offer, true).path) == QFileInfo(keptInstaller);
}
} // namespace

PackageChoice gChoosePackage(const PackageOffer &offer, const QString &currentVersion,
                             EventSink &events)
{
    const QString folder = offer.incrementalUrl.isEmpty() ? QString() : gSharedPackageFolder();
    if (folder.isEmpty()) {
        return {};
    }
    QUILLON_LOG(logFile, logFunction, "Start UpdateNow Check IncreasePackage Info");
    if (!offer.namesVersion) {
        return {PackageChoice::Kind::Nothing, QString()};
    }
    events.SetReportInfo(currentVersion, offer.version, QStringLiteral("ins"));
    const QString kept = gFindKeptInstaller(folder, currentVersion, offer.keptMd5, events);
    if (kept.isEmpty()) {
        return {};
    }
    if (gOverwritesKeptInstaller(offer, kept)) {
        QUILLON_LOG(logFile, logFunction,
                    "the incremental package has the name of the kept installer and is not taken");
        return {};
    }
    QUILLON_LOG(logFile, logFunction, "Start Download IncreasePackage");
    return {PackageChoice::Kind::Incremental, kept};
}
