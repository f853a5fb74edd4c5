#pragma once

#include <QByteArray>

#include <cstdint>
#include <span>

namespace Tessaly {

/// The key behind a table that the build has written (cmake/UploadKey.cmake): its first two numbers are the start of
/// the sequence that masks the others. Empty for a table without a key.
QByteArray unscrambledKey(std::span<const std::uint8_t> table);

} // namespace Tessaly
