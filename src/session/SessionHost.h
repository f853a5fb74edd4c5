#pragma once

#include "calc/emodulus/EModulus.h"

namespace Tessaly {

struct VQDMetadata;

/// The main window as tool windows see it: what the user has set there and what can be asked of it. Data come from
/// Session, changes from SessionNotices. It outlives every tool window. User interface thread only.
class SessionHost {
public:
    virtual ~SessionHost() = default;

    /// The colour map of plots. Changes are told by SessionNotices::colorMapChanged().
    virtual int colorMapIndex() const = 0;

    /// The engine for moduli and isoelastic lines; never null.
    virtual EModulus* emodulus() = 0;
    /// The parameters for one dataset: the conditions that the user has set, the rest from its metadata. Changes are
    /// told by SessionNotices::conditionsChanged().
    /// @param hasTemperatures  whether the dataset's events have temperatures of their own
    virtual EModulusParams emodulusParamsFor(const VQDMetadata& metadata, bool hasTemperatures) const = 0;

    /// Whether datasets are shown by folder. Changes are told by SessionNotices::folderViewChanged().
    virtual bool datasetFolderViewActive() const = 0;
    /// Folder levels that are shown then, 1 to 4.
    virtual int datasetFolderDepth() const = 0;

    /// Makes a dataset active and one of its events the current one, as if chosen there. Returns false, and does
    /// nothing to the event, unless the dataset is ready and has it.
    virtual bool selectEvent(int datasetId, int event) = 0;
};

} // namespace Tessaly
