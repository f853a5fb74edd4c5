#include "plot/PlotItems.h"
#include "tools/statistics/PlotParts.h"
#include "tools/statistics/PlotPointTooltip.h"
#include "tools/statistics/StatisticsPlots.h"

#include <QCoreApplication>
#include <qwt_plot.h>
#include <qwt_plot_curve.h>
#include <qwt_plot_marker.h>
#include <qwt_symbol.h>
#include <qwt_text.h>

namespace Tessaly {

namespace {

struct Texts {
    Q_DECLARE_TR_FUNCTIONS(Tessaly::RocPlot)
};

const QColor curveColor(70, 130, 180);
const QColor darkRed(139, 0, 0);
constexpr double LabelRoom = 0.2; ///< of the axis: two lines of text in the smallest plot

void addLabel(QwtPlot& plot, const QPointF& place, const QString& text, int points, const QColor& color,
              Qt::Alignment alignment) {
    QwtText label(text, QwtText::PlainText);
    label.setFont(QFont(QStringLiteral("Sans"), points));
    label.setColor(color);
    label.setRenderFlags(alignment.testFlag(Qt::AlignLeft) ? Qt::AlignRight : Qt::AlignLeft);
    auto* marker = new QwtPlotMarker;
    marker->setValue(place);
    marker->setLabel(label);
    marker->setLabelAlignment(alignment);
    marker->setSpacing(8);
    marker->setItemAttribute(QwtPlotItem::Legend, false);
    marker->setZ(25.0);
    marker->attach(&plot);
}

/// The side of the best point that its label stands on: away from the edges at left and right; above a point in the
/// upper half and below one in the lower half, unless that would be outside of the plot.
Qt::Alignment labelSide(const QPointF& place) {
    const bool above = place.y() >= 0.5 ? place.y() <= 1.0 - LabelRoom : place.y() < LabelRoom;
    return (place.x() < 0.5 ? Qt::AlignRight : Qt::AlignLeft) | (above ? Qt::AlignTop : Qt::AlignBottom);
}

void addOptimum(QwtPlot& plot, const RocResult& roc) {
    const QPointF place(1.0 - roc.specificity, roc.sensitivity);
    QwtPlotCurve* point = addCurve(plot, {place}, QPen(Qt::NoPen), 20.0);
    point->setStyle(QwtPlotCurve::NoCurve);
    point->setSymbol(new QwtSymbol(QwtSymbol::Diamond, Qt::red, QPen(darkRed, 1.0), QSize(10, 10)));
    const QString text = Texts::tr("Threshold %1 %2\nSens = %3, Spec = %4")
                             .arg(roc.higherIsPositive ? QStringLiteral(">") : QStringLiteral("<"),
                                  QString::number(roc.optimalThreshold, 'g', 4),
                                  QString::number(roc.sensitivity, 'f', 3), QString::number(roc.specificity, 'f', 3));
    addLabel(plot, place, text, 8, darkRed, labelSide(place));
}

void addArea(QwtPlot& plot, const RocResult& roc) {
    const QString text = Texts::tr("AUC = %1").arg(roc.auc, 0, 'f', 3);
    if (roc.auc < 0.5) {
        addLabel(plot, {0.45, 0.85}, text, 11, curveColor, Qt::AlignLeft | Qt::AlignTop);
    } else {
        addLabel(plot, {0.55, 0.15}, text, 11, curveColor, Qt::AlignRight | Qt::AlignBottom);
    }
}

} // namespace

QString combinedTitle(const LdaResult& combined) {
    QStringList weights;
    for (std::size_t i = 0; i < combined.weights.size() && i < combined.features.size(); ++i) {
        weights += combined.features[i].label + QStringLiteral(": ") + QString::number(combined.weights[i], 'g', 3);
    }
    return combinedName() + u'\n' + Texts::tr("Weights: %1").arg(weights.join(QStringLiteral(", ")));
}

QwtPlot* makeRocPlot(const RocResult& roc, const QString& title) {
    auto* plot = new QwtPlot;
    setUpPlot(*plot, "rocPlot", title);
    plot->setMinimumSize(320, 320);
    setPlotTitle(*plot, title);
    plot->setAxisScale(QwtAxis::XBottom, 0.0, 1.0);
    plot->setAxisScale(QwtAxis::YLeft, 0.0, 1.0);
    setAxisText(*plot, QwtAxis::XBottom, Texts::tr("False Positive Rate (1 - Specificity)"));
    setAxisText(*plot, QwtAxis::YLeft, Texts::tr("True Positive Rate (Sensitivity)"));
    addCurve(*plot, {{0.0, 0.0}, {1.0, 1.0}}, plotPen(Qt::gray, 1.0, Qt::DashLine), 1.0);

    QVector<QPointF> points;
    auto* names = new PlotPointTooltip(*plot);
    for (std::size_t i = 0; i < roc.fpr.size(); ++i) {
        points += QPointF(roc.fpr[i], roc.tpr[i]);
        const QString threshold = i < roc.thresholds.size() ? QString::number(roc.thresholds[i], 'g', 6) : QString();
        names->add(points.last(),
                   Texts::tr("FPR=%1, TPR=%2\nThreshold=%3")
                       .arg(QString::number(roc.fpr[i], 'f', 3), QString::number(roc.tpr[i], 'f', 3), threshold));
    }
    QwtPlotCurve* area = addCurve(*plot, points, QPen(Qt::NoPen), 5.0);
    area->setBrush(QColor(70, 130, 180, 30));
    area->setBaseline(0.0);
    addCurve(*plot, points, plotPen(curveColor, 2.0), 10.0);
    addArea(*plot, roc);
    addOptimum(*plot, roc);
    plot->replot();
    return plot;
}

} // namespace Tessaly
