#include "tools/combine/CombineExportPanel.h"

#include "widgets/WideCombo.h"

#include <QFormLayout>
#include <QLabel>

namespace Tessaly {

CombineExportPanel::CombineExportPanel(QWidget* parent) : QWidget(parent) {
    using namespace CombineRange;
    setObjectName(QStringLiteral("combineExportPanel"));
    auto* form = new QFormLayout(this);
    form->setContentsMargins(8, 8, 8, 8);
    form->setHorizontalSpacing(8);
    form->setVerticalSpacing(4);
    form->setFieldGrowthPolicy(QFormLayout::AllNonFixedFieldsGrow);
    using Settings = CombineExportSettings;
    controls_.bind(addBox(*form, tr("Tick labels"), "tickLabelSizeBox", FontSize, tr(" pt")), &Settings::tickLabelSize);
    controls_.bind(addBox(*form, tr("Axis labels"), "axisLabelSizeBox", FontSize, tr(" pt")), &Settings::axisLabelSize);
    controls_.bind(addCheck(*form, tr("Show titles"), "showTitleCheckBox"), &Settings::showTitle);
    controls_.bind(addBox(*form, QString(), "titleSizeBox", FontSize, tr(" pt"), tr("Title size")),
                   &Settings::titleSize);
    controls_.bind(addCheck(*form, tr("Bold titles"), "titleBoldCheckBox"), &Settings::titleBold);
    controls_.bind(addCheck(*form, tr("Color titles"), "titleUseColorCheckBox"), &Settings::titleUseColor);
    controls_.bind(addBox(*form, tr("Width"), "plotWidthBox", PlotMm, tr(" mm")), &Settings::plotWidthMm);
    controls_.bind(addBox(*form, tr("Height"), "plotHeightBox", PlotMm, tr(" mm")), &Settings::plotHeightMm);
    controls_.bind(addBox(*form, tr("Point size"), "pointSizeBox", PointSize, tr(" px")), &Settings::pointSize);
    controls_.bind(addAxisWidth(*form), &Settings::axisLineWidth);
    controls_.bind(addCheck(*form, tr("Grid"), "showGridCheckBox"), &Settings::showGrid);
    controls_.bind(addCheck(*form, tr("Right/Top axes"), "showRightTopAxesCheckBox"), &Settings::showRightTopAxes);
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

QDoubleSpinBox* CombineExportPanel::addAxisWidth(QFormLayout& form) {
    auto* box = new QDoubleSpinBox;
    box->setObjectName(QStringLiteral("axisLineWidthBox"));
    box->setAccessibleName(tr("Axis width"));
    box->setRange(CombineRange::AxisWidth.first, CombineRange::AxisWidth.second);
    box->setSingleStep(0.5);
    box->setDecimals(1);
    box->setSuffix(tr(" px"));
    box->setLocale(QLocale::c());
    connect(box, &QDoubleSpinBox::valueChanged, this, &CombineExportPanel::settingsChanged);
    form.addRow(tr("Axis width"), box);
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
    controls_.readInto(settings);
    settings.uniformColor = uniformColor_->currentData().value<QColor>();
    return settings;
}

void CombineExportPanel::showSettings(const CombineExportSettings& settings) {
    controls_.show(settings);
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
