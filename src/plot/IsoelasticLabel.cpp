#include "plot/IsoelasticLabel.h"

#include <QPainter>
#include <qwt_scale_map.h>
#include <qwt_text.h>

#include <algorithm>
#include <cmath>
#include <vector>

namespace Tessaly {

namespace {

constexpr double StepPixels = 2.0;

/// Calls tryPlace(position) along a line from its end, every few pixels, until that returns true.
template <typename TryPlace>
void walkBack(const QPolygonF& pixels, const QRectF& area, TryPlace tryPlace) {
    if (tryPlace(pixels.last())) {
        return;
    }
    for (qsizetype i = pixels.size() - 1; i > 0; --i) {
        const QLineF segment(pixels[i], pixels[i - 1]);
        const double length = segment.length();
        // Segments that aren't near the canvas hold no place, however long they are.
        const QRectF box = QRectF(segment.p1(), segment.p2()).normalized().adjusted(-1.0, -1.0, 1.0, 1.0);
        if (!std::isfinite(length) || !box.intersects(area)) {
            continue;
        }
        const double steps = std::min(std::ceil(length / StepPixels), 10000.0);
        for (double k = 1.0; k <= steps; k += 1.0) {
            if (tryPlace(segment.pointAt(k / steps))) {
                return;
            }
        }
    }
}

} // namespace

IsoelasticLabel::IsoelasticLabel(const QPolygonF& line, const IsoelasticLabel* previous)
    : line_(line),
      previous_(previous) {
    setItemAttribute(Legend, false);
    setItemAttribute(AutoScale, false);
    setLabelAlignment(Qt::AlignLeft | Qt::AlignBottom);
    setValue(line.last());
}

QRectF IsoelasticLabel::rectAt(const QPointF& position, const QSizeF& size) const {
    const double gap = 0.5 + spacing(); // as Qwt's markers have it
    return {position.x() - gap - size.width(), position.y() + gap, size.width(), size.height()};
}

QRectF IsoelasticLabel::placedRect(const QFont& font, const QwtScaleMap& xMap, const QwtScaleMap& yMap,
                                   const QRectF& canvasRect) const {
    // All labels up to this one, from the first on: each must know the places of those before it.
    std::vector<const IsoelasticLabel*> chain;
    for (const IsoelasticLabel* label = this; label; label = label->previous_) {
        chain.push_back(label);
    }
    std::reverse(chain.begin(), chain.end());
    std::vector<QRectF> taken;
    for (const IsoelasticLabel* current : chain) {
        QPolygonF pixels;
        for (const QPointF& point : current->line_) {
            const QPointF pixel(xMap.transform(point.x()), yMap.transform(point.y()));
            if (std::isfinite(pixel.x()) && std::isfinite(pixel.y())) {
                pixels.append(pixel);
            }
        }
        const QSizeF size = current->label().textSize(font);
        QRectF placed;
        if (!pixels.isEmpty()) {
            walkBack(pixels, canvasRect, [&](const QPointF& position) {
                const QRectF rect = current->rectAt(position, size);
                const bool free = canvasRect.contains(rect) && canvasRect.contains(position) &&
                                  std::none_of(taken.begin(), taken.end(),
                                               [&rect](const QRectF& other) { return other.intersects(rect); });
                placed = free ? rect : QRectF();
                return free;
            });
        }
        taken.push_back(placed);
    }
    return taken.back();
}

void IsoelasticLabel::draw(QPainter* painter, const QwtScaleMap& xMap, const QwtScaleMap& yMap,
                           const QRectF& canvasRect) const {
    const QRectF rect = placedRect(painter->font(), xMap, yMap, canvasRect);
    if (!rect.isEmpty()) {
        label().draw(painter, rect);
    }
}

} // namespace Tessaly
