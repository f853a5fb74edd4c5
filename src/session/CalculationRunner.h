#pragma once

#include "session/CalculationJobs.h"

#include <QObject>
#include <QThreadPool>

#include <deque>
#include <memory>
#include <optional>

namespace Tessaly {

/// Runs calculations in the background, one job at a time, two of its measurements at once. When a job has ended, its
/// columns go into the readers, every dataset over a measurement is marked, and the session tells of both. Jobs hold
/// the readers, so that datasets may go away under them. Interface thread.
class CalculationRunner : public QObject {
    Q_OBJECT

public:
    explicit CalculationRunner(Session& session, QObject* parent = nullptr);
    /// Waits for the events at hand; what was running leaves nothing behind.
    ~CalculationRunner() override;

    bool isRunning() const { return running_ != nullptr; }
    /// What is being calculated; nothing when idle.
    std::optional<Calculation> running() const;
    /// Whether the running job works on the measurement of a dataset, which then has to stay.
    bool uses(int datasetId) const;

    /// Starts a job. Returns false, and forgets the job, if another one runs or there is nothing to do.
    bool start(CalculationJob job);
    /// Starts a job, or lets it wait its turn. One that runs or waits already for the same measurements isn't repeated;
    /// one whose measurements have left the session meanwhile is dropped.
    void enqueue(CalculationJob job);
    /// Ends the running job at the events at hand, without results, and drops those that wait. The session calls for
    /// this when it is cleared, the window when it is closed.
    void stop();

signals:
    void started(Calculation kind);
    /// Percentage and place, from 1, of the measurement that is told of: the first that isn't finished.
    void progressChanged(int percent, int number, int count);
    /// The job is over, and whatever it gave is there. Nothing runs at this moment.
    void ended(Calculation kind);
    /// The job was given up.
    void stopped(Calculation kind);

private:
    struct Running;

    void begin(CalculationJob job);
    /// Starts as many measurements as may run at once, or ends the job.
    void advance();
    void run(std::size_t index);
    void finishTask(std::size_t index, StepResult&& result);
    void onProgress(std::size_t job, std::size_t index, int percent);
    void finishJob();
    void startWaiting();
    bool isInSession(const std::shared_ptr<VQDReader>& reader) const;

    Session& session_;
    /// Apart from the global pool, so that a file that is opened meanwhile doesn't wait for a whole measurement.
    QThreadPool pool_;
    std::unique_ptr<Running> running_;
    std::deque<CalculationJob> waiting_;
    std::size_t jobNumber_ = 0; // news of a job that was given up are known by their number
};

} // namespace Tessaly
