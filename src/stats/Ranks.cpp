#include "stats/Ranks.h"

#include <algorithm>
#include <cstddef>

namespace Tessaly {

namespace {

/// A sorted group and how much of it has been ranked.
struct Sorted {
    std::vector<double> values;
    std::size_t next = 0;

    bool done() const { return next == values.size(); }
    double head() const { return values[next]; }
    /// Passes over all values that equal one, and returns how many there were.
    std::size_t take(double value) {
        const std::size_t first = next;
        while (next < values.size() && values[next] == value) {
            ++next;
        }
        return next - first;
    }
};

/// Two groups are the usual case, and the one that has to be fast.
std::vector<double> sumsOfTwo(Sorted& a, Sorted& b) {
    std::vector<double> sums{0.0, 0.0};
    while (!a.done() || !b.done()) {
        // A number goes before NaN.
        const bool fromA = b.done() || (!a.done() && !(b.head() < a.head() || a.head() != a.head()));
        const double value = fromA ? a.head() : b.head();
        const std::size_t before = a.next + b.next;
        std::size_t inA = a.take(value);
        std::size_t inB = b.take(value);
        if (inA + inB == 0) { // NaN equals nothing
            (fromA ? inA : inB) = 1;
            ++(fromA ? a : b).next;
        }
        const double rank = static_cast<double>(before + 1 + a.next + b.next) / 2.0;
        sums[0] += static_cast<double>(inA) * rank;
        sums[1] += static_cast<double>(inB) * rank;
    }
    return sums;
}

std::vector<double> sumsOfMany(std::vector<Sorted>& groups) {
    std::vector<double> sums(groups.size(), 0.0);
    std::vector<std::size_t> taken(groups.size());
    std::size_t before = 0;
    while (true) {
        Sorted* lowest = nullptr;
        for (Sorted& group : groups) {
            if (!group.done() && (!lowest || group.head() < lowest->head() || lowest->head() != lowest->head())) {
                lowest = &group;
            }
        }
        if (!lowest) {
            return sums;
        }
        const double value = lowest->head();
        std::size_t after = before;
        for (std::size_t g = 0; g < groups.size(); ++g) {
            taken[g] = groups[g].take(value);
            if (&groups[g] == lowest && taken[g] == 0) {
                taken[g] = 1;
                ++groups[g].next;
            }
            after += taken[g];
        }
        const double rank = static_cast<double>(before + 1 + after) / 2.0;
        for (std::size_t g = 0; g < groups.size(); ++g) {
            sums[g] += static_cast<double>(taken[g]) * rank;
        }
        before = after;
    }
}

} // namespace

std::vector<double> inRisingOrder(std::span<const double> values) {
    std::vector<double> sorted(values.begin(), values.end());
    const auto numbersEnd = std::partition(sorted.begin(), sorted.end(), [](double value) { return value == value; });
    std::sort(sorted.begin(), numbersEnd);
    return sorted;
}

std::vector<double> rankSums(std::span<const std::span<const double>> groups) {
    // Sorting the groups one by one and walking them together costs no more than one sort of all values, and needs no
    // labels to be carried along. Sums of half numbers are exact, so that their order doesn't matter.
    std::vector<Sorted> sorted;
    sorted.reserve(groups.size());
    for (const std::span<const double> group : groups) {
        sorted.push_back({inRisingOrder(group)});
    }
    return sorted.size() == 2 ? sumsOfTwo(sorted[0], sorted[1]) : sumsOfMany(sorted);
}

} // namespace Tessaly
