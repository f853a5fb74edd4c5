#include "tools/statistics/PlotPointTooltip.h"

#include "widgets/PlainText.h"

#include <QHelpEvent>
#include <QToolTip>
#include <QWidget>
#include <qwt_plot.h>
#include <qwt_scale_map.h>

#include <cmath>

namespace Tessaly {

namespace {

constexpr double Reach = 8.0; // pixels

} // namespace

PlotPointTooltip::PlotPointTooltip(QwtPlot& plot) : QObject(&plot), plot_(plot) {
    plot.canvas()->installEventFilter(this);
}

void PlotPointTooltip::add(const QPointF& point, const QString& text) {
    points_.push_back({point, text});
}

std::optional<QString> PlotPointTooltip::textAt(const QPoint& place) const {
    const QwtScaleMap x = plot_.canvasMap(QwtAxis::XBottom);
    const QwtScaleMap y = plot_.canvasMap(QwtAxis::YLeft);
    const NamedPoint* nearest = nullptr;
    double distance = Reach;
    for (const NamedPoint& point : points_) {
        const double d = std::hypot(x.transform(point.point.x()) - place.x(), y.transform(point.point.y()) - place.y());
        if (d <= distance) {
            distance = d;
            nearest = &point;
        }
    }
    return nearest ? std::optional(nearest->text) : std::nullopt;
}

bool PlotPointTooltip::eventFilter(QObject* watched, QEvent* event) {
    if (event->type() != QEvent::ToolTip) {
        return QObject::eventFilter(watched, event);
    }
    const auto* help = static_cast<QHelpEvent*>(event);
    if (const std::optional<QString> text = textAt(help->pos())) {
        QToolTip::showText(help->globalPos(), plainToolTip(*text), plot_.canvas());
    } else {
        QToolTip::hideText();
    }
    return true;
}

} // namespace Tessaly
