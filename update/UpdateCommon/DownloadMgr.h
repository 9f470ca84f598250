// SPDX-License-Identifier: MIT

#pragma once

#include "update/base/DownloadSystem.h"
#include "update/transfer/AnswerFilter.h"
#include "update/transfer/RangeStore.h"

#include <QNetworkReply>
#include <QObject>
#include <QPointer>
#include <QUrl>

#include <memory>

class InstallOffer;
class PackagePlacer;
class ProcessLock;
class QNetworkAccessManager;
class QNetworkRequest;
class TransferWatch;

/// Fetches one byte range of a package into the pre-allocated target file. The downloader that
/// completes the package also puts it in place and asks the user to install it.
///
///     ResumeDownload ─► GET with Range ◄───────────────────────────────────────────┐
///       ├─► _ReadyRead          judged once, then each chunk: write, count, save   │ asks again
///       ├─► _DownloadFinished   all bytes there: the range has ended ─────────┐    │ for the rest
///       │                       short: cut ──────────────────────────────────────►─┤
///       ├─► ReplyError          logs, ends the range                          │    │
///       ├─► _TimeOut            stalled ──────────────────────────────────────────►┘
///       └─► ReplyFinished       Error; or follows a redirect:                 │
///             GET without Range ─► slotDownloadProgress: all there ───────────┤
///                                                                             ▼
///                        the last range: flush or patch, the package in place, InstallOffer
///
/// Thread:    GUI thread. The five downloaders of a package share `gDownloadState()`.
/// Ownership: its Qt parent. Deleting it, which the host may do in any slot, ends its transfer; the
///            resume state stays as last written.
/// Errors:    `Error` carries one of two fixed texts; the log says why.
class DownloadMgr : public QObject
{
    Q_OBJECT

public:
    explicit DownloadMgr(QObject *parent, DownloadSystem seams = {});
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

    /// Holds @p lock until this range has ended, one way or the other.
    void HoldLock(std::shared_ptr<ProcessLock> lock);

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
    void _AskAgain();
    void _GivenUp();
    void _Placed();

private:
    /// Whether this object outlives the call that it guards.
    using Alive = QPointer<DownloadMgr>;

    // Asking
    bool IsRedirected() const { return m_redirects > 0; }
    void RequestRest();
    void Send(const QNetworkRequest &request);
    void FollowRedirect(QNetworkReply *reply);
    void Cut();
    void LetGoOfReply();

    // Receiving
    void Receive(const char *function);
    void WriteChunk(const char *function);
    bool HasReceivedWhole(qint64 bytesReceived, qint64 bytesTotal);

    // Ending
    void EndRange();
    void CloseRange();
    void GiveUp(const char *text);
    void Fail(const char *text);
    void CompleteIncreasePackage();
    void OfferInstall(const QString &installer);

    DownloadSystem m_seams;
    RangeStore m_store;
    AnswerFilter m_check;
    QNetworkAccessManager *m_manager;
    QPointer<QNetworkReply> m_reply;
    TransferWatch *m_watch;
    PackagePlacer *m_placer;
    InstallOffer *m_installOffer;
    /// Source text of the message that `Error` carries; null while nothing has failed.
    const char *m_errorText = nullptr;
    /// The range's failure was told; one failure shows in several places.
    bool m_errorTold = false;
    qint64 m_receivedOnRedirect = 0;
    int m_redirects = 0;
    QUrl m_url;
    QString m_installerPath;
    QString m_oldPackagePath;
    QString m_targetPath;
    QString m_expectedMd5;
    bool m_incremental = false;
    bool m_started = false;
    bool m_finishHandled = false;
    qint64 m_furthestByte = 0;
    std::shared_ptr<ProcessLock> m_lock;
};
