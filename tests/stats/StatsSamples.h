#pragma once

#include <cmath>
#include <cstdint>
#include <vector>

namespace Tessaly {

/// How the numbers of a sample are made from evenly spread ones of 0 to 1.
enum class SampleKind { Plain, Shifted, Tied, TiedShifted, Centred, TiedCentred, Tiny, Huge, Skewed, Equal };

struct SampleRecipe {
    SampleKind kind;
    std::uint64_t seed;
    std::size_t count;
};

/// The sample that the reference script makes, too.
inline std::vector<double> makeSample(const SampleRecipe& recipe) {
    const auto shaped = [&recipe](double u) {
        switch (recipe.kind) {
        case SampleKind::Plain:
            return u;
        case SampleKind::Shifted:
            return u + 0.4;
        case SampleKind::Tied:
            return std::floor(u * 5.0);
        case SampleKind::TiedShifted:
            return std::floor(u * 5.0) + 1.0;
        case SampleKind::Centred:
            return u - 0.45;
        case SampleKind::TiedCentred:
            return std::floor(u * 5.0) - 2.0;
        case SampleKind::Tiny:
            return (u - 0.3) * 1e-300;
        case SampleKind::Huge:
            return (u - 0.3) * 1e300;
        case SampleKind::Skewed:
            return u * u * u * 40.0;
        case SampleKind::Equal:
            return u * 0.0 + 0.1;
        }
        return u;
    };
    std::vector<double> values;
    std::uint64_t x = recipe.seed;
    for (std::size_t i = 0; i < recipe.count; ++i) {
        x = (x * 1103515245 + 12345) % 2147483648;
        values.push_back(shaped(static_cast<double>(x) / 2147483648.0));
    }
    return values;
}

inline std::vector<std::vector<double>> makeSamples(const std::vector<SampleRecipe>& recipes) {
    std::vector<std::vector<double>> samples;
    for (const SampleRecipe& recipe : recipes) {
        samples.push_back(makeSample(recipe));
    }
    return samples;
}

// Rows of the reference tables.
struct TwoSampleRow {
    SampleRecipe a, b;
    double statistic, p;
};
struct OneSampleRow {
    SampleRecipe sample;
    double statistic, p;
};
struct ManySampleRow {
    std::vector<SampleRecipe> groups;
    double statistic, p;
};
struct TailRow {
    double x;
    int degrees;
    double p;
};
struct SummaryRow {
    SampleRecipe sample;
    double median, mean, sd, cv, iqr;
};
struct RocRow {
    SampleRecipe negatives, positives;
    bool higher;
    std::size_t points;
    double auc, threshold, sensitivity, specificity, fprMoment, tprMoment, firstThreshold;
};
struct DiscriminantRow {
    std::size_t negatives, positives;
    std::vector<std::uint64_t> seeds;
    std::vector<double> weights;
    double auc;
};
/// Densities are multiplied by the range.
struct DensityRow {
    SampleRecipe sample;
    double low, high, start, step;
    std::size_t peak;
    double atPeak, before, behind, at17, at128, meanPoint;
};

} // namespace Tessaly
