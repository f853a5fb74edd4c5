#pragma once

#include "session/compare/CombineSettings.h"
#include "widgets/BoundControls.h"

#include <QWidget>

#include <array>

class QBoxLayout;
class QFormLayout;

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
    QCheckBox* addCheck(QBoxLayout& layout, const QString& text, const char* name, bool CombineOptions::*member,
                        const QString& toolTip = {});
    /// One whose change is told by optionsChanged().
    QCheckBox* addOption(QBoxLayout& layout, const QString& text, const char* name, bool CombineOptions::*member,
                         const QString& toolTip = {});
    QDoubleSpinBox* makeLimit(const char* name, const QString& accessibleName);
    QSpinBox* makeSize(const char* name, const QString& accessibleName, int CombineOptions::*member);

    BoundControls<CombineOptions> controls_; ///< all but limits and contours
    BoundControls<PlotLimits> limitBoxes_;
    std::array<QDoubleSpinBox*, 4> limits_{}; ///< of X, then of Y
    ContourControls* contours_ = nullptr;
    QCheckBox* manualLimits_ = nullptr;
    QCheckBox* isoLabels_ = nullptr;
    QWidget* arrayBoxes_ = nullptr;
};

} // namespace Tessaly
