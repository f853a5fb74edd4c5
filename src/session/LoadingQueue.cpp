#include "session/LoadingQueue.h"

#include <utility>

namespace Tessaly {

bool LoadingQueue::startOrQueue(int id) {
    if (running_) {
        pendingIds_.push_back(id);
        return false;
    }
    running_ = true;
    preloadId_ = id;
    return true;
}

void LoadingQueue::queuePath(const QString& path) {
    pendingPaths_.push_back(path);
}

void LoadingQueue::queueSessionFiles(const std::vector<PendingSessionFile>& files) {
    pendingSessionFiles_.insert(pendingSessionFiles_.end(), files.begin(), files.end());
}

int LoadingQueue::finish() {
    running_ = false;
    return std::exchange(preloadId_, -1);
}

LoadingQueue::Step LoadingQueue::takeNext() {
    Step step;
    if (running_) {
        return step;
    }
    if (!pendingIds_.empty()) {
        step.kind = Step::Kind::Preload;
        step.id = pendingIds_.front();
        pendingIds_.pop_front();
    } else if (!pendingSessionFiles_.empty()) {
        step.kind = Step::Kind::OpenForSession;
        step.sessionIndex = pendingSessionFiles_.front().index;
        step.path = std::move(pendingSessionFiles_.front().path);
        pendingSessionFiles_.pop_front();
    } else if (!pendingPaths_.empty()) {
        step.kind = Step::Kind::Open;
        step.path = pendingPaths_.front();
        pendingPaths_.pop_front();
    }
    return step;
}

void LoadingQueue::remove(int id) {
    std::erase(pendingIds_, id);
}

void LoadingQueue::clear() {
    *this = LoadingQueue();
}

} // namespace Tessaly
