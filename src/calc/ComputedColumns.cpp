#include "calc/ComputedColumns.h"

#include "io/VQDReader.h"

#include <utility>

namespace Tessaly {

void installColumns(ComputedColumns&& columns, VQDReader& reader) {
    for (ComputedColumn& column : columns) {
        reader.setFeature(column.name, std::move(column.values));
    }
    columns.clear();
}

} // namespace Tessaly
