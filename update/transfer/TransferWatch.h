// SPDX-License-Identifier: MIT

#pragma once

#include "update/base/DownloadSystem.h"
#include "update/transfer/RetryCount.h"

#include <QElapsedTimer>
#include <QObject>

class NetworkCheck;

/// Watches over the transfer of a range: notices that it stalls, and decides when what is left is
/// asked for again and when to stop asking.
///
///     Restart ─► (nothing for a while) ─┬─► AskAgain
///     Cut ─────► (1, 2, 4, 8, 16 s) ────┴─► GivenUp, once it was asked too often without a byte
///
/// Thread: GUI thread; the watchdog has one of its own. Ownership: its Qt parent.
class TransferWatch : public QObject
{
    Q_OBJECT

public:
    TransferWatch(const DownloadSystem &seams, QObject *parent);
    /// Ends and joins the watchdog's thread.
    ~TransferWatch() override;

    /// For the log.
    void SetRange(int rangeNumber) { m_rangeNumber = rangeNumber; }

    /// A request was sent or a chunk has arrived: the time starts anew.
    void Restart();
    /// The transfer has brought the package further: what went wrong before is forgotten.
    void ByteReceived() { m_patience.ByteReceived(); }
    /// The connection was cut, or ended short of the range.
    void Cut();
    /// Nothing is waited for any more.
    void Stop();

    /// Whether the request at hand follows a cut, with no byte since.
    bool IsBehindCut() const { return m_patience.IsAskingAgain(); }

signals:
    void AskAgain();
    void GivenUp();

private slots:
    void _TimeOut();

private:
    void JudgeStall(int beat);

    DownloadSystem m_seams;
    NetworkCheck *m_networkCheck;
    RetryCount m_patience;
    /// Not valid while nothing is waited for.
    QElapsedTimer m_sinceBeat;
    /// Counts requests, chunks and stops, so that an appointment or a warning that has been overtaken
    /// is known as such.
    int m_beat = 0;
    int m_rangeNumber = 0;
};
