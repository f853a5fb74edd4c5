#include "calc/emodulus/Lookup.h"

#include <array>

namespace Tessaly {

namespace {

enum class Verdict { Never, Perhaps, Always };

/// Whether a triangle accepts the points of a square. The coordinates are linear, so that the square's corners bound
/// them; the slack covers their rounding, which grows as the triangle gets thinner.
Verdict judge(const EModulusTriangle& triangle, double xCentre, double yCentre, double halfSide) {
    const double scale = 1.0 / triangle.denominator;
    const double slack = 1e-13 * std::fabs(scale) + 1e-12;
    const double l1x = triangle.dy12 * scale;
    const double l1y = triangle.dx21 * scale;
    const double l2x = triangle.dy20 * scale;
    const double l2y = triangle.dx02 * scale;
    const auto centre = triangle.weights(xCentre, yCentre);
    const std::array<double, 3> middle{centre.l1, centre.l2, centre.l3};
    const std::array<double, 3> reach{halfSide * (std::fabs(l1x) + std::fabs(l1y)) + slack,
                                      halfSide * (std::fabs(l2x) + std::fabs(l2y)) + slack,
                                      halfSide * (std::fabs(l1x + l2x) + std::fabs(l1y + l2y)) + slack};
    bool always = true;
    for (std::size_t k = 0; k < 3; ++k) {
        if (middle[k] + reach[k] < -1e-10) {
            return Verdict::Never;
        }
        always = always && middle[k] - reach[k] >= 0.0;
    }
    return always ? Verdict::Always : Verdict::Perhaps;
}

} // namespace

EModulusLookup::EModulusLookup(const EModulusMesh& mesh)
    : xMin_(mesh.xMin),
      yMin_(mesh.yMin),
      xRange_(mesh.xRange),
      yRange_(mesh.yRange) {
    triangles_.reserve(mesh.triangles.size());
    for (std::size_t t = 0; t < mesh.triangles.size(); ++t) {
        triangles_.emplace_back(mesh, static_cast<std::int32_t>(t));
    }
    parts_.assign(static_cast<std::size_t>(Size) * Size, 0);
    candidates_.push_back(0); // the empty list, which parts outside of the mesh share
    for (int row = 0; row < EModulusMesh::GridSize; ++row) {
        for (int column = 0; column < EModulusMesh::GridSize; ++column) {
            fillCell(mesh, row, column);
        }
    }
}

void EModulusLookup::fillCell(const EModulusMesh& mesh, int row, int column) {
    const auto& cell = mesh.grid[static_cast<std::size_t>(row * EModulusMesh::GridSize + column)];
    if (cell.empty()) {
        return;
    }
    for (int y = row * Refinement; y < (row + 1) * Refinement; ++y) {
        for (int x = column * Refinement; x < (column + 1) * Refinement; ++x) {
            parts_[static_cast<std::size_t>(y * Size + x)] = partFor(cell, (x + 0.5) / Size, (y + 0.5) / Size);
        }
    }
}

EModulusLookup::Part EModulusLookup::partFor(const std::vector<std::int32_t>& cell, double xCentre, double yCentre) {
    const std::size_t begin = candidates_.size();
    candidates_.push_back(0);
    for (const std::int32_t index : cell) {
        const auto number = static_cast<std::uint32_t>(index);
        const EModulusTriangle& triangle = triangles_[number];
        if (triangle.isDegenerate()) {
            continue;
        }
        const Verdict verdict = judge(triangle, xCentre, yCentre, 0.5 / Size);
        if (verdict == Verdict::Always && candidates_.size() == begin + 1) {
            candidates_.resize(begin);
            return number | Certain;
        }
        if (verdict != Verdict::Never) {
            candidates_.push_back(number);
        }
        if (verdict == Verdict::Always) {
            break;
        }
    }
    const std::size_t count = candidates_.size() - begin - 1;
    if (count == 0) {
        candidates_.resize(begin);
        return 0;
    }
    candidates_[begin] = static_cast<std::uint32_t>(count);
    return static_cast<Part>(begin);
}

double EModulusLookup::search(Part list, double x, double y) const {
    const std::uint32_t* candidate = candidates_.data() + list;
    for (std::uint32_t left = *candidate; left > 0; --left) {
        const EModulusTriangle& triangle = triangles_[*++candidate];
        if (const auto weights = triangle.weights(x, y); weights.accepts()) {
            return triangle.value(weights);
        }
    }
    return std::numeric_limits<double>::quiet_NaN();
}

} // namespace Tessaly
