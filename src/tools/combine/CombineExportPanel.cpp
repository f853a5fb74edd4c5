#include "tools/combine/CombineExportPanel.h"

#include "widgets/WideCombo.h"

#include <QCheckBox>
#include <QDoubleSpinBox>
#include <QFormLayout>
#include <QLabel>
#include <QSignalBlocker>
#include <QSpinBox>

#include <cmath>

namespace Tessaly {

CombineExportPanel::CombineExportPanel(QWidget* parent) : QWidget(parent) {
    using namespace CombineRange;
    setObjectName(QStringLiteral("combineExportPanel"));
    auto* form = new QFormLayout(this);
    form->setContentsMargins(8, 8, 8, 8);
    form->setHorizontalSpacing(8);
    form->setVerticalSpacing(4);
    form->setFieldGrowthPolicy(QFormLayout::AllNonFixedFieldsGrow);
    tickLabels_ = addBox(*form, tr("Tick labels"), "tickLabelSizeBox", FontSize, tr(" pt"));
    axisLabels_ = addBox(*form, tr("Axis labels"), "axisLabelSizeBox", FontSize, tr(" pt"));
    showTitles_ = addCheck(*form, tr("Show titles"), "showTitleCheckBox");
    titleSize_ = addBox(*form, QString(), "titleSizeBox", FontSize, tr(" pt"), tr("Title size"));
    boldTitles_ = addCheck(*form, tr("Bold titles"), "titleBoldCheckBox");
    colorTitles_ = addCheck(*form, tr("Color titles"), "titleUseColorCheckBox");
    width_ = addBox(*form, tr("Width"), "plotWidthBox", PlotMm, tr(" mm"));
    height_ = addBox(*form, tr("Height"), "plotHeightBox", PlotMm, tr(" mm"));
    pointSize_ = addBox(*form, tr("Point size"), "pointSizeBox", PointSize, tr(" px"));
    axisWidth_ = new QDoubleSpinBox;
    axisWidth_->setObjectName(QStringLiteral("axisLineWidthBox"));
    axisWidth_->setAccessibleName(tr("Axis width"));
    axisWidth_->setRange(AxisWidth.first, AxisWidth.second);
    axisWidth_->setSingleStep(0.5);
    axisWidth_->setDecimals(1);
    axisWidth_->setSuffix(tr(" px"));
    axisWidth_->setLocale(QLocale::c());
    connect(axisWidth_, &QDoubleSpinBox::valueChanged, this, &CombineExportPanel::settingsChanged);
    form->addRow(tr("Axis width"), axisWidth_);
    grid_ = addCheck(*form, tr("Grid"), "showGridCheckBox");
    rightTopAxes_ = addCheck(*form, tr("Right/Top axes"), "showRightTopAxesCheckBox");
    addUniformColor(*form);
    showSettings({});
    setUniformColorVisible(false);
}

QSpinBox* CombineExportPanel::addBox(QFormLayout& form, const QString& text, const char* name,
                                     std::pair<int, int> range, const QString& suffix, const QString& accessibleName) {
    auto* box = new QSpinBox;
    box->setObjectName(QLatin1String(name));
    box->setAccessibleName(accessibleName.isEmpty() ? text : accessibleName);
    box->setRange(range.first, range.second);
    box->setSuffix(suffix);
    connect(box, &QSpinBox::valueChanged, this, &CombineExportPanel::settingsChanged);
    form.addRow(text, box);
    return box;
}

QCheckBox* CombineExportPanel::addCheck(QFormLayout& form, const QString& text, const char* name) {
    auto* check = new QCheckBox(text);
    check->setObjectName(QLatin1String(name));
    check->setAccessibleName(text);
    connect(check, &QCheckBox::toggled, this, &CombineExportPanel::settingsChanged);
    form.addRow(check);
    return check;
}

void CombineExportPanel::addUniformColor(QFormLayout& form) {
    uniformColor_ = new WideCombo;
    uniformColor_->setObjectName(QStringLiteral("uniformColorCombo"));
    uniformColor_->setAccessibleName(tr("Uniform color"));
    const std::initializer_list<std::pair<QString, QColor>> colors = {
        {tr("Black"), Qt::black}, {tr("Gray"), Qt::darkGray},   {tr("Blue"), Qt::blue},
        {tr("Red"), Qt::red},     {tr("Green"), Qt::darkGreen}, {tr("Purple"), QColor(128, 0, 255)}};
    for (const auto& [name, color] : colors) {
        QPixmap swatch(12, 12);
        swatch.fill(color);
        uniformColor_->addItem(swatch, name, color);
    }
    uniformLabel_ = new QLabel(tr("Uniform color"));
    uniformLabel_->setBuddy(uniformColor_);
    form.addRow(uniformLabel_, uniformColor_);
    connect(uniformColor_, &QComboBox::currentIndexChanged, this, &CombineExportPanel::settingsChanged);
}

CombineExportSettings CombineExportPanel::settings() const {
    CombineExportSettings settings;
    settings.tickLabelSize = tickLabels_->value();
    settings.axisLabelSize = axisLabels_->value();
    settings.showTitle = showTitles_->isChecked();
    settings.titleSize = titleSize_->value();
    settings.titleBold = boldTitles_->isChecked();
    settings.titleUseColor = colorTitles_->isChecked();
    settings.plotWidthMm = width_->value();
    settings.plotHeightMm = height_->value();
    settings.pointSize = pointSize_->value();
    settings.axisLineWidth = axisWidth_->value();
    settings.showGrid = grid_->isChecked();
    settings.showRightTopAxes = rightTopAxes_->isChecked();
    settings.uniformColor = uniformColor_->currentData().value<QColor>();
    return settings;
}

void CombineExportPanel::showSettings(const CombineExportSettings& settings) {
    const auto value = [](auto* box, auto number) {
        const QSignalBlocker blocker(box);
        box->setValue(number);
    };
    const auto check = [](QCheckBox* box, bool on) {
        const QSignalBlocker blocker(box);
        box->setChecked(on);
    };
    value(tickLabels_, settings.tickLabelSize);
    value(axisLabels_, settings.axisLabelSize);
    check(showTitles_, settings.showTitle);
    value(titleSize_, settings.titleSize);
    check(boldTitles_, settings.titleBold);
    check(colorTitles_, settings.titleUseColor);
    value(width_, static_cast<int>(std::lround(settings.plotWidthMm)));
    value(height_, static_cast<int>(std::lround(settings.plotHeightMm)));
    value(pointSize_, settings.pointSize);
    value(axisWidth_, settings.axisLineWidth);
    check(grid_, settings.showGrid);
    check(rightTopAxes_, settings.showRightTopAxes);
    const int color = uniformColor_->findData(settings.uniformColor);
    if (color >= 0) {
        const QSignalBlocker blocker(uniformColor_);
        uniformColor_->setCurrentIndex(color);
    }
}

void CombineExportPanel::setUniformColorVisible(bool visible) {
    uniformLabel_->setVisible(visible);
    uniformColor_->setVisible(visible);
}

} // namespace Tessaly
