// SPDX-License-Identifier: MIT

#include "update/UpdateCommon/DownloadMgr.h"

#include "api/Log.h"
#include "platform/ProcessLock.h"
#include "update/base/DownloadSystem.h"
#include "update/base/NetworkFailure.h"
#include "update/base/Texts.h"
#include "update/transfer/RangeHttp.h"
#include "update/transfer/RangeRequester.h"
#include "update/transfer/TransferWatch.h"
#include "update/UpdateCommon/NetworkCheck.h"

#include <QEvent>

#include <utility>

namespace
{
constexpr char logFile[] = "UpdateCommon";
} // namespace

DownloadMgr::DownloadMgr(const UpdateContext &context, QObject *parent)
    : QObject(parent)
    , m_context(context)
    , m_resumeSettings(context.configDirectory)
    , m_transfer(new RangeTransfer(m_resumeSettings, context, this))
    , m_end(new PackageEnd(m_transfer->Store(), context, this))
{
    const RangeRequester *const requester = &m_transfer->Requester();
    connect(requester, &RangeRequester::Readable, this, &DownloadMgr::_ReadyRead);
    connect(requester, &RangeRequester::Ended, this, &DownloadMgr::_DownloadFinished);
    connect(requester, &RangeRequester::Failed, this, &DownloadMgr::ReplyError);
    connect(requester, &RangeRequester::ManagerFinished, this, &DownloadMgr::ReplyFinished);
    connect(requester, &RangeRequester::AskAgain, this, [this] {
        m_receivedOnRedirect = 0;
        m_transfer->AskAgain();
    });
    connect(requester, &RangeRequester::GivenUp, this,
            [this] { FailRange(FailureText::downloadFailed); });
    connect(&m_transfer->Requester().Watch(), &TransferWatch::Armed, this,
            &DownloadMgr::ArmWatchdog);
    connect(m_end, &PackageEnd::PlaceFailed, this,
            [this] { ReportFailure(FailureText::downloadFailed); });
    connect(m_end, &PackageEnd::Patched, this, &DownloadMgr::DownloadFinished);
    connect(m_end, &PackageEnd::PatchFailed, this, &DownloadMgr::PatchIncreasePackageFaild);
    connect(m_end, &PackageEnd::Close, this, &DownloadMgr::Close);
    connect(m_end, &PackageEnd::BeginInstall, this, &DownloadMgr::BeginInstall);
    connect(m_end, &PackageEnd::CancelInstall, this, &DownloadMgr::CancelInstall);
    connect(m_end, &PackageEnd::InstallStarted, this, &DownloadMgr::InstallStarted);
}

DownloadMgr::~DownloadMgr()
{
    Stop();
    delete m_networkCheck;
}

// --- Asking ----------------------------------------------------------------------------------------

void DownloadMgr::ResumeDownload(const QString &targetPath, const QUrl &url,
                                 const QString &installerPath, qint64 startByte, qint64 endByte,
                                 int rangeNumber, bool incremental, const QString &expectedMd5,
                                 const QString &oldPackagePath)
{
    Fetch({targetPath,
           url,
           installerPath,
           {startByte, endByte},
           rangeNumber,
           incremental,
           expectedMd5,
           oldPackagePath.isNull() ? targetPath : oldPackagePath,
           m_packageMd5,
           m_signedPackage});
}

void DownloadMgr::Fetch(const RangeTask &task)
{
    m_task = task;
    m_state = State::Fetching;
    m_isErrorReported = false;
    if (!m_transfer->Begin(task)) {
        // The request is made all the same; its first chunk tries to open the file again.
        const Alive alive(this);
        ReportFailure(FailureText::fileOpenFailed);
        if (alive == nullptr) {
            return;
        }
    }
    if (task.range.IsEmpty()) {
        // Nothing to ask for: a package of fewer than five bytes has such ranges, and a package
        // that was complete when its process ended has nothing else.
        QMetaObject::invokeMethod(this, &DownloadMgr::_DownloadFinished, Qt::QueuedConnection);
    } else {
        m_transfer->AskForRest();
    }
}

/// Starts the time of the watchdog, which is made at the first request.
void DownloadMgr::ArmWatchdog()
{
    if (m_networkCheck == nullptr) {
        m_networkCheck = new NetworkCheck(m_context.system.stallLimit);
        const TransferWatch *const watch = &m_transfer->Requester().Watch();
        connect(watch, &TransferWatch::Disarmed, m_networkCheck, &NetworkCheck::_StopCheck);
        connect(m_networkCheck, &NetworkCheck::TimeOut, watch, &TransferWatch::OnTimeOut);
    }
    QMetaObject::invokeMethod(m_networkCheck, &NetworkCheck::_Check, Qt::QueuedConnection);
}

void DownloadMgr::FollowRedirect(QNetworkReply *reply)
{
    const RangeRequester *const requester = &m_transfer->Requester();
    // From now on the progress of the reply says when all of the package is there.
    disconnect(requester, &RangeRequester::Ended, this, &DownloadMgr::_DownloadFinished);
    connect(requester, &RangeRequester::Progressed, this, &DownloadMgr::slotDownloadProgress,
            Qt::UniqueConnection);
    m_receivedOnRedirect = 0;
    if (!m_transfer->FollowRedirect(reply)) {
        FailRange(FailureText::downloadFailed);
    }
}

void DownloadMgr::Stop()
{
    CloseTransfer();
    m_end->CancelPlacing();
    m_lock.reset();
}

// --- Receiving -------------------------------------------------------------------------------------

void DownloadMgr::Receive(const char *function)
{
    const RangeTransfer::Received received = m_transfer->Receive(function);
    const Alive alive(this);
    if (received.counted > 0) {
        emit DownloadProgress(received.counted, 1);
    }
    if (alive == nullptr || m_state != State::Fetching) {
        return;
    }
    if (received.failure != nullptr) {
        FailRange(received.failure);
    } else if (m_transfer->HasRange()) {
        EndRange();
    }
}

void DownloadMgr::slotDownloadProgress(qint64 bytesReceived, qint64 bytesTotal)
{
    if (m_task.isIncremental) {
        DownloadIncreasePackageProgress(bytesReceived, bytesTotal);
        return;
    }
    const Alive alive(this);
    if (CompleteWholePackage(bytesReceived, bytesTotal)) {
        emit DownloadFinished();
        if (alive != nullptr) {
            m_end->Complete(m_task, std::move(m_lock));
        }
    }
}

void DownloadMgr::DownloadIncreasePackageProgress(qint64 bytesReceived, qint64 bytesTotal)
{
    if (CompleteWholePackage(bytesReceived, bytesTotal)) {
        m_end->Complete(m_task, std::move(m_lock));
    }
}

// --- The ends of a reply and of a range ------------------------------------------------------------

void DownloadMgr::_DownloadFinished()
{
    if (m_state == State::Ended) {
        return;
    }
    if (m_transfer->IsShort()) {
        m_transfer->Lose();
    } else {
        EndRange();
    }
}

void DownloadMgr::ReplyError(QNetworkReply::NetworkError code)
{
    constexpr char function[] = "DownloadMgr::ReplyError";

    QUILLON_LOG(logFile, function, "Failed to download the update errcode = %d  %d",
                static_cast<int>(code), m_task.number);
    if (!gIsSilent(code)) {
        m_errorText = FailureText::downloadFailed;
    }
    if (QNetworkReply *const reply = m_transfer->Requester().Reply()) {
        gLogFailure(logFile, function, *reply);
        // The network layer emits it later; the range ends here and now.
        emit reply->finished();
    }
}

void DownloadMgr::ReplyFinished(QNetworkReply *reply)
{
    if (reply != m_transfer->Requester().Reply()) {
        return; // It was dropped.
    }
    const QNetworkReply::NetworkError code = reply->error();
    if (code == QNetworkReply::NoError && reply->hasRawHeader("Location")) {
        FollowRedirect(reply);
    } else if (m_transfer->IsCut(code)) {
        m_transfer->Lose();
    } else if (code != QNetworkReply::NoError && !gIsSilent(code)) {
        QUILLON_LOG(logFile, "DownloadMgr::ReplyFinished", "Download Filed  error code %d",
                    static_cast<int>(code));
        FailRange(FailureText::downloadFailed);
    }
}

/// Nothing more is asked for this range: it has all of its bytes, failed, or was cancelled.
void DownloadMgr::EndRange()
{
    CloseTransfer();
    switch (m_context.state.CountEndedRange(m_transfer->Store().PackageSize())) {
    case DownloadState::Left::Others:
        m_lock.reset();
        break;
    case DownloadState::Left::Nothing:
        // The lock stays until the package is in place.
        m_end->Complete(m_task, std::move(m_lock));
        break;
    case DownloadState::Left::Bytes:
        m_lock.reset();
        // Ranges that failed have reported it themselves. This comparison is true only for a package
        // of one byte of which nothing came; a wider one would report failures twice.
        const int nothingCame = m_context.state.alreadyDownloaded == 0 ? 1 : 0;
        if (nothingCame == m_transfer->Store().PackageSize()) {
            ReportFailure(FailureText::downloadFailed);
        }
        break;
    }
}

void DownloadMgr::FailRange(const char *text)
{
    const Alive alive(this);
    EndRange();
    if (alive != nullptr) {
        ReportFailure(text);
    }
}

/// Reports the progress of a redirected reply, and ends the transfer once all of it is there.
/// @return whether this call completed the package
bool DownloadMgr::CompleteWholePackage(qint64 bytesReceived, qint64 bytesTotal)
{
    const bool isRepeated = bytesReceived == bytesTotal && m_receivedOnRedirect == bytesTotal;
    if (isRepeated || m_transfer->IsPage()) {
        return false;
    }
    m_receivedOnRedirect = bytesReceived;
    const Alive alive(this);
    emit DownloadProgress(bytesReceived, bytesTotal);
    if (alive == nullptr || bytesTotal == 0 || bytesReceived != bytesTotal ||
        m_state == State::Ended) {
        return false;
    }
    if (m_context.state.downloadStarted && !m_transfer->HasPackage()) {
        FailRange(FailureText::downloadFailed);
        return false;
    }
    CloseTransfer();
    return m_context.state.EndDownload();
}

/// Nothing is written, counted or asked for any more.
void DownloadMgr::CloseTransfer()
{
    m_state = State::Ended;
    m_transfer->Close();
}

void DownloadMgr::ReportFailure(const char *text)
{
    m_errorText = text;
    if (!m_isErrorReported) {
        m_isErrorReported = true;
        emit Error(tr(text));
    }
}

bool DownloadMgr::event(QEvent *event)
{
    const Alive alive(this);
    if (event->type() == QEvent::LanguageChange && m_errorText != nullptr) {
        emit Error(tr(m_errorText));
    }
    return alive == nullptr || QObject::event(event);
}
