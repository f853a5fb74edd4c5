#include "tools/statistics/PlotParts.h"

#include "plot/AxisScaleDraw.h"
#include "plot/PlotItems.h"

#include <QApplication>
#include <QPen>
#include <qwt_plot.h>
#include <qwt_plot_curve.h>
#include <qwt_text.h>

namespace Tessaly {

namespace {

constexpr qsizetype LongestName = 24;

QwtText textOf(const QString& text, int points, bool bold) {
    // Not the plot's own font, which is another one before it is shown.
    QFont font = QApplication::font();
    font.setPointSize(points);
    font.setBold(bold);
    QwtText made(text, QwtText::PlainText);
    made.setFont(font);
    return made;
}

} // namespace

void setUpPlot(QwtPlot& plot, const char* objectName, const QString& accessibleName) {
    plot.setObjectName(QLatin1String(objectName));
    plot.setAccessibleName(accessibleName);
    plot.setCanvasBackground(Qt::white);
    addCanvasFrame(plot);
    addGrid(plot);
    setUpAxisNumbers(plot);
}

QColor colorOf(const std::vector<Category>& categories, std::size_t category) {
    const QColor saved(categories[category].color);
    return saved.isValid() ? saved : QColor(categoryColor(category));
}

QwtPlotCurve* addCurve(QwtPlot& plot, const QList<QPointF>& points, const QPen& pen, double z) {
    auto* curve = new QwtPlotCurve;
    curve->setSamples(points);
    curve->setPen(pen);
    curve->setRenderHint(QwtPlotItem::RenderAntialiased);
    curve->setItemAttribute(QwtPlotItem::Legend, false);
    curve->setZ(z);
    curve->attach(&plot);
    return curve;
}

QString shortName(const QString& name) {
    return name.size() <= LongestName ? name : name.left(LongestName / 2) + u'…' + name.right(LongestName / 2 - 1);
}

void setPlotTitle(QwtPlot& plot, const QString& text) {
    QwtText title = textOf(text, 10, true);
    title.setRenderFlags(Qt::AlignCenter | Qt::TextWordWrap);
    plot.setTitle(title);
}

void setAxisText(QwtPlot& plot, int axis, const QString& text) {
    plot.setAxisTitle(axis, textOf(text, 9, false));
}

} // namespace Tessaly
