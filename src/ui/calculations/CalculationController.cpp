#include "ui/calculations/CalculationController.h"

#include "core/DatasetEntry.h"
#include "io/VQDReader.h"
#include "session/Session.h"
#include "ui/calculations/CalculationsDockWidget.h"
#include "ui/calculations/EModQualityDialog.h"

#include <QCursor>
#include <QMessageBox>
#include <QToolTip>

#include <utility>

namespace Tessaly {

namespace {

CalculationsRefused refusedAll(const QString& why) {
    return {why, why, why, why, why};
}

QString whyNoRefinement(const DatasetEntry& dataset) {
    if (channelsOf(dataset).empty()) {
        return CalculationController::tr("The dataset has no fluorescence channels.");
    }
    return canRefine(dataset) ? QString() : CalculationController::tr("The dataset has no fluorescence traces.");
}

QString whyNoCompensation(const DatasetEntry& dataset) {
    return channelsOf(dataset).size() >= 2
               ? QString()
               : CalculationController::tr("Crosstalk needs at least two fluorescence channels.");
}

QString whyNoModulus(const DatasetEntry& dataset) {
    if (isInReservoir(dataset)) {
        return CalculationController::tr("The dataset was measured in the reservoir, where cells aren't deformed.");
    }
    return dataset.reader->hasFeature("area_um") && dataset.reader->hasFeature("deform")
               ? QString()
               : CalculationController::tr("The dataset lacks area or deformation.");
}

} // namespace

CalculationController::CalculationController(Session& session, EModulus& emodulus, CalculationRunner& runner,
                                             CalculationsDockWidget& dock, QWidget* window)
    : QObject(window),
      session_(session),
      emodulus_(emodulus),
      runner_(runner),
      dock_(dock),
      window_(window) {
    connect(&dock_, &CalculationsDockWidget::refineFluorescence, this, &CalculationController::refine);
    connect(&dock_, &CalculationsDockWidget::compensateCrosstalk, this, &CalculationController::compensate);
    connect(&dock_, &CalculationsDockWidget::computeEmodulus, this, &CalculationController::computeModuli);
    connect(&dock_, &CalculationsDockWidget::assessEmodQuality, this, &CalculationController::assessQuality);
    connect(&dock_, &CalculationsDockWidget::computeFourierDeform, this, &CalculationController::computeFourier);

    connect(&runner_, &CalculationRunner::started, this, [this](Calculation kind) { dock_.setRunning(kind); });
    connect(&runner_, &CalculationRunner::progressChanged, this, &CalculationController::showProgress);
    connect(&runner_, &CalculationRunner::ended, this, &CalculationController::onEnded);
    connect(&runner_, &CalculationRunner::stopped, this, [this] { dock_.setRunning(std::nullopt); });

    const SessionNotices& news = session_.notices();
    connect(&news, &SessionNotices::activeChanged, this, &CalculationController::showActive);
    connect(&news, &SessionNotices::datasetReady, this, [this](int id) {
        if (id == session_.activeId()) {
            showActive();
        }
    });
}

DatasetEntry* CalculationController::loadedActive() const {
    DatasetEntry* dataset = session_.active();
    return dataset && dataset->featuresLoaded && dataset->reader && dataset->reader->isOpen() ? dataset : nullptr;
}

void CalculationController::showActive() {
    const DatasetEntry* active = session_.active();
    const bool hasTemperature = active && active->reader && active->reader->hasFeature("temp");
    dock_.setDatasetMetadata(active ? &active->metadata : nullptr, hasTemperature);
    const DatasetEntry* dataset = loadedActive();
    dock_.setChannels(dataset ? channelsOf(*dataset) : std::vector<int>());
    if (dataset && dataset->ctcApplied && keepsUsableMatrix(*dataset)) {
        dock_.setSpilloverMatrix(dataset->spilloverMatrix);
    }
    showOffers();
    if (dataset) {
        for (CalculationJob& job : rebuildJobs(*dataset)) {
            runner_.enqueue(std::move(job));
        }
    }
}

void CalculationController::showOffers() {
    const DatasetEntry* dataset = loadedActive();
    if (!dataset) {
        dock_.fillDeformationSources(false, false, false);
        dock_.setRefused(
            refusedAll(session_.active() ? tr("The dataset is still loading.") : tr("No dataset is selected.")));
        return;
    }
    const VQDReader& reader = *dataset->reader;
    // The choice of source is for experts, whose mode the program doesn't have.
    dock_.fillDeformationSources(false, reader.hasFeature("deform_fc"), reader.hasFeature("deform_odd"));
    CalculationsRefused refused;
    refused.refinement = whyNoRefinement(*dataset);
    refused.compensation = whyNoCompensation(*dataset);
    refused.modulus = whyNoModulus(*dataset);
    refused.assessment = dataset->emodApplied ? QString() : tr("Young's modulus has to be computed first.");
    refused.fourier = reader.hasMask() ? QString() : tr("The dataset has no segmentation masks.");
    dock_.setRefused(refused);
}

CalculationScope CalculationController::scopeOf(Calculation kind) const {
    return dock_.appliesToAll(kind) ? CalculationScope::All : CalculationScope::Active;
}

void CalculationController::start(CalculationJob job) {
    if (runner_.isRunning()) {
        QToolTip::showText(QCursor::pos(), tr("Another calculation is running."), &dock_);
    } else {
        runner_.start(std::move(job));
    }
}

void CalculationController::refine() {
    if (loadedActive()) {
        start(refinementJob(session_, scopeOf(Calculation::Refinement), dock_.fluorescenceParams()));
    }
}

void CalculationController::compensate() {
    if (loadedActive()) {
        start(compensationJob(session_, scopeOf(Calculation::Compensation), dock_.spilloverMatrix()));
    }
}

EModulusParams CalculationController::paramsOfActive(const DatasetEntry& dataset) const {
    EModulusParams params = dock_.emodulusParams();
    if (params.temperatureSource == TemperatureSource::Metadata) {
        // The spin box shows it rounded.
        params.temperature = metadataNumber(dataset.metadata.setup, "temperature").value_or(params.temperature);
    }
    return params;
}

void CalculationController::computeModuli() {
    const DatasetEntry* dataset = loadedActive();
    if (!dataset) {
        return;
    }
    const CalculationScope scope = scopeOf(Calculation::Modulus);
    if (scope == CalculationScope::All) {
        start(modulusJob(session_, scope, emodulus_, [this](const DatasetEntry& each) {
            return dock_.emodulusParamsFor(each.metadata, each.reader->hasFeature("temp"));
        }));
        return;
    }
    showOffers(); // a dataset that has become one of the reservoir loses its button
    start(
        modulusJob(session_, scope, emodulus_, [this](const DatasetEntry& active) { return paramsOfActive(active); }));
}

void CalculationController::computeFourier() {
    if (!loadedActive()) {
        return;
    }
    const CalculationScope scope = scopeOf(Calculation::Fourier);
    CalculationJob job = fourierJob(session_, scope);
    if (job.tasks.empty() && !runner_.isRunning()) {
        QMessageBox::warning(window_, tr("Fourier Deformation"),
                             scope == CalculationScope::All ? tr("No loaded dataset has segmentation masks.")
                                                            : tr("This dataset has no segmentation masks."));
        return;
    }
    if (!runner_.isRunning()) {
        namesDatasets_ = scope == CalculationScope::All;
    }
    start(std::move(job));
}

void CalculationController::assessQuality() {
    const DatasetEntry* dataset = loadedActive();
    if (!dataset) {
        return;
    }
    const std::vector<std::int32_t> events = eventsToAssess(session_, *dataset, dock_.assessesFiltered());
    const EModulusParams params = paramsOfActive(*dataset);
    const EModulusQuality quality = emodulus_.assessQuality(dataset->reader.get(), params, events);
    auto* dialog = new EModQualityDialog(quality, dataset->displayName, window_);
    if (quality.valid && quality.total > 0) {
        dialog->setCoverage(emodulus_.coverage(dataset->reader.get(), params, events));
    }
    dialog->show();
}

void CalculationController::showProgress(int percent, int number, int count) {
    if (runner_.running() == Calculation::Fourier && namesDatasets_) {
        dock_.setProgress(percent, tr("Dataset %1 of %2 — %p%").arg(number).arg(count));
    } else {
        dock_.setProgress(((number - 1) * 100 + percent) / count, QStringLiteral("%p%"));
    }
}

void CalculationController::onEnded(Calculation kind) {
    dock_.setRunning(std::nullopt);
    showOffers();
    emit featuresChanged(kind);
}

} // namespace Tessaly
