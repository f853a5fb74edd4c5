#pragma once

#include "calc/emodulus/Triangle.h"

#include <cstdint>
#include <limits>
#include <span>
#include <vector>

namespace Tessaly {

/// A finer index over a mesh that answers as interpolate() does, bit for bit, in a fraction of its time.
///
/// Each cell of the mesh's grid is cut into Refinement x Refinement parts. A part keeps, of the cell's triangles in
/// their order, those that could accept one of its points, up to the first that accepts all of them; what rounding
/// leaves open stays on the list. Most parts hold one triangle for certain, which needs no test. Read-only after
/// construction, any thread; needs about 3 MB and keeps no reference to the mesh. Plain twin: interpolate(), against
/// which tests/calc/EModulusMeshTest.cpp holds it.
class EModulusLookup {
public:
    explicit EModulusLookup(const EModulusMesh& mesh);

    /// Modulus at a point of the table's plane; NaN outside the table.
    double operator()(double area, double deform) const {
        const double x = (area - xMin_) / xRange_;
        const double y = (deform - yMin_) / yRange_;
        if (!insideUnitSquare(x, y)) {
            return std::numeric_limits<double>::quiet_NaN();
        }
        const Part part = parts_[static_cast<std::size_t>(partOf(y) * Size + partOf(x))];
        if ((part & Certain) == 0) {
            return search(part, x, y);
        }
        const EModulusTriangle& triangle = triangles_[part & ~Certain];
        return triangle.value(triangle.weights(x, y));
    }

private:
    /// The index of a triangle that accepts every point here, or the place of a list in candidates_ (its length first).
    using Part = std::uint32_t;
    static constexpr Part Certain = 0x80000000U;
    static constexpr int Refinement = 8; // a power of two: parts nest exactly in the cells, rounding included
    static constexpr int Size = EModulusMesh::GridSize * Refinement;

    static int partOf(double coordinate) {
        return std::min(static_cast<int>(coordinate * EModulusMesh::GridSize * Refinement), Size - 1);
    }

    class Filling;

    Part addList(std::span<const std::uint32_t> triangles, std::size_t begin);
    double search(Part list, double x, double y) const;

    double xMin_, yMin_, xRange_, yRange_;
    std::vector<EModulusTriangle> triangles_;
    std::vector<Part> parts_;
    std::vector<std::uint32_t> candidates_;
};

} // namespace Tessaly
