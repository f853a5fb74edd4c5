#include "ui/calculations/CalculationsDockWidget.h"

#include "core/VQDMetadata.h"
#include "ui/calculations/CompensationPage.h"
#include "ui/calculations/ModulusPage.h"
#include "ui/calculations/PageControls.h"
#include "ui/calculations/RefinementPage.h"
#include "widgets/WideCombo.h"

#include <QCheckBox>
#include <QLabel>
#include <QProgressBar>
#include <QPushButton>
#include <QScrollArea>
#include <QStackedWidget>
#include <QVBoxLayout>

namespace Tessaly {

CalculationsDockWidget::CalculationsDockWidget(QWidget* parent) : QWidget(parent) {
    setObjectName(QStringLiteral("calculationsPanel"));
    chooser_ = new WideCombo;
    chooser_->setObjectName(QStringLiteral("calculationCombo"));
    chooser_->setAccessibleName(tr("Calculation"));
    chooser_->setSizeAdjustPolicy(QComboBox::AdjustToMinimumContentsLengthWithIcon);
    chooser_->setMinimumContentsLength(12);
    pages_ = new QStackedWidget;
    modulus_ = new ModulusPage;
    compensation_ = new CompensationPage;
    refinement_ = new RefinementPage;
    addPage(tr("Young's Modulus"), modulus_);
    addPage(tr("Crosstalk Compensation"), compensation_);
    addPage(tr("FL Refinement"), refinement_);
    addPage(tr("Deformation from Fourier Decomposition"), buildFourierPage());
    progress_ = new QProgressBar;
    progress_->setObjectName(QStringLiteral("calculationProgress"));
    progress_->setAccessibleName(tr("Progress of the calculation"));
    progress_->setRange(0, 100);
    progress_->setValue(0);
    progress_->hide();

    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(4, 4, 4, 4);
    layout->addWidget(chooser_);
    layout->addWidget(pages_, 1);
    layout->addWidget(progress_);

    connect(chooser_, &QComboBox::currentIndexChanged, pages_, &QStackedWidget::setCurrentIndex);
    connect(modulus_, &ModulusPage::computeRequested, this, &CalculationsDockWidget::computeEmodulus);
    connect(modulus_, &ModulusPage::assessRequested, this, &CalculationsDockWidget::assessEmodQuality);
    connect(modulus_, &ModulusPage::conditionsChanged, this, &CalculationsDockWidget::conditionsChanged);
    connect(compensation_, &CompensationPage::startRequested, this, &CalculationsDockWidget::compensateCrosstalk);
    connect(refinement_, &RefinementPage::startRequested, this, &CalculationsDockWidget::refineFluorescence);
    connect(refinement_, &RefinementPage::traceDisplayChanged, this, &CalculationsDockWidget::traceDisplayChanged);
    connect(fourierStart_, &QPushButton::clicked, this, &CalculationsDockWidget::computeFourierDeform);
    const QString none = tr("No dataset is selected.");
    setRefused({none, none, none, none, none});
}

void CalculationsDockWidget::resizeEvent(QResizeEvent* event) {
    QWidget::resizeEvent(event);
    constexpr int usualCharacters = 36;
    const bool narrow = width() < usualCharacters * fontMetrics().averageCharWidth();
    modulus_->setNarrow(narrow);
    refinement_->setNarrow(narrow);
}

QWidget* CalculationsDockWidget::buildFourierPage() {
    auto* page = new QWidget;
    auto* note = new QLabel(tr("Decomposes each cell's contour into Fourier components and stores the deformation of "
                               "the odd and even components only. The deformation of all components together is "
                               "stored beside them."));
    note->setWordWrap(true);
    note->setStyleSheet(QStringLiteral("QLabel { color: gray; font-size: 10px; }"));
    fourierApplyToAll_ = makeApplyToAll("fourierApplyToAll", tr("Fourier deformation of all datasets"));
    fourierStart_ = makeStartButton(tr("Compute Fourier Deformation"), "fourierButton");
    auto* layout = new QVBoxLayout(page);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(note);
    layout->addWidget(fourierApplyToAll_);
    layout->addWidget(fourierStart_);
    layout->addStretch();
    return page;
}

void CalculationsDockWidget::addPage(const QString& title, QWidget* page) {
    // A page may be higher than the dock of a small screen.
    auto* scroll = new QScrollArea;
    scroll->setFrameShape(QFrame::NoFrame);
    scroll->setWidgetResizable(true);
    scroll->setFocusPolicy(Qt::NoFocus);
    scroll->setWidget(page);
    page->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Preferred); // rows give way, to the side nothing moves
    scroll->viewport()->setAutoFillBackground(false);
    page->setAutoFillBackground(false);
    chooser_->addItem(title);
    pages_->addWidget(scroll);
}

void CalculationsDockWidget::setDatasetMetadata(const VQDMetadata* metadata, bool hasTemperatureFeature) {
    modulus_->setDatasetMetadata(metadata, hasTemperatureFeature);
}

void CalculationsDockWidget::setChannels(const std::vector<int>& channels) {
    compensation_->setChannels(channels);
}

void CalculationsDockWidget::setSpilloverMatrix(const SquareMatrix& matrix) {
    compensation_->setSpilloverMatrix(matrix);
}

void CalculationsDockWidget::fillDeformationSources(bool offered, bool hasFc, bool hasOdd) {
    modulus_->fillDeformationSources(offered, hasFc, hasOdd);
}

void CalculationsDockWidget::setRefused(const CalculationsRefused& refused) {
    refused_ = refused;
    updateButtons();
}

void CalculationsDockWidget::setRunning(std::optional<Calculation> running) {
    running_ = running;
    updateButtons();
    progress_->setValue(0);
    progress_->setFormat(QStringLiteral("%p%"));
    progress_->setVisible(running.has_value());
}

void CalculationsDockWidget::setProgress(int percent, const QString& format) {
    progress_->setFormat(format);
    progress_->setValue(percent);
}

QPushButton* CalculationsDockWidget::startButtonOf(Calculation kind) const {
    switch (kind) {
    case Calculation::Refinement:
        return refinement_->startButton();
    case Calculation::Compensation:
        return compensation_->startButton();
    case Calculation::Modulus:
        return modulus_->computeButton();
    case Calculation::Fourier:
        return fourierStart_;
    }
    return nullptr;
}

void CalculationsDockWidget::updateButtons() {
    offer(refinement_->startButton(), refused_.refinement);
    offer(compensation_->startButton(), refused_.compensation);
    offer(modulus_->computeButton(), refused_.modulus);
    offer(modulus_->assessButton(), refused_.assessment, tr("Evaluate how well the YM mapping works for this dataset"));
    offer(fourierStart_, refused_.fourier);
    if (running_) {
        offer(startButtonOf(*running_), tr("This calculation is running."));
    }
}

EModulusParams CalculationsDockWidget::emodulusParams() const {
    return modulus_->shownParams();
}

EModulusParams CalculationsDockWidget::emodulusParamsFor(const VQDMetadata& metadata, bool allowEvent) const {
    return Tessaly::emodulusParamsFor(metadata, allowEvent, modulus_->settings());
}

EModulusSettings CalculationsDockWidget::emodulusSettings() const {
    return modulus_->settings();
}

FLRefinementParams CalculationsDockWidget::fluorescenceParams() const {
    return refinement_->params();
}

SquareMatrix CalculationsDockWidget::spilloverMatrix() const {
    return compensation_->spilloverMatrix();
}

bool CalculationsDockWidget::appliesToAll(Calculation kind) const {
    switch (kind) {
    case Calculation::Refinement:
        return refinement_->appliesToAll();
    case Calculation::Compensation:
        return compensation_->appliesToAll();
    case Calculation::Modulus:
        return modulus_->appliesToAll();
    case Calculation::Fourier:
        return fourierApplyToAll_->isChecked();
    }
    return false;
}

bool CalculationsDockWidget::assessesFiltered() const {
    return modulus_->assessesFiltered();
}

bool CalculationsDockWidget::showsRefinedTrace() const {
    return refinement_->showsRefinedTrace();
}

} // namespace Tessaly
