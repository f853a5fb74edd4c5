#include "ui/datasets/DatasetLoader.h"

#include "core/DatasetEntry.h"
#include "io/VQDReader.h"
#include "session/DatasetOpening.h"
#include "session/Session.h"
#include "widgets/PlainText.h"

#include <QDebug>
#include <QFileInfo>
#include <QMessageBox>
#include <QTimer>
#include <QtConcurrent/QtConcurrentRun>

#include <exception>
#include <memory>
#include <utility>

namespace Tessaly {

namespace {

// Runs on a pool thread: nothing may escape from here.
void cacheColumns(const std::shared_ptr<VQDReader>& reader, const std::stop_token& stop) {
    try {
        reader->cacheAllFeatures(stop);
    } catch (const std::exception& error) {
        qCritical() << "Caching features failed:" << error.what();
    }
}

} // namespace

DatasetLoader::DatasetLoader(Session& session, QWidget* window) : QObject(window), session_(session), window_(window) {
    connect(&preloadWatcher_, &QFutureWatcher<void>::finished, this, &DatasetLoader::onFeaturesLoaded);
    connect(&session_.notices(), &SessionNotices::datasetRemoved, this, [this](int id) { queue_.remove(id); });
}

DatasetLoader::~DatasetLoader() {
    preloadStop_.request_stop();
}

void DatasetLoader::open(const QString& path) {
    if (const DatasetEntry* existing = session_.findByPath(path.toStdString())) {
        session_.setActive(existing->id);
        return;
    }
    if (queue_.isRunning()) {
        queue_.queuePath(path);
        return;
    }
    std::unique_ptr<DatasetEntry> entry = openEntry(path);
    if (!entry) {
        return;
    }
    session_.inheritPeerSettings(*entry);
    const int id = session_.append(std::move(entry)).id;
    startPreload(id);
    session_.setActive(id);
}

std::unique_ptr<DatasetEntry> DatasetLoader::openEntry(const QString& path) {
    std::unique_ptr<DatasetEntry> entry = session_.newEntry();
    switch (openMeasurement(path, *entry)) {
    case OpenOutcome::Unreadable:
        qWarning() << "Failed to open" << path;
        showMessage(window_, QMessageBox::Critical, tr("Error"), tr("Failed to open: %1").arg(path));
        return nullptr;
    case OpenOutcome::Unsupported:
        qWarning() << "Not a measurement of the instrument:" << path;
        if (!std::exchange(unsupportedDataWarned_, true)) {
            QMessageBox::warning(window_, tr("Unsupported Data"),
                                 tr("The data does not seem to originate from a ORVANE INSTRUMENTS Vortiq.\n"
                                    "Tessaly is not designed to handle this data."));
        }
        return nullptr;
    case OpenOutcome::Opened:
        break;
    }
    return entry;
}

void DatasetLoader::openForSession(const std::vector<PendingSessionFile>& files) {
    queue_.queueSessionFiles(files);
    startNext();
}

int DatasetLoader::openSessionDataset(const QString& path) {
    std::unique_ptr<DatasetEntry> entry = openEntry(path);
    if (!entry) {
        return -1;
    }
    entry->displayName = QFileInfo(path).fileName();
    const int id = session_.append(std::move(entry)).id;
    startPreload(id);
    return id;
}

void DatasetLoader::startPreload(int id) {
    if (!queue_.startOrQueue(id)) {
        return;
    }
    emit preloadStarted(id);
    preloadStop_ = std::stop_source();
    // The task shares the reader, so that neither a cleared session nor the end of the window leaves it dangling.
    preloadWatcher_.setFuture(QtConcurrent::run(cacheColumns, session_.findById(id)->reader, preloadStop_.get_token()));
}

void DatasetLoader::onFeaturesLoaded() {
    if (!queue_.isRunning()) {
        return; // stopped meanwhile
    }
    // Posted first: the queue goes on even if showing the dataset fails.
    QTimer::singleShot(0, this, &DatasetLoader::startNext);
    const int id = queue_.finish();
    emit preloadEnded();
    session_.setReady(id);
}

void DatasetLoader::startNext() {
    // A path that is open by now, or that can't be opened, starts no preload whose end would call the next one.
    while (!queue_.isRunning()) {
        const LoadingQueue::Step next = queue_.takeNext();
        switch (next.kind) {
        case LoadingQueue::Step::Kind::Nothing:
            emit ranEmpty();
            return;
        case LoadingQueue::Step::Kind::Preload:
            startPreload(next.id);
            break;
        case LoadingQueue::Step::Kind::OpenForSession:
            if (const int id = openSessionDataset(next.path); id >= 0) {
                emit openedForSession(next.sessionIndex, id);
            }
            break;
        case LoadingQueue::Step::Kind::Open:
            open(next.path);
            break;
        }
    }
}

void DatasetLoader::stop() {
    const bool ran = queue_.isRunning();
    if (ran) {
        preloadStop_.request_stop();
        preloadWatcher_.waitForFinished();
    }
    queue_.clear();
    if (ran) {
        emit preloadEnded();
    }
}

} // namespace Tessaly
