#pragma once

#include "session/PlotFrame.h"

#include <QObject>

#include <string>

namespace Tessaly {

class EModulus;
class EventController;
class Session;
struct DatasetEntry;
struct MainPanels;

/// The way from the session and the controls to what the panels show. Every change of features, filter, colour or scale
/// ends in refresh().
class PlotController : public QObject {
    Q_OBJECT

public:
    PlotController(Session& session, EModulus& emodulus, EventController& events, const MainPanels& panels,
                   QWidget* window);

    /// Writes the controls back into the active dataset. Must run before anything reads its plot settings.
    void saveCurrentDatasetState();
    /// Fills all panels for the active dataset, if its columns are cached.
    void showActiveDataset();
    /// Shows that the active dataset is still loading, and nothing of it.
    void showLoading();
    /// Shows that there is no dataset.
    void showNothing();

    /// The pipeline: controls and session in, finished vectors out, all panels redrawn.
    void refresh();
    /// After features were added: offers them and refreshes.
    void refreshFeaturesAndPlot();
    void updatePlotStatus();
    /// Enables and highlights the button that copies the settings to all datasets.
    void updateApplyPlotButton();
    /// Fills the metadata tree if it is empty and there is something to show.
    void fillMetadata();
    void setColorMapIndex(int index);
    /// While a preload runs, another choice of features is put off until it has ended.
    void setPreloadRunning(bool running);

private:
    void connectControls();
    /// The active dataset if its file is open, else null.
    DatasetEntry* openActive() const;
    /// Takes everything off the plot and forgets what it showed.
    void clearPlot();
    void populateFeatures(DatasetEntry& dataset);
    void updateFeatureSelection();
    void draw(const PlotSettings& settings);
    void resetZoomIfNew(const PlotSettings& settings, const DatasetEntry& dataset);
    void updatePolygonOverlays(const PlotSettings& settings);
    void updateContours();
    void updateIsoelastics();
    void applyPlotSettingsToAll();

    Session& session_;
    EModulus& emodulus_;
    EventController& events_;
    const MainPanels& panels_;
    QWidget* window_; ///< parent of message boxes
    PlotFrame frame_; ///< what the plot shows of the active dataset; empty until it is plotted
    std::string lastXFeature_;
    std::string lastYFeature_;
    int lastDatasetId_ = -1;
    bool preloadRunning_ = false;
    bool refreshPending_ = false;
};

} // namespace Tessaly
