#pragma once

#include "calc/emodulus/Coverage.h"

#include <QDialog>

class QGroupBox;
class QVBoxLayout;

namespace Tessaly {

/// Tells how far the moduli of a dataset can be trusted: four figures with a light each, and a picture of the table and
/// the events. Deletes itself when it is closed.
class EModQualityDialog : public QDialog {
    Q_OBJECT

public:
    EModQualityDialog(const EModulusQuality& quality, const QString& datasetName, QWidget* parent = nullptr);

    /// Adds the picture beneath the figures; an empty one is left out.
    void setCoverage(const EModulusCoverage& coverage);

private:
    void addGroup(const QString& title, const QStringList& lines);
    void addCoverageGroup(const EModulusQuality& quality);
    void addBoundaryGroup(const EModulusQuality& quality);
    void addSensitivityGroup(const EModulusQuality& quality);
    void addBiasGroup(const EModulusQuality& quality);

    QVBoxLayout* figures_ = nullptr;
};

} // namespace Tessaly
