#include "plot/NearestPoint.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>

namespace Tessaly {

namespace {

constexpr std::size_t BlockSize = 512;
/// Square of 5 % of the canvas.
constexpr double PickDistance2 = 0.0025000000000000005;

/// Two at once, as every processor that the program runs on has them; written out because the compiler leaves the
/// comparison in the loop below one by one.
using Pair = double __attribute__((vector_size(16)));
using PairMask = std::int64_t __attribute__((vector_size(16)));

Pair loadPair(const double* values) {
    Pair pair;
    std::memcpy(&pair, values, sizeof pair);
    return pair;
}

Pair both(double value) {
    return Pair{value, value};
}

/// Distance along one axis in shares of the canvas.
struct AxisDistance {
    AxisDistance(const AxisPixels& axisPixels, double axisPlace, double axisExtent)
        : pixels(axisPixels),
          place(axisPlace),
          extent(axisExtent),
          factor(axisPixels.factor / axisExtent),
          shift((axisPixels.p1 - axisPlace - axisPixels.ts1 * axisPixels.factor) / axisExtent) {}

    double exact(double value) const { return (pixels.pixel(value) - place) / extent; }
    /// The same but for rounding.
    Pair quick(Pair values) const { return values * both(factor) + both(shift); }
    /// Bound on the difference for places that are near.
    double rounding() const { return 1e-14 * (1.0 + std::abs(shift) + std::abs(pixels.ts1 * factor)); }

    AxisPixels pixels;
    double place;
    double extent;
    double factor;
    double shift;
};

/// What a quick squared distance must stay below for the exact one to be below `smallest`.
double quickLimit(double smallest, const AxisDistance& x, const AxisDistance& y) {
    const double distance = std::sqrt(smallest) + x.rounding() + y.rounding();
    return distance * distance;
}

/// Whether any of an even number of points may lie within a limit.
bool anyBelow(const double* xs, const double* ys, std::size_t count, const AxisDistance& xDistance,
              const AxisDistance& yDistance, double limit) {
    const AxisDistance x = xDistance; // copies, which stay in registers
    const AxisDistance y = yDistance;
    PairMask below{0, 0};
    for (std::size_t i = 0; i < count; i += 2) {
        const Pair dx = x.quick(loadPair(xs + i));
        const Pair dy = y.quick(loadPair(ys + i));
        below |= dx * dx + dy * dy < both(limit);
    }
    return (below[0] | below[1]) != 0;
}

} // namespace

int nearestPoint(std::span<const double> xs, std::span<const double> ys, const AxisPixels& xPixels,
                 const AxisPixels& yPixels, const QPointF& place, const QSizeF& canvas) {
    const AxisDistance x(xPixels, place.x(), canvas.width());
    const AxisDistance y(yPixels, place.y(), canvas.height());
    int nearest = -1;
    double smallest = PickDistance2;
    double limit = quickLimit(smallest, x, y);
    for (std::size_t start = 0; start < xs.size(); start += BlockSize) {
        const std::size_t count = std::min(BlockSize, xs.size() - start);
        const bool even = count % 2 == 0;
        if (even && !anyBelow(xs.data() + start, ys.data() + start, count, x, y, limit)) {
            continue;
        }
        for (std::size_t i = start; i < start + count; ++i) {
            const double dx = x.exact(xs[i]);
            const double dy = y.exact(ys[i]);
            const double distance2 = dx * dx + dy * dy;
            if (distance2 < smallest) {
                smallest = distance2;
                nearest = static_cast<int>(i);
            }
        }
        limit = quickLimit(smallest, x, y);
    }
    return nearest;
}

} // namespace Tessaly
