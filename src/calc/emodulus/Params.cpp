#include "calc/emodulus/EModulus.h"
#include "core/VQDMetadata.h"

#include <algorithm>
#include <iterator>

namespace Tessaly {

namespace {

/// What metadata call a medium, and the model that gives its viscosity. The first name of each medium is the usual one.
struct MediumRow {
    const char* text;
    std::int32_t medium;
    std::int32_t viscosityModel;
};

constexpr MediumRow MediumRows[] = {{"Sorvex", Medium::Sorvex, ViscosityModel::Herold},
                                    {"SorvexB", Medium::SorvexB, ViscosityModel::Herold},
                                    {"Water", Medium::Water, ViscosityModel::Kestin},
                                    {"water", Medium::Water, ViscosityModel::Kestin},
                                    {"0.83% MC-PBS", Medium::Methylcellulose, ViscosityModel::Manual},
                                    {"MC-PBS 0.83%", Medium::Methylcellulose, ViscosityModel::Manual}};

} // namespace

const char* mediumName(std::int32_t medium) {
    const auto* row = std::ranges::find(MediumRows, medium, &MediumRow::medium);
    return row == std::end(MediumRows) ? nullptr : row->text;
}

EModulusParams emodulusParamsFor(const VQDMetadata& metadata, bool allowEvent, double manualViscosity) {
    EModulusParams params;
    params.channelWidth = metadataNumber(metadata.setup, "channel width").value_or(params.channelWidth);
    params.flowRate = metadataNumber(metadata.setup, "flow rate").value_or(params.flowRate);
    params.pixelSize = metadataNumber(metadata.imaging, "pixel size").value_or(params.pixelSize);

    const auto* row = std::ranges::find(MediumRows, metadataValue(metadata.setup, "medium"), &MediumRow::text);
    const bool isKnown = row != std::end(MediumRows);
    params.medium = isKnown ? row->medium : Medium::Other;
    params.viscosityModel = isKnown ? row->viscosityModel : ViscosityModel::Manual;
    params.temperatureSource = allowEvent ? TemperatureSource::PerEvent : TemperatureSource::Metadata;
    const double temperature = metadataNumber(metadata.setup, "temperature").value_or(0.0);
    if (temperature > 0.0) {
        params.temperature = temperature;
    }
    params.viscosity =
        params.viscosityModel == ViscosityModel::Manual ? manualViscosity : viscosity(params, params.temperature);
    return params;
}

EModulusParams emodulusParamsFor(const VQDMetadata& metadata, bool hasTemperatures, const EModulusSettings& settings) {
    const bool perEvent = settings.temperatureSource == TemperatureSource::PerEvent && hasTemperatures;
    EModulusParams params = emodulusParamsFor(metadata, perEvent, settings.viscosity);
    if (!perEvent && settings.temperatureSource != TemperatureSource::Metadata) {
        params.temperatureSource = TemperatureSource::Manual;
        params.temperature = settings.temperature;
        if (params.viscosityModel != ViscosityModel::Manual) {
            params.viscosity = viscosity(params, params.temperature);
        }
    }
    params.deformFeature = settings.deformFeature;
    params.pixelationCorrection = params.deformFeature == "deform";
    return params;
}

} // namespace Tessaly
