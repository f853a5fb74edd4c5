#include "calc/emodulus/Lookup.h"

#include <cmath>
#include <utility>

namespace Tessaly {

namespace {

enum class Verdict { Never, Perhaps, Always };

/// A triangle's coordinates as they grow over the plane.
class Slopes {
public:
    explicit Slopes(const EModulusTriangle& triangle)
        : x_(triangle.x2),
          y_(triangle.y2),
          l1x_(triangle.dy12 / triangle.denominator),
          l1y_(triangle.dx21 / triangle.denominator),
          l2x_(triangle.dy20 / triangle.denominator),
          l2y_(triangle.dx02 / triangle.denominator),
          l1Reach_(std::fabs(l1x_) + std::fabs(l1y_)),
          l2Reach_(std::fabs(l2x_) + std::fabs(l2y_)),
          l3Reach_(std::fabs(l1x_ + l2x_) + std::fabs(l1y_ + l2y_)),
          slack_(1e-13 / std::fabs(triangle.denominator) + 1e-12) {}

    /// Whether the triangle accepts the points of a square. The coordinates are linear, so that the square's corners
    /// bound them; the slack covers their rounding, which grows as the triangle gets thinner.
    Verdict judge(double xCentre, double yCentre, double halfSide) const {
        const double dx = xCentre - x_;
        const double dy = yCentre - y_;
        const double l1 = l1x_ * dx + l1y_ * dy;
        const double l2 = l2x_ * dx + l2y_ * dy;
        const double l3 = 1.0 - l1 - l2;
        const double reach1 = halfSide * l1Reach_ + slack_;
        const double reach2 = halfSide * l2Reach_ + slack_;
        const double reach3 = halfSide * l3Reach_ + slack_;
        if (l1 + reach1 < -1e-10 || l2 + reach2 < -1e-10 || l3 + reach3 < -1e-10) {
            return Verdict::Never;
        }
        return l1 >= reach1 && l2 >= reach2 && l3 >= reach3 ? Verdict::Always : Verdict::Perhaps;
    }

private:
    double x_, y_;
    double l1x_, l1y_, l2x_, l2y_;
    double l1Reach_, l2Reach_, l3Reach_;
    double slack_;
};

} // namespace

/// Fills the parts of one cell after the other: squares are quartered until one triangle is certain, or down to a part.
class EModulusLookup::Filling {
public:
    Filling(const EModulusMesh& mesh, EModulusLookup& lookup) : mesh_(mesh), lookup_(lookup) {
        slopes_.reserve(lookup.triangles_.size());
        for (const EModulusTriangle& triangle : lookup.triangles_) {
            slopes_.emplace_back(triangle);
        }
    }

    void fillCell(int row, int column) {
        open_.clear();
        for (const std::int32_t index : mesh_.grid[static_cast<std::size_t>(row * EModulusMesh::GridSize + column)]) {
            if (!lookup_.triangles_[static_cast<std::size_t>(index)].isDegenerate()) {
                open_.push_back(static_cast<std::uint32_t>(index));
            }
        }
        fillSquare(row * Refinement, column * Refinement, Refinement, 0, open_.size());
    }

private:
    /// @param side        in parts
    /// @param begin, end  where open_ holds the triangles that may accept a point of the square
    void fillSquare(int row, int column, int side, std::size_t begin, std::size_t end) {
        const double half = 0.5 * side;
        const std::size_t kept = open_.size();
        bool always = false;
        for (std::size_t i = begin; i < end && !always; ++i) {
            const std::uint32_t number = open_[i];
            const Verdict verdict = slopes_[number].judge((column + half) / Size, (row + half) / Size, half / Size);
            always = verdict == Verdict::Always;
            if (verdict != Verdict::Never) {
                open_.push_back(number);
            }
        }
        const std::size_t count = open_.size() - kept;
        if (count == 1 && always) {
            const Part part = open_[kept] | Certain;
            for (int y = row; y < row + side; ++y) {
                std::fill_n(lookup_.parts_.begin() + y * Size + column, side, part);
            }
        } else if (count > 0 && side == 1) {
            lookup_.parts_[static_cast<std::size_t>(row * Size + column)] = lookup_.addList(open_, kept);
        } else if (count > 0) {
            const int step = side / 2;
            for (const auto& [y, x] :
                 {std::pair{0, 0}, std::pair{0, step}, std::pair{step, 0}, std::pair{step, step}}) {
                fillSquare(row + y, column + x, step, kept, kept + count);
            }
        }
        open_.resize(kept);
    }

    const EModulusMesh& mesh_;
    EModulusLookup& lookup_;
    std::vector<Slopes> slopes_;
    std::vector<std::uint32_t> open_; // lists of all squares around the one at work, one behind the other
};

EModulusLookup::EModulusLookup(const EModulusMesh& mesh)
    : xMin_(mesh.xMin),
      yMin_(mesh.yMin),
      xRange_(mesh.xRange),
      yRange_(mesh.yRange) {
    triangles_.reserve(mesh.triangles.size());
    for (std::size_t t = 0; t < mesh.triangles.size(); ++t) {
        triangles_.emplace_back(mesh, static_cast<std::int32_t>(t));
    }
    parts_.assign(static_cast<std::size_t>(Size) * Size, 0);
    candidates_.push_back(0); // the empty list, which parts outside of the mesh share
    Filling filling(mesh, *this);
    for (int row = 0; row < EModulusMesh::GridSize; ++row) {
        for (int column = 0; column < EModulusMesh::GridSize; ++column) {
            filling.fillCell(row, column);
        }
    }
}

EModulusLookup::Part EModulusLookup::addList(std::span<const std::uint32_t> triangles, std::size_t begin) {
    const auto place = static_cast<Part>(candidates_.size());
    candidates_.push_back(static_cast<std::uint32_t>(triangles.size() - begin));
    candidates_.insert(candidates_.end(), triangles.begin() + static_cast<std::ptrdiff_t>(begin), triangles.end());
    return place;
}

double EModulusLookup::search(Part list, double x, double y) const {
    const std::uint32_t* candidate = candidates_.data() + list;
    for (std::uint32_t left = *candidate; left > 0; --left) {
        const EModulusTriangle& triangle = triangles_[*++candidate];
        if (const auto weights = triangle.weights(x, y); weights.accepts()) {
            return triangle.value(weights);
        }
    }
    return std::numeric_limits<double>::quiet_NaN();
}

} // namespace Tessaly
