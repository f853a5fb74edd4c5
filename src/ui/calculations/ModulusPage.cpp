#include "ui/calculations/ModulusPage.h"

#include "core/VQDMetadata.h"
#include "ui/calculations/PageControls.h"
#include "widgets/WideCombo.h"

#include <QButtonGroup>
#include <QCheckBox>
#include <QDoubleSpinBox>
#include <QFormLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QRadioButton>
#include <QSignalBlocker>

#include <optional>

namespace Tessaly {

namespace {

QString noValue() {
    return QStringLiteral("—");
}

QString micrometres() {
    return QStringLiteral(" µm");
}

QString microlitresPerSecond() {
    return QStringLiteral(" µL/s");
}

QString positiveText(const VQDMetadata::Section& section, const std::string& key, const QString& unit) {
    const std::optional<double> value = metadataNumber(section, key);
    return value && *value > 0.0 ? QString::number(*value, 'g') + unit : noValue();
}

/// The number that a label shows; 0 if it shows none.
double numberOf(const QLabel* label, const QString& unit) {
    return label->text().remove(unit).toDouble();
}

QString mediumText(const VQDMetadata& metadata, std::int32_t medium) {
    if (const char* name = mediumName(medium)) {
        return QString::fromLatin1(name);
    }
    const QString text = QString::fromStdString(metadataValue(metadata.setup, "medium"));
    return ModulusPage::tr("%1 (unknown)").arg(text.isEmpty() ? noValue() : text);
}

QString modelName(std::int32_t model) {
    switch (model) {
    case ViscosityModel::Herold:
        return QStringLiteral("Herold-2017");
    case ViscosityModel::Kestin:
        return QStringLiteral("Kestin-1978");
    default:
        return ModulusPage::tr("Manual");
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

QDoubleSpinBox* makeNumber(const char* name, double least, double most, int decimals, const QString& unit) {
    auto* box = new QDoubleSpinBox;
    box->setObjectName(QLatin1String(name));
    box->setRange(least, most);
    box->setDecimals(decimals);
    box->setSuffix(unit);
    box->setMinimumWidth(90);
    return box;
}

void setEditable(QDoubleSpinBox* box, bool editable) {
    box->setReadOnly(!editable);
    box->setButtonSymbols(editable ? QAbstractSpinBox::UpDownArrows : QAbstractSpinBox::NoButtons);
}

void setBlocked(QDoubleSpinBox* box, double value) {
    const QSignalBlocker blocker(box);
    box->setValue(value);
}

} // namespace

ModulusPage::ModulusPage(QWidget* parent) : QWidget(parent) {
    auto* form = new QFormLayout(this);
    form->setContentsMargins(0, 0, 0, 0);
    form->setRowWrapPolicy(QFormLayout::WrapLongRows);
    medium_ = addValue(form, tr("Medium:"), "mediumLabel");
    model_ = new WideCombo;
    model_->setObjectName(QStringLiteral("viscosityModelCombo"));
    model_->setAccessibleName(tr("Model of the viscosity"));
    form->addRow(tr("Viscosity:"), model_);
    viscosity_ = makeNumber("viscositySpinBox", 0.001, 1000.0, 3, QStringLiteral(" mPa·s"));
    viscosity_->setValue(1.0);
    viscosity_->setAccessibleName(tr("Viscosity"));
    form->addRow(tr("η [mPa·s]:"), viscosity_);
    temperature_ = makeNumber("temperatureSpinBox", 0.0, 50.0, 1, QStringLiteral(" °C"));
    temperature_->setAccessibleName(tr("Temperature"));
    temperature_->setValue(metadataTemperature_);
    form->addRow(tr("Temperature:"), temperature_);
    form->addRow(buildTemperatureSources());
    channelWidth_ = addValue(form, tr("Channel Width:"), "channelWidthLabel");
    flowRate_ = addValue(form, tr("Flow Rate:"), "flowRateLabel");
    pixelSize_ = addValue(form, tr("Pixel Size:"), "pixelSizeLabel");
    deformCaption_ = new QLabel(tr("Deformation source:"));
    deformSource_ = new WideCombo;
    deformSource_->setObjectName(QStringLiteral("deformationSourceCombo"));
    deformSource_->setAccessibleName(tr("Deformation source"));
    deformSource_->setToolTip(tr("Which deformation feature to map to Young's modulus. Fourier-decomposition "
                                 "deformations skip the pixelation correction."));
    form->addRow(deformCaption_, deformSource_);
    missing_ = new QLabel;
    missing_->setObjectName(QStringLiteral("missingConditionsLabel"));
    missing_->setWordWrap(true);
    missing_->setStyleSheet(QStringLiteral("QLabel { color: #8a5a00; }"));
    missing_->hide();
    form->addRow(missing_);
    applyToAll_ = makeApplyToAll("modulusApplyToAll", tr("Young's modulus of all datasets"));
    form->addRow(applyToAll_);
    compute_ = makeStartButton(tr("Compute Young's Modulus"), "computeModulusButton");
    form->addRow(compute_);
    assess_ = makeStartButton(tr("Assess Quality"), "assessQualityButton");
    form->addRow(assess_);
    filtered_ = new QCheckBox(tr("Use filtered data"));
    filtered_->setObjectName(QStringLiteral("assessFilteredCheckBox"));
    filtered_->setToolTip(tr("Evaluate only filtered events (excluding YM-based filters)"));
    filtered_->setChecked(true);
    form->addRow(filtered_);
    fillDeformationSources(false, false, false);
    setDatasetMetadata(nullptr, false);
    connectControls();
}

QLayout* ModulusPage::buildTemperatureSources() {
    temperatureSource_ = new QButtonGroup(this);
    temperatureChoices_ = new QHBoxLayout;
    temperatureChoices_->setSpacing(8);
    const auto add = [this](std::int32_t source, const QString& text, const char* name, const QString& meaning) {
        auto* button = new QRadioButton(text);
        button->setObjectName(QLatin1String(name));
        button->setAccessibleName(meaning);
        button->setToolTip(meaning);
        temperatureSource_->addButton(button, source);
        temperatureChoices_->addWidget(button);
        return button;
    };
    add(TemperatureSource::Manual, tr("Manual"), "temperatureManual", tr("One temperature, set here"));
    add(TemperatureSource::Metadata, tr("Meta"), "temperatureMeta", tr("The temperature that the file states"))
        ->setChecked(true);
    add(TemperatureSource::PerEvent, tr("Event"), "temperatureEvent", tr("Each event's own temperature"));
    temperatureChoices_->addStretch();
    return temperatureChoices_;
}

void ModulusPage::setNarrow(bool narrow) {
    temperatureChoices_->setDirection(narrow ? QBoxLayout::TopToBottom : QBoxLayout::LeftToRight);
    temperatureChoices_->setSpacing(narrow ? 4 : 8);
}

void ModulusPage::connectControls() {
    connect(compute_, &QPushButton::clicked, this, &ModulusPage::computeRequested);
    connect(assess_, &QPushButton::clicked, this, &ModulusPage::assessRequested);
    const auto changed = [this] {
        updateFields();
        emit conditionsChanged();
    };
    connect(model_, &QComboBox::currentIndexChanged, this, changed);
    connect(temperature_, &QDoubleSpinBox::valueChanged, this, changed);
    connect(viscosity_, &QDoubleSpinBox::valueChanged, this, changed);
    connect(temperatureSource_, &QButtonGroup::idToggled, this, [changed](int, bool checked) {
        if (checked) {
            changed();
        }
    });
}

void ModulusPage::setDatasetMetadata(const VQDMetadata* metadata, bool hasTemperatureFeature) {
    channelWidth_->setText(metadata ? positiveText(metadata->setup, "channel width", micrometres()) : noValue());
    flowRate_->setText(metadata ? positiveText(metadata->setup, "flow rate", microlitresPerSecond()) : noValue());
    pixelSize_->setText(metadata ? positiveText(metadata->imaging, "pixel size", micrometres()) : noValue());
    showMedium(metadata);
    const std::optional<double> stated = metadata ? metadataNumber(metadata->setup, "temperature") : std::nullopt;
    const bool known = stated && *stated > 0.0;
    metadataTemperature_ = known ? *stated : 23.0;
    temperature_->setToolTip(metadata && !known ? tr("Assumed: the file names no temperature.") : QString());

    QAbstractButton* perEvent = temperatureSource_->button(TemperatureSource::PerEvent);
    perEvent->setEnabled(hasTemperatureFeature);
    perEvent->setToolTip(hasTemperatureFeature ? tr("Each event's own temperature")
                                               : tr("The dataset has no temperature of each event."));
    if (perEvent->isChecked() && !hasTemperatureFeature) {
        const QSignalBlocker blocker(temperatureSource_);
        temperatureSource_->button(TemperatureSource::Metadata)->setChecked(true);
    }
    showMissing(metadata != nullptr);
    updateFields();
}

void ModulusPage::showMedium(const VQDMetadata* metadata) {
    const EModulusParams params = metadata ? emodulusParamsFor(*metadata, false, 1.0) : EModulusParams();
    mediumCode_ = metadata ? params.medium : Medium::Other;
    medium_->setText(metadata ? mediumText(*metadata, mediumCode_) : noValue());
    const std::int32_t model = metadata ? params.viscosityModel : ViscosityModel::Manual;
    const QSignalBlocker blocker(model_);
    model_->clear();
    model_->addItem(modelName(model), model);
}

void ModulusPage::showMissing(bool hasDataset) {
    QStringList names;
    for (const auto& [label, name] : {std::pair(channelWidth_, tr("channel width")),
                                      std::pair(flowRate_, tr("flow rate")), std::pair(pixelSize_, tr("pixel size"))}) {
        if (label->text() == noValue()) {
            names << name;
        }
    }
    missing_->setVisible(hasDataset && !names.isEmpty());
    missing_->setText(tr("⚠ The file doesn't state: %1.").arg(names.join(QStringLiteral(", "))));
    missing_->setToolTip(
        tr("Without channel width no event is mapped, without flow rate moduli are 0, and without pixel "
           "size the deformation isn't corrected rightly."));
}

void ModulusPage::updateFields() {
    const int source = temperatureSource_->checkedId();
    temperature_->setVisible(source != TemperatureSource::PerEvent);
    setEditable(temperature_, source == TemperatureSource::Manual);
    if (source == TemperatureSource::Metadata) {
        setBlocked(temperature_, metadataTemperature_);
    }
    const bool manual = model() == ViscosityModel::Manual;
    setEditable(viscosity_, manual);
    if (!manual) {
        EModulusParams params;
        params.viscosityModel = model();
        params.medium = mediumCode_;
        const double width = numberOf(channelWidth_, micrometres());
        const double flow = numberOf(flowRate_, microlitresPerSecond());
        params.channelWidth = width > 0.0 ? width : params.channelWidth;
        params.flowRate = flow > 0.0 ? flow : params.flowRate;
        setBlocked(viscosity_, viscosity(params, temperature_->value()));
    }
}

void ModulusPage::fillDeformationSources(bool offered, bool hasFc, bool hasOdd) {
    const QVariant former = deformSource_->currentData();
    deformSource_->clear();
    deformSource_->addItem(tr("Deformation"), QStringLiteral("deform"));
    if (hasFc) {
        deformSource_->addItem(tr("Deformation from FC"), QStringLiteral("deform_fc"));
    }
    if (hasOdd) {
        deformSource_->addItem(tr("Deformation of odd FC only"), QStringLiteral("deform_odd"));
    }
    deformSource_->setCurrentIndex(std::max(deformSource_->findData(former), 0));
    deformOffered_ = offered && (hasFc || hasOdd);
    deformCaption_->setVisible(deformOffered_);
    deformSource_->setVisible(deformOffered_);
}

std::int32_t ModulusPage::model() const {
    return model_->currentData().toInt();
}

std::string ModulusPage::deformFeature() const {
    const std::string chosen = deformOffered_ ? deformSource_->currentData().toString().toStdString() : std::string();
    return chosen.empty() ? "deform" : chosen;
}

EModulusParams ModulusPage::shownParams() const {
    EModulusParams params;
    params.medium = mediumCode_;
    params.viscosityModel = model();
    params.viscosity = viscosity_->value();
    params.temperature = temperature_->value();
    params.temperatureSource = temperatureSource_->checkedId();
    params.channelWidth = numberOf(channelWidth_, micrometres());
    params.flowRate = numberOf(flowRate_, microlitresPerSecond());
    params.pixelSize = numberOf(pixelSize_, micrometres());
    params.deformFeature = deformFeature();
    params.pixelationCorrection = params.deformFeature == "deform";
    return params;
}

EModulusSettings ModulusPage::settings() const {
    return {temperatureSource_->checkedId(), temperature_->value(), viscosity_->value(), deformFeature()};
}

bool ModulusPage::appliesToAll() const {
    return applyToAll_->isChecked();
}

bool ModulusPage::assessesFiltered() const {
    return filtered_->isChecked();
}

} // namespace Tessaly
