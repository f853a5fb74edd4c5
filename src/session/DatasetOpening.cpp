#include "session/DatasetOpening.h"

#include "core/DatasetEntry.h"
#include "io/VQDReader.h"

#include <QDirIterator>
#include <QFileInfo>

#include <algorithm>

namespace Tessaly {

OpenOutcome openMeasurement(const QString& path, DatasetEntry& entry, const FileProbing& probing) {
    if (!mayBeOpened(path, probing)) {
        return OpenOutcome::Unreadable;
    }
    return openMeasurementUnprobed(path, entry);
}

OpenOutcome openMeasurementUnprobed(const QString& path, DatasetEntry& entry) {
    auto reader = std::make_shared<VQDReader>();
    const std::string filePath = path.toStdString();
    if (!reader->open(filePath)) {
        return OpenOutcome::Unreadable;
    }
    VQDMetadata metadata = reader->readMetadata();
    if (!reader->isInstrumentData()) {
        return OpenOutcome::Unsupported;
    }
    entry.reader = std::move(reader);
    entry.filePath = filePath;
    entry.displayName = initialDisplayName(metadata, path);
    entry.metadata = std::move(metadata);
    return OpenOutcome::Opened;
}

QString initialDisplayName(const VQDMetadata& metadata, const QString& path) {
    const std::string changedName = metadataValue(metadata.exportSection, "changed sample name");
    return changedName.empty() ? fallbackDisplayName(metadata, path) : QString::fromStdString(changedName);
}

QString fallbackDisplayName(const VQDMetadata& metadata, const QString& path) {
    const std::string sample = metadataValue(metadata.experiment, "sample");
    return sample.empty() ? QFileInfo(path).fileName() : QString::fromStdString(sample);
}

bool pathComesBefore(const QString& left, const QString& right) {
    const QStringList leftParts = left.split('/', Qt::SkipEmptyParts);
    const QStringList rightParts = right.split('/', Qt::SkipEmptyParts);
    const qsizetype common = std::min(leftParts.size(), rightParts.size());
    for (qsizetype i = 0; i < common; ++i) {
        const int order = leftParts[i].compare(rightParts[i], Qt::CaseInsensitive);
        if (order != 0) {
            return order < 0;
        }
    }
    return leftParts.size() < rightParts.size();
}

QStringList collectMeasurementFiles(const QList<QUrl>& urls) {
    QStringList files;
    for (const QUrl& url : urls) {
        const QString path = url.toLocalFile();
        if (path.isEmpty()) {
            continue;
        }
        if (QFileInfo(path).isDir()) {
            // Links to folders are not followed, so that a loop of links can't catch us.
            QDirIterator found(path, {QStringLiteral("*.vqd")}, QDir::Files, QDirIterator::Subdirectories);
            while (found.hasNext()) {
                files.append(found.next());
            }
        } else if (path.endsWith(QLatin1String(".vqd"), Qt::CaseInsensitive)) {
            files.append(path);
        }
    }
    // Names that differ only in case tie in the path order: the plain order settles them, whatever the disk's order.
    files.sort();
    std::stable_sort(files.begin(), files.end(), pathComesBefore);
    return files;
}

} // namespace Tessaly
