#pragma once

#include <QString>

#include <deque>

namespace Tessaly {

/// Who is preloaded next. One preload runs at a time; rows and paths that arrive meanwhile wait here. Only bookkeeping:
/// the loader does the work. User interface thread only.
class LoadingQueue {
public:
    /// What to do when a preload has ended.
    struct Step {
        enum class Kind { Nothing, Preload, Open };
        Kind kind = Kind::Nothing;
        int row = -1; ///< for Preload
        QString path; ///< for Open
    };

    bool isRunning() const { return running_; }
    /// Row being preloaded, -1 when idle.
    int preloadRow() const { return preloadRow_; }

    /// Marks the row as being preloaded and returns true, or queues it and returns false if one runs already.
    bool startOrQueue(int row);
    /// A path that arrived while a preload ran.
    void queuePath(const QString& path);

    /// Ends the running preload and returns its row, -1 if the row is gone.
    int finish();
    /// Takes the next piece of work out of the queues: rows first, then paths.
    Step takeNext();

    /// Keeps the rows correct when the list changes.
    void rowRemoved(int row);
    /// @param toRow  final row of the moved dataset
    void rowMoved(int fromRow, int toRow);
    /// Forgets everything, also that a preload runs.
    void clear();

private:
    bool running_ = false;
    int preloadRow_ = -1;
    std::deque<int> pendingRows_;
    std::deque<QString> pendingPaths_;
};

} // namespace Tessaly
