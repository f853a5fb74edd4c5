#pragma once

#include <QtGlobal>
#include <qwt_interval.h>

#include <cstddef>
#include <memory>
#include <vector>

class QwtScaleMap;
class QwtTransform;

namespace Tessaly {

/// The columns of a scatter plot, filled once and read by the curves and by the search for the nearest point.
/// Bounds and the columns in axis space are made when first asked for and kept. Interface thread only.
class PlotPoints {
public:
    /// A column that may be part of something else, which it keeps alive:
    /// `PlotPoints::Column(frame, &frame->x)` lends a column of a shared record without a copy.
    using Column = std::shared_ptr<const std::vector<double>>;

    PlotPoints() : PlotPoints(std::vector<double>(), {}, {}) {}
    /// Takes the columns over. If x and y differ in length, there are no points; colours of another length don't count.
    /// @param colors  one value per point, or empty for points without values
    PlotPoints(std::vector<double> x, std::vector<double> y, std::vector<double> colors);
    /// Shares the columns, which must not change any more; none may be null.
    PlotPoints(Column x, Column y, Column colors);

    std::size_t size() const { return x_->size(); }
    const std::vector<double>& x() const { return *x_; }
    const std::vector<double>& y() const { return *y_; }
    const std::vector<double>& colors() const { return *colors_; }
    bool hasColors() const { return !colors_->empty(); }

    /// Range of the finite values of a column; invalid if there are none.
    /// @param positive  of the values above zero only, for logarithmic axes
    QwtInterval rangeX(bool positive) const;
    QwtInterval rangeY(bool positive) const;
    /// Range of the finite colour values; invalid if there are none.
    QwtInterval rangeColors() const;

    /// The x or y column after an axis's transformation; the column itself for a linear axis (null).
    /// O(n) at the first call for a transformation, then kept.
    const double* axisX(const QwtTransform* transform) const;
    const double* axisY(const QwtTransform* transform) const;

private:
    /// Bounds of a column.
    struct Ranges {
        bool known = false;
        QwtInterval all;
        QwtInterval positive;
    };
    /// A column in axis space, and which transformation made it.
    struct AxisColumn {
        int kind = 0;
        double threshold = 0.0;
        double slope = 0.0;
        std::vector<double> values;
    };

    static const Ranges& rangesOf(const std::vector<double>& column, Ranges& ranges);
    static const double* transformed(const std::vector<double>& column, const QwtTransform* transform,
                                     AxisColumn& cache);

    Column x_, y_, colors_;
    mutable Ranges rangesX_, rangesY_, rangesColors_;
    mutable AxisColumn axisX_, axisY_;
};

/// The linear last step of a scale map: pixel = p1 + (value in axis space - ts1) * factor, with the rounding of
/// QwtScaleMap::transform.
struct AxisPixels {
    /// For values that are pixels already.
    AxisPixels() = default;
    explicit AxisPixels(const QwtScaleMap& map);
    double pixel(double axisValue) const { return p1 + (axisValue - ts1) * factor; }

    double p1 = 0.0;
    double ts1 = 0.0;
    double factor = 1.0;
};

} // namespace Tessaly
