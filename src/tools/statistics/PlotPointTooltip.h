#pragma once

#include <QObject>
#include <QPoint>
#include <QPointF>
#include <QString>

#include <optional>
#include <vector>

class QwtPlot;

namespace Tessaly {

/// Tells the name of the point under the pointer in a tool tip. Belongs to its plot.
class PlotPointTooltip : public QObject {
    Q_OBJECT

public:
    explicit PlotPointTooltip(QwtPlot& plot);

    void add(const QPointF& point, const QString& text);
    /// The text of the point nearest to a place on the canvas, if there is one within reach.
    std::optional<QString> textAt(const QPoint& place) const;

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    struct NamedPoint {
        QPointF point;
        QString text;
    };

    QwtPlot& plot_;
    std::vector<NamedPoint> points_;
};

} // namespace Tessaly
