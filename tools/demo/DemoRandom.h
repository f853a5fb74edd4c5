#pragma once

#include <cmath>
#include <cstdint>
#include <numbers>
#include <random>

namespace Tessaly {

/// Random numbers that are the same on every machine: the standard fixes the engine, the distributions are ours.
class DemoRandom {
public:
    explicit DemoRandom(std::uint64_t seed) : engine_(seed) {}
    /// The numbers of one event of a run; they do not depend on how many events were made before it.
    DemoRandom(std::uint64_t seed, std::uint64_t event) : engine_(mix(seed ^ mix(event + 1))) {}

    std::uint64_t bits() { return engine_(); }
    /// In [0, 1).
    double uniform() { return static_cast<double>(engine_() >> 11U) * 0x1p-53; }
    double uniform(double low, double high) { return low + (high - low) * uniform(); }
    bool chance(double probability) { return uniform() < probability; }
    double normal() {
        return std::sqrt(-2.0 * std::log(1.0 - uniform())) * std::cos(2.0 * std::numbers::pi * uniform());
    }
    double normal(double mean, double sd) { return mean + sd * normal(); }
    double logNormal(double median, double sigma) { return median * std::exp(sigma * normal()); }

private:
    static std::uint64_t mix(std::uint64_t value) {
        value += 0x9e3779b97f4a7c15ULL;
        value = (value ^ (value >> 30U)) * 0xbf58476d1ce4e5b9ULL;
        value = (value ^ (value >> 27U)) * 0x94d049bb133111ebULL;
        return value ^ (value >> 31U);
    }

    std::mt19937_64 engine_;
};

} // namespace Tessaly
