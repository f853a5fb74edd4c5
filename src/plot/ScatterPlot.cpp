#include "ScatterPlot.h"

#include "ColorMaps.h"
#include "PlainDotCurve.h"
#include "PlotNavigator.h"
#include "PointSeries.h"
#include "PolygonOverlay.h"
#include "PseudoLogScaleEngine.h"
#include "RoundSpectroCurve.h"
#include "ScatterPlotPicker.h"

#include "calc/Contours.h"
#include "calc/EModulus.h"
#include "core/ScaleMath.h"

#include <QEvent>
#include <QPen>
#include <qwt_color_map.h>
#include <qwt_plot_canvas.h>
#include <qwt_plot_grid.h>
#include <qwt_plot_marker.h>
#include <qwt_plot_panner.h>
#include <qwt_scale_div.h>
#include <qwt_scale_engine.h>
#include <qwt_scale_map.h>
#include <qwt_scale_widget.h>
#include <qwt_symbol.h>
#include <qwt_text.h>

#include <algorithm>
#include <cmath>
#include <utility>

namespace Tessaly {

namespace {

constexpr int TitlePointSize = 12;
constexpr int AxisTitlePointSize = 10;
constexpr int TickLabelPointSize = 9;
constexpr int MaxMajorSteps = 8; // what the library asks for by itself

constexpr int AxisX = QwtAxis::XBottom;
constexpr int AxisY = QwtAxis::YLeft;
constexpr int AxisColor = QwtAxis::YRight;
constexpr int ColorBarWidth = 10;
constexpr double ContourZ = 40.0;
constexpr double IsoLineZ = -10.0;
constexpr double IsoLabelZ = -9.0;
/// Square of 5 % of the canvas.
constexpr double PickDistance2 = 0.0025000000000000005;

QPen plotPen(const QColor& color, double width, Qt::PenStyle style = Qt::SolidLine) {
    return {color, width, style, Qt::SquareCap, Qt::BevelJoin};
}

/// Detaches and deletes the items of a list, and empties it.
template <typename Items>
void removeItems(Items& items) {
    for (auto* item : items) {
        item->detach();
        delete item;
    }
    items.clear();
}

QString modulusText(double modulus) {
    return QString::number(modulus, 'f', modulus < 1.0 ? 2 : 1) + ScatterPlot::tr(" kPa");
}

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

} // namespace

ScatterPlot::ScatterPlot(QWidget* parent) : QwtPlot(parent), points_(std::make_shared<PlotPoints>()) {
    setupPlot();
}

ScatterPlot::~ScatterPlot() = default;

void ScatterPlot::setupPlot() {
    setObjectName("scatterPlot");
    setAccessibleName(tr("Scatter Plot"));
    setupTexts();
    setCanvasBackground(Qt::white);
    setAxisVisible(AxisColor, false);

    auto* grid = new QwtPlotGrid;
    grid->setPen(plotPen(Qt::gray, 0.0, Qt::DotLine));
    grid->attach(this);
    setupCurves();

    picker_ = new ScatterPlotPicker(canvas());
    connect(picker_, &ScatterPlotPicker::pointSelected, this, &ScatterPlot::onPointSelected);
    panner_ = new QwtPlotPanner(canvas());
    panner_->setMouseButton(Qt::MiddleButton);
    panner_->setAxisEnabled(AxisColor, false);
    panner_->setAxisEnabled(QwtAxis::XTop, false);

    navigator_ = std::make_unique<PlotNavigator>(*this);
    if (auto* frame = qobject_cast<QFrame*>(canvas())) {
        frame->setFrameStyle(QFrame::Box | QFrame::Plain);
        frame->setLineWidth(1);
        QPalette framePalette = frame->palette();
        framePalette.setColor(QPalette::WindowText, Qt::gray);
        frame->setPalette(framePalette);
    }
    canvas()->setObjectName("scatterPlotCanvas");
    canvas()->setAccessibleName(tr("Events"));
    // Installed once more, so that the plot sees events before picker and panner.
    canvas()->installEventFilter(this);
    canvas()->setFocusPolicy(Qt::StrongFocus);
    canvas()->setMouseTracking(true);
}

void ScatterPlot::setupTexts() {
    const auto bold = [this](int pointSize) {
        QFont sized(font());
        sized.setPointSize(pointSize);
        sized.setBold(true);
        return sized;
    };
    QwtText title(tr("Scatter Plot"));
    title.setFont(bold(TitlePointSize));
    setTitle(title);
    QwtText axisTitle;
    axisTitle.setFont(bold(AxisTitlePointSize));
    QFont labels(font());
    labels.setPointSize(TickLabelPointSize);
    for (const int axis : {int(QwtAxis::XBottom), int(QwtAxis::YLeft), AxisColor}) {
        setAxisTitle(axis, axisTitle);
        setAxisFont(axis, labels);
    }
}

void ScatterPlot::resizeEvent(QResizeEvent* event) {
    QwtPlot::resizeEvent(event);
    if (fitSteps()) {
        replot();
    }
}

bool ScatterPlot::fitSteps() {
    // A narrow canvas gets fewer ticks, so that their labels never run into each other. Those of a pseudo-log axis
    // don't depend on its steps: longer ones would only widen it.
    const auto fit = [this](int axis, int pixels, int pixelsPerLabel) {
        const bool pseudoLog = dynamic_cast<const PseudoLogScaleEngine*>(axisScaleEngine(axis)) != nullptr;
        const int steps = pseudoLog ? MaxMajorSteps : std::clamp(pixels / pixelsPerLabel, 2, MaxMajorSteps);
        const bool changed = steps != axisMaxMajor(axis);
        setAxisMaxMajor(axis, steps);
        return changed;
    };
    const bool xChanged = fit(QwtAxis::XBottom, canvas()->width(), 50);
    const bool yChanged = fit(QwtAxis::YLeft, canvas()->height(), 30);
    return xChanged || yChanged;
}

void ScatterPlot::setupCurves() {
    const QColor dotColor(0, 68, 108);
    static constexpr int DotFillAlpha = 100;
    QColor dotFill = dotColor;
    dotFill.setAlpha(DotFillAlpha);
    plainCurve_ = new PlainDotCurve;
    plainCurve_->setSymbol(new QwtSymbol(QwtSymbol::Ellipse, dotFill, plotPen(dotColor, 1.0), QSize(6, 6)));
    plainCurve_->setRenderHint(QwtPlotItem::RenderAntialiased, true);
    plainCurve_->attach(this);

    colorCurve_ = new RoundSpectroCurve;
    colorCurve_->setPenWidth(6.0);
    colorCurve_->setColorMap(colorMapFor(colorMapIndex_));
    colorCurve_->setVisible(false);
    colorCurve_->attach(this);

    const QColor markColor(254, 204, 0);
    highlightCurve_ = new PlainDotCurve(PlainDotCurve::Role::Mark);
    highlightCurve_->setSymbol(new QwtSymbol(QwtSymbol::Ellipse, markColor, plotPen(markColor, 2.0), QSize(12, 12)));
    highlightCurve_->setRenderHint(QwtPlotItem::RenderAntialiased, true);
    highlightCurve_->setVisible(false);
    highlightCurve_->attach(this);
}

void ScatterPlot::setData(std::vector<double> x, std::vector<double> y, const QString& xLabel, const QString& yLabel,
                          std::vector<double> colors, const QString& colorLabel) {
    if (x.empty() || x.size() != y.size()) {
        clearData();
        return;
    }
    if (colors.size() != x.size()) {
        colors.clear();
    }
    points_ = std::make_shared<PlotPoints>(std::move(x), std::move(y), std::move(colors));
    if (highlighted_ >= static_cast<int>(points_->size())) {
        highlighted_ = -1;
        highlightCurve_->setVisible(false);
    }
    setAxisTitle(AxisX, xLabel);
    setAxisTitle(AxisY, yLabel);

    plainCurve_->setVisible(!hasColors() && !dataHidden_);
    colorCurve_->setVisible(hasColors() && !dataHidden_);
    if (hasColors()) {
        plainCurve_->setSamples(QVector<QPointF>());
        colorCurve_->setData(new ColorPointSeries(points_));
        setAxisTitle(AxisColor, colorLabel);
        applyColors();
    } else {
        colorCurve_->setSamples(QVector<QwtPoint3D>());
        plainCurve_->setData(new PointSeries(points_));
    }
    if (hasColors() && !dataHidden_) {
        showColorScale();
    } else {
        hideColorScale();
    }
    replot();
}

void ScatterPlot::clearData() {
    points_ = std::make_shared<PlotPoints>();
    plainCurve_->setSamples(QVector<QPointF>());
    colorCurve_->setSamples(QVector<QwtPoint3D>());
    plainCurve_->setVisible(true);
    colorCurve_->setVisible(false);
    hideColorScale();
    highlighted_ = -1;
    highlightCurve_->setVisible(false);
    replot();
    clearContours();
}

bool ScatterPlot::hasColors() const {
    return points_->size() > 0 && points_->colors().size() == points_->size();
}

void ScatterPlot::applyColors() {
    QwtInterval range = points_->rangeColors();
    if (!range.isValid()) {
        range = QwtInterval(0.0, 0.0);
    }
    if (range.minValue() == range.maxValue()) {
        range.setMaxValue(range.minValue() + 1.0);
    }
    colorCurve_->setColorMap(colorMapFor(colorMapIndex_));
    colorCurve_->setColorRange(range);
    setAxisScale(AxisColor, range.minValue(), range.maxValue());
    axisWidget(AxisColor)->setColorMap(range, colorMapFor(colorMapIndex_));
}

void ScatterPlot::showColorScale() {
    QwtScaleWidget* scale = axisWidget(AxisColor);
    scale->setColorBarEnabled(true);
    scale->setColorBarWidth(ColorBarWidth);
    setAxisVisible(AxisColor, true);
}

void ScatterPlot::hideColorScale() {
    axisWidget(AxisColor)->setColorBarEnabled(false);
    setAxisVisible(AxisColor, false);
}

void ScatterPlot::highlightPoint(int plotIndex) {
    const bool inRange = plotIndex >= 0 && static_cast<std::size_t>(plotIndex) < points_->size();
    highlighted_ = inRange ? plotIndex : -1;
    if (inRange) {
        const auto index = static_cast<std::size_t>(plotIndex);
        auto point = std::make_shared<PlotPoints>(std::vector<double>{points_->x()[index]},
                                                  std::vector<double>{points_->y()[index]}, std::vector<double>{});
        highlightCurve_->setData(new PointSeries(std::move(point)));
    }
    highlightCurve_->setVisible(inRange);
    replot();
}

void ScatterPlot::clearHighlight() {
    highlightPoint(-1);
}

void ScatterPlot::setColorMapIndex(int index) {
    if (index == colorMapIndex_) {
        return;
    }
    colorMapIndex_ = index;
    if (hasColors() && !dataHidden_) {
        applyColors();
    }
    replot();
}

void ScatterPlot::setAxisScaleMode(int axis, int mode) {
    static constexpr uint Base = 10;
    switch (mode) {
    case ScaleMode::Log:
        setAxisScaleEngine(axis, new QwtLogScaleEngine(Base));
        break;
    case ScaleMode::PseudoLog:
        setAxisScaleEngine(axis, new PseudoLogScaleEngine);
        break;
    default:
        setAxisScaleEngine(axis, new QwtLinearScaleEngine(Base));
        break;
    }
    setAxisAutoScale(axis, true);
    fitSteps();
    replot();
}

void ScatterPlot::resetZoom() {
    setAxisAutoScale(AxisX, true);
    setAxisAutoScale(AxisY, true);
    replot();
}

void ScatterPlot::setDataVisible(bool visible) {
    dataHidden_ = !visible;
    if (visible && hasColors()) {
        plainCurve_->setVisible(false);
        colorCurve_->setVisible(true);
        applyColors();
        showColorScale();
    } else if (visible && points_->size() > 0) {
        plainCurve_->setVisible(true);
        colorCurve_->setVisible(false);
    } else if (!visible) {
        plainCurve_->setVisible(false);
        colorCurve_->setVisible(false);
        hideColorScale();
    }
    replot();
}

void ScatterPlot::setContours(const std::vector<ContourLevel>& levels) {
    removeItems(contourCurves_);
    for (std::size_t i = 0; i < levels.size(); ++i) {
        const QPen pen = plotPen(Qt::black, 2.0, i == 0 ? Qt::DashLine : Qt::SolidLine);
        for (const Polyline& line : levels[i].polylines) {
            if (line.size() >= 2) {
                contourCurves_.push_back(addLine(*this, line, pen, ContourZ));
            }
        }
    }
    replot();
}

void ScatterPlot::clearContours() {
    removeItems(contourCurves_);
    replot();
}

void ScatterPlot::setIsoelastics(const std::vector<IsoelasticLine>& lines, bool showLabels) {
    static constexpr int LabelPointSize = 8;
    const QColor lineColor(180, 180, 180);
    const QColor labelColor(150, 150, 150);
    clearIsoelastics();
    for (const IsoelasticLine& line : lines) {
        if (line.points.size() < 2) {
            continue;
        }
        QwtPlotCurve* curve = addLine(*this, line.points, plotPen(lineColor, 1.0), IsoLineZ);
        curve->setItemAttribute(QwtPlotItem::AutoScale, false);
        isoLines_.push_back(curve);
        if (!showLabels) {
            continue;
        }
        QwtText text(modulusText(line.value));
        QFont labelFont = font();
        labelFont.setPointSize(LabelPointSize);
        text.setFont(labelFont);
        text.setColor(labelColor);
        auto* label = new QwtPlotMarker;
        label->setItemAttribute(QwtPlotItem::Legend, false);
        label->setItemAttribute(QwtPlotItem::AutoScale, false);
        label->setValue(line.points.back().first, line.points.back().second);
        label->setLabel(text);
        label->setLabelAlignment(Qt::AlignLeft | Qt::AlignBottom);
        label->setZ(IsoLabelZ);
        label->attach(this);
        isoLabels_.push_back(label);
    }
    replot();
}

void ScatterPlot::clearIsoelastics() {
    removeItems(isoLines_);
    removeItems(isoLabels_);
    replot();
}

void ScatterPlot::addPolygonOverlay(int id, const QPolygonF& polygon, bool ruleEnabled) {
    if (const auto old = overlays_.find(id); old != overlays_.end()) {
        old->second->detach();
        delete old->second;
    }
    auto* overlay = new PolygonOverlay(polygon, ruleEnabled);
    overlay->attach(this);
    overlays_[id] = overlay;
    replot();
}

void ScatterPlot::clearPolygonOverlays() {
    for (const auto& [id, overlay] : overlays_) {
        overlay->detach();
        delete overlay;
    }
    overlays_.clear();
    replot();
}

int ScatterPlot::findNearestPoint(const QPointF& dataPos) const {
    if (points_->size() == 0) {
        return -1;
    }
    const QwtScaleMap xMap = canvasMap(AxisX);
    const QwtScaleMap yMap = canvasMap(AxisY);
    const QwtScaleDiv& xDivision = axisScaleDiv(AxisX);
    const QwtScaleDiv& yDivision = axisScaleDiv(AxisY);
    const double width = std::abs(xMap.transform(xDivision.upperBound()) - xMap.transform(xDivision.lowerBound()));
    const double height = std::abs(yMap.transform(yDivision.upperBound()) - yMap.transform(yDivision.lowerBound()));
    if (!(width > 0.0) || !(height > 0.0)) {
        return -1;
    }
    const double cx = xMap.transform(dataPos.x());
    const double cy = yMap.transform(dataPos.y());
    const AxisPixels xPixels(xMap);
    const AxisPixels yPixels(yMap);
    const double* xs = points_->axisX(xMap.transformation());
    const double* ys = points_->axisY(yMap.transformation());
    int nearest = -1;
    double smallest = PickDistance2;
    for (std::size_t i = 0; i < points_->size(); ++i) {
        const double dx = (xPixels.pixel(xs[i]) - cx) / width;
        const double dy = (yPixels.pixel(ys[i]) - cy) / height;
        const double distance2 = dx * dx + dy * dy;
        if (distance2 < smallest) {
            smallest = distance2;
            nearest = static_cast<int>(i);
        }
    }
    return nearest;
}

QPointF ScatterPlot::toData(const QPointF& canvasPos) const {
    return {canvasMap(AxisX).invTransform(canvasPos.x()), canvasMap(AxisY).invTransform(canvasPos.y())};
}

QPointF ScatterPlot::toCanvas(const QPointF& dataPos) const {
    return {canvasMap(AxisX).transform(dataPos.x()), canvasMap(AxisY).transform(dataPos.y())};
}

const std::vector<double>& ScatterPlot::xData() const {
    return points_->x();
}

const std::vector<double>& ScatterPlot::yData() const {
    return points_->y();
}

const std::vector<double>& ScatterPlot::colorData() const {
    return points_->colors();
}

QStringList ScatterPlot::isoLabelTexts() const {
    QStringList texts;
    for (const QwtPlotMarker* label : isoLabels_) {
        texts.append(label->label().text());
    }
    return texts;
}

QList<int> ScatterPlot::overlayIds() const {
    QList<int> ids;
    for (const auto& [id, overlay] : overlays_) {
        ids.append(id);
    }
    return ids;
}

bool ScatterPlot::eventFilter(QObject* object, QEvent* event) {
    if (object == canvas() && navigator_ && navigator_->handle(event)) {
        return true;
    }
    return QwtPlot::eventFilter(object, event);
}

void ScatterPlot::onPointSelected(int index) {
    highlightPoint(index);
    emit pointClicked(index);
}

} // namespace Tessaly
