#pragma once

#include "calc/ContrastTable.h"
#include "io/VQDReader.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <vector>

namespace Tessaly {

/// An event's picture cut out around its cell, 8-bit grey, row by row. If there is no picture it
/// has a size but no pixels.
struct GalleryTile {
    std::vector<std::uint8_t> pixels;
    int width = 0;
    int height = 0;
    int eventId = -1;
};

/// What a page of tiles is made from. A value: it holds its own reference to the reader.
struct GalleryRenderInput {
    std::string datasetName;
    std::shared_ptr<VQDReader> reader;
    std::vector<int> eventIds; ///< of the page
    int cutoutW = 0;           ///< pixels, above 0
    int cutoutH = 0;
    double pixelSizeUm = 0.34; ///< micrometres per pixel
    int contrastMode = 0;      ///< how lo and hi came about; for the record
    int lo = 0;
    int hi = 255;
    int generation = 0;
};

struct GalleryRenderResult {
    std::vector<GalleryTile> tiles; ///< one for each event; none without a reader or if they would be too large
    bool tooLarge = false;          ///< the tiles would take more than GalleryPageBytes
    int generation = 0;
};

struct GalleryAutoContrastResult {
    int lo = 0;
    int hi = 255;
    int generation = 0;
};

/// How often each grey value occurs.
using GreyCounts = std::array<std::uint64_t, 256>;

/// Pixels of a page beyond which none is made; on the screen each takes four bytes.
constexpr std::size_t GalleryPageBytes = std::size_t{256} << 20;
/// Longest side of a tile that sizes of cells lead to.
constexpr int LongestCutoutSide = 16384;

/// The w x h pixels whose middle is the one nearest to (cx, cy); its left edge lies w / 2 (rounded down) before
/// std::round(cx). What sticks out of the picture is black.
/// @param cx, cy  pixels, finite, as large as they like
GalleryTile cutOut(const PictureView& picture, double cx, double cy, int w, int h, const ContrastTable& contrast);

/// One side of a tile that holds nearly all cells: the 99th percentile of their sizes, with a margin on both sides.
/// @param sizesUm  sizes of all events in micrometres; NaN and events without a size take no part
/// @return pixels; 0 if there are no sizes or if size or pixelSizeUm isn't above 0; at most LongestCutoutSide
int cutoutSide(std::span<const double> sizesUm, std::span<const int> eventIds, double pixelSizeUm, int marginPx);

/// At most 200 events picked by chance, always the same ones of a list.
std::vector<int> contrastSample(std::vector<int> eventIds);

/// The 1st and 99th percentile of grey values: those at floor((n - 1) p / 100) in rising order. 0 and 255 without any;
/// hi is above lo unless lo is 255.
GalleryAutoContrastResult contrastLimits(const GreyCounts& counts);

/// Reads the pictures of a page and cuts them out around "pos_x", "pos_y" of their events, or around their middle where
/// these aren't there or aren't finite. On two threads; for a thread of the pool.
GalleryRenderResult renderGalleryPage(const GalleryRenderInput& input);

/// Limits from every eighth pixel of the sample's pictures. For a thread of the pool.
GalleryAutoContrastResult findAutoContrast(VQDReader& reader, std::vector<int> eventIds, int generation);

} // namespace Tessaly
