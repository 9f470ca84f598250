// SPDX-License-Identifier: MIT

#include "update/UpdateCommon/VersionDisplay.h"

#include "CvButton.h"

#include <QFontMetrics>
#include <QLabel>
#include <QScrollArea>

namespace
{
int gButtonWidth(const CvButton &button)
{
    return QFontMetrics(button.font()).horizontalAdvance(button.text()) + 20;
}
} // namespace

VersionDisplay::VersionDisplay(QWidget *parent)
    : URBaseWidget(parent)
{
    setAttribute(Qt::WA_StyledBackground);
    m_scrollArea = new QScrollArea(this);
    m_versionLabel = new QLabel;
    m_versionLabel->setWordWrap(true);
    m_versionLabel->setObjectName(QStringLiteral("VersionDisplay_VersionLabel"));
    m_scrollArea->setWidgetResizable(true);
    m_scrollArea->setWidget(m_versionLabel);
    m_scrollArea->setVerticalScrollBarPolicy(Qt::ScrollBarAsNeeded);
    m_updateButton = new CvButton(this);
    m_remindButton = new CvButton(this);
    m_updateButton->setObjectName(QStringLiteral("CvCommonLib_Normal_Btn"));
    m_remindButton->setObjectName(QStringLiteral("CvCommonLib_Normal_Btn"));
    connect(m_updateButton, &QAbstractButton::clicked, this, &VersionDisplay::UpdateNow);
    connect(m_remindButton, &QAbstractButton::clicked, this, &VersionDisplay::RemindMeLater);
    VersionDisplay::RetranslateUi();
}

void VersionDisplay::SetText(QString html)
{
    m_versionLabel->setText(html);
}

void VersionDisplay::RetranslateUi()
{
    m_updateButton->setText(tr("Update Now"));
    m_remindButton->setText(tr("Remind Me Later"));
    VersionDisplay::resizeEvent(nullptr);
}

void VersionDisplay::resizeEvent(QResizeEvent * /*event*/)
{
    constexpr int margin = 20;
    constexpr int buttonRowHeight = 50;
    constexpr int buttonHeight = 30;

    m_scrollArea->setGeometry(margin, 0, width() - margin, height() - buttonRowHeight);
    const int top = m_scrollArea->geometry().bottom() + 10;

    // The buttons grow with their texts and stay at the right.
    const int remindWidth = gButtonWidth(*m_remindButton);
    const int remindLeft = width() - margin - remindWidth;
    m_remindButton->setGeometry(remindLeft, top, remindWidth, buttonHeight);
    const int updateWidth = gButtonWidth(*m_updateButton);
    m_updateButton->setGeometry(remindLeft - updateWidth - margin, top, updateWidth, buttonHeight);
}
