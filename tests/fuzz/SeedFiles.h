#pragma once

#include <string>
#include <vector>

namespace Tessaly {

/// Bytes of a file.
using Bytes = std::vector<char>;

/// A sound measurement file to be damaged, and how it is stored.
struct SeedFile {
    std::string title;
    Bytes bytes;
};

/// One small file for each format of the file library (oldest, newest) and each way of storing data: in one piece, in
/// the object's header, in chunks, checksummed, compressed, compressed and checksummed. All hold columns of several
/// widths, a picture, mask and traces for each of 24 events, and attributes of all kinds.
/// @param folder  for temporary files
std::vector<SeedFile> makeSeedFiles(const std::string& folder);

} // namespace Tessaly
