#include "PlainDotCurve.h"

#include "PointSeries.h"

#include <QPainter>
#include <qwt_scale_map.h>
#include <qwt_symbol.h>

#include <cmath>

namespace Tessaly {

PlainDotCurve::PlainDotCurve(const QString& title) : QwtPlotCurve(title) {
    setStyle(NoCurve);
}

QRectF PlainDotCurve::boundingRect() const {
    const auto* series = dynamic_cast<const PointSeries*>(data());
    return series ? drawableBounds(series->points(), *this) : QwtPlotCurve::boundingRect();
}

void PlainDotCurve::drawSymbols(QPainter* painter, const QwtSymbol& symbol, const QwtScaleMap& xMap,
                                const QwtScaleMap& yMap, const QRectF& /*canvasRect*/, int from, int to) const {
    for (int i = from; i <= to; ++i) {
        const QPointF point = sample(i);
        const QPointF pixel(xMap.transform(point.x()), yMap.transform(point.y()));
        if (std::isfinite(pixel.x()) && std::isfinite(pixel.y())) {
            symbol.drawSymbol(painter, pixel);
        }
    }
}

} // namespace Tessaly
