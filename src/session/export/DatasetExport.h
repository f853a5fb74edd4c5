#pragma once

#include "core/EventFilter.h"
#include "core/VQDMetadata.h"
#include "session/UserMessage.h"
#include "session/export/ExportConfig.h"

#include <QString>

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

/// What an export writes of one dataset, whoever asks for it: the window or a run without one.
namespace Tessaly {

class Session;
class VQDReader;
struct DatasetEntry;

/// What the export of a dataset needs, independent of the session.
struct ExportJob {
    std::shared_ptr<VQDReader> reader;
    VQDMetadata metadata;
    QString displayName;
    EventFilter filter;                ///< that chose the events
    std::vector<int> events;           ///< rising
    std::vector<std::string> features; ///< those asked for that the dataset has
    std::optional<std::string> changedSampleName;
    bool filterFailed = false; ///< a column of the filter can't be read
};

/// Copies what the export of a dataset with an open reader needs, and evaluates its effective filter.
ExportJob exportJobOf(const Session& session, const DatasetEntry& dataset, const std::vector<std::string>& features);

/// Writes a measurement file with the pictures and traces that the configuration asks for. Its target is as it was or
/// complete. Returns why it isn't.
/// @param onPause  called some ten times a second or more often
std::optional<UserMessage> writeMeasurementFile(const ExportJob& job, const ExportConfig& config, const QString& path,
                                                const std::function<void()>& onPause = {});
/// Writes a table; as writeMeasurementFile().
std::optional<UserMessage> writeTableFile(const ExportJob& job, const QString& path,
                                          const std::function<void()>& onPause = {});

/// Warning for an export with no dataset that is selected and loaded; nothing if there is one.
std::optional<UserMessage> exportRefusal(const Session& session);
/// Box for an export that failed.
UserMessage exportFailure(const QString& text);

} // namespace Tessaly
