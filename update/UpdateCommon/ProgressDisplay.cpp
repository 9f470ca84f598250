// SPDX-License-Identifier: MIT

#include "update/UpdateCommon/ProgressDisplay.h"

#include "CvButton.h"

#include <QLabel>
#include <QProgressBar>

ProgressDisplay::ProgressDisplay(QWidget *parent)
    : URBaseWidget(parent)
    , m_progressLabel(new QLabel(this))
    , m_percentLabel(new QLabel(this))
    , m_progressBar(new QProgressBar(this))
    , m_closeButton(new CvButton(this))
{
    m_closeButton->setObjectName(QStringLiteral("CvCommonLib_Normal_Btn"));
    m_closeButton->setFocusPolicy(Qt::NoFocus);
    m_progressBar->setTextVisible(false);
    connect(m_closeButton, &QAbstractButton::clicked, this, &ProgressDisplay::Close);
    connect(m_progressBar, &QProgressBar::valueChanged, this, &ProgressDisplay::OnValueChanged);
    m_progressLabel->setAlignment(Qt::AlignLeft | Qt::AlignBottom);
    m_progressLabel->setWordWrap(true);
    m_progressLabel->setObjectName(QStringLiteral("UpdateProgressLabel"));
    m_progressBar->setObjectName(QStringLiteral("UpdateProgressBar"));
    constexpr int pauseMs = 100;
    m_pause.setSingleShot(true);
    m_pause.setInterval(pauseMs);
    connect(&m_pause, &QTimer::timeout, this, &ProgressDisplay::DrawHeld);
    ProgressDisplay::RetranslateUi();
}

void ProgressDisplay::SetText(QString text)
{
    HoldDrawing();
    m_progressLabel->setText(text);
}

void ProgressDisplay::SetBusy()
{
    m_progressBar->setMaximum(0);
    m_progressBar->setMinimum(0);
    // No change of the value tells of it.
    OnValueChanged();
}

void ProgressDisplay::SetMaximum(int maximum)
{
    HoldDrawing();
    m_progressBar->setMaximum(maximum);
}

void ProgressDisplay::SetValue(int value)
{
    HoldDrawing();
    m_progressBar->setValue(value);
}

void ProgressDisplay::SetCloseVisible(int visible)
{
    m_closeVisible = visible;
    m_closeButton->setVisible(visible != 0);
}

void ProgressDisplay::RetranslateUi()
{
    m_closeButton->setText(tr("Close"));
}

/// The page is drawn anyway, or a picture of it is taken: what of its children lies there is drawn
/// next, and must not be left out.
void ProgressDisplay::paintEvent(QPaintEvent *event)
{
    SetDrawingBlocked(false);
    URBaseWidget::paintEvent(event);
}

void ProgressDisplay::resizeEvent(QResizeEvent * /*event*/)
{
    constexpr int left = 20;

    m_progressLabel->setGeometry(left, height() / 2 - 72, width() - 20, 40);
    const int labelBottom = m_progressLabel->geometry().bottom();
    m_progressBar->setGeometry(left, labelBottom + 20, width() - 70, 4);
    // The percentage stands beside the bar: its 40 pixels straddle the bar's four.
    m_percentLabel->setGeometry(m_progressBar->geometry().right() + 5, labelBottom, 40, 40);
    m_closeButton->setGeometry(width() - 100, height() - 50, 80, 30);
}

void ProgressDisplay::OnValueChanged()
{
    m_percentLabel->setText(m_progressBar->text());
}

/// Draws the first change at once and holds back those that follow it closely. They would be drawn
/// in every pass of the event loop, with the page and the dialog behind them, which takes ten times
/// as long as setting them.
void ProgressDisplay::HoldDrawing()
{
    if (m_pause.isActive()) {
        m_isHeld = true;
        SetDrawingBlocked(true);
    } else {
        m_pause.start();
    }
}

void ProgressDisplay::DrawHeld()
{
    if (!m_isHeld) {
        return;
    }
    m_isHeld = false;
    SetDrawingBlocked(false);
    m_progressLabel->update();
    m_percentLabel->update();
    m_progressBar->update();
    m_pause.start();
}

/// Not by `setUpdatesEnabled`: it asks for a drawing each time that it takes the block away, also
/// while the page is being drawn, and so for one drawing after the other.
void ProgressDisplay::SetDrawingBlocked(bool blocked)
{
    m_progressLabel->setAttribute(Qt::WA_UpdatesDisabled, blocked);
    m_percentLabel->setAttribute(Qt::WA_UpdatesDisabled, blocked);
    m_progressBar->setAttribute(Qt::WA_UpdatesDisabled, blocked);
}
