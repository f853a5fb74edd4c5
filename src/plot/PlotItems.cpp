#include "plot/PlotItems.h"

#include "calc/density/Contours.h"
#include "calc/emodulus/EModulus.h"
#include "core/ScaleMath.h"
#include "plot/AxisTicks.h"
#include "plot/ColorMaps.h"
#include "plot/IsoelasticLabel.h"
#include "plot/PlainDotCurve.h"
#include "plot/PlotPoints.h"
#include "plot/PseudoLogScaleEngine.h"
#include "plot/RoundSpectroCurve.h"

#include <QCoreApplication>
#include <QFrame>
#include <qwt_color_map.h>
#include <qwt_plot.h>
#include <qwt_plot_grid.h>
#include <qwt_plot_marker.h>
#include <qwt_scale_engine.h>
#include <qwt_scale_widget.h>
#include <qwt_symbol.h>
#include <qwt_text.h>

namespace Tessaly {

namespace {

constexpr int AxisColor = QwtAxis::YRight;
constexpr int ColorBarWidth = 10;
constexpr double ContourZ = 40.0;
constexpr double IsoLineZ = -10.0;
constexpr double IsoLabelZ = -9.0;

QPolygonF polygonOf(const std::vector<std::pair<double, double>>& points) {
    QPolygonF polygon;
    polygon.reserve(static_cast<qsizetype>(points.size()));
    for (const auto& [x, y] : points) {
        polygon.append(QPointF(x, y));
    }
    return polygon;
}

/// A line through points in data units, attached to a plot.
QwtPlotCurve* addLine(QwtPlot& plot, const std::vector<std::pair<double, double>>& points, const QPen& pen, double z) {
    auto* curve = new QwtPlotCurve;
    curve->setItemAttribute(QwtPlotItem::Legend, false);
    curve->setRenderHint(QwtPlotItem::RenderAntialiased, true);
    curve->setPen(pen);
    curve->setZ(z);
    curve->setSamples(polygonOf(points));
    curve->attach(&plot);
    return curve;
}

PlainDotCurve* addDots(QwtPlot& plot, PlainDotCurve::Role role, const QColor& fill, const QPen& rim, double size) {
    auto* dots = new PlainDotCurve(role);
    dots->setSymbol(new QwtSymbol(QwtSymbol::Ellipse, fill, rim, QSizeF(size, size).toSize()));
    dots->setRenderHint(QwtPlotItem::RenderAntialiased, true);
    dots->attach(&plot);
    return dots;
}

IsoelasticLabel* addModulus(QwtPlot& plot, const IsoelasticLine& line, const IsoelasticLabel* previous) {
    static constexpr int LabelPointSize = 8;
    QwtText text(modulusText(line.value));
    QFont font = plot.font();
    font.setPointSize(LabelPointSize);
    text.setFont(font);
    text.setColor(QColor(150, 150, 150));
    auto* label = new IsoelasticLabel(polygonOf(line.points), previous);
    label->setLabel(text);
    label->setZ(IsoLabelZ);
    label->attach(&plot);
    return label;
}

} // namespace

QPen plotPen(const QColor& color, double width, Qt::PenStyle style) {
    return {color, width, style, Qt::SquareCap, Qt::BevelJoin};
}

void addCanvasFrame(QwtPlot& plot) {
    if (auto* frame = qobject_cast<QFrame*>(plot.canvas())) {
        frame->setFrameStyle(QFrame::Box | QFrame::Plain);
        frame->setLineWidth(1);
        QPalette colors = frame->palette();
        colors.setColor(QPalette::WindowText, Qt::gray);
        frame->setPalette(colors);
    }
}

void addGrid(QwtPlot& plot) {
    auto* grid = new QwtPlotGrid;
    grid->setPen(plotPen(Qt::gray, 0.0, Qt::DotLine));
    grid->attach(&plot);
}

void setScaleMode(QwtPlot& plot, int axis, int mode) {
    static constexpr uint Base = 10;
    switch (mode) {
    case ScaleMode::Log:
        plot.setAxisScaleEngine(axis, new LogScaleEngine(Base));
        break;
    case ScaleMode::PseudoLog:
        plot.setAxisScaleEngine(axis, new PseudoLogScaleEngine);
        break;
    default:
        plot.setAxisScaleEngine(axis, new LinearScaleEngine(Base));
        break;
    }
    plot.setAxisAutoScale(axis, true);
}

PlainDotCurve* addPlainDots(QwtPlot& plot, const QColor& color) {
    static constexpr int FillAlpha = 100;
    QColor fill = color;
    fill.setAlpha(FillAlpha);
    return addDots(plot, PlainDotCurve::Role::Points, fill, plotPen(color, 1.0), DotSize);
}

RoundSpectroCurve* addColorDots(QwtPlot& plot) {
    auto* dots = new RoundSpectroCurve;
    dots->setPenWidth(DotSize);
    dots->attach(&plot);
    return dots;
}

PlainDotCurve* addMark(QwtPlot& plot) {
    static constexpr double MarkSize = 12.0;
    const QColor color(254, 204, 0);
    PlainDotCurve* mark = addDots(plot, PlainDotCurve::Role::Mark, color, plotPen(color, 2.0), MarkSize);
    mark->setVisible(false);
    return mark;
}

QwtInterval dotColorRange(const PlotPoints& points) {
    QwtInterval range = points.rangeColors();
    if (!range.isValid()) {
        range = QwtInterval(0.0, 0.0);
    }
    if (range.minValue() == range.maxValue()) {
        range.setMaxValue(range.minValue() + 1.0);
    }
    return range;
}

void setDotColors(RoundSpectroCurve& dots, const QwtInterval& range, int colorMapIndex) {
    dots.setColorMap(colorMapFor(colorMapIndex));
    dots.setColorRange(range);
}

void setColorBar(QwtPlot& plot, const QwtInterval& range, int colorMapIndex) {
    plot.setAxisScale(AxisColor, range.minValue(), range.maxValue());
    plot.axisWidget(AxisColor)->setColorMap(range, colorMapFor(colorMapIndex));
}

void showColorBar(QwtPlot& plot) {
    QwtScaleWidget* scale = plot.axisWidget(AxisColor);
    scale->setColorBarEnabled(true);
    scale->setColorBarWidth(ColorBarWidth);
    plot.setAxisVisible(AxisColor, true);
}

void hideColorBar(QwtPlot& plot) {
    plot.axisWidget(AxisColor)->setColorBarEnabled(false);
    plot.setAxisVisible(AxisColor, false);
}

std::vector<QwtPlotCurve*> addContours(QwtPlot& plot, const std::vector<ContourLevel>& levels, const QColor& color) {
    std::vector<QwtPlotCurve*> curves;
    for (std::size_t i = 0; i < levels.size(); ++i) {
        const QPen pen = plotPen(color, 2.0, i == 0 ? Qt::DashLine : Qt::SolidLine);
        for (const Polyline& line : levels[i].polylines) {
            if (line.size() >= 2) {
                curves.push_back(addLine(plot, line, pen, ContourZ));
            }
        }
    }
    return curves;
}

IsoelasticItems addIsoelastics(QwtPlot& plot, const std::vector<IsoelasticLine>& lines, bool withLabels) {
    IsoelasticItems items;
    const IsoelasticLabel* previous = nullptr;
    for (const IsoelasticLine& line : lines) {
        if (line.points.size() < 2) {
            continue;
        }
        QwtPlotCurve* curve = addLine(plot, line.points, plotPen(QColor(180, 180, 180), 1.0), IsoLineZ);
        curve->setItemAttribute(QwtPlotItem::AutoScale, false);
        items.lines.push_back(curve);
        if (withLabels) {
            IsoelasticLabel* label = addModulus(plot, line, previous);
            items.labels.push_back(label);
            previous = label;
        }
    }
    return items;
}

QString modulusText(double modulus) {
    return QString::number(modulus, 'f', modulus < 1.0 ? 2 : 1) + QCoreApplication::translate("PlotItems", " kPa");
}

} // namespace Tessaly
