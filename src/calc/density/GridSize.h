#pragma once

#include "stats/Quantiles.h"

#include <span>

namespace Tessaly {

/// The candidate numbers of bins per axis, each with the cost of its joint histogram: see optimalGridSize(), which is
/// this with the ranges not yet known. Plain twin:
/// Plain::optimalGridSize() of tests/support/PlainDensity.h.
int chooseGridSize(std::span<const double> x, std::span<const double> y, const AxisRange& xAxis,
                   const AxisRange& yAxis);

} // namespace Tessaly
