#include "ui/plot/PlotController.h"

#include "calc/emodulus/EModulus.h"
#include "core/DatasetEntry.h"
#include "core/OverlayId.h"
#include "io/VQDReader.h"
#include "plot/PlotPoints.h"
#include "plot/PlotScene.h"
#include "plot/ScatterPlot.h"
#include "session/PlotChoices.h"
#include "session/Session.h"
#include "ui/calculations/CalculationsDockWidget.h"
#include "ui/plot/PlotSettingsPanel.h"

#include <QDebug>
#include <QMessageBox>
#include <QPolygonF>

#include <utility>

namespace Tessaly {

namespace {

bool isAreaAgainstDeformation(const PlotSettings& settings) {
    return (settings.xFeatureName == "area_um" && settings.yFeatureName == "deform") ||
           (settings.xFeatureName == "deform" && settings.yFeatureName == "area_um");
}

/// What is plotted of a dataset whose file is open.
PlotSettings shownSettingsOf(const DatasetEntry& dataset) {
    return shownSettings(dataset, scalarFeatureNames(*dataset.reader));
}

void appendGates(std::vector<PlotGate>& gates, const std::vector<FilterRule>& rules, const PlotSettings& settings,
                 int firstId) {
    for (std::size_t i = 0; i < rules.size(); ++i) {
        const FilterRule& rule = rules[i];
        if (rule.type != FilterRule::Polygon || rule.featureName != settings.xFeatureName ||
            rule.featureNameY != settings.yFeatureName) {
            continue;
        }
        QPolygonF polygon;
        for (const auto& [x, y] : rule.polygonVertices) {
            polygon << QPointF(x, y);
        }
        gates.push_back({firstId + static_cast<int>(i), polygon, rule.enabled});
    }
}

} // namespace

PlotController::PlotController(Session& session, EModulus& emodulus, ScatterPlot& plot, PlotSettingsPanel& controls,
                               const CalculationsDockWidget& conditions, QWidget* window)
    : QObject(window),
      session_(session),
      emodulus_(emodulus),
      plot_(plot),
      controls_(controls),
      conditions_(conditions),
      window_(window) {
    connect(&controls_, &PlotSettingsPanel::settingsChanged, this, &PlotController::onSettingsChanged);
    connect(&controls_, &PlotSettingsPanel::isoelasticsChanged, this, &PlotController::updateIsoelastics);
    connect(&conditions_, &CalculationsDockWidget::conditionsChanged, this, &PlotController::updateIsoelastics);
    connect(&controls_, &PlotSettingsPanel::applyToAllRequested, this, &PlotController::applyPlotSettingsToAll);

    const SessionNotices& news = session_.notices();
    connect(&news, &SessionNotices::activeChanged, this, &PlotController::onActiveChanged);
    connect(&news, &SessionNotices::datasetReady, this, [this](int id) {
        if (id == session_.activeId()) {
            onActiveChanged();
        }
    });
    connect(&news, &SessionNotices::eventsChanged, this, &PlotController::refresh);
    connect(&news, &SessionNotices::colorMapChanged, &plot_, &ScatterPlot::setColorMapIndex);
    connect(&news, &SessionNotices::datasetsChanged, this, &PlotController::updateApplyButton);
    connect(&news, &SessionNotices::activeChanged, this, &PlotController::updateApplyButton);
    connect(&news, &SessionNotices::plotSettingsChanged, this, &PlotController::updateApplyButton);
    updateApplyButton();
}

DatasetEntry* PlotController::openActive() const {
    DatasetEntry* dataset = session_.active();
    return dataset && dataset->reader && dataset->reader->isOpen() ? dataset : nullptr;
}

void PlotController::onActiveChanged() {
    DatasetEntry* dataset = session_.active();
    if (!dataset) {
        showNothing();
    } else if (dataset->featuresLoaded) {
        showDataset(*dataset);
    } else {
        showLoading(*dataset);
    }
}

void PlotController::onSettingsChanged(const PlotSettings& settings) {
    const DatasetEntry* dataset = session_.active();
    if (!dataset) {
        setAxisScales(settings);
        return;
    }
    const PlotSettings before = dataset->plotSettings();
    session_.setPlotSettings(dataset->id, settings);
    const bool otherScales = settings.scaleXMode != before.scaleXMode || settings.scaleYMode != before.scaleYMode;
    if (settings.scaleXMode != before.scaleXMode) {
        plot_.setAxisScaleMode(QwtPlot::xBottom, settings.scaleXMode);
    }
    if (settings.scaleYMode != before.scaleYMode) {
        plot_.setAxisScaleMode(QwtPlot::yLeft, settings.scaleYMode);
    }
    const bool otherFeatures = settings.xFeatureName != before.xFeatureName ||
                               settings.yFeatureName != before.yFeatureName ||
                               settings.colorFeatureName != before.colorFeatureName;
    if (otherFeatures && preloadRunning_) {
        // Reading a column could wait for the preload of another dataset: the choice takes effect when that has ended.
        refreshPending_ = true;
    } else if (otherFeatures || otherScales) {
        refresh();
    } else {
        updateContours();
    }
}

void PlotController::setAxisScales(const PlotSettings& settings) {
    plot_.setAxisScaleMode(QwtPlot::xBottom, settings.scaleXMode);
    plot_.setAxisScaleMode(QwtPlot::yLeft, settings.scaleYMode);
}

void PlotController::showDataset(DatasetEntry& dataset) {
    controls_.setFeaturesEnabled(true);
    // The usual features, where none was chosen yet.
    PlotSettings settings = dataset;
    const PlotSettings shown = shownSettingsOf(dataset);
    if (settings.xFeatureName.empty()) {
        settings.xFeatureName = shown.xFeatureName;
    }
    if (settings.yFeatureName.empty()) {
        settings.yFeatureName = shown.yFeatureName;
    }
    session_.setPlotSettings(dataset.id, settings);
    offerFeatures(dataset);
    controls_.setSettings(settings);
    setAxisScales(settings);
    // The points of another dataset mean nothing here.
    frame_ = std::make_shared<const PlotFrame>();
    emit frameChanged();
    if (shown.xFeatureName.empty()) {
        clearPlot();
    }
    refresh();
    emit datasetShown();
}

void PlotController::showLoading(const DatasetEntry& dataset) {
    controls_.setFeaturesEnabled(false);
    controls_.setSettings(dataset);
    setAxisScales(dataset);
    clearPlot();
}

void PlotController::showNothing() {
    clearPlot();
    controls_.clearFeatures();
    lastDatasetId_ = -1;
}

void PlotController::clearPlot() {
    plot_.clearPolygonOverlays();
    plot_.clearIsoelastics();
    plot_.clearData();
    controls_.setIsoelasticsOffered(false);
    controls_.setLogAxisProblems(0, 0);
    frame_ = std::make_shared<const PlotFrame>();
    refreshPending_ = false; // what was chosen for the dataset before is stored with it
    lastXFeature_.clear();
    lastYFeature_.clear();
    emit cleared();
}

void PlotController::offerFeatures(DatasetEntry& dataset) {
    std::vector<FeatureItem> features;
    for (const std::string& key : scalarFeatureNames(*dataset.reader)) {
        features.push_back({key, QString::fromStdString(dataset.reader->featureLabel(key))});
    }
    controls_.setFeatures(features);
}

void PlotController::setPreloadRunning(bool running) {
    preloadRunning_ = running;
    if (!running && std::exchange(refreshPending_, false)) {
        refresh();
    }
}

void PlotController::refreshFeaturesAndPlot() {
    if (DatasetEntry* dataset = openActive()) {
        offerFeatures(*dataset);
        controls_.setSettings(*dataset);
        refresh();
    }
}

void PlotController::refresh() {
    const DatasetEntry* dataset = openActive();
    if (!dataset || !dataset->featuresLoaded) {
        return;
    }
    const PlotSettings settings = shownSettingsOf(*dataset);
    if (settings.xFeatureName.empty()) {
        return;
    }
    std::optional<PlotFrame> frame = buildPlotFrame(session_, *dataset, settings);
    if (!frame) {
        // The old picture may stay only while the dataset is the same.
        if (dataset->id != lastDatasetId_) {
            clearPlot();
        }
        qWarning() << "Failed to read feature data of" << dataset->displayName;
        QMessageBox::warning(window_, tr("Error"), tr("Failed to read feature data."));
        return;
    }
    refreshPending_ = false;
    frame_ = std::make_shared<const PlotFrame>(std::move(*frame));
    controls_.setLogAxisProblems(frame_->xNotOnLogAxis, frame_->yNotOnLogAxis);
    controls_.setIsoelasticsOffered(isAreaAgainstDeformation(settings));
    plot_.showScene(sceneOf(settings, *dataset));
    emit frameChanged();
    updateApplyButton();
    emit plotted();
}

PlotScene PlotController::sceneOf(const PlotSettings& settings, const DatasetEntry& dataset) {
    PlotScene scene;
    // The plot reads the frame's columns where they are.
    scene.points = std::make_shared<const PlotPoints>(PlotPoints::Column(frame_, &frame_->x),
                                                      PlotPoints::Column(frame_, &frame_->y),
                                                      PlotPoints::Column(frame_, &frame_->color));
    scene.pointsVisible = settings.contourMode != ContourMode::Only;
    scene.xLabel = frame_->xLabel;
    scene.yLabel = frame_->yLabel;
    scene.colorLabel = frame_->colorLabel;
    scene.xScaleMode = settings.scaleXMode;
    scene.yScaleMode = settings.scaleYMode;
    const auto isNew = std::exchange(zoomResetCheck_, nullptr);
    const bool recomputed =
        isNew && (isNew(settings.xFeatureName) || isNew(settings.yFeatureName) || isNew(settings.colorFeatureName));
    scene.wholeRange = recomputed || settings.xFeatureName != lastXFeature_ || settings.yFeatureName != lastYFeature_ ||
                       dataset.id != lastDatasetId_;
    lastXFeature_ = settings.xFeatureName;
    lastYFeature_ = settings.yFeatureName;
    lastDatasetId_ = dataset.id;
    scene.contours = contoursOf(*frame_, settings);
    scene.isoelastics = shownIsoelastics();
    scene.isoelasticLabels = controls_.isoelasticLabelsChecked();
    appendGates(scene.gates, dataset.filter.rules(), settings, 0);
    for (const auto& group : session_.filterGroups()) {
        if (session_.isGroupEnabled(&dataset, group->id)) {
            appendGates(scene.gates, group->rules, settings, OverlayId{group->id, 0}.number());
        }
    }
    scene.markedPoint = plot_.highlightedPoint(); // until the selection has been placed anew
    return scene;
}

void PlotController::updateContours() {
    const DatasetEntry* dataset = session_.active();
    if (!dataset) {
        return;
    }
    const PlotSettings& settings = dataset->plotSettings();
    plot_.setDataVisible(settings.contourMode != ContourMode::Only);
    plot_.setContours(contoursOf(*frame_, settings));
}

std::vector<IsoelasticLine> PlotController::shownIsoelastics() const {
    const DatasetEntry* dataset = openActive();
    if (!dataset || !dataset->featuresLoaded || !controls_.isoelasticsChecked()) {
        return {};
    }
    const PlotSettings settings = shownSettingsOf(*dataset);
    if (!isAreaAgainstDeformation(settings)) {
        return {};
    }
    std::vector<IsoelasticLine> lines =
        emodulus_.isoelastics(conditions_.emodulusParamsFor(dataset->metadata, dataset->reader->hasFeature("temp")));
    if (settings.xFeatureName == "deform") {
        for (IsoelasticLine& line : lines) {
            for (auto& [area, deformation] : line.points) {
                std::swap(area, deformation);
            }
        }
    }
    return lines;
}

void PlotController::updateIsoelastics() {
    plot_.setIsoelastics(shownIsoelastics(), controls_.isoelasticLabelsChecked());
}

void PlotController::updateApplyButton() {
    const bool enabled = session_.active() != nullptr && session_.datasetCount() >= 2;
    controls_.setApplyButton(enabled, enabled && !session_.activeMatchesAllPeers());
}

void PlotController::applyPlotSettingsToAll() {
    session_.applyPlotSettingsToPeers();
    refresh();
}

} // namespace Tessaly
