#pragma once

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

/// Attributes of an open group or file. One that is there already gives way. Internal to the io layer; the caller holds
/// hdf5Mutex(); failures are FileError.
namespace Tessaly {

/// Writes a scalar text of variable length, UTF-8.
void writeTextAttribute(std::int64_t object, const std::string& name, const std::string& value);

/// Writes points as 32-bit reals of shape (points, 2).
void writePointsAttribute(std::int64_t object, const std::string& name,
                          const std::vector<std::pair<double, double>>& points);

/// Removes an attribute if it is there.
void removeAttribute(std::int64_t object, const std::string& name);

} // namespace Tessaly
