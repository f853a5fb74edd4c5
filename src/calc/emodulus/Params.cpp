#include "calc/emodulus/EModulus.h"
#include "core/VQDMetadata.h"

#include <QString>

#include <cmath>

namespace Tessaly {

namespace {

double numberOr(const VQDMetadata::Section& section, const char* key, double fallback) {
    bool ok = false;
    const double value = QString::fromStdString(metadataValue(section, key)).toDouble(&ok);
    return ok && std::isfinite(value) ? value : fallback;
}

struct MediumRow {
    const char* text;
    std::int32_t medium;
    std::int32_t viscosityModel;
};

constexpr std::int32_t Herold = 0;
constexpr std::int32_t Kestin = 1;
constexpr std::int32_t Manual = 3;

constexpr MediumRow mediumRows[] = {{"Sorvex", 0, Herold}, {"SorvexB", 1, Herold},      {"Water", 2, Kestin},
                                    {"water", 2, Kestin},  {"0.83% MC-PBS", 3, Manual}, {"MC-PBS 0.83%", 3, Manual}};

} // namespace

EModulusParams emodulusParamsFor(const VQDMetadata& metadata, bool allowEvent, double manualViscosity) {
    EModulusParams params;
    params.channelWidth = numberOr(metadata.setup, "channel width", 20.0);
    params.flowRate = numberOr(metadata.setup, "flow rate", 0.04);
    params.pixelSize = numberOr(metadata.imaging, "pixel size", 0.34);

    params.medium = 4;
    params.viscosityModel = Manual;
    const std::string medium = metadataValue(metadata.setup, "medium");
    for (const MediumRow& row : mediumRows) {
        if (medium == row.text) {
            params.medium = row.medium;
            params.viscosityModel = row.viscosityModel;
        }
    }
    params.temperatureSource = allowEvent ? 1 : 2;
    const double temperature = numberOr(metadata.setup, "temperature", 0.0);
    params.temperature = temperature > 0.0 ? temperature : 23.0;
    params.viscosity = params.viscosityModel == Manual ? manualViscosity : viscosity(params, params.temperature);
    return params;
}

} // namespace Tessaly
