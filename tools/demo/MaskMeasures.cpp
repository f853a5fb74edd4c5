#include "MaskMeasures.h"

#include <opencv2/imgproc.hpp>

#include <algorithm>
#include <array>
#include <cmath>
#include <numbers>

namespace Tessaly {

namespace {

using Outline = std::vector<cv::Point>;

constexpr std::size_t AngleCount = 100;
constexpr std::size_t OrderCount = 11;

/// Distance from the centre to a convex outline along a direction.
double radiusAlong(const Outline& hull, cv::Point2d centre, cv::Point2d direction) {
    for (std::size_t i = 0; i < hull.size(); ++i) {
        const cv::Point2d a = cv::Point2d(hull[i]) - centre;
        const cv::Point2d b = cv::Point2d(hull[(i + 1) % hull.size()]) - centre;
        const cv::Point2d edge = b - a;
        const double parallel = direction.cross(edge);
        if (std::fabs(parallel) < 1e-12) {
            continue;
        }
        const double along = a.cross(edge) / parallel;
        const double place = a.cross(direction) / parallel;
        if (along > 0.0 && place >= -1e-9 && place <= 1.0 + 1e-9) {
            return along;
        }
    }
    return 0.0;
}

/// cos(2 pi k j / AngleCount); sines are the cosines of a quarter turn less.
double cosineAt(std::size_t k, std::size_t j) {
    static const auto table = [] {
        std::array<double, AngleCount> values{};
        for (std::size_t i = 0; i < AngleCount; ++i) {
            values[i] = std::cos(2.0 * std::numbers::pi * static_cast<double>(i) / AngleCount);
        }
        return values;
    }();
    return table[k * j % AngleCount];
}

double sineAt(std::size_t k, std::size_t j) {
    return cosineAt(1, k * j + AngleCount - AngleCount / 4);
}

double deformOfOrders(const std::array<double, OrderCount>& cosines, const std::array<double, OrderCount>& sines,
                      std::size_t firstOrder) {
    std::vector<cv::Point2f> points;
    for (std::size_t j = 0; j < AngleCount; ++j) {
        double radius = 0.5 * cosines[0];
        for (std::size_t k = firstOrder; k < OrderCount; k += 2) {
            radius += cosines[k] * cosineAt(k, j) + sines[k] * sineAt(k, j);
        }
        points.emplace_back(static_cast<float>(radius * cosineAt(1, j)), static_cast<float>(radius * sineAt(1, j)));
    }
    return 1.0 - 2.0 * std::sqrt(std::numbers::pi * cv::contourArea(points)) / cv::arcLength(points, true);
}

void measureFourier(const Outline& hull, MaskMeasures& measures) {
    std::array<double, OrderCount> cosines{};
    std::array<double, OrderCount> sines{};
    for (std::size_t j = 0; j < AngleCount; ++j) {
        const cv::Point2d direction(cosineAt(1, j), sineAt(1, j));
        const double radius = radiusAlong(hull, {measures.x, measures.y}, direction) * 2.0 / AngleCount;
        for (std::size_t k = 0; k < OrderCount; ++k) {
            cosines[k] += radius * cosineAt(k, j);
            sines[k] += radius * sineAt(k, j);
        }
    }
    measures.deformOdd = deformOfOrders(cosines, sines, 1);
    measures.deformEven = deformOfOrders(cosines, sines, 2);
}

/// Shells around the flow's axis, mean of the upper and the lower half.
double revolvedVolume(const cv::Mat& mask, double axis) {
    double volume = 0.0;
    for (int y = 0; y < mask.rows; ++y) {
        volume += std::numbers::pi * std::fabs(y - axis) * std::max(0, cv::countNonZero(mask.row(y)) - 1);
    }
    return volume;
}

} // namespace

void paintMask(const std::vector<RowSpan>& spans, int width, int height, std::uint8_t* mask) {
    for (const RowSpan& span : spans) {
        if (span.y < 0 || span.y >= height) {
            continue;
        }
        const int left = std::max(0, span.left);
        const int right = std::min(width - 1, span.right);
        if (left <= right) {
            std::fill_n(mask + span.y * width + left, right - left + 1, std::uint8_t{255});
        }
    }
}

MaskMeasures measureMask(const std::uint8_t* mask, int width, int height) {
    const cv::Mat image(height, width, CV_8UC1, const_cast<std::uint8_t*>(mask));
    std::vector<Outline> outlines;
    cv::findContours(image, outlines, cv::RETR_EXTERNAL, cv::CHAIN_APPROX_NONE);
    MaskMeasures measures;
    if (outlines.empty()) {
        return measures;
    }
    const Outline& outline =
        *std::ranges::max_element(outlines, {}, [](const Outline& o) { return cv::contourArea(o); });
    Outline hull;
    cv::convexHull(outline, hull);
    measures.areaRaw = cv::contourArea(outline);
    measures.areaHull = cv::contourArea(hull);
    measures.perimeterRaw = cv::arcLength(outline, true);
    measures.perimeterHull = cv::arcLength(hull, true);
    const cv::Rect box = cv::boundingRect(outline);
    measures.width = box.width;
    measures.height = box.height;

    const cv::Moments raw = cv::moments(outline);
    const cv::Moments convex = cv::moments(hull);
    measures.x = convex.m10 / convex.m00;
    measures.y = convex.m01 / convex.m00;
    measures.inertiaRatioRaw = std::sqrt(raw.mu20 / raw.mu02);
    measures.inertiaRatioHull = std::sqrt(convex.mu20 / convex.mu02);
    const double spread = std::hypot(raw.mu20 - raw.mu02, 2.0 * raw.mu11);
    const double sum = raw.mu20 + raw.mu02;
    measures.inertiaRatioPrincipal = std::sqrt((sum + spread) / (sum - spread));
    measures.volume = revolvedVolume(image(cv::Rect(box)), measures.y - box.y);
    measureFourier(hull, measures);
    return measures;
}

} // namespace Tessaly
