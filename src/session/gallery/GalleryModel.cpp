#include "session/gallery/GalleryModel.h"

#include "session/Session.h"

#include <QDebug>
#include <QtConcurrent/QtConcurrentRun>

#include <algorithm>
#include <exception>
#include <numeric>
#include <utility>

namespace Tessaly {

namespace {

constexpr double UsualPixelSizeUm = 0.34;
constexpr int UsualCutout = 64;

double pixelSizeOf(const DatasetEntry& dataset) {
    const double size = metadataNumber(dataset.metadata.imaging, "pixel size").value_or(0.0);
    return size > 0.0 ? size : UsualPixelSizeUm;
}

int sideFrom(VQDReader& reader, const char* feature, const GalleryState& state) {
    if (!reader.hasFeature(feature)) {
        return 0;
    }
    return cutoutSide(reader.getFeature(feature), state.eventIds, state.pixelSizeUm, state.marginPx);
}

// Run on a pool thread: nothing may escape from here.
GalleryRenderResult renderGuarded(const GalleryRenderInput& input) {
    try {
        return renderGalleryPage(input);
    } catch (const std::exception& error) {
        qCritical() << "A gallery page failed:" << error.what();
        return {{}, false, input.generation};
    }
}

GalleryAutoContrastResult findContrastGuarded(const std::shared_ptr<VQDReader>& reader, std::vector<int> events,
                                              int generation) {
    try {
        return findAutoContrast(*reader, std::move(events), generation);
    } catch (const std::exception& error) {
        qCritical() << "A gallery's contrast failed:" << error.what();
        return {0, 255, generation};
    }
}

} // namespace

GalleryModel::GalleryModel(Session& session, QObject* parent) : QObject(parent), session_(session) {
    connect(&renderWatcher_, &QFutureWatcherBase::finished, this, &GalleryModel::onPageRenderFinished);
    connect(&autoWatcher_, &QFutureWatcherBase::finished, this, &GalleryModel::onAutoContrastFinished);
    newsTimer_.setSingleShot(true);
    newsTimer_.setInterval(0);
    connect(&newsTimer_, &QTimer::timeout, this, &GalleryModel::refreshAfterNews);
    listenToNews();
    setDataset(session_.activeId());
}

GalleryModel::~GalleryModel() = default;

void GalleryModel::listenToNews() {
    const SessionNotices& news = session_.notices();
    connect(&news, &SessionNotices::activeChanged, this, [this](int id) {
        if (state_.followActive && id >= 0 && id != state_.datasetId && !stopped_) {
            setDataset(id);
        }
    });
    connect(&news, &SessionNotices::datasetReady, this, [this](int id) {
        if (id == state_.datasetId && !stopped_) {
            setDataset(id);
        }
    });
    connect(&news, &SessionNotices::datasetRenamed, this, [this](int id) {
        if (id == state_.datasetId && !stopped_) {
            state_.datasetName = dataset()->displayName;
            emit datasetShown();
        }
    });
    connect(&news, &SessionNotices::datasetRemoved, this, [this](int id) {
        if (id == state_.datasetId && !stopped_) {
            emit datasetGone();
        }
    });
    connect(&news, &SessionNotices::eventsChanged, this, [this] {
        filterChanged_ = true;
        newsTimer_.start();
    });
    // A rule may ask for a column that has just been computed.
    connect(&news, &SessionNotices::columnsChanged, this, [this](int id) {
        if (id == state_.datasetId) {
            newsTimer_.start();
        }
    });
}

DatasetEntry* GalleryModel::dataset() const {
    return session_.findById(state_.datasetId);
}

/// The reader of a dataset that is loaded; null if there is nothing to read.
std::shared_ptr<VQDReader> GalleryModel::usableReader() const {
    const DatasetEntry* shown = dataset();
    return shown && shown->featuresLoaded && shown->reader && shown->reader->isOpen() ? shown->reader : nullptr;
}

int GalleryModel::pageCount() const {
    return static_cast<int>((static_cast<std::int64_t>(state_.eventIds.size()) + state_.pageSize - 1) /
                            state_.pageSize);
}

bool GalleryModel::hasImages() const {
    const std::shared_ptr<VQDReader> reader = usableReader();
    return !reader || reader->hasImage();
}

QString GalleryModel::nameText() const {
    if (dataset()) {
        return state_.datasetName;
    }
    return state_.datasetId < 0 ? tr("(no dataset)") : tr("(dataset not found)");
}

QString GalleryModel::pageText() const {
    return state_.eventIds.empty() ? tr("0 / 0") : tr("%1 / %2").arg(state_.page + 1).arg(pageCount());
}

QString GalleryModel::statusText() const {
    if (state_.eventIds.empty()) {
        return tr("No events to display.");
    }
    if (waitingForContrast_) {
        return tr("Computing auto-contrast…");
    }
    if (rendering_) {
        return tr("Rendering…");
    }
    if (tooLarge_) {
        return tr("Cutouts of %1 × %2 px are too large for a page of %3.")
            .arg(state_.cutoutW)
            .arg(state_.cutoutH)
            .arg(state_.pageSize);
    }
    return tr("%1 events · cutout %2 × %3 px").arg(state_.eventIds.size()).arg(state_.cutoutW).arg(state_.cutoutH);
}

std::vector<int> GalleryModel::passingEvents() const {
    const std::shared_ptr<VQDReader> reader = usableReader();
    if (!reader) {
        return {};
    }
    if (std::optional<std::vector<int>> passing = session_.passingEvents(*dataset())) {
        return *std::move(passing);
    }
    std::vector<int> all(reader->eventCount());
    std::iota(all.begin(), all.end(), 0);
    return all;
}

void GalleryModel::setDataset(int id) {
    state_.datasetId = id;
    const DatasetEntry* shown = dataset();
    state_.datasetName = shown ? shown->displayName : QString();
    if (shown) {
        state_.pixelSizeUm = pixelSizeOf(*shown);
    }
    newsTimer_.stop();
    filterChanged_ = false;
    refreshEvents(passingEvents());
    emit datasetShown();
}

void GalleryModel::refreshAfterNews() {
    const bool filterChanged = std::exchange(filterChanged_, false);
    if (stopped_) {
        return;
    }
    std::vector<int> events = passingEvents();
    if (filterChanged || events != state_.eventIds) {
        refreshEvents(std::move(events));
    }
}

void GalleryModel::refreshEvents(std::vector<int> events) {
    state_.eventIds = std::move(events);
    state_.page = 0;
    state_.autoValid = false;
    ++state_.autoGeneration;
    if (state_.autoCutout) {
        updateCutout();
    }
    requestRender();
}

void GalleryModel::updateCutout() {
    const std::shared_ptr<VQDReader> reader = usableReader();
    int width = 0;
    int height = 0;
    if (reader) {
        width = sideFrom(*reader, "size_x", state_);
        height = sideFrom(*reader, "size_y", state_);
        if ((width < 1 || height < 1) && !state_.eventIds.empty()) {
            int imageWidth = 0;
            int imageHeight = 0;
            reader->getImage(static_cast<std::size_t>(state_.eventIds.front()), &imageWidth, &imageHeight);
            width = width < 1 ? std::min(imageWidth, LongestCutoutSide) : width;
            height = height < 1 ? std::min(imageHeight, LongestCutoutSide) : height;
        }
    }
    const auto settled = [](int side) { return side < 1 ? UsualCutout : side + side % 2; };
    state_.cutoutW = settled(width);
    state_.cutoutH = settled(height);
}

void GalleryModel::setPage(int page) {
    page = std::clamp(page, 0, std::max(pageCount() - 1, 0));
    if (page != state_.page) {
        state_.page = page;
        requestRender();
    }
}

void GalleryModel::setPageSize(int events) {
    state_.pageSize = events;
    state_.page = 0;
    requestRender();
}

void GalleryModel::setAutoCutout(bool on) {
    state_.autoCutout = on;
    if (on) {
        updateCutout();
        requestRender();
    }
}

void GalleryModel::setCutout(int width, int height) {
    if (!state_.autoCutout) {
        state_.cutoutW = width;
        state_.cutoutH = height;
        requestRender();
    }
}

void GalleryModel::setMargin(int pixels) {
    state_.marginPx = pixels;
    if (state_.autoCutout) {
        updateCutout();
        requestRender();
    }
}

void GalleryModel::setContrastMode(GalleryContrast mode, int lo, int hi) {
    state_.contrastMode = mode;
    if (mode == GalleryContrast::Manual) {
        state_.manualLo = lo;
        state_.manualHi = hi;
    }
    requestRender();
}

void GalleryModel::setManualContrast(int lo, int hi) {
    state_.manualLo = lo;
    state_.manualHi = hi;
    if (state_.contrastMode == GalleryContrast::Manual) {
        requestRender();
    }
}

void GalleryModel::setFollowActive(bool on) {
    state_.followActive = on;
    if (on && session_.active() && session_.activeId() != state_.datasetId) {
        setDataset(session_.activeId());
    }
}

void GalleryModel::setShowIds(bool on) {
    state_.showIds = on;
    requestRender();
}

/// Asks for the present page. Whatever is still being made for another one is stale from here on.
void GalleryModel::requestRender() {
    ++state_.renderGeneration;
    tooLarge_ = false;
    const std::shared_ptr<VQDReader> reader = usableReader();
    startAutoContrastIfNeeded(reader);
    waitingForContrast_ =
        reader && !state_.eventIds.empty() && state_.contrastMode == GalleryContrast::Auto && !state_.autoValid;
    if (waitingForContrast_ || !startRender(reader)) {
        emptyPage();
    }
    emit changed();
}

/// Starts making the page, or notes that it has to be made next. Returns false if there is no page to be made.
bool GalleryModel::startRender(const std::shared_ptr<VQDReader>& reader) {
    const auto begin = static_cast<std::size_t>(state_.pageSize) * static_cast<std::size_t>(state_.page);
    if (!reader || state_.cutoutW < 1 || state_.cutoutH < 1 || begin >= state_.eventIds.size()) {
        return false;
    }
    if (rendering_) {
        state_.rerenderPending = true;
        return true;
    }
    const std::size_t end = std::min(begin + static_cast<std::size_t>(state_.pageSize), state_.eventIds.size());
    GalleryRenderInput input;
    input.datasetName = state_.datasetName.toStdString();
    input.reader = reader;
    input.eventIds.assign(state_.eventIds.begin() + static_cast<std::ptrdiff_t>(begin),
                          state_.eventIds.begin() + static_cast<std::ptrdiff_t>(end));
    input.cutoutW = state_.cutoutW;
    input.cutoutH = state_.cutoutH;
    input.pixelSizeUm = state_.pixelSizeUm;
    input.contrastMode = static_cast<int>(state_.contrastMode);
    if (state_.contrastMode == GalleryContrast::Auto) {
        input.lo = state_.autoLo;
        input.hi = state_.autoHi;
    } else if (state_.contrastMode == GalleryContrast::Manual) {
        input.lo = state_.manualLo;
        input.hi = state_.manualHi;
    }
    input.generation = state_.renderGeneration;
    state_.rerenderPending = false;
    rendering_ = true;
    renderWatcher_.setFuture(
        QtConcurrent::run(QThreadPool::globalInstance(), [input = std::move(input)] { return renderGuarded(input); }));
    return true;
}

void GalleryModel::emptyPage() {
    auto page = std::make_shared<GalleryRenderResult>();
    page->generation = state_.renderGeneration;
    emit pageMade(page);
}

void GalleryModel::onPageRenderFinished() {
    rendering_ = false;
    if (stopped_) {
        return;
    }
    if (renderWatcher_.future().resultCount() > 0) {
        auto page = std::make_shared<GalleryRenderResult>(renderWatcher_.future().takeResult());
        if (page->generation == state_.renderGeneration) {
            tooLarge_ = page->tooLarge;
            emit pageMade(page);
        }
    }
    if (std::exchange(state_.rerenderPending, false)) {
        requestRender();
    } else {
        emit changed();
    }
}

void GalleryModel::startAutoContrastIfNeeded(const std::shared_ptr<VQDReader>& reader) {
    if (state_.contrastMode != GalleryContrast::Auto || state_.autoValid || state_.autoRunning || !reader ||
        state_.eventIds.empty()) {
        return;
    }
    ++state_.autoGeneration;
    state_.autoRunning = true;
    autoWatcher_.setFuture(
        QtConcurrent::run(QThreadPool::globalInstance(),
                          [reader, events = state_.eventIds, generation = state_.autoGeneration]() mutable {
                              return findContrastGuarded(reader, std::move(events), generation);
                          }));
}

void GalleryModel::onAutoContrastFinished() {
    state_.autoRunning = false;
    if (stopped_) {
        return;
    }
    const GalleryAutoContrastResult found = autoWatcher_.result();
    if (found.generation == state_.autoGeneration) {
        state_.autoLo = found.lo;
        state_.autoHi = found.hi;
        state_.autoValid = true;
        emit autoContrastFound();
        if (state_.contrastMode == GalleryContrast::Auto) {
            requestRender();
        }
    } else {
        // The events have changed since: another one, if it is still wanted.
        startAutoContrastIfNeeded(usableReader());
    }
}

void GalleryModel::stop() {
    stopped_ = true;
    newsTimer_.stop();
    // A future whose result was taken never counts as finished again.
    if (rendering_) {
        renderWatcher_.cancel();
        renderWatcher_.waitForFinished();
    }
}

} // namespace Tessaly
