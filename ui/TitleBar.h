// SPDX-License-Identifier: MIT

#pragma once

#include "ui/URBaseWidget.h"

#include <QPoint>

class ImageButton;
class QLabel;

/// The caption strip of a frameless window: caption, close button, drag to move.
///
/// Thread: GUI thread. Ownership: its Qt parent, which is also the window that it asks to move.
class TitleBar : public URBaseWidget
{
    Q_OBJECT

public:
    explicit TitleBar(QWidget *parent);

    void SetTitle(QString text);
    void SetCloseEnabled(bool enabled);

signals:
    /// The close button was pressed; the owner decides what closing means.
    void Close();
    /// The bar was dragged by (x, y) logical pixels since the press. As the bar moves along with
    /// its window, each signal carries only the step since the last one.
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
