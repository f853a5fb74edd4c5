#pragma once

#include "CellShape.h"

#include <cstdint>
#include <vector>

namespace Tessaly {

/// What the outline of a mask tells of a cell, in pixels. Hull figures are those of the convex hull of the outline.
struct MaskMeasures {
    double areaRaw = 0.0, areaHull = 0.0;
    double perimeterRaw = 0.0, perimeterHull = 0.0;
    double x = 0.0, y = 0.0;          ///< centroid of the hull
    double width = 0.0, height = 0.0; ///< of the bounding box
    double inertiaRatioRaw = 1.0, inertiaRatioHull = 1.0;
    double inertiaRatioPrincipal = 1.0;       ///< of the raw outline, along its own axes
    double volume = 0.0;                      ///< of the body of revolution about the flow's axis
    double deformOdd = 0.0, deformEven = 0.0; ///< of the hull rebuilt from odd or even Fourier orders of its radius
};

/// Paints the spans into a mask of zeros as 255; what lies outside of the frame is dropped.
void paintMask(const std::vector<RowSpan>& spans, int width, int height, std::uint8_t* mask);

/// Measures the largest outline of a mask with OpenCV.
MaskMeasures measureMask(const std::uint8_t* mask, int width, int height);

} // namespace Tessaly
