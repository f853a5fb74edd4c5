#pragma once

#include <QObject>

class QDockWidget;

namespace Tessaly {

class MetadataPanel;
class Session;

/// The "Metadata" dock. Its tree costs nothing until somebody looks at it: it is filled when it comes into view.
class MetadataController : public QObject {
    Q_OBJECT

public:
    MetadataController(Session& session, MetadataPanel& tree, const QDockWidget& dock, QObject* parent);

private:
    void onVisibilityChanged(bool visible);
    void renew();
    void fill();

    Session& session_;
    MetadataPanel& tree_;
    bool inView_ = false; ///< the dock's own isVisible() is true behind another tab, too
};

} // namespace Tessaly
