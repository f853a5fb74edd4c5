#include "CellShape.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <numbers>

namespace Tessaly {

namespace {

struct Corner {
    int x;
    int y;
};

long long turn(Corner a, Corner b, Corner c) {
    return static_cast<long long>(b.x - a.x) * (c.y - a.y) - static_cast<long long>(b.y - a.y) * (c.x - a.x);
}

/// Adds a corner to a chain that turns in one direction only.
void extendChain(std::vector<Corner>& chain, Corner corner, int direction) {
    while (chain.size() >= 2 && direction * turn(chain[chain.size() - 2], chain.back(), corner) <= 0) {
        chain.pop_back();
    }
    chain.push_back(corner);
}

double distance(Corner a, Corner b) {
    return std::hypot(a.x - b.x, a.y - b.y);
}

double score(const CellTarget& target, const HullMeasure& measure, const ModulusMap& map) {
    const double area = measure.area * map.params().pixelSize * map.params().pixelSize;
    const double areaError = std::fabs(area / target.area - 1.0);
    if (target.modulus <= 0.0) {
        return areaError + std::fabs(measure.deform() - target.deform);
    }
    const double modulusError = std::fabs(map.modulusOf(area, measure.deform()) / target.modulus - 1.0);
    return std::isnan(modulusError) ? 1e3 : std::max(modulusError, 2.0 * areaError);
}

} // namespace

std::vector<RowSpan> rasterise(const CellOutline& outline) {
    std::vector<RowSpan> spans;
    const int first = static_cast<int>(std::ceil(outline.y - outline.half));
    const int last = static_cast<int>(std::floor(outline.y + outline.half));
    for (int y = first; y <= last; ++y) {
        const double t = std::min(1.0, std::fabs(y - outline.y) / outline.half);
        const double right = outline.x + outline.front * std::sqrt(1.0 - t * t);
        const double left =
            outline.x - outline.rear * std::pow(1.0 - std::pow(t, outline.bluntness), 1.0 / outline.bluntness);
        const RowSpan span{y, static_cast<int>(std::ceil(left)), static_cast<int>(std::floor(right))};
        if (span.left <= span.right) {
            spans.push_back(span);
        }
    }
    return spans;
}

double HullMeasure::deform() const {
    return 1.0 - 2.0 * std::sqrt(std::numbers::pi * area) / perimeter;
}

HullMeasure measureHull(const std::vector<RowSpan>& spans) {
    std::vector<Corner> left;
    std::vector<Corner> right;
    for (const RowSpan& span : spans) {
        extendChain(left, {span.left, span.y}, -1);
        extendChain(right, {span.right, span.y}, 1);
    }
    HullMeasure measure;
    std::vector<Corner> hull(right);
    hull.insert(hull.end(), left.rbegin(), left.rend());
    for (std::size_t i = 0; i < hull.size(); ++i) {
        const Corner a = hull[i];
        const Corner b = hull[(i + 1) % hull.size()];
        measure.area += 0.5 * (static_cast<double>(a.x) * b.y - static_cast<double>(b.x) * a.y);
        measure.perimeter += distance(a, b);
    }
    return measure;
}

CellOutline fitOutline(const CellTarget& target, double x, double y, const ModulusMap& map, DemoRandom& random) {
    constexpr int maxTries = 60;
    constexpr double ellipseFactor = 3.0 / 16.0; // deformation of an ellipse: this times the squared log of its aspect
    const double pixel = map.params().pixelSize;
    const double targetArea = target.area / (pixel * pixel);
    const double asymmetry = random.uniform(0.0, 0.12);
    // A hull of pixel centres is half a pixel smaller all around than the outline.
    double radius = std::sqrt(targetArea / std::numbers::pi) + 0.4;
    double elongation = std::sqrt(std::max(target.deform - 0.002, 1e-4) / ellipseFactor);
    CellOutline best;
    double bestScore = 1e9;
    for (int i = 0; i < maxTries && bestScore > 0.02; ++i) {
        const double along = radius * std::exp(0.5 * elongation);
        const CellOutline outline{
            x + random.uniform(-0.5, 0.5), y + random.uniform(-0.5, 0.5),        along * (1.0 + asymmetry),
            along * (1.0 - asymmetry),     radius * std::exp(-0.5 * elongation), 2.0 + 0.6 * std::min(1.0, elongation)};
        const HullMeasure measure = measureHull(rasterise(outline));
        const double tried = score(target, measure, map);
        if (tried < bestScore) {
            bestScore = tried;
            best = outline;
        }
        radius *= std::sqrt(std::clamp(targetArea / std::max(measure.area, 1.0), 0.8, 1.25));
        const double squared = elongation * elongation + 0.7 * (target.deform - measure.deform()) / ellipseFactor;
        elongation = std::sqrt(std::max(squared, 0.0)) + random.uniform(0.0, 0.01);
    }
    return best;
}

} // namespace Tessaly
