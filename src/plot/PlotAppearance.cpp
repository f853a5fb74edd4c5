#include "plot/PlotAppearance.h"

#include <QFrame>
#include <qwt_plot.h>
#include <qwt_plot_layout.h>

namespace Tessaly {

PlotAppearance::PlotAppearance(QwtPlot& plot)
    : plot_(plot),
      canvasBackground_(plot.canvasBackground()),
      palette_(plot.palette()),
      autoFill_(plot.autoFillBackground()),
      axes_() {
    if (const auto* frame = qobject_cast<const QFrame*>(plot.canvas())) {
        frameStyle_ = frame->frameStyle();
    }
    for (int axis = 0; axis < QwtAxis::AxisPositions; ++axis) {
        axes_[static_cast<std::size_t>(axis)] = {plot.isAxisVisible(axis), plot.plotLayout()->canvasMargin(axis),
                                                 plot.plotLayout()->alignCanvasToScale(axis)};
    }
}

void PlotAppearance::applyForPrint() {
    plot_.setCanvasBackground(Qt::white);
    QPalette white = plot_.palette();
    white.setColor(QPalette::Window, Qt::white);
    plot_.setPalette(white);
    plot_.setAutoFillBackground(true);
    if (auto* frame = qobject_cast<QFrame*>(plot_.canvas())) {
        frame->setFrameStyle(QFrame::NoFrame);
    }
    plot_.plotLayout()->setAlignCanvasToScales(true);
    for (int axis = 0; axis < QwtAxis::AxisPositions; ++axis) {
        plot_.plotLayout()->setCanvasMargin(0, axis);
    }
}

PlotAppearance::~PlotAppearance() {
    for (int axis = 0; axis < QwtAxis::AxisPositions; ++axis) {
        const Axis& before = axes_[static_cast<std::size_t>(axis)];
        plot_.setAxisVisible(axis, before.visible);
        plot_.plotLayout()->setAlignCanvasToScale(axis, before.aligned);
        plot_.plotLayout()->setCanvasMargin(before.margin, axis);
    }
    if (auto* frame = qobject_cast<QFrame*>(plot_.canvas())) {
        frame->setFrameStyle(frameStyle_);
    }
    plot_.setAutoFillBackground(autoFill_);
    plot_.setPalette(palette_);
    plot_.setCanvasBackground(canvasBackground_);
    plot_.updateLayout();
}

} // namespace Tessaly
