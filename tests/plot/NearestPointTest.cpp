#include "plot/NearestPoint.h"

#include <qwt_scale_map.h>

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <random>
#include <vector>

using namespace Tessaly;

namespace {

/// The definition, point by point.
int plainNearest(const std::vector<double>& x, const std::vector<double>& y, const AxisPixels& xPixels,
                 const AxisPixels& yPixels, const QPointF& place, const QSizeF& canvas) {
    int nearest = -1;
    double smallest = 0.0025000000000000005;
    for (std::size_t i = 0; i < x.size(); ++i) {
        const double dx = (xPixels.pixel(x[i]) - place.x()) / canvas.width();
        const double dy = (yPixels.pixel(y[i]) - place.y()) / canvas.height();
        if (dx * dx + dy * dy < smallest) {
            smallest = dx * dx + dy * dy;
            nearest = static_cast<int>(i);
        }
    }
    return nearest;
}

AxisPixels pixels(double lower, double upper, double from, double to) {
    QwtScaleMap map;
    map.setScaleInterval(lower, upper);
    map.setPaintInterval(from, to);
    return AxisPixels(map);
}

} // namespace

TEST(NearestPoint, GivesTheAnswerOfThePlainLoop) {
    constexpr double NaN = std::numeric_limits<double>::quiet_NaN();
    constexpr double Infinity = std::numeric_limits<double>::infinity();
    const QSizeF canvas(900, 700);
    std::mt19937 random(11);
    std::uniform_real_distribution<double> uniform;
    int found = 0;
    // Whole canvas, deep zoom, and values whose pixels are the difference of huge numbers.
    for (const auto& [center, extent] : {std::pair{0.5, 1.0}, std::pair{0.5, 1e-3}, std::pair{1e9, 1e-2}}) {
        std::vector<double> x;
        std::vector<double> y;
        for (int i = 0; i < 5000; ++i) {
            // Some on a grid, so that many are equally near.
            x.push_back(center + extent * (i % 2 == 0 ? std::round(20.0 * uniform(random)) / 20.0 : uniform(random)));
            y.push_back(center + extent * (i % 2 == 0 ? std::round(20.0 * uniform(random)) / 20.0 : uniform(random)));
        }
        x[7] = NaN;
        y[8] = Infinity;
        x[9] = -Infinity;
        const AxisPixels xPixels = pixels(center, center + extent, 0, canvas.width());
        const AxisPixels yPixels = pixels(center, center + extent, canvas.height(), 0);
        for (int i = 0; i < 300; ++i) {
            QPointF place(uniform(random) * 900, uniform(random) * 700);
            if (i % 3 == 0) {
                place = QPointF(45.0 * (i % 20), 35.0 * (i % 21)); // on the grid
            } else if (i % 17 == 0) {
                place *= 1e6; // far off
            }
            const int expected = plainNearest(x, y, xPixels, yPixels, place, canvas);
            EXPECT_EQ(nearestPoint(x, y, xPixels, yPixels, place, canvas), expected) << i << " about " << center;
            found += expected >= 0 ? 1 : 0;
        }
    }
    EXPECT_GT(found, 500);
}
