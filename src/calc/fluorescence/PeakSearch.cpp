#include "calc/fluorescence/PeakSearch.h"

#include <algorithm>
#include <cmath>

namespace Tessaly {

std::optional<SampleWindow> sampleWindow(double low, double high, std::size_t samples) {
    if (samples == 0 || std::isnan(low) || std::isnan(high)) {
        return std::nullopt;
    }
    const auto last = static_cast<double>(samples - 1);
    // What is left of 0 after the fraction was cut off ends before the trace.
    if (high <= -1.0) {
        return std::nullopt;
    }
    const auto end = static_cast<std::size_t>(std::clamp(high, 0.0, last));
    const auto begin = static_cast<std::size_t>(std::clamp(low, 0.0, last));
    return SampleWindow{std::min(begin, end), end};
}

std::optional<Peak> findPeak(std::span<const float> trace, SampleWindow window, double offset) {
    if (window.last >= trace.size()) {
        return std::nullopt;
    }
    const auto valueAt = [trace, offset](std::size_t sample) { return static_cast<double>(trace[sample]) + offset; };
    constexpr double lowest = -1e30;
    Peak peak{lowest, 0, 0};
    for (std::size_t i = window.first; i <= window.last; ++i) {
        if (const double value = valueAt(i); value > peak.height) {
            peak.height = value;
            peak.sample = i;
        }
    }
    if (peak.height == lowest) {
        return std::nullopt;
    }
    const double half = 0.5 * peak.height;
    std::size_t left = peak.sample;
    while (left > window.first + 1 && !(valueAt(left) < half)) {
        --left;
    }
    std::size_t right = peak.sample;
    while (right < window.last && !(valueAt(right) < half)) {
        ++right;
    }
    peak.width = right - left;
    return peak;
}

} // namespace Tessaly
