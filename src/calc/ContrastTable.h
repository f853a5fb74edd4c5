#pragma once

#include <array>
#include <cstdint>

namespace Tessaly {

/// Grey values after the contrast was stretched, by those before.
using ContrastTable = std::array<std::uint8_t, 256>;

/// Stretches lo..hi to 0..255, rounding to the nearest, halves to even. Limits outside of 0..255 are moved there; with
/// lo not below hi everything is black.
ContrastTable contrastTable(int lo, int hi);

} // namespace Tessaly
