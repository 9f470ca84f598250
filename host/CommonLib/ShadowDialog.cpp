// SPDX-License-Identifier: MIT

#include "ShadowDialog.h"

#include <QPainter>

#include <cmath>
#include <vector>

namespace
{
constexpr int border = 12;
// Logical pixels. With this blur the shadow fades out within the border, without a hard edge where
// the window ends.
constexpr double blur = 4;
constexpr double drop = 1.5;
constexpr double darkness = 0.75;

/// The opacity, 0 to 1, of each pixel of @p pixels along one axis, of a box from @p begin to @p end
/// that is blurred by a Gaussian of @p sigma. All in device pixels.
std::vector<double> gBlurredSpan(int pixels, double begin, double end, double sigma)
{
    std::vector<double> opacity(static_cast<size_t>(pixels));
    const double scale = 1 / (sigma * std::sqrt(2.0));
    double centre = 0.5;
    for (double &value : opacity) {
        value = (std::erf((centre - begin) * scale) - std::erf((centre - end) * scale)) / 2;
        centre += 1;
    }
    return opacity;
}
} // namespace

int gGetSystemBorder()
{
    return border;
}

ShadowDialog::ShadowDialog(QWidget *parent)
    : QDialog(parent, Qt::Dialog | Qt::FramelessWindowHint | Qt::NoDropShadowWindowHint)
{
    setAttribute(Qt::WA_TranslucentBackground);
}

ShadowDialog::~ShadowDialog() = default;

void ShadowDialog::paintEvent(QPaintEvent *)
{
    RenderShadow();
    QPainter painter(this);
    painter.drawImage(0, 0, m_shadow);
    painter.setCompositionMode(QPainter::CompositionMode_Source);
    painter.fillRect(rect().adjusted(border, border, -border, -border), palette().window());
}

// A Gaussian blur of a box is the product of its two blurred axes, so no filter runs over the
// picture. The picture is kept because a progress bar in the dialog repaints many times a second.
void ShadowDialog::RenderShadow()
{
    const double ratio = devicePixelRatioF();
    const QSize pixels(static_cast<int>(std::ceil(width() * ratio)),
                       static_cast<int>(std::ceil(height() * ratio)));
    if (m_shadow.size() == pixels && qFuzzyCompare(m_shadow.devicePixelRatioF(), ratio)) {
        return;
    }

    const auto columns =
        gBlurredSpan(pixels.width(), border * ratio, (width() - border) * ratio, blur * ratio);
    const auto rows = gBlurredSpan(pixels.height(), (border + drop) * ratio,
                                   (height() - border + drop) * ratio, blur * ratio);
    m_shadow = QImage(pixels, QImage::Format_ARGB32_Premultiplied);
    m_shadow.setDevicePixelRatio(ratio);
    for (int y = 0; y < pixels.height(); ++y) {
        auto *pixel = reinterpret_cast<QRgb *>(m_shadow.scanLine(y));
        const double rowAlpha = 255 * darkness * rows[static_cast<size_t>(y)];
        for (const double column : columns) {
            *pixel++ = qRgba(0, 0, 0, static_cast<int>(rowAlpha * column));
        }
    }
}
