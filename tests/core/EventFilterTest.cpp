#include "core/EventFilter.h"

#include "core/ScaleMath.h"
#include "support/FilterRules.h"
#include "support/PlainFilter.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <random>

namespace Tessaly {
namespace {

constexpr double nan = std::numeric_limits<double>::quiet_NaN();
constexpr double infinity = std::numeric_limits<double>::infinity();

using Vertices = std::vector<std::pair<double, double>>;

FilterRule range(const std::string& feature, double min, double max, bool inverted = false) {
    FilterRule rule = rangeRule(feature, min, max);
    rule.inverted = inverted;
    return rule;
}

FilterRule polygon(Vertices vertices, int scaleX = 0, int scaleY = 0, bool inverted = false) {
    FilterRule rule = range("x", 0, 0, inverted);
    rule.type = FilterRule::Polygon;
    rule.featureNameY = std::string("y");
    rule.polygonVertices = std::move(vertices);
    rule.scaleXMode = scaleX;
    rule.scaleYMode = scaleY;
    return rule;
}

EventFilter filterOf(const std::vector<FilterRule>& rules, int combineMode = EventFilter::ShowPassing) {
    EventFilter filter;
    for (const FilterRule& rule : rules) {
        filter.addRule(rule);
    }
    filter.setCombineMode(combineMode);
    return filter;
}

TEST(PointInPolygon, EdgesBelongToTheSquareOnTheirLowSides) {
    const Vertices square{{0, 0}, {2, 0}, {2, 2}, {0, 2}};
    const struct {
        double x, y;
        bool inside;
    } cases[] = {{1, 1, true},    {0, 1, true},    {2, 1, false},        {1, 0, true},         {1, 2, false},
                 {0, 0, true},    {2, 2, false},   {-1e-300, 1, false},  {3, 1, false},        {1, -1, false},
                 {nan, 1, false}, {1, nan, false}, {infinity, 1, false}, {-infinity, 1, false}};
    for (const auto& c : cases) {
        EXPECT_EQ(pointInPolygon(c.x, c.y, square), c.inside) << c.x << ' ' << c.y;
    }
    EXPECT_FALSE(pointInPolygon(0, 0, {}));
    // Even-odd: a point that is covered twice is outside.
    const Vertices twice{{0, 0}, {4, 0}, {4, 4}, {0, 4}, {0, 0}, {4, 0}, {4, 4}, {0, 4}};
    EXPECT_FALSE(pointInPolygon(1, 1, twice));
}

TEST(EventFilter, VerdictsByRule) {
    const std::vector<double> x{1, 2, 3, nan, -1, 2.5, infinity};
    const std::vector<double> y{1, 1, 5, 1, 1, nan, 1};
    const std::vector<double> shortColumn{1, 2};
    const ColumnMap columns{{"x", &x}, {"y", &y}, {"short", &shortColumn}, {"null", nullptr}};
    const std::vector<int> all{0, 1, 2, 3, 4, 5, 6};
    const Vertices square{{0.5, 0.5}, {2.7, 0.5}, {2.7, 2.0}, {0.5, 2.0}};
    FilterRule disabled = range("x", 5, 6);
    disabled.enabled = false;
    FilterRule missingY = polygon(square);
    missingY.featureNameY = "short";
    FilterRule unknownType = range("x", 5, 6);
    unknownType.type = 2;

    const struct {
        const char* what;
        std::vector<FilterRule> rules;
        std::vector<int> passing;
        bool takesPart = true;
    } cases[] = {
        {"both bounds belong to a range", {range("x", 1, 3)}, {0, 1, 2, 5}},
        {"an inverted range takes NaN", {range("x", 1, 3, true)}, {3, 4, 6}},
        {"one value", {range("x", 2, 2)}, {1}},
        {"bounds crossed", {range("x", 3, 1)}, {}},
        {"bounds crossed, inverted", {range("x", 3, 1, true)}, all},
        {"two ranges", {range("x", 0, 2), range("y", 0, 2)}, {0, 1}},
        {"a polygon", {polygon(square)}, {0, 1}},
        {"a polygon, inverted", {polygon(square, 0, 0, true)}, {2, 3, 4, 5, 6}},
        {"range and polygon", {polygon(square), range("x", 1.5, 9)}, {1}},
        // On a log axis -1 and NaN stand where 1 does; so does a corner at 0.
        {"a log polygon", {polygon({{0.5, 0.5}, {1.5, 0.5}, {1.5, 2.0}, {0.5, 2.0}}, 1, 1)}, {0, 3, 4}},
        {"a corner at 0", {polygon({{0.0, 0.5}, {2.2, 0.5}, {2.2, 2.0}, {0.0, 2.0}}, 1, 1)}, {0, 1, 3, 4}},
        {"two corners", {polygon({{0, 0}, {9, 9}})}, all, false},
        {"disabled", {disabled}, all, false},
        {"missing", {range("absent", 5, 6)}, all, false},
        {"null", {range("null", 5, 6)}, all, false},
        {"short", {range("short", 5, 6)}, all, false},
        {"short y", {missingY}, all, false},
        {"unknown type", {unknownType}, all, false},
        {"only the existing one counts", {range("absent", 5, 6), range("x", 2, 2)}, {1}},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(filterOf(c.rules).evaluate(columns, x.size()), c.passing) << c.what;
        std::vector<int> excluded;
        std::set_difference(all.begin(), all.end(), c.passing.begin(), c.passing.end(), std::back_inserter(excluded));
        // With no rule taking part there is nothing to be the complement of.
        EXPECT_EQ(filterOf(c.rules, EventFilter::ShowExcluded).evaluate(columns, x.size()),
                  c.takesPart ? excluded : all)
            << c.what;
    }
    EXPECT_TRUE(filterOf({range("x", 0, 9)}).evaluate(columns, 0).empty());
}

TEST(EventFilter, RuleListIgnoresBadIndices) {
    EventFilter filter = filterOf({range("x", 0, 1), range("y", 0, 1)});
    const EventFilter before = filter;
    for (const int index : {-1, 2, 100}) {
        filter.setRule(index, range("z", 0, 1));
        filter.removeRule(index);
    }
    EXPECT_EQ(filter, before);
    filter.setRule(1, range("z", 0, 1));
    filter.removeRule(0);
    EXPECT_EQ(filter.rules(), std::vector{range("z", 0, 1)});
    EXPECT_EQ(before.ruleCount(), 2) << "copies are independent";
}

TEST(EventFilter, RequiredFeaturesOfEnabledRulesOnce) {
    FilterRule disabled = range("off", 0, 1);
    disabled.enabled = false;
    FilterRule rangeWithY = range("b", 0, 1);
    rangeWithY.featureNameY = "unused";
    FilterRule noY = polygon({});
    noY.featureNameY.clear();
    const EventFilter filter = filterOf({rangeWithY, disabled, polygon({}), noY, range("b", 2, 3), range("y", 0, 1)});
    EXPECT_EQ(filter.requiredFeatures(), (std::vector<std::string>{"b", "x", "y"}));
}

/// Points where fast evaluation could go wrong: on corners and edges, beside them by one rounding step, at the borders
/// of raster cells, at the values that scales treat specially, and all over the plane.
class RandomGate {
public:
    explicit RandomGate(unsigned seed) : random_(seed) {
        const double scale = std::pow(10.0, pick(9) - 3);
        const double offset = pick(3) == 0 ? scale * std::pow(10.0, pick(8)) : 0.0;
        Vertices vertices;
        const int corners = 3 + pick(12);
        for (int i = 0; i < corners; ++i) {
            vertices.emplace_back(offset + scale * normal_(random_), scale * normal_(random_));
            if (pick(3) == 0) {
                vertices.back().second = std::round(vertices.back().second / scale * 2.0) * scale / 2.0;
            }
            if (pick(5) == 0) {
                vertices.back().first = vertices.front().first;
            }
        }
        rule = polygon(vertices, pick(4), pick(4), pick(4) == 0);
        const auto [left, right] = std::minmax_element(vertices.begin(), vertices.end());
        const int count = 4000 + pick(3000);
        for (int i = 0; i < count; ++i) {
            addPoint(vertices, left->first, right->first, scale);
        }
    }

    int pick(int below) { return std::uniform_int_distribution<int>(0, below - 1)(random_); }

    FilterRule rule;
    std::vector<double> x, y;

private:
    void addPoint(const Vertices& vertices, double left, double right, double scale) {
        const double special[] = {nan, infinity, -infinity, 0.0, -0.0, 1.0, 5e-324, 1e308, -1e308, 100.0, -100.0};
        const auto& a = vertices[static_cast<std::size_t>(pick(static_cast<int>(vertices.size())))];
        const auto& b = vertices[static_cast<std::size_t>(pick(static_cast<int>(vertices.size())))];
        const double part = std::uniform_real_distribution<double>()(random_);
        auto [px, py] = a;
        const int kind = pick(8);
        if (kind == 1) {
            px += part * (b.first - a.first);
            py += part * (b.second - a.second);
        } else if (kind == 2) {
            px = left + (right - left) * (pick(129) / 128.0 * 1.04 - 0.02);
        } else if (kind == 3) {
            px = special[pick(11)];
        } else if (kind == 4) {
            py = special[pick(11)];
        } else if (kind > 4) {
            px = vertices.front().first + 2.0 * scale * normal_(random_);
            py = 2.0 * scale * normal_(random_);
        }
        if (pick(4) == 0) {
            px = std::nextafter(px, pick(2) ? infinity : -infinity);
        }
        if (pick(4) == 0) {
            py = std::nextafter(py, pick(2) ? infinity : -infinity);
        }
        x.push_back(px);
        y.push_back(py);
    }

    std::mt19937_64 random_;
    std::normal_distribution<double> normal_;
};

TEST(EventFilter, FastEvaluationAgreesWithThePlainOne) {
    for (unsigned seed = 0; seed < 300; ++seed) {
        RandomGate gate(seed);
        EventFilter filter;
        filter.addRule(gate.rule);
        if (gate.pick(2) == 0) {
            filter.addRule(range("x", gate.x[0], gate.x[1], gate.pick(2) == 0));
        }
        filter.setCombineMode(gate.pick(3));
        const ColumnMap columns{{"x", &gate.x}, {"y", &gate.y}};
        EXPECT_EQ(filter.evaluate(columns, gate.x.size()), Plain::evaluate(filter, columns, gate.x.size())) << seed;
    }
}

/// Gates whose corners leave no sound raster: no extent, no number, or at the ends of the number range.
TEST(EventFilter, OddGatesAgreeWithThePlainEvaluation) {
    const Vertices gates[] = {
        {{1, 1}, {1, 5}, {1, 9}},
        {{1, 1}, {5, 1}, {9, 1}},
        {{1e15, 0}, {1e15 + 0.125, 1}, {1e15 + 0.25, 0}},
        {{nan, 0}, {1, 1}, {2, 0}},
        {{-infinity, 0}, {1, 10}, {infinity, 0}},
        {{-1e308, -1e308}, {1e308, -1e308}, {0, 1e308}},
        {{0, 0}, {5e-324, 1e-323}, {1e-323, 0}},
        {{-2, -1}, {-1, 0}, {-3, -5}}, // all corners at one place on log axes
    };
    const double around[] = {nan, -infinity, -1e308, -1, 0, 5e-324, 1, 3, 1e15, 1e15 + 0.125, 1e308, infinity};
    std::vector<double> x;
    std::vector<double> y;
    for (int i = 0; i < 4320; ++i) {
        x.push_back(around[i % 12]);
        y.push_back(around[i / 12 % 12]);
    }
    const ColumnMap columns{{"x", &x}, {"y", &y}};
    for (const Vertices& vertices : gates) {
        for (int mode = 0; mode < 9; ++mode) {
            const EventFilter filter = filterOf({polygon(vertices, mode % 3, mode / 3)});
            EXPECT_EQ(filter.evaluate(columns, x.size()), Plain::evaluate(filter, columns, x.size())) << mode;
        }
    }
}

} // namespace
} // namespace Tessaly
