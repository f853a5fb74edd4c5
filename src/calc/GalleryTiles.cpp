#include "calc/GalleryTiles.h"

#include "stats/Quantiles.h"

#include <algorithm>
#include <cmath>
#include <functional>
#include <mutex>
#include <numeric>
#include <random>
#include <utility>

namespace Tessaly {

namespace {

constexpr std::size_t SampledEvents = 200;
constexpr std::size_t PixelStep = 8;

/// Places of cells in micrometres, of all events; without columns if one of them is missing.
struct CellPlaces {
    SharedColumn x;
    SharedColumn y;

    explicit CellPlaces(VQDReader& reader) {
        if (reader.hasFeature("pos_x") && reader.hasFeature("pos_y")) {
            x = reader.column("pos_x");
            y = reader.column("pos_y");
        }
    }

    /// The middle of an event's cell in pixels; the middle of the picture if it isn't known.
    std::pair<double, double> centre(int event, const PictureView& picture, double pixelSizeUm) const {
        const auto index = static_cast<std::size_t>(event);
        if (x && index < x->size() && index < y->size() && std::isfinite((*x)[index]) && std::isfinite((*y)[index]) &&
            pixelSizeUm > 0.0) {
            return {(*x)[index] / pixelSizeUm, (*y)[index] / pixelSizeUm};
        }
        return {picture.width / 2.0, picture.height / 2.0};
    }
};

/// Where a cut-out begins along one axis. Too far outside is as good as just outside.
int firstPixel(double centre, int cutout, int picture) {
    const double first = std::round(centre) - cutout / 2; // NOLINT(bugprone-integer-division): whole pixels
    return static_cast<int>(std::clamp(first, -static_cast<double>(cutout), static_cast<double>(picture)));
}

} // namespace

GalleryTile cutOut(const PictureView& picture, double cx, double cy, int w, int h, const ContrastTable& contrast) {
    GalleryTile tile;
    tile.width = w;
    tile.height = h;
    tile.pixels.assign(static_cast<std::size_t>(w) * static_cast<std::size_t>(h), 0);
    const int left = firstPixel(cx, w, picture.width);
    const int top = firstPixel(cy, h, picture.height);
    const int begin = std::max(left, 0);
    const int end = std::min(left + w, picture.width);
    for (int y = std::max(top, 0); y < std::min(top + h, picture.height) && begin < end; ++y) {
        const std::uint8_t* source = picture.pixels.data() + static_cast<std::ptrdiff_t>(y) * picture.width;
        std::uint8_t* target = tile.pixels.data() + static_cast<std::ptrdiff_t>(y - top) * w + (begin - left);
        std::transform(source + begin, source + end, target, [&contrast](std::uint8_t grey) { return contrast[grey]; });
    }
    return tile;
}

int cutoutSide(std::span<const double> sizesUm, std::span<const int> eventIds, double pixelSizeUm, int marginPx) {
    std::vector<double> sizes;
    sizes.reserve(eventIds.size());
    for (const int event : eventIds) {
        const auto index = static_cast<std::size_t>(event);
        if (event >= 0 && index < sizesUm.size() && !std::isnan(sizesUm[index])) {
            sizes.push_back(sizesUm[index]);
        }
    }
    if (sizes.empty()) {
        return 0;
    }
    const auto place = static_cast<std::size_t>(std::floor(static_cast<double>(sizes.size() - 1) * 0.99));
    const double size = orderStatistics(sizes, std::span(&place, 1)).front();
    if (!(size > 0.0) || !(pixelSizeUm > 0.0)) {
        return 0;
    }
    return static_cast<int>(std::min<double>(std::ceil(size / pixelSizeUm) + 2.0 * marginPx, LongestCutoutSide));
}

std::vector<int> contrastSample(std::vector<int> eventIds) {
    std::mt19937 random(12345); // a constant, so that a page looks the same every time
    std::shuffle(eventIds.begin(), eventIds.end(), random);
    eventIds.resize(std::min(eventIds.size(), SampledEvents));
    return eventIds;
}

GalleryAutoContrastResult contrastLimits(const GreyCounts& counts) {
    const auto total = std::accumulate(counts.begin(), counts.end(), std::uint64_t{0});
    if (total == 0) {
        return {};
    }
    const auto percentile = [&](double percent) {
        const auto place = static_cast<std::uint64_t>(std::floor(static_cast<double>(total - 1) * percent / 100.0));
        std::uint64_t below = 0;
        int grey = 0;
        while ((below += counts[static_cast<std::size_t>(grey)]) <= place) {
            ++grey;
        }
        return grey;
    };
    GalleryAutoContrastResult limits{percentile(1.0), percentile(99.0), 0};
    if (limits.hi <= limits.lo) {
        limits.hi = std::min(limits.lo + 1, 255);
    }
    return limits;
}

GalleryRenderResult renderGalleryPage(const GalleryRenderInput& input) {
    GalleryRenderResult result;
    result.generation = input.generation;
    if (!input.reader || input.cutoutW < 1 || input.cutoutH < 1) {
        return result;
    }
    const auto tileBytes = static_cast<std::size_t>(input.cutoutW) * static_cast<std::size_t>(input.cutoutH);
    if (input.eventIds.size() * tileBytes > GalleryPageBytes) {
        result.tooLarge = true;
        return result;
    }
    result.tiles.resize(input.eventIds.size());
    for (std::size_t i = 0; i < result.tiles.size(); ++i) {
        result.tiles[i] = {{}, input.cutoutW, input.cutoutH, input.eventIds[i]};
    }
    const ContrastTable contrast = contrastTable(input.lo, input.hi);
    const CellPlaces places(*input.reader);
    input.reader->readImages(input.eventIds, [&](std::size_t place, const PictureView& picture) {
        const int event = input.eventIds[place];
        const auto [cx, cy] = places.centre(event, picture, input.pixelSizeUm);
        result.tiles[place] = cutOut(picture, cx, cy, input.cutoutW, input.cutoutH, contrast);
        result.tiles[place].eventId = event;
    });
    return result;
}

GalleryAutoContrastResult findAutoContrast(VQDReader& reader, std::vector<int> eventIds, int generation) {
    std::mutex mutex;
    GreyCounts total{};
    const std::vector<int> sample = contrastSample(std::move(eventIds));
    reader.readImages(sample, [&](std::size_t, const PictureView& picture) {
        GreyCounts counts{};
        for (std::size_t i = 0; i < picture.pixels.size(); i += PixelStep) {
            ++counts[picture.pixels[i]];
        }
        const std::lock_guard lock(mutex);
        std::ranges::transform(total, counts, total.begin(), std::plus());
    });
    GalleryAutoContrastResult result = contrastLimits(total);
    result.generation = generation;
    return result;
}

} // namespace Tessaly
