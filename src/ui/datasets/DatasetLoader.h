#pragma once

#include "session/LoadingQueue.h"

#include <QFutureWatcher>
#include <QObject>
#include <QString>

#include <memory>
#include <stop_token>
#include <vector>

class QWidget;

namespace Tessaly {

class Session;
struct DatasetEntry;

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

    /// Opens the files of a session one after the other, before anything else that waits. Their datasets take over
    /// nothing from others, bear the files' names, and none becomes the active one.
    void openForSession(const std::vector<PendingSessionFile>& files);
    /// Lets go of those that are still to be opened.
    void dropSessionFiles() { queue_.dropSessionFiles(); }

    /// Dataset that is being preloaded, -1 for none: it can't be removed.
    int preloadId() const { return queue_.preloadId(); }

    /// Ends a running preload and drops whatever is queued.
    void stop();

signals:
    void preloadStarted(int id);
    /// No preload runs any more. What its dataset waits for is told by the session afterwards.
    void preloadEnded();
    /// A file of a session was opened; its dataset is being preloaded.
    void openedForSession(int sessionIndex, int id);
    /// Nothing is preloaded and nothing waits any more, or nothing was to be opened at all.
    void ranEmpty();

private:
    /// The entry for a file, not yet listed. Null, after telling the user, if it can't be had.
    std::unique_ptr<DatasetEntry> openEntry(const QString& path);
    int openSessionDataset(const QString& path);
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
