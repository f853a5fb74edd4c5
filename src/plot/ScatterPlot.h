#pragma once

#include <QPointF>
#include <QPolygonF>
#include <QStringList>
#include <qwt_plot.h>

#include <map>
#include <memory>
#include <vector>

class QwtPlotCurve;
class QwtPlotMarker;
class QwtPlotPanner;
class QwtPlotShapeItem;

namespace Tessaly {

class CanvasInput;
class GateRoom;
class PlainDotCurve;
class PlotPoints;
class RoundSpectroCurve;
class ScatterPlotPicker;
struct ContourLevel;
struct IsoelasticLine;
struct PlotGate;
struct PlotScene;

/// Events as points of two features, in one colour or coloured by a third value, with contours, isoelastic lines,
/// polygon overlays and the selected event on top. The plot computes no data: it takes finished vectors and owns the
/// items. A point's index in those vectors is its plot index. Interface thread only.
class ScatterPlot : public QwtPlot {
    Q_OBJECT

public:
    explicit ScatterPlot(QWidget* parent = nullptr);
    ~ScatterPlot() override;

    /// Shows all of a scene in place of what was there, with one replot. The colour map stays.
    void showScene(const PlotScene& scene);

    // The parts of a scene one by one, each with a replot.

    /// Shows points; keeps the zoom.
    /// @param x, y    data units, of one length; the plot is cleared if the lengths differ or there are none
    /// @param colors  one value per point; of any other length: plain points without colour bar. NaN gets the colour of
    ///                the smallest value.
    void setData(std::vector<double> x, std::vector<double> y, const QString& xLabel, const QString& yLabel,
                 std::vector<double> colors, const QString& colorLabel);
    /// Removes points, highlight, colour bar and contours.
    void clearData();

    /// Marks the point of a plot index; an index out of range hides the mark.
    void highlightPoint(int plotIndex);
    void clearHighlight();

    /// Colour map as in the menu, see colorMapFor().
    void setColorMapIndex(int index);
    int colorMapIndex() const { return colorMapIndex_; }

    /// Installs the engine of a scale mode (ScaleMode) and returns the axis to auto scale.
    void setAxisScaleMode(int axis, int mode);
    /// Auto scale for the bottom and left axis.
    void resetZoom();

    /// Shows or hides the points, but not what lies over them; holds for later data, too.
    void setDataVisible(bool visible);

    /// One curve per polyline of two points or more; the first level is dashed.
    void setContours(const std::vector<ContourLevel>& levels);
    void clearContours();

    /// Lines in plot coordinates, with their moduli in kPa at their last points on demand. Lines of fewer than two
    /// points are left out.
    void setIsoelastics(const std::vector<IsoelasticLine>& lines, bool showLabels);
    void clearIsoelastics();

    /// Shows a gate, replacing any of the same id.
    /// @param polygon      vertices in data units, not closed
    /// @param ruleEnabled  red if the rule is in force, grey and dashed if not
    void addPolygonOverlay(int id, const QPolygonF& polygon, bool ruleEnabled);
    void clearPolygonOverlays();

    /// Lets the user draw a polygon, vertex by vertex; a double click completes it, Escape cancels. Ends any edit
    /// first. Ends in polygonDrawingStopped(), after polygonCompleted() if there is a polygon.
    void startPolygonDraw();
    /// Ends a drawing without a polygon; nothing happens if there is none.
    void cancelPolygonDraw();
    bool isDrawing() const;

    /// Lets the user drag, add (on an edge) and remove (right button) vertices of a polygon until stopPolygonEdit() or
    /// Escape. Cancels a drawing first, and ends the edit of another id. The gate of that id is hidden meanwhile, also
    /// if gates are shown anew.
    /// @param polygon  vertices in data units, not closed
    void startPolygonEdit(int id, const QPolygonF& polygon);
    void stopPolygonEdit();
    bool isEditing() const;
    /// Of the polygon being edited, -1 if none is.
    int editId() const;

    /// Plot index of the point nearest to a place, measured in shares of the canvas's width and height; -1 if none is
    /// within 5 %. The first of equally near points wins; points that the axes cannot show are never found.
    /// O(n), one pass.
    int findNearestPoint(const QPointF& dataPos) const;

    /// A canvas position in data units, and back.
    QPointF toData(const QPointF& canvasPos) const;
    QPointF toCanvas(const QPointF& dataPos) const;

    const std::vector<double>& xData() const;
    const std::vector<double>& yData() const;
    const std::vector<double>& colorData() const;
    bool isDataVisible() const { return !dataHidden_; }
    /// Plot index of the marked point, -1 if none.
    int highlightedPoint() const { return highlighted_; }
    int contourCurveCount() const { return static_cast<int>(contourCurves_.size()); }
    int isoLineCount() const { return static_cast<int>(isoLines_.size()); }
    QStringList isoLabelTexts() const;
    QList<int> overlayIds() const;

    const PlainDotCurve* plainCurve() const { return plainCurve_; }
    const RoundSpectroCurve* colorCurve() const { return colorCurve_; }

signals:
    /// The user clicked within reach of a point.
    void pointClicked(int index);
    /// While a polygon is drawn or edited: the mouse has come within reach of another point.
    void pointHovered(int index);
    /// The user has drawn a polygon of three vertices or more, in data units and not closed. The plot is idle by then.
    void polygonCompleted(QPolygonF polygon);
    /// A drawing has ended, completed or not: by double click, Escape, cancelPolygonDraw() or the start of an edit.
    void polygonDrawingStopped();
    /// A vertex was dropped or removed. Not sent while one is dragged; a drag that Escape ends is never sent.
    void polygonEdited(int id, QPolygonF polygon);
    /// An edit has ended: by Escape, stopPolygonEdit(), or the start of a drawing or of another edit.
    void polygonEditingStopped(int id);

public slots:
    /// The outline of a polygon under the user's hands follows the axes.
    void replot() override;

protected:
    bool event(QEvent* event) override;
    bool eventFilter(QObject* object, QEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;

private slots:
    void onPointSelected(int index);

private:
    friend class CanvasInput;

    void setupPlot();
    void setupTexts();
    void setupCurves();

    // As the public functions of similar names, without a replot.
    void placePoints(std::shared_ptr<const PlotPoints> points);
    void showPoints(bool visible);
    void removePoints();
    void placeMark(int plotIndex);
    void changeScaleMode(int axis, int mode);
    void placeIsoelastics(const std::vector<IsoelasticLine>& lines, bool withLabels);
    void placeGate(const PlotGate& gate);
    void removeGates();
    /// Of the gate of an id, if there is one; replots.
    void setGateVisible(int id, bool visible);
    void keepRoomFor(const QwtPlotShapeItem* hiddenGate);

    /// Asks for as many major steps as have room. False if there is no change.
    bool fitSteps();
    void applyColors();

    PlainDotCurve* plainCurve_ = nullptr;
    RoundSpectroCurve* colorCurve_ = nullptr;
    PlainDotCurve* highlightCurve_ = nullptr;
    ScatterPlotPicker* picker_ = nullptr;
    QwtPlotPanner* panner_ = nullptr;
    std::unique_ptr<CanvasInput> input_;

    std::shared_ptr<const PlotPoints> points_;
    int highlighted_ = -1;
    std::map<int, QwtPlotShapeItem*> overlays_;
    std::unique_ptr<GateRoom> roomOfHiddenGate_;
    std::vector<QwtPlotCurve*> contourCurves_;
    std::vector<QwtPlotCurve*> isoLines_;
    std::vector<QwtPlotMarker*> isoLabels_;
    bool dataHidden_ = false;
    int colorMapIndex_ = 0;
    std::map<int, int> scaleModes_; ///< of the axes that had one set
};

} // namespace Tessaly
