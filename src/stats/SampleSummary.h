#pragma once

#include <span>
#include <vector>

namespace Tessaly {

/// The figure that stands for a whole sample.
enum class SampleSummary { Median, Mean, Sd, Cv, Iqr };

// All take finite values and never overflow where the result itself doesn't. O(n), any thread.

/// Arithmetic mean; exact for equal values, 0 without values.
double meanOf(std::span<const double> values);

/// Mean and standard deviation in one.
struct MeanAndSd {
    double mean = 0.0;
    double sd = 0.0; ///< exactly 0 for equal values, and below two values
};
/// @param divisorOffset  1 for the deviation of a sample (divisor n - 1), 0 for that of a population
MeanAndSd meanAndSd(std::span<const double> values, int divisorOffset = 1);

/// Difference of the values at places 3n / 4 and n / 4 of the sorted list, rounded down, from 0; no interpolation. 0
/// without values.
double plainIqr(std::span<const double> values);

/// One figure of a sample; 0 without values.
/// Median: the middle value, or the mean of the two middle ones. Sd: divisor n - 1, 0 for one value. Cv: Sd by the size
/// of the mean, 0 if that is below 1e-15. Iqr: plainIqr().
double summarize(std::span<const double> values, SampleSummary summary);

/// One figure for several of the same kind: their mean; for deviations the root of the mean of their squares, because
/// variances can be averaged. One value stays as it is; 0 without values.
double foldValues(std::span<const double> values, SampleSummary summary);

} // namespace Tessaly
