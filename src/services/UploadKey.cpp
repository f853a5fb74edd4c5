#include "services/UploadKey.h"

namespace Tessaly {

QByteArray unscrambledKey(std::span<const std::uint8_t> table) {
    constexpr std::size_t startLength = 2;
    QByteArray key;
    if (table.size() <= startLength) {
        return key;
    }
    std::uint64_t state = std::uint64_t{table[0]} << 8 | table[1];
    for (const std::uint8_t number : table.subspan(startLength)) {
        state = (state * 1103515245U + 12345U) & 0x7fffffffU;
        key.append(static_cast<char>(number ^ ((state >> 16) & 0xffU)));
    }
    return key;
}

} // namespace Tessaly
