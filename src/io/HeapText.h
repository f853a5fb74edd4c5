#pragma once

#include <cstdint>
#include <string>

namespace Tessaly {

/// Reads the value of a scalar attribute whose type is a text of variable length, from the file's bytes.
///
/// The library believes the lengths that a damaged file states for such texts: it hangs, allocates gigabytes or writes
/// past its buffers. So it is only asked where the text lies; the rest is checked here.
/// @return the text up to its first null character; empty if the attribute refers to none
/// Throws FileError if the text isn't where the attribute says. The caller holds hdf5Mutex().
std::string readHeapText(std::int64_t attribute);

} // namespace Tessaly
