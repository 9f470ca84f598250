// SPDX-License-Identifier: MIT

#include "tests/support/Md5.h"

#include <QCryptographicHash>

QString gMd5(const QByteArray &bytes)
{
    return QString::fromLatin1(QCryptographicHash::hash(bytes, QCryptographicHash::Md5).toHex());
}
