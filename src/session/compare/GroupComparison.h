#pragma once

#include "session/UserMessage.h"
#include "session/compare/CompareSettings.h"
#include "session/compare/DatasetValue.h"
#include "session/compare/ReplicateFolding.h"
#include "session/compare/ResultTable.h"
#include "stats/RankTests.h"

#include <optional>
#include <vector>

namespace Tessaly {

/// A test of one feature and what came of it.
struct JudgedTest {
    int first = 0; ///< the categories, for a pair
    int second = 1;
    QString name;
    TestResult result;
    double level = 0.0; ///< what the p-value has to stay below, after correction
    QString stars;      ///< "***" to "*", or "ns"; empty if the result is not valid or not judged

    bool significant() const { return !stars.isEmpty() && stars != QLatin1String("ns"); }
    bool operator==(const JudgedTest&) const = default;
};

/// The comparison of all categories by one feature.
struct FeatureComparison {
    ComparedFeature feature;
    std::vector<CategorySamples> samples; ///< by category
    JudgedTest omnibus;                   ///< of all categories at once; judged only where there are no pairs
    std::vector<JudgedTest> pairs;        ///< of more than two categories

    bool operator==(const FeatureComparison&) const = default;
};

/// A finished comparison, free of the session.
struct GroupComparison {
    std::vector<Category> categories;
    CompareSettings settings;
    std::vector<FeatureComparison> features;
    std::size_t correctedTests = 0; ///< how many p-values share the level

    bool operator==(const GroupComparison&) const = default;
};

/// What keeps the groups from being compared; nothing if they can be.
std::optional<UserMessage> groupRefusal(const Comparison& comparison);
/// The question to ask if matched samples are too few for any test to become significant; nothing otherwise.
std::optional<UserMessage> powerQuestion(const Comparison& comparison);

/// Folds, tests and judges. Two categories: Mann-Whitney, or Wilcoxon on matched samples. More: Kruskal-Wallis or
/// Friedman, then those for every pair. Any thread.
/// @param values  of each dataset, feature by feature
GroupComparison compareGroups(const Comparison& comparison, const ValueTable& values);

/// The table of all tests.
ResultTable groupTable(const GroupComparison& comparison);

/// A mark over two categories that differ.
struct Bracket {
    int first = 0;
    int second = 1;
    QString stars;
    double height = 0.0;

    bool operator==(const Bracket&) const = default;
};

/// The marks of a feature, one above the other, those over neighbours lowest.
/// @param top    highest value that is drawn
/// @param range  of the axis; if that is not above 0 half the size of top is taken
std::vector<Bracket> bracketsOf(const FeatureComparison& feature, double top, double range);

} // namespace Tessaly
