#include "plot/AxisScaleDraw.h"
#include "plot/PlotItems.h"
#include "tools/statistics/PlotTexts.h"
#include "tools/statistics/StatisticsPlots.h"

#include <QCoreApplication>
#include <QFontMetrics>
#include <qwt_legend.h>
#include <qwt_plot.h>
#include <qwt_plot_curve.h>
#include <qwt_scale_draw.h>
#include <qwt_scale_engine.h>
#include <qwt_text.h>

#include <algorithm>
#include <cmath>

namespace Tessaly {

namespace {

struct Texts {
    Q_DECLARE_TR_FUNCTIONS(Tessaly::DistributionPlot)
};

QColor withAlpha(QColor color, int alpha) {
    color.setAlpha(alpha);
    return color;
}

QColor colorOf(const std::vector<Category>& categories, std::size_t category) {
    const QColor saved(categories[category].color);
    return saved.isValid() ? saved : QColor(categoryColor(category));
}

QwtPlotCurve* addCurve(QwtPlot& plot, const QString& name, const QVector<QPointF>& points) {
    auto* curve = new QwtPlotCurve(QwtText(name, QwtText::PlainText));
    curve->setSamples(points);
    curve->setStyle(QwtPlotCurve::Lines);
    curve->setRenderHint(QwtPlotItem::RenderAntialiased);
    curve->attach(&plot);
    return curve;
}

QVector<QPointF> pointsOf(const CurveGrid& grid, const std::vector<double>& density) {
    QVector<QPointF> points;
    for (std::size_t i = 0; i < density.size(); ++i) {
        points += QPointF(grid.at(i), density[i]);
    }
    return points;
}

void addDatasets(QwtPlot& plot, const FeatureDistribution& distribution, const std::vector<Category>& categories) {
    for (const DistributionSeries& series : distribution.series) {
        const QColor color = colorOf(categories, series.category);
        QwtPlotCurve* curve = addCurve(plot, series.name, pointsOf(distribution.grid, series.density));
        curve->setPen(withAlpha(color, 180), 1.5, Qt::SolidLine);
        curve->setBrush(withAlpha(color, 25));
        curve->setBaseline(0.0);
        curve->setItemAttribute(QwtPlotItem::Legend, false);
    }
}

/// One deviation to either side of a mean, not below 0.
QVector<QPointF> bandOf(const CurveGrid& grid, const MeanCurve& curve) {
    QVector<QPointF> points;
    for (std::size_t i = 0; i < curve.mean.size(); ++i) {
        points += QPointF(grid.at(i), curve.mean[i] + curve.sd[i]);
    }
    for (std::size_t i = curve.mean.size(); i-- > 0;) {
        points += QPointF(grid.at(i), std::max(curve.mean[i] - curve.sd[i], 0.0));
    }
    return points;
}

void addCategories(QwtPlot& plot, const FeatureDistribution& distribution, const std::vector<Category>& categories) {
    for (const CategoryDistribution& mean : categoryMeans(distribution)) {
        const QColor color = colorOf(categories, mean.category);
        if (!mean.curve.sd.empty()) {
            QwtPlotCurve* band = addCurve(plot, QString(), bandOf(distribution.grid, mean.curve));
            band->setPen(QPen(Qt::NoPen));
            band->setBrush(withAlpha(color, 40));
            // The polygon closes itself; a baseline far away would add to it.
            band->setBaseline(0.0);
            band->setItemAttribute(QwtPlotItem::Legend, false);
            band->setZ(5.0); // beneath the means
        }
        QwtPlotCurve* curve =
            addCurve(plot, shortName(categories[mean.category].name), pointsOf(distribution.grid, mean.curve.mean));
        curve->setPen(color, 2.0, Qt::SolidLine);
        curve->setBrush(withAlpha(color, 30));
        curve->setBaseline(0.0);
        curve->setLegendAttribute(QwtPlotCurve::LegendShowLine, true);
        curve->setZ(10.0);
    }
}

} // namespace

QwtPlot* makeDistributionPlot(const FeatureDistribution& distribution, const std::vector<Category>& categories,
                              DistributionMode mode) {
    auto* plot = new QwtPlot;
    plot->setObjectName(QStringLiteral("distributionPlot"));
    plot->setAccessibleName(distribution.feature.label);
    plot->setMinimumSize(400, 280);
    plot->setCanvasBackground(Qt::white);
    setUpAxisNumbers(*plot);
    setPlotTitle(*plot, distribution.feature.label);
    setAxisText(*plot, QwtAxis::XBottom, distribution.feature.label);
    setAxisText(*plot, QwtAxis::YLeft, Texts::tr("Density"));
    addGrid(*plot);
    plot->axisScaleEngine(QwtAxis::YLeft)->setAttribute(QwtScaleEngine::IncludeReference); // 0
    if (mode == DistributionMode::PerDataset) {
        addDatasets(*plot, distribution, categories);
    } else {
        addCategories(*plot, distribution, categories);
    }
    plot->insertLegend(new QwtLegend, QwtPlot::RightLegend, -1.0);
    plot->axisScaleDraw(QwtAxis::XBottom)
        ->setMinimumExtent(QFontMetrics(plot->axisFont(QwtAxis::XBottom)).height() + 10);
    plot->replot();
    return plot;
}

} // namespace Tessaly
