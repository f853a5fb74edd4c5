#pragma once

#include <span>
#include <vector>

namespace Tessaly {

/// Scale mode of an axis, as stored in records and combo box indices.
namespace ScaleMode {
inline constexpr int Linear = 0;
inline constexpr int Log = 1;
inline constexpr int PseudoLog = 2;
} // namespace ScaleMode

/// Pseudo-logarithmic mapping: linear within +-linearThreshold, logarithmic (base 10) beyond, odd and continuous.
struct PseudoLogScale {
    double linearThreshold = 100.0;
    double slope = 0.005;

    /// Data value to axis space.
    double transform(double value) const;
    /// Axis space to data value.
    double inverse(double value) const;
};

/// Maps data values to axis space for density and contours.
/// @param mode  ScaleMode; with Log, values not above zero (and NaN) become 0.0; unknown non-zero modes are PseudoLog
/// O(n), any thread.
std::vector<double> transformValues(std::span<const double> values, int mode);

/// Takes a point from axis space back to data units, in place. The inverse of transformValues where that has one.
void untransformPoint(double& x, double& y, int modeX, int modeY);

/// Maps one value for the inside test of polygon gates.
/// With Log this is the natural logarithm (0.0 for values not above zero and NaN); vertices go through the same
/// mapping, so the base makes no difference to the verdict. Unknown modes leave the value alone.
double scaleValue(double value, int mode);

} // namespace Tessaly
