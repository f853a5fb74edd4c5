#include "BenchFile.h"

#include "../tests/support/PlainHost.h"
#include "calc/density/Contours.h"
#include "core/DatasetEntry.h"
#include "io/VQDReader.h"
#include "plot/ComparePlot.h"
#include "plot/PlotPoints.h"
#include "session/Session.h"
#include "session/compare/CombineModel.h"
#include "session/compare/CombineStatistics.h"
#include "tools/combine/CombineExport.h"
#include "tools/combine/CombinePlotWindow.h"

#include <QApplication>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonObject>
#include <QTemporaryDir>

#include <benchmark/benchmark.h>
#include <hdf5.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <fstream>
#include <map>
#include <memory>
#include <numeric>
#include <random>
#include <string>
#include <utility>

// Datasets compared in a combine window: a refresh against the same work one after the other on one thread, a change of
// a colour against painting the plots, the table of figures against full sorts.

namespace {

using namespace Tessaly;

/// Datasets of two populations, a tenth of whose events a filter leaves out.
struct CombineSession {
    Session session;
    PlainHost host;

    CombineSession(int datasets, std::size_t events) {
        for (int i = 0; i < datasets; ++i) {
            auto entry = session.newEntry();
            entry->reader = std::make_shared<VQDReader>();
            fill(*entry->reader, events, static_cast<unsigned>(i));
            entry->displayName = QStringLiteral("donor %1").arg(i);
            entry->featuresLoaded = true;
            FilterRule rule;
            rule.featureName = "bright_avg";
            rule.minValue = 0.0;
            rule.maxValue = 0.9;
            entry->filter.addRule(rule);
            session.append(std::move(entry));
        }
    }

private:
    void fill(VQDReader& reader, std::size_t events, unsigned seed) {
        std::mt19937 random(seed);
        std::normal_distribution<double> normal;
        std::uniform_real_distribution<double> uniform;
        std::vector<double> area(events);
        std::vector<double> deform(events);
        std::vector<double> bright(events);
        for (std::size_t i = 0; i < events; ++i) {
            const bool first = uniform(random) < 0.6;
            area[i] = (first ? 60.0 : 130.0) + (first ? 9.0 : 22.0) * normal(random);
            deform[i] = (first ? 0.07 : 0.13) + 0.02 * normal(random);
            bright[i] = uniform(random);
        }
        const QString path = folder_.filePath(QStringLiteral("%1.vqd").arg(seed));
        writeOneColumnFile(path.toStdString(), "area_um", area); // the others are computed ones
        reader.open(path.toStdString());
        reader.getFeature("area_um");
        reader.setFeature("deform", std::move(deform));
        reader.setFeature("bright_avg", std::move(bright));
    }

    QTemporaryDir folder_;
};

CombineSession& sessionOf(int datasets, std::size_t events) {
    static std::map<std::pair<int, std::size_t>, std::unique_ptr<CombineSession>> made;
    auto& session = made[{datasets, events}];
    if (!session) {
        session = std::make_unique<CombineSession>(datasets, events);
    }
    return *session;
}

/// A window with all datasets as a heat map with contours over it, on the screen.
std::unique_ptr<CombinePlotWindow> windowOver(CombineSession& data) {
    auto window = std::make_unique<CombinePlotWindow>(data.session, data.host);
    QJsonArray rows;
    DatasetNumbers numbers;
    for (const auto& entry : data.session.datasets()) {
        rows.append(
            QJsonObject{{"datasetSessionIndex", entry->id}, {"xFeatureName", "area_um"}, {"yFeatureName", "deform"}});
        numbers[entry->id] = entry->id;
    }
    window->restoreSessionState(QJsonObject{{"colorMode", 0}, {"contourMode", 1}, {"datasets", rows}}, numbers);
    window->resize(1400, 1000);
    window->show();
    QApplication::processEvents();
    window->finishRefresh();
    QApplication::processEvents();
    return window;
}

template <int Datasets, std::size_t Events>
void refresh(benchmark::State& state) {
    CombineSession& data = sessionOf(Datasets, Events);
    const auto window = windowOver(data);
    for (auto _ : state) {
        emit data.session.notices().eventsChanged();
        window->finishRefresh();
        for (ComparePlot* plot : window->plots()) {
            benchmark::DoNotOptimize(plot->grab());
        }
    }
}

/// Filter, density, contours and picture of each dataset, one after the other.
template <int Datasets, std::size_t Events>
void refreshPlain(benchmark::State& state) {
    CombineSession& data = sessionOf(Datasets, Events);
    const QSize cell = windowOver(data)->plots().front()->size();
    for (auto _ : state) {
        for (const auto& entry : data.session.datasets()) {
            const std::vector<int> passing = *data.session.passingEvents(*entry);
            const std::vector<double>& area = entry->reader->getFeature("area_um");
            const std::vector<double>& deform = entry->reader->getFeature("deform");
            std::vector<double> x;
            std::vector<double> y;
            for (const int event : passing) {
                x.push_back(area[static_cast<std::size_t>(event)]);
                y.push_back(deform[static_cast<std::size_t>(event)]);
            }
            CompareScene scene;
            CompareSeries series;
            series.contours = computeContours(x, y, std::array{0.1, 0.67}, 0, 0);
            std::vector<double> density = computeDensity(x, y, DensityMethod::Kde);
            series.points = std::make_shared<const PlotPoints>(std::move(x), std::move(y), std::move(density));
            scene.series.push_back(std::move(series));
            ComparePlot plot(scene);
            plot.resize(cell);
            benchmark::DoNotOptimize(plot.grab());
        }
    }
}

void repaint(const std::vector<ComparePlot*>& plots) {
    for (ComparePlot* plot : plots) {
        plot->replot();
        benchmark::DoNotOptimize(plot->grab());
    }
}

void changeColors(benchmark::State& state) {
    CombineSession& data = sessionOf(9, 100'000);
    const auto window = windowOver(data);
    for (auto _ : state) {
        emit data.session.notices().colorMapChanged(1); // every plot takes its colours anew
        for (ComparePlot* plot : window->plots()) {
            benchmark::DoNotOptimize(plot->grab());
        }
    }
}

void changeColorsPlain(benchmark::State& state) {
    const auto window = windowOver(sessionOf(9, 100'000));
    for (auto _ : state) {
        repaint(window->plots());
    }
}

/// What the table is made from.
struct StatisticsInput {
    CombineSession& data = sessionOf(9, 100'000);
    CombineModel model{data.session};
    CombineDataList list;

    StatisticsInput() {
        for (const int id : model.addable()) {
            model.add(id);
        }
        for (const CombineSource& source : combineSources(data.session, model)) {
            list.push_back(std::make_shared<const CombineData>(prepareCombineData(source)));
        }
    }
};

void statistics(benchmark::State& state) {
    const StatisticsInput input;
    for (auto _ : state) {
        benchmark::DoNotOptimize(combineStatistics(input.data.session, input.model, input.list));
    }
}

void statisticsPlain(benchmark::State& state) {
    const StatisticsInput input;
    for (auto _ : state) {
        for (const auto& each : input.list) {
            for (std::vector<double> values : {each->x, each->y}) {
                std::ranges::sort(values);
                const double mean = std::accumulate(values.begin(), values.end(), 0.0) / double(values.size());
                double squares = 0.0;
                for (const double value : values) {
                    squares += (value - mean) * (value - mean);
                }
                const std::size_t last = values.size() - 1;
                benchmark::DoNotOptimize(std::sqrt(squares) + values[last / 4] + values[last / 2] +
                                         values[last / 4 * 3]);
            }
        }
    }
}

/// Megabytes that the process holds, and the most that it has held since forgetPeak().
double megabytes(const std::string& entry) {
    std::ifstream status("/proc/self/status");
    for (std::string line; std::getline(status, line);) {
        if (line.starts_with(entry)) {
            return std::stod(line.substr(entry.size() + 1)) / 1024.0;
        }
    }
    return 0.0;
}
void forgetPeak() {
    std::ofstream("/proc/self/clear_refs") << 5;
}

/// Twelve plots of 10^5 dots on one page.
void exportGrid(benchmark::State& state, const char* suffix) {
    CombineSession& data = sessionOf(12, 100'000);
    const auto window = windowOver(data);
    const QTemporaryDir folder;
    const QString file = folder.filePath("grid.") + suffix;
    double most = 0.0;
    for (auto _ : state) {
        const double idle = megabytes("VmRSS:");
        forgetPeak();
        if (!writeGrid(file, window->plots(), 4, CombineExportSettings())) {
            state.SkipWithError("not written");
        }
        most = std::max(most, megabytes("VmHWM:") - idle);
    }
    state.counters["MB_above_idle"] = most;
    state.counters["MB_file"] = static_cast<double>(QFileInfo(file).size()) / 1e6;
}

BENCHMARK(refresh<9, 100'000>)->Name("combine_refresh_9")->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(refreshPlain<9, 100'000>)->Name("combine_refresh_9/baseline")->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(refresh<2, 1'000'000>)->Name("combine_refresh_2")->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(refreshPlain<2, 1'000'000>)->Name("combine_refresh_2/baseline")->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(changeColors)->Name("combine_colour")->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(changeColorsPlain)->Name("combine_colour/baseline")->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(statistics)->Name("combine_statistics")->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(statisticsPlain)->Name("combine_statistics/baseline")->Unit(benchmark::kMillisecond)->UseRealTime();

BENCHMARK_CAPTURE(exportGrid, png, "png")->Name("combine_export_12_png")->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK_CAPTURE(exportGrid, svg, "svg")->Name("combine_export_12_svg")->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK_CAPTURE(exportGrid, pdf, "pdf")->Name("combine_export_12_pdf")->Unit(benchmark::kMillisecond)->UseRealTime();

} // namespace
