#include "tools/combine/CombineSettingsPanel.h"

#include "widgets/ContourControls.h"
#include "widgets/WideCombo.h"

#include <QFormLayout>
#include <QGridLayout>
#include <QLabel>
#include <QLineEdit>
#include <QVBoxLayout>

namespace Tessaly {

using Options = CombineOptions;

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
    const QCheckBox* syncFeatures = addCheck(*layout, tr("Sync Features"), "syncFeaturesCheckBox",
                                             &Options::syncFeatures, tr("Keep all datasets on the same X/Y axes"));
    addOption(*layout, tr("Show Legend"), "showLegendCheckBox", &Options::showLegend);
    addAxes(*layout);
    layout->addSpacing(4);
    addContours(*addForm(*layout));
    addOption(*layout, tr("Isoelastics"), "isoelasticsCheckBox", &Options::isoelasticity,
              tr("Show isoelasticity lines on area vs. deformation plots"));
    isoLabels_ = addOption(*layout, tr("Labels"), "isoLabelsCheckBox", &Options::isoLabels,
                           tr("Show kPa labels on isoelasticity lines"));
    isoLabels_->setAccessibleName(tr("Isoelasticity labels"));
    addArray(*layout);
    addOption(*layout, tr("Show N"), "showCountCheckBox", &Options::showCount,
              tr("Display the number of plotted events (N = #) in each array plot"));
    layout->addStretch(1);
    connect(syncFeatures, &QCheckBox::toggled, this, &CombineSettingsPanel::syncFeaturesToggled);
    showOptions({});
}

void CombineSettingsPanel::addModes(QFormLayout& form) {
    QComboBox* display =
        makeCombo({tr("Array"), tr("Array + Contour"), tr("Same Plot")}, "displayModeCombo", tr("Display"));
    QComboBox* color =
        makeCombo({tr("Heatmap (Density)"), tr("Dataset Color"), tr("None")}, "colorModeCombo", tr("Color"));
    form.addRow(tr("Display:"), display);
    form.addRow(tr("Color:"), color);
    controls_.bind(display, &Options::displayMode);
    controls_.bind(color, &Options::colorMode);
    connect(display, &QComboBox::currentIndexChanged, this, &CombineSettingsPanel::displayModeChanged);
    connect(color, &QComboBox::currentIndexChanged, this, &CombineSettingsPanel::colorModeChanged);
}

QCheckBox* CombineSettingsPanel::addCheck(QBoxLayout& layout, const QString& text, const char* name,
                                          bool Options::*member, const QString& toolTip) {
    auto* check = new QCheckBox(text);
    check->setObjectName(QLatin1String(name));
    check->setAccessibleName(text);
    check->setToolTip(toolTip);
    layout.addWidget(check);
    controls_.bind(check, member);
    return check;
}

QCheckBox* CombineSettingsPanel::addOption(QBoxLayout& layout, const QString& text, const char* name,
                                           bool Options::*member, const QString& toolTip) {
    QCheckBox* check = addCheck(layout, text, name, member, toolTip);
    connect(check, &QCheckBox::toggled, this, &CombineSettingsPanel::optionsChanged);
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
    const QCheckBox* syncAxes = addCheck(layout, tr("Sync Axes"), "syncAxesCheckBox", &Options::syncAxes,
                                         tr("Use same axis limits for all plots"));
    connect(syncAxes, &QCheckBox::toggled, this, &CombineSettingsPanel::syncAxesToggled);
    manualLimits_ = addOption(layout, tr("Manual Limits"), "manualLimitsCheckBox", &Options::manualLimits);
    limits_ = {makeLimit("xMinBox", tr("Minimum of X")), makeLimit("xMaxBox", tr("Maximum of X")),
               makeLimit("yMinBox", tr("Minimum of Y")), makeLimit("yMaxBox", tr("Maximum of Y"))};
    const std::array members{&PlotLimits::xMin, &PlotLimits::xMax, &PlotLimits::yMin, &PlotLimits::yMax};
    for (std::size_t i = 0; i < limits_.size(); ++i) {
        limitBoxes_.bind(limits_[i], members[i]);
    }
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
    addLine(0, tr("X:"), limits_[0], limits_[1]);
    addLine(1, tr("Y:"), limits_[2], limits_[3]);
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

QSpinBox* CombineSettingsPanel::makeSize(const char* name, const QString& accessibleName, int Options::*member) {
    auto* box = new QSpinBox;
    box->setObjectName(QLatin1String(name));
    box->setAccessibleName(accessibleName);
    box->setRange(0, CombineRange::MaxArray);
    box->setSpecialValueText(tr("auto"));
    connect(box, &QSpinBox::valueChanged, this, &CombineSettingsPanel::optionsChanged);
    controls_.bind(box, member);
    return box;
}

void CombineSettingsPanel::addArray(QBoxLayout& layout) {
    addOption(layout, tr("Manual Array Size"), "manualArraySizeCheckBox", &Options::manualArraySize);
    QSpinBox* cols = makeSize("arrayColsBox", tr("Columns of the array"), &Options::arrayCols);
    QSpinBox* rows = makeSize("arrayRowsBox", tr("Rows of the array"), &Options::arrayRows);
    arrayBoxes_ = new QWidget;
    arrayBoxes_->setObjectName(QStringLiteral("arraySizeBoxes"));
    auto* boxes = new QHBoxLayout(arrayBoxes_);
    boxes->setContentsMargins(0, 0, 0, 0);
    boxes->setSpacing(4);
    for (const auto& [text, box] : {std::pair(tr("Cols:"), cols), std::pair(tr("Rows:"), rows)}) {
        auto* label = new QLabel(text);
        label->setBuddy(box);
        boxes->addWidget(label);
        boxes->addWidget(box, 1);
    }
    layout.addWidget(arrayBoxes_);
}

CombineOptions CombineSettingsPanel::options() const {
    CombineOptions options;
    controls_.readInto(options);
    limitBoxes_.readInto(options.limits);
    options.contourMode = contours_->mode();
    options.contourFraction1 = contours_->innerFraction();
    options.contourFraction2 = contours_->outerFraction();
    return options;
}

void CombineSettingsPanel::showOptions(const CombineOptions& options) {
    controls_.show(options);
    limitBoxes_.show(options.limits);
    contours_->setChoice(options.contourMode, options.contourFraction1, options.contourFraction2);
    manualLimits_->setEnabled(options.syncAxes);
    manualLimits_->setToolTip(options.syncAxes ? QString() : tr("Tick “Sync Axes” to set limits"));
    for (QDoubleSpinBox* box : limits_) {
        box->setEnabled(options.manualLimits);
        box->setToolTip(options.manualLimits ? QString() : tr("Tick “Manual Limits” to set the limits"));
        if (!box->hasFocus()) {
            box->findChild<QLineEdit*>()->deselect(); // what was typed last would stay marked
        }
    }
    isoLabels_->setEnabled(options.isoelasticity);
    arrayBoxes_->setVisible(options.manualArraySize);
}

} // namespace Tessaly
