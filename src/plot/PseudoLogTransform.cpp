#include "plot/PseudoLogTransform.h"

namespace Tessaly {

PseudoLogTransform::PseudoLogTransform(double linearThreshold, double slope) : scale_{linearThreshold, slope} {}

double PseudoLogTransform::transform(double value) const {
    return scale_.transform(value);
}

double PseudoLogTransform::invTransform(double value) const {
    return scale_.inverse(value);
}

QwtTransform* PseudoLogTransform::copy() const {
    return new PseudoLogTransform(scale_.linearThreshold, scale_.slope);
}

} // namespace Tessaly
