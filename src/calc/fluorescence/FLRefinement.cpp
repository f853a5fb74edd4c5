#include "calc/fluorescence/FLRefinement.h"

#include "calc/fluorescence/FLChannels.h"
#include "calc/fluorescence/PeakSearch.h"
#include "core/VQDMetadata.h"
#include "io/EventSeries.h"
#include "io/VQDReader.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <limits>
#include <map>
#include <optional>
#include <string_view>
#include <system_error>
#include <utility>

namespace Tessaly {

namespace {

constexpr double NaN = std::numeric_limits<double>::quiet_NaN();
constexpr double robustScale = 1.4826; ///< of a median absolute deviation to a standard one

/// Channel number in a key such as "baseline 1 offset" or "baseline_1_offset".
std::optional<int> offsetChannelOf(std::string_view key) {
    const bool blanks = key.starts_with("baseline ") && key.find(" offset") != key.npos;
    const bool underscores = key.starts_with("baseline_") && key.find("_offset") != key.npos;
    int channel = 0;
    constexpr std::size_t numberAt = 9;
    if ((!blanks && !underscores) ||
        std::from_chars(key.data() + numberAt, key.data() + key.size(), channel).ec != std::errc()) {
        return std::nullopt;
    }
    return channel;
}

/// Where a key is there in both spellings, the one with blanks counts, as it does for the trace plot.
std::map<int, double> offsetsIn(const VQDMetadata& metadata) {
    std::map<int, double> offsets;
    for (const auto& [key, text] : metadata.fluorescence) {
        const auto channel = offsetChannelOf(key);
        const auto offset = numberIn(text);
        if (channel && offset) {
            offsets.emplace(*channel, *offset);
        }
    }
    return offsets;
}

double sampleTimeIn(const VQDMetadata& metadata) {
    for (const char* key : {"sample rate", "sample_rate"}) {
        const auto rate = metadataNumber(metadata.fluorescence, key);
        if (rate && *rate > 0.0) {
            return 1e6 / *rate;
        }
    }
    return 1e6;
}

double channelCentreOf(VQDReader& reader, const VQDMetadata& metadata) {
    std::string text = metadataValue(metadata.imaging, "pixel size");
    if (text.empty()) {
        text = metadataValue(metadata.imaging, "pixel_size");
    }
    const double pixelSize = numberIn(text).value_or(0.0);
    if (!(pixelSize > 0.0) || !reader.hasImage()) {
        return 0.0;
    }
    int width = 0;
    int height = 0;
    reader.getImage(0, &width, &height);
    return width * 0.5 * pixelSize;
}

double valueAt(std::span<const double> column, std::size_t event) {
    return event < column.size() ? column[event] : NaN;
}

double medianOf(std::vector<double>& values) {
    const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    return *middle;
}

/// An event's distance from the channel's centre and the speed that it implies.
struct SpeedSample {
    double distance = 0.0;
    double speed = 0.0;
    std::size_t order = 0; ///< in which it was found: decides between equal distances
};

std::vector<SpeedSample> speedSamples(const FLRefinementPlan& plan, const FLRefinementColumns& columns) {
    constexpr double shortestTime = 1e-6;
    const auto middle = plan.traceLength / 2;
    const double centreTime = static_cast<double>(middle) * plan.sampleTime;
    std::vector<SpeedSample> samples;
    for (const auto& channel : columns.channels) {
        for (std::size_t i = 0; i < channel.heights.size(); ++i) {
            if (!(channel.heights[i] > plan.params.flMaxThreshold)) {
                continue;
            }
            const double distance = valueAt(columns.posX, i) - plan.channelCentre;
            const double time = valueAt(channel.positions, i) - centreTime;
            if (std::isfinite(distance) && std::isfinite(time) && !(std::fabs(time) < shortestTime)) {
                samples.push_back({std::fabs(distance), distance / time, samples.size()});
            }
        }
    }
    return samples;
}

/// Finds an event's window in the trace.
class WindowRule {
public:
    WindowRule(const FLRefinementPlan& plan, const FLRefinementColumns& columns)
        : plan_(plan),
          columns_(columns),
          speed_(estimateCellSpeed(plan, columns)) {}

    std::optional<SampleWindow> windowOf(std::size_t channel, std::size_t event) const {
        double centre = valueAt(columns_.channels[channel].positions, event) / plan_.sampleTime;
        double half = 0.05 * static_cast<double>(plan_.traceLength);
        if (speed_.speed > 0.0 && !columns_.posX.empty() && !columns_.sizeX.empty()) {
            const auto middleSample = plan_.traceLength / 2;
            const auto middle = static_cast<double>(middleSample);
            const double widening = std::min(speed_.spread / speed_.speed + 1.0, 1.5);
            centre = (valueAt(columns_.posX, event) - plan_.channelCentre) / (plan_.sampleTime * speed_.speed) + middle;
            half = valueAt(columns_.sizeX, event) / speed_.speed / plan_.sampleTime * 0.5 * widening;
        }
        return sampleWindow(centre - half, centre + half, plan_.traceLength);
    }

private:
    const FLRefinementPlan& plan_;
    const FLRefinementColumns& columns_;
    CellSpeed speed_;
};

/// The three columns of a channel while they are made.
struct ChannelPeaks {
    std::vector<double> heights, positions, widths;

    explicit ChannelPeaks(std::size_t events) : heights(events, 0.0), positions(events, NaN), widths(events, 0.0) {}
    void moveTo(ComputedColumns& columns, int channel) {
        const std::string prefix = "fl" + std::to_string(channel);
        columns.push_back({prefix + "_max_rf", std::move(heights)});
        columns.push_back({prefix + "_pos_rf", std::move(positions)});
        columns.push_back({prefix + "_width_rf", std::move(widths)});
    }
};

void noteUnreadable(StepResult& result, std::string problem) {
    if (result.unreadable++ == 0) {
        result.firstProblem = std::move(problem);
    }
}

} // namespace

CellSpeed estimateCellSpeed(const FLRefinementPlan& plan, const FLRefinementColumns& columns) {
    if (columns.posX.empty() || !(plan.channelCentre > 0.0) || plan.traceLength == 0) {
        return {};
    }
    std::vector<SpeedSample> samples = speedSamples(plan, columns);
    if (samples.empty()) {
        return {};
    }
    const std::size_t kept = std::max<std::size_t>(samples.size() / 2, 1);
    std::nth_element(samples.begin(), samples.begin() + static_cast<std::ptrdiff_t>(kept - 1), samples.end(),
                     [](const SpeedSample& a, const SpeedSample& b) {
                         return a.distance != b.distance ? a.distance > b.distance : a.order < b.order;
                     });
    std::vector<double> speeds;
    for (std::size_t i = 0; i < kept; ++i) {
        speeds.push_back(samples[i].speed);
    }
    const double speed = medianOf(speeds);
    for (double& deviation : speeds) {
        deviation = std::fabs(deviation - speed);
    }
    return {speed > 0.0 ? speed : 0.0, robustScale * medianOf(speeds)};
}

FLRefinementPlan planRefinement(VQDReader& reader, const VQDMetadata& metadata, const FLRefinementParams& params) {
    FLRefinementPlan plan;
    plan.params = params;
    plan.events = reader.eventCount();
    plan.traceLength = reader.traceLength();
    plan.sampleTime = sampleTimeIn(metadata);
    plan.channelCentre = channelCentreOf(reader, metadata);
    const std::map<int, double> offsets = offsetsIn(metadata);
    const std::vector<std::string> traces = reader.traceNames();
    for (const int number : fluorescenceChannels(reader.featureNames())) {
        const auto offset = offsets.find(number);
        const bool hasTrace = std::ranges::find(traces, rawTraceName(number)) != traces.end();
        plan.channels.push_back({number, offset == offsets.end() ? 0.0 : offset->second, hasTrace});
    }
    return plan;
}

void installRefinedTraces(VQDReader& reader, const FLRefinementPlan& plan) {
    for (const auto& channel : plan.channels) {
        if (channel.hasTrace) {
            reader.addTraceAlias(refinedTraceName(channel.number), rawTraceName(channel.number));
        }
    }
    if (!plan.channels.empty()) {
        reader.setTraceProcessing(plan.params);
    }
}

StepResult refineFluorescence(const FLRefinementPlan& plan, const FLRefinementColumns& columns,
                              const RawTraceSource& traces, const StepControl& control) {
    constexpr std::size_t progressStep = 256;
    StepResult result;
    const std::size_t count = plan.channels.size();
    if (count == 0) {
        return result;
    }
    const WindowRule windows(plan, columns);
    for (std::size_t k = 0; k < count; ++k) {
        const FLRefinementPlan::Channel& channel = plan.channels[k];
        ChannelPeaks peaks(plan.events);
        for (std::size_t i = 0; i < plan.events; ++i) {
            if (control.isStopped()) {
                return result;
            }
            if (i % progressStep == 0) {
                control.report(k * 100 / count + 100 / count * i / plan.events);
            }
            peaks.positions[i] = valueAt(columns.channels[k].positions, i);
            const std::optional<SampleWindow> window = windows.windowOf(k, i);
            if (!window || !channel.hasTrace) {
                continue;
            }
            std::string problem;
            std::vector<float> trace = traces(channel.number, i, problem);
            if (trace.empty()) {
                noteUnreadable(result, std::move(problem));
            } else if (const auto peak =
                           findPeak(filteredTrace(std::move(trace), plan.params), *window, channel.offset)) {
                peaks.heights[i] = peak->height;
                peaks.positions[i] = static_cast<double>(peak->sample) * plan.sampleTime;
                peaks.widths[i] = static_cast<double>(peak->width) * plan.sampleTime;
            }
        }
        peaks.moveTo(result.columns, channel.number);
    }
    result.done = true;
    control.report(100);
    return result;
}

StepResult refineFluorescence(VQDReader& reader, const FLRefinementPlan& plan, const StepControl& control) {
    std::vector<SharedColumn> held;
    const auto columnOf = [&reader, &held](const std::string& name) {
        held.push_back(reader.column(name));
        return std::span<const double>(*held.back());
    };
    FLRefinementColumns columns{{}, columnOf("pos_x"), columnOf("size_x")};
    for (const auto& channel : plan.channels) {
        const std::string prefix = "fl" + std::to_string(channel.number);
        columns.channels.push_back({columnOf(prefix + "_max"), columnOf(prefix + "_pos")});
    }
    EventSeries series(reader);
    StepResult result = refineFluorescence(
        plan, columns,
        [&series](int channel, std::size_t event, std::string& problem) {
            return series.getTrace(rawTraceName(channel), event, &problem);
        },
        control);
    reportUnreadable("FLRefinement", "traces", result, reader.path());
    return result;
}

bool FLRefinement::refine(VQDReader* reader, const VQDMetadata& metadata, const FLRefinementParams& params) {
    StepControl control{{}, [this](int percent) { emit progressChanged(percent); }};
    {
        const std::lock_guard lock(stopMutex_);
        stop_ = std::stop_source();
        control.stop = stop_.get_token();
    }
    if (reader == nullptr) {
        return false;
    }
    const FLRefinementPlan plan = planRefinement(*reader, metadata, params);
    installRefinedTraces(*reader, plan);
    StepResult result = refineFluorescence(*reader, plan, control);
    installColumns(std::move(result.columns), *reader);
    return result.done;
}

void FLRefinement::cancel() {
    const std::lock_guard lock(stopMutex_);
    stop_.request_stop();
}

} // namespace Tessaly
