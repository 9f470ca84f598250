// SPDX-License-Identifier: MIT

#include "update/LiveUpdateMgr.h"

#include "api/Log.h"
#include "api/ProductSettings.h"
#include "api/UpdateInit.h"
#include "platform/SettingsLock.h"
#include "update/base/DownloadState.h"
#include "update/base/DownloadSystem.h"
#include "update/base/EventSink.h"
#include "update/install/PostponedInstaller.h"
#include "update/PackageDownload.h"
#include "update/plan/PackageChoice.h"
#include "update/plan/PackageSizeProbe.h"
#include "update/plan/PlanRefusal.h"
#include "update/UpdateCommon/HintDisplay.h"
#include "update/UpdateCommon/ProgressDisplay.h"
#include "update/UpdateCommon/VersionDisplay.h"
#include "update/UpdateCommon/VersionInfo.h"
#include "update/UpdatePages.h"

LiveUpdateMgr::LiveUpdateMgr(ProgressDisplay *progress, VersionDisplay *version, HintDisplay *hint,
                             const UpdateContext &context, QObject *parent)
    : QObject(parent)
    , m_context(context)
    , m_productSettings(gWithoutStaleLock(gProductSettingsFile(context.configDirectory)),
                        QSettings::IniFormat)
    , m_resumeSettings(context.configDirectory)
    , m_progressPage(progress)
    , m_versionPage(version)
    , m_hintPage(hint)
    , m_pages(new UpdatePages(progress, version, hint, this))
    , m_versionInfo(new VersionInfo(QString(), this))
    , m_check(new VersionCheck(UpdateInit::GetUpdateUrl(), m_versionInfo, context, this))
    , m_postponed(
          new PostponedInstaller(m_productSettings, m_check->Trust().IsOn(), context.system, this))
    , m_downloadMgr(new DownloadMgr(context, this))
{
    connect(m_pages, &UpdatePages::SetCurrentWidget, this, &LiveUpdateMgr::SetCurrentWidget);
    ConnectCheck();
    connect(m_versionPage, &VersionDisplay::UpdateNow, this, &LiveUpdateMgr::UpdateNow);
    connect(m_versionPage, &VersionDisplay::RemindMeLater, this, &LiveUpdateMgr::RemindMeLater);
    connect(m_downloadMgr, &DownloadMgr::CancelInstall, this, &LiveUpdateMgr::KeepInstaller);
    connect(m_downloadMgr, &DownloadMgr::InstallStarted, this, &LiveUpdateMgr::InstallStarted);
    // A kept installer that cannot be started is followed by no other signal.
    connect(m_downloadMgr, &DownloadMgr::Close, this, &LiveUpdateMgr::Close);
    // Behind a failure, ranges that have not failed may still be running.
    connect(m_hintPage, &HintDisplay::Close, this, &LiveUpdateMgr::CloseDownloads);
    connect(m_hintPage, &HintDisplay::Close, this, &LiveUpdateMgr::Close);

    // No slot is connected yet, so the dialog keeps its first size until a page is really switched.
    m_pages->ShowProgressPage();

    for (int range = 1; range <= ResumeState::rangeCount; ++range) {
        connect(m_progressPage, &ProgressDisplay::Close, this,
                [this, range] { CloseRange(range); });
    }
}

LiveUpdateMgr::~LiveUpdateMgr()
{
    // Both use what is destroyed before the Qt children are.
    delete m_download;
    delete m_downloadMgr;
}

// --- The check -------------------------------------------------------------------------------------

void LiveUpdateMgr::LiveUpdate(QString pid, QString version, QString email)
{
    m_interactive = 1;
    CheckVersion(pid, version, email);
}

void LiveUpdateMgr::LiveUpdate()
{
    m_interactive = 1;
    const QueryValues values = gGatherQueryValues(&m_productSettings);
    CheckVersion(values.pid, values.version, values.email);
}

bool LiveUpdateMgr::IsNeedUpdate()
{
    m_interactive = 0;
    return m_check->AskSilently(gGatherQueryValues(&m_productSettings));
}

void LiveUpdateMgr::CheckVersion(const QString &pid, const QString &version, const QString &email)
{
    m_check->GiveUp();
    m_postponed->Cancel();
    if (!m_pages->ShowChecking()) {
        return;
    }
    m_values = {pid, version, email};
    m_postponed->Look();
}

void LiveUpdateMgr::ConnectCheck()
{
    connect(m_postponed, &PostponedInstaller::Found, m_downloadMgr,
            &DownloadMgr::OfferKeptInstaller);
    connect(m_postponed, &PostponedInstaller::NotFound, this, [this] { m_check->Start(m_values); });
    // Nobody is asked behind a dialog that was closed.
    connect(m_progressPage, &ProgressDisplay::Close, m_postponed, &PostponedInstaller::Cancel);
    connect(m_check, &VersionCheck::AnswerBegun, m_pages, &UpdatePages::ShowVersionPage);
    connect(m_check, &VersionCheck::Answered, m_pages,
            [this] { m_pages->ShowAnswer(*m_versionInfo); });
    connect(m_check, &VersionCheck::Failed, m_pages,
            [this] { m_pages->ShowCheckFailure(m_interactive == 1); });
    // Spelled out after a silent check, too: no other text names a service that is not trusted.
    connect(m_check, &VersionCheck::Untrusted, m_pages,
            [this] { m_pages->ShowCheckFailure(true); });
}

// --- "Update Now" ----------------------------------------------------------------------------------

void LiveUpdateMgr::UpdateNow()
{
    m_fullPackageTried = false;
    m_offer = m_versionInfo->Offer();
    const PackageChoice choice =
        gChoosePackage(m_offer, UpdateInit::GetUpdateVersion(), m_context.events);
    switch (choice.kind) {
    case PackageChoice::Kind::Nothing:
        break;
    case PackageChoice::Kind::Incremental:
        StartIncrementalPackage(choice.keptInstaller);
        break;
    case PackageChoice::Kind::Full:
        StartFullPackage();
        break;
    }
}

/// Not again where its patch could not be applied: the full package's progress would be lost for it.
void LiveUpdateMgr::StartIncrementalPackage(const QString &keptInstaller)
{
    m_resumeSettings.Reload();
    if (!m_resumeSettings.IsFailedPatch(m_offer.incrementalMd5)) {
        StartDownload(true, keptInstaller);
        return;
    }
    QUILLON_LOG("LiveUpdateMgr", "LiveUpdateMgr::UpdateNow",
                "the incremental package could not be applied before and is not taken");
    StartFullPackage();
}

/// Once for each "Update Now", so that a package that fails is not asked for in a loop.
void LiveUpdateMgr::StartFullPackage()
{
    if (!m_fullPackageTried) {
        m_fullPackageTried = true;
        QUILLON_LOG("LiveUpdateMgr", "LiveUpdateMgr::UpdateNow", "Start Download FullPackage");
        StartDownload(false, QString());
    }
}

// --- The download ----------------------------------------------------------------------------------

void LiveUpdateMgr::StartDownload(bool incremental, const QString &oldPackagePath)
{
    if (!m_offer.namesVersion) {
        return;
    }
    // "full" for the incremental package as well: it is what operators have always received.
    m_context.events.SetReportInfo(UpdateInit::GetUpdateVersion(), m_offer.version,
                                   QStringLiteral("full"));
    EndDownload();
    DownloadTarget target = gDownloadTarget(m_offer, incremental);
    const Alive alive(this);
    m_pages->SetDownloadStart();
    m_pages->ShowProgressPage();
    if (alive == nullptr) {
        return;
    }
    if (gIsRefused(target, m_check->Trust().IsOn())) {
        m_pages->ShowPlanFailure();
        return;
    }
    const qint64 total = QueryPackageSize(target.url);
    if (alive == nullptr) {
        return;
    }
    if (gIsSizeRefused(target, total, m_resumeSettings)) {
        ShowDownloadError(UpdatePages::DownloadFailedText());
        return;
    }
    target.url = m_downloadUrl;
    if (m_download != nullptr) {
        m_pages->ShowPlanFailure(); // Another one was planned while the size was awaited.
        return;
    }
    m_download =
        new PackageDownload(target, oldPackagePath, total, m_resumeSettings, m_context, this);
    ConnectDownload();
    RunDownload();
}

void LiveUpdateMgr::RunDownload()
{
    if (!m_download->Plan()) {
        m_pages->ShowPlanFailure();
        return;
    }
    const QPointer<PackageDownload> download = m_download;
    m_pages->SetDownloadStart();
    OnDownloadProgress(0, download->Total());
    if (download->IsFresh()) {
        m_pages->ShowProgressPage();
    }
    if (download != nullptr) {
        download->StartRanges();
    }
}

qint64 LiveUpdateMgr::QueryPackageSize(const QUrl &url)
{
    const Alive alive(this);
    PackageSizeProbe probe(m_context.system.sizeLimit);
    // A dialog that is closed meanwhile must not start to download.
    connect(m_progressPage, &ProgressDisplay::Close, &probe, &PackageSizeProbe::Cancel);
    connect(this, &QObject::destroyed, &probe, &PackageSizeProbe::Cancel);
    const PackageSizeProbe::Package package = probe.Query(url);
    if (alive != nullptr) {
        m_downloadUrl = package.url;
    }
    return package.size;
}

void LiveUpdateMgr::ConnectDownload()
{
    connect(m_download, &PackageDownload::DownloadProgress, this,
            &LiveUpdateMgr::OnDownloadProgress);
    connect(m_download, &PackageDownload::Close, this, &LiveUpdateMgr::Close);
    connect(m_download, &PackageDownload::BeginInstall, this, &LiveUpdateMgr::BeginInstall);
    connect(m_download, &PackageDownload::InstallStarted, this, &LiveUpdateMgr::InstallStarted);
    connect(m_download, &PackageDownload::CancelInstall, this, &LiveUpdateMgr::KeepInstaller);
    connect(m_download, &PackageDownload::Error, this, &LiveUpdateMgr::ShowDownloadError);
    connect(m_download, &PackageDownload::DiskFailed, this,
            [this] { ShowDownloadError(UpdatePages::DownloadFailedText()); });
    // From the event loop: the plan that follows ends the downloader that emits this.
    connect(m_download, &PackageDownload::PatchIncreasePackageFaild, this,
            &LiveUpdateMgr::StartFullPackage, Qt::QueuedConnection);
}

void LiveUpdateMgr::OnDownloadProgress(qint64 bytesReceived, qint64 bytesTotal)
{
    if (m_download != nullptr && bytesTotal != 0) {
        m_download->AddDownloaded(bytesReceived);
        m_pages->SetProgress(m_download->Downloaded(), m_download->Total());
    }
}

void LiveUpdateMgr::ShowDownloadError(const QString &text)
{
    m_pages->SetHint(text);
    m_context.events.ReportEvent(EventSink::DownloadError);
    m_pages->ShowHintPage();
}

// --- The end ---------------------------------------------------------------------------------------

void LiveUpdateMgr::CloseRange(int rangeNumber)
{
    if (m_download != nullptr) {
        m_download->CloseRange(rangeNumber);
    }
    // Once for each of the five ranges, whether it runs or not: hosts expect five `Close`.
    emit Close();
}

void LiveUpdateMgr::CloseDownloads()
{
    if (m_download != nullptr) {
        m_download->CloseAll();
    }
}

void LiveUpdateMgr::EndDownload()
{
    if (m_download != nullptr) {
        m_download->End();
        m_download->deleteLater();
        m_download = nullptr;
    }
}

void LiveUpdateMgr::KeepInstaller()
{
    gWriteSetupFile(&m_productSettings, m_context.state.installerReady,
                    m_context.state.installerSha256);
    emit CancelInstall();
}
