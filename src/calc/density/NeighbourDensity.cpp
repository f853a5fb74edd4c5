#include "calc/density/NeighbourDensity.h"

#include "stats/Quantiles.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace Tessaly {

namespace {

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
        for (std::size_t cell = 1; cell < starts_.size(); ++cell) {
            starts_[cell] += starts_[cell - 1];
        }
        members_.resize(x.size());
        std::vector<std::size_t> next(starts_.begin(), starts_.end() - 1);
        for (std::size_t i = 0; i < x.size(); ++i) {
            members_[next[static_cast<std::size_t>(cellOf_[i])]++] = i;
        }
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
            for (int c = columnFrom; c <= columnTo; c += step) {
                addCell(point, r * size_ + c, distances);
            }
        }
    }

private:
    void addCell(std::size_t point, int cell, std::vector<double>& distances) const {
        const std::size_t end = starts_[static_cast<std::size_t>(cell) + 1];
        for (std::size_t m = starts_[static_cast<std::size_t>(cell)]; m < end; ++m) {
            const std::size_t other = members_[m];
            if (other == point) {
                continue;
            }
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

} // namespace

std::vector<double> neighbourDensity(std::span<const double> x, std::span<const double> y) {
    std::vector<double> result(x.size(), 1.0);
    if (x.size() < 2) {
        return result;
    }
    const NeighbourCells cells(x, y);
    const auto wanted = std::max<std::size_t>(static_cast<std::size_t>(std::sqrt(static_cast<double>(x.size()))), 1);
    std::vector<double> distances;
    for (std::size_t i = 0; i < x.size(); ++i) {
        distances.clear();
        for (int ring = 0; distances.size() < wanted && ring <= cells.cellsPerAxis(); ++ring) {
            cells.addRing(i, ring, distances);
        }
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

} // namespace Tessaly
