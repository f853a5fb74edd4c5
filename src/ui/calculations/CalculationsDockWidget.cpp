#include "ui/calculations/CalculationsDockWidget.h"

#include "core/VQDMetadata.h"

#include <QFormLayout>
#include <QGroupBox>
#include <QLabel>
#include <QVBoxLayout>

#include <optional>

namespace Tessaly {

namespace {

constexpr double ManualViscosity = 1.0;

QString noValue() {
    return QStringLiteral("—");
}

std::optional<double> positiveNumber(const VQDMetadata::Section& section, const std::string& key) {
    const std::optional<double> value = metadataNumber(section, key);
    return value && *value > 0.0 ? value : std::nullopt;
}

QString withUnit(std::optional<double> value, const QString& unit) {
    return value ? QString::number(*value) + QLatin1Char(' ') + unit : noValue();
}

QString mediumText(const VQDMetadata& metadata, std::int32_t medium) {
    if (const char* name = mediumName(medium)) {
        return QString::fromLatin1(name);
    }
    const QString text = QString::fromStdString(metadataValue(metadata.setup, "medium"));
    return CalculationsDockWidget::tr("%1 (unknown)").arg(text.isEmpty() ? noValue() : text);
}

QString viscosityModelText(std::int32_t model) {
    switch (model) {
    case ViscosityModel::Herold:
        return QStringLiteral("Herold-2017");
    case ViscosityModel::Kestin:
        return QStringLiteral("Kestin-1978");
    default:
        return CalculationsDockWidget::tr("Manual");
    }
}

QLabel* addValue(QFormLayout* form, const QString& caption, const char* name) {
    auto* value = new QLabel(noValue());
    value->setObjectName(QLatin1String(name));
    value->setAccessibleName(caption);
    value->setTextFormat(Qt::PlainText);
    value->setTextInteractionFlags(Qt::TextSelectableByMouse);
    value->setWordWrap(true);
    form->addRow(caption, value);
    return value;
}

} // namespace

CalculationsDockWidget::CalculationsDockWidget(QWidget* parent) : QWidget(parent) {
    setObjectName(QStringLiteral("calculationsPanel"));
    auto* box = new QGroupBox(tr("Measurement Conditions"));
    box->setObjectName(QStringLiteral("conditionsBox"));
    auto* form = new QFormLayout(box);
    medium_ = addValue(form, tr("Medium:"), "mediumLabel");
    viscosityModel_ = addValue(form, tr("Viscosity:"), "viscosityModelLabel");
    viscosity_ = addValue(form, tr("η [mPa·s]:"), "viscosityLabel");
    temperature_ = addValue(form, tr("Temperature:"), "temperatureLabel");
    channelWidth_ = addValue(form, tr("Channel Width:"), "channelWidthLabel");
    flowRate_ = addValue(form, tr("Flow Rate:"), "flowRateLabel");
    pixelSize_ = addValue(form, tr("Pixel Size:"), "pixelSizeLabel");
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(4, 4, 4, 4);
    layout->addWidget(box);
    layout->addStretch();
}

EModulusParams CalculationsDockWidget::emodulusParamsFor(const VQDMetadata& metadata) const {
    return Tessaly::emodulusParamsFor(metadata, false, ManualViscosity);
}

void CalculationsDockWidget::setDatasetMetadata(const VQDMetadata* metadata) {
    temperature_->setToolTip(QString());
    if (!metadata) {
        for (QLabel* label :
             {medium_, viscosityModel_, viscosity_, temperature_, channelWidth_, flowRate_, pixelSize_}) {
            label->setText(noValue());
        }
        return;
    }
    const std::optional<double> width = positiveNumber(metadata->setup, "channel width");
    const std::optional<double> flow = positiveNumber(metadata->setup, "flow rate");
    const std::optional<double> temperature = positiveNumber(metadata->setup, "temperature");
    EModulusParams params = emodulusParamsFor(*metadata);
    const EModulusParams defaults;
    params.channelWidth = width.value_or(defaults.channelWidth);
    params.flowRate = flow.value_or(defaults.flowRate);

    const double celsius = temperature.value_or(defaults.temperature);
    medium_->setText(mediumText(*metadata, params.medium));
    viscosityModel_->setText(viscosityModelText(params.viscosityModel));
    viscosity_->setText(QString::number(viscosity(params, celsius), 'f', 3)); // the caption names the unit
    temperature_->setText(tr("%1 °C").arg(celsius, 0, 'f', 1));
    if (!temperature) {
        temperature_->setToolTip(tr("Assumed: the file names no temperature."));
    }
    channelWidth_->setText(withUnit(width, QStringLiteral("µm")));
    flowRate_->setText(withUnit(flow, QStringLiteral("µL/s")));
    pixelSize_->setText(withUnit(positiveNumber(metadata->imaging, "pixel size"), QStringLiteral("µm")));
}

} // namespace Tessaly
