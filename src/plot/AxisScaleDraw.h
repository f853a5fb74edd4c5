#pragma once

#include <QFont>
#include <QList>
#include <qwt_scale_draw.h>

class QwtPlot;

namespace Tessaly {

/// An axis whose numbers are written as in the rest of the program, whatever the user's locale (0.5, 20000), and never
/// overlap: on evenly spaced ticks every second, third, ... one is labelled, on others zero and powers of ten first.
/// The ticks themselves stay.
class AxisScaleDraw : public QwtScaleDraw {
public:
    QwtText label(double value) const override;

    /// The major ticks whose labels are drawn, in rising order of position.
    QList<double> labelledTicks(const QFont& font) const;

protected:
    void drawLabel(QPainter* painter, double value) const override;

private:
    QList<double> evenChoice(const QList<double>& ticks, const QFont& font) const;
    QList<double> choiceByRank(const QList<double>& ticks, const QFont& font) const;
    bool overlap(const QFont& font, double a, double b) const;

    /// The last choice and what it was made for.
    struct Choice {
        QFont font;
        QwtScaleDiv division;
        QPointF position;
        double length = -1.0;
        QList<double> ticks;
    };
    mutable Choice choice_;
};

/// Gives every axis of a plot such numbers.
void setUpAxisNumbers(QwtPlot& plot);

} // namespace Tessaly
