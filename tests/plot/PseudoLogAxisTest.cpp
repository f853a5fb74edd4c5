#include "plot/PseudoLogScaleEngine.h"
#include "plot/PseudoLogTransform.h"

#include <qwt_scale_div.h>

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <memory>

using namespace Tessaly;

namespace {

QList<double> steps(double from, double to, double by) {
    QList<double> values;
    for (double value = from; value <= to; value += by) {
        values += value;
    }
    return values;
}

QwtScaleDiv divide(double x1, double x2, int minorSteps = 5, int majorSteps = 10) {
    return PseudoLogScaleEngine(100.0, 0.5).divideScale(x1, x2, majorSteps, minorSteps);
}

} // namespace

TEST(PseudoLogTransform, CopiesKeepTheirParameters) {
    // With threshold 10 and slope 0.1 the pieces meet at 1, and a decade is 1 beyond.
    const std::unique_ptr<QwtTransform> copy(PseudoLogTransform(10.0, 0.1).copy());
    EXPECT_NEAR(copy->transform(5.0), 0.5, 1e-14);
    EXPECT_NEAR(copy->transform(-1000.0), -3.0, 1e-14);
    EXPECT_NEAR(copy->invTransform(2.0), 100.0, 1e-10);
}

TEST(PseudoLogScaleEngine, MajorTicksFollowTheDecades) {
    const struct {
        double lower, upper;
        QList<double> ticks;
    } rows[] = {
        {0.0, 5000.0, {0.0, 100.0, 1000.0, 5000.0}},
        {-5000.0, 5000.0, {-5000.0, -100.0, 0.0, 100.0, 1000.0, 5000.0}},
        {-1000.0, 1000.0, {-1000.0, -100.0, 0.0, 100.0, 1000.0}},
        {2.0, 200000.0, {100.0, 1000.0, 10000.0, 100000.0, 200000.0}},
        {0.0, 40.0, {0.0, 40.0}},
        {-40.0, 0.0, {-40.0, 0.0, 0.0}},
        {300.0, 700.0, {300.0, 700.0}},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(testing::Message() << row.lower << " to " << row.upper);
        EXPECT_EQ(divide(row.lower, row.upper).ticks(QwtScaleDiv::MajorTick), row.ticks);
    }
}

TEST(PseudoLogScaleEngine, MinorTicksCountInTheDecadeOfTheirMajorTick) {
    EXPECT_EQ(divide(0.0, 5000.0).ticks(QwtScaleDiv::MinorTick),
              steps(10, 100, 10) + steps(200, 1000, 100) + steps(2000, 5000, 1000));
    EXPECT_EQ(divide(-5000.0, 0.0).ticks(QwtScaleDiv::MinorTick).first(10), steps(-4900, -4000, 100));
    EXPECT_TRUE(divide(-5000.0, 0.0).ticks(QwtScaleDiv::MinorTick).contains(-90.0));
    EXPECT_TRUE(divide(0.0, 5000.0, 0).ticks(QwtScaleDiv::MinorTick).isEmpty());
    EXPECT_TRUE(divide(0.0, 5000.0).ticks(QwtScaleDiv::MediumTick).isEmpty());
}

TEST(PseudoLogScaleEngine, DivisionsKeepTheirBounds) {
    const QwtScaleDiv unaligned = divide(-37.0, 1234.0);
    EXPECT_EQ(unaligned.lowerBound(), -37.0);
    EXPECT_EQ(unaligned.upperBound(), 1234.0);
    EXPECT_EQ(unaligned.ticks(QwtScaleDiv::MajorTick), (QList<double>{0.0, 100.0, 1000.0}));

    // Eight steps of 2000 end at 6000: the bounds are ticks only where they are whole steps.
    EXPECT_EQ(divide(-5000.0, 5000.0, 5, 8).ticks(QwtScaleDiv::MajorTick), (QList<double>{-100.0, 0.0, 100.0, 1000.0}));

    const QwtScaleDiv inverted = divide(5000.0, 0.0);
    EXPECT_EQ(inverted.lowerBound(), 5000.0);
    EXPECT_EQ(inverted.upperBound(), 0.0);

    EXPECT_TRUE(divide(3.0, 3.0).isEmpty());
    EXPECT_TRUE(divide(-std::numeric_limits<double>::max(), std::numeric_limits<double>::max()).isEmpty());
}

TEST(PseudoLogScaleEngine, AutoScaleAlignsToSteps) {
    const struct {
        double x1, x2;
        QwtScaleEngine::Attributes attributes;
        double lower, upper, step, margin = 0.0;
    } rows[] = {
        {0.0, 4321.0, {}, 0.0, 5000.0, 1000.0},
        {4321.0, 0.0, {}, 0.0, 5000.0, 1000.0},
        {50.0, 50.0, {}, 20.0, 80.0, 10.0}, // widened to 25 .. 75
        {0.0, 0.0, {}, -0.6, 0.6, 0.2},     // widened to -0.5 .. 0.5
        {-10.0, 30.0, QwtScaleEngine::Symmetric, -30.0, 30.0, 10.0},
        {20.0, 80.0, QwtScaleEngine::IncludeReference, 0.0, 80.0, 10.0},
        {0.0, 4321.0, QwtScaleEngine::Floating, 0.0, 4321.0, 1000.0},
        {0.0, 4321.0, QwtScaleEngine::Inverted, 5000.0, 0.0, -1000.0},
        {0.0, 100.0, QwtScaleEngine::Floating, -7.0, 112.0, 20.0, 7.0},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(testing::Message() << row.x1 << " to " << row.x2);
        PseudoLogScaleEngine engine(100.0, 0.5);
        engine.setAttributes(row.attributes);
        engine.setMargins(row.margin, row.margin > 0.0 ? 12.0 : 0.0);
        double lower = row.x1;
        double upper = row.x2;
        double step = 0.0;
        engine.autoScale(8, lower, upper, step);
        EXPECT_NEAR(lower, row.lower, 1e-12);
        EXPECT_NEAR(upper, row.upper, 1e-12);
        EXPECT_NEAR(step, row.step, 1e-12);
    }
}
