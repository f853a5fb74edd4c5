#include "plot/RoundSpectroCurve.h"

#include "plot/DotPainter.h"
#include "plot/DotPositions.h"
#include "plot/PointSeries.h"
#include "plot/VectorDots.h"

#include <QPainter>
#include <qwt_color_map.h>

#include <cmath>

namespace Tessaly {

RoundSpectroCurve::RoundSpectroCurve(const QString& title) : QwtPlotSpectroCurve(title) {}

QRectF RoundSpectroCurve::boundingRect() const {
    const auto* series = dynamic_cast<const ColorPointSeries*>(data());
    return series ? drawableBounds(series->points(), *this, EmptyLogSide::OneDecade)
                  : QwtPlotSpectroCurve::boundingRect();
}

void RoundSpectroCurve::drawDots(QPainter* painter, const QwtScaleMap& xMap, const QwtScaleMap& yMap,
                                 const QRectF& canvasRect, int from, int to) const {
    if (!colorMap() || from > to) {
        return;
    }
    if (dotsGoAsPicture(*painter, to - from + 1)) {
        drawDotsAsPicture(*painter, canvasRect,
                          [&](QPainter& inPicture) { drawDots(&inPicture, xMap, yMap, canvasRect, from, to); });
        return;
    }
    const auto* series = dynamic_cast<const ColorPointSeries*>(data());
    const DotPositions positions =
        series ? DotPositions(series->points(), xMap, yMap) : DotPositions(*data(), xMap, yMap);
    const QwtInterval range = colorRange();
    const auto colorOf = [&](int index) {
        // The library's maps don't take NaN.
        const double value = series ? series->points().colors()[static_cast<std::size_t>(index)] : sample(index).z();
        return colorMap()->rgb(range, std::isnan(value) ? range.minValue() : value);
    };
    const double radius = penWidth() * 0.5;

    painter->save();
    painter->setRenderHint(QPainter::Antialiasing, true);
    painter->setPen(Qt::NoPen);
    DotPainter dots(*painter, radius);
    if (dots.canStamp() && to - from >= DotPainter::MinDots) {
        const auto shape = [radius](QPainter& stampPainter) {
            stampPainter.setPen(Qt::NoPen);
            stampPainter.setBrush(Qt::black);
            stampPainter.drawEllipse(QPointF(0.0, 0.0), radius, radius);
        };
        dots.drawColored(positions, from, to, shape, colorOf);
    } else {
        const DotVisibility visibility(*painter, radius);
        for (int i = from; i <= to; ++i) {
            const QPointF center = positions.at(static_cast<std::size_t>(i));
            if (visibility.shows(center)) {
                painter->setBrush(QColor::fromRgba(colorOf(i)));
                painter->drawEllipse(center, radius, radius);
            }
        }
    }
    painter->restore();
}

} // namespace Tessaly
