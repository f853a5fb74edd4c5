#pragma once

#include <array>
#include <bit>
#include <cstddef>
#include <cstring>
#include <utility>

namespace Tessaly {

/// Medians of several neighbouring windows at once. Internal to the io layer.
///
/// A sorting network (R. Batcher, Proc. AFIPS 32 (1968), 307, in the form of D. Knuth's "merge exchange", which takes
/// any length) from which everything was taken that the middle element doesn't depend on. Its steps are known when the
/// program is built, so that the samples of a window stay in registers, and each register holds that sample of four
/// windows side by side.
namespace MedianNetwork {

constexpr std::size_t LaneCount = 4;
/// Four floats that are computed with as one; compilers turn it into what the machine has.
using Lanes = float __attribute__((vector_size(LaneCount * sizeof(float))));

inline Lanes load(const float* from) {
    Lanes lanes;
    std::memcpy(&lanes, from, sizeof(lanes));
    return lanes;
}

inline void store(const Lanes& lanes, float* to) {
    std::memcpy(to, &lanes, sizeof(lanes));
}

/// Puts two elements in order; a part whose result nobody asks for is left out.
struct Step {
    std::size_t low = 0;
    std::size_t high = 0;
    bool lowUsed = false;
    bool highUsed = false;
};

/// The steps that sort `length` elements, told to a visitor in their order.
template <typename Visitor>
constexpr void visitSortingSteps(std::size_t length, Visitor visit) {
    const std::size_t top = std::bit_ceil(length) / 2;
    for (std::size_t p = top; p > 0; p /= 2) {
        std::size_t remainder = 0;
        std::size_t distance = p;
        for (std::size_t q = top;; q /= 2) {
            for (std::size_t i = 0; i + distance < length; ++i) {
                if ((i & p) == remainder) {
                    visit(i, i + distance);
                }
            }
            if (q == p) {
                break;
            }
            distance = q - p;
            remainder = p;
        }
    }
}

template <std::size_t length>
constexpr std::size_t sortingStepCount = [] {
    std::size_t count = 0;
    visitSortingSteps(length, [&count](std::size_t, std::size_t) { ++count; });
    return count;
}();

/// The sorting steps with what the middle element needs of each, found by walking back from it.
template <std::size_t length>
constexpr auto steps = [] {
    std::array<Step, sortingStepCount<length>> all{};
    std::size_t count = 0;
    visitSortingSteps(length, [&](std::size_t low, std::size_t high) { all[count++] = {low, high, false, false}; });
    std::array<bool, length> needed{};
    needed[length / 2] = true;
    for (std::size_t i = all.size(); i-- > 0;) {
        Step& step = all[i];
        step.lowUsed = needed[step.low];
        step.highUsed = needed[step.high];
        needed[step.low] = needed[step.high] = step.lowUsed || step.highUsed;
    }
    return all;
}();

template <std::size_t length, std::size_t number>
inline void apply(std::array<Lanes, length>& values) {
    constexpr Step step = steps<length>[number];
    const Lanes a = values[step.low];
    const Lanes b = values[step.high];
    if constexpr (step.lowUsed) {
        values[step.low] = a < b ? a : b;
    }
    if constexpr (step.highUsed) {
        values[step.high] = a > b ? a : b;
    }
}

/// Medians of the windows of `length` samples (odd) that begin at `first` and at the samples behind it.
/// @param count   medians wanted, a multiple of LaneCount
/// @param first   count + length - 1 readable numbers, none of them NaN
template <std::size_t length>
void medians(const float* first, std::size_t count, float* result) {
    for (std::size_t begin = 0; begin < count; begin += LaneCount) {
        std::array<Lanes, length> values;
        for (std::size_t j = 0; j < length; ++j) {
            values[j] = load(first + begin + j);
        }
        [&values]<std::size_t... number>(std::index_sequence<number...>) {
            (apply<length, number>(values), ...);
        }
        (std::make_index_sequence<sortingStepCount<length>>());
        store(values[length / 2], result + begin);
    }
}

} // namespace MedianNetwork

} // namespace Tessaly
