#pragma once

#include "ui/filters/RuleRow.h"

#include <memory>

class QLabel;
class QPushButton;

namespace Tessaly {

class ElidedLabel;
class PolygonPreview;
class RuleFeatures;

/// The row of a polygon rule. Its vertices are drawn and changed on the plot; "Edit" asks for that.
class PolygonRuleWidget : public RuleRow {
    Q_OBJECT

public:
    PolygonRuleWidget(std::shared_ptr<RuleFeatures> features, Home home, QWidget* parent = nullptr);

    void setRule(const FilterRule& rule) override;
    /// Shows whether the polygon is being edited; emits nothing.
    void setEditing(bool on);
    QList<QWidget*> controls() const override;

signals:
    void editToggled(bool on);

protected:
    void updateNames() override;
    QString subject() const override;

private:
    std::shared_ptr<RuleFeatures> features_;
    PolygonPreview* preview_;
    ElidedLabel* axes_;
    QLabel* count_;
    QPushButton* edit_;
};

} // namespace Tessaly
