#include "calc/emodulus/EModulus.h"
#include "calc/emodulus/Table.h"

#include <array>
#include <cmath>
#include <limits>

namespace Tessaly {

namespace {

constexpr std::array<double, 11> Levels{0.2, 0.3, 0.4, 0.5, 0.6, 0.7, 0.9, 1.2, 1.5, 2.0, 3.0};
constexpr int AreaSteps = 150;
constexpr int ScanSteps = 50;
constexpr double NaN = std::numeric_limits<double>::quiet_NaN();

/// The table's values along the deformation at one area: scanned once for all levels.
class DeformScan {
public:
    DeformScan(const EModulusLookup& lookup, const EModulusMesh& mesh, double tableArea)
        : lookup_(lookup),
          area_(tableArea),
          yMin_(mesh.yMin),
          yRange_(mesh.yRange) {
        for (int j = 0; j <= ScanSteps; ++j) {
            values_[static_cast<std::size_t>(j)] = lookup_(area_, deformAt(j));
        }
    }

    /// The deformation at which the table has that level; NaN if it is not met between neighbouring points.
    double deformOf(double level) const {
        for (std::size_t j = 0; j < ScanSteps; ++j) {
            const double f1 = values_[j];
            const double f2 = values_[j + 1];
            if (!std::isnan(f1) && !std::isnan(f2) && (f1 - level) * (f2 - level) <= 0.0) {
                return bisect(level, deformAt(static_cast<int>(j)), deformAt(static_cast<int>(j) + 1), f1);
            }
        }
        return NaN;
    }

private:
    double deformAt(int step) const { return yMin_ + yRange_ * step / ScanSteps; }

    double bisect(double level, double low, double high, double valueLow) const {
        constexpr int maxHalvings = 40;
        for (int i = 0; i < maxHalvings && high - low >= 1e-8; ++i) {
            const double middle = 0.5 * (low + high);
            const double value = lookup_(area_, middle);
            if (std::isnan(value)) {
                break;
            }
            if ((value - level) * (valueLow - level) > 0.0) {
                low = middle;
                valueLow = value;
            } else {
                high = middle;
            }
        }
        return 0.5 * (low + high);
    }

    const EModulusLookup& lookup_;
    double area_;
    double yMin_;
    double yRange_;
    std::array<double, ScanSteps + 1> values_{};
};

} // namespace

std::vector<IsoelasticLine> EModulus::isoelastics(const EModulusParams& params) {
    if (!isoelastics_.empty() && isoelasticsParams_ == params) {
        return isoelastics_;
    }
    const Table* table = prepared(0);
    if (table == nullptr) {
        return {};
    }

    const EModulusMesh& mesh = *table->mesh;
    const double sizeRatio = table->lut.channelWidth / params.channelWidth;
    const double areaFactor = sizeRatio * sizeRatio;
    const double factor = sizeRatio * sizeRatio * sizeRatio * params.flowRate / table->lut.flowRate *
                          viscosity(params, params.temperature) / table->lut.viscosity;
    std::vector<IsoelasticLine> lines(Levels.size());
    for (std::size_t k = 0; k < Levels.size(); ++k) {
        lines[k].value = Levels[k] * factor;
    }

    const double first = mesh.xMin / areaFactor;
    const double last = mesh.xMax / areaFactor;
    const double step = (last - first) / AreaSteps;
    for (int i = 0; i <= AreaSteps; ++i) {
        const double area = first + step * i;
        if (!(area <= last)) {
            break;
        }
        const DeformScan scan(*table->lookup, mesh, area * areaFactor);
        // Lines are drawn over measured deformation: what the correction takes away is added again.
        const double correction = -pixelationCorrected(0.0, area, params.pixelSize);
        for (std::size_t k = 0; k < Levels.size(); ++k) {
            if (const double deform = scan.deformOf(Levels[k]); !std::isnan(deform)) {
                lines[k].points.emplace_back(area, deform + correction);
            }
        }
    }
    std::erase_if(lines, [](const IsoelasticLine& line) { return line.points.size() < 2; });
    isoelastics_ = std::move(lines);
    isoelasticsParams_ = params;
    return isoelastics_;
}

} // namespace Tessaly
