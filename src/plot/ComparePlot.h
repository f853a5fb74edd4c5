#pragma once

#include "calc/density/Contours.h"
#include "calc/emodulus/EModulus.h"

#include <QColor>
#include <QString>
#include <qwt_plot.h>

#include <memory>
#include <optional>
#include <utility>
#include <vector>

class QwtPlotCurve;

namespace Tessaly {

class EmptyHint;
class PlainDotCurve;
class PlotPoints;
class RoundSpectroCurve;

/// The colours of one dataset in a comparison.
struct CompareColors {
    QColor dots; ///< of plain dots
    QColor lines;
    QColor legend;
};

/// One dataset in a comparison.
struct CompareSeries {
    std::shared_ptr<const PlotPoints> points; ///< null: no dots; with colour values these colour the dots
    std::vector<ContourLevel> contours;
    QString name; ///< of its entry in the legend
    CompareColors colors;
};

/// Lower and upper bound of an axis.
using AxisBounds = std::pair<double, double>;

/// Everything that one plot of a comparison shows, as a value.
struct CompareScene {
    QString title; ///< empty for none
    QColor titleColor;
    QString xLabel;
    QString yLabel;
    bool compact = true; ///< small fonts, for one of many plots
    int xScaleMode = 0;  ///< ScaleMode
    int yScaleMode = 0;
    std::optional<AxisBounds> xBounds; ///< else automatic
    std::optional<AxisBounds> yBounds;
    std::vector<CompareSeries> series;
    std::vector<IsoelasticLine> isoelastics; ///< in plot coordinates
    bool isoelasticLabels = false;
    std::optional<qsizetype> count; ///< shown as "N = ..."
    bool legend = false;
    QColor background = Qt::white;
    int colorMapIndex = 0;
};

/// One plot of a comparison: dots and contours of one or more datasets, made of the same items as the main plot. Shows
/// its scene from the start; only colours change later. Interface thread only.
class ComparePlot : public QwtPlot {
    Q_OBJECT

public:
    explicit ComparePlot(const CompareScene& scene, QWidget* parent = nullptr);

    /// Other colours for the same series, with one replot.
    void setColors(const std::vector<CompareColors>& colors, const QColor& titleColor, int colorMapIndex);

    /// The whole title; on the screen it is shortened in the middle where it doesn't fit.
    QString fullTitle() const { return title_; }

protected:
    void resizeEvent(QResizeEvent* event) override;

private:
    struct Items {
        std::shared_ptr<const PlotPoints> points;
        PlainDotCurve* dots = nullptr;
        RoundSpectroCurve* colorDots = nullptr;
        std::vector<QwtPlotCurve*> contours;
        QwtPlotCurve* legend = nullptr;
    };

    void setUpCanvas(const CompareScene& scene);
    void setUpTexts(const CompareScene& scene);
    void setUpAxis(int axis, int mode, const std::optional<AxisBounds>& bounds);
    void addSeries(const CompareSeries& series, const CompareScene& scene);
    void addCount(qsizetype count);
    void addLegend();
    void colorTitle(const QColor& color);

    QString title_;
    std::vector<Items> items_;
};

} // namespace Tessaly
