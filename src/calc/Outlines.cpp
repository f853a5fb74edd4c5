#include "calc/Outlines.h"

#include <opencv2/imgproc.hpp>

#include <algorithm>
#include <stdexcept>

namespace Tessaly {

namespace {

constexpr std::size_t leastOutline = 5;

/// Bounds of the pixels that are not zero; empty if there are none.
cv::Rect boundsOf(const MaskPicture& mask) {
    const auto width = static_cast<std::size_t>(mask.width);
    std::vector<std::uint8_t> columns(width, 0);
    int top = mask.height;
    int bottom = -1;
    for (int y = 0; y < mask.height; ++y) {
        const std::uint8_t* row = mask.pixels.data() + static_cast<std::size_t>(y) * width;
        std::uint8_t any = 0;
        for (std::size_t x = 0; x < width; ++x) {
            any |= row[x];
            columns[x] |= row[x];
        }
        if (any != 0) {
            top = std::min(top, y);
            bottom = y;
        }
    }
    if (bottom < 0) {
        return {};
    }
    const auto isSet = [](std::uint8_t value) { return value != 0; };
    const auto left = std::find_if(columns.begin(), columns.end(), isSet) - columns.begin();
    const auto right = columns.rend() - std::find_if(columns.rbegin(), columns.rend(), isSet);
    return {static_cast<int>(left), top, static_cast<int>(right - left), bottom - top + 1};
}

} // namespace

std::vector<OutlinePoint> cellOutline(const MaskPicture& mask) {
    if (mask.width < 1 || mask.height < 1 ||
        mask.pixels.size() < static_cast<std::size_t>(mask.width) * static_cast<std::size_t>(mask.height)) {
        return {};
    }
    // Most of a picture is empty. Without it the same outlines are found, in the same order.
    const cv::Rect bounds = boundsOf(mask);
    if (bounds.empty()) {
        return {};
    }
    // The picture is only read, and OpenCV copies it before it works on it.
    const cv::Mat whole(mask.height, mask.width, CV_8UC1, const_cast<std::uint8_t*>(mask.pixels.data()));
    std::vector<std::vector<cv::Point>> outlines;
    cv::findContours(whole(bounds), outlines, cv::RETR_EXTERNAL, cv::CHAIN_APPROX_NONE, bounds.tl());
    const std::vector<cv::Point>* largest = nullptr;
    double largestArea = 0.0;
    for (const auto& outline : outlines) {
        const double area = outline.size() < leastOutline ? 0.0 : cv::contourArea(outline);
        if (area > largestArea) {
            largest = &outline;
            largestArea = area;
        }
    }
    std::vector<OutlinePoint> result;
    if (largest != nullptr) {
        for (const cv::Point& point : *largest) {
            result.push_back({point.x, point.y});
        }
    }
    return result;
}

std::vector<std::pair<double, double>> centredHull(std::span<const OutlinePoint> points) {
    if (points.empty()) {
        throw std::runtime_error("the outline has no points");
    }
    std::vector<cv::Point> outline;
    outline.reserve(points.size());
    for (const OutlinePoint& point : points) {
        outline.emplace_back(point.x, point.y);
    }
    std::vector<cv::Point> hull;
    cv::convexHull(outline, hull);
    const cv::Moments moments = cv::moments(hull);
    const double x = moments.m10 / moments.m00;
    const double y = moments.m01 / moments.m00;
    std::vector<std::pair<double, double>> corners;
    corners.reserve(hull.size());
    for (const cv::Point& corner : hull) {
        corners.emplace_back(corner.x - x, corner.y - y);
    }
    return corners;
}

PolygonSize polygonSize(std::span<const std::array<float, 2>> corners) {
    auto* data = const_cast<std::array<float, 2>*>(corners.data()); // which is only read
    const cv::Mat points = corners.empty() ? cv::Mat() : cv::Mat(1, static_cast<int>(corners.size()), CV_32FC2, data);
    return {cv::contourArea(points), cv::arcLength(points, true)};
}

} // namespace Tessaly
