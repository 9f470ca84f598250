// SPDX-License-Identifier: MIT

#include "ui/ImageButton.h"

#include <QMouseEvent>
#include <QPointer>

ImageButton::ImageButton(QWidget *parent)
    : QWidget(parent)
{
    setAttribute(Qt::WA_StyledBackground, true);
}

void ImageButton::mousePressEvent(QMouseEvent *event)
{
    const QPointer<ImageButton> alive(this);
    emit Clicked();
    if (alive != nullptr) {
        QWidget::mousePressEvent(event);
    } else {
        event->accept(); // The widgets that would be asked next may be gone as well.
    }
}
