#include "ui/plot/PlotSettingsPanel.h"

#include "widgets/ContourControls.h"
#include "widgets/ScaleModeCombo.h"

#include <QApplication>
#include <QCheckBox>
#include <QEvent>
#include <QFrame>
#include <QGridLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QResizeEvent>

#include <algorithm>
#include <array>

namespace Tessaly {

namespace {

constexpr int MinFeatureWidth = 150;
constexpr int ColumnSpacing = 4;
constexpr int RowSpacing = 2;
constexpr int HalfSpacing = 6;

constexpr char HighlightSheet[] =
    "QPushButton { background-color: #a6d7d5; color: #00abad; border: 1px solid #00abad; font-weight: bold; }";

FeatureCombo* makeFeatureCombo(const QString& name, const QString& accessibleName) {
    auto* combo = new FeatureCombo;
    combo->setObjectName(name);
    combo->setAccessibleName(accessibleName);
    combo->setMinimumWidth(MinFeatureWidth);
    return combo;
}

// A new sheet polishes the widget anew, which is not for free on every refresh.
void setSheet(QWidget* widget, const char* sheet) {
    if (widget->styleSheet() != QLatin1String(sheet)) {
        widget->setStyleSheet(QLatin1String(sheet));
    }
}

} // namespace

PlotSettingsPanel::PlotSettingsPanel(QWidget* parent) : QGroupBox(tr("Plot Settings"), parent) {
    setObjectName(QStringLiteral("plotSettingsPanel"));
    setSizePolicy(QSizePolicy::Preferred, QSizePolicy::Fixed);
    buildAxisControls();
    buildOverlayControls();

    halves_ = new QHBoxLayout(this);
    halves_->setContentsMargins(6, 4, 6, 6);
    halves_->setSpacing(HalfSpacing);
    left_ = new QGridLayout;
    right_ = new QGridLayout;
    for (QGridLayout* grid : {left_, right_}) {
        grid->setHorizontalSpacing(ColumnSpacing);
        grid->setVerticalSpacing(RowSpacing);
    }
    line_ = new QFrame;
    line_->setFrameShape(QFrame::VLine);
    line_->setFrameShadow(QFrame::Plain);
    line_->setForegroundRole(QPalette::Mid);
    fillLeftHalf();
    halves_->addLayout(left_, 1);
    halves_->addWidget(line_);
    halves_->addLayout(right_);
    halves_->addStretch();
    arrangeRightHalf(arrangement_);
    updateWidths();
    connectControls();
    showIsoelasticControls();
    reported_ = shown_ = settings();
}

void PlotSettingsPanel::buildAxisControls() {
    xFeature_ = makeFeatureCombo(QStringLiteral("xFeatureCombo"), tr("X Axis"));
    xScale_ = new ScaleModeCombo(tr("X-axis scale mode"));
    xScale_->setObjectName(QStringLiteral("xScaleCombo"));
    yFeature_ = makeFeatureCombo(QStringLiteral("yFeatureCombo"), tr("Y Axis"));
    yScale_ = new ScaleModeCombo(tr("Y-axis scale mode"));
    yScale_->setObjectName(QStringLiteral("yScaleCombo"));
    colorFeature_ = makeFeatureCombo(QStringLiteral("colorFeatureCombo"), tr("Color by"));
}

void PlotSettingsPanel::buildOverlayControls() {
    contours_ = new ContourControls(this);

    isoelastics_ = new QCheckBox(tr("Isoelastics"));
    isoelastics_->setObjectName(QStringLiteral("isoelasticsCheck"));
    isoelastics_->setToolTip(tr("Show isoelasticity lines"));
    isoelasticLabels_ = new QCheckBox(tr("Labels"));
    isoelasticLabels_->setObjectName(QStringLiteral("isoelasticLabelsCheck"));
    isoelasticLabels_->setAccessibleName(tr("Isoelasticity labels"));
    isoelasticLabels_->setToolTip(tr("Show kPa labels on isoelasticity lines"));
    for (QCheckBox* box : {isoelastics_, isoelasticLabels_}) {
        // The controls stay in place when a choice of features brings these boxes up.
        QSizePolicy policy = box->sizePolicy();
        policy.setRetainSizeWhenHidden(true);
        box->setSizePolicy(policy);
    }

    applyToAll_ = new QPushButton(tr("Apply Plot Settings\nto All Datasets"));
    applyToAll_->setObjectName(QStringLiteral("applyToAllButton"));
    applyToAll_->setAccessibleName(tr("Apply Plot Settings to All Datasets"));
    applyToAll_->setToolTip(tr("Copy the active dataset's feature, scale, and contour settings to every other loaded "
                               "dataset. Highlights when any peer differs."));
    applyToAll_->setEnabled(false);
}

void PlotSettingsPanel::fillLeftHalf() {
    const auto addRow = [this](int row, const QString& text, QWidget* feature, QWidget* scale) {
        auto* label = new QLabel(text);
        label->setBuddy(feature);
        label->setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Preferred);
        left_->addWidget(label, row, 0);
        left_->addWidget(feature, row, 1, 1, scale ? 1 : 2);
        if (scale) {
            left_->addWidget(scale, row, 2);
        }
    };
    addRow(0, tr("X Axis"), xFeature_, xScale_);
    addRow(1, tr("Y Axis"), yFeature_, yScale_);
    addRow(2, tr("Color by"), colorFeature_, nullptr);
    left_->setRowStretch(3, 1);
}

void PlotSettingsPanel::arrangeRightHalf(Arrangement arrangement) {
    arrangement_ = arrangement;
    while (QLayoutItem* item = right_->takeAt(0)) {
        delete item; // the widget stays
    }
    const bool wide = arrangement == Arrangement::Wide;
    int row = 0;
    for (const ContourControls::Row& line : contours_->rows()) {
        right_->addWidget(line.label, row, 0);
        right_->addWidget(line.control, row++, 1);
    }
    if (wide) {
        right_->addWidget(isoelastics_, 0, 3);
        right_->addWidget(isoelasticLabels_, 1, 3);
        right_->addWidget(applyToAll_, 0, 5, 3, 1, Qt::AlignVCenter);
    } else {
        auto* checks = new QHBoxLayout;
        checks->setSpacing(ColumnSpacing);
        checks->addWidget(isoelastics_);
        checks->addWidget(isoelasticLabels_);
        checks->addStretch();
        right_->addLayout(checks, 3, 0, 1, 2);
        right_->addWidget(applyToAll_, 4, 0, 1, 2);
    }
    right_->setColumnMinimumWidth(2, wide ? HalfSpacing : 0);
    right_->setColumnMinimumWidth(4, wide ? HalfSpacing : 0);
    right_->setRowStretch(wide ? 3 : 5, 1);
}

int PlotSettingsPanel::requiredWidth(Arrangement arrangement) const {
    const auto widest = [](std::initializer_list<const QWidget*> widgets) {
        int width = 0;
        for (const QWidget* widget : widgets) {
            width = std::max({width, widget->minimumSizeHint().width(), widget->minimumWidth()});
        }
        return width;
    };
    int labels = 0;
    int controls = 0;
    for (const ContourControls::Row& line : contours_->rows()) {
        labels = std::max(labels, widest({line.label}));
        controls = std::max(controls, widest({line.control}));
    }
    const int fields = labels + ColumnSpacing + controls;
    int right = 0;
    if (arrangement == Arrangement::Wide) {
        right = fields + widest({isoelastics_, isoelasticLabels_}) + widest({applyToAll_}) +
                2 * (HalfSpacing + 2 * ColumnSpacing);
    } else {
        const int checks = widest({isoelastics_}) + ColumnSpacing + widest({isoelasticLabels_});
        right = std::max({fields, checks, widest({applyToAll_})});
    }
    const QMargins margins = halves_->contentsMargins();
    const int frame = width() - contentsRect().width();
    return frame + margins.left() + margins.right() + left_->minimumSize().width() + 2 * HalfSpacing +
           line_->sizeHint().width() + right;
}

QSize PlotSettingsPanel::minimumSizeHint() const {
    return {requiredWidth(Arrangement::Narrow), QGroupBox::minimumSizeHint().height()};
}

void PlotSettingsPanel::updateArrangement() {
    const Arrangement fitting = width() >= requiredWidth(Arrangement::Wide) ? Arrangement::Wide : Arrangement::Narrow;
    if (fitting != arrangement_) {
        arrangeRightHalf(fitting);
        updateGeometry();
    }
}

void PlotSettingsPanel::resizeEvent(QResizeEvent* event) {
    QGroupBox::resizeEvent(event);
    updateArrangement();
}

void PlotSettingsPanel::changeEvent(QEvent* event) {
    QGroupBox::changeEvent(event);
    if (halves_ && (event->type() == QEvent::FontChange || event->type() == QEvent::StyleChange)) {
        updateWidths();
        updateArrangement();
    }
}

void PlotSettingsPanel::updateWidths() {
    for (FeatureCombo* combo : {xFeature_, yFeature_}) {
        combo->setMaximumWidth(combo->fontMetrics().horizontalAdvance(tr("Position along channel axis [µm]")) + 60);
    }
    // The highlighted button is bold, which must not move its neighbours.
    if (applyToAll_->styleSheet().isEmpty()) {
        QFont bold = applyToAll_->font();
        bold.setBold(true);
        const QString text = applyToAll_->text();
        const QSize plainSize = applyToAll_->fontMetrics().size(Qt::TextShowMnemonic, text);
        const QSize boldSize = QFontMetrics(bold).size(Qt::TextShowMnemonic, text);
        applyToAll_->setMinimumSize(applyToAll_->sizeHint() + (boldSize - plainSize).expandedTo(QSize(0, 0)));
    }
}

void PlotSettingsPanel::connectControls() {
    for (const QComboBox* combo :
         std::initializer_list<QComboBox*>{xFeature_, yFeature_, colorFeature_, xScale_, yScale_}) {
        connect(combo, &QComboBox::currentIndexChanged, this, &PlotSettingsPanel::onControlChanged);
    }
    connect(contours_, &ContourControls::changed, this, &PlotSettingsPanel::onControlChanged);
    connect(isoelastics_, &QCheckBox::toggled, this, [this] {
        showIsoelasticControls();
        emit isoelasticsChanged();
    });
    connect(isoelasticLabels_, &QCheckBox::toggled, this, &PlotSettingsPanel::isoelasticsChanged);
    connect(applyToAll_, &QPushButton::clicked, this, &PlotSettingsPanel::applyToAllRequested);
}

void PlotSettingsPanel::onControlChanged() {
    const PlotSettings now = settings();
    const auto adopt = [&](auto PlotSettings::*field) {
        if (now.*field != shown_.*field) {
            reported_.*field = now.*field;
        }
    };
    adopt(&PlotSettings::xFeatureName);
    adopt(&PlotSettings::yFeatureName);
    adopt(&PlotSettings::colorFeatureName);
    adopt(&PlotSettings::scaleXMode);
    adopt(&PlotSettings::scaleYMode);
    adopt(&PlotSettings::contourMode);
    adopt(&PlotSettings::contourFraction1);
    adopt(&PlotSettings::contourFraction2);
    shown_ = now;
    emit settingsChanged(reported_);
}

void PlotSettingsPanel::setFeatures(const std::vector<FeatureItem>& features) {
    std::vector<FeatureItem> colors{{std::string(), tr("None")}, {std::string(DensityKde), tr("Density (KDE)")}};
    colors.insert(colors.end(), features.begin(), features.end());
    xFeature_->setFeatures(features);
    yFeature_->setFeatures(features);
    colorFeature_->setFeatures(colors);
    xFeature_->select("area_um");
    yFeature_->select("deform");
    shown_ = settings();
}

void PlotSettingsPanel::clearFeatures() {
    for (FeatureCombo* combo : {xFeature_, yFeature_, colorFeature_}) {
        combo->setFeatures({});
    }
    shown_ = settings();
}

void PlotSettingsPanel::setSettings(const PlotSettings& settings) {
    xFeature_->select(settings.xFeatureName);
    yFeature_->select(settings.yFeatureName);
    colorFeature_->select(settings.colorFeatureName);
    xScale_->setMode(settings.scaleXMode);
    yScale_->setMode(settings.scaleYMode);
    contours_->setChoice(settings.contourMode, settings.contourFraction1, settings.contourFraction2);
    reported_ = settings;
    shown_ = this->settings();
}

PlotSettings PlotSettingsPanel::settings() const {
    PlotSettings settings;
    settings.xFeatureName = xFeature_->key();
    settings.yFeatureName = yFeature_->key();
    settings.colorFeatureName = colorFeature_->key();
    settings.scaleXMode = xScale_->mode();
    settings.scaleYMode = yScale_->mode();
    settings.contourMode = contours_->mode();
    settings.contourFraction1 = contours_->innerFraction();
    settings.contourFraction2 = contours_->outerFraction();
    return settings;
}

void PlotSettingsPanel::setFeaturesEnabled(bool on) {
    const std::array combos{xFeature_, yFeature_, colorFeature_};
    const auto focused = std::ranges::find_if(combos, [](const FeatureCombo* combo) { return combo->hasFocus(); });
    if (!on && focused != combos.end()) {
        focusOwner_ = *focused;
    }
    for (FeatureCombo* combo : combos) {
        combo->setEnabled(on);
    }
    // Switching a control off hands its focus to another one; it comes back unless the user went elsewhere meanwhile.
    if (!on && focused != combos.end()) {
        focusHeir_ = QApplication::focusWidget();
    }
    if (on && focusOwner_) {
        if (QApplication::focusWidget() == focusHeir_) {
            focusOwner_->setFocus();
        }
        focusOwner_ = nullptr;
    }
}

void PlotSettingsPanel::setLogAxisProblems(int xCount, int yCount) {
    xScale_->markLogAxisProblem(xCount);
    yScale_->markLogAxisProblem(yCount);
}

void PlotSettingsPanel::setIsoelasticsOffered(bool on) {
    isoelasticsOffered_ = on;
    showIsoelasticControls();
}

void PlotSettingsPanel::showIsoelasticControls() {
    isoelastics_->setVisible(isoelasticsOffered_);
    isoelasticLabels_->setVisible(isoelasticsOffered_ && isoelastics_->isChecked());
}

bool PlotSettingsPanel::isoelasticsChecked() const {
    return isoelastics_->isChecked();
}

bool PlotSettingsPanel::isoelasticLabelsChecked() const {
    return isoelasticLabels_->isChecked();
}

void PlotSettingsPanel::setApplyButton(bool enabled, bool highlighted) {
    applyToAll_->setEnabled(enabled);
    setSheet(applyToAll_, enabled && highlighted ? HighlightSheet : "");
}

} // namespace Tessaly
