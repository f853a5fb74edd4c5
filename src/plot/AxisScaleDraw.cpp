#include "plot/AxisScaleDraw.h"

#include <QLocale>
#include <QPainter>
#include <qwt_plot.h>
#include <qwt_scale_div.h>
#include <qwt_scale_map.h>
#include <qwt_text.h>

#include <algorithm>
#include <cmath>

namespace Tessaly {

namespace {

/// Which ticks keep their labels where there is no room for all: the lower, the sooner.
int rankOf(double value) {
    if (value == 0.0) {
        return 0;
    }
    const double exponent = std::log10(std::abs(value));
    return std::abs(exponent - std::round(exponent)) < 1e-9 ? 1 : 2;
}

} // namespace

QwtText AxisScaleDraw::label(double value) const {
    return QLocale::c().toString(value);
}

bool AxisScaleDraw::overlap(const QFont& font, double a, double b) const {
    // A blank's width between neighbours, nothing between lines.
    const QFontMetricsF metrics(font);
    const double gap = orientation() == Qt::Horizontal ? 0.5 * metrics.horizontalAdvance(QLatin1Char('0')) : 0.0;
    const QRectF first = boundingLabelRect(font, a);
    const QRectF second = boundingLabelRect(font, b);
    return first.adjusted(-gap, 0.0, gap, 0.0).intersects(second);
}

QList<double> AxisScaleDraw::evenChoice(const QList<double>& ticks, const QFont& font) const {
    // Multiples of twice, three times, ... the step, so that zero stays labelled.
    const double step = ticks[1] - ticks[0];
    for (qsizetype stride = 1; stride < ticks.size(); ++stride) {
        QList<double> chosen;
        bool free = true;
        for (const double tick : ticks) {
            const double multiple = std::round(tick / step);
            if (stride > 1 && std::fmod(multiple, static_cast<double>(stride)) != 0.0) {
                continue;
            }
            free = free && (chosen.isEmpty() || !overlap(font, chosen.last(), tick));
            chosen += tick;
        }
        if (free && chosen.size() >= 2) {
            return chosen;
        }
    }
    return {};
}

QList<double> AxisScaleDraw::choiceByRank(const QList<double>& ticks, const QFont& font) const {
    QList<double> chosen;
    for (int rank = 0; rank <= 2; ++rank) {
        for (const double tick : ticks) {
            const auto inTheWay = [&](double other) { return other == tick || overlap(font, other, tick); };
            if (rankOf(tick) == rank && std::none_of(chosen.begin(), chosen.end(), inTheWay)) {
                chosen += tick;
            }
        }
    }
    std::sort(chosen.begin(), chosen.end());
    return chosen;
}

QList<double> AxisScaleDraw::labelledTicks(const QFont& font) const {
    if (choice_.font == font && choice_.division == scaleDiv() && choice_.position == pos() &&
        choice_.length == length()) {
        return choice_.ticks;
    }
    QList<double> ticks;
    for (const double tick : scaleDiv().ticks(QwtScaleDiv::MajorTick)) {
        if (scaleDiv().contains(tick)) {
            ticks += tick;
        }
    }
    const QwtScaleMap& map = scaleMap();
    bool even = ticks.size() > 2 && map.transformation() == nullptr;
    for (qsizetype i = 2; even && i < ticks.size(); ++i) {
        const double before = ticks[i - 1] - ticks[i - 2];
        even = std::abs(ticks[i] - ticks[i - 1] - before) < 1e-6 * std::abs(before);
    }
    QList<double> chosen = even ? evenChoice(ticks, font) : QList<double>();
    if (chosen.isEmpty()) {
        chosen = choiceByRank(ticks, font);
    }
    choice_ = {font, scaleDiv(), pos(), length(), chosen};
    return chosen;
}

void AxisScaleDraw::drawLabel(QPainter* painter, double value) const {
    if (labelledTicks(painter->font()).contains(value)) {
        QwtScaleDraw::drawLabel(painter, value);
    }
}

void setUpAxisNumbers(QwtPlot& plot) {
    for (int axis = 0; axis < QwtAxis::AxisPositions; ++axis) {
        plot.setAxisScaleDraw(axis, new AxisScaleDraw);
    }
}

} // namespace Tessaly
