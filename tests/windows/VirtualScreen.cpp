// SPDX-License-Identifier: MIT

#include "tests/windows/VirtualScreen.h"

VirtualScreen::~VirtualScreen()
{
    m_server.terminate();
    m_server.waitForFinished();
}

bool VirtualScreen::Start()
{
    // It chooses a free display number and writes it to its output when it is ready.
    m_server.start(QStringLiteral("Xvfb"),
                   {QStringLiteral("-displayfd"), QStringLiteral("1"), QStringLiteral("-screen"),
                    QStringLiteral("0"), QStringLiteral("1280x900x24"), QStringLiteral("-nolisten"),
                    QStringLiteral("tcp")});
    while (!m_server.canReadLine()) {
        if (!m_server.waitForReadyRead()) {
            return false;
        }
    }
    m_name = QLatin1Char(':') + QString::fromLatin1(m_server.readLine()).trimmed();
    return true;
}
