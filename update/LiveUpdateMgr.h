// SPDX-License-Identifier: MIT

#pragma once

#include "update/base/DownloadSystem.h"
#include "update/Downloaders.h"
#include "update/plan/DownloadTarget.h"
#include "update/plan/ResumePoint.h"
#include "update/plan/ResumeState.h"

#include <QNetworkRequest>
#include <QObject>
#include <QPointer>
#include <QSettings>
#include <QString>
#include <QUrl>

#include <memory>

class DownloadMgr;
class FlushSchedule;
class HintDisplay;
class ProcessLock;
class ProgressDisplay;
class QNetworkAccessManager;
class QNetworkReply;
class VersionDisplay;
class VersionInfo;

/// The orchestration of an update: asks the service, plans the download, keeps or starts the
/// installer.
///
///     LiveUpdate ─► CheckVersion ─┬─► a kept installer is offered
///                                 └─► GET ─► OnCheckReplyReady ─► version page or hint page
///     "Update Now" ─► UpdateNow ─► StartDownload ─► QueryPackageSize ─► lock
///                                    ├─► ResumePlan ─► a DownloadMgr for each missing range
///                                    └─► FreshPlan ─► five DownloadMgr
///     DownloadMgr ─► progress page, hint page, or the host's signals
///
/// Thread:    GUI thread.
/// Ownership: its Qt parent. The three pages belong to the caller and outlive it. The host may delete
///            it in any slot.
/// Errors:    shown on the hint page; the log says why.
class LiveUpdateMgr : public QObject
{
    Q_OBJECT

public:
    LiveUpdateMgr(ProgressDisplay *progress, VersionDisplay *version, HintDisplay *hint,
                  QObject *parent, DownloadSystem seams = {});
    ~LiveUpdateMgr() override;

    void LiveUpdate(QString pid, QString version, QString email);
    void LiveUpdate();
    bool IsNeedUpdate();
    void Install();

    void CheckVersion(const QString &pid, const QString &version, const QString &email);
    QUrl BuildCheckUrl(const QString &pid, const QString &version, const QString &email) const;
    void OnCheckReplyReady();
    void OnRequestFinished(QNetworkReply *reply);

    /// The version page's "Update Now".
    void UpdateNow();

    /// Plans the download of a package and starts the downloaders of what is missing.
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
    void _SuspendDownload();
    void _FlushFailed();

private:
    struct QueryValues {
        QString pid;
        QString version;
        QString email;
    };

    QueryValues GatherQueryValues();
    void ShowCheckFailure();
    void StartFullPackage();
    void ShowDownloadStart();
    void ResumePlan(const ResumePoint &point, bool incremental, const QString &oldPackagePath);
    void FreshPlan(bool incremental, const QString &oldPackagePath);
    void ShowPlanFailure();
    void StartRange(int rangeNumber, ByteRange range, bool incremental,
                    const QString &oldPackagePath);
    void EndDownloaders();
    void CloseRange(int rangeNumber);
    void KeepInstaller();
    void ShowDownloadError(const QString &text);

    /// Whether this object outlives the call that it guards.
    using Alive = QPointer<LiveUpdateMgr>;

    DownloadSystem m_seams;
    int m_interactive = 1;
    QString m_updateUrl;
    QSettings m_productSettings;
    QNetworkAccessManager *m_network;
    QNetworkRequest m_request;
    ProgressDisplay *m_progressPage;
    VersionDisplay *m_versionPage;
    HintDisplay *m_hintPage;
    VersionInfo *m_versionInfo;
    QPointer<QNetworkReply> m_checkReply;
    /// Offers a kept installer; the ranges of a package have downloaders of their own.
    DownloadMgr *m_downloadMgr;

    ResumeState m_resumeSettings;
    FlushSchedule *m_flushSchedule;
    /// Held by the downloaders of the plan while they run.
    std::weak_ptr<ProcessLock> m_lock;
    DownloadTarget m_target;
    /// The full package was planned since the last "Update Now".
    bool m_fullPackageTried = false;
    qint64 m_downloaded = 0;
    qint64 m_total = 0;
    Downloaders m_downloaders;
};
