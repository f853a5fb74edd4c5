#pragma once

#include "core/VQDMetadata.h"
#include "session/FileProbing.h"

#include <QList>
#include <QString>
#include <QStringList>
#include <QUrl>

namespace Tessaly {

struct DatasetEntry;

enum class OpenOutcome {
    Opened,
    Unreadable, ///< the file can't be opened as a measurement file
    Unsupported ///< it opens but does not come from the maker's instrument
};

/// Opens a measurement file into a new entry: reader, path, metadata and display name. The entry is left without these
/// unless the outcome is Opened. A helper process looks into the file first, see mayBeOpened().
OpenOutcome openMeasurement(const QString& path, DatasetEntry& entry, const FileProbing& probing = {});

/// The same without the look before: for a process that a damaged file may take down.
OpenOutcome openMeasurementUnprobed(const QString& path, DatasetEntry& entry);

/// Name of a new dataset: the changed sample name of an export, else the sample, else the file name with extension.
QString initialDisplayName(const VQDMetadata& metadata, const QString& path);
/// Name that an emptied name falls back to: the sample, else the file name.
QString fallbackDisplayName(const VQDMetadata& metadata, const QString& path);

/// Order of files to open: folder by folder, path component by component, without regard to case; the shorter first.
bool pathComesBefore(const QString& left, const QString& right);

/// The measurement files among dropped URLs, in path order: files by their extension (any case), folders searched
/// through all levels; everything else is passed over.
QStringList collectMeasurementFiles(const QList<QUrl>& urls);

} // namespace Tessaly
