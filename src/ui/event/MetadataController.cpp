#include "ui/event/MetadataController.h"

#include "core/DatasetEntry.h"
#include "io/VQDReader.h"
#include "session/Session.h"
#include "ui/event/MetadataPanel.h"

#include <QDockWidget>

namespace Tessaly {

MetadataController::MetadataController(Session& session, MetadataPanel& tree, const QDockWidget& dock, QObject* parent)
    : QObject(parent),
      session_(session),
      tree_(tree) {
    connect(&dock, &QDockWidget::visibilityChanged, this, &MetadataController::onVisibilityChanged);
    connect(&session_.notices(), &SessionNotices::activeChanged, this, &MetadataController::renew);
    connect(&session_.notices(), &SessionNotices::datasetReady, this, [this](int id) {
        if (id == session_.activeId()) {
            renew();
        }
    });
}

void MetadataController::onVisibilityChanged(bool visible) {
    inView_ = visible;
    if (inView_ && tree_.isEmpty()) {
        fill();
    }
}

void MetadataController::renew() {
    tree_.clear();
    const DatasetEntry* dataset = session_.active();
    if (inView_ && dataset && dataset->featuresLoaded) {
        fill();
    }
}

void MetadataController::fill() {
    const DatasetEntry* dataset = session_.active();
    if (dataset && dataset->reader && dataset->reader->isOpen()) {
        tree_.showMetadata(dataset->metadata);
    }
}

} // namespace Tessaly
