#pragma once

#include "calc/EModulus.h"
#include "calc/EModulusLookup.h"

#include <optional>

namespace Tessaly {

/// All that is known of one table number. Mesh and look-up index come together, and stay absent below 3 rows.
struct EModulus::Table {
    EModulusLut lut;
    std::optional<EModulusMesh> mesh;
    std::optional<EModulusLookup> lookup;
};

} // namespace Tessaly
