#include "plot/DotPositions.h"

#include <QPaintEngine>
#include <QPainter>
#include <qwt_scale_map.h>

#include <cmath>

namespace Tessaly {

DotPositions::DotPositions(const PlotPoints& points, const QwtScaleMap& xMap, const QwtScaleMap& yMap)
    : xPixels_(xMap),
      yPixels_(yMap),
      x_(points.axisX(xMap.transformation())),
      y_(points.axisY(yMap.transformation())) {}

DotPositions::DotPositions(const QwtSeriesData<QPointF>& series, const QwtScaleMap& xMap, const QwtScaleMap& yMap) {
    collect(series, xMap, yMap);
}

DotPositions::DotPositions(const QwtSeriesData<QwtPoint3D>& series, const QwtScaleMap& xMap, const QwtScaleMap& yMap) {
    collect(series, xMap, yMap);
}

template <typename Sample>
void DotPositions::collect(const QwtSeriesData<Sample>& series, const QwtScaleMap& xMap, const QwtScaleMap& yMap) {
    ownX_.reserve(series.size());
    ownY_.reserve(series.size());
    for (std::size_t i = 0; i < series.size(); ++i) {
        const Sample sample = series.sample(i);
        ownX_.push_back(xMap.transform(sample.x()));
        ownY_.push_back(yMap.transform(sample.y()));
    }
    x_ = ownX_.data();
    y_ = ownY_.data();
}

DotVisibility::DotVisibility(const QPainter& painter, double extent) : limited_(painter.hasClipping()) {
    if (limited_) {
        const bool clips = painter.paintEngine()->type() != QPaintEngine::SVG;
        const double margin = clips ? extent : 0.0;
        area_ = painter.clipBoundingRect().adjusted(-margin, -margin, margin, margin);
    }
}

bool DotVisibility::shows(const QPointF& center) const {
    // No device is that large, and beyond it Qwt's rounding to whole pixels overflows. False for NaN, too.
    constexpr double FarAway = 1e8;
    const bool drawable = std::abs(center.x()) < FarAway && std::abs(center.y()) < FarAway;
    return drawable && (!limited_ || area_.contains(center));
}

} // namespace Tessaly
