#include "session/compare/ReplicateFolding.h"

#include "session/compare/CompareBuilder.h"

#include <gtest/gtest.h>

#include <cmath>

namespace Tessaly {
namespace {

struct Member {
    Ids ids;
    double value;
};

struct Folding {
    const char* what;
    bool matched;
    bool replicates;
    SampleSummary summary;
    std::vector<Member> members;
    std::vector<double> expected;
};

CategorySamples fold(const Folding& row) {
    std::vector<double> values;
    std::vector<Ids> ids;
    for (const Member& member : row.members) {
        values.push_back(member.value);
        ids.push_back(member.ids);
    }
    CompareBuilder builder;
    builder.add("x", values, ids);
    CompareSettings settings;
    settings.design = row.matched ? CompareDesign::Matched : CompareDesign::Independent;
    settings.replicates = row.replicates;
    settings.summary = row.summary;
    return samplesOf(builder.comparison.categories, std::vector<std::vector<double>>{values}, settings)[0];
}

TEST(ReplicateFolding, ByHand) {
    constexpr SampleSummary mean = SampleSummary::Mean;
    const std::vector<Member> uneven{{{2, 1}, 1}, {{2, 1}, 3}, {{2, 2}, 8}, {{1, 1}, 7}};
    const Folding rows[] = {
        {"plain order", false, false, mean, uneven, {1, 3, 8, 7}},
        {"replicates of replicates", false, true, mean, uneven, {7, 5}}, // (mean(1, 3) + 8) / 2
        {"none biological", false, true, mean, {{{2}, 1}, {{2}, 3}, {{2}, 8}, {{1}, 7}}, {7, 4}},
        {"one biological", false, true, mean, {{{2}, 1}, {{2}, 3}, {{2, 1}, 8}}, {5}},
        {"technical numbers don't matter", false, true, mean, {{{1, 1, 1}, 1}, {{1, 1, 2}, 3}, {{1, 2, 1}, 6}}, {4}},
        {"matched at once", true, false, mean, uneven, {7, 4}},
        {"matched with technical", true, true, mean, uneven, {7, 5}},
        {"deviations pool", false, true, SampleSummary::Sd, {{{1}, 3}, {{1}, 4}}, {std::sqrt(12.5)}},
        {"matched deviations pool", true, false, SampleSummary::Sd, {{{1}, 3}, {{1}, 4}}, {std::sqrt(12.5)}},
        {"one stays", false, true, SampleSummary::Sd, {{{1}, -3}}, {-3}},
        {"nothing", false, true, mean, {}, {}},
    };
    for (const Folding& row : rows) {
        const CategorySamples samples = fold(row);
        ASSERT_EQ(samples.values.size(), row.expected.size()) << row.what;
        for (std::size_t i = 0; i < row.expected.size(); ++i) {
            EXPECT_NEAR(samples.values[i], row.expected[i], 1e-14) << row.what;
        }
    }
    EXPECT_EQ(fold(rows[0]).names, (QStringList{"x 1", "x 2", "x 3", "x 4"}));
    EXPECT_EQ(fold(rows[1]).names, (QStringList{"ID 1", "ID 2"}));
    EXPECT_EQ(fold(rows[5]).names, (QStringList{"ID 1", "ID 2"}));
}

TEST(ReplicateFolding, MatchedSamplesStandSideBySide) {
    CompareBuilder builder;
    builder.matched().add("a", {30, 10, 20}, {{3}, {1}, {2}}).add("b", {200, 400, 300}, {{2}, {4}, {3}});
    const std::vector<std::vector<double>> values{{30, 10, 20}, {200, 400, 300}};
    const std::vector<CategorySamples> samples =
        samplesOf(builder.comparison.categories, values, builder.comparison.settings);
    EXPECT_EQ(samples[0].values, (std::vector<double>{20, 30})); // IDs 2 and 3
    EXPECT_EQ(samples[1].values, (std::vector<double>{200, 300}));
    EXPECT_EQ(samples[1].names, (QStringList{"ID 2", "ID 3"}));
    EXPECT_TRUE(commonIds({}).empty());
}

} // namespace
} // namespace Tessaly
