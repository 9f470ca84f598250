// SPDX-License-Identifier: MIT

#include "update/plan/PackageChoice.h"

#include "api/Log.h"
#include "update/base/EventSink.h"
#include "update/plan/DownloadTarget.h"
#include "update/plan/KeptInstaller.h"
#include "update/plan/PackageFolder.h"
#include "update/plan/PackageNames.h"
#include "update/plan/PackageOffer.h"

namespace
{
constexpr char logFile[] = "LiveUpdateMgr";
constexpr char logFunction[] = "LiveUpdateMgr::UpdateNow";
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
    const QString refusal = gNameRefusal(gDownloadTarget(offer, true), kept);
    if (!refusal.isEmpty()) {
        QUILLON_LOG(logFile, logFunction, "the incremental package is not taken, %s",
                    refusal.toStdString().c_str());
        return {};
    }
    QUILLON_LOG(logFile, logFunction, "Start Download IncreasePackage");
    return {PackageChoice::Kind::Incremental, kept};
}
