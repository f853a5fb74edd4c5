#pragma once

#include <QPolygonF>

class QwtPlot;

namespace Tessaly {

class PolygonOutline;

/// The polygon under the user's hands: its vertices in data units, the one being dragged, and the red outline that
/// shows them. The outline lies over the canvas and isn't a part of its picture: moving it paints no dots again.
class PolygonTool {
public:
    enum class Shape {
        Open,  ///< being drawn: an open line
        Closed ///< being edited: back to the first vertex
    };

    explicit PolygonTool(QwtPlot& plot);

    /// Shows an outline. The vertices aren't closed: the first isn't repeated.
    void begin(Shape shape, const QPolygonF& vertices);
    /// Hides the outline and forgets the vertices.
    void end();

    const QPolygonF& vertices() const { return vertices_; }
    void insert(int index, const QPointF& dataPos);
    void append(const QPointF& dataPos) { insert(static_cast<int>(vertices_.size()), dataPos); }
    void remove(int index);

    /// The vertex being dragged, -1 if none.
    int dragged() const { return dragged_; }
    void setDragged(int index) { dragged_ = index; }
    void moveDragged(const QPointF& dataPos);

    /// What lies under a place of the canvas, see PolygonHits.h.
    int vertexAt(const QPointF& canvasPos) const;
    int edgeAt(const QPointF& canvasPos) const;

    /// To be called when the axes have changed.
    void updateOutline();

private:
    QPolygonF pixels() const;

    QwtPlot& plot_;
    PolygonOutline* outline_; ///< child of the canvas
    Shape shape_ = Shape::Open;
    QPolygonF vertices_;
    int dragged_ = -1;
};

} // namespace Tessaly
