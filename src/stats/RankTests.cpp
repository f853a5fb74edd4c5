#include "stats/RankTests.h"

#include "stats/Ranks.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <numbers>

namespace Tessaly {

namespace {

constexpr std::size_t leastValues = 3;
constexpr double leastSigma = 1e-15;
constexpr int mostTerms = 200;
constexpr double tolerance = 1e-14;
constexpr double lentzFloor = 1e-30;

/// Two-sided p-value of a normal deviate.
double normalPValue(double z) {
    return std::clamp(std::erfc(std::fabs(z) / std::numbers::sqrt2), 0.0, 1.0);
}

double sumOfRanks(double n) {
    return n * (n + 1.0) / 2.0;
}

double signedRankSigma(double n) {
    return std::sqrt(n * (n + 1.0) * (2.0 * n + 1.0) / 24.0);
}

double logGamma(double a) {
    constexpr std::array coefficients{76.18009172947146,  -86.50532032941678,   24.01409824083091,
                                      -1.231739572450155, 0.001208650973866179, -5.395239384953e-6};
    double series = 1.000000000190015;
    double y = a;
    for (const double coefficient : coefficients) {
        y += 1.0;
        series += coefficient / y;
    }
    return std::log(series * 2.5066282746310007 / a) - ((a + 5.5) - (a + 0.5) * std::log(a + 5.5));
}

/// The sum that gives the lower function P; for x below a + 1.
double lowerSeries(double a, double x) {
    double term = 1.0 / a;
    double sum = term;
    double divisor = a;
    for (int i = 0; i < mostTerms; ++i) {
        divisor += 1.0;
        term *= x / divisor;
        sum += term;
        if (std::fabs(term) < std::fabs(sum) * tolerance) {
            break;
        }
    }
    return sum;
}

double floored(double value) {
    return std::fabs(value) < lentzFloor ? lentzFloor : value;
}

/// The continued fraction that gives the upper function Q; for x of a + 1 and above.
double upperFraction(double a, double x) {
    double b = x + 1.0 - a;
    double c = 9.999999999999999e29; // 1 / lentzFloor
    double d = 1.0 / b;
    double h = d;
    for (int i = 1; i <= mostTerms; ++i) {
        const double an = -i * (i - a);
        b += 2.0;
        d = 1.0 / floored(an * d + b);
        c = floored(b + an / c);
        const double factor = d * c;
        h *= factor;
        if (std::fabs(factor - 1.0) < tolerance) {
            break;
        }
    }
    return h;
}

TestResult chiSquareResult(double statistic, std::size_t groups) {
    const int degrees = static_cast<int>(groups) - 1;
    return {statistic, statistic <= 0.0 ? 1.0 : chiSquareTail(statistic, degrees), true};
}

} // namespace

TestResult mannWhitneyU(std::span<const double> a, std::span<const double> b) {
    if (a.size() < leastValues || b.size() < leastValues) {
        return {};
    }
    const auto n1 = static_cast<double>(a.size());
    const auto n2 = static_cast<double>(b.size());
    const double u1 = rankSums(std::array{a, b})[0] - sumOfRanks(n1);
    TestResult result{std::min(u1, n1 * n2 - u1), 1.0, true};
    const double sigma = std::sqrt(n1 * n2 * (n1 + n2 + 1.0) / 12.0);
    if (sigma >= leastSigma) {
        result.pValue = normalPValue((result.statistic - n1 * n2 / 2.0) / sigma);
    }
    return result;
}

TestResult wilcoxonSignedRank(std::span<const double> differences) {
    std::vector<double> above;
    std::vector<double> below;
    for (const double difference : differences) {
        if (difference != 0.0) {
            (difference > 0.0 ? above : below).push_back(std::fabs(difference));
        }
    }
    if (above.size() + below.size() < leastValues) {
        return {};
    }
    const auto n = static_cast<double>(above.size() + below.size());
    const std::vector<double> sums =
        rankSums(std::array{std::span<const double>(above), std::span<const double>(below)});
    TestResult result{std::min(sums[0], sums[1]), 1.0, true};
    const double sigma = signedRankSigma(n);
    if (sigma >= leastSigma) {
        result.pValue = normalPValue((result.statistic - sumOfRanks(n) / 2.0) / sigma);
    }
    return result;
}

TestResult kruskalWallis(std::span<const std::vector<double>> groups) {
    const auto tooFew = [](const std::vector<double>& group) { return group.size() < leastValues; };
    if (groups.size() < 2 || std::ranges::any_of(groups, tooFew)) {
        return {};
    }
    const std::vector<double> sums = rankSums(std::vector<std::span<const double>>(groups.begin(), groups.end()));
    double n = 0.0;
    double squares = 0.0;
    for (std::size_t i = 0; i < groups.size(); ++i) {
        const auto size = static_cast<double>(groups[i].size());
        n += size;
        squares += sums[i] * sums[i] / size;
    }
    return chiSquareResult(12.0 / (n * (n + 1.0)) * squares - 3.0 * (n + 1.0), groups.size());
}

TestResult friedman(std::span<const std::vector<double>> conditions) {
    if (conditions.size() < 2 || conditions[0].size() < leastValues) {
        return {};
    }
    const std::size_t subjects = conditions[0].size();
    if (std::ranges::any_of(conditions, [&](const auto& values) { return values.size() != subjects; })) {
        return {};
    }
    std::vector<double> sums(conditions.size(), 0.0);
    std::vector<std::span<const double>> row(conditions.size());
    for (std::size_t subject = 0; subject < subjects; ++subject) {
        for (std::size_t i = 0; i < conditions.size(); ++i) {
            row[i] = std::span(conditions[i]).subspan(subject, 1);
        }
        const std::vector<double> ranks = rankSums(row);
        std::ranges::transform(sums, ranks, sums.begin(), std::plus<>());
    }
    double squares = 0.0;
    for (const double sum : sums) {
        squares += sum * sum;
    }
    const auto n = static_cast<double>(subjects);
    const auto k = static_cast<double>(conditions.size());
    return chiSquareResult(12.0 / (n * k * (k + 1.0)) * squares - 3.0 * n * (k + 1.0), conditions.size());
}

double smallestMatchedPValue(std::size_t pairs) {
    const auto n = static_cast<double>(pairs);
    return pairs == 0 ? 1.0 : normalPValue(sumOfRanks(n) / 2.0 / signedRankSigma(n));
}

double chiSquareTail(double statistic, int degrees) {
    return upperGamma(degrees / 2.0, statistic / 2.0);
}

double upperGamma(double a, double x) {
    if (x <= 0.0) {
        return 1.0;
    }
    const double scale = std::exp(a * std::log(x) - x - logGamma(a));
    const double result = x < a + 1.0 ? 1.0 - scale * lowerSeries(a, x) : scale * upperFraction(a, x);
    return std::clamp(result, 0.0, 1.0);
}

} // namespace Tessaly
