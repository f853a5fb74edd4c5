#include "services/Deployment.h"

#include "services/UploadKey.h"

#include <array>

namespace Tessaly {

namespace {

constexpr auto KeyTable = std::to_array<std::uint8_t>({
#include "UploadKeyTable.inc"
});

QUrl secureAddress(const char* host, const char* path) {
    QUrl address;
    address.setScheme(QStringLiteral("https"));
    address.setHost(QString::fromUtf8(host));
    address.setPath(QString::fromUtf8(path));
    return address;
}

} // namespace

QString programVersion() {
    return QStringLiteral(TESSALY_VERSION);
}

Deployment builtInDeployment() {
    return {programVersion(),
            secureAddress(TESSALY_UPDATE_HOST, "/media/public_001/Downloads/Tessaly_3/tessaly_latest.json"),
            QUrl(QStringLiteral(TESSALY_DOWNLOAD_PAGE)), secureAddress(TESSALY_SUPPORT_HOST, "/upload/"),
            unscrambledKey(KeyTable)};
}

bool isConfigured(const QUrl& address) {
    const QString host = address.host();
    return !host.isEmpty() && host != QLatin1String("invalid") && !host.endsWith(QLatin1String(".invalid"));
}

} // namespace Tessaly
