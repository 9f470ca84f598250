// SPDX-License-Identifier: MIT

#pragma once

#include <QMainWindow>
#include <QString>

/// The main window of the demo host. It looks like a video editor; its one working menu entry
/// checks for updates.
///
/// Thread: GUI thread. Ownership: created on the stack.
class DemoWindow : public QMainWindow
{
    Q_OBJECT

public:
    explicit DemoWindow(const QString &productVersion);

signals:
    /// The menu entry Help, Check for Updates was chosen.
    void CheckRequested();

private:
    void CreateMenus();
    QWidget *CreateMediaList();
    void CreatePanes();
};
