// SPDX-License-Identifier: MIT

#include "MessageIcon.h"

#include <QPainter>
#include <QPainterPath>

namespace
{
// All numbers below are logical pixels of the 36 x 36 icon.
constexpr int side = 36;
const QColor accent(0x61, 0xDE, 0xD0);

QPainterPath gQuestionMark()
{
    QPainterPath path;
    path.arcMoveTo(13.25, 9.5, 9.5, 9.5, 180);
    path.arcTo(13.25, 9.5, 9.5, 9.5, 180, -225);
    path.quadTo(18, 19.2, 18, 22);
    return path;
}

QPainterPath gInformationMark()
{
    QPainterPath path(QPointF(18, 16.5));
    path.lineTo(18, 26);
    return path;
}
} // namespace

MessageIcon::MessageIcon(QWidget *parent)
    : QLabel(parent)
{
    setFixedSize(side, side);
}

MessageIcon::~MessageIcon() = default;

void MessageIcon::paintEvent(QPaintEvent *)
{
    const bool asks = objectName() == QLatin1String("MessageBox_Icon_Question");
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(QPen(accent, 2));
    painter.drawEllipse(QRectF(2, 2, side - 4, side - 4));
    painter.setPen(QPen(accent, 2.6, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
    painter.drawPath(asks ? gQuestionMark() : gInformationMark());
    painter.setPen(Qt::NoPen);
    painter.setBrush(accent);
    painter.drawEllipse(asks ? QPointF(18, 26.6) : QPointF(18, 11), 1.9, 1.9);
}
