#include "session/compare/TaskRun.h"

#include <QDebug>
#include <QMetaObject>
#include <QThread>
#include <QtConcurrentRun>

#include <algorithm>
#include <exception>
#include <utility>

namespace Tessaly {

namespace {

// Runs on a pool thread: nothing may escape from here.
void runGuarded(const TaskRun::Task& task, const std::stop_token& stop) {
    try {
        if (!stop.stop_requested()) {
            task(stop);
        }
    } catch (const std::exception& error) {
        qCritical() << "A comparison failed in part:" << error.what();
    } catch (...) {
        qCritical() << "A comparison failed in part";
    }
}

} // namespace

struct TaskRun::Run {
    Phases phases;
    std::function<void()> finished;
    std::stop_source stop;
    std::size_t phase = 0;
    std::size_t pending = 0; ///< tasks of the phase that aren't finished
    int done = 0;
    int total = 0;
};

TaskRun::TaskRun(QObject* parent) : QObject(parent) {
    pool_.setMaxThreadCount(std::max(1, QThread::idealThreadCount()));
}

TaskRun::~TaskRun() {
    if (run_) {
        run_->stop.request_stop();
    }
    pool_.clear();
    pool_.waitForDone();
}

void TaskRun::start(Phases phases, std::function<void()> finished) {
    drop();
    run_ = std::make_shared<Run>();
    run_->phases = std::move(phases);
    run_->finished = std::move(finished);
    for (const std::vector<Task>& phase : run_->phases) {
        run_->total += static_cast<int>(phase.size());
    }
    emit progressChanged(0, run_->total);
    startPhase();
}

void TaskRun::drop() {
    if (!run_) {
        return;
    }
    run_->stop.request_stop();
    run_.reset();
    pool_.clear();
    emit ended(false);
}

void TaskRun::startPhase() {
    const std::shared_ptr<Run> run = run_;
    while (run->phase < run->phases.size() && run->phases[run->phase].empty()) {
        ++run->phase;
    }
    if (run->phase == run->phases.size()) {
        // Later, so that who starts a run without tasks isn't surprised either.
        QMetaObject::invokeMethod(
            this,
            [this, run] {
                if (run == run_) {
                    run_.reset();
                    emit ended(true);
                    run->finished();
                }
            },
            Qt::QueuedConnection);
        return;
    }
    run->pending = run->phases[run->phase].size();
    for (const Task& task : run->phases[run->phase]) {
        // The future isn't needed: tasks report by themselves.
        static_cast<void>(QtConcurrent::run(&pool_, [this, run, task, stop = run->stop.get_token()] {
            runGuarded(task, stop);
            QMetaObject::invokeMethod(
                this, [this, run] { onTaskFinished(run); }, Qt::QueuedConnection);
        }));
    }
}

void TaskRun::onTaskFinished(const std::shared_ptr<Run>& run) {
    if (run != run_) {
        return; // dropped meanwhile
    }
    ++run->done;
    --run->pending;
    emit progressChanged(run->done, run->total);
    // Who listens may have dropped the run.
    if (run == run_ && run->pending == 0) {
        ++run->phase;
        startPhase();
    }
}

} // namespace Tessaly
