#include "session/CalculationRunner.h"

#include "core/DatasetEntry.h"
#include "io/BackgroundThread.h"
#include "io/VQDReader.h"
#include "session/Session.h"

#include <QDebug>
#include <QFutureWatcher>
#include <QtConcurrent/QtConcurrentRun>

#include <algorithm>
#include <exception>
#include <utility>

namespace Tessaly {

namespace {

constexpr int AtOnce = 2;

// Runs on a pool thread: nothing may escape from here.
StepResult runGuarded(const CalculationWork& work, const StepControl& control) {
    markBackgroundThread();
    try {
        return work(control);
    } catch (const std::exception& error) {
        qCritical() << "A calculation failed:" << error.what();
    } catch (...) {
        qCritical() << "A calculation failed";
    }
    return {};
}

bool sharesReader(const CalculationJob& job, const std::shared_ptr<VQDReader>& reader) {
    return std::ranges::any_of(job.tasks, [&reader](const CalculationTask& task) { return task.reader == reader; });
}

bool doesTheSame(const CalculationJob& job, const CalculationJob& other) {
    return job.kind == other.kind && std::ranges::all_of(other.tasks, [&job](const CalculationTask& task) {
               return sharesReader(job, task.reader);
           });
}

} // namespace

struct CalculationRunner::Running {
    using Watcher = QFutureWatcher<StepResult>;
    enum class State { Waiting, Working, Finished };
    struct Progress {
        State state = State::Waiting;
        int percent = 0;
        std::unique_ptr<Watcher> watcher;
        StepResult result;
    };

    explicit Running(CalculationJob&& toRun) : job(std::move(toRun)), tasks(job.tasks.size()) {}

    CalculationJob job;
    std::stop_source stop;
    std::vector<Progress> tasks;

    std::size_t firstIn(State state) const {
        return static_cast<std::size_t>(std::ranges::find(tasks, state, &Progress::state) - tasks.begin());
    }
};

CalculationRunner::CalculationRunner(Session& session, QObject* parent) : QObject(parent), session_(session) {
    pool_.setMaxThreadCount(AtOnce);
    connect(&session_.notices(), &SessionNotices::aboutToClear, this, &CalculationRunner::stop);
}

CalculationRunner::~CalculationRunner() {
    if (running_) {
        running_->stop.request_stop();
    }
    pool_.waitForDone();
}

std::optional<Calculation> CalculationRunner::running() const {
    return running_ ? std::optional(running_->job.kind) : std::nullopt;
}

bool CalculationRunner::uses(int datasetId) const {
    const DatasetEntry* dataset = session_.findById(datasetId);
    return running_ && dataset && dataset->reader && sharesReader(running_->job, dataset->reader);
}

bool CalculationRunner::start(CalculationJob job) {
    if (running_ || job.tasks.empty()) {
        return false;
    }
    begin(std::move(job));
    return true;
}

void CalculationRunner::enqueue(CalculationJob job) {
    const bool known =
        (running_ && doesTheSame(running_->job, job)) ||
        std::ranges::any_of(waiting_, [&job](const CalculationJob& other) { return doesTheSame(other, job); });
    if (!known) {
        waiting_.push_back(std::move(job));
        startWaiting();
    }
}

void CalculationRunner::begin(CalculationJob job) {
    ++jobNumber_;
    running_ = std::make_unique<Running>(std::move(job));
    emit started(running_->job.kind);
    advance();
}

void CalculationRunner::advance() {
    using State = Running::State;
    std::vector<Running::Progress>& tasks = running_->tasks;
    for (std::size_t next = running_->firstIn(State::Waiting); next < tasks.size();
         next = running_->firstIn(State::Waiting)) {
        if (std::ranges::count(tasks, State::Working, &Running::Progress::state) >= AtOnce) {
            return;
        }
        if (isInSession(running_->job.tasks[next].reader)) {
            run(next);
        } else {
            tasks[next].state = State::Finished;
        }
    }
    if (running_->firstIn(State::Working) == tasks.size()) {
        finishJob();
    }
}

void CalculationRunner::run(std::size_t index) {
    Running::Progress& task = running_->tasks[index];
    task.state = Running::State::Working;
    task.watcher = std::make_unique<Running::Watcher>();
    connect(task.watcher.get(), &Running::Watcher::finished, this,
            [this, index] { finishTask(index, running_->tasks[index].watcher->future().takeResult()); });
    // Engines report by the event; only news are worth a turn of the event loop.
    auto last = std::make_shared<int>(-1);
    const StepControl control{running_->stop.get_token(), [this, last, job = jobNumber_, index](int percent) {
                                  if (std::exchange(*last, percent) != percent) {
                                      QMetaObject::invokeMethod(
                                          this, [=, this] { onProgress(job, index, percent); }, Qt::QueuedConnection);
                                  }
                              }};
    task.watcher->setFuture(QtConcurrent::run(&pool_, runGuarded, running_->job.tasks[index].prepare(), control));
}

void CalculationRunner::onProgress(std::size_t job, std::size_t index, int percent) {
    if (!running_ || job != jobNumber_) {
        return;
    }
    std::vector<Running::Progress>& tasks = running_->tasks;
    tasks[index].percent = percent;
    const std::size_t first = running_->firstIn(Running::State::Working);
    if (first < tasks.size()) {
        emit progressChanged(tasks[first].percent, static_cast<int>(first) + 1, static_cast<int>(tasks.size()));
    }
}

void CalculationRunner::finishTask(std::size_t index, StepResult&& result) {
    Running::Progress& task = running_->tasks[index];
    task.result = std::move(result);
    task.state = Running::State::Finished;
    task.watcher.release()->deleteLater(); // it is what calls
    advance();
}

void CalculationRunner::finishJob() {
    // Posted first: the next job starts even if showing these results fails.
    QMetaObject::invokeMethod(this, &CalculationRunner::startWaiting, Qt::QueuedConnection);
    const std::unique_ptr<Running> over = std::move(running_);
    std::vector<int> changed;
    for (std::size_t i = 0; i < over->tasks.size(); ++i) {
        const std::shared_ptr<VQDReader>& reader = over->job.tasks[i].reader;
        StepResult& result = over->tasks[i].result;
        if (result.columns.empty() && !result.done) {
            continue;
        }
        installColumns(std::move(result.columns), *reader);
        for (const auto& dataset : session_.datasets()) {
            if (dataset->reader == reader) {
                changed.push_back(dataset->id);
                if (result.done) {
                    over->job.mark(*dataset);
                }
            }
        }
    }
    for (const int id : changed) {
        emit session_.notices().columnsChanged(id);
    }
    emit ended(over->job.kind);
}

void CalculationRunner::startWaiting() {
    while (!running_ && !waiting_.empty()) {
        CalculationJob job = std::move(waiting_.front());
        waiting_.pop_front();
        if (std::ranges::any_of(job.tasks, [this](const CalculationTask& task) { return isInSession(task.reader); })) {
            begin(std::move(job));
        }
    }
}

void CalculationRunner::stop() {
    waiting_.clear();
    if (!running_) {
        return;
    }
    running_->stop.request_stop();
    pool_.waitForDone();
    const std::unique_ptr<Running> givenUp = std::move(running_); // with it go the watchers and what they would tell
    emit stopped(givenUp->job.kind);
}

bool CalculationRunner::isInSession(const std::shared_ptr<VQDReader>& reader) const {
    return std::ranges::any_of(session_.datasets(), [&reader](const auto& entry) { return entry->reader == reader; });
}

} // namespace Tessaly
