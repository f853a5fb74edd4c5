#include "core/ScaleMath.h"

#include "core/VectorState.h"

#include <cmath>

namespace Tessaly {

namespace {

constexpr PseudoLogScale defaultPseudoLog;

double untransformed(double value, int mode) {
    switch (mode) {
    case ScaleMode::Linear:
        return value;
    case ScaleMode::Log:
        return std::pow(10.0, value);
    default:
        return defaultPseudoLog.inverse(value);
    }
}

} // namespace

double PseudoLogScale::transform(double value) const {
    if (value > linearThreshold) {
        return std::log10(value) + (slope * linearThreshold - std::log10(linearThreshold));
    }
    if (value < -linearThreshold) {
        return -(std::log10(-value) + (slope * linearThreshold - std::log10(linearThreshold)));
    }
    return slope * value;
}

double PseudoLogScale::inverse(double value) const {
    const double bound = slope * linearThreshold;
    const double shift = std::log10(linearThreshold) - bound;
    if (value > bound) {
        return std::pow(10.0, shift + value);
    }
    if (value < -bound) {
        return -std::pow(10.0, shift - value);
    }
    return value / slope;
}

std::vector<double> transformValues(std::span<const double> values, int mode) {
    clearUpperVectorState();
    std::vector<double> result(values.begin(), values.end());
    if (mode == ScaleMode::Log) {
        for (double& value : result) {
            value = value > 0.0 ? std::log10(value) : 0.0;
        }
    } else if (mode != ScaleMode::Linear) {
        for (double& value : result) {
            value = defaultPseudoLog.transform(value);
        }
    }
    return result;
}

void untransformPoint(double& x, double& y, int modeX, int modeY) {
    x = untransformed(x, modeX);
    y = untransformed(y, modeY);
}

double scaleValue(double value, int mode) {
    switch (mode) {
    case ScaleMode::Log:
        return value > 0.0 ? std::log(value) : 0.0;
    case ScaleMode::PseudoLog:
        return defaultPseudoLog.transform(value);
    default:
        return value;
    }
}

} // namespace Tessaly
