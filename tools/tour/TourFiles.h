#pragma once

#include <string>

namespace Tessaly {

/// Writes a file with events that was not made by the instrument. Throws std::runtime_error on failure.
void writeForeignFile(const std::string& path);

/// Writes a file with the right name and nothing of a measurement in it. Throws std::runtime_error on failure.
void writeBrokenFile(const std::string& path);

} // namespace Tessaly
