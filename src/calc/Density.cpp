#include "calc/Density.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <numbers>

namespace Tessaly {

namespace {

constexpr double nan = std::numeric_limits<double>::quiet_NaN();

/// Bin of a scaled coordinate, clamped; NaN falls into bin 0.
int clampedBin(double position, int size) {
    if (!(position > 0.0))
        return 0;
    return position < size ? static_cast<int>(position) : size - 1;
}

/// Smallest value and extent of one axis.
struct AxisRange {
    double min = 0.0;
    double max = 0.0;
    double range = 1.0; ///< 1.0 for a constant axis

    explicit AxisRange(std::span<const double> values) {
        if (values.empty())
            return;
        min = max = values[0];
        for (const double value : values) {
            min = value < min ? value : min;
            max = value > max ? value : max;
        }
        if (max - min > 0.0)
            range = max - min;
    }
};

double quantile(const std::vector<double>& sorted, double q) {
    if (sorted.empty())
        return 0.0;
    const double position = q * static_cast<double>(sorted.size() - 1);
    const double below = std::floor(position);
    const double part = position - below;
    const auto i = static_cast<std::size_t>(below);
    return (1.0 - part) * sorted[i] + part * sorted[std::min(i + 1, sorted.size() - 1)];
}

double bandwidth(std::span<const double> values, const AxisRange& axis) {
    // Rounding in the mean would leave a constant column a tiny deviation.
    if (values.empty() || axis.min == axis.max)
        return 1.0;
    std::vector<double> sorted(values.begin(), values.end());
    std::sort(sorted.begin(), sorted.end());
    const double iqr = quantile(sorted, 0.75) - quantile(sorted, 0.25);
    const auto count = static_cast<double>(values.size());
    double mean = 0.0;
    for (const double value : values)
        mean += value;
    mean /= count;
    double variance = 0.0;
    for (const double value : values)
        variance += (value - mean) * (value - mean);
    const double deviation = std::sqrt(variance / count);
    const double sigma = iqr > 0.0 ? std::min(iqr / 1.34, deviation) : deviation;
    const double h = std::pow(count, -1.0 / 6.0) * sigma;
    return h > 0.0 ? h : 1.0;
}

/// Weights of a Gaussian with a width of `cells` cells; the middle one is at index (size - 1) / 2.
std::vector<double> kernelTaps(double cells, int gridSize) {
    // A width that is no number comes from coordinates near the end of the number range.
    const double radiusWanted = std::isfinite(cells) ? std::ceil(4.0 * cells) : 1.0;
    const int radius = std::max(static_cast<int>(std::min(radiusWanted, static_cast<double>(gridSize))), 1);
    std::vector<double> taps;
    double sum = 0.0;
    for (int k = -radius; k <= radius; ++k) {
        const double offset = k / cells;
        taps.push_back(std::exp(-0.5 * offset * offset));
        sum += taps.back();
    }
    for (double& tap : taps)
        tap /= sum;
    return taps;
}

std::vector<double> convolveRows(const std::vector<double>& values, int size, const std::vector<double>& taps) {
    const int radius = static_cast<int>(taps.size() / 2);
    std::vector<double> result(values.size());
    for (int row = 0; row < size; ++row) {
        for (int column = 0; column < size; ++column) {
            double sum = 0.0;
            for (int k = -radius; k <= radius; ++k) {
                if (column - k >= 0 && column - k < size)
                    sum += taps[static_cast<std::size_t>(k + radius)] *
                           values[static_cast<std::size_t>(row * size + column - k)];
            }
            result[static_cast<std::size_t>(row * size + column)] = sum;
        }
    }
    return result;
}

std::vector<double> transposed(const std::vector<double>& values, int size) {
    std::vector<double> result(values.size());
    for (int row = 0; row < size; ++row) {
        for (int column = 0; column < size; ++column)
            result[static_cast<std::size_t>(column * size + row)] =
                values[static_cast<std::size_t>(row * size + column)];
    }
    return result;
}

std::vector<double> histogramDensity(std::span<const double> x, std::span<const double> y) {
    const int size = optimalGridSize(x, y);
    const AxisRange xAxis(x);
    const AxisRange yAxis(y);
    const double xStep = xAxis.range / size;
    const double yStep = yAxis.range / size;
    std::vector<std::size_t> bins(x.size());
    std::vector<double> counts(static_cast<std::size_t>(size) * static_cast<std::size_t>(size));
    for (std::size_t i = 0; i < x.size(); ++i) {
        const int xBin = clampedBin((x[i] - xAxis.min) / xStep, size);
        const int yBin = clampedBin((y[i] - yAxis.min) / yStep, size);
        bins[i] = static_cast<std::size_t>(yBin * size + xBin);
        counts[bins[i]] += 1.0;
    }
    std::vector<double> result(x.size());
    for (std::size_t i = 0; i < x.size(); ++i)
        result[i] = counts[bins[i]];
    return result;
}

/// Points sorted into square cells, so that neighbours are found cell by cell.
class NeighbourCells {
public:
    NeighbourCells(std::span<const double> x, std::span<const double> y)
        : x_(x),
          y_(y),
          size_(std::max(static_cast<int>(std::sqrt(static_cast<double>(x.size()) / 20.0)), 1)) {
        const AxisRange xAxis(x);
        const AxisRange yAxis(y);
        const double xStep = xAxis.range / size_;
        const double yStep = yAxis.range / size_;
        cellOf_.resize(x.size());
        starts_.assign(static_cast<std::size_t>(size_ * size_) + 1, 0);
        for (std::size_t i = 0; i < x.size(); ++i) {
            const int column = clampedBin((x[i] - xAxis.min) / xStep, size_);
            const int row = clampedBin((y[i] - yAxis.min) / yStep, size_);
            cellOf_[i] = row * size_ + column;
            ++starts_[static_cast<std::size_t>(cellOf_[i]) + 1];
        }
        for (std::size_t cell = 1; cell < starts_.size(); ++cell)
            starts_[cell] += starts_[cell - 1];
        members_.resize(x.size());
        std::vector<std::size_t> next(starts_.begin(), starts_.end() - 1);
        for (std::size_t i = 0; i < x.size(); ++i)
            members_[next[static_cast<std::size_t>(cellOf_[i])]++] = i;
    }

    int cellsPerAxis() const { return size_; }

    /// Adds the squared distances from a point to all others in the border of the square of cells `ring` around its
    /// own. The square is clamped to the grid first, so that rim cells come again with every further ring.
    void addRing(std::size_t point, int ring, std::vector<double>& distances) const {
        const int row = cellOf_[point] / size_;
        const int column = cellOf_[point] % size_;
        const int rowFrom = std::max(row - ring, 0);
        const int rowTo = std::min(row + ring, size_ - 1);
        const int columnFrom = std::max(column - ring, 0);
        const int columnTo = std::min(column + ring, size_ - 1);
        for (int r = rowFrom; r <= rowTo; ++r) {
            const bool whole = r == rowFrom || r == rowTo;
            const int step = whole ? 1 : std::max(columnTo - columnFrom, 1);
            for (int c = columnFrom; c <= columnTo; c += step)
                addCell(point, r * size_ + c, distances);
        }
    }

private:
    void addCell(std::size_t point, int cell, std::vector<double>& distances) const {
        const std::size_t end = starts_[static_cast<std::size_t>(cell) + 1];
        for (std::size_t m = starts_[static_cast<std::size_t>(cell)]; m < end; ++m) {
            const std::size_t other = members_[m];
            if (other == point)
                continue;
            const double dx = x_[other] - x_[point];
            const double dy = y_[other] - y_[point];
            distances.push_back(dx * dx + dy * dy);
        }
    }

    std::span<const double> x_;
    std::span<const double> y_;
    int size_;
    std::vector<int> cellOf_;
    std::vector<std::size_t> starts_; ///< first member of each cell, and the end
    std::vector<std::size_t> members_;
};

std::vector<double> neighbourDensity(std::span<const double> x, std::span<const double> y) {
    std::vector<double> result(x.size(), 1.0);
    if (x.size() < 2)
        return result;
    const NeighbourCells cells(x, y);
    const auto wanted = std::max<std::size_t>(static_cast<std::size_t>(std::sqrt(static_cast<double>(x.size()))), 1);
    std::vector<double> distances;
    for (std::size_t i = 0; i < x.size(); ++i) {
        distances.clear();
        for (int ring = 0; distances.size() < wanted && ring <= cells.cellsPerAxis(); ++ring)
            cells.addRing(i, ring, distances);
        if (distances.empty()) {
            result[i] = 0.0;
            continue;
        }
        const std::size_t found = std::min(distances.size(), wanted);
        const auto last = distances.begin() + static_cast<std::ptrdiff_t>(found - 1);
        std::nth_element(distances.begin(), last, distances.end());
        const auto neighbours = static_cast<double>(found);
        result[i] = *last > 0.0 ? neighbours / (std::numbers::pi * *last) : neighbours;
    }
    return result;
}

std::vector<double> finiteDensity(std::span<const double> x, std::span<const double> y, DensityMethod method) {
    switch (method) {
    case DensityMethod::Kde:
        return interpolateGrid(kernelDensityGrid(x, y, 0), x, y);
    case DensityMethod::Histogram:
        return histogramDensity(x, y);
    case DensityMethod::NearestNeighbours:
        return neighbourDensity(x, y);
    }
    return std::vector<double>(x.size(), nan);
}

} // namespace

std::vector<double> computeDensity(std::span<const double> x, std::span<const double> y, DensityMethod method) {
    std::vector<double> result(x.size(), nan);
    std::vector<double> finiteX;
    std::vector<double> finiteY;
    std::vector<std::size_t> positions;
    for (std::size_t i = 0; i < std::min(x.size(), y.size()); ++i) {
        if (std::isfinite(x[i]) && std::isfinite(y[i])) {
            finiteX.push_back(x[i]);
            finiteY.push_back(y[i]);
            positions.push_back(i);
        }
    }
    if (positions.size() < 4)
        return result;
    const std::vector<double> density = finiteDensity(finiteX, finiteY, method);
    for (std::size_t i = 0; i < positions.size(); ++i)
        result[positions[i]] = density[i];
    return result;
}

int optimalGridSize(std::span<const double> x, std::span<const double> y) {
    if (x.size() < 4)
        return 32;
    const AxisRange xAxis(x);
    const AxisRange yAxis(y);
    int best = 64;
    double bestCost = std::numeric_limits<double>::infinity();
    int previous = 0;
    for (int k = 0; k < 20; ++k) {
        const int size = static_cast<int>(std::lround(std::exp(k * 2.7725888 / 19 + 3.4657359)));
        if (size == previous)
            continue;
        previous = size;
        const double dx = xAxis.range / size;
        const double dy = yAxis.range / size;
        std::vector<int> counts(static_cast<std::size_t>(size) * static_cast<std::size_t>(size));
        for (std::size_t i = 0; i < x.size(); ++i) {
            const int xBin = clampedBin((x[i] - xAxis.min) / dx, size);
            const int yBin = clampedBin((y[i] - yAxis.min) / dy, size);
            ++counts[static_cast<std::size_t>(yBin * size + xBin)];
        }
        const auto cells = static_cast<double>(counts.size());
        const double mean = static_cast<double>(x.size()) / cells;
        double variance = 0.0;
        for (const int count : counts)
            variance += (count - mean) * (count - mean);
        variance /= cells;
        const double area = dx * dy;
        const double cost = (2.0 * mean - variance) / (area * area);
        if (cost < bestCost) {
            bestCost = cost;
            best = size;
        }
    }
    return best;
}

DensityGrid kernelDensityGrid(std::span<const double> x, std::span<const double> y, int gridSize) {
    DensityGrid grid;
    grid.size = gridSize < 1 ? optimalGridSize(x, y) : gridSize;
    const AxisRange xAxis(x);
    const AxisRange yAxis(y);
    const double xBandwidth = bandwidth(x, xAxis);
    const double yBandwidth = bandwidth(y, yAxis);
    grid.xOrigin = xAxis.min - 3.0 * xBandwidth;
    grid.yOrigin = yAxis.min - 3.0 * yBandwidth;
    grid.xStep = (xAxis.max + 3.0 * xBandwidth - grid.xOrigin) / grid.size;
    grid.yStep = (yAxis.max + 3.0 * yBandwidth - grid.yOrigin) / grid.size;
    grid.values.assign(static_cast<std::size_t>(grid.size) * static_cast<std::size_t>(grid.size), 0.0);
    for (std::size_t i = 0; i < x.size(); ++i) {
        const int xBin = clampedBin((x[i] - grid.xOrigin) / grid.xStep, grid.size);
        const int yBin = clampedBin((y[i] - grid.yOrigin) / grid.yStep, grid.size);
        grid.values[static_cast<std::size_t>(yBin * grid.size + xBin)] += 1.0;
    }
    const std::vector<double> rows =
        convolveRows(grid.values, grid.size, kernelTaps(xBandwidth / grid.xStep, grid.size));
    const std::vector<double> columns =
        convolveRows(transposed(rows, grid.size), grid.size, kernelTaps(yBandwidth / grid.yStep, grid.size));
    grid.values = transposed(columns, grid.size);
    return grid;
}

std::vector<double> interpolateGrid(const DensityGrid& grid, std::span<const double> x, std::span<const double> y) {
    std::vector<double> result(x.size());
    const int size = grid.size;
    for (std::size_t n = 0; n < x.size(); ++n) {
        const double fx = (x[n] - grid.xOrigin) / grid.xStep - 0.5;
        const double fy = (y[n] - grid.yOrigin) / grid.yStep - 0.5;
        const double i = std::floor(fx);
        const double j = std::floor(fy);
        const double tx = fx - i;
        const double ty = fy - j;
        const int left = clampedBin(i, size);
        const int right = clampedBin(i + 1.0, size);
        const double* low = grid.values.data() + static_cast<std::ptrdiff_t>(clampedBin(j, size)) * size;
        const double* high = grid.values.data() + static_cast<std::ptrdiff_t>(clampedBin(j + 1.0, size)) * size;
        result[n] = (1.0 - tx) * (1.0 - ty) * low[left] + tx * (1.0 - ty) * low[right] + (1.0 - tx) * ty * high[left] +
                    tx * ty * high[right];
    }
    return result;
}

} // namespace Tessaly
