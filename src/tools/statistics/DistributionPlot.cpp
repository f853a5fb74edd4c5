#include "plot/PlotItems.h"
#include "tools/statistics/PlotParts.h"
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

constexpr double BandHeight = 5.0; // beneath the means
constexpr double MeanHeight = 10.0;
constexpr double CurveHeight = 20.0; // as the toolkit gives curves

QColor withAlpha(QColor color, int alpha) {
    color.setAlpha(alpha);
    return color;
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
        QwtPlotCurve* curve = addCurve(plot, pointsOf(distribution.grid, series.density),
                                       plotPen(withAlpha(color, 180), 1.5), CurveHeight);
        curve->setTitle(QwtText(series.name, QwtText::PlainText));
        curve->setBrush(withAlpha(color, 25));
        curve->setBaseline(0.0);
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
            QwtPlotCurve* band = addCurve(plot, bandOf(distribution.grid, mean.curve), QPen(Qt::NoPen), BandHeight);
            band->setBrush(withAlpha(color, 40));
            // The polygon closes itself; a baseline far away would add to it.
            band->setBaseline(0.0);
        }
        QwtPlotCurve* curve =
            addCurve(plot, pointsOf(distribution.grid, mean.curve.mean), plotPen(color, 2.0), MeanHeight);
        curve->setTitle(QwtText(shortName(categories[mean.category].name), QwtText::PlainText));
        curve->setItemAttribute(QwtPlotItem::Legend, true);
        curve->setBrush(withAlpha(color, 30));
        curve->setBaseline(0.0);
        curve->setLegendAttribute(QwtPlotCurve::LegendShowLine, true);
    }
}

} // namespace

QwtPlot* makeDistributionPlot(const FeatureDistribution& distribution, const std::vector<Category>& categories,
                              DistributionMode mode) {
    auto* plot = new QwtPlot;
    setUpPlot(*plot, "distributionPlot", distribution.feature.label);
    plot->setMinimumSize(400, 280);
    setPlotTitle(*plot, distribution.feature.label);
    setAxisText(*plot, QwtAxis::XBottom, distribution.feature.label);
    setAxisText(*plot, QwtAxis::YLeft, Texts::tr("Density"));
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
