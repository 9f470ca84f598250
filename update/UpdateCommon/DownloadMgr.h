#pragma once

#include "update/ResumeState.h"

#include <QFile>
#include <QNetworkReply>
#include <QObject>
#include <QPointer>
#include <QSslError>
#include <QUrl>

#include <chrono>

class InstallOffer;
class NetworkCheck;
class QNetworkAccessManager;

/// Fetches one byte range of a package into the pre-allocated target file. The downloader that
/// completes the package also puts it in place and asks the user to install it.
///
///     ResumeDownload ─► GET with Range
///       ├─► _ReadyRead          a chunk: write, count, save the state
///       ├─► _DownloadFinished   the range has ended; the last one: the package in place ─┐
///       ├─► ReplyError          logs, ends the range                                     │
///       └─► ReplyFinished       Error; or follows a redirect:                            │
///             GET without Range ─► slotDownloadProgress: the package in place ───────────┤
///                                          InstallOffer ◄────────────────────────────────┘
///
/// Thread:    GUI thread. The five downloaders of a package share `gDownloadState()`.
/// Ownership: its Qt parent. Deleting it ends its transfer; the resume state stays as last written.
/// Errors:    `Error` carries one of two fixed texts; the log says why.
class DownloadMgr : public QObject
{
    Q_OBJECT

public:
    static constexpr std::chrono::milliseconds defaultPatchLimit{90000};

    /// @param patchLimit how long the patch program may take
    explicit DownloadMgr(QObject *parent, std::chrono::milliseconds patchLimit = defaultPatchLimit);
    ~DownloadMgr() override;

    /// Starts to fetch a range.
    /// @param targetPath     the pre-allocated file that all ranges are written into
    /// @param installerPath  where a complete full package is moved to
    /// @param startByte      first byte to fetch
    /// @param endByte        last byte of the range, inclusive; one below the first: empty
    /// @param rangeNumber    1 to 5; the request of the last range is open-ended
    /// @param expectedMd5    MD5 of the result of an incremental package; empty for a full one
    /// @param oldPackagePath the installer that an incremental package applies to, else null
    void ResumeDownload(const QString &targetPath, const QUrl &url, const QString &installerPath,
                        qint64 startByte, qint64 endByte, int rangeNumber, bool incremental,
                        const QString &expectedMd5, const QString &oldPackagePath);

    /// Rebuilds the new installer from the kept one and the downloaded patch with the program
    /// "bspatch.exe" in the application's folder, verifies it, and puts it in the kept one's place.
    /// Blocks until the program has ended or its limit has passed. @return whether it succeeded; a
    /// failure leaves the kept installer as it is.
    bool PatchIncreasePackage();

    /// Offers an installer that an earlier session kept. Without the file nothing happens.
    void OfferKeptInstaller(const QString &installerPath);

    /// Starts the installer if the user has answered "Yes"; otherwise nothing happens.
    void Install();

    /// Ends the transfer for good: nothing is written, counted or emitted for this range any more.
    void Stop();

    /// The range has been started and has not ended yet.
    bool IsRunning() const;

    /// Puts on disk how far this range has come.
    void SaveResumeState();

signals:
    /// Bytes of the chunk just written, and 1; on a redirected reply the bytes received and the
    /// total.
    void DownloadProgress(qint64 bytesReceived, qint64 bytesTotal);
    void Error(QString error);
    void Close();
    void DownloadFinished();
    /// The package is complete and in place, the user is about to be asked.
    void BeginInstall();
    void CancelInstall();
    void InstallStarted();
    /// The incremental package could not be turned into an installer; nothing follows from here.
    void PatchIncreasePackageFaild();

public slots:
    void ReplyFinished(QNetworkReply *reply);
    void ReadyRead();
    void slotDownloadProgress(qint64 bytesReceived, qint64 bytesTotal);
    void DownloadIncreasePackageProgress(qint64 bytesReceived, qint64 bytesTotal);
    void ReplyError(QNetworkReply::NetworkError code);
    void _ReadyRead();
    void _slotDownloadProgress(qint64 bytesReceived, qint64 bytesTotal);
    void _DownloadFinished();

public:
    bool event(QEvent *event) override;

private slots:
    void _SslErrors(const QList<QSslError> &errors);
    void _TimeOut() const;

private:
    void SendRequest(const QNetworkRequest &request);
    void FollowRedirect(QNetworkReply *reply);
    bool OpenTarget(const char *function);
    bool HasPackageContentType() const;
    qint64 WriteChunk(const char *function);
    void AbortTransfer();
    void StartCheck();
    void StopCheck();
    void Fail(const char *text);
    bool HasReceivedWhole(qint64 bytesReceived, qint64 bytesTotal);
    void CompleteFullPackage();
    void CompleteIncreasePackage();
    void OfferInstall();

    QFile m_file;
    QNetworkAccessManager *m_manager;
    QPointer<QNetworkReply> m_reply;
    NetworkCheck *m_networkCheck;
    InstallOffer *m_installOffer;
    /// Source text of the message that `Error` carries; null while nothing has failed.
    const char *m_errorText = nullptr;
    /// The range's failure was told; one failure shows in several places.
    bool m_errorTold = false;
    qint64 m_receivedOnRedirect = 0;
    int m_redirects = 0;
    QString m_installerPath;
    QString m_oldPackagePath;
    QString m_targetPath;
    QString m_expectedMd5;
    bool m_incremental = false;
    int m_rangeNumber = 0;
    ResumeState m_resumeSettings;
    qint64 m_nextByte = 0;
    qint64 m_endByte = 0;
    qint32 m_expectedSize;
    bool m_started = false;
    bool m_finishHandled = false;
    std::chrono::milliseconds m_patchLimit;
};
