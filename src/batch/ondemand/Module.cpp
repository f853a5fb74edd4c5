// The module itself: the functions as everybody has them, and the way to them.

#include "batch/ondemand/Entries.h"

extern "C" __attribute__((visibility("default"))) const Tessaly::OnDemandEntries* tessalyOnDemandEntries() {
    static constexpr Tessaly::OnDemandEntries entries{Tessaly::cellOutline, Tessaly::centredHull,
                                                      Tessaly::polygonSize, Tessaly::contrastTable,
                                                      Tessaly::inverseOf,   Tessaly::interpolateLinearly};
    return &entries;
}
