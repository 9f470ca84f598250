// SPDX-License-Identifier: MIT

#include "platform/DetachedProcess.h"

#include "api/Log.h"
#include "platform/InstallerStart_win.h"

bool gStartDetached(const QString &path)
{
    const InstallerStart::Code code = InstallerStart::OfTheSystem().Run(path);
    if (code != 0) {
        QUILLON_LOG("UpdateCommon", "gStartDetached", "launch failure, error %u, %s", code,
                    qt_error_string(static_cast<int>(code)).toStdString().c_str());
    }
    return code == 0;
}
