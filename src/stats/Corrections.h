#pragma once

#include <span>
#include <string>
#include <vector>

namespace Tessaly {

/// How the level is divided among several tests.
enum class Correction { Bonferroni, Holm, None };

/// The level that each p-value has to stay below.
///
/// Bonferroni: alpha / m for all m. Holm: alpha / (m - r) for the p-value of rank r from 0, of equal ones the earlier
/// first; each is judged by its own level only, without stopping at the first that fails.
/// Fewer than two p-values are not corrected. O(m log m), any thread.
/// Source: S. Holm, Scand. J. Stat. 6 (1979) 65.
std::vector<double> correctedLevels(std::span<const double> pValues, double alpha, Correction correction);

/// "***" for a p-value below a hundredth of the level, "**" below a tenth, "*" below the level, else "ns".
std::string significanceStars(double pValue, double level);

} // namespace Tessaly
