#include "ui/PlotController.h"

#include "calc/EModulus.h"
#include "core/DatasetEntry.h"
#include "core/FeatureCatalogue.h"
#include "io/VQDReader.h"
#include "plot/ScatterPlot.h"
#include "session/DatasetTexts.h"
#include "session/Session.h"
#include "ui/CalculationsDockWidget.h"
#include "ui/EventController.h"
#include "ui/FilterDockWidget.h"
#include "ui/MainPanels.h"
#include "ui/MetadataPanel.h"
#include "ui/PlotSettingsPanel.h"
#include "ui/StatisticsDockWidget.h"

#include <QDockWidget>
#include <QLabel>
#include <QLineEdit>
#include <QMessageBox>
#include <QPolygonF>
#include <QSignalBlocker>
#include <QSpinBox>

#include <utility>

namespace Tessaly {

namespace {

// Overlays of group rules are numbered apart from those of the dataset's own rules, whose number is their row.
constexpr int GroupOverlayOffset = 100;
constexpr int OverlaysPerGroup = 10000;

bool isAreaAgainstDeformation(const PlotSettings& settings) {
    return (settings.xFeature == "area_um" && settings.yFeature == "deform") ||
           (settings.xFeature == "deform" && settings.yFeature == "area_um");
}

void addOverlays(ScatterPlot& plot, const std::vector<FilterRule>& rules, const PlotSettings& settings, int firstId) {
    for (std::size_t i = 0; i < rules.size(); ++i) {
        const FilterRule& rule = rules[i];
        if (rule.type != FilterRule::Polygon || rule.featureName != settings.xFeature ||
            rule.featureNameY != settings.yFeature) {
            continue;
        }
        QPolygonF polygon;
        for (const auto& [x, y] : rule.polygonVertices) {
            polygon << QPointF(x, y);
        }
        plot.addPolygonOverlay(firstId + static_cast<int>(i), polygon, rule.enabled);
    }
}

} // namespace

PlotController::PlotController(Session& session, EModulus& emodulus, EventController& events, const MainPanels& panels,
                               QWidget* window)
    : QObject(window),
      session_(session),
      emodulus_(emodulus),
      events_(events),
      panels_(panels),
      window_(window) {
    connectControls();
}

void PlotController::connectControls() {
    const PlotSettingsPanel* controls = panels_.plotSettings;
    connect(controls, &PlotSettingsPanel::featuresChanged, this, &PlotController::updateFeatureSelection);
    connect(controls, &PlotSettingsPanel::xScaleChanged, this, [this](int mode) {
        panels_.plot->setAxisScaleMode(QwtPlot::xBottom, mode);
        refresh();
    });
    connect(controls, &PlotSettingsPanel::yScaleChanged, this, [this](int mode) {
        panels_.plot->setAxisScaleMode(QwtPlot::yLeft, mode);
        refresh();
    });
    connect(controls, &PlotSettingsPanel::contoursChanged, this, [this] {
        updateContours();
        updateApplyPlotButton();
    });
    connect(controls, &PlotSettingsPanel::isoelasticsChanged, this, &PlotController::updateIsoelastics);
    connect(controls, &PlotSettingsPanel::applyToAllRequested, this, &PlotController::applyPlotSettingsToAll);
    connect(panels_.filters, &FilterDockWidget::filterChanged, this, &PlotController::refresh);
}

DatasetEntry* PlotController::openActive() const {
    DatasetEntry* dataset = session_.active();
    return dataset && dataset->reader && dataset->reader->isOpen() ? dataset : nullptr;
}

void PlotController::saveCurrentDatasetState() {
    DatasetEntry* dataset = session_.active();
    // While a dataset loads, the controls still show the one before.
    if (!dataset || !dataset->featuresLoaded) {
        return;
    }
    storePlotSettings(panels_.plotSettings->settings(), *dataset);
    dataset->currentEventIndex = panels_.eventNumber->value();
}

void PlotController::showActiveDataset() {
    DatasetEntry* dataset = session_.active();
    if (!dataset || !dataset->featuresLoaded) {
        return;
    }
    {
        const QSignalBlocker blocker(panels_.rename);
        panels_.rename->setEnabled(true);
        panels_.rename->setText(dataset->displayName);
    }
    panels_.calculations->setDatasetMetadata(&dataset->metadata);
    panels_.plotSettings->setFeaturesEnabled(true);
    populateFeatures(*dataset);
    panels_.plotSettings->setSettings(plotSettingsOf(*dataset));
    panels_.plot->setAxisScaleMode(QwtPlot::xBottom, dataset->scaleXMode);
    panels_.plot->setAxisScaleMode(QwtPlot::yLeft, dataset->scaleYMode);
    events_.setDataset(*dataset);

    panels_.metadata->clear();
    if (panels_.metadata->isVisible()) {
        fillMetadata();
    }
    panels_.filters->setDataset(dataset);
    // The points of another dataset mean nothing here, even if their picture stays because a column can't be read.
    frame_ = PlotFrame();
    updatePlotStatus();
    if (panels_.plotSettings->settings().xFeature.empty()) {
        clearPlot();
    }
    refresh();
    events_.showCurrentEvent();
}

void PlotController::showLoading() {
    DatasetEntry* dataset = session_.active();
    if (!dataset) {
        return;
    }
    panels_.filters->setDataset(dataset);
    panels_.status->setText(tr("Loading: %1...").arg(dataset->displayName));
    panels_.plotSettings->setFeaturesEnabled(false);
    {
        const QSignalBlocker blocker(panels_.rename);
        panels_.rename->setEnabled(false);
        panels_.rename->setText(dataset->displayName);
    }
    events_.clear();
    clearPlot();
    panels_.metadata->clear();
    panels_.calculations->setDatasetMetadata(&dataset->metadata);
    updateApplyPlotButton();
}

void PlotController::showNothing() {
    panels_.filters->setDataset(nullptr);
    panels_.calculations->setDatasetMetadata(nullptr);
    events_.reset();
    clearPlot();
    panels_.metadata->clear();
    panels_.plotSettings->clearFeatures();
    {
        const QSignalBlocker blocker(panels_.rename);
        panels_.rename->clear();
        panels_.rename->setEnabled(false);
    }
    panels_.status->setText(tr("No file loaded."));
    lastDatasetId_ = -1;
    updateApplyPlotButton();
}

void PlotController::clearPlot() {
    panels_.plot->clearPolygonOverlays();
    panels_.plot->clearIsoelastics();
    panels_.plot->clearData();
    panels_.statistics->clearStatistics();
    panels_.plotSettings->setIsoelasticsOffered(false);
    panels_.plotSettings->setLogAxisProblems(0, 0);
    frame_ = PlotFrame();
    refreshPending_ = false; // what was chosen for the dataset before is stored with it
}

void PlotController::populateFeatures(DatasetEntry& dataset) {
    std::vector<FeatureItem> features;
    for (const std::string& key : dataset.reader->featureNames()) {
        if (isScalarFeature(key)) {
            features.push_back({key, QString::fromStdString(dataset.reader->featureLabel(key))});
        }
    }
    panels_.plotSettings->setFeatures(features);
}

void PlotController::updateFeatureSelection() {
    // Reading a column could wait for the preload of another dataset: the choice takes effect when that has ended.
    if (preloadRunning_) {
        refreshPending_ = true;
        return;
    }
    refresh();
}

void PlotController::setPreloadRunning(bool running) {
    preloadRunning_ = running;
    if (!running && std::exchange(refreshPending_, false)) {
        refresh();
    }
}

void PlotController::refreshFeaturesAndPlot() {
    DatasetEntry* dataset = openActive();
    if (!dataset) {
        return;
    }
    const PlotSettings settings = panels_.plotSettings->settings();
    populateFeatures(*dataset);
    panels_.plotSettings->setSettings(settings);
    refresh();
}

void PlotController::refresh() {
    const DatasetEntry* dataset = openActive();
    const PlotSettings settings = panels_.plotSettings->settings();
    if (!dataset || !dataset->featuresLoaded || settings.xFeature.empty() || settings.yFeature.empty()) {
        return;
    }
    std::optional<PlotFrame> frame = buildPlotFrame(session_, *dataset, settings);
    if (!frame) {
        QMessageBox::warning(window_, tr("Error"), tr("Failed to read feature data."));
        return;
    }
    refreshPending_ = false;
    frame_ = std::move(*frame);
    draw(settings);
    resetZoomIfNew(settings, *dataset);
    updatePolygonOverlays(settings);
    updateContours();
    updateIsoelastics();
    updatePlotStatus();
    updateApplyPlotButton();
    panels_.statistics->updateStatistics(frame_.x, frame_.y, frame_.xLabel, frame_.yLabel);
    events_.placeSelection(frame_);
}

void PlotController::draw(const PlotSettings& settings) {
    panels_.plotSettings->setLogAxisProblems(frame_.xNotOnLogAxis, frame_.yNotOnLogAxis);
    panels_.plotSettings->setIsoelasticsOffered(isAreaAgainstDeformation(settings));
    panels_.plot->setData(frame_.x, frame_.y, frame_.xLabel, frame_.yLabel, frame_.color, frame_.colorLabel);
}

void PlotController::resetZoomIfNew(const PlotSettings& settings, const DatasetEntry& dataset) {
    if (settings.xFeature != lastXFeature_ || settings.yFeature != lastYFeature_ || dataset.id != lastDatasetId_) {
        panels_.plot->resetZoom();
    }
    lastXFeature_ = settings.xFeature;
    lastYFeature_ = settings.yFeature;
    lastDatasetId_ = dataset.id;
}

void PlotController::updatePolygonOverlays(const PlotSettings& settings) {
    panels_.plot->clearPolygonOverlays();
    const DatasetEntry* dataset = session_.active();
    if (!dataset) {
        return;
    }
    addOverlays(*panels_.plot, dataset->filter.rules(), settings, 0);
    for (const auto& group : session_.filterGroups()) {
        if (session_.isGroupEnabled(dataset, group->id)) {
            addOverlays(*panels_.plot, group->rules, settings, (group->id + GroupOverlayOffset) * OverlaysPerGroup);
        }
    }
}

void PlotController::updateContours() {
    const PlotSettings settings = panels_.plotSettings->settings();
    panels_.plot->setDataVisible(settings.contourMode != ContourMode::Only);
    const std::vector<ContourLevel> contours = contoursOf(frame_, settings);
    if (contours.empty()) {
        panels_.plot->clearContours();
    } else {
        panels_.plot->setContours(contours);
    }
}

void PlotController::updateIsoelastics() {
    const PlotSettings settings = panels_.plotSettings->settings();
    const DatasetEntry* dataset = openActive();
    if (!dataset || !dataset->featuresLoaded || !panels_.plotSettings->isoelasticsChecked() ||
        !isAreaAgainstDeformation(settings)) {
        panels_.plot->clearIsoelastics();
        return;
    }
    std::vector<IsoelasticLine> lines =
        emodulus_.isoelastics(panels_.calculations->emodulusParamsFor(dataset->metadata));
    if (settings.xFeature == "deform") {
        for (IsoelasticLine& line : lines) {
            for (auto& [area, deformation] : line.points) {
                std::swap(area, deformation);
            }
        }
    }
    panels_.plot->setIsoelastics(lines, panels_.plotSettings->isoelasticLabelsChecked());
}

void PlotController::updatePlotStatus() {
    const DatasetEntry* dataset = openActive();
    if (!dataset || !dataset->featuresLoaded) {
        return;
    }
    const int total = static_cast<int>(dataset->reader->eventCount());
    const std::optional<int> shown =
        frame_.reduced ? std::optional<int>(static_cast<int>(frame_.visibleIndices.size())) : std::nullopt;
    panels_.filters->setEventCounts(shown.value_or(total), total);
    panels_.status->setText(plotStatusText(*dataset, shown));
}

void PlotController::updateApplyPlotButton() {
    const bool enabled = session_.active() != nullptr && session_.datasetCount() >= 2;
    const bool matches = session_.activeMatchesAllPeers(panels_.plotSettings->settings(), nullptr);
    panels_.plotSettings->setApplyButton(enabled, enabled && !matches);
}

void PlotController::applyPlotSettingsToAll() {
    if (!session_.active()) {
        return;
    }
    saveCurrentDatasetState();
    session_.applyPlotSettingsToPeers(panels_.plotSettings->settings());
    refresh();
    updateApplyPlotButton();
}

void PlotController::fillMetadata() {
    const DatasetEntry* dataset = openActive();
    if (dataset && panels_.metadata->isEmpty()) {
        panels_.metadata->showMetadata(dataset->metadata);
    }
}

void PlotController::setColorMapIndex(int index) {
    panels_.plot->setColorMapIndex(index);
}

} // namespace Tessaly
