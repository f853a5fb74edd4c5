#pragma once

#include "calc/density/Density.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <limits>
#include <span>
#include <vector>

/// The density estimates in textbook form: full sorts for the quartiles, one histogram pass per candidate, one pass per
/// step. What the fast code is measured and checked against, bit by bit. Finite values of ordinary size only.
namespace Tessaly::Plain {

using Values = std::vector<double>;

inline double extent(const Values& v) {
    const auto [low, high] = std::minmax_element(v.begin(), v.end());
    return *high - *low > 0.0 ? *high - *low : 1.0;
}

inline std::size_t binOf(double position, int size) {
    return static_cast<std::size_t>(std::clamp(static_cast<int>(position), 0, size - 1));
}

/// Counts in size x size bins, row by row; the bin of each point too.
inline Values histogram(const Values& x, const Values& y, int size, double xOrigin, double yOrigin, double xStep,
                        double yStep, std::vector<std::size_t>* bins = nullptr) {
    const auto width = static_cast<std::size_t>(size);
    Values counts(width * width);
    for (std::size_t i = 0; i < x.size(); ++i) {
        const std::size_t bin = binOf((y[i] - yOrigin) / yStep, size) * width + binOf((x[i] - xOrigin) / xStep, size);
        counts[bin] += 1.0;
        if (bins) {
            bins->push_back(bin);
        }
    }
    return counts;
}

inline int optimalGridSize(const Values& x, const Values& y) {
    if (x.size() < 4) {
        return 32;
    }
    const double xMin = *std::min_element(x.begin(), x.end());
    const double yMin = *std::min_element(y.begin(), y.end());
    const double xExtent = extent(x);
    const double yExtent = extent(y);
    int best = 64;
    double bestCost = std::numeric_limits<double>::infinity();
    int previous = 0;
    for (int k = 0; k < 20; ++k) {
        const int n = static_cast<int>(std::lround(std::exp(k * 2.7725888 / 19 + 3.4657359)));
        if (n == previous) {
            continue;
        }
        previous = n;
        const double dx = xExtent / n;
        const double dy = yExtent / n;
        const Values counts = histogram(x, y, n, xMin, yMin, dx, dy);
        const double cells = static_cast<double>(counts.size());
        const double mean = static_cast<double>(x.size()) / cells;
        double variance = 0.0;
        for (const double count : counts) {
            variance += (count - mean) * (count - mean);
        }
        variance /= cells;
        const double cost = (2.0 * mean - variance) / ((dx * dy) * (dx * dy));
        if (cost < bestCost) {
            bestCost = cost;
            best = n;
        }
    }
    return best;
}

inline double quantile(const Values& sorted, double q) {
    if (sorted.empty()) {
        return 0.0;
    }
    const double position = q * static_cast<double>(sorted.size() - 1);
    const auto i = static_cast<std::size_t>(std::floor(position));
    const double part = position - std::floor(position);
    return (1.0 - part) * sorted[i] + part * sorted[std::min(i + 1, sorted.size() - 1)];
}

inline double bandwidth(const Values& values) {
    Values sorted = values;
    std::sort(sorted.begin(), sorted.end());
    if (sorted.front() == sorted.back()) {
        return 1.0;
    }
    const double iqr = quantile(sorted, 0.75) - quantile(sorted, 0.25);
    const auto count = static_cast<double>(values.size());
    double mean = 0.0;
    for (const double v : values) {
        mean += v;
    }
    mean /= count;
    double squares = 0.0;
    for (const double v : values) {
        squares += (v - mean) * (v - mean);
    }
    const double deviation = std::sqrt(squares / count);
    const double h = std::pow(count, -1.0 / 6.0) * (iqr > 0.0 ? std::min(iqr / 1.34, deviation) : deviation);
    return h > 0.0 ? h : 1.0;
}

/// Smooths along rows (`stride` 1) or columns (`stride` size).
inline Values smoothed(const Values& values, int size, double cells, int stride) {
    const int radius = std::max(static_cast<int>(std::ceil(4.0 * cells)), 1);
    Values taps;
    double sum = 0.0;
    for (int k = -radius; k <= radius; ++k) {
        taps.push_back(std::exp(-0.5 * (k / cells) * (k / cells)));
        sum += taps.back();
    }
    for (double& tap : taps) {
        tap /= sum;
    }
    Values result(values.size());
    for (int row = 0; row < size; ++row) {
        for (int column = 0; column < size; ++column) {
            const int place = stride == 1 ? column : row;
            const int cell = row * size + column;
            double total = 0.0;
            for (int k = std::max(-radius, place - size + 1); k <= std::min(radius, place); ++k) {
                total +=
                    taps[static_cast<std::size_t>(k + radius)] * values[static_cast<std::size_t>(cell - k * stride)];
            }
            result[static_cast<std::size_t>(cell)] = total;
        }
    }
    return result;
}

inline DensityGrid kernelDensityGrid(const Values& x, const Values& y, int gridSize) {
    DensityGrid grid;
    grid.size = gridSize < 1 ? Plain::optimalGridSize(x, y) : gridSize;
    const auto [xMin, xMax] = std::minmax_element(x.begin(), x.end());
    const auto [yMin, yMax] = std::minmax_element(y.begin(), y.end());
    const double xWidth = bandwidth(x);
    const double yWidth = bandwidth(y);
    grid.xOrigin = *xMin - 3.0 * xWidth;
    grid.yOrigin = *yMin - 3.0 * yWidth;
    grid.xStep = (*xMax + 3.0 * xWidth - grid.xOrigin) / grid.size;
    grid.yStep = (*yMax + 3.0 * yWidth - grid.yOrigin) / grid.size;
    grid.values = histogram(x, y, grid.size, grid.xOrigin, grid.yOrigin, grid.xStep, grid.yStep);
    grid.values = smoothed(grid.values, grid.size, xWidth / grid.xStep, 1);
    grid.values = smoothed(grid.values, grid.size, yWidth / grid.yStep, grid.size);
    return grid;
}

inline Values interpolateGrid(const DensityGrid& grid, const Values& x, const Values& y) {
    Values result;
    result.reserve(x.size());
    const auto at = [&grid](double row, double column) {
        const double last = grid.size - 1;
        return grid.values[static_cast<std::size_t>(std::clamp(row, 0.0, last)) * static_cast<std::size_t>(grid.size) +
                           static_cast<std::size_t>(std::clamp(column, 0.0, last))];
    };
    for (std::size_t n = 0; n < x.size(); ++n) {
        const double fx = (x[n] - grid.xOrigin) / grid.xStep - 0.5;
        const double fy = (y[n] - grid.yOrigin) / grid.yStep - 0.5;
        const double i = std::floor(fx);
        const double j = std::floor(fy);
        const double tx = fx - i;
        const double ty = fy - j;
        result.push_back((1.0 - tx) * (1.0 - ty) * at(j, i) + tx * (1.0 - ty) * at(j, i + 1.0) +
                         (1.0 - tx) * ty * at(j + 1.0, i) + tx * ty * at(j + 1.0, i + 1.0));
    }
    return result;
}

/// Density at every point by the kernel estimate; finite points, at least 4.
inline Values kernelDensity(const Values& x, const Values& y) {
    return Plain::interpolateGrid(Plain::kernelDensityGrid(x, y, 0), x, y);
}

} // namespace Tessaly::Plain
