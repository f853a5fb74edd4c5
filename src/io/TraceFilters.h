#pragma once

#include <span>
#include <vector>

namespace Tessaly {

/// The filters that a refined trace passes through, in this order, those that are on. Half-windows are in samples: a
/// window has 2 * half-window + 1 of them.
struct TraceProcessing {
    bool hampel1 = true;
    int hampel1HalfWindow = 5;
    float hampel1Threshold = 3.0F; ///< multiple of the robust deviation
    bool hampel2 = true;
    int hampel2HalfWindow = 11;
    float hampel2Threshold = 3.0F;
    bool median = false;
    int medianHalfWindow = 3;
    bool rolling = false;
    int rollingHalfWindow = 3;
    bool savitzkyGolay = true;
    int savitzkyGolayHalfWindow = 3;

    bool operator==(const TraceProcessing&) const = default;
};

// The filters take a trace and give one of the same length. Windows shrink at the ends of the trace; the median of w
// samples is the one at place w / 2, from 0, of the sorted window, NaN last. A half-window below 1 changes nothing. All
// arithmetic is in 32-bit floats unless said otherwise. Pure, any thread.

/// Replaces samples by the median of their window where they differ from it by more than `threshold` times 1.4826 times
/// the median absolute deviation. A window that is flat for the most part (deviation 0) replaces nothing.
/// Windows up to a half-width of 12 cost some 10 ns a sample, wider ones grow with their width.
/// Source: F. R. Hampel, J. Am. Stat. Assoc. 69 (1974), 383.
std::vector<float> hampelFiltered(std::span<const float> trace, int halfWindow, float threshold);

/// The median of each window.
std::vector<float> medianFiltered(std::span<const float> trace, int halfWindow);

/// The mean of each window, by a running sum in double precision.
std::vector<float> meanFiltered(std::span<const float> trace, int halfWindow);

/// The value that a parabola fitted to each window has in its middle. The first and the last `halfWindow` samples stay,
/// and so does a trace that is shorter than a window.
/// Source: A. Savitzky, M. J. E. Golay, Anal. Chem. 36 (1964), 1627.
std::vector<float> savitzkyGolayFiltered(std::span<const float> trace, int halfWindow);

/// All filters that are on, each on the result of the one before; the trace itself if none is.
std::vector<float> filteredTrace(std::vector<float> trace, const TraceProcessing& processing);

} // namespace Tessaly
