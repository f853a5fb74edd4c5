#include "stats/Discriminant.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <numeric>
#include <optional>
#include <utility>

namespace Tessaly {

namespace {

using Features = std::span<const std::vector<double>>;
using Matrix = std::vector<std::vector<double>>;

constexpr double leastPivot = 1e-15;

std::vector<double> meansOf(Features features) {
    std::vector<double> means;
    for (const std::vector<double>& values : features) {
        means.push_back(std::accumulate(values.begin(), values.end(), 0.0) / static_cast<double>(values.size()));
    }
    return means;
}

/// Adds the scatter of one class to the upper triangle.
void addScatter(Matrix& scatter, Features features, const std::vector<double>& means) {
    for (std::size_t i = 0; i < features.size(); ++i) {
        for (std::size_t j = i; j < features.size(); ++j) {
            double sum = 0.0;
            for (std::size_t sample = 0; sample < features[i].size(); ++sample) {
                sum += (features[i][sample] - means[i]) * (features[j][sample] - means[j]);
            }
            scatter[i][j] += sum;
        }
    }
}

/// Solves a square system given with its right side as the last column; nothing if a pivot is too small.
std::optional<std::vector<double>> solve(Matrix augmented) {
    const std::size_t size = augmented.size();
    for (std::size_t column = 0; column < size; ++column) {
        std::size_t pivot = column;
        for (std::size_t row = column + 1; row < size; ++row) {
            if (std::fabs(augmented[row][column]) > std::fabs(augmented[pivot][column])) {
                pivot = row;
            }
        }
        if (std::fabs(augmented[pivot][column]) < leastPivot) {
            return std::nullopt;
        }
        std::swap(augmented[column], augmented[pivot]);
        for (std::size_t row = column + 1; row < size; ++row) {
            const double factor = augmented[row][column] / augmented[column][column];
            for (std::size_t k = column; k <= size; ++k) {
                augmented[row][k] -= factor * augmented[column][k];
            }
        }
    }
    std::vector<double> solution(size);
    for (std::size_t row = size; row-- > 0;) {
        double rest = augmented[row][size];
        for (std::size_t k = row + 1; k < size; ++k) {
            rest -= augmented[row][k] * solution[k];
        }
        solution[row] = rest / augmented[row][row];
    }
    return solution;
}

std::vector<double> discriminantWeights(Features negatives, Features positives) {
    const std::size_t count = negatives.size();
    const std::vector<double> m0 = meansOf(negatives);
    const std::vector<double> m1 = meansOf(positives);
    Matrix augmented(count, std::vector<double>(count + 1, 0.0));
    addScatter(augmented, negatives, m0);
    addScatter(augmented, positives, m1);
    for (std::size_t i = 0; i < count; ++i) {
        for (std::size_t j = 0; j < i; ++j) {
            augmented[i][j] = augmented[j][i];
        }
        augmented[i][count] = m1[i] - m0[i];
    }
    return solve(std::move(augmented)).value_or(std::vector<double>(count, 1.0 / static_cast<double>(count)));
}

std::vector<double> scoresOf(Features features, const std::vector<double>& weights) {
    std::vector<double> scores(features[0].size(), 0.0);
    for (std::size_t i = 0; i < features.size(); ++i) {
        for (std::size_t sample = 0; sample < scores.size(); ++sample) {
            scores[sample] += weights[i] * features[i][sample];
        }
    }
    return scores;
}

/// Whether every feature has the first one's number of samples, and there are some.
bool isComplete(Features features) {
    return !features.empty() && !features[0].empty() &&
           std::ranges::all_of(features, [&](const auto& values) { return values.size() == features[0].size(); });
}

} // namespace

Discriminant linearDiscriminant(Features negatives, Features positives) {
    Discriminant result;
    if (!negatives.empty() && !positives.empty()) {
        result.roc.nNegative = static_cast<int>(negatives[0].size());
        result.roc.nPositive = static_cast<int>(positives[0].size());
    }
    if (negatives.size() == positives.size() && isComplete(negatives) && isComplete(positives)) {
        result.weights = discriminantWeights(negatives, positives);
        result.roc = directedRoc(scoresOf(negatives, result.weights), scoresOf(positives, result.weights));
    }
    return result;
}

} // namespace Tessaly
