#include "plot/PlotPoints.h"

#include "plot/PseudoLogTransform.h"

#include <qwt_scale_map.h>
#include <qwt_transform.h>

#include <cmath>
#include <limits>
#include <utility>

namespace Tessaly {

namespace {

enum Kind { NoKind, LogKind, PseudoLogKind, OtherKind };

/// Finite minimum and maximum of the values that are above a bound.
QwtInterval rangeAbove(const std::vector<double>& column, double bound) {
    constexpr double Infinity = std::numeric_limits<double>::infinity();
    double lower = Infinity;
    double upper = -Infinity;
    for (const double value : column) {
        if (value > bound && value < Infinity) {
            lower = value < lower ? value : lower;
            upper = value > upper ? value : upper;
        }
    }
    return lower <= upper ? QwtInterval(lower, upper) : QwtInterval();
}

} // namespace

PlotPoints::PlotPoints(std::vector<double> x, std::vector<double> y, std::vector<double> colors)
    : PlotPoints(std::make_shared<const std::vector<double>>(std::move(x)),
                 std::make_shared<const std::vector<double>>(std::move(y)),
                 std::make_shared<const std::vector<double>>(std::move(colors))) {}

PlotPoints::PlotPoints(Column x, Column y, Column colors)
    : x_(std::move(x)),
      y_(std::move(y)),
      colors_(std::move(colors)) {
    const auto none = std::make_shared<const std::vector<double>>();
    if (x_->size() != y_->size()) {
        x_ = none;
        y_ = none;
    }
    if (colors_->size() != x_->size()) {
        colors_ = none;
    }
}

const PlotPoints::Ranges& PlotPoints::rangesOf(const std::vector<double>& column, Ranges& ranges) {
    if (!ranges.known) {
        ranges.known = true;
        ranges.all = rangeAbove(column, -std::numeric_limits<double>::infinity());
        ranges.positive = ranges.all.isValid() && ranges.all.minValue() > 0.0 ? ranges.all : rangeAbove(column, 0.0);
    }
    return ranges;
}

QwtInterval PlotPoints::rangeX(bool positive) const {
    const Ranges& ranges = rangesOf(*x_, rangesX_);
    return positive ? ranges.positive : ranges.all;
}

QwtInterval PlotPoints::rangeY(bool positive) const {
    const Ranges& ranges = rangesOf(*y_, rangesY_);
    return positive ? ranges.positive : ranges.all;
}

QwtInterval PlotPoints::rangeColors() const {
    return rangesOf(*colors_, rangesColors_).all;
}

const double* PlotPoints::axisX(const QwtTransform* transform) const {
    return transformed(*x_, transform, axisX_);
}

const double* PlotPoints::axisY(const QwtTransform* transform) const {
    return transformed(*y_, transform, axisY_);
}

const double* PlotPoints::transformed(const std::vector<double>& column, const QwtTransform* transform,
                                      AxisColumn& cache) {
    if (!transform) {
        return column.data();
    }
    AxisColumn wanted;
    wanted.kind = OtherKind;
    if (dynamic_cast<const QwtLogTransform*>(transform)) {
        wanted.kind = LogKind;
    } else if (const auto* pseudoLog = dynamic_cast<const PseudoLogTransform*>(transform)) {
        wanted.kind = PseudoLogKind;
        wanted.threshold = pseudoLog->linearThreshold();
        wanted.slope = pseudoLog->slope();
    }
    const bool kept = wanted.kind != OtherKind && cache.kind == wanted.kind && cache.threshold == wanted.threshold &&
                      cache.slope == wanted.slope;
    if (!kept) {
        wanted.values = std::move(cache.values);
        wanted.values.resize(column.size());
        for (std::size_t i = 0; i < column.size(); ++i) {
            wanted.values[i] = transform->transform(column[i]);
        }
        cache = std::move(wanted);
    }
    return cache.values.data();
}

AxisPixels::AxisPixels(const QwtScaleMap& map) : p1(map.p1()), ts1(map.s1()), factor(1.0) {
    double ts2 = map.s2();
    if (const QwtTransform* transform = map.transformation()) {
        ts1 = transform->transform(ts1);
        ts2 = transform->transform(ts2);
    }
    if (ts1 != ts2) {
        factor = (map.p2() - map.p1()) / (ts2 - ts1);
    }
}

} // namespace Tessaly
