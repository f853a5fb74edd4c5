#include "core/ScaleMath.h"
#include "plot/ScatterPlot.h"

#include <QApplication>
#include <QRubberBand>
#include <QSignalSpy>
#include <QTest>
#include <QWheelEvent>
#include <qwt_interval.h>

#include <gtest/gtest.h>

#include <cmath>

using namespace Tessaly;

namespace {

constexpr int X = QwtAxis::XBottom;
constexpr int Y = QwtAxis::YLeft;

struct PlotNavigatorTest : testing::Test {
    PlotNavigatorTest() : clicks(&plot, &ScatterPlot::pointClicked) {
        plot.resize(600, 500);
        plot.setData({20, 50, 80}, {20, 50, 80}, "X", "Y", {}, "");
        fixAxes();
        plot.show();
        QApplication::processEvents();
        canvas = plot.canvas();
    }

    void fixAxes() {
        plot.setAxisScale(X, 0, 100);
        plot.setAxisScale(Y, 0, 100);
        plot.replot();
    }
    QPoint at(double x, double y) const { return plot.toCanvas({x, y}).toPoint(); }
    void drag(const QPoint& from, const QPoint& to) {
        QTest::mousePress(canvas, Qt::LeftButton, {}, from);
        QTest::mouseMove(canvas, (from + to) / 2);
        QTest::mouseMove(canvas, to);
        QTest::mouseRelease(canvas, Qt::LeftButton, {}, to);
    }
    void turnWheel(const QPoint& position, int delta) {
        QWheelEvent event(position, canvas->mapToGlobal(position), QPoint(), QPoint(0, delta), Qt::NoButton,
                          Qt::NoModifier, Qt::NoScrollPhase, false);
        QApplication::sendEvent(canvas, &event);
    }
    void expectAxes(double x1, double x2, double y1, double y2) {
        EXPECT_NEAR(plot.axisInterval(X).minValue(), x1, 1e-9);
        EXPECT_NEAR(plot.axisInterval(X).maxValue(), x2, 1e-9);
        EXPECT_NEAR(plot.axisInterval(Y).minValue(), y1, 1e-9);
        EXPECT_NEAR(plot.axisInterval(Y).maxValue(), y2, 1e-9);
    }

    ScatterPlot plot;
    QWidget* canvas = nullptr;
    QSignalSpy clicks;
};

} // namespace

TEST_F(PlotNavigatorTest, ClickPicksTheNearestPoint) {
    QTest::mouseClick(canvas, Qt::LeftButton, {}, at(54, 50));
    ASSERT_EQ(clicks.count(), 1);
    EXPECT_EQ(clicks.last().at(0).toInt(), 1);
    EXPECT_EQ(plot.highlightedPoint(), 1);
    QTest::mouseClick(canvas, Qt::LeftButton, {}, at(56.2, 50));
    EXPECT_EQ(clicks.count(), 1);
    expectAxes(0, 100, 0, 100);
}

TEST_F(PlotNavigatorTest, DragBeyondFivePixelsBothWaysZooms) {
    const struct {
        QPoint distance;
        bool zooms;
    } rows[] = {{{5, 5}, false},   {{6, 6}, true},  {{6, 5}, false},   {{5, 60}, false},
                {{-5, -5}, false}, {{-6, 6}, true}, {{200, 3}, false}, {{-80, -60}, true}};
    for (const auto& row : rows) {
        fixAxes();
        clicks.clear();
        const QPoint from = at(50, 50) - row.distance; // so that a pick hits the point
        const QPoint to = from + row.distance;
        const QPointF a = plot.toData(from);
        const QPointF b = plot.toData(to);
        drag(from, to);
        if (row.zooms) {
            EXPECT_EQ(clicks.count(), 0);
            expectAxes(std::min(a.x(), b.x()), std::max(a.x(), b.x()), std::min(a.y(), b.y()), std::max(a.y(), b.y()));
        } else {
            EXPECT_EQ(clicks.count(), 1);
            expectAxes(0, 100, 0, 100);
        }
    }
}

TEST_F(PlotNavigatorTest, RubberBandFollowsTheDrag) {
    const QPoint origin = at(30, 70);
    QTest::mousePress(canvas, Qt::LeftButton, {}, origin);
    QTest::mouseMove(canvas, origin + QPoint(4, 4));
    auto* band = canvas->findChild<QRubberBand*>();
    EXPECT_FALSE(band->isVisible());
    QTest::mouseMove(canvas, origin + QPoint(-30, 50));
    EXPECT_EQ(band->geometry(), QRect(origin + QPoint(-30, 0), QSize(30, 50)));
    QTest::mouseRelease(canvas, Qt::LeftButton, {}, origin + QPoint(-30, 50));
    EXPECT_FALSE(band->isVisible());
}

TEST_F(PlotNavigatorTest, ShiftDragPans) {
    const QPoint from = at(50, 50);
    const QPoint to = from + QPoint(60, -35);
    const QPointF shift = plot.toData(from) - plot.toData(to);
    QTest::mousePress(canvas, Qt::LeftButton, Qt::ShiftModifier, from);
    EXPECT_EQ(canvas->cursor().shape(), Qt::ClosedHandCursor);
    QTest::mouseMove(canvas, to);
    QTest::mouseRelease(canvas, Qt::LeftButton, Qt::ShiftModifier, to);
    expectAxes(shift.x(), 100 + shift.x(), shift.y(), 100 + shift.y());
    EXPECT_EQ(clicks.count(), 0);
    QTest::mouseMove(canvas, from); // the pan is over
    expectAxes(shift.x(), 100 + shift.x(), shift.y(), 100 + shift.y());
}

TEST_F(PlotNavigatorTest, WheelZoomsAboutThePointer) {
    const QPoint position = at(25, 60);
    const QPointF fixed = plot.toData(position);
    for (const auto& [delta, factor] : {std::pair{120, 0.8}, std::pair{-120, 1.25}}) {
        fixAxes();
        turnWheel(position, delta);
        expectAxes(fixed.x() - fixed.x() * factor, fixed.x() + (100 - fixed.x()) * factor,
                   fixed.y() - fixed.y() * factor, fixed.y() + (100 - fixed.y()) * factor);
    }
}

TEST_F(PlotNavigatorTest, RightClickAndDoubleClickResetTheZoom) {
    for (const bool right : {true, false}) {
        fixAxes();
        if (right) {
            QTest::mouseClick(canvas, Qt::RightButton, {}, at(45, 55));
        } else {
            QTest::mouseDClick(canvas, Qt::LeftButton, {}, at(45, 55));
        }
        expectAxes(20, 80, 20, 80);
    }
}

TEST_F(PlotNavigatorTest, ZoomWorksOnCurvedAxes) {
    plot.setData({1, 1000}, {-500, 50000}, "X", "Y", {}, "");
    plot.setAxisScaleMode(X, ScaleMode::Log);
    plot.setAxisScaleMode(Y, ScaleMode::PseudoLog);
    const QPoint from = at(10, -50);
    const QPoint to = at(100, 1000);
    const QPointF lower = plot.toData(from);
    const QPointF upper = plot.toData(to);
    drag(from, to);
    EXPECT_NEAR(plot.axisInterval(X).minValue() / lower.x(), 1.0, 1e-9);
    EXPECT_NEAR(plot.axisInterval(X).maxValue() / upper.x(), 1.0, 1e-9);
    EXPECT_NEAR(plot.axisInterval(Y).minValue(), lower.y(), 1e-6);
    EXPECT_NEAR(plot.axisInterval(Y).maxValue(), upper.y(), 1e-6);
}

TEST_F(PlotNavigatorTest, MiddleButtonPansWithoutTouchingTheColorAxis) {
    plot.setData({20, 50, 80}, {20, 50, 80}, "X", "Y", {1, 2, 3}, "C");
    QApplication::processEvents();
    const QPoint from = at(50, 50);
    const double left = plot.axisInterval(X).minValue();
    QTest::mousePress(canvas, Qt::MiddleButton, {}, from);
    QTest::mouseMove(canvas, from + QPoint(50, 50));
    QTest::mouseRelease(canvas, Qt::MiddleButton, {}, from + QPoint(50, 50));
    EXPECT_LT(plot.axisInterval(X).minValue(), left);
    EXPECT_EQ(plot.axisInterval(QwtAxis::YRight), QwtInterval(1, 3));
}
