#pragma once

#include "plot/PolygonTool.h"

#include <QPoint>
#include <QPointF>
#include <QPolygonF>

#include <optional>
#include <span>

class QEvent;
class QRubberBand;

namespace Tessaly {

class ScatterPlot;

/// What mouse and keys do on a scatter plot's canvas: one state machine, whose table is in CanvasInput.cpp. A row tells
/// in which state, at what input and on which condition an action runs and which state follows; the first row that fits
/// counts. Without one the event goes on to Qwt.
class CanvasInput {
public:
    enum class State {
        Idle,
        Zooming,  ///< left button held, a rubber band follows
        Panning,  ///< shift and left button held
        Drawing,  ///< a new polygon grows by clicks
        Editing,  ///< a polygon's vertices can be taken hold of
        Dragging, ///< one of them follows the mouse
    };

    explicit CanvasInput(ScatterPlot& plot);

    /// Handles an event of the canvas, or a key of the plot.
    /// @return true if the event is consumed
    bool handle(QEvent* event);

    State state() const { return state_; }
    bool isDrawing() const { return state_ == State::Drawing; }
    bool isEditing() const { return state_ == State::Editing || state_ == State::Dragging; }
    /// Of the polygon being edited, -1 if none is.
    int editId() const { return editId_; }
    /// Vertices of the polygon being drawn or edited, in data units.
    const QPolygonF& vertices() const { return tool_.vertices(); }

    // See ScatterPlot's functions of these names.
    void startPolygonDraw();
    void cancelPolygonDraw();
    void startPolygonEdit(int id, const QPolygonF& polygon);
    void stopPolygonEdit();

    /// The axes or the canvas have changed: the outline moves along.
    void updateOutline() { tool_.updateOutline(); }
    /// Other points are shown: none of them has been reported by hovering.
    void forgetHover() { hoverIndex_ = -1; }

private:
    enum class Trigger { Escape, LeftPress, RightPress, OtherPress, DoubleClick, Move, LeftRelease, Wheel };

    struct Input {
        Trigger trigger;
        QPointF position; ///< on the canvas
        bool shift = false;
        int wheelAngle = 0;
    };

    using Condition = bool (CanvasInput::*)(const Input&) const;
    using Action = void (CanvasInput::*)(const Input&);
    struct Row {
        State state;
        Trigger trigger;
        Condition condition; ///< null: always
        Action action;       ///< null: nothing
        State next;
        bool consumed;
    };
    static std::span<const Row> table();

    static std::optional<Input> inputOf(const QEvent& event);

    // Conditions
    bool withShift(const Input& input) const;
    bool hasThreeVertices(const Input& input) const;
    bool onVertex(const Input& input) const;
    bool onEdge(const Input& input) const;
    bool onSpareVertex(const Input& input) const;
    bool bandIsLarge(const Input& input) const;

    // Actions. The state is the next one by then, so that who is told something finds the machine as it will be.
    void cancelDrawing(const Input& input);
    void addVertex(const Input& input);
    void completeDrawing(const Input& input);
    void endEditing(const Input& input);
    void grabVertex(const Input& input);
    void splitEdge(const Input& input);
    void removeVertex(const Input& input);
    void showTarget(const Input& input);
    void moveVertex(const Input& input);
    void dropVertex(const Input& input);
    void resetZoom(const Input& input);
    void startPan(const Input& input);
    void pan(const Input& input);
    void endPan(const Input& input);
    void startBand(const Input& input);
    void stretchBand(const Input& input);
    void zoomToBand(const Input& input);
    void pick(const Input& input);
    void zoomByWheel(const Input& input);
    void hover(const Input& input);

    /// Ends what the mouse was about to do when the state is changed from outside.
    void abandonGesture();
    void finishDrawing();
    void finishEditing();
    void setCursor(Qt::CursorShape shape);

    ScatterPlot& plot_;
    PolygonTool tool_;
    State state_ = State::Idle;
    int editId_ = -1;
    int hoverIndex_ = -1;
    QPoint zoomOrigin_;
    QPoint panLast_;
    QRubberBand* band_ = nullptr; ///< child of the canvas, made at first use
};

} // namespace Tessaly
