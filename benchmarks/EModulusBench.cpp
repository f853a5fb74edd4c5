#include "calc/emodulus/EModulus.h"
#include "calc/emodulus/Lookup.h"
#include "core/VectorState.h"
#include "io/VQDReader.h"

#include <benchmark/benchmark.h>

#include <cmath>
#include <cstdint>
#include <filesystem>
#include <numeric>
#include <random>
#include <string>
#include <vector>

namespace {

using namespace Tessaly;

constexpr std::size_t eventCount = 1'000'000;
constexpr std::size_t lookupBaselineCount = 100'000;

std::string executableFolder() {
    std::error_code ignored;
    return std::filesystem::read_symlink("/proc/self/exe", ignored).parent_path().string();
}

/// The committed table, found the way the program finds it.
struct Engine {
    EModulus engine;
    Engine() {
        engine.setSearchDirectory(executableFolder());
        engine.triangulate(0);
    }
    static Engine& instance() {
        static Engine made;
        return made;
    }
    static bool isMissing(benchmark::State& state) {
        if (instance().engine.mesh(0) != nullptr) {
            return false;
        }
        state.SkipWithError("no look-up table");
        return true;
    }
};

/// Two populations, a few per cent of them outside of the table.
struct Events {
    std::vector<double> area, deform;
    Events() {
        std::mt19937_64 random(20240607);
        std::normal_distribution<double> normal;
        std::uniform_real_distribution<double> uniform;
        for (std::size_t i = 0; i < eventCount; ++i) {
            const bool large = uniform(random) < 0.4;
            area.push_back((large ? 90.0 : 45.0) + (large ? 14.0 : 6.0) * normal(random));
            deform.push_back((large ? 0.07 : 0.03) * std::exp(0.35 * normal(random)));
        }
    }
};

const Events& events() {
    static const Events made;
    return made;
}

void compute(benchmark::State& state) {
    if (Engine::isMissing(state)) {
        return;
    }
    VQDReader reader;
    reader.setFeature("area_um", std::vector<double>(events().area));
    reader.setFeature("deform", std::vector<double>(events().deform));
    const EModulusParams params;
    for (auto _ : state) {
        benchmark::DoNotOptimize(Engine::instance().engine.compute(&reader, params));
    }
}

/// Assessment of the same events.
void quality(benchmark::State& state) {
    if (Engine::isMissing(state)) {
        return;
    }
    VQDReader reader;
    reader.setFeature("area_um", std::vector<double>(events().area));
    reader.setFeature("deform", std::vector<double>(events().deform));
    std::vector<std::int32_t> all(eventCount);
    std::iota(all.begin(), all.end(), 0);
    const EModulusParams params;
    for (auto _ : state) {
        benchmark::DoNotOptimize(Engine::instance().engine.assessQuality(&reader, params, all));
    }
}

void oneExponential(benchmark::State& state) {
    const std::vector<double>& area = events().area;
    std::vector<double> result(area.size());
    clearUpperVectorState(); // the baseline must not be slow for reasons of its own
    for (auto _ : state) {
        for (std::size_t i = 0; i < area.size(); ++i) {
            result[i] = std::exp(area[i] * (-1.0 / 38.6));
        }
        benchmark::DoNotOptimize(result.data());
        benchmark::ClobberMemory();
    }
}

void lookupByIndex(benchmark::State& state) {
    if (Engine::isMissing(state)) {
        return;
    }
    const EModulusMesh& mesh = *Engine::instance().engine.mesh(0);
    const EModulusLookup lookup(mesh);
    const Events& points = events();
    for (std::size_t i = 0; i < eventCount; ++i) {
        const double plain = interpolate(mesh, points.area[i], points.deform[i]);
        const double fast = lookup(points.area[i], points.deform[i]);
        if (plain != fast && !(std::isnan(plain) && std::isnan(fast))) {
            state.SkipWithError("the index differs from the search");
            return;
        }
    }
    std::vector<double> result(eventCount);
    for (auto _ : state) {
        for (std::size_t i = 0; i < eventCount; ++i) {
            result[i] = lookup(points.area[i], points.deform[i]);
        }
        benchmark::DoNotOptimize(result.data());
        benchmark::ClobberMemory();
    }
}

void lookupBySearch(benchmark::State& state) {
    if (Engine::isMissing(state)) {
        return;
    }
    const EModulusMesh& mesh = *Engine::instance().engine.mesh(0);
    std::vector<double> result(eventCount);
    for (auto _ : state) {
        for (std::size_t i = 0; i < eventCount; ++i) {
            result[i] = interpolate(mesh, events().area[i], events().deform[i]);
        }
        benchmark::DoNotOptimize(result.data());
        benchmark::ClobberMemory();
    }
}

/// Reading, triangulation and index, as the first computation of a session pays for them.
void triangulate(benchmark::State& state) {
    if (Engine::isMissing(state)) {
        return;
    }
    for (auto _ : state) {
        EModulus engine;
        engine.setSearchDirectory(executableFolder());
        engine.triangulate(0);
        benchmark::DoNotOptimize(engine.mesh(0));
    }
}

void isoelastics(benchmark::State& state) {
    if (Engine::isMissing(state)) {
        return;
    }
    EModulusParams params;
    for (auto _ : state) {
        params.temperature = params.temperature == 23.0 ? 24.0 : 23.0; // equal parameters would be answered from memory
        benchmark::DoNotOptimize(Engine::instance().engine.isoelastics(params));
    }
}

void manyLookups(benchmark::State& state) {
    if (Engine::isMissing(state)) {
        return;
    }
    const EModulusLookup lookup(*Engine::instance().engine.mesh(0));
    std::vector<double> result(lookupBaselineCount);
    for (auto _ : state) {
        for (std::size_t i = 0; i < lookupBaselineCount; ++i) {
            result[i] = lookup(events().area[i], events().deform[i]);
        }
        benchmark::DoNotOptimize(result.data());
        benchmark::ClobberMemory();
    }
}

BENCHMARK(compute)->Name("emodulus_compute")->Unit(benchmark::kMillisecond);
BENCHMARK(oneExponential)->Name("emodulus_compute/baseline")->Unit(benchmark::kMillisecond);
BENCHMARK(quality)->Name("emodulus_quality")->Unit(benchmark::kMillisecond);
BENCHMARK(compute)->Name("emodulus_quality/baseline")->Unit(benchmark::kMillisecond);
BENCHMARK(lookupByIndex)->Name("emodulus_lookup")->Unit(benchmark::kMillisecond);
BENCHMARK(lookupBySearch)->Name("emodulus_lookup/baseline")->Unit(benchmark::kMillisecond);
BENCHMARK(triangulate)->Name("emodulus_triangulate")->Unit(benchmark::kMillisecond);
BENCHMARK(isoelastics)->Name("emodulus_isoelastics")->Unit(benchmark::kMillisecond);
BENCHMARK(manyLookups)->Name("emodulus_isoelastics/baseline")->Unit(benchmark::kMillisecond);

} // namespace
