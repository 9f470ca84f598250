// SPDX-License-Identifier: MIT

#pragma once

#include "ui/URBaseWidget.h"

#include <QSize>

class HintDisplay;
class LiveUpdateMgr;
class ProgressDisplay;
class QStackedWidget;
class TitleBar;
class VersionDisplay;

/// The content of the update dialog: title bar, the three pages, and the manager that drives them.
///
/// Thread: GUI thread. Ownership: its Qt parent; it owns the title bar, the pages and the manager.
class UpdateMainImpl : public URBaseWidget
{
    Q_OBJECT

public:
    explicit UpdateMainImpl(QWidget *parent);

    /// Forwarded unchanged to the manager's function of the same name.
    void LiveUpdate(QString pid, QString version, QString email);
    void LiveUpdate();
    bool IsNeedUpdate();
    void Install();

    /// Makes @p page the current one and asks the dialog for its size.
    void ShowPage(QWidget *page);

    void RetranslateUi() override;

    /// For the dialog: Escape, and the system's own ways to close a window, do what the title bar's button
    /// does. A dialog that was only hidden would go on downloading unseen.
    bool eventFilter(QObject *dialog, QEvent *event) override;

signals:
    void Close();
    void BeginInstall();
    void CancelInstall();
    void InstallStarted();
    void RemindMeLater();
    /// The title bar was dragged by (x, y) logical pixels.
    void Move(int x, int y);
    /// The page just shown wants the dialog to have this size.
    void Resize(QSize size);

protected:
    void resizeEvent(QResizeEvent *event) override;

private:
    void OnTitleBarClose();

    TitleBar *m_titleBar;
    ProgressDisplay *m_progressPage;
    VersionDisplay *m_versionPage;
    HintDisplay *m_hintPage;
    LiveUpdateMgr *m_manager;
    QStackedWidget *m_pages;
};
