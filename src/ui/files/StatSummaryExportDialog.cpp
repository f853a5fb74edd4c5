#include "ui/files/StatSummaryExportDialog.h"

#include "core/DatasetEntry.h"
#include "ui/files/DatasetFeatures.h"
#include "ui/files/ExportWidgets.h"
#include "widgets/FeatureChecklist.h"

#include <QCheckBox>
#include <QDialogButtonBox>
#include <QDoubleSpinBox>
#include <QFileDialog>
#include <QFileInfo>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QLineEdit>
#include <QPushButton>
#include <QRadioButton>
#include <QVBoxLayout>

#include <utility>

namespace Tessaly {

StatSummaryExportDialog::StatSummaryExportDialog(const DatasetEntry& current,
                                                 const std::vector<std::unique_ptr<DatasetEntry>>& datasets,
                                                 const StatSummaryConfig* remembered, QWidget* parent)
    : QDialog(parent) {
    static constexpr int MinimumWidth = 450;
    setObjectName(QStringLiteral("statSummaryDialog"));
    setWindowTitle(tr("Export Statistical Summary"));
    setMinimumWidth(MinimumWidth);
    features_ = new FeatureChecklist(featuresToExport(current, datasets));
    auto* layout = new QVBoxLayout(this);
    layout->addWidget(makeScopeGroup(datasets.size()));
    layout->addWidget(makeFeatureGroup(), 1);
    layout->addWidget(makeFigureGroup());
    layout->addWidget(makeFileGroup(current));
    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Cancel);
    QPushButton* exportButton = buttons->addButton(tr("Export"), QDialogButtonBox::AcceptRole);
    exportButton->setObjectName(QStringLiteral("exportButton"));
    exportButton->setDefault(true);
    layout->addWidget(buttons);

    connect(buttons, &QDialogButtonBox::accepted, this, &QDialog::accept);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    connect(features_, &FeatureChecklist::selectAllClicked, this, &StatSummaryExportDialog::onSelectAll);
    connect(features_, &FeatureChecklist::deselectAllClicked, this, &StatSummaryExportDialog::onDeselectAll);
    for (const QRadioButton* scope : {currentDataset_, allDatasets_}) {
        connect(scope, &QRadioButton::toggled, this, &StatSummaryExportDialog::onScopeChanged);
    }
    if (remembered) {
        take(*remembered);
    }
    onScopeChanged();
}

QGroupBox* StatSummaryExportDialog::makeScopeGroup(std::size_t count) {
    currentDataset_ = makeChoice<QRadioButton>(tr("Current dataset only"), "currentDatasetRadio");
    allDatasets_ = makeChoice<QRadioButton>(tr("All datasets (%1)").arg(count), "allDatasetsRadio");
    currentDataset_->setChecked(true);
    allDatasets_->setEnabled(count > 1);
    return makeGroup(tr("Export Scope"), {currentDataset_, allDatasets_});
}

QGroupBox* StatSummaryExportDialog::makeFeatureGroup() {
    static constexpr int RoomForRows = 150;
    static constexpr int ListHeight = 200;
    features_->setListHeight(RoomForRows, ListHeight);
    return makeGroup(tr("Scalar Features"), {features_});
}

QGroupBox* StatSummaryExportDialog::makeFigureGroup() {
    using Config = StatSummaryConfig;
    const auto figure = [this](const QString& text, const char* name, bool Config::*member) {
        figures_.push_back({makeChoice<QCheckBox>(text, name), member});
        figures_.back().box->setChecked(Config().*member);
        return figures_.back().box;
    };
    static constexpr int PercentileWidth = 90;
    percentile_ = new QDoubleSpinBox;
    percentile_->setObjectName(QStringLiteral("percentileSpin"));
    percentile_->setAccessibleName(tr("Percentile"));
    percentile_->setRange(0.0, 100.0);
    percentile_->setDecimals(1);
    percentile_->setSuffix(QStringLiteral("%"));
    percentile_->setValue(Config().percentile);
    percentile_->setMaximumWidth(PercentileWidth);
    percentile_->setEnabled(false);

    QWidget* first =
        makeRow({figure(tr("N"), "countBox", &Config::count), figure(tr("Median"), "medianBox", &Config::median),
                 figure(tr("IQR"), "iqrBox", &Config::iqr)});
    QCheckBox* q1 = figure(tr("Q1 (25th)"), "q1Box", &Config::q1);
    QCheckBox* q3 = figure(tr("Q3 (75th)"), "q3Box", &Config::q3);
    QCheckBox* percentileOn = figure(tr("Percentile:"), "percentileBox", &Config::percentileOn);
    connect(percentileOn, &QCheckBox::toggled, percentile_, &QWidget::setEnabled);
    QWidget* second = makeRow({q1, q3, percentileOn, percentile_});
    QWidget* third = makeRow({figure(tr("Mean"), "meanBox", &Config::mean), figure(tr("SD"), "sdBox", &Config::sd),
                              figure(tr("SEM"), "semBox", &Config::sem), figure(tr("CV (%)"), "cvBox", &Config::cv)});
    QWidget* fourth = makeRow({figure(tr("Min"), "minBox", &Config::min), figure(tr("Max"), "maxBox", &Config::max)});
    return makeGroup(tr("Statistics"),
                     {first, second, third, fourth, figure(tr("Skewness"), "skewnessBox", &Config::skewness)});
}

QGroupBox* StatSummaryExportDialog::makeFileGroup(const DatasetEntry& current) {
    path_ = new QLineEdit(QFileInfo(QString::fromStdString(current.filePath)).path() +
                          QStringLiteral("/statistical_summary.tsv"));
    path_->setObjectName(QStringLiteral("outputEdit"));
    path_->setAccessibleName(tr("Output file"));
    auto* browse = new QPushButton(tr("Browse..."));
    browse->setObjectName(QStringLiteral("browseButton"));
    browse->setAutoDefault(false);
    connect(browse, &QPushButton::clicked, this, &StatSummaryExportDialog::onBrowse);
    auto* row = new QWidget;
    auto* layout = new QHBoxLayout(row);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(path_, 1);
    layout->addWidget(browse);
    return makeGroup(tr("Output File"), {row});
}

void StatSummaryExportDialog::take(const StatSummaryConfig& config) {
    (config.allDatasets && allDatasets_->isEnabled() ? allDatasets_ : currentDataset_)->setChecked(true);
    features_->setChecked(config.features);
    for (const Figure& figure : figures_) {
        figure.box->setChecked(config.*figure.member);
    }
    percentile_->setValue(config.percentile);
    if (!config.outputPath.isEmpty()) {
        path_->setText(config.outputPath);
    }
}

StatSummaryConfig StatSummaryExportDialog::config() const {
    StatSummaryConfig config;
    config.features = features_->checked();
    config.allDatasets = allDatasets_->isChecked();
    config.outputPath = path_->text();
    for (const Figure& figure : figures_) {
        config.*figure.member = figure.box->isChecked();
    }
    config.percentile = percentile_->value();
    return config;
}

void StatSummaryExportDialog::onBrowse() {
    const QString path = QFileDialog::getSaveFileName(this, tr("Save Statistical Summary"), path_->text(),
                                                      tr("TSV files (*.tsv);;All files (*)"));
    if (!path.isEmpty()) {
        path_->setText(path);
    }
}

void StatSummaryExportDialog::onSelectAll() {
    features_->checkShown();
}

void StatSummaryExportDialog::onDeselectAll() {
    features_->uncheckAll();
}

void StatSummaryExportDialog::onScopeChanged() {
    features_->showOthers(allDatasets_->isChecked());
}

} // namespace Tessaly
