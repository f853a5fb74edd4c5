#include "ui/files/ExportDialog.h"

#include "core/DatasetEntry.h"
#include "io/VQDReader.h"
#include "ui/files/DatasetFeatures.h"
#include "ui/files/ExportWidgets.h"
#include "widgets/FeatureChecklist.h"

#include <QButtonGroup>
#include <QCheckBox>
#include <QDialogButtonBox>
#include <QFileDialog>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QLineEdit>
#include <QPushButton>
#include <QRadioButton>
#include <QVBoxLayout>

namespace Tessaly {

ExportDialog::ExportDialog(const DatasetEntry& dataset, const std::vector<std::unique_ptr<DatasetEntry>>& datasets,
                           bool expertMode, QWidget* parent, const ExportConfig* lastConfig)
    : QDialog(parent) {
    setObjectName(QStringLiteral("exportDialog"));
    setWindowTitle(tr("Export Data"));
    features_ = new FeatureChecklist(featuresToExport(dataset, datasets));
    auto* layout = new QVBoxLayout(this);
    layout->addWidget(makeScopeGroup(datasets.size()));
    layout->addWidget(makeFormatGroup());
    layout->addWidget(makeVideoGroup(expertMode));
    layout->addWidget(makeFeatureGroup(), 1);
    layout->addWidget(makePartGroup());
    layout->addWidget(makeDirectoryGroup());
    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Cancel);
    export_ = buttons->addButton(tr("Export"), QDialogButtonBox::AcceptRole);
    export_->setObjectName(QStringLiteral("exportButton"));
    export_->setDefault(true);
    layout->addWidget(buttons);

    lookForParts(dataset, datasets);
    if (lastConfig) {
        take(*lastConfig);
    }
    onFormatChanged();
    refreshDirectory();
    connect(buttons, &QDialogButtonBox::accepted, this, &QDialog::accept);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    connect(allDatasets_, &QRadioButton::toggled, this, &ExportDialog::onScopeChanged);
    for (const QRadioButton* format : {vqd_, tsv_, avi_}) {
        connect(format, &QRadioButton::toggled, this, [this](bool on) {
            if (on) {
                onFormatChanged();
            }
        });
    }
    connect(features_, &FeatureChecklist::selectAllClicked, this, &ExportDialog::onSelectAll);
    connect(features_, &FeatureChecklist::deselectAllClicked, this, &ExportDialog::onDeselectAll);
    connect(customDirectory_, &QCheckBox::toggled, this, &ExportDialog::refreshDirectory);
    connect(directory_, &QLineEdit::textChanged, this, &ExportDialog::refreshDirectory);
    connect(browse_, &QPushButton::clicked, this, &ExportDialog::onBrowseDir);
}

QGroupBox* ExportDialog::makeScopeGroup(std::size_t count) {
    currentDataset_ = makeChoice<QRadioButton>(tr("Current dataset only"), "currentDatasetRadio");
    allDatasets_ = makeChoice<QRadioButton>(tr("All datasets (%1)").arg(count), "allDatasetsRadio");
    currentDataset_->setChecked(true);
    allDatasets_->setEnabled(count >= 2);
    return makeGroup(tr("Export Scope"), {makeRow({currentDataset_, allDatasets_})});
}

QGroupBox* ExportDialog::makeFormatGroup() {
    vqd_ = makeChoice<QRadioButton>(tr(".vqd (HDF5)"), "vqdRadio");
    tsv_ = makeChoice<QRadioButton>(tr(".tsv (Tab-separated)"), "tsvRadio");
    avi_ = makeChoice<QRadioButton>(tr(".avi (Video)"), "aviRadio");
    vqd_->setChecked(true);
    return makeGroup(tr("Export Format"), {makeRow({vqd_, tsv_, avi_})});
}

QGroupBox* ExportDialog::makeVideoGroup(bool expertMode) {
    mjpeg_ = makeChoice<QRadioButton>(tr("MJPEG (compressed)"), "mjpegRadio");
    raw_ = makeChoice<QRadioButton>(tr("Raw (uncompressed)"), "rawRadio");
    mjpeg_->setChecked(true);
    skipDuplicates_ = makeChoice<QCheckBox>(
        tr("Skip duplicate frames (exclude multiple events from the same video frame)"), "skipDuplicatesBox");
    reanalysis_ =
        makeChoice<QCheckBox>(tr("For reanalysis (prepend 100 frames of the average image)"), "reanalysisBox");
    videoGroup_ = makeGroup(tr("AVI Options"), {makeRow({mjpeg_, raw_}), skipDuplicates_, reanalysis_});
    reanalysis_->setVisible(expertMode);
    return videoGroup_;
}

QGroupBox* ExportDialog::makeFeatureGroup() {
    static constexpr int RoomForRows = 130;
    features_->setListHeight(RoomForRows);
    return makeGroup(tr("Scalar Features"), {features_});
}

QGroupBox* ExportDialog::makePartGroup() {
    images_.box = makeChoice<QCheckBox>(tr("Images"), "imagesBox");
    masks_.box = makeChoice<QCheckBox>(tr("Masks"), "masksBox");
    traces_.box = makeChoice<QCheckBox>(tr("Traces"), "tracesBox");
    return makeGroup(tr("Non-scalar Data"), {makeRow({images_.box, masks_.box, traces_.box})});
}

QGroupBox* ExportDialog::makeDirectoryGroup() {
    customDirectory_ = makeChoice<QCheckBox>(tr("Export All to a Custom Directory (default: original file locations)"),
                                             "customDirectoryBox");
    directory_ = new QLineEdit;
    directory_->setObjectName(QStringLiteral("directoryEdit"));
    directory_->setAccessibleName(tr("Output directory"));
    browse_ = new QPushButton(tr("Browse..."));
    browse_->setObjectName(QStringLiteral("browseButton"));
    browse_->setAutoDefault(false);
    auto* row = new QWidget;
    auto* layout = new QHBoxLayout(row);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(directory_, 1);
    layout->addWidget(browse_);
    return makeGroup(tr("Output Directory"), {customDirectory_, row});
}

void ExportDialog::lookForParts(const DatasetEntry& dataset,
                                const std::vector<std::unique_ptr<DatasetEntry>>& datasets) {
    const auto look = [this](const VQDReader& reader, bool Part::*where) {
        images_.*where = images_.*where || reader.hasImage();
        masks_.*where = masks_.*where || reader.hasMask();
        traces_.*where = traces_.*where || reader.hasTraces();
    };
    if (dataset.reader) {
        look(*dataset.reader, &Part::inCurrent);
    }
    for (const auto& one : datasets) {
        if (one->reader) {
            look(*one->reader, &Part::inAny);
        }
    }
}

void ExportDialog::take(const ExportConfig& config) {
    allDatasets_->setChecked(config.allDatasets && allDatasets_->isEnabled());
    (config.tsv ? tsv_ : config.avi ? avi_ : vqd_)->setChecked(true);
    (config.mjpeg ? mjpeg_ : raw_)->setChecked(true);
    skipDuplicates_->setChecked(config.skipDuplicates);
    reanalysis_->setChecked(config.reanalysis);
    features_->setChecked(config.features);
    images_.box->setChecked(config.images);
    masks_.box->setChecked(config.masks);
    traces_.box->setChecked(config.traces);
    customDirectory_->setChecked(config.customDirectory);
    directory_->setText(config.directory);
}

ExportConfig ExportDialog::config() const {
    ExportConfig config;
    config.features = features_->checked();
    config.images = images_.box->isChecked();
    config.masks = masks_.box->isChecked();
    config.traces = traces_.box->isChecked();
    config.tsv = tsv_->isChecked();
    config.avi = avi_->isChecked();
    config.mjpeg = mjpeg_->isChecked();
    config.skipDuplicates = skipDuplicates_->isChecked();
    config.reanalysis = !reanalysis_->isHidden() && reanalysis_->isChecked();
    config.customDirectory = customDirectory_->isChecked();
    config.directory = directory_->text();
    config.allDatasets = allDatasets_->isChecked();
    return config;
}

void ExportDialog::onBrowseDir() {
    const QString directory =
        QFileDialog::getExistingDirectory(this, tr("Select Output Directory"), directory_->text());
    if (!directory.isEmpty()) {
        directory_->setText(directory);
    }
}

void ExportDialog::onSelectAll() {
    features_->checkShown();
}

void ExportDialog::onDeselectAll() {
    features_->uncheckAll();
}

void ExportDialog::onScopeChanged() {
    features_->showOthers(allDatasets_->isChecked());
    for (Part* part : {&images_, &masks_, &traces_}) {
        refreshPart(*part);
    }
}

void ExportDialog::onFormatChanged() {
    videoGroup_->setVisible(avi_->isChecked());
    features_->setBoxesEnabled(!avi_->isChecked());
    onScopeChanged();
}

void ExportDialog::refreshPart(Part& part) {
    QCheckBox& box = *part.box;
    if (avi_->isChecked()) {
        const bool isImages = &part == &images_;
        markAsOfOthers(box, false);
        box.setEnabled(false);
        box.setChecked(isImages);
        box.setToolTip(isImages ? tr("Images are always included in AVI export")
                                : tr("Only images are exported in AVI format"));
        return;
    }
    const bool served = part.inCurrent || (allDatasets_->isChecked() && part.inAny);
    markAsOfOthers(box, !tsv_->isChecked() && served && !part.inCurrent);
    box.setEnabled(!tsv_->isChecked() && served);
    if (!box.isEnabled()) {
        box.setChecked(false);
    }
    if (tsv_->isChecked()) {
        box.setToolTip(tr("Not available in TSV format"));
    }
}

void ExportDialog::refreshDirectory() {
    const bool custom = customDirectory_->isChecked();
    directory_->setEnabled(custom);
    browse_->setEnabled(custom);
    const bool nowhere = custom && directory_->text().isEmpty();
    export_->setEnabled(!nowhere);
    export_->setToolTip(nowhere ? tr("Choose an output directory first.") : QString());
}

} // namespace Tessaly
