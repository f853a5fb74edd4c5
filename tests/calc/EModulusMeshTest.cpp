#include "calc/SyntheticLut.h"
#include "calc/emodulus/EModulus.h"
#include "calc/emodulus/Lookup.h"
#include "calc/emodulus/Mesh.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <random>
#include <vector>

namespace Tessaly {
namespace {

constexpr double NaN = std::numeric_limits<double>::quiet_NaN();

EModulusLut lutOf(const std::vector<std::array<double, 3>>& rows) {
    EModulusLut lut;
    for (const auto& [area, deform, modulus] : rows) {
        lut.area.push_back(area);
        lut.deform.push_back(deform);
        lut.emodulus.push_back(modulus);
    }
    return lut;
}

EModulusLut randomLut(std::size_t count, std::uint64_t seed) {
    std::mt19937_64 random(seed);
    const auto uniform = [&random] { return static_cast<double>(random() >> 11U) * 0x1p-53; };
    EModulusLut lut;
    for (std::size_t i = 0; i < count; ++i) {
        lut.area.push_back(10.0 + 300.0 * uniform());
        lut.deform.push_back(0.2 * uniform() * uniform());
        lut.emodulus.push_back(uniform());
    }
    return lut;
}

/// A square raster: every four neighbours lie on one circle, every inner line of nodes is straight.
EModulusLut rasterLut(int side) {
    EModulusLut lut;
    for (int i = 0; i < side * side; ++i) {
        lut.area.push_back(i % side);
        lut.deform.push_back(i / side);
        lut.emodulus.push_back(i);
    }
    return lut;
}

double circumcircle(const EModulusMesh& mesh, const std::array<std::int32_t, 3>& t, std::size_t node) {
    long double m[3][3];
    for (std::size_t k = 0; k < 3; ++k) {
        const auto vertex = static_cast<std::size_t>(t[k]);
        m[k][0] = static_cast<long double>(mesh.x[vertex]) - mesh.x[node];
        m[k][1] = static_cast<long double>(mesh.y[vertex]) - mesh.y[node];
        m[k][2] = m[k][0] * m[k][0] + m[k][1] * m[k][1];
    }
    return static_cast<double>(m[0][0] * (m[1][1] * m[2][2] - m[1][2] * m[2][1]) -
                               m[0][1] * (m[1][0] * m[2][2] - m[1][2] * m[2][0]) +
                               m[0][2] * (m[1][0] * m[2][1] - m[1][1] * m[2][0]));
}

TEST(EModulusMesh, TrianglesAreDelaunayAndCoverTheRaster) {
    for (const EModulusLut& lut : {syntheticLut(), randomLut(300, 1), rasterLut(9), randomLut(3, 2)}) {
        const EModulusMesh mesh = buildMesh(lut);
        SCOPED_TRACE(lut.area.size());
        for (const auto& triangle : mesh.triangles) {
            const auto n = [&](std::size_t k) { return static_cast<std::size_t>(triangle[k]); };
            const double doubleArea = (mesh.x[n(1)] - mesh.x[n(0)]) * (mesh.y[n(2)] - mesh.y[n(0)]) -
                                      (mesh.y[n(1)] - mesh.y[n(0)]) * (mesh.x[n(2)] - mesh.x[n(0)]);
            EXPECT_GE(doubleArea, 0.0);
            for (std::size_t node = 0; node < mesh.x.size(); ++node) {
                ASSERT_LE(circumcircle(mesh, triangle, node), 1e-12);
            }
        }
    }
    EXPECT_EQ(buildMesh(rasterLut(6)).triangles.size(), 50U); // two for each of 25 squares
}

/// Rows as simulations give them: one area after the other, deformations from a millionth upwards, each ten times
/// denser than the one above.
EModulusLut columnsLut(int columns, int rows) {
    EModulusLut lut;
    for (int i = 0; i < columns; ++i) {
        for (int j = 0; j < rows; ++j) {
            lut.area.push_back(5.0 + i * i);
            lut.deform.push_back(0.2 * std::pow(10.0, -6.0 + 6.0 * (j + 1) / rows));
            lut.emodulus.push_back(1.0);
        }
    }
    return lut;
}

/// The plain way: every node is held against every triangle.
class PlainMesh {
public:
    explicit PlainMesh(const EModulusMesh& nodes) : x_(nodes.x), y_(nodes.y) {
        const auto count = static_cast<std::int32_t>(x_.size());
        x_.insert(x_.end(), {-10.0, 20.0, -10.0});
        y_.insert(y_.end(), {-10.0, -10.0, 20.0});
        triangles.push_back({count, count + 1, count + 2});
        for (std::int32_t node = 0; node < count; ++node) {
            insert(node);
        }
        std::erase_if(triangles, [count](const auto& t) { return std::ranges::max(t) >= count; });
    }

    std::vector<std::array<std::int32_t, 3>> triangles;

private:
    std::array<double, 2> from(std::int32_t node, std::int32_t to) const {
        const auto a = static_cast<std::size_t>(node);
        const auto b = static_cast<std::size_t>(to);
        return {x_[b] - x_[a], y_[b] - y_[a]};
    }

    bool holds(const std::array<std::int32_t, 3>& t, std::int32_t node) const {
        const auto [ax, ay] = from(node, t[0]);
        const auto [bx, by] = from(node, t[1]);
        const auto [cx, cy] = from(node, t[2]);
        const double bb = bx * bx + by * by;
        const double cc = cx * cx + cy * cy;
        return ax * (by * cc - bb * cy) - ay * (bx * cc - bb * cx) + (ax * ax + ay * ay) * (bx * cy - by * cx) > 0.0;
    }

    void insert(std::int32_t node) {
        std::vector<std::pair<std::int32_t, std::int32_t>> edges;
        std::erase_if(triangles, [&](const auto& t) {
            const bool isHit = holds(t, node);
            if (isHit) {
                edges.insert(edges.end(), {{t[0], t[1]}, {t[1], t[2]}, {t[2], t[0]}});
            }
            return isHit;
        });
        for (const auto& [a, b] : edges) {
            const auto both = std::minmax(a, b);
            const auto uses = std::ranges::count_if(
                edges, [&](const auto& edge) { return std::minmax(edge.first, edge.second) == both; });
            if (uses == 1) {
                const auto [ax, ay] = from(node, a);
                const auto [bx, by] = from(node, b);
                const bool isLeft = ax * by - ay * bx >= 0.0;
                triangles.push_back({node, isLeft ? a : b, isLeft ? b : a});
            }
        }
    }

    std::vector<double> x_;
    std::vector<double> y_;
};

TEST(EModulusMesh, SameTrianglesInTheSameOrderAsThePlainWay) {
    for (const EModulusLut& lut :
         {syntheticLut(), randomLut(1000, 7), rasterLut(25), columnsLut(30, 25), columnsLut(3, 200)}) {
        const EModulusMesh mesh = buildMesh(lut);
        EXPECT_GT(mesh.triangles.size(), lut.area.size() / 2);
        EXPECT_EQ(mesh.triangles, PlainMesh(mesh).triangles) << lut.area.size();
    }
}

// Values by SciPy's LinearNDInterpolator, see tests/support/emodulus_reference.py.
TEST(EModulusInterpolation, AgreesWithSciPy) {
    const std::array<double, 3> cases[] = {
        {30, 0.002, NaN},
        {187.59867, 0.13787804000000001, 8.69742315160915},
        {247.79600999999997, 0.049634120000000004, 33.6146284556826},
        {52.993349999999907, 0.14139020000000005, 1.32586371375682},
        {113.19069, 0.053146280000000122, 9.92171996618772},
        {173.38802999999987, 0.14490236000000001, 7.37927681844034},
        {233.58536999999998, 0.056658440000000074, 27.5920820726279},
        {38.78271000000008, 0.14841451999999997, 1.12962385506283},
        {98.980049999999949, 0.060170600000000192, 7.04122730181645},
        {159.17738999999983, 0.15192668000000009, 6.23241388972071},
        {219.37472999999969, 0.06368276000000031, 22.7250145865552},
        {279.57207000000005, 0.15543884000000019, NaN},
        {84.769409999999894, 0.067194920000000422, 5.10259654920048},
    };
    const EModulusMesh mesh = buildMesh(syntheticLut());
    for (const auto& [area, deform, expected] : cases) {
        const double value = interpolate(mesh, area, deform);
        EXPECT_EQ(std::isnan(value), std::isnan(expected)) << area << ' ' << deform;
        EXPECT_FALSE(std::abs(value - expected) > 1e-11 * expected) << area << ' ' << deform;
    }
}

TEST(EModulusInterpolation, NodesEdgesAndBounds) {
    const EModulusMesh mesh = buildMesh(rasterLut(6)); // value = area + 6 * deform, which is linear everywhere
    for (int i = 0; i <= 20; ++i) {
        for (int j = 0; j <= 20; ++j) {
            ASSERT_NEAR(interpolate(mesh, 0.25 * i, 0.25 * j), 0.25 * i + 1.5 * j, 1e-12);
        }
    }
    const double over = std::nextafter(5.0, 6.0);
    const double inf = std::numeric_limits<double>::infinity();
    for (const auto& [area, deform] : std::vector<std::pair<double, double>>{
             {-1e-9, 1}, {1, -1e-9}, {5 + 1e-9, 1}, {over, over}, {NaN, 1}, {1, NaN}, {inf, 1}, {1, -inf}}) {
        EXPECT_TRUE(std::isnan(interpolate(mesh, area, deform))) << area << ' ' << deform;
    }
    // Inside the bounds, but outside the hull.
    const EModulusMesh half = buildMesh(lutOf({{0, 0, 1}, {4, 0, 1}, {0, 4, 1}}));
    EXPECT_DOUBLE_EQ(interpolate(half, 1.9, 1.9), 1.0);
    EXPECT_TRUE(std::isnan(interpolate(half, 2.1, 2.1)));
}

TEST(EModulusMesh, DegenerateTables) {
    const std::vector<std::vector<std::array<double, 3>>> tables{
        {{1, 1, 1}, {1, 1, 2}, {1, 1, 3}},                             // one point
        {{1, 0, 1}, {1, 1, 2}, {1, 2, 3}, {1, 3, 4}},                  // no range of areas
        {{0, 2, 1}, {1, 2, 2}, {2, 2, 3}},                             // no range of deformations
        {{0, 0, 1}, {1, 1, 2}, {2, 2, 3}, {3, 3, 4}},                  // a straight line
        {{-1e308, 0, 1}, {1e308, 1, 2}, {0, 1e-308, 3}, {5, -1, 4}},   // a range that overflows
        {{0, 0, 1e308}, {1, 0, -1e308}, {0, 1, 1e308}, {1, 1, -1e308}} // values that overflow
    };
    for (const auto& rows : tables) {
        const EModulusMesh mesh = buildMesh(lutOf(rows));
        const EModulusLookup lookup(mesh);
        for (const auto& row : rows) {
            const double plain = interpolate(mesh, row[0], row[1]);
            const double indexed = lookup(row[0], row[1]);
            EXPECT_TRUE(plain == indexed || (std::isnan(plain) && std::isnan(indexed)));
        }
    }
    // A row given twice counts once.
    const EModulusMesh twice = buildMesh(lutOf({{0, 0, 1}, {0, 0, 9}, {4, 0, 1}, {0, 4, 1}, {4, 0, 9}}));
    EXPECT_EQ(twice.triangles.size(), 1U);
    EXPECT_DOUBLE_EQ(interpolate(twice, 1, 1), 1.0);
}

/// The index must choose the same triangle as the search, on nodes, edges, lines of the grid and anywhere else.
TEST(EModulusLookup, SameBitsAsThePlainSearch) {
    const auto same = [](double a, double b) { return a == b || (std::isnan(a) && std::isnan(b)); };
    for (const EModulusLut& lut :
         {syntheticLut(), randomLut(2000, 3), rasterLut(30), columnsLut(30, 25), randomLut(4, 5)}) {
        const EModulusMesh mesh = buildMesh(lut);
        const EModulusLookup lookup(mesh);
        SCOPED_TRACE(lut.area.size());
        std::vector<std::pair<double, double>> points; // normalised
        for (int i = -1; i <= 401; ++i) {
            for (int j = -1; j <= 401; ++j) {
                points.emplace_back(i / 400.0, j / 400.0);
            }
        }
        for (const auto& triangle : mesh.triangles) {
            for (std::size_t k = 0; k < 3; ++k) {
                const auto a = static_cast<std::size_t>(triangle[k]);
                const auto b = static_cast<std::size_t>(triangle[(k + 1) % 3]);
                for (const double t : {0.0, 1e-12, 1e-10, 0.25, 0.5, 1.0 / 3.0, 1.0 - 1e-10}) {
                    points.emplace_back(mesh.x[a] + t * (mesh.x[b] - mesh.x[a]),
                                        mesh.y[a] + t * (mesh.y[b] - mesh.y[a]));
                }
            }
        }
        std::mt19937_64 random(4);
        for (int i = 0; i < 200000; ++i) {
            points.emplace_back(static_cast<double>(random()) * 0x1p-64, static_cast<double>(random()) * 0x1p-64);
        }
        std::size_t inside = 0;
        for (const auto& [x, y] : points) {
            const double area = mesh.xMin + x * mesh.xRange;
            const double deform = mesh.yMin + y * mesh.yRange;
            const double plain = interpolate(mesh, area, deform);
            ASSERT_TRUE(same(plain, lookup(area, deform))) << x << ' ' << y;
            inside += std::isnan(plain) ? 0U : 1U;
        }
        EXPECT_GT(inside, points.size() / 20);
    }
}

/// The triangles around a node without a modulus are no part of the table, but their edges to others are.
TEST(EModulusLookup, NodesWithoutAModulusBoundTheTable) {
    const EModulusLut lut = lutOf({{10, 0, 1}, {30, 0, 3}, {20, 1, 2}, {20, 3, NaN}}); // modulus = area / 10 below
    const EModulusMesh mesh = buildMesh(lut);
    ASSERT_EQ(mesh.triangles.size(), 1U);
    const EModulusLookup lookup(mesh);
    struct Case {
        double area, deform, modulus;
        EModulusFate fate;
    };
    constexpr Case cases[] = {
        {20, 0.5, 2.0, EModulusFate::Mapped},         {17, 0.6, 1.7, EModulusFate::Mapped},
        {15, 0.5, 1.5, EModulusFate::Mapped},         {25, 0.5, 2.5, EModulusFate::Mapped},
        {20, 0.99, 2.0, EModulusFate::Mapped},        {17, 1.2, NaN, EModulusFate::DeformTooHigh},
        {20, 1.01, NaN, EModulusFate::DeformTooHigh}, {23, 0.8, NaN, EModulusFate::DeformTooHigh},
        {20, 2.9, NaN, EModulusFate::DeformTooHigh},  {20, 3.1, NaN, EModulusFate::DeformTooHigh},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(testing::Message() << c.area << ' ' << c.deform);
        for (const double found : {interpolate(mesh, c.area, c.deform), lookup(c.area, c.deform)}) {
            EXPECT_EQ(std::isnan(found), std::isnan(c.modulus)) << found;
            EXPECT_FALSE(std::abs(found - c.modulus) > 1e-12) << found;
        }
        EXPECT_EQ(fateOf({lut, mesh, lookup}, c.area, c.deform), c.fate);
    }
    EModulusParams params;
    params.channelWidth = lut.channelWidth;
    const EModulusCoverage coverage = coverageOf({lut, mesh, lookup}, {}, {}, {}, params);
    ASSERT_EQ(coverage.outline.size(), 3U);
    for (const auto& [a, b, c, d] : coverage.outline) {
        EXPECT_LE(std::max(b, d), 1.0 + 1e-12) << a << ' ' << c;
    }
}

} // namespace
} // namespace Tessaly
