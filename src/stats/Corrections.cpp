#include "stats/Corrections.h"

#include <algorithm>
#include <cstddef>
#include <numeric>

namespace Tessaly {

std::vector<double> correctedLevels(std::span<const double> pValues, double alpha, Correction correction) {
    const std::size_t count = pValues.size();
    std::vector<double> levels(count, alpha);
    if (count < 2 || correction == Correction::None) {
        return levels;
    }
    if (correction == Correction::Bonferroni) {
        std::ranges::fill(levels, alpha / static_cast<double>(count));
        return levels;
    }
    std::vector<std::size_t> order(count);
    std::iota(order.begin(), order.end(), std::size_t{0});
    std::ranges::stable_sort(order, [&](std::size_t a, std::size_t b) { return pValues[a] < pValues[b]; });
    for (std::size_t rank = 0; rank < count; ++rank) {
        levels[order[rank]] = alpha / static_cast<double>(count - rank);
    }
    return levels;
}

std::string significanceStars(double pValue, double level) {
    if (pValue < level / 100.0) {
        return "***";
    }
    if (pValue < level / 10.0) {
        return "**";
    }
    return pValue < level ? "*" : "ns";
}

} // namespace Tessaly
