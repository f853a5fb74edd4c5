#include "session/LoadingQueue.h"

#include <algorithm>

namespace Tessaly {

namespace {

int rowAfterMove(int row, int fromRow, int toRow) {
    if (row == fromRow) {
        return toRow;
    }
    if (fromRow < row && row <= toRow) {
        return row - 1;
    }
    if (toRow <= row && row < fromRow) {
        return row + 1;
    }
    return row;
}

} // namespace

bool LoadingQueue::startOrQueue(int row) {
    if (running_) {
        pendingRows_.push_back(row);
        return false;
    }
    running_ = true;
    preloadRow_ = row;
    return true;
}

void LoadingQueue::queuePath(const QString& path) {
    pendingPaths_.push_back(path);
}

int LoadingQueue::finish() {
    const int row = preloadRow_;
    running_ = false;
    preloadRow_ = -1;
    return row;
}

LoadingQueue::Step LoadingQueue::takeNext() {
    Step step;
    if (running_) {
        return step;
    }
    if (!pendingRows_.empty()) {
        step.kind = Step::Kind::Preload;
        step.row = pendingRows_.front();
        pendingRows_.pop_front();
    } else if (!pendingPaths_.empty()) {
        step.kind = Step::Kind::Open;
        step.path = pendingPaths_.front();
        pendingPaths_.pop_front();
    }
    return step;
}

void LoadingQueue::rowRemoved(int row) {
    if (preloadRow_ == row) {
        preloadRow_ = -1;
    } else if (preloadRow_ > row) {
        --preloadRow_;
    }
    std::erase(pendingRows_, row);
    for (int& pending : pendingRows_) {
        if (pending > row) {
            --pending;
        }
    }
}

void LoadingQueue::rowMoved(int fromRow, int toRow) {
    preloadRow_ = rowAfterMove(preloadRow_, fromRow, toRow);
    for (int& pending : pendingRows_) {
        pending = rowAfterMove(pending, fromRow, toRow);
    }
}

void LoadingQueue::clear() {
    *this = LoadingQueue();
}

} // namespace Tessaly
