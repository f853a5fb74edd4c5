#pragma once

#include "calc/emodulus/EModulus.h"
#include "calc/emodulus/Lookup.h"

#include <optional>

namespace Tessaly {

/// The look-up table at the conditions of one measurement, in both directions.
class ModulusMap {
public:
    /// Throws std::runtime_error if the engine finds no table.
    ModulusMap(EModulus& engine, const EModulusParams& params);

    const EModulusParams& params() const { return params_; }
    /// Young's modulus in kPa of a measured area (um^2) and deformation; NaN outside the table.
    double modulusOf(double area, double deform) const;
    /// The measured deformation at which a cell of that area has that modulus; nothing outside the table.
    std::optional<double> deformOf(double area, double modulus) const;

private:
    EModulusParams params_;
    EModulusLookup lookup_;
    double areaFactor_;
    double modulusFactor_;
    double deformMin_;
    double deformMax_;
};

} // namespace Tessaly
