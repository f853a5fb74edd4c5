#include "ui/DatasetLoader.h"

#include "core/DatasetEntry.h"
#include "io/VQDReader.h"
#include "session/DatasetOpening.h"
#include "session/Session.h"

#include <QDebug>
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
}

DatasetLoader::~DatasetLoader() {
    preloadStop_.request_stop();
}

void DatasetLoader::open(const QString& path) {
    if (const DatasetEntry* existing = session_.findByPath(path.toStdString())) {
        emit currentRowRequested(session_.rowOf(existing->id));
        return;
    }
    if (queue_.isRunning()) {
        queue_.queuePath(path);
        return;
    }
    std::unique_ptr<DatasetEntry> entry = session_.newEntry();
    switch (openMeasurement(path, *entry)) {
    case OpenOutcome::Unreadable:
        qWarning() << "Failed to open" << path;
        QMessageBox::critical(window_, tr("Error"), tr("Failed to open: %1").arg(path));
        return;
    case OpenOutcome::Unsupported:
        qWarning() << "Not a measurement of the instrument:" << path;
        if (!std::exchange(unsupportedDataWarned_, true)) {
            QMessageBox::warning(window_, tr("Unsupported Data"),
                                 tr("The data does not seem to originate from a ORVANE INSTRUMENTS Vortiq.\n"
                                    "Tessaly is not designed to handle this data."));
        }
        return;
    case OpenOutcome::Opened:
        break;
    }
    const int row = session_.append(std::move(entry));
    emit datasetAppended(row);
    startPreload(row);
    emit currentRowRequested(row);
}

void DatasetLoader::startPreload(int row) {
    if (!queue_.startOrQueue(row)) {
        return;
    }
    const DatasetEntry& entry = *session_.datasetAt(row);
    emit preloadStarted(entry.displayName);
    preloadStop_ = std::stop_source();
    // The task shares the reader, so that neither a cleared session nor the end of the window leaves it dangling.
    preloadWatcher_.setFuture(QtConcurrent::run(cacheColumns, entry.reader, preloadStop_.get_token()));
}

void DatasetLoader::onFeaturesLoaded() {
    if (!queue_.isRunning()) {
        return; // stopped meanwhile
    }
    // Posted first: the queue goes on even if showing the dataset fails.
    QTimer::singleShot(0, this, &DatasetLoader::startNext);
    const int row = queue_.finish();
    if (DatasetEntry* entry = session_.datasetAt(row)) {
        entry->featuresLoaded = true;
        emit preloadFinished(row);
    }
}

void DatasetLoader::startNext() {
    bool wasOpen = true;
    while (wasOpen) { // a path that is open by now starts no preload whose end would call the next one
        const LoadingQueue::Step next = queue_.takeNext();
        wasOpen = next.kind == LoadingQueue::Step::Kind::Open && session_.findByPath(next.path.toStdString());
        if (next.kind == LoadingQueue::Step::Kind::Preload) {
            startPreload(next.row);
        } else if (next.kind == LoadingQueue::Step::Kind::Open) {
            open(next.path);
        }
    }
}

void DatasetLoader::stop() {
    if (queue_.isRunning()) {
        preloadStop_.request_stop();
        preloadWatcher_.waitForFinished();
    }
    queue_.clear();
}

} // namespace Tessaly
