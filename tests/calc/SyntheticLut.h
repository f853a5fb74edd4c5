#pragma once

#include "calc/emodulus/EModulus.h"

#include <string>

namespace Tessaly {

/// 108 rows of a smooth surface over areas of 34 to 266 um^2 and deformations of 0.004 to 0.176, the nodes off any
/// raster. The rows are the same as those of emodulus_reference.py.
EModulusLut syntheticLut();

/// The text of a table file: metadata block, header line and rows with all digits.
std::string lutText(const EModulusLut& lut);

/// Writes a text as the table that an executable in that folder finds first.
void installLut(const std::string& executableFolder, const std::string& text);

} // namespace Tessaly
