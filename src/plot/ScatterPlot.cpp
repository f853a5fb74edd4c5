#include "plot/ScatterPlot.h"

#include "core/ScaleMath.h"
#include "plot/AxisScaleDraw.h"
#include "plot/CanvasInput.h"
#include "plot/ColorMaps.h"
#include "plot/NearestPoint.h"
#include "plot/PlainDotCurve.h"
#include "plot/PlotItems.h"
#include "plot/PlotNavigator.h"
#include "plot/PlotScene.h"
#include "plot/PointSeries.h"
#include "plot/PolygonOverlay.h"
#include "plot/PseudoLogScaleEngine.h"
#include "plot/RoundSpectroCurve.h"
#include "plot/ScatterPlotPicker.h"
#include "widgets/FocusEdge.h"

#include <QEvent>
#include <qwt_color_map.h>
#include <qwt_plot_canvas.h>
#include <qwt_plot_marker.h>
#include <qwt_plot_panner.h>
#include <qwt_scale_div.h>
#include <qwt_scale_engine.h>
#include <qwt_scale_map.h>
#include <qwt_text.h>

#include <algorithm>
#include <cmath>
#include <utility>

namespace Tessaly {

namespace {

constexpr int TitlePointSize = 12;
constexpr int AxisTitlePointSize = 10;
constexpr int TickLabelPointSize = 9;
constexpr int MaxMajorSteps = 8; // what Qwt asks for by itself

constexpr int AxisX = QwtAxis::XBottom;
constexpr int AxisY = QwtAxis::YLeft;
constexpr int AxisColor = QwtAxis::YRight;

} // namespace

ScatterPlot::ScatterPlot(QWidget* parent) : QwtPlot(parent), points_(std::make_shared<PlotPoints>()) {
    setupPlot();
}

ScatterPlot::~ScatterPlot() = default;

void ScatterPlot::setupPlot() {
    setObjectName("scatterPlot");
    setAccessibleName(tr("Scatter Plot"));
    setUpAxisNumbers(*this);
    for (const int axis : {AxisX, AxisY}) {
        setScaleMode(*this, axis, ScaleMode::Linear);
    }
    setupTexts();
    setCanvasBackground(Qt::white);
    setAxisVisible(AxisColor, false);

    addGrid(*this);
    setupCurves();

    picker_ = new ScatterPlotPicker(canvas());
    connect(picker_, &ScatterPlotPicker::pointSelected, this, &ScatterPlot::onPointSelected);
    panner_ = new QwtPlotPanner(canvas());
    panner_->setMouseButton(Qt::MiddleButton);
    panner_->setAxisEnabled(AxisColor, false);
    panner_->setAxisEnabled(QwtAxis::XTop, false);

    input_ = std::make_unique<CanvasInput>(*this);
    addCanvasFrame(*this);
    canvas()->setObjectName("scatterPlotCanvas");
    canvas()->setAccessibleName(tr("Events"));
    // Installed once more, so that the plot sees events before picker and panner.
    canvas()->installEventFilter(this);
    canvas()->setFocusPolicy(Qt::StrongFocus);
    canvas()->setMouseTracking(true);
    new FocusEdge(canvas());
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
    plainCurve_ = addPlainDots(*this);
    colorCurve_ = addColorDots(*this);
    colorCurve_->setColorMap(colorMapFor(colorMapIndex_));
    colorCurve_->setVisible(false);
    highlightCurve_ = addMark(*this);
}

void ScatterPlot::showScene(const PlotScene& scene) {
    const auto setMode = [this](int axis, int mode) {
        if (const auto known = scaleModes_.find(axis); (known == scaleModes_.end() ? 0 : known->second) != mode) {
            changeScaleMode(axis, mode);
        }
    };
    setMode(AxisX, scene.xScaleMode);
    setMode(AxisY, scene.yScaleMode);
    dataHidden_ = !scene.pointsVisible;
    if (scene.points && scene.points->size() > 0) {
        setAxisTitle(AxisX, scene.xLabel);
        setAxisTitle(AxisY, scene.yLabel);
        setAxisTitle(AxisColor, scene.colorLabel);
        placePoints(scene.points);
    } else {
        removePoints();
    }
    removeItems(contourCurves_);
    contourCurves_ = addContours(*this, scene.contours);
    placeIsoelastics(scene.isoelastics, scene.isoelasticLabels);
    removeGates();
    for (const PlotGate& gate : scene.gates) {
        placeGate(gate);
    }
    placeMark(scene.markedPoint);
    if (scene.wholeRange) {
        setAxisAutoScale(AxisX, true);
        setAxisAutoScale(AxisY, true);
    }
    replot();
}

void ScatterPlot::setData(std::vector<double> x, std::vector<double> y, const QString& xLabel, const QString& yLabel,
                          std::vector<double> colors, const QString& colorLabel) {
    auto points = std::make_shared<PlotPoints>(std::move(x), std::move(y), std::move(colors));
    if (points->size() == 0) {
        clearData();
        return;
    }
    setAxisTitle(AxisX, xLabel);
    setAxisTitle(AxisY, yLabel);
    if (points->hasColors()) {
        setAxisTitle(AxisColor, colorLabel);
    }
    placePoints(std::move(points));
    replot();
}

void ScatterPlot::placePoints(std::shared_ptr<const PlotPoints> points) {
    points_ = std::move(points);
    input_->forgetHover();
    if (highlighted_ >= static_cast<int>(points_->size())) {
        placeMark(-1);
    }
    if (points_->hasColors()) {
        plainCurve_->setSamples(QVector<QPointF>());
        colorCurve_->setData(new ColorPointSeries(points_));
    } else {
        colorCurve_->setSamples(QVector<QwtPoint3D>());
        plainCurve_->setData(new PointSeries(points_));
    }
    showPoints(!dataHidden_);
}

void ScatterPlot::showPoints(bool visible) {
    const bool colored = visible && points_->hasColors();
    plainCurve_->setVisible(visible && !points_->hasColors());
    colorCurve_->setVisible(colored);
    if (points_->hasColors()) {
        applyColors();
    }
    if (colored) {
        showColorBar(*this);
    } else {
        hideColorBar(*this);
    }
}

void ScatterPlot::clearData() {
    removePoints();
    replot();
    clearContours();
}

void ScatterPlot::removePoints() {
    points_ = std::make_shared<PlotPoints>();
    plainCurve_->setSamples(QVector<QPointF>());
    colorCurve_->setSamples(QVector<QwtPoint3D>());
    plainCurve_->setVisible(true);
    colorCurve_->setVisible(false);
    hideColorBar(*this);
    placeMark(-1);
}

void ScatterPlot::applyColors() {
    const QwtInterval range = dotColorRange(*points_);
    setDotColors(*colorCurve_, range, colorMapIndex_);
    setColorBar(*this, range, colorMapIndex_);
}

void ScatterPlot::highlightPoint(int plotIndex) {
    placeMark(plotIndex);
    replot();
}

void ScatterPlot::clearHighlight() {
    highlightPoint(-1);
}

void ScatterPlot::placeMark(int plotIndex) {
    const bool inRange = plotIndex >= 0 && static_cast<std::size_t>(plotIndex) < points_->size();
    highlighted_ = inRange ? plotIndex : -1;
    if (inRange) {
        const auto index = static_cast<std::size_t>(plotIndex);
        auto point = std::make_shared<PlotPoints>(std::vector<double>{points_->x()[index]},
                                                  std::vector<double>{points_->y()[index]}, std::vector<double>{});
        highlightCurve_->setData(new PointSeries(std::move(point)));
    }
    highlightCurve_->setVisible(inRange);
}

void ScatterPlot::setColorMapIndex(int index) {
    if (index == colorMapIndex_) {
        return;
    }
    colorMapIndex_ = index;
    if (points_->hasColors() && !dataHidden_) {
        applyColors();
    }
    replot();
}

void ScatterPlot::setAxisScaleMode(int axis, int mode) {
    changeScaleMode(axis, mode);
    replot();
}

void ScatterPlot::changeScaleMode(int axis, int mode) {
    scaleModes_[axis] = mode;
    setScaleMode(*this, axis, mode);
    fitSteps();
}

void ScatterPlot::resetZoom() {
    zoomOutFully(*this);
}

void ScatterPlot::setDataVisible(bool visible) {
    dataHidden_ = !visible;
    if (!visible || points_->size() > 0) {
        showPoints(visible);
    }
    replot();
}

void ScatterPlot::setContours(const std::vector<ContourLevel>& levels) {
    removeItems(contourCurves_);
    contourCurves_ = addContours(*this, levels);
    replot();
}

void ScatterPlot::clearContours() {
    removeItems(contourCurves_);
    replot();
}

void ScatterPlot::setIsoelastics(const std::vector<IsoelasticLine>& lines, bool showLabels) {
    placeIsoelastics(lines, showLabels);
    replot();
}

void ScatterPlot::clearIsoelastics() {
    placeIsoelastics({}, false);
    replot();
}

void ScatterPlot::placeIsoelastics(const std::vector<IsoelasticLine>& lines, bool withLabels) {
    removeItems(isoLines_);
    removeItems(isoLabels_);
    IsoelasticItems items = addIsoelastics(*this, lines, withLabels);
    isoLines_ = std::move(items.lines);
    isoLabels_ = std::move(items.labels);
}

void ScatterPlot::addPolygonOverlay(int id, const QPolygonF& polygon, bool ruleEnabled) {
    placeGate({id, polygon, ruleEnabled});
    replot();
}

void ScatterPlot::placeGate(const PlotGate& gate) {
    if (const auto old = overlays_.find(gate.id); old != overlays_.end()) {
        old->second->detach();
        delete old->second;
    }
    auto* overlay = new PolygonOverlay(gate.polygon, gate.enabled);
    overlay->attach(this);
    if (input_->isEditing() && input_->editId() == gate.id) {
        overlay->setVisible(false);
        keepRoomFor(overlay);
    }
    overlays_[gate.id] = overlay;
}

void ScatterPlot::setGateVisible(int id, bool visible) {
    if (const auto gate = overlays_.find(id); gate != overlays_.end()) {
        gate->second->setVisible(visible);
        keepRoomFor(visible ? nullptr : gate->second);
        replot();
    }
}

void ScatterPlot::keepRoomFor(const QwtPlotShapeItem* hiddenGate) {
    roomOfHiddenGate_.reset();
    if (hiddenGate) {
        roomOfHiddenGate_ = std::make_unique<GateRoom>(hiddenGate->boundingRect());
        roomOfHiddenGate_->attach(this);
    }
}

void ScatterPlot::clearPolygonOverlays() {
    removeGates();
    replot();
}

void ScatterPlot::removeGates() {
    for (const auto& [id, overlay] : overlays_) {
        overlay->detach();
        delete overlay;
    }
    overlays_.clear();
    keepRoomFor(nullptr);
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
    const QPointF place(xMap.transform(dataPos.x()), yMap.transform(dataPos.y()));
    const std::size_t count = points_->size();
    return nearestPoint({points_->axisX(xMap.transformation()), count}, {points_->axisY(yMap.transformation()), count},
                        AxisPixels(xMap), AxisPixels(yMap), place, QSizeF(width, height));
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

void ScatterPlot::startPolygonDraw() {
    input_->startPolygonDraw();
}

void ScatterPlot::cancelPolygonDraw() {
    input_->cancelPolygonDraw();
}

bool ScatterPlot::isDrawing() const {
    return input_->isDrawing();
}

void ScatterPlot::startPolygonEdit(int id, const QPolygonF& polygon) {
    input_->startPolygonEdit(id, polygon);
}

void ScatterPlot::stopPolygonEdit() {
    input_->stopPolygonEdit();
}

bool ScatterPlot::isEditing() const {
    return input_->isEditing();
}

int ScatterPlot::editId() const {
    return input_->editId();
}

void ScatterPlot::replot() {
    QwtPlot::replot();
    if (input_) {
        input_->updateOutline();
    }
}

bool ScatterPlot::event(QEvent* event) {
    // Keys that a part of the plot with the focus has left.
    const bool isKey = event->type() == QEvent::KeyPress || event->type() == QEvent::ShortcutOverride;
    return (isKey && input_->handle(event)) || QwtPlot::event(event);
}

bool ScatterPlot::eventFilter(QObject* object, QEvent* event) {
    if (object != canvas() || !input_) {
        return QwtPlot::eventFilter(object, event);
    }
    if (input_->handle(event)) {
        return true;
    }
    const bool filtered = QwtPlot::eventFilter(object, event);
    if (event->type() == QEvent::Resize) {
        input_->updateOutline();
    }
    return filtered;
}

void ScatterPlot::onPointSelected(int index) {
    highlightPoint(index);
    emit pointClicked(index);
}

} // namespace Tessaly
