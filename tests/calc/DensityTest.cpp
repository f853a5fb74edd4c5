#include "calc/density/Density.h"

#include "support/PlainDensity.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <numbers>
#include <numeric>
#include <random>

namespace Tessaly {
namespace {

constexpr double nan = std::numeric_limits<double>::quiet_NaN();
constexpr double infinity = std::numeric_limits<double>::infinity();

using Values = std::vector<double>;

struct Cloud {
    Values x, y;
};

/// The points of cloud() in tests/support/density_reference.py.
Cloud makeCloud(long count, bool narrow) {
    Cloud cloud;
    for (long i = 0; i < count; ++i) {
        const double u = static_cast<double>((i * 7919) % 10007) / 10007.0;
        const double v = static_cast<double>((i * 104729) % 20011) / 20011.0;
        const double w = static_cast<double>((i * 1299709) % 30011) / 30011.0;
        const bool spot = narrow && i % 2 == 0;
        cloud.x.push_back(spot ? 50.0 + 0.5 * u * v : 40.0 + 30.0 * u * u + 5.0 * v);
        cloud.y.push_back(spot ? 0.05 + 0.001 * w * v : 0.02 + 0.08 * v * w + 0.01 * u);
    }
    return cloud;
}

/// Columns of many kinds: smooth, rounded to many ties, constant, far from zero, over decades, few values.
Cloud randomCloud(unsigned seed) {
    std::mt19937_64 random(seed);
    std::normal_distribution<double> normal;
    const int count = seed % 2 == 0 ? 4 + static_cast<int>(random() % 200) : 1000 + static_cast<int>(random() % 15000);
    const auto value = [&](unsigned kind) {
        const double v = normal(random);
        switch (kind) {
        case 0:
            return v;
        case 1:
            return std::round(v * 16.0) / 16.0;
        case 2:
            return 0.1;
        case 3:
            return v * 1e-3 + 1e6;
        case 4:
            return std::exp(3.0 * v);
        default:
            return std::floor(std::abs(v));
        }
    };
    Cloud cloud;
    for (int i = 0; i < count; ++i) {
        cloud.x.push_back(value(seed / 2 % 6));
        cloud.y.push_back(value(seed / 12 % 6));
    }
    return cloud;
}

TEST(Density, AgreesWithScientificPython) {
    // Printed by tests/support/density_reference.py with NumPy 1.24.2 and SciPy 1.10.1.
    const struct {
        long count;
        bool narrow;
        int size;
        double xOrigin, yOrigin, xStep, yStep, gridSum, first, second, last, densitySum, histogramSum;
    } cases[] = {
        {300, false, 32, 29.516542871684198, -0.00047284875377011718, 1.7276437511195151, 0.0037961001345793136,
         299.97193031953248, 1.1484658816554356, 1.1029783442979628, 1.1142928246780555, 361.36893117131058, 520},
        {4000, true, 442, 39.842162847582827, 0.014327033674324478, 0.079041227788883145, 0.00022254222665413348,
         3999.9801802329462, 17.290929931144952, 0.058217281828125661, 0.045375989627661165, 32920.254514001281,
         454854},
        {20000, true, 512, 39.82695881642946, 0.015631435752219834, 0.068236304158237185, 0.0001886012259111838,
         19999.973515082369, 89.223843568944702, 0.098343001742057859, 0.18060706041729757, 900821.76086475025,
         6856028},
    };
    const auto expectClose = [](double value, double expected) {
        EXPECT_NEAR(value, expected, 1e-10 * std::abs(expected));
    };
    for (const auto& c : cases) {
        const auto [x, y] = makeCloud(c.count, c.narrow);
        EXPECT_EQ(optimalGridSize(x, y), c.size);
        const DensityGrid grid = kernelDensityGrid(x, y, 0);
        EXPECT_EQ(grid.size, c.size);
        expectClose(grid.xOrigin, c.xOrigin);
        expectClose(grid.yOrigin, c.yOrigin);
        expectClose(grid.xStep, c.xStep);
        expectClose(grid.yStep, c.yStep);
        expectClose(std::accumulate(grid.values.begin(), grid.values.end(), 0.0), c.gridSum);
        const Values density = computeDensity(x, y, DensityMethod::Kde);
        expectClose(density[0], c.first);
        expectClose(density[1], c.second);
        expectClose(density.back(), c.last);
        expectClose(std::accumulate(density.begin(), density.end(), 0.0), c.densitySum);
        const Values counts = computeDensity(x, y, DensityMethod::Histogram);
        EXPECT_EQ(std::accumulate(counts.begin(), counts.end(), 0.0), c.histogramSum);
    }

    const double middleRow[] = {0.503199280577257, 5.85950374520417, 18.5384752167072, 13.9753915382129,
                                11.9066410111202,  9.07436715631026, 3.82231197959595, 0.396195587526541};
    const auto [x, y] = makeCloud(300, false);
    const DensityGrid coarse = kernelDensityGrid(x, y, 8);
    for (std::size_t column = 0; column < 8; ++column) {
        EXPECT_NEAR(coarse.values[3 * 8 + column], middleRow[column], 1e-12);
    }
}

TEST(Density, FastPathsAgreeWithTheTextbookFormToTheLastBit) {
    for (unsigned seed = 0; seed < 72; ++seed) {
        const auto [x, y] = randomCloud(seed);
        const int best = Plain::optimalGridSize(x, y);
        EXPECT_EQ(optimalGridSize(x, y), best) << seed;
        const DensityGrid grid = kernelDensityGrid(x, y, static_cast<int>(seed));
        const DensityGrid plain = Plain::kernelDensityGrid(x, y, seed == 0 ? best : static_cast<int>(seed));
        EXPECT_EQ(grid.size, plain.size) << seed;
        EXPECT_EQ((Values{grid.xOrigin, grid.yOrigin, grid.xStep, grid.yStep}),
                  (Values{plain.xOrigin, plain.yOrigin, plain.xStep, plain.yStep}))
            << seed;
        EXPECT_EQ(grid.values, plain.values) << seed;
        EXPECT_EQ(interpolateGrid(grid, x, y), Plain::interpolateGrid(plain, x, y)) << seed;

        std::vector<std::size_t> bins;
        const Values counts =
            Plain::histogram(x, y, best, *std::min_element(x.begin(), x.end()), *std::min_element(y.begin(), y.end()),
                             Plain::extent(x) / best, Plain::extent(y) / best, &bins);
        const Values density = computeDensity(x, y, DensityMethod::Histogram);
        for (std::size_t i = 0; i < x.size(); ++i) {
            ASSERT_EQ(density[i], counts[bins[i]]) << seed;
        }
    }
    // The whole way, with a grid of the size that suits the data.
    for (const bool narrow : {false, true}) {
        const auto [x, y] = makeCloud(8000, narrow);
        EXPECT_EQ(computeDensity(x, y, DensityMethod::Kde), Plain::kernelDensity(x, y));
    }
}

/// Data whose points lie on the bin edges of the candidates, where rounding decides.
TEST(Density, PointsOnBinEdgesFallWhereTheDivisionPutsThem) {
    for (const auto& [min, range] : {std::pair{0.0, 1.0}, {-0.3, 0.7}, {1e5, 0.1}, {-1.0, 2.0}, {1e-9, 3e-9}}) {
        Cloud cloud;
        for (const int n : {32, 37, 43, 50, 66, 77, 89, 119, 256, 381, 442, 512}) {
            for (int bin = 0; bin <= n; ++bin) {
                const double edge = min + bin * (range / n);
                for (const double value : {edge, std::nextafter(edge, -infinity), std::nextafter(edge, infinity)}) {
                    cloud.x.push_back(std::clamp(value, min, min + range));
                }
            }
        }
        cloud.y.assign(cloud.x.rbegin(), cloud.x.rend());
        EXPECT_EQ(optimalGridSize(cloud.x, cloud.y), Plain::optimalGridSize(cloud.x, cloud.y)) << min;
        EXPECT_EQ(kernelDensityGrid(cloud.x, cloud.y, 0).values, Plain::kernelDensityGrid(cloud.x, cloud.y, 0).values)
            << min;
    }
}

TEST(Density, ConstantColumnHasBandwidthOne) {
    // A thousand times 0.1 adds up to a mean beside 0.1 and a deviation of 1e-15; the bandwidth is 1.0 all the same.
    const Values x(1000, 0.1);
    Values y(1000);
    std::iota(y.begin(), y.end(), 0.0);
    const DensityGrid grid = kernelDensityGrid(x, y, 10);
    EXPECT_DOUBLE_EQ(grid.xOrigin, -2.9);
    EXPECT_DOUBLE_EQ(grid.xStep, 0.6);
    EXPECT_TRUE(std::isfinite(computeDensity(x, x, DensityMethod::Kde)[0]));
    EXPECT_EQ(computeDensity(x, x, DensityMethod::Histogram)[0], 1000.0);
}

TEST(Density, NotFiniteValuesKeepTheirPlaces) {
    Cloud cloud = makeCloud(300, false);
    const Cloud whole = cloud;
    cloud.x.insert(cloud.x.begin() + 10, nan);
    cloud.y.insert(cloud.y.begin() + 10, 1.0);
    cloud.x.push_back(1.0);
    cloud.y.push_back(-infinity);
    for (const auto method : {DensityMethod::Kde, DensityMethod::Histogram, DensityMethod::NearestNeighbours}) {
        Values density = computeDensity(cloud.x, cloud.y, method);
        ASSERT_EQ(density.size(), 302U);
        EXPECT_TRUE(std::isnan(density[10]));
        EXPECT_TRUE(std::isnan(density.back()));
        density.pop_back();
        density.erase(density.begin() + 10);
        EXPECT_EQ(density, computeDensity(whole.x, whole.y, method));
    }
    const Values four{1, 2, 3, nan};
    for (const double value : computeDensity(four, four, DensityMethod::NearestNeighbours)) {
        EXPECT_TRUE(std::isnan(value)) << "three finite points are too few";
    }
    EXPECT_EQ(optimalGridSize(Values{1, 2, 3}, Values{1, 2, 3}), 32);
    EXPECT_TRUE(computeDensity({}, {}, DensityMethod::Kde).empty());
}

/// Only that something comes back and no number is taken where there is none; run with sanitizers this means more.
TEST(Density, NumbersAtTheEndsOfTheRangeAreSurvived) {
    const Values odd[] = {{-1e308, 1e308, 0, 1, 2},
                          {1e308, 1e308, 1e308, 1e308, 1e308},
                          {0, 5e-324, 1e-323, 0, 5e-324},
                          {0, 1e-310, 2e-310, 3e-310, 1e-310},
                          {0.1, 0.1, 0.1, 0.1, std::nextafter(0.1, 1.0)},
                          {1e300, 2e300, 3e300, 4e300, 5e300}};
    const Values plain{1, 2, 3, 4, 5};
    const Values broken{nan, infinity, -infinity, 1, 2};
    for (const Values& x : odd) {
        for (const auto method : {DensityMethod::Kde, DensityMethod::Histogram, DensityMethod::NearestNeighbours}) {
            EXPECT_EQ(computeDensity(x, plain, method).size(), 5U);
            EXPECT_EQ(computeDensity(plain, x, method).size(), 5U);
        }
        EXPECT_EQ(kernelDensityGrid(x, broken, 0).values.size(), 64U * 64U);
        EXPECT_EQ(interpolateGrid(kernelDensityGrid(x, x, 4), broken, x).size(), 5U);
    }
    EXPECT_EQ(kernelDensityGrid({}, {}, 2).values, Values(4, 0.0));
}

TEST(Density, NeighboursByHand) {
    // A rectangle of 3 by 4: the second neighbour is 4 away.
    for (const double value :
         computeDensity(Values{0, 3, 0, 3}, Values{0, 0, 4, 4}, DensityMethod::NearestNeighbours)) {
        EXPECT_DOUBLE_EQ(value, 2.0 / (std::numbers::pi * 16.0));
    }
    EXPECT_EQ(computeDensity(Values(4, 7.0), Values(4, 7.0), DensityMethod::NearestNeighbours), Values(4, 2.0));

    // 180 points in 3 by 3 cells, 13 neighbours wanted. The point in the corner finds 7 in the cell beside it, and the
    // same 7 again in the next ring, because that cell lies on the rim.
    Values x(180, 1.0);
    Values y(180, 1.0);
    x[0] = y[0] = 0.0;
    for (std::size_t i = 1; i <= 7; ++i) {
        x[i] = 0.4;
        y[i] = 0.0;
    }
    EXPECT_DOUBLE_EQ(computeDensity(x, y, DensityMethod::NearestNeighbours)[0],
                     13.0 / (std::numbers::pi * (0.4 * 0.4)));
}

} // namespace
} // namespace Tessaly
