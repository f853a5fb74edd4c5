#include "ui/plot/PlotSettingsPanel.h"

#include <QAbstractItemView>
#include <QApplication>
#include <QCheckBox>
#include <QComboBox>
#include <QEvent>
#include <QFrame>
#include <QGridLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QResizeEvent>
#include <QScrollBar>
#include <QSignalBlocker>
#include <QSpinBox>

#include <algorithm>
#include <array>
#include <cmath>

namespace Tessaly {

namespace {

constexpr int MinFeatureWidth = 150;
constexpr int ColumnSpacing = 4;
constexpr int RowSpacing = 2;
constexpr int HalfSpacing = 6;
constexpr int LogItem = 1;

constexpr char SelectorSheet[] = "QComboBox { padding: 2px 6px; min-height: 0; }";
constexpr char LogProblemSheet[] = "QComboBox { background-color: #fff8e1; border: 1px solid #f9a825; }";
constexpr char HighlightSheet[] =
    "QPushButton { background-color: #a6d7d5; color: #00abad; border: 1px solid #00abad; font-weight: bold; }";

// The lists open as wide as their longest text, however narrow the box is.
void widenPopup(QComboBox* combo) {
    int width = 0;
    for (int i = 0; i < combo->count(); ++i) {
        width = std::max(width, combo->fontMetrics().horizontalAdvance(combo->itemText(i)));
    }
    combo->view()->setMinimumWidth(width + combo->view()->verticalScrollBar()->sizeHint().width() + 24);
}

void selectKey(QComboBox* combo, const std::string& key) {
    const int index = key.empty() ? -1 : combo->findData(QString::fromStdString(key));
    if (index >= 0) {
        combo->setCurrentIndex(index);
    }
}

void setChoice(QComboBox* combo, int index) {
    combo->setCurrentIndex(index >= 0 && index < combo->count() ? index : 0);
}

void setPercent(QSpinBox* box, double fraction) {
    if (std::isfinite(fraction)) {
        box->setValue(static_cast<int>(std::lround(std::clamp(fraction, 0.0, 1.0) * 100.0)));
    }
}

std::string keyOf(const QComboBox* combo) {
    return combo->currentData().toString().toStdString();
}

// A new sheet polishes the widget anew, which is not for free on every refresh.
void setSheet(QWidget* widget, const char* sheet) {
    if (widget->styleSheet() != QLatin1String(sheet)) {
        widget->setStyleSheet(QLatin1String(sheet));
    }
}

void markLogAxisProblem(QComboBox* combo, int count, const QString& axisName) {
    combo->setItemText(LogItem, count > 0 ? PlotSettingsPanel::tr("Log ⚠") : PlotSettingsPanel::tr("Log"));
    setSheet(combo, count > 0 ? LogProblemSheet : "");
    combo->setToolTip(
        count > 0 ? PlotSettingsPanel::tr("%1: %2 point%3 with value ≤ 0 not shown (cannot be drawn on a log axis)")
                        .arg(axisName)
                        .arg(count)
                        .arg(count == 1 ? QString() : QStringLiteral("s"))
                  : axisName);
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

QComboBox* PlotSettingsPanel::makeFeatureCombo(const QString& name, const QString& accessibleName) {
    auto* combo = new QComboBox;
    combo->setObjectName(name);
    combo->setAccessibleName(accessibleName);
    combo->setStyleSheet(QString::fromLatin1(SelectorSheet));
    combo->setSizeAdjustPolicy(QComboBox::AdjustToMinimumContentsLengthWithIcon);
    combo->setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
    combo->setMinimumWidth(MinFeatureWidth);
    combo->setMaxVisibleItems(20);
    return combo;
}

QComboBox* PlotSettingsPanel::makeScaleCombo(const QString& name, const QString& toolTip) {
    auto* combo = new QComboBox;
    combo->setObjectName(name);
    combo->setAccessibleName(toolTip);
    combo->setToolTip(toolTip);
    combo->addItems({tr("Linear"), tr("Log"), tr("PseudoLog")});
    combo->setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
    return combo;
}

void PlotSettingsPanel::buildAxisControls() {
    xFeature_ = makeFeatureCombo(QStringLiteral("xFeatureCombo"), tr("X Axis"));
    xScale_ = makeScaleCombo(QStringLiteral("xScaleCombo"), tr("X-axis scale mode"));
    yFeature_ = makeFeatureCombo(QStringLiteral("yFeatureCombo"), tr("Y Axis"));
    yScale_ = makeScaleCombo(QStringLiteral("yScaleCombo"), tr("Y-axis scale mode"));
    colorFeature_ = makeFeatureCombo(QStringLiteral("colorFeatureCombo"), tr("Color by"));
}

void PlotSettingsPanel::buildOverlayControls() {
    contourMode_ = new QComboBox;
    contourMode_->setObjectName(QStringLiteral("contourModeCombo"));
    contourMode_->setAccessibleName(tr("Contour Overlay"));
    contourMode_->addItems({tr("Off"), tr("Overlay"), tr("Only")});
    contourLabel_ = new QLabel(tr("Contour Overlay"));

    innerFraction_ = new QSpinBox;
    innerFraction_->setObjectName(QStringLiteral("innerFractionSpinBox"));
    innerFraction_->setAccessibleName(tr("Inner contour level"));
    innerLabel_ = new QLabel(tr("Inner"));
    outerFraction_ = new QSpinBox;
    outerFraction_->setObjectName(QStringLiteral("outerFractionSpinBox"));
    outerFraction_->setAccessibleName(tr("Outer contour level"));
    outerLabel_ = new QLabel(tr("Outer"));
    for (QSpinBox* box : {innerFraction_, outerFraction_}) {
        box->setRange(1, 99);
        box->setSingleStep(5);
        box->setSuffix(QStringLiteral("%"));
    }
    innerFraction_->setValue(10);
    outerFraction_->setValue(67);
    contourLabel_->setBuddy(contourMode_);
    innerLabel_->setBuddy(innerFraction_);
    outerLabel_->setBuddy(outerFraction_);

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
    const auto addRow = [this](int row, const QString& text, QComboBox* feature, QComboBox* scale) {
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
    right_->addWidget(contourLabel_, 0, 0);
    right_->addWidget(contourMode_, 0, 1);
    right_->addWidget(innerLabel_, 1, 0);
    right_->addWidget(innerFraction_, 1, 1);
    right_->addWidget(outerLabel_, 2, 0);
    right_->addWidget(outerFraction_, 2, 1);
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
    const int fields = widest({contourLabel_, innerLabel_, outerLabel_}) + ColumnSpacing +
                       widest({contourMode_, innerFraction_, outerFraction_});
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
    for (QComboBox* combo : {xFeature_, yFeature_}) {
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
    for (const QComboBox* combo : {xFeature_, yFeature_, colorFeature_}) {
        connect(combo, &QComboBox::currentIndexChanged, this, &PlotSettingsPanel::updateFeatureToolTips);
    }
    for (const QComboBox* combo : {xFeature_, yFeature_, colorFeature_, xScale_, yScale_, contourMode_}) {
        connect(combo, &QComboBox::currentIndexChanged, this, &PlotSettingsPanel::onControlChanged);
    }
    for (const QSpinBox* box : {innerFraction_, outerFraction_}) {
        connect(box, &QSpinBox::valueChanged, this, &PlotSettingsPanel::onControlChanged);
    }
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
    clearFeatures();
    const QSignalBlocker blockX(xFeature_);
    const QSignalBlocker blockY(yFeature_);
    const QSignalBlocker blockColor(colorFeature_);
    colorFeature_->addItem(tr("None"), QString());
    colorFeature_->addItem(tr("Density (KDE)"), QString::fromUtf8(DensityKde.data(), DensityKde.size()));
    for (const FeatureItem& feature : features) {
        for (QComboBox* combo : {xFeature_, yFeature_, colorFeature_}) {
            combo->addItem(feature.label, QString::fromStdString(feature.key));
        }
    }
    for (QComboBox* combo : {xFeature_, yFeature_, colorFeature_}) {
        widenPopup(combo);
    }
    selectKey(xFeature_, "area_um");
    selectKey(yFeature_, "deform");
    colorFeature_->setCurrentIndex(0);
    updateFeatureToolTips();
    shown_ = settings();
}

void PlotSettingsPanel::clearFeatures() {
    for (QComboBox* combo : {xFeature_, yFeature_, colorFeature_}) {
        const QSignalBlocker blocker(combo);
        combo->clear();
    }
    updateFeatureToolTips();
    shown_ = settings();
}

void PlotSettingsPanel::updateFeatureToolTips() {
    // A narrow box cuts long names.
    for (QComboBox* combo : {xFeature_, yFeature_, colorFeature_}) {
        combo->setToolTip(combo->currentText());
    }
}

void PlotSettingsPanel::setSettings(const PlotSettings& settings) {
    const QSignalBlocker blockers[] = {QSignalBlocker(xFeature_),      QSignalBlocker(yFeature_),
                                       QSignalBlocker(colorFeature_),  QSignalBlocker(xScale_),
                                       QSignalBlocker(yScale_),        QSignalBlocker(contourMode_),
                                       QSignalBlocker(innerFraction_), QSignalBlocker(outerFraction_)};
    selectKey(xFeature_, settings.xFeatureName);
    selectKey(yFeature_, settings.yFeatureName);
    selectKey(colorFeature_, settings.colorFeatureName);
    setChoice(xScale_, settings.scaleXMode);
    setChoice(yScale_, settings.scaleYMode);
    setChoice(contourMode_, settings.contourMode);
    setPercent(innerFraction_, settings.contourFraction1);
    setPercent(outerFraction_, settings.contourFraction2);
    updateFeatureToolTips();
    reported_ = settings;
    shown_ = this->settings();
}

PlotSettings PlotSettingsPanel::settings() const {
    PlotSettings settings;
    settings.xFeatureName = keyOf(xFeature_);
    settings.yFeatureName = keyOf(yFeature_);
    settings.colorFeatureName = keyOf(colorFeature_);
    settings.scaleXMode = xScale_->currentIndex();
    settings.scaleYMode = yScale_->currentIndex();
    settings.contourMode = contourMode_->currentIndex();
    settings.contourFraction1 = innerFraction_->value() / 100.0;
    settings.contourFraction2 = outerFraction_->value() / 100.0;
    return settings;
}

void PlotSettingsPanel::setFeaturesEnabled(bool on) {
    const std::array combos{xFeature_, yFeature_, colorFeature_};
    const auto focused = std::ranges::find_if(combos, [](const QComboBox* combo) { return combo->hasFocus(); });
    if (!on && focused != combos.end()) {
        focusOwner_ = *focused;
    }
    for (QComboBox* combo : combos) {
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
    markLogAxisProblem(xScale_, xCount, tr("X-axis scale mode"));
    markLogAxisProblem(yScale_, yCount, tr("Y-axis scale mode"));
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
