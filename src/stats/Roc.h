#pragma once

#include <span>
#include <vector>

namespace Tessaly {

/// How well one number per sample separates positives from negatives: the curve of the true against the false positive
/// rate as the threshold goes down.
struct RocResult {
    std::vector<double> fpr; ///< rates and thresholds point by point, from (0, 0) to (1, 1)
    std::vector<double> tpr;
    /// A sample at its point's threshold or beyond it counts as positive. The first lies beyond all values.
    std::vector<double> thresholds;
    double auc = 0.5; ///< area under the curve
    double optimalThreshold = 0.0;
    double sensitivity = 0.0; ///< at the optimal threshold, as the specificity
    double specificity = 0.0;
    int nPositive = 0;
    int nNegative = 0;
    bool valid = false;           ///< false if a class is empty or a value is NaN: only the counts are set then
    bool higherIsPositive = true; ///< false: values at or below a threshold count as positive

    bool operator==(const RocResult&) const = default;
};

/// The curve with high values as positive. Equal values make one point together, so that ties between the classes are
/// a slope and not a step. The optimal point is the earliest of those with the largest difference of the rates
/// (Youden's index), decided on the counts. O(n log n), any thread. Source: T. Fawcett, Pattern Recognit. Lett. 27
/// (2006) 861; W. J. Youden, Cancer 3 (1950) 32.
RocResult rocCurve(std::span<const double> negatives, std::span<const double> positives);

/// The curve in the direction that separates better: as rocCurve(), or, if its area is below 0.5, with low values as
/// positive. The area is 0.5 or more. The same cost: the values are sorted once.
RocResult directedRoc(std::span<const double> negatives, std::span<const double> positives);

} // namespace Tessaly
