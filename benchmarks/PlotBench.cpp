#include "core/ScaleMath.h"
#include "plot/ColorMaps.h"
#include "plot/PlainDotCurve.h"
#include "plot/PlotScene.h"
#include "plot/PointSeries.h"
#include "plot/RoundSpectroCurve.h"
#include "plot/ScatterPlot.h"

#include <QApplication>
#include <QImage>
#include <QMouseEvent>
#include <QPainter>
#include <qwt_color_map.h>
#include <qwt_plot_curve.h>
#include <qwt_scale_map.h>
#include <qwt_symbol.h>

#include <benchmark/benchmark.h>

#include <memory>
#include <random>
#include <vector>

// Redrawing a million events and finding one among them, against drawing the same shapes one by one and against reading
// the same columns once.

namespace {

using namespace Tessaly;

constexpr std::size_t EventCount = 1'000'000;
const QSize CanvasSize(900, 700);

/// Two populations of cells, correlated, with a thin background, and a smooth third feature.
const std::shared_ptr<const PlotPoints>& events() {
    static const std::shared_ptr<const PlotPoints> points = [] {
        std::mt19937 random(20240501);
        std::normal_distribution<double> normal;
        std::uniform_real_distribution<double> uniform;
        std::vector<double> x(EventCount);
        std::vector<double> y(EventCount);
        std::vector<double> colors(EventCount);
        for (std::size_t i = 0; i < EventCount; ++i) {
            const double kind = uniform(random);
            const double u = normal(random);
            const double v = normal(random);
            if (kind < 0.55) {
                x[i] = 60.0 + 9.0 * u;
                y[i] = 0.07 + 0.015 * (0.5 * u + v);
            } else if (kind < 0.97) {
                x[i] = 130.0 + 22.0 * u;
                y[i] = 0.13 + 0.02 * (0.4 * u + v);
            } else {
                x[i] = 250.0 * uniform(random);
                y[i] = 0.25 * uniform(random);
            }
            colors[i] = 100.0 + 20.0 * u + 5.0 * v;
        }
        return std::make_shared<const PlotPoints>(std::move(x), std::move(y), std::move(colors));
    }();
    return points;
}

QwtScaleMap scaleMap(double lower, double upper, double first, double last) {
    QwtScaleMap map;
    map.setScaleInterval(lower, upper);
    map.setPaintInterval(first, last);
    return map;
}

QwtScaleMap xScale() {
    return scaleMap(0.0, 250.0, 0.0, CanvasSize.width());
}

QwtScaleMap yScale() {
    return scaleMap(0.0, 0.25, CanvasSize.height(), 0.0);
}

/// Draws a curve onto a white canvas, as a canvas's backing store does.
void drawCurve(benchmark::State& state, const QwtPlotItem& curve) {
    QImage canvas(CanvasSize, QImage::Format_ARGB32_Premultiplied);
    const QRectF rect(canvas.rect());
    for (auto _ : state) {
        canvas.fill(Qt::white);
        QPainter painter(&canvas);
        painter.setClipRect(rect);
        painter.setRenderHint(QPainter::Antialiasing, curve.testRenderHint(QwtPlotItem::RenderAntialiased));
        curve.draw(&painter, xScale(), yScale(), rect);
        painter.end();
        benchmark::DoNotOptimize(canvas.bits());
    }
    state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(EventCount));
}

QwtSymbol* dotSymbol() {
    return new QwtSymbol(QwtSymbol::Ellipse, QColor(0, 68, 108, 100),
                         QPen(QColor(0, 68, 108), 1.0, Qt::SolidLine, Qt::SquareCap, Qt::BevelJoin), QSize(6, 6));
}

void repaintColorDots(benchmark::State& state) {
    RoundSpectroCurve curve;
    curve.setPenWidth(6.0);
    curve.setColorMap(colorMapFor(0));
    curve.setColorRange(events()->rangeColors());
    curve.setData(new ColorPointSeries(events()));
    drawCurve(state, curve);
}

void repaintColorDotsBaseline(benchmark::State& state) {
    const std::unique_ptr<QwtLinearColorMap> colorMap(colorMapFor(0));
    const QwtInterval range = events()->rangeColors();
    const QwtScaleMap xMap = xScale();
    const QwtScaleMap yMap = yScale();
    QImage canvas(CanvasSize, QImage::Format_ARGB32_Premultiplied);
    for (auto _ : state) {
        canvas.fill(Qt::white);
        QPainter painter(&canvas);
        painter.setRenderHint(QPainter::Antialiasing);
        painter.setPen(Qt::NoPen);
        for (std::size_t i = 0; i < EventCount; ++i) {
            painter.setBrush(QColor::fromRgb(colorMap->rgb(range, events()->colors()[i])));
            painter.drawEllipse(QPointF(xMap.transform(events()->x()[i]), yMap.transform(events()->y()[i])), 3.0, 3.0);
        }
        painter.end();
        benchmark::DoNotOptimize(canvas.bits());
    }
    state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(EventCount));
}

void repaintPlainDots(benchmark::State& state) {
    PlainDotCurve curve;
    curve.setRenderHint(QwtPlotItem::RenderAntialiased, true);
    curve.setSymbol(dotSymbol());
    curve.setData(new PointSeries(events()));
    drawCurve(state, curve);
}

void repaintPlainDotsBaseline(benchmark::State& state) {
    QwtPlotCurve curve;
    curve.setStyle(QwtPlotCurve::NoCurve);
    curve.setSymbol(dotSymbol());
    curve.setData(new PointSeries(events()));
    drawCurve(state, curve);
}

void findNearest(benchmark::State& state, int scaleMode) {
    ScatterPlot plot;
    plot.resize(CanvasSize);
    plot.setData(events()->x(), events()->y(), "Area", "Deformation", {}, "");
    plot.setAxisScaleMode(QwtAxis::XBottom, scaleMode);
    plot.grab();
    for (auto _ : state) {
        benchmark::DoNotOptimize(plot.findNearestPoint(QPointF(120.0, 0.12)));
    }
    state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(EventCount));
}

/// One loop that reads both columns.
void findNearestBaseline(benchmark::State& state) {
    const std::vector<double>& x = events()->x();
    const std::vector<double>& y = events()->y();
    for (auto _ : state) {
        double sumX = 0.0;
        double sumY = 0.0;
        for (std::size_t i = 0; i < EventCount; ++i) {
            sumX += x[i];
            sumY += y[i];
        }
        benchmark::DoNotOptimize(sumX);
        benchmark::DoNotOptimize(sumY);
    }
    state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(EventCount));
}

/// A shown plot with the events in colours and a polygon under the user's hands.
std::unique_ptr<ScatterPlot> plotWithPolygon(bool editing) {
    auto plot = std::make_unique<ScatterPlot>();
    PlotScene scene;
    scene.points = events();
    plot->showScene(scene);
    plot->show();
    plot->resize(plot->size() + CanvasSize - plot->canvas()->size());
    QApplication::processEvents();
    plot->resize(plot->size() + CanvasSize - plot->canvas()->size());
    QApplication::processEvents();
    if (editing) {
        plot->startPolygonEdit(0, QPolygonF({{60.0, 0.05}, {200.0, 0.05}, {200.0, 0.2}, {60.0, 0.2}}));
    } else {
        plot->startPolygonDraw();
    }
    QApplication::processEvents();
    return plot;
}

void sendMouse(ScatterPlot& plot, QEvent::Type type, Qt::MouseButton button, const QPointF& position) {
    QMouseEvent event(type, position, plot.canvas()->mapToGlobal(position), button, Qt::LeftButton, Qt::NoModifier);
    QApplication::sendEvent(plot.canvas(), &event);
}

/// From a mouse move to the painted frame.
void dragVertex(benchmark::State& state) {
    const std::unique_ptr<ScatterPlot> plot = plotWithPolygon(true);
    const QPointF start = plot->toCanvas({200.0, 0.2});
    sendMouse(*plot, QEvent::MouseButtonPress, Qt::LeftButton, start);
    int step = 0;
    for (auto _ : state) {
        step = (step + 7) % 100;
        sendMouse(*plot, QEvent::MouseMove, Qt::NoButton, start + QPointF(-step, step));
        QApplication::processEvents();
    }
}

/// One mouse move while a polygon is drawn.
void hoverWhileDrawing(benchmark::State& state) {
    const std::unique_ptr<ScatterPlot> plot = plotWithPolygon(false);
    const QPointF start = plot->toCanvas({120.0, 0.12});
    int step = 0;
    for (auto _ : state) {
        step = (step + 1) % 20;
        sendMouse(*plot, QEvent::MouseMove, Qt::NoButton, start + QPointF(step, 0));
    }
}

void hoverBaseline(benchmark::State& state) {
    const std::unique_ptr<ScatterPlot> plot = plotWithPolygon(false);
    const QPointF start = plot->toCanvas({120.0, 0.12});
    int step = 0;
    for (auto _ : state) {
        step = (step + 1) % 20;
        benchmark::DoNotOptimize(plot->findNearestPoint(plot->toData(start + QPointF(step, 0))));
    }
}

BENCHMARK(repaintColorDots)->Name("repaint_color_dots")->Unit(benchmark::kMillisecond);
BENCHMARK(repaintColorDotsBaseline)->Name("repaint_color_dots/baseline")->Unit(benchmark::kMillisecond);
BENCHMARK(repaintPlainDots)->Name("repaint_plain_dots")->Unit(benchmark::kMillisecond);
BENCHMARK(repaintPlainDotsBaseline)->Name("repaint_plain_dots/baseline")->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(findNearest, linear, ScaleMode::Linear)->Name("find_nearest")->Unit(benchmark::kMillisecond);
BENCHMARK(findNearestBaseline)->Name("find_nearest/baseline")->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(findNearest, log, ScaleMode::Log)->Name("find_nearest_log")->Unit(benchmark::kMillisecond);
BENCHMARK(findNearestBaseline)->Name("find_nearest_log/baseline")->Unit(benchmark::kMillisecond);

BENCHMARK(dragVertex)->Name("drag_vertex")->Unit(benchmark::kMillisecond);
BENCHMARK(repaintColorDots)->Name("drag_vertex/baseline")->Unit(benchmark::kMillisecond);
BENCHMARK(hoverWhileDrawing)->Name("hover_while_drawing")->Unit(benchmark::kMillisecond);
BENCHMARK(hoverBaseline)->Name("hover_while_drawing/baseline")->Unit(benchmark::kMillisecond);

} // namespace
