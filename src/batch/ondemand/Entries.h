#pragma once

#include "calc/ContrastTable.h"
#include "calc/LinearAlgebra.h"
#include "calc/Outlines.h"

namespace Tessaly {

/// The functions behind which the large libraries for pictures and matrices stand. Loading these takes longer than a
/// whole run over a small file, and few plans need them. So the program has a module of its own for them, which it
/// loads when the first of these functions is called; every other program links them.
struct OnDemandEntries {
    decltype(&Tessaly::cellOutline) cellOutline;
    decltype(&Tessaly::centredHull) centredHull;
    decltype(&Tessaly::polygonSize) polygonSize;
    decltype(&Tessaly::contrastTable) contrastTable;
    decltype(&Tessaly::inverseOf) inverseOf;
    decltype(&Tessaly::interpolateLinearly) interpolateLinearly;
};

/// Name of the function of the module that gives them: const OnDemandEntries*().
inline constexpr const char* OnDemandName = "tessalyOnDemandEntries";

} // namespace Tessaly
