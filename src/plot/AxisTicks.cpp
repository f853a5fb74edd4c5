#include "plot/AxisTicks.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace Tessaly {

namespace {

constexpr double Base = 10.0;

/// Round values of one sign whose size is from `low` to `high`, in rising size.
QList<double> roundSizes(double low, double high) {
    QList<double> sizes;
    if (!(low > 0.0) || !(high >= low)) {
        return sizes;
    }
    const int first = static_cast<int>(std::floor(std::log10(low)));
    const int last = static_cast<int>(std::ceil(std::log10(high)));
    for (int exponent = first; exponent <= last; ++exponent) {
        for (const double mantissa : {1.0, 2.0, 5.0}) {
            const double size = mantissa * std::pow(Base, exponent);
            if (size >= low && size <= high) {
                sizes += size;
            }
        }
    }
    return sizes;
}

QList<double> roundDecadeTicks(const QwtInterval& interval, double threshold) {
    const double smallest = std::max(threshold, std::numeric_limits<double>::min());
    QList<double> ticks = roundSizes(std::max(-interval.maxValue(), smallest), -interval.minValue());
    std::reverse(ticks.begin(), ticks.end());
    for (double& tick : ticks) {
        tick = -tick;
    }
    if (threshold > 0.0 && interval.contains(0.0)) {
        ticks += 0.0;
    }
    return ticks + roundSizes(std::max(interval.minValue(), smallest), interval.maxValue());
}

QList<double> multiples(const QwtInterval& interval, double step) {
    QList<double> ticks;
    const double first = std::ceil(interval.minValue() / step);
    const double last = std::floor(interval.maxValue() / step);
    for (double k = first; k <= last; k += 1.0) {
        ticks += k * step;
    }
    return ticks;
}

} // namespace

QList<double> roundTicks(const QwtInterval& interval, double threshold, int maxSteps) {
    QList<double> ticks = roundDecadeTicks(interval, threshold);
    static constexpr int MostSteps = 64;
    for (int steps = std::max(maxSteps, 1); ticks.size() < 2 && steps <= MostSteps; steps *= 2) {
        const double step = QwtScaleArithmetic::divideInterval(interval.width(), steps, static_cast<uint>(Base));
        // Steps that get lost in the values' rounding can't be told apart.
        const double largest = std::max(std::abs(interval.minValue()), std::abs(interval.maxValue()));
        if (!(step > largest * 4.0 * std::numeric_limits<double>::epsilon())) {
            break;
        }
        ticks = multiples(interval, step);
    }
    return ticks;
}

QwtScaleDiv withTwoMajorTicks(const QwtScaleDiv& division, double threshold, int maxSteps) {
    QList<double> own = division.ticks(QwtScaleDiv::MajorTick);
    own.erase(std::unique(own.begin(), own.end()), own.end());
    if (own.size() >= 2 || division.isEmpty()) {
        return division;
    }
    QwtScaleDiv filled = division;
    filled.setTicks(QwtScaleDiv::MajorTick, roundTicks(division.interval().normalized(), threshold, maxSteps));
    return filled;
}

QwtScaleDiv LogScaleEngine::divideScale(double x1, double x2, int maxMajorSteps, int maxMinorSteps,
                                        double stepSize) const {
    return withTwoMajorTicks(QwtLogScaleEngine::divideScale(x1, x2, maxMajorSteps, maxMinorSteps, stepSize), 0.0,
                             maxMajorSteps);
}

QwtScaleDiv LinearScaleEngine::divideScale(double x1, double x2, int maxMajorSteps, int maxMinorSteps,
                                           double stepSize) const {
    QwtScaleDiv division = QwtLinearScaleEngine::divideScale(x1, x2, maxMajorSteps, maxMinorSteps, stepSize);
    static constexpr int MostSteps = 64;
    for (int steps = std::max(maxMajorSteps, 1) * 2;
         division.ticks(QwtScaleDiv::MajorTick).size() < 2 && !division.isEmpty() && steps <= MostSteps; steps *= 2) {
        division = QwtLinearScaleEngine::divideScale(x1, x2, steps, maxMinorSteps, 0.0);
    }
    return division;
}

} // namespace Tessaly
