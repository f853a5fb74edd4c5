#pragma once

#include "session/compare/CombineSettings.h"

#include <QWidget>

class QBoxLayout;
class QCheckBox;
class QComboBox;
class QDoubleSpinBox;
class QFormLayout;
class QSpinBox;

namespace Tessaly {

class ContourControls;

/// The controls of a combine window for all of its datasets. Shows options and tells of the user's changes; the rules
/// between the controls are the model's.
class CombineSettingsPanel : public QWidget {
    Q_OBJECT

public:
    explicit CombineSettingsPanel(QWidget* parent = nullptr);

    /// What the controls say.
    CombineOptions options() const;
    /// Shows options without a signal.
    void showOptions(const CombineOptions& options);

signals:
    void displayModeChanged(int index);
    void colorModeChanged(int index);
    void syncFeaturesToggled(bool checked);
    void syncAxesToggled(bool checked);
    void axisLimitsChanged();
    /// Any other control.
    void optionsChanged();

private:
    void addModes(QFormLayout& form);
    void addAxes(QBoxLayout& layout);
    void addContours(QFormLayout& form);
    void addArray(QBoxLayout& layout);
    QCheckBox* addCheck(QBoxLayout& layout, const QString& text, const char* name, const QString& toolTip = {});
    QDoubleSpinBox* makeLimit(const char* name, const QString& accessibleName);
    QSpinBox* makeSize(const char* name, const QString& accessibleName);

    QComboBox* display_ = nullptr;
    QComboBox* color_ = nullptr;
    QCheckBox* syncFeatures_ = nullptr;
    QCheckBox* legend_ = nullptr;
    QCheckBox* syncAxes_ = nullptr;
    QCheckBox* manualLimits_ = nullptr;
    QDoubleSpinBox* xMin_ = nullptr;
    QDoubleSpinBox* xMax_ = nullptr;
    QDoubleSpinBox* yMin_ = nullptr;
    QDoubleSpinBox* yMax_ = nullptr;
    ContourControls* contours_ = nullptr;
    QCheckBox* isoelastics_ = nullptr;
    QCheckBox* isoLabels_ = nullptr;
    QCheckBox* manualArray_ = nullptr;
    QWidget* arrayBoxes_ = nullptr;
    QSpinBox* cols_ = nullptr;
    QSpinBox* rows_ = nullptr;
    QCheckBox* count_ = nullptr;
};

} // namespace Tessaly
