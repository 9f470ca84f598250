// SPDX-License-Identifier: MIT

#include "tools/quillon-publish/Console.h"

#include "update/base/SizeText.h"

#include <iostream>

void gPrintLine(const QString &line)
{
    std::cout << line.toStdString() << std::endl;
}

void gPrintError(const QString &line)
{
    std::cerr << "quillon-publish: " << line.simplified().toStdString() << std::endl;
}

QString gBytesText(qint64 bytes)
{
    return QStringLiteral("%1 (%2 bytes)").arg(gFormatSize(bytes)).arg(bytes);
}

QString gSecondsText(qint64 milliseconds)
{
    constexpr double millisecondsPerSecond = 1000.0;
    return QString::number(static_cast<double>(milliseconds) / millisecondsPerSecond, 'f', 1) +
           QStringLiteral(" s");
}
