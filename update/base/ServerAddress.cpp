// SPDX-License-Identifier: MIT

#include "update/base/ServerAddress.h"

#include <QUrl>

bool gIsServerAddress(const QUrl &url)
{
    const QString scheme = url.scheme().toLower();
    return scheme == QLatin1String("http") || scheme == QLatin1String("https");
}
