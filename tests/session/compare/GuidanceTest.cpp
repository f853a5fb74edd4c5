#include "session/compare/Guidance.h"

#include "session/compare/CompareBuilder.h"

#include <gtest/gtest.h>

namespace Tessaly {
namespace {

const std::vector<double> three{1, 2, 3};

QStringList paragraphs(CompareTab tab, const CompareBuilder& builder,
                       DistributionMode mode = DistributionMode::PerDataset) {
    return guidanceText(tab, builder.comparison, mode).split("\n\n");
}

CompareBuilder categories(int count, std::size_t features = 1) {
    CompareBuilder builder(features);
    for (int i = 0; i < count; ++i) {
        builder.add(QStringLiteral("C%1").arg(i), three, plainIds(3));
    }
    return builder;
}

TEST(Guidance, TestLabel) {
    EXPECT_EQ(testLabelText(categories(2).comparison), "Test: Mann-Whitney U (independent)\n");
    EXPECT_EQ(testLabelText(categories(3).comparison), "Test: Kruskal-Wallis (independent)\n");
    EXPECT_EQ(testLabelText(categories(2).matched().comparison), "Test: Wilcoxon signed-rank (matched)\n");
    EXPECT_EQ(testLabelText(categories(1).matched().comparison),
              "Test: Friedman (repeated measures)\nPairing incomplete: ensure all categories have matching IDs\n");
    CompareBuilder builder = categories(1);
    builder.add("few", {1}).add("none", {});
    EXPECT_EQ(testLabelText(builder.comparison), "Test: Kruskal-Wallis (independent)\nfew: fewer than 3 datasets\n");
    EXPECT_EQ(testLabelText(builder.replicates().comparison),
              "Test: Kruskal-Wallis (independent)\nfew: fewer than 3 datasets\nReplicates enabled: assign IDs to all "
              "datasets\n");
    EXPECT_EQ(
        testLabelText(builder.matched().comparison),
        "Test: Friedman (repeated measures)\nfew: fewer than 3 datasets\nPairing incomplete: ensure all categories "
        "have matching IDs\n");
}

TEST(Guidance, Summaries) {
    const char* expected[] = {
        "Each dataset is summarized by its median — robust against outliers.",
        "Each dataset is summarized by its mean — sensitive to outliers.",
        "Each dataset is summarized by its standard deviation — compares variability, not location.",
        "Each dataset is summarized by its coefficient of variation (SD/mean) — compares relative variability.",
        "Each dataset is summarized by its interquartile range — compares spread, robust against outliers."};
    for (int i = 0; i < 5; ++i) {
        CompareBuilder builder = categories(2);
        builder.comparison.settings.summary = static_cast<SampleSummary>(i);
        EXPECT_EQ(paragraphs(CompareTab::Tests, builder)[0], expected[i]);
        EXPECT_EQ(paragraphs(CompareTab::Roc, builder)[0], expected[i]);
        EXPECT_FALSE(paragraphs(CompareTab::Distributions, builder).contains(expected[i]));
    }
}

TEST(Guidance, Tests) {
    const QString independentId = "Double-click a dataset to assign its ID.";
    const struct {
        CompareBuilder builder;
        QStringList behindSummary;
    } rows[] = {
        {categories(1), {}},
        {categories(2),
         {"Mann-Whitney U test: tests whether values in one group tend to be larger than the other. Does not require "
          "equal group sizes."}},
        {categories(3).replicates().corrected(Correction::Holm),
         {"Kruskal-Wallis test (omnibus): tests whether at least one group differs. Followed by pairwise Mann-Whitney "
          "U "
          "post-hoc tests.",
          "Replicates with the same ID are aggregated within each category before the independent test, avoiding "
          "pseudoreplication. " +
              independentId,
          "Holm-Bonferroni step-down correction across 3 tests. Less conservative than Bonferroni while controlling "
          "the "
          "family-wise error rate."}},
        {categories(2, 2).matched(),
         {"Wilcoxon signed-rank test: tests whether matched differences are systematically shifted from zero.",
          "Datasets sharing the same ID are treated as biological replicates and aggregated. Matching uses the ID "
          "number. " +
              independentId,
          "Bonferroni correction: α is divided by 2 tests (α*=0.025). Simple and conservative.",
          "With 3 matched observations, the minimum achievable p-value (Wilcoxon) is ≈0.109. This exceeds α=0.05 — "
          "significance cannot be reached regardless of effect size. More matched observations are needed."}},
        {categories(3, 2).matched().replicates().corrected(Correction::None),
         {"Friedman test (omnibus): tests whether at least one group differs across repeated measures. Followed by "
          "pairwise Wilcoxon signed-rank post-hoc tests.",
          "IDs use the format ID.BioRep.TechRep. Technical replicates (same ID and bio rep) are aggregated first, then "
          "biological replicates (same ID) are aggregated. Matching uses the ID number. Double-click a dataset to "
          "assign its IDs.",
          "No correction applied across 6 tests. Risk of false positives increases with the number of comparisons.",
          "With 3 matched observations, the minimum achievable p-value (Wilcoxon) is ≈0.109. This exceeds α=0.05 — "
          "significance cannot be reached regardless of effect size. More matched observations are needed."}},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(paragraphs(CompareTab::Tests, row.builder).mid(1), row.behindSummary);
    }
}

TEST(Guidance, PowerNote) {
    const auto note = [](int matched, double alpha) {
        CompareBuilder builder;
        const std::vector<double> values(static_cast<std::size_t>(matched));
        builder.matched().add("A", values, plainIds(matched)).add("B", values, plainIds(matched)).add("C", {});
        builder.comparison.settings.alpha = alpha;
        return paragraphs(CompareTab::Tests, builder).filter("matched observations, the").value(0);
    };
    EXPECT_EQ(note(10, 0.05), "With 10 matched observations, the minimum achievable p-value (Wilcoxon) is ≈0.00506.");
    EXPECT_TRUE(note(10, 0.005).endsWith("This exceeds α=0.005 — significance cannot be reached regardless of effect "
                                         "size. More matched observations are needed."));
    // One pair: z = 0.5 / sqrt(6 / 24) = 1, p = 0.3173 (SciPy).
    EXPECT_TRUE(
        note(1, 0.5).startsWith("With 1 matched observations, the minimum achievable p-value (Wilcoxon) is ≈0.317."));
    EXPECT_EQ(note(11, 0.001), "");
    EXPECT_EQ(note(0, 0.05), "");
}

TEST(Guidance, RocAndDistributions) {
    const QString replicates =
        "Replicates are included: datasets sharing the same ID are aggregated before ROC analysis "
        "to avoid pseudoreplication. Double-click a dataset to assign its IDs.";
    EXPECT_EQ(paragraphs(CompareTab::Roc, categories(2)).mid(1),
              QStringList("ROC analysis evaluates how well each feature separates two categories. Each dataset is "
                          "reduced to a single summary value, then receiver operating characteristic curves are "
                          "computed per feature."));
    EXPECT_EQ(paragraphs(CompareTab::Roc, categories(1).replicates()).mid(2),
              (QStringList{replicates, "Add at least 2 categories with datasets to run ROC analysis."}));
    EXPECT_EQ(paragraphs(CompareTab::Roc, categories(3)).mid(2),
              QStringList("More than 2 categories present — you will be asked to select the negative (reference) and "
                          "positive (condition) classes."));

    const QString first = "Explore the full event-level distributions of selected features across categories. This "
                          "helps identify whether groups differ in location, spread, or shape.";
    EXPECT_EQ(paragraphs(CompareTab::Distributions, categories(2)),
              (QStringList{first, "Per-dataset mode: each dataset is shown as an individual density curve, colored by "
                                  "its category."}));
    EXPECT_EQ(paragraphs(CompareTab::Distributions, categories(0, 0), DistributionMode::PerCategory),
              (QStringList{first,
                           "Per-category mode: for each category, the per-dataset density curves are averaged "
                           "pointwise (equal weight per dataset). The shaded band shows ±1 SD of the density across "
                           "datasets, indicating how consistently the distribution shape is reproduced within a "
                           "category.",
                           "Select one or more features to display.",
                           "Add categories with datasets to explore distributions."}));
    EXPECT_TRUE(guidanceText(CompareTab::Roc, categories(2).comparison, DistributionMode::PerDataset, {"a", "b"})
                    .endsWith("\n\nNo values: a, b"));
}

} // namespace
} // namespace Tessaly
