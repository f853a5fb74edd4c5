#pragma once

#include "session/compare/CombineSettings.h"

#include <vector>

namespace Tessaly {

class Session;

/// What has to be done after a change of a combine window's settings.
enum class CombineChange {
    None,  ///< nothing is shown differently
    Style, ///< the same points in other colours
    Plots  ///< other points, axes or plots
};

/// The contents of a combine window: its datasets in order, how each is plotted, the options for all of them, and the
/// rules that keep them in step. Refers to datasets by id and never changes the session. No window; interface thread.
class CombineModel {
public:
    /// The session must outlive the model.
    explicit CombineModel(const Session& session);

    const std::vector<CombineDatasetSettings>& datasets() const { return datasets_; }
    int count() const { return static_cast<int>(datasets_.size()); }
    /// Row of a dataset, -1 if it isn't listed.
    int rowOf(int datasetId) const;
    const CombineOptions& options() const { return options_; }
    const CombineExportSettings& exportSettings() const { return exportSettings_; }

    /// The datasets that could be added, in the session's order: ready and not listed.
    std::vector<int> addable() const;
    /// Appends a dataset, plotted as it is in the main window, in the next colour of the palette. False if it is listed
    /// already, unknown or still loading.
    bool add(int datasetId);
    /// Takes a dataset out. False if it isn't listed.
    bool remove(int datasetId);
    /// Moves a row next to another one. False if that changes nothing or there are no such rows.
    /// @param above  before the target row, else behind it
    bool move(int row, int targetRow, bool above);

    /// Takes over what was set for a row, the dataset apart. With synchronised features the row's features go to all
    /// rows whose datasets have them, with synchronised axes its scale modes to all.
    CombineChange setRow(int row, const CombineDatasetSettings& settings);

    /// Whether a display mode can't be had unless all rows share their features, which they would have to begin with.
    bool asksForSync(int displayMode) const;
    /// Takes over options under their rules: features stay synchronised in the modes that need it; what depends on a
    /// switch that is off is off, too; columns put rows to 0 and the other way round. Synchronising gives all rows the
    /// first one's features (where their datasets have them) or scale modes.
    CombineChange setOptions(CombineOptions options);
    CombineChange setExportSettings(const CombineExportSettings& settings);

    /// Takes over everything as it was stored, without rules; values are clamped. Datasets that don't exist and
    /// repetitions are left out.
    void restore(std::vector<CombineDatasetSettings> datasets, const CombineOptions& options,
                 const CombineExportSettings& exportSettings);

private:
    bool hasFeature(int datasetId, const std::string& feature) const;
    bool spreadFeatures(int fromRow);
    bool spreadScales(int fromRow);

    const Session& session_;
    std::vector<CombineDatasetSettings> datasets_;
    CombineOptions options_;
    CombineExportSettings exportSettings_;
};

} // namespace Tessaly
