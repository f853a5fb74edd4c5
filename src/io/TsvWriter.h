#pragma once

#include "core/VQDMetadata.h"

#include <functional>
#include <optional>
#include <span>
#include <string>

namespace Tessaly {

class VQDReader;

/// Writes a table of some events of a measurement: a commented header with the file's attributes, a line of column
/// labels, and a line for each event with values of 17 significant digits, "nan" and "inf". Tabs and line breaks inside
/// of labels and attributes become blanks. A value beyond the end of its column leaves its cell empty.
///
/// The file gets its name when it is complete; whatever fails before leaves what stood there.
/// @param changedSampleName  name for the header, nothing if the sample's name stands
/// @param onPause  called now and then between rows, some hundred times a second
/// @return false if the file can't be written or a column can't be read, after a line on the standard error stream
bool writeTsv(const std::string& path, const VQDMetadata& metadata, const std::optional<std::string>& changedSampleName,
              std::span<const std::string> features, std::span<const int> events, VQDReader& reader,
              const std::function<void()>& onPause = {});

/// Today in local time, as exports record it: "2025-03-31".
std::string exportDate();

} // namespace Tessaly
