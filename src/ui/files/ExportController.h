#pragma once

#include "session/export/ExportConfig.h"
#include "session/export/StatSummary.h"

#include <QObject>

#include <optional>

class QWidget;

namespace Tessaly {

class ScatterPlot;
class Session;

/// Takes the user through everything that leaves the program: events, the summary of their statistics, and the plot.
class ExportController : public QObject {
    Q_OBJECT

public:
    /// @param window  parent of dialogs
    ExportController(Session& session, ScatterPlot& plot, QWidget* window);

    /// Asks what to write of the events that pass, and writes it.
    void exportData();
    /// Asks for statistics and writes them as a table.
    void exportStatSummary();
    /// Asks for a file and draws the plot into it, 200 by 150 mm. Nothing happens without a dataset that is loaded.
    void exportPlot();

    /// What the last summary was asked to hold; nothing before the first one.
    std::optional<StatSummaryConfig> lastSummary() const {
        return statSummaryRemembered_ ? std::optional(statSummary_) : std::nullopt;
    }

private:
    void run(const ExportConfig& config);

    Session& session_;
    ScatterPlot& plot_;
    QWidget* window_;
    std::optional<ExportConfig> lastConfig_;
    // Both for the rest of the run.
    StatSummaryConfig statSummary_;
    bool statSummaryRemembered_ = false;
};

} // namespace Tessaly
