// SPDX-License-Identifier: MIT

#include "update/UpdateCommon/DownloadMgr.h"

#include "api/Log.h"
#include "api/QuillonInit.h"
#include "platform/ProcessLock.h"
#include "update/base/DownloadState.h"
#include "update/base/NetworkFailure.h"
#include "update/install/InstallerPatch.h"
#include "update/install/InstallOffer.h"
#include "update/install/PackagePlacer.h"
#include "update/transfer/RangeReply.h"
#include "update/transfer/TransferWatch.h"

#include <QEvent>
#include <QFile>
#include <QNetworkAccessManager>
#include <QNetworkRequest>

#include <utility>

namespace
{
constexpr char logFile[] = "UpdateCommon";
constexpr char downloadFailed[] =
    QT_TRANSLATE_NOOP("DownloadMgr", "Failed to download the update.");
constexpr char fileOpenFailed[] = QT_TRANSLATE_NOOP("DownloadMgr", "File open error!");

/// Bytes that one reply may hold for us. Without a limit the network layer buffers whatever the
/// server sends faster than the disk takes it.
constexpr qint64 readBufferSize = qint64{1024} * 1024;

constexpr int mostRedirects = 10;
} // namespace

DownloadMgr::DownloadMgr(QObject *parent, DownloadSystem seams)
    : QObject(parent)
    , m_seams(std::move(seams))
    , m_store(QuillonInit::GetConfigFileDir())
    , m_check(&m_store)
    , m_manager(new QNetworkAccessManager(this))
    , m_watch(new TransferWatch(m_seams, this))
    , m_placer(new PackagePlacer(&m_store, m_seams.flush, this))
    , m_installOffer(new InstallOffer(this))
{
    connect(m_installOffer, &InstallOffer::Close, this, &DownloadMgr::Close);
    connect(m_installOffer, &InstallOffer::BeginInstall, this, &DownloadMgr::BeginInstall);
    connect(m_installOffer, &InstallOffer::CancelInstall, this, &DownloadMgr::CancelInstall);
    connect(m_installOffer, &InstallOffer::InstallStarted, this, &DownloadMgr::InstallStarted);
    connect(m_watch, &TransferWatch::AskAgain, this, &DownloadMgr::_AskAgain);
    connect(m_watch, &TransferWatch::GivenUp, this, &DownloadMgr::_GivenUp);
    connect(m_placer, &PackagePlacer::Placed, this, &DownloadMgr::_Placed);
    connect(m_placer, &PackagePlacer::Failed, this, [this] { Fail(downloadFailed); });
    connect(m_manager, &QNetworkAccessManager::finished, this, &DownloadMgr::ReplyFinished);
}

DownloadMgr::~DownloadMgr()
{
    Stop();
    m_manager->disconnect(this);
    gDeleteLater(m_manager);
}

// --- Asking --------------------------------------------------------------------------------------

void DownloadMgr::ResumeDownload(const QString &targetPath, const QUrl &url,
                                 const QString &installerPath, qint64 startByte, qint64 endByte,
                                 int rangeNumber, bool incremental, const QString &expectedMd5,
                                 const QString &oldPackagePath)
{
    m_incremental = incremental;
    m_started = true;
    m_errorTold = false;
    m_url = url;
    m_expectedMd5 = expectedMd5;
    m_oldPackagePath = oldPackagePath.isNull() ? targetPath : oldPackagePath;
    m_targetPath = targetPath;
    m_installerPath = installerPath;
    m_furthestByte = startByte;
    m_store.Begin(targetPath, rangeNumber, startByte, endByte);
    m_watch->SetRange(rangeNumber);
    if (!m_store.Open("DownloadMgr::ResumeDownload")) {
        // The request is made all the same; its first chunk tries to open the file again.
        const Alive alive(this);
        Fail(fileOpenFailed);
        if (alive == nullptr) {
            return;
        }
    }
    if (startByte == endByte + 1) {
        // Nothing to ask for: a package of fewer than five bytes has such ranges, and a package
        // that was complete when its process ended has nothing else.
        QMetaObject::invokeMethod(this, &DownloadMgr::_DownloadFinished, Qt::QueuedConnection);
        return;
    }
    RequestRest();
}

/// Asks for what is left of the range; of a redirected package, for all of it.
void DownloadMgr::RequestRest()
{
    if (IsRedirected()) {
        m_store.BeginWhole();
        m_receivedOnRedirect = 0;
        Send(gPackageRequest(m_url));
    } else {
        const bool isLast = m_store.RangeNumber() == ResumeState::rangeCount;
        Send(gRangeRequest(m_url, m_store.Rest(), isLast));
    }
}

void DownloadMgr::Send(const QNetworkRequest &request)
{
    m_check.Begin(IsRedirected());
    m_reply = m_manager->get(request);
    m_reply->setReadBufferSize(readBufferSize);
    connect(m_reply, &QNetworkReply::readyRead, this,
            m_started ? &DownloadMgr::_ReadyRead : &DownloadMgr::ReadyRead);
    if (IsRedirected()) {
        connect(m_reply, &QNetworkReply::downloadProgress, this,
                &DownloadMgr::slotDownloadProgress);
    } else {
        connect(m_reply, &QNetworkReply::finished, this, &DownloadMgr::_DownloadFinished);
    }
    connect(m_reply, &QNetworkReply::errorOccurred, this, &DownloadMgr::ReplyError);
    connect(m_reply, &QNetworkReply::sslErrors, this, [](const QList<QSslError> &errors) {
        gLogTlsErrors(logFile, "DownloadMgr::ReplyError", errors);
    });
    m_watch->Restart();
}

void DownloadMgr::FollowRedirect(QNetworkReply *reply)
{
    m_url = gRedirectTarget(*reply);
    LetGoOfReply();
    if (++m_redirects > mostRedirects || !gIsServerAddress(m_url)) {
        QUILLON_LOG(logFile, "DownloadMgr::ReplyFinished", "redirect no. %d to %s is not followed",
                    m_redirects, gLogAddress(m_url).toStdString().c_str());
        GiveUp(downloadFailed);
        return;
    }
    // The request that follows names no range, so the answer is the whole package, from its first
    // byte.
    m_furthestByte = 0;
    RequestRest();
}

void DownloadMgr::_AskAgain()
{
    LetGoOfReply();
    m_store.Close();
    RequestRest();
}

void DownloadMgr::_GivenUp()
{
    GiveUp(downloadFailed);
}

/// Only bytes count, whatever the network layer makes of the end.
void DownloadMgr::Cut()
{
    LetGoOfReply();
    m_store.Close();
    m_watch->Cut();
}

void DownloadMgr::LetGoOfReply()
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

void DownloadMgr::Stop()
{
    CloseRange();
    m_placer->Cancel();
    m_lock.reset();
}

bool DownloadMgr::IsRunning() const
{
    return m_started && (!m_finishHandled || m_placer->IsRunning());
}

void DownloadMgr::HoldLock(std::shared_ptr<ProcessLock> lock)
{
    m_lock = std::move(lock);
}

void DownloadMgr::SaveResumeState()
{
    m_store.Save(gDownloadState().alreadyDownloaded);
}

// --- Receiving -----------------------------------------------------------------------------------

void DownloadMgr::_ReadyRead()
{
    const Alive alive(this);
    Receive("DownloadMgr::_ReadyRead");
    if (alive != nullptr && !m_finishHandled && !IsRedirected() && m_store.HasAllBytes()) {
        EndRange();
    }
}

void DownloadMgr::ReadyRead()
{
    Receive("DownloadMgr::ReadyRead");
}

/// Writes what has arrived, if it may be written.
void DownloadMgr::Receive(const char *function)
{
    if (m_reply == nullptr) {
        return;
    }
    const QNetworkReply::NetworkError code = m_reply->error();
    if (code != QNetworkReply::NoError) {
        QUILLON_LOG(logFile, function, "Download Filed  error code %d", static_cast<int>(code));
        if (!gIsSilent(code)) {
            GiveUp(downloadFailed);
        }
        return;
    }
    switch (m_check.Check(m_reply, function)) {
    case AnswerFilter::Outcome::Ignore:
        break;
    case AnswerFilter::Outcome::Refuse:
        GiveUp(downloadFailed);
        break;
    case AnswerFilter::Outcome::Write:
        if (m_store.Open(function)) {
            WriteChunk(function);
        } else {
            GiveUp(fileOpenFailed);
        }
        break;
    }
}

void DownloadMgr::WriteChunk(const char *function)
{
    m_watch->Restart();
    const QByteArray received = m_reply->readAll();
    const qint64 written = m_store.Write(received, function);
    if (m_store.NextByte() > m_furthestByte) {
        // A redirected body starts anew each time: only what goes beyond those of before is progress.
        m_furthestByte = m_store.NextByte();
        m_watch->ByteReceived();
    }
    const Alive alive(this);
    if (!IsRedirected() && written > 0) {
        gDownloadState().alreadyDownloaded += written;
        SaveResumeState();
        emit DownloadProgress(written, 1);
    }
    // What a range brings beyond its end is left out; a whole package that does is another one.
    if (alive != nullptr && written != received.size() &&
        (IsRedirected() || !m_store.HasAllBytes())) {
        GiveUp(downloadFailed);
    }
}

void DownloadMgr::slotDownloadProgress(qint64 bytesReceived, qint64 bytesTotal)
{
    if (m_incremental) {
        DownloadIncreasePackageProgress(bytesReceived, bytesTotal);
        return;
    }
    const Alive alive(this);
    if (HasReceivedWhole(bytesReceived, bytesTotal)) {
        emit DownloadFinished();
        if (alive != nullptr) {
            m_placer->Start(m_installerPath, std::move(m_lock));
        }
    }
}

void DownloadMgr::_slotDownloadProgress(qint64 /*bytesReceived*/, qint64 /*bytesTotal*/) {}

void DownloadMgr::DownloadIncreasePackageProgress(qint64 bytesReceived, qint64 bytesTotal)
{
    if (HasReceivedWhole(bytesReceived, bytesTotal)) {
        CompleteIncreasePackage();
    }
}

/// Tells the progress of a redirected reply. Returns true once for a package, when all of it is
/// there.
bool DownloadMgr::HasReceivedWhole(qint64 bytesReceived, qint64 bytesTotal)
{
    if (bytesReceived == bytesTotal && m_receivedOnRedirect == bytesTotal) {
        return false;
    }
    m_receivedOnRedirect = bytesReceived;
    const Alive alive(this);
    emit DownloadProgress(bytesReceived, bytesTotal);
    if (alive == nullptr || bytesTotal == 0 || bytesReceived != bytesTotal || m_finishHandled) {
        return false;
    }
    DownloadState &state = gDownloadState();
    if (state.downloadStarted && m_store.NextByte() != m_store.PackageSize()) {
        QUILLON_LOG(logFile, "DownloadMgr::slotDownloadProgress",
                    "%lld bytes were received where the package has %d",
                    static_cast<long long>(m_store.NextByte()), m_store.PackageSize());
        GiveUp(downloadFailed);
        return false;
    }
    const bool isFirst = state.downloadStarted;
    state.downloadStarted = false;
    state.finishedSegments = 0;
    CloseRange();
    return isFirst;
}

// --- The ends of a reply and of a range ----------------------------------------------------------

void DownloadMgr::_DownloadFinished()
{
    if (m_finishHandled) {
        return;
    }
    if (m_reply != nullptr && !m_store.HasAllBytes()) {
        const QNetworkReply::NetworkError code = m_reply->error();
        if (code == QNetworkReply::NoError) {
            QUILLON_LOG(logFile, "DownloadMgr::_DownloadFinished",
                        "short body, range %d ended at byte %lld", m_store.RangeNumber(),
                        static_cast<long long>(m_store.NextByte()));
        }
        if (code == QNetworkReply::NoError || code == QNetworkReply::RemoteHostClosedError) {
            Cut();
            return;
        }
    }
    EndRange();
}

/// The range has ended and nothing more is asked for it: with all of its bytes, by a failure, or by
/// a cancellation.
void DownloadMgr::EndRange()
{
    CloseRange();
    switch (gDownloadState().CountEndedRange(m_store.PackageSize())) {
    case DownloadState::Left::Others:
        m_lock.reset();
        break;
    case DownloadState::Left::Nothing:
        // The lock stays until the package is in place.
        if (m_incremental) {
            CompleteIncreasePackage();
        } else {
            m_placer->Start(m_installerPath, std::move(m_lock));
        }
        break;
    case DownloadState::Left::Bytes:
        m_lock.reset();
        // Ranges that failed have told so themselves. This peculiar comparison, which is true only
        // for a package of one byte of which nothing came, is deliberate: any wider one would tell
        // failures twice.
        const int nothingCame = gDownloadState().alreadyDownloaded == 0 ? 1 : 0;
        if (nothingCame == m_store.PackageSize()) {
            Fail(downloadFailed);
        }
        break;
    }
}

/// Nothing is written, counted or asked for any more.
void DownloadMgr::CloseRange()
{
    m_finishHandled = true;
    m_watch->Stop();
    m_store.Close();
    LetGoOfReply();
}

void DownloadMgr::GiveUp(const char *text)
{
    const Alive alive(this);
    EndRange();
    if (alive != nullptr) {
        Fail(text);
    }
}

void DownloadMgr::Fail(const char *text)
{
    m_errorText = text;
    if (!m_errorTold) {
        m_errorTold = true;
        emit Error(tr(text));
    }
}

void DownloadMgr::ReplyError(QNetworkReply::NetworkError code)
{
    constexpr char function[] = "DownloadMgr::ReplyError";

    QUILLON_LOG(logFile, function, "Failed to download the update errcode = %d  %d",
                static_cast<int>(code), m_store.RangeNumber());
    if (!gIsSilent(code)) {
        m_errorText = downloadFailed;
    }
    if (m_reply != nullptr) {
        gLogFailure(logFile, function, *m_reply);
        // The network layer tells of the end only later; the range ends here and now.
        emit m_reply->finished();
    }
}

void DownloadMgr::ReplyFinished(QNetworkReply *reply)
{
    if (reply != m_reply) {
        return; // We have let go of it.
    }
    const QNetworkReply::NetworkError code = reply->error();
    if (code == QNetworkReply::NoError && reply->hasRawHeader("Location")) {
        FollowRedirect(reply);
    } else if ((m_watch->IsBehindCut() && gIsOfTheConnection(code)) ||
               (IsRedirected() && code == QNetworkReply::RemoteHostClosedError)) {
        Cut();
    } else if (code != QNetworkReply::NoError && !gIsSilent(code)) {
        QUILLON_LOG(logFile, "DownloadMgr::ReplyFinished", "Download Filed  error code %d",
                    static_cast<int>(code));
        GiveUp(downloadFailed);
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

// --- The complete package ------------------------------------------------------------------------

void DownloadMgr::_Placed()
{
    gDownloadState().installerReady = m_installerPath;
    OfferInstall(m_installerPath);
}

void DownloadMgr::CompleteIncreasePackage()
{
    const Alive alive(this);
    const auto lock = std::move(m_lock);
    if (!PatchIncreasePackage()) {
        emit PatchIncreasePackageFaild();
        return;
    }
    emit DownloadFinished();
    if (alive != nullptr) {
        OfferInstall(m_oldPackagePath);
    }
}

bool DownloadMgr::PatchIncreasePackage()
{
    if (!gPatchKeptInstaller(m_oldPackagePath, m_targetPath, m_expectedMd5, m_seams)) {
        return false;
    }
    gDownloadState().installerReady = m_oldPackagePath;
    return true;
}

void DownloadMgr::OfferInstall(const QString &installer)
{
    // The question waits for the user in a nested event loop, in which the host may delete the
    // dialog: not from within a reply's own signal.
    QMetaObject::invokeMethod(
        m_installOffer, [offer = m_installOffer, installer] { offer->OfferDownloaded(installer); },
        Qt::QueuedConnection);
}

void DownloadMgr::OfferKeptInstaller(const QString &installerPath)
{
    if (QFile::exists(installerPath)) {
        gDownloadState().installerReady = installerPath;
        m_installOffer->OfferKept(installerPath);
    }
}

void DownloadMgr::Install()
{
    m_installOffer->Install();
}
