// SPDX-License-Identifier: MIT

#include "demo/corvina/TimelineView.h"

#include <QPainter>

#include <array>

namespace
{
constexpr int rulerHeight = 26;
constexpr int trackHeight = 46;
constexpr int headWidth = 90;
constexpr int pixelsPerSecond = 11;
constexpr int playheadSecond = 12;

struct Clip {
    int track;
    int start;
    int seconds;
    const char *name;
    QRgb color;
};

constexpr std::array<const char *, 3> tracks{"Titles", "Video 1", "Audio 1"};
constexpr std::array<Clip, 7> clips{{
    {0, 3, 14, "Opening title", 0xff7a5ba8},
    {0, 48, 12, "Credits", 0xff7a5ba8},
    {1, 0, 18, "harbour_dawn.mp4", 0xff2f6f8f},
    {1, 18, 26, "drone_ridge.mp4", 0xff2a6280},
    {1, 44, 22, "interview_b.mp4", 0xff2f6f8f},
    {2, 0, 40, "score_main.wav", 0xff2f7d66},
    {2, 42, 24, "ambience.wav", 0xff2f7d66},
}};

int gXOfSecond(int second)
{
    return headWidth + second * pixelsPerSecond;
}

void gDrawRuler(QPainter &painter, int width)
{
    painter.fillRect(0, 0, width, rulerHeight, QColor(0x1c, 0x23, 0x2a));
    painter.setPen(QColor(0x6d, 0x86, 0x98));
    for (int second = 0; gXOfSecond(second) < width; second += 10) {
        painter.drawLine(gXOfSecond(second), rulerHeight - 8, gXOfSecond(second), rulerHeight - 1);
        painter.drawText(gXOfSecond(second) + 4, rulerHeight - 9,
                         QStringLiteral("00:%1:%2")
                             .arg(second / 60, 2, 10, QLatin1Char('0'))
                             .arg(second % 60, 2, 10, QLatin1Char('0')));
    }
}

void gDrawTrack(QPainter &painter, int index, int width)
{
    const int y = rulerHeight + index * trackHeight;
    painter.fillRect(0, y, width, trackHeight - 1, QColor(0x17, 0x1d, 0x23));
    painter.fillRect(0, y, headWidth - 2, trackHeight - 1, QColor(0x1c, 0x23, 0x2a));
    painter.setPen(QColor(0x8d, 0x9a, 0xa7));
    painter.drawText(QRect(14, y, headWidth - 16, trackHeight - 1), Qt::AlignVCenter,
                     QLatin1String(tracks.at(static_cast<size_t>(index))));
}

void gDrawClip(QPainter &painter, const Clip &clip)
{
    const QRectF box(gXOfSecond(clip.start) + 1, rulerHeight + clip.track * trackHeight + 4,
                     clip.seconds * pixelsPerSecond - 2, trackHeight - 9);
    painter.setPen(Qt::NoPen);
    painter.setBrush(QColor::fromRgb(clip.color));
    painter.drawRoundedRect(box, 3, 3);
    painter.setPen(QColor(0xe4, 0xea, 0xef));
    painter.drawText(box.adjusted(8, 0, -4, 0), Qt::AlignVCenter, QLatin1String(clip.name));
}
} // namespace

TimelineView::TimelineView(QWidget *parent)
    : QWidget(parent)
{
    setFixedHeight(rulerHeight + static_cast<int>(tracks.size()) * trackHeight + 14);
}

void TimelineView::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.fillRect(rect(), QColor(0x0f, 0x13, 0x18));
    gDrawRuler(painter, width());
    for (int track = 0; track < static_cast<int>(tracks.size()); ++track) {
        gDrawTrack(painter, track, width());
    }
    for (const Clip &clip : clips) {
        gDrawClip(painter, clip);
    }
    painter.fillRect(gXOfSecond(playheadSecond), 0, 2, height(), QColor(0x61, 0xde, 0xd0));
}
