#pragma once

#include <cstddef>
#include <optional>
#include <span>

namespace Tessaly {

/// Whole samples from first to last, both included.
struct SampleWindow {
    std::size_t first = 0;
    std::size_t last = 0;
};

/// The samples between two places in a trace of `samples` samples, which may lie beyond its ends.
/// Nothing if the window ends before the trace begins, an end is NaN, or the trace has no samples.
std::optional<SampleWindow> sampleWindow(double low, double high, std::size_t samples);

struct Peak {
    double height = 0.0;    ///< above the baseline
    std::size_t sample = 0; ///< the first of equal ones
    std::size_t width = 0;  ///< samples between the places where it falls below half its height
};

/// The highest sample of a window and its width there. The search for the left side doesn't go beyond the sample right
/// of the window's first. Nothing if the window reaches beyond the trace or holds no numbers.
std::optional<Peak> findPeak(std::span<const float> trace, SampleWindow window, double offset);

} // namespace Tessaly
