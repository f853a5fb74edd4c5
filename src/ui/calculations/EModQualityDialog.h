#pragma once

#include "calc/emodulus/Coverage.h"

#include <QDialog>

class QScrollArea;
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

    void setVisible(bool visible) override;

private:
    /// As high as the figures at a width that few lines need more of, if the screen is.
    void fitToFigures();
    void addGroup(const QString& title, const QString& gradeName, const QStringList& lines);
    void addCoverageGroup(const EModulusQuality& quality);
    void addBoundaryGroup(const EModulusQuality& quality);
    void addSensitivityGroup(const EModulusQuality& quality);
    void addBiasGroup(const EModulusQuality& quality);

    QVBoxLayout* figures_ = nullptr;
    QScrollArea* scroll_ = nullptr; ///< for screens that are lower than the figures
};

} // namespace Tessaly
