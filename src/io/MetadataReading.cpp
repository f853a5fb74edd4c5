#include "io/MetadataReading.h"

#include "core/ErrorReport.h"
#include "io/Hdf5Library.h"
#include "io/HeapText.h"
#include "io/NumberText.h"

#include <hdf5.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace Tessaly {

namespace {

using Points = std::vector<std::pair<double, double>>;

std::string pointsText(const Points& points) {
    std::string text;
    for (const auto& [x, y] : points) {
        if (!text.empty()) {
            text += ", ";
        }
        text.append("(").append(fixedText(x)).append(",").append(fixedText(y)).append(")");
    }
    return text;
}

void readInto(hid_t attribute, hid_t memoryType, void* target) {
    requireSuccess(H5Aread(attribute, memoryType, target), "H5Aread");
}

std::string readFixedText(hid_t attribute, hid_t fileType) {
    std::string text(H5Tget_size(fileType), '\0');
    readInto(attribute, fileType, text.data());
    switch (H5Tget_strpad(fileType)) {
    case H5T_STR_SPACEPAD:
        text.resize(text.find_last_not_of(std::string_view(" \0", 2)) + 1);
        break;
    case H5T_STR_NULLPAD:
        text.resize(text.find_last_not_of('\0') + 1);
        break;
    default:
        text.resize(std::min(text.find('\0'), text.size()));
        break;
    }
    return text;
}

std::optional<std::string> readScalar(hid_t attribute, hid_t type, HeapTexts& texts) {
    switch (H5Tget_class(type)) {
    case H5T_STRING:
        return H5Tis_variable_str(type) > 0 ? texts.read(attribute) : readFixedText(attribute, type);
    case H5T_FLOAT: {
        double value = 0.0;
        readInto(attribute, H5T_NATIVE_DOUBLE, &value);
        return fixedText(value);
    }
    case H5T_ENUM: {
        int value = 0;
        readInto(attribute, H5T_NATIVE_INT, &value);
        return std::to_string(value);
    }
    case H5T_INTEGER: {
        std::int64_t value = 0;
        readInto(attribute, H5T_NATIVE_INT64, &value);
        return std::to_string(value);
    }
    default:
        return std::nullopt;
    }
}

/// The points of an attribute of shape (n, 2); nothing for another shape.
std::optional<Points> readPoints(hid_t attribute, hid_t space) {
    if (H5Sget_simple_extent_ndims(space) != 2) {
        return std::nullopt;
    }
    std::array<hsize_t, 2> extent{};
    requireSuccess(H5Sget_simple_extent_dims(space, extent.data(), nullptr), "H5Sget_simple_extent_dims");
    if (extent[1] != 2) {
        return std::nullopt;
    }
    std::vector<float> values(extent[0] * 2);
    if (!values.empty()) {
        readInto(attribute, H5T_NATIVE_FLOAT, values.data());
    }
    Points points;
    for (std::size_t i = 0; i < values.size(); i += 2) {
        points.emplace_back(values[i], values[i + 1]);
    }
    return points;
}

/// What stands behind the section in an attribute's name; nothing for a name without a section.
std::optional<std::string> keyOf(const std::string& name) {
    const std::size_t colon = name.find(':');
    return colon == std::string::npos ? std::nullopt : std::optional(name.substr(colon + 1));
}

VQDMetadata::Section* sectionOf(VQDMetadata& metadata, const std::string& name) {
    const std::map<std::string_view, VQDMetadata::Section*> sections{{"experiment", &metadata.experiment},
                                                                     {"setup", &metadata.setup},
                                                                     {"imaging", &metadata.imaging},
                                                                     {"online_contour", &metadata.online_contour},
                                                                     {"online_filter", &metadata.online_filter},
                                                                     {"offline_filter", &metadata.offline_filter},
                                                                     {"fluorescence", &metadata.fluorescence},
                                                                     {"export", &metadata.exportSection}};
    const auto found = sections.find(std::string_view(name).substr(0, name.find(':')));
    return found == sections.end() ? nullptr : found->second;
}

/// Takes the number off a name that ends in " #N" with N of two or more; 1 for any other.
int takeNumber(std::string& name) {
    const std::size_t mark = name.rfind(" #");
    if (mark == std::string::npos) {
        return 1;
    }
    int number = 0;
    const char* const end = name.data() + name.size();
    const char* const digits = name.data() + mark + 2;
    const auto parsed = std::from_chars(digits, end, number);
    if (parsed.ec != std::errc() || parsed.ptr != end || number < 2 || *digits == '0') {
        return 1;
    }
    name.resize(mark);
    return number;
}

void addGate(VQDMetadata& metadata, const std::string& section, const std::string& key, const Points& vertices) {
    constexpr std::string_view suffix = " polygon points";
    if (key.size() <= suffix.size() || !key.ends_with(suffix)) {
        return;
    }
    std::string features = key.substr(0, key.size() - suffix.size());
    const int number = takeNumber(features);
    const std::size_t comma = features.find(',');
    if (comma != std::string::npos) {
        metadata.polygonFilters.push_back(
            {features.substr(0, comma), features.substr(comma + 1), vertices, section, number});
    }
}

void readAttribute(hid_t root, const std::string& name, HeapTexts& texts, VQDMetadata& metadata) {
    const Hdf5Id attribute(H5Aopen(root, name.c_str(), H5P_DEFAULT), H5Aclose, "H5Aopen");
    const Hdf5Id type(H5Aget_type(attribute.get()), H5Tclose, "H5Aget_type");
    const Hdf5Id space(H5Aget_space(attribute.get()), H5Sclose, "H5Aget_space");
    // The library would read past the end.
    const hssize_t elements = H5Sget_simple_extent_npoints(space.get());
    if (H5Aget_storage_size(attribute.get()) <
        saturatedProduct(static_cast<std::uint64_t>(std::max<hssize_t>(elements, 0)), H5Tget_size(type.get()))) {
        throw FileError("the value is shorter than declared");
    }
    const std::optional<std::string> key = keyOf(name);
    std::optional<std::string> text;
    switch (H5Sget_simple_extent_type(space.get())) {
    case H5S_SCALAR:
        text = readScalar(attribute.get(), type.get(), texts);
        break;
    case H5S_SIMPLE:
        if (key && H5Tget_class(type.get()) == H5T_FLOAT) {
            if (const std::optional<Points> points = readPoints(attribute.get(), space.get())) {
                text = pointsText(*points);
                addGate(metadata, name.substr(0, name.find(':')), *key, *points);
            }
        }
        break;
    default:
        break; // no value at all
    }
    if (!text) {
        return;
    }
    if (VQDMetadata::Section* section = key ? sectionOf(metadata, name) : nullptr) {
        (*section)[*key] = *text;
    }
    metadata.allAttributes[name] = std::move(*text);
}

/// Throws FileError if an attribute can't be decoded: listing the attributes would then crash the library. Asking for a
/// name that isn't there decodes every one of them.
void requireSoundAttributes(hid_t object) {
    const htri_t found = H5Aexists(object, "no attribute bears this name");
    requireSuccess(found, "H5Aexists");
    if (found > 0) {
        throw FileError("an attribute bears a name that is kept free");
    }
}

herr_t collectName(hid_t, const char* name, const H5A_info_t*, void* target) {
    try {
        static_cast<std::vector<std::string>*>(target)->emplace_back(name);
        return 0;
    } catch (...) {
        return -1; // no exception may pass through the library
    }
}

} // namespace

VQDMetadata readFileMetadata(std::int64_t file) {
    VQDMetadata metadata;
    try {
        const Hdf5Id root(H5Gopen2(file, "/", H5P_DEFAULT), H5Gclose, "H5Gopen2");
        requireSoundAttributes(root.get());
        // Names first, values by name: opening by index looks through all attributes every time.
        std::vector<std::string> names;
        requireSuccess(H5Aiterate2(root.get(), H5_INDEX_CRT_ORDER, H5_ITER_INC, nullptr, collectName, &names),
                       "H5Aiterate2");
        HeapTexts texts;
        for (std::size_t index = 0; index < names.size(); ++index) {
            try {
                readAttribute(root.get(), names[index], texts, metadata);
            } catch (const std::exception& error) {
                reportError("Warning: failed to read attribute " + std::to_string(index) + ": " + error.what());
            }
        }
    } catch (const std::exception& error) {
        reportError(std::string("Error reading metadata: ") + error.what());
    }
    return metadata;
}

} // namespace Tessaly
