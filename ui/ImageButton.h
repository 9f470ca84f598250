// SPDX-License-Identifier: MIT

#pragma once

#include <QWidget>

/// A button that is only a styled rectangle; its images come from the style sheet.
///
/// Thread: GUI thread. Ownership: its Qt parent.
class ImageButton : public QWidget
{
    Q_OBJECT

public:
    explicit ImageButton(QWidget *parent);

signals:
    /// Any mouse button was pressed on it. Emitted at the press, not at the release. A slot may
    /// delete the button.
    void Clicked();

protected:
    void mousePressEvent(QMouseEvent *event) override;
};
