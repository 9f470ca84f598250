// SPDX-License-Identifier: MIT

#pragma once

#include "ui/URBaseWidget.h"

#include <QTimer>

class CvButton;
class QLabel;
class QProgressBar;

/// The page with one line of status text, a thin progress bar and its percentage, and "Close".
///
/// A download sets text and value with each chunk, some hundred times a second. Each call takes
/// effect at once; what has changed is drawn ten times a second and, in the end, always.
///
/// Thread: GUI thread. Ownership: its Qt parent.
class ProgressDisplay : public URBaseWidget
{
    Q_OBJECT

public:
    explicit ProgressDisplay(QWidget *parent);

    void SetText(QString text);
    /// Busy mode: the bar shows that something goes on, but not how much, and the
    /// percentage is empty. `SetMaximum` ends it.
    void SetBusy();
    /// Bytes, as the bar's own 32-bit type holds them.
    void SetMaximum(int maximum);
    void SetValue(int value);
    /// Non-zero shows the close button, 0 hides it.
    void SetCloseVisible(int visible);

    void RetranslateUi() override;

signals:
    void Close();

protected:
    void paintEvent(QPaintEvent *event) override;
    void resizeEvent(QResizeEvent *event) override;

private:
    void OnValueChanged();
    void HoldDrawing();
    void DrawHeld();
    void SetDrawingBlocked(bool blocked);

    QTimer m_pause; // between two drawings
    bool m_isHeld = false;
    int m_closeVisible = 0;
    QLabel *m_progressLabel;
    QLabel *m_percentLabel;
    QProgressBar *m_progressBar;
    CvButton *m_closeButton;
};
