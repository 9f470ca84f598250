// SPDX-License-Identifier: MIT

#include "update/install/InstallOffer.h"

#include "ui/URMessageBox.h"
#include "update/base/Texts.h"
#include "update/install/InstallerLaunch.h"

#include <QPointer>

namespace
{
constexpr char title[] = QT_TRANSLATE_NOOP("DownloadMgr", "Information");
constexpr char downloadedText[] = QT_TRANSLATE_NOOP(
    "DownloadMgr",
    "Download completed. However, the program is running. Please click Yes to terminate the "
    "program and install the new version. Click Cancel to install it next time.");
constexpr char keptText[] = QT_TRANSLATE_NOOP(
    "DownloadMgr",
    "A new version has been found in your device. However, the program is running. Please click "
    "Yes to terminate the program and install the new version. Click Cancel to install it next "
    "time.");
} // namespace

InstallOffer::InstallOffer(EventSink &events, QObject *parent)
    : QObject(parent)
    , m_events(events)
    , m_messageBox(new URMessageBox(URMessageBox::Question, this))
{
    connect(m_messageBox, &URMessageBox::Yes, this, &InstallOffer::OnYes);
    connect(m_messageBox, &URMessageBox::Cancel, this, &InstallOffer::OnCancel);
}

void InstallOffer::OfferDownloaded(const QString &installer)
{
    m_installer = installer;
    const QPointer<InstallOffer> alive(this);
    emit BeginInstall();
    if (alive != nullptr) {
        m_messageBox->ShowMessage(gTranslateForDownload(title),
                                  gTranslateForDownload(downloadedText));
    }
}

void InstallOffer::OfferKept(const QString &installer)
{
    m_installer = installer;
    m_messageBox->ShowMessage(gTranslateForDownload(title), gTranslateForDownload(keptText));
}

void InstallOffer::Install()
{
    if (m_installRequested) {
        Start(m_installer);
    }
}

void InstallOffer::OnYes()
{
    m_installRequested = true;
    const QString installer = m_installer;
    EventSink &events = m_events;
    const QPointer<InstallOffer> alive(this);
    emit Close();
    // The installer is started even if the host has deleted the dialog in its slot for Close.
    if (gLaunchInstaller(installer, events) && alive != nullptr) {
        emit InstallStarted();
    }
}

void InstallOffer::OnCancel()
{
    m_installRequested = false;
    const QPointer<InstallOffer> alive(this);
    emit CancelInstall();
    if (alive != nullptr) {
        emit Close();
    }
}

void InstallOffer::Start(const QString &installer)
{
    if (gLaunchInstaller(installer, m_events)) {
        emit InstallStarted();
    }
}
