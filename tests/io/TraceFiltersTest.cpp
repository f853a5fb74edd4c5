#include "io/TraceFilters.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <functional>
#include <limits>
#include <random>
#include <vector>

namespace Tessaly {
namespace {

using Trace = std::vector<float>;

constexpr float NaN = std::numeric_limits<float>::quiet_NaN();
constexpr float Infinity = std::numeric_limits<float>::infinity();

/// The trace of tests/support/calculation_reference.py: a pulse on a wave, with spikes.
Trace sampleTrace() {
    Trace trace;
    for (int s = 0; s < 40; ++s) {
        const double pulse = 300.0 * std::exp(-0.5 * (s - 17) * (s - 17) / 16.0);
        trace.push_back(static_cast<float>(std::lround(pulse + 15.0 * std::sin(12.9898 * s))));
    }
    trace[5] += 400.0F;
    trace[6] += 350.0F;
    trace[39] -= 300.0F;
    return trace;
}

void expectNear(const Trace& actual, const Trace& expected, float tolerance) {
    ASSERT_EQ(actual.size(), expected.size());
    for (std::size_t i = 0; i < actual.size(); ++i) {
        if (std::isnan(expected[i])) {
            EXPECT_TRUE(std::isnan(actual[i])) << i << ": " << actual[i];
        } else if (actual[i] != expected[i]) {
            EXPECT_NEAR(actual[i], expected[i], tolerance) << i;
        }
    }
}

/// Calls back with the sorted window around each sample, NaN last.
void forEachWindow(const Trace& trace, int k, const std::function<void(std::size_t, Trace)>& visit) {
    const auto n = static_cast<std::ptrdiff_t>(trace.size());
    for (std::ptrdiff_t i = 0; i < n; ++i) {
        Trace window(trace.begin() + std::max<std::ptrdiff_t>(i - k, 0), trace.begin() + std::min(i + k + 1, n));
        visit(static_cast<std::size_t>(i), window);
    }
}

float sortedMiddle(Trace window) {
    std::sort(window.begin(), window.end(),
              [](float a, float b) { return a < b || (std::isnan(b) && !std::isnan(a)); });
    return window[window.size() / 2];
}

Trace copyAndSortHampel(const Trace& trace, int k, float threshold) {
    Trace result = trace;
    forEachWindow(trace, k, [&](std::size_t i, Trace window) {
        const float median = sortedMiddle(window);
        for (float& sample : window) {
            sample = std::fabs(sample - median);
        }
        const float deviation = 1.4826F * sortedMiddle(window);
        if (deviation > 0.0F && std::fabs(trace[i] - median) > deviation * threshold) {
            result[i] = median;
        }
    });
    return result;
}

Trace copyAndSortMedian(const Trace& trace, int k) {
    Trace result;
    forEachWindow(trace, k, [&](std::size_t, const Trace& window) { result.push_back(sortedMiddle(window)); });
    return result;
}

// Values by NumPy and SciPy, see tests/support/calculation_reference.py.
TEST(TraceFilters, AgreeWithNumPy) {
    const Trace trace = sampleTrace();
    const Trace hampel5{0,   6,   12,  15, 16, 16, 20, 16, 20, 31, 52, 82, 123, 171, 221, 266, 298, 312, 305, 279,
                        239, 190, 139, 93, 55, 27, 9,  0,  -3, -1, 4,  9,  13,  15,  15,  12,  7,   1,   -6,  7};
    expectNear(hampelFiltered(trace, 5, 3.0F), hampel5, 0.0F);
    const Trace hampel11{0,   6,   12,  15, 16, 52, 82, 16, 20, 31, 52, 82, 123, 171, 221, 266, 298, 312, 93, 279,
                         239, 190, 139, 93, 55, 27, 9,  0,  -3, -1, 4,  9,  13,  15,  15,  12,  7,   1,   -6, 7};
    expectNear(hampelFiltered(trace, 11, 1.5F), hampel11, 0.0F);
    const Trace median3{12,  12,  15,  15, 16, 16, 20, 31, 52, 52, 52, 82, 123, 171, 221, 266, 279, 279, 279, 279,
                        239, 190, 139, 93, 55, 27, 9,  4,  4,  4,  4,  9,  12,  12,  12,  12,  7,   7,   1,   1};
    expectNear(medianFiltered(trace, 3), median3, 0.0F);
    const Trace mean3{8.25F,       9.8F,         77.5F,       118.571429F, 120.857143F, 122.857143F, 125.571429F,
                      130.857143F, 140.285714F,  98.4285714F, 70.7142857F, 100.0F,      135.142857F, 173.285714F,
                      210.428571F, 242.285714F,  264.571429F, 274.285714F, 269.857143F, 251.714286F, 222.428571F,
                      185.714286F, 146.0F,       107.428571F, 73.2857143F, 45.7142857F, 25.7142857F, 13.0F,
                      6.42857143F, 4.42857143F,  5.28571429F, 7.42857143F, 9.57142857F, 10.7142857F, 10.2857143F,
                      8.14285714F, -38.1428571F, -47.0F,      -59.4F,      -77.25F};
    expectNear(meanFiltered(trace, 3), mean3, 2e-5F);
    const Trace smooth3{0,           6,           12,          38.5238113F,   180.238098F,  248.904755F,
                        245.857147F, 172.714279F, 32.2380943F, -1.57142854F,  52.2380943F,  83.2380981F,
                        124.0F,      171.666672F, 221.142853F, 265.190491F,   296.761902F,  310.333344F,
                        303.809509F, 278.523804F, 238.523804F, 190.190475F,   140.047623F,  93.8095245F,
                        55.6666679F, 27.6190472F, 9.38095284F, -0.190476194F, -2.85714293F, -0.857142866F,
                        3.61904764F, 8.71428585F, 12.8571424F, 14.9523811F,   14.6190472F,  11.9047623F,
                        35.5238113F, 1,           -6,          -311};
    expectNear(savitzkyGolayFiltered(trace, 3), smooth3, 1e-4F);
    const Trace chain{0,
                      6,
                      12,
                      14.2380953F,
                      16.666666F,
                      17.0F,
                      16.5714283F,
                      17.0F,
                      21.0476189F,
                      31.2857151F,
                      52.2380943F,
                      83.2380981F,
                      124.0F,
                      171.666672F,
                      221.142853F,
                      265.190491F,
                      296.761902F,
                      310.333344F,
                      303.809509F,
                      278.523804F,
                      238.523804F,
                      190.190475F,
                      140.047623F,
                      93.8095245F,
                      55.6666679F,
                      27.6190472F,
                      9.38095284F,
                      -0.190476194F,
                      -2.85714293F,
                      -0.857142866F,
                      3.61904764F,
                      8.71428585F,
                      12.8571424F,
                      14.9523811F,
                      14.6190472F,
                      11.9047623F,
                      5.23809528F,
                      1,
                      -6,
                      7};
    expectNear(filteredTrace(trace, {}), chain, 1e-4F);
}

TEST(TraceFilters, EveryWindowAndLengthAsByCopyAndSort) {
    std::mt19937 random(3);
    for (int round = 0; round < 800; ++round) {
        // Coarse values, so that windows hold equal ones and are flat at times.
        const int coarseness = 1 + static_cast<int>(random() % 40);
        Trace trace(1 + random() % 90);
        for (float& sample : trace) {
            sample = static_cast<float>(static_cast<int>(random() % 100) / coarseness) * 0.7F;
            sample += random() % 20 == 0 ? 300.0F : 0.0F;
        }
        if (round % 10 == 0) {
            trace[random() % trace.size()] = round % 20 == 0 ? NaN : -Infinity;
        }
        const int k = 1 + static_cast<int>(random() % 50);
        const float threshold = static_cast<float>(random() % 8) * 0.5F - (round % 50 == 0 ? 1.0F : 0.0F);
        SCOPED_TRACE(testing::Message() << "samples " << trace.size() << ", half-window " << k);
        expectNear(hampelFiltered(trace, k, threshold), copyAndSortHampel(trace, k, threshold), 0.0F);
        expectNear(medianFiltered(trace, k), copyAndSortMedian(trace, k), 0.0F);
    }
}

TEST(TraceFilters, EvenWindowsTakeTheUpperMiddle) {
    // Half-window 1 at the ends: {1, 5} and {9, 2}.
    expectNear(medianFiltered(Trace{1, 5, 9, 2}, 1), {5, 5, 5, 9}, 0.0F);
}

TEST(TraceFilters, FlatWindowsReplaceNothing) {
    Trace trace(30, 7.0F);
    trace[12] = 900.0F;
    expectNear(hampelFiltered(trace, 5, 3.0F), trace, 0.0F);
    trace[13] = 8.0F; // still more than half of each window is 7
    expectNear(hampelFiltered(trace, 5, 3.0F), trace, 0.0F);
}

TEST(TraceFilters, AnOutlierIsBeyondTheThresholdNotAtIt) {
    // Window {0, 1, 2, 3, x}: median 2, deviations {2, 1, 0, 1, x - 2} with median 1.
    const float limit = 1.4826F * 1.0F * 2.0F;
    for (const bool beyond : {false, true}) {
        const float x = beyond ? std::nextafter(2.0F + limit, 10.0F) : 2.0F + limit;
        ASSERT_EQ(x - 2.0F > limit, beyond);
        EXPECT_EQ(hampelFiltered(Trace{0, 1, x, 2, 3}, 2, 2.0F)[2], beyond ? 2.0F : x);
    }
}

TEST(TraceFilters, SavitzkyGolayKeepsParabolasAndEnds) {
    for (const int m : {1, 2, 3, 7, 20}) {
        Trace parabola;
        for (int i = 0; i < 60; ++i) {
            parabola.push_back(static_cast<float>(0.25 * i * i - 7.0 * i + 3.0));
        }
        expectNear(savitzkyGolayFiltered(parabola, m), parabola, 2e-3F);
    }
    // Half-window 2: weights -3, 12, 17, 12, -3 over 35.
    expectNear(savitzkyGolayFiltered(Trace{0, 0, 35, 0, 0}, 2), {0, 0, 17, 0, 0}, 1e-5F);
    expectNear(savitzkyGolayFiltered(Trace{0, 35, 0, 0, 0, 7}, 2), {0, 35, 12, -3.6F, 0, 7}, 1e-5F);
    expectNear(savitzkyGolayFiltered(Trace{0, 35, 0, 0}, 2), {0, 35, 0, 0}, 0.0F); // shorter than a window
}

TEST(TraceFilters, NothingToDo) {
    const Trace trace{3, 1, 2};
    for (const int k : {0, -1, std::numeric_limits<int>::min()}) {
        expectNear(hampelFiltered(trace, k, 3.0F), trace, 0.0F);
        expectNear(medianFiltered(trace, k), trace, 0.0F);
        expectNear(meanFiltered(trace, k), trace, 0.0F);
        expectNear(savitzkyGolayFiltered(trace, k), trace, 0.0F);
    }
    constexpr int widest = std::numeric_limits<int>::max();
    expectNear(medianFiltered(trace, widest), {2, 2, 2}, 0.0F);
    expectNear(meanFiltered(trace, widest), {2, 2, 2}, 0.0F);
    expectNear(savitzkyGolayFiltered(trace, widest), trace, 0.0F);
    for (const int k : {1, 5}) {
        EXPECT_TRUE(hampelFiltered(Trace{}, k, 3.0F).empty() && medianFiltered(Trace{}, k).empty() &&
                    meanFiltered(Trace{}, k).empty() && savitzkyGolayFiltered(Trace{}, k).empty());
    }
    // The mean forgets large samples that left the window.
    expectNear(meanFiltered(Trace{1e8F, 1, 2, 3, 4}, 1), {50000000.5F, 33333334.3F, 2, 3, 3.5F}, 4.0F);
}

TEST(TraceFilters, ChainRunsWhatIsOnInItsOrder) {
    const Trace trace = sampleTrace();
    TraceProcessing none{.hampel1 = false, .hampel2 = false, .savitzkyGolay = false};
    expectNear(filteredTrace(trace, none), trace, 0.0F);

    TraceProcessing all{.hampel1HalfWindow = 4,
                        .hampel1Threshold = 2.0F,
                        .hampel2HalfWindow = 6,
                        .hampel2Threshold = 1.0F,
                        .median = true,
                        .medianHalfWindow = 2,
                        .rolling = true,
                        .rollingHalfWindow = 1,
                        .savitzkyGolayHalfWindow = 5};
    Trace expected = hampelFiltered(trace, 4, 2.0F);
    expected = hampelFiltered(expected, 6, 1.0F);
    expected = medianFiltered(expected, 2);
    expected = meanFiltered(expected, 1);
    expected = savitzkyGolayFiltered(expected, 5);
    expectNear(filteredTrace(trace, all), expected, 0.0F);
}

} // namespace
} // namespace Tessaly
