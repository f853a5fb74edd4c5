#pragma once

#include <chrono>
#include <string>

namespace Tessaly {

/// Does to a file what the program will do to it: opens it, reads its attributes, the headers and ends of all datasets
/// and, while there is time, all of its columns, pictures and traces. Meant for a process of its own, which a damaged
/// file may take down with it; nothing is written to the standard error stream but what the reader writes.
///
/// @param budget  what remains after so long is left out: all but the columns, pictures and traces in full after so
/// much
///                computing time, those after so much time on the clock. A step that has begun is finished.
/// Returns false if the file can't be opened as a measurement file. Takes hdf5Mutex().
bool probeFile(const std::string& path, std::chrono::milliseconds budget);

} // namespace Tessaly
