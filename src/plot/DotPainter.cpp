#include "plot/DotPainter.h"

#include "plot/DotPositions.h"

#include <QImage>
#include <QPaintEngine>
#include <QPainter>
#include <QTransform>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <vector>

namespace Tessaly {

namespace {

constexpr int PlacesPerPixel = 16;          ///< places of a centre per device pixel and direction
constexpr int BlockPixels = 8;              ///< pixels that are tested at once
constexpr int DotsAtOnce = 1024;            ///< dots whose places are computed at once
constexpr int MaxStampSize = 128;           ///< beyond, shapes are as fast
constexpr qint64 MaxRegionPixels = 1 << 26; ///< device pixels; beyond, buffers would weigh too much

/// Coverage of a dot's pixels for each place of its centre within a pixel, made when first asked for. Rows are padded
/// to whole blocks.
class Stamps {
public:
    /// @param radius  reach of a dot in device pixels
    Stamps(double radius, double scale, QPainter::RenderHints hints, const DotPainter::Shape& shape)
        : reach_(static_cast<int>(std::ceil(radius * PlacesPerPixel))),
          size_((2 * PlacesPerPixel - 2 + 2 * reach_) / PlacesPerPixel),
          stride_((size_ + BlockPixels - 1) / BlockPixels * BlockPixels),
          scale_(scale),
          hints_(hints),
          shape_(shape),
          masks_(std::size_t{PlacesPerPixel} * PlacesPerPixel * bytes()),
          ready_(std::size_t{PlacesPerPixel} * PlacesPerPixel, false),
          touched_(bytes(), 0) {
        const double center = double(reach_) / PlacesPerPixel;
        const auto distance = [center](int pixel) {
            return std::max({0.0, pixel - center - 1.0, center - pixel - 1.0});
        };
        for (int y = 0; y < size_; ++y) {
            for (int x = 0; x < size_; ++x) {
                if (std::hypot(distance(x), distance(y)) < radius) {
                    touched_[static_cast<std::size_t>(y * stride_ + x)] = 255;
                }
            }
        }
    }

    int reach() const { return reach_; }   ///< from the stamp's corner to a centre at place 0, in places
    int size() const { return size_; }     ///< rows
    int stride() const { return stride_; } ///< bytes per row
    /// Rows of 255 where any stamp may have coverage.
    const std::uint8_t* touched() const { return touched_.data(); }

    const std::uint8_t* at(int placeX, int placeY) {
        const auto place = static_cast<std::size_t>(placeY * PlacesPerPixel + placeX);
        if (!ready_[place]) {
            render(placeX, placeY);
            ready_[place] = true;
        }
        return masks_.data() + place * bytes();
    }

private:
    std::size_t bytes() const { return static_cast<std::size_t>(size_) * static_cast<std::size_t>(stride_); }

    void render(int placeX, int placeY) {
        QImage image(stride_, size_, QImage::Format_ARGB32_Premultiplied);
        image.fill(Qt::transparent);
        QPainter painter(&image);
        painter.setRenderHints(hints_);
        painter.translate(double(reach_ + placeX) / PlacesPerPixel, double(reach_ + placeY) / PlacesPerPixel);
        painter.scale(scale_, scale_);
        shape_(painter);
        painter.end();
        std::uint8_t* mask = masks_.data() + static_cast<std::size_t>(placeY * PlacesPerPixel + placeX) * bytes();
        for (int y = 0; y < size_; ++y) {
            const auto* line = reinterpret_cast<const QRgb*>(image.constScanLine(y));
            mask = std::transform(line, line + stride_, mask,
                                  [](QRgb pixel) { return static_cast<std::uint8_t>(qAlpha(pixel)); });
        }
    }

    int reach_;
    int size_;
    int stride_;
    double scale_;
    QPainter::RenderHints hints_;
    const DotPainter::Shape& shape_;
    std::vector<std::uint8_t> masks_;
    std::vector<char> ready_;
    std::vector<std::uint8_t> touched_;
};

/// Turns values in axis space into places of the stamp's corner in the buffer; -1 for places outside and for NaN.
class PlaceAxis {
public:
    PlaceAxis(const AxisPixels& pixels, double scale, double shift, double origin, int reach, int pixelLimit,
              bool aligned)
        : pixels_(pixels),
          scale_(scale * PlacesPerPixel),
          offset_((shift - origin) * PlacesPerPixel - reach + 0.5),
          limit_(pixelLimit * PlacesPerPixel),
          aligned_(aligned) {}

    int place(double axisValue) const {
        double position = pixels_.pixel(axisValue);
        if (aligned_ && std::abs(position) < RoundingRange) {
            // To the nearest integer by truncation, which a positive offset makes right for negative values, too.
            position = static_cast<int>(position + RoundingRange + 0.5) - RoundingRange; // NOLINT: faster than lround
        }
        const double place = position * scale_ + offset_;
        return place >= 0.0 && place < limit_ ? static_cast<int>(place) : -1;
    }

private:
    static constexpr double RoundingRange = 1 << 24;
    AxisPixels pixels_;
    double scale_;
    double offset_;
    double limit_;
    bool aligned_;
};

std::uint64_t load(const void* bytes) {
    std::uint64_t value = 0;
    std::memcpy(&value, bytes, sizeof value);
    return value;
}

/// x / 255, rounded, for x up to 255 * 255.
constexpr std::uint32_t divided255(std::uint32_t x) {
    return (x + 128 + ((x + 128) >> 8)) >> 8;
}

/// The device pixels that dots may touch, with a margin in which stamps may end but nothing is seen.
struct PaddedRegion {
    PaddedRegion(const QRect& visible, const Stamps& stamps)
        : margin(stamps.stride() + 1),
          width(visible.width() + 2 * margin),
          height(visible.height() + 2 * margin),
          originX(visible.x() - margin),
          originY(visible.y() - margin),
          region(visible) {}

    std::size_t pixels() const { return static_cast<std::size_t>(width) * static_cast<std::size_t>(height); }
    std::size_t index(int x, int y) const {
        return static_cast<std::size_t>(y) * static_cast<std::size_t>(width) + static_cast<std::size_t>(x);
    }
    /// Gives `value` to the pixels of the region.
    template <typename T>
    void fillRegion(std::vector<T>& buffer, T value) const {
        for (int y = margin; y < height - margin; ++y) {
            const auto row = buffer.begin() + static_cast<std::ptrdiff_t>(index(margin, y));
            std::fill(row, row + region.width(), value);
        }
    }
    /// The region as an image, a pixel at a time.
    template <typename PixelOf>
    QImage image(PixelOf pixelOf) const {
        QImage result(region.size(), QImage::Format_ARGB32_Premultiplied);
        for (int y = 0; y < region.height(); ++y) {
            auto* line = reinterpret_cast<QRgb*>(result.scanLine(y));
            const std::size_t row = index(margin, y + margin);
            for (int x = 0; x < region.width(); ++x) {
                line[x] = pixelOf(row + static_cast<std::size_t>(x));
            }
        }
        return result;
    }

    int margin, width, height, originX, originY;
    QRect region;
};

/// Dots in colours of their own, taken from the topmost down.
class ColorLayer {
public:
    ColorLayer(const PaddedRegion& padded, const Stamps& stamps)
        : padded_(padded),
          stamps_(stamps),
          remaining_(padded.pixels(), 0),
          sums_(padded.pixels(), 0) {
        padded.fillRegion(remaining_, std::uint8_t{255});
    }

    /// Adds a dot whose stamp's corner is at a pixel.
    /// @return false if nothing of the surroundings can be seen any more
    template <typename ColorOf>
    bool add(int x, int y, const std::uint8_t* mask, ColorOf colorOf) {
        bool open = false;
        std::uint64_t lanes = 0;
        std::uint32_t alpha = 0;
        for (int row = 0; row < stamps_.size(); ++row) {
            for (int block = 0; block < stamps_.stride(); block += BlockPixels) {
                const std::size_t inStamp = static_cast<std::size_t>(row * stamps_.stride() + block);
                const std::size_t pixel = padded_.index(x + block, y + row);
                if ((load(&remaining_[pixel]) & load(stamps_.touched() + inStamp)) == 0) {
                    continue;
                }
                if (!open) {
                    open = true;
                    const QRgb color = colorOf();
                    alpha = static_cast<std::uint32_t>(qAlpha(color));
                    lanes = std::uint64_t(qBlue(color)) | std::uint64_t(qGreen(color)) << 16 |
                            std::uint64_t(qRed(color)) << 32 | std::uint64_t{255} << 48;
                }
                if (alpha == 255) {
                    blend<true>(pixel, mask + inStamp, lanes, alpha);
                } else {
                    blend<false>(pixel, mask + inStamp, lanes, alpha);
                }
            }
        }
        return open;
    }

    QImage image() const {
        return padded_.image([this](std::size_t pixel) {
            const std::uint64_t sum = sums_[pixel];
            const auto lane = [sum](int shift) {
                return static_cast<int>(divided255(static_cast<std::uint32_t>(sum >> shift & 0xffff)));
            };
            return sum == 0 ? QRgb{0} : qRgba(lane(32), lane(16), lane(0), lane(48));
        });
    }

private:
    /// A pixel's weights add up to 255 at most, so that the four 16-bit lanes of its sum cannot run over.
    template <bool Opaque>
    void blend(std::size_t pixel, const std::uint8_t* mask, std::uint64_t lanes, std::uint32_t alpha) {
        std::uint8_t* remaining = &remaining_[pixel];
        std::uint64_t* sums = &sums_[pixel];
        for (int i = 0; i < BlockPixels; ++i) {
            const std::uint32_t coverage = Opaque ? mask[i] : divided255(mask[i] * alpha);
            const std::uint32_t weight = divided255(remaining[i] * coverage);
            remaining[i] = static_cast<std::uint8_t>(remaining[i] - weight);
            sums[i] += weight * lanes;
        }
    }

    const PaddedRegion& padded_;
    const Stamps& stamps_;
    std::vector<std::uint8_t> remaining_; ///< visibility left for dots further down, 255 for all
    std::vector<std::uint64_t> sums_;     ///< blue, green, red and alpha times 255, 16 bits each
};

/// Dots in one colour: only what remains visible of the background counts, in any order.
class PlainLayer {
public:
    PlainLayer(const PaddedRegion& padded, const Stamps& stamps)
        : padded_(padded),
          stamps_(stamps),
          remaining_(padded.pixels(), 0) {
        padded.fillRegion(remaining_, All);
    }

    /// As in ColorLayer.
    bool add(int x, int y, const std::uint8_t* mask) {
        bool open = false;
        for (int row = 0; row < stamps_.size(); ++row) {
            for (int block = 0; block < stamps_.stride(); block += BlockPixels) {
                const std::size_t inStamp = static_cast<std::size_t>(row * stamps_.stride() + block);
                std::uint16_t* remaining = &remaining_[padded_.index(x + block, y + row)];
                if ((load(remaining) | load(remaining + BlockPixels / 2)) != 0) {
                    open = true;
                    blend(remaining, mask + inStamp);
                }
            }
        }
        return open;
    }

    QImage image(const QColor& color) const {
        const auto red = static_cast<std::uint32_t>(color.red());
        const auto green = static_cast<std::uint32_t>(color.green());
        const auto blue = static_cast<std::uint32_t>(color.blue());
        return padded_.image([=, this](std::size_t pixel) {
            const std::uint32_t alpha = 255u - (remaining_[pixel] + 128u) / 257u;
            return qRgba(static_cast<int>(divided255(red * alpha)), static_cast<int>(divided255(green * alpha)),
                         static_cast<int>(divided255(blue * alpha)), static_cast<int>(alpha));
        });
    }

private:
    static constexpr std::uint16_t All = 65535;
    static constexpr std::uint16_t Invisible = 128; ///< less than half of a level

    static void blend(std::uint16_t* remaining, const std::uint8_t* mask) {
        for (int i = 0; i < BlockPixels; ++i) {
            const auto coverage = static_cast<std::uint16_t>(mask[i] * 257);
            const auto left =
                static_cast<std::uint16_t>(remaining[i] - ((std::uint32_t{remaining[i]} * coverage) >> 16));
            remaining[i] = left < Invisible ? std::uint16_t{0} : left;
        }
    }

    const PaddedRegion& padded_;
    const Stamps& stamps_;
    std::vector<std::uint16_t> remaining_; ///< visibility of the background
};

/// Calls add(index, x, y, mask) for the dots that reach the region, from last to first, passing over those whose corner
/// pixel has been found covered.
template <typename Add>
void forEachStamp(const DotPositions& positions, int from, int to, const PlaceAxis& xAxis, const PlaceAxis& yAxis,
                  const PaddedRegion& padded, Stamps& stamps, Add add) {
    std::vector<std::uint8_t> covered(padded.pixels(), 0);
    std::array<int, DotsAtOnce> xs;
    std::array<int, DotsAtOnce> ys;
    for (int end = to + 1; end > from; end -= DotsAtOnce) {
        const int begin = std::max(from, end - DotsAtOnce);
        const auto count = static_cast<std::size_t>(end - begin);
        const double* x = positions.x() + begin;
        const double* y = positions.y() + begin;
        for (std::size_t i = 0; i < count; ++i) {
            xs[i] = xAxis.place(x[i]);
            ys[i] = yAxis.place(y[i]);
        }
        for (std::size_t i = count; i-- > 0;) {
            if (xs[i] < 0 || ys[i] < 0) {
                continue;
            }
            const int cornerX = xs[i] / PlacesPerPixel;
            const int cornerY = ys[i] / PlacesPerPixel;
            std::uint8_t& isCovered = covered[padded.index(cornerX, cornerY)];
            if (!isCovered) {
                const std::uint8_t* mask = stamps.at(xs[i] % PlacesPerPixel, ys[i] % PlacesPerPixel);
                isCovered = !add(begin + static_cast<int>(i), cornerX, cornerY, mask);
            }
        }
    }
}

/// Size of a paint device in device pixels.
QSize deviceSize(const QPaintDevice& device) {
    const double ratio = device.devType() == QInternal::Widget ? device.devicePixelRatioF() : 1.0;
    return {static_cast<int>(std::ceil(device.width() * ratio)), static_cast<int>(std::ceil(device.height() * ratio))};
}

} // namespace

DotPainter::DotPainter(QPainter& painter, double extent) : painter_(painter), extent_(extent) {
    const QPaintEngine* engine = painter.paintEngine();
    const QTransform transform = painter.deviceTransform();
    const bool even = transform.m11() > 0.0 && qFuzzyCompare(transform.m11(), transform.m22()) &&
                      transform.type() <= QTransform::TxScale;
    if (!engine || engine->type() != QPaintEngine::Raster || !even || painter.opacity() < 1.0 ||
        painter.compositionMode() != QPainter::CompositionMode_SourceOver) {
        return;
    }
    scale_ = transform.m11();
    shiftX_ = transform.dx();
    shiftY_ = transform.dy();
    region_ = QRect(QPoint(0, 0), deviceSize(*engine->paintDevice()));
    if (painter.hasClipping()) {
        region_ &= transform.mapRect(painter.clipBoundingRect()).toAlignedRect();
    }
    canStamp_ = 2.0 * extent * scale_ < MaxStampSize && qint64{region_.width()} * region_.height() < MaxRegionPixels;
}

void DotPainter::drawColored(const DotPositions& positions, int from, int to, const Shape& shape,
                             const std::function<QRgb(int)>& colorOf) {
    if (region_.isEmpty()) {
        return;
    }
    Stamps stamps(extent_ * scale_, scale_, painter_.renderHints(), shape);
    const PaddedRegion padded(region_, stamps);
    const PlaceAxis xAxis(positions.xPixels(), scale_, shiftX_, padded.originX, stamps.reach(),
                          padded.width - padded.margin, false);
    const PlaceAxis yAxis(positions.yPixels(), scale_, shiftY_, padded.originY, stamps.reach(),
                          padded.height - padded.margin, false);
    ColorLayer layer(padded, stamps);
    forEachStamp(positions, from, to, xAxis, yAxis, padded, stamps,
                 [&](int index, int x, int y, const std::uint8_t* mask) {
                     return layer.add(x, y, mask, [&colorOf, index] { return colorOf(index); });
                 });
    drawImage(layer.image());
}

void DotPainter::drawPlain(const DotPositions& positions, int from, int to, const Shape& shape, const QColor& color,
                           bool aligned) {
    if (region_.isEmpty()) {
        return;
    }
    Stamps stamps(extent_ * scale_, scale_, painter_.renderHints(), shape);
    const PaddedRegion padded(region_, stamps);
    const PlaceAxis xAxis(positions.xPixels(), scale_, shiftX_, padded.originX, stamps.reach(),
                          padded.width - padded.margin, aligned);
    const PlaceAxis yAxis(positions.yPixels(), scale_, shiftY_, padded.originY, stamps.reach(),
                          padded.height - padded.margin, aligned);
    PlainLayer layer(padded, stamps);
    forEachStamp(positions, from, to, xAxis, yAxis, padded, stamps,
                 [&layer](int, int x, int y, const std::uint8_t* mask) { return layer.add(x, y, mask); });
    drawImage(layer.image(color));
}

void DotPainter::drawImage(const QImage& image) {
    painter_.save();
    // Whatever the device does to coordinates beneath the painter, a pixel of the image is a pixel of the device.
    painter_.resetTransform();
    painter_.setWorldTransform(painter_.deviceTransform().inverted());
    painter_.setRenderHint(QPainter::SmoothPixmapTransform, false);
    painter_.drawImage(region_.topLeft(), image);
    painter_.restore();
}

} // namespace Tessaly
