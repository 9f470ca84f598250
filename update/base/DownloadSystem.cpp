// SPDX-License-Identifier: MIT

#include "update/base/DownloadSystem.h"

#include <QTimer>

void gCallLater(std::chrono::milliseconds delay, QObject *context,
                const std::function<void()> &action)
{
    QTimer::singleShot(delay, context, action);
}

const DownloadSystem &gRealSystem()
{
    static const DownloadSystem system;
    return system;
}
