// SPDX-License-Identifier: MIT

#include "demo/corvina/DemoWindow.h"

#include "demo/corvina/PreviewView.h"
#include "demo/corvina/TimelineView.h"

#include <QGridLayout>
#include <QListWidget>
#include <QMenu>
#include <QMenuBar>
#include <QStatusBar>

namespace
{
// Set on single widgets, because the update dialog would inherit a style sheet of the window.
const char *const menuLook = R"(
QMenuBar { background: #1C232A; color: #CDD5DD; padding: 3px; }
QMenuBar::item { background: transparent; padding: 4px 10px; }
QMenuBar::item:selected { background: #2A343F; }
)";
const char *const dropDownLook = R"(
QMenu { background: #1C232A; color: #CDD5DD; border: 1px solid #2A343F; }
QMenu::item { padding: 5px 28px 5px 18px; }
QMenu::item:selected { background: #2A343F; }
QMenu::item:disabled { color: #516A7C; }
)";
const char *const paneLook = R"(
QWidget#DemoWindow_Panes { background: #0A0D10; }
QListWidget { background: #151A20; color: #8D9AA7; border: none; padding: 8px; outline: none; }
QListWidget::item { border: none; padding: 8px; }
QListWidget::item:selected { background: #2A343F; color: #CDD5DD; }
)";
const char *const statusLook = "QStatusBar { background: #1C232A; color: #6D8698; }";
} // namespace

DemoWindow::DemoWindow(const QString &productVersion)
{
    setWindowTitle(QStringLiteral("Corvina %1 - Coastline.cvp").arg(productVersion));
    CreateMenus();
    CreatePanes();
    statusBar()->setStyleSheet(QLatin1String(statusLook));
    statusBar()->setSizeGripEnabled(false);
    statusBar()->showMessage(QStringLiteral("1920 x 1080, 25 fps"));
    resize(1080, 680);
}

void DemoWindow::CreateMenus()
{
    menuBar()->setNativeMenuBar(false);
    menuBar()->setStyleSheet(QLatin1String(menuLook));
    const auto addMenu = [this](const QString &title) {
        QMenu *menu = menuBar()->addMenu(title);
        menu->setStyleSheet(QLatin1String(dropDownLook));
        return menu;
    };
    connect(addMenu(tr("&File"))->addAction(tr("E&xit")), &QAction::triggered, this,
            &DemoWindow::close);
    addMenu(tr("&Edit"))->addAction(tr("&Undo"))->setEnabled(false);
    addMenu(tr("&View"))->addAction(tr("&Full Screen"))->setEnabled(false);
    connect(addMenu(tr("&Help"))->addAction(tr("Check for &Updates...")), &QAction::triggered, this,
            &DemoWindow::CheckRequested);
}

QWidget *DemoWindow::CreateMediaList()
{
    auto *list = new QListWidget;
    list->addItems({QStringLiteral("harbour_dawn.mp4"), QStringLiteral("drone_ridge.mp4"),
                    QStringLiteral("interview_b.mp4"), QStringLiteral("score_main.wav"),
                    QStringLiteral("ambience.wav")});
    list->setCurrentRow(1);
    list->setFixedWidth(260);
    return list;
}

void DemoWindow::CreatePanes()
{
    auto *panes = new QWidget(this);
    panes->setObjectName(QStringLiteral("DemoWindow_Panes"));
    panes->setStyleSheet(QLatin1String(paneLook));
    auto *grid = new QGridLayout(panes);
    grid->setContentsMargins(2, 2, 2, 2);
    grid->setSpacing(2);
    grid->addWidget(CreateMediaList(), 0, 0);
    grid->addWidget(new PreviewView(panes), 0, 1);
    grid->addWidget(new TimelineView(panes), 1, 0, 1, 2);
    grid->setRowStretch(0, 1);
    grid->setColumnStretch(1, 1);
    setCentralWidget(panes);
}
