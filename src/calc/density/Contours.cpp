#include "calc/density/Contours.h"

#include "core/ScaleMath.h"
#include "stats/Quantiles.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace Tessaly {

namespace {

using Point = std::pair<double, double>;

/// The densities below which given shares of the values lie; 0 for a share that is not strictly between 0 and 1, and
/// without values.
std::vector<double> densitiesAtFractions(std::span<const double> density, std::span<const double> fractions) {
    const auto isShare = [&density](double fraction) { return !density.empty() && fraction > 0.0 && fraction < 1.0; };
    std::vector<std::size_t> places;
    for (const double fraction : fractions) {
        if (!isShare(fraction)) {
            continue;
        }
        const double place = std::floor(static_cast<double>(density.size()) * fraction);
        places.push_back(std::min(static_cast<std::size_t>(place), density.size() - 1));
    }
    const std::vector<double> found = orderStatistics(density, places);
    std::vector<double> levels;
    auto next = found.begin();
    for (const double fraction : fractions) {
        levels.push_back(isShare(fraction) ? *next++ : 0.0);
    }
    return levels;
}

Point crossing(double level, double p, Point from, double q, Point to) {
    const double part = std::abs(q - p) < 1e-30 ? 0.5 : std::clamp((level - p) / (q - p), 0.0, 1.0);
    return {from.first + part * (to.first - from.first), from.second + part * (to.second - from.second)};
}

/// One end of a segment, or none.
struct SegmentEnd {
    int segment = -1;
    int end = 0;
};

/// The piece of a line within one square of the grid, and what it meets in the neighbouring squares.
struct Segment {
    std::array<Point, 2> points;
    std::array<SegmentEnd, 2> neighbours;
};

/// The edges at which a segment starts and ends: 0 low, 1 right, 2 high, 3 left; -1 for no segment.
struct EdgePair {
    int from = -1;
    int to = -1;
};

/// Segments by the corners of a square that reach the level: bit 0 low left, 1 low right, 2 high right, 3 high left.
/// Opposite corners (5 and 10) are paired here for a mean that does not reach the level.
using EdgePairs = std::array<EdgePair, 2>;
constexpr std::array<EdgePairs, 16> edgePairs{
    EdgePairs{},
    EdgePairs{{{3, 0}, {}}},
    EdgePairs{{{0, 1}, {}}},
    EdgePairs{{{3, 1}, {}}},
    EdgePairs{{{1, 2}, {}}},
    EdgePairs{{{0, 1}, {3, 2}}},
    EdgePairs{{{0, 2}, {}}},
    EdgePairs{{{3, 2}, {}}},
    EdgePairs{{{3, 2}, {}}},
    EdgePairs{{{0, 2}, {}}},
    EdgePairs{{{0, 3}, {1, 2}}},
    EdgePairs{{{1, 2}, {}}},
    EdgePairs{{{3, 1}, {}}},
    EdgePairs{{{0, 1}, {}}},
    EdgePairs{{{3, 0}, {}}},
    EdgePairs{},
};

/// Goes through the squares of a grid row by row and joins each segment to those on the other side of its edges. An
/// edge that a line crosses belongs to one segment on either side.
class SegmentTable {
public:
    SegmentTable(const DensityGrid& grid, double level)
        : grid_(grid),
          level_(level),
          width_(static_cast<std::size_t>(grid.size)),
          below_(width_) {
        std::vector<unsigned char> low(width_);
        std::vector<unsigned char> high(width_);
        compare(0, high);
        for (int row = 0; row + 1 < grid.size; ++row) {
            low.swap(high);
            compare(row + 1, high);
            for (std::size_t c = 0; c + 1 < width_; ++c) {
                const int code = low[c] | low[c + 1] << 1 | high[c + 1] << 2 | high[c] << 3;
                if (code != 0 && code != 15) {
                    visit(row, static_cast<int>(c), code);
                }
            }
            left_ = {};
        }
    }

    std::vector<Segment> takeSegments() { return std::move(segments_); }

private:
    /// Which corners of a row reach the level.
    void compare(int row, std::vector<unsigned char>& reached) const {
        const double* values = grid_.values.data() + static_cast<std::size_t>(row) * width_;
        for (std::size_t c = 0; c < width_; ++c) {
            reached[c] = values[c] >= level_ ? 1 : 0;
        }
    }

    double value(int row, int column) const {
        return grid_.values[static_cast<std::size_t>(row) * width_ + static_cast<std::size_t>(column)];
    }

    Point position(int row, int column) const {
        return {(column + 0.5) * grid_.xStep + grid_.xOrigin, (row + 0.5) * grid_.yStep + grid_.yOrigin};
    }

    void visit(int row, int column, int code) {
        if (code == 5 || code == 10) {
            const double sum =
                value(row, column) + value(row, column + 1) + value(row + 1, column + 1) + value(row + 1, column);
            if (sum * 0.25 >= level_) {
                code = 15 - code;
            }
        }
        SegmentEnd right; // not yet left_, which a second segment of this square may need
        for (const EdgePair& pair : edgePairs[static_cast<std::size_t>(code)]) {
            if (pair.from < 0) {
                break;
            }
            const int segment = static_cast<int>(segments_.size());
            segments_.push_back({{pointOn(row, column, pair.from), pointOn(row, column, pair.to)}, {}});
            join({segment, 0}, pair.from, column, right);
            join({segment, 1}, pair.to, column, right);
        }
        left_ = right;
    }

    void join(SegmentEnd end, int edge, int column, SegmentEnd& right) {
        SegmentEnd& open = below_[static_cast<std::size_t>(column)];
        if (edge == 0) {
            link(end, open);
        } else if (edge == 1) {
            right = end;
        } else if (edge == 2) {
            open = end;
        } else {
            link(end, left_);
        }
    }

    void link(SegmentEnd end, SegmentEnd other) {
        if (other.segment < 0) {
            return; // the grid's rim
        }
        neighbourOf(end) = other;
        neighbourOf(other) = end;
    }

    SegmentEnd& neighbourOf(SegmentEnd end) {
        return segments_[static_cast<std::size_t>(end.segment)].neighbours[static_cast<std::size_t>(end.end)];
    }

    /// Both squares that share an edge go along it in the same direction, and so get the same point.
    Point pointOn(int row, int column, int edge) const {
        const int fromRow = edge == 2 ? row + 1 : row;
        const int fromColumn = edge == 1 ? column + 1 : column;
        const int toRow = edge == 0 ? row : row + 1;
        const int toColumn = edge == 3 ? column : column + 1;
        return crossing(level_, value(fromRow, fromColumn), position(fromRow, fromColumn), value(toRow, toColumn),
                        position(toRow, toColumn));
    }

    const DensityGrid& grid_;
    double level_;
    std::size_t width_;
    std::vector<SegmentEnd> below_; ///< by column: the last end on a high edge, which is this row's low edge
    SegmentEnd left_;               ///< the last end on a right edge, which is this square's left edge
    std::vector<Segment> segments_;
};

/// Follows the segments from one end until the line leaves the grid or comes back to a used one.
void walk(const std::vector<Segment>& segments, SegmentEnd from, std::vector<bool>& used, Polyline& line) {
    const auto neighbour = [&segments](SegmentEnd end) {
        return segments[static_cast<std::size_t>(end.segment)].neighbours[static_cast<std::size_t>(end.end)];
    };
    SegmentEnd next = neighbour(from);
    while (next.segment >= 0 && !used[static_cast<std::size_t>(next.segment)]) {
        used[static_cast<std::size_t>(next.segment)] = true;
        const SegmentEnd far{next.segment, 1 - next.end};
        line.push_back(segments[static_cast<std::size_t>(far.segment)].points[static_cast<std::size_t>(far.end)]);
        next = neighbour(far);
    }
}

} // namespace

std::vector<Polyline> marchingSquares(const DensityGrid& grid, double level) {
    std::vector<Polyline> lines;
    if (grid.size < 2) {
        return lines;
    }
    const std::vector<Segment> segments = SegmentTable(grid, level).takeSegments();
    std::vector<bool> used(segments.size(), false);
    for (std::size_t s = 0; s < segments.size(); ++s) {
        if (used[s]) {
            continue;
        }
        used[s] = true;
        Polyline after{segments[s].points[1]};
        walk(segments, {static_cast<int>(s), 1}, used, after);
        Polyline line{segments[s].points[0]};
        walk(segments, {static_cast<int>(s), 0}, used, line);
        std::reverse(line.begin(), line.end());
        line.insert(line.end(), after.begin(), after.end());
        lines.push_back(std::move(line));
    }
    return lines;
}

std::vector<ContourLevel> computeContours(std::span<const double> x, std::span<const double> y,
                                          std::span<const double> fractions, int scaleX, int scaleY) {
    if (x.size() < 4 || x.size() != y.size() || fractions.empty()) {
        return {};
    }
    // A linear axis needs no copy.
    std::vector<double> mappedX;
    std::vector<double> mappedY;
    if (scaleX != ScaleMode::Linear) {
        x = mappedX = transformValues(x, scaleX);
    }
    if (scaleY != ScaleMode::Linear) {
        y = mappedY = transformValues(y, scaleY);
    }
    const DensityGrid grid = kernelDensityGrid(x, y, 0);
    return contoursOfDensity(grid, interpolateGrid(grid, x, y), fractions, scaleX, scaleY);
}

std::vector<ContourLevel> contoursOfDensity(const DensityGrid& grid, std::span<const double> density,
                                            std::span<const double> fractions, int scaleX, int scaleY) {
    std::vector<ContourLevel> contours;
    const std::vector<double> levels = densitiesAtFractions(density, fractions);
    for (std::size_t i = 0; i < fractions.size(); ++i) {
        ContourLevel contour{fractions[i], levels[i], {}};
        if (contour.level > 0.0) {
            contour.polylines = marchingSquares(grid, contour.level);
        }
        for (Polyline& line : contour.polylines) {
            for (auto& [pointX, pointY] : line) {
                untransformPoint(pointX, pointY, scaleX, scaleY);
            }
        }
        contours.push_back(std::move(contour));
    }
    return contours;
}

} // namespace Tessaly
