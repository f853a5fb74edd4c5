#include "session/filters/SoftLimits.h"

#include "SessionBuilder.h"

#include <QLocale>
#include <QSignalSpy>

#include <gtest/gtest.h>

#include <limits>

using namespace Tessaly;

namespace {

using Limits = VQDMetadata::Section;

FilterRule gate(const std::string& x, const std::string& y, std::vector<std::pair<double, double>> vertices) {
    FilterRule rule;
    rule.type = FilterRule::Polygon;
    rule.featureName = x;
    rule.featureNameY = y;
    rule.polygonVertices = std::move(vertices);
    return rule;
}

Limits areaLimits(const std::string& low, const std::string& high) {
    return {{"area_um soft limit", "1"}, {"area_um min", low}, {"area_um max", high}};
}

TEST(SoftLimitsTest, ActiveLimitsBecomeRulesInTheOrderOfTheirKeys) {
    const std::vector<std::pair<double, double>> triangle{{10, 0.1}, {30, 0.1}, {20, 0.3}};
    const struct {
        const char* what;
        Limits limits;
        std::vector<FilterRule> expected;
    } cases[] = {
        {"none", {}, {}},
        {"range", areaLimits("10", "500"), {rangeRule("area_um", 10, 500)}},
        {"switched off", {{"area_um soft limit", "0"}, {"area_um min", "10"}, {"area_um max", "500"}}, {}},
        {"another way to say yes", {{"a soft limit", "1.000000"}, {"a min", "1"}, {"a max", "2"}}, {}},
        {"no upper bound", {{"area_um soft limit", "1"}, {"area_um min", "10"}}, {}},
        {"no lower bound", {{"area_um soft limit", "1"}, {"area_um max", "10"}}, {}},
        {"bare suffix", {{" soft limit", "1"}, {" min", "1"}, {" max", "2"}}, {}},
        {"other suffix", {{"a soft limits", "1"}, {"a min", "1"}, {"a max", "2"}}, {}},
        {"short key", {{"limit", "1"}}, {}},
        {"shortest name", {{"a soft limit", "1"}, {"a min", "1"}, {"a max", "2"}}, {rangeRule("a", 1, 2)}},
        {"polygon", {{"area_um,deform soft limit", "1"}}, {gate("area_um", "deform", triangle)}},
        {"polygon of another pair", {{"deform,area_um soft limit", "1"}}, {}},
        {"split at the first comma", {{"a,b,c soft limit", "1"}}, {gate("a", "b,c", {{1, 2}})}},
        {"bytewise order",
         {{"b soft limit", "1"},
          {"b min", "3"},
          {"b max", "4"},
          {"B soft limit", "1"},
          {"B min", "1"},
          {"B max", "2"},
          {"area_um,deform soft limit", "1"}},
         {rangeRule("B", 1, 2), gate("area_um", "deform", triangle), rangeRule("b", 3, 4)}},
    };
    for (const auto& c : cases) {
        DatasetEntry entry;
        entry.metadata.online_filter = c.limits;
        entry.metadata.polygonFilters = {{"area_um", "deform", {{9, 9}}, "offline_filter"}, // from an export
                                         {"area_um", "deform", {}},
                                         {"area_um", "deform", triangle},
                                         {"area_um", "deform", {{1, 1}}},
                                         {"a", "b,c", {{1, 2}}}};
        EXPECT_EQ(importSoftLimits(entry), static_cast<int>(c.expected.size())) << c.what;
        EXPECT_EQ(entry.filter.rules(), c.expected) << c.what;
    }
}

TEST(SoftLimitsTest, AnImportAddsAndSwitchesFilteringOnOnlyIfItFindsSomething) {
    DatasetEntry entry;
    entry.filter.addRule(rangeRule("deform", 0, 1));
    entry.filter.setCombineMode(1);
    entry.filter.setEnabled(false);
    importSoftLimits(entry);
    EXPECT_FALSE(entry.filter.isEnabled());
    entry.metadata.online_filter = areaLimits("10", "500");
    importSoftLimits(entry);
    importSoftLimits(entry);
    EXPECT_TRUE(entry.filter.isEnabled());
    EXPECT_EQ(entry.filter.combineMode(), 1);
    const FilterRule area = rangeRule("area_um", 10, 500);
    EXPECT_EQ(entry.filter.rules(), (std::vector{rangeRule("deform", 0, 1), area, area}));
}

TEST(SoftLimitsTest, BoundsAreReadInTheSameWayInEveryCountry) {
    const QLocale before;
    QLocale::setDefault(QLocale(QLocale::German, QLocale::Germany));
    const struct {
        const char* text;
        double value;
    } numbers[] = {{"10.5", 10.5},
                   {"-1e-3", -0.001},
                   {"+2", 2},
                   {"0.1", 0.1},
                   {"7.000000", 7},
                   {" 3 ", 3},
                   {".5", 0.5},
                   {"1.7976931348623157e308", 1.7976931348623157e308},
                   {"-inf", -std::numeric_limits<double>::infinity()}};
    for (const auto& number : numbers) {
        DatasetEntry entry;
        entry.metadata.online_filter = areaLimits(number.text, "500");
        importSoftLimits(entry);
        EXPECT_EQ(entry.filter.rules().at(0).minValue, number.value) << number.text;
    }
    for (const char* text : {"10abc", "", " ", "1,5", "1.000,5", "1e999", "ten", "1 2", "--1", "1.2.3"}) {
        for (const bool low : {true, false}) {
            DatasetEntry entry;
            entry.metadata.online_filter = low ? areaLimits(text, "500") : areaLimits("10", text);
            EXPECT_THROW(importSoftLimits(entry), std::invalid_argument) << text;
            EXPECT_EQ(entry.filter.ruleCount(), 0) << text;
        }
    }
    QLocale::setDefault(before);
}

class MeasurementFiltersTest : public testing::Test {
protected:
    MeasurementFiltersTest() {
        for (int i = 0; i < 3; ++i) {
            auto entry = session.newEntry();
            entry->filter.setEnabled(false);
            session.append(std::move(entry));
        }
        session.setActive(session.datasetAt(1)->id);
    }

    Limits& limits(int row) { return session.datasetAt(row)->metadata.online_filter; }
    int ruleCount(int row) { return session.datasetAt(row)->filter.ruleCount(); }

    Session session;
    QSignalSpy told{&session.notices(), &SessionNotices::eventsChanged};
};

TEST_F(MeasurementFiltersTest, TheActiveDatasetOrAllAreAskedForLimits) {
    limits(0) = limits(1) = areaLimits("1", "2");
    limits(0).insert({{"deform soft limit", "1"}, {"deform min", "0"}, {"deform max", "1"}});
    SoftLimitImport result = importMeasurementFilters(session, false);
    EXPECT_EQ(result.added, 1);
    EXPECT_EQ(result.remark, "");
    EXPECT_EQ(ruleCount(0), 0);
    EXPECT_EQ(ruleCount(1), 1);
    EXPECT_EQ(told.size(), 1);

    result = importMeasurementFilters(session, true);
    EXPECT_EQ(result.added, 3);
    EXPECT_EQ(ruleCount(0), 2);
    EXPECT_EQ(ruleCount(1), 2);
    EXPECT_EQ(ruleCount(2), 0);
    EXPECT_FALSE(session.datasetAt(2)->filter.isEnabled());
    EXPECT_EQ(told.size(), 2);
}

TEST_F(MeasurementFiltersTest, WithoutLimitsItSaysSo) {
    for (const bool toAll : {false, true}) {
        const SoftLimitImport result = importMeasurementFilters(session, toAll);
        EXPECT_EQ(result.remark, "No features with soft limit enabled found.");
        EXPECT_EQ(result.failure, nullptr);
    }
    session.setActive(-1);
    limits(0) = areaLimits("1", "2");
    EXPECT_EQ(importMeasurementFilters(session, false).added, 0);
    EXPECT_EQ(told.size(), 0);
}

TEST_F(MeasurementFiltersTest, ABoundThatIsNoNumberEndsTheImportAndWhatWasAddedStays) {
    limits(0) = areaLimits("1", "2");
    limits(1) = areaLimits("1", "2");
    limits(1).insert({{"deform soft limit", "1"}, {"deform min", "0"}, {"deform max", "10abc"}});
    limits(2) = areaLimits("1", "2");
    SoftLimitImport result = importMeasurementFilters(session, true);
    EXPECT_EQ(result.added, 2);
    EXPECT_EQ(result.remark, "");
    ASSERT_NE(result.failure, nullptr);
    try {
        std::rethrow_exception(result.failure);
    } catch (const std::invalid_argument& error) {
        EXPECT_STREQ(error.what(), "deform max: \"10abc\" is not a number");
    }
    EXPECT_EQ(ruleCount(1), 1);
    EXPECT_TRUE(session.datasetAt(1)->filter.isEnabled());
    EXPECT_EQ(ruleCount(2), 0);
    EXPECT_EQ(told.size(), 1) << "the dock shows what was added";

    limits(1).erase("area_um min");
    result = importMeasurementFilters(session, false);
    EXPECT_NE(result.failure, nullptr);
    EXPECT_EQ(result.remark, "") << "the error is the message";
    EXPECT_EQ(told.size(), 1);
}

} // namespace
