#include "calc/density/GridSize.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdint>
#include <limits>
#include <vector>

namespace Tessaly {

namespace {

/// Numbers of bins to choose from: even steps on a logarithmic scale from 32 to 512.
std::vector<int> candidateSizes() {
    std::vector<int> sizes;
    for (int k = 0; k < 20; ++k) {
        const int size = static_cast<int>(std::lround(std::exp(k * 2.7725888 / 19 + 3.4657359)));
        if (sizes.empty() || size != sizes.back()) {
            sizes.push_back(size);
        }
    }
    return sizes;
}

double nextAbove(double positive) {
    return std::bit_cast<double>(std::bit_cast<std::uint64_t>(positive) + 1);
}
double nextBelow(double positive) {
    return std::bit_cast<double>(std::bit_cast<std::uint64_t>(positive) - 1);
}

/// Cuts an axis at every bin edge of every candidate. The number of edges at or below a value (its rank) then tells the
/// value's bin for each candidate, so that a value is placed once and not once for each candidate.
///
/// Edges are offsets from the axis's minimum: the smallest double that the division by the bin's width takes into the
/// next bin. So ranks agree with that division to the last bit.
class AxisEdges {
public:
    AxisEdges(const AxisRange& axis, const std::vector<int>& sizes) : min_(axis.min), range_(axis.range) {
        for (const int size : sizes) {
            const double width = range_ / size;
            for (int bin = 1; bin < size; ++bin) {
                edges_.push_back(lowestOf(bin, width));
            }
        }
        std::sort(edges_.begin(), edges_.end());
        edges_.erase(std::unique(edges_.begin(), edges_.end()), edges_.end());

        perCell_ = cellCount / range_;
        edgesBefore_.assign(cellCount, 0);
        std::size_t edge = 0;
        for (int cell = 0; cell < cellCount; ++cell) {
            while (edge < edges_.size() && clampedBin(edges_[edge] * perCell_, cellCount) < cell) {
                ++edge;
            }
            edgesBefore_[static_cast<std::size_t>(cell)] = static_cast<std::uint16_t>(edge);
        }
        edges_.push_back(std::numeric_limits<double>::infinity()); // ends the search in rankOf()
    }

    std::size_t rankCount() const { return edges_.size(); }

    std::uint16_t rankOf(double value) const {
        const double offset = value - min_;
        std::size_t rank = edgesBefore_[static_cast<std::size_t>(clampedBin(offset * perCell_, cellCount))];
        // Most cells hold one edge at most: one step without a branch to guess.
        rank += offset >= edges_[rank] ? 1 : 0;
        while (offset >= edges_[rank]) {
            ++rank;
        }
        return static_cast<std::uint16_t>(rank);
    }

    /// Bins by rank, for a candidate.
    std::vector<std::uint16_t> binsOf(int size) const {
        const double width = range_ / size;
        std::vector<std::uint16_t> bins{0};
        for (std::size_t rank = 1; rank < edges_.size(); ++rank) {
            bins.push_back(static_cast<std::uint16_t>(clampedBin(edges_[rank - 1] / width, size)));
        }
        return bins;
    }

private:
    static constexpr int cellCount = 8192;

    static double lowestOf(int bin, double width) {
        double offset = bin * width;
        while (offset / width >= bin) {
            offset = nextBelow(offset);
        }
        while (offset / width < bin) {
            offset = nextAbove(offset);
        }
        return offset;
    }

    double min_;
    double range_;
    double perCell_ = 0.0;
    std::vector<double> edges_;
    std::vector<std::uint16_t> edgesBefore_; ///< by cell: edges that lie in earlier cells
};

/// The points' x ranks, sorted by their y ranks: a row of any candidate's histogram is one piece of it.
class RankedPoints {
public:
    RankedPoints(std::span<const double> x, std::span<const double> y, const AxisEdges& xEdges, const AxisEdges& yEdges)
        : starts_(yEdges.rankCount() + 1),
          xRanks_(x.size()) {
        std::vector<std::uint16_t> yRanks(y.size());
        for (std::size_t i = 0; i < y.size(); ++i) {
            yRanks[i] = yEdges.rankOf(y[i]);
            ++starts_[yRanks[i] + 1U];
        }
        for (std::size_t rank = 1; rank < starts_.size(); ++rank) {
            starts_[rank] += starts_[rank - 1];
        }
        std::vector<std::uint32_t> next(starts_);
        for (std::size_t i = 0; i < x.size(); ++i) {
            xRanks_[next[yRanks[i]]++] = xEdges.rankOf(x[i]);
        }
    }

    /// Sum over the bins of a size x size histogram of (count - mean)^2.
    double squaredDeviations(int size, const std::vector<std::uint16_t>& xBins, const std::vector<std::uint16_t>& yBins,
                             double mean) const {
        // Two counters a bin: neighbours in the list often share a bin, and an addition would wait for the last one.
        const auto width = static_cast<std::size_t>(size);
        std::vector<std::uint32_t> even(width);
        std::vector<std::uint32_t> odd(width);
        double sum = 0.0;
        std::size_t rank = 0;
        for (int row = 0; row < size; ++row) {
            std::size_t i = starts_[rank];
            while (rank < yBins.size() && yBins[rank] == row) {
                ++rank;
            }
            const std::size_t end = starts_[rank];
            for (; i + 1 < end; i += 2) {
                ++even[xBins[xRanks_[i]]];
                ++odd[xBins[xRanks_[i + 1]]];
            }
            if (i < end) {
                ++even[xBins[xRanks_[i]]];
            }
            for (std::size_t bin = 0; bin < width; ++bin) {
                const double deviation = (even[bin] + odd[bin]) - mean;
                sum += deviation * deviation;
            }
            std::fill(even.begin(), even.end(), 0);
            std::fill(odd.begin(), odd.end(), 0);
        }
        return sum;
    }

private:
    std::vector<std::uint32_t> starts_; ///< by y rank: where its points start
    std::vector<std::uint16_t> xRanks_;
};

} // namespace

int chooseGridSize(std::span<const double> x, std::span<const double> y, const AxisRange& xAxis,
                   const AxisRange& yAxis) {
    int best = 64;
    const auto isUsable = [](double range) { return std::isfinite(range) && range > 1e-300; };
    if (!isUsable(xAxis.range) || !isUsable(yAxis.range)) {
        return best; // bins would have no width that a double can hold
    }

    const std::vector<int> sizes = candidateSizes();
    const AxisEdges xEdges(xAxis, sizes);
    const AxisEdges yEdges(yAxis, sizes);
    const RankedPoints points(x, y, xEdges, yEdges);
    double bestCost = std::numeric_limits<double>::infinity();
    for (const int size : sizes) {
        const double cells = static_cast<double>(size) * size;
        const double mean = static_cast<double>(x.size()) / cells;
        const double variance = points.squaredDeviations(size, xEdges.binsOf(size), yEdges.binsOf(size), mean) / cells;
        const double area = (xAxis.range / size) * (yAxis.range / size);
        const double cost = (2.0 * mean - variance) / (area * area);
        if (cost < bestCost) {
            bestCost = cost;
            best = size;
        }
    }
    return best;
}

} // namespace Tessaly
