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
    /// A mouse button, any of them, was pressed on it. It does not wait for the release.
    void Clicked();

protected:
    void mousePressEvent(QMouseEvent *event) override;
};
