// SPDX-License-Identifier: MIT

#include "update/install/InstallerLaunch.h"

#include "api/Log.h"
#include "platform/DetachedProcess.h"
#include "update/UpdateCommon/UpdateEventReport.h"

bool gLaunchInstaller(const QString &installer)
{
    QString failure;
    const bool started = gStartDetached(installer, &failure);
    if (!started) {
        QUILLON_LOG("UpdateCommon", "DownloadMgr::Install", "the installer %s could not be started",
                    installer.toStdString().c_str());
        QUILLON_LOG("UpdateCommon", "DownloadMgr::Install", "%s", failure.toStdString().c_str());
    }
    UpdateEventReport *const reports = UpdateEventReport::GetInstance();
    reports->ReportEvent(started ? UpdateEventReport::InstallStarted
                                 : UpdateEventReport::InstallStartFailed);
    reports->WaitForReports();
    return started;
}
