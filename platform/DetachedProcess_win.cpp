// SPDX-License-Identifier: MIT

#include "platform/DetachedProcess.h"

#include "platform/InstallerStart_win.h"

bool gStartDetached(const QString &path, QString *failure)
{
    const InstallerStart::Code code = InstallerStart::OfTheSystem().Run(path);
    if (code != 0 && failure != nullptr) {
        *failure = QStringLiteral("launch failure, error %1, %2")
                       .arg(code)
                       .arg(qt_error_string(static_cast<int>(code)));
    }
    return code == 0;
}
