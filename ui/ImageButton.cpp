#include "ui/ImageButton.h"

#include <QMouseEvent>

ImageButton::ImageButton(QWidget *parent)
    : QWidget(parent)
{
    setAttribute(Qt::WA_StyledBackground, true);
}

void ImageButton::mousePressEvent(QMouseEvent *event)
{
    emit Clicked();
    QWidget::mousePressEvent(event);
}
