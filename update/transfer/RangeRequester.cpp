// SPDX-License-Identifier: MIT

#include "update/transfer/RangeRequester.h"

#include "update/base/DeferredDeletion.h"
#include "update/base/LoopTurn.h"
#include "update/base/NetworkFailure.h"
#include "update/transfer/TransferWatch.h"

#include <QMetaMethod>
#include <QNetworkAccessManager>
#include <QNetworkRequest>

#include <utility>

namespace
{
/// Bytes that one reply may hold. Without a limit the network layer buffers whatever the server
/// sends faster than the disk takes it. A larger one costs memory and saves hardly any time.
constexpr qint64 readBufferSize = qint64{576} * 1024;

/// A chunk costs a write of the package and one of the state. An encrypted connection brings 4 KiB at
/// a time.
constexpr qint64 chunkSize = qint64{448} * 1024;
constexpr int longestMoment = 40; // milliseconds
} // namespace

RangeRequester::RangeRequester(const DownloadSystem &system, std::shared_ptr<LoopTurn> turn,
                               QObject *parent)
    : QObject(parent)
    , m_watch(new TransferWatch(system, this))
    , m_turn(std::move(turn))
{
    MakeManager();
    m_moment.setSingleShot(true);
    connect(&m_moment, &QTimer::timeout, this, &RangeRequester::EndMoment);
    connect(m_watch, &TransferWatch::Judging, this, [this] { HandOver(m_reply); });
    connect(m_watch, &TransferWatch::AskAgain, this, &RangeRequester::AskAgain);
    connect(m_watch, &TransferWatch::GivenUp, this, &RangeRequester::GivenUp);
}

RangeRequester::~RangeRequester()
{
    DropManager();
}

void RangeRequester::Send(const QNetworkRequest &request)
{
    m_reply = m_manager->get(request);
    m_reply->setReadBufferSize(readBufferSize);
    ConnectReply(m_reply);
    connect(m_reply, &QNetworkReply::sslErrors, this, [](const QList<QSslError> &errors) {
        gLogTlsErrors("UpdateCommon", "DownloadMgr::ReplyError", errors);
    });
    m_watch->Restart();
}

/// Bytes that have arrived come before what says how they end.
void RangeRequester::ConnectReply(QNetworkReply *reply)
{
    connect(reply, &QNetworkReply::readyRead, this, &RangeRequester::Arrive);
    connect(reply, &QNetworkReply::downloadProgress, this,
            [this, reply](qint64 bytesReceived, qint64 bytesTotal) {
                // Only where somebody listens: it hands over out of turn, ten times a second.
                const bool isHeard =
                    isSignalConnected(QMetaMethod::fromSignal(&RangeRequester::Progressed));
                if (isHeard && HandOver(reply)) {
                    emit Progressed(bytesReceived, bytesTotal);
                }
            });
    connect(reply, &QNetworkReply::finished, this, [this, reply] {
        if (HandOver(reply)) {
            emit Ended();
        }
    });
    connect(reply, &QNetworkReply::errorOccurred, this,
            [this, reply](QNetworkReply::NetworkError code) {
                if (HandOver(reply)) {
                    emit Failed(code);
                }
            });
}

void RangeRequester::EndOfManager(QNetworkReply *reply)
{
    const QPointer<RangeRequester> alive(this);
    HandOver(reply);
    if (alive != nullptr) {
        emit ManagerFinished(reply);
    }
}

void RangeRequester::Arrive()
{
    m_hasArrived = true;
    // Also for a whole chunk from a timer: five connections post so many events that no other timer of
    // the host would fire while they are served.
    const int pause = m_reply->bytesAvailable() >= chunkSize ? 0 : longestMoment;
    if (!m_moment.isActive() || pause < m_moment.interval()) {
        m_moment.start(pause);
    }
}

/// Five chunks in one pass of the event loop would hold up the window five times as long.
void RangeRequester::EndMoment()
{
    if (m_turn->Take()) {
        HandOver(m_reply);
    } else {
        m_moment.start(0);
    }
}

/// @return whether @p reply is still at hand
bool RangeRequester::HandOver(const QNetworkReply *reply)
{
    if (reply != m_reply) {
        return false;
    }
    m_moment.stop();
    const QPointer<RangeRequester> alive(this);
    if (m_hasArrived) {
        emit Readable();
    }
    if (alive == nullptr || reply != m_reply) {
        return false;
    }
    // A slot that runs an event loop may have been overtaken by more bytes.
    m_hasArrived = m_moment.isActive();
    return true;
}

void RangeRequester::Drop()
{
    m_moment.stop();
    m_hasArrived = false;
    if (m_reply != nullptr) {
        QNetworkReply *const reply = m_reply;
        m_reply.clear();
        reply->disconnect(this);
        if (reply->error() == QNetworkReply::NoError) {
            reply->abort(); // One that has failed is ending by itself.
        }
        reply->deleteLater();
    }
}

void RangeRequester::DropConnection()
{
    DropManager();
    MakeManager();
}

void RangeRequester::MakeManager()
{
    m_manager = new QNetworkAccessManager(this);
    connect(m_manager, &QNetworkAccessManager::finished, this, &RangeRequester::EndOfManager);
}

/// A connection that a proxy closes before its tunnel is there stays in use for the network layer, and
/// later requests wait for it. Clearing the manager's connections would wait for the manager's thread,
/// which may be waiting for this one with a certificate; so the manager goes with them.
void RangeRequester::DropManager()
{
    Drop();
    m_manager->disconnect(this);
    gDeleteLater(m_manager);
}

void RangeRequester::Cut()
{
    Drop();
    m_watch->Cut();
}

void RangeRequester::Stop()
{
    m_watch->Stop();
    Drop();
}
