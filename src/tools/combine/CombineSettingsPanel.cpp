#include "tools/combine/CombineSettingsPanel.h"

#include "widgets/ContourControls.h"
#include "widgets/WideCombo.h"

#include <QCheckBox>
#include <QDoubleSpinBox>
#include <QFormLayout>
#include <QGridLayout>
#include <QLabel>
#include <QLineEdit>
#include <QSignalBlocker>
#include <QSpinBox>
#include <QVBoxLayout>

#include <array>

namespace Tessaly {

namespace {

QComboBox* makeCombo(const QStringList& items, const char* name, const QString& accessibleName) {
    auto* combo = new WideCombo;
    combo->addItems(items);
    combo->setObjectName(QLatin1String(name));
    combo->setAccessibleName(accessibleName);
    return combo;
}

QFormLayout* addForm(QBoxLayout& layout) {
    auto* form = new QFormLayout;
    form->setHorizontalSpacing(8);
    form->setVerticalSpacing(4);
    form->setFieldGrowthPolicy(QFormLayout::AllNonFixedFieldsGrow);
    layout.addLayout(form);
    return form;
}

} // namespace

CombineSettingsPanel::CombineSettingsPanel(QWidget* parent) : QWidget(parent) {
    setObjectName(QStringLiteral("combineSettingsPanel"));
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(8, 8, 8, 8);
    layout->setSpacing(4);
    addModes(*addForm(*layout));
    syncFeatures_ =
        addCheck(*layout, tr("Sync Features"), "syncFeaturesCheckBox", tr("Keep all datasets on the same X/Y axes"));
    legend_ = addCheck(*layout, tr("Show Legend"), "showLegendCheckBox");
    addAxes(*layout);
    layout->addSpacing(4);
    addContours(*addForm(*layout));
    isoelastics_ = addCheck(*layout, tr("Isoelastics"), "isoelasticsCheckBox",
                            tr("Show isoelasticity lines on area vs. deformation plots"));
    isoLabels_ = addCheck(*layout, tr("Labels"), "isoLabelsCheckBox", tr("Show kPa labels on isoelasticity lines"));
    addArray(*layout);
    count_ = addCheck(*layout, tr("Show N"), "showCountCheckBox",
                      tr("Display the number of plotted events (N = #) in each array plot"));
    layout->addStretch(1);
    connect(syncFeatures_, &QCheckBox::toggled, this, &CombineSettingsPanel::syncFeaturesToggled);
    connect(syncAxes_, &QCheckBox::toggled, this, &CombineSettingsPanel::syncAxesToggled);
    for (QCheckBox* check : {legend_, manualLimits_, isoelastics_, isoLabels_, manualArray_, count_}) {
        connect(check, &QCheckBox::toggled, this, &CombineSettingsPanel::optionsChanged);
    }
    showOptions({});
}

void CombineSettingsPanel::addModes(QFormLayout& form) {
    display_ = makeCombo({tr("Array"), tr("Array + Contour"), tr("Same Plot")}, "displayModeCombo", tr("Display"));
    color_ = makeCombo({tr("Heatmap (Density)"), tr("Dataset Color"), tr("None")}, "colorModeCombo", tr("Color"));
    form.addRow(tr("Display:"), display_);
    form.addRow(tr("Color:"), color_);
    connect(display_, &QComboBox::currentIndexChanged, this, &CombineSettingsPanel::displayModeChanged);
    connect(color_, &QComboBox::currentIndexChanged, this, &CombineSettingsPanel::colorModeChanged);
}

QCheckBox* CombineSettingsPanel::addCheck(QBoxLayout& layout, const QString& text, const char* name,
                                          const QString& toolTip) {
    auto* check = new QCheckBox(text);
    check->setObjectName(QLatin1String(name));
    check->setAccessibleName(text);
    check->setToolTip(toolTip);
    layout.addWidget(check);
    return check;
}

QDoubleSpinBox* CombineSettingsPanel::makeLimit(const char* name, const QString& accessibleName) {
    auto* box = new QDoubleSpinBox;
    box->setObjectName(QLatin1String(name));
    box->setAccessibleName(accessibleName);
    box->setRange(-CombineRange::Limit, CombineRange::Limit);
    box->setDecimals(CombineRange::LimitDecimals);
    box->setLocale(QLocale::c());
    box->setKeyboardTracking(false);
    // The longest number would make the panel twice as wide as the rest needs.
    box->setMinimumWidth(90);
    box->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Fixed);
    connect(box, &QDoubleSpinBox::valueChanged, this, &CombineSettingsPanel::axisLimitsChanged);
    return box;
}

void CombineSettingsPanel::addAxes(QBoxLayout& layout) {
    syncAxes_ = addCheck(layout, tr("Sync Axes"), "syncAxesCheckBox", tr("Use same axis limits for all plots"));
    manualLimits_ = addCheck(layout, tr("Manual Limits"), "manualLimitsCheckBox");
    xMin_ = makeLimit("xMinBox", tr("Minimum of X"));
    xMax_ = makeLimit("xMaxBox", tr("Maximum of X"));
    yMin_ = makeLimit("yMinBox", tr("Minimum of Y"));
    yMax_ = makeLimit("yMaxBox", tr("Maximum of Y"));
    auto* grid = new QGridLayout;
    grid->setHorizontalSpacing(4);
    grid->setVerticalSpacing(4);
    const auto addLine = [grid](int row, const QString& text, QWidget* lower, QWidget* upper) {
        auto* label = new QLabel(text);
        label->setBuddy(lower);
        grid->addWidget(label, row, 0);
        grid->addWidget(lower, row, 1);
        grid->addWidget(upper, row, 2);
    };
    addLine(0, tr("X:"), xMin_, xMax_);
    addLine(1, tr("Y:"), yMin_, yMax_);
    grid->setColumnStretch(1, 1);
    grid->setColumnStretch(2, 1);
    layout.addLayout(grid);
}

void CombineSettingsPanel::addContours(QFormLayout& form) {
    contours_ = new ContourControls(this, QStringLiteral(":"));
    for (const ContourControls::Row& row : contours_->rows()) {
        form.addRow(row.label, row.control);
    }
    connect(contours_, &ContourControls::changed, this, &CombineSettingsPanel::optionsChanged);
}

QSpinBox* CombineSettingsPanel::makeSize(const char* name, const QString& accessibleName) {
    auto* box = new QSpinBox;
    box->setObjectName(QLatin1String(name));
    box->setAccessibleName(accessibleName);
    box->setRange(0, CombineRange::MaxArray);
    box->setSpecialValueText(tr("auto"));
    connect(box, &QSpinBox::valueChanged, this, &CombineSettingsPanel::optionsChanged);
    return box;
}

void CombineSettingsPanel::addArray(QBoxLayout& layout) {
    manualArray_ = addCheck(layout, tr("Manual Array Size"), "manualArraySizeCheckBox");
    cols_ = makeSize("arrayColsBox", tr("Columns of the array"));
    rows_ = makeSize("arrayRowsBox", tr("Rows of the array"));
    arrayBoxes_ = new QWidget;
    arrayBoxes_->setObjectName(QStringLiteral("arraySizeBoxes"));
    auto* boxes = new QHBoxLayout(arrayBoxes_);
    boxes->setContentsMargins(0, 0, 0, 0);
    boxes->setSpacing(4);
    for (const auto& [text, box] : {std::pair(tr("Cols:"), cols_), std::pair(tr("Rows:"), rows_)}) {
        auto* label = new QLabel(text);
        label->setBuddy(box);
        boxes->addWidget(label);
        boxes->addWidget(box, 1);
    }
    layout.addWidget(arrayBoxes_);
}

CombineOptions CombineSettingsPanel::options() const {
    CombineOptions options;
    options.displayMode = display_->currentIndex();
    options.colorMode = color_->currentIndex();
    options.syncFeatures = syncFeatures_->isChecked();
    options.showLegend = legend_->isChecked();
    options.syncAxes = syncAxes_->isChecked();
    options.manualLimits = manualLimits_->isChecked();
    options.limits = {xMin_->value(), xMax_->value(), yMin_->value(), yMax_->value()};
    options.contourMode = contours_->mode();
    options.contourFraction1 = contours_->innerFraction();
    options.contourFraction2 = contours_->outerFraction();
    options.isoelasticity = isoelastics_->isChecked();
    options.isoLabels = isoLabels_->isChecked();
    options.manualArraySize = manualArray_->isChecked();
    options.arrayCols = cols_->value();
    options.arrayRows = rows_->value();
    options.showCount = count_->isChecked();
    return options;
}

void CombineSettingsPanel::showOptions(const CombineOptions& options) {
    const auto show = [](auto* control, const auto& set) {
        const QSignalBlocker blocker(control);
        set(control);
    };
    const auto index = [&](QComboBox* combo, int value) {
        show(combo, [=](auto* box) { box->setCurrentIndex(value); });
    };
    const auto check = [&](QCheckBox* box, bool on) { show(box, [=](auto* target) { target->setChecked(on); }); };
    const auto value = [&](auto* box, auto number) { show(box, [=](auto* target) { target->setValue(number); }); };
    index(display_, options.displayMode);
    index(color_, options.colorMode);
    check(syncFeatures_, options.syncFeatures);
    check(legend_, options.showLegend);
    check(syncAxes_, options.syncAxes);
    check(manualLimits_, options.manualLimits);
    value(xMin_, options.limits.xMin);
    value(xMax_, options.limits.xMax);
    value(yMin_, options.limits.yMin);
    value(yMax_, options.limits.yMax);
    contours_->setChoice(options.contourMode, options.contourFraction1, options.contourFraction2);
    check(isoelastics_, options.isoelasticity);
    check(isoLabels_, options.isoLabels);
    check(manualArray_, options.manualArraySize);
    value(cols_, options.arrayCols);
    value(rows_, options.arrayRows);
    check(count_, options.showCount);
    manualLimits_->setEnabled(options.syncAxes);
    for (QDoubleSpinBox* box : {xMin_, xMax_, yMin_, yMax_}) {
        box->setEnabled(options.manualLimits);
        if (!options.manualLimits) {
            box->findChild<QLineEdit*>()->deselect(); // what was typed last would stay marked
        }
    }
    isoLabels_->setEnabled(options.isoelasticity);
    arrayBoxes_->setVisible(options.manualArraySize);
}

} // namespace Tessaly
