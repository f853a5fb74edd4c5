#include "tools/combine/CombineRefresh.h"

#include <QtConcurrent/QtConcurrentMap>

#include <utility>

namespace Tessaly {

CombineRefresh::CombineRefresh(QObject* parent) : QObject(parent) {
    connect(&watcher_, &QFutureWatcherBase::finished, this, &CombineRefresh::report);
}

CombineRefresh::~CombineRefresh() {
    abandon();
}

void CombineRefresh::start(std::vector<CombineSource> sources) {
    abandon();
    stop_ = std::stop_source();
    running_ = true;
    watcher_.setFuture(
        QtConcurrent::mapped(std::move(sources), [stop = stop_.get_token()](const CombineSource& source) {
            return Data(std::make_shared<const CombineData>(prepareCombineData(source, stop)));
        }));
}

void CombineRefresh::abandon() {
    if (std::exchange(running_, false)) {
        stop_.request_stop();
        watcher_.cancel();
    }
}

void CombineRefresh::wait() {
    if (running_) {
        watcher_.waitForFinished();
        report();
    }
}

void CombineRefresh::report() {
    // A second report of the same result, or one that was overtaken.
    if (!running_ || !watcher_.isFinished() || watcher_.isCanceled()) {
        return;
    }
    running_ = false;
    const QList<Data> results = watcher_.future().results();
    emit prepared(CombineDataList(results.begin(), results.end()));
}

} // namespace Tessaly
