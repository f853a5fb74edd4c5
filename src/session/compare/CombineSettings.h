#pragma once

#include <QColor>

#include <string>
#include <utility>
#include <vector>

namespace Tessaly {

/// How a combine window arranges its datasets, as stored and as combo box index.
namespace CombineDisplay {
inline constexpr int Array = 0;
inline constexpr int ArrayAndContour = 1;
inline constexpr int SamePlot = 2;
} // namespace CombineDisplay

/// What colours the dots of a combine window, as stored and as combo box index.
namespace CombineColor {
inline constexpr int Heatmap = 0;
inline constexpr int Dataset = 1;
inline constexpr int Uniform = 2;
} // namespace CombineColor

/// How one dataset is plotted in a combine window.
struct CombineDatasetSettings {
    int datasetId = -1;
    std::string xFeatureName;
    std::string yFeatureName;
    QColor color;       ///< with alpha
    int scaleXMode = 0; ///< ScaleMode
    int scaleYMode = 0; ///< ScaleMode

    bool operator==(const CombineDatasetSettings&) const = default;
};

/// Range of both axes, in data units.
struct PlotLimits {
    double xMin = 0.0;
    double xMax = 0.0;
    double yMin = 0.0;
    double yMax = 0.0;

    bool operator==(const PlotLimits&) const = default;
};

/// What a combine window's controls say for all of its datasets, as one value.
struct CombineOptions {
    int displayMode = CombineDisplay::Array;
    int colorMode = CombineColor::Dataset;
    bool syncFeatures = false;
    bool syncAxes = false;
    bool manualLimits = false;
    bool showLegend = false;
    int contourMode = 0;            ///< ContourMode
    double contourFraction1 = 0.1;  ///< inner level
    double contourFraction2 = 0.67; ///< outer level
    bool isoelasticity = false;
    bool isoLabels = false;
    PlotLimits limits;
    bool manualArraySize = false;
    int arrayCols = 0; ///< 0: as many as are needed
    int arrayRows = 0;
    bool showCount = false;

    bool operator==(const CombineOptions&) const = default;
};

/// How plots look on paper.
struct CombineExportSettings {
    int tickLabelSize = 12; ///< points
    int axisLabelSize = 14; ///< points
    bool showTitle = true;
    int titleSize = 14; ///< points
    bool titleBold = false;
    bool titleUseColor = true;
    double plotWidthMm = 100.0;
    double plotHeightMm = 100.0;
    int pointSize = 4;          ///< pixels
    double axisLineWidth = 1.0; ///< pixels
    bool showGrid = true;
    bool showRightTopAxes = true;
    QColor uniformColor = Qt::black;

    bool operator==(const CombineExportSettings&) const = default;
};

/// The ranges of the controls; what a session file says beyond them is clamped.
namespace CombineRange {
inline constexpr double Limit = 1e12;
inline constexpr int LimitDecimals = 4;
inline constexpr int MaxArray = 50;
inline constexpr std::pair FontSize(4, 24);
inline constexpr std::pair PlotMm(50, 600);
inline constexpr std::pair PointSize(1, 20);
inline constexpr std::pair AxisWidth(0.5, 5.0);
} // namespace CombineRange

/// The options as the controls would show them.
CombineOptions clamped(CombineOptions options);
CombineExportSettings clamped(CombineExportSettings settings);

/// The colours that new datasets get, one after the other.
const std::vector<QColor>& combinePalette();

/// Columns and rows of an array of plots.
struct ArraySize {
    int cols = 0;
    int rows = 0;

    bool operator==(const ArraySize&) const = default;
};

/// The array for a number of plots: as square as possible, or with the columns or rows that were asked for.
ArraySize arraySize(int plots, const CombineOptions& options);

} // namespace Tessaly
