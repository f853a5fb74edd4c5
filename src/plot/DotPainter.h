#pragma once

#include <QColor>
#include <QRect>
#include <QRgb>

#include <functional>

class QImage;
class QPainter;

namespace Tessaly {

class DotPositions;

/// Draws many equal dots on a raster device, with the picture that drawing the shapes one by one in order would give,
/// within what antialiasing leaves: a dot's centre is taken to the nearest sixteenth of a device pixel.
///
/// The dots are taken from last to first, each adding its colour in the share that the dots over it leave visible, so
/// that dots under a place that is covered already cost next to nothing. The result goes onto the device as one image.
/// The plain form, each shape by itself, is in tests/plot/DotPainterTest.cpp; the choice is on record in
/// docs/decisions. Works at any device pixel ratio, under the painter's clip and under transformations that scale
/// evenly.
class DotPainter {
public:
    /// Draws one dot about the origin in opaque black or shades of its transparency; pen and brush are up to it.
    using Shape = std::function<void(QPainter& painter)>;

    /// @param painter  active; must outlive this object
    /// @param extent   reach of a dot about its centre, in the painter's coordinates
    DotPainter(QPainter& painter, double extent);

    /// Fewer dots than this are as fast drawn one by one.
    static constexpr int MinDots = 1000;

    /// Whether the painter is one that dots can be stamped on. If not, they must be drawn as shapes: vector devices,
    /// rotation or shear, opacity, special composition modes, huge dots.
    bool canStamp() const { return canStamp_; }

    /// Draws dots from..to (inclusive) in colours of their own, later dots over earlier ones. Positions that are not
    /// finite are left out.
    /// @param colorOf  colour of a dot by its index; only asked for dots that can be seen
    void drawColored(const DotPositions& positions, int from, int to, const Shape& shape,
                     const std::function<QRgb(int)>& colorOf);

    /// Draws dots from..to (inclusive) in one colour, with the shape's transparency adding up where they overlap.
    /// @param aligned  centres are rounded to whole units of the painter's coordinates
    void drawPlain(const DotPositions& positions, int from, int to, const Shape& shape, const QColor& color,
                   bool aligned);

private:
    void drawImage(const QImage& image);

    QPainter& painter_;
    double extent_;
    bool canStamp_ = false;
    double scale_ = 1.0; ///< device pixels per unit
    double shiftX_ = 0.0;
    double shiftY_ = 0.0;
    QRect region_; ///< device pixels that dots may touch
};

} // namespace Tessaly
