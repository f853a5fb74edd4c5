#include "ui/calculations/RefinementPage.h"

#include "ui/calculations/PageControls.h"

#include <QCheckBox>
#include <QDoubleSpinBox>
#include <QFormLayout>
#include <QGridLayout>
#include <QGroupBox>
#include <QLabel>
#include <QPushButton>
#include <QSpinBox>
#include <QVBoxLayout>

namespace Tessaly {

RefinementPage::RefinementPage(QWidget* parent) : QWidget(parent) {
    const FLRefinementParams defaults;
    auto* box = new QGroupBox(tr("Trace Filters"));
    grid_ = new QGridLayout(box);
    grid_->setColumnStretch(0, 1);
    hampel1_ = makeFilter(tr("Hampel 1"), "hampel1", defaults.hampel1, defaults.hampel1HalfWindow);
    hampel2_ = makeFilter(tr("Hampel 2"), "hampel2", defaults.hampel2, defaults.hampel2HalfWindow);
    median_ = makeFilter(tr("Median"), "median", defaults.median, defaults.medianHalfWindow);
    median_.on->setToolTip(tr("Sliding median filter — removes impulse bursts shorter than k+1 samples"));
    rolling_ = makeFilter(tr("Rolling Avg"), "rolling", defaults.rolling, defaults.rollingHalfWindow);
    rolling_.on->setToolTip(tr("Moving mean filter (window = 2k+1)"));
    savitzkyGolay_ =
        makeFilter(tr("Savitzky-Golay"), "savitzkyGolay", defaults.savitzkyGolay, defaults.savitzkyGolayHalfWindow);
    savitzkyGolay_.halfWindow->setMaximum(20);
    savitzkyGolay_.halfWindow->setToolTip(tr("Half-window size (quadratic fit, window = 2k+1)"));
    setNarrow(false);

    flMaxThreshold_ = new QDoubleSpinBox;
    flMaxThreshold_->setObjectName(QStringLiteral("flMaxThresholdSpinBox"));
    flMaxThreshold_->setAccessibleName(tr("FL max threshold"));
    flMaxThreshold_->setDecimals(0);
    flMaxThreshold_->setRange(0.0, 10000.0);
    flMaxThreshold_->setValue(defaults.flMaxThreshold);
    flMaxThreshold_->setToolTip(tr("Minimum fl_max value for velocity estimation events"));
    auto* form = new QFormLayout;
    form->setRowWrapPolicy(QFormLayout::WrapLongRows);
    form->addRow(tr("FL max threshold:"), flMaxThreshold_);

    applyToAll_ = makeApplyToAll("refinementApplyToAll", tr("Fluorescence refinement of all datasets"));
    start_ = makeStartButton(tr("Refine Fluorescence"), "refineButton");
    showRefined_ = new QCheckBox(tr("Show Refined Trace"));
    showRefined_->setObjectName(QStringLiteral("showRefinedTraceCheckBox"));
    showRefined_->setChecked(true);
    showRefined_->setToolTip(tr("Toggle between refined and original median trace display"));

    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(box);
    layout->addLayout(form);
    for (QWidget* control : std::initializer_list<QWidget*>{applyToAll_, start_, showRefined_}) {
        layout->addWidget(control);
    }
    layout->addStretch();
    connect(start_, &QPushButton::clicked, this, &RefinementPage::startRequested);
    connect(showRefined_, &QCheckBox::toggled, this, &RefinementPage::traceDisplayChanged);
}

RefinementPage::Filter RefinementPage::makeFilter(const QString& name, const char* objectName, bool on,
                                                  int halfWindow) {
    Filter filter{new QCheckBox(name), new QSpinBox, new QLabel(tr("k:"))};
    filter.on->setObjectName(QLatin1String(objectName) + QLatin1String("CheckBox"));
    filter.on->setChecked(on);
    filter.halfWindow->setObjectName(QLatin1String(objectName) + QLatin1String("SpinBox"));
    filter.halfWindow->setAccessibleName(tr("Half-window of %1").arg(name));
    filter.halfWindow->setRange(1, 50);
    filter.halfWindow->setValue(halfWindow);
    filter.halfWindow->setMinimumWidth(60);
    filter.halfWindow->setToolTip(tr("Half-window size (full window = 2k+1)"));
    filter.caption->setBuddy(filter.halfWindow);
    return filter;
}

void RefinementPage::setNarrow(bool narrow) {
    int row = 0;
    for (const Filter& filter : {hampel1_, hampel2_, median_, rolling_, savitzkyGolay_}) {
        grid_->addWidget(filter.on, row, 0, 1, narrow ? 3 : 1);
        row += narrow ? 1 : 0;
        grid_->addWidget(filter.caption, row, 1);
        grid_->addWidget(filter.halfWindow, row, 2);
        ++row;
    }
}

FLRefinementParams RefinementPage::params() const {
    FLRefinementParams params;
    params.hampel1 = hampel1_.on->isChecked();
    params.hampel1HalfWindow = hampel1_.halfWindow->value();
    params.hampel2 = hampel2_.on->isChecked();
    params.hampel2HalfWindow = hampel2_.halfWindow->value();
    params.median = median_.on->isChecked();
    params.medianHalfWindow = median_.halfWindow->value();
    params.rolling = rolling_.on->isChecked();
    params.rollingHalfWindow = rolling_.halfWindow->value();
    params.savitzkyGolay = savitzkyGolay_.on->isChecked();
    params.savitzkyGolayHalfWindow = savitzkyGolay_.halfWindow->value();
    params.flMaxThreshold = flMaxThreshold_->value();
    return params;
}

bool RefinementPage::appliesToAll() const {
    return applyToAll_->isChecked();
}

bool RefinementPage::showsRefinedTrace() const {
    return showRefined_->isChecked();
}

} // namespace Tessaly
