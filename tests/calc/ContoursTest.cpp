#include "calc/density/Contours.h"

#include "core/ScaleMath.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <random>

namespace Tessaly {
namespace {

using Values = std::vector<double>;

constexpr double nan = std::numeric_limits<double>::quiet_NaN();

/// A grid whose cell centres lie at (column, row).
DensityGrid gridOf(int size, std::vector<double> values) {
    return {std::move(values), size, -0.5, -0.5, 1.0, 1.0};
}

void expectLines(const std::vector<Polyline>& lines, const std::vector<Polyline>& expected) {
    ASSERT_EQ(lines.size(), expected.size());
    for (std::size_t i = 0; i < lines.size(); ++i) {
        ASSERT_EQ(lines[i].size(), expected[i].size()) << i;
        for (std::size_t k = 0; k < lines[i].size(); ++k) {
            EXPECT_LT(std::hypot(lines[i][k].first - expected[i][k].first, lines[i][k].second - expected[i][k].second),
                      1e-12);
        }
    }
}

TEST(MarchingSquares, SaddlesArePairedByTheMean) {
    // Corners low left and high right at 1: the mean of 0.5 reaches 0.4 and not 0.6.
    const DensityGrid rising = gridOf(2, {1, 0, 0, 1});
    expectLines(marchingSquares(rising, 0.4), {{{0.6, 0}, {0, 0.6}}, {{1, 0.4}, {0.4, 1}}});
    expectLines(marchingSquares(rising, 0.6), {{{0.4, 0}, {1, 0.6}}, {{0, 0.4}, {0.6, 1}}});
    const DensityGrid falling = gridOf(2, {0, 1, 1, 0});
    expectLines(marchingSquares(falling, 0.4), {{{0.4, 0}, {1, 0.6}}, {{0, 0.4}, {0.6, 1}}});
    expectLines(marchingSquares(falling, 0.6), {{{0.6, 0}, {0, 0.6}}, {{1, 0.4}, {0.4, 1}}});
}

TEST(MarchingSquares, LinesByHand) {
    // A peak in the middle: a closed line that ends on its first point.
    expectLines(marchingSquares(gridOf(3, {0, 0, 0, 0, 4, 0, 0, 0, 0}), 1.0),
                {{{1, 0.25}, {0.25, 1}, {1, 1.75}, {1.75, 1}, {1, 0.25}}});
    // A slope: one line from rim to rim, in the direction of its first segment.
    expectLines(marchingSquares(gridOf(3, {0, 0, 0, 2, 2, 2, 4, 4, 4}), 1.0), {{{0, 0.5}, {1, 0.5}, {2, 0.5}}});
    // A step of less than 1e-30 is crossed in its middle.
    const double tiny = 1e-31;
    expectLines(marchingSquares(gridOf(2, {0, 0, tiny, tiny}), tiny), {{{0, 0.5}, {1, 0.5}}});
    EXPECT_TRUE(marchingSquares(gridOf(2, {1, 1, 1, 1}), 1.0).empty());
    EXPECT_TRUE(marchingSquares(gridOf(1, {1}), 0.5).empty());
    EXPECT_TRUE(marchingSquares({}, 0.5).empty());
}

/// Every crossed square has its one or two segments, they lie at the level, and lines end only at the rim.
TEST(MarchingSquares, LinesAreWholeOnGridsOfAllKinds) {
    std::mt19937_64 random(5);
    for (int round = 0; round < 60; ++round) {
        const int size = 2 + round;
        DensityGrid grid = gridOf(size, {});
        // Few different values make saddles and corners right at the level; every third grid is smooth.
        for (int i = 0; i < size * size; ++i) {
            grid.values.push_back(round % 3 == 0
                                      ? std::sin(i % size * 0.4) + std::cos(i / size * 0.3 + round)
                                      : static_cast<double>(random() % 5) + (round % 2 ? 0.1 * (i % 7) : 0.0));
        }
        const auto high = [&](int column, int row, double level) {
            return grid.values[static_cast<std::size_t>(row * size + column)] >= level;
        };
        for (const double level : {0.5, 1.0, 2.0, 2.3}) {
            std::size_t expected = 0;
            for (int i = 0; i < (size - 1) * (size - 1); ++i) {
                const int c = i % (size - 1), r = i / (size - 1);
                const int sides = (high(c, r, level) != high(c + 1, r, level)) +
                                  (high(c, r + 1, level) != high(c + 1, r + 1, level)) +
                                  (high(c, r, level) != high(c, r + 1, level)) +
                                  (high(c + 1, r, level) != high(c + 1, r + 1, level));
                expected += static_cast<std::size_t>(sides) / 2;
            }
            std::size_t segments = 0;
            for (const Polyline& line : marchingSquares(grid, level)) {
                segments += line.size() - 1;
                const auto& [x, y] = line.front();
                EXPECT_TRUE(line.front() == line.back() || x == 0 || y == 0 || x == size - 1 || y == size - 1);
                for (std::size_t k = 0; k < line.size(); ++k) {
                    const Values at = interpolateGrid(grid, Values{line[k].first}, Values{line[k].second});
                    EXPECT_NEAR(at[0], level, 1e-9) << round;
                    EXPECT_TRUE(k == 0 || std::hypot(line[k].first - line[k - 1].first,
                                                     line[k].second - line[k - 1].second) < 1.4143);
                }
            }
            EXPECT_EQ(segments, expected) << round << ' ' << level;
        }
    }
}

std::pair<std::vector<double>, std::vector<double>> logNormalCloud() {
    std::mt19937_64 random(11);
    std::normal_distribution<double> normal;
    std::vector<double> x, y;
    for (int i = 0; i < 3000; ++i) {
        x.push_back(std::exp(4.0 + 0.5 * normal(random)));
        y.push_back(0.05 + 0.01 * normal(random));
    }
    return {x, y};
}

TEST(Contours, RunAtTheDensitiesThatSharesOfEventsFallBelow) {
    const auto [x, y] = logNormalCloud();
    const std::vector<double> fractions{0.67, 0.1, 0.0, 1.0, 0.5, -1.0, nan, 0.99999};
    const std::vector<ContourLevel> contours = computeContours(x, y, fractions, 0, 0);
    std::vector<double> density = computeDensity(x, y, DensityMethod::Kde);
    std::sort(density.begin(), density.end());
    const DensityGrid grid = kernelDensityGrid(x, y, 0);
    ASSERT_EQ(contours.size(), fractions.size());
    for (const auto& [index, place] : {std::pair{0U, 2010U}, {1U, 300U}, {4U, 1500U}, {7U, 2999U}}) {
        EXPECT_EQ(contours[index].fraction, fractions[index]);
        EXPECT_EQ(contours[index].level, density[place]);
        for (const Polyline& line : contours[index].polylines) {
            EXPECT_GE(line.size(), 2U);
            EXPECT_EQ(line.front(), line.back()) << "the cloud lies within the grid: all lines are closed";
            for (const auto& [px, py] : line) {
                EXPECT_NEAR(interpolateGrid(grid, Values{px}, Values{py})[0], contours[index].level,
                            1e-9 * contours[index].level);
            }
        }
    }
    EXPECT_FALSE(contours[0].polylines.empty() || contours[1].polylines.empty());
    for (const std::size_t index : {2U, 3U, 5U, 6U}) {
        EXPECT_EQ(contours[index].level, 0.0);
        EXPECT_TRUE(contours[index].polylines.empty());
    }
}

TEST(Contours, LogAxesAreLinearOnesOfTheLogarithm) {
    const auto [x, y] = logNormalCloud();
    const std::vector<double> fractions{0.3};
    const auto onLog = computeContours(x, y, fractions, ScaleMode::Log, ScaleMode::PseudoLog);
    const auto linear =
        computeContours(transformValues(x, ScaleMode::Log), transformValues(y, ScaleMode::PseudoLog), fractions, 0, 0);
    ASSERT_EQ(onLog[0].polylines.size(), linear[0].polylines.size());
    EXPECT_EQ(onLog[0].level, linear[0].level);
    for (std::size_t i = 0; i < onLog[0].polylines.size(); ++i) {
        for (std::size_t k = 0; k < onLog[0].polylines[i].size(); ++k) {
            const auto& [lx, ly] = linear[0].polylines[i][k];
            EXPECT_DOUBLE_EQ(onLog[0].polylines[i][k].first, std::pow(10.0, lx));
            EXPECT_DOUBLE_EQ(onLog[0].polylines[i][k].second, ly / 0.005);
        }
    }
}

TEST(Contours, TooLittleGivesNothing) {
    const std::vector<double> three{1, 2, 3};
    const std::vector<double> four{1, 2, 3, 4};
    const std::vector<double> half{0.5};
    EXPECT_TRUE(computeContours(three, three, half, 0, 0).empty());
    EXPECT_TRUE(computeContours(four, three, half, 0, 0).empty());
    EXPECT_TRUE(computeContours(four, four, {}, 0, 0).empty());
    EXPECT_EQ(computeContours(four, four, half, 0, 0).size(), 1U);
    const auto ofNothing = contoursOfDensity(DensityGrid(), {}, half, 0, 0);
    ASSERT_EQ(ofNothing.size(), 1U);
    EXPECT_EQ(ofNothing[0].level, 0.0);
    const std::vector<double> odd{nan, 1e308, -1e308, std::numeric_limits<double>::infinity()};
    for (int mode = 0; mode < 3; ++mode) {
        EXPECT_EQ(computeContours(odd, four, half, mode, mode).size(), 1U);
    }
}

} // namespace
} // namespace Tessaly
