#include "core/PolygonRaster.h"

#include "core/EventFilter.h"
#include "core/ScaleMath.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <limits>

namespace Tessaly {

namespace {

constexpr double infinity = std::numeric_limits<double>::infinity();
constexpr auto cellCount = static_cast<std::size_t>(RasterAxis::cellCount);

/// The bits of a positive double count its steps from zero: nearly a base-2 logarithm, exact at powers of two.
constexpr double stepsPerOctave = 4503599627370496.0;

double roughLog2(double positive) {
    return static_cast<double>(std::bit_cast<std::int64_t>(positive)) / stepsPerOctave;
}

double roughExp2(double value) {
    const double steps = std::clamp(value, 1e-9, 2046.9) * stepsPerOctave;
    return std::bit_cast<double>(static_cast<std::int64_t>(steps));
}

constexpr double linearThreshold = PseudoLogScale{}.linearThreshold;
constexpr double linearSlope = PseudoLogScale{}.slope;
constexpr double decadesPerOctave = 0.30102999566398120;

/// Data value to raster space, and back (nearly).
template <int Mode>
double rough(double value) {
    if constexpr (Mode == ScaleMode::Log) {
        return roughLog2(value > 0.0 ? value : 1.0); // scaleValue() gives 0 for the rest, as it does for 1
    } else if constexpr (Mode == ScaleMode::PseudoLog) {
        const double size = std::abs(value);
        if (!(size > linearThreshold)) {
            return linearSlope * value;
        }
        const double beyond = decadesPerOctave * (roughLog2(size) - roughLog2(linearThreshold));
        return std::copysign(linearSlope * linearThreshold + beyond, value);
    } else {
        return value;
    }
}

double rough(double value, int mode) {
    if (mode == ScaleMode::Log) {
        return rough<ScaleMode::Log>(value);
    }
    return mode == ScaleMode::PseudoLog ? rough<ScaleMode::PseudoLog>(value) : value;
}

double fromRough(double value, int mode) {
    if (mode == ScaleMode::Log) {
        return roughExp2(value);
    }
    if (mode == ScaleMode::PseudoLog) {
        const double beyond = std::abs(value) - linearSlope * linearThreshold;
        if (beyond <= 0.0) {
            return value / linearSlope;
        }
        return std::copysign(roughExp2(beyond / decadesPerOctave + roughLog2(linearThreshold)), value);
    }
    return value;
}

template <int Mode>
void placeInCells(const double* values, std::span<const std::uint16_t> events, double start, double perUnit,
                  std::uint8_t* cells) {
    // Two loops: the compiler would make branches of the limits when it saw what follows from them.
    std::array<double, PolygonRaster::blockSize> positions;
    for (std::size_t i = 0; i < events.size(); ++i) {
        positions[i] = (rough<Mode>(values[events[i]]) - start) * perUnit;
    }
    for (std::size_t i = 0; i < events.size(); ++i) {
        const double above = positions[i] > 0.0 ? positions[i] : 0.0; // NaN too
        const double limited = above < RasterAxis::cellCount - 1 ? above : RasterAxis::cellCount - 1;
        cells[i] = static_cast<std::uint8_t>(static_cast<int>(limited));
    }
}

} // namespace

RasterAxis::RasterAxis(double min, double max, int scaleMode) : mode_(scaleMode) {
    const double from = rough(min, mode_);
    const double span = (rough(max, mode_) - from) * 1.04; // a free cell or two around the polygon
    start_ = from - span * 0.02;
    perUnit_ = cellCount / span;
    // Rounding is at 1e-16 of the largest number, the bounds' allowance at a thousandth of a cell.
    const double largest = std::max(std::abs(start_), std::abs(start_ + span));
    if (std::isfinite(start_) && std::isfinite(span) && std::isfinite(perUnit_) && span / cellCount > 1e-9 * largest) {
        setBounds(span);
    }
}

void RasterAxis::setBounds(double span) {
    std::array<double, cellCount + 1> borders;
    for (std::size_t i = 0; i < borders.size(); ++i) {
        const double at = start_ + span * (static_cast<double>(i) / cellCount);
        borders[i] = scaleValue(fromRough(at, mode_), mode_);
    }
    const double largest = std::max(std::abs(borders.front()), std::abs(borders.back()));
    for (std::size_t cell = 0; cell < cellCount; ++cell) {
        const double width = borders[cell + 1] - borders[cell];
        if (!(width > 1e-9 * largest && width < 1e100 && largest < 1e100)) {
            return;
        }
        lower_[cell] = cell == 0 ? -infinity : borders[cell] - 1e-3 * width;
        upper_[cell] = cell + 1 == cellCount ? infinity : borders[cell + 1] + 1e-3 * width;
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
    double min = infinity;
    double max = -infinity;
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
    cells_.assign(cellCount * cellCount, Outside);
    for (std::size_t row = 0; row < cellCount; ++row) {
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
        double left = infinity;
        double right = -infinity;
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
        for (std::size_t column = 0; column < cellCount; ++column) {
            if (right > x_.lower(column) && left <= x_.upper(column)) {
                cells_[row * cellCount + column] = Look;
            }
        }
    }
}

void PolygonRaster::fillRow(Vertices mapped, std::size_t row) {
    std::uint8_t before = Look;
    const double y = row == 0 ? y_.upper(row) : y_.lower(row);
    for (std::size_t column = 0; column < cellCount; ++column) {
        std::uint8_t& cell = cells_[row * cellCount + column];
        if (cell != Look) {
            // Neighbours overlap by their allowances, so that they answer alike.
            const double x = column == 0 ? x_.upper(column) : x_.lower(column);
            cell = before != Look ? before : static_cast<std::uint8_t>(pointInPolygon(x, y, mapped) ? Inside : Outside);
        }
        before = cell;
    }
}

void PolygonRaster::verdictsOf(const double* x, const double* y, std::span<const std::uint16_t> events,
                               std::uint8_t* verdicts) const {
    std::array<std::uint8_t, blockSize> columns;
    std::array<std::uint8_t, blockSize> rows;
    x_.cellsOf(x, events, columns.data());
    y_.cellsOf(y, events, rows.data());
    for (std::size_t i = 0; i < events.size(); ++i) {
        verdicts[i] = cells_[rows[i] * cellCount + columns[i]];
    }
}

} // namespace Tessaly
