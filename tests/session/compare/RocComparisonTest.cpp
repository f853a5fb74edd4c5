#include "session/compare/RocComparison.h"

#include "session/compare/CompareBuilder.h"

#include <gtest/gtest.h>

namespace Tessaly {
namespace {

constexpr const char* tooFew = "Each category needs at least 3 samples for ROC analysis. ";

TEST(RocComparison, Refusals) {
    const std::vector<double> three{1, 2, 3};
    EXPECT_EQ(rocRefusal(CompareBuilder().add("A", three).comparison)->text, "Need at least 2 categories.");
    EXPECT_EQ(rocRefusal(CompareBuilder().comparison)->title, "ROC Analysis");
    EXPECT_FALSE(rocRefusal(CompareBuilder().add("A", {}).add("B", {}).comparison));
    const auto refusal = [](const CompareBuilder& builder) {
        const std::optional<UserMessage> found = rocRefusal(builder.comparison, 0, 1);
        return found ? found->text : QString();
    };
    EXPECT_EQ(refusal(CompareBuilder(0).add("A", {}).add("B", {})), "Select at least one feature.");
    EXPECT_EQ(refusal(CompareBuilder().add("A", three).add("B", {1, 2})), tooFew);
    EXPECT_EQ(refusal(CompareBuilder().replicates().add("A", three, plainIds(3)).add("B", three)),
              "Replicates are enabled but some datasets have no ID assigned. Double-click datasets to assign IDs.");
    EXPECT_EQ(refusal(CompareBuilder().replicates().add("A", three, plainIds(3)).add("B", three, {{1}, {1}, {1}})),
              QString(tooFew) + "After replicate aggregation, there are 3 and 1 samples.");
    EXPECT_EQ(refusal(CompareBuilder().add("A", three).add("B", three)), "");
    // A category that takes no part may lack what it likes.
    EXPECT_EQ(
        refusal(CompareBuilder().replicates().add("A", three, plainIds(3)).add("B", three, plainIds(3)).add("C", {})),
        "");
}

TEST(RocComparison, TableAndCombination) {
    CompareBuilder builder(2);
    builder.add("Healthy", {1, 2, 3}).add("Other", {0, 0, 0, 0}).add("Ill", {3, 4, 5});
    const RocComparison result = compareByRoc(builder.comparison, 0, 2, builder.values);
    // By hand: 8 of 9 pairs in order and one tie; Youden's index is 2/3 at 4 and at 3, and 4 comes first. The second
    // feature is the first one negated, which makes the scatter matrix singular: equal weights and scores of 0.
    EXPECT_EQ(rowTexts(rocTable(result)),
              (QStringList{"Feature|AUC|Direction|Optimal Threshold|Sensitivity|Specificity|N Healthy|N Ill",
                           "Label a|0.944|> (higher = Ill)|4|0.667|1.000|3|3",
                           "Label b|0.944|< (lower = Ill)|-4|0.667|1.000|3|3",
                           "Combined (LDA)|0.500|> (higher = Ill)|1|0.000|1.000|3|3"}));
    ASSERT_TRUE(result.combined);
    EXPECT_EQ(result.combined->weights, (std::vector<double>{0.5, 0.5}));
    EXPECT_EQ(result.combined->features, builder.comparison.features);
    builder.comparison.features.resize(1);
    const RocComparison single = compareByRoc(builder.comparison, 2, 0, builder.values);
    EXPECT_FALSE(single.combined);
    EXPECT_EQ(rowTexts(rocTable(single))[1], "Label a|0.944|< (lower = Healthy)|2|0.667|1.000|3|3");
    builder.comparison.categories[0].entries.clear();
    EXPECT_EQ(rowTexts(rocTable(compareByRoc(builder.comparison, 0, 2, builder.values)))[1],
              "Label a|n/a|n/a|n/a|n/a|n/a|n/a|n/a");
}

TEST(RocComparison, ReplicatesAreFolded) {
    CompareBuilder builder;
    builder.replicates().add("A", {1, 3, 5, 6}, {{1}, {1}, {2}, {3}}).add("B", {7, 8, 9}, plainIds(3));
    const RocComparison result = compareByRoc(builder.comparison, 0, 1, builder.values);
    EXPECT_EQ(result.features[0].roc.nNegative, 3);
    EXPECT_EQ(result.features[0].roc.thresholds.back(), 2.0);
    // The curve's export looks at the datasets as they are.
    EXPECT_TRUE(
        rocCurveText(builder.comparison, builder.values, '\t').endsWith("\n0.5\t1\t5\n0.75\t1\t3\n1\t1\t1\n\n"));
}

TEST(RocComparison, CurveText) {
    CompareBuilder builder(2);
    builder.add("A", {1, 2e7}).add("B", {3, 0.0000004}).add("C", {9});
    EXPECT_EQ(rocCurveText(builder.comparison, builder.values, ','),
              "# Label a\nFPR,TPR,Threshold\n0,0,-1\n0,0.5,4e-07\n0.5,0.5,1\n0.5,1,3\n1,1,2e+07\n\n"
              "# Label b\nFPR,TPR,Threshold\n0,0,1\n0,0.5,-4e-07\n0.5,0.5,-1\n0.5,1,-3\n1,1,-2e+07\n\n");
    builder.comparison.categories[0].entries.clear();
    EXPECT_EQ(rocCurveText(builder.comparison, builder.values, '\t'),
              "# Label a\nFPR\tTPR\tThreshold\n\n# Label b\nFPR\tTPR\tThreshold\n\n");
}

} // namespace
} // namespace Tessaly
