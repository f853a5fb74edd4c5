// Comparisons of datasets: their values, tests, curves and distributions, against plain sorts of the same numbers.

#include "BenchFile.h"

#include "../tests/support/PlainHost.h"
#include "io/VQDReader.h"
#include "session/Session.h"
#include "session/compare/DatasetValue.h"
#include "session/compare/Distributions.h"
#include "session/compare/TaskRun.h"
#include "stats/RankTests.h"
#include "stats/Roc.h"
#include "tools/statistics/CategoryPanel.h"
#include "tools/statistics/StatisticalEvalWindow.h"

#include <QCoreApplication>
#include <QListWidget>

#include <benchmark/benchmark.h>
#include <hdf5.h>

#include <algorithm>
#include <filesystem>
#include <memory>
#include <random>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace {

using namespace Tessaly;

constexpr std::size_t pairCount = 20;
constexpr std::size_t pairSize = 100'000;

std::vector<double> cloud(std::size_t count, std::uint64_t seed, double shift) {
    std::mt19937_64 random(seed);
    std::normal_distribution<double> normal(shift, 1.0);
    std::vector<double> values(count);
    std::ranges::generate(values, [&] { return normal(random); });
    return values;
}

/// Samples to be told apart, and room for a sort of both.
struct Pairs {
    std::vector<std::vector<double>> first, second;

    Pairs() {
        for (std::size_t i = 0; i < pairCount; ++i) {
            first.push_back(cloud(pairSize, 2 * i + 1, 0.0));
            second.push_back(cloud(pairSize, 2 * i + 2, 0.1));
        }
    }
};

const Pairs& pairs() {
    static const Pairs made;
    return made;
}

void sortJoined(benchmark::State& state) {
    std::vector<double> joined(2 * pairSize);
    for (auto _ : state) {
        for (std::size_t i = 0; i < pairCount; ++i) {
            const auto middle = std::ranges::copy(pairs().first[i], joined.begin()).out;
            std::ranges::copy(pairs().second[i], middle);
            std::sort(joined.begin(), joined.end());
            benchmark::DoNotOptimize(joined.data());
        }
    }
}

void testPairs(benchmark::State& state) {
    for (auto _ : state) {
        for (std::size_t i = 0; i < pairCount; ++i) {
            benchmark::DoNotOptimize(mannWhitneyU(pairs().first[i], pairs().second[i]));
        }
    }
}

void rocOfPairs(benchmark::State& state) {
    for (auto _ : state) {
        for (std::size_t i = 0; i < pairCount; ++i) {
            benchmark::DoNotOptimize(directedRoc(pairs().first[i], pairs().second[i]));
        }
    }
}

/// A file with so many events and one column, removed with this object.
class EventFile {
public:
    explicit EventFile(std::size_t events) { writeOneColumnFile(path_, "time", std::vector<double>(events)); }
    ~EventFile() { std::filesystem::remove(path_); }
    EventFile(const EventFile&) = delete;
    EventFile& operator=(const EventFile&) = delete;

    std::shared_ptr<VQDReader> open() const {
        auto reader = std::make_shared<VQDReader>();
        reader->open(path_);
        return reader;
    }

private:
    std::string path_ = (std::filesystem::temp_directory_path() /
                         ("tessaly-statistics-bench-" + std::to_string(std::random_device()()) + ".vqd"))
                            .string();
};

/// Datasets over one file, with columns that exist in memory only.
class Measurements {
public:
    Session session;

    Measurements(std::size_t datasets, std::size_t features, std::size_t events) : file(events) {
        for (std::size_t i = 0; i < features; ++i) {
            names.push_back("userdef" + std::to_string(i));
        }
        for (std::size_t i = 0; i < datasets; ++i) {
            auto entry = session.newEntry();
            entry->reader = file.open();
            for (std::size_t k = 0; k < features; ++k) {
                entry->reader->setFeature(names[k], cloud(events, 100 * i + k, 0.05 * static_cast<double>(i)));
            }
            entry->displayName = QStringLiteral("dataset %1").arg(i);
            entry->featuresLoaded = true;
            session.append(std::move(entry));
        }
    }

    EventFile file;
    std::vector<std::string> names;

    Comparison comparison() const {
        Comparison made;
        for (const std::string& name : names) {
            made.features.push_back({name, QString::fromStdString(name)});
        }
        made.categories.resize(2);
        for (std::size_t i = 0; i < session.datasets().size(); ++i) {
            made.categories[i % 2].entries.push_back(categoryEntryOf(*session.datasets()[i]));
        }
        return made;
    }
};

const Measurements& valueMeasurements() {
    static const Measurements made(12, 10, 100'000);
    return made;
}

const Measurements& distributionMeasurements() {
    static const Measurements made(12, 1, 1'000'000);
    return made;
}

/// Copies and sorts every column.
void sortColumns(benchmark::State& state, const Measurements& measurements) {
    for (auto _ : state) {
        for (const auto& dataset : measurements.session.datasets()) {
            for (const std::string& name : measurements.names) {
                std::vector<double> values = dataset->reader->getFeature(name);
                std::sort(values.begin(), values.end());
                benchmark::DoNotOptimize(values.data());
            }
        }
    }
}

void sortValues(benchmark::State& state) {
    sortColumns(state, valueMeasurements());
}

void sortSeries(benchmark::State& state) {
    sortColumns(state, distributionMeasurements());
}

/// On one thread, as the baseline.
void medians(benchmark::State& state) {
    const Measurements& measurements = valueMeasurements();
    const std::vector<DatasetSource> sources = sourcesOf(measurements.comparison().categories, measurements.session);
    for (auto _ : state) {
        for (const DatasetSource& source : sources) {
            const DatasetValues values = datasetValues(source, measurements.names, SampleSummary::Median);
            if (!values.complete) {
                state.SkipWithError("a dataset has no values");
            }
            benchmark::DoNotOptimize(values);
        }
    }
}

void distributions(benchmark::State& state) {
    const Measurements& measurements = distributionMeasurements();
    const Comparison comparison = measurements.comparison();
    for (auto _ : state) {
        DistributionWork work(comparison, sourcesOf(comparison.categories, measurements.session));
        for (std::size_t i = 0; i < work.datasetCount(); ++i) {
            work.look(i);
        }
        work.layGrids();
        for (std::size_t i = 0; i < work.datasetCount(); ++i) {
            work.estimate(i);
        }
        if (work.results().empty() || work.results()[0].series.size() != 12) {
            state.SkipWithError("a series is missing");
        }
    }
}

/// A window with 60 datasets in two categories and 100 features. The first dataset has other features each time, so
/// that their list is made anew.
void categoryChanged(benchmark::State& state) {
    Measurements measurements(60, 100, 4);
    DatasetEntry& first = *measurements.session.datasets()[0];
    std::shared_ptr<VQDReader> other = measurements.file.open();
    for (std::size_t i = 0; i < measurements.names.size(); ++i) {
        other->setFeature("userdef" + std::to_string(i + 1), {1.0, 2.0, 3.0, 4.0});
    }
    const PlainHost host;
    StatisticalEvalWindow window(measurements.session, host);
    CompareState content;
    content.categories = measurements.comparison().categories;
    DatasetNumbers numbers;
    for (const auto& dataset : measurements.session.datasets()) {
        numbers[dataset->id] = dataset->id;
    }
    window.restoreSessionState(compareStateToJson(content, numbers), numbers);
    window.show();
    QCoreApplication::processEvents();
    for (auto _ : state) {
        std::swap(first.reader, other);
        emit measurements.session.notices().columnsChanged(first.id);
    }
}

void fillList(benchmark::State& state) {
    QListWidget list;
    list.show();
    QStringList labels;
    for (int i = 0; i < 100; ++i) {
        labels += QStringLiteral("User-defined %1").arg(i);
    }
    for (auto _ : state) {
        list.clear();
        list.addItems(labels);
    }
}

} // namespace

BENCHMARK(sortValues)->Name("dataset_values/baseline")->Unit(benchmark::kMillisecond);
BENCHMARK(medians)->Name("dataset_values")->Unit(benchmark::kMillisecond);
BENCHMARK(testPairs)->Name("mann_whitney_20_pairs")->Unit(benchmark::kMillisecond);
BENCHMARK(sortJoined)->Name("mann_whitney_20_pairs/baseline")->Unit(benchmark::kMillisecond);
BENCHMARK(rocOfPairs)->Name("roc_20_pairs")->Unit(benchmark::kMillisecond);
BENCHMARK(sortJoined)->Name("roc_20_pairs/baseline")->Unit(benchmark::kMillisecond);
BENCHMARK(distributions)->Name("distributions_12_series")->Unit(benchmark::kMillisecond);
BENCHMARK(sortSeries)->Name("distributions_12_series/baseline")->Unit(benchmark::kMillisecond);
BENCHMARK(categoryChanged)->Name("category_changed")->Unit(benchmark::kMicrosecond);
BENCHMARK(fillList)->Name("category_changed/baseline")->Unit(benchmark::kMicrosecond);
