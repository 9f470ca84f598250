// SPDX-License-Identifier: MIT

#pragma once

#include "update/base/UpdateContext.h"
#include "update/check/VersionCheck.h"
#include "update/plan/PackageOffer.h"
#include "update/plan/ResumeState.h"
#include "update/UpdateCommon/DownloadMgr.h"

#include <QObject>
#include <QPointer>
#include <QSettings>
#include <QString>
#include <QUrl>

class HintDisplay;
class PackageDownload;
class PostponedInstaller;
class ProgressDisplay;
class UpdatePages;
class VersionDisplay;
class VersionInfo;

/// The story of an update: check, choose, download, hand over.
///
///     LiveUpdate ─► CheckVersion ─┬─► a kept installer is offered
///                                 └─► VersionCheck ─► version page or hint page
///     "Update Now" ─► UpdateNow ─► gChoosePackage ─► StartDownload
///     StartDownload ─► QueryPackageSize ─► PackageDownload
///     PackageDownload ─► progress page, hint page, or the host's signals
///
/// Thread:    GUI thread.
/// Ownership: its Qt parent. The three pages and the context belong to the caller and outlive it.
///            The host may delete it in any slot.
/// Errors:    shown on the hint page; the log says why.
class LiveUpdateMgr : public QObject
{
    Q_OBJECT

public:
    LiveUpdateMgr(ProgressDisplay *progress, VersionDisplay *version, HintDisplay *hint,
                  const UpdateContext &context, QObject *parent);
    ~LiveUpdateMgr() override;

    /// Asks the service, with the caller's values or with the module's own.
    void LiveUpdate(QString pid, QString version, QString email);
    void LiveUpdate();

    /// Asks the service silently, for at most 5000 ms. @return whether a newer version exists.
    bool IsNeedUpdate();

    /// Starts the kept installer if the user has agreed to that; otherwise nothing happens.
    void Install() { m_downloadMgr->Install(); }

    /// The interactive check: offers a kept installer, or asks the service.
    void CheckVersion(const QString &pid, const QString &version, const QString &email);
    QUrl BuildCheckUrl(const QString &pid, const QString &version, const QString &email) const
    {
        return m_check->Address({pid, version, email});
    }
    void OnCheckReplyReady() { m_check->ReadAnswer(); }
    void OnRequestFinished(QNetworkReply *reply) { m_check->ReportEnd(reply); }

    /// The version page's "Update Now".
    void UpdateNow();

    /// Plans the download of a package of the last "Update Now" and starts the downloaders of what
    /// is missing.
    void StartDownload(bool incremental, const QString &oldPackagePath);

    /// Asks for the size of @p url in bytes; 0 on any failure. Blocks in a local event loop. Behind
    /// two redirects, the second target becomes the download address.
    qint64 QueryPackageSize(const QUrl &url);

    /// The dialog is closed: ends the ranges that still run, as if each had been closed.
    void CloseDownloads();

    /// A chunk of @p bytesReceived bytes was written; ignored when @p bytesTotal is 0.
    void OnDownloadProgress(qint64 bytesReceived, qint64 bytesTotal);

signals:
    void SetCurrentWidget(QWidget *page);
    void Close();
    void BeginInstall();
    void CancelInstall();
    void InstallStarted();
    void RemindMeLater();

private slots:
    void StartFullPackage();
    void ShowDownloadError(const QString &text);
    void KeepInstaller();

private:
    void ConnectCheck();
    void ConnectDownload();
    void StartIncrementalPackage(const QString &keptInstaller);
    void RunDownload();
    void CloseRange(int rangeNumber);
    void EndDownload();

    /// Whether this object outlives the call that it guards.
    using Alive = QPointer<LiveUpdateMgr>;

    UpdateContext m_context;
    /// Failures of the check are spelled out to the user.
    int m_interactive = 1;
    QSettings m_productSettings;
    ResumeState m_resumeSettings;
    ProgressDisplay *m_progressPage;
    VersionDisplay *m_versionPage;
    HintDisplay *m_hintPage;
    UpdatePages *m_pages;
    VersionInfo *m_versionInfo;
    VersionCheck *m_check;
    PostponedInstaller *m_postponed;
    /// What the latest interactive check tells the service.
    QueryValues m_values;
    /// Offers a kept installer; the ranges of a package have downloaders of their own.
    DownloadMgr *m_downloadMgr;
    /// The latest plan; null before the first one.
    PackageDownload *m_download = nullptr;
    /// Of the last "Update Now": a silent check may bring another manifest during the download.
    PackageOffer m_offer;
    QUrl m_downloadUrl;
    /// The full package was planned since the last "Update Now".
    bool m_fullPackageTried = false;
};
