#include "calc/emodulus/Mesh.h"

#include "calc/emodulus/EModulus.h"
#include "calc/emodulus/Triangle.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <limits>

namespace Tessaly {

namespace {

using Triangle = std::array<std::int32_t, 3>;
using Edge = std::array<std::int32_t, 2>;

struct Point {
    double x;
    double y;
};

double cross(Point a, Point b) {
    return a.x * b.y - a.y * b.x;
}

/// Triangulation under construction: nodes first, then three vertices far outside the unit square.
class Builder {
public:
    Builder(const std::vector<double>& x, const std::vector<double>& y) : nodeCount_(x.size()) {
        points_.reserve(nodeCount_ + 3);
        for (std::size_t i = 0; i < nodeCount_; ++i) {
            points_.push_back({x[i], y[i]});
        }
        points_.insert(points_.end(), {{-10.0, -10.0}, {20.0, -10.0}, {-10.0, 20.0}});
        const auto first = static_cast<std::int32_t>(nodeCount_);
        triangles_.push_back({first, first + 1, first + 2});
    }

    void insert(std::int32_t node) {
        removeBad(points_[static_cast<std::size_t>(node)]);
        markSharedEdges();
        for (std::size_t i = 0; i < edges_.size(); ++i) {
            if (shared_[i]) {
                continue;
            }
            const auto [a, b] = edges_[i];
            if (cross(relative(a, node), relative(b, node)) >= 0.0) {
                triangles_.push_back({node, a, b});
            } else {
                triangles_.push_back({node, b, a});
            }
        }
    }

    /// The triangles between nodes alone.
    std::vector<Triangle> finish() && {
        std::erase_if(triangles_, [this](const Triangle& triangle) {
            return std::ranges::any_of(
                triangle, [this](std::int32_t vertex) { return static_cast<std::size_t>(vertex) >= nodeCount_; });
        });
        return std::move(triangles_);
    }

private:
    Point relative(std::int32_t vertex, std::int32_t origin) const {
        const Point& p = points_[static_cast<std::size_t>(vertex)];
        const Point& o = points_[static_cast<std::size_t>(origin)];
        return {p.x - o.x, p.y - o.y};
    }

    /// Whether the point lies strictly inside the circle through the triangle's corners.
    bool isBad(const Triangle& triangle, Point point) const {
        const auto corner = [&](std::size_t k) {
            const Point& p = points_[static_cast<std::size_t>(triangle[k])];
            return Point{p.x - point.x, p.y - point.y};
        };
        const Point a = corner(0);
        const Point b = corner(1);
        const Point c = corner(2);
        const double aa = a.x * a.x + a.y * a.y;
        const double bb = b.x * b.x + b.y * b.y;
        const double cc = c.x * c.x + c.y * c.y;
        return a.x * (b.y * cc - bb * c.y) - a.y * (b.x * cc - bb * c.x) + aa * (b.x * c.y - b.y * c.x) > 0.0;
    }

    /// Takes out the triangles whose circle holds the point, in one pass, and lists their edges.
    void removeBad(Point point) {
        edges_.clear();
        std::size_t kept = 0;
        for (std::size_t i = 0; i < triangles_.size(); ++i) {
            const Triangle triangle = triangles_[i];
            if (isBad(triangle, point)) {
                for (std::size_t k = 0; k < 3; ++k) {
                    edges_.push_back({triangle[k], triangle[(k + 1) % 3]});
                }
            } else {
                triangles_[kept++] = triangle;
            }
        }
        triangles_.resize(kept);
    }

    /// Edges that two bad triangles have in common are inside the hole; the others are its boundary.
    void markSharedEdges() {
        order_.clear();
        for (std::size_t i = 0; i < edges_.size(); ++i) {
            const auto [low, high] = std::minmax(edges_[i][0], edges_[i][1]);
            order_.push_back({(static_cast<std::uint64_t>(low) << 32U) | static_cast<std::uint64_t>(high), i});
        }
        std::ranges::sort(order_);
        shared_.assign(edges_.size(), false);
        for (std::size_t i = 1; i < order_.size(); ++i) {
            if (order_[i].first == order_[i - 1].first) {
                shared_[order_[i].second] = shared_[order_[i - 1].second] = true;
            }
        }
    }

    std::size_t nodeCount_;
    std::vector<Point> points_;
    std::vector<Triangle> triangles_;
    std::vector<Edge> edges_;
    std::vector<bool> shared_;
    std::vector<std::pair<std::uint64_t, std::size_t>> order_;
};

void normalise(const std::vector<double>& values, double& low, double& high, double& range,
               std::vector<double>& normalised) {
    const auto [minimum, maximum] = std::ranges::minmax(values);
    low = minimum;
    high = maximum;
    range = high - low;
    normalised.reserve(values.size());
    for (const double value : values) {
        normalised.push_back((value - low) / range);
    }
}

void fillGrid(EModulusMesh& mesh) {
    constexpr int size = EModulusMesh::GridSize;
    mesh.grid.assign(static_cast<std::size_t>(size) * size, {});
    for (std::size_t t = 0; t < mesh.triangles.size(); ++t) {
        const auto node = [&](std::size_t k) { return static_cast<std::size_t>(mesh.triangles[t][k]); };
        const auto [xLow, xHigh] = std::minmax({mesh.x[node(0)], mesh.x[node(1)], mesh.x[node(2)]});
        const auto [yLow, yHigh] = std::minmax({mesh.y[node(0)], mesh.y[node(1)], mesh.y[node(2)]});
        for (int row = gridCell(yLow, size); row <= gridCell(yHigh, size); ++row) {
            for (int column = gridCell(xLow, size); column <= gridCell(xHigh, size); ++column) {
                mesh.grid[static_cast<std::size_t>(row * size + column)].push_back(static_cast<std::int32_t>(t));
            }
        }
    }
}

} // namespace

EModulusMesh buildMesh(const EModulusLut& lut) {
    EModulusMesh mesh;
    normalise(lut.area, mesh.xMin, mesh.xMax, mesh.xRange, mesh.x);
    normalise(lut.deform, mesh.yMin, mesh.yMax, mesh.yRange, mesh.y);
    mesh.z = lut.emodulus;
    Builder builder(mesh.x, mesh.y);
    for (std::size_t node = 0; node < mesh.x.size(); ++node) {
        builder.insert(static_cast<std::int32_t>(node));
    }
    mesh.triangles = std::move(builder).finish();
    fillGrid(mesh);
    return mesh;
}

double interpolate(const EModulusMesh& mesh, double area, double deform) {
    constexpr double nan = std::numeric_limits<double>::quiet_NaN();
    const double x = (area - mesh.xMin) / mesh.xRange;
    const double y = (deform - mesh.yMin) / mesh.yRange;
    if (!insideUnitSquare(x, y)) {
        return nan;
    }
    constexpr int size = EModulusMesh::GridSize;
    const auto cell = static_cast<std::size_t>(gridCell(y, size) * size + gridCell(x, size));
    for (const std::int32_t index : mesh.grid[cell]) {
        const EModulusTriangle triangle(mesh, index);
        if (triangle.isDegenerate()) {
            continue;
        }
        if (const auto weights = triangle.weights(x, y); weights.accepts()) {
            return triangle.value(weights);
        }
    }
    return nan;
}

} // namespace Tessaly
