#include "calc/density/AxisRange.h"

#include <array>
#include <cstddef>
#include <limits>

namespace Tessaly {

AxisRange::AxisRange(std::span<const double> values) {
    // Several lanes, for else each comparison would wait for the one before it.
    constexpr std::size_t lanes = 8;
    std::array<double, lanes> low;
    std::array<double, lanes> high;
    low.fill(std::numeric_limits<double>::infinity());
    high.fill(-std::numeric_limits<double>::infinity());
    const auto include = [&](std::size_t lane, double value) {
        low[lane] = value < low[lane] ? value : low[lane];
        high[lane] = value > high[lane] ? value : high[lane];
    };
    std::size_t i = 0;
    for (; i + lanes <= values.size(); i += lanes) {
        for (std::size_t lane = 0; lane < lanes; ++lane) {
            include(lane, values[i + lane]);
        }
    }
    for (; i < values.size(); ++i) {
        include(0, values[i]);
    }
    for (std::size_t lane = 1; lane < lanes; ++lane) {
        low[0] = low[lane] < low[0] ? low[lane] : low[0];
        high[0] = high[lane] > high[0] ? high[lane] : high[0];
    }
    if (low[0] > high[0]) {
        return;
    }
    min = low[0];
    max = high[0];
    if (max - min > 0.0) {
        range = max - min;
    }
}

} // namespace Tessaly
