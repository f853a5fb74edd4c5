#pragma once

#include <QList>
#include <qwt_interval.h>
#include <qwt_scale_div.h>
#include <qwt_scale_engine.h>

namespace Tessaly {

/// Round values that fill up a scale with fewer than two major ticks: 1, 2 and 5 times a power of ten with a size of at
/// least `threshold`, or, where that gives fewer than two as well, whole multiples of a step of 1, 2 or 5 times a power
/// of ten.
/// @param threshold  where the logarithmic part of the axis begins, in data units; 0 for an axis that is all
/// logarithmic
/// @param maxSteps   how many major steps are wanted at most; more are made if that gives fewer than two ticks
QList<double> roundTicks(const QwtInterval& interval, double threshold, int maxSteps);

/// A division with those ticks as major ticks if its own are fewer than two values; else the division as it is.
QwtScaleDiv withTwoMajorTicks(const QwtScaleDiv& division, double threshold, int maxSteps);

/// The library's logarithmic engine with at least two major ticks in any interval: also where none or one of the
/// decades lies in it.
class LogScaleEngine : public QwtLogScaleEngine {
public:
    using QwtLogScaleEngine::QwtLogScaleEngine;

    QwtScaleDiv divideScale(double x1, double x2, int maxMajorSteps, int maxMinorSteps,
                            double stepSize = 0.0) const override;
};

/// The library's linear engine with at least two major ticks in any interval, however few steps are asked for.
class LinearScaleEngine : public QwtLinearScaleEngine {
public:
    using QwtLinearScaleEngine::QwtLinearScaleEngine;

    QwtScaleDiv divideScale(double x1, double x2, int maxMajorSteps, int maxMinorSteps,
                            double stepSize = 0.0) const override;
};

} // namespace Tessaly
