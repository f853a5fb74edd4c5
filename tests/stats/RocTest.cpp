#include "stats/Roc.h"

#include "stats/Discriminant.h"
#include "stats/StatsReference.h"

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <limits>

namespace Tessaly {
namespace {

constexpr double NaN = std::numeric_limits<double>::quiet_NaN();
using Values = std::vector<double>;

/// Sum of the values, each times its place from 1: tells curves apart that only a few figures are known of.
double moment(const Values& values) {
    double sum = 0.0;
    for (std::size_t i = 0; i < values.size(); ++i) {
        sum += static_cast<double>(i + 1) * values[i];
    }
    return sum;
}

TEST(Roc, AgreesWithScikitLearn) {
    for (const RocRow& row : rocRows) {
        const RocResult found = directedRoc(makeSample(row.negatives), makeSample(row.positives));
        SCOPED_TRACE(row.negatives.seed);
        EXPECT_TRUE(found.valid);
        EXPECT_EQ(found.higherIsPositive, row.higher);
        ASSERT_EQ(found.fpr.size(), row.points);
        ASSERT_EQ(found.tpr.size(), row.points);
        ASSERT_EQ(found.thresholds.size(), row.points);
        EXPECT_NEAR(found.auc, row.auc, 1e-12);
        EXPECT_EQ(found.optimalThreshold, row.threshold);
        EXPECT_NEAR(found.sensitivity, row.sensitivity, 1e-12);
        EXPECT_NEAR(found.specificity, row.specificity, 1e-12);
        EXPECT_NEAR(moment(found.fpr), row.fprMoment, 1e-9);
        EXPECT_NEAR(moment(found.tpr), row.tprMoment, 1e-9);
        EXPECT_EQ(found.thresholds.front(), row.firstThreshold);
        EXPECT_EQ(found.nNegative, static_cast<int>(row.negatives.count));
        EXPECT_EQ(found.nPositive, static_cast<int>(row.positives.count));
    }
}

TEST(Roc, CurvesByHand) {
    const struct {
        const char* what;
        Values negatives, positives;
        Values fpr, tpr, thresholds;
        double auc;
        bool higher;
        double optimal, sensitivity, specificity;
    } rows[] = {
        {"apart", {1, 2}, {3, 4}, {0, 0, 0, 0.5, 1}, {0, 0.5, 1, 1, 1}, {5, 4, 3, 2, 1}, 1, true, 3, 1, 1},
        {"lower", {3, 4}, {1, 2}, {0, 0, 0, 0.5, 1}, {0, 0.5, 1, 1, 1}, {0, 1, 2, 3, 4}, 1, false, 2, 1, 1},
        {"equal", {7, 7}, {7, 7, 7}, {0, 1}, {0, 1}, {8, 7}, 0.5, true, 8, 0, 1},
        {"tie", {1, 2}, {2, 3}, {0, 0, 0.5, 1}, {0, 0.5, 1, 1}, {4, 3, 2, 1}, 0.875, true, 3, 0.5, 1},
        // An area of exactly one half stays in the higher direction.
        {"half", {1, 4}, {2, 3}, {0, 0.5, 0.5, 0.5, 1}, {0, 0, 0.5, 1, 1}, {5, 4, 3, 2, 1}, 0.5, true, 2, 1, 0.5},
        {"zeros", {-0.0, 1}, {0.0, 2}, {0, 0, 0.5, 1}, {0, 0.5, 0.5, 1}, {3, 2, 1, 0}, 0.625, true, 2, 0.5, 1},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.what);
        const RocResult found = directedRoc(row.negatives, row.positives);
        EXPECT_EQ(found.fpr, row.fpr);
        EXPECT_EQ(found.tpr, row.tpr);
        EXPECT_EQ(found.thresholds, row.thresholds);
        EXPECT_EQ(found.auc, row.auc);
        EXPECT_EQ(found.higherIsPositive, row.higher);
        EXPECT_EQ(found.optimalThreshold, row.optimal);
        EXPECT_EQ(found.sensitivity, row.sensitivity);
        EXPECT_EQ(found.specificity, row.specificity);
    }
}

TEST(Roc, FixedDirectionMayBeWorseThanChance) {
    const RocResult found = rocCurve(Values{3, 4}, Values{1, 2});
    EXPECT_EQ(found.auc, 0.0);
    EXPECT_TRUE(found.higherIsPositive);
    EXPECT_EQ(found.fpr, (Values{0, 0.5, 1, 1, 1}));
    EXPECT_EQ(found.optimalThreshold, 5.0);
}

TEST(Roc, TiesOfTheBestPointAreExact) {
    // Points with J = 1/3 each: 1/3 - 0, 2/3 - 1/3, 1 - 2/3. Their rounded differences are not equal.
    const RocResult found = rocCurve(Values{1, 3, 5}, Values{2, 4, 6});
    EXPECT_EQ(found.optimalThreshold, 6.0);
    EXPECT_EQ(found.sensitivity, 1.0 / 3);
    // Of 6 and 10 samples: J = 6/60 at the first peak and again at the last.
    const RocResult later = rocCurve(Values{0.5, 0.5, 5, 5, 5, 5}, Values{9, 4, 4, 4, 4, 4, 4, 1, 1, 1});
    EXPECT_EQ(later.optimalThreshold, 1.0); // 1 - 4/6 is more than 1/10
}

TEST(Roc, NothingToSeparate) {
    const RocResult empty = directedRoc({}, Values{1, 2});
    EXPECT_FALSE(empty.valid);
    EXPECT_EQ(empty.nPositive, 2);
    EXPECT_EQ(empty.nNegative, 0);
    EXPECT_EQ(empty.auc, 0.5);
    EXPECT_TRUE(empty.fpr.empty());
    EXPECT_FALSE(rocCurve(Values{1}, {}).valid);
    EXPECT_FALSE(directedRoc(Values{1, NaN}, Values{2, 3}).valid);
    EXPECT_FALSE(directedRoc(Values{1}, Values{NaN, 3}).valid);
}

TEST(Discriminant, AgreesWithNumPyAndScikitLearn) {
    for (const DiscriminantRow& row : discriminantRows) {
        std::vector<Values> negatives;
        std::vector<Values> positives;
        for (std::size_t i = 0; i < row.seeds.size(); ++i) {
            const SampleKind kind = i % 2 == 0 ? SampleKind::Shifted : SampleKind::Plain;
            negatives.push_back(makeSample({SampleKind::Plain, row.seeds[i], row.negatives}));
            positives.push_back(makeSample({kind, row.seeds[i] + 100, row.positives}));
        }
        const Discriminant found = linearDiscriminant(negatives, positives);
        ASSERT_EQ(found.weights.size(), row.weights.size());
        for (std::size_t i = 0; i < row.weights.size(); ++i) {
            EXPECT_NEAR(found.weights[i], row.weights[i], 1e-9 * std::fabs(row.weights[i]));
        }
        EXPECT_NEAR(found.roc.auc, row.auc, 1e-12);
        EXPECT_TRUE(found.roc.valid);
        // The other way round the scores change their sign, and with it the direction stays.
        const Discriminant turned = linearDiscriminant(positives, negatives);
        EXPECT_NEAR(turned.weights[0], -row.weights[0], 1e-9 * std::fabs(row.weights[0]));
        EXPECT_NEAR(turned.roc.auc, row.auc, 1e-12);
    }
}

TEST(Discriminant, SingularAndIncomplete) {
    const std::vector<Values> copies{{1, 2, 3}, {1, 2, 3}};
    const std::vector<Values> others{{4, 5, 7}, {4, 5, 7}};
    const Discriminant same = linearDiscriminant(copies, others);
    EXPECT_EQ(same.weights, (Values{0.5, 0.5}));
    EXPECT_EQ(same.roc.auc, 1.0);
    // The pivot limit is a number, not a share: features on a tiny scale count as singular.
    const std::vector<Values> tiny{{1e-9, 2e-9, 4e-9}, {5e-9, 1e-9, 2e-9}};
    EXPECT_EQ(linearDiscriminant(tiny, tiny).weights, (Values{0.5, 0.5}));
    // By hand: S = diag(2, 2), m1 - m0 = (3, -2); equal weights would see nothing in the second one.
    const Discriminant plain = linearDiscriminant(std::vector<Values>{{0, 1, 1, 0}, {0, 0, 1, 1}},
                                                  std::vector<Values>{{3, 4, 4, 3}, {-2, -2, -1, -1}});
    EXPECT_EQ(plain.weights, (Values{1.5, -1.0}));
    EXPECT_TRUE(plain.roc.higherIsPositive);
    // A row swap is needed: the first feature alone is constant within the classes.
    const Discriminant constant = linearDiscriminant(std::vector<Values>{{1, 1, 1}, {1, 2, 3}}, others);
    EXPECT_EQ(constant.roc.auc, 1.0);

    for (const auto& [negatives, positives] :
         std::initializer_list<std::pair<std::vector<Values>, std::vector<Values>>>{
             {{}, {}}, {{{}, {}}, others}, {copies, {{}, {}}}, {copies, {{1, 2, 3}}}, {{{1, 2, 3}, {1, 2}}, others}}) {
        const Discriminant none = linearDiscriminant(negatives, positives);
        EXPECT_FALSE(none.roc.valid);
        EXPECT_TRUE(none.weights.empty());
    }
}

} // namespace
} // namespace Tessaly
