#include "stats/SampleSummary.h"

#include "stats/Quantiles.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <numeric>

namespace Tessaly {

namespace {

constexpr double leastMean = 1e-15;
/// Squares of exponents within this many powers of two neither overflow nor vanish.
constexpr int safeExponent = 400;

/// The power of two that brings values into the range whose squares can be summed; 0 for nearly all data. Multiplying
/// by it is exact.
int exponentShift(double largest) {
    int exponent = 0;
    std::frexp(largest, &exponent);
    return std::abs(exponent) > safeExponent && largest > 0.0 ? -exponent : 0;
}

double largestSize(const AxisRange& axis) {
    return std::max(std::fabs(axis.min), std::fabs(axis.max));
}

/// Sum over function(value), in four parts so that additions need not wait for each other.
template <typename Function>
double sumOver(std::span<const double> values, Function function) {
    std::array<double, 4> parts{};
    std::size_t i = 0;
    for (; i + 4 <= values.size(); i += 4) {
        for (std::size_t part = 0; part < 4; ++part) {
            parts[part] += function(values[i + part]);
        }
    }
    for (; i < values.size(); ++i) {
        parts[0] += function(values[i]);
    }
    return (parts[0] + parts[1]) + (parts[2] + parts[3]);
}

/// The same for values that were shifted by powers of two; the common case spares that.
template <typename Function>
double shiftedSum(std::span<const double> values, int shift, Function function) {
    return shift == 0 ? sumOver(values, function)
                      : sumOver(values, [&](double value) { return function(std::ldexp(value, shift)); });
}

double medianOf(std::span<const double> values) {
    const std::size_t half = values.size() / 2;
    if (values.size() % 2 == 1) {
        return orderStatistics(values, std::array{half})[0];
    }
    const std::vector<double> middle = orderStatistics(values, std::array{half - 1, half});
    return std::midpoint(middle[0], middle[1]);
}

double rootMeanSquare(std::span<const double> values) {
    const int shift = exponentShift(largestSize(AxisRange(values)));
    const double squares = shiftedSum(values, shift, [](double value) { return value * value; });
    return std::ldexp(std::sqrt(squares / static_cast<double>(values.size())), -shift);
}

} // namespace

MeanAndSd meanAndSd(std::span<const double> values, int divisorOffset) {
    if (values.empty()) {
        return {};
    }
    const AxisRange axis(values);
    if (axis.isConstant()) {
        return {axis.min, 0.0}; // no deviation, not even one of rounding
    }
    const auto n = static_cast<double>(values.size());
    const int shift = exponentShift(largestSize(axis));
    const double mean = shiftedSum(values, shift, [](double value) { return value; }) / n;
    const double squares = shiftedSum(values, shift, [mean](double value) { return (value - mean) * (value - mean); });
    return {std::ldexp(mean, -shift), std::ldexp(std::sqrt(squares / (n - divisorOffset)), -shift)};
}

double meanOf(std::span<const double> values) {
    if (values.empty()) {
        return 0.0;
    }
    const AxisRange axis(values);
    if (axis.isConstant()) {
        return axis.min;
    }
    const int shift = exponentShift(largestSize(axis));
    const double sum = shiftedSum(values, shift, [](double value) { return value; });
    return std::ldexp(sum / static_cast<double>(values.size()), -shift);
}

double plainIqr(std::span<const double> values) {
    if (values.empty()) {
        return 0.0;
    }
    const std::vector<double> quartiles = orderStatistics(values, std::array{3 * values.size() / 4, values.size() / 4});
    return quartiles[0] - quartiles[1];
}

double summarize(std::span<const double> values, SampleSummary summary) {
    if (values.empty()) {
        return 0.0;
    }
    switch (summary) {
    case SampleSummary::Median:
        return medianOf(values);
    case SampleSummary::Mean:
        return meanOf(values);
    case SampleSummary::Sd:
        return meanAndSd(values).sd;
    case SampleSummary::Cv: {
        const MeanAndSd moments = meanAndSd(values);
        return std::fabs(moments.mean) < leastMean ? 0.0 : moments.sd / std::fabs(moments.mean);
    }
    case SampleSummary::Iqr:
        return plainIqr(values);
    }
    return 0.0;
}

double foldValues(std::span<const double> values, SampleSummary summary) {
    if (values.size() == 1) {
        return values[0];
    }
    return summary == SampleSummary::Sd && !values.empty() ? rootMeanSquare(values) : meanOf(values);
}

} // namespace Tessaly
