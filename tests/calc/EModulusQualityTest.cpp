#include "calc/SyntheticLut.h"
#include "calc/emodulus/Coverage.h"
#include "calc/emodulus/EModulus.h"
#include "calc/emodulus/Lookup.h"
#include "calc/emodulus/Mesh.h"
#include "calc/emodulus/Quality.h"
#include "io/VQDReader.h"
#include "support/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <numeric>
#include <utility>
#include <vector>

namespace Tessaly {
namespace {

constexpr double NaN = std::numeric_limits<double>::quiet_NaN();

/// A table of our own and assessments over it at its own conditions, corrections of pixels too small to matter.
struct SmallTable {
    EModulusLut lut;
    EModulusMesh mesh;
    EModulusLookup lookup;

    explicit SmallTable(EModulusLut rows) : lut(std::move(rows)), mesh(buildMesh(lut)), lookup(mesh) {}
    EModulusTableView view() const { return {lut, mesh, lookup}; }
    EModulusQuality assess(const std::vector<double>& area, std::vector<double> deform,
                           std::vector<std::int32_t> events = {}) const {
        EModulusParams params;
        params.viscosityModel = 3;
        params.viscosity = 1.002;
        params.flowRate = 0.16;
        params.pixelSize = 1e-4; // leaves the constant part of the correction
        for (double& d : deform) {
            d += 0.0012;
        }
        if (events.empty()) {
            events.resize(area.size());
            std::iota(events.begin(), events.end(), 0);
        }
        return assessQuality(view(), area, deform, events, params);
    }
};

/// A trapezium over areas of 0 to 100: deformations of 0 to 1 at the left end, of 0.5 to 0.6 at the right end.
/// The modulus is 1 + 2 * deformation.
const SmallTable& trapezium() {
    static const SmallTable made(EModulusLut{{0, 0, 100, 100}, {0, 1, 0.5, 0.6}, {1, 3, 2, 2.2}, 20.0, 0.16, 1.002});
    return made;
}

// Values by SciPy, see tests/support/calculation_reference.py.
TEST(EModulusQuality, AgreesWithSciPy) {
    const TemporaryFolder folder;
    installLut(folder.path().string(), lutText(syntheticLut()));
    EModulus engine;
    engine.setSearchDirectory(folder.path().string());
    std::vector<double> area, deform;
    std::vector<std::int32_t> events;
    for (int k = 0; k < 372; ++k) {
        area.push_back(30.0 + 420.0 * std::fmod(0.618034 * k, 1.0));
        deform.push_back(0.004 + 0.2 * std::pow(std::fmod(0.754878 * k, 1.0), 2));
        events.push_back(k);
    }
    VQDReader reader;
    EModulusParams params;
    params.channelWidth = 25.0;
    params.flowRate = 0.08;
    params.viscosityModel = 3;
    params.viscosity = 5.5;
    params.pixelationCorrection = false; // is applied all the same
    params.temperatureSource = 1;
    EXPECT_FALSE(engine.assessQuality(nullptr, params, events).valid);
    reader.setFeature("area_um", std::move(area));
    EXPECT_EQ(engine.assessQuality(&reader, params, events), EModulusQuality());
    reader.setFeature("deform", std::move(deform));
    events.push_back(372); // beyond the end, and before the start: in the total only
    events.push_back(-1);

    const EModulusQuality quality = engine.assessQuality(&reader, params, events);
    EXPECT_TRUE(quality.valid);
    EXPECT_EQ(quality.total, 374);
    EXPECT_EQ(quality.areaTooSmall, 28);
    EXPECT_EQ(quality.areaTooLarge, 30);
    EXPECT_EQ(quality.deformTooLow, 70);
    EXPECT_EQ(quality.deformTooHigh, 24);
    EXPECT_EQ(quality.mapped, 220);
    EXPECT_EQ(quality.nearBoundary, 25);
    EXPECT_EQ(quality.highSensitivity, 92);
    EXPECT_NEAR(quality.medianSensitivity, 0.825333365878, 1e-9);
    EXPECT_NEAR(quality.medianAll, 17.6562305752, 1e-9);
    EXPECT_NEAR(quality.medianInterior, 17.0210410521, 1e-9);
    EXPECT_NEAR(quality.bias, 0.0373179008934, 1e-9);

    params.lutId = 1;
    testing::internal::CaptureStderr();
    EXPECT_EQ(engine.assessQuality(&reader, params, events), EModulusQuality());
    testing::internal::GetCapturedStderr();
}

TEST(EModulusQuality, FateOfPoints) {
    const EModulusTableView table = trapezium().view();
    struct Case {
        double area, deform;
        EModulusFate fate;
    };
    const Case cases[] = {
        {50, 0.5, EModulusFate::Mapped},
        {0, 0, EModulusFate::Mapped},
        {100, 0.5, EModulusFate::Mapped},
        {-0.1, 5, EModulusFate::AreaTooSmall},
        {100.1, -5, EModulusFate::AreaTooLarge},
        {50, -0.01, EModulusFate::DeformTooLow},
        {50, 1.01, EModulusFate::DeformTooHigh},
        {50, 0.1, EModulusFate::DeformTooLow}, // within the bounds, outside of the outline
        {50, 0.9, EModulusFate::DeformTooHigh},
        {NaN, 0.5, EModulusFate::DeformTooLow},
        {50, NaN, EModulusFate::DeformTooLow},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(fateOf(table, c.area, c.deform), c.fate) << c.area << ' ' << c.deform;
    }
    // Without a value in the middle a place little above the lower end decides.
    const SmallTable low(EModulusLut{{0, 0, 100, 100, 50}, {0, 0.2, 0, 0.2, 1}, {1, 1, 1, 1, 1}, 20.0, 0.16, 1.002});
    EXPECT_EQ(fateOf(low.view(), 5, 0.7), EModulusFate::DeformTooHigh);
    const SmallTable high(EModulusLut{{0, 0, 100, 100, 50}, {0.8, 1, 0.8, 1, 0}, {1, 1, 1, 1, 1}, 20.0, 0.16, 1.002});
    EXPECT_EQ(fateOf(high.view(), 5, 0.3), EModulusFate::DeformTooLow);
}

TEST(EModulusQuality, CountsAndMedians) {
    // The lower edge: bin 0 holds the nodes at the left end, bin 199 those at the right end; the bins between take over
    // the left end's 0, except the last one.
    const EModulusQuality quality =
        trapezium().assess({50, 50, 50, 10, -1, 100, NaN}, {0.3, 0.5, 0.7, 0.06, 0, 0.55, 0});
    EXPECT_EQ(quality.total, 7);
    EXPECT_EQ(quality.mapped, 5);
    EXPECT_EQ(quality.areaTooSmall, 1);
    EXPECT_EQ(quality.deformTooLow, 1);
    EXPECT_EQ(quality.nearBoundary, 2);
    EXPECT_NEAR(quality.medianAll, 2.0, 1e-9);      // of 1.6, 2, 2.4, 1.12, 2.1
    EXPECT_NEAR(quality.medianInterior, 2.0, 1e-9); // of 1.6, 2, 2.4
    EXPECT_NEAR(quality.bias, 0.0, 1e-9);
    // Deformations 0.06, 0.3, 0.5, 0.55, 0.7: median 0.5, deviations 0, 0.05, 0.2, 0.2, 0.44 with median 0.2. The slope
    // is 2: sensitivities of 2 / E * 0.29652 with E = 1.12, 1.6, 2, 2.1, 2.4.
    EXPECT_NEAR(quality.medianSensitivity, 0.29652, 1e-6);
    EXPECT_EQ(quality.highSensitivity, 0);
    EXPECT_TRUE(quality.valid);
}

TEST(EModulusQuality, Extremes) {
    // All near the edge: the medians are one.
    const EModulusQuality near = trapezium().assess({1, 1, 1}, {0.06, 0.07, 0.09});
    EXPECT_EQ(near.nearBoundary, 3);
    EXPECT_EQ(near.medianInterior, near.medianAll);
    EXPECT_GT(near.medianAll, 1.0);
    EXPECT_EQ(near.bias, 0.0);
    // A gap of a tenth of the range is interior, and so is one below the edge.
    EXPECT_EQ(trapezium().assess({1, 100}, {0.101, 0.55}).nearBoundary, 1);
    const SmallTable slanted(EModulusLut{{0, 0, 1, 1, 100, 100}, {0.2, 1, 0, 1, 0, 1}, {1, 3, 1, 3, 1, 3}});
    EXPECT_EQ(slanted.assess({1.2}, {0.02}).nearBoundary, 1);
    const SmallTable notched(EModulusLut{{0, 0, 50, 100, 100}, {0, 1, 0.5, 0, 1}, {1, 3, 2, 1, 3}});
    const EModulusQuality below = notched.assess({50.1}, {0.1}); // the bin's edge is the node at 0.5
    EXPECT_EQ(below.mapped, 1);
    EXPECT_EQ(below.nearBoundary, 0);
    // Equal deformations deviate by nothing: no sensitivity.
    const EModulusQuality equal = trapezium().assess({10, 20, 30}, {0.5, 0.5, 0.5});
    EXPECT_EQ(equal.medianSensitivity, 0.0);
    EXPECT_EQ(equal.highSensitivity, 0);
    // No mapped event, and none at all.
    const EModulusQuality none = trapezium().assess({-1}, {0.5});
    EXPECT_TRUE(none.valid);
    EXPECT_EQ(none.medianAll, 0.0);
    EXPECT_TRUE(trapezium().assess({}, {}).valid);
    // Moduli that rise with the event's number: three of seven are interior, which shifts the median.
    const EModulusQuality biased = trapezium().assess({1, 1, 1, 1, 1, 1, 1}, {0.05, 0.06, 0.07, 0.08, 0.5, 0.6, 0.7});
    EXPECT_NEAR(biased.medianAll, 1.16, 1e-9);
    EXPECT_NEAR(biased.medianInterior, 2.2, 1e-9);
    EXPECT_NEAR(biased.bias, 1.04 / 2.2, 1e-9);
    EXPECT_EQ(trapezium().assess({1, 1}, {0.5}, {0, 1}).mapped, 1); // a shorter column
}

using Edge = std::array<double, 4>;

/// Each edge from its lesser end to the other, in order.
std::vector<Edge> sorted(std::vector<Edge> edges) {
    for (Edge& edge : edges) {
        if (std::pair(edge[2], edge[3]) < std::pair(edge[0], edge[1])) {
            edge = {edge[2], edge[3], edge[0], edge[1]};
        }
    }
    std::ranges::sort(edges);
    return edges;
}

TEST(EModulusCoverageTest, OutlineAndEventsAreInTheMeasurementsPlane) {
    // A channel half as wide as the table's: its areas are a quarter. The pixels leave 0.0012 of deformation.
    EModulusParams params;
    params.channelWidth = 10.0;
    params.pixelSize = 1e-4;
    const std::vector<double> area{12.5, 12.5, 12.5, 26.0, NaN, 12.5, 1.0};
    const std::vector<double> deform{0.5012, 0.0112, 1.0512, 0.5, 0.5, INFINITY, 0.9012};
    const std::vector<std::int32_t> events{6, 0, -1, 1, 2, 3, 4, 5, 7};
    const EModulusCoverage coverage = coverageOf(trapezium().view(), area, deform, events, params);
    const std::vector<Edge> outline = sorted(coverage.outline);
    const std::vector<Edge> expected{{0, 0, 0, 1}, {0, 0, 25, 0.5}, {0, 1, 25, 0.6}, {25, 0.5, 25, 0.6}};
    ASSERT_EQ(outline.size(), expected.size()) << "the edge between both triangles bounds nothing";
    for (std::size_t i = 0; i < expected.size(); ++i) {
        for (std::size_t k = 0; k < 4; ++k) {
            EXPECT_NEAR(outline[i][k], expected[i][k], 1e-12) << i << ' ' << k;
        }
    }
    struct Shown {
        double area, deform;
        EModulusFate fate;
    };
    const Shown shown[] = {{1.0, 0.9, EModulusFate::Mapped},
                           {12.5, 0.5, EModulusFate::Mapped},
                           {12.5, 0.01, EModulusFate::DeformTooLow},
                           {12.5, 1.05, EModulusFate::DeformTooHigh},
                           {26.0, 0.4988, EModulusFate::AreaTooLarge}};
    ASSERT_EQ(coverage.events.size(), std::size(shown));
    for (std::size_t i = 0; i < std::size(shown); ++i) {
        EXPECT_EQ(coverage.events[i].area, shown[i].area);
        EXPECT_NEAR(coverage.events[i].deform, shown[i].deform, 1e-12);
        EXPECT_EQ(coverage.events[i].fate, shown[i].fate) << i;
    }
    EXPECT_EQ(coverageOf(trapezium().view(), area, {}, events, params).events.size(), 0U);
}

TEST(EModulusCoverageTest, ATableNeedsNotBeginAtNothing) {
    const SmallTable corner(EModulusLut{{20, 100, 20}, {0.1, 0.2, 0.5}, {1, 2, 3}});
    const std::vector<Edge> outline = sorted(coverageOf(corner.view(), {}, {}, {}, {}).outline);
    const std::vector<Edge> expected{{20, 0.1, 20, 0.5}, {20, 0.1, 100, 0.2}, {20, 0.5, 100, 0.2}};
    ASSERT_EQ(outline.size(), expected.size());
    for (std::size_t i = 0; i < expected.size(); ++i) {
        for (std::size_t k = 0; k < 4; ++k) {
            EXPECT_NEAR(outline[i][k], expected[i][k], 1e-12) << i << ' ' << k;
        }
    }
}

// The counts are SciPy's, as above.
TEST(EModulusCoverageTest, CountsAreThoseOfTheAssessment) {
    const TemporaryFolder folder;
    installLut(folder.path().string(), lutText(syntheticLut()));
    EModulus engine;
    engine.setSearchDirectory(folder.path().string());
    std::vector<double> area, deform;
    std::vector<std::int32_t> events(372);
    std::iota(events.begin(), events.end(), 0);
    for (int k = 0; k < 372; ++k) {
        area.push_back(30.0 + 420.0 * std::fmod(0.618034 * k, 1.0));
        deform.push_back(0.004 + 0.2 * std::pow(std::fmod(0.754878 * k, 1.0), 2));
    }
    EModulusParams params;
    params.channelWidth = 25.0;
    VQDReader reader;
    EXPECT_TRUE(engine.coverage(nullptr, params, events).isEmpty());
    reader.setFeature("area_um", std::move(area));
    EXPECT_TRUE(engine.coverage(&reader, params, events).isEmpty());
    reader.setFeature("deform", std::move(deform));

    const EModulusCoverage coverage = engine.coverage(&reader, params, events);
    const auto count = [&coverage](EModulusFate fate) {
        return std::ranges::count(coverage.events, fate, &EModulusCoverage::Event::fate);
    };
    EXPECT_EQ(count(EModulusFate::Mapped), 220);
    EXPECT_EQ(count(EModulusFate::AreaTooSmall), 28);
    EXPECT_EQ(count(EModulusFate::AreaTooLarge), 30);
    EXPECT_EQ(count(EModulusFate::DeformTooLow), 70);
    EXPECT_EQ(count(EModulusFate::DeformTooHigh), 24);

    params.channelWidth = 0.0; // then the table has no size
    EXPECT_TRUE(engine.coverage(&reader, params, events).isEmpty());
}

} // namespace
} // namespace Tessaly
