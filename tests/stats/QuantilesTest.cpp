#include "stats/Quantiles.h"

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <limits>

namespace Tessaly {
namespace {

constexpr double Inf = std::numeric_limits<double>::infinity();
constexpr double NaN = std::numeric_limits<double>::quiet_NaN();

TEST(Quantiles, InterpolateBetweenNeighbours) {
    // By hand: position q (n - 1), linear between the neighbours.
    const struct {
        std::vector<double> values;
        std::array<double, 5> expected; // at 0, 0.25, 0.5, 0.9 and 1
    } rows[] = {
        {{4, 1, 3, 2}, {1.0, 1.75, 2.5, 3.7, 4.0}},
        {{7}, {7, 7, 7, 7, 7}},
        {{5, 5, 5, 1}, {1, 4, 5, 5, 5}},
        {{-Inf, 0, 10}, {-Inf, -Inf, 0, 8, 10}},
    };
    for (const auto& row : rows) {
        const std::vector<double> found = quantiles(row.values, std::array{0.0, 0.25, 0.5, 0.9, 1.0});
        ASSERT_EQ(found.size(), row.expected.size());
        for (std::size_t i = 0; i < found.size(); ++i) {
            EXPECT_TRUE(found[i] == row.expected[i] || std::fabs(found[i] - row.expected[i]) < 1e-12)
                << row.values.size() << " values, fraction " << i << ": " << found[i];
        }
    }
    EXPECT_TRUE(quantiles({}, std::array{0.5}).empty());
    const std::vector<double> withHole = quantiles(std::array{2.0, NaN, 1.0}, std::array{0.0, 0.25, 1.0});
    EXPECT_EQ(withHole[0], 1.0);
    EXPECT_EQ(withHole[1], 1.5);
    EXPECT_TRUE(std::isnan(withHole[2])); // NaN comes last
}

} // namespace
} // namespace Tessaly
