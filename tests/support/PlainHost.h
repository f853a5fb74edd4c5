#pragma once

#include "session/SessionHost.h"

namespace Tessaly {

/// A main window in which nothing is set and nothing can be selected. For tests and benchmarks of tool windows.
struct PlainHost : SessionHost {
    int colorMapIndex() const override { return 0; }
    EModulus* emodulus() override { return nullptr; }
    EModulusParams emodulusParamsFor(const VQDMetadata& /*metadata*/, bool /*hasTemperatures*/) const override {
        return {};
    }
    bool datasetFolderViewActive() const override { return false; }
    int datasetFolderDepth() const override { return 2; }
    bool selectEvent(int /*datasetId*/, int /*event*/) override { return false; }
};

} // namespace Tessaly
