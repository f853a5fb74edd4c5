#include "stats/DensityCurves.h"

#include "stats/StatsReference.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <numeric>

namespace Tessaly {
namespace {

using Values = std::vector<double>;

double areaOf(const Values& density, const CurveGrid& grid) {
    return std::accumulate(density.begin(), density.end(), 0.0) * grid.step;
}

TEST(DensityCurves, AgreeWithNumPyAndSciPy) {
    for (const DensityRow& row : densityRows) {
        SCOPED_TRACE(row.sample.seed);
        const std::optional<CurveGrid> grid = densityGrid(row.low, row.high);
        ASSERT_TRUE(grid);
        EXPECT_DOUBLE_EQ(grid->start, row.start);
        EXPECT_NEAR(grid->step, row.step, 1e-13 * row.step);
        const Values density = densityCurve(makeSample(row.sample), *grid);
        ASSERT_EQ(density.size(), CurveGrid::size);
        EXPECT_EQ(std::ranges::max_element(density) - density.begin(), static_cast<std::ptrdiff_t>(row.peak));
        const auto expectAt = [&](std::size_t point, double expected) {
            EXPECT_NEAR(density[point] * grid->range, expected, 1e-9) << point;
        };
        expectAt(row.peak, row.atPeak);
        expectAt(row.peak < 2 ? 0 : row.peak - 2, row.before);
        expectAt(std::min(row.peak + 5, CurveGrid::size - 1), row.behind);
        expectAt(17, row.at17);
        expectAt(128, row.at128);
        double weighted = 0.0;
        for (std::size_t i = 0; i < density.size(); ++i) {
            weighted += static_cast<double>(i) * density[i] * grid->step;
        }
        EXPECT_NEAR(weighted, row.meanPoint, 1e-8);
        EXPECT_NEAR(areaOf(density, *grid), 1.0, 1e-12);
    }
}

TEST(DensityCurves, Grids) {
    const std::optional<CurveGrid> plain = densityGrid(0.0, 10.0);
    ASSERT_TRUE(plain);
    EXPECT_EQ(plain->start, -0.5);
    EXPECT_NEAR(plain->at(255), 10.5, 1e-12);
    const std::optional<CurveGrid> equal = densityGrid(3.0, 3.0);
    ASSERT_TRUE(equal);
    EXPECT_EQ(equal->range, 1.0);
    EXPECT_NEAR(equal->at(255), 4.05, 1e-12);
    // One more makes no difference to a huge number, but the grid must have an extent.
    const std::optional<CurveGrid> huge = densityGrid(1e300, 1e300);
    ASSERT_TRUE(huge);
    EXPECT_NEAR(areaOf(densityCurve(Values{1e300, 1e300}, *huge), *huge), 1.0, 1e-12);
    EXPECT_FALSE(densityGrid(-1.5e308, 1.5e308));
    EXPECT_FALSE(densityGrid(0.0, std::numeric_limits<double>::denorm_min()));
    EXPECT_FALSE(densityGrid(std::numeric_limits<double>::quiet_NaN(), 1.0));
}

TEST(DensityCurves, Edges) {
    const CurveGrid grid{0.0, 1.0, 255.0};
    EXPECT_EQ(densityCurve({}, grid), Values(CurveGrid::size, 0.0));
    // Everything lies on the last point: half of the kernel is cut off, and the rest is the whole.
    const Values end = densityCurve(Values{255.0, 255.0}, grid);
    EXPECT_NEAR(areaOf(end, grid), 1.0, 1e-12);
    EXPECT_EQ(std::ranges::max_element(end) - end.begin(), 255);
    const Values start = densityCurve(Values{0.0, 0.0}, grid);
    for (std::size_t i = 0; i < end.size(); ++i) {
        EXPECT_NEAR(start[i], end[end.size() - 1 - i], 1e-15); // mirrored
    }
    // No quartile range but a deviation: s = sd = sqrt(0.09) * 100, with h = 0.5 s 10^(-0.2).
    Values mostlyEqual(10, 100.0);
    mostlyEqual[9] = 200.0;
    const Values density = densityCurve(mostlyEqual, grid);
    const double h = 0.5 * 30.0 * std::pow(10.0, -0.2);
    EXPECT_NEAR(density[100 + 12] / density[100], std::exp(-0.5 * 144.0 / (h * h)), 1e-12);
}

TEST(DensityCurves, Averages) {
    const MeanCurve one = averageCurves(std::vector<Values>{{1, 2, 3}});
    EXPECT_EQ(one.mean, (Values{1, 2, 3}));
    EXPECT_TRUE(one.sd.empty());
    const MeanCurve three = averageCurves(std::vector<Values>{{1, 0}, {2, 0}, {6, 0}});
    EXPECT_EQ(three.mean, (Values{3, 0}));
    EXPECT_NEAR(three.sd[0], std::sqrt(7.0), 1e-14); // squares 4 + 1 + 9, by 2
    EXPECT_EQ(three.sd[1], 0.0);
}

} // namespace
} // namespace Tessaly
