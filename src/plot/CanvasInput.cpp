#include "plot/CanvasInput.h"

#include "plot/PlotNavigator.h"
#include "plot/ScatterPlot.h"

#include <QMouseEvent>
#include <QRubberBand>
#include <QWheelEvent>

#include <utility>

namespace Tessaly {

namespace {

/// A press and release no further apart than this, in pixels, is a click.
constexpr int ClickDistance = 5;

/// The rectangle between two positions, whatever their order; its size is their distance.
QRectF rectBetween(const QPoint& a, const QPoint& b) {
    return QRectF(QPointF(a), QPointF(b)).normalized();
}

} // namespace

std::span<const CanvasInput::Row> CanvasInput::table() {
    using S = State;
    using T = Trigger;
    using C = CanvasInput;
    static constexpr bool Consumed = true;
    static constexpr bool GoesOn = false;
    // clang-format off
    static constexpr Row rows[] = {
        {S::Idle,     T::RightPress,  nullptr,               &C::resetZoom,       S::Idle,     Consumed},
        {S::Idle,     T::DoubleClick, nullptr,               &C::resetZoom,       S::Idle,     Consumed},
        {S::Idle,     T::LeftPress,   &C::withShift,         &C::startPan,        S::Panning,  Consumed},
        {S::Idle,     T::LeftPress,   nullptr,               &C::startBand,       S::Zooming,  GoesOn},
        {S::Idle,     T::Wheel,       nullptr,               &C::zoomByWheel,     S::Idle,     Consumed},

        {S::Zooming,  T::Move,        nullptr,               &C::stretchBand,     S::Zooming,  Consumed},
        {S::Zooming,  T::LeftRelease, &C::bandIsLarge,       &C::zoomToBand,      S::Idle,     Consumed},
        {S::Zooming,  T::LeftRelease, nullptr,               &C::pick,            S::Idle,     Consumed},
        {S::Zooming,  T::LeftPress,   nullptr,               &C::startBand,       S::Zooming,  GoesOn}, // release was lost
        {S::Zooming,  T::Wheel,       nullptr,               &C::zoomByWheel,     S::Zooming,  Consumed},

        {S::Panning,  T::Move,        nullptr,               &C::pan,             S::Panning,  Consumed},
        {S::Panning,  T::LeftRelease, nullptr,               &C::endPan,          S::Idle,     Consumed},
        {S::Panning,  T::LeftPress,   nullptr,               &C::startPan,        S::Panning,  Consumed}, // release was lost
        {S::Panning,  T::Wheel,       nullptr,               &C::zoomByWheel,     S::Panning,  Consumed},

        {S::Drawing,  T::Escape,      nullptr,               &C::cancelDrawing,   S::Idle,     Consumed},
        {S::Drawing,  T::LeftPress,   nullptr,               &C::addVertex,       S::Drawing,  Consumed},
        {S::Drawing,  T::RightPress,  nullptr,               &C::resetZoom,       S::Drawing,  Consumed},
        {S::Drawing,  T::DoubleClick, &C::hasThreeVertices,  &C::completeDrawing, S::Idle,     Consumed},
        {S::Drawing,  T::DoubleClick, nullptr,               nullptr,             S::Drawing,  Consumed},
        {S::Drawing,  T::Move,        nullptr,               &C::hover,           S::Drawing,  GoesOn},
        {S::Drawing,  T::Wheel,       nullptr,               &C::zoomByWheel,     S::Drawing,  Consumed},

        {S::Editing,  T::Escape,      nullptr,               &C::endEditing,      S::Idle,     Consumed},
        {S::Editing,  T::LeftPress,   &C::onVertex,          &C::grabVertex,      S::Dragging, Consumed},
        {S::Editing,  T::LeftPress,   &C::onEdge,            &C::splitEdge,       S::Dragging, Consumed},
        {S::Editing,  T::LeftPress,   nullptr,               nullptr,             S::Editing,  Consumed},
        {S::Editing,  T::RightPress,  &C::onSpareVertex,     &C::removeVertex,    S::Editing,  Consumed},
        {S::Editing,  T::RightPress,  nullptr,               nullptr,             S::Editing,  Consumed},
        {S::Editing,  T::OtherPress,  nullptr,               nullptr,             S::Editing,  Consumed},
        {S::Editing,  T::DoubleClick, nullptr,               nullptr,             S::Editing,  Consumed},
        {S::Editing,  T::Move,        nullptr,               &C::showTarget,      S::Editing,  GoesOn},
        {S::Editing,  T::Wheel,       nullptr,               &C::zoomByWheel,     S::Editing,  Consumed},

        {S::Dragging, T::Escape,      nullptr,               &C::endEditing,      S::Idle,     Consumed},
        {S::Dragging, T::Move,        nullptr,               &C::moveVertex,      S::Dragging, Consumed},
        {S::Dragging, T::LeftRelease, nullptr,               &C::dropVertex,      S::Editing,  Consumed},
        {S::Dragging, T::LeftPress,   nullptr,               nullptr,             S::Dragging, Consumed},
        {S::Dragging, T::RightPress,  nullptr,               nullptr,             S::Dragging, Consumed},
        {S::Dragging, T::OtherPress,  nullptr,               nullptr,             S::Dragging, Consumed},
        {S::Dragging, T::DoubleClick, nullptr,               nullptr,             S::Dragging, Consumed},
        {S::Dragging, T::Wheel,       nullptr,               &C::zoomByWheel,     S::Dragging, Consumed},
    };
    // clang-format on
    return rows;
}

CanvasInput::CanvasInput(ScatterPlot& plot) : plot_(plot), tool_(plot) {}

std::optional<CanvasInput::Input> CanvasInput::inputOf(const QEvent& event) {
    const auto mouseInput = [&event](Trigger trigger) {
        const auto& mouse = static_cast<const QMouseEvent&>(event);
        return Input{trigger, mouse.position(), mouse.modifiers().testFlag(Qt::ShiftModifier), 0};
    };
    const auto pressOf = [](Qt::MouseButton button) {
        return button == Qt::LeftButton    ? Trigger::LeftPress
               : button == Qt::RightButton ? Trigger::RightPress
                                           : Trigger::OtherPress;
    };
    switch (event.type()) {
    case QEvent::KeyPress:
    case QEvent::ShortcutOverride:
        if (static_cast<const QKeyEvent&>(event).key() == Qt::Key_Escape) {
            return Input{Trigger::Escape, {}, false, 0};
        }
        return std::nullopt;
    case QEvent::MouseButtonPress:
        return mouseInput(pressOf(static_cast<const QMouseEvent&>(event).button()));
    case QEvent::MouseButtonDblClick: {
        // The second press of another button is one press more.
        const Qt::MouseButton button = static_cast<const QMouseEvent&>(event).button();
        return mouseInput(button == Qt::LeftButton ? Trigger::DoubleClick : pressOf(button));
    }
    case QEvent::MouseMove:
        return mouseInput(Trigger::Move);
    case QEvent::MouseButtonRelease:
        if (static_cast<const QMouseEvent&>(event).button() == Qt::LeftButton) {
            return mouseInput(Trigger::LeftRelease);
        }
        return std::nullopt;
    case QEvent::Wheel: {
        const auto& wheel = static_cast<const QWheelEvent&>(event);
        return Input{Trigger::Wheel, wheel.position(), false, wheel.angleDelta().y()};
    }
    default:
        return std::nullopt;
    }
}

bool CanvasInput::handle(QEvent* event) {
    const std::optional<Input> input = inputOf(*event);
    if (!input) {
        return false;
    }
    for (const Row& row : table()) {
        if (row.state != state_ || row.trigger != input->trigger ||
            (row.condition && !(this->*row.condition)(*input))) {
            continue;
        }
        if (event->type() == QEvent::ShortcutOverride) {
            event->accept(); // the key comes here, whatever shortcut of the window it is
            return false;
        }
        state_ = row.next;
        if (row.action) {
            (this->*row.action)(*input);
        }
        return row.consumed;
    }
    return false;
}

bool CanvasInput::withShift(const Input& input) const {
    return input.shift;
}

bool CanvasInput::hasThreeVertices(const Input&) const {
    return tool_.vertices().size() >= 3;
}

bool CanvasInput::onVertex(const Input& input) const {
    return tool_.vertexAt(input.position) >= 0;
}

bool CanvasInput::onEdge(const Input& input) const {
    return tool_.edgeAt(input.position) >= 0;
}

bool CanvasInput::onSpareVertex(const Input& input) const {
    return tool_.vertices().size() > 3 && onVertex(input);
}

bool CanvasInput::bandIsLarge(const Input& input) const {
    const QRectF rect = rectBetween(zoomOrigin_, input.position.toPoint());
    return rect.width() > ClickDistance && rect.height() > ClickDistance;
}

void CanvasInput::startPolygonDraw() {
    abandonGesture();
    stopPolygonEdit();
    state_ = State::Drawing;
    hoverIndex_ = -1;
    tool_.begin(PolygonTool::Shape::Open, {});
    setCursor(Qt::CrossCursor);
    plot_.canvas()->setFocus(Qt::OtherFocusReason);
}

void CanvasInput::cancelPolygonDraw() {
    if (isDrawing()) {
        state_ = State::Idle;
        cancelDrawing({});
    }
}

void CanvasInput::startPolygonEdit(int id, const QPolygonF& polygon) {
    abandonGesture();
    if (editId_ != id) {
        stopPolygonEdit();
    }
    cancelPolygonDraw();
    state_ = State::Editing;
    editId_ = id;
    hoverIndex_ = -1;
    tool_.begin(PolygonTool::Shape::Closed, polygon);
    plot_.setGateVisible(id, false);
    setCursor(Qt::ArrowCursor);
    plot_.canvas()->setFocus(Qt::OtherFocusReason);
}

void CanvasInput::stopPolygonEdit() {
    if (isEditing()) {
        state_ = State::Idle;
        endEditing({});
    }
}

void CanvasInput::abandonGesture() {
    if (band_) {
        band_->hide();
    }
    if (state_ == State::Zooming || state_ == State::Panning) {
        state_ = State::Idle;
    }
}

void CanvasInput::finishDrawing() {
    hoverIndex_ = -1;
    tool_.end();
    setCursor(Qt::ArrowCursor);
}

void CanvasInput::cancelDrawing(const Input&) {
    finishDrawing();
    emit plot_.polygonDrawingStopped();
}

void CanvasInput::addVertex(const Input& input) {
    tool_.append(plot_.toData(input.position));
}

void CanvasInput::completeDrawing(const Input&) {
    const QPolygonF polygon = tool_.vertices();
    finishDrawing();
    emit plot_.polygonCompleted(polygon);
    emit plot_.polygonDrawingStopped();
}

void CanvasInput::endEditing(const Input&) {
    const int id = std::exchange(editId_, -1);
    hoverIndex_ = -1;
    tool_.end();
    plot_.setGateVisible(id, true);
    setCursor(Qt::ArrowCursor);
    emit plot_.polygonEditingStopped(id);
}

void CanvasInput::grabVertex(const Input& input) {
    tool_.setDragged(tool_.vertexAt(input.position));
    setCursor(Qt::ClosedHandCursor);
}

void CanvasInput::splitEdge(const Input& input) {
    const int index = tool_.edgeAt(input.position) + 1;
    tool_.insert(index, plot_.toData(input.position));
    tool_.setDragged(index);
    setCursor(Qt::ClosedHandCursor);
}

void CanvasInput::removeVertex(const Input& input) {
    tool_.remove(tool_.vertexAt(input.position));
    emit plot_.polygonEdited(editId_, tool_.vertices());
}

void CanvasInput::showTarget(const Input& input) {
    setCursor(onVertex(input) ? Qt::OpenHandCursor : onEdge(input) ? Qt::CrossCursor : Qt::ArrowCursor);
    hover(input);
}

void CanvasInput::moveVertex(const Input& input) {
    tool_.moveDragged(plot_.toData(input.position));
}

void CanvasInput::dropVertex(const Input&) {
    tool_.setDragged(-1);
    setCursor(Qt::ArrowCursor);
    emit plot_.polygonEdited(editId_, tool_.vertices());
}

void CanvasInput::resetZoom(const Input&) {
    plot_.resetZoom();
}

void CanvasInput::startPan(const Input& input) {
    panLast_ = input.position.toPoint();
    setCursor(Qt::ClosedHandCursor);
}

void CanvasInput::pan(const Input& input) {
    const QPoint position = input.position.toPoint();
    panBy(plot_, position - std::exchange(panLast_, position));
}

void CanvasInput::endPan(const Input&) {
    setCursor(Qt::ArrowCursor);
}

void CanvasInput::startBand(const Input& input) {
    zoomOrigin_ = input.position.toPoint();
    if (!band_) {
        band_ = new QRubberBand(QRubberBand::Rectangle, plot_.canvas());
        band_->setObjectName("zoomBand");
    }
    band_->hide();
    band_->setGeometry(QRect(zoomOrigin_, QSize()));
}

void CanvasInput::stretchBand(const Input& input) {
    const QRectF rect = rectBetween(zoomOrigin_, input.position.toPoint());
    if (rect.width() > ClickDistance || rect.height() > ClickDistance) {
        band_->show();
    }
    band_->setGeometry(rect.toRect());
}

void CanvasInput::zoomToBand(const Input& input) {
    band_->hide();
    zoomTo(plot_, rectBetween(zoomOrigin_, input.position.toPoint()));
}

void CanvasInput::pick(const Input& input) {
    band_->hide();
    const int index = plot_.findNearestPoint(plot_.toData(input.position));
    if (index >= 0) {
        plot_.onPointSelected(index);
    }
}

void CanvasInput::zoomByWheel(const Input& input) {
    Tessaly::zoomByWheel(plot_, input.position, input.wheelAngle);
}

void CanvasInput::hover(const Input& input) {
    const int index = plot_.findNearestPoint(plot_.toData(input.position));
    if (std::exchange(hoverIndex_, index) != index && index >= 0) {
        emit plot_.pointHovered(index);
    }
}

void CanvasInput::setCursor(Qt::CursorShape shape) {
    plot_.canvas()->setCursor(shape);
}

} // namespace Tessaly
