#include "plot/PolygonOverlay.h"

#include "plot/PointSeries.h"
#include "plot/PolygonHits.h"

#include <QPainter>
#include <QPainterPath>
#include <QPen>
#include <qwt_clipper.h>

#include <cmath>
#include <utility>
#include <vector>

namespace Tessaly {

PolygonOverlay::PolygonOverlay(const QPolygonF& polygon, bool ruleEnabled) : vertices_(polygon) {
    QPainterPath path;
    path.addPolygon(polygon);
    path.closeSubpath();
    setShape(path);

    static constexpr int OutlineAlpha = 180;
    static constexpr int FillAlpha = 30;
    static constexpr int FillAlphaDisabled = 25;
    const int grey = 160;
    const QColor outline = ruleEnabled ? QColor(255, 0, 0, OutlineAlpha) : QColor(grey, grey, grey, OutlineAlpha);
    QColor fill = outline;
    fill.setAlpha(ruleEnabled ? FillAlpha : FillAlphaDisabled);
    setPen(QPen(outline, 2.0, ruleEnabled ? Qt::SolidLine : Qt::DashLine, Qt::SquareCap, Qt::BevelJoin));
    setBrush(fill);
    setRenderHint(RenderAntialiased, true);
    setZ(50.0);
}

QRectF PolygonOverlay::boundingRect() const {
    std::vector<double> x;
    std::vector<double> y;
    for (const QPointF& vertex : vertices_) {
        x.push_back(vertex.x());
        y.push_back(vertex.y());
    }
    return drawableBounds(PlotPoints(std::move(x), std::move(y), {}), *this, EmptyLogSide::NoWish);
}

void PolygonOverlay::draw(QPainter* painter, const QwtScaleMap& xMap, const QwtScaleMap& yMap,
                          const QRectF& canvasRect) const {
    QPolygonF pixels;
    for (const QPointF& vertex : vertices_) {
        const QPointF pixel = boundedPixel(xMap, yMap, vertex);
        if (std::isfinite(pixel.x()) && std::isfinite(pixel.y())) {
            pixels.append(pixel);
        }
    }
    // Edges that clipping adds must stay out of sight.
    const double margin = 2.0 * pen().widthF();
    pixels = QwtClipper::clippedPolygonF(canvasRect.adjusted(-margin, -margin, margin, margin), pixels, true);
    painter->setPen(pen());
    painter->setBrush(brush());
    painter->drawPolygon(pixels);
}

} // namespace Tessaly
