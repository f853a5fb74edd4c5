#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <utility>
#include <vector>

namespace Tessaly {

/// One axis of a raster: cells of equal width in a space like that of the axis's scale, but cheap to reach (a logarithm
/// is replaced by straight pieces between powers of two). The outermost cells have no outer end.
class RasterAxis {
public:
    static constexpr int CellCount = 128;

    /// Cells that cover the values from min to max, in data units, and a little more.
    RasterAxis(double min, double max, int scaleMode);

    /// Whether the cells are wide enough for rounding not to matter.
    bool isUsable() const { return usable_; }

    /// Cells of some events' values; NaN comes into the first or, on a log axis, where the value 1 does.
    void cellsOf(const double* values, std::span<const std::uint16_t> events, std::uint8_t* cells) const;

    /// Bounds of a cell in axis space, after scaleValue(). Wider than the cell by far more than rounding can move a
    /// value.
    double lower(std::size_t cell) const { return lower_[cell]; }
    double upper(std::size_t cell) const { return upper_[cell]; }

private:
    void setBounds(double span);

    int mode_;
    double start_ = 0.0; ///< of the first cell
    double perUnit_ = 0.0;
    bool usable_ = false;
    std::array<double, CellCount> lower_{};
    std::array<double, CellCount> upper_{};
};

/// A coarse picture of a polygon gate over its two features. It tells for most events whether they lie inside, without
/// a scale mapping or an inside test.
///
/// Its answers are those of pointInPolygon() on values from scaleValue(), rounding included: a cell gets an answer only
/// if no edge's crossing can come to lie in it. The crossings in a row of cells are bounded by the crossing formula
/// itself at the row's ends, for each operation in it is monotone whether rounded or not.
/// The plain form that tests compare with is Plain::evaluate() in tests/support/PlainFilter.h; why there is a raster is
/// on record in docs/decisions.
class PolygonRaster {
public:
    enum Verdict : std::uint8_t { Outside = 0, Inside = 1, NeedsTest = 2 };

    using Vertices = std::span<const std::pair<double, double>>;

    /// @param vertices  corners in data units;  @param mapped  the same after scaleValue()
    PolygonRaster(Vertices vertices, Vertices mapped, int scaleXMode, int scaleYMode);

    /// Whether the raster says anything; if not, every event has to be looked at.
    bool isUsable() const { return usable_; }

    /// Verdicts of some events, NeedsTest if only the inside test can tell. At most BlockSize events.
    void verdictsOf(const double* x, const double* y, std::span<const std::uint16_t> events,
                    std::uint8_t* verdicts) const;

    static constexpr std::size_t BlockSize = 1024;

private:
    void markEdges(Vertices mapped, std::size_t row);
    void fillRow(Vertices mapped, std::size_t row);

    RasterAxis x_;
    RasterAxis y_;
    bool usable_ = false;
    std::vector<std::uint8_t> cells_;
};

} // namespace Tessaly
