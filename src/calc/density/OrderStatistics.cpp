#include "calc/density/OrderStatistics.h"

#include "calc/density/AxisRange.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>

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

} // namespace Tessaly
