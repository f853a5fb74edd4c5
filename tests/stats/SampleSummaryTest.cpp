#include "stats/SampleSummary.h"

#include "stats/StatsReference.h"

#include <gtest/gtest.h>

#include <array>
#include <cmath>

namespace Tessaly {
namespace {

using Values = std::vector<double>;

constexpr std::array summaries{SampleSummary::Median, SampleSummary::Mean, SampleSummary::Sd, SampleSummary::Cv,
                               SampleSummary::Iqr};

void expectSummaries(const Values& values, const std::array<double, 5>& expected, const std::string& what) {
    for (std::size_t i = 0; i < summaries.size(); ++i) {
        const double found = summarize(values, summaries[i]);
        EXPECT_LE(std::fabs(found - expected[i]), 1e-11 * std::fabs(expected[i]))
            << what << ", summary " << i << ": " << found << ", not " << expected[i];
    }
}

TEST(SampleSummary, AgreesWithNumPy) {
    for (const SummaryRow& row : summaryRows) {
        const std::array expected{row.median, row.mean, row.sd, row.cv, row.iqr};
        expectSummaries(makeSample(row.sample), expected, std::to_string(row.sample.seed));
    }
}

TEST(SampleSummary, ByHand) {
    expectSummaries({}, {0, 0, 0, 0, 0}, "none");
    expectSummaries({-7}, {-7, -7, 0, 0, 0}, "one");
    expectSummaries({9, 5}, {7, 7, std::sqrt(8.0), std::sqrt(8.0) / 7, 4}, "two"); // places 1 and 0
    expectSummaries({4, 1, 3, 2}, {2.5, 2.5, std::sqrt(5.0 / 3), std::sqrt(5.0 / 3) / 2.5, 2},
                    "four"); // places 3 and 1
    expectSummaries({-1, 1}, {0, 0, std::sqrt(2.0), 0, 2}, "no mean");
    expectSummaries({-3, -1}, {-2, -2, std::sqrt(2.0), std::sqrt(0.5), 2}, "negative mean");
    expectSummaries(Values(1001, 0.1), {0.1, 0.1, 0, 0, 0}, "equal");
    // Sums and squares of these would be infinite or vanish.
    expectSummaries({1e308, 1.5e308}, {1.25e308, 1.25e308, 0.5e308 / std::sqrt(2.0), 0.4 / std::sqrt(2.0), 0.5e308},
                    "huge");
    expectSummaries({2e-250, 4e-250}, {3e-250, 3e-250, 2e-250 / std::sqrt(2.0), 0, 2e-250}, "tiny");
    EXPECT_EQ(summarize(Values{1e-16, 2e-16}, SampleSummary::Cv), 0.0); // means below 1e-15 count as none
    EXPECT_GT(summarize(Values{1e-15, 2e-15}, SampleSummary::Cv), 0.0);
    EXPECT_EQ(meanAndSd(Values{1, 3}, 0).sd, 1.0);
}

TEST(SampleSummary, Folding) {
    const struct {
        Values values;
        double mean, sd;
    } rows[] = {
        {{}, 0, 0},        {{-5}, -5, -5}, {{3, 4}, 3.5, std::sqrt(12.5)},
        {{0, 0, 0}, 0, 0}, {{2, 2}, 2, 2}, {{3e200, 4e200}, 3.5e200, std::sqrt(12.5) * 1e200},
    };
    for (const auto& row : rows) {
        for (const SampleSummary summary : summaries) {
            const double expected = summary == SampleSummary::Sd ? row.sd : row.mean;
            EXPECT_NEAR(foldValues(row.values, summary), expected, 1e-14 * std::fabs(expected));
        }
    }
}

} // namespace
} // namespace Tessaly
