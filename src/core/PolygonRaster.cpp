#include "core/PolygonRaster.h"

#include "core/EventFilter.h"
#include "core/ScaleMath.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <limits>

namespace Tessaly {

namespace {

constexpr double Infinity = std::numeric_limits<double>::infinity();
constexpr auto CellCount = static_cast<std::size_t>(RasterAxis::CellCount);

/// The bits of a positive double count its steps from zero: nearly a base-2 logarithm, exact at powers of two.
constexpr double StepsPerOctave = 4503599627370496.0;

double piecewiseLog2(double positive) {
    return static_cast<double>(std::bit_cast<std::int64_t>(positive)) / StepsPerOctave;
}

double piecewiseExp2(double value) {
    const double steps = std::clamp(value, 1e-9, 2046.9) * StepsPerOctave;
    return std::bit_cast<double>(static_cast<std::int64_t>(steps));
}

constexpr double LinearThreshold = PseudoLogScale{}.linearThreshold;
constexpr double LinearSlope = PseudoLogScale{}.slope;
constexpr double DecadesPerOctave = 0.30102999566398120;

/// Data value to raster space, and back (nearly).
template <int Mode>
double toRasterSpace(double value) {
    if constexpr (Mode == ScaleMode::Log) {
        return piecewiseLog2(value > 0.0 ? value : 1.0); // scaleValue() gives 0 for the rest, as it does for 1
    } else if constexpr (Mode == ScaleMode::PseudoLog) {
        const double size = std::abs(value);
        if (!(size > LinearThreshold)) {
            return LinearSlope * value;
        }
        const double beyond = DecadesPerOctave * (piecewiseLog2(size) - piecewiseLog2(LinearThreshold));
        return std::copysign(LinearSlope * LinearThreshold + beyond, value);
    } else {
        return value;
    }
}

double toRasterSpace(double value, int mode) {
    if (mode == ScaleMode::Log) {
        return toRasterSpace<ScaleMode::Log>(value);
    }
    return mode == ScaleMode::PseudoLog ? toRasterSpace<ScaleMode::PseudoLog>(value) : value;
}

double fromRasterSpace(double value, int mode) {
    if (mode == ScaleMode::Log) {
        return piecewiseExp2(value);
    }
    if (mode == ScaleMode::PseudoLog) {
        const double beyond = std::abs(value) - LinearSlope * LinearThreshold;
        if (beyond <= 0.0) {
            return value / LinearSlope;
        }
        return std::copysign(piecewiseExp2(beyond / DecadesPerOctave + piecewiseLog2(LinearThreshold)), value);
    }
    return value;
}

template <int Mode>
void placeInCells(const double* values, std::span<const std::uint16_t> events, double start, double perUnit,
                  std::uint8_t* cells) {
    // Two loops: the compiler would make branches of the limits when it saw what follows from them.
    std::array<double, PolygonRaster::BlockSize> positions;
    for (std::size_t i = 0; i < events.size(); ++i) {
        positions[i] = (toRasterSpace<Mode>(values[events[i]]) - start) * perUnit;
    }
    for (std::size_t i = 0; i < events.size(); ++i) {
        const double above = positions[i] > 0.0 ? positions[i] : 0.0; // NaN too
        const double limited = above < RasterAxis::CellCount - 1 ? above : RasterAxis::CellCount - 1;
        cells[i] = static_cast<std::uint8_t>(static_cast<int>(limited));
    }
}

} // namespace

RasterAxis::RasterAxis(double min, double max, int scaleMode) : mode_(scaleMode) {
    const double from = toRasterSpace(min, mode_);
    const double span = (toRasterSpace(max, mode_) - from) * 1.04; // a free cell or two around the polygon
    start_ = from - span * 0.02;
    perUnit_ = CellCount / span;
    // Rounding is at 1e-16 of the largest number, the bounds' allowance at a thousandth of a cell.
    const double largest = std::max(std::abs(start_), std::abs(start_ + span));
    if (std::isfinite(start_) && std::isfinite(span) && std::isfinite(perUnit_) && span / CellCount > 1e-9 * largest) {
        setBounds(span);
    }
}

void RasterAxis::setBounds(double span) {
    std::array<double, CellCount + 1> borders;
    for (std::size_t i = 0; i < borders.size(); ++i) {
        const double at = start_ + span * (static_cast<double>(i) / CellCount);
        borders[i] = scaleValue(fromRasterSpace(at, mode_), mode_);
    }
    const double largest = std::max(std::abs(borders.front()), std::abs(borders.back()));
    for (std::size_t cell = 0; cell < CellCount; ++cell) {
        const double width = borders[cell + 1] - borders[cell];
        if (!(width > 1e-9 * largest && width < 1e100 && largest < 1e100)) {
            return;
        }
        lower_[cell] = cell == 0 ? -Infinity : borders[cell] - 1e-3 * width;
        upper_[cell] = cell + 1 == CellCount ? Infinity : borders[cell + 1] + 1e-3 * width;
    }
    usable_ = true;
}

void RasterAxis::cellsOf(const double* values, std::span<const std::uint16_t> events, std::uint8_t* cells) const {
    if (mode_ == ScaleMode::Log) {
        placeInCells<ScaleMode::Log>(values, events, start_, perUnit_, cells);
    } else if (mode_ == ScaleMode::PseudoLog) {
        placeInCells<ScaleMode::PseudoLog>(values, events, start_, perUnit_, cells);
    } else {
        placeInCells<ScaleMode::Linear>(values, events, start_, perUnit_, cells);
    }
}

namespace {

/// Range of one coordinate over a polygon's corners.
RasterAxis axisOver(PolygonRaster::Vertices vertices, double std::pair<double, double>::*coordinate, int mode) {
    double min = Infinity;
    double max = -Infinity;
    for (const auto& vertex : vertices) {
        // On a log axis all values not above zero share the place of 1.
        const double value = mode == ScaleMode::Log && !(vertex.*coordinate > 0.0) ? 1.0 : vertex.*coordinate;
        min = std::min(min, value);
        max = std::max(max, value);
    }
    return RasterAxis(min, max, mode);
}

/// The crossing of pointInPolygon().
double crossingAt(double y, const std::pair<double, double>& from, const std::pair<double, double>& to) {
    return (to.first - from.first) * (y - from.second) / (to.second - from.second) + from.first;
}

} // namespace

PolygonRaster::PolygonRaster(Vertices vertices, Vertices mapped, int scaleXMode, int scaleYMode)
    : x_(axisOver(vertices, &std::pair<double, double>::first, scaleXMode)),
      y_(axisOver(vertices, &std::pair<double, double>::second, scaleYMode)) {
    const bool ordinary = std::all_of(mapped.begin(), mapped.end(), [](const auto& vertex) {
        return std::abs(vertex.first) < 1e100 && std::abs(vertex.second) < 1e100;
    });
    usable_ = ordinary && x_.isUsable() && y_.isUsable();
    if (!usable_) {
        return;
    }
    cells_.assign(CellCount * CellCount, Outside);
    for (std::size_t row = 0; row < CellCount; ++row) {
        markEdges(mapped, row);
        fillRow(mapped, row);
    }
}

void PolygonRaster::markEdges(Vertices mapped, std::size_t row) {
    const double low = y_.lower(row);
    const double high = y_.upper(row);
    for (std::size_t i = 0, j = mapped.size() - 1; i < mapped.size(); j = i++) {
        const auto [edgeLow, edgeHigh] = std::minmax(mapped[i].second, mapped[j].second);
        if (edgeHigh < low || edgeLow > high) {
            continue;
        }
        double left = Infinity;
        double right = -Infinity;
        const auto include = [&left, &right](double crossing) {
            left = std::min(left, crossing);
            right = std::max(right, crossing);
        };
        if (edgeLow < edgeHigh) {
            include(crossingAt(std::max(low, edgeLow), mapped[i], mapped[j]));
            include(crossingAt(std::min(high, edgeHigh), mapped[i], mapped[j]));
        }
        // Two edges meet at a corner in the row: neither may leave out the corner itself, or they could disagree about
        // the side of a cell on which it lies.
        for (const auto& corner : {mapped[i], mapped[j]}) {
            if (corner.second >= low && corner.second <= high) {
                include(corner.first);
            }
        }
        for (std::size_t column = 0; column < CellCount; ++column) {
            if (right > x_.lower(column) && left <= x_.upper(column)) {
                cells_[row * CellCount + column] = NeedsTest;
            }
        }
    }
}

void PolygonRaster::fillRow(Vertices mapped, std::size_t row) {
    std::uint8_t before = NeedsTest;
    const double y = row == 0 ? y_.upper(row) : y_.lower(row);
    for (std::size_t column = 0; column < CellCount; ++column) {
        std::uint8_t& cell = cells_[row * CellCount + column];
        if (cell != NeedsTest) {
            // Neighbours overlap by their allowances, so that they answer alike.
            const double x = column == 0 ? x_.upper(column) : x_.lower(column);
            cell = before != NeedsTest ? before
                                       : static_cast<std::uint8_t>(pointInPolygon(x, y, mapped) ? Inside : Outside);
        }
        before = cell;
    }
}

void PolygonRaster::verdictsOf(const double* x, const double* y, std::span<const std::uint16_t> events,
                               std::uint8_t* verdicts) const {
    std::array<std::uint8_t, BlockSize> columns;
    std::array<std::uint8_t, BlockSize> rows;
    x_.cellsOf(x, events, columns.data());
    y_.cellsOf(y, events, rows.data());
    for (std::size_t i = 0; i < events.size(); ++i) {
        verdicts[i] = cells_[rows[i] * CellCount + columns[i]];
    }
}

} // namespace Tessaly
