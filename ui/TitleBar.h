// SPDX-License-Identifier: MIT

#pragma once

#include "ui/URBaseWidget.h"

#include <QPoint>

class ImageButton;
class QLabel;

/// The caption strip of a frameless window: caption, close button, drag to move.
///
/// Thread: GUI thread. Ownership: its Qt parent. A bar with a parent does not move itself: it emits
/// `Move`, and the owner moves the window.
class TitleBar : public URBaseWidget
{
    Q_OBJECT

public:
    explicit TitleBar(QWidget *parent);

    void SetTitle(QString text);
    void SetCloseEnabled(bool enabled);

signals:
    /// The close button was pressed. The bar itself closes nothing.
    void Close();
    /// The bar was dragged: the pointer is (x, y) logical pixels away from where it was pressed,
    /// measured on the bar. When the owner moves the window by (x, y), the bar moves along, and the
    /// next signal carries only the next step.
    void Move(int x, int y);

protected:
    void mousePressEvent(QMouseEvent *event) override;
    void mouseMoveEvent(QMouseEvent *event) override;
    void resizeEvent(QResizeEvent *event) override;

private:
    QLabel *m_captionLabel;
    ImageButton *m_closeButton;
    QPoint m_pressPosition;
    QWidget *m_window;
};
