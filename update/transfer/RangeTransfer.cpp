// SPDX-License-Identifier: MIT

#include "update/transfer/RangeTransfer.h"

#include "api/Log.h"
#include "update/base/DownloadState.h"
#include "update/base/NetworkFailure.h"
#include "update/base/ServerAddress.h"
#include "update/base/Texts.h"
#include "update/transfer/RangeHttp.h"
#include "update/transfer/RangeMode.h"
#include "update/transfer/RangeRequester.h"
#include "update/transfer/TransferWatch.h"
#include "update/transfer/WholePackageMode.h"

#include <algorithm>

namespace
{
constexpr char logFile[] = "UpdateCommon";
constexpr int mostRedirects = 10;
} // namespace

RangeTransfer::RangeTransfer(ResumeState &state, const UpdateContext &context, QObject *parent)
    : QObject(parent)
    , m_context(context)
    , m_store(state)
    , m_filter(m_store)
    , m_requester(new RangeRequester(context.system, context.state.turn, this))
{
}

bool RangeTransfer::Begin(const RangeTask &task)
{
    m_url = task.url;
    m_redirects = 0;
    m_furthestByte = task.range.start;
    m_mode = std::make_unique<RangeMode>(m_store, m_context.state, task);
    m_store.Begin(task.targetPath, task.number, task.range.start, task.range.end);
    m_requester->Watch().SetRange(task.number);
    // A missing target is made as long as it has lost nothing: the plan could not allocate it.
    const bool hasBytes = m_context.state.alreadyDownloaded > 0;
    return m_store.Open("DownloadMgr::ResumeDownload",
                        hasBytes ? PackageFile::IfMissing::Fail : PackageFile::IfMissing::Make);
}

void RangeTransfer::AskForRest()
{
    m_requester->Drop();
    m_filter.Begin(*m_mode);
    m_requester->Send(m_mode->MakeRequest(m_url));
}

void RangeTransfer::AskAgain()
{
    m_store.Close();
    m_requester->DropConnection();
    AskForRest();
}

bool RangeTransfer::FollowRedirect(QNetworkReply *reply)
{
    m_url = gRedirectTarget(*reply);
    m_requester->Drop();
    if (++m_redirects > mostRedirects || !gIsServerAddress(m_url)) {
        QUILLON_LOG(logFile, "DownloadMgr::ReplyFinished", "redirect no. %d to %s is not followed",
                    m_redirects, gLogAddress(m_url).toStdString().c_str());
        return false;
    }
    m_mode = std::make_unique<WholePackageMode>(m_store);
    m_furthestByte = 0;
    AskForRest();
    return true;
}

void RangeTransfer::Lose()
{
    m_store.Close();
    m_requester->Cut();
}

void RangeTransfer::Close()
{
    m_requester->Stop();
    m_store.Close();
}

RangeTransfer::Received RangeTransfer::Receive(const char *function)
{
    QNetworkReply *const reply = m_requester->Reply();
    if (reply == nullptr) {
        return {};
    }
    const QNetworkReply::NetworkError code = reply->error();
    if (code != QNetworkReply::NoError && !m_requester->HasArrived()) {
        QUILLON_LOG(logFile, function, "Download Filed  error code %d", static_cast<int>(code));
        return {0, gIsSilent(code) ? nullptr : FailureText::downloadFailed};
    }
    switch (m_filter.Filter(reply, function)) {
    case AnswerFilter::Outcome::Ignore:
        return {};
    case AnswerFilter::Outcome::Refuse:
        return {0, FailureText::downloadFailed};
    case AnswerFilter::Outcome::Write:
        break;
    }
    return m_store.Open(function) ? WriteChunk(function) : Received{0, FailureText::fileOpenFailed};
}

RangeTransfer::Received RangeTransfer::WriteChunk(const char *function)
{
    m_requester->Watch().Restart();
    const std::string_view chunk = ReadChunk();
    const qint64 written = m_store.Write(chunk, function);
    if (m_store.NextByte() > m_furthestByte) {
        m_requester->Watch().BytesReceived(m_store.NextByte() - m_furthestByte);
        m_furthestByte = m_store.NextByte();
    }
    const bool isCounted = written > 0 && m_mode->Record(written);
    const bool isRefused = written != static_cast<qint64>(chunk.size()) && m_mode->RefusesExcess();
    return {isCounted ? written : 0, isRefused ? FailureText::downloadFailed : nullptr};
}

/// All that the reply has, in one piece.
std::string_view RangeTransfer::ReadChunk()
{
    QNetworkReply *const reply = m_requester->Reply();
    const auto available = static_cast<std::size_t>(reply->bytesAvailable());
    std::vector<char> &chunk = m_context.state.chunk;
    chunk.resize(std::max(chunk.size(), available));
    const qint64 size = reply->read(chunk.data(), static_cast<qint64>(available));
    return {chunk.data(), static_cast<std::size_t>(std::max<qint64>(0, size))};
}

bool RangeTransfer::HasRange() const
{
    return m_mode->EndsWithLastByte() && m_store.HasAllBytes();
}

bool RangeTransfer::IsShort() const
{
    const QNetworkReply *const reply = m_requester->Reply();
    if (reply == nullptr || m_store.HasAllBytes()) {
        return false;
    }
    if (reply->error() == QNetworkReply::NoError) {
        QUILLON_LOG(logFile, "DownloadMgr::_DownloadFinished",
                    "short body, range %d ended at byte %lld", m_store.RangeNumber(),
                    static_cast<long long>(m_store.NextByte()));
        return true;
    }
    return reply->error() == QNetworkReply::RemoteHostClosedError;
}

bool RangeTransfer::IsPage() const
{
    const QNetworkReply *const reply = m_requester->Reply();
    return reply != nullptr && gIsErrorOrRedirect(*reply);
}

bool RangeTransfer::HasPackage() const
{
    if (m_store.NextByte() == m_store.PackageSize()) {
        return true;
    }
    QUILLON_LOG(logFile, "DownloadMgr::slotDownloadProgress",
                "%lld bytes were received where the package has %d",
                static_cast<long long>(m_store.NextByte()), m_store.PackageSize());
    return false;
}

bool RangeTransfer::IsCut(QNetworkReply::NetworkError code) const
{
    const QNetworkReply *const reply = m_requester->Reply();
    const bool isReachable =
        m_requester->Watch().IsAskingAgain() || (reply != nullptr && gIsAnswered(*reply));
    return (isReachable && gIsConnectionError(code)) || m_mode->IsLateCut(code);
}
