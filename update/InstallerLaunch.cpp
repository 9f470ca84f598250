// SPDX-License-Identifier: MIT

#include "update/InstallerLaunch.h"

#include "api/Log.h"
#include "platform/DetachedProcess.h"
#include "update/UpdateCommon/UpdateEventReport.h"

bool gLaunchInstaller(const QString &installer)
{
    const bool started = gStartDetached(installer);
    if (!started) {
        QUILLON_LOG("UpdateCommon", "DownloadMgr::Install", "the installer %s could not be started",
                    installer.toStdString().c_str());
    }
    UpdateEventReport *const reports = UpdateEventReport::GetInstance();
    reports->ReportEvent(started ? UpdateEventReport::InstallStarted
                                 : UpdateEventReport::InstallStartFailed);
    reports->WaitForReports();
    return started;
}
