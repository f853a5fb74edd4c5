#pragma once

#include "core/ScaleMath.h"

#include <qwt_transform.h>

namespace Tessaly {

/// The pseudo-logarithmic mapping as an axis transformation: linear about zero, logarithmic (base 10) beyond a
/// threshold on both sides. The arithmetic is PseudoLogScale's, so that drawing and gating agree to the last bit.
class PseudoLogTransform : public QwtTransform {
public:
    /// Threshold 100 and slope 0.005.
    PseudoLogTransform() = default;
    /// @param linearThreshold  in data units, above 0
    /// @param slope            of the linear piece, axis space per data unit
    PseudoLogTransform(double linearThreshold, double slope);

    double linearThreshold() const { return scale_.linearThreshold; }
    double slope() const { return scale_.slope; }

    double transform(double value) const override;
    double invTransform(double value) const override;
    QwtTransform* copy() const override;

private:
    PseudoLogScale scale_;
};

} // namespace Tessaly
