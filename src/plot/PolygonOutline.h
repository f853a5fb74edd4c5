#pragma once

#include <QPolygonF>
#include <QWidget>

namespace Tessaly {

/// A polygon's line and vertices over a canvas, transparent and out of the mouse's way. Only what changes is painted.
class PolygonOutline : public QWidget {
public:
    /// Belongs to the canvas and covers it.
    explicit PolygonOutline(QWidget* canvas);

    /// @param pixels  vertices on the canvas
    /// @param closed  with a line from the last vertex back to the first
    void setPolygon(const QPolygonF& pixels, bool closed);
    const QPolygonF& polygon() const { return pixels_; }

    bool eventFilter(QObject* object, QEvent* event) override;

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    QPolygonF pixels_; ///< as drawn: a closed one ends on its first vertex
};

} // namespace Tessaly
