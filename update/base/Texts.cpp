// SPDX-License-Identifier: MIT

#include "update/base/Texts.h"

#include <QCoreApplication>

QString gTranslateForUpdate(const char *text)
{
    return QCoreApplication::translate("LiveUpdateMgr", text);
}

QString gTranslateForDownload(const char *text)
{
    return QCoreApplication::translate("DownloadMgr", text);
}
