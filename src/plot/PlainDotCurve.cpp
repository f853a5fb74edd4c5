#include "plot/PlainDotCurve.h"

#include "plot/DotPainter.h"
#include "plot/DotPositions.h"
#include "plot/PointSeries.h"
#include "plot/VectorDots.h"

#include <QPainter>
#include <QPolygonF>
#include <qwt_painter.h>
#include <qwt_symbol.h>

#include <algorithm>

namespace Tessaly {

namespace {

/// Points handed to the symbol at once.
constexpr qsizetype BatchSize = 512;

bool isRoundInOneColor(const QwtSymbol& symbol) {
    const QPen& pen = symbol.pen();
    const QBrush& brush = symbol.brush();
    return symbol.style() == QwtSymbol::Ellipse && symbol.size().width() == symbol.size().height() &&
           !symbol.isPinPointEnabled() && pen.style() == Qt::SolidLine && brush.style() == Qt::SolidPattern &&
           pen.color().rgb() == brush.color().rgb();
}

/// Draws the symbol about the origin, as Qwt does on devices that round positions or not.
DotPainter::Shape shapeOf(const QwtSymbol& symbol, bool aligned) {
    const int size = symbol.size().width();
    const double reach = aligned ? static_cast<double>(size / 2) : size * 0.5; // NOLINT: whole pixels
    return [&symbol, size, reach](QPainter& painter) {
        painter.setPen(symbol.pen());
        painter.setBrush(symbol.brush());
        painter.drawEllipse(QRectF(-reach, -reach, size, size));
    };
}

} // namespace

PlainDotCurve::PlainDotCurve(Role role) : role_(role) {
    setStyle(NoCurve);
}

QRectF PlainDotCurve::boundingRect() const {
    const auto* series = dynamic_cast<const PointSeries*>(data());
    const auto emptyLogSide = role_ == Role::Points ? EmptyLogSide::OneDecade : EmptyLogSide::NoWish;
    return series ? drawableBounds(series->points(), *this, emptyLogSide) : QwtPlotCurve::boundingRect();
}

void PlainDotCurve::drawSymbols(QPainter* painter, const QwtSymbol& symbol, const QwtScaleMap& xMap,
                                const QwtScaleMap& yMap, const QRectF& canvasRect, int from, int to) const {
    if (dotsGoAsPicture(*painter, to - from + 1)) {
        drawDotsAsPicture(*painter, canvasRect, [&](QPainter& inPicture) {
            drawSymbols(&inPicture, symbol, xMap, yMap, canvasRect, from, to);
        });
        return;
    }
    const auto* series = dynamic_cast<const PointSeries*>(data());
    const DotPositions positions =
        series ? DotPositions(series->points(), xMap, yMap) : DotPositions(*data(), xMap, yMap);
    const bool aligned = QwtPainter::roundingAlignment(painter);
    const QSize size = symbol.size();
    const double extent = 0.5 * (std::max(size.width(), size.height()) + symbol.pen().widthF());

    DotPainter dots(*painter, extent);
    if (dots.canStamp() && to - from >= DotPainter::MinDots && isRoundInOneColor(symbol)) {
        dots.drawPlain(positions, from, to, shapeOf(symbol, aligned), symbol.pen().color(), aligned);
        return;
    }
    const DotVisibility visibility(*painter, extent);
    QPolygonF batch;
    for (int i = from; i <= to; ++i) {
        const QPointF center = positions.at(static_cast<std::size_t>(i));
        if (visibility.shows(center)) {
            batch.append(center);
        }
        if (batch.size() == BatchSize || i == to) {
            symbol.drawSymbols(painter, batch);
            batch.clear();
        }
    }
}

} // namespace Tessaly
