#pragma once

#include <string>

namespace Tessaly {

/// The text that menus, axes and tables show for a feature.
/// @param key             feature key as in the file, e.g. "deform"
/// @param instrumentData  whether the file comes from the maker's instrument, where some user-defined columns have a
///                        fixed meaning
/// @return the label, followed by the unit in square brackets if there is one; an unknown key comes back unchanged
/// UTF-8, any thread.
std::string featureLabel(const std::string& key, bool instrumentData);

/// Whether a feature holds one number per event and may be plotted, filtered and listed.
/// False for exactly "image", "mask" and "contour", true for every other key, known or not.
bool isScalarFeature(const std::string& key);

} // namespace Tessaly
