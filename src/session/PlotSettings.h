#pragma once

#include "calc/Density.h"

#include <string>
#include <string_view>

namespace Tessaly {

struct DatasetEntry;

/// What the "Plot Settings" controls say, as one value.
struct PlotSettings {
    std::string xFeature;
    std::string yFeature;
    std::string colorFeature; ///< a feature, a density selector, or empty for no colour
    int scaleX = 0;
    int scaleY = 0;
    int contourMode = 0;           ///< 0 off, 1 overlay, 2 only
    double contourFraction1 = 0.1; ///< inner
    double contourFraction2 = 0.67;

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
bool isDensitySelector(std::string_view colorFeature);
/// The estimator that a density selector asks for; KDE for an unknown one.
DensityMethod densityMethodOf(std::string_view selector);

/// The settings stored with a dataset. Stale while the dataset is active: then the controls hold them.
PlotSettings plotSettingsOf(const DatasetEntry& entry);
/// Stores all settings with a dataset as they are.
void storePlotSettings(const PlotSettings& settings, DatasetEntry& entry);
/// Copies settings onto another dataset: X and Y only if its file has the feature; the colour if it is empty, a
/// density, or a feature of its file; scales and contours always.
void copyPlotSettings(const PlotSettings& settings, DatasetEntry& entry);

} // namespace Tessaly
