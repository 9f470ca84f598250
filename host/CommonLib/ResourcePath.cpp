// SPDX-License-Identifier: MIT

#include "ResourcePath.h"

#include <QGuiApplication>
#include <QScreen>

QString gGetResourcePathWithPixelRatio(QString path)
{
    const QScreen *screen = QGuiApplication::primaryScreen();
    if (screen == nullptr || screen->devicePixelRatio() < 2) {
        return path;
    }

    const int dot = path.lastIndexOf(QLatin1Char('.'));
    // A dot before the last slash belongs to a folder's name.
    const bool hasExtension = dot > path.lastIndexOf(QLatin1Char('/'));
    return path.insert(hasExtension ? dot : path.size(), QLatin1String("_2x"));
}
