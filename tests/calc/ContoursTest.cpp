#include "calc/Contours.h"

#include "core/ScaleMath.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <map>
#include <random>
#include <tuple>

namespace Tessaly {
namespace {

constexpr double nan = std::numeric_limits<double>::quiet_NaN();

/// A grid whose cell centres lie at (column, row).
DensityGrid gridOf(int size, std::vector<double> values) {
    return {std::move(values), size, -0.5, -0.5, 1.0, 1.0};
}

void expectLines(const std::vector<Polyline>& lines, const std::vector<Polyline>& expected) {
    ASSERT_EQ(lines.size(), expected.size());
    for (std::size_t i = 0; i < lines.size(); ++i) {
        ASSERT_EQ(lines[i].size(), expected[i].size()) << i;
        for (std::size_t k = 0; k < lines[i].size(); ++k)
            EXPECT_LT(std::hypot(lines[i][k].first - expected[i][k].first, lines[i][k].second - expected[i][k].second),
                      1e-12);
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

/// Segments in a list, an ordered map from edges to them: the chaining as one would write it down.
class PlainMarching {
public:
    PlainMarching(const DensityGrid& grid, double level) : grid_(grid), level_(level) {
        for (int r = 0; r + 1 < grid.size; ++r) {
            for (int c = 0; c + 1 < grid.size; ++c)
                addSquare(r, c);
        }
    }

    std::vector<Polyline> lines() {
        std::vector<Polyline> result;
        for (Segment& segment : segments_) {
            if (segment.used)
                continue;
            segment.used = true;
            Polyline line{segment.points[0], segment.points[1]};
            Polyline before;
            walk(segment.keys[1], line);
            walk(segment.keys[0], before);
            line.insert(line.begin(), before.rbegin(), before.rend());
            result.push_back(line);
        }
        return result;
    }

private:
    using Key = std::tuple<int, int, int>;
    struct Segment {
        std::array<std::pair<double, double>, 2> points;
        std::array<Key, 2> keys;
        bool used = false;
    };

    void walk(Key key, Polyline& line) {
        for (std::size_t i = 0; i < touching_[key].size(); ++i) {
            Segment& segment = segments_[touching_[key][i]];
            if (segment.used)
                continue;
            segment.used = true;
            const std::size_t far = segment.keys[0] == key ? 1 : 0;
            line.push_back(segment.points[far]);
            return walk(segment.keys[far], line);
        }
    }

    double at(int r, int c) const { return grid_.values[static_cast<std::size_t>(r * grid_.size + c)]; }

    std::pair<double, double> between(int r0, int c0, int r1, int c1) const {
        const double p = at(r0, c0);
        const double q = at(r1, c1);
        const double t = std::abs(q - p) < 1e-30 ? 0.5 : std::clamp((level_ - p) / (q - p), 0.0, 1.0);
        const auto x = [this](int c) { return (c + 0.5) * grid_.xStep + grid_.xOrigin; };
        const auto y = [this](int r) { return (r + 0.5) * grid_.yStep + grid_.yOrigin; };
        return {x(c0) + t * (x(c1) - x(c0)), y(r0) + t * (y(r1) - y(r0))};
    }

    void add(int r, int c, int from, int to) {
        const std::array<std::pair<double, double>, 4> points{between(r, c, r, c + 1), between(r, c + 1, r + 1, c + 1),
                                                              between(r + 1, c, r + 1, c + 1), between(r, c, r + 1, c)};
        const std::array<Key, 4> keys{Key{r, c, 0}, {r, c, 1}, {r + 1, c, 0}, {r, c - 1, 1}};
        const auto f = static_cast<std::size_t>(from);
        const auto t = static_cast<std::size_t>(to);
        touching_[keys[f]].push_back(segments_.size());
        touching_[keys[t]].push_back(segments_.size());
        segments_.push_back({{points[f], points[t]}, {keys[f], keys[t]}});
    }

    void addSquare(int r, int c) {
        const double a = at(r, c), b = at(r, c + 1), d = at(r + 1, c + 1), e = at(r + 1, c);
        const int code = (a >= level_) + 2 * (b >= level_) + 4 * (d >= level_) + 8 * (e >= level_);
        const bool high = (a + b + d + e) * 0.25 >= level_;
        if ((code == 5 && high) || (code == 10 && !high)) {
            add(r, c, 0, 3);
            add(r, c, 1, 2);
        } else if (code == 5 || code == 10) {
            add(r, c, 0, 1);
            add(r, c, 3, 2);
        } else if (code != 0 && code != 15) {
            const std::map<int, std::pair<int, int>> table{{1, {3, 0}}, {2, {0, 1}}, {3, {3, 1}},
                                                           {4, {1, 2}}, {6, {0, 2}}, {7, {3, 2}}};
            const auto [from, to] = table.at(table.contains(code) ? code : 15 - code);
            add(r, c, from, to);
        }
    }

    const DensityGrid& grid_;
    double level_;
    std::vector<Segment> segments_;
    std::map<Key, std::vector<std::size_t>> touching_;
};

TEST(MarchingSquares, AgreesWithThePlainFormInPointsAndOrder) {
    std::mt19937_64 random(5);
    for (int round = 0; round < 60; ++round) {
        const int size = 2 + round;
        DensityGrid grid = gridOf(size, {});
        grid.xStep = 0.3;
        // Few different values make saddles and corners right at the level; every third grid is smooth.
        for (int i = 0; i < size * size; ++i)
            grid.values.push_back(round % 3 == 0
                                      ? std::sin(i % size * 0.4) + std::cos(i / size * 0.3 + round)
                                      : static_cast<double>(random() % 5) + (round % 2 ? 0.1 * (i % 7) : 0.0));
        for (const double level : {0.5, 1.0, 2.0, 2.3})
            EXPECT_EQ(marchingSquares(grid, level), PlainMarching(grid, level).lines()) << round << ' ' << level;
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
                const std::vector<double> onLine =
                    interpolateGrid(grid, std::vector<double>{px}, std::vector<double>{py});
                EXPECT_NEAR(onLine[0], contours[index].level, 1e-9 * contours[index].level);
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
    for (int mode = 0; mode < 3; ++mode)
        EXPECT_EQ(computeContours(odd, four, half, mode, mode).size(), 1U);
}

} // namespace
} // namespace Tessaly
