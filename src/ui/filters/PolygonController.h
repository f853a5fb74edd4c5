#pragma once

#include "core/FilterRule.h"
#include "core/OverlayId.h"

#include <QObject>
#include <QPolygonF>

#include <string>
#include <utility>
#include <vector>

namespace Tessaly {

class FilterDockWidget;
class PlotController;
class ScatterPlot;
class Session;

/// Drawing and editing polygon rules: the dock asks for it, the user does it on the plot, the session gets the result.
///
/// A polygon belongs to the dataset, the list and the axes that it was begun for. When one of these changes, drawing
/// and editing end first, so that nothing lands elsewhere.
class PolygonController : public QObject {
    Q_OBJECT

public:
    /// @param plotted  tells what the plot shows; isn't used before the first signal
    PolygonController(Session& session, FilterDockWidget& dock, ScatterPlot& plot, const PlotController& plotted,
                      QObject* parent);

private slots:
    void onPolygonCompleted(const QPolygonF& polygon);
    void onPolygonEdited(int id, const QPolygonF& polygon);
    void onPolygonEditingStopped(int id);
    void onPolygonEditRequested(int ruleIndex, bool on);

private:
    /// What a drawing or an edit is begun for.
    struct Ground {
        int datasetId = -1;
        std::pair<std::string, std::string> features;   ///< as chosen for x and y
        std::vector<std::pair<int, std::size_t>> lists; ///< group id (-1: the dataset's own) and number of rules

        bool operator==(const Ground&) const = default;
    };

    void startDrawing(int groupId);
    void editRequested(OverlayId id, bool on);
    /// Ends drawing and editing if what they were begun for isn't there any more. Returns whether it still is.
    bool checkGround();
    void stop();
    void showEditing();
    Ground ground() const;
    /// The chosen features of the active dataset are plotted.
    bool canBegin() const;
    /// A polygon rule, or null.
    const FilterRule* polygonRule(OverlayId id) const;

    Session& session_;
    FilterDockWidget& dock_;
    ScatterPlot& plot_;
    const PlotController& plotted_;
    int pendingPolygonGroup_ = -1; ///< the group that the polygon being drawn is to join, -1 for none
    Ground ground_;
    QPolygonF edited_; ///< the polygon being edited, as the rule has it
};

} // namespace Tessaly
