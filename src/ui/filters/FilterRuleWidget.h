#pragma once

#include "ui/filters/RuleRow.h"

#include <memory>

class QDoubleSpinBox;

namespace Tessaly {

class RuleFeatures;
class WideCombo;

/// The row of a range rule. A rule on a feature that the dataset lacks is shown as "(n/a)" and can't be changed but for
/// its switch in all datasets, its inversion and its feature.
class FilterRuleWidget : public RuleRow {
    Q_OBJECT

public:
    FilterRuleWidget(std::shared_ptr<RuleFeatures> features, Home home, QWidget* parent = nullptr);
    ~FilterRuleWidget() override;

    void setRule(const FilterRule& rule) override;
    void setNarrow(bool narrow) override;
    QList<QWidget*> controls() const override;

private slots:
    /// Takes the chosen feature with its range as bounds.
    void onFeatureChanged(int index);

protected:
    void updateNames() override;
    QString subject() const override;

private:
    QDoubleSpinBox* makeBound(const char* name, const QString& toolTip, double FilterRule::*bound);
    void showMissing(const std::string& feature);
    void showOffered();
    void showBounds(int decimals, double step);

    std::shared_ptr<RuleFeatures> features_;
    WideCombo* feature_;
    QDoubleSpinBox* minimum_;
    QDoubleSpinBox* maximum_;
    bool missing_ = false; ///< the dataset lacks the feature
};

} // namespace Tessaly
