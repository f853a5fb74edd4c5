#pragma once

#include "core/PlotSettings.h"
#include "session/PlotFrame.h"

#include <QObject>

#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

class QWidget;

namespace Tessaly {

class CalculationsDockWidget;
class EModulus;
class PlotSettingsPanel;
class ScatterPlot;
class Session;
struct DatasetEntry;
struct IsoelasticLine;
struct PlotScene;

/// The way from the session to the plot and its controls. Every change of features, filter, colour or scale ends in
/// refresh(). What else follows the plot (status, counts, statistics, selection) listens to its signals.
class PlotController : public QObject {
    Q_OBJECT

public:
    /// @param conditions  where the parameters of isoelastic lines come from;  @param window  parent of message boxes
    PlotController(Session& session, EModulus& emodulus, ScatterPlot& plot, PlotSettingsPanel& controls,
                   const CalculationsDockWidget& conditions, QWidget* window);

    /// What the plot shows of the active dataset; empty until it is plotted.
    const PlotFrame& frame() const { return *frame_; }

    /// The features that are plotted, which may not be those that were chosen last; empty if there is nothing to see.
    const std::string& plottedX() const { return lastXFeature_; }
    const std::string& plottedY() const { return lastYFeature_; }

    /// The pipeline: session in, finished vectors out, plot redrawn.
    void refresh();
    /// After features were added: offers them and refreshes.
    void refreshFeaturesAndPlot();
    /// Asked once, at the next refresh: whether a feature has other values than before, so that a zoom into it is
    /// stale.
    void setZoomResetCheck(std::function<bool(const std::string&)> check) { zoomResetCheck_ = std::move(check); }
    /// While a preload runs, another choice of features is put off until it has ended.
    void setPreloadRunning(bool running);

signals:
    /// frame() is another one, perhaps an empty one.
    void frameChanged();
    /// A refresh has drawn frame().
    void plotted();
    /// Nothing is plotted any more.
    void cleared();
    /// The active dataset is shown, as far as it can be plotted.
    void datasetShown();

private:
    void onActiveChanged();
    void onSettingsChanged(const PlotSettings& settings);
    /// Fills controls and plot for the active dataset.
    void showDataset(DatasetEntry& dataset);
    /// Shows that the active dataset is still loading, and nothing of it.
    void showLoading(const DatasetEntry& dataset);
    void showNothing();
    /// The active dataset if its file is open, else null.
    DatasetEntry* openActive() const;
    /// Takes everything off the plot and forgets what it showed.
    void clearPlot();
    void setAxisScales(const PlotSettings& settings);
    void offerFeatures(DatasetEntry& dataset);
    /// All that is shown of the frame; of the whole range if dataset or axes are others than before.
    PlotScene sceneOf(const PlotSettings& settings, const DatasetEntry& dataset);
    std::vector<IsoelasticLine> shownIsoelastics() const;
    void updateContours();
    void updateIsoelastics();
    void updateApplyButton();
    void applyPlotSettingsToAll();

    Session& session_;
    EModulus& emodulus_;
    ScatterPlot& plot_;
    PlotSettingsPanel& controls_;
    const CalculationsDockWidget& conditions_;
    QWidget* window_;
    std::shared_ptr<const PlotFrame> frame_ = std::make_shared<const PlotFrame>(); ///< lent to the plot
    std::function<bool(const std::string&)> zoomResetCheck_;
    std::string lastXFeature_;
    std::string lastYFeature_;
    int lastDatasetId_ = -1;
    bool preloadRunning_ = false;
    bool refreshPending_ = false;
};

} // namespace Tessaly
