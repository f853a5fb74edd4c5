#include "calc/emodulus/EModulus.h"

#include "calc/emodulus/Lut.h"
#include "calc/emodulus/Mesh.h"
#include "calc/emodulus/Table.h"
#include "core/ErrorReport.h"
#include "core/VectorState.h"
#include "io/VQDReader.h"

#include <QCoreApplication>

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <span>

namespace Tessaly {

namespace {

/// Viscosity for each event's temperature, or one for all.
class ViscositySource {
public:
    ViscositySource(const EModulusParams& params, std::span<const double> temperatures)
        : params_(params),
          temperatures_(temperatures),
          common_(temperatures.empty() ? viscosity(params, params.temperature) : 0.0) {}

    double at(std::size_t event) const {
        return temperatures_.empty() ? common_ : viscosity(params_, temperatures_[event]);
    }

private:
    const EModulusParams& params_;
    std::span<const double> temperatures_;
    double common_;
};

} // namespace

EModulus::EModulus(QObject* parent) : QObject(parent) {}

EModulus::~EModulus() = default;

void EModulus::setSearchDirectory(const std::string& directory) {
    searchDirectory_ = directory;
}

void EModulus::loadLut(int lutId) {
    const std::lock_guard lock(tablesMutex_);
    loadLocked(lutId);
}

void EModulus::triangulate(int lutId) {
    const std::lock_guard lock(tablesMutex_);
    triangulateLocked(lutId);
}

const EModulusLut* EModulus::lut(int lutId) const {
    const std::lock_guard lock(tablesMutex_);
    const auto found = tables_.find(lutId);
    return found == tables_.end() ? nullptr : &found->second->lut;
}

const EModulusMesh* EModulus::mesh(int lutId) const {
    const std::lock_guard lock(tablesMutex_);
    const auto found = tables_.find(lutId);
    return found == tables_.end() || !found->second->mesh ? nullptr : &*found->second->mesh;
}

void EModulus::loadLocked(std::int32_t lutId) {
    if (tables_.contains(lutId)) {
        return;
    }
    const std::string directory =
        searchDirectory_.empty() ? QCoreApplication::applicationDirPath().toStdString() : searchDirectory_;
    const std::string name = lutFileName(lutId);
    const std::string path = findLutFile(directory, name);
    if (path.empty()) {
        reportError("EModulus: LUT file not found: " + name + " (searched from " + directory + ")");
        return;
    }
    if (auto lut = readLutFile(path)) {
        auto table = std::make_unique<Table>();
        table->lut = *std::move(lut);
        tables_[lutId] = std::move(table);
    }
}

void EModulus::triangulateLocked(std::int32_t lutId) {
    loadLocked(lutId);
    const auto found = tables_.find(lutId);
    if (found == tables_.end() || found->second->mesh || found->second->lut.area.size() < 3) {
        return;
    }
    Table& table = *found->second;
    table.mesh = buildMesh(table.lut);
    table.lookup.emplace(*table.mesh);
}

const EModulus::Table* EModulus::prepared(std::int32_t lutId) {
    const std::lock_guard lock(tablesMutex_);
    triangulateLocked(lutId);
    const auto found = tables_.find(lutId);
    return found == tables_.end() || !found->second->mesh ? nullptr : found->second.get();
}

std::optional<EModulusInput> emodulusInput(VQDReader& reader, const EModulusParams& params) {
    EModulusInput input{reader.column("area_um"), reader.column(params.deformFeature), nullptr};
    const std::size_t count = input.area->size();
    if (count == 0 || input.deform->size() != count) {
        return std::nullopt;
    }
    if (params.temperatureSource == TemperatureSource::PerEvent) {
        SharedColumn temperatures = reader.column("temp");
        if (temperatures->size() == count) {
            input.temperatures = std::move(temperatures);
        }
    }
    return input;
}

std::optional<ComputedColumns> EModulus::computeColumns(const EModulusInput& input, const EModulusParams& params,
                                                        const std::stop_token& stop) {
    const Table* table = prepared(params.lutId);
    if (table == nullptr) {
        reportError("EModulus: failed to build LUT triangulation");
        return std::nullopt;
    }
    const std::vector<double>& area = *input.area;
    const std::vector<double>& deform = *input.deform;
    const std::size_t count = area.size();
    clearUpperVectorState();
    const ViscositySource viscosities(params, input.temperatures ? std::span<const double>(*input.temperatures)
                                                                 : std::span<const double>());
    const double sizeRatio = table->lut.channelWidth / params.channelWidth;
    const double areaFactor = sizeRatio * sizeRatio;
    const double modulusFactor = sizeRatio * sizeRatio * sizeRatio * params.flowRate / table->lut.flowRate;
    const EModulusLookup& lookup = *table->lookup;
    std::vector<double> modulus(count, std::numeric_limits<double>::quiet_NaN());
    constexpr std::size_t progressStep = 256;
    std::array<double, progressStep>
        corrected{}; // exponentials and look-ups each run on their own: they overlap better
    for (std::size_t begin = 0; begin < count; begin += progressStep) {
        if (stop.stop_requested()) {
            return std::nullopt;
        }
        emit progressChanged(static_cast<int>(begin * 100 / count));
        const std::size_t end = std::min(begin + progressStep, count);
        for (std::size_t i = begin; i < end; ++i) {
            corrected[i - begin] =
                params.pixelationCorrection ? pixelationCorrected(deform[i], area[i], params.pixelSize) : deform[i];
        }
        for (std::size_t i = begin; i < end; ++i) {
            const double e = lookup(area[i] * areaFactor, corrected[i - begin]);
            if (!std::isnan(e)) {
                modulus[i] = viscosities.at(i) / table->lut.viscosity * e * modulusFactor;
            }
        }
    }
    emit progressChanged(100);
    ComputedColumns columns;
    columns.push_back({"emodulus", std::move(modulus)});
    return columns;
}

bool EModulus::compute(VQDReader* reader, const EModulusParams& params) {
    if (reader == nullptr) {
        return false;
    }
    const std::optional<EModulusInput> input = emodulusInput(*reader, params);
    std::optional<ComputedColumns> columns = input ? computeColumns(*input, params) : std::nullopt;
    if (!columns) {
        return false;
    }
    installColumns(*std::move(columns), *reader);
    return true;
}

} // namespace Tessaly
