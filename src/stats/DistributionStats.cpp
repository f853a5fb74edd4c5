#include "stats/DistributionStats.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <vector>

namespace Tessaly {

namespace {

/// NaN sorts last, so that selection stays well defined whatever it is given.
bool before(double a, double b) {
    return a < b || (std::isnan(b) && !std::isnan(a));
}

/// The quantile of values whose elements below `from` are known to be no greater than those behind.
double selectQuantile(std::vector<double>& values, double fraction, std::size_t from) {
    const double position = fraction * static_cast<double>(values.size() - 1);
    const auto index = static_cast<std::size_t>(position);
    const double part = position - static_cast<double>(index);
    const auto first = values.begin() + static_cast<std::ptrdiff_t>(std::min(from, index));
    const auto lower = values.begin() + static_cast<std::ptrdiff_t>(index);
    std::nth_element(first, lower, values.end(), before);
    if (index + 1 >= values.size()) {
        return *lower;
    }
    const auto upper = std::min_element(lower + 1, values.end(), before);
    // The upper neighbour takes its sorted place, so that the next selection may start behind it.
    std::iter_swap(lower + 1, upper);
    return part * *(lower + 1) + (1.0 - part) * *lower;
}

} // namespace

DistributionStats computeDistributionStats(std::span<const double> values) {
    DistributionStats stats;
    if (values.empty()) {
        return stats;
    }
    const auto count = static_cast<double>(values.size());
    double sum = 0.0;
    for (const double value : values) {
        sum += value;
    }
    stats.mean = sum / count;
    if (values.size() >= 2) {
        double squares = 0.0;
        for (const double value : values) {
            squares += (value - stats.mean) * (value - stats.mean);
        }
        stats.sd = std::sqrt(squares / (count - 1.0));
    }
    std::vector<double> selected(values.begin(), values.end());
    stats.q1 = selectQuantile(selected, 0.25, 0);
    const std::size_t belowMedian = (selected.size() - 1) / 4;
    stats.median = selectQuantile(selected, 0.5, belowMedian);
    stats.q3 = selectQuantile(selected, 0.75, (selected.size() - 1) / 2);
    stats.iqr = stats.q3 - stats.q1;
    return stats;
}

} // namespace Tessaly
