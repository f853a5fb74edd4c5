#include "session/document/Fingerprint.h"

#include "io/VQDReader.h"

#include <QCryptographicHash>
#include <QFileInfo>

#include <algorithm>

namespace Tessaly {

QString featureHash(std::vector<std::string> names) {
    constexpr int digits = 12;
    std::sort(names.begin(), names.end());
    QCryptographicHash hash(QCryptographicHash::Sha256);
    for (const std::string& name : names) {
        hash.addData(QByteArray::fromRawData(name.data(), static_cast<qsizetype>(name.size())));
    }
    return QString::fromLatin1(hash.result().toHex().left(digits));
}

Fingerprint fingerprintOf(const VQDReader& reader, const QString& path) {
    return {QFileInfo(path).size(), static_cast<qint64>(reader.eventCount()), featureHash(reader.featureNames())};
}

} // namespace Tessaly
