#include "../tests/support/PlainDensity.h"
#include "../tests/support/PlainFilter.h"
#include "calc/density/Contours.h"
#include "calc/density/Density.h"
#include "core/EventFilter.h"
#include "core/ScaleMath.h"
#include "core/VectorState.h"

#include <benchmark/benchmark.h>

#include <cmath>
#include <numbers>
#include <random>
#include <string>
#include <vector>

namespace {

using namespace Tessaly;

constexpr std::size_t eventCount = 1'000'000;

/// Seven columns as a measurement has them: two populations of area and deformation, a ratio, positions, brightness and
/// two fluorescence channels over decades, partly at or below zero.
struct Columns {
    std::vector<double> area, deform, ratio, position, brightness, fl1, fl2;
    ColumnMap map;

    Columns() {
        std::mt19937_64 random(20240607);
        std::normal_distribution<double> normal;
        std::uniform_real_distribution<double> uniform;
        for (std::size_t i = 0; i < eventCount; ++i) {
            const bool large = uniform(random) < 0.4;
            area.push_back((large ? 90.0 : 45.0) + (large ? 14.0 : 6.0) * normal(random));
            deform.push_back((large ? 0.07 : 0.03) * std::exp(0.35 * normal(random)));
            ratio.push_back(1.0 + 0.04 * std::abs(normal(random)));
            position.push_back(300.0 * uniform(random));
            brightness.push_back(105.0 + 5.0 * normal(random));
            fl1.push_back(std::exp((large ? 7.0 : 5.0) + 0.9 * normal(random)) - 20.0);
            fl2.push_back(std::exp((large ? 5.0 : 6.0) + 0.8 * normal(random)) - 20.0);
        }
        map = {{"area_um", &area},          {"deform", &deform}, {"area_ratio", &ratio}, {"pos_x", &position},
               {"bright_avg", &brightness}, {"fl1_max", &fl1},   {"fl2_max", &fl2}};
    }
};

const Columns& columns() {
    static const Columns made;
    return made;
}

FilterRule rangeRule(const std::string& feature, double min, double max) {
    FilterRule rule;
    rule.featureName = feature;
    rule.minValue = min;
    rule.maxValue = max;
    return rule;
}

/// A polygon of 12 corners as one clicks it around a population: not convex, radii alternating.
FilterRule polygonRule(const std::string& x, const std::string& y, double centreX, double centreY, double radiusX,
                       double radiusY, bool logAxes) {
    FilterRule rule;
    rule.type = FilterRule::Polygon;
    rule.featureName = x;
    rule.featureNameY = y;
    rule.scaleXMode = rule.scaleYMode = logAxes ? ScaleMode::Log : ScaleMode::Linear;
    for (int corner = 0; corner < 12; ++corner) {
        const double angle = corner * std::numbers::pi / 6.0 + 0.1;
        const double radius = corner % 3 == 0 ? 0.8 : 1.0;
        const double px = centreX + radius * radiusX * std::cos(angle);
        const double py = centreY + radius * radiusY * std::sin(angle);
        rule.polygonVertices.emplace_back(logAxes ? std::exp(px) : px, logAxes ? std::exp(py) : py);
    }
    return rule;
}

EventFilter filter() {
    EventFilter made;
    made.addRule(rangeRule("area_ratio", 1.0, 1.1));
    made.addRule(rangeRule("pos_x", 20.0, 280.0));
    made.addRule(rangeRule("bright_avg", 95.0, 115.0));
    made.addRule(polygonRule("area_um", "deform", 75.0, 0.06, 45.0, 0.05, false));
    made.addRule(polygonRule("fl1_max", "fl2_max", 6.5, 5.3, 2.0, 1.6, true));
    return made;
}

void filterFast(benchmark::State& state) {
    const EventFilter rules = filter();
    const Columns& data = columns(); // made before the clock runs
    for (auto _ : state) {
        benchmark::DoNotOptimize(rules.evaluate(data.map, eventCount));
    }
}

void filterPlain(benchmark::State& state) {
    const EventFilter rules = filter();
    const Columns& data = columns();
    clearUpperVectorState(); // as the program's own does: no advantage from that
    for (auto _ : state) {
        benchmark::DoNotOptimize(Plain::evaluate(rules, data.map, eventCount));
    }
}

void densityFast(benchmark::State& state) {
    const Columns& data = columns();
    for (auto _ : state) {
        benchmark::DoNotOptimize(computeDensity(data.area, data.deform, DensityMethod::Kde));
    }
}

void densityPlain(benchmark::State& state) {
    const Columns& data = columns();
    for (auto _ : state) {
        benchmark::DoNotOptimize(Plain::kernelDensity(data.area, data.deform));
    }
}

void contours(benchmark::State& state) {
    const Columns& data = columns();
    const std::vector<double> fractions{0.1, 0.67};
    for (auto _ : state) {
        benchmark::DoNotOptimize(computeContours(data.area, data.deform, fractions, 0, 0));
    }
}

BENCHMARK(filterFast)->Name("filter_3_ranges_2_polygons")->Unit(benchmark::kMillisecond);
BENCHMARK(filterPlain)->Name("filter_3_ranges_2_polygons/baseline")->Unit(benchmark::kMillisecond);
BENCHMARK(densityFast)->Name("density_kde")->Unit(benchmark::kMillisecond);
BENCHMARK(densityPlain)->Name("density_kde/baseline")->Unit(benchmark::kMillisecond);
BENCHMARK(contours)->Name("contours_two_lines")->Unit(benchmark::kMillisecond);
BENCHMARK(densityFast)->Name("contours_two_lines/baseline")->Unit(benchmark::kMillisecond);

} // namespace
