#include "ui/filters/FilterController.h"

#include "core/DatasetEntry.h"
#include "io/VQDReader.h"
#include "session/Session.h"
#include "ui/filters/FilterDockWidget.h"
#include "ui/plot/PlotController.h"

namespace Tessaly {

FilterController::FilterController(Session& session, FilterDockWidget& dock, QObject* parent)
    : QObject(parent),
      session_(session),
      dock_(dock) {
    connect(&dock_, &FilterDockWidget::filterChanged, &session_.notices(), &SessionNotices::eventsChanged);
    connect(&session_.notices(), &SessionNotices::activeChanged, this, [this] { dock_.setDataset(session_.active()); });
}

void FilterController::showCounts(const PlotController& plot) {
    const DatasetEntry* dataset = session_.active();
    if (dataset && dataset->featuresLoaded && dataset->reader) {
        const int total = static_cast<int>(dataset->reader->eventCount());
        dock_.setEventCounts(plot.frame().countIfReduced().value_or(total), total);
    }
}

} // namespace Tessaly
