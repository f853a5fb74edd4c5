#pragma once

#include "DemoRun.h"

#include <string>
#include <vector>

namespace Tessaly {

/// A run of the demo set and where it goes.
struct DemoSetEntry {
    std::string folder; ///< below the set's own
    std::string fileName;
    DemoRun run;
};

/// Two conditions with three donors each and a run in the reservoir. Treated cells are a quarter stiffer; a donor's
/// cells are a little softer or stiffer in both conditions. Sample names bear the donor's number (ID) and the replicate
/// (BR).
std::vector<DemoSetEntry> demoSet();

/// Three conditions with the same eight donors each, without pictures: a dose makes cells stiffer, so that they deform
/// less, and leaves their size alone. Enough samples for tests to tell the one from the other.
std::vector<DemoSetEntry> statisticsSet();

/// One measurement of any length, for benchmarks.
DemoRun benchmarkRun(std::size_t events, bool images);

} // namespace Tessaly
