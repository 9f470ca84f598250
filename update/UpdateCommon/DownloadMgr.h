// SPDX-License-Identifier: MIT

#pragma once

#include "update/base/DownloadState.h"
#include "update/base/UpdateContext.h"
#include "update/install/PackageEnd.h"
#include "update/plan/ResumeState.h"
#include "update/transfer/RangeTask.h"
#include "update/transfer/RangeTransfer.h"

#include <QNetworkReply>
#include <QObject>
#include <QPointer>
#include <QUrl>

#include <memory>
#include <optional>
#include <utility>

class NetworkCheck;
class ProcessLock;

/// Fetches one byte range of a package into the pre-allocated target file. The downloader that
/// completes the package also puts it in place and asks the user to install it.
///
///     Idle ─ ResumeDownload ─► Fetching ◄─┐ cut or stalled: RangeTransfer asks again
///                                 │  │  └─┘ redirected: FollowRedirect
///                                 │  │
///                                 │  ├─ EndRange               has all bytes: counted as ended; the
///                                 │  │                         last range completes the package
///                                 │  ├─ FailRange              counted as ended, and `Error`
///                                 │  ├─ CompleteWholePackage   all bytes behind a redirect
///                                 │  └─ Stop                   neither counted nor reported
///                                 ▼
///                               Ended ─► a complete package goes to PackageEnd, which places or
///                                        patches it and offers its installer
///
/// Thread:    GUI thread.
/// Ownership: its Qt parent. What the context names outlives it. Deleting it, which the host may do
///            in any slot, ends its transfer; the resume state stays as last written.
/// Errors:    `Error` carries one of two fixed texts; the log says why.
class DownloadMgr : public QObject
{
    Q_OBJECT

public:
    /// Opens the resume state; for a range, the plan has to be recorded in it before.
    DownloadMgr(const UpdateContext &context, QObject *parent);
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
    /// Blocks until the program has ended or its limit has passed, and runs an event loop while another
    /// program holds the kept installer. @return whether it succeeded; a failure leaves the kept
    /// installer as it is.
    bool PatchIncreasePackage() { return m_end->Patch(m_task); }

    /// Offers an installer that an earlier session kept. Without the file nothing happens.
    /// @param signedCopy what is started instead of one that was verified
    void OfferKeptInstaller(const QString &installerPath,
                            const std::optional<PrivateCopy::Outcome> &signedCopy = std::nullopt)
    {
        m_end->OfferKept(installerPath, signedCopy);
    }

    /// Starts the installer if the user has answered "Yes"; otherwise nothing happens.
    void Install() { m_end->Install(); }

    /// Ends the transfer for good: nothing is written, counted or emitted for this range any more.
    void Stop();

    /// The range has been started and has not ended yet, or the package is being put in place.
    bool IsRunning() const { return m_state == State::Fetching || m_end->IsPlacing(); }

    /// Puts on disk how far this range has come.
    void SaveResumeState() { m_transfer->Store().Save(m_context.state.alreadyDownloaded); }

    /// A full package is compared with @p md5 before it is moved into place, where that is one. To be
    /// called before `ResumeDownload`.
    void SetPackageMd5(const QString &md5) { m_packageMd5 = md5; }
    /// The package is put in place only if it is the one that a verified manifest names. To be called
    /// before `ResumeDownload`, too.
    void SetSignedPackage(const std::optional<SignedPackage> &package)
    {
        m_signedPackage = package;
    }

    /// Holds @p lock until this range has ended, one way or the other.
    void HoldLock(std::shared_ptr<ProcessLock> lock) { m_lock = std::move(lock); }

signals:
    /// Bytes of the chunk just written, and 1; on a redirected reply bytes received, and the total.
    void DownloadProgress(qint64 bytesReceived, qint64 bytesTotal);
    void Error(QString error);
    void Close();
    void DownloadFinished();
    /// The package is complete and in place, the user is about to be asked.
    void BeginInstall();
    void CancelInstall();
    void InstallStarted();
    /// The incremental package could not be turned into an installer. The downloader stops there.
    void PatchIncreasePackageFaild();

public slots:
    void ReplyFinished(QNetworkReply *reply);
    void ReadyRead() { Receive("DownloadMgr::ReadyRead"); }
    void slotDownloadProgress(qint64 bytesReceived, qint64 bytesTotal);
    void DownloadIncreasePackageProgress(qint64 bytesReceived, qint64 bytesTotal);
    void ReplyError(QNetworkReply::NetworkError code);
    void _ReadyRead() { Receive("DownloadMgr::_ReadyRead"); }
    /// Part of the interface; does nothing.
    void _slotDownloadProgress(qint64 /*bytesReceived*/, qint64 /*bytesTotal*/) {}
    void _DownloadFinished();

public:
    /// A change of the language repeats the last failure in the new one.
    bool event(QEvent *event) override;

private:
    enum class State { Idle, Fetching, Ended };

    /// Whether this object outlives the call that it guards.
    using Alive = QPointer<DownloadMgr>;

    void Fetch(const RangeTask &task);
    void ArmWatchdog();
    void FollowRedirect(QNetworkReply *reply);
    void Receive(const char *function);

    // The ends of a range
    void EndRange();
    void FailRange(const char *text);
    bool CompleteWholePackage(qint64 bytesReceived, qint64 bytesTotal);
    void CloseTransfer();

    void ReportFailure(const char *text);

    UpdateContext m_context;
    ResumeState m_resumeSettings;
    RangeTransfer *m_transfer;
    PackageEnd *m_end;
    /// On a thread of its own; made with the first request.
    NetworkCheck *m_networkCheck = nullptr;
    std::shared_ptr<ProcessLock> m_lock;
    QString m_packageMd5;
    std::optional<SignedPackage> m_signedPackage;
    RangeTask m_task;
    State m_state = State::Idle;
    /// Source text of the message that `Error` carries; null while nothing has failed.
    const char *m_errorText = nullptr;
    /// The range's failure was emitted. One failure shows in several signals of a reply.
    bool m_isErrorReported = false;
    /// The last progress of a redirected reply; its final notice arrives twice.
    qint64 m_receivedOnRedirect = 0;
};
