#include "session/compare/GroupComparison.h"

#include "session/compare/CompareBuilder.h"

#include <gtest/gtest.h>

#include <functional>

namespace Tessaly {
namespace {

constexpr const char* idsMissing = "Replicates are enabled but not all datasets have IDs assigned.\nUse \"Auto-detect "
                                   "IDs\" or assign IDs manually.";
constexpr const char* idsUnmatched = "Pairing is enabled but IDs are not valid.\nEnsure all categories have matching "
                                     "IDs.\nUse \"Auto-detect IDs\" or assign IDs manually.";

GroupComparison compared(const CompareBuilder& builder) {
    return compareGroups(builder.comparison, builder.values);
}

TEST(GroupComparison, Refusals) {
    const std::vector<double> three{1, 2, 3};
    const struct {
        const char* text; // empty: it may run
        std::function<CompareBuilder()> make;
    } rows[] = {
        {"Need at least 2 categories.", [&] { return CompareBuilder().add("A", three); }},
        // Too few datasets are told before a missing feature.
        {"Category \"B\" has fewer than 3 datasets. Minimum is 3.",
         [&] {
             return CompareBuilder(0).add("A", three).add("B", {1, 2});
         }},
        {"Select at least one feature.", [&] { return CompareBuilder(0).add("A", three).add("B", three); }},
        {idsMissing,
         [&] { return CompareBuilder().replicates().add("A", three, plainIds(3)).add("B", three, plainIds(2)); }},
        {idsUnmatched, [&] { return CompareBuilder().matched().add("A", three).add("B", three); }},
        {idsUnmatched,
         [&] {
             return CompareBuilder()
                 .matched()
                 .replicates()
                 .add("A", three, plainIds(3))
                 .add("B", three, {{1}, {2}, {4}});
         }},
        {"", [&] { return CompareBuilder().add("A", three).add("B", three); }},
        {"",
         [&] {
             return CompareBuilder().replicates().add("A", three, plainIds(3)).add("B", three, {{1}, {1}, {1}});
         }},
        {"", [&] { return CompareBuilder().matched().add("A", three, plainIds(3)).add("B", three, plainIds(3)); }},
    };
    for (const auto& row : rows) {
        const std::optional<UserMessage> refusal = groupRefusal(row.make().comparison);
        EXPECT_EQ(refusal ? refusal->text : QString(), row.text);
        if (refusal) {
            EXPECT_EQ(refusal->title, "Analysis");
            EXPECT_EQ(refusal->kind, UserMessage::Kind::Warning);
        }
    }
}

TEST(GroupComparison, PowerQuestion) {
    const auto matched = [](int count, std::size_t features, int categories, Correction correction) {
        CompareBuilder builder(features);
        builder.matched().corrected(correction);
        for (int i = 0; i < categories; ++i) {
            builder.add("C", std::vector<double>(static_cast<std::size_t>(count)), plainIds(count));
        }
        return powerQuestion(builder.comparison);
    };
    const QString text = "With %1 matched observations, the minimum achievable p-value (Wilcoxon) is ≈%2.\n\nThis "
                         "exceeds the effective significance level α=%3.\n\nSignificance cannot be reached regardless "
                         "of effect size. More matched observations are needed.\n\nRun anyway?";
    // Best p-values: 0.1088 of three, 0.02771 of six, 0.005062 of ten.
    EXPECT_EQ(matched(3, 1, 2, Correction::Bonferroni)->text, text.arg(3).arg("0.109").arg("0.05"));
    EXPECT_EQ(matched(6, 1, 3, Correction::Bonferroni)->text,
              text.arg(6).arg("0.0277").arg("0.01667 (after Bonferroni correction)"));
    EXPECT_EQ(matched(6, 2, 2, Correction::Bonferroni)->text,
              text.arg(6).arg("0.0277").arg("0.025 (after Bonferroni correction)"));
    EXPECT_FALSE(matched(6, 2, 2, Correction::Holm)); // Holm doesn't enter
    EXPECT_FALSE(matched(6, 1, 3, Correction::None));
    EXPECT_FALSE(matched(6, 1, 2, Correction::Bonferroni));
    EXPECT_FALSE(matched(10, 3, 3, Correction::Bonferroni)); // 0.05 / 9 is above 0.00506
    EXPECT_TRUE(matched(10, 4, 3, Correction::Bonferroni));
    // A level that the best p-value just reaches is no reason to ask.
    CompareBuilder reached;
    reached.matched().add("A", {1, 2, 3}, plainIds(3)).add("B", {1, 2, 3}, plainIds(3));
    reached.comparison.settings.alpha = smallestMatchedPValue(3);
    EXPECT_FALSE(powerQuestion(reached.comparison));
    EXPECT_FALSE(powerQuestion(CompareBuilder().add("A", {1}, {{1}}).add("B", {1}, {{1}}).comparison));
}

TEST(GroupComparison, TwoIndependentCategories) {
    CompareBuilder builder(2);
    builder.add("Baseline", {1, 2, 3}).add("Treated", {4, 5, 6});
    const GroupComparison result = compared(builder);
    // U = 0, p = 0.04953 (SciPy); Bonferroni halves the level, so that it isn't significant.
    EXPECT_EQ(rowTexts(groupTable(result)), (QStringList{"Feature|Baseline|Treated|Test|p|Sig. (α*=0.025)",
                                                         "Label a|2 ± 1|5 ± 1|Mann-Whitney U|0.04953|ns",
                                                         "Label b|-2 ± 1|-5 ± 1|Mann-Whitney U|0.04953|ns"}));
    EXPECT_EQ(groupTable(result).rightAligned, (std::vector<bool>{false, true, true, false, true, false}));
    EXPECT_TRUE(bracketsOf(result.features[0], 6, 5).empty());
    builder.corrected(Correction::Holm);
    // Equal p-values: the first gets the stricter level.
    EXPECT_EQ(rowTexts(groupTable(compared(builder))).filter("Label"),
              (QStringList{"Label a|2 ± 1|5 ± 1|Mann-Whitney U|0.04953|ns",
                           "Label b|-2 ± 1|-5 ± 1|Mann-Whitney U|0.04953|*"}));
    EXPECT_EQ(groupTable(compared(builder)).headings.last(), "Sig. (Holm)");
    builder.corrected(Correction::None);
    EXPECT_EQ(groupTable(compared(builder)).headings.last(), "Sig. (α=0.05)");
    EXPECT_EQ(bracketsOf(compared(builder).features[0], 6, 5), (std::vector<Bracket>{{0, 1, "*", 6.4}}));
    builder.comparison.features.resize(1);
    builder.corrected(Correction::Bonferroni);
    EXPECT_EQ(groupTable(compared(builder)).headings.last(), "Sig. (α=0.05)"); // one test isn't corrected
}

TEST(GroupComparison, ThreeIndependentCategories) {
    CompareBuilder builder;
    builder.add("A", {1, 2, 3, 4}).add("B", {5, 6, 7, 8}).add("C", {9, 10, 11, 12});
    // SciPy: H = 9.846, p = 0.007277; all pairs U = 0, p = 0.02092, with the level 0.05 / 3.
    EXPECT_EQ(rowTexts(groupTable(compared(builder))),
              (QStringList{"Feature|A|B|C|Test|p|Sig. (α*=0.01667)",
                           "Label a|2.5 ± 1.29|6.5 ± 1.29|10.5 ± 1.29|Kruskal-Wallis|0.007277|(omnibus)",
                           "  A vs B||||Mann-Whitney U|0.02092|ns", "  A vs C||||Mann-Whitney U|0.02092|ns",
                           "  B vs C||||Mann-Whitney U|0.02092|ns"}));
    builder.corrected(Correction::None);
    const GroupComparison result = compared(builder);
    // Neighbours first, the widest last: 12 + 0.08 * 10, then 0.6 more each.
    const std::vector<Bracket> brackets = bracketsOf(result.features[0], 12, 10);
    ASSERT_EQ(brackets.size(), 3U);
    EXPECT_EQ(brackets[0].second, 1);
    EXPECT_EQ(brackets[1].first, 1);
    EXPECT_EQ(brackets[2].second - brackets[2].first, 2);
    EXPECT_NEAR(brackets[0].height, 12.8, 1e-12);
    EXPECT_NEAR(brackets[2].height, 14.0, 1e-12);
    // Without a range of the axis, half the size of the top: -12 + 0.08 * 6.
    EXPECT_NEAR(bracketsOf(result.features[0], -12, 0)[0].height, -11.52, 1e-12);
}

TEST(GroupComparison, MatchedCategories) {
    CompareBuilder builder;
    builder.matched().add("Before", {1, 2, 3, 4}, plainIds(4)).add("After", {5, 4, 3, 2}, {{4}, {3}, {2}, {1}});
    // By ID: 2-1, 3-2, 4-3, 5-4, all of them 1: T = 0, z = 5 / sqrt(7.5), p = 0.06789 (SciPy).
    EXPECT_EQ(rowTexts(groupTable(compared(builder)))[1], "Label a|2.5 ± 1.29|3.5 ± 1.29|Wilcoxon|0.06789|ns");
    builder.add("Later", {1, 9, 8, 7}, plainIds(4));
    const QStringList rows = rowTexts(groupTable(compared(builder)));
    // Ranks by ID: 1 3 2 -> with ties at ID 1 (1, 2, 1): 1.5 3 1.5; IDs 2 to 4: 1 2 3. Sums 4.5, 9, 10.5:
    // 12 / (4 * 3 * 4) * (20.25 + 81 + 110.25) - 3 * 4 * 4 = 4.875, p = exp(-2.4375) = 0.08738.
    EXPECT_TRUE(rows[1].endsWith("|Friedman|0.08738|(omnibus)")) << rows[1].toStdString();
    EXPECT_TRUE(rows[2].startsWith("  Before vs After||||Wilcoxon|0.06789|"));
    // 0 is dropped: 7, 5, 3 are left.
    EXPECT_TRUE(rows[3].startsWith("  Before vs Later||||Wilcoxon|0.1088|"));
}

TEST(GroupComparison, InvalidTestsAreShownAndNotCounted) {
    // Three datasets of one subject make one sample.
    CompareBuilder builder;
    builder.replicates().add("A", {1, 2, 3}, {{1}, {1}, {1}}).add("B", {4, 5, 6}, plainIds(3));
    EXPECT_EQ(rowTexts(groupTable(compared(builder))),
              (QStringList{"Feature|A|B|Test|p|Sig. (α=0.05)", "Label a|2 ± 0|5 ± 1|Mann-Whitney U|n/a|n/a"}));
    builder.add("C", {7, 8, 9}, plainIds(3));
    EXPECT_EQ(rowTexts(groupTable(compared(builder))),
              (QStringList{"Feature|A|B|C|Test|p|Sig. (α=0.05)", "Label a|2 ± 0|5 ± 1|8 ± 1|Kruskal-Wallis|n/a|n/a",
                           "  A vs B||||Mann-Whitney U|n/a|n/a", "  A vs C||||Mann-Whitney U|n/a|n/a",
                           "  B vs C||||Mann-Whitney U|0.04953|*"}));
    // A dataset without a value counts with 0.
    CompareBuilder unread;
    unread.add("A", {1, 2, 3}).add("B", {4, 5, 6});
    unread.values.erase(unread.values.begin());
    EXPECT_EQ(compared(unread).features[0].samples[0].values, (std::vector<double>{0, 2, 3}));
}

TEST(ResultTables, SortedRows) {
    ResultTable table;
    table.headings = {"Name", "p"};
    const auto add = [&table](const QString& name, const std::optional<double>& p, bool detail) {
        ResultRow row;
        row.append(name);
        p ? row.append(QString::number(*p), *p) : row.append("n/a");
        row.isDetail = detail;
        table.rows.push_back(row);
    };
    add("b", 0.5, false);
    add("  pair", 0.001, true);
    add("c", 10.0, false);
    add("a", std::nullopt, false);
    add("d", 1e-5, false);
    EXPECT_EQ(sortedRows(table, 1, false), (std::vector<std::size_t>{4, 0, 1, 2, 3}));
    EXPECT_EQ(sortedRows(table, 1, true), (std::vector<std::size_t>{2, 0, 1, 4, 3})); // text stays last
    EXPECT_EQ(sortedRows(table, 0, false), (std::vector<std::size_t>{3, 0, 1, 2, 4}));
    EXPECT_EQ(sortedRows(table, 0, true), (std::vector<std::size_t>{4, 2, 0, 1, 3}));
    EXPECT_EQ(sortedRows(table, -1, false), (std::vector<std::size_t>{0, 1, 2, 3, 4}));
    EXPECT_TRUE(sortedRows({}, 0, false).empty());
}

TEST(ResultTables, Text) {
    ResultTable table;
    table.headings = {"Feature", "a,b"};
    ResultRow row;
    row.append("x \"y\"");
    row.append("two\nlines");
    table.rows = {row};
    EXPECT_EQ(tableText(table, ','), "Feature,\"a,b\"\n\"x \"\"y\"\"\",\"two\nlines\"\n");
    EXPECT_EQ(tableText(table, '\t'), "Feature\ta,b\nx \"y\"\ttwo\nlines\n");
    EXPECT_EQ(separatorFor("/a/b.csv"), ',');
    EXPECT_EQ(separatorFor("/a/b.CSV"), ',');
    EXPECT_EQ(separatorFor("/a/csv"), '\t');
    EXPECT_EQ(separatorFor("/a/b.tsv"), '\t');
}

} // namespace
} // namespace Tessaly
