// SPDX-License-Identifier: MIT

#include "platform/FileIdentity.h"

#include <QFile>

#include <fcntl.h>
#include <sys/stat.h>

QString gFileIdentity(const QString &path)
{
    constexpr int nanosecondDigits = 9;

    struct statx file {
    };
    if (statx(AT_FDCWD, QFile::encodeName(path).constData(), 0, STATX_INO | STATX_BTIME, &file) !=
        0) {
        return {};
    }
    QString identity = QStringLiteral("%1:%2:%3")
                           .arg(file.stx_dev_major)
                           .arg(file.stx_dev_minor)
                           .arg(file.stx_ino);
    if ((file.stx_mask & STATX_BTIME) != 0) {
        identity += QStringLiteral(":%1.%2")
                        .arg(file.stx_btime.tv_sec)
                        .arg(file.stx_btime.tv_nsec, nanosecondDigits, 10, QLatin1Char('0'));
    }
    return identity;
}
