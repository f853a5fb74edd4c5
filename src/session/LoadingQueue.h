#pragma once

#include <QString>

#include <deque>

namespace Tessaly {

/// Who is preloaded next. One preload runs at a time; datasets and paths that arrive meanwhile wait here. Only
/// bookkeeping: the loader does the work. User interface thread only.
class LoadingQueue {
public:
    /// What to do when a preload has ended.
    struct Step {
        enum class Kind { Nothing, Preload, Open };
        Kind kind = Kind::Nothing;
        int id = -1;  ///< for Preload
        QString path; ///< for Open
    };

    bool isRunning() const { return running_; }
    /// Dataset being preloaded, -1 when idle.
    int preloadId() const { return preloadId_; }

    /// Marks the dataset as being preloaded and returns true, or queues it and returns false if one runs already.
    bool startOrQueue(int id);
    /// A path that arrived while a preload ran.
    void queuePath(const QString& path);

    /// Ends the running preload and returns its dataset.
    int finish();
    /// Takes the next piece of work out of the queues: datasets first, then paths.
    Step takeNext();

    /// Drops a dataset that has left the session.
    void remove(int id);
    /// Forgets everything, also that a preload runs.
    void clear();

private:
    bool running_ = false;
    int preloadId_ = -1;
    std::deque<int> pendingIds_;
    std::deque<QString> pendingPaths_;
};

} // namespace Tessaly
