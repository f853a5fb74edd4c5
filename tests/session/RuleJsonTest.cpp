#include "session/filters/RuleJson.h"

#include "support/FilterRules.h"

#include <QJsonArray>
#include <QJsonDocument>

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

using namespace Tessaly;

namespace {

FilterRule everyFieldSet() {
    FilterRule rule;
    rule.type = FilterRule::Polygon;
    rule.featureName = "<b>&%1 \"\n\u05d0\U0001F52C";
    rule.featureNameY = "deform";
    rule.minValue = 0.1;
    rule.maxValue = std::numeric_limits<double>::max();
    rule.polygonVertices = {{1.0 / 3.0, -1e-300}, {std::numeric_limits<double>::denorm_min(), 9007199254740993.0}};
    rule.scaleXMode = 1;
    rule.scaleYMode = 2;
    rule.enabled = false;
    rule.inverted = true;
    rule.propagationId = "{link}";
    return rule;
}

QJsonObject objectOf(const QByteArray& json) {
    return QJsonDocument::fromJson(json).object();
}

/// A rule that has gone through text, as in a file.
FilterRule throughText(const FilterRule& rule) {
    return ruleFromJson(objectOf(QJsonDocument(ruleToJson(rule)).toJson()));
}

TEST(RuleJsonTest, ARuleComesBackBitForBit) {
    EXPECT_EQ(throughText(everyFieldSet()), everyFieldSet());
    FilterRule range = everyFieldSet(); // a range keeps the corners that it doesn't use
    range.type = FilterRule::Range;
    EXPECT_EQ(throughText(range), range);
    EXPECT_EQ(throughText({}), FilterRule());
}

TEST(RuleJsonTest, EveryKeyIsWrittenForEveryRule) {
    // Written out by hand.
    EXPECT_EQ(ruleToJson(rangeRule("area_um", 10, 0.5, "{a}")),
              objectOf(R"({"type": "Range", "featureName": "area_um", "featureNameY": "", "minValue": 10,
                           "maxValue": 0.5, "enabled": true, "inverted": false, "propagationId": "{a}",
                           "polygonVertices": [], "scaleXMode": 0, "scaleYMode": 0})"));
    FilterRule polygon = rangeRule("a", 0, 0);
    polygon.type = FilterRule::Polygon;
    polygon.polygonVertices = {{1, 2}, {3, 4.5}};
    EXPECT_EQ(ruleToJson(polygon).value("type"), "Polygon");
    EXPECT_EQ(ruleToJson(polygon).value("polygonVertices"), (QJsonArray{QJsonArray{1, 2}, QJsonArray{3, 4.5}}));
}

TEST(RuleJsonTest, ABoundWithoutEndStaysOpenForAllFiniteValues) {
    constexpr double infinity = std::numeric_limits<double>::infinity();
    constexpr double largest = std::numeric_limits<double>::max();
    EXPECT_EQ(throughText(rangeRule("a", -infinity, infinity)), rangeRule("a", -largest, largest));
    EXPECT_EQ(throughText(rangeRule("a", std::nan(""), 1)), rangeRule("a", 0, 1));
}

TEST(RuleJsonTest, ValuesOfTheWrongTypeReadAsDefaults) {
    const auto vertices = [](const std::vector<std::pair<double, double>>& expected) {
        FilterRule rule;
        rule.polygonVertices = expected;
        return rule;
    };
    const struct {
        const char* json;
        FilterRule expected;
    } cases[] = {
        {"{}", {}},
        {R"({"type": "polygon", "unknown": 1})", {}},
        {R"({"type": 1, "featureName": 5, "featureNameY": null, "propagationId": ["a"]})", {}},
        {R"({"minValue": "10", "maxValue": "1e5", "enabled": "false", "inverted": 1})", {}},
        {R"({"enabled": 0, "inverted": "true", "scaleXMode": "1", "scaleYMode": 1.5})", {}},
        {R"({"enabled": null, "scaleXMode": 4294967297, "scaleYMode": 1e300})", {}},
        {R"({"polygonVertices": {"0": [1, 2]}})", {}},
        {R"({"polygonVertices": "[[1, 2]]"})", {}},
        {R"({"polygonVertices": [[1.0], [], 5, null, {"x": 1, "y": 2}, "1,2", [1, "2"], [null, 2]]})", {}},
        {R"({"polygonVertices": [[1], [1.0, 2.0, 3.0], [4, 5, "z"]]})", vertices({{1, 2}, {4, 5}})},
        {R"({"type": "Range", "polygonVertices": [[1, 2]]})", vertices({{1, 2}})},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(ruleFromJson(objectOf(c.json)), c.expected) << c.json;
    }
}

} // namespace
