#pragma once

#include "core/PlotSettings.h"
#include "widgets/FeatureCombo.h"

#include <QGroupBox>
#include <QPointer>

#include <vector>

class QCheckBox;
class QFrame;
class QGridLayout;
class QHBoxLayout;
class QPushButton;

namespace Tessaly {

class ContourControls;
class ScaleModeCombo;

/// The group box "Plot Settings". Read and written as one value, and every change by the user is reported as one; the
/// program's own changes emit nothing.
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
    /// What the controls say.
    PlotSettings settings() const;
    /// Whether the three feature combos can be used.
    void setFeaturesEnabled(bool on);

    /// Marks the scale combos with the points that a logarithmic axis can't show; 0 takes the mark away.
    void setLogAxisProblems(int xCount, int yCount);

    /// Shows the isoelastics check boxes, which make sense for area against deformation only.
    void setIsoelasticsOffered(bool on);
    bool isoelasticsChecked() const;
    bool isoelasticLabelsChecked() const;

    /// @param highlighted  whether other datasets are plotted differently; shows only on an enabled button
    void setApplyButton(bool enabled, bool highlighted);

    /// The width at which the overlay controls still fit below each other.
    QSize minimumSizeHint() const override;

signals:
    /// The user has changed a control. The settings are those of the last setSettings() with all changes since: a
    /// feature that could not be shown keeps its name until the user picks another.
    void settingsChanged(const PlotSettings& settings);
    void isoelasticsChanged();
    void applyToAllRequested();

protected:
    void resizeEvent(QResizeEvent* event) override;
    void changeEvent(QEvent* event) override;

private:
    /// How the right half is laid out: in three columns as high as the left half, or in one, for narrow windows.
    enum class Arrangement { Wide, Narrow };

    void buildAxisControls();
    void buildOverlayControls();
    void connectControls();
    void onControlChanged();
    void fillLeftHalf();
    void arrangeRightHalf(Arrangement arrangement);
    int requiredWidth(Arrangement arrangement) const;
    void updateWidths();
    void updateArrangement();
    void showIsoelasticControls();

    FeatureCombo* xFeature_ = nullptr;
    FeatureCombo* yFeature_ = nullptr;
    FeatureCombo* colorFeature_ = nullptr;
    ScaleModeCombo* xScale_ = nullptr;
    ScaleModeCombo* yScale_ = nullptr;
    ContourControls* contours_ = nullptr;
    QCheckBox* isoelastics_ = nullptr;
    QCheckBox* isoelasticLabels_ = nullptr;
    QPushButton* applyToAll_ = nullptr;

    QHBoxLayout* halves_ = nullptr;
    QGridLayout* left_ = nullptr;
    QGridLayout* right_ = nullptr;
    QFrame* line_ = nullptr;
    Arrangement arrangement_ = Arrangement::Wide;
    bool isoelasticsOffered_ = false;
    QPointer<QWidget> focusOwner_; ///< had the focus when the feature combos were switched off
    QPointer<QWidget> focusHeir_;  ///< has got it then
    PlotSettings reported_;        ///< as set, with the user's changes
    PlotSettings shown_;           ///< what the controls said last
};

} // namespace Tessaly
