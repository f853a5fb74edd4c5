#include "DemoRun.h"

#include "EventMaker.h"

#include "io/VQDReader.h"

#include <algorithm>
#include <cmath>
#include <future>
#include <limits>
#include <vector>

namespace Tessaly {

namespace {

double medianOf(std::vector<double> values) {
    if (values.empty()) {
        return std::numeric_limits<double>::quiet_NaN();
    }
    const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    return *middle;
}

void writeExperiment(DemoFile& file, const DemoRun& run) {
    file.setAttribute("experiment:sample", run.sample);
    file.setAttribute("experiment:run index", run.runIndex);
    file.setAttribute("experiment:date", run.date);
    file.setAttribute("experiment:time", run.time);
    file.setAttribute("experiment:event count", static_cast<std::int64_t>(run.events));

    file.setAttribute("setup:module composition", std::string("Vortiq One, Fluorescence 3"));
    file.setAttribute("setup:chip region", std::string(run.reservoir ? "reservoir" : "channel"));
    file.setAttribute("setup:chip identifier", std::string("F2-A31"));
    file.setAttribute("setup:channel width", EventMaker::ChannelWidth);
    file.setAttribute("setup:flow rate", EventMaker::FlowRate);
    file.setAttribute("setup:flow rate sample", 0.25 * EventMaker::FlowRate);
    file.setAttribute("setup:flow rate sheath", 0.75 * EventMaker::FlowRate);
    file.setAttribute("setup:medium", std::string("SorvexB"));
    file.setAttribute("setup:temperature", run.temperature);
    file.setAttribute("setup:software version", std::string("Demo data"));
}

void writeOptics(DemoFile& file, bool withTraces) {
    file.setAttribute("imaging:pixel size", EventMaker::PixelSize);
    file.setAttribute("imaging:frame rate", EventMaker::FrameRate);
    file.setAttribute("imaging:flash duration", 2.0);
    file.setAttribute("imaging:roi size x", static_cast<std::int64_t>(EventMaker::Frame.width));
    file.setAttribute("imaging:roi size y", static_cast<std::int64_t>(EventMaker::Frame.height));

    file.setAttribute("fluorescence:channel count", std::int64_t{3});
    file.setAttribute("fluorescence:bit depth", std::int64_t{16});
    file.setAttribute("fluorescence:sample rate", TraceMaker::SampleRate);
    if (withTraces) {
        file.setAttribute("fluorescence:samples per event", static_cast<std::int64_t>(TraceMaker::Samples));
    }
    const std::array<const char*, 3> filters{"525/50", "593/46", "700/75"};
    const std::array<double, 3> lasers{488.0, 561.0, 640.0};
    for (std::size_t k = 0; k < 3; ++k) {
        const std::string number = std::to_string(k + 1);
        file.setAttribute("fluorescence:channel " + number + " name", std::string(filters[k]));
        file.setAttribute("fluorescence:baseline " + number + " offset", TraceMaker::Offsets[k]);
        file.setAttribute("fluorescence:laser " + number + " lambda", lasers[k]);
        file.setAttribute("fluorescence:laser " + number + " power", 8.0);
    }
}

void writeOnlineSettings(DemoFile& file) {
    file.setAttribute("online_contour:bin area min", std::int64_t{10});
    file.setAttribute("online_contour:bin threshold", std::int64_t{-6});
    file.setAttribute("online_contour:image blur", std::int64_t{0});
    file.setAttribute("online_contour:no absdiff", std::int64_t{1});

    const auto softLimit = [&file](const std::string& feature, double low, double high) {
        file.setAttribute("online_filter:" + feature + " min", low);
        file.setAttribute("online_filter:" + feature + " max", high);
        file.setAttribute("online_filter:" + feature + " soft limit", std::int64_t{1});
    };
    softLimit("area_um", 20.0, 250.0);
    softLimit("area_ratio", 1.0, 1.1);
    file.setAttribute("online_filter:size_x max", 60.0);
    file.setAttribute("online_filter:size_x soft limit", std::int64_t{0});
    file.setPolygon("online_filter:area_um,deform polygon points",
                    {22.0F, 0.002F, 140.0F, 0.002F, 240.0F, 0.05F, 200.0F, 0.16F, 60.0F, 0.16F, 22.0F, 0.08F});
    file.setAttribute("online_filter:area_um,deform soft limit", std::int64_t{1});
}

void writeExport(DemoFile& file, const DemoRun& run) {
    if (run.changedSampleName.empty()) {
        return;
    }
    file.setAttribute("export:date", run.date);
    file.setAttribute("export:event count", std::to_string(run.events));
    file.setAttribute("export:changed sample name", run.changedSampleName);
    file.setAttribute("offline_filter:area_ratio min", std::string("1.000000"));
    file.setAttribute("offline_filter:area_ratio max", std::string("1.200000"));
}

} // namespace

KindMedians writeDemoRun(const std::string& path, const DemoRun& run, EModulus& engine) {
    const EventMaker maker(run, engine);
    DemoFile file(path, run.events, run.images ? EventMaker::Frame : FrameSize{}, TraceMaker::Samples);
    writeExperiment(file, run);
    writeOptics(file, run.images);
    writeOnlineSettings(file);
    writeExport(file, run);

    const std::size_t batchSize = run.images ? 128 : 8192;
    std::array<std::vector<double>, 2> moduli;
    const auto start = [&](std::size_t first) {
        return std::async(std::launch::async, [&maker, first, count = std::min(batchSize, run.events - first)] {
            return maker.make(first, count);
        });
    };
    std::future<MadeEvents> next;
    if (run.events > 0) {
        next = start(0);
    }
    // The next events are made while these are compressed.
    for (std::size_t first = 0; first < run.events; first += batchSize) {
        const MadeEvents made = next.get();
        if (first + batchSize < run.events) {
            next = start(first + batchSize);
        }
        file.write(made.batch);
        for (std::size_t k = 0; k < moduli.size(); ++k) {
            moduli[k].insert(moduli[k].end(), made.moduli[k].begin(), made.moduli[k].end());
        }
    }
    file.finish();
    return {medianOf(std::move(moduli[0])), medianOf(std::move(moduli[1]))};
}

KindMedians computedMedians(const std::string& path, EModulus& engine) {
    VQDReader reader;
    KindMedians medians{std::numeric_limits<double>::quiet_NaN(), std::numeric_limits<double>::quiet_NaN()};
    if (!reader.open(path) || !engine.compute(&reader, emodulusParamsFor(reader.readMetadata(), false, 0.0))) {
        return medians;
    }
    const std::vector<double>& modulus = reader.getFeature("emodulus");
    const std::vector<double>& kind = reader.getFeature("userdef9");
    for (std::size_t k = 0; k < medians.size(); ++k) {
        std::vector<double> values;
        for (std::size_t i = 0; i < modulus.size(); ++i) {
            if (kind[i] == static_cast<double>(k + 1) && !std::isnan(modulus[i])) {
                values.push_back(modulus[i]);
            }
        }
        medians[k] = medianOf(std::move(values));
    }
    return medians;
}

} // namespace Tessaly
