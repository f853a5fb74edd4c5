#pragma once

#include "session/LoadingQueue.h"

#include <QFutureWatcher>
#include <QObject>
#include <QString>

#include <stop_token>

class QWidget;

namespace Tessaly {

class Session;

/// From a path to a ready dataset: opens the file, lists it, caches its columns on a background thread. One preload at
/// a time; what arrives meanwhile waits. The task holds the reader only, so the session may go away under it.
class DatasetLoader : public QObject {
    Q_OBJECT

public:
    /// @param window  parent of message boxes
    DatasetLoader(Session& session, QWidget* window);
    /// A running preload ends with the column that it is at.
    ~DatasetLoader() override;

    /// Opens a file and makes its dataset the active one, also if it is open already; queues it while a preload runs.
    void open(const QString& path);

    /// Dataset that is being preloaded, -1 for none: it can't be removed.
    int preloadId() const { return queue_.preloadId(); }

    /// Ends a running preload and drops whatever is queued.
    void stop();

signals:
    void preloadStarted(int id);
    /// No preload runs any more. What its dataset waits for is told by the session afterwards.
    void preloadEnded();

private:
    void startPreload(int id);
    void onFeaturesLoaded();
    void startNext();

    Session& session_;
    QWidget* window_;
    LoadingQueue queue_;
    QFutureWatcher<void> preloadWatcher_;
    std::stop_source preloadStop_;
    bool unsupportedDataWarned_ = false; ///< one warning per run of the program is enough
};

} // namespace Tessaly
