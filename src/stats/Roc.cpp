#include "stats/Roc.h"

#include "stats/Ranks.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>

namespace Tessaly {

namespace {

/// One class, in the order of its curve: descending if high values are positive, ascending otherwise.
class Walk {
public:
    Walk(const std::vector<double>& rising, bool descending) : rising_(rising), descending_(descending) {}

    bool done() const { return passed_ == rising_.size(); }
    double head() const { return rising_[descending_ ? rising_.size() - 1 - passed_ : passed_]; }
    std::size_t passed() const { return passed_; }
    /// Passes over all values that equal one.
    void pass(double value) {
        while (!done() && head() == value) {
            ++passed_;
        }
    }

private:
    const std::vector<double>& rising_;
    std::size_t passed_ = 0;
    bool descending_;
};

/// Both classes, sorted.
struct Classes {
    std::vector<double> negatives;
    std::vector<double> positives;

    bool usable() const {
        const auto numbers = [](const std::vector<double>& rising) {
            return !rising.empty() && rising.back() == rising.back(); // NaN stands last
        };
        return numbers(negatives) && numbers(positives);
    }

    /// Twice the number of pairs in which the positive is higher, ties by half: twice U.
    std::uint64_t twiceHigherPairs() const {
        std::uint64_t twice = 0;
        std::size_t below = 0;
        std::size_t notAbove = 0;
        for (const double positive : positives) {
            while (below < negatives.size() && negatives[below] < positive) {
                ++below;
            }
            notAbove = std::max(notAbove, below);
            while (notAbove < negatives.size() && negatives[notAbove] == positive) {
                ++notAbove;
            }
            twice += below + notAbove;
        }
        return twice;
    }

    std::uint64_t twicePairs() const {
        return 2 * static_cast<std::uint64_t>(negatives.size()) * static_cast<std::uint64_t>(positives.size());
    }
};

Classes sortedClasses(std::span<const double> negatives, std::span<const double> positives) {
    return {inRisingOrder(negatives), inRisingOrder(positives)};
}

RocResult emptyResult(std::span<const double> negatives, std::span<const double> positives) {
    RocResult result;
    result.nNegative = static_cast<int>(negatives.size());
    result.nPositive = static_cast<int>(positives.size());
    return result;
}

void reservePoints(RocResult& result, std::size_t count) {
    result.fpr.reserve(count);
    result.tpr.reserve(count);
    result.thresholds.reserve(count);
}

/// Fills in all points and the optimal one.
void walkCurve(RocResult& result, const Classes& classes, bool higherIsPositive) {
    Walk negatives(classes.negatives, higherIsPositive);
    Walk positives(classes.positives, higherIsPositive);
    const double n0 = result.nNegative;
    const double n1 = result.nPositive;
    const auto precedes = [&](double a, double b) { return higherIsPositive ? a > b : a < b; };
    const double first = precedes(negatives.head(), positives.head()) ? negatives.head() : positives.head();

    reservePoints(result, classes.negatives.size() + classes.positives.size() + 1);
    std::int64_t best = -1;
    std::size_t bestPoint = 0;
    const auto addPoint = [&](double threshold) {
        // The difference of the rates on a common denominator: exact.
        const auto youden = static_cast<std::int64_t>(positives.passed()) * result.nNegative -
                            static_cast<std::int64_t>(negatives.passed()) * result.nPositive;
        if (youden > best) {
            best = youden;
            bestPoint = result.fpr.size();
        }
        result.fpr.push_back(static_cast<double>(negatives.passed()) / n0);
        result.tpr.push_back(static_cast<double>(positives.passed()) / n1);
        result.thresholds.push_back(threshold);
    };
    addPoint(higherIsPositive ? first + 1.0 : first - 1.0);
    while (!negatives.done() || !positives.done()) {
        const bool fromNegatives =
            positives.done() || (!negatives.done() && precedes(negatives.head(), positives.head()));
        const double value = fromNegatives ? negatives.head() : positives.head();
        negatives.pass(value);
        positives.pass(value);
        addPoint(value);
    }
    result.optimalThreshold = result.thresholds[bestPoint];
    result.sensitivity = result.tpr[bestPoint];
    result.specificity = 1.0 - result.fpr[bestPoint];
}

void complete(RocResult& result, const Classes& classes, std::uint64_t twiceHigher, bool higherIsPositive) {
    const std::uint64_t twice = higherIsPositive ? twiceHigher : classes.twicePairs() - twiceHigher;
    result.valid = true;
    result.higherIsPositive = higherIsPositive;
    // The trapezoids under the curve are pairs that were counted: no rounding but that of the quotient.
    result.auc = static_cast<double>(twice) / static_cast<double>(classes.twicePairs());
    walkCurve(result, classes, higherIsPositive);
}

} // namespace

RocResult rocCurve(std::span<const double> negatives, std::span<const double> positives) {
    RocResult result = emptyResult(negatives, positives);
    const Classes classes = sortedClasses(negatives, positives);
    if (classes.usable()) {
        complete(result, classes, classes.twiceHigherPairs(), true);
    }
    return result;
}

RocResult directedRoc(std::span<const double> negatives, std::span<const double> positives) {
    RocResult result = emptyResult(negatives, positives);
    const Classes classes = sortedClasses(negatives, positives);
    if (classes.usable()) {
        const std::uint64_t twiceHigher = classes.twiceHigherPairs();
        complete(result, classes, twiceHigher, 2 * twiceHigher >= classes.twicePairs());
    }
    return result;
}

} // namespace Tessaly
