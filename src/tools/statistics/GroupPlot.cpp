#include "plot/PlotItems.h"
#include "stats/SampleSummary.h"
#include "tools/statistics/PlotParts.h"
#include "tools/statistics/PlotPointTooltip.h"
#include "tools/statistics/StatisticsPlots.h"

#include <QPainter>
#include <qwt_plot.h>
#include <qwt_plot_curve.h>
#include <qwt_plot_marker.h>
#include <qwt_plot_shapeitem.h>
#include <qwt_scale_div.h>
#include <qwt_scale_draw.h>
#include <qwt_scale_map.h>
#include <qwt_symbol.h>
#include <qwt_text.h>

#include <algorithm>
#include <cmath>

namespace Tessaly {

namespace {

constexpr double HalfBox = 0.2;
constexpr double Jitter = 0.04;
constexpr double StarDrop = 0.015; // of the axis

/// Names of categories in place of numbers, shortened where they would touch.
class CategoryScaleDraw : public QwtScaleDraw {
public:
    explicit CategoryScaleDraw(QStringList names) : names_(std::move(names)) {}

    QwtText label(double value) const override {
        const int category = static_cast<int>(std::lround(value));
        const bool known = category >= 0 && category < names_.size() && std::fabs(value - category) < 1e-6;
        return QwtText(known ? names_[category] : QString(), QwtText::PlainText);
    }

    /// Names reach below the line, numbers, which the base class measures for, don't.
    double extent(const QFont& font) const override {
        return QwtScaleDraw::extent(font) + QFontMetricsF(font).descent();
    }

protected:
    void drawLabel(QPainter* painter, double value) const override {
        const double room = std::fabs(scaleMap().transform(1.0) - scaleMap().transform(0.0)) - 6.0;
        const QFontMetricsF metrics(painter->font());
        QwtText text(metrics.elidedText(label(value).text(), Qt::ElideMiddle, room), QwtText::PlainText);
        text.setRenderFlags(0);
        text.setLayoutAttribute(QwtText::MinimumLayout); // as the room for it was measured
        const QSizeF size = text.textSize(painter->font());
        painter->save();
        painter->setWorldTransform(labelTransformation(labelPosition(value), size), true);
        text.draw(painter, QRectF(QPointF(0.0, 0.0), size));
        painter->restore();
    }

private:
    QStringList names_;
};

void setUpAxes(QwtPlot& plot, const GroupComparison& comparison, const QString& label) {
    QStringList names;
    QList<double> ticks;
    for (const Category& category : comparison.categories) {
        ticks += static_cast<double>(names.size());
        names += shortName(category.name);
    }
    const double count = static_cast<double>(names.size());
    plot.setAxisScaleDraw(QwtAxis::XBottom, new CategoryScaleDraw(names));
    plot.setAxisScaleDiv(QwtAxis::XBottom, QwtScaleDiv(-0.5, count - 0.5, {}, {}, ticks));
    setAxisText(plot, QwtAxis::YLeft, label);
}

/// Draws mean and deviation; returns their upper end.
double addBox(QwtPlot& plot, double x, const std::vector<double>& values, const QColor& color) {
    const MeanAndSd moments = meanAndSd(values);
    QColor fill = color;
    fill.setAlpha(40);
    auto* box = new QwtPlotShapeItem;
    box->setRect(QRectF(x - HalfBox, moments.mean - moments.sd, 2.0 * HalfBox, 2.0 * moments.sd));
    box->setPen(plotPen(color, 2.0));
    box->setBrush(fill);
    box->setItemAttribute(QwtPlotItem::Legend, false);
    box->setItemAttribute(QwtPlotItem::AutoScale, true);
    box->setZ(10.0);
    box->attach(&plot);
    addCurve(plot, {{x - HalfBox, moments.mean}, {x + HalfBox, moments.mean}}, plotPen(color, 2.0), 11.0);
    return moments.mean + moments.sd;
}

QPointF samplePoint(std::size_t category, std::size_t sample, double value) {
    const double offset = static_cast<double>(sample % 5) - 2.0;
    return {static_cast<double>(category) + offset * Jitter, value};
}

void addSamples(QwtPlot& plot, PlotPointTooltip& names, std::size_t category, const CategorySamples& samples,
                const QColor& color) {
    QVector<QPointF> points;
    for (std::size_t i = 0; i < samples.values.size(); ++i) {
        points += samplePoint(category, i, samples.values[i]);
        names.add(points.last(),
                  QStringLiteral("%1\n(%2)")
                      .arg(samples.names.value(static_cast<int>(i)), QString::number(samples.values[i], 'g', 4)));
    }
    QwtPlotCurve* dots = addCurve(plot, points, QPen(Qt::NoPen), 20.0);
    dots->setStyle(QwtPlotCurve::NoCurve);
    dots->setSymbol(new QwtSymbol(QwtSymbol::Ellipse, color, QPen(color.darker(130), 1.0), QSize(8, 8)));
}

void addConnections(QwtPlot& plot, const std::vector<CategorySamples>& samples) {
    for (std::size_t id = 0; id < samples[0].values.size(); ++id) {
        QVector<QPointF> points;
        for (std::size_t category = 0; category < samples.size(); ++category) {
            points += samplePoint(category, id, samples[category].values[id]);
        }
        addCurve(plot, points, plotPen(QColor(150, 150, 150), 1.0), 5.0);
    }
}

void addBrackets(QwtPlot& plot, const FeatureComparison& feature, double top) {
    plot.updateAxes();
    const double range = plot.axisInterval(QwtAxis::YLeft).width();
    const std::vector<Bracket> brackets = bracketsOf(feature, top, range);
    if (brackets.empty()) {
        return;
    }
    const double unit = range > 0.0 ? range : std::fabs(top) * 0.5;
    for (const Bracket& bracket : brackets) {
        const double left = bracket.first;
        const double right = bracket.second;
        addCurve(plot, {{left, bracket.height}, {right, bracket.height}}, plotPen(Qt::black, 1.0), 25.0);
        auto* stars = new QwtPlotMarker;
        QwtText text(bracket.stars, QwtText::PlainText);
        text.setColor(Qt::black);
        stars->setLabel(text);
        stars->setLabelAlignment(Qt::AlignHCenter | Qt::AlignTop);
        stars->setSpacing(0);
        // The signs stand high in their line: a little lower they are near their own bracket.
        stars->setValue((left + right) / 2.0, bracket.height - StarDrop * unit);
        stars->setItemAttribute(QwtPlotItem::Legend, false);
        stars->setZ(26.0);
        stars->attach(&plot);
    }
    // The stars of the highest one need room, too.
    plot.updateAxes();
    const QwtInterval axis = plot.axisInterval(QwtAxis::YLeft);
    const double highest = brackets.back().height;
    const double room = highest + 0.12 * (highest - axis.minValue());
    plot.setAxisScale(QwtAxis::YLeft, axis.minValue(), std::max(axis.maxValue(), room));
}

} // namespace

QwtPlot* makeGroupPlot(const GroupComparison& comparison, const FeatureComparison& feature) {
    auto* plot = new QwtPlot;
    setUpPlot(*plot, "groupPlot", feature.feature.label);
    plot->setMinimumHeight(280);
    setUpAxes(*plot, comparison, feature.feature.label);
    auto* names = new PlotPointTooltip(*plot);
    bool any = false;
    double top = 0.0;
    for (std::size_t i = 0; i < feature.samples.size(); ++i) {
        const std::vector<double>& values = feature.samples[i].values;
        if (values.empty()) {
            continue;
        }
        const QColor color = colorOf(comparison.categories, i);
        const double end = std::max(addBox(*plot, static_cast<double>(i), values, color), std::ranges::max(values));
        top = any ? std::max(top, end) : end;
        any = true;
        addSamples(*plot, *names, i, feature.samples[i], color);
    }
    if (comparison.settings.matched() && comparison.settings.connectionLines) {
        addConnections(*plot, feature.samples);
    }
    addBrackets(*plot, feature, top);
    plot->replot();
    return plot;
}

} // namespace Tessaly
