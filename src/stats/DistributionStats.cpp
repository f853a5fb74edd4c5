#include "stats/DistributionStats.h"

#include "stats/Quantiles.h"

#include <array>
#include <cmath>
#include <vector>

namespace Tessaly {

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
    const std::vector<double> quartiles = quantiles(values, std::array{0.25, 0.5, 0.75});
    stats.q1 = quartiles[0];
    stats.median = quartiles[1];
    stats.q3 = quartiles[2];
    stats.iqr = stats.q3 - stats.q1;
    return stats;
}

} // namespace Tessaly
