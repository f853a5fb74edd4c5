#pragma once

#include <QList>
#include <qwt_interval.h>
#include <qwt_scale_engine.h>

namespace Tessaly {

/// Ticks of a pseudo-logarithmic axis: major ticks at the decades from the linear threshold outwards and at zero, and
/// at both bounds where they are whole steps. On the negative side the walk towards zero starts a decade nearer to it
/// than the one in which the lower bound lies: -5000 is followed by -100. Where fewer than two of these lie in the
/// interval, round values fill in (roundTicks()).
class PseudoLogScaleEngine : public QwtScaleEngine {
public:
    /// @param linearThreshold  where the logarithmic pieces begin, in data units
    /// @param linearRange      length of the linear piece from zero to the threshold, in axis space
    explicit PseudoLogScaleEngine(double linearThreshold = 100.0, double linearRange = 0.5);

    double linearThreshold() const { return linearThreshold_; }
    double linearRange() const { return linearRange_; }

    /// Widens and aligns an interval to whole steps. Bounds are swapped with the attribute Inverted.
    void autoScale(int maxNumSteps, double& x1, double& x2, double& stepSize) const override;

    /// Ticks of an interval; an empty division for a width of 0 or one that overflows (which logs a warning).
    QwtScaleDiv divideScale(double x1, double x2, int maxMajorSteps, int maxMinorSteps,
                            double stepSize = 0.0) const override;

private:
    QwtInterval align(const QwtInterval& interval, double stepSize) const;
    QList<double> majorTicks(const QwtInterval& interval, double stepSize) const;
    QList<double> minorTicks(const QList<double>& majors) const;

    double linearThreshold_;
    double linearRange_;
};

} // namespace Tessaly
