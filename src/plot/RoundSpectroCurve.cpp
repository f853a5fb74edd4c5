#include "RoundSpectroCurve.h"

#include "PointSeries.h"

#include <QPainter>
#include <qwt_color_map.h>
#include <qwt_scale_map.h>

#include <cmath>

namespace Tessaly {

RoundSpectroCurve::RoundSpectroCurve(const QString& title) : QwtPlotSpectroCurve(title) {}

QRectF RoundSpectroCurve::boundingRect() const {
    const auto* series = dynamic_cast<const ColorPointSeries*>(data());
    return series ? drawableBounds(series->points(), *this) : QwtPlotSpectroCurve::boundingRect();
}

void RoundSpectroCurve::drawDots(QPainter* painter, const QwtScaleMap& xMap, const QwtScaleMap& yMap,
                                 const QRectF& /*canvasRect*/, int from, int to) const {
    if (!colorMap() || from > to) {
        return;
    }
    painter->save();
    painter->setRenderHint(QPainter::Antialiasing, true);
    painter->setPen(Qt::NoPen);
    const double radius = penWidth() * 0.5;
    const QwtInterval range = colorRange();
    for (int i = from; i <= to; ++i) {
        const QwtPoint3D point = sample(i);
        const QPointF pixel(xMap.transform(point.x()), yMap.transform(point.y()));
        if (std::isfinite(pixel.x()) && std::isfinite(pixel.y())) {
            const double value = std::isnan(point.z()) ? range.minValue() : point.z();
            painter->setBrush(QColor::fromRgba(colorMap()->rgb(range, value)));
            painter->drawEllipse(pixel, radius, radius);
        }
    }
    painter->restore();
}

} // namespace Tessaly
