#pragma once

#include "stats/Roc.h"

#include <span>
#include <vector>

namespace Tessaly {

/// The linear combination of features that separates two classes best, and how well it does.
struct Discriminant {
    std::vector<double> weights; ///< one for each feature, as solved; empty if there are no samples to solve for
    RocResult roc;               ///< of the scores, in the better direction; the weights keep their signs
};

/// Fisher's discriminant: S w = m1 - m0 with the pooled scatter matrix S (sums, not divided) and the classes' means.
/// Solved by elimination with row pivoting; a pivot below 1e-15, as for features that say the same, makes all weights
/// equal, 1 / d for d features.
/// @param negatives, positives  the samples of each feature, feature by feature
/// @return without a valid curve if a class is empty or a feature has other samples than the first
/// O(n d^2 + d^3), any thread. Source: R. A. Fisher, Ann. Eugenics 7 (1936) 179.
Discriminant linearDiscriminant(std::span<const std::vector<double>> negatives,
                                std::span<const std::vector<double>> positives);

} // namespace Tessaly
