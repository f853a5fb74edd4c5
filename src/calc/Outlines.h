#pragma once

#include <array>
#include <cstdint>
#include <span>
#include <utility>
#include <vector>

namespace Tessaly {

/// A pixel on the outline of a cell.
struct OutlinePoint {
    int x = 0;
    int y = 0;
};

/// A segmentation mask, row by row, length width x height; non-zero is inside.
struct MaskPicture {
    std::vector<std::uint8_t> pixels;
    int width = 0;
    int height = 0;
};

/// The outline that is analysed: of the outer outlines with at least 5 points the one around the largest area, the
/// first of equal ones. Empty if there is none, or none around an area. Any thread, about 10 us for a cell of 60
/// pixels. Source of the method: S. Suzuki, K. Abe, Comput. Vis. Graph. Image Process. 30 (1985), 32.
std::vector<OutlinePoint> cellOutline(const MaskPicture& mask);

/// Corners of the convex hull around its centroid. Throws std::exception without points.
std::vector<std::pair<double, double>> centredHull(std::span<const OutlinePoint> points);

struct PolygonSize {
    double area = 0.0;
    double circumference = 0.0;
};

/// Size of a closed polygon by its corners (x, y).
PolygonSize polygonSize(std::span<const std::array<float, 2>> corners);

} // namespace Tessaly
