// SPDX-License-Identifier: MIT

#include "ui/UpdateMainImpl.h"

#include "api/QuillonInit.h"
#include "api/UpdateTrust.h"
#include "ResourcePath.h"
#include "ui/TitleBar.h"
#include "update/base/DownloadState.h"
#include "update/base/DownloadSystem.h"
#include "update/LiveUpdateMgr.h"
#include "update/UpdateCommon/HintDisplay.h"
#include "update/UpdateCommon/ProgressDisplay.h"
#include "update/UpdateCommon/UpdateEventReport.h"
#include "update/UpdateCommon/VersionDisplay.h"

#include <QKeyEvent>
#include <QPointer>
#include <QStackedWidget>

#include <utility>

UpdateMainImpl::UpdateMainImpl(QWidget *parent)
    : URBaseWidget(parent)
{
    setAttribute(Qt::WA_StyledBackground);
    m_titleBar = new TitleBar(this);
    m_pages = new QStackedWidget(this);
    m_progressPage = new ProgressDisplay(nullptr);
    m_versionPage = new VersionDisplay(nullptr);
    m_hintPage = new HintDisplay(nullptr);
    m_pages->addWidget(m_progressPage);
    m_pages->addWidget(m_versionPage);
    m_pages->addWidget(m_hintPage);

    // The manager emits `SetCurrentWidget` while it is constructed, before the connection below. So
    // the dialog keeps its first size of 570 x 250 (tst_UpdateMain); the progress page is the
    // current one as the first that was added.
    const QString configDirectory = QuillonInit::GetConfigFileDir();
    m_manager =
        new LiveUpdateMgr(m_progressPage, m_versionPage, m_hintPage,
                          {gRealSystem(), gDownloadState(), gProcessReports(configDirectory),
                           configDirectory, UpdateTrust::GetPublicKeys()},
                          this);
    connect(m_manager, &LiveUpdateMgr::Close, this, &UpdateMainImpl::Close);
    connect(m_manager, &LiveUpdateMgr::RemindMeLater, this, &UpdateMainImpl::RemindMeLater);
    connect(m_manager, &LiveUpdateMgr::BeginInstall, this, &UpdateMainImpl::BeginInstall);
    connect(m_manager, &LiveUpdateMgr::InstallStarted, this, &UpdateMainImpl::InstallStarted);
    connect(m_manager, &LiveUpdateMgr::CancelInstall, this, &UpdateMainImpl::CancelInstall);
    connect(m_manager, &LiveUpdateMgr::SetCurrentWidget, this, &UpdateMainImpl::ShowPage);
    connect(m_titleBar, &TitleBar::Move, this, &UpdateMainImpl::Move);
    connect(m_titleBar, &TitleBar::Close, this, &UpdateMainImpl::OnTitleBarClose);

    const QString sheet = QStringLiteral(":/Quillon/Resources/Quillon.qss");
    setStyleSheet(QuillonInit::gGetStyleSheet(gGetResourcePathWithPixelRatio(sheet)));
    UpdateMainImpl::RetranslateUi();
}

void UpdateMainImpl::LiveUpdate(QString pid, QString version, QString email)
{
    m_manager->LiveUpdate(std::move(pid), std::move(version), std::move(email));
}

void UpdateMainImpl::LiveUpdate()
{
    m_manager->LiveUpdate();
}

bool UpdateMainImpl::IsNeedUpdate()
{
    return m_manager->IsNeedUpdate();
}

void UpdateMainImpl::Install()
{
    m_manager->Install();
}

void UpdateMainImpl::ShowPage(QWidget *page)
{
    constexpr QSize versionPageSize(640, 320);
    constexpr QSize otherPageSize(640, 270);

    m_pages->setCurrentWidget(page);
    emit Resize(page == m_versionPage ? versionPageSize : otherPageSize);
    page->show();
}

void UpdateMainImpl::RetranslateUi()
{
    m_titleBar->SetTitle(tr("Live Update"));
}

void UpdateMainImpl::resizeEvent(QResizeEvent * /*event*/)
{
    constexpr int frame = 1;
    constexpr int titleBarHeight = 30;

    m_titleBar->setGeometry(frame, frame, width() - 2 * frame, titleBarHeight);
    const int pagesTop = m_titleBar->geometry().bottom() + 1;
    m_pages->setGeometry(frame, pagesTop, width() - 2 * frame, height() - pagesTop);
}

bool UpdateMainImpl::eventFilter(QObject *dialog, QEvent *event)
{
    const bool isEscape = event->type() == QEvent::KeyPress &&
                          static_cast<QKeyEvent *>(event)->matches(QKeySequence::Cancel);
    // Spontaneous: from the window system. A call of close() by the host or by a slot is not.
    const bool isClosed = event->type() == QEvent::Close && event->spontaneous();
    if (!isEscape && !isClosed) {
        return URBaseWidget::eventFilter(dialog, event);
    }
    event->accept();
    const QPointer<UpdateMainImpl> alive(this);
    OnTitleBarClose();
    // A window that the system closes does not close a second time, so the calls of close() behind
    // `Close` have done nothing. The dialog takes the event and ends, with `finished`.
    return isEscape || alive == nullptr;
}

void UpdateMainImpl::OnTitleBarClose()
{
    const QWidget *const closedPage = m_pages->currentWidget();
    // A host may delete the dialog in its slot for Close, and this object with it.
    const QPointer<UpdateMainImpl> alive(this);
    emit Close();
    if (alive == nullptr) {
        return;
    }
    if (closedPage == m_progressPage) {
        // As the page's own button: each range saves its state and ends, and emits `Close`.
        emit m_progressPage->Close();
    } else {
        // The hint page may show the failure of one range while the others still run.
        m_manager->CloseDownloads();
    }
}
