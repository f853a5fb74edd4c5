#include "tools/statistics/AnalysisSettings.h"

#include "widgets/EmptyHint.h"
#include "widgets/PlainText.h"
#include "widgets/WideCombo.h"

#include <QCheckBox>
#include <QComboBox>
#include <QDoubleSpinBox>
#include <QGridLayout>
#include <QLabel>
#include <QListWidget>
#include <QProgressBar>
#include <QPushButton>
#include <QResizeEvent>
#include <QScopedValueRollback>
#include <QScrollArea>
#include <QScrollBar>
#include <QSignalBlocker>
#include <QVBoxLayout>

#include <algorithm>
#include <utility>

namespace Tessaly {

namespace {

QComboBox* makeCombo(const char* name, const QString& accessibleName, const QStringList& texts) {
    auto* combo = new WideCombo;
    combo->setObjectName(QLatin1String(name));
    combo->setAccessibleName(accessibleName);
    combo->addItems(texts);
    // The dock may be narrow; the list of choices is as wide as they are.
    combo->setSizeAdjustPolicy(QComboBox::AdjustToMinimumContentsLengthWithIcon);
    combo->setMinimumContentsLength(14);
    return combo;
}

/// Text in as many lines as it needs at its width. It asks for that height outright: a scroll area gives too little to
/// layouts whose height depends on their width.
class WrappedLabel : public QLabel {
public:
    bool hasHeightForWidth() const override { return false; }
    QSize sizeHint() const override { return {LeastWidth, heightForWidth(std::max(width(), LeastWidth))}; }
    QSize minimumSizeHint() const override { return sizeHint(); }

protected:
    void resizeEvent(QResizeEvent* event) override {
        QLabel::resizeEvent(event);
        if (event->size().width() != event->oldSize().width()) {
            updateGeometry();
        }
    }

private:
    static constexpr int LeastWidth = 100;
};

QLabel* makeText(const char* name) {
    auto* label = new WrappedLabel;
    label->setObjectName(QLatin1String(name));
    label->setTextFormat(Qt::PlainText);
    label->setWordWrap(true);
    return label;
}

} // namespace

AnalysisSettings::AnalysisSettings(QWidget* parent) : QWidget(parent) {
    setObjectName(QStringLiteral("analysisSettings"));
    auto* content = new QWidget;
    auto* column = new QVBoxLayout(content);
    column->setContentsMargins(4, 4, 4, 4);
    column->setSpacing(8);
    makeFeatureList();
    auto* featuresLabel = new QLabel(tr("Features to compare:"));
    featuresLabel->setBuddy(features_);
    column->addWidget(featuresLabel);
    column->addWidget(features_, 1);
    makeForm();
    column->addLayout(form_);
    column->addWidget(testLabel_ = makeText("testLabel"));
    column->addWidget(guidance_ = makeText("guidance"));
    guidance_->setStyleSheet(QStringLiteral("QLabel { color: #555; }"));

    scroll_ = new QScrollArea;
    scroll_->setObjectName(QStringLiteral("settingsScroll"));
    scroll_->setAccessibleName(tr("Settings"));
    scroll_->setFrameShape(QFrame::NoFrame);
    scroll_->setWidgetResizable(true);
    scroll_->setWidget(content);
    scroll_->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    QScrollBar* bar = scroll_->verticalScrollBar();
    connect(bar, &QScrollBar::rangeChanged, this, [this, bar](int, int maximum) {
        if (revealed_) {
            bar->setValue(maximum);
        }
    });
    connect(bar, &QScrollBar::actionTriggered, this, [this] { revealed_ = false; });
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(4);
    layout->addWidget(scroll_, 1);
    layout->addWidget(makeRunArea());
    connectChoices();
    updateVisibility();
}

void AnalysisSettings::makeFeatureList() {
    features_ = new QListWidget;
    features_->setObjectName(QStringLiteral("featureList"));
    features_->setAccessibleName(tr("Features to compare"));
    features_->setSelectionMode(QAbstractItemView::ExtendedSelection);
    features_->setMinimumHeight(120);
    // In a low dock the other choices come first.
    features_->setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Ignored);
    features_->setUniformItemSizes(true);
    features_->setTextElideMode(Qt::ElideRight);
    features_->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    new EmptyHint(tr("Add datasets to a category to list their features."), features_);
}

void AnalysisSettings::addRow(const QString& text, QWidget* field) {
    auto* label = new QLabel(text);
    label->setBuddy(field);
    labels_.insert(field, label);
    const int row = form_->rowCount();
    form_->addWidget(label, row, 0);
    form_->addWidget(field, row, 1);
}

void AnalysisSettings::addRow(QWidget* field) {
    form_->addWidget(field, form_->rowCount(), 0, 1, 2);
}

void AnalysisSettings::makeForm() {
    form_ = new QGridLayout;
    form_->setHorizontalSpacing(8);
    form_->setVerticalSpacing(4);
    form_->setColumnStretch(1, 1);
    addRow(tr("Dataset summary:"), summary_ = makeCombo("summary", tr("Dataset summary"), summaryNames()));
    replicates_ = new QCheckBox;
    replicates_->setObjectName(QStringLiteral("replicates"));
    addRow(replicates_);
    detectIds_ = new QPushButton(tr("Auto-detect IDs"));
    detectIds_->setObjectName(QStringLiteral("detectIds"));
    detectIds_->setToolTip(tr("Read ID#, BR# and TR# from the names of the datasets"));
    addRow(detectIds_);
    addRow(tr("Design:"), design_ = makeCombo("design", tr("Design"), designNames()));
    connectionLines_ = new QCheckBox(tr("Show connection lines"));
    connectionLines_->setObjectName(QStringLiteral("connectionLines"));
    addRow(connectionLines_);
    alpha_ = new QDoubleSpinBox;
    alpha_->setObjectName(QStringLiteral("alpha"));
    alpha_->setAccessibleName(tr("Significance level"));
    alpha_->setDecimals(3);
    alpha_->setRange(0.001, 0.5);
    alpha_->setSingleStep(0.01);
    alpha_->setValue(0.05);
    addRow(tr("Significance level α:"), alpha_);
    addRow(tr("Correction:"), correction_ = makeCombo("correction", tr("Correction"), correctionNames()));
    addRow(tr("Mode:"), mode_ = makeCombo("mode", tr("Mode"), {tr("Per dataset"), tr("Per category (averaged)")}));
}

QWidget* AnalysisSettings::makeRunArea() {
    auto* area = new QWidget;
    auto* layout = new QVBoxLayout(area);
    layout->setContentsMargins(4, 0, 4, 4);
    layout->setSpacing(4);
    const auto addButton = [layout](const char* name, const QString& text) {
        auto* button = new QPushButton(text);
        button->setObjectName(QLatin1String(name));
        layout->addWidget(button);
        return button;
    };
    dropped_ = makeText("runDropped");
    dropped_->setText(tr("Stopped, because categories, filters or datasets have changed."));
    dropped_->hide();
    layout->addWidget(dropped_);
    progress_ = new QProgressBar;
    progress_->setObjectName(QStringLiteral("runProgress"));
    progress_->setAccessibleName(tr("Progress of the run"));
    progress_->hide();
    layout->addWidget(progress_);
    runAnalysis_ = addButton("runAnalysis", tr("Run Analysis"));
    runRoc_ = addButton("runRoc", tr("Run ROC Analysis"));
    runDistribution_ = addButton("runDistribution", tr("Update Distributions"));
    connect(runAnalysis_, &QPushButton::clicked, this, &AnalysisSettings::runAnalysisRequested);
    connect(runRoc_, &QPushButton::clicked, this, &AnalysisSettings::runRocRequested);
    connect(runDistribution_, &QPushButton::clicked, this, &AnalysisSettings::runDistributionRequested);
    return area;
}

void AnalysisSettings::connectChoices() {
    connect(features_, &QListWidget::itemSelectionChanged, this, &AnalysisSettings::onSelectionChanged);
    connect(design_, &QComboBox::currentIndexChanged, this, &AnalysisSettings::onDesignChanged);
    connect(replicates_, &QCheckBox::toggled, this, [this] {
        updateVisibility();
        emit designChanged();
    });
    connect(detectIds_, &QPushButton::clicked, this, &AnalysisSettings::detectIdsRequested);
    for (QComboBox* combo : {summary_, correction_, mode_}) {
        connect(combo, &QComboBox::currentIndexChanged, this, &AnalysisSettings::choiceChanged);
    }
    connect(alpha_, &QDoubleSpinBox::valueChanged, this, &AnalysisSettings::choiceChanged);
}

CompareSettings AnalysisSettings::settings() const {
    CompareSettings settings;
    settings.summary = static_cast<SampleSummary>(summary_->currentIndex());
    settings.design = static_cast<CompareDesign>(design_->currentIndex());
    settings.replicates = replicates_->isChecked();
    settings.connectionLines = connectionLines_->isChecked();
    settings.alpha = alpha_->value();
    settings.correction = static_cast<Correction>(correction_->currentIndex());
    return settings;
}

void AnalysisSettings::setSettings(const CompareSettings& settings) {
    const QSignalBlocker blocked(this);
    summary_->setCurrentIndex(static_cast<int>(settings.summary));
    design_->setCurrentIndex(static_cast<int>(settings.design));
    replicates_->setChecked(settings.replicates);
    connectionLines_->setChecked(settings.connectionLines);
    alpha_->setValue(settings.alpha);
    correction_->setCurrentIndex(static_cast<int>(settings.correction));
}

DistributionMode AnalysisSettings::distributionMode() const {
    return static_cast<DistributionMode>(mode_->currentIndex());
}

void AnalysisSettings::setFeatures(std::vector<ComparedFeature> features) {
    if (features == listed_) {
        return;
    }
    const QScopedValueRollback listing(listing_, true);
    listed_ = std::move(features);
    QStringList labels;
    labels.reserve(static_cast<qsizetype>(listed_.size()));
    for (const ComparedFeature& feature : listed_) {
        // Hardly any label needs that, and all would be copied for it.
        const bool plain = std::ranges::all_of(feature.label, [](QChar c) { return c.isPrint(); });
        labels += plain ? feature.label : singleLine(feature.label);
    }
    features_->clear();
    features_->addItems(labels);
    showSelection();
}

void AnalysisSettings::showSelection() {
    const QSet<QString> wanted(wanted_.begin(), wanted_.end());
    QItemSelection selection;
    for (std::size_t row = 0; row < listed_.size() && !wanted.isEmpty(); ++row) {
        if (wanted.contains(QString::fromStdString(listed_[row].name))) {
            const QModelIndex index = features_->model()->index(static_cast<int>(row), 0);
            selection.select(index, index);
        }
    }
    features_->selectionModel()->select(selection, QItemSelectionModel::ClearAndSelect);
}

std::vector<ComparedFeature> AnalysisSettings::selectedFeatures() const {
    std::vector<std::size_t> rows;
    for (const QModelIndex& index : features_->selectionModel()->selectedIndexes()) {
        rows.push_back(static_cast<std::size_t>(index.row()));
    }
    std::ranges::sort(rows);
    std::vector<ComparedFeature> selected;
    for (const std::size_t row : rows) {
        selected.push_back(listed_[row]);
    }
    return selected;
}

QStringList AnalysisSettings::wantedFeatures() const {
    return wanted_;
}

void AnalysisSettings::setWantedFeatures(const QStringList& names) {
    const QScopedValueRollback listing(listing_, true);
    wanted_ = names;
    showSelection();
}

void AnalysisSettings::onSelectionChanged() {
    if (listing_) {
        return;
    }
    // What isn't listed at the moment can't have been deselected.
    QSet<QString> listed;
    for (const ComparedFeature& feature : listed_) {
        listed.insert(QString::fromStdString(feature.name));
    }
    QStringList selected;
    for (const ComparedFeature& feature : selectedFeatures()) {
        selected += QString::fromStdString(feature.name);
    }
    for (const QString& name : wanted_) {
        if (!listed.contains(name)) {
            selected += name;
        }
    }
    wanted_ = selected;
    emit choiceChanged();
}

void AnalysisSettings::onDesignChanged() {
    if (!settings().matched()) {
        connectionLines_->setChecked(false);
    }
    updateVisibility();
    emit designChanged();
}

void AnalysisSettings::setTab(CompareTab tab) {
    tab_ = tab;
    updateVisibility();
}

void AnalysisSettings::updateVisibility() {
    const bool tests = tab_ == CompareTab::Tests;
    const bool roc = tab_ == CompareTab::Roc;
    const bool matched = settings().matched();
    const bool replicates = replicates_->isChecked();
    const auto show = [this](QWidget* field, bool visible) {
        field->setVisible(visible);
        if (QLabel* label = labels_.value(field)) {
            label->setVisible(visible);
        }
    };
    replicates_->setText(tests && matched ? tr("Technical replicates") : tr("Replicates included"));
    show(summary_, tests || roc);
    show(replicates_, tests || roc);
    show(detectIds_, (tests && (matched || replicates)) || (roc && replicates));
    show(design_, tests);
    show(connectionLines_, tests && matched);
    show(alpha_, tests);
    show(correction_, tests);
    show(mode_, tab_ == CompareTab::Distributions);
    testLabel_->setVisible(tests);
    runAnalysis_->setVisible(tests);
    runRoc_->setVisible(roc);
    runDistribution_->setVisible(tab_ == CompareTab::Distributions);
}

void AnalysisSettings::setTestLabel(const QString& text) {
    testLabel_->setText(text.trimmed());
}

void AnalysisSettings::setGuidance(const QString& text) {
    guidance_->setText(text);
    revealed_ = false;
}

void AnalysisSettings::revealGuidance() {
    revealed_ = true;
    scroll_->verticalScrollBar()->setValue(scroll_->verticalScrollBar()->maximum());
}

void AnalysisSettings::showProgress(int done, int total) {
    progress_->setRange(0, std::max(1, total));
    progress_->setValue(done);
    progress_->show();
    dropped_->hide();
    for (QPushButton* button : {runAnalysis_, runRoc_, runDistribution_}) {
        button->setEnabled(false);
        button->setToolTip(tr("A run is under way"));
    }
}

void AnalysisSettings::hideProgress(bool dropped) {
    progress_->hide();
    dropped_->setVisible(dropped);
    for (QPushButton* button : {runAnalysis_, runRoc_, runDistribution_}) {
        button->setEnabled(true);
        button->setToolTip(QString());
    }
}

bool AnalysisSettings::idsVisible() const {
    return settings().matched() || replicates_->isChecked();
}

bool AnalysisSettings::technicalIds() const {
    return settings().matched() && replicates_->isChecked();
}

} // namespace Tessaly
