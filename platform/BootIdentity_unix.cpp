// SPDX-License-Identifier: MIT

#include "platform/BootIdentity.h"

#include <QFile>

QString gBootIdentity()
{
    QFile file(QStringLiteral("/proc/sys/kernel/random/boot_id"));
    return file.open(QIODevice::ReadOnly) ? QString::fromLatin1(file.readAll()).trimmed()
                                          : QString();
}
