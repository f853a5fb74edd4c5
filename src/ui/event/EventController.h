#pragma once

#include "session/PlotFrame.h"

#include <QObject>

class QSpinBox;

namespace Tessaly {

class EventPanel;
class ScatterPlot;
class Session;
struct DatasetEntry;

/// Which event is looked at: carries a choice in the plot or the spin box to picture, traces and table. The plot speaks
/// in plot indices, everything else in event indices.
class EventController : public QObject {
    Q_OBJECT

public:
    EventController(Session& session, ScatterPlot& plot, EventPanel& panel, QSpinBox& eventNumber, QObject* parent);

    /// Places the selection anew after a refresh of the plot. An event that has dropped out gives way to the first
    /// plotted one.
    void placeSelection(const PlotFrame& frame);
    /// Shows the dataset's current event, which need not be plotted.
    void showCurrentEvent();
    /// Takes over a number that is still being typed.
    void finishTyping();
    /// Whether traces are shown refined where they are, or as measured.
    void showRefinedTraces(bool on);
    /// Shows the current event anew: its dataset may have other traces and features by now.
    void reload();

private:
    void onActiveChanged();
    /// Prepares the controls for a dataset that is about to be shown.
    void setDataset(DatasetEntry& dataset);
    /// Nothing to show; with or without a dataset. The spin box keeps its range but can't be used.
    void clear();
    /// Clears and takes the spin box back to its empty range.
    void reset();
    void setupTraces(const DatasetEntry& dataset);
    void onPointClicked(int plotIndex);
    void onEventNumberChanged(int event);
    void onMaskToggled();
    void choose(int event, int plotIndex);
    void setEventNumber(int event);
    void showEvent(DatasetEntry& dataset, int event);
    void showPicture(DatasetEntry& dataset, int event);
    void showTraces(DatasetEntry& dataset, int event);
    void showValues(DatasetEntry& dataset, int event);

    Session& session_;
    ScatterPlot& plot_;
    EventPanel& panel_;
    QSpinBox& eventNumber_;
    /// Of the last refresh, if that was one of the active dataset; owned by the plot controller.
    const PlotFrame* frame_ = nullptr;
    bool refinedTraces_ = true;
};

} // namespace Tessaly
