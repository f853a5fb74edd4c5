#pragma once

#include "DemoFile.h"
#include "DemoRandom.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace Tessaly {

/// What a cell sends through the three channels.
struct Emission {
    std::array<double, 3> heights{}; ///< peak above the baseline; may be 0 or less
    double centre = 0.0;             ///< of the cell, in samples
    double duration = 0.0;           ///< that the cell takes to pass, in samples
};

/// Fluorescence traces of the instrument and the peak figures taken from them.
class TraceMaker {
public:
    static constexpr std::size_t Samples = 177;
    static constexpr double SampleRate = 312500.0;         ///< Hz
    static constexpr double SampleTime = 1e6 / SampleRate; ///< us
    static constexpr double BurstShare = 0.08;             ///< of the traces, with light of something else
    /// Added to the samples of a trace, they give fluorescence above the baseline.
    static constexpr std::array<double, 3> Offsets{12.0, -7.0, 20.0};

    explicit TraceMaker(std::uint64_t seed);

    /// Appends the six traces of one event to the batch and fills its fluorescence columns.
    void add(const Emission& emission, DemoRandom& random, EventBatch& batch, EventScalars& scalars) const;
    /// The columns alone, for files without traces.
    static void describe(const Emission& emission, EventScalars& scalars);

private:
    void measure(std::size_t channel, const std::int16_t* trace, const Emission& emission, EventScalars& scalars) const;

    std::vector<float> noise_;
};

} // namespace Tessaly
