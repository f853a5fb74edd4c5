#include "plot/PlotNavigator.h"

#include "plot/ScatterPlot.h"

#include <QMouseEvent>
#include <QRubberBand>
#include <QWheelEvent>
#include <qwt_scale_div.h>
#include <qwt_scale_map.h>

#include <cstdlib>

namespace Tessaly {

namespace {

/// A press and release no further apart than this, in pixels, is a click.
constexpr int ClickDistance = 5;
constexpr double WheelIn = 0.8;
constexpr double WheelOut = 1.25;

/// The rectangle between two positions, whatever their order; its size is their distance.
QRectF rectBetween(const QPoint& a, const QPoint& b) {
    return QRectF(QPointF(a), QPointF(b)).normalized();
}

} // namespace

PlotNavigator::PlotNavigator(ScatterPlot& plot) : plot_(plot) {}

bool PlotNavigator::handle(QEvent* event) {
    switch (event->type()) {
    case QEvent::MouseButtonPress:
        return press(*static_cast<QMouseEvent*>(event));
    case QEvent::MouseMove:
        return move(*static_cast<QMouseEvent*>(event));
    case QEvent::MouseButtonRelease:
        return release(*static_cast<QMouseEvent*>(event));
    case QEvent::MouseButtonDblClick:
        return doubleClick(*static_cast<QMouseEvent*>(event));
    case QEvent::Wheel:
        return wheel(*static_cast<QWheelEvent*>(event));
    default:
        return false;
    }
}

bool PlotNavigator::press(const QMouseEvent& event) {
    if (event.button() == Qt::RightButton) {
        plot_.resetZoom();
        return true;
    }
    if (event.button() != Qt::LeftButton) {
        return false;
    }
    const QPoint position = event.position().toPoint();
    if (event.modifiers() & Qt::ShiftModifier) {
        state_ = State::Panning;
        panLast_ = position;
        plot_.canvas()->setCursor(Qt::ClosedHandCursor);
        return true;
    }
    startZoom(position);
    return false;
}

bool PlotNavigator::move(const QMouseEvent& event) {
    const QPoint position = event.position().toPoint();
    switch (state_) {
    case State::Idle:
        return false;
    case State::Zooming:
        showBand(position);
        return true;
    case State::Panning:
        pan(position);
        return true;
    }
    return false;
}

bool PlotNavigator::release(const QMouseEvent& event) {
    if (state_ == State::Idle || event.button() != Qt::LeftButton) {
        return false;
    }
    const State finished = state_;
    state_ = State::Idle;
    if (finished == State::Panning) {
        plot_.canvas()->setCursor(Qt::ArrowCursor);
    } else {
        finishZoom(event.position().toPoint());
    }
    return true;
}

bool PlotNavigator::doubleClick(const QMouseEvent& event) {
    if (event.button() != Qt::LeftButton) {
        return false;
    }
    plot_.resetZoom();
    return true;
}

void PlotNavigator::startZoom(const QPoint& position) {
    state_ = State::Zooming;
    zoomOrigin_ = position;
    if (!band_) {
        band_ = new QRubberBand(QRubberBand::Rectangle, plot_.canvas());
        band_->setObjectName("zoomBand");
    }
    band_->setGeometry(QRect(position, QSize()));
}

void PlotNavigator::showBand(const QPoint& position) {
    const QRectF rect = rectBetween(zoomOrigin_, position);
    if (rect.width() > ClickDistance || rect.height() > ClickDistance) {
        band_->show();
    }
    band_->setGeometry(rect.toRect());
}

void PlotNavigator::finishZoom(const QPoint& position) {
    band_->hide();
    const QRectF rect = rectBetween(zoomOrigin_, position);
    if (rect.width() > ClickDistance && rect.height() > ClickDistance) {
        zoomTo(rect);
    } else {
        pick(position);
    }
}

void PlotNavigator::zoomTo(const QRectF& canvasRect) {
    const QPointF lower = plot_.toData(canvasRect.bottomLeft());
    const QPointF upper = plot_.toData(canvasRect.topRight());
    plot_.setAxisScale(QwtAxis::XBottom, lower.x(), upper.x());
    plot_.setAxisScale(QwtAxis::YLeft, lower.y(), upper.y());
    plot_.replot();
}

void PlotNavigator::pick(const QPointF& position) {
    const int index = plot_.findNearestPoint(plot_.toData(position));
    if (index >= 0) {
        plot_.onPointSelected(index);
    }
}

void PlotNavigator::pan(const QPoint& position) {
    const QPoint distance = position - panLast_;
    panLast_ = position;
    const auto panAxis = [this](int axis, int pixels) {
        const QwtScaleMap map = plot_.canvasMap(axis);
        const double shift = map.invTransform(0.0) - map.invTransform(pixels);
        const QwtScaleDiv& division = plot_.axisScaleDiv(axis);
        plot_.setAxisScale(axis, division.lowerBound() + shift, division.upperBound() + shift);
    };
    panAxis(QwtAxis::XBottom, distance.x());
    panAxis(QwtAxis::YLeft, distance.y());
    plot_.replot();
}

bool PlotNavigator::wheel(const QWheelEvent& event) {
    const double factor = event.angleDelta().y() > 0 ? WheelIn : WheelOut;
    const QPointF center = plot_.toData(event.position());
    const auto scaleAxis = [this, factor](int axis, double fixed) {
        const QwtScaleDiv& division = plot_.axisScaleDiv(axis);
        plot_.setAxisScale(axis, fixed - (fixed - division.lowerBound()) * factor,
                           fixed + (division.upperBound() - fixed) * factor);
    };
    scaleAxis(QwtAxis::XBottom, center.x());
    scaleAxis(QwtAxis::YLeft, center.y());
    plot_.replot();
    return true;
}

} // namespace Tessaly
