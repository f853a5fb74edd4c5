#pragma once

#include "session/LoadingQueue.h"

#include <QFutureWatcher>
#include <QObject>
#include <QString>

#include <stop_token>

namespace Tessaly {

class Session;

/// From a path to a ready dataset: opens the file, lists it, caches its columns on a background thread. One preload at
/// a time; what arrives meanwhile waits. The task holds the reader only, so the session may go away under it.
class DatasetLoader : public QObject {
    Q_OBJECT

public:
    DatasetLoader(Session& session, QWidget* window);
    /// A running preload ends with the column that it is at.
    ~DatasetLoader() override;

    /// Opens a file, or makes its dataset current if it is open already, or queues it while a preload runs.
    void open(const QString& path);

    /// Row that is being preloaded, -1 for none: it can't be removed.
    int preloadRow() const { return queue_.preloadRow(); }
    void rowRemoved(int row) { queue_.rowRemoved(row); }
    void rowMoved(int fromRow, int toRow) { queue_.rowMoved(fromRow, toRow); }

    /// Ends a running preload and drops whatever is queued.
    void stop();

signals:
    /// A dataset was appended to the session and should be listed; it may still take its settings from its peers.
    void datasetAppended(int row);
    /// The dataset of this row should become current.
    void currentRowRequested(int row);
    void preloadStarted(const QString& displayName);
    /// All columns of this row's dataset are cached.
    void preloadFinished(int row);

private:
    void startPreload(int row);
    void onFeaturesLoaded();
    void startNext();

    Session& session_;
    QWidget* window_; ///< parent of message boxes
    LoadingQueue queue_;
    QFutureWatcher<void> preloadWatcher_;
    std::stop_source preloadStop_;
    bool unsupportedDataWarned_ = false; ///< one warning per run of the program is enough
};

} // namespace Tessaly
