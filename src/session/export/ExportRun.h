#pragma once

#include "session/UserMessage.h"
#include "session/export/ExportConfig.h"

#include <QString>

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace Tessaly {

class Session;
struct DatasetEntry;

/// How the export of one dataset ended.
struct ExportResult {
    bool written = false;
    QString path;                       ///< of the file, empty if none was begun
    std::optional<UserMessage> message; ///< why nothing, or not everything, was written
};

/// Scalar features that at least one dataset has, in rising order: what the export dialogs list.
std::vector<std::string> featuresOfAll(const std::vector<std::unique_ptr<DatasetEntry>>& datasets);

/// Where an export of the dataset goes: a name that no file bears yet.
QString exportPath(const DatasetEntry& dataset, const ExportConfig& config);

/// Writes the events of a dataset that pass its effective filter.
///
/// Everything that is needed of session and dataset is copied first, so that both may change during a pause.
/// @param onPause  called some ten times a second or more often, for repainting
ExportResult exportDataset(const Session& session, const DatasetEntry& dataset, const ExportConfig& config,
                           const std::function<void()>& onPause = {});

/// The datasets of one export, one after the other. Holds ids: datasets may come and go while it lasts. User interface
/// thread only; the session must outlive it.
class ExportRun {
public:
    /// The active dataset alone, or all of them in row order, as the configuration says.
    ExportRun(const Session& session, ExportConfig config);

    /// Warning for an export with no dataset that is selected and loaded; nothing if there is one.
    static std::optional<UserMessage> refusal(const Session& session);

    int count() const { return static_cast<int>(ids_.size()); }
    /// Number of datasets that are behind.
    int index() const { return index_; }
    bool isFinished() const { return index_ >= count(); }
    /// "Exporting %1 (%2/%3)" for the next dataset.
    QString label() const;
    /// Exports the next dataset. One that has gone meanwhile isn't written, without a message.
    ExportResult next(const std::function<void()>& onPause = {});
    /// The box at the end, unless the user cancelled: for one dataset only if it was written (its failure has been
    /// told), for all of them how many.
    std::optional<UserMessage> closing() const;

private:
    const Session& session_;
    ExportConfig config_;
    std::vector<int> ids_;
    int index_ = 0;
    int written_ = 0;
};

} // namespace Tessaly
