#include "update/UpdateCommon/DownloadMgr.h"

#include "api/Log.h"
#include "api/QuillonInit.h"
#include "update/InstallerPatch.h"
#include "update/InstallOffer.h"
#include "update/UpdateCommon/DownloadState.h"
#include "update/UpdateCommon/NetworkCheck.h"

#include <QEvent>
#include <QNetworkAccessManager>
#include <QNetworkRequest>

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

/// Ends of a transfer that are no failure to tell: we cancelled it, or the connection was cut and
/// the range stays unfinished in the resume state.
bool gIsSilent(QNetworkReply::NetworkError code)
{
    return code == QNetworkReply::OperationCanceledError ||
           code == QNetworkReply::RemoteHostClosedError;
}
} // namespace

DownloadMgr::DownloadMgr(QObject *parent, std::chrono::milliseconds patchLimit)
    : QObject(parent)
    , m_manager(new QNetworkAccessManager(this))
    , m_networkCheck(new NetworkCheck)
    , m_installOffer(new InstallOffer(this))
    , m_resumeSettings(QuillonInit::GetConfigFileDir())
    , m_expectedSize(m_resumeSettings.PackageSize())
    , m_patchLimit(patchLimit)
{
    connect(m_installOffer, &InstallOffer::Close, this, &DownloadMgr::Close);
    connect(m_installOffer, &InstallOffer::BeginInstall, this, &DownloadMgr::BeginInstall);
    connect(m_installOffer, &InstallOffer::CancelInstall, this, &DownloadMgr::CancelInstall);
    connect(m_installOffer, &InstallOffer::InstallStarted, this, &DownloadMgr::InstallStarted);
    connect(m_networkCheck, &NetworkCheck::TimeOut, this, &DownloadMgr::_TimeOut);
    connect(m_manager, &QNetworkAccessManager::finished, this, &DownloadMgr::ReplyFinished);
}

DownloadMgr::~DownloadMgr()
{
    Stop();
    delete m_networkCheck;
}

// --- Starting and stopping -----------------------------------------------------------------------

void DownloadMgr::ResumeDownload(const QString &targetPath, const QUrl &url,
                                 const QString &installerPath, qint64 startByte, qint64 endByte,
                                 int rangeNumber, bool incremental, const QString &expectedMd5,
                                 const QString &oldPackagePath)
{
    m_incremental = incremental;
    m_started = true;
    m_errorTold = false;
    m_expectedMd5 = expectedMd5;
    m_oldPackagePath = oldPackagePath.isNull() ? targetPath : oldPackagePath;
    m_targetPath = targetPath;
    m_installerPath = installerPath;
    m_rangeNumber = rangeNumber;
    m_nextByte = startByte;
    m_endByte = endByte;
    m_file.setFileName(targetPath);
    // Without a target the request is made all the same; its first chunk tries to open the file
    // again.
    OpenTarget("DownloadMgr::ResumeDownload");

    if (startByte == endByte + 1) {
        // Nothing to ask for: a package of fewer than five bytes has such ranges, and a package
        // that was complete when its process ended has nothing else.
        m_file.close();
        QMetaObject::invokeMethod(this, &DownloadMgr::_DownloadFinished, Qt::QueuedConnection);
        return;
    }
    QNetworkRequest request(url);
    QByteArray range = "bytes=" + QByteArray::number(startByte) + '-';
    if (rangeNumber < ResumeState::rangeCount) {
        range += QByteArray::number(endByte);
    }
    request.setRawHeader("Range", range);
    SendRequest(request);
    connect(m_reply, &QNetworkReply::readyRead, this, &DownloadMgr::_ReadyRead);
    connect(m_reply, &QNetworkReply::finished, this, &DownloadMgr::_DownloadFinished);
    connect(m_reply, &QNetworkReply::errorOccurred, this, &DownloadMgr::ReplyError);
    StartCheck();
}

void DownloadMgr::SendRequest(const QNetworkRequest &request)
{
    QNetworkRequest identity(request);
    // Ranges count the package's own bytes, not those of a compressed form of it.
    identity.setRawHeader("Accept-Encoding", "identity");
    m_reply = m_manager->get(identity);
    m_reply->setReadBufferSize(readBufferSize);
}

void DownloadMgr::FollowRedirect(QNetworkReply *reply)
{
    // From the raw header: Qt's own reading of it drops an address that is only a path.
    const QUrl target = reply->url().resolved(QUrl::fromEncoded(reply->rawHeader("Location")));
    reply->disconnect(this);
    reply->deleteLater();
    // The request that follows names no range, so the answer is the whole package, from its first
    // byte.
    m_file.close();
    m_nextByte = 0;
    m_receivedOnRedirect = 0;
    if (++m_redirects > mostRedirects) {
        QUILLON_LOG(logFile, "DownloadMgr::ReplyFinished", "more than %d redirects", mostRedirects);
        Fail(downloadFailed);
        return;
    }
    SendRequest(QNetworkRequest(target));
    connect(m_reply, &QNetworkReply::readyRead, this,
            m_started ? &DownloadMgr::_ReadyRead : &DownloadMgr::ReadyRead);
    connect(m_reply, &QNetworkReply::downloadProgress, this, &DownloadMgr::slotDownloadProgress);
    connect(m_reply, &QNetworkReply::errorOccurred, this, &DownloadMgr::ReplyError);
    connect(m_reply, &QNetworkReply::sslErrors, this, &DownloadMgr::_SslErrors);
    StartCheck();
}

void DownloadMgr::Stop()
{
    m_finishHandled = true;
    StopCheck();
    m_file.close();
    if (m_reply != nullptr) {
        m_manager->disconnect(this);
        m_reply->disconnect(this);
        m_reply->abort();
    }
}

bool DownloadMgr::IsRunning() const
{
    return m_started && !m_finishHandled;
}

void DownloadMgr::SaveResumeState()
{
    // A redirected body is written from the package's start and says nothing about this range.
    if (m_redirects == 0) {
        m_resumeSettings.SetAlreadyDownloaded(gDownloadState().alreadyDownloaded);
        m_resumeSettings.SetStartByte(m_rangeNumber, m_nextByte);
    }
    if (!m_resumeSettings.Sync()) {
        QUILLON_LOG(logFile, "DownloadMgr::SaveResumeState", "the resume state cannot be written");
    }
}

void DownloadMgr::AbortTransfer()
{
    if (m_reply != nullptr) {
        m_reply->abort();
    }
    StopCheck();
}

void DownloadMgr::StartCheck()
{
    QMetaObject::invokeMethod(m_networkCheck, &NetworkCheck::_Check, Qt::QueuedConnection);
}

void DownloadMgr::StopCheck()
{
    QMetaObject::invokeMethod(m_networkCheck, &NetworkCheck::_StopCheck, Qt::QueuedConnection);
}

void DownloadMgr::Fail(const char *text)
{
    m_errorText = text;
    if (!m_errorTold) {
        m_errorTold = true;
        emit Error(tr(text));
    }
}

// --- Receiving -----------------------------------------------------------------------------------

void DownloadMgr::_ReadyRead()
{
    constexpr char function[] = "DownloadMgr::_ReadyRead";

    const QNetworkReply::NetworkError code = m_reply->error();
    if (code != QNetworkReply::NoError) {
        QUILLON_LOG(logFile, function, "Download Filed  error code %d", static_cast<int>(code));
        AbortTransfer();
        if (!gIsSilent(code)) {
            Fail(downloadFailed);
        }
        return;
    }
    if (!HasPackageContentType()) {
        return;
    }
    const qint64 written = WriteChunk(function);
    if (written <= 0) {
        return;
    }
    m_nextByte += written;
    if (m_redirects == 0) {
        if (m_nextByte > m_endByte) {
            // The range that completes the package moves the file, and where a file is in use it cannot
            // be moved: whoever has written all of its bytes lets go of it.
            m_file.close();
        }
        gDownloadState().alreadyDownloaded += written;
        SaveResumeState();
        emit DownloadProgress(written, 1);
    }
}

void DownloadMgr::ReadyRead()
{
    constexpr char function[] = "DownloadMgr::ReadyRead";

    if (m_reply->error() != QNetworkReply::NoError) {
        QUILLON_LOG(logFile, function, "Download Filed  error code %d",
                    static_cast<int>(m_reply->error()));
        const bool isSilent = gIsSilent(m_reply->error());
        AbortTransfer();
        if (!isSilent) {
            Fail(downloadFailed);
        }
    } else if (HasPackageContentType()) {
        WriteChunk(function);
    }
}

bool DownloadMgr::HasPackageContentType() const
{
    const QString header = m_reply->header(QNetworkRequest::ContentTypeHeader).toString();
    const QString type = header.section(QLatin1Char(';'), 0, 0).trimmed().toLower();
    return type == QLatin1String("application/octet-stream") ||
           type == QLatin1String("application/x-msdownload");
}

bool DownloadMgr::OpenTarget(const char *function)
{
    if (m_file.isOpen()) {
        return true;
    }
    // Unbuffered: the bytes are with the system before the state that claims them is written.
    if (m_file.open(QIODevice::ReadWrite | QIODevice::Unbuffered) && m_file.seek(m_nextByte)) {
        return true;
    }
    QUILLON_LOG(logFile, function, "file open error!!! file path = %s",
                m_file.fileName().toStdString().c_str());
    m_file.close();
    AbortTransfer();
    Fail(fileOpenFailed);
    return false;
}

/// Writes what the reply holds at the file's position. Returns the bytes written, of which there
/// may be some even when the rest failed.
qint64 DownloadMgr::WriteChunk(const char *function)
{
    if (!OpenTarget(function)) {
        return 0;
    }
    StartCheck();
    const QByteArray chunk = m_reply->readAll();
    const qint64 written = qMax<qint64>(0, m_file.write(chunk));
    if (written != chunk.size()) {
        QUILLON_LOG(logFile, function, "file write error!!! file path = %s, %s",
                    m_file.fileName().toStdString().c_str(),
                    m_file.errorString().toStdString().c_str());
        AbortTransfer();
        Fail(downloadFailed);
    }
    return written;
}

void DownloadMgr::slotDownloadProgress(qint64 bytesReceived, qint64 bytesTotal)
{
    if (m_incremental) {
        DownloadIncreasePackageProgress(bytesReceived, bytesTotal);
    } else if (HasReceivedWhole(bytesReceived, bytesTotal)) {
        emit DownloadFinished();
        CompleteFullPackage();
    }
}

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
    emit DownloadProgress(bytesReceived, bytesTotal);
    if (bytesTotal == 0 || bytesReceived != bytesTotal) {
        return false;
    }
    m_file.close();
    m_reply->close();
    StopCheck();
    DownloadState &state = gDownloadState();
    if (!state.downloadStarted) {
        return false;
    }
    if (m_nextByte != m_expectedSize) {
        QUILLON_LOG(logFile, "DownloadMgr::slotDownloadProgress",
                    "%lld bytes were received where the package has %d",
                    static_cast<long long>(m_nextByte), m_expectedSize);
        Fail(downloadFailed);
        return false;
    }
    state.downloadStarted = false;
    state.finishedSegments = 0;
    return true;
}

void DownloadMgr::_slotDownloadProgress(qint64 /*bytesReceived*/, qint64 /*bytesTotal*/) {}

// --- The ends of a reply -------------------------------------------------------------------------

void DownloadMgr::_DownloadFinished()
{
    if (m_finishHandled) {
        return;
    }
    m_finishHandled = true;
    StopCheck();
    m_file.close();
    if (m_reply != nullptr && m_reply->error() == QNetworkReply::RemoteHostClosedError) {
        return;
    }
    DownloadState &state = gDownloadState();
    if (!state.downloadStarted) {
        // Another range has completed the package already; one whose bytes were all there may end
        // late.
        return;
    }
    state.finishedSegments += 1;
    const bool allEnded = state.finishedSegments == state.activeSegments;
    if (allEnded) {
        state.finishedSegments = 0;
    }
    if (!allEnded && state.alreadyDownloaded != m_expectedSize) {
        return;
    }
    state.downloadStarted = false;
    if (state.alreadyDownloaded == m_expectedSize) {
        state.finishedSegments = 0;
        if (m_incremental) {
            CompleteIncreasePackage();
        } else {
            CompleteFullPackage();
        }
        return;
    }
    // Ranges that failed have told so themselves. This peculiar comparison, which is true only for
    // a package of one byte of which nothing came, is deliberate: any wider one would tell failures
    // twice.
    const int nothingCame = state.alreadyDownloaded == 0 ? 1 : 0;
    if (nothingCame == m_expectedSize) {
        Fail(downloadFailed);
    }
}

void DownloadMgr::ReplyError(QNetworkReply::NetworkError code)
{
    QUILLON_LOG(logFile, "DownloadMgr::ReplyError",
                "Failed to download the update errcode = %d  %d", static_cast<int>(code),
                m_rangeNumber);
    // The network layer tells of the end only later; the range ends here and now.
    if (m_reply != nullptr) {
        emit m_reply->finished();
    }
    AbortTransfer();
    m_errorText = downloadFailed;
}

void DownloadMgr::ReplyFinished(QNetworkReply *reply)
{
    const QNetworkReply::NetworkError code = reply->error();
    if (code == QNetworkReply::NoError) {
        if (reply->hasRawHeader("Location")) {
            FollowRedirect(reply);
        }
        return;
    }
    if (gIsSilent(code)) {
        return;
    }
    QUILLON_LOG(logFile, "DownloadMgr::ReplyFinished", "Download Filed  error code %d",
                static_cast<int>(code));
    AbortTransfer();
    Fail(downloadFailed);
}

void DownloadMgr::_SslErrors(const QList<QSslError> &errors)
{
    for (const QSslError &error : errors) {
        QUILLON_LOG(logFile, "DownloadMgr::_SslErrors", "%s",
                    error.errorString().toStdString().c_str());
    }
}

void DownloadMgr::_TimeOut() const
{
    QUILLON_LOG(logFile, "DownloadMgr::_TimeOut", "range %d has received nothing for %lld s",
                m_rangeNumber,
                static_cast<long long>(
                    std::chrono::duration_cast<std::chrono::seconds>(NetworkCheck::defaultInterval)
                        .count()));
}

// --- The complete package ------------------------------------------------------------------------

void DownloadMgr::CompleteFullPackage()
{
    const bool removed = !QFile::exists(m_installerPath) || QFile::remove(m_installerPath);
    if (!removed || !m_file.rename(m_installerPath)) {
        QUILLON_LOG(logFile, "DownloadMgr::_DownloadFinished", "%s cannot be moved to %s, %s",
                    m_targetPath.toStdString().c_str(), m_installerPath.toStdString().c_str(),
                    m_file.errorString().toStdString().c_str());
        Fail(downloadFailed);
        return;
    }
    gDownloadState().installerReady = m_installerPath;
    OfferInstall();
}

void DownloadMgr::CompleteIncreasePackage()
{
    if (!PatchIncreasePackage()) {
        emit PatchIncreasePackageFaild();
        return;
    }
    emit DownloadFinished();
    OfferInstall();
}

void DownloadMgr::OfferInstall()
{
    // The question waits for the user in a nested event loop, in which the host may delete the
    // dialog: not from within a reply's own signal.
    QMetaObject::invokeMethod(
        m_installOffer,
        [offer = m_installOffer, installer = m_file.fileName()] {
            offer->OfferDownloaded(installer);
        },
        Qt::QueuedConnection);
}

bool DownloadMgr::PatchIncreasePackage()
{
    if (!gPatchKeptInstaller(m_oldPackagePath, m_targetPath, m_expectedMd5, m_patchLimit)) {
        return false;
    }
    m_file.setFileName(m_oldPackagePath);
    gDownloadState().installerReady = m_oldPackagePath;
    return true;
}

void DownloadMgr::OfferKeptInstaller(const QString &installerPath)
{
    if (!QFile::exists(installerPath)) {
        return;
    }
    m_file.setFileName(installerPath);
    gDownloadState().installerReady = installerPath;
    m_installOffer->OfferKept(installerPath);
}

void DownloadMgr::Install()
{
    m_installOffer->Install();
}

bool DownloadMgr::event(QEvent *event)
{
    if (event->type() == QEvent::LanguageChange && m_errorText != nullptr) {
        emit Error(tr(m_errorText));
    }
    return QObject::event(event);
}
