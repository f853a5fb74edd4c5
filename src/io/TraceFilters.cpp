#include "io/TraceFilters.h"

#include "io/MedianNetwork.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <utility>

namespace Tessaly {

namespace {

constexpr float deviationScale = 1.4826F; ///< of a median absolute deviation to a standard one
/// Windows up to this half-width have a network of their own.
constexpr std::size_t widestNetwork = 12;

using WindowMedians = void (*)(const float* first, std::size_t count, float* result);

/// By half-window, from 1.
constexpr auto networks = []<std::size_t... i>(std::index_sequence<i...>) {
    return std::array<WindowMedians, sizeof...(i)>{&MedianNetwork::medians<2 * i + 3>...};
}
(std::make_index_sequence<widestNetwork>());

bool sortsBefore(float a, float b) {
    return a < b || (!std::isnan(a) && std::isnan(b));
}

float medianOf(std::vector<float>& window) {
    const auto middle = window.begin() + static_cast<std::ptrdiff_t>(window.size() / 2);
    std::nth_element(window.begin(), middle, window.end(), sortsBefore);
    return *middle;
}

bool isOutlier(float distance, float deviation, float threshold) {
    const float robust = deviationScale * deviation;
    return robust > 0.0F && distance > robust * threshold;
}

/// The window around each sample, shrunk at the ends of the trace.
struct Window {
    std::size_t begin;
    std::size_t end;

    Window(std::size_t sample, std::size_t halfWindow, std::size_t samples)
        : begin(sample - std::min(halfWindow, sample)),
          end(std::min(samples, sample + halfWindow + 1)) {}
    std::size_t size() const { return end - begin; }
};

/// A half-window no wider than the trace, beyond which nothing changes.
std::size_t usefulHalfWindow(int halfWindow, std::size_t samples) {
    return std::min(static_cast<std::size_t>(halfWindow), samples);
}

/// A trace with a half-window of numbers before and behind it that stand in for what a shrunk window lacks: infinities
/// of either sign in turn, which leave the middle of a full window where the shrunk one has its median. This holds for
/// windows that reach beyond one end only, so that the trace must be longer than a half-window on both sides.
class PaddedTrace {
public:
    PaddedTrace(std::span<const float> trace, std::size_t halfWindow)
        : halfWindow_(halfWindow),
          rounded_((trace.size() + MedianNetwork::LaneCount - 1) / MedianNetwork::LaneCount * MedianNetwork::LaneCount),
          samples_(rounded_ + 2 * halfWindow, 0.0F) {
        std::copy(trace.begin(), trace.end(), samples_.begin() + static_cast<std::ptrdiff_t>(halfWindow));
        float infinity = std::numeric_limits<float>::infinity();
        for (std::size_t i = 1; i <= halfWindow; ++i, infinity = -infinity) {
            samples_[halfWindow - i] = infinity;
            samples_[halfWindow + trace.size() + i - 1] = infinity;
        }
    }

    /// The first sample of the window around sample 0.
    const float* windows() const { return samples_.data(); }
    /// Medians, for a number of samples rounded up to whole blocks.
    std::vector<float> medians() const {
        std::vector<float> result(rounded_);
        networks[halfWindow_ - 1](samples_.data(), rounded_, result.data());
        return result;
    }

private:
    std::size_t halfWindow_;
    std::size_t rounded_;
    std::vector<float> samples_;
};

/// Whether the fast forms hold: numbers only, a network for the window, and no window that is cut off at both ends.
bool suitsNetwork(std::span<const float> trace, std::size_t halfWindow) {
    return halfWindow <= widestNetwork && trace.size() > 2 * halfWindow &&
           std::ranges::all_of(trace, [](float sample) { return std::isfinite(sample); });
}

std::vector<float> plainHampel(std::span<const float> trace, std::size_t halfWindow, float threshold) {
    std::vector<float> result(trace.begin(), trace.end());
    std::vector<float> window;
    for (std::size_t i = 0; i < trace.size(); ++i) {
        const Window range(i, halfWindow, trace.size());
        window.assign(trace.begin() + static_cast<std::ptrdiff_t>(range.begin),
                      trace.begin() + static_cast<std::ptrdiff_t>(range.end));
        const float median = medianOf(window);
        for (float& sample : window) {
            sample = std::fabs(sample - median);
        }
        if (isOutlier(std::fabs(trace[i] - median), medianOf(window), threshold)) {
            result[i] = median;
        }
    }
    return result;
}

/// Replaces the outliers among LaneCount samples.
///
/// The deviation need not be known, only on which side of the sample's distance it lies: multiplying by positive
/// numbers keeps the order, so that the deviation, the element at place w / 2, is small enough exactly if more than w /
/// 2 elements are. Counting those takes no sorting and gives the same answer to the last bit.
void replaceOutliers(const float* window, std::size_t windowLength, const float* medians, const std::int32_t* half,
                     float threshold, float* samples) {
    using MedianNetwork::Lanes;
    using Counts = std::int32_t __attribute__((vector_size(sizeof(Lanes))));
    const Lanes median = MedianNetwork::load(medians);
    const Lanes sample = MedianNetwork::load(samples);
    const auto magnitude = [](Lanes value) { return value < 0.0F ? -value : value; };
    const Lanes distance = magnitude(sample - median);
    Counts inside{};
    Counts zero{};
    for (std::size_t j = 0; j < windowLength; ++j) {
        const Lanes deviation = magnitude(MedianNetwork::load(window + j) - median);
        inside -= deviationScale * deviation * threshold < distance; // true is -1
        zero -= deviation == 0.0F;
    }
    Counts wanted;
    std::memcpy(&wanted, half, sizeof(wanted));
    const Counts outlier = (inside > wanted) & (zero <= wanted);
    MedianNetwork::store(outlier ? median : sample, samples);
}

} // namespace

std::vector<float> hampelFiltered(std::span<const float> trace, int halfWindow, float threshold) {
    if (halfWindow < 1 || trace.empty()) {
        return {trace.begin(), trace.end()};
    }
    const std::size_t k = usefulHalfWindow(halfWindow, trace.size());
    if (!suitsNetwork(trace, k) || !(threshold >= 0.0F)) {
        return plainHampel(trace, k, threshold);
    }
    const PaddedTrace padded(trace, k);
    const std::vector<float> medians = padded.medians();
    std::vector<std::int32_t> half(medians.size(), static_cast<std::int32_t>(k));
    for (std::size_t i = 0; i < k; ++i) {
        half[i] = half[trace.size() - 1 - i] = static_cast<std::int32_t>((k + 1 + i) / 2);
    }
    std::vector<float> result(medians.size(), 0.0F);
    std::copy(trace.begin(), trace.end(), result.begin());
    for (std::size_t i = 0; i < result.size(); i += MedianNetwork::LaneCount) {
        replaceOutliers(padded.windows() + i, 2 * k + 1, medians.data() + i, half.data() + i, threshold,
                        result.data() + i);
    }
    result.resize(trace.size());
    return result;
}

std::vector<float> medianFiltered(std::span<const float> trace, int halfWindow) {
    if (halfWindow < 1 || trace.empty()) {
        return {trace.begin(), trace.end()};
    }
    const std::size_t k = usefulHalfWindow(halfWindow, trace.size());
    if (suitsNetwork(trace, k)) {
        std::vector<float> result = PaddedTrace(trace, k).medians();
        result.resize(trace.size());
        return result;
    }
    std::vector<float> result;
    result.reserve(trace.size());
    std::vector<float> window;
    for (std::size_t i = 0; i < trace.size(); ++i) {
        const Window range(i, k, trace.size());
        window.assign(trace.begin() + static_cast<std::ptrdiff_t>(range.begin),
                      trace.begin() + static_cast<std::ptrdiff_t>(range.end));
        result.push_back(medianOf(window));
    }
    return result;
}

std::vector<float> meanFiltered(std::span<const float> trace, int halfWindow) {
    if (halfWindow < 1) {
        return {trace.begin(), trace.end()};
    }
    const std::size_t k = usefulHalfWindow(halfWindow, trace.size());
    std::vector<float> result;
    result.reserve(trace.size());
    double sum = 0.0;
    Window summed(0, 0, 0);
    for (std::size_t i = 0; i < trace.size(); ++i) {
        const Window window(i, k, trace.size());
        for (; summed.end < window.end; ++summed.end) {
            sum += static_cast<double>(trace[summed.end]);
        }
        for (; summed.begin < window.begin; ++summed.begin) {
            sum -= static_cast<double>(trace[summed.begin]);
        }
        result.push_back(static_cast<float>(sum / static_cast<double>(window.size())));
    }
    return result;
}

std::vector<float> savitzkyGolayFiltered(std::span<const float> trace, int halfWindow) {
    std::vector<float> result(trace.begin(), trace.end());
    if (halfWindow < 1 || usefulHalfWindow(halfWindow, trace.size()) * 2 >= trace.size()) {
        return result;
    }
    const auto m = static_cast<std::size_t>(halfWindow);
    std::vector<float> weights;
    float sum = 0.0F;
    for (int j = -halfWindow; j <= halfWindow; ++j) {
        // Whole numbers that a float holds exactly for windows of some thousand samples.
        const double weight = 3.0 * halfWindow * (halfWindow + 1.0) - 1.0 - 5.0 * j * j;
        weights.push_back(static_cast<float>(weight));
        sum += weights.back();
    }
    for (float& weight : weights) {
        weight /= sum;
    }
    std::vector<float> smooth(trace.size() - 2 * m, 0.0F);
    for (std::size_t j = 0; j < weights.size(); ++j) {
        for (std::size_t i = 0; i < smooth.size(); ++i) {
            smooth[i] += weights[j] * trace[i + j];
        }
    }
    std::copy(smooth.begin(), smooth.end(), result.begin() + static_cast<std::ptrdiff_t>(m));
    return result;
}

std::vector<float> filteredTrace(std::vector<float> trace, const TraceProcessing& processing) {
    if (processing.hampel1) {
        trace = hampelFiltered(trace, processing.hampel1HalfWindow, processing.hampel1Threshold);
    }
    if (processing.hampel2) {
        trace = hampelFiltered(trace, processing.hampel2HalfWindow, processing.hampel2Threshold);
    }
    if (processing.median) {
        trace = medianFiltered(trace, processing.medianHalfWindow);
    }
    if (processing.rolling) {
        trace = meanFiltered(trace, processing.rollingHalfWindow);
    }
    if (processing.savitzkyGolay) {
        trace = savitzkyGolayFiltered(trace, processing.savitzkyGolayHalfWindow);
    }
    return trace;
}

} // namespace Tessaly
