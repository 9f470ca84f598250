// SPDX-License-Identifier: MIT

#include "update/transfer/TransferWatch.h"

#include "api/Log.h"
#include "update/base/DownloadSystem.h"

#include <QPointer>

namespace
{
constexpr char logFile[] = "UpdateCommon";
} // namespace

TransferWatch::TransferWatch(const DownloadSystem &system, QObject *parent)
    : QObject(parent)
    , m_system(system)
{
}

void TransferWatch::Restart()
{
    // The watchdog has a thread of its own: not every chunk wakes it.
    const auto pause = m_system.stallLimit.count() / 32;

    ++m_beat;
    m_sinceBeat.start();
    if (!m_sinceArmed.isValid() || m_sinceArmed.hasExpired(pause)) {
        m_sinceArmed.start();
        emit Armed();
    }
}

void TransferWatch::Stop()
{
    ++m_beat;
    m_sinceBeat.invalidate();
    m_sinceArmed.invalidate();
    emit Disarmed();
}

void TransferWatch::Cut()
{
    constexpr char function[] = "DownloadMgr::_DownloadFinished";

    Stop();
    const auto delay = m_retries.Cut();
    if (!delay.has_value()) {
        QUILLON_LOG(logFile, function, "range %d is given up, cut %d times without a byte",
                    m_rangeNumber, RetryPolicy::mostCuts + 1);
        emit GivenUp();
        return;
    }
    QUILLON_LOG(logFile, function, "range %d was cut, it is asked for again in %lld ms",
                m_rangeNumber, static_cast<long long>(delay->count()));
    m_system.callLater(*delay, this, [this, beat = m_beat] {
        if (beat == m_beat) {
            emit AskAgain();
        }
    });
}

void TransferWatch::OnTimeOut()
{
    // Bytes that arrived while this thread was busy may still wait in its event queue.
    QMetaObject::invokeMethod(
        this, [this, beat = m_beat] { JudgeStall(beat); }, Qt::QueuedConnection);
}

void TransferWatch::JudgeStall(int beat)
{
    constexpr char function[] = "DownloadMgr::_TimeOut";

    const QPointer<TransferWatch> alive(this);
    emit Judging();
    if (alive == nullptr) {
        return;
    }
    // A chunk may have arrived since the watchdog was armed, and an end disarms it, but a time-out may
    // be on its way already.
    const auto limit = m_system.stallLimit.count();
    if (beat != m_beat || !m_sinceBeat.isValid() || !m_sinceBeat.hasExpired(limit / 2)) {
        return;
    }
    Stop();
    const bool isAskedAgain = m_retries.Stalled();
    QUILLON_LOG(logFile, function, "stall, range %d has received nothing for %lld ms, it is %s",
                m_rangeNumber, static_cast<long long>(limit),
                isAskedAgain ? "asked for again" : "given up");
    if (isAskedAgain) {
        emit AskAgain();
    } else {
        emit GivenUp();
    }
}
