#include "ui/plot/StatusController.h"

#include "core/DatasetEntry.h"
#include "session/DatasetTexts.h"
#include "session/Session.h"
#include "ui/datasets/DatasetLoader.h"
#include "ui/plot/PlotController.h"
#include "widgets/ToolTips.h"

#include <QLabel>

namespace Tessaly {

StatusController::StatusController(Session& session, const DatasetLoader& loader, const PlotController& plot,
                                   QLabel& label, QObject* parent)
    : QObject(parent),
      session_(session),
      plot_(plot),
      label_(label) {
    say(tr("No file loaded. Drag and drop a .vqd file or use File > Open."));
    connect(&loader, &DatasetLoader::preloadStarted, this, &StatusController::onPreloadStarted);
    connect(&loader, &DatasetLoader::preloadEnded, this, &StatusController::showPlotted);
    connect(&session_.notices(), &SessionNotices::activeChanged, this, &StatusController::onActiveChanged);
    connect(&session_.notices(), &SessionNotices::datasetRenamed, this, &StatusController::showPlotted);
    connect(&plot_, &PlotController::frameChanged, this, &StatusController::showPlotted);
}

void StatusController::say(const QString& text) {
    const QString line = inOneLine(text);
    label_.setText(line);
    label_.setToolTip(plainToolTip(line));
}

void StatusController::onPreloadStarted(int id) {
    if (const DatasetEntry* dataset = session_.findById(id)) {
        say(tr("Loading: %1 - Caching features...").arg(dataset->displayName));
    }
}

void StatusController::onActiveChanged() {
    const DatasetEntry* dataset = session_.active();
    if (!dataset) {
        say(tr("No file loaded."));
    } else if (!dataset->featuresLoaded) {
        say(tr("Loading: %1...").arg(dataset->displayName));
    }
}

void StatusController::showPlotted() {
    const DatasetEntry* dataset = session_.active();
    if (dataset && dataset->featuresLoaded) {
        say(plotStatusText(*dataset, plot_.frame().countIfReduced()));
    }
}

} // namespace Tessaly
