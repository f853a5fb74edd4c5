#include "ModulusMap.h"

#include <cmath>
#include <stdexcept>

namespace Tessaly {

namespace {

const EModulusMesh& meshOf(EModulus& engine) {
    engine.triangulate(0);
    if (engine.mesh(0) == nullptr) {
        throw std::runtime_error("there is no look-up table");
    }
    return *engine.mesh(0);
}

} // namespace

ModulusMap::ModulusMap(EModulus& engine, const EModulusParams& params) : params_(params), lookup_(meshOf(engine)) {
    const EModulusLut& lut = *engine.lut(0);
    const double s = lut.channelWidth / params.channelWidth;
    areaFactor_ = s * s;
    modulusFactor_ = s * s * s * params.flowRate / lut.flowRate * viscosity(params, params.temperature) / lut.viscosity;
    deformMin_ = engine.mesh(0)->yMin;
    deformMax_ = engine.mesh(0)->yMax;
}

double ModulusMap::modulusOf(double area, double deform) const {
    return modulusFactor_ * lookup_(area * areaFactor_, pixelationCorrected(deform, area, params_.pixelSize));
}

std::optional<double> ModulusMap::deformOf(double area, double modulus) const {
    const double level = modulus / modulusFactor_;
    const double tableArea = area * areaFactor_;
    constexpr int steps = 100;
    double low = deformMin_;
    double lowValue = lookup_(tableArea, low);
    for (int i = 1; i <= steps; ++i) {
        double high = deformMin_ + (deformMax_ - deformMin_) * i / steps;
        double highValue = lookup_(tableArea, high);
        if ((lowValue - level) * (highValue - level) <= 0.0) {
            while (high - low > 1e-7) {
                const double middle = 0.5 * (low + high);
                const double value = lookup_(tableArea, middle);
                ((value - level) * (lowValue - level) > 0.0 ? low : high) = middle;
            }
            return low - pixelationCorrected(0.0, area, params_.pixelSize);
        }
        low = high;
        lowValue = highValue;
    }
    return std::nullopt;
}

} // namespace Tessaly
