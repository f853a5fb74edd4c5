#pragma once

#include "calc/emodulus/EModulus.h"

#include <QWidget>

class QLabel;

namespace Tessaly {

/// Content of the "Calculations" dock: the conditions of the measurement from which moduli and isoelastic lines follow.
class CalculationsDockWidget : public QWidget {
    Q_OBJECT

public:
    explicit CalculationsDockWidget(QWidget* parent = nullptr);

    /// Shows a dataset's conditions; null for no dataset.
    void setDatasetMetadata(const VQDMetadata* metadata);

    /// The parameters for one dataset, from its own metadata.
    EModulusParams emodulusParamsFor(const VQDMetadata& metadata) const;

private:
    QLabel* medium_ = nullptr;
    QLabel* viscosityModel_ = nullptr;
    QLabel* viscosity_ = nullptr;
    QLabel* temperature_ = nullptr;
    QLabel* channelWidth_ = nullptr;
    QLabel* flowRate_ = nullptr;
    QLabel* pixelSize_ = nullptr;
};

} // namespace Tessaly
