// SPDX-License-Identifier: MIT

#include "tests/support/LaterCalls.h"

#include <QTimer>

LaterCalls::Function LaterCalls::Seam()
{
    return [this](std::chrono::milliseconds delay, QObject *context,
                  const std::function<void()> &action) {
        m_seconds.append(static_cast<int>(delay.count() / 1000));
        if (m_atOnce) {
            QTimer::singleShot(0, context, action);
        } else {
            m_waiting.append({context, action});
        }
    };
}

void LaterCalls::Run()
{
    const QList<Call> calls = m_waiting;
    m_waiting.clear();
    for (const Call &call : calls) {
        if (call.context != nullptr) {
            call.action();
        }
    }
}
