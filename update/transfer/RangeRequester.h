// SPDX-License-Identifier: MIT

#pragma once

#include <QNetworkReply>
#include <QObject>
#include <QPointer>
#include <QTimer>

#include <memory>

class LoopTurn;
class QNetworkAccessManager;
class QNetworkRequest;
class TransferWatch;
struct DownloadSystem;

/// The requests of one downloader, one at a time, and their replies.
///
///     Send ─► Readable, Progressed, … ─┬─► Ended ─► ManagerFinished
///                                      ├─► Failed ─► Ended ─► ManagerFinished
///                                      └─► (silence) ─► AskAgain or GivenUp
///     Cut ─► (a pause) ─► AskAgain or GivenUp
///     Drop, Stop: the reply is given up, and none of its signals arrive any more
///
/// Thread:    GUI thread.
/// Ownership: its Qt parent. The system outlives it. It may be deleted in any slot; the network
///            manager is deleted from the event loop then.
/// Errors:    signals; TLS errors are logged here.
class RangeRequester : public QObject
{
    Q_OBJECT

public:
    /// @param turn which the requesters of a download take to hand over what has arrived
    RangeRequester(const DownloadSystem &system, std::shared_ptr<LoopTurn> turn, QObject *parent);
    ~RangeRequester() override;

    /// Sends @p request and watches over its reply.
    void Send(const QNetworkRequest &request);

    /// The reply at hand; null before the first request and once it was dropped.
    QNetworkReply *Reply() const { return m_reply; }
    /// Bytes of the reply at hand have arrived and have not been handed over by `Readable`. They are
    /// good whatever the end of the reply is.
    bool HasArrived() const { return m_hasArrived; }

    /// Gives the reply up.
    void Drop();
    /// The same, and the next request is sent over a new connection.
    void DropConnection();
    /// Gives the reply up. What is left is asked for again after a pause, unless that was tried too
    /// often.
    void Cut();
    /// Gives the reply up for good: nothing is asked for again.
    void Stop();

    TransferWatch &Watch() { return *m_watch; }

signals:
    /// As much as is worth a write has arrived, or what there was for a moment, or at the end.
    void Readable();
    void Progressed(qint64 bytesReceived, qint64 bytesTotal);
    void Failed(QNetworkReply::NetworkError code);
    void Ended();
    /// Of any reply, one that was dropped included.
    void ManagerFinished(QNetworkReply *reply);
    /// What is left is to be asked for now.
    void AskAgain();
    /// It was asked for too often.
    void GivenUp();

private:
    void MakeManager();
    void DropManager();
    void ConnectReply(QNetworkReply *reply);
    void EndOfManager(QNetworkReply *reply);
    void Arrive();
    void EndMoment();
    bool HandOver(const QNetworkReply *reply);

    QNetworkAccessManager *m_manager = nullptr;
    QPointer<QNetworkReply> m_reply;
    TransferWatch *m_watch;
    std::shared_ptr<LoopTurn> m_turn;
    QTimer m_moment;
    bool m_hasArrived = false;
};
