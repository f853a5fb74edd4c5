#pragma once

#include "calc/density/Contours.h"
#include "core/EventFilter.h"
#include "session/compare/CombineSettings.h"

#include <QString>

#include <array>
#include <limits>
#include <memory>
#include <optional>
#include <span>
#include <stop_token>
#include <string>
#include <vector>

namespace Tessaly {

class CombineModel;
class Session;
class VQDReader;

/// One dataset's part of a refresh: everything that its plot data follow from, taken over on the interface thread.
struct CombineSource {
    std::shared_ptr<VQDReader> reader; ///< null: there is nothing to plot
    EventFilter filter;
    std::string xFeatureName;
    std::string yFeatureName;
    int scaleXMode = 0;
    int scaleYMode = 0;
    bool density = false;                            ///< dots are coloured by density
    std::array<double, 2> fractions{0.1, 0.67};      ///< contour levels, rising
    bool contours = false;                           ///< contours on the dataset's own scales
    std::optional<std::array<int, 2>> overlayScales; ///< contours on these scales, too
};

/// Smallest and largest of some values, from the far ends at the start.
struct ValueRange {
    double min = std::numeric_limits<double>::max();
    double max = std::numeric_limits<double>::lowest();

    bool isEmpty() const { return min > max; }
    void add(double value) {
        min = value < min ? value : min;
        max = value > max ? value : max;
    }
    void add(const ValueRange& other) {
        min = other.min < min ? other.min : min;
        max = other.max > max ? other.max : max;
    }
    bool operator==(const ValueRange&) const = default;
};

/// Of the events of one axis that are finite on both.
struct AxisSurvey {
    ValueRange range;
    double smallestPositive = std::numeric_limits<double>::infinity();
    int notPositive = 0; ///< values that a logarithmic axis can't show
};

/// What is plotted of one dataset.
struct CombineData {
    // The plotted events: those that pass the filter and are finite in both coordinates, and in density where that was
    // asked for.
    std::vector<double> x;
    std::vector<double> y;
    std::vector<double> density; ///< empty unless it was asked for and there are 4 events or more
    QString xLabel;
    QString yLabel;
    AxisSurvey xSurvey;
    AxisSurvey ySurvey;
    std::vector<ContourLevel> contours;        ///< lower level first
    std::vector<ContourLevel> overlayContours; ///< on the overlay's scales
};

using CombineDataList = std::vector<std::shared_ptr<const CombineData>>;

/// The sources of a model's rows, in their order.
std::vector<CombineSource> combineSources(const Session& session, const CombineModel& model);

/// Computes the plot data of one dataset; empty without a reader or without the column of a feature. Any thread.
/// @param stop  asked between the steps; what is returned then is worth nothing
/// O(events), plus one density estimate where colours or contours need it.
CombineData prepareCombineData(const CombineSource& source, const std::stop_token& stop = {});

/// The axes that hold all data, with 5 % of the span (1 for a span of 0) on either side. Without data the bounds are
/// not finite.
PlotLimits automaticLimits(std::span<const std::shared_ptr<const CombineData>> data);

/// A lower and an upper bound as a logarithmic axis can show them: a bound at or below 0 becomes the smallest positive
/// value plotted (infinity if there is none).
std::pair<double, double> drawableOnLogAxis(double lower, double upper, double smallestPositive);

} // namespace Tessaly
