#include "calc/emodulus/EModulus.h"

#include <cmath>

namespace Tessaly {

namespace {

double heroldViscosity(const EModulusParams& params, double temperature) {
    const bool isPlainSorvex = params.medium == Medium::Sorvex;
    const double shearFactor = isPlainSorvex ? 1.6707050335189184 : 1.706549572791479;
    const double exponent = isPlainSorvex ? -0.32299999999999995 : -0.366;
    const double consistency = isPlainSorvex ? 0.179 : 0.36;
    const double referenceTemperature = isPlainSorvex ? 23.2 : 23.6;
    const double shear = (2.0 / 3.0) * (params.flowRate * 7.1136 * 1e-9) / std::pow(params.channelWidth * 1e-6, 3);
    return consistency * std::pow(shear * shearFactor, exponent) *
           std::pow(temperature / referenceTemperature, -0.866) * 1000.0;
}

double kestinViscosity(double temperature) {
    const double d = 20.0 - temperature;
    return 1.002 * std::pow(10.0, (1.2364 - 0.00137 * d + 5.7e-6 * d * d) * d / (temperature + 96.0));
}

double powerLawViscosity(const EModulusParams& params, double temperature) {
    double a = 5.7e-6;
    double b = -0.0744;
    if (params.medium == Medium::Sorvex) {
        a = 2.3e-6;
        b = -0.0056;
    } else if (params.medium == Medium::Methylcellulose) {
        a = 1.652e-5;
        b = -0.1455;
    }
    const double kelvin = temperature + 273.15;
    const double width = params.channelWidth * 0.001; // mm
    const double n = 0.00223 * kelvin + b;
    const double c = 0.2121 / n + 0.6671;
    const double shear = c * 8.0 * params.flowRate / (width * width * width);
    return std::pow(shear, n - 1.0) * a * std::exp(3379.7 / kelvin) * 1000.0;
}

} // namespace

double viscosity(const EModulusParams& params, double temperature) {
    switch (params.viscosityModel) {
    case ViscosityModel::Herold:
        return heroldViscosity(params, temperature);
    case ViscosityModel::Kestin:
        return kestinViscosity(temperature);
    case ViscosityModel::PowerLaw:
        return powerLawViscosity(params, temperature);
    case ViscosityModel::Manual:
        return params.viscosity;
    default:
        return 1.0;
    }
}

double pixelationCorrected(double deform, double area, double pixelSize) {
    const double scale = 0.34 / pixelSize;
    const double u = -(scale * scale) * area;
    const double correction =
        0.02 * std::exp(u / 7.1) + 0.0012 + 0.01 * std::exp(u / 38.6) + 0.005 * std::exp(u / 296.0);
    return deform - correction;
}

} // namespace Tessaly
