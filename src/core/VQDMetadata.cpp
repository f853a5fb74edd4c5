#include "core/VQDMetadata.h"

namespace Tessaly {

std::string metadataValue(const VQDMetadata::Section& section, const std::string& key) {
    const auto found = section.find(key);
    return found == section.end() ? std::string() : found->second;
}

} // namespace Tessaly
