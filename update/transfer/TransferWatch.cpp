// SPDX-License-Identifier: MIT

#include "update/transfer/TransferWatch.h"

#include "api/Log.h"
#include "update/UpdateCommon/NetworkCheck.h"

namespace
{
constexpr char logFile[] = "UpdateCommon";
} // namespace

TransferWatch::TransferWatch(const DownloadSystem &seams, QObject *parent)
    : QObject(parent)
    , m_seams(seams)
    , m_networkCheck(new NetworkCheck(seams.stallLimit))
{
    connect(m_networkCheck, &NetworkCheck::TimeOut, this, &TransferWatch::_TimeOut);
}

TransferWatch::~TransferWatch()
{
    delete m_networkCheck;
}

void TransferWatch::Restart()
{
    ++m_beat;
    m_sinceBeat.start();
    QMetaObject::invokeMethod(m_networkCheck, &NetworkCheck::_Check, Qt::QueuedConnection);
}

void TransferWatch::Stop()
{
    ++m_beat;
    m_sinceBeat.invalidate();
    QMetaObject::invokeMethod(m_networkCheck, &NetworkCheck::_StopCheck, Qt::QueuedConnection);
}

void TransferWatch::Cut()
{
    constexpr char function[] = "DownloadMgr::_DownloadFinished";

    Stop();
    const auto delay = m_patience.Cut();
    if (!delay.has_value()) {
        QUILLON_LOG(logFile, function, "range %d is given up, cut %d times without a byte",
                    m_rangeNumber, RetryCount::mostCuts + 1);
        emit GivenUp();
        return;
    }
    QUILLON_LOG(logFile, function, "range %d was cut, it is asked for again in %lld ms",
                m_rangeNumber, static_cast<long long>(delay->count()));
    m_seams.callLater(*delay, this, [this, beat = m_beat] {
        if (beat == m_beat) {
            emit AskAgain();
        }
    });
}

void TransferWatch::_TimeOut()
{
    // Bytes that arrived while this thread was busy may be behind us in its event queue.
    QMetaObject::invokeMethod(
        this, [this, beat = m_beat] { JudgeStall(beat); }, Qt::QueuedConnection);
}

void TransferWatch::JudgeStall(int beat)
{
    constexpr char function[] = "DownloadMgr::_TimeOut";

    // A chunk rearms the watchdog and a stop stills it, but neither calls back what it has said already.
    const auto limit = m_seams.stallLimit.count();
    if (beat != m_beat || !m_sinceBeat.isValid() || !m_sinceBeat.hasExpired(limit / 2)) {
        return;
    }
    Stop();
    const bool isPatient = m_patience.Stalled();
    QUILLON_LOG(logFile, function, "stall, range %d has received nothing for %lld ms, it is %s",
                m_rangeNumber, static_cast<long long>(limit),
                isPatient ? "asked for again" : "given up");
    if (isPatient) {
        emit AskAgain();
    } else {
        emit GivenUp();
    }
}
