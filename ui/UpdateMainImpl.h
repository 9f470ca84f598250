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

    /// Makes @p page the current one and emits `Resize` with its size.
    void ShowPage(QWidget *page);

    void RetranslateUi() override;

    /// The event filter of the dialog: Escape and the system's own ways to close a window do what
    /// the title bar's button does. Without it `QDialog` would only hide the dialog, and the
    /// download would go on unseen.
    bool eventFilter(QObject *dialog, QEvent *event) override;

signals:
    /// The manager's signals, passed on; `Close` also comes from the title bar. UpdateMain.h
    /// describes them.
    void Close();
    void BeginInstall();
    void CancelInstall();
    void InstallStarted();
    void RemindMeLater();
    /// The title bar was dragged by (x, y) logical pixels.
    void Move(int x, int y);
    /// A page was shown; the dialog is to have this size in logical pixels.
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
