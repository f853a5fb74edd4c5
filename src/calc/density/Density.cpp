#include "calc/density/Density.h"

#include "calc/density/GridSize.h"
#include "calc/density/NeighbourDensity.h"
#include "core/PlotSettings.h"
#include "stats/Quantiles.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <functional>
#include <limits>

namespace Tessaly {

namespace {

constexpr double nan = std::numeric_limits<double>::quiet_NaN();

/// Mean and population standard deviation of two columns at once: each sum waits for its last addition, so that two
/// take the time of one.
struct StandardDeviations {
    std::array<double, 2> values;

    StandardDeviations(std::span<const double> x, std::span<const double> y) {
        const auto count = static_cast<double>(x.size());
        std::array<double, 2> mean{};
        for (std::size_t i = 0; i < x.size(); ++i) {
            mean[0] += x[i];
            mean[1] += y[i];
        }
        mean[0] /= count;
        mean[1] /= count;
        std::array<double, 2> squares{};
        for (std::size_t i = 0; i < x.size(); ++i) {
            squares[0] += (x[i] - mean[0]) * (x[i] - mean[0]);
            squares[1] += (y[i] - mean[1]) * (y[i] - mean[1]);
        }
        values = {std::sqrt(squares[0] / count), std::sqrt(squares[1] / count)};
    }
};

/// Distance between the quartiles, each interpolated between the two values next to it.
double interquartileRange(std::span<const double> values) {
    const std::size_t last = values.size() - 1;
    std::array<std::size_t, 4> places;
    std::array<double, 2> parts;
    for (std::size_t i = 0; i < 2; ++i) {
        const double position = (i == 0 ? 0.25 : 0.75) * static_cast<double>(last);
        parts[i] = position - std::floor(position);
        places[2 * i] = static_cast<std::size_t>(std::floor(position));
        places[2 * i + 1] = std::min(places[2 * i] + 1, last);
    }
    const std::vector<double> sorted = orderStatistics(values, places);
    const double q25 = (1.0 - parts[0]) * sorted[0] + parts[0] * sorted[1];
    const double q75 = (1.0 - parts[1]) * sorted[2] + parts[1] * sorted[3];
    return q75 - q25;
}

double bandwidth(std::span<const double> values, const AxisRange& axis, double deviation) {
    // Rounding in the mean would leave a constant column a tiny deviation.
    if (values.empty() || axis.isConstant()) {
        return 1.0;
    }
    const double iqr = interquartileRange(values);
    const double sigma = iqr > 0.0 ? std::min(iqr / 1.34, deviation) : deviation;
    const double h = std::pow(static_cast<double>(values.size()), -1.0 / 6.0) * sigma;
    return h > 0.0 && std::isfinite(h) ? h : 1.0;
}

/// Weights of a Gaussian with a width of `cells` cells, from -radius to radius.
std::vector<double> kernelTaps(double cells, int gridSize) {
    // Only coordinates near the ends of the number range give a width that is no number or wider than the grid.
    const double wanted = std::isfinite(cells) ? std::ceil(4.0 * cells) : 1.0;
    const int radius = std::max(static_cast<int>(std::min(wanted, static_cast<double>(gridSize))), 1);
    std::vector<double> taps;
    double sum = 0.0;
    for (int k = -radius; k <= radius; ++k) {
        const double offset = k / cells;
        taps.push_back(std::exp(-0.5 * (offset * offset)));
        sum += taps.back();
    }
    for (double& tap : taps) {
        tap /= sum;
    }
    return taps;
}

/// A piece of a grid's row, short enough to stay in registers while the taps pass by.
constexpr std::size_t pieceSize = 16;

/// result[i] = sum over t of taps[t] * from[i - t * stride], for one piece.
void convolvePiece(const double* from, std::size_t stride, std::span<const double> taps, double* result) {
    std::array<double, pieceSize> sums{};
    for (std::size_t t = 0; t < taps.size(); ++t) {
        const double* piece = from - t * stride;
        for (std::size_t i = 0; i < pieceSize; ++i) {
            sums[i] += taps[t] * piece[i];
        }
    }
    std::copy(sums.begin(), sums.end(), result);
}

/// The taps that meet something: those with which positions `first` to `last` reach places `from` to `to`.
struct TapRange {
    std::size_t begin;
    std::size_t end;

    TapRange(std::size_t from, std::size_t to, std::size_t first, std::size_t last, std::size_t tapCount) {
        const std::size_t radius = tapCount / 2;
        begin = from + radius > last ? from + radius - last : 0;
        end = to + radius + 1 > first ? std::min(to + radius + 1 - first, tapCount) : 0;
    }
};

/// Smooths counts along the rows, then along the columns. Outside of the grid there is nothing, as there is in many
/// rows and at many rows' ends: adding zeros changes no sum, so that they are left out.
std::vector<double> smoothed(const std::vector<std::uint32_t>& counts, int size, std::span<const double> xTaps,
                             std::span<const double> yTaps) {
    const auto width = static_cast<std::size_t>(size);
    const std::size_t paddedWidth = (width + pieceSize - 1) / pieceSize * pieceSize;
    std::vector<double> source(paddedWidth + xTaps.size() - 1);
    std::vector<double> rows(paddedWidth * width);
    std::size_t firstRow = width;
    std::size_t lastRow = 0;
    for (std::size_t r = 0; r < width; ++r) {
        const std::uint32_t* row = counts.data() + r * width;
        const auto first = static_cast<std::size_t>(std::find_if(row, row + width, std::identity()) - row);
        if (first == width) {
            continue;
        }
        std::size_t last = width - 1;
        while (row[last] == 0) {
            --last;
        }
        firstRow = std::min(firstRow, r);
        lastRow = r;
        std::copy_n(row, width, source.begin() + static_cast<std::ptrdiff_t>(xTaps.size() / 2));
        for (std::size_t i = 0; i < paddedWidth; i += pieceSize) {
            const TapRange range(i, i + pieceSize - 1, first, last, xTaps.size());
            if (range.begin < range.end) {
                convolvePiece(source.data() + i + xTaps.size() - 1 - range.begin, 1,
                              xTaps.subspan(range.begin, range.end - range.begin), rows.data() + r * paddedWidth + i);
            }
        }
    }
    std::vector<double> result(width * width);
    for (std::size_t r = 0; r < width; ++r) {
        const TapRange range(r, r, firstRow, lastRow, yTaps.size());
        if (firstRow > lastRow || range.begin >= range.end) {
            continue;
        }
        const double* from = rows.data() + (r + yTaps.size() / 2 - range.begin) * paddedWidth;
        std::array<double, pieceSize> piece;
        for (std::size_t i = 0; i < width; i += pieceSize) {
            convolvePiece(from + i, paddedWidth, yTaps.subspan(range.begin, range.end - range.begin), piece.data());
            std::copy_n(piece.begin(), std::min(pieceSize, width - i),
                        result.begin() + static_cast<std::ptrdiff_t>(r * width + i));
        }
    }
    return result;
}

/// The pairs of which both values are finite. Refers to the caller's columns if that is all of them.
class FinitePairs {
public:
    FinitePairs(std::span<const double> x, std::span<const double> y) : x_(x), y_(y) {
        // A difference of a value to itself is 0, or NaN if it is not finite.
        double differences = 0.0;
        for (std::size_t i = 0; i < x.size(); ++i) {
            differences += (x[i] - x[i]) + (y[i] - y[i]);
        }
        if (differences == 0.0) {
            return;
        }
        for (std::size_t i = 0; i < x.size(); ++i) {
            if (std::isfinite(x[i]) && std::isfinite(y[i])) {
                copiedX_.push_back(x[i]);
                copiedY_.push_back(y[i]);
                positions_.push_back(i);
            }
        }
        partial_ = true;
        x_ = copiedX_;
        y_ = copiedY_;
    }

    std::span<const double> x() const { return x_; }
    std::span<const double> y() const { return y_; }

    /// Puts one value per pair at its event's position, NaN elsewhere.
    std::vector<double> atTheirEvents(std::vector<double> values, std::size_t eventCount) const {
        if (!partial_) {
            return values;
        }
        std::vector<double> result(eventCount, nan);
        for (std::size_t i = 0; i < positions_.size(); ++i) {
            result[positions_[i]] = values[i];
        }
        return result;
    }

private:
    std::span<const double> x_;
    std::span<const double> y_;
    std::vector<double> copiedX_;
    std::vector<double> copiedY_;
    std::vector<std::size_t> positions_;
    bool partial_ = false;
};

std::vector<double> histogramDensity(std::span<const double> x, std::span<const double> y) {
    const AxisRange xAxis(x);
    const AxisRange yAxis(y);
    const int size = chooseGridSize(x, y, xAxis, yAxis);
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
    for (std::size_t i = 0; i < x.size(); ++i) {
        result[i] = counts[bins[i]];
    }
    return result;
}

/// Where a point lies between the two nearest cell centres of an axis.
struct CentrePosition {
    int below;
    int above;
    double part; ///< of the way from the lower centre to the upper one

    CentrePosition(double value, double origin, double step, int size) {
        const double position = (value - origin) / step - 0.5;
        double floor;
        if (position > -1.0 && position < size) {
            // Truncating is much faster than std::floor without instructions that not every machine has.
            const int truncated = static_cast<int>(position);
            const int index = position < truncated ? truncated - 1 : truncated;
            floor = index;
            below = std::max(index, 0);
            above = std::min(index + 1, size - 1);
            below = std::min(below, size - 1);
        } else {
            floor = std::floor(position);
            below = clampedBin(floor, size);
            above = clampedBin(floor + 1.0, size);
        }
        part = position - floor;
    }
};

} // namespace

DensityMethod densityMethodOf(std::string_view selector) {
    if (selector == DensityHistogram) {
        return DensityMethod::Histogram;
    }
    if (selector == DensityNearestNeighbours) {
        return DensityMethod::NearestNeighbours;
    }
    return DensityMethod::Kde;
}

std::vector<double> computeDensity(std::span<const double> x, std::span<const double> y, DensityMethod method) {
    if (x.size() != y.size()) {
        return std::vector<double>(x.size(), nan);
    }
    const FinitePairs pairs(x, y);
    if (pairs.x().size() < 4) {
        return std::vector<double>(x.size(), nan);
    }
    switch (method) {
    case DensityMethod::Kde:
        return pairs.atTheirEvents(interpolateGrid(kernelDensityGrid(pairs.x(), pairs.y(), 0), pairs.x(), pairs.y()),
                                   x.size());
    case DensityMethod::Histogram:
        return pairs.atTheirEvents(histogramDensity(pairs.x(), pairs.y()), x.size());
    case DensityMethod::NearestNeighbours:
        return pairs.atTheirEvents(neighbourDensity(pairs.x(), pairs.y()), x.size());
    }
    return std::vector<double>(x.size(), nan);
}

int optimalGridSize(std::span<const double> x, std::span<const double> y) {
    if (x.size() < 4) {
        return 32;
    }
    return chooseGridSize(x, y, AxisRange(x), AxisRange(y));
}

DensityGrid kernelDensityGrid(std::span<const double> x, std::span<const double> y, int gridSize) {
    const AxisRange xAxis(x);
    const AxisRange yAxis(y);
    DensityGrid grid;
    grid.size = gridSize;
    if (gridSize < 1) {
        grid.size = x.size() < 4 ? optimalGridSize(x, y) : chooseGridSize(x, y, xAxis, yAxis);
    }

    const StandardDeviations deviations(x, y);
    const double xBandwidth = bandwidth(x, xAxis, deviations.values[0]);
    const double yBandwidth = bandwidth(y, yAxis, deviations.values[1]);
    grid.xOrigin = xAxis.min - 3.0 * xBandwidth;
    grid.yOrigin = yAxis.min - 3.0 * yBandwidth;
    grid.xStep = (xAxis.max + 3.0 * xBandwidth - grid.xOrigin) / grid.size;
    grid.yStep = (yAxis.max + 3.0 * yBandwidth - grid.yOrigin) / grid.size;

    std::vector<std::uint32_t> counts(static_cast<std::size_t>(grid.size) * static_cast<std::size_t>(grid.size));
    for (std::size_t i = 0; i < x.size(); ++i) {
        const int xBin = clampedBin((x[i] - grid.xOrigin) / grid.xStep, grid.size);
        const int yBin = clampedBin((y[i] - grid.yOrigin) / grid.yStep, grid.size);
        ++counts[static_cast<std::size_t>(yBin * grid.size + xBin)];
    }
    grid.values = smoothed(counts, grid.size, kernelTaps(xBandwidth / grid.xStep, grid.size),
                           kernelTaps(yBandwidth / grid.yStep, grid.size));
    return grid;
}

std::vector<double> interpolateGrid(const DensityGrid& grid, std::span<const double> x, std::span<const double> y) {
    std::vector<double> result;
    result.reserve(x.size());
    for (std::size_t i = 0; i < x.size(); ++i) {
        const CentrePosition atX(x[i], grid.xOrigin, grid.xStep, grid.size);
        const CentrePosition atY(y[i], grid.yOrigin, grid.yStep, grid.size);
        const double* low = grid.values.data() + static_cast<std::ptrdiff_t>(atY.below) * grid.size;
        const double* high = grid.values.data() + static_cast<std::ptrdiff_t>(atY.above) * grid.size;
        const double tx = atX.part;
        const double ty = atY.part;
        result.push_back((1.0 - tx) * (1.0 - ty) * low[atX.below] + tx * (1.0 - ty) * low[atX.above] +
                         (1.0 - tx) * ty * high[atX.below] + tx * ty * high[atX.above]);
    }
    return result;
}

} // namespace Tessaly
