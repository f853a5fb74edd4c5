#include "ui/EventController.h"

#include "core/DatasetEntry.h"
#include "core/FeatureCatalogue.h"
#include "io/VQDReader.h"
#include "plot/ImageViewer.h"
#include "plot/ScatterPlot.h"
#include "plot/TracePlot.h"
#include "session/FluorescenceSettings.h"
#include "session/Session.h"
#include "ui/EventPanel.h"
#include "ui/ImageSaving.h"
#include "ui/MainPanels.h"

#include <QSignalBlocker>
#include <QSpinBox>

#include <algorithm>
#include <limits>
#include <map>

namespace Tessaly {

EventController::EventController(Session& session, const MainPanels& panels, QObject* parent)
    : QObject(parent),
      session_(session),
      panels_(panels) {
    connect(panels_.plot, &ScatterPlot::pointClicked, this, &EventController::onPointClicked);
    connect(panels_.eventNumber, &QSpinBox::valueChanged, this, &EventController::onEventNumberChanged);
    connect(panels_.event->imageViewer(), &ImageViewer::showMaskToggled, this, &EventController::onMaskToggled);
    connect(panels_.event->imageViewer(), &ImageViewer::saveRequested, this,
            [this] { saveImageOf(*panels_.event->imageViewer(), panels_.event); });
}

void EventController::setDataset(DatasetEntry& dataset) {
    frame_ = nullptr;
    panels_.event->tracePlot()->clearTraces();
    panels_.event->clearValues();
    VQDReader& reader = *dataset.reader;
    const int count = static_cast<int>(
        std::min<std::uint64_t>(reader.eventCount(), static_cast<std::uint64_t>(std::numeric_limits<int>::max())));
    if (dataset.currentEventIndex < 0 || dataset.currentEventIndex >= count) {
        dataset.currentEventIndex = 0;
    }
    {
        const QSignalBlocker blocker(panels_.eventNumber);
        panels_.eventNumber->setRange(0, std::max(count - 1, 0));
        panels_.eventNumber->setValue(dataset.currentEventIndex);
        panels_.eventNumber->setEnabled(count > 0);
    }
    panels_.event->imageViewer()->setMaskControlEnabled(reader.hasMask());
    const FluorescenceSettings channels = fluorescenceSettingsOf(dataset.metadata);
    TracePlot* traces = panels_.event->tracePlot();
    traces->setupChannels(channels.channelNames, channels.offsets, channels.sampleRate, reader.traceNames(), true);
    traces->setVisible(traces->hasChannels());
}

void EventController::clear() {
    frame_ = nullptr;
    panels_.eventNumber->setEnabled(false);
    panels_.event->imageViewer()->clearImage();
    panels_.event->imageViewer()->setMaskControlEnabled(false);
    panels_.event->tracePlot()->clearTraces();
    panels_.event->clearValues();
}

void EventController::reset() {
    clear();
    panels_.event->tracePlot()->hide();
    const QSignalBlocker blocker(panels_.eventNumber);
    panels_.eventNumber->setRange(0, 0);
}

void EventController::placeSelection(const PlotFrame& frame) {
    frame_ = &frame;
    DatasetEntry* dataset = session_.active();
    if (!dataset) {
        return;
    }
    const int plotIndex = frame.plotIndexOf(dataset->currentEventIndex);
    if (plotIndex >= 0) {
        panels_.plot->highlightPoint(plotIndex);
        return;
    }
    panels_.plot->clearHighlight();
    if (frame.reduced && !frame.visibleIndices.empty()) {
        choose(frame.visibleIndices.front(), 0);
    }
}

void EventController::showCurrentEvent() {
    DatasetEntry* dataset = session_.active();
    if (!dataset || !dataset->reader->hasImage() || dataset->currentEventIndex < 0) {
        panels_.event->imageViewer()->clearImage();
        return;
    }
    showEvent(*dataset, dataset->currentEventIndex);
}

void EventController::onPointClicked(int plotIndex) {
    DatasetEntry* dataset = session_.active();
    if (!dataset || !frame_ || !dataset->reader->hasImage()) {
        return;
    }
    const int event = frame_->eventAt(plotIndex);
    if (event < 0 || static_cast<std::uint64_t>(event) >= dataset->reader->eventCount()) {
        return;
    }
    choose(event, plotIndex);
}

void EventController::onEventNumberChanged(int event) {
    DatasetEntry* dataset = session_.active();
    if (!dataset || !dataset->featuresLoaded || !dataset->reader->hasImage() || event < 0 ||
        static_cast<std::uint64_t>(event) >= dataset->reader->eventCount()) {
        return;
    }
    // Pictures can be looked at even if nothing could be plotted.
    choose(event, frame_ ? frame_->plotIndexOf(event) : -1);
}

void EventController::onMaskToggled() {
    DatasetEntry* dataset = session_.active();
    if (dataset && dataset->featuresLoaded && dataset->currentEventIndex >= 0) {
        showEvent(*dataset, dataset->currentEventIndex);
    }
}

void EventController::choose(int event, int plotIndex) {
    DatasetEntry& dataset = *session_.active();
    dataset.currentEventIndex = event;
    setEventNumber(event);
    // An event that is not plotted has the index -1, which hides the highlight.
    panels_.plot->highlightPoint(plotIndex);
    showEvent(dataset, event);
}

void EventController::setEventNumber(int event) {
    const QSignalBlocker blocker(panels_.eventNumber);
    panels_.eventNumber->setValue(event);
}

void EventController::showEvent(DatasetEntry& dataset, int event) {
    showPicture(dataset, event);
    showTraces(dataset, event);
    showValues(dataset, event);
}

void EventController::showPicture(DatasetEntry& dataset, int event) {
    ImageViewer* viewer = panels_.event->imageViewer();
    VQDReader& reader = *dataset.reader;
    const auto index = static_cast<std::size_t>(event);
    int width = 0;
    int height = 0;
    const std::vector<std::uint8_t> image =
        reader.hasImage() ? reader.getImage(index, &width, &height) : std::vector<std::uint8_t>();
    if (image.empty()) {
        viewer->clearImage();
        return;
    }
    const QString title = tr("Event %1").arg(event);
    if (viewer->isMaskShown() && reader.hasMask()) {
        int maskWidth = 0;
        int maskHeight = 0;
        const std::vector<std::uint8_t> mask = reader.getMask(index, &maskWidth, &maskHeight);
        if (!mask.empty() && maskWidth == width && maskHeight == height) {
            viewer->setImageWithMask(image, mask, width, height, tr("%1 (with mask)").arg(title));
            return;
        }
    }
    viewer->setImage(image, width, height, title);
}

void EventController::showTraces(DatasetEntry& dataset, int event) {
    TracePlot* plot = panels_.event->tracePlot();
    VQDReader& reader = *dataset.reader;
    if (!reader.hasTraces() || !plot->hasChannels()) {
        plot->clearTraces();
        return;
    }
    std::map<std::string, std::vector<float>> traces;
    const std::vector<std::string> stored = reader.traceNames();
    for (const TraceChannel& channel : plot->channels()) {
        if (std::ranges::find(stored, channel.traceName) != stored.end()) {
            traces[channel.traceName] = reader.getTrace(channel.traceName, static_cast<std::size_t>(event));
        }
    }
    plot->setTraces(traces);
}

void EventController::showValues(DatasetEntry& dataset, int event) {
    std::vector<EventValue> values;
    VQDReader& reader = *dataset.reader;
    const auto index = static_cast<std::size_t>(event);
    for (const std::string& key : reader.featureNames()) {
        if (!isScalarFeature(key)) {
            continue;
        }
        EventValue row{QString::fromStdString(key), QString::fromStdString(reader.featureLabel(key)), QString()};
        if (const std::optional<double> value = reader.valueAt(key, index)) {
            row.value = QString::number(*value, 'g', 6);
        }
        values.push_back(row);
    }
    panels_.event->setValues(values);
}

} // namespace Tessaly
