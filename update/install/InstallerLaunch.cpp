// SPDX-License-Identifier: MIT

#include "update/install/InstallerLaunch.h"

#include "api/Log.h"
#include "platform/DetachedProcess.h"
#include "update/base/EventSink.h"

bool gLaunchInstaller(const QString &installer, EventSink &events)
{
    QString failure;
    const bool started = gStartDetached(installer, &failure);
    if (!started) {
        QUILLON_LOG("UpdateCommon", "gStartDetached", "%s", failure.toStdString().c_str());
        QUILLON_LOG("UpdateCommon", "DownloadMgr::Install", "the installer %s could not be started",
                    installer.toStdString().c_str());
    }
    events.ReportEvent(started ? EventSink::InstallStarted : EventSink::InstallStartFailed);
    events.WaitForReports();
    return started;
}
