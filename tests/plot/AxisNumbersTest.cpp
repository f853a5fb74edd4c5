#include "core/ScaleMath.h"
#include "plot/AxisScaleDraw.h"
#include "plot/AxisTicks.h"
#include "plot/PseudoLogScaleEngine.h"
#include "plot/ScatterPlot.h"
#include "plot/TracePlot.h"

#include <QApplication>
#include <QLocale>
#include <QWheelEvent>
#include <qwt_scale_widget.h>
#include <qwt_text.h>

#include <gtest/gtest.h>

#include <cmath>
#include <memory>
#include <random>

using namespace Tessaly;

namespace {

constexpr int X = QwtAxis::XBottom;
constexpr int Y = QwtAxis::YLeft;

QList<double> majors(const QwtScaleEngine& engine, double lower, double upper, int steps = 8) {
    return engine.divideScale(lower, upper, steps, 5).ticks(QwtScaleDiv::MajorTick);
}

/// The axis's labels in the picture: their values, and whether any two overlap.
struct Labels {
    QList<double> ticks;
    bool overlap = false;
};

Labels labelsOf(const QwtPlot& plot, int axis) {
    const auto* draw = dynamic_cast<const AxisScaleDraw*>(plot.axisScaleDraw(axis));
    if (!draw) {
        return {};
    }
    const QFont font = plot.axisFont(axis);
    Labels labels{draw->labelledTicks(font)};
    for (qsizetype i = 0; i < labels.ticks.size(); ++i) {
        for (qsizetype j = 0; j < i; ++j) {
            const QRectF a = draw->boundingLabelRect(font, labels.ticks[i]);
            const QRectF b = draw->boundingLabelRect(font, labels.ticks[j]);
            labels.overlap = labels.overlap || a.intersects(b);
        }
    }
    return labels;
}

void turnWheel(QwtPlot& plot, const QPointF& position, int delta) {
    QWheelEvent event(position, plot.canvas()->mapToGlobal(position), QPoint(), QPoint(0, delta), Qt::NoButton,
                      Qt::NoModifier, Qt::NoScrollPhase, false);
    QApplication::sendEvent(plot.canvas(), &event);
}

} // namespace

TEST(AxisTicks, RoundValuesFillInWhereDecadesAreFew) {
    const PseudoLogScaleEngine pseudoLog;
    EXPECT_EQ(majors(pseudoLog, 150, 2990), (QList<double>{200, 500, 1000, 2000}));
    EXPECT_EQ(majors(pseudoLog, -2990, -150), (QList<double>{-2000, -1000, -500, -200}));
    EXPECT_EQ(majors(pseudoLog, 330, 770), (QList<double>{400, 500, 600, 700}));
    EXPECT_EQ(majors(pseudoLog, -770, -330), (QList<double>{-700, -600, -500, -400}));
    EXPECT_EQ(majors(pseudoLog, 33, 77), (QList<double>{40, 50, 60, 70}));
    EXPECT_EQ(majors(pseudoLog, -33, 149), (QList<double>{0, 100})); // enough by itself
    EXPECT_EQ(majors(pseudoLog, -333, 33), (QList<double>{-200, -100, 0}));

    // Bounds count.
    EXPECT_EQ(roundTicks({200, 1000}, 100, 8), (QList<double>{200, 500, 1000}));
    EXPECT_EQ(roundTicks({-1000, -200}, 100, 8), (QList<double>{-1000, -500, -200}));

    const LogScaleEngine log;
    EXPECT_EQ(majors(log, 2, 30), (QList<double>{2, 5, 10, 20}));
    EXPECT_EQ(majors(log, 0.003, 0.09, 2), (QList<double>{0.005, 0.01, 0.02, 0.05}));
    EXPECT_EQ(majors(log, 1, 1000, 10).size(), 4); // the decades are enough

    EXPECT_GE(majors(LinearScaleEngine(), 0.1, 1.2, 2).size(), 2); // one step of 1 would hold one tick
    EXPECT_EQ(majors(LinearScaleEngine(), 0, 100, 5), (QList<double>{0, 20, 40, 60, 80, 100}));
}

TEST(AxisTicks, AnyIntervalHasTwo) {
    std::mt19937 random(4);
    std::uniform_real_distribution<double> uniform;
    const std::unique_ptr<QwtScaleEngine> engines[] = {std::make_unique<PseudoLogScaleEngine>(),
                                                       std::make_unique<LogScaleEngine>(10U),
                                                       std::make_unique<LinearScaleEngine>(10U)};
    for (int i = 0; i < 3000; ++i) {
        const double center = std::pow(10.0, 7.0 * uniform(random) - 1.0);
        const double width = center * std::pow(10.0, -4.0 * uniform(random));
        for (std::size_t e = 0; e < 3; ++e) {
            const double sign = e != 1 && i % 2 == 0 ? -1.0 : 1.0;
            const double a = sign * center;
            const double b = e == 1 ? a + width : a + width * (i % 3 == 0 ? 3.0 : 1.0);
            QList<double> ticks = majors(*engines[e], a, b, 2 + i % 7);
            ticks.erase(std::unique(ticks.begin(), ticks.end()), ticks.end());
            EXPECT_GE(ticks.size(), 2) << "engine " << e << ", " << a << " to " << b;
            for (const double tick : ticks) {
                EXPECT_TRUE(tick >= a && tick <= b) << tick << " is outside";
            }
        }
    }
}

TEST(AxisNumbers, KeepTwoLabelsApartInAnyZoom) {
    ScatterPlot plot;
    plot.resize(420, 380);
    plot.setData({-400, 120, 250000}, {-400, 120, 250000}, "X", "Y", {}, "");
    plot.show();
    std::mt19937 random(6);
    std::uniform_real_distribution<double> uniform;
    for (const int mode : {ScaleMode::Linear, ScaleMode::Log, ScaleMode::PseudoLog}) {
        plot.setAxisScaleMode(X, mode);
        plot.setAxisScaleMode(Y, mode);
        for (int i = 0; i < 120; ++i) {
            if (i % 12 == 0) {
                plot.resetZoom();
            }
            QApplication::processEvents();
            for (const int axis : {X, Y}) {
                SCOPED_TRACE(testing::Message()
                             << "mode " << mode << ", axis " << axis << ", " << plot.axisInterval(axis).minValue()
                             << " to " << plot.axisInterval(axis).maxValue());
                const Labels labels = labelsOf(plot, axis);
                EXPECT_GE(labels.ticks.size(), 2);
                EXPECT_FALSE(labels.overlap);
            }
            turnWheel(plot, {uniform(random) * plot.canvas()->width(), uniform(random) * plot.canvas()->height()}, 120);
        }
    }
}

TEST(AxisNumbers, ThinOutEvenlyOrByRank) {
    ScatterPlot plot;
    plot.setData({0, 1}, {0, 1}, "X", "Y", {}, "");
    plot.resize(330, 300);
    plot.show();
    plot.setAxisMaxMajor(X, 20);
    plot.setAxisScale(X, 0, 100000, 10000);
    plot.setAxisScaleMode(Y, ScaleMode::PseudoLog);
    plot.setAxisScale(Y, 0, 110);
    plot.replot();
    QApplication::processEvents();
    const QList<double> even = labelsOf(plot, X).ticks;
    ASSERT_GE(even.size(), 3);
    EXPECT_EQ(even[0], 0); // zero keeps its label
    EXPECT_GT(even[1], 10000);
    for (qsizetype i = 2; i < even.size(); ++i) {
        EXPECT_EQ(even[i] - even[i - 1], even[1] - even[0]);
    }
    // Zero and the decade go first, the upper bound close to it second.
    plot.setAxisScale(Y, 0, 101, 1);
    plot.replot();
    EXPECT_EQ(labelsOf(plot, Y).ticks, (QList<double>{0, 100}));
    // The ticks themselves stay.
    EXPECT_EQ(plot.axisScaleDiv(Y).ticks(QwtScaleDiv::MajorTick), (QList<double>{0, 100, 101}));
}

TEST(AxisNumbers, AreWrittenInOneNotationWhateverTheLocale) {
    const QLocale before;
    QLocale::setDefault(QLocale(QLocale::German, QLocale::Germany));
    const ScatterPlot scatter;
    const TracePlot traces;
    for (const QwtPlot* plot : {static_cast<const QwtPlot*>(&scatter), static_cast<const QwtPlot*>(&traces)}) {
        for (const int axis : {X, Y, int(QwtAxis::YRight)}) {
            EXPECT_EQ(plot->axisScaleDraw(axis)->label(0.5).text(), "0.5") << axis;
            EXPECT_EQ(plot->axisScaleDraw(axis)->label(102036.0).text(), "102036") << axis;
        }
    }
    QLocale::setDefault(before);
}
