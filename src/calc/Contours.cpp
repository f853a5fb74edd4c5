#include "calc/Contours.h"

#include "core/ScaleMath.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace Tessaly {

namespace {

using Point = std::pair<double, double>;

/// The part of a line within one square of the grid.
struct Segment {
    std::array<Point, 2> points;
    std::array<std::size_t, 2> edges; ///< where the points lie
};

/// The density below which a share of the values lies; 0 unless the share is strictly between 0 and 1.
double densityAtFraction(std::vector<double> density, double fraction) {
    if (density.empty() || !(fraction > 0.0 && fraction < 1.0))
        return 0.0;
    const auto count = static_cast<double>(density.size());
    const auto index = std::min(static_cast<std::size_t>(std::floor(count * fraction)), density.size() - 1);
    const auto nth = density.begin() + static_cast<std::ptrdiff_t>(index);
    std::nth_element(density.begin(), nth, density.end(), [](double a, double b) {
        return a < b || (std::isnan(b) && !std::isnan(a)); // NaN last: an order even then
    });
    return *nth;
}

Point crossing(double level, double p, Point from, double q, Point to) {
    const double part = std::abs(q - p) < 1e-30 ? 0.5 : std::clamp((level - p) / (q - p), 0.0, 1.0);
    return {from.first + part * (to.first - from.first), from.second + part * (to.second - from.second)};
}

/// Walks through the squares of a grid and collects the segments of one level in row order.
class SegmentCollector {
public:
    SegmentCollector(const DensityGrid& grid, double level) : grid_(grid), level_(level) {}

    std::vector<Segment> collect() {
        for (int row = 0; row + 1 < grid_.size; ++row) {
            for (int column = 0; column + 1 < grid_.size; ++column)
                visit(row, column);
        }
        return std::move(segments_);
    }

    /// Number of different edge keys.
    static std::size_t edgeCount(int size) {
        return 2 * static_cast<std::size_t>(size) * static_cast<std::size_t>(size);
    }

private:
    double value(int row, int column) const {
        return grid_.values[static_cast<std::size_t>(row) * static_cast<std::size_t>(grid_.size) +
                            static_cast<std::size_t>(column)];
    }

    Point position(int row, int column) const {
        return {(column + 0.5) * grid_.xStep + grid_.xOrigin, (row + 0.5) * grid_.yStep + grid_.yOrigin};
    }

    void visit(int row, int column) {
        const double a = value(row, column);
        const double b = value(row, column + 1);
        const double d = value(row + 1, column + 1);
        const double e = value(row + 1, column);
        const int code = (a >= level_ ? 1 : 0) | (b >= level_ ? 2 : 0) | (d >= level_ ? 4 : 0) | (e >= level_ ? 8 : 0);
        switch (code) {
        case 1:
        case 14:
            return add(row, column, 3, 0);
        case 2:
        case 13:
            return add(row, column, 0, 1);
        case 3:
        case 12:
            return add(row, column, 3, 1);
        case 4:
        case 11:
            return add(row, column, 1, 2);
        case 6:
        case 9:
            return add(row, column, 0, 2);
        case 7:
        case 8:
            return add(row, column, 3, 2);
        case 5:
        case 10: {
            const bool high = (a + b + d + e) * 0.25 >= level_;
            if (high == (code == 5)) {
                add(row, column, 0, 3);
                add(row, column, 1, 2);
            } else {
                add(row, column, 0, 1);
                add(row, column, 3, 2);
            }
            return;
        }
        default:
            return;
        }
    }

    void add(int row, int column, int firstEdge, int secondEdge) {
        segments_.push_back({{pointOn(row, column, firstEdge), pointOn(row, column, secondEdge)},
                             {edgeKey(row, column, firstEdge), edgeKey(row, column, secondEdge)}});
    }

    /// Edges of a square: 0 low, 1 right, 2 high, 3 left.
    Point pointOn(int row, int column, int edge) const {
        const int fromRow = edge == 2 ? row + 1 : row;
        const int fromColumn = edge == 1 ? column + 1 : column;
        const int toRow = edge == 0 ? row : row + 1;
        const int toColumn = edge == 3 ? column : column + 1;
        return crossing(level_, value(fromRow, fromColumn), position(fromRow, fromColumn), value(toRow, toColumn),
                        position(toRow, toColumn));
    }

    /// The same for both squares that share the edge: the edge's first corner and direction.
    std::size_t edgeKey(int row, int column, int edge) const {
        const int fromRow = edge == 2 ? row + 1 : row;
        const int fromColumn = edge == 1 ? column + 1 : column;
        const std::size_t corner = static_cast<std::size_t>(fromRow) * static_cast<std::size_t>(grid_.size) +
                                   static_cast<std::size_t>(fromColumn);
        return 2 * corner + static_cast<std::size_t>(edge % 2);
    }

    const DensityGrid& grid_;
    double level_;
    std::vector<Segment> segments_;
};

/// Joins segments that share an edge. An edge belongs to at most two squares, so to at most two segments.
class SegmentChainer {
public:
    SegmentChainer(std::vector<Segment> segments, std::size_t edgeCount)
        : segments_(std::move(segments)),
          used_(segments_.size(), false),
          touching_(edgeCount, {-1, -1}) {
        for (std::size_t s = 0; s < segments_.size(); ++s) {
            for (const std::size_t edge : segments_[s].edges) {
                auto& pair = touching_[edge];
                pair[pair[0] < 0 ? 0 : 1] = static_cast<int>(s);
            }
        }
    }

    std::vector<Polyline> chain() {
        std::vector<Polyline> lines;
        for (std::size_t s = 0; s < segments_.size(); ++s) {
            if (used_[s])
                continue;
            used_[s] = true;
            Polyline line{segments_[s].points[0], segments_[s].points[1]};
            walk(segments_[s].edges[1], line);
            Polyline before;
            walk(segments_[s].edges[0], before);
            line.insert(line.begin(), before.rbegin(), before.rend());
            lines.push_back(std::move(line));
        }
        return lines;
    }

private:
    void walk(std::size_t edge, Polyline& line) {
        for (int next = unusedAt(edge); next >= 0; next = unusedAt(edge)) {
            used_[static_cast<std::size_t>(next)] = true;
            const Segment& segment = segments_[static_cast<std::size_t>(next)];
            const std::size_t far = segment.edges[0] == edge ? 1 : 0;
            line.push_back(segment.points[far]);
            edge = segment.edges[far];
        }
    }

    int unusedAt(std::size_t edge) const {
        for (const int segment : touching_[edge]) {
            if (segment >= 0 && !used_[static_cast<std::size_t>(segment)])
                return segment;
        }
        return -1;
    }

    std::vector<Segment> segments_;
    std::vector<bool> used_;
    std::vector<std::array<int, 2>> touching_; ///< segments by edge, -1 for none
};

} // namespace

std::vector<Polyline> marchingSquares(const DensityGrid& grid, double level) {
    if (grid.size < 2)
        return {};
    return SegmentChainer(SegmentCollector(grid, level).collect(), SegmentCollector::edgeCount(grid.size)).chain();
}

std::vector<ContourLevel> computeContours(std::span<const double> x, std::span<const double> y,
                                          std::span<const double> fractions, int scaleX, int scaleY) {
    std::vector<ContourLevel> contours;
    if (x.size() < 4 || x.size() != y.size() || fractions.empty())
        return contours;
    const std::vector<double> axisX = transformValues(x, scaleX);
    const std::vector<double> axisY = transformValues(y, scaleY);
    const DensityGrid grid = kernelDensityGrid(axisX, axisY, 0);
    const std::vector<double> density = interpolateGrid(grid, axisX, axisY);
    for (const double fraction : fractions) {
        ContourLevel contour{fraction, densityAtFraction(density, fraction), {}};
        if (contour.level > 0.0)
            contour.polylines = marchingSquares(grid, contour.level);
        for (Polyline& line : contour.polylines) {
            for (auto& [pointX, pointY] : line)
                untransformPoint(pointX, pointY, scaleX, scaleY);
        }
        contours.push_back(std::move(contour));
    }
    return contours;
}

} // namespace Tessaly
