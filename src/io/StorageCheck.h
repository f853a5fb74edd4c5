#pragma once

#include <cstdint>

namespace Tessaly {

/// Throws FileError unless a reading of `elements` elements may be believed and is worth its memory: the data lie in
/// this file or in regular files that can be named beforehand, their storage has the declared size, and what is
/// declared is in a sane proportion to what is stored. Internal to the io layer, as isBackedByStorage(); the caller
/// holds hdf5Mutex().
/// @param memorySize  bytes that the caller will spend on an element
void requirePlausible(std::int64_t dataset, std::uint64_t elements, std::uint64_t memorySize);

/// Whether so many unpacked bytes, in the width of the file, can come from a dataset's storage, and are not merely
/// declared. Throws FileError for storage outside of the file that requirePlausible() refuses.
bool isBackedByStorage(std::int64_t dataset, std::uint64_t bytes);

/// Throws FileError if the file of an open object has become shorter since it was opened: the library reads zeros from
/// beyond its end. About a microsecond.
void requireWholeFile(std::int64_t object);

} // namespace Tessaly
