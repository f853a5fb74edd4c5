#pragma once

#include <span>

namespace Tessaly {

/// Location and spread of one vector of values.
struct DistributionStats {
    double mean = 0.0;
    double sd = 0.0; ///< sample standard deviation (divisor n - 1); 0 below two values
    double q1 = 0.0;
    double median = 0.0;
    double q3 = 0.0;
    double iqr = 0.0; ///< q3 - q1
};

/// Figures of a vector of finite values; all zero for an empty one.
/// Quantiles interpolate linearly between order statistics at position q (n - 1).
/// O(n), any thread; the input is left alone.
DistributionStats computeDistributionStats(std::span<const double> values);

} // namespace Tessaly
