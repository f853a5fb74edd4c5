#include "core/FileSuffix.h"

#include <QFileInfo>
#include <QRegularExpression>

namespace Tessaly {

QString filterSuffix(const QString& filter) {
    static const QRegularExpression firstPattern(QStringLiteral("\\*\\.([A-Za-z0-9.]+)"));
    return firstPattern.match(filter).captured(1);
}

QString withFilterSuffix(const QString& fileName, const QString& filter) {
    const QString ownSuffix = QFileInfo(fileName).suffix();
    if (!ownSuffix.isEmpty() && !ownSuffix.front().isDigit()) {
        return fileName;
    }
    const QString suffix = filterSuffix(filter);
    if (suffix.isEmpty()) {
        return fileName;
    }
    return fileName.endsWith(QLatin1Char('.')) ? fileName + suffix : fileName + QLatin1Char('.') + suffix;
}

} // namespace Tessaly
