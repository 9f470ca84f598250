// SPDX-License-Identifier: MIT

#include "update/plan/PlanRefusal.h"

#include "api/Log.h"
#include "platform/ProcessLock.h"
#include "update/plan/DownloadTarget.h"
#include "update/plan/PackageFolder.h"
#include "update/plan/PackageNames.h"
#include "update/plan/ResumeState.h"

namespace
{
constexpr char logFile[] = "LiveUpdateMgr";
constexpr char logFunction[] = "LiveUpdateMgr::StartDownload";

/// Not while another download runs: the state is its own.
void gRememberFailedPatch(const QString &resultMd5, ResumeState &state)
{
    if (const auto lock = gLockPackages()) {
        state.Reload();
        state.SetFailedPatch(resultMd5);
        state.Sync();
        state.Close();
    }
}
} // namespace

bool gIsRefused(const DownloadTarget &target, bool hasToBeSigned)
{
    const bool isUnsigned = hasToBeSigned && !target.signedPackage;
    const QString refusal =
        isUnsigned ? QStringLiteral("no signed manifest names it") : gNameRefusal(target);
    if (refusal.isEmpty()) {
        return false;
    }
    QUILLON_LOG(logFile, logFunction, "the package is not downloaded, %s",
                refusal.toStdString().c_str());
    return true;
}

bool gIsSizeRefused(const DownloadTarget &target, qint64 total, ResumeState &state)
{
    if (total == 0 || !target.signedPackage || target.signedPackage->file.size == total) {
        return false;
    }
    QUILLON_LOG(logFile, logFunction,
                "the package is not the signed one, it has %lld bytes instead of %lld",
                static_cast<long long>(total),
                static_cast<long long>(target.signedPackage->file.size));
    if (target.isIncremental) {
        gRememberFailedPatch(target.expectedMd5, state);
    }
    return true;
}
