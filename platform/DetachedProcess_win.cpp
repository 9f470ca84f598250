#include "platform/DetachedProcess.h"

#include "platform/InstallerStart_win.h"

bool gStartDetached(const QString &path)
{
    return InstallerStart::OfTheSystem().Run(path);
}
