// SPDX-License-Identifier: MIT

#include "ui/TitleBar.h"

#include "ui/ImageButton.h"

#include <QGuiApplication>
#include <QLabel>
#include <QMouseEvent>
#include <QScreen>

TitleBar::TitleBar(QWidget *parent)
    : URBaseWidget(parent)
    , m_captionLabel(new QLabel(this))
    , m_closeButton(new ImageButton(this))
    , m_window(parent)
{
    setAttribute(Qt::WA_StyledBackground, true);
    m_captionLabel->setObjectName(QStringLiteral("Quillon_TitleBar_CaptionLabel"));
    m_closeButton->setObjectName(QStringLiteral("Quillon_TitleBar_CloseBtn"));
    connect(m_closeButton, &ImageButton::Clicked, this, &TitleBar::Close);
}

void TitleBar::SetTitle(QString text)
{
    m_captionLabel->setText(text);
}

void TitleBar::SetCloseEnabled(bool enabled)
{
    m_closeButton->setEnabled(enabled);
}

void TitleBar::mousePressEvent(QMouseEvent *event)
{
    m_pressPosition = event->pos();
}

void TitleBar::mouseMoveEvent(QMouseEvent *event)
{
    // A drag ends above the bottom of the primary screen's free area, so that the bar is not moved
    // under the task bar. The other edges do not limit it.
    const int limit = QGuiApplication::primaryScreen()->availableGeometry().bottom() - 1;
    QPoint global = mapToGlobal(event->pos());
    global.setY(qMin(global.y(), limit));
    const QPoint step = mapFromGlobal(global) - m_pressPosition;
    if (m_window != nullptr) {
        emit Move(step.x(), step.y());
    } else {
        // A bar without a window, as only tst_TitleBar makes one, moves to the step as a position.
        move(step.x(), step.y());
    }
}

void TitleBar::resizeEvent(QResizeEvent * /*event*/)
{
    constexpr int captionLeft = 20;
    constexpr int captionGap = 44;
    constexpr int buttonSize = 24;

    m_captionLabel->setGeometry(captionLeft, 0, width() - captionGap, height());
    m_closeButton->setGeometry(width() - buttonSize, (height() - buttonSize) / 2, buttonSize,
                               buttonSize);
}
