#include "stats/RankTests.h"

#include "stats/Corrections.h"
#include "stats/Ranks.h"
#include "stats/StatsReference.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <numeric>

namespace Tessaly {
namespace {

constexpr double Inf = std::numeric_limits<double>::infinity();
constexpr double NaN = std::numeric_limits<double>::quiet_NaN();

using Groups = std::vector<std::vector<double>>;

std::vector<double> rankSumsOf(const Groups& groups) {
    return rankSums(std::vector<std::span<const double>>(groups.begin(), groups.end()));
}

/// Within a relative distance.
void expectClose(double found, double expected, double tolerance, const std::string& what) {
    EXPECT_LE(std::fabs(found - expected), tolerance * std::fabs(expected))
        << what << ": " << found << ", not " << expected;
}

void expectResult(const TestResult& found, double statistic, double p, const std::string& what) {
    EXPECT_TRUE(found.valid) << what;
    expectClose(found.statistic, statistic, 1e-10, what + ", statistic");
    expectClose(found.pValue, p, 1e-9, what + ", p");
}

void expectInvalid(const TestResult& found) {
    EXPECT_EQ(found, TestResult{});
}

TEST(RankSums, ByHand) {
    const struct {
        Groups groups;
        std::vector<double> expected;
    } rows[] = {
        {{{3, 1, 2}, {5, 4}}, {6, 9}},
        {{{1, 2, 2}, {2, 3}}, {7, 8}}, // three of the ranks 2 to 4
        {{{7, 7}, {7}, {7}}, {5, 2.5, 2.5}},
        {{{}, {4, 4, 1}}, {0, 6}},
        {{{1, 3}, {}, {3, 2}, {0}}, {6.5, 0, 7.5, 1}}, // sorted: 0 1 2 3 3
        {{{-0.0}, {0.0}}, {1.5, 1.5}},
        {{{NaN, 1}, {Inf, NaN}}, {5, 5}}, // 1, infinity, then each NaN by itself
        {{{1e-320, 1e308}, {1e-321}, {-1e308}}, {7, 2, 1}},
    };
    for (const auto& row : rows) {
        std::vector<double> found = rankSumsOf(row.groups);
        const auto numbers = [](const std::vector<double>& group) {
            return std::ranges::none_of(group, [](double value) { return std::isnan(value); });
        };
        if (!std::ranges::all_of(row.groups, numbers)) {
            std::ranges::sort(found); // whichever NaN comes first
            EXPECT_EQ(std::accumulate(found.begin(), found.end(), 0.0), 10.0);
            continue;
        }
        EXPECT_EQ(found, row.expected);
        // Ranks don't depend on the order of values.
        Groups reversed = row.groups;
        for (std::vector<double>& group : reversed) {
            std::ranges::reverse(group);
        }
        EXPECT_EQ(rankSumsOf(reversed), row.expected);
    }
    EXPECT_TRUE(rankSumsOf({}).empty());
    // NaN ranks behind all numbers, wherever it stands.
    EXPECT_EQ(rankSumsOf({{NaN, 5}, {1, 2}}), (std::vector<double>{7, 3}));
    EXPECT_EQ(rankSumsOf({{5}, {NaN}, {6}}), (std::vector<double>{1, 3, 2}));
    EXPECT_EQ(rankSumsOf({{NaN}, {5}, {6}}), (std::vector<double>{3, 1, 2}));
}

TEST(RankTests, AgreeWithSciPy) {
    for (const TwoSampleRow& row : mannWhitneyRows) {
        const std::vector<double> a = makeSample(row.a);
        const std::vector<double> b = makeSample(row.b);
        expectResult(mannWhitneyU(a, b), row.statistic, row.p, "Mann-Whitney " + std::to_string(row.a.seed));
        EXPECT_EQ(mannWhitneyU(a, b), mannWhitneyU(b, a));
    }
    for (const OneSampleRow& row : wilcoxonRows) {
        expectResult(wilcoxonSignedRank(makeSample(row.sample)), row.statistic, row.p,
                     "Wilcoxon " + std::to_string(row.sample.seed));
    }
    for (const ManySampleRow& row : kruskalRows) {
        expectResult(kruskalWallis(makeSamples(row.groups)), row.statistic, row.p,
                     "Kruskal-Wallis " + std::to_string(row.groups[0].seed));
    }
    for (const ManySampleRow& row : friedmanRows) {
        expectResult(friedman(makeSamples(row.groups)), row.statistic, row.p,
                     "Friedman " + std::to_string(row.groups[0].seed));
    }
}

TEST(RankTests, SmallSamplesByHand) {
    // U = 0, z = -4.5 / sqrt(9 * 7 / 12)
    const TestResult apart = mannWhitneyU(std::array{1.0, 2.0, 3.0}, std::array{4.0, 5.0, 6.0});
    EXPECT_EQ(apart.statistic, 0.0);
    EXPECT_NEAR(apart.pValue, 0.04953461343562649, 1e-12);
    // Equal values, whatever their size: U is half of n1 n2.
    for (const double value : {0.0, 1e-310, -3.0, 1e308}) {
        EXPECT_EQ(mannWhitneyU(std::vector(3, value), std::vector(4, value)), (TestResult{6.0, 1.0, true}));
        const TestResult equal = kruskalWallis(Groups(3, std::vector(3, value)));
        EXPECT_TRUE(equal.valid);
        EXPECT_NEAR(equal.statistic, 0.0, 1e-12);
        EXPECT_NEAR(equal.pValue, 1.0, 1e-12);
        EXPECT_EQ(friedman(Groups(3, std::vector(4, value))), (TestResult{0.0, 1.0, true}));
    }
    // H of exactly 0: ranks 1 6 | 2 5 | 3 4 with one more pair each around them.
    EXPECT_EQ(kruskalWallis(Groups{{1, 6, 3.5}, {2, 5, 3.5}, {3, 4, 3.5}}).pValue, 1.0);
    // A zero is dropped: n = 3, T = 0, z = 3 / sqrt(3.5).
    const TestResult matched = wilcoxonSignedRank(std::array{1.0, 0.0, 2.0, 3.0});
    EXPECT_EQ(matched.statistic, 0.0);
    EXPECT_NEAR(matched.pValue, 0.10880943004054568, 1e-12);
    EXPECT_EQ(matched, wilcoxonSignedRank(std::array{-1.0, -0.0, -2.0, -3.0}));
}

TEST(RankTests, TooFewValues) {
    const std::vector<double> two{1, 2};
    const std::vector<double> three{1, 2, 3};
    expectInvalid(mannWhitneyU(two, three));
    expectInvalid(mannWhitneyU(three, two));
    expectInvalid(mannWhitneyU({}, {}));
    expectInvalid(wilcoxonSignedRank(std::array{0.0, 1.0, 0.0, 2.0}));
    expectInvalid(wilcoxonSignedRank({}));
    expectInvalid(kruskalWallis({}));
    expectInvalid(kruskalWallis(Groups{three}));
    expectInvalid(kruskalWallis(Groups{three, three, two}));
    expectInvalid(friedman({}));
    expectInvalid(friedman(Groups{three}));
    expectInvalid(friedman(Groups{two, two}));
    expectInvalid(friedman(Groups{three, {1, 2, 3, 4}}));
    EXPECT_TRUE(mannWhitneyU(three, three).valid);
    EXPECT_TRUE(friedman(Groups{three, three}).valid);
}

TEST(RankTests, ChiSquareTail) {
    for (const TailRow& row : tailRows) {
        // SciPy's chi2.sf
        expectClose(chiSquareTail(row.x, row.degrees), row.p, 1e-9,
                    std::to_string(row.x) + ", " + std::to_string(row.degrees) + " degrees");
    }
    EXPECT_EQ(chiSquareTail(0.0, 3), 1.0);
    EXPECT_EQ(chiSquareTail(-1.0, 3), 1.0);
    EXPECT_EQ(chiSquareTail(1e6, 1), 0.0);
    EXPECT_NEAR(upperGamma(1.0, 0.5), std::exp(-0.5), 1e-12); // the exponential distribution
    EXPECT_NEAR(upperGamma(1.0, 2.0), std::exp(-2.0), 1e-12); // where the series meets the fraction
}

TEST(RankTests, SmallestMatchedPValue) {
    // Two-sided normal tails of sqrt(3 n (n + 1) / (2 (2 n + 1))), from SciPy.
    const std::pair<std::size_t, double> rows[] = {
        {0, 1.0}, {1, 0.31731050786291415}, {3, 0.10880943004054568}, {6, 0.02770785}, {10, 0.005062032}};
    for (const auto& [n, p] : rows) {
        EXPECT_NEAR(smallestMatchedPValue(n), p, 1e-8) << n;
        std::vector<double> oneSided(n);
        std::iota(oneSided.begin(), oneSided.end(), 1.0);
        if (n >= 3) {
            EXPECT_EQ(wilcoxonSignedRank(oneSided).pValue, smallestMatchedPValue(n));
        }
    }
}

TEST(Corrections, Levels) {
    const struct {
        std::vector<double> p;
        Correction correction;
        std::vector<double> expected;
    } rows[] = {
        {{0.01, 0.02, 0.03}, Correction::Bonferroni, {0.05 / 3, 0.05 / 3, 0.05 / 3}},
        {{0.01, 0.02, 0.03}, Correction::None, {0.05, 0.05, 0.05}},
        {{0.03, 0.01, 0.02}, Correction::Holm, {0.05, 0.05 / 3, 0.025}},
        {{0.5, 0.5}, Correction::Holm, {0.025, 0.05}},
        {{0.9}, Correction::Holm, {0.05}},
        {{0.9}, Correction::Bonferroni, {0.05}},
        {{}, Correction::Holm, {}},
        // The second is judged by its own level though the first fails.
        {{0.06, 0.055, 0.04}, Correction::Holm, {0.05, 0.025, 0.05 / 3}},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(correctedLevels(row.p, 0.05, row.correction), row.expected);
    }
}

TEST(Corrections, Stars) {
    const struct {
        double p, level;
        const char* stars;
    } rows[] = {{0.05, 0.05, "ns"}, {0.0499, 0.05, "*"},      {0.005, 0.05, "*"},       {0.00499, 0.05, "**"},
                {0.0, 0.05, "***"}, {0.05 / 100, 0.05, "**"}, {1.0, 0.5, "ns"},         {0.01, 0.05 / 3, "*"},
                {NaN, 0.05, "ns"},  {0.0004, 0.05, "***"},    {0.00166, 0.05 / 3, "**"}};
    for (const auto& row : rows) {
        EXPECT_EQ(significanceStars(row.p, row.level), row.stars) << row.p;
    }
}

} // namespace
} // namespace Tessaly
