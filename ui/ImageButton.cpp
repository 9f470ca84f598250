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
        // A slot deleted the button. The parents, to which Qt would propagate the press, may be
        // deleted as well.
        event->accept();
    }
}
