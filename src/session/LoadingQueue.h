#pragma once

#include <QString>

#include <deque>
#include <vector>

namespace Tessaly {

/// A file that a session names, to be opened for one of its datasets.
struct PendingSessionFile {
    int index = -1; ///< session index
    QString path;   ///< absolute

    bool operator==(const PendingSessionFile&) const = default;
};

/// Who is preloaded next. One preload runs at a time; datasets and paths that arrive meanwhile wait here. Only
/// bookkeeping: the loader does the work. User interface thread only.
class LoadingQueue {
public:
    /// What to do when a preload has ended.
    struct Step {
        enum class Kind { Nothing, Preload, OpenForSession, Open };
        Kind kind = Kind::Nothing;
        int id = -1;           ///< for Preload
        QString path;          ///< for Open and OpenForSession
        int sessionIndex = -1; ///< for OpenForSession
    };

    bool isRunning() const { return running_; }
    /// Dataset being preloaded, -1 when idle.
    int preloadId() const { return preloadId_; }

    /// Marks the dataset as being preloaded and returns true, or queues it and returns false if one runs already.
    bool startOrQueue(int id);
    /// A path that arrived while a preload ran.
    void queuePath(const QString& path);

    /// The files of a session, in their order; they go before the paths.
    void queueSessionFiles(const std::vector<PendingSessionFile>& files);

    /// Ends the running preload and returns its dataset.
    int finish();
    /// Takes the next piece of work out of the queues: datasets first, then the session's files, then paths.
    Step takeNext();

    /// Drops a dataset that has left the session.
    void remove(int id);
    /// Drops the session's files that are still to be opened.
    void dropSessionFiles() { pendingSessionFiles_.clear(); }
    /// Forgets everything, also that a preload runs.
    void clear();

private:
    bool running_ = false;
    int preloadId_ = -1;
    std::deque<int> pendingIds_;
    std::deque<PendingSessionFile> pendingSessionFiles_;
    std::deque<QString> pendingPaths_;
};

} // namespace Tessaly
