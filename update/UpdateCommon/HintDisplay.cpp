// SPDX-License-Identifier: MIT

#include "update/UpdateCommon/HintDisplay.h"

#include "CvButton.h"

#include <QLabel>

HintDisplay::HintDisplay(QWidget *parent)
    : URBaseWidget(parent)
    , m_hintLabel(new QLabel(this))
    , m_closeButton(new CvButton(this))
{
    m_closeButton->setObjectName(QStringLiteral("CvCommonLib_Normal_Btn"));
    m_closeButton->setFocusPolicy(Qt::NoFocus);
    connect(m_closeButton, &QAbstractButton::clicked, this, &HintDisplay::Close);
    HintDisplay::RetranslateUi();
}

void HintDisplay::SetText(QString text)
{
    m_hintLabel->setText(text);
}

void HintDisplay::RetranslateUi()
{
    m_closeButton->setText(tr("Close"));
}

void HintDisplay::resizeEvent(QResizeEvent * /*event*/)
{
    m_hintLabel->setGeometry(10, 0, width() - 10, height() - 70);
    m_closeButton->setGeometry(width() - 100, m_hintLabel->geometry().bottom() + 10, 80, 30);
}
