// A file of its own: the helper program that looks into files links what it calls, and the toolkit would make it slow
// to start.
#include "core/VQDMetadata.h"

#include <QString>

#include <cmath>

namespace Tessaly {

std::optional<double> numberIn(const std::string& text) {
    bool parsed = false;
    const double value = QString::fromStdString(text).toDouble(&parsed);
    return parsed && std::isfinite(value) ? std::optional(value) : std::nullopt;
}

std::optional<double> metadataNumber(const VQDMetadata::Section& section, const std::string& key) {
    return numberIn(metadataValue(section, key));
}

} // namespace Tessaly
