#include "ui/filters/PolygonPreview.h"

#include "core/ScaleMath.h"

#include <QPainter>

#include <algorithm>
#include <cmath>

namespace Tessaly {

namespace {

constexpr QSize PreviewSize(40, 24);
constexpr double Margin = 2.0;
const QColor EdgeColor(0x00, 0xab, 0xad);
const QColor FillColor(0xa6, 0xd7, 0xd5);

/// A value's share of a span; the middle of an empty one.
double shareOf(double value, double low, double high) {
    return high > low ? value / (high - low) - low / (high - low) : 0.5;
}

} // namespace

PolygonPreview::PolygonPreview(QWidget* parent) : QWidget(parent) {
    setObjectName(QStringLiteral("polygonPreview"));
    setFixedSize(PreviewSize);
}

void PolygonPreview::setRule(const FilterRule& rule) {
    QPolygonF scaled;
    for (const auto& [x, y] : rule.polygonVertices) {
        const QPointF point(scaleValue(x, rule.scaleXMode), scaleValue(y, rule.scaleYMode));
        if (std::isfinite(point.x()) && std::isfinite(point.y())) {
            scaled << point;
        }
    }
    shape_.clear();
    if (!scaled.isEmpty()) {
        const auto [left, right] = std::ranges::minmax(scaled, {}, &QPointF::x);
        const auto [bottom, top] = std::ranges::minmax(scaled, {}, &QPointF::y);
        for (const QPointF& point : std::as_const(scaled)) {
            shape_ << QPointF(shareOf(point.x(), left.x(), right.x()), 1.0 - shareOf(point.y(), bottom.y(), top.y()));
        }
    }
    update();
}

void PolygonPreview::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(QPen(EdgeColor, 1.5));
    painter.setBrush(FillColor);
    QPolygonF places;
    for (const QPointF& point : std::as_const(shape_)) {
        places << QPointF(Margin + point.x() * (width() - 2.0 * Margin),
                          Margin + point.y() * (height() - 2.0 * Margin));
    }
    painter.drawPolygon(places);
}

} // namespace Tessaly
