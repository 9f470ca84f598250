// SPDX-License-Identifier: MIT

#include "update/LiveUpdateMgr.h"

#include "api/Log.h"
#include "api/ProductSettings.h"
#include "api/QuillonInit.h"
#include "api/UpdateInit.h"
#include "platform/ProcessLock.h"
#include "platform/SettingsLock.h"
#include "platform/StableStorage.h"
#include "update/base/AnswerLimit.h"
#include "update/base/DownloadState.h"
#include "update/base/NetworkFailure.h"
#include "update/base/SizeText.h"
#include "update/check/CheckUrl.h"
#include "update/check/VersionPageHtml.h"
#include "update/plan/FlushSchedule.h"
#include "update/plan/KeptInstaller.h"
#include "update/plan/PackageFolder.h"
#include "update/plan/PackageSizeProbe.h"
#include "update/transfer/RangeReply.h"
#include "update/UpdateCommon/DownloadMgr.h"
#include "update/UpdateCommon/HintDisplay.h"
#include "update/UpdateCommon/NetworkAccessManagerTimeout.h"
#include "update/UpdateCommon/ProgressDisplay.h"
#include "update/UpdateCommon/UpdateEventReport.h"
#include "update/UpdateCommon/VersionDisplay.h"
#include "update/UpdateCommon/VersionInfo.h"

#include <QFile>
#include <QFileInfo>
#include <QNetworkAccessManager>
#include <QNetworkReply>

#include <algorithm>
#include <utility>

namespace
{
constexpr char logFile[] = "LiveUpdateMgr";
} // namespace

LiveUpdateMgr::LiveUpdateMgr(ProgressDisplay *progress, VersionDisplay *version, HintDisplay *hint,
                             QObject *parent, DownloadSystem seams)
    : QObject(parent)
    , m_seams(std::move(seams))
    , m_updateUrl(UpdateInit::GetUpdateUrl())
    , m_productSettings(gWithoutStaleLock(QuillonInit::GetConfigFileDir() +
                                          QLatin1String(ProductSettings::fileName)),
                        QSettings::IniFormat)
    , m_request(QUrl())
    , m_progressPage(progress)
    , m_versionPage(version)
    , m_hintPage(hint)
    , m_resumeSettings(QuillonInit::GetConfigFileDir())
    , m_flushSchedule(new FlushSchedule(&m_resumeSettings, m_seams, this))
{
    m_versionInfo = new VersionInfo(QString(), this);
    m_network = new QNetworkAccessManager(this);
    m_downloadMgr = new DownloadMgr(this, m_seams);

    connect(m_network, &QNetworkAccessManager::finished, this, &LiveUpdateMgr::OnRequestFinished);
    connect(m_versionPage, &VersionDisplay::UpdateNow, this, &LiveUpdateMgr::UpdateNow);
    connect(m_versionPage, &VersionDisplay::RemindMeLater, this, &LiveUpdateMgr::RemindMeLater);
    connect(m_downloadMgr, &DownloadMgr::CancelInstall, this, &LiveUpdateMgr::KeepInstaller);
    connect(m_downloadMgr, &DownloadMgr::InstallStarted, this, &LiveUpdateMgr::InstallStarted);
    connect(m_network, &QNetworkAccessManager::sslErrors, this, &LiveUpdateMgr::ShowCheckFailure);
    // Behind a failure, ranges that have not failed may still be running.
    connect(m_hintPage, &HintDisplay::Close, this, &LiveUpdateMgr::CloseDownloads);
    connect(m_hintPage, &HintDisplay::Close, this, &LiveUpdateMgr::Close);
    connect(m_flushSchedule, &FlushSchedule::Failed, this, &LiveUpdateMgr::_FlushFailed);
    // A kept installer that cannot be started must not leave the dialog open without a word.
    connect(m_downloadMgr, &DownloadMgr::Close, this, &LiveUpdateMgr::Close);

    // Nobody can be connected yet, so this reaches no one. Deliberate: the dialog keeps its first
    // size until a page is really switched.
    emit SetCurrentWidget(m_progressPage);

    for (int range = 1; range <= ResumeState::rangeCount; ++range) {
        connect(m_progressPage, &ProgressDisplay::Close, this,
                [this, range] { CloseRange(range); });
    }
}

LiveUpdateMgr::~LiveUpdateMgr()
{
    delete m_downloadMgr;
    m_network->disconnect(this);
    gDeleteLater(m_network);
}

void LiveUpdateMgr::LiveUpdate(QString pid, QString version, QString email)
{
    m_interactive = 1;
    CheckVersion(pid, version, email);
}

void LiveUpdateMgr::LiveUpdate()
{
    m_interactive = 1;
    const QueryValues values = GatherQueryValues();
    CheckVersion(values.pid, values.version, values.email);
}

bool LiveUpdateMgr::IsNeedUpdate()
{
    constexpr int limitMs = 5000;

    m_interactive = 0;
    const QueryValues values = GatherQueryValues();
    m_request.setUrl(BuildCheckUrl(values.pid, values.version, values.email));
    auto *runner = new NetworkAccessManagerTimeout; // deletes itself
    const QByteArray body = runner->Get(m_request, limitMs);
    if (body.isEmpty()) {
        return false;
    }
    m_versionInfo->setXml(QString::fromUtf8(body));
    return m_versionInfo->HasExeUrl();
}

void LiveUpdateMgr::Install()
{
    m_downloadMgr->Install();
}

// --- The check -----------------------------------------------------------------------------------

LiveUpdateMgr::QueryValues LiveUpdateMgr::GatherQueryValues()
{
    m_productSettings.beginGroup(QLatin1String(ProductSettings::quillonGroup));
    const QueryValues values{
        ProductId(InstallLanguage()),
        UpdateInit::GetUpdateVersion(),
        m_productSettings.value(QLatin1String(ProductSettings::emailKey)).toString(),
    };
    m_productSettings.endGroup();
    return values;
}

void LiveUpdateMgr::CheckVersion(const QString &pid, const QString &version, const QString &email)
{
    const Alive alive(this);
    emit SetCurrentWidget(m_progressPage);
    if (alive == nullptr) {
        return;
    }
    m_progressPage->SetText(tr("Checking the version."));
    m_progressPage->SetBusy();
    m_progressPage->SetCloseVisible(0);

    m_productSettings.sync();
    m_productSettings.beginGroup(QLatin1String(ProductSettings::quillonGroup));
    const QString keptInstaller =
        m_productSettings.value(QLatin1String(ProductSettings::setupFileKey)).toString();
    m_productSettings.endGroup();
    if (QFileInfo(keptInstaller).isFile()) {
        m_downloadMgr->OfferKeptInstaller(keptInstaller);
        return;
    }

    if (m_checkReply != nullptr) {
        m_checkReply->disconnect(this);
        m_checkReply->deleteLater();
    }
    m_request.setUrl(BuildCheckUrl(pid, version, email));
    m_checkReply = m_network->get(m_request);
    // Shown whatever the mode: nobody else would say that the service cannot be trusted.
    connect(m_checkReply, &QNetworkReply::sslErrors, this, [this](const QList<QSslError> &errors) {
        gLogTlsErrors(logFile, "LiveUpdateMgr::CheckVersion", errors);
        m_hintPage->SetText(tr("Failed to check update!"));
        emit SetCurrentWidget(m_hintPage);
    });
    connect(m_checkReply, &QNetworkReply::readyRead, this, &LiveUpdateMgr::OnCheckReplyReady);
}

QUrl LiveUpdateMgr::BuildCheckUrl(const QString &pid, const QString &version,
                                  const QString &email) const
{
    return gBuildCheckUrl(m_updateUrl, pid, version, email);
}

void LiveUpdateMgr::OnCheckReplyReady()
{
    constexpr int firstErrorStatus = 400;

    const Alive alive(this);
    emit SetCurrentWidget(m_versionPage);
    if (alive == nullptr || m_checkReply == nullptr) {
        return;
    }
    QByteArray body;
    while (m_checkReply->bytesAvailable() > 0) {
        body += m_checkReply->readAll();
    }
    // One look is all the reply gets: what arrives later is dropped along with it.
    m_checkReply->disconnect(this);
    if (m_checkReply->attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt() <
        firstErrorStatus) {
        m_checkReply->deleteLater();
    } else {
        // An error page is still to be followed by the word that the check has failed, and to have an end.
        gLimitAnswer(m_checkReply, logFile, "LiveUpdateMgr::OnCheckReplyReady");
        connect(m_checkReply, &QNetworkReply::finished, m_checkReply, &QObject::deleteLater);
    }

    m_versionInfo->setXml(QString::fromUtf8(body));
    if (!m_versionInfo->HasExeUrl()) {
        m_hintPage->SetText(tr("Your current version is the latest version!"));
        emit SetCurrentWidget(m_hintPage);
        return;
    }
    m_versionPage->SetText(BuildVersionPageHtml(m_versionInfo->ReleaseNotes()));
}

void LiveUpdateMgr::OnRequestFinished(QNetworkReply *reply)
{
    if (reply->error() == QNetworkReply::NoError) {
        return;
    }
    QUILLON_LOG(logFile, "LiveUpdateMgr::OnRequestFinished", "check failed, error code %d",
                static_cast<int>(reply->error()));
    gLogFailure(logFile, "LiveUpdateMgr::OnRequestFinished", *reply);
    ShowCheckFailure();
}

void LiveUpdateMgr::ShowCheckFailure()
{
    if (m_interactive == 1) {
        m_hintPage->SetText(tr("Failed to check update!"));
    }
    emit SetCurrentWidget(m_hintPage);
}

// --- Planning the download -----------------------------------------------------------------------

void LiveUpdateMgr::UpdateNow()
{
    constexpr char function[] = "LiveUpdateMgr::UpdateNow";

    m_fullPackageTried = false;
    const QString folder = m_versionInfo->HasIncreasePackage() ? gSharedPackageFolder() : QString();
    if (!folder.isEmpty()) {
        QUILLON_LOG(logFile, function, "Start UpdateNow Check IncreasePackage Info");
        const QString currentVersion = UpdateInit::GetUpdateVersion();
        const QList<ReleaseNote> notes = m_versionInfo->ReleaseNotes();
        // A manifest without release notes names no version, and starts nothing. Deliberate.
        if (notes.isEmpty()) {
            return;
        }
        UpdateEventReport::GetInstance()->SetReportInfo(currentVersion, notes.first().version,
                                                        QStringLiteral("ins"));
        const QString kept = gFindKeptInstaller(folder, currentVersion, m_versionInfo->OldVerify());
        if (!kept.isEmpty() && gSparesKeptInstaller(gDownloadTarget(*m_versionInfo, true), kept)) {
            QUILLON_LOG(logFile, function, "Start Download IncreasePackage");
            StartDownload(true, kept);
            return;
        }
    }
    StartFullPackage();
}

void LiveUpdateMgr::StartFullPackage()
{
    // Once for each "Update Now": a package that fails must not be asked for in a loop.
    if (m_fullPackageTried) {
        return;
    }
    m_fullPackageTried = true;
    QUILLON_LOG(logFile, "LiveUpdateMgr::UpdateNow", "Start Download FullPackage");
    StartDownload(false, QString());
}

void LiveUpdateMgr::StartDownload(bool incremental, const QString &oldPackagePath)
{
    // A manifest without release notes names no version, and starts nothing. Deliberate.
    const QList<ReleaseNote> notes = m_versionInfo->ReleaseNotes();
    if (notes.isEmpty()) {
        return;
    }
    // "full" for the incremental package, too. Deliberate: it is what operators have always
    // received.
    UpdateEventReport::GetInstance()->SetReportInfo(UpdateInit::GetUpdateVersion(),
                                                    notes.first().version, QStringLiteral("full"));
    EndDownloaders();
    m_target = gDownloadTarget(*m_versionInfo, incremental);
    const Alive alive(this);
    emit SetCurrentWidget(m_progressPage);
    if (alive == nullptr) {
        return;
    }
    const qint64 total = QueryPackageSize(m_target.url);
    if (alive == nullptr) {
        return;
    }
    const auto lock = gLockPackages(); // The downloaders hold it while they run.
    m_lock = lock;
    if (lock == nullptr) {
        ShowPlanFailure();
        return;
    }
    m_total = total;
    DownloadState &state = gDownloadState();
    state.segmentSize = total / ResumeState::rangeCount;
    state.downloadStarted = true;
    state.finishedSegments = 0;
    state.validator.clear();
    m_resumeSettings.Sync();
    if (total == 0) {
        ShowPlanFailure();
        return;
    }
    const ResumePoint point = gResumePoint(m_resumeSettings, total, m_seams.bootIdentity());
    if (m_resumeSettings.PackageSize() == total && QFile::exists(m_target.path) &&
        gIsUsable(point)) {
        ResumePlan(point, incremental, oldPackagePath);
    } else {
        FreshPlan(incremental, oldPackagePath);
    }
}

void LiveUpdateMgr::ShowPlanFailure()
{
    m_hintPage->SetText(QStringLiteral("Failed to download the update."));
    emit SetCurrentWidget(m_hintPage);
}

qint64 LiveUpdateMgr::QueryPackageSize(const QUrl &url)
{
    const Alive alive(this);
    PackageSizeProbe probe(m_seams.sizeLimit);
    // A dialog that is closed meanwhile must not start to download behind the user's back.
    connect(m_progressPage, &ProgressDisplay::Close, &probe, &PackageSizeProbe::Cancel);
    connect(this, &QObject::destroyed, &probe, &PackageSizeProbe::Cancel);
    const PackageSizeProbe::Package package = probe.Query(url);
    if (alive != nullptr) {
        m_target.url = package.url;
    }
    return package.size;
}

void LiveUpdateMgr::ShowDownloadStart()
{
    m_progressPage->SetText(tr("Downloading the update, please wait."));
    m_progressPage->SetCloseVisible(1);
    OnDownloadProgress(0, m_total);
}

void LiveUpdateMgr::ResumePlan(const ResumePoint &point, bool incremental,
                               const QString &oldPackagePath)
{
    if (point.isTakenBack) {
        QUILLON_LOG(logFile, "LiveUpdateMgr::StartDownload",
                    "the machine was started again, going on with %lld bytes",
                    static_cast<long long>(point.alreadyDownloaded));
        gRecordPlan(&m_resumeSettings, m_total, point, m_seams.bootIdentity());
    }
    DownloadState &state = gDownloadState();
    state.alreadyDownloaded = m_downloaded = point.alreadyDownloaded;
    state.activeSegments =
        static_cast<int>(std::count_if(point.ranges.begin(), point.ranges.end(),
                                       [](const ByteRange &range) { return !range.IsEmpty(); }));
    ShowDownloadStart();
    m_flushSchedule->Begin(m_target.path);
    // Everything may be there, when the process ended before the package was put in place.
    const bool isComplete = state.activeSegments == 0;
    if (isComplete) {
        state.activeSegments = 1;
    }
    const Alive alive(this);
    int number = 1;
    for (const ByteRange &range : point.ranges) {
        const bool isLast = number == ResumeState::rangeCount;
        if (alive != nullptr && (!range.IsEmpty() || (isComplete && isLast))) {
            StartRange(number, range, incremental, oldPackagePath);
        }
        ++number;
    }
}

void LiveUpdateMgr::FreshPlan(bool incremental, const QString &oldPackagePath)
{
    const ResumePoint start = gFreshStart(m_total);
    // In this order, a process that ends in between leaves no file that an old plan seems to fit:
    // first the old file goes, then the plan is on disk, then the new file comes.
    QFile::remove(m_target.path);
    gRecordPlan(&m_resumeSettings, m_total, start, m_seams.bootIdentity());
    gFlushFolder(QuillonInit::GetConfigFileDir());
    gCreateEmptyFile(m_target.path, m_total);

    DownloadState &state = gDownloadState();
    state.alreadyDownloaded = 0;
    state.activeSegments = ResumeState::rangeCount;
    m_downloaded = 0;
    ShowDownloadStart();
    m_flushSchedule->Begin(m_target.path);
    connect(m_progressPage, &ProgressDisplay::Close, this, &LiveUpdateMgr::_SuspendDownload,
            Qt::UniqueConnection);
    const Alive alive(this);
    emit SetCurrentWidget(m_progressPage);
    int number = 1;
    for (const ByteRange &range : start.ranges) {
        if (alive != nullptr) {
            StartRange(number, range, incremental, oldPackagePath);
        }
        ++number;
    }
}

void LiveUpdateMgr::StartRange(int rangeNumber, ByteRange range, bool incremental,
                               const QString &oldPackagePath)
{
    auto *downloader = new DownloadMgr(this, m_seams);
    m_downloaders.Put(rangeNumber, downloader);
    downloader->HoldLock(m_lock.lock());
    connect(downloader, &DownloadMgr::DownloadProgress, this, &LiveUpdateMgr::OnDownloadProgress);
    connect(downloader, &DownloadMgr::DownloadProgress, m_flushSchedule,
            [this](qint64 bytes, qint64 total) {
                // 1 with the chunks of a range; a redirected package is in no resume state.
                m_flushSchedule->Written(total == 1 ? bytes : 0);
            });
    connect(downloader, &DownloadMgr::Close, this, &LiveUpdateMgr::Close);
    connect(downloader, &DownloadMgr::BeginInstall, this, &LiveUpdateMgr::BeginInstall);
    connect(downloader, &DownloadMgr::InstallStarted, this, &LiveUpdateMgr::InstallStarted);
    connect(downloader, &DownloadMgr::CancelInstall, this, &LiveUpdateMgr::KeepInstaller);
    connect(downloader, &DownloadMgr::Error, this, &LiveUpdateMgr::ShowDownloadError);
    // From the event loop: the plan that follows ends this very downloader.
    connect(downloader, &DownloadMgr::PatchIncreasePackageFaild, this,
            &LiveUpdateMgr::StartFullPackage, Qt::QueuedConnection);
    // The package is complete although other ranges may still be under way, when a server sent the
    // whole of it for one: they let go of the file before it is moved into place.
    connect(downloader, &DownloadMgr::DownloadFinished, this,
            [this, downloader] { m_downloaders.StopOthers(downloader); });
    downloader->ResumeDownload(m_target.path, m_target.url, m_target.installerPath, range.start,
                               range.end, rangeNumber, incremental, m_target.expectedMd5,
                               oldPackagePath);
}

void LiveUpdateMgr::EndDownloaders()
{
    m_flushSchedule->End();
    m_downloaders.Clear();
}

// --- While the download runs, and after it -------------------------------------------------------

void LiveUpdateMgr::OnDownloadProgress(qint64 bytesReceived, qint64 bytesTotal)
{
    if (m_progressPage == nullptr || bytesTotal == 0) {
        return;
    }
    m_downloaded += bytesReceived;
    m_progressPage->SetText(tr("Downloading the update, please wait...(downloaded %1,total %2)")
                                .arg(gFormatSize(m_downloaded), gFormatSize(m_total)));
    // The bar counts in 32 bits; a package of 2 GiB or more overflows it. Deliberate.
    m_progressPage->SetMaximum(static_cast<int>(m_total));
    m_progressPage->SetValue(static_cast<int>(m_downloaded));
}

void LiveUpdateMgr::ShowDownloadError(const QString &text)
{
    m_hintPage->SetText(text);
    UpdateEventReport::GetInstance()->ReportEvent(UpdateEventReport::DownloadError);
    emit SetCurrentWidget(m_hintPage);
}

void LiveUpdateMgr::_FlushFailed()
{
    EndDownloaders();
    gDownloadState().downloadStarted = false;
    ShowDownloadError(tr("Failed to download the update."));
}

void LiveUpdateMgr::CloseDownloads()
{
    m_downloaders.CloseAll();
    m_flushSchedule->End();
}

void LiveUpdateMgr::CloseRange(int rangeNumber)
{
    m_downloaders.Close(rangeNumber);
    if (rangeNumber == ResumeState::rangeCount) {
        // With the last range the lock goes back: what is in the state from here on may be another's.
        m_flushSchedule->End();
    }
    // Once for each of the five ranges, whether it runs or not: hosts count on the repetition.
    emit Close();
}

void LiveUpdateMgr::_SuspendDownload()
{
    gDownloadState().downloadStarted = false;
}

void LiveUpdateMgr::KeepInstaller()
{
    gRememberInstaller(&m_productSettings, gDownloadState().installerReady);
    emit CancelInstall();
}
