#pragma once

#include <optional>
#include <string>

namespace Tessaly {

struct EModulusLut;

/// File name of a table number; empty for numbers without a table.
std::string lutFileName(int lutId);

/// The first existing place of a table's file in relation to the executable's folder; empty if there is none.
std::string findLutFile(const std::string& directory, const std::string& fileName);

/// Reads a table: a commented block of JSON between "BEGIN METADATA" and "END METADATA" with the reference conditions,
/// a header line, and rows of area, deformation and modulus parted by white space. Rows that do not hold three finite
/// numbers are left out, but for those whose modulus is "nan": no cell has the area and deformation around them.
/// Metadata that cannot be parsed leave the defaults.
/// @return nothing for a file that cannot be opened; a table without rows is still a table
std::optional<EModulusLut> readLutFile(const std::string& path);

} // namespace Tessaly
