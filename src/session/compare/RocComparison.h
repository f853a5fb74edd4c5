#pragma once

#include "session/UserMessage.h"
#include "session/compare/CompareSettings.h"
#include "session/compare/DatasetValue.h"
#include "session/compare/ResultTable.h"
#include "stats/Roc.h"

#include <optional>
#include <vector>

namespace Tessaly {

/// How well one feature separates two categories.
struct RocFeatureResult {
    ComparedFeature feature;
    RocResult roc;

    bool operator==(const RocFeatureResult&) const = default;
};

/// How well the best linear combination of all features does.
struct LdaResult {
    RocResult roc;
    std::vector<double> weights; ///< one for each feature
    std::vector<ComparedFeature> features;

    bool operator==(const LdaResult&) const = default;
};

/// A finished ROC analysis, free of the session.
struct RocComparison {
    QString negative; ///< names of the categories
    QString positive;
    std::vector<RocFeatureResult> features;
    std::optional<LdaResult> combined; ///< of two features or more

    bool operator==(const RocComparison&) const = default;
};

/// What keeps any two categories from being chosen; nothing if they can be.
std::optional<UserMessage> rocRefusal(const Comparison& comparison);
/// What keeps two categories from being analysed; nothing if they can be.
std::optional<UserMessage> rocRefusal(const Comparison& comparison, std::size_t negative, std::size_t positive);

/// Folds replicates and makes the curves. Any thread.
/// @param values  of each dataset, feature by feature
RocComparison compareByRoc(const Comparison& comparison, std::size_t negative, std::size_t positive,
                           const ValueTable& values);

/// The table of all curves.
ResultTable rocTable(const RocComparison& comparison);
/// Name of the combination of features.
QString combinedName();

/// All points of each feature's curve, block by block. Always of the first two categories with each dataset as a sample
/// of its own, whatever the settings: a look at the plain data. UTF-8.
QByteArray rocCurveText(const Comparison& comparison, const ValueTable& values, char separator);

} // namespace Tessaly
