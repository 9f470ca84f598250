// SPDX-License-Identifier: MIT

#include "tests/support/StandIn.h"

#include <QFile>

QByteArray StandIn::Bytes(const QByteArray &orders, const QByteArray &padding)
{
    QFile program(QStringLiteral(STAND_IN));
    if (!program.open(QIODevice::ReadOnly)) {
        qFatal("%s cannot be read.", STAND_IN);
    }
    return program.readAll() + padding + "\n--stand-in--\n" + orders + '\n';
}
