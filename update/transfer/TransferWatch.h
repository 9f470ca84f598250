// SPDX-License-Identifier: MIT

#pragma once

#include "update/transfer/RetryPolicy.h"

#include <QElapsedTimer>
#include <QObject>

struct DownloadSystem;

/// Watches over the transfer of a range: notices that it stalls, and decides when what is left is
/// asked for again and when to stop asking. The time is kept by a watchdog, which its owner connects
/// to the signals `Armed` and `Disarmed` and to the slot `OnTimeOut`.
///
///     Restart ─► (nothing for a while) ─┬─► AskAgain
///     Cut ─────► (1, 2, 4, 8, 16 s) ────┴─► GivenUp, once it was asked too often without a byte
///
/// Thread: GUI thread; the watchdog may live on another one. Ownership: its Qt parent.
class TransferWatch : public QObject
{
    Q_OBJECT

public:
    TransferWatch(const DownloadSystem &system, QObject *parent);

    /// For the log.
    void SetRange(int rangeNumber) { m_rangeNumber = rangeNumber; }

    /// A request was sent or a chunk has arrived: the time starts anew, up to a thirty-second part of
    /// it earlier.
    void Restart();
    /// The transfer has brought the package further: resets the retry count.
    void BytesReceived(qint64 bytes) { m_retries.BytesReceived(bytes); }
    /// The connection was cut, or ended short of the range.
    void Cut();
    /// Nothing is waited for any more.
    void Stop();

    /// Whether the request at hand follows a cut or a stall, with no byte since.
    bool IsAskingAgain() const { return m_retries.IsAskingAgain(); }

signals:
    /// A stall is about to be judged: what has arrived and was not handed over counts against it.
    void Judging();
    void AskAgain();
    void GivenUp();
    void Armed();
    void Disarmed();

public slots:
    /// The watchdog's time has passed. One that a later chunk or end has overtaken is ignored.
    void OnTimeOut();

private:
    void JudgeStall(int beat);

    const DownloadSystem &m_system;
    RetryPolicy m_retries;
    /// Not valid while nothing is waited for.
    QElapsedTimer m_sinceBeat;
    QElapsedTimer m_sinceArmed;
    /// Counts requests, chunks and stops. An appointment or a time-out remembers the count, and is
    /// ignored when it has changed.
    int m_beat = 0;
    int m_rangeNumber = 0;
};
