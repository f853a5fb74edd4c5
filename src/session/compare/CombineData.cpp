#include "session/compare/CombineData.h"

#include "core/DatasetEntry.h"
#include "core/FeatureCatalogue.h"
#include "core/ScaleMath.h"
#include "io/VQDReader.h"
#include "session/Session.h"
#include "session/compare/CombineModel.h"

#include <algorithm>
#include <cmath>
#include <cstddef>

namespace Tessaly {

namespace {

constexpr std::size_t MinDensityEvents = 4;

/// The events that pass, as Session::passingEvents() gives them, from columns that this job holds.
std::optional<std::vector<int>> passingEvents(const CombineSource& source) {
    if (!source.filter.isEnabled() || source.filter.ruleCount() < 1) {
        return std::nullopt;
    }
    std::vector<SharedColumn> held;
    ColumnMap columns;
    for (const std::string& feature : source.filter.requiredFeatures()) {
        if (isScalarFeature(feature)) {
            held.push_back(source.reader->column(feature));
            columns.emplace(feature, held.back().get());
        }
    }
    return source.filter.evaluate(columns, source.reader->eventCount());
}

void survey(AxisSurvey& axis, double value) {
    axis.range.add(value);
    if (value > 0.0) {
        axis.smallestPositive = std::min(axis.smallestPositive, value);
    } else {
        ++axis.notPositive;
    }
}

/// Gathers the finite pairs of the events that pass. Returns the number of events before the cleaning.
std::size_t gather(CombineData& data, const std::vector<double>& x, const std::vector<double>& y,
                   const std::optional<std::vector<int>>& passing) {
    const std::size_t length = std::min(x.size(), y.size());
    const std::size_t events = passing ? passing->size() : length;
    data.x.resize(events);
    data.y.resize(events);
    std::size_t kept = 0;
    for (std::size_t i = 0; i < events; ++i) {
        const std::size_t event = passing ? static_cast<std::size_t>((*passing)[i]) : i;
        if (event < length && std::isfinite(x[event]) && std::isfinite(y[event])) {
            data.x[kept] = x[event];
            data.y[kept] = y[event];
            survey(data.xSurvey, x[event]);
            survey(data.ySurvey, y[event]);
            ++kept;
        }
    }
    data.x.resize(kept);
    data.y.resize(kept);
    return events;
}

/// A density estimate and the scales it was made on.
struct Estimate {
    DensityGrid grid;
    std::vector<double> atEvents;
    int scaleX = 0;
    int scaleY = 0;
};

Estimate estimateOf(const CombineData& data, int scaleX, int scaleY) {
    std::vector<double> mappedX;
    std::vector<double> mappedY;
    const auto inAxisSpace = [](const std::vector<double>& values, int mode, std::vector<double>& mapped) {
        if (mode == ScaleMode::Linear) {
            return std::span<const double>(values);
        }
        mapped = transformValues(values, mode);
        return std::span<const double>(mapped);
    };
    const std::span<const double> x = inAxisSpace(data.x, scaleX, mappedX);
    const std::span<const double> y = inAxisSpace(data.y, scaleY, mappedY);
    Estimate estimate{kernelDensityGrid(x, y, 0), {}, scaleX, scaleY};
    estimate.atEvents = interpolateGrid(estimate.grid, x, y);
    return estimate;
}

/// Leaves out the events whose density is not finite.
void keepFinite(CombineData& data) {
    if (std::ranges::all_of(data.density, [](double value) { return std::isfinite(value); })) {
        return;
    }
    std::size_t kept = 0;
    for (std::size_t i = 0; i < data.density.size(); ++i) {
        if (std::isfinite(data.density[i])) {
            data.x[kept] = data.x[i];
            data.y[kept] = data.y[i];
            data.density[kept] = data.density[i];
            ++kept;
        }
    }
    data.x.resize(kept);
    data.y.resize(kept);
    data.density.resize(kept);
}

std::vector<ContourLevel> contoursOn(const CombineData& data, std::optional<Estimate>& estimate,
                                     const CombineSource& source, int scaleX, int scaleY) {
    if (data.x.size() < MinDensityEvents) {
        return {};
    }
    const bool known = estimate && estimate->scaleX == scaleX && estimate->scaleY == scaleY &&
                       estimate->atEvents.size() == data.x.size();
    if (!known) {
        estimate = estimateOf(data, scaleX, scaleY);
    }
    return contoursOfDensity(estimate->grid, estimate->atEvents, source.fractions, scaleX, scaleY);
}

} // namespace

std::vector<CombineSource> combineSources(const Session& session, const CombineModel& model) {
    const CombineOptions& options = model.options();
    std::vector<CombineSource> sources;
    for (const CombineDatasetSettings& row : model.datasets()) {
        CombineSource source;
        const DatasetEntry* entry = session.findById(row.datasetId);
        if (entry && entry->featuresLoaded && entry->reader && entry->reader->isOpen()) {
            source.reader = entry->reader;
            source.filter = session.buildEffectiveFilter(entry);
        }
        source.xFeatureName = row.xFeatureName;
        source.yFeatureName = row.yFeatureName;
        source.scaleXMode = row.scaleXMode;
        source.scaleYMode = row.scaleYMode;
        source.density = options.colorMode == CombineColor::Heatmap;
        source.fractions = {std::min(options.contourFraction1, options.contourFraction2),
                            std::max(options.contourFraction1, options.contourFraction2)};
        source.contours = options.contourMode != ContourMode::Off;
        if (options.displayMode == CombineDisplay::ArrayAndContour) {
            const CombineDatasetSettings& scales = options.syncAxes ? model.datasets().front() : row;
            source.overlayScales = {scales.scaleXMode, scales.scaleYMode};
        }
        sources.push_back(std::move(source));
    }
    return sources;
}

CombineData prepareCombineData(const CombineSource& source, const std::stop_token& stop) {
    CombineData data;
    if (!source.reader || stop.stop_requested()) {
        return data;
    }
    data.xLabel = QString::fromStdString(source.reader->featureLabel(source.xFeatureName));
    data.yLabel = QString::fromStdString(source.reader->featureLabel(source.yFeatureName));
    if (!isScalarFeature(source.xFeatureName) || !isScalarFeature(source.yFeatureName)) {
        return data;
    }
    const SharedColumn x = source.reader->column(source.xFeatureName);
    const SharedColumn y = source.reader->column(source.yFeatureName);
    if (x->empty() || y->empty()) {
        return data;
    }
    const std::size_t before = gather(data, *x, *y, passingEvents(source));
    if (stop.stop_requested()) {
        return data;
    }
    std::optional<Estimate> estimate;
    if (source.density && before >= MinDensityEvents) {
        if (data.x.size() < MinDensityEvents) {
            // Too few for an estimate: none of them has a density.
            data.x.clear();
            data.y.clear();
        } else {
            estimate = estimateOf(data, source.scaleXMode, source.scaleYMode);
            data.density = estimate->atEvents;
            keepFinite(data);
        }
    }
    if (source.contours && !stop.stop_requested()) {
        data.contours = contoursOn(data, estimate, source, source.scaleXMode, source.scaleYMode);
    }
    if (source.overlayScales && !stop.stop_requested()) {
        const auto [scaleX, scaleY] = *source.overlayScales;
        const bool same = source.contours && scaleX == source.scaleXMode && scaleY == source.scaleYMode;
        data.overlayContours = same ? data.contours : contoursOn(data, estimate, source, scaleX, scaleY);
    }
    return data;
}

PlotLimits automaticLimits(std::span<const std::shared_ptr<const CombineData>> data) {
    ValueRange x;
    ValueRange y;
    for (const auto& each : data) {
        x.add(each->xSurvey.range);
        y.add(each->ySurvey.range);
    }
    const auto margin = [](const ValueRange& range) {
        const double span = range.max - range.min;
        return span == 0.0 ? 1.0 : span * 0.05;
    };
    return {x.min - margin(x), x.max + margin(x), y.min - margin(y), y.max + margin(y)};
}

std::pair<double, double> drawableOnLogAxis(double lower, double upper, double smallestPositive) {
    const double smallest = std::isfinite(smallestPositive) ? smallestPositive : 1.0;
    const double from = lower > 0.0 ? lower : smallest;
    const double to = upper > 0.0 ? upper : smallest;
    // Nothing but one value to show: the decade above it.
    return from == to ? std::pair(from, from * 10.0) : std::pair(from, to);
}

} // namespace Tessaly
