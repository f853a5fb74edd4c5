#include "core/VQDMetadata.h"

#include <QString>

#include <cmath>

namespace Tessaly {

std::string metadataValue(const VQDMetadata::Section& section, const std::string& key) {
    const auto found = section.find(key);
    return found == section.end() ? std::string() : found->second;
}

std::optional<double> numberIn(const std::string& text) {
    bool parsed = false;
    const double value = QString::fromStdString(text).toDouble(&parsed);
    return parsed && std::isfinite(value) ? std::optional(value) : std::nullopt;
}

std::optional<double> metadataNumber(const VQDMetadata::Section& section, const std::string& key) {
    return numberIn(metadataValue(section, key));
}

} // namespace Tessaly
