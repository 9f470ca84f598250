// SPDX-License-Identifier: MIT

#include "update/transfer/RangeRequester.h"

#include "update/base/DeferredDeletion.h"
#include "update/base/NetworkFailure.h"
#include "update/transfer/TransferWatch.h"

#include <QNetworkAccessManager>
#include <QNetworkRequest>

namespace
{
/// Bytes that one reply may hold. Without a limit the network layer buffers whatever the server
/// sends faster than the disk takes it.
constexpr qint64 readBufferSize = qint64{1024} * 1024;
} // namespace

RangeRequester::RangeRequester(const DownloadSystem &system, QObject *parent)
    : QObject(parent)
    , m_watch(new TransferWatch(system, this))
{
    MakeManager();
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
    connect(m_reply, &QNetworkReply::readyRead, this, &RangeRequester::Readable);
    connect(m_reply, &QNetworkReply::downloadProgress, this, &RangeRequester::Progressed);
    connect(m_reply, &QNetworkReply::finished, this, &RangeRequester::Ended);
    connect(m_reply, &QNetworkReply::errorOccurred, this, &RangeRequester::Failed);
    connect(m_reply, &QNetworkReply::sslErrors, this, [](const QList<QSslError> &errors) {
        gLogTlsErrors("UpdateCommon", "DownloadMgr::ReplyError", errors);
    });
    m_watch->Restart();
}

void RangeRequester::Drop()
{
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
    connect(m_manager, &QNetworkAccessManager::finished, this, &RangeRequester::ManagerFinished);
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
