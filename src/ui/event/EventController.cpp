#include "ui/event/EventController.h"

#include "core/DatasetEntry.h"
#include "io/VQDReader.h"
#include "plot/ImageViewer.h"
#include "plot/ScatterPlot.h"
#include "plot/TracePlot.h"
#include "session/FluorescenceSettings.h"
#include "session/PlotChoices.h"
#include "session/Session.h"
#include "ui/event/EventPanel.h"
#include "ui/event/ImageSaving.h"

#include <QSignalBlocker>
#include <QSpinBox>

#include <algorithm>
#include <limits>
#include <map>

namespace Tessaly {

EventController::EventController(Session& session, ScatterPlot& plot, EventPanel& panel, QSpinBox& eventNumber,
                                 QObject* parent)
    : QObject(parent),
      session_(session),
      plot_(plot),
      panel_(panel),
      eventNumber_(eventNumber) {
    connect(&plot_, &ScatterPlot::pointClicked, this, &EventController::onPointClicked);
    connect(&eventNumber_, &QSpinBox::valueChanged, this, &EventController::onEventNumberChanged);
    connect(panel_.imageViewer(), &ImageViewer::showMaskToggled, this, &EventController::onMaskToggled);
    connect(panel_.imageViewer(), &ImageViewer::saveRequested, this,
            [this] { saveImageOf(*panel_.imageViewer(), &panel_); });
    connect(&session_.notices(), &SessionNotices::activeChanged, this, &EventController::onActiveChanged);
    connect(&session_.notices(), &SessionNotices::datasetReady, this, [this](int id) {
        if (id == session_.activeId()) {
            onActiveChanged();
        }
    });
    reset();
}

void EventController::onActiveChanged() {
    DatasetEntry* dataset = session_.active();
    if (!dataset) {
        reset();
    } else if (dataset->featuresLoaded) {
        setDataset(*dataset);
    } else {
        clear();
    }
}

void EventController::setDataset(DatasetEntry& dataset) {
    frame_ = nullptr;
    panel_.tracePlot()->clearTraces();
    panel_.clearValues();
    VQDReader& reader = *dataset.reader;
    const int count = static_cast<int>(
        std::min<std::uint64_t>(reader.eventCount(), static_cast<std::uint64_t>(std::numeric_limits<int>::max())));
    if (dataset.currentEventIndex < 0 || dataset.currentEventIndex >= count) {
        dataset.currentEventIndex = 0;
    }
    {
        const QSignalBlocker blocker(eventNumber_);
        eventNumber_.setRange(0, std::max(count - 1, 0));
        eventNumber_.setValue(dataset.currentEventIndex);
        eventNumber_.setEnabled(count > 0);
    }
    panel_.imageViewer()->setMaskControlEnabled(reader.hasMask());
    setupTraces(dataset);
}

void EventController::setupTraces(const DatasetEntry& dataset) {
    const FluorescenceSettings channels = fluorescenceSettingsOf(dataset.metadata);
    TracePlot* traces = panel_.tracePlot();
    traces->setupChannels(channels.channelNames, channels.offsets, channels.sampleRate, dataset.reader->traceNames(),
                          refinedTraces_);
    traces->setVisible(traces->hasChannels());
}

void EventController::showRefinedTraces(bool on) {
    refinedTraces_ = on;
    reload();
}

void EventController::reload() {
    const DatasetEntry* dataset = session_.active();
    if (dataset && dataset->featuresLoaded && dataset->reader->isOpen()) {
        setupTraces(*dataset);
        showCurrentEvent();
    }
}

void EventController::clear() {
    frame_ = nullptr;
    eventNumber_.setEnabled(false);
    panel_.imageViewer()->clearImage();
    panel_.imageViewer()->setMaskControlEnabled(false);
    panel_.tracePlot()->clearTraces();
    panel_.clearValues();
}

void EventController::reset() {
    clear();
    panel_.tracePlot()->hide();
    const QSignalBlocker blocker(eventNumber_);
    eventNumber_.setRange(0, 0);
}

void EventController::placeSelection(const PlotFrame& frame) {
    frame_ = &frame;
    DatasetEntry* dataset = session_.active();
    if (!dataset) {
        return;
    }
    const int plotIndex = frame.plotIndexOf(dataset->currentEventIndex);
    if (plotIndex >= 0) {
        plot_.highlightPoint(plotIndex);
        return;
    }
    plot_.clearHighlight();
    if (frame.someLeftOut && !frame.visibleIndices.empty()) {
        choose(frame.visibleIndices.front(), 0);
    }
}

void EventController::showCurrentEvent() {
    DatasetEntry* dataset = session_.active();
    if (!dataset || !dataset->reader->hasImage() || dataset->currentEventIndex < 0) {
        panel_.imageViewer()->clearImage();
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
    if (!dataset || !dataset->featuresLoaded || event < 0 ||
        static_cast<std::uint64_t>(event) >= dataset->reader->eventCount()) {
        return;
    }
    dataset->currentEventIndex = event;
    if (!dataset->reader->hasImage()) {
        return;
    }
    // Pictures can be looked at even if nothing could be plotted.
    choose(event, frame_ ? frame_->plotIndexOf(event) : -1);
}

void EventController::finishTyping() {
    eventNumber_.interpretText();
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
    plot_.highlightPoint(plotIndex);
    showEvent(dataset, event);
}

void EventController::setEventNumber(int event) {
    const QSignalBlocker blocker(eventNumber_);
    eventNumber_.setValue(event);
}

void EventController::showEvent(DatasetEntry& dataset, int event) {
    showPicture(dataset, event);
    showTraces(dataset, event);
    showValues(dataset, event);
}

void EventController::showPicture(DatasetEntry& dataset, int event) {
    ImageViewer* viewer = panel_.imageViewer();
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
    TracePlot* plot = panel_.tracePlot();
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
    for (const std::string& key : scalarFeatureNames(reader)) {
        EventValue row{QString::fromStdString(key), QString::fromStdString(reader.featureLabel(key)), QString()};
        if (const std::optional<double> value = reader.valueAt(key, index)) {
            row.value = QString::number(*value, 'g', 6);
        }
        values.push_back(row);
    }
    panel_.setValues(values);
}

} // namespace Tessaly
