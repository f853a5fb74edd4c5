#pragma once

#include <cstddef>
#include <span>
#include <vector>

namespace Tessaly {

/// Outcome of a test.
struct TestResult {
    double statistic = 0.0;
    double pValue = 1.0; ///< two-sided, 0 to 1
    bool valid = false;  ///< false for too few values: the other fields then say nothing

    bool operator==(const TestResult&) const = default;
};

// All tests use the normal or the chi-square approximation: no exact tables, no correction for ties or for continuity.
// O(n log n), any thread; inputs are left alone.

/// Two independent groups. The statistic is the smaller U; at least 3 values in each group.
/// If the spread of U is nil the p-value stays 1. Source: H. B. Mann, D. R. Whitney, Ann. Math. Stat. 18 (1947) 50.
TestResult mannWhitneyU(std::span<const double> a, std::span<const double> b);

/// Matched pairs, as differences. Differences of exactly 0 are dropped; at least 3 must be left. The statistic is the
/// smaller sum of ranks. Source: F. Wilcoxon, Biometrics Bull. 1 (1945) 80.
TestResult wilcoxonSignedRank(std::span<const double> differences);

/// Two or more independent groups of at least 3 values. The statistic is H.
/// Source: W. H. Kruskal, W. A. Wallis, J. Am. Stat. Assoc. 47 (1952) 583.
TestResult kruskalWallis(std::span<const std::vector<double>> groups);

/// Two or more conditions measured on the same subjects, at least 3: value i of every condition is subject i. Invalid
/// for unequal lengths. The statistic is chi-square. Source: M. Friedman, J. Am. Stat. Assoc. 32 (1937) 675.
TestResult friedman(std::span<const std::vector<double>> conditions);

/// The smallest p-value that wilcoxonSignedRank() can give for n pairs: all differences on one side. 1 without pairs.
double smallestMatchedPValue(std::size_t pairs);

/// Probability that a chi-square variable exceeds a value. 1 for values of 0 and below.
/// @param degrees  degrees of freedom, 1 to some hundred
double chiSquareTail(double statistic, int degrees);

/// Regularised upper incomplete gamma function Q(a, x); 1 for x of 0 and below. Within 1e-9 of the true value for a
/// below some hundred, down to results of 1e-300. Series or continued fraction (modified Lentz), whichever converges;
/// source: M. Abramowitz, I. A. Stegun, Handbook of Mathematical Functions, 6.5.29 and 6.5.31; W. J. Lentz, Appl.
/// Opt. 15 (1976) 668; logarithm of the gamma function: C. Lanczos, SIAM J. Numer. Anal. B 1 (1964) 86.
double upperGamma(double a, double x);

} // namespace Tessaly
