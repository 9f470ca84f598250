// SPDX-License-Identifier: MIT

#include "demo/corvina/PreviewView.h"

#include <QPainter>
#include <QPainterPath>

namespace
{
constexpr int controlsHeight = 44;

/// The largest 16:9 picture within @p area.
QRect gPictureIn(const QRect &area)
{
    QRect picture(QPoint(0, 0), QSize(16, 9).scaled(area.size(), Qt::KeepAspectRatio));
    picture.moveCenter(area.center());
    return picture;
}

void gDrawLandscape(QPainter &painter, const QRect &picture)
{
    QLinearGradient sky(picture.topLeft(), picture.bottomLeft());
    sky.setColorAt(0, QColor(0x1d, 0x3a, 0x57));
    sky.setColorAt(0.6, QColor(0xd8, 0x8f, 0x6a));
    sky.setColorAt(1, QColor(0xf2, 0xc9, 0x8f));
    painter.fillRect(picture, sky);

    const auto ridge = [&](double from, double peak, double to, const QColor &color) {
        const auto at = [&](double x, double y) {
            return QPointF(picture.left() + x * picture.width(),
                           picture.top() + y * picture.height());
        };
        QPainterPath path(at(0, 1));
        path.lineTo(at(0, from));
        path.cubicTo(at(0.25, from), at(0.3, peak), at(0.45, peak));
        path.cubicTo(at(0.65, peak), at(0.7, to), at(1, to));
        path.lineTo(at(1, 1));
        painter.fillPath(path, color);
    };
    painter.setClipRect(picture);
    ridge(0.70, 0.48, 0.66, QColor(0x4a, 0x4f, 0x66));
    ridge(0.78, 0.84, 0.62, QColor(0x2c, 0x35, 0x4a));
    ridge(0.92, 0.80, 0.90, QColor(0x16, 0x1d, 0x2b));
    painter.setClipping(false);
}

void gDrawControls(QPainter &painter, const QRect &row)
{
    painter.setPen(QColor(0x8d, 0x9a, 0xa7));
    painter.drawText(row.adjusted(14, 0, 0, 0), Qt::AlignVCenter | Qt::AlignLeft,
                     QStringLiteral("00:00:12:08"));
    painter.drawText(row.adjusted(0, 0, -14, 0), Qt::AlignVCenter | Qt::AlignRight,
                     QStringLiteral("00:01:30:00"));
    const QPointF centre = QRectF(row).center();
    QPainterPath play(centre + QPointF(-6, -9));
    play.lineTo(centre + QPointF(10, 0));
    play.lineTo(centre + QPointF(-6, 9));
    play.closeSubpath();
    painter.fillPath(play, QColor(0xcd, 0xd5, 0xdd));
}
} // namespace

PreviewView::PreviewView(QWidget *parent)
    : QWidget(parent)
{
    setMinimumSize(360, 240);
}

void PreviewView::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.fillRect(rect(), QColor(0x0f, 0x13, 0x18));
    const QRect controls(0, height() - controlsHeight, width(), controlsHeight);
    gDrawLandscape(painter, gPictureIn(rect().adjusted(12, 12, -12, -controlsHeight)));
    painter.fillRect(controls, QColor(0x1c, 0x23, 0x2a));
    gDrawControls(painter, controls);
}
