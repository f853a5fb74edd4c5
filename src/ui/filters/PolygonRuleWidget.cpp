#include "ui/filters/PolygonRuleWidget.h"

#include "ui/filters/PolygonPreview.h"
#include "ui/filters/RuleFeatures.h"
#include "widgets/ElidedLabel.h"
#include "widgets/ToolTips.h"

#include <QHBoxLayout>
#include <QPushButton>
#include <QSignalBlocker>

namespace Tessaly {

PolygonRuleWidget::PolygonRuleWidget(std::shared_ptr<RuleFeatures> features, Home home, QWidget* parent)
    : RuleRow(home, parent),
      features_(std::move(features)),
      preview_(new PolygonPreview),
      axes_(new ElidedLabel),
      count_(new QLabel),
      edit_(new QPushButton(tr("Edit"))) {
    axes_->setObjectName(QStringLiteral("polygonAxesLabel"));
    count_->setObjectName(QStringLiteral("polygonCountLabel"));
    edit_->setObjectName(QStringLiteral("editPolygonButton"));
    edit_->setCheckable(true);
    edit_->setToolTip(tr("Edit polygon: drag vertices to reshape, left-click on an edge to add a vertex, right-click a "
                         "vertex to delete. Press Esc or click Edit again to finish."));
    head()->addWidget(axes_, 1);
    body()->addWidget(preview_);
    body()->addWidget(count_);
    body()->addStretch();
    body()->addWidget(edit_);
    connect(edit_, &QPushButton::toggled, this, &PolygonRuleWidget::editToggled);
}

void PolygonRuleWidget::setRule(const FilterRule& rule) {
    RuleRow::setRule(rule);
    const QString axes = subject();
    axes_->setText(axes);
    axes_->setToolTip(plainToolTip(axes));
    count_->setText(tr("(%1 pts)").arg(rule.polygonVertices.size()));
    preview_->setRule(rule);
}

void PolygonRuleWidget::setEditing(bool on) {
    const QSignalBlocker blocker(edit_);
    edit_->setChecked(on);
}

QString PolygonRuleWidget::subject() const {
    const bool missing = !features_->has(rule_.featureName) || !features_->has(rule_.featureNameY);
    const QString axes = features_->label(rule_.featureName) + tr(" vs ") + features_->label(rule_.featureNameY);
    return missing ? axes + tr(" (n/a)") : axes;
}

void PolygonRuleWidget::updateNames() {
    RuleRow::updateNames();
    nameControl(edit_, tr("Editing"));
    nameControl(preview_, tr("Picture"));
}

QList<QWidget*> PolygonRuleWidget::controls() const {
    return headControls({}) + QList<QWidget*>{edit_} + footControls();
}

} // namespace Tessaly
