#include "calc/RadialSeries.h"

#include "calc/LinearAlgebra.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <stdexcept>

namespace Tessaly {

namespace {

constexpr double pi = 3.141592653589793;
constexpr std::size_t gridSize = 100;
constexpr std::size_t usualOrders = 11;

struct PolarPoint {
    double angle = 0.0;
    double radius = 0.0;
};

/// A point's polar form, the angle in [0, 2 pi).
PolarPoint polarPoint(double x, double y) {
    // The direction is in [-pi, pi]: one turn brings it into the range, and taking one off again is exact.
    double angle = std::atan2(y, x) + 2.0 * pi;
    if (angle >= 2.0 * pi) {
        angle -= 2.0 * pi;
    }
    return {angle, std::sqrt(x * x + y * y)};
}

bool hasSmallerAngle(const PolarPoint& a, const PolarPoint& b) {
    return a.angle < b.angle;
}

/// Sorts by angle, equal angles in the order given. Points on the way around a hull are in order already, but for the
/// direction and the place where they begin.
void sortByAngle(std::vector<PolarPoint>& points) {
    std::vector<PolarPoint> turned = points;
    const auto falls = [](const PolarPoint& a, const PolarPoint& b) { return a.angle > b.angle; };
    const auto falling = std::count_if(
        points.begin() + 1, points.end(),
        [&falls, previous = points.begin()](const PolarPoint& point) mutable { return falls(*previous++, point); });
    if (2 * static_cast<std::size_t>(falling) > points.size()) {
        std::reverse(turned.begin(), turned.end());
    }
    std::rotate(turned.begin(), std::min_element(turned.begin(), turned.end(), hasSmallerAngle), turned.end());
    const auto rises = [](const PolarPoint& a, const PolarPoint& b) { return a.angle >= b.angle; };
    if (std::adjacent_find(turned.begin(), turned.end(), rises) == turned.end()) {
        points = std::move(turned);
    } else {
        std::stable_sort(points.begin(), points.end(), hasSmallerAngle);
    }
}

/// The angles j * 2 pi / 100.
const std::vector<double>& gridAngles() {
    static const std::vector<double> angles = [] {
        std::vector<double> made;
        for (std::size_t j = 0; j < gridSize; ++j) {
            made.push_back(static_cast<double>(j) * (2.0 * pi) / static_cast<double>(gridSize));
        }
        return made;
    }();
    return angles;
}

Waves computedWaves(const std::vector<double>& angles, int order) {
    Waves waves;
    for (const double angle : angles) {
        waves.cosines.push_back(std::cos(order * angle));
        waves.sines.push_back(std::sin(order * angle));
    }
    return waves;
}

/// The grid's angles know theirs for the usual orders, computed once.
const Waves& wavesOf(const RadialCurve& curve, int order, Waves& scratch) {
    static const std::array<Waves, usualOrders> grid = [] {
        std::array<Waves, usualOrders> made;
        for (std::size_t k = 0; k < usualOrders; ++k) {
            made[k] = computedWaves(gridAngles(), static_cast<int>(k));
        }
        return made;
    }();
    const auto place = static_cast<std::size_t>(order);
    if (place < usualOrders && curve.angles == gridAngles()) {
        return grid[place];
    }
    scratch = computedWaves(curve.angles, order);
    return scratch;
}

/// Adds an order of a curve's series to the radii of the sum that it belongs to.
void addOrder(const RadialCurve& curve, const Waves& waves, std::vector<double>& sum) {
    double a = 0.0;
    double b = 0.0;
    for (std::size_t j = 0; j < curve.radii.size(); ++j) {
        a += curve.radii[j] * waves.cosines[j] * curve.weights[j];
        b += curve.radii[j] * waves.sines[j] * curve.weights[j];
    }
    a /= pi;
    b /= pi;
    for (std::size_t j = 0; j < sum.size(); ++j) {
        sum[j] += a * waves.cosines[j] + b * waves.sines[j];
    }
}

} // namespace

RadialCurve polarCurve(std::span<const std::pair<double, double>> corners, std::size_t partsPerEdge) {
    std::vector<PolarPoint> points;
    points.reserve(corners.size() * partsPerEdge);
    for (std::size_t i = 0; i < corners.size(); ++i) {
        const auto& [x0, y0] = corners[i];
        const auto& [x1, y1] = corners[(i + 1) % corners.size()];
        for (std::size_t part = 0; part < partsPerEdge; ++part) {
            const double t = static_cast<double>(part) / static_cast<double>(partsPerEdge);
            points.push_back(polarPoint(x0 + t * (x1 - x0), y0 + t * (y1 - y0)));
        }
    }
    if (std::ranges::any_of(points, [](const PolarPoint& p) { return std::isnan(p.angle) || std::isnan(p.radius); })) {
        throw std::runtime_error("the outline encloses no area");
    }
    if (!points.empty()) {
        sortByAngle(points);
    }
    RadialCurve curve;
    curve.angles.reserve(points.size());
    curve.radii.reserve(points.size());
    for (const PolarPoint& point : points) {
        curve.angles.push_back(point.angle);
        curve.radii.push_back(point.radius);
    }
    return curve;
}

void weighByGaps(RadialCurve& curve) {
    const std::vector<double>& angles = curve.angles;
    const std::size_t count = angles.size();
    const auto gap = [&angles](std::size_t from, std::size_t to) {
        return std::fmod(angles[to] - angles[from] + 2.0 * pi, 2.0 * pi);
    };
    curve.weights.clear();
    for (std::size_t i = 0; i < count; ++i) {
        curve.weights.push_back(0.5 * (gap((i + count - 1) % count, i) + gap(i, (i + 1) % count)));
    }
}

RadialCurve resampled(const RadialCurve& curve) {
    std::vector<double> angles{0.0}; // the place of the last point, a turn earlier
    std::vector<double> radii{0.0};
    angles.reserve(curve.angles.size() + 2);
    radii.reserve(curve.angles.size() + 2);
    for (std::size_t i = 0; i < curve.angles.size(); ++i) {
        if (i == 0 || curve.angles[i] != curve.angles[i - 1]) {
            angles.push_back(curve.angles[i]);
            radii.push_back(curve.radii[i]);
        }
    }
    if (angles.size() < 3) {
        throw std::runtime_error("the outline has fewer than two directions");
    }
    angles[0] = angles.back() - 2.0 * pi;
    radii[0] = radii.back();
    angles.push_back(angles[1] + 2.0 * pi);
    radii.push_back(radii[1]);

    RadialCurve result{gridAngles(), std::vector<double>(gridSize), {}};
    interpolateLinearly(angles, radii, result.angles, result.radii);
    result.weights.assign(gridSize, 2.0 * pi / static_cast<double>(gridSize));
    return result;
}

RebuiltRadii rebuilt(const RadialCurve& curve, int harmonics) {
    double mean = 0.0;
    for (std::size_t j = 0; j < curve.radii.size(); ++j) {
        mean += curve.radii[j] * curve.weights[j];
    }
    mean /= 2.0 * pi;
    RebuiltRadii result;
    Waves scratch;
    result.odd.assign(curve.radii.size(), harmonics > 0 ? mean : 0.0);
    result.even = result.odd;
    for (int order = 1; order < harmonics; ++order) {
        std::vector<double>& sum = order % 2 == 1 ? result.odd : result.even;
        addOrder(curve, wavesOf(curve, order, scratch), sum);
    }
    for (std::size_t j = 0; j < curve.radii.size(); ++j) {
        result.all.push_back(result.odd[j] + result.even[j] - mean);
    }
    result.directions = wavesOf(curve, 1, scratch);
    return result;
}

} // namespace Tessaly
