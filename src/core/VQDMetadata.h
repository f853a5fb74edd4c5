#pragma once

#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace Tessaly {

/// A polygon gate stored with a measurement.
struct PolygonFilterDef {
    std::string xFeature;
    std::string yFeature;
    std::vector<std::pair<double, double>> vertices; ///< data units
    /// Who applied it: "online_filter" the instrument during the measurement, "offline_filter" an export.
    std::string section = "online_filter";
    int number = 1; ///< tells gates on the same features apart: the N of " #N" in the attribute's name

    bool operator==(const PolygonFilterDef&) const = default;
};

/// The settings of a measurement as text, by section. Keys are without the section's name.
struct VQDMetadata {
    using Section = std::map<std::string, std::string>;

    Section experiment;
    Section setup;
    Section imaging;
    Section online_contour;
    Section online_filter;
    Section offline_filter;
    Section fluorescence;
    Section exportSection; ///< section "export" of the file
    /// Every attribute that could be read, by its full name "section:key", sectioned or not.
    Section allAttributes;
    /// Gates stored by the instrument, in attribute order.
    std::vector<PolygonFilterDef> polygonFilters;

    bool operator==(const VQDMetadata&) const = default;
};

/// The value under a key, or the empty text.
std::string metadataValue(const VQDMetadata::Section& section, const std::string& key);

/// The finite number that a text is as a whole, blanks around it aside, in the notation of the C locale; nothing else.
std::optional<double> numberIn(const std::string& text);

/// The number under a key; nothing if the key is absent or its text isn't a finite number.
std::optional<double> metadataNumber(const VQDMetadata::Section& section, const std::string& key);

} // namespace Tessaly
