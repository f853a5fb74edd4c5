#pragma once

#include <string>
#include <vector>

namespace Tessaly {

class VQDReader;

/// A feature that was computed for a measurement: one value per event.
struct ComputedColumn {
    std::string name;
    std::vector<double> values;

    bool operator==(const ComputedColumn&) const = default;
};

/// What a calculation gives. Engines compute columns as values, on any thread; a job installs nothing.
using ComputedColumns = std::vector<ComputedColumn>;

/// Makes the columns features of the reader, in their order; a feature of the same name is replaced. On the interface
/// thread, when the job has ended.
void installColumns(ComputedColumns&& columns, VQDReader& reader);

} // namespace Tessaly
