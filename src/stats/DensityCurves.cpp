#include "stats/DensityCurves.h"

#include "stats/SampleSummary.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <numeric>

namespace Tessaly {

namespace {

constexpr double leastSpread = 1e-15;
constexpr std::size_t last = CurveGrid::size - 1;

double bandwidth(std::span<const double> values, const CurveGrid& grid) {
    const double sd = meanAndSd(values, 0).sd;
    double spread = std::min(sd, plainIqr(values) / 1.34);
    if (spread < leastSpread) {
        spread = sd;
    }
    if (spread < leastSpread) {
        spread = grid.range * 0.01;
    }
    return std::max(0.5 * spread * std::pow(static_cast<double>(values.size()), -0.2), grid.step);
}

/// Gives every value to the two points beside it, by nearness.
std::vector<double> linearBins(std::span<const double> values, const CurveGrid& grid) {
    // Values that follow each other fall into the same bins often; with a table for every other one, an addition need
    // not wait for the one before.
    constexpr std::size_t tables = 4;
    std::array<std::array<double, CurveGrid::size>, tables> bins{};
    const double perStep = 1.0 / grid.step;
    const auto add = [&](std::array<double, CurveGrid::size>& table, double value) {
        const double t = std::clamp((value - grid.start) * perStep, 0.0, static_cast<double>(last));
        const auto below = std::min(static_cast<std::size_t>(static_cast<int>(t)), last - 1);
        const double part = t - static_cast<double>(static_cast<int>(below));
        table[below] += 1.0 - part;
        table[below + 1] += part;
    };
    std::size_t i = 0;
    for (; i + tables <= values.size(); i += tables) {
        for (std::size_t table = 0; table < tables; ++table) {
            add(bins[table], values[i + table]);
        }
    }
    for (; i < values.size(); ++i) {
        add(bins[0], values[i]);
    }
    std::vector<double> sums(CurveGrid::size, 0.0);
    for (const auto& table : bins) {
        std::ranges::transform(sums, table, sums.begin(), std::plus<>());
    }
    return sums;
}

/// Weights of the kernel from its middle outwards; together with their mirror images they add up to 1.
std::vector<double> kernel(double width, double step) {
    const auto half = static_cast<std::size_t>(std::max(1.0, std::ceil(4.0 * width / step)));
    std::vector<double> weights;
    double sum = 0.0;
    for (std::size_t j = 0; j <= half; ++j) {
        const double distance = static_cast<double>(j) * step / width;
        weights.push_back(std::exp(-0.5 * distance * distance));
        sum += (j == 0 ? 1.0 : 2.0) * weights.back();
    }
    for (double& weight : weights) {
        weight /= sum;
    }
    return weights;
}

std::vector<double> convolved(const std::vector<double>& bins, const std::vector<double>& weights) {
    std::vector<double> result(bins.size(), 0.0);
    for (std::size_t from = 0; from < bins.size(); ++from) {
        if (bins[from] == 0.0) {
            continue;
        }
        const std::size_t reach = weights.size() - 1;
        const std::size_t first = from > reach ? from - reach : 0;
        const std::size_t end = std::min(from + reach, last);
        for (std::size_t to = first; to <= end; ++to) {
            result[to] += bins[from] * weights[to > from ? to - from : from - to];
        }
    }
    return result;
}

} // namespace

std::optional<CurveGrid> densityGrid(double min, double max) {
    if (!(max > min)) {
        max = min + 1.0;
        if (!(max > min)) {
            max = min + std::fabs(min) * 1e-12;
        }
    }
    CurveGrid grid;
    grid.range = max - min;
    grid.start = min - 0.05 * grid.range;
    grid.step = (max + 0.05 * grid.range - grid.start) / static_cast<double>(last);
    const bool usable = std::isfinite(grid.range) && std::isfinite(grid.start) && std::isfinite(1.0 / grid.step) &&
                        std::isfinite(grid.step) && grid.step > 0.0;
    return usable ? std::optional(grid) : std::nullopt;
}

std::vector<double> densityCurve(std::span<const double> values, const CurveGrid& grid) {
    if (values.empty()) {
        return std::vector<double>(CurveGrid::size, 0.0);
    }
    std::vector<double> density = convolved(linearBins(values, grid), kernel(bandwidth(values, grid), grid.step));
    const double total = std::accumulate(density.begin(), density.end(), 0.0);
    if (total > 0.0) {
        for (double& value : density) {
            value *= 1.0 / (total * grid.step);
        }
    }
    return density;
}

MeanCurve averageCurves(std::span<const std::vector<double>> curves) {
    MeanCurve result;
    std::vector<double> column(curves.size());
    for (std::size_t point = 0; point < curves[0].size(); ++point) {
        std::ranges::transform(curves, column.begin(), [point](const auto& curve) { return curve[point]; });
        const MeanAndSd moments = meanAndSd(column);
        result.mean.push_back(moments.mean);
        if (curves.size() > 1) {
            result.sd.push_back(moments.sd);
        }
    }
    return result;
}

} // namespace Tessaly
