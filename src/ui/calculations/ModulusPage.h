#pragma once

#include "calc/emodulus/EModulus.h"

#include <QWidget>

class QBoxLayout;
class QButtonGroup;
class QCheckBox;
class QComboBox;
class QDoubleSpinBox;
class QLabel;
class QPushButton;

namespace Tessaly {

/// Page "Young's Modulus" of the calculations dock: the conditions of the measurement, those of them that the user may
/// set, and the buttons.
class ModulusPage : public QWidget {
    Q_OBJECT

public:
    explicit ModulusPage(QWidget* parent = nullptr);

    /// Shows a dataset's conditions; null for no dataset. The model of viscosity follows the medium.
    void setDatasetMetadata(const VQDMetadata* metadata, bool hasTemperatureFeature);
    /// Puts the deformation features that a dataset has on offer. The choice is kept if it is among them.
    void fillDeformationSources(bool offered, bool hasFc, bool hasOdd);

    /// What the page shows, as parameters for the dataset shown: a condition that the file doesn't state counts as 0.
    EModulusParams shownParams() const;
    /// What the page adds to the conditions that any dataset states itself: temperature, viscosity and source.
    EModulusSettings settings() const;

    /// Puts choices below each other.
    void setNarrow(bool narrow);

    bool appliesToAll() const;
    bool assessesFiltered() const;
    QPushButton* computeButton() const { return compute_; }
    QPushButton* assessButton() const { return assess_; }

signals:
    void computeRequested();
    void assessRequested();
    /// What the user may set is another.
    void conditionsChanged();

private:
    QLayout* buildTemperatureSources();
    void connectControls();
    void showMedium(const VQDMetadata* metadata);
    void showMissing(bool hasDataset);
    /// Follows the choice of temperature and the model: which fields can be edited, and the viscosity that is shown.
    void updateFields();
    std::int32_t model() const;
    std::string deformFeature() const;

    QLabel* medium_ = nullptr;
    QComboBox* model_ = nullptr;
    QDoubleSpinBox* viscosity_ = nullptr;
    QDoubleSpinBox* temperature_ = nullptr;
    QBoxLayout* temperatureChoices_ = nullptr;
    QButtonGroup* temperatureSource_ = nullptr; ///< ids are TemperatureSource
    QLabel* channelWidth_ = nullptr;
    QLabel* flowRate_ = nullptr;
    QLabel* pixelSize_ = nullptr;
    QLabel* deformCaption_ = nullptr;
    QComboBox* deformSource_ = nullptr;
    QLabel* missing_ = nullptr;
    QCheckBox* applyToAll_ = nullptr;
    QPushButton* compute_ = nullptr;
    QPushButton* assess_ = nullptr;
    QCheckBox* filtered_ = nullptr;

    std::int32_t mediumCode_ = Medium::Other;
    double metadataTemperature_ = 23.0; ///< degrees Celsius
    bool deformOffered_ = false;
};

} // namespace Tessaly
