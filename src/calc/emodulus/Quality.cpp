#include "calc/emodulus/Quality.h"

#include "calc/emodulus/EModulus.h"
#include "calc/emodulus/Lookup.h"
#include "calc/emodulus/Table.h"
#include "core/VectorState.h"
#include "io/VQDReader.h"
#include "stats/Quantiles.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <vector>

namespace Tessaly {

namespace {

/// The table's least deformation over area.
class LowerEdge {
public:
    explicit LowerEdge(const EModulusTableView& table) : mesh_(table.mesh) {
        edge_.fill(mesh_.yMax);
        for (std::size_t node = 0; node < table.lut.area.size(); ++node) {
            double& least = edge_[binOf(table.lut.area[node])];
            least = std::min(least, table.lut.deform[node]);
        }
        const auto isEmpty = [this](std::size_t bin) { return edge_[bin] >= mesh_.yMax; };
        for (std::size_t bin = 1; bin < Bins; ++bin) {
            if (isEmpty(bin)) {
                edge_[bin] = edge_[bin - 1];
            }
        }
        for (std::size_t bin = Bins - 1; bin-- > 0;) {
            if (isEmpty(bin)) {
                edge_[bin] = edge_[bin + 1];
            }
        }
    }

    /// Whether a point lies at or little above the edge; one below it doesn't count.
    bool isNear(double area, double deform) const {
        const double gap = deform - edge_[binOf(area)];
        return gap >= 0.0 && gap < 0.1 * mesh_.yRange;
    }

private:
    static constexpr std::size_t Bins = 200;

    std::size_t binOf(double area) const {
        const double place = Bins * ((area - mesh_.xMin) / mesh_.xRange);
        // A table of one area has no places: all is in the first bin.
        return place > 0.0 ? static_cast<std::size_t>(std::min(place, Bins - 1.0)) : 0;
    }

    const EModulusMesh& mesh_;
    std::array<double, Bins> edge_{};
};

/// The element at place n / 2 of the sorted values; 0 without values.
double medianOf(const std::vector<double>& values) {
    const std::array<std::size_t, 1> place{values.size() / 2};
    return values.empty() ? 0.0 : orderStatistics(values, place).front();
}

/// Walks through the events and keeps what the medians need of the mapped ones.
class Assessment {
public:
    Assessment(const EModulusTableView& table, double factor) : table_(table), edge_(table), factor_(factor) {}

    void add(double area, double deform) {
        const EModulusMesh& mesh = table_.mesh;
        // Just beyond its bounds a place may still be rounded onto the table.
        const bool outside = area < mesh.xMin || area > mesh.xMax || deform < mesh.yMin || deform > mesh.yMax;
        const double e = outside ? NAN : table_.lookup(area, deform);
        if (std::isnan(e)) {
            count(fateOf(table_, area, deform));
            return;
        }
        const double modulus = e * factor_;
        ++quality_.mapped;
        moduli_.push_back(modulus);
        deformations_.push_back(deform);
        if (edge_.isNear(area, deform)) {
            ++quality_.nearBoundary;
        } else {
            interior_.push_back(modulus);
        }
        const double step = 0.001 * mesh.yRange;
        const double above = table_.lookup(area, deform + step);
        const double below = table_.lookup(area, deform - step);
        if (!std::isnan(above) && !std::isnan(below)) {
            sensitivities_.push_back(std::fabs((above - below) / (2.0 * step)) * factor_ / std::max(1e-10, modulus));
        }
    }

    EModulusQuality finished(std::size_t total) {
        quality_.total = static_cast<std::int32_t>(total);
        quality_.valid = true;
        if (quality_.mapped == 0) {
            return quality_;
        }
        weighSensitivities();
        quality_.medianAll = medianOf(moduli_);
        quality_.medianInterior = interior_.empty() ? quality_.medianAll : medianOf(interior_);
        if (quality_.medianInterior > 1e-10) {
            quality_.bias = std::fabs(quality_.medianAll - quality_.medianInterior) / quality_.medianInterior;
        }
        return quality_;
    }

private:
    void count(EModulusFate fate) {
        switch (fate) {
        case EModulusFate::AreaTooSmall:
            ++quality_.areaTooSmall;
            break;
        case EModulusFate::AreaTooLarge:
            ++quality_.areaTooLarge;
            break;
        case EModulusFate::DeformTooLow:
            ++quality_.deformTooLow;
            break;
        case EModulusFate::DeformTooHigh:
            ++quality_.deformTooHigh;
            break;
        case EModulusFate::Mapped:
            break;
        }
    }

    /// Turns the sensitivities from one unit of deformation to its robust deviation among these events.
    void weighSensitivities() {
        const double median = medianOf(deformations_);
        for (double& deviation : deformations_) {
            deviation = std::fabs(deviation - median);
        }
        const double robust = 1.4826 * medianOf(deformations_);
        for (double& sensitivity : sensitivities_) {
            sensitivity *= robust;
            quality_.highSensitivity += sensitivity > 1.0 ? 1 : 0;
        }
        quality_.medianSensitivity = medianOf(sensitivities_);
    }

    const EModulusTableView& table_;
    LowerEdge edge_;
    double factor_; ///< from the table's moduli to those of the measurement
    EModulusQuality quality_;
    std::vector<double> moduli_, interior_, deformations_, sensitivities_;
};

} // namespace

EModulusFate fateOf(const EModulusTableView& table, double area, double deform) {
    const EModulusMesh& mesh = table.mesh;
    if (area < mesh.xMin) {
        return EModulusFate::AreaTooSmall;
    }
    if (area > mesh.xMax) {
        return EModulusFate::AreaTooLarge;
    }
    if (deform < mesh.yMin) {
        return EModulusFate::DeformTooLow;
    }
    if (deform > mesh.yMax) {
        return EModulusFate::DeformTooHigh;
    }
    if (!std::isnan(table.lookup(area, deform))) {
        return EModulusFate::Mapped;
    }
    const double middle = (mesh.yMin + mesh.yMax) / 2.0;
    if (!std::isnan(table.lookup(area, middle))) {
        return deform > middle ? EModulusFate::DeformTooHigh : EModulusFate::DeformTooLow;
    }
    const bool startsLow = !std::isnan(table.lookup(area, mesh.yMin + 0.05 * mesh.yRange));
    return startsLow ? EModulusFate::DeformTooHigh : EModulusFate::DeformTooLow;
}

EModulusQuality assessQuality(const EModulusTableView& table, std::span<const double> area,
                              std::span<const double> deform, std::span<const std::int32_t> events,
                              const EModulusParams& params) {
    clearUpperVectorState();
    const double sizeRatio = table.lut.channelWidth / params.channelWidth;
    const double factor = sizeRatio * sizeRatio * sizeRatio * params.flowRate / table.lut.flowRate *
                          viscosity(params, params.temperature) / table.lut.viscosity;
    Assessment assessment(table, factor);
    const std::size_t count = std::min(area.size(), deform.size());
    for (const std::int32_t event : events) {
        if (event >= 0 && static_cast<std::size_t>(event) < count) {
            const auto i = static_cast<std::size_t>(event);
            assessment.add(area[i] * (sizeRatio * sizeRatio),
                           pixelationCorrected(deform[i], area[i], params.pixelSize));
        }
    }
    return assessment.finished(events.size());
}

EModulusQuality EModulus::assessQuality(VQDReader* reader, const EModulusParams& params,
                                        std::span<const std::int32_t> events) {
    if (reader == nullptr || !reader->hasFeature("area_um") || !reader->hasFeature("deform")) {
        return {};
    }
    const Table* table = prepared(params.lutId);
    if (table == nullptr) {
        return {};
    }
    const SharedColumn area = reader->column("area_um");
    const SharedColumn deform = reader->column("deform");
    return Tessaly::assessQuality({table->lut, *table->mesh, *table->lookup}, *area, *deform, events, params);
}

} // namespace Tessaly
