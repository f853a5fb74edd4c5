#pragma once

#include "calc/emodulus/EModulus.h"
#include "calc/emodulus/Lookup.h"

#include <optional>

namespace Tessaly {

/// All that is known of one table number. Mesh and look-up index come together, and stay absent below 3 rows.
struct EModulus::Table {
    EModulusLut lut;
    std::optional<EModulusMesh> mesh;
    std::optional<EModulusLookup> lookup;
};

} // namespace Tessaly
