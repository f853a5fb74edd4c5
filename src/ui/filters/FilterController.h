#pragma once

#include <QObject>

namespace Tessaly {

class FilterDockWidget;
class PlotController;
class Session;

/// The "Filters" dock: shows the active dataset's filter and how many events pass, and tells the session of changes.
class FilterController : public QObject {
    Q_OBJECT

public:
    FilterController(Session& session, FilterDockWidget& dock, QObject* parent);

    /// Shows the counts of what is plotted.
    void showCounts(const PlotController& plot);

private:
    Session& session_;
    FilterDockWidget& dock_;
};

} // namespace Tessaly
