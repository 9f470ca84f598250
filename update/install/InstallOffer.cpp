// SPDX-License-Identifier: MIT

#include "update/install/InstallOffer.h"

#include "ui/URMessageBox.h"
#include "update/base/Texts.h"
#include "update/install/InstallerLaunch.h"

#include <QPointer>

#include <utility>

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

bool gLaunch(const QString &installer, const std::shared_ptr<PrivateCopy> &copy, EventSink &events)
{
    const bool isStarted = gLaunchInstaller(installer, events);
    if (isStarted && copy != nullptr) {
        copy->Leave();
    }
    return isStarted;
}
} // namespace

InstallOffer::InstallOffer(EventSink &events, QObject *parent)
    : QObject(parent)
    , m_events(events)
    , m_messageBox(new URMessageBox(URMessageBox::Question, this))
{
    connect(m_messageBox, &URMessageBox::Yes, this, &InstallOffer::OnYes);
    connect(m_messageBox, &URMessageBox::Cancel, this, &InstallOffer::OnCancel);
}

void InstallOffer::Take(const QString &installer, std::shared_ptr<PrivateCopy> copy)
{
    m_installer = copy != nullptr ? copy->Path() : installer;
    m_copy = std::move(copy);
}

void InstallOffer::OfferDownloaded(const QString &installer, std::shared_ptr<PrivateCopy> copy)
{
    Take(installer, std::move(copy));
    const QPointer<InstallOffer> alive(this);
    emit BeginInstall();
    if (alive != nullptr) {
        m_messageBox->ShowMessage(gTranslateForDownload(title),
                                  gTranslateForDownload(downloadedText));
    }
}

void InstallOffer::OfferKept(const QString &installer, std::shared_ptr<PrivateCopy> copy)
{
    Take(installer, std::move(copy));
    m_messageBox->ShowMessage(gTranslateForDownload(title), gTranslateForDownload(keptText));
}

void InstallOffer::Install()
{
    if (m_installRequested && gLaunch(m_installer, m_copy, m_events)) {
        emit InstallStarted();
    }
}

void InstallOffer::OnYes()
{
    m_installRequested = true;
    const QString installer = m_installer;
    const std::shared_ptr<PrivateCopy> copy = m_copy;
    EventSink &events = m_events;
    const QPointer<InstallOffer> alive(this);
    emit Close();
    // The installer is started even if the host has deleted the dialog in its slot for Close.
    if (gLaunch(installer, copy, events) && alive != nullptr) {
        emit InstallStarted();
    }
}

void InstallOffer::OnCancel()
{
    m_installRequested = false;
    m_copy.reset();
    const QPointer<InstallOffer> alive(this);
    emit CancelInstall();
    if (alive != nullptr) {
        emit Close();
    }
}
