#include "BenchFile.h"

#include "calc/density/Contours.h"
#include "calc/density/Density.h"
#include "core/EventFilter.h"
#include "io/VQDReader.h"
#include "plot/ScatterPlot.h"
#include "session/PlotFrame.h"
#include "session/Session.h"
#include "session/filters/FilterPropagation.h"
#include "session/filters/PeerMarks.h"
#include "ui/calculations/CalculationsDockWidget.h"
#include "ui/filters/FilterController.h"
#include "ui/filters/FilterDockWidget.h"
#include "ui/filters/PolygonController.h"
#include "ui/plot/PlotController.h"
#include "ui/plot/PlotSettingsPanel.h"
#include "ui/plot/StatisticsDockWidget.h"

#include <QApplication>
#include <QTemporaryDir>

#include <benchmark/benchmark.h>

#include <array>
#include <cmath>
#include <memory>
#include <numbers>
#include <random>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

using namespace Tessaly;

constexpr std::size_t eventCount = 1'000'000;
using Column = std::vector<double>;

FilterRule rangeRule(const std::string& feature, double low, double high) {
    FilterRule rule;
    rule.featureName = feature;
    rule.minValue = low;
    rule.maxValue = high;
    return rule;
}

/// Twelve corners on an ellipse, as drawn around a population.
FilterRule polygonRule(const std::string& x, const std::string& y, double centreX, double centreY, double radiusX,
                       double radiusY) {
    FilterRule rule;
    rule.type = FilterRule::Polygon;
    rule.featureName = x;
    rule.featureNameY = y;
    for (int corner = 0; corner < 12; ++corner) {
        const double angle = corner * std::numbers::pi / 6.0;
        rule.polygonVertices.emplace_back(centreX + radiusX * std::cos(angle), centreY + radiusY * std::sin(angle));
    }
    return rule;
}

/// A filtered dataset of 10^6 events, two populations of different size, brightness and fluorescence, and the points
/// that its filter leaves.
struct Workload {
    Session session;
    DatasetEntry* dataset = nullptr;
    PlotSettings settings;
    EventFilter filter;
    ColumnMap columns;
    Column x;
    Column y;

    Workload() {
        std::mt19937_64 random(20240611);
        std::normal_distribution<double> normal;
        std::uniform_real_distribution<double> uniform;
        Column area, deform, brightness, position, fl1, fl2;
        for (std::size_t i = 0; i < eventCount; ++i) {
            const bool large = uniform(random) < 0.4;
            area.push_back((large ? 90.0 : 45.0) + (large ? 14.0 : 6.0) * normal(random));
            deform.push_back((large ? 0.07 : 0.03) * std::exp(0.35 * normal(random)));
            brightness.push_back(105.0 + 5.0 * normal(random));
            position.push_back(300.0 * uniform(random));
            fl1.push_back(2000.0 + 500.0 * normal(random));
            fl2.push_back(1000.0 + 300.0 * normal(random));
        }
        auto entry = session.newEntry();
        entry->reader = std::make_shared<VQDReader>();
        loadInto(*entry->reader, std::move(area));
        entry->reader->setFeature("deform", std::move(deform));
        entry->reader->setFeature("bright_avg", std::move(brightness));
        entry->reader->setFeature("pos_x", std::move(position));
        entry->reader->setFeature("fl1_max", std::move(fl1));
        entry->reader->setFeature("fl2_max", std::move(fl2));
        filter.addRule(rangeRule("bright_avg", 95.0, 115.0));
        filter.addRule(rangeRule("pos_x", 20.0, 280.0));
        filter.addRule(rangeRule("area_um", 20.0, 150.0));
        filter.addRule(polygonRule("area_um", "deform", 70.0, 0.06, 55.0, 0.055));
        filter.addRule(polygonRule("fl1_max", "fl2_max", 2000.0, 1000.0, 1200.0, 700.0));
        entry->filter = filter;
        dataset = &session.append(std::move(entry));
        settings = {"area_um", "deform", std::string(DensityKde), 0, 0, ContourMode::Overlay, 0.1, 0.67};
        for (const std::string& feature : filter.requiredFeatures()) {
            columns[feature] = &dataset->reader->getFeature(feature);
        }
        for (const int event : filter.evaluate(columns, eventCount)) {
            x.push_back((*columns.at("area_um"))[static_cast<std::size_t>(event)]);
            y.push_back((*columns.at("deform"))[static_cast<std::size_t>(event)]);
        }
    }

    /// The event count comes from a file, so the first column goes through one. It stays cached when the file is gone.
    static void loadInto(VQDReader& reader, Column area) {
        const QTemporaryDir folder;
        const std::string path = folder.filePath("events.vqd").toStdString();
        initializeHdf5();
        writeOneColumnFile(path, "area_um", area);
        if (!reader.open(path) || reader.getFeature("area_um").size() != eventCount) {
            throw std::runtime_error("the file of the benchmark does not open");
        }
    }
};

Workload& workload() {
    static Workload made;
    return made;
}

/// All that a change of the filter computes, up to what the plot draws.
void filterChange(benchmark::State& state) {
    const Workload& work = workload();
    for (auto _ : state) {
        const auto frame = buildPlotFrame(work.session, *work.dataset, work.settings);
        benchmark::DoNotOptimize(frame);
        benchmark::DoNotOptimize(contoursOf(*frame, work.settings));
    }
    state.counters["events"] = static_cast<double>(eventCount);
}

/// Its three kernels alone, on the same events and points.
void kernelsAlone(benchmark::State& state) {
    const Workload& work = workload();
    const std::array fractions{work.settings.contourFraction1, work.settings.contourFraction2};
    for (auto _ : state) {
        benchmark::DoNotOptimize(work.filter.evaluate(work.columns, eventCount));
        benchmark::DoNotOptimize(computeDensity(work.x, work.y, DensityMethod::Kde));
        benchmark::DoNotOptimize(computeContours(work.x, work.y, fractions, 0, 0));
    }
    state.counters["events"] = static_cast<double>(eventCount);
}

/// The workload's dataset, active among 200 that share its columns; their rules are copies of one another.
struct ManyDatasets {
    Session session;

    ManyDatasets() {
        const Workload& work = workload();
        EventFilter linked;
        for (FilterRule rule : work.filter.rules()) {
            rule.propagationId = "{00000000-0000-0000-0000-00000000000" + std::to_string(linked.ruleCount()) + "}";
            linked.addRule(rule);
        }
        for (int i = 0; i < 200; ++i) {
            auto entry = session.newEntry();
            entry->reader = work.dataset->reader;
            entry->filter = linked;
            session.append(std::move(entry));
        }
        session.setActive(session.datasetAt(0)->id);
    }

    /// What a refresh computes: the picture of the active dataset, and where its peers differ.
    void refresh() const {
        const Workload& work = workload();
        const auto frame = buildPlotFrame(session, *session.active(), work.settings);
        benchmark::DoNotOptimize(frame);
        benchmark::DoNotOptimize(contoursOf(*frame, work.settings));
        benchmark::DoNotOptimize(peerMarks(session));
    }
};

ManyDatasets& manyDatasets() {
    static ManyDatasets made;
    return made;
}

/// A changed polygon goes to all datasets, the active one is shown anew.
void ruleToAll(benchmark::State& state) {
    ManyDatasets& many = manyDatasets();
    for (auto _ : state) {
        benchmark::DoNotOptimize(applyRuleToAll(many.session, 3));
        many.refresh();
    }
    state.counters["events"] = static_cast<double>(eventCount);
}

void refreshAlone(benchmark::State& state) {
    const ManyDatasets& many = manyDatasets();
    for (auto _ : state) {
        many.refresh();
    }
    state.counters["events"] = static_cast<double>(eventCount);
}

/// The window's parts round the plot, over the workload's columns: four rules, coloured by density.
struct PlottedGates {
    Session session;
    EModulus emodulus;
    ScatterPlot plot;
    PlotSettingsPanel controls;
    FilterDockWidget dock;
    CalculationsDockWidget conditions;
    StatisticsDockWidget statistics;
    PolygonController polygons{session, dock, plot, controller, nullptr};
    FilterController filters{session, dock, nullptr};
    PlotController controller{session, emodulus, plot, controls, conditions, &dock};
    EventFilter filter;
    int gate = 3;

    PlottedGates() {
        const Workload& work = workload();
        QObject::connect(&controller, &PlotController::plotted, &statistics, [this] {
            const PlotFrame& frame = controller.frame();
            statistics.updateStatistics(frame.x, frame.y, frame.xLabel, frame.yLabel);
        });
        auto entry = session.newEntry();
        entry->reader = work.dataset->reader;
        for (int i = 0; i <= gate; ++i) {
            entry->filter.addRule(work.filter.rules()[static_cast<std::size_t>(i)]);
        }
        filter = entry->filter;
        entry->setPlotSettings(work.settings);
        entry->contourMode = ContourMode::Off;
        entry->featuresLoaded = true;
        const int id = session.append(std::move(entry)).id;
        plot.resize(900, 700);
        plot.show();
        statistics.show();
        session.setActive(id);
        QApplication::processEvents();
        emit dock.polygonEditRequested(gate, true);
    }
};

/// From a vertex that is released to the new picture.
void vertexReleased(benchmark::State& state) {
    PlottedGates gates;
    QPolygonF polygon;
    for (const auto& [x, y] : gates.filter.rules()[static_cast<std::size_t>(gates.gate)].polygonVertices) {
        polygon << QPointF(x, y);
    }
    double shift = 1e-9;
    for (auto _ : state) {
        polygon[0].rx() += shift;
        shift = -shift;
        emit gates.plot.polygonEdited(gates.gate, polygon);
        QApplication::processEvents();
    }
    if (!gates.plot.isEditing()) {
        state.SkipWithError("the polygon isn't being edited");
    }
    state.counters["events"] = static_cast<double>(eventCount);
}

/// The same rules, density, statistics and repaint of the points left, each for itself.
void vertexStepsAlone(benchmark::State& state) {
    PlottedGates gates;
    const Workload& work = workload();
    const Column& allX = *work.columns.at("area_um");
    const Column& allY = *work.columns.at("deform");
    for (auto _ : state) {
        Column x;
        Column y;
        for (const int event : gates.filter.evaluate(work.columns, eventCount)) {
            x.push_back(allX[static_cast<std::size_t>(event)]);
            y.push_back(allY[static_cast<std::size_t>(event)]);
        }
        benchmark::DoNotOptimize(computeDensity(x, y, DensityMethod::Kde));
        gates.statistics.updateStatistics(x, y, {}, {});
        gates.plot.replot();
        QApplication::processEvents();
    }
    state.counters["events"] = static_cast<double>(eventCount);
}

BENCHMARK(vertexReleased)->Name("vertex_released")->Unit(benchmark::kMillisecond);
BENCHMARK(vertexStepsAlone)->Name("vertex_released/baseline")->Unit(benchmark::kMillisecond);
BENCHMARK(filterChange)->Name("filter_change_to_picture")->Unit(benchmark::kMillisecond);
BENCHMARK(kernelsAlone)->Name("filter_change_to_picture/baseline")->Unit(benchmark::kMillisecond);
BENCHMARK(ruleToAll)->Name("rule_to_200_datasets")->Unit(benchmark::kMillisecond);
BENCHMARK(refreshAlone)->Name("rule_to_200_datasets/baseline")->Unit(benchmark::kMillisecond);

} // namespace
