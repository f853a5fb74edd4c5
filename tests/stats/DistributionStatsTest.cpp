#include "stats/DistributionStats.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <random>
#include <vector>

namespace Tessaly {
namespace {

TEST(DistributionStats, SmallSamplesByHand) {
    struct Case {
        std::vector<double> values;
        double mean, sd, q1, median, q3, iqr;
    };
    // Quartiles lie at positions 0.25 (n - 1) and so on between the sorted values.
    const std::vector<Case> cases{
        {{}, 0, 0, 0, 0, 0, 0},
        {{4.5}, 4.5, 0, 4.5, 4.5, 4.5, 0},
        {{2, 1}, 1.5, std::sqrt(0.5), 1.25, 1.5, 1.75, 0.5},
        {{3, 1, 2}, 2, 1, 1.5, 2, 2.5, 1},
        {{7, -1, 3, 3}, 3, std::sqrt(32.0 / 3.0), 2, 3, 4, 2},
        {{5, 5, 5, 5, 5}, 5, 0, 5, 5, 5, 0},
        {{6, 5, 4, 3, 2, 1}, 3.5, std::sqrt(3.5), 2.25, 3.5, 4.75, 2.5},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.values.size());
        const std::vector<double> before = c.values;
        const DistributionStats stats = computeDistributionStats(c.values);
        EXPECT_EQ(c.values, before);
        EXPECT_DOUBLE_EQ(stats.mean, c.mean);
        EXPECT_DOUBLE_EQ(stats.sd, c.sd);
        EXPECT_DOUBLE_EQ(stats.q1, c.q1);
        EXPECT_DOUBLE_EQ(stats.median, c.median);
        EXPECT_DOUBLE_EQ(stats.q3, c.q3);
        EXPECT_DOUBLE_EQ(stats.iqr, c.iqr);
    }
}

TEST(DistributionStats, QuantilesEqualThoseOfASortedCopy) {
    const auto sortedQuantile = [](const std::vector<double>& sorted, double q) {
        const double position = q * static_cast<double>(sorted.size() - 1);
        const auto i = static_cast<std::size_t>(position);
        const double f = position - static_cast<double>(i);
        return i + 1 < sorted.size() ? f * sorted[i + 1] + (1 - f) * sorted[i] : sorted[i];
    };
    std::mt19937_64 random(7);
    for (std::size_t count = 1; count < 300; ++count) {
        std::vector<double> values(count);
        // Every third sample is full of ties.
        for (double& value : values) {
            value = count % 3 == 0 ? static_cast<double>(random() % 5) : static_cast<double>(random()) / 1e12 - 5e6;
        }
        const DistributionStats stats = computeDistributionStats(values);
        std::sort(values.begin(), values.end());
        ASSERT_EQ(stats.q1, sortedQuantile(values, 0.25)) << count;
        ASSERT_EQ(stats.median, sortedQuantile(values, 0.5)) << count;
        ASSERT_EQ(stats.q3, sortedQuantile(values, 0.75)) << count;
    }
    // Selection must not run away on values that have no order.
    std::vector<double> values(1000, std::numeric_limits<double>::quiet_NaN());
    for (std::size_t i = 0; i < values.size(); i += 3) {
        values[i] = static_cast<double>(i);
    }
    EXPECT_TRUE(std::isnan(computeDistributionStats(values).mean));
}

} // namespace
} // namespace Tessaly
