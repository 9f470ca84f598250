// SPDX-License-Identifier: MIT

#pragma once

#include <QMainWindow>
#include <QString>

/// The stage set: a window that looks like a video editor, with the one menu entry that matters
/// here.
///
/// Thread: GUI thread. Ownership: created on the stack.
class DemoWindow : public QMainWindow
{
    Q_OBJECT

public:
    explicit DemoWindow(const QString &productVersion);

signals:
    /// Help, Check for Updates.
    void CheckRequested();

private:
    void CreateMenus();
    QWidget *CreateMediaList();
    void CreatePanes();
};
