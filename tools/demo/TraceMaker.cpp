#include "TraceMaker.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace Tessaly {

namespace {

constexpr double NaN = std::numeric_limits<double>::quiet_NaN();
constexpr double PeakThreshold = 40.0; ///< the instrument counts no peak below it

/// Median of five, the window shrinking at the ends.
void runningMedian(const std::int16_t* raw, std::int16_t* median, std::size_t count) {
    for (std::size_t i = 0; i < count; ++i) {
        const std::size_t low = i < 2 ? 0 : i - 2;
        const std::size_t high = std::min(i + 2, count - 1);
        std::array<std::int16_t, 5> window{};
        const std::size_t size = high - low + 1;
        std::copy(raw + low, raw + high + 1, window.begin());
        std::nth_element(window.begin(), window.begin() + static_cast<std::ptrdiff_t>(size / 2),
                         window.begin() + static_cast<std::ptrdiff_t>(size));
        median[i] = window[size / 2];
    }
}

void setPeak(std::size_t channel, double height, double position, double width, double area, EventScalars& scalars) {
    const bool found = height >= PeakThreshold;
    scalars[ofChannel(Feature::Fl1Max, channel)] = height;
    // The third channel reports no place when nothing rises above the baseline; the others keep their largest sample's.
    scalars[ofChannel(Feature::Fl1Pos, channel)] = height > 0.0 || channel < 3 ? position : NaN;
    scalars[ofChannel(Feature::Fl1Width, channel)] = found ? width : 0.0;
    scalars[ofChannel(Feature::Fl1Area, channel)] = area;
    scalars[ofChannel(Feature::Fl1Npeaks, channel)] = found ? 1.0 : 0.0;
    scalars[ofChannel(Feature::Fl1Dist, channel)] = 0.0;
}

/// Light of a speck that passes close to the cell: too long for the instrument's median of five samples, which takes it
/// for the peak of a dim cell, but short beside the cell.
void addBurst(const Emission& emission, DemoRandom& random, std::int16_t* raw) {
    constexpr std::size_t length = 3;
    const double place = emission.centre + random.uniform(-0.35, 0.35) * emission.duration;
    const auto first =
        static_cast<std::size_t>(std::clamp(place, 0.0, static_cast<double>(TraceMaker::Samples - length)));
    const double light = random.uniform(600.0, 1500.0);
    for (std::size_t i = first; i < first + length; ++i) {
        raw[i] = static_cast<std::int16_t>(std::lround(std::min(raw[i] + light, 32000.0)));
    }
}

double peakSigma(const Emission& emission) {
    return 0.36 * emission.duration;
}

} // namespace

TraceMaker::TraceMaker(std::uint64_t seed) {
    DemoRandom random(seed);
    noise_.resize(1U << 16U);
    for (float& value : noise_) {
        value = static_cast<float>(random.normal());
    }
}

void TraceMaker::add(const Emission& emission, DemoRandom& random, EventBatch& batch, EventScalars& scalars) const {
    for (std::size_t channel = 1; channel <= 3; ++channel) {
        std::vector<std::int16_t>& raw = batch.traces[2 * (channel - 1)];
        std::vector<std::int16_t>& median = batch.traces[2 * (channel - 1) + 1];
        const std::size_t begin = raw.size();
        raw.resize(begin + Samples);
        median.resize(begin + Samples);
        const double drift = random.normal(0.0, 5.0);
        const double height = emission.heights[channel - 1];
        const double sigma = peakSigma(emission);
        const double shotNoise = 6.0 + 0.4 * std::sqrt(std::max(0.0, height));
        const std::size_t place = random.bits() % (noise_.size() - Samples);
        for (std::size_t i = 0; i < Samples; ++i) {
            const double t = (static_cast<double>(i) - emission.centre) / sigma;
            const double light = t * t < 30.0 ? height * std::exp(-0.5 * t * t) : 0.0;
            const double value = light + drift + shotNoise * static_cast<double>(noise_[place + i]);
            raw[begin + i] =
                static_cast<std::int16_t>(std::lround(std::clamp(value - Offsets[channel - 1], -32000.0, 32000.0)));
        }
        if (random.chance(0.04)) { // a stray photon
            raw[begin + random.bits() % Samples] += static_cast<std::int16_t>(random.uniform(150.0, 600.0));
        }
        if (random.chance(BurstShare)) {
            addBurst(emission, random, raw.data() + begin);
        }
        runningMedian(raw.data() + begin, median.data() + begin, Samples);
        measure(channel, median.data() + begin, emission, scalars);
    }
}

void TraceMaker::measure(std::size_t channel, const std::int16_t* trace, const Emission& emission,
                         EventScalars& scalars) const {
    const auto place = [](double sample) {
        return static_cast<std::size_t>(std::clamp(sample, 0.0, static_cast<double>(Samples - 1)));
    };
    const std::size_t first = place(emission.centre - 0.5 * emission.duration);
    const std::size_t last = place(emission.centre + 0.5 * emission.duration);
    const double offset = Offsets[channel - 1];
    const std::size_t peak =
        first + static_cast<std::size_t>(std::max_element(trace + first, trace + last + 1) - (trace + first));
    const double height = trace[peak] + offset;
    std::size_t left = peak;
    std::size_t right = peak;
    while (left > 0 && trace[left] + offset >= 0.5 * height) {
        --left;
    }
    while (right + 1 < Samples && trace[right] + offset >= 0.5 * height) {
        ++right;
    }
    double area = 0.0;
    for (std::size_t i = first; i <= last; ++i) {
        area += trace[i] + offset;
    }
    setPeak(channel, height, static_cast<double>(peak) * SampleTime, static_cast<double>(right - left) * SampleTime,
            area, scalars);
}

void TraceMaker::describe(const Emission& emission, EventScalars& scalars) {
    constexpr double halfMaximumWidth = 2.3548;
    constexpr double gaussianArea = 2.5066;
    for (std::size_t channel = 1; channel <= 3; ++channel) {
        const double height = emission.heights[channel - 1];
        const double sigma = peakSigma(emission);
        setPeak(channel, height, emission.centre * SampleTime, halfMaximumWidth * sigma * SampleTime,
                gaussianArea * sigma * height, scalars);
    }
}

} // namespace Tessaly
