#pragma once

#include <string>

/// Numbers as text for files: with a point whatever the locale says, "nan", "inf" and "-inf" for what is not finite.
/// Any thread.
namespace Tessaly {

/// Appends a number with 17 significant digits, as printf's "%.17g": reading it back gives the same number.
/// Some 20 ns for numbers of ordinary size.
void appendExact(std::string& text, double value);

/// Appends a number with 6 significant digits, as printf's "%g" or a stream does.
void appendShort(std::string& text, double value);

/// A number with six digits behind the point, as printf's "%f".
std::string fixedText(double value);

} // namespace Tessaly
