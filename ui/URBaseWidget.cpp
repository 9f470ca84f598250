// SPDX-License-Identifier: MIT

#include "ui/URBaseWidget.h"

#include <QEvent>

URBaseWidget::URBaseWidget(QWidget *parent)
    : QWidget(parent)
{
    setAttribute(Qt::WA_StyledBackground, true);
}

void URBaseWidget::RetranslateUi() {}

bool URBaseWidget::event(QEvent *event)
{
    if (event->type() == QEvent::LanguageChange) {
        RetranslateUi();
    }
    return QWidget::event(event);
}
