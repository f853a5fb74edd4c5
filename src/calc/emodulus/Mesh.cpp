#include "calc/emodulus/Mesh.h"

#include "calc/emodulus/EModulus.h"
#include "calc/emodulus/Triangle.h"

#include <algorithm>
#include <cmath>
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

/// Which triangles' circles a point may lie in: a net over the unit square that keeps, in each of its cells, the
/// numbers of the triangles whose circle touches it. Circles too large for that are on a list of their own.
class CircleNet {
public:
    explicit CircleNet(std::size_t nodes)
        : size_(std::clamp(static_cast<int>(std::sqrt(static_cast<double>(nodes))), 1, 64)),
          cells_(static_cast<std::size_t>(size_) * static_cast<std::size_t>(size_)) {}

    void add(std::int32_t triangle, Point a, Point b, Point c) {
        const Circle circle = circleAround(a, b, c);
        if (!(circle.radius < largest)) {
            everywhere_.push_back(triangle);
            return;
        }
        const int left = gridCell(circle.centre.x - circle.radius, size_);
        const int right = gridCell(circle.centre.x + circle.radius, size_);
        const int top = gridCell(circle.centre.y + circle.radius, size_);
        for (int row = gridCell(circle.centre.y - circle.radius, size_); row <= top; ++row) {
            for (int column = left; column <= right; ++column) {
                cell(row, column).push_back(triangle);
            }
        }
    }

    /// Calls `visit` with each triangle whose circle may hold the point; those for which it returns false are
    /// forgotten.
    template <typename Visit>
    void visitNear(Point point, const Visit& visit) {
        std::erase_if(everywhere_, [&](std::int32_t triangle) { return !visit(triangle); });
        std::erase_if(cell(gridCell(point.y, size_), gridCell(point.x, size_)),
                      [&](std::int32_t triangle) { return !visit(triangle); });
    }

private:
    struct Circle {
        Point centre;
        double radius;
    };

    /// A radius beyond which the net would be slower than the list. No smaller circle reaches out to the far vertices.
    static constexpr double largest = 0.1;

    /// The circle through three points of the unit square, wide enough for every point that rounding may take to lie in
    /// it: the determinant of isBad() is exact to 1e-13, and it is the power of the point times twice the area.
    static Circle circleAround(Point a, Point b, Point c) {
        const Point u{b.x - a.x, b.y - a.y};
        const Point v{c.x - a.x, c.y - a.y};
        const double twiceArea = std::fabs(cross(u, v));
        const double uu = u.x * u.x + u.y * u.y;
        const double vv = v.x * v.x + v.y * v.y;
        const double scale = 0.5 / cross(u, v);
        const Point fromA{(v.y * uu - u.y * vv) * scale, (u.x * vv - v.x * uu) * scale};
        const double slack = 1e-12 / twiceArea;
        return {{a.x + fromA.x, a.y + fromA.y},
                std::sqrt(fromA.x * fromA.x + fromA.y * fromA.y + slack) + slack + 1e-9};
    }

    std::vector<std::int32_t>& cell(int row, int column) {
        return cells_[static_cast<std::size_t>(row) * static_cast<std::size_t>(size_) +
                      static_cast<std::size_t>(column)];
    }

    int size_;
    std::vector<std::vector<std::int32_t>> cells_;
    std::vector<std::int32_t> everywhere_;
};

/// Triangulation under construction: nodes first, then three vertices far outside the unit square. Triangles keep their
/// numbers, so that their order is that of a plain search through all of them.
class Builder {
public:
    Builder(const std::vector<double>& x, const std::vector<double>& y) : nodeCount_(x.size()), net_(x.size()) {
        points_.reserve(nodeCount_ + 3);
        for (std::size_t i = 0; i < nodeCount_; ++i) {
            points_.push_back({x[i], y[i]});
        }
        points_.insert(points_.end(), {{-10.0, -10.0}, {20.0, -10.0}, {-10.0, 20.0}});
        const auto first = static_cast<std::int32_t>(nodeCount_);
        add({first, first + 1, first + 2});
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
                add({node, a, b});
            } else {
                add({node, b, a});
            }
        }
    }

    /// The triangles between nodes alone.
    std::vector<Triangle> finish() && {
        std::erase_if(triangles_, [this](const Triangle& triangle) {
            return isGone(triangle) || std::ranges::any_of(triangle, [this](std::int32_t vertex) {
                       return static_cast<std::size_t>(vertex) >= nodeCount_;
                   });
        });
        return std::move(triangles_);
    }

private:
    static constexpr std::int32_t None = -1;

    static bool isGone(const Triangle& triangle) { return triangle[0] == None; }

    const Point& pointOf(std::int32_t vertex) const { return points_[static_cast<std::size_t>(vertex)]; }

    void add(const Triangle& triangle) {
        net_.add(static_cast<std::int32_t>(triangles_.size()), pointOf(triangle[0]), pointOf(triangle[1]),
                 pointOf(triangle[2]));
        triangles_.push_back(triangle);
    }

    Point relative(std::int32_t vertex, std::int32_t origin) const {
        const Point& p = pointOf(vertex);
        const Point& o = pointOf(origin);
        return {p.x - o.x, p.y - o.y};
    }

    /// Whether the point lies strictly inside the circle through the triangle's corners.
    bool isBad(const Triangle& triangle, Point point) const {
        const auto corner = [&](std::size_t k) {
            const Point& p = pointOf(triangle[k]);
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

    /// Takes out the triangles whose circle holds the point, and lists their edges.
    void removeBad(Point point) {
        bad_.clear();
        net_.visitNear(point, [&](std::int32_t number) {
            const Triangle& triangle = triangles_[static_cast<std::size_t>(number)];
            const bool stays = !isGone(triangle) && !isBad(triangle, point);
            if (!stays && !isGone(triangle)) {
                bad_.push_back(number);
            }
            return stays;
        });
        std::ranges::sort(bad_);
        edges_.clear();
        for (const std::int32_t number : bad_) {
            Triangle& triangle = triangles_[static_cast<std::size_t>(number)];
            for (std::size_t k = 0; k < 3; ++k) {
                edges_.push_back({triangle[k], triangle[(k + 1) % 3]});
            }
            triangle[0] = None;
        }
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
    std::vector<Triangle> triangles_; // those taken out stay, without their first vertex
    CircleNet net_;
    std::vector<std::int32_t> bad_;
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
    std::erase_if(mesh.triangles, [&mesh](const std::array<std::int32_t, 3>& triangle) {
        return std::ranges::any_of(
            triangle, [&mesh](std::int32_t node) { return std::isnan(mesh.z[static_cast<std::size_t>(node)]); });
    });
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
