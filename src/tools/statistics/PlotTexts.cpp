#include "tools/statistics/PlotTexts.h"

#include <QApplication>
#include <qwt_plot.h>
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

QString shortName(const QString& name) {
    return name.size() <= LongestName ? name : name.left(LongestName / 2) + u'…' + name.right(LongestName / 2 - 1);
}

void setPlotTitle(QwtPlot& plot, const QString& text) {
    plot.setTitle(textOf(text, 10, true));
}

void setAxisText(QwtPlot& plot, int axis, const QString& text) {
    plot.setAxisTitle(axis, textOf(text, 9, false));
}

} // namespace Tessaly
