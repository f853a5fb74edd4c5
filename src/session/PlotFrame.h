#pragma once

#include "calc/density/Contours.h"
#include "core/PlotSettings.h"

#include <QString>

#include <optional>
#include <vector>

namespace Tessaly {

class Session;
struct DatasetEntry;

/// What the plot shows: finished vectors, finite in every coordinate, and the way back to events.
struct PlotFrame {
    std::vector<double> x;
    std::vector<double> y;
    std::vector<double> color; ///< empty for no colour
    /// Event index of each plotted point, rising; empty if every event is plotted in file order.
    std::vector<int> visibleIndices;
    /// visibleIndices is in force: a filter or the cleaning has left events out (perhaps all of them).
    bool someLeftOut = false;
    QString xLabel;
    QString yLabel;
    QString colorLabel;
    int xNotOnLogAxis = 0; ///< points at or below zero if the X axis is logarithmic, else 0
    int yNotOnLogAxis = 0;
    /// The density behind the colours and the scales it was estimated on, if it was estimated from exactly these
    /// points: then contours need no second estimate.
    struct KnownDensity {
        DensityGrid grid;
        int scaleX = 0;
        int scaleY = 0;
    };
    std::optional<KnownDensity> density;

    /// Number of plotted events if some were left out, else nullopt.
    std::optional<int> countIfReduced() const;
    /// Event index of a plot index.
    int eventAt(int plotIndex) const;
    /// Plot index of an event, -1 if it is not plotted.
    int plotIndexOf(int event) const;
};

/// The refresh of the plot up to the finished vectors: read, filter, colour, clean, count.
/// @return nullopt if the X or Y column can't be read
/// O(events), plus the density if one is asked for. User interface thread.
std::optional<PlotFrame> buildPlotFrame(const Session& session, const DatasetEntry& dataset,
                                        const PlotSettings& settings);

/// The two contour lines of a frame, the inner fraction first; empty with contours off or fewer than 4 points.
std::vector<ContourLevel> contoursOf(const PlotFrame& frame, const PlotSettings& settings);

} // namespace Tessaly
