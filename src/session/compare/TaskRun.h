#pragma once

#include <QObject>
#include <QThreadPool>

#include <functional>
#include <memory>
#include <stop_token>
#include <vector>

namespace Tessaly {

/// Runs a list of tasks on all cores, phase by phase: the tasks of a phase at once, each phase when the one before is
/// finished. A task writes what it finds into a place of its own that the tasks share; no task may touch widgets or the
/// session. Lives on the interface thread, where it also reports.
class TaskRun : public QObject {
    Q_OBJECT

public:
    using Task = std::function<void(const std::stop_token&)>;
    using Phases = std::vector<std::vector<Task>>;

    explicit TaskRun(QObject* parent = nullptr);
    /// Asks the tasks to stop and waits for them.
    ~TaskRun() override;

    /// Starts. What runs is dropped. A task that throws counts as finished.
    /// @param finished  called on the interface thread when all is done, never before this returns and not for a run
    ///                  that was dropped
    void start(Phases phases, std::function<void()> finished);
    /// Gives up what runs, if anything. Doesn't wait for it.
    void drop();
    bool isRunning() const { return run_ != nullptr; }

signals:
    /// How many tasks are finished, 0 at the start.
    void progressChanged(int done, int total);
    /// Nothing runs any more. @param finished  false if the run was dropped
    void ended(bool finished);

private:
    struct Run;

    void startPhase();
    void onTaskFinished(const std::shared_ptr<Run>& run);

    std::shared_ptr<Run> run_;
    QThreadPool pool_;
};

} // namespace Tessaly
