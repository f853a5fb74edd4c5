#pragma once

#include "session/compare/CombineData.h"

#include <QFutureWatcher>
#include <QObject>

#include <memory>
#include <stop_token>
#include <vector>

namespace Tessaly {

/// Prepares the data of a combine window on all cores while the window stays alive. A newer start overtakes an older
/// one, whose result is never reported. May go at any time; the jobs hold nothing of it. Interface thread only.
class CombineRefresh : public QObject {
    Q_OBJECT

public:
    explicit CombineRefresh(QObject* parent = nullptr);
    ~CombineRefresh() override;

    void start(std::vector<CombineSource> sources);
    /// Nothing will be reported of what was started.
    void abandon();
    bool isRunning() const { return running_; }
    /// Waits for what was started, which is reported before this returns. Does nothing if nothing runs.
    void wait();

signals:
    /// The data of all sources, in their order.
    void prepared(const CombineDataList& data);

private:
    using Data = std::shared_ptr<const CombineData>;

    void report();

    QFutureWatcher<Data> watcher_;
    std::stop_source stop_;
    bool running_ = false;
};

} // namespace Tessaly
