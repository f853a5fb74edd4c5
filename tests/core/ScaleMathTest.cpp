#include "core/ScaleMath.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

namespace Tessaly {
namespace {

constexpr double nan = std::numeric_limits<double>::quiet_NaN();

TEST(ScaleMath, PseudoLogIsLinearInTheMiddleAndLogarithmicBeyond) {
    const PseudoLogScale scale;
    const std::pair<double, double> pairs[] = {
        {0, 0},       {50, 0.25},   {100, 0.5},
        {-100, -0.5}, {1000, 1.5},  {-1000, -1.5},
        {1e5, 3.5},   {-1e7, -5.5}, {100.0001, 0.5000004342942647}}; // log10(100.0001) - 1.5 by hand
    for (const auto& [value, mapped] : pairs) {
        EXPECT_NEAR(scale.transform(value), mapped, 1e-12) << value;
        EXPECT_NEAR(scale.inverse(mapped), value, 1e-9 * std::max(1.0, std::abs(value))) << value;
    }
    EXPECT_TRUE(std::isnan(scale.transform(nan)));

    // Linear up to 10 with slope 0.1; a decade more adds 1.
    const PseudoLogScale other{10.0, 0.1};
    EXPECT_NEAR(other.transform(5.0), 0.5, 1e-15);
    EXPECT_NEAR(other.transform(-1000.0), -3.0, 1e-12);
    EXPECT_NEAR(other.inverse(-3.0), -1000.0, 1e-9);
}

TEST(ScaleMath, TransformValuesByMode) {
    const std::vector<double> values{-3.0, 0.0, 0.1, 1.0, 1000.0};
    EXPECT_EQ(transformValues(values, ScaleMode::Linear), values);
    const std::vector<double> log = transformValues(values, ScaleMode::Log);
    const std::vector<double> pseudo = transformValues(values, ScaleMode::PseudoLog);
    const double expectedLog[] = {0.0, 0.0, -1.0, 0.0, 3.0};
    const double expectedPseudo[] = {-0.015, 0.0, 0.0005, 0.005, 1.5};
    for (std::size_t i = 0; i < values.size(); ++i) {
        EXPECT_NEAR(log[i], expectedLog[i], 1e-15);
        EXPECT_NEAR(pseudo[i], expectedPseudo[i], 1e-15);
    }
    EXPECT_EQ(transformValues(values, 7), pseudo);
    EXPECT_EQ(transformValues(std::vector{nan}, ScaleMode::Log), std::vector{0.0});
    EXPECT_TRUE(transformValues({}, ScaleMode::Log).empty());
}

TEST(ScaleMath, SinglePointsAndGates) {
    double x = 2.0;
    double y = 1.5;
    untransformPoint(x, y, ScaleMode::Log, ScaleMode::PseudoLog);
    EXPECT_NEAR(x, 100.0, 1e-12);
    EXPECT_NEAR(y, 1000.0, 1e-9);
    EXPECT_NEAR(scaleValue(std::exp(2.0), ScaleMode::Log), 2.0, 1e-15);
    for (const double value : {0.0, -0.0, -5.0, nan, 1.0}) {
        EXPECT_EQ(scaleValue(value, ScaleMode::Log), 0.0);
    }
    EXPECT_NEAR(scaleValue(-1000.0, ScaleMode::PseudoLog), -1.5, 1e-12);
    EXPECT_EQ(scaleValue(-5.0, ScaleMode::Linear), -5.0);
    EXPECT_EQ(scaleValue(-5.0, 7), -5.0);
}

} // namespace
} // namespace Tessaly
