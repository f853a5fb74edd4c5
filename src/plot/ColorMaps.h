#pragma once

class QwtLinearColorMap;

namespace Tessaly {

/// Number of entries of the colour map menu.
inline constexpr int ColorMapCount = 6;

/// A new colour map, owned by the caller (as a rule it goes to a curve or scale widget, which deletes it).
/// @param index  0 Viridis, 1 Jet, 2 Jet+, 3 Plasma, 4 Quorin, 5 Grayscale; anything else gives Viridis
QwtLinearColorMap* colorMapFor(int index);

} // namespace Tessaly
