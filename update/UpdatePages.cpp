// SPDX-License-Identifier: MIT

#include "update/UpdatePages.h"

#include "update/base/SizeText.h"
#include "update/base/Texts.h"
#include "update/check/VersionPageHtml.h"
#include "update/UpdateCommon/HintDisplay.h"
#include "update/UpdateCommon/ProgressDisplay.h"
#include "update/UpdateCommon/VersionDisplay.h"
#include "update/UpdateCommon/VersionInfo.h"

#include <QPointer>

namespace
{
constexpr char checking[] = QT_TRANSLATE_NOOP("LiveUpdateMgr", "Checking the version.");
constexpr char upToDate[] =
    QT_TRANSLATE_NOOP("LiveUpdateMgr", "Your current version is the latest version!");
constexpr char checkFailed[] = QT_TRANSLATE_NOOP("LiveUpdateMgr", "Failed to check update!");
constexpr char downloadStarts[] =
    QT_TRANSLATE_NOOP("LiveUpdateMgr", "Downloading the update, please wait.");
constexpr char downloading[] = QT_TRANSLATE_NOOP(
    "LiveUpdateMgr", "Downloading the update, please wait...(downloaded %1,total %2)");
constexpr char downloadFailed[] =
    QT_TRANSLATE_NOOP("LiveUpdateMgr", "Failed to download the update.");
} // namespace

UpdatePages::UpdatePages(ProgressDisplay *progress, VersionDisplay *version, HintDisplay *hint,
                         QObject *parent)
    : QObject(parent)
    , m_progressPage(progress)
    , m_versionPage(version)
    , m_hintPage(hint)
{
}

void UpdatePages::ShowProgressPage()
{
    emit SetCurrentWidget(m_progressPage);
}

bool UpdatePages::ShowChecking()
{
    const QPointer<UpdatePages> alive(this);
    emit SetCurrentWidget(m_progressPage);
    if (alive == nullptr) {
        return false;
    }
    m_progressPage->SetText(gTranslateForUpdate(checking));
    m_progressPage->SetBusy();
    m_progressPage->SetCloseVisible(0);
    return true;
}

void UpdatePages::ShowVersionPage()
{
    emit SetCurrentWidget(m_versionPage);
}

void UpdatePages::ShowAnswer(const VersionInfo &manifest)
{
    if (manifest.HasExeUrl()) {
        m_versionPage->SetText(BuildVersionPageHtml(manifest.ReleaseNotes()));
        return;
    }
    SetHint(gTranslateForUpdate(upToDate));
    ShowHintPage();
}

void UpdatePages::ShowCheckFailure(bool isSpelledOut)
{
    if (isSpelledOut) {
        SetHint(gTranslateForUpdate(checkFailed));
    }
    ShowHintPage();
}

void UpdatePages::SetDownloadStart()
{
    m_progressPage->SetText(gTranslateForUpdate(downloadStarts));
    m_progressPage->SetBusy();
    m_progressPage->SetCloseVisible(1);
}

void UpdatePages::SetProgress(qint64 downloaded, qint64 total)
{
    m_progressPage->SetText(
        gTranslateForUpdate(downloading).arg(gFormatSize(downloaded), gFormatSize(total)));
    m_progressPage->SetMaximum(static_cast<int>(total));
    m_progressPage->SetValue(static_cast<int>(downloaded));
}

void UpdatePages::ShowPlanFailure()
{
    SetHint(QLatin1String(downloadFailed));
    ShowHintPage();
}

void UpdatePages::SetHint(const QString &text)
{
    m_hintPage->SetText(text);
}

void UpdatePages::ShowHintPage()
{
    emit SetCurrentWidget(m_hintPage);
}

QString UpdatePages::DownloadFailedText()
{
    return gTranslateForUpdate(downloadFailed);
}
