#pragma once

#include "calc/emodulus/Coverage.h"

#include <qwt_plot.h>

namespace Tessaly {

/// A small picture of the look-up table's outline, with the events that got a modulus as dots and the others in the
/// colour of their reason. Events far away lie at its border.
class CoveragePlot : public QwtPlot {
    Q_OBJECT

public:
    explicit CoveragePlot(const EModulusCoverage& coverage, QWidget* parent = nullptr);

    QSize sizeHint() const override;

private:
    void addOutline(const EModulusCoverage& coverage);
    void addEvents(const EModulusCoverage& coverage);

    double areaMin_ = 0.0, areaMax_ = 1.0, deformMin_ = 0.0, deformMax_ = 1.0;
};

} // namespace Tessaly
