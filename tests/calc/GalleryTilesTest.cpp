// Expected values: tests/support/gallery_reference.py with OpenCV 4.6.0 and NumPy 1.24.2, equal to the last bit, and
// calculation by hand where it says so.

#include "calc/GalleryTiles.h"

#include "support/PlainFile.h"
#include "support/SampleFile.h"
#include "support/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <numeric>

namespace Tessaly {
namespace {

constexpr double NaN = std::numeric_limits<double>::quiet_NaN();
constexpr double Infinity = std::numeric_limits<double>::infinity();

/// The picture of the reference, 20 x 14.
struct PatternPicture {
    std::vector<std::uint8_t> pixels;

    PatternPicture() {
        for (int y = 0; y < 14; ++y) {
            for (int x = 0; x < 20; ++x) {
                pixels.push_back(static_cast<std::uint8_t>((37 * x + 11 * y + x * y) % 251));
            }
        }
    }
    PictureView view() const { return {pixels, 20, 14}; }
};

template <typename Values>
int checksum(const Values& values) {
    std::int64_t total = 0;
    for (const auto value : values) {
        total = (total * 31 + value) % 1000000007;
    }
    return static_cast<int>(total);
}

TEST(GalleryTiles, ATileIsWhatLiesAroundItsCentreInBlackBeyondThePicture) {
    struct Case {
        double cx, cy;
        int w, h, lo, hi, sum, checksum;
    };
    const std::vector<Case> cases{
        {10.0, 7.0, 8, 6, 0, 255, 5949, 809790576},
        {10.5, 6.5, 8, 6, 0, 255, 6531, 816301890},
        {1.0, 1.0, 8, 6, 0, 255, 1870, 274070553},
        {-0.5, 12.6, 7, 5, 0, 255, 1629, 385727827},
        {19.4, 13.0, 10, 12, 0, 255, 5314, 738848124},
        {10.0, 7.0, 40, 30, 0, 255, 34577, 94865416},
        {-30.0, 7.0, 8, 6, 0, 255, 0, 0},
        {10.0, 7.0, 8, 6, 30, 200, 6542, 490913035},
        {2.0, 2.0, 12, 12, 1, 254, 7010, 516788572},
        {10.0, 7.0, 20, 14, 100, 103, 41650, 756748854},
        {1e300, -1e300, 8, 6, 0, 255, 0, 0},
        {24.0, 7.0, 8, 6, 0, 255, 0, 0}, // by hand: just outside
    };
    const PatternPicture picture;
    for (const Case& c : cases) {
        SCOPED_TRACE(testing::Message() << c.cx << ", " << c.cy << ": " << c.w << " x " << c.h << ", " << c.lo);
        const GalleryTile tile = cutOut(picture.view(), c.cx, c.cy, c.w, c.h, contrastTable(c.lo, c.hi));
        EXPECT_EQ(tile.width, c.w);
        EXPECT_EQ(tile.height, c.h);
        ASSERT_EQ(tile.pixels.size(), static_cast<std::size_t>(c.w * c.h));
        EXPECT_EQ(std::accumulate(tile.pixels.begin(), tile.pixels.end(), 0), c.sum);
        EXPECT_EQ(checksum(tile.pixels), c.checksum);
    }
}

TEST(GalleryTiles, ContrastIsStretchedBetweenItsLimitsAndRoundedToEven) {
    const ContrastTable table = contrastTable(30, 200);
    const std::vector<std::pair<std::size_t, int>> expected{{29, 0},    {30, 0},    {31, 2},    {100, 105},
                                                            {115, 128}, {199, 254}, {200, 255}, {201, 255}};
    for (const auto& [grey, stretched] : expected) {
        EXPECT_EQ(table[grey], stretched) << grey;
    }
    ContrastTable unchanged{};
    std::iota(unchanged.begin(), unchanged.end(), std::uint8_t{0});
    EXPECT_EQ(contrastTable(0, 255), unchanged);
    EXPECT_EQ(contrastTable(-7, 300), unchanged);
    EXPECT_EQ(contrastTable(-7, 200), contrastTable(0, 200));
    for (const auto& [lo, hi] : {std::pair(100, 100), {200, 100}, {255, 256}, {-3, 0}}) {
        EXPECT_EQ(contrastTable(lo, hi), ContrastTable{}) << lo << ", " << hi;
    }
}

TEST(GalleryTiles, ASideIsTheLargestOfNearlyAllSizesAndItsMargins) {
    std::vector<double> sizes(202, 3.0);
    std::iota(sizes.begin(), sizes.end(), 0.0); // each its own place
    std::vector<int> all(sizes.size());
    std::iota(all.begin(), all.end(), 0);
    struct Case {
        std::vector<int> events;
        double pixelSize;
        int margin, side;
    };
    const auto first = [&all](std::ptrdiff_t count) { return std::vector<int>(all.begin(), all.begin() + count); };
    // By hand: the place is floor(0.99 (n - 1)).
    const std::vector<Case> cases{
        {first(101), 1.0, 5, 109},    // place 99
        {first(100), 1.0, 5, 108},    // place 98
        {{10}, 0.34, 5, 40},          // ceil(29.4) + 10
        {{10, -1, 500}, 0.34, 0, 30}, // what isn't there takes no part
        {{17}, 0.34, 5, 60},          // ceil(50.0) + 10: a whole number stays
        {first(1), 1.0, 5, 0},        // a size of 0
        {{}, 1.0, 5, 0},
        {{10}, 0.0, 5, 0},
        {{10}, -1.0, 5, 0},
        {{200}, 0.1, 0, 2000},
        {{200}, 1e-9, 0, LongestCutoutSide},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(cutoutSide(sizes, c.events, c.pixelSize, c.margin), c.side)
            << c.events.size() << " events, " << c.pixelSize;
    }
    EXPECT_EQ(cutoutSide(std::vector{NaN, 4.0, NaN}, std::vector{0, 1, 2}, 1.0, 1), 6);
    EXPECT_EQ(cutoutSide(std::vector{NaN, NaN}, std::vector{0, 1}, 1.0, 1), 0);
    EXPECT_EQ(cutoutSide(std::vector{Infinity}, std::vector{0}, 1.0, 1), LongestCutoutSide);
}

TEST(GalleryTiles, TheSampleIsTheOneOfTheStandardShuffle) {
    struct Case {
        int count;
        std::vector<int> begin;
        int checksum;
    };
    const std::vector<Case> cases{{0, {}, 0},
                                  {3, {0, 1, 2}, 33},
                                  {10, {6, 8, 3, 5}, 866216626},
                                  {1000, {716, 645, 859, 238}, 343272698},
                                  {1001, {717, 840, 579, 239}, 977360114},
                                  {70000, {27074, 64267, 55742, 20949}, 115819842}};
    for (const Case& c : cases) {
        std::vector<int> events(static_cast<std::size_t>(c.count));
        std::iota(events.begin(), events.end(), 0);
        const std::vector<int> sample = contrastSample(events);
        ASSERT_EQ(sample.size(), std::min<std::size_t>(events.size(), 200));
        EXPECT_TRUE(std::equal(c.begin.begin(), c.begin.end(), sample.begin())) << c.count;
        EXPECT_EQ(checksum(sample), c.checksum) << c.count;
    }
}

TEST(GalleryTiles, LimitsStandAtTheFirstAndTheLastPercent) {
    const auto limits = [](const std::vector<std::pair<std::size_t, int>>& counted) {
        GreyCounts counts{};
        for (const auto& [grey, count] : counted) {
            counts[grey] = static_cast<std::uint64_t>(count);
        }
        const GalleryAutoContrastResult found = contrastLimits(counts);
        return std::pair(found.lo, found.hi);
    };
    // By hand: places floor(0.01 (n - 1)) and floor(0.99 (n - 1)).
    EXPECT_EQ(limits({}), std::pair(0, 255));
    EXPECT_EQ(limits({{10, 1}, {20, 98}, {30, 2}}), std::pair(20, 30)); // places 1 and 99 of 101
    EXPECT_EQ(limits({{10, 2}, {20, 98}, {30, 1}}), std::pair(10, 20));
    EXPECT_EQ(limits({{10, 1}, {20, 98}, {30, 1}}), std::pair(10, 20)); // places 0 and 98 of 100
    EXPECT_EQ(limits({{77, 5}}), std::pair(77, 78));
    EXPECT_EQ(limits({{255, 5}}), std::pair(255, 255));
    EXPECT_EQ(limits({{0, 5}}), std::pair(0, 1));
}

/// A file of nine pictures of 20 x 14: the pattern of the reference, brighter by the event's number.
class GalleryPages : public testing::Test {
protected:
    static constexpr std::size_t Events = 9;

    std::shared_ptr<VQDReader> open(const std::map<std::string, std::vector<double>>& columns, bool images = true) {
        const std::string path = folder.file("pattern" + std::to_string(++files) + ".vqd");
        {
            const std::lock_guard lock(hdf5Mutex());
            PlainFile file(path);
            file.group("/events");
            for (const auto& [name, values] : columns) {
                file.column(name, H5T_NATIVE_DOUBLE, values);
            }
            if (images) {
                std::vector<std::uint8_t> stack;
                for (std::size_t event = 0; event < Events; ++event) {
                    for (const std::uint8_t grey : PatternPicture().pixels) {
                        stack.push_back(static_cast<std::uint8_t>(std::min<std::size_t>(grey + event, 255)));
                    }
                }
                const hid_t properties = PlainFile::chunked({2, 14, 20});
                H5Pset_deflate(properties, 3);
                file.dataset("/events/image", H5T_NATIVE_UINT8, {Events, 14, 20}, stack.data(), properties);
                H5Pclose(properties);
            }
        }
        auto reader = std::make_shared<VQDReader>();
        EXPECT_TRUE(reader->open(path));
        return reader;
    }

    static int pixelSum(const GalleryTile& tile) { return std::accumulate(tile.pixels.begin(), tile.pixels.end(), 0); }

    TemporaryFolder folder;
    int files = 0;
};

TEST_F(GalleryPages, TilesLieAroundTheirCellsAndAroundTheMiddleWhereThoseAreUnknown) {
    const std::vector<double> x{5, 5, NaN, 5, Infinity, 5, 5};
    const std::vector<double> y{3.5, 3.5, 3.5, NaN, 3.5, 3.5, 3.5, 3.5};
    GalleryRenderInput input;
    input.reader = open({{"pos_x", x}, {"pos_y", y}});
    input.eventIds = {0, 2, 3, 4, 7, 100, 8};
    input.cutoutW = 8;
    input.cutoutH = 6;
    input.pixelSizeUm = 0.5; // a cell at (10, 7), the middle of the picture
    input.generation = 17;
    GalleryRenderResult page = renderGalleryPage(input);
    EXPECT_EQ(page.generation, 17);
    ASSERT_EQ(page.tiles.size(), 7U);
    for (std::size_t i = 0; i < page.tiles.size(); ++i) {
        EXPECT_EQ(page.tiles[i].eventId, input.eventIds[i]);
        // 48 pixels, each brighter by the event's number; none near enough to white. The sum is the reference's.
        EXPECT_EQ(pixelSum(page.tiles[i]), i == 5 ? 0 : 5949 + 48 * input.eventIds[i]) << i;
        EXPECT_EQ(page.tiles[i].pixels.empty(), i == 5) << i; // no such event
    }
    input.pixelSizeUm = 5.0; // a cell at (1, 1)
    page = renderGalleryPage(input);
    EXPECT_EQ(pixelSum(page.tiles[0]), 1870);
    EXPECT_EQ(pixelSum(page.tiles[1]), 5949 + 48 * 2);
    input.pixelSizeUm = 0.0;
    EXPECT_EQ(pixelSum(renderGalleryPage(input).tiles[0]), 5949);
    input.lo = 30;
    input.hi = 200;
    EXPECT_EQ(pixelSum(renderGalleryPage(input).tiles[0]), 6542);
    input.reader = open({{"pos_x", x}}); // one axis is not a place
    input.lo = 0;
    input.hi = 255;
    input.pixelSizeUm = 5.0;
    EXPECT_EQ(pixelSum(renderGalleryPage(input).tiles[0]), 5949);
}

TEST_F(GalleryPages, WhatCannotBeMadeGivesNoTiles) {
    GalleryRenderInput input;
    input.generation = 4;
    input.eventIds = {0, 1, 2};
    input.cutoutW = input.cutoutH = LongestCutoutSide;
    EXPECT_TRUE(renderGalleryPage(input).tiles.empty()); // no reader
    input.reader = open({});
    const GalleryRenderResult large = renderGalleryPage(input);
    EXPECT_TRUE(large.tooLarge);
    EXPECT_TRUE(large.tiles.empty());
    EXPECT_EQ(large.generation, 4);
    input.cutoutW = 0;
    EXPECT_TRUE(renderGalleryPage(input).tiles.empty());
    input.cutoutW = input.cutoutH = 4;
    input.reader = open({{"area_um", {1, 2, 3}}}, false);
    const GalleryRenderResult without = renderGalleryPage(input);
    ASSERT_EQ(without.tiles.size(), 3U);
    EXPECT_TRUE(without.tiles[2].pixels.empty());
    EXPECT_EQ(without.tiles[2].eventId, 2);
}

TEST_F(GalleryPages, AutoContrastCountsEveryEighthPixelOfEachPicture) {
    const std::shared_ptr<VQDReader> reader = open({});
    // NumPy: p[::8] of the pattern (35 pixels), sorted; places 0 and 33.
    GalleryAutoContrastResult found = findAutoContrast(*reader, {0}, 5);
    EXPECT_EQ(found.generation, 5);
    EXPECT_EQ(std::pair(found.lo, found.hi), std::pair(0, 235));
    // The same of events 0 and 8, 70 pixels.
    found = findAutoContrast(*reader, {0, 8, 100}, 6);
    EXPECT_EQ(std::pair(found.lo, found.hi), std::pair(0, 243));
    found = findAutoContrast(*open({{"area_um", {1, 2, 3}}}, false), {0, 1}, 7);
    EXPECT_EQ(std::pair(found.lo, found.hi), std::pair(0, 255));
}

} // namespace
} // namespace Tessaly
