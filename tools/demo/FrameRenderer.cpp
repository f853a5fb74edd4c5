#include "FrameRenderer.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace Tessaly {

namespace {

constexpr double BackgroundLevel = 118.0;

/// How a cell changes the light, by distance from its centre in units of its outline: bright inside, dark rim, halo.
constexpr std::size_t ProfileSteps = 200;
constexpr double ProfileEnd = 1.8;

std::array<float, ProfileSteps> cellProfile(double halfAxis, double gain) {
    const auto ring = [halfAxis](double rho, double centre, double widthPixels) {
        const double distance = (rho - centre) * halfAxis / widthPixels;
        return std::exp(-distance * distance);
    };
    std::array<float, ProfileSteps> profile{};
    for (std::size_t i = 0; i < ProfileSteps; ++i) {
        const double rho = ProfileEnd * static_cast<double>(i) / ProfileSteps;
        const double inside = rho < 1.0 ? 20.0 * (1.0 - rho * rho) * (1.0 - rho * rho) - 6.0 * rho * rho : 0.0;
        profile[i] = static_cast<float>(gain * (inside - 42.0 * ring(rho, 0.96, 1.5) + 30.0 * ring(rho, 1.18, 2.2)));
    }
    return profile;
}

} // namespace

FrameRenderer::FrameRenderer(FrameSize size, double channelWidthPixels, bool withWalls, std::uint64_t seed)
    : size_(size) {
    DemoRandom random(seed);
    const double axis = 0.5 * (size.height - 1);
    const double tilt = random.uniform(-4.0, 4.0);
    for (int y = 0; y < size.height; ++y) {
        const double beyond = std::fabs(y - axis) - 0.5 * channelWidthPixels;
        double wall = 0.0;
        if (withWalls) {
            wall = -55.0 * std::exp(-beyond * beyond / 3.0) + 22.0 * std::exp(-(beyond + 3.5) * (beyond + 3.5) / 4.0) -
                   (beyond > 0.0 ? 12.0 : 0.0);
        }
        for (int x = 0; x < size.width; ++x) {
            background_.push_back(static_cast<float>(BackgroundLevel + wall + tilt * x / size.width));
        }
    }
    for (int speck = 0; speck < 6; ++speck) { // dirt on the optics, the same in every frame
        const double cx = random.uniform(0.0, size.width);
        const double cy = random.uniform(0.0, size.height);
        const double depth = random.uniform(-9.0, 5.0);
        for (int y = 0; y < size.height; ++y) {
            for (int x = 0; x < size.width; ++x) {
                const double d2 = (x - cx) * (x - cx) + (y - cy) * (y - cy);
                background_[static_cast<std::size_t>(y * size.width + x)] +=
                    static_cast<float>(depth * std::exp(-d2 / 9.0));
            }
        }
    }
    noise_.resize(1U << 18U);
    for (std::int8_t& value : noise_) {
        value = static_cast<std::int8_t>(std::lround(std::clamp(1.1 * random.normal(), -6.0, 6.0)));
    }
}

void FrameRenderer::addCell(const CellOutline& cell, double gain, std::vector<float>& frame) const {
    const auto profile = cellProfile(cell.half, gain);
    const auto range = [](double centre, double before, double after, int limit) {
        return std::pair{std::max(0, static_cast<int>(centre - before)),
                         std::min(limit, static_cast<int>(centre + after) + 1)};
    };
    const auto [top, bottom] = range(cell.y, ProfileEnd * cell.half, ProfileEnd * cell.half, size_.height);
    const auto [left, right] = range(cell.x, ProfileEnd * cell.rear, ProfileEnd * cell.front, size_.width);
    for (int y = top; y < bottom; ++y) {
        const double across = std::fabs(y - cell.y) / cell.half;
        for (int x = left; x < right; ++x) {
            const double along = x < cell.x ? (cell.x - x) / cell.rear : (x - cell.x) / cell.front;
            double rho = std::sqrt(along * along + across * across);
            if (x < cell.x && along > 0.0 && across > 0.0) {
                // A blunt rear reaches farther into the corners; first order in the exponent is close enough for light.
                const double corner = along * across / (along * along + across * across);
                rho *= 1.0 - 0.35 * (cell.bluntness - 2.0) * corner;
            }
            const auto step = static_cast<std::size_t>(rho * (ProfileSteps / ProfileEnd));
            if (step < ProfileSteps) {
                frame[static_cast<std::size_t>(y * size_.width + x)] += profile[step];
            }
        }
    }
}

void FrameRenderer::render(std::span<const CellOutline> cells, double gain, DemoRandom& random,
                           std::uint8_t* image) const {
    std::vector<float> frame = background_;
    for (const CellOutline& cell : cells) {
        addCell(cell, gain, frame);
    }
    const auto flicker = static_cast<float>(random.normal(0.0, 0.5));
    std::size_t place = random.bits() % (noise_.size() - frame.size());
    for (std::size_t i = 0; i < frame.size(); ++i) {
        image[i] = static_cast<std::uint8_t>(
            std::clamp(frame[i] + flicker + static_cast<float>(noise_[place++]) + 0.5F, 0.0F, 255.0F));
    }
}

Brightness FrameRenderer::measure(const std::uint8_t* image, const std::uint8_t* mask) const {
    double count = 0.0, sum = 0.0, squares = 0.0, correctedSum = 0.0, correctedSquares = 0.0;
    std::array<std::size_t, 256> histogram{};
    std::size_t outside = 0;
    for (std::size_t i = 0; i < background_.size(); ++i) {
        if (mask[i] == 0) {
            ++histogram[image[i]];
            ++outside;
            continue;
        }
        const double value = image[i];
        const double corrected = value - static_cast<double>(background_[i]);
        count += 1.0;
        sum += value;
        squares += value * value;
        correctedSum += corrected;
        correctedSquares += corrected * corrected;
    }
    Brightness brightness;
    brightness.average = sum / count;
    brightness.sd = std::sqrt(std::max(0.0, squares / count - brightness.average * brightness.average));
    brightness.correctedAverage = correctedSum / count;
    brightness.correctedSd =
        std::sqrt(std::max(0.0, correctedSquares / count - brightness.correctedAverage * brightness.correctedAverage));
    std::size_t below = 0;
    std::size_t level = 0;
    while (level < 255 && below + histogram[level] <= outside / 2) {
        below += histogram[level++];
    }
    brightness.backgroundMedian = static_cast<double>(level);
    brightness.backgroundOffset = brightness.backgroundMedian - BackgroundLevel;
    return brightness;
}

} // namespace Tessaly
