#include "calc/emodulus/Coverage.h"

#include "calc/emodulus/EModulus.h"
#include "calc/emodulus/Lookup.h"
#include "calc/emodulus/Table.h"
#include "io/VQDReader.h"

#include <algorithm>
#include <cmath>
#include <map>
#include <utility>

namespace Tessaly {

namespace {

/// Edges that belong to one triangle only.
std::vector<std::pair<std::int32_t, std::int32_t>> boundaryEdges(const EModulusMesh& mesh) {
    std::map<std::pair<std::int32_t, std::int32_t>, int> uses;
    for (const auto& [a, b, c] : mesh.triangles) {
        ++uses[std::minmax(a, b)];
        ++uses[std::minmax(b, c)];
        ++uses[std::minmax(c, a)];
    }
    std::vector<std::pair<std::int32_t, std::int32_t>> edges;
    for (const auto& [edge, count] : uses) {
        if (count == 1) {
            edges.push_back(edge);
        }
    }
    return edges;
}

} // namespace

EModulusCoverage coverageOf(const EModulusTableView& table, std::span<const double> area,
                            std::span<const double> deform, std::span<const std::int32_t> events,
                            const EModulusParams& params) {
    const EModulusMesh& mesh = table.mesh;
    const double s = table.lut.channelWidth / params.channelWidth;
    EModulusCoverage coverage;
    for (const auto& [first, second] : boundaryEdges(mesh)) {
        const auto a = static_cast<std::size_t>(first);
        const auto b = static_cast<std::size_t>(second);
        coverage.outline.push_back(
            {(mesh.xMin + mesh.x[a] * mesh.xRange) / (s * s), mesh.yMin + mesh.y[a] * mesh.yRange,
             (mesh.xMin + mesh.x[b] * mesh.xRange) / (s * s), mesh.yMin + mesh.y[b] * mesh.yRange});
    }
    const std::size_t count = std::min(area.size(), deform.size());
    coverage.events.reserve(events.size());
    for (const std::int32_t event : events) {
        const auto i = static_cast<std::size_t>(event);
        if (event < 0 || i >= count || !std::isfinite(area[i]) || !std::isfinite(deform[i])) {
            continue;
        }
        const double corrected = pixelationCorrected(deform[i], area[i], params.pixelSize);
        coverage.events.push_back({area[i], corrected, fateOf(table, area[i] * (s * s), corrected)});
    }
    return coverage;
}

EModulusCoverage EModulus::coverage(VQDReader* reader, const EModulusParams& params,
                                    std::span<const std::int32_t> events) {
    const bool complete = reader != nullptr && reader->hasFeature("area_um") && reader->hasFeature("deform");
    const Table* table = complete ? prepared(params.lutId) : nullptr;
    // Without a channel's width nothing lies in the table, which then has no size in measured area either.
    if (table == nullptr || !(params.channelWidth > 0.0)) {
        return {};
    }
    const SharedColumn area = reader->column("area_um");
    const SharedColumn deform = reader->column("deform");
    return coverageOf({table->lut, *table->mesh, *table->lookup}, *area, *deform, events, params);
}

} // namespace Tessaly
