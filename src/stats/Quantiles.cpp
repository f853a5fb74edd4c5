#include "stats/Quantiles.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <limits>
#include <utility>

namespace Tessaly {

namespace {

constexpr int bucketCount = 4096;

bool isNumber(double value) {
    return value == value;
}

std::vector<double> bySorting(std::span<const double> values, std::span<const std::size_t> places) {
    std::vector<double> sorted(values.begin(), values.end());
    const auto numbersEnd = std::partition(sorted.begin(), sorted.end(), isNumber);
    std::sort(sorted.begin(), numbersEnd);
    std::vector<double> result;
    for (const std::size_t place : places) {
        result.push_back(sorted[place]);
    }
    return result;
}

/// The values of one bucket, and how many values lie in the buckets below it.
struct Bucket {
    std::size_t below = 0;
    std::vector<double> members;
};

} // namespace

AxisRange::AxisRange(std::span<const double> values) {
    // Several lanes, for else each comparison would wait for the one before it.
    constexpr std::size_t lanes = 8;
    std::array<double, lanes> low;
    std::array<double, lanes> high;
    low.fill(std::numeric_limits<double>::infinity());
    high.fill(-std::numeric_limits<double>::infinity());
    const auto include = [&](std::size_t lane, double value) {
        low[lane] = value < low[lane] ? value : low[lane];
        high[lane] = value > high[lane] ? value : high[lane];
    };
    std::size_t i = 0;
    for (; i + lanes <= values.size(); i += lanes) {
        for (std::size_t lane = 0; lane < lanes; ++lane) {
            include(lane, values[i + lane]);
        }
    }
    for (; i < values.size(); ++i) {
        include(0, values[i]);
    }
    for (std::size_t lane = 1; lane < lanes; ++lane) {
        low[0] = low[lane] < low[0] ? low[lane] : low[0];
        high[0] = high[lane] > high[0] ? high[lane] : high[0];
    }
    if (low[0] > high[0]) {
        return;
    }
    min = low[0];
    max = high[0];
    if (max - min > 0.0) {
        range = max - min;
    }
}

std::vector<double> orderStatistics(std::span<const double> values, std::span<const std::size_t> places) {
    const AxisRange axis(values);
    const double perBucket = bucketCount / axis.range;
    // Numbers that the buckets cannot tell apart are rare enough to be sorted.
    if (!std::isfinite(axis.range) || !std::isfinite(perBucket) || places.size() > 255) {
        return bySorting(values, places);
    }

    const auto bucketOf = [&](double value) { return clampedBin((value - axis.min) * perBucket, bucketCount); };
    std::array<std::uint32_t, bucketCount> counts{};
    bool allNumbers = true;
    for (const double value : values) {
        allNumbers &= isNumber(value);
        ++counts[static_cast<std::size_t>(bucketOf(value))];
    }
    if (!allNumbers) {
        return bySorting(values, places);
    }

    std::vector<Bucket> buckets;
    std::vector<std::size_t> bucketOfPlace;
    std::array<std::uint8_t, bucketCount> wanted{}; // position in `buckets`, from 1
    for (const std::size_t place : places) {
        Bucket bucket;
        int number = 0;
        while (bucket.below + counts[static_cast<std::size_t>(number)] <= place) {
            bucket.below += counts[static_cast<std::size_t>(number++)];
        }
        std::uint8_t& slot = wanted[static_cast<std::size_t>(number)];
        if (slot == 0) {
            bucket.members.reserve(counts[static_cast<std::size_t>(number)]);
            buckets.push_back(std::move(bucket));
            slot = static_cast<std::uint8_t>(buckets.size());
        }
        bucketOfPlace.push_back(slot - 1U);
    }
    for (const double value : values) {
        if (const std::uint8_t slot = wanted[static_cast<std::size_t>(bucketOf(value))]) {
            buckets[slot - 1U].members.push_back(value);
        }
    }
    std::vector<double> result;
    for (std::size_t i = 0; i < places.size(); ++i) {
        Bucket& bucket = buckets[bucketOfPlace[i]];
        const auto nth = bucket.members.begin() + static_cast<std::ptrdiff_t>(places[i] - bucket.below);
        std::nth_element(bucket.members.begin(), nth, bucket.members.end());
        result.push_back(*nth);
    }
    return result;
}

std::vector<double> quantiles(std::span<const double> values, std::span<const double> fractions) {
    if (values.empty()) {
        return {};
    }
    const std::size_t last = values.size() - 1;
    std::vector<std::size_t> places; // two for each fraction
    for (const double fraction : fractions) {
        const auto below = static_cast<std::size_t>(fraction * static_cast<double>(last));
        places.push_back(std::min(below, last));
        places.push_back(std::min(below + 1, last));
    }
    const std::vector<double> found = orderStatistics(values, places);
    std::vector<double> result;
    for (std::size_t i = 0; i < fractions.size(); ++i) {
        const double part = fractions[i] * static_cast<double>(last) - static_cast<double>(places[2 * i]);
        const double lower = found[2 * i];
        result.push_back(part > 0.0 ? part * found[2 * i + 1] + (1.0 - part) * lower : lower);
    }
    return result;
}

} // namespace Tessaly
