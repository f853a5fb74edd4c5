#include "session/PlotFrame.h"

#include "core/DatasetEntry.h"
#include "core/FeatureCatalogue.h"
#include "core/ScaleMath.h"
#include "io/VQDReader.h"
#include "session/Session.h"

#include <QCoreApplication>
#include <QtConcurrent/QtConcurrentRun>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <limits>
#include <ranges>
#include <span>

namespace Tessaly {

namespace {

using Column = std::vector<double>;

const double missingValue = std::numeric_limits<double>::quiet_NaN();

/// A column of the dataset, or an empty one. Pictures are not columns.
const Column& columnOf(VQDReader& reader, const std::string& feature) {
    static const Column none;
    return isScalarFeature(feature) ? reader.getFeature(feature) : none;
}

/// The values of a column at the plotted events, each written once. An event that a short column does not reach has no
/// value there.
Column valuesAt(const Column& column, std::size_t events, const PlotFrame& frame) {
    const auto valueAt = [&column](std::size_t event) -> const double& {
        return event < column.size() ? column[event] : missingValue;
    };
    if (frame.someLeftOut) {
        const auto values = frame.visibleIndices | std::views::transform([&](int event) -> const double& {
                                return valueAt(static_cast<std::size_t>(event));
                            });
        return Column(values.begin(), values.end());
    }
    if (column.size() >= events) {
        return Column(column.begin(), column.begin() + static_cast<std::ptrdiff_t>(events));
    }
    Column values;
    values.reserve(events);
    values.assign(column.begin(), column.end());
    values.resize(events, missingValue);
    return values;
}

/// The plotted coordinates in axis space: `values` itself on a linear axis, else mapped into `mapped`.
std::span<const double> inAxisSpace(const Column& values, int mode, Column& mapped) {
    if (mode == ScaleMode::Linear) {
        return values;
    }
    mapped = transformValues(values, mode);
    return mapped;
}

bool allFinite(std::span<const double> values) {
    return std::ranges::all_of(values, [](double value) { return std::isfinite(value); });
}

void colorByDensity(PlotFrame& frame, const PlotSettings& settings) {
    Column mappedX;
    Column mappedY;
    const std::span<const double> x = inAxisSpace(frame.x, settings.scaleXMode, mappedX);
    const std::span<const double> y = inAxisSpace(frame.y, settings.scaleYMode, mappedY);
    const DensityMethod method = densityMethodOf(settings.colorFeatureName);
    if (method != DensityMethod::Kde || x.size() < 4 || !allFinite(x) || !allFinite(y)) {
        frame.color = computeDensity(x, y, method);
        return;
    }
    // What computeDensity() does when it has no event to leave out, with the grid kept.
    frame.density = {kernelDensityGrid(x, y, 0), settings.scaleXMode, settings.scaleYMode};
    frame.color = interpolateGrid(frame.density->grid, x, y);
}

void colorPoints(PlotFrame& frame, VQDReader& reader, const PlotSettings& settings, std::size_t events) {
    if (settings.colorFeatureName.empty()) {
        return;
    }
    if (isDensitySelector(settings.colorFeatureName)) {
        colorByDensity(frame, settings);
        frame.colorLabel = QCoreApplication::translate("Tessaly::PlotFrame", "Density");
        return;
    }
    const Column& column = columnOf(reader, settings.colorFeatureName);
    if (column.empty()) {
        return;
    }
    frame.color = valuesAt(column, events, frame);
    frame.colorLabel = QString::fromStdString(reader.featureLabel(settings.colorFeatureName));
}

/// Leaves out the points that have no finite place or colour. Moves nothing as long as all of them have.
void dropUndrawablePoints(PlotFrame& frame) {
    const std::size_t count = frame.x.size();
    const bool colored = !frame.color.empty();
    const auto isDrawable = [&](std::size_t i) {
        return std::isfinite(frame.x[i]) && std::isfinite(frame.y[i]) && (!colored || std::isfinite(frame.color[i]));
    };
    std::size_t kept = 0;
    while (kept < count && isDrawable(kept)) {
        ++kept;
    }
    if (kept == count) {
        return;
    }
    frame.density.reset();
    if (!frame.someLeftOut) {
        frame.visibleIndices.resize(count);
        std::ranges::copy(std::views::iota(0, static_cast<int>(count)), frame.visibleIndices.begin());
        frame.someLeftOut = true;
    }
    for (std::size_t i = kept + 1; i < count; ++i) {
        if (!isDrawable(i)) {
            continue;
        }
        frame.x[kept] = frame.x[i];
        frame.y[kept] = frame.y[i];
        if (colored) {
            frame.color[kept] = frame.color[i];
        }
        frame.visibleIndices[kept] = frame.visibleIndices[i];
        ++kept;
    }
    frame.x.resize(kept);
    frame.y.resize(kept);
    if (colored) {
        frame.color.resize(kept);
    }
    frame.visibleIndices.resize(kept);
}

int notOnLogAxis(const Column& values, int mode) {
    if (mode != ScaleMode::Log) {
        return 0;
    }
    return static_cast<int>(std::ranges::count_if(values, [](double value) { return value <= 0.0; }));
}

} // namespace

std::optional<int> PlotFrame::countIfReduced() const {
    return someLeftOut ? std::optional(static_cast<int>(visibleIndices.size())) : std::nullopt;
}

int PlotFrame::eventAt(int plotIndex) const {
    if (plotIndex < 0 || static_cast<std::size_t>(plotIndex) >= x.size()) {
        return -1;
    }
    return someLeftOut ? visibleIndices[static_cast<std::size_t>(plotIndex)] : plotIndex;
}

int PlotFrame::plotIndexOf(int event) const {
    if (!someLeftOut) {
        return event >= 0 && static_cast<std::size_t>(event) < x.size() ? event : -1;
    }
    const auto found = std::ranges::lower_bound(visibleIndices, event);
    return found != visibleIndices.end() && *found == event ? static_cast<int>(found - visibleIndices.begin()) : -1;
}

std::optional<PlotFrame> buildPlotFrame(const Session& session, const DatasetEntry& dataset,
                                        const PlotSettings& settings) {
    if (!dataset.reader) {
        return std::nullopt;
    }
    VQDReader& reader = *dataset.reader;
    const Column& xColumn = columnOf(reader, settings.xFeatureName);
    const Column& yColumn = columnOf(reader, settings.yFeatureName);
    if (xColumn.empty() || yColumn.empty()) {
        return std::nullopt;
    }

    PlotFrame frame;
    if (auto passing = session.passingEvents(dataset)) {
        frame.visibleIndices = std::move(*passing);
        frame.someLeftOut = true;
    }
    const std::size_t events = std::max(xColumn.size(), yColumn.size());
    // Fresh memory costs more than the copying: both cores fetch it. result() does the work itself if no thread is
    // free.
    QFuture<Column> y = QtConcurrent::run([&] { return valuesAt(yColumn, events, frame); });
    Column x = valuesAt(xColumn, events, frame);
    frame.y = y.takeResult();
    frame.x = std::move(x);
    frame.xLabel = QString::fromStdString(reader.featureLabel(settings.xFeatureName));
    frame.yLabel = QString::fromStdString(reader.featureLabel(settings.yFeatureName));
    colorPoints(frame, reader, settings, events);
    dropUndrawablePoints(frame);
    frame.xNotOnLogAxis = notOnLogAxis(frame.x, settings.scaleXMode);
    frame.yNotOnLogAxis = notOnLogAxis(frame.y, settings.scaleYMode);
    return frame;
}

std::vector<ContourLevel> contoursOf(const PlotFrame& frame, const PlotSettings& settings) {
    if (settings.contourMode == ContourMode::Off || frame.x.size() < 4) {
        return {};
    }
    const std::array fractions{std::min(settings.contourFraction1, settings.contourFraction2),
                               std::max(settings.contourFraction1, settings.contourFraction2)};
    if (frame.density && frame.density->scaleX == settings.scaleXMode && frame.density->scaleY == settings.scaleYMode) {
        return contoursOfDensity(frame.density->grid, frame.color, fractions, settings.scaleXMode, settings.scaleYMode);
    }
    return computeContours(frame.x, frame.y, fractions, settings.scaleXMode, settings.scaleYMode);
}

} // namespace Tessaly
