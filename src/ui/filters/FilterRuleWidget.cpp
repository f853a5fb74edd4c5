#include "ui/filters/FilterRuleWidget.h"

#include "ui/filters/RuleFeatures.h"
#include "widgets/ToolTips.h"
#include "widgets/WideCombo.h"

#include <QDoubleSpinBox>
#include <QHBoxLayout>
#include <QLineEdit>
#include <QSignalBlocker>
#include <QStyle>
#include <QStyleOptionSpinBox>

#include <cmath>

namespace Tessaly {

namespace {

constexpr double Limit = 1e15;
constexpr int MaxDecimals = 6;
constexpr double EmptyRangeStep = 0.01;

/// As wide as the numbers that are usual, not as its limits.
class BoundBox : public QDoubleSpinBox {
public:
    using QDoubleSpinBox::QDoubleSpinBox;

    QSize sizeHint() const override {
        ensurePolished();
        QStyleOptionSpinBox option;
        initStyleOption(&option);
        const QSize text(fontMetrics().horizontalAdvance(QStringLiteral("-1234567.89 ")),
                         lineEdit()->sizeHint().height());
        return style()->sizeFromContents(QStyle::CT_SpinBox, &option, text, this);
    }
    QSize minimumSizeHint() const override { return sizeHint(); }
};

int decimalsFor(double range) {
    if (range < 0.1) {
        return MaxDecimals;
    }
    if (range < 1.0) {
        return 4;
    }
    return range < 100.0 ? 2 : 1;
}

double stepFor(double range) {
    return range > 0.0 && std::isfinite(range) ? range / 100.0 : EmptyRangeStep;
}

bool isExactWith(double value, int decimals) {
    return QString::number(value, 'f', decimals).toDouble() == value;
}

/// Decimals for bounds that were stored: enough to show them exactly, if there are.
int decimalsFor(double minimum, double maximum) {
    const int usual = decimalsFor(maximum - minimum);
    for (int decimals = usual; decimals <= MaxDecimals; ++decimals) {
        if (isExactWith(minimum, decimals) && isExactWith(maximum, decimals)) {
            return decimals;
        }
    }
    return usual;
}

} // namespace

FilterRuleWidget::FilterRuleWidget(std::shared_ptr<RuleFeatures> features, Home home, QWidget* parent)
    : RuleRow(home, parent),
      features_(std::move(features)),
      feature_(new WideCombo),
      minimum_(makeBound("minimumSpinBox", tr("Minimum value (inclusive)"), &FilterRule::minValue)),
      maximum_(makeBound("maximumSpinBox", tr("Maximum value (inclusive)"), &FilterRule::maxValue)) {
    feature_->setObjectName(QStringLiteral("ruleFeatureCombo"));
    feature_->setModel(features_->model());
    feature_->setSizeAdjustPolicy(QComboBox::AdjustToMinimumContentsLengthWithIcon);
    feature_->setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
    feature_->setEnabled(features_->isReady());
    head()->addWidget(feature_, 1);
    body()->addWidget(minimum_, 1);
    body()->addWidget(maximum_, 1);
    connect(feature_, &QComboBox::currentIndexChanged, this, &FilterRuleWidget::onFeatureChanged);
}

FilterRuleWidget::~FilterRuleWidget() = default;

QDoubleSpinBox* FilterRuleWidget::makeBound(const char* name, const QString& toolTip, double FilterRule::*bound) {
    auto* box = new BoundBox(this);
    box->setObjectName(QLatin1String(name));
    QLocale locale = QLocale::c();
    locale.setNumberOptions(QLocale::OmitGroupSeparator | QLocale::RejectGroupSeparator);
    box->setLocale(locale);
    box->setRange(-Limit, Limit);
    box->setToolTip(toolTip);
    box->setFocusPolicy(Qt::StrongFocus);
    // A file dropped on a field is opened like one dropped beside it, not typed in.
    for (QLineEdit* edit : box->findChildren<QLineEdit*>()) {
        edit->setAcceptDrops(false);
    }
    connect(box, &QDoubleSpinBox::valueChanged, this, [this, bound](double value) { change(bound, value); });
    return box;
}

void FilterRuleWidget::setRule(const FilterRule& rule) {
    const QSignalBlocker blocker(feature_);
    if (features_->has(rule.featureName)) {
        showOffered();
        feature_->setCurrentIndex(feature_->findData(QString::fromStdString(rule.featureName)));
    } else if (!rule.featureName.empty()) {
        showMissing(rule.featureName);
    }
    RuleRow::setRule(rule);
    showBounds(decimalsFor(rule.minValue, rule.maxValue), stepFor(rule.maxValue - rule.minValue));
}

void FilterRuleWidget::setNarrow(bool narrow) {
    RuleRow::setNarrow(narrow);
    body()->setDirection(narrow ? QBoxLayout::TopToBottom : QBoxLayout::LeftToRight);
}

void FilterRuleWidget::showMissing(const std::string& feature) {
    missing_ = true;
    const QString key = QString::fromStdString(feature);
    // The shared list is left for one of the row's own, which has the missing feature behind the others.
    auto* list = new QStandardItemModel(this); // not the box's, which would delete it while it is still in use
    for (int row = 0; row < features_->model()->rowCount(); ++row) {
        list->appendRow(features_->model()->item(row)->clone());
    }
    auto* item = new QStandardItem(tr("%1 (n/a)").arg(key));
    item->setData(key, Qt::UserRole);
    list->appendRow(item);
    feature_->setModel(list);
    feature_->setCurrentIndex(list->rowCount() - 1);
    setSwitchEnabled(false);
    minimum_->setEnabled(false);
    maximum_->setEnabled(false);
}

void FilterRuleWidget::showOffered() {
    if (!missing_) {
        return;
    }
    missing_ = false;
    QAbstractItemModel* list = feature_->model();
    const QVariant chosen = feature_->currentData();
    feature_->setModel(features_->model());
    feature_->setCurrentIndex(feature_->findData(chosen));
    list->deleteLater();
    setSwitchEnabled(true);
    minimum_->setEnabled(true);
    maximum_->setEnabled(true);
}

void FilterRuleWidget::showBounds(int decimals, double step) {
    for (const auto& [box, value] : {std::pair(minimum_, rule_.minValue), std::pair(maximum_, rule_.maxValue)}) {
        const QSignalBlocker blocker(box);
        box->setDecimals(decimals);
        box->setSingleStep(step);
        box->setValue(std::isnan(value) ? 0.0 : value);
    }
}

void FilterRuleWidget::onFeatureChanged(int index) {
    const std::string key = feature_->itemData(index).toString().toStdString();
    if (!features_->has(key)) {
        return;
    }
    {
        const QSignalBlocker blocker(feature_);
        showOffered();
    }
    rule_.featureName = key;
    if (const auto range = features_->range(key)) {
        std::tie(rule_.minValue, rule_.maxValue) = *range;
        const double width = rule_.maxValue - rule_.minValue;
        showBounds(decimalsFor(width), stepFor(width));
    }
    updateNames();
    emit ruleChanged();
}

QString FilterRuleWidget::subject() const {
    return missing_ ? feature_->currentText() : features_->label(rule_.featureName);
}

void FilterRuleWidget::updateNames() {
    RuleRow::updateNames();
    feature_->setToolTip(plainToolTip(feature_->currentText())); // a narrow box cuts long names
    nameControl(feature_, tr("Feature"));
    nameControl(minimum_, tr("Minimum"));
    nameControl(maximum_, tr("Maximum"));
}

QList<QWidget*> FilterRuleWidget::controls() const {
    return headControls({feature_}) + QList<QWidget*>{minimum_, maximum_} + footControls();
}

} // namespace Tessaly
