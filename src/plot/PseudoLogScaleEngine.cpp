#include "plot/PseudoLogScaleEngine.h"

#include "plot/AxisTicks.h"
#include "plot/PseudoLogTransform.h"

#include <QtGlobal>
#include <qwt_scale_div.h>

#include <algorithm>
#include <cmath>
#include <limits>

namespace Tessaly {

namespace {

constexpr uint Base = 10;
constexpr int MaxRounds = 100;
constexpr double NearZero = 1e-12;

/// Whether aligning a bound moves it by more than rounding.
bool differs(double before, double after) {
    return std::abs(after) <= NearZero || !qFuzzyCompare(before, after);
}

/// The next rung of the ladder of decades.
double nextDecade(double value) {
    double next = 1.0;
    if (value < 0.0) {
        next = -std::pow(10.0, std::floor(std::log10(-value)) - 1.0);
    } else if (value > 0.0) {
        next = std::pow(10.0, std::floor(std::log10(value)) + 1.0);
    }
    return std::round(next);
}

} // namespace

PseudoLogScaleEngine::PseudoLogScaleEngine(double linearThreshold, double linearRange)
    : QwtScaleEngine(Base),
      linearThreshold_(linearThreshold),
      linearRange_(linearRange) {
    setTransformation(new PseudoLogTransform(linearThreshold, linearRange / linearThreshold));
}

void PseudoLogScaleEngine::autoScale(int maxNumSteps, double& x1, double& x2, double& stepSize) const {
    QwtInterval interval = QwtInterval(x1, x2).normalized();
    interval.setMinValue(interval.minValue() - lowerMargin());
    interval.setMaxValue(interval.maxValue() + upperMargin());

    if (testAttribute(Symmetric)) {
        interval = interval.symmetrize(reference());
    }
    if (testAttribute(IncludeReference)) {
        interval = interval.extend(reference());
    }
    if (interval.width() == 0.0) {
        interval = buildInterval(interval.minValue());
    }

    stepSize = QwtScaleArithmetic::divideInterval(interval.width(), std::max(maxNumSteps, 1), base());
    if (!testAttribute(Floating)) {
        interval = align(interval, stepSize);
    }

    x1 = interval.minValue();
    x2 = interval.maxValue();
    if (testAttribute(Inverted)) {
        std::swap(x1, x2);
        stepSize = -stepSize;
    }
}

QwtScaleDiv PseudoLogScaleEngine::divideScale(double x1, double x2, int maxMajorSteps, int maxMinorSteps,
                                              double stepSize) const {
    const QwtInterval interval = QwtInterval(x1, x2).normalized();
    if (interval.widthL() > std::numeric_limits<double>::max()) {
        qWarning("PseudoLogScaleEngine::divideScale: overflow");
        return QwtScaleDiv();
    }
    if (!(interval.width() > 0.0)) {
        return QwtScaleDiv();
    }

    stepSize = std::abs(stepSize);
    if (stepSize == 0.0) {
        stepSize = QwtScaleArithmetic::divideInterval(interval.width(), std::max(maxMajorSteps, 1), base());
    }

    QwtScaleDiv division;
    if (stepSize != 0.0) {
        QList<double> ticks[QwtScaleDiv::NTickTypes];
        ticks[QwtScaleDiv::MajorTick] = majorTicks(align(interval, stepSize), stepSize);
        if (maxMinorSteps > 0) {
            ticks[QwtScaleDiv::MinorTick] = minorTicks(ticks[QwtScaleDiv::MajorTick]);
        }
        for (QList<double>& list : ticks) {
            list = strip(list, interval);
            for (double& tick : list) {
                if (std::abs(tick) <= std::abs(stepSize * 1e-6)) {
                    tick = 0.0;
                }
            }
        }
        division = withTwoMajorTicks(QwtScaleDiv(interval, ticks), linearThreshold_, maxMajorSteps);
    }
    if (x1 > x2) {
        division.invert();
    }
    return division;
}

QwtInterval PseudoLogScaleEngine::align(const QwtInterval& interval, double stepSize) const {
    constexpr double Largest = std::numeric_limits<double>::max();
    double lower = interval.minValue();
    double upper = interval.maxValue();
    if (-Largest + stepSize <= lower) {
        const double aligned = QwtScaleArithmetic::floorEps(lower, stepSize);
        if (differs(lower, aligned)) {
            lower = aligned;
        }
    }
    if (Largest - stepSize >= upper) {
        const double aligned = QwtScaleArithmetic::ceilEps(upper, stepSize);
        if (differs(upper, aligned)) {
            upper = aligned;
        }
    }
    return {lower, upper};
}

QList<double> PseudoLogScaleEngine::majorTicks(const QwtInterval& interval, double stepSize) const {
    QList<double> ticks;
    ticks.reserve(static_cast<int>(std::min(std::round(interval.width() / stepSize) + 1.0, 10000.0)));
    ticks += interval.minValue();

    double value = interval.minValue();
    for (int round = 0; round < MaxRounds && value < interval.maxValue(); ++round) {
        value = nextDecade(value);
        if (value == 0.0 || (value < interval.maxValue() && std::abs(value) >= linearThreshold_)) {
            ticks += value;
        }
    }
    ticks += interval.maxValue();
    return ticks;
}

QList<double> PseudoLogScaleEngine::minorTicks(const QList<double>& majors) const {
    constexpr int MaxPerInterval = 10;
    QList<double> ticks;
    for (qsizetype i = 0; i + 1 < majors.size(); ++i) {
        const double from = majors[i];
        double increment = linearThreshold_ / 10.0;
        if (std::abs(from) > NearZero) {
            const double exponent = std::floor(std::log10(std::abs(from)));
            increment = std::pow(10.0, from < 0.0 ? exponent - 1.0 : exponent);
        }
        double position = from;
        for (int k = 0; k < MaxPerInterval; ++k) {
            position += increment;
            if (position > majors[i + 1]) {
                break;
            }
            ticks += position;
        }
    }
    return ticks;
}

} // namespace Tessaly
