#pragma once

#include "session/PlotSettings.h"

#include <QGroupBox>

#include <string>
#include <vector>

class QCheckBox;
class QComboBox;
class QPushButton;
class QSpinBox;

namespace Tessaly {

/// A feature as the combo boxes list it.
struct FeatureItem {
    std::string key;
    QString label;
};

/// The group box "Plot Settings". Read and written as one value; the program's own changes emit nothing.
class PlotSettingsPanel : public QGroupBox {
    Q_OBJECT

public:
    explicit PlotSettingsPanel(QWidget* parent = nullptr);

    /// Fills the three feature combos ("Color by" with none and density first) and selects the defaults: area_um over
    /// X, deform over Y if they are there, no colour.
    void setFeatures(const std::vector<FeatureItem>& features);
    /// Empties the feature combos.
    void clearFeatures();
    /// Shows settings. A feature that is empty or not listed leaves its combo alone.
    void setSettings(const PlotSettings& settings);
    PlotSettings settings() const;
    /// Whether the three feature combos can be used.
    void setFeaturesEnabled(bool on);

    /// Marks the scale combos with the points that a logarithmic axis can't show; 0 takes the mark away.
    void setLogAxisProblems(int xCount, int yCount);

    /// Shows the isoelastics check boxes, which make sense for area against deformation only.
    void setIsoelasticsOffered(bool on);
    bool isoelasticsChecked() const;
    bool isoelasticLabelsChecked() const;

    void setApplyButton(bool enabled, bool highlighted);

signals:
    void featuresChanged();
    void xScaleChanged(int mode);
    void yScaleChanged(int mode);
    void contoursChanged();
    void isoelasticsChanged();
    void applyToAllRequested();

private:
    QComboBox* xFeature_;
    QComboBox* yFeature_;
    QComboBox* colorFeature_;
    QComboBox* xScale_;
    QComboBox* yScale_;
    QComboBox* contourMode_;
    QSpinBox* innerFraction_;
    QSpinBox* outerFraction_;
    QCheckBox* isoelastics_;
    QCheckBox* isoelasticLabels_;
    QPushButton* applyToAll_;
};

} // namespace Tessaly
