#pragma once

#include "calc/emodulus/Quality.h"

#include <array>
#include <vector>

namespace Tessaly {

/// A table's outline and the events in its plane, in measured area (um^2) and in deformation without the camera's bias.
struct EModulusCoverage {
    struct Event {
        double area = 0.0;
        double deform = 0.0;
        EModulusFate fate = EModulusFate::Mapped;
    };

    /// Edges of the mesh that bound it: area and deformation of the one end, then of the other. In no order.
    std::vector<std::array<double, 4>> outline;
    std::vector<Event> events; ///< those of the indices handed in that have finite values, in their order

    bool isEmpty() const { return outline.empty(); }
};

/// What a picture of an assessment shows, for the same arguments as assessQuality(). O(events + triangles), any thread.
EModulusCoverage coverageOf(const EModulusTableView& table, std::span<const double> area,
                            std::span<const double> deform, std::span<const std::int32_t> events,
                            const EModulusParams& params);

} // namespace Tessaly
