#include "core/FeatureCatalogue.h"

#include <array>
#include <optional>
#include <span>
#include <string_view>

namespace Tessaly {

namespace {

struct FeatureInfo {
    std::string_view key;
    std::string_view label;
    std::string_view unit; ///< empty for none
};

/// The features whose text follows no pattern; the user-defined and fluorescence families are composed from their keys.
constexpr std::array<FeatureInfo, 38> featureInfoTable{{
    {"area_cvx", "Convex area", "px"},
    {"area_msd", "Measured area", "px"},
    {"area_ratio", "Porosity", ""},
    {"area_um", "Area", "µm²"},
    {"area_um_raw", "Area of raw contour", "µm²"},
    {"aspect", "Aspect ratio of bounding box", ""},
    {"bg_med", "Median frame background brightness", "a.u."},
    {"bg_off", "Background offset", "a.u."},
    {"bright_avg", "Brightness average", "a.u."},
    {"bright_sd", "Brightness SD", "a.u."},
    {"bright_bc_avg", "Brightness average (bgc)", "a.u."},
    {"bright_bc_sd", "Brightness SD (bgc)", "a.u."},
    {"circ", "Circularity", ""},
    {"deform", "Deformation", ""},
    {"deform_raw", "Deformation of raw contour", ""},
    {"deform_odd", "Deformation of odd FC only", ""},
    {"deform_even", "Deformation of even FC only", ""},
    {"deform_fc", "Deformation from FC", ""},
    {"eccentr_prnc", "Eccentricity of raw contour", ""},
    {"emodulus", "Young's modulus", "kPa"},
    {"flow_rate", "Flow rate", "µL/s"},
    {"frame", "Video frame number", ""},
    {"index", "Index (Dataset)", ""},
    {"index_online", "Index (Online)", ""},
    {"inert_ratio_cvx", "Inertia ratio of convex contour", ""},
    {"inert_ratio_prnc", "Principal inertia ratio of raw contour", ""},
    {"inert_ratio_raw", "Inertia ratio of raw contour", ""},
    {"ml_class", "Most probable ML class", ""},
    {"per_ratio", "Inverse convexity", ""},
    {"per_um_raw", "Perimeter of raw contour", "µm"},
    {"pos_x", "Position along channel axis", "µm"},
    {"pos_y", "Position lateral in channel", "µm"},
    {"size_x", "Bounding box size x", "µm"},
    {"size_y", "Bounding box size y", "µm"},
    {"temp", "Chip temperature", "°C"},
    {"temp_amb", "Ambient temperature", "°C"},
    {"time", "Time", "s"},
    {"volume", "Volume", "µm³"},
}};

/// Fluorescence features of any channel, by what follows the channel number in the key.
constexpr std::array<FeatureInfo, 10> traceFeatureSuffixTable{{
    {"_area", "area of peak", "a.u."},
    {"_dist", "distance between two first peaks", "µs"},
    {"_max", "maximum", "a.u."},
    {"_max_ctc", "maximum, crosstalk-corrected", "a.u."},
    {"_max_rf", "maximum refined", "a.u."},
    {"_npeaks", "number of peaks", ""},
    {"_pos", "position of peak", "µs"},
    {"_pos_rf", "position refined", "µs"},
    {"_width", "width", "µs"},
    {"_width_rf", "width refined", "µs"},
}};

/// User-defined columns that the maker's instrument fills with a fixed meaning.
constexpr std::array<FeatureInfo, 4> instrumentFeatureOverrides{{
    {"userdef0", "Velocity", "mm/s"},
    {"userdef1", "Deformation of odd FC only", ""},
    {"userdef2", "Deformation of even FC only", ""},
    {"userdef9", "Cell Type ID", ""},
}};

const FeatureInfo* findFeature(std::span<const FeatureInfo> table, std::string_view key) {
    for (const FeatureInfo& info : table) {
        if (info.key == key) {
            return &info;
        }
    }
    return nullptr;
}

bool isDigit(char c) {
    return c >= '0' && c <= '9';
}

std::string withUnit(std::string label, std::string_view unit) {
    if (!unit.empty()) {
        label.append(" [").append(unit).append("]");
    }
    return label;
}

std::optional<std::string> userDefinedLabel(std::string_view key) {
    constexpr std::string_view prefix = "userdef";
    if (key.size() != prefix.size() + 1 || !key.starts_with(prefix) || !isDigit(key.back())) {
        return std::nullopt;
    }
    return std::string("User-defined ") + key.back();
}

std::optional<std::string> fluorescenceLabel(std::string_view key) {
    if (!key.starts_with("fl")) {
        return std::nullopt;
    }
    std::size_t end = 2;
    while (end < key.size() && isDigit(key[end])) {
        ++end;
    }
    if (end == 2 || end == key.size() || key[end] != '_') {
        return std::nullopt;
    }
    const FeatureInfo* info = findFeature(traceFeatureSuffixTable, key.substr(end));
    if (!info) {
        return std::nullopt;
    }
    std::string label("FL-");
    label.append(key.substr(2, end - 2)).append(" ").append(info->label);
    return withUnit(std::move(label), info->unit);
}

} // namespace

std::string featureLabel(const std::string& key, bool instrumentData) {
    const FeatureInfo* info = instrumentData ? findFeature(instrumentFeatureOverrides, key) : nullptr;
    if (!info) {
        info = findFeature(featureInfoTable, key);
    }
    if (info) {
        return withUnit(std::string(info->label), info->unit);
    }
    if (auto label = userDefinedLabel(key)) {
        return *label;
    }
    return fluorescenceLabel(key).value_or(key);
}

bool isScalarFeature(const std::string& key) {
    return key != "image" && key != "mask" && key != "contour";
}

} // namespace Tessaly
