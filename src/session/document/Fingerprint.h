#pragma once

#include <QString>

#include <string>
#include <vector>

namespace Tessaly {

class VQDReader;

/// Tells whether a measurement file is the one that a session was saved with.
struct Fingerprint {
    qint64 fileSize = 0; ///< in bytes
    qint64 eventCount = 0;
    QString featureHash;

    bool operator==(const Fingerprint&) const = default;
};

/// The first 12 hexadecimal digits of the SHA-256 of all names in rising order, one behind the other.
QString featureHash(std::vector<std::string> names);

/// The fingerprint of an open file as it is now; computed features count.
Fingerprint fingerprintOf(const VQDReader& reader, const QString& path);

} // namespace Tessaly
