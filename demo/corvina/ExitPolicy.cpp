// SPDX-License-Identifier: MIT

#include "demo/corvina/ExitPolicy.h"

namespace
{
constexpr int burstMilliseconds = 200;
constexpr int installMilliseconds = 15000;
} // namespace

ExitPolicy::ExitPolicy(int lingerMilliseconds, QObject *parent)
    : QObject(parent)
    , m_linger(lingerMilliseconds)
{
    m_burst.setSingleShot(true);
    connect(&m_burst, &QTimer::timeout, this, &ExitPolicy::Finish);
}

void ExitPolicy::SignalArrived(bool installStarted)
{
    if (installStarted) {
        m_awaitsInstall = false;
    }
    m_burst.start(m_awaitsInstall ? installMilliseconds : burstMilliseconds);
}

void ExitPolicy::Finish() const
{
    QTimer::singleShot(m_linger, this, &ExitPolicy::Done);
}
