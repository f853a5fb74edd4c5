#pragma once

#include "plot/PlotAppearance.h"
#include "session/compare/CombineSettings.h"

#include <functional>
#include <vector>

namespace Tessaly {

class ComparePlot;

/// Gives a plot of a combine window its look on paper for as long as this object lives; then it looks as before. The
/// plot must outlive it; nothing may be painted on the screen meanwhile. Interface thread only.
class PaperStyle {
public:
    PaperStyle(ComparePlot& plot, const CombineExportSettings& settings);
    ~PaperStyle();
    PaperStyle(const PaperStyle&) = delete;
    PaperStyle& operator=(const PaperStyle&) = delete;

private:
    void styleTexts(const CombineExportSettings& settings);
    void styleTitle(const CombineExportSettings& settings);
    void styleItems(const CombineExportSettings& settings);
    void styleAxes(const CombineExportSettings& settings);

    ComparePlot& plot_;
    PlotAppearance appearance_;
    std::vector<std::function<void()>> undo_; ///< in the order of the changes
};

} // namespace Tessaly
