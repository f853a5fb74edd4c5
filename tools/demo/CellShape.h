#pragma once

#include "DemoRandom.h"
#include "ModulusMap.h"

#include <vector>

namespace Tessaly {

/// Outline of a cell that flows to the right, in pixels: a half ellipse in front, a blunter half behind.
struct CellOutline {
    double x = 0.0; ///< of the widest cross-section
    double y = 0.0;
    double front = 0.0; ///< half axes along the flow
    double rear = 0.0;
    double half = 0.0;      ///< half axis across the flow
    double bluntness = 2.0; ///< exponent of the rear; 2 is an ellipse
};

/// Pixels left to right, both included, of one row of a mask.
struct RowSpan {
    int y;
    int left;
    int right;
};

/// The pixels whose centres lie inside the outline, row by row.
std::vector<RowSpan> rasterise(const CellOutline& outline);

/// Area and perimeter, in pixels, of the convex hull of the spans' pixel centres, and the deformation they give.
struct HullMeasure {
    double area = 0.0;
    double perimeter = 0.0;
    double deform() const;
};
HullMeasure measureHull(const std::vector<RowSpan>& spans);

/// What a cell is to look like.
struct CellTarget {
    double area = 0.0;    ///< um^2
    double deform = 0.0;  ///< as measured, that is with the bias of the pixels
    double modulus = 0.0; ///< kPa; 0 for cells that only have to be of that area and deformation
};

/// Finds an outline whose mask measures as the target says, by trial: elongation, size and place between pixels vary
/// until the mask's modulus is within 2 % and its area within 1 %, or the best of the tries is taken.
/// @param x, y  where the cell is to be, in pixels; the result lies within a pixel of it
CellOutline fitOutline(const CellTarget& target, double x, double y, const ModulusMap& map, DemoRandom& random);

} // namespace Tessaly
