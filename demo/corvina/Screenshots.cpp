// SPDX-License-Identifier: MIT

#include "demo/corvina/Screenshots.h"

#include <QCoreApplication>
#include <QDir>
#include <QEvent>
#include <QLinearGradient>
#include <QPainter>
#include <QPixmap>
#include <QWidget>

namespace
{
constexpr int desktopMargin = 40;

QPixmap gOnDesktop(const QPixmap &window)
{
    const qreal ratio = window.devicePixelRatio();
    const QSizeF size =
        QSizeF(window.size()) / ratio + QSizeF(2 * desktopMargin, 2 * desktopMargin);
    QPixmap desktop((size * ratio).toSize());
    desktop.setDevicePixelRatio(ratio);

    QLinearGradient sky(0, 0, 0, size.height());
    sky.setColorAt(0, QColor(0xa9, 0xb4, 0xbf));
    sky.setColorAt(1, QColor(0x7c, 0x88, 0x95));
    QPainter painter(&desktop);
    painter.fillRect(QRectF(QPointF(0, 0), size), sky);
    painter.drawPixmap(QPointF(desktopMargin, desktopMargin), window);
    return desktop;
}
} // namespace

Screenshots::Screenshots(const QString &directory)
    : m_directory(directory)
{
    if (!m_directory.isEmpty() && !QDir().mkpath(m_directory)) {
        qWarning("cannot create the folder %s", qUtf8Printable(m_directory));
    }
}

void Screenshots::Take(QWidget *window, const QString &name)
{
    if (m_directory.isEmpty()) {
        return;
    }
    // The layout of a text that was just set, and with it the scroll bar, is still a posted event.
    QCoreApplication::sendPostedEvents(nullptr, QEvent::LayoutRequest);
    const QPixmap picture = gOnDesktop(window->grab());
    const int ratio = qRound(picture.devicePixelRatio());
    const QString file = QStringLiteral("%1/%2-%3%4.png")
                             .arg(m_directory)
                             .arg(++m_count, 2, 10, QLatin1Char('0'))
                             .arg(name)
                             .arg(ratio > 1 ? QStringLiteral("@%1x").arg(ratio) : QString());
    if (!picture.save(file)) {
        qWarning("cannot save %s", qUtf8Printable(file));
    }
}
