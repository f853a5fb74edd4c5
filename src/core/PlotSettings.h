#pragma once

#include <string>
#include <string_view>

namespace Tessaly {

/// How a dataset is plotted: what the "Plot Settings" controls say, as one value. Part of every dataset's record.
struct PlotSettings {
    std::string xFeatureName;
    std::string yFeatureName;
    std::string colorFeatureName;   ///< a feature, a density selector, or empty for no colour
    int scaleXMode = 0;             ///< ScaleMode
    int scaleYMode = 0;             ///< ScaleMode
    int contourMode = 0;            ///< ContourMode
    double contourFraction1 = 0.1;  ///< inner level
    double contourFraction2 = 0.67; ///< outer level

    /// Exact comparison: a NaN fraction differs from everything.
    bool operator==(const PlotSettings&) const = default;
};

/// Contour modes, as stored and as combo box index.
namespace ContourMode {
inline constexpr int Off = 0;
inline constexpr int Overlay = 1;
inline constexpr int Only = 2;
} // namespace ContourMode

/// Entries of "Color by" that ask for a density instead of a feature. All begin with DensityPrefix.
inline constexpr std::string_view DensityPrefix = "__density_";
inline constexpr std::string_view DensityKde = "__density_kde__";
inline constexpr std::string_view DensityHistogram = "__density_hist__";
inline constexpr std::string_view DensityNearestNeighbours = "__density_knn__";

inline bool isDensitySelector(std::string_view colorFeature) {
    return colorFeature.starts_with(DensityPrefix);
}

} // namespace Tessaly
