#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

namespace Tessaly {

struct EModulusLut;
struct EModulusMesh;
struct EModulusParams;
class EModulusLookup;

/// How far the moduli of a dataset can be trusted.
struct EModulusQuality {
    std::int32_t total = 0;         ///< event indices handed in
    std::int32_t areaTooSmall = 0;  ///< below the table's range
    std::int32_t areaTooLarge = 0;  ///< above the table's range
    std::int32_t deformTooLow = 0;  ///< below the table, or outside of its outline on that side
    std::int32_t deformTooHigh = 0; ///< above the table, or outside of its outline on that side
    std::int32_t mapped = 0;        ///< events that got a modulus
    std::int32_t nearBoundary = 0;  ///< mapped events close to the lower edge of the table at their area
    double medianSensitivity = 0.0; ///< of the relative change of the modulus with one robust deviation of deformation
    std::int32_t highSensitivity = 0; ///< events with a sensitivity above 1
    double medianAll = 0.0;           ///< kPa, of the mapped events
    double medianInterior = 0.0;      ///< kPa, of the mapped events that are not near the lower edge
    double bias = 0.0;                ///< relative difference of the two medians
    bool valid = false;               ///< whether the assessment ran

    bool operator==(const EModulusQuality&) const = default;
};

/// What became of an event on its way through the table.
enum class EModulusFate : std::uint8_t { Mapped, AreaTooSmall, AreaTooLarge, DeformTooLow, DeformTooHigh };

/// A table made ready for look-ups: its rows, the mesh over them, and the mesh's index.
struct EModulusTableView {
    const EModulusLut& lut;
    const EModulusMesh& mesh;
    const EModulusLookup& lookup;
};

/// Where a point of the table's plane lies. Within the table's bounds but outside of its outline the side is told by
/// the middle of the deformation range, or by a place just above its lower end. O(1).
EModulusFate fateOf(const EModulusTableView& table, double area, double deform);

/// Walks the events and gathers the figures. Deformation counts with the pixelation correction, whatever the parameters
/// say, and the viscosity is that of the one temperature.
/// @param area    um^2, and
/// @param deform  raw, one per event
/// @param events  indices; those that are negative or beyond a column count in `total` only
/// Medians are the elements at place n / 2, from 0. O(events), 0.2 us each, any thread.
EModulusQuality assessQuality(const EModulusTableView& table, std::span<const double> area,
                              std::span<const double> deform, std::span<const std::int32_t> events,
                              const EModulusParams& params);

} // namespace Tessaly
