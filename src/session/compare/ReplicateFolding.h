#pragma once

#include "session/compare/CompareSettings.h"

#include <QStringList>

#include <map>
#include <span>
#include <vector>

namespace Tessaly {

/// The values that a category has for a test, one for each sample, and what to call them.
struct CategorySamples {
    std::vector<double> values;
    QStringList names;

    bool operator==(const CategorySamples&) const = default;
};

/// The samples of a category of different subjects. Without replicates each dataset is one, in order. With them those
/// of one ID are folded into one: first, if any dataset has a biological replicate's number, those of one replicate,
/// then the replicates; in rising order of IDs.
/// @param values  one for each entry
CategorySamples independentSamples(const Category& category, std::span<const double> values,
                                   const CompareSettings& settings);

/// The value of each ID: of all its datasets folded, with technical replicates those of one biological replicate first.
std::map<int, double> matchedSamples(const Category& category, std::span<const double> values,
                                     const CompareSettings& settings);

/// The IDs that all categories have, in rising order.
std::vector<int> commonIds(std::span<const std::map<int, double>> categories);

/// The samples of all categories under the settings' design. Matched ones stand at the same place in each category.
/// @param values  for each category one value for each entry
std::vector<CategorySamples> samplesOf(std::span<const Category> categories,
                                       std::span<const std::vector<double>> values, const CompareSettings& settings);

} // namespace Tessaly
