#pragma once

#include "calc/emodulus/EModulus.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>

namespace Tessaly {

/// Cell of a normalised coordinate in a grid of that many cells a side; what lies outside counts to the outermost cell.
inline int gridCell(double coordinate, int size) {
    const double scaled = coordinate * size;
    if (!(scaled > 0.0)) {
        return 0;
    }
    return scaled < size - 1 ? static_cast<int>(scaled) : size - 1;
}

/// False for NaN.
inline bool insideUnitSquare(double x, double y) {
    return x >= 0.0 && x <= 1.0 && y >= 0.0 && y <= 1.0;
}

/// Barycentric coordinates of a point.
struct EModulusWeights {
    double l1;
    double l2;
    double l3;

    bool accepts() const { return l1 >= -1e-10 && l2 >= -1e-10 && l3 >= -1e-10; }
};

/// One triangle of a mesh with the differences that its interpolation needs. The one place of this arithmetic: plain
/// search and index give the same bits because both go through it.
struct EModulusTriangle {
    double x2, y2;
    double dx21, dy12, dy20, dx02;
    double denominator;
    double z0, z1, z2;

    EModulusTriangle(const EModulusMesh& mesh, std::int32_t index) {
        const auto& nodes = mesh.triangles[static_cast<std::size_t>(index)];
        const auto n0 = static_cast<std::size_t>(nodes[0]);
        const auto n1 = static_cast<std::size_t>(nodes[1]);
        const auto n2 = static_cast<std::size_t>(nodes[2]);
        x2 = mesh.x[n2];
        y2 = mesh.y[n2];
        dx21 = x2 - mesh.x[n1];
        dy12 = mesh.y[n1] - y2;
        dy20 = y2 - mesh.y[n0];
        dx02 = mesh.x[n0] - x2;
        denominator = (mesh.y[n0] - y2) * dx21 + dy12 * dx02;
        z0 = mesh.z[n0];
        z1 = mesh.z[n1];
        z2 = mesh.z[n2];
    }

    bool isDegenerate() const { return std::fabs(denominator) < 1e-20; }

    EModulusWeights weights(double x, double y) const {
        const double dx = x - x2;
        const double dy = y - y2;
        const double l1 = (dy * dx21 + dx * dy12) / denominator;
        const double l2 = (dy20 * dx + dy * dx02) / denominator;
        return {l1, l2, 1.0 - l1 - l2};
    }

    double value(const EModulusWeights& weights) const { return weights.l1 * z0 + weights.l2 * z1 + weights.l3 * z2; }
};

} // namespace Tessaly
