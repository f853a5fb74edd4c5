#include "plot/ScatterPlot.h"

#include "calc/density/Contours.h"
#include "calc/emodulus/EModulus.h"
#include "core/ScaleMath.h"
#include "plot/ColorMaps.h"
#include "plot/IsoelasticLabel.h"
#include "plot/PlainDotCurve.h"
#include "plot/PlotPoints.h"
#include "plot/PlotScene.h"
#include "plot/RoundSpectroCurve.h"

#include <QApplication>
#include <QImage>
#include <QPen>
#include <QTest>
#include <qwt_color_map.h>
#include <qwt_plot_shapeitem.h>
#include <qwt_scale_div.h>
#include <qwt_scale_map.h>
#include <qwt_scale_widget.h>

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <memory>
#include <random>
#include <utility>

using namespace Tessaly;

namespace {

constexpr double NaN = std::numeric_limits<double>::quiet_NaN();
constexpr int X = QwtAxis::XBottom;
constexpr int Y = QwtAxis::YLeft;
constexpr int Bar = QwtAxis::YRight;

struct ScatterPlotTest : testing::Test {
    ScatterPlotTest() {
        plot.resize(500, 400);
        plot.show();
        QApplication::processEvents();
    }

    void show(std::vector<double> x, std::vector<double> y, std::vector<double> colors = {}) {
        plot.setData(std::move(x), std::move(y), "X", "Y", std::move(colors), "C");
    }
    void fixAxes(double lower, double upper) {
        plot.setAxisScale(X, lower, upper);
        plot.setAxisScale(Y, lower, upper);
        plot.replot();
    }
    bool barShown() const { return plot.isAxisVisible(Bar) && plot.axisWidget(Bar)->isColorBarEnabled(); }
    QColor canvasColor(const QPointF& dataPos) {
        const QImage image = plot.canvas()->grab().toImage();
        return image.pixelColor(plot.toCanvas(dataPos).toPoint());
    }

    ScatterPlot plot;
};

IsoelasticLine isoLine(double value, std::size_t count, double reach = 10.0) {
    IsoelasticLine line;
    line.value = value;
    for (std::size_t i = 0; i < count; ++i) {
        line.points.emplace_back(reach * static_cast<double>(i), reach * static_cast<double>(i));
    }
    return line;
}

QColor mapColor(int index, double position) {
    const std::unique_ptr<QwtLinearColorMap> map(colorMapFor(index));
    return QColor::fromRgb(map->rgb(QwtInterval(0.0, 1.0), position));
}

} // namespace

TEST(ColorMaps, FollowTheirStopsAndFallBackToTheFirst) {
    const struct {
        int index;
        double position;
        QColor color;
    } rows[] = {{0, 0.0, {68, 1, 84}},     {0, 0.75, {94, 201, 98}}, {1, 0.25, {0, 255, 255}},
                {2, 0.6, {0, 255, 0}},     {3, 1.0, {240, 249, 33}}, {4, 0.5, {104, 193, 194}},
                {5, 0.5, {128, 128, 128}}, {9, 0.0, {68, 1, 84}},    {-1, 1.0, {253, 231, 37}}};
    for (const auto& row : rows) {
        EXPECT_EQ(mapColor(row.index, row.position), row.color) << row.index << " at " << row.position;
    }
}

TEST_F(ScatterPlotTest, ColorsMustMatchThePoints) {
    show({1, 2, 3}, {1, 2, 3}, {5, 6, 7});
    EXPECT_TRUE(barShown());
    EXPECT_TRUE(plot.colorCurve()->isVisible());
    EXPECT_FALSE(plot.plainCurve()->isVisible());

    show({1, 2, 3}, {1, 2, 3}, {5, 6});
    EXPECT_FALSE(barShown());
    EXPECT_FALSE(plot.colorCurve()->isVisible());
    EXPECT_TRUE(plot.plainCurve()->isVisible());
    EXPECT_EQ(plot.plainCurve()->dataSize(), 3U);
}

TEST_F(ScatterPlotTest, UnequalOrMissingColumnsClearThePlot) {
    const std::vector<std::pair<std::vector<double>, std::vector<double>>> rows = {{{}, {}}, {{1, 2}, {1}}};
    for (const auto& [x, y] : rows) {
        show({1, 2}, {1, 2}, {1, 2});
        plot.highlightPoint(0);
        plot.setContours({{0.1, 1.0, {{{0, 0}, {1, 1}}}}});
        show(x, y, {1, 2});
        EXPECT_TRUE(plot.xData().empty());
        EXPECT_EQ(plot.plainCurve()->dataSize(), 0U);
        EXPECT_EQ(plot.colorCurve()->dataSize(), 0U);
        EXPECT_TRUE(plot.plainCurve()->isVisible());
        EXPECT_FALSE(barShown());
        EXPECT_EQ(plot.highlightedPoint(), -1);
        EXPECT_EQ(plot.contourCurveCount(), 0);
        EXPECT_EQ(plot.findNearestPoint({1, 1}), -1);
    }
}

TEST_F(ScatterPlotTest, ColorRangeCoversTheValues) {
    const struct {
        std::vector<double> colors;
        double lower, upper;
    } rows[] = {{{3, -2, 8}, -2, 8}, {{4, 4, 4}, 4, 5}, {{NaN, 2, 6}, 2, 6}, {{NaN, NaN, NaN}, 0, 1}};
    for (const auto& row : rows) {
        show({1, 2, 3}, {1, 2, 3}, row.colors);
        EXPECT_EQ(plot.colorCurve()->colorRange(), QwtInterval(row.lower, row.upper));
        EXPECT_EQ(plot.axisInterval(Bar), QwtInterval(row.lower, row.upper));
        EXPECT_EQ(plot.axisWidget(Bar)->colorBarInterval(), QwtInterval(row.lower, row.upper));
        plot.grab(); // draws the NaN dots, too
    }
}

TEST_F(ScatterPlotTest, ColorMapReachesDotsAndBar) {
    show({5}, {5}, {0});
    fixAxes(0, 10);
    EXPECT_EQ(canvasColor({5, 5}), mapColor(0, 0.0));
    plot.setColorMapIndex(4);
    EXPECT_EQ(canvasColor({5, 5}), mapColor(4, 0.0));
    EXPECT_EQ(plot.axisWidget(Bar)->colorMap()->rgb(QwtInterval(0, 1), 0.0), mapColor(4, 0.0).rgb());
}

TEST_F(ScatterPlotTest, HiddenDataStaysHiddenButTheHighlightShows) {
    show({2, 5}, {2, 5}, {0, 1});
    plot.setDataVisible(false);
    EXPECT_FALSE(barShown());
    show({2, 5}, {2, 5}, {0, 1});
    fixAxes(0, 10);
    EXPECT_FALSE(plot.isDataVisible());
    EXPECT_FALSE(plot.plainCurve()->isVisible());
    EXPECT_FALSE(plot.colorCurve()->isVisible());
    EXPECT_FALSE(barShown());
    plot.highlightPoint(1);
    EXPECT_EQ(canvasColor({5, 5}), QColor(254, 204, 0));
    EXPECT_EQ(canvasColor({2.3, 2.3}), QColor(Qt::white));

    plot.setDataVisible(true);
    EXPECT_TRUE(plot.colorCurve()->isVisible());
    EXPECT_TRUE(barShown());
}

TEST_F(ScatterPlotTest, HighlightNeedsAPoint) {
    show({2, 5}, {2, 5});
    fixAxes(0, 10);
    for (const int index : {-1, 2, 100}) {
        plot.highlightPoint(1);
        EXPECT_EQ(canvasColor({5, 5}), QColor(254, 204, 0));
        plot.highlightPoint(index);
        EXPECT_EQ(plot.highlightedPoint(), -1);
        EXPECT_NE(canvasColor({5, 5}), QColor(254, 204, 0));
    }
}

TEST_F(ScatterPlotTest, NewDataKeepsTheZoom) {
    show({0, 10}, {0, 10});
    plot.setAxisScale(X, 2, 3);
    plot.replot();
    show({0, 1000}, {0, 1000});
    EXPECT_EQ(plot.axisInterval(X), QwtInterval(2, 3));
    EXPECT_EQ(plot.axisInterval(Y), QwtInterval(0, 1000));
    plot.resetZoom();
    EXPECT_EQ(plot.axisInterval(X), QwtInterval(0, 1000));
}

TEST_F(ScatterPlotTest, ScaleModesReturnToAutoScale) {
    show({-300, 20, 40000}, {1, 2, 3});
    plot.setAxisScale(X, 0, 1);
    plot.setAxisScaleMode(X, ScaleMode::PseudoLog);
    EXPECT_TRUE(plot.axisInterval(X).contains(-300));
    EXPECT_TRUE(plot.axisInterval(X).contains(40000));
    // In axis space 100 lies half a decade from zero, and 1000 a decade further.
    const double zero = plot.toCanvas({0, 1}).x();
    const double hundred = plot.toCanvas({100, 1}).x();
    const double thousand = plot.toCanvas({1000, 1}).x();
    EXPECT_NEAR((thousand - hundred) / (hundred - zero), 2.0, 1e-6);

    plot.setAxisScaleMode(X, ScaleMode::Linear);
    EXPECT_NEAR((plot.toCanvas({1000, 1}).x() - plot.toCanvas({0, 1}).x()) /
                    (plot.toCanvas({100, 1}).x() - plot.toCanvas({0, 1}).x()),
                10.0, 1e-6);
}

TEST_F(ScatterPlotTest, LogAxisShowsThePositiveValues) {
    const struct {
        std::vector<double> x;
        double lower, upper;
    } rows[] = {{{-5, 0, 2, 500}, 1, 1000}, {{3, 20, 5, 500}, 1, 1000}, {{-5, 0, -2, -1}, 1, 10}};
    for (const auto& row : rows) {
        for (const bool colored : {false, true}) {
            show(row.x, {1, 2, 3, 4}, colored ? std::vector<double>{1, 2, 3, 4} : std::vector<double>{});
            plot.highlightPoint(0);
            plot.setAxisScaleMode(X, ScaleMode::Log);
            EXPECT_NEAR(plot.axisInterval(X).minValue(), row.lower, 1e-9);
            EXPECT_NEAR(plot.axisInterval(X).maxValue(), row.upper, 1e-9);
            plot.grab();
        }
    }
}

TEST_F(ScatterPlotTest, LogAxisIsNotWidenedByWhatItCannotShow) {
    show({-5, 2000, 8000}, {1, 2, 3});
    plot.setAxisScaleMode(X, ScaleMode::Log);
    const QwtInterval before = plot.axisInterval(X);
    EXPECT_GE(before.minValue(), 1000.0);
    plot.highlightPoint(0);
    plot.addPolygonOverlay(0, QPolygonF({{-50, 1}, {0, 1}, {-20, 3}}), true);
    EXPECT_EQ(plot.axisInterval(X), before);
}

TEST_F(ScatterPlotTest, NearestPointIsWithinFivePercent) {
    show({90, 50, 50}, {90, 50, 50}); // of equally near points the first
    fixAxes(0, 100);
    const struct {
        QPointF position;
        int found;
    } rows[] = {{{54, 50}, 1}, {{50, 46}, 1}, {{56, 50}, -1}, {{53, 53}, 1}, {{54, 54}, -1}, {{50, 50}, 1}};
    for (const auto& row : rows) {
        EXPECT_EQ(plot.findNearestPoint(row.position), row.found) << row.position.x() << ", " << row.position.y();
    }
}

TEST_F(ScatterPlotTest, NearestPointAgreesWithTheDefinitionOnEveryScale) {
    std::mt19937 random(2);
    std::uniform_real_distribution<double> uniform;
    std::vector<double> x;
    std::vector<double> y;
    for (int i = 0; i < 3000; ++i) {
        x.push_back(std::pow(10.0, 4.0 * uniform(random)) - (i % 3 == 0 ? 200.0 : 0.0));
        y.push_back(std::pow(10.0, 3.0 * uniform(random)) - (i % 5 == 0 ? 50.0 : 0.0));
    }
    show(x, y);
    for (const auto& [modeX, modeY] : std::vector<std::pair<int, int>>{{0, 0}, {1, 1}, {2, 2}, {1, 0}, {0, 2}}) {
        plot.setAxisScaleMode(X, modeX);
        plot.setAxisScaleMode(Y, modeY);
        const QwtInterval xRange = plot.axisInterval(X);
        const QwtInterval yRange = plot.axisInterval(Y);
        const QPointF corner = plot.toCanvas({xRange.minValue(), yRange.minValue()});
        const QPointF extent = plot.toCanvas({xRange.maxValue(), yRange.maxValue()}) - corner;
        for (int i = 0; i < 50; ++i) {
            const QPointF place =
                plot.toData(corner + QPointF(uniform(random) * extent.x(), uniform(random) * extent.y()));
            const QPointF center = plot.toCanvas(place);
            int expected = -1;
            double smallest = 0.05 * 0.05;
            for (std::size_t k = 0; k < x.size(); ++k) {
                const bool shown = (modeX != ScaleMode::Log || x[k] > 0.0) && (modeY != ScaleMode::Log || y[k] > 0.0);
                const QPointF pixel = shown ? plot.toCanvas({x[k], y[k]}) : QPointF(1e9, 1e9);
                const double distance2 = std::pow((pixel.x() - center.x()) / extent.x(), 2) +
                                         std::pow((pixel.y() - center.y()) / extent.y(), 2);
                if (distance2 < smallest) {
                    smallest = distance2;
                    expected = static_cast<int>(k);
                }
            }
            EXPECT_EQ(plot.findNearestPoint(place), expected);
        }
    }
}

TEST_F(ScatterPlotTest, ContoursAreOneCurvePerLine) {
    const ContourLevel inner{0.1, 1.0, {{{0, 0}, {1, 1}, {2, 0}}, {{5, 5}}, {}}};
    const ContourLevel outer{0.67, 2.0, {{{0, 0}, {9, 9}}, {{3, 3}, {4, 4}}}};
    plot.setContours({inner, outer});
    EXPECT_EQ(plot.contourCurveCount(), 3);
    plot.setContours({inner});
    EXPECT_EQ(plot.contourCurveCount(), 1);
}

TEST_F(ScatterPlotTest, IsoelasticsCarryTheirModuli) {
    show({0, 10}, {0, 10});
    plot.setIsoelastics({isoLine(0.95, 2), isoLine(7.0, 1), isoLine(1.2, 3, 5000.0), isoLine(0.999, 2)}, true);
    EXPECT_EQ(plot.isoLineCount(), 3);
    EXPECT_EQ(plot.isoLabelTexts(), (QStringList{"0.95 kPa", "1.2 kPa", "1.00 kPa"}));
    // They follow the axes, not the other way round.
    EXPECT_EQ(plot.axisInterval(X), QwtInterval(0, 10));
    plot.setIsoelastics({isoLine(0.95, 2)}, false);
    EXPECT_EQ(plot.isoLineCount(), 1);
    EXPECT_TRUE(plot.isoLabelTexts().isEmpty());
}

TEST_F(ScatterPlotTest, IsoelasticLabelsGiveWayAlongTheirLines) {
    show({0, 100}, {0, 100});
    fixAxes(0, 100);
    const auto line = [](double value, std::vector<std::pair<double, double>> points) {
        IsoelasticLine result;
        result.value = value;
        result.points = std::move(points);
        return result;
    };
    plot.setIsoelastics({line(1, {{0, 0}, {80, 80}}),        // free at its end
                         line(2, {{0, 100}, {80, 80.5}}),    // ends in the same place
                         line(3, {{80, 20}, {80, 80.2}}),    // and this one
                         line(4, {{10, 50}, {500, 50}}),     // leaves to the right
                         line(5, {{50, 40}, {50, -700}}),    // leaves at the bottom
                         line(6, {{30, 30}, {0.5, 30}}),     // would be cut at the left
                         line(7, {{200, 200}, {300, 300}})}, // never seen
                        true);
    const QwtScaleMap xMap = plot.canvasMap(X);
    const QwtScaleMap yMap = plot.canvasMap(Y);
    const QRectF canvas = plot.canvas()->contentsRect();
    std::vector<QRectF> rects;
    for (const QwtPlotItem* item : plot.itemList(QwtPlotItem::Rtti_PlotMarker)) {
        rects.push_back(dynamic_cast<const IsoelasticLabel*>(item)->placedRect(plot.font(), xMap, yMap, canvas));
    }
    ASSERT_EQ(rects.size(), 7U);
    // The text's upper right corner keeps its distance of 2.5 pixels each way from a point of the line.
    const auto anchor = [&](std::size_t i) { return plot.toData(rects[i].topRight() + QPointF(2.5, -2.5)); };
    EXPECT_NEAR(anchor(0).x(), 80, 1e-9);
    EXPECT_NEAR(anchor(0).y(), 80, 1e-9);
    EXPECT_NEAR(anchor(1).y(), 100 - 19.5 * anchor(1).x() / 80, 1e-6);
    EXPECT_LT(anchor(1).x(), 80);
    EXPECT_NEAR(anchor(2).x(), 80, 1e-6);
    EXPECT_LT(anchor(2).y(), 80);
    EXPECT_NEAR(anchor(3).y(), 50, 1e-6);
    EXPECT_GT(anchor(3).x(), 90); // the next place, not any
    EXPECT_NEAR(anchor(4).x(), 50, 1e-6);
    EXPECT_LT(anchor(4).y(), 15);
    EXPECT_NEAR(anchor(5).y(), 30, 1e-6);
    EXPECT_TRUE(rects[6].isEmpty());
    for (std::size_t i = 0; i < 6; ++i) {
        EXPECT_TRUE(canvas.contains(rects[i])) << i;
        for (std::size_t j = 0; j < i; ++j) {
            EXPECT_FALSE(rects[i].intersects(rects[j])) << i << " and " << j;
        }
    }
}

TEST_F(ScatterPlotTest, TheCanvasShowsItsFocus) {
    QWidget* edge = plot.canvas()->findChild<QWidget*>("focusEdge");
    plot.activateWindow();
    ASSERT_TRUE(QTest::qWaitForWindowActive(&plot));
    QTest::mouseClick(plot.canvas(), Qt::LeftButton, {}, {30, 30});
    EXPECT_TRUE(edge->isVisible());
    EXPECT_EQ(edge->geometry(), plot.canvas()->rect());
    const QImage focused = plot.grab().toImage();
    plot.canvas()->clearFocus();
    EXPECT_FALSE(edge->isVisible());
    EXPECT_NE(plot.grab().toImage(), focused);
}

TEST_F(ScatterPlotTest, OverlaysAreKeptById) {
    show({0, 10}, {0, 10});
    fixAxes(0, 10);
    const QPolygonF square({{2, 2}, {8, 2}, {8, 8}, {2, 8}});
    plot.addPolygonOverlay(3, square, true);
    const QColor inForce = canvasColor({4.3, 4.3});
    EXPECT_GT(inForce.red(), inForce.green());
    plot.addPolygonOverlay(3, square, false);
    const QColor disabled = canvasColor({4.3, 4.3});
    EXPECT_EQ(disabled.red(), disabled.green());
    EXPECT_LT(disabled.red(), 255);
    plot.addPolygonOverlay(1000007, square, true);
    EXPECT_EQ(plot.overlayIds(), (QList<int>{3, 1000007}));
    plot.clearPolygonOverlays();
    EXPECT_TRUE(plot.overlayIds().isEmpty());
    EXPECT_EQ(canvasColor({4.3, 4.3}), QColor(Qt::white));
}

TEST_F(ScatterPlotTest, OverlaysFollowTheAxes) {
    show({1, 1000}, {1, 1000});
    plot.addPolygonOverlay(0, QPolygonF({{-50, -50}, {100, -50}, {100, 100}, {-50, 100}}), true);
    for (const int mode : {ScaleMode::Linear, ScaleMode::Log, ScaleMode::PseudoLog}) {
        SCOPED_TRACE(mode);
        plot.setAxisScaleMode(X, mode);
        plot.setAxisScaleMode(Y, mode);
        EXPECT_NE(canvasColor({30, 60}), QColor(Qt::white));
        EXPECT_EQ(canvasColor({170, 130}), QColor(Qt::white));
        // Vertices below zero don't ruin a logarithmic axis.
        EXPECT_TRUE(mode != ScaleMode::Log || plot.axisInterval(X) == QwtInterval(1, 1000));
    }
}

namespace {

struct CountingPlot : ScatterPlot {
    void replot() override {
        ++replots;
        ScatterPlot::replot();
    }
    int replots = 0;
};

} // namespace

TEST(PlotPoints, ColumnsAreLentWithoutACopy) {
    struct Record {
        std::vector<double> x{1, 2};
        std::vector<double> y{3, 4};
        std::vector<double> colors{5, 6};
    };
    auto record = std::make_shared<const Record>();
    const std::weak_ptr<const Record> alive = record;
    const double* x = record->x.data();
    auto points = std::make_shared<const PlotPoints>(PlotPoints::Column(record, &record->x),
                                                     PlotPoints::Column(record, &record->y),
                                                     PlotPoints::Column(record, &record->colors));
    record.reset();
    {
        ScatterPlot plot;
        PlotScene scene;
        scene.points = std::exchange(points, nullptr);
        plot.showScene(scene);
        scene.points.reset();
        EXPECT_EQ(plot.xData().data(), x);
        EXPECT_EQ(plot.yData()[1], 4);
        EXPECT_EQ(plot.colorData()[0], 5);
        EXPECT_FALSE(alive.expired());
    }
    EXPECT_TRUE(alive.expired());
}

TEST(PlotScene, ReplacesWhatWasShownWithOneReplot) {
    CountingPlot plot;
    plot.resize(500, 400);
    plot.setData({900, 950}, {900, 950}, "old", "old", {}, "");
    plot.addPolygonOverlay(7, QPolygonF({{900, 900}, {950, 900}, {950, 950}}), true);
    plot.setContours({{0.1, 1.0, {{{900, 900}, {950, 950}}}}});
    plot.setIsoelastics({isoLine(3.0, 2), isoLine(4.0, 2)}, true);
    plot.highlightPoint(0);

    PlotScene scene;
    scene.markedPoint = 1;
    scene.points = std::make_shared<const PlotPoints>(std::vector<double>{1, 10, 100}, std::vector<double>{-50, 0, 500},
                                                      std::vector<double>{3, 2, 8});
    scene.xLabel = "X";
    scene.yLabel = "Y";
    scene.colorLabel = "C";
    scene.xScaleMode = ScaleMode::Log;
    scene.yScaleMode = ScaleMode::PseudoLog;
    scene.contours = {{0.1, 1.0, {{{2, 2}, {5, 5}}, {{3, 3}, {4, 4}}}}};
    scene.isoelastics = {isoLine(0.95, 2)};
    scene.isoelasticLabels = true;
    scene.gates = {{1, QPolygonF({{2, 2}, {5, 2}, {5, 5}}), true},
                   {1000002, QPolygonF({{2, 2}, {5, 2}, {5, 5}}), false}};
    plot.replots = 0;
    plot.showScene(scene);
    EXPECT_EQ(plot.replots, 1);
    EXPECT_EQ(plot.xData(), (std::vector<double>{1, 10, 100}));
    EXPECT_EQ(plot.axisTitle(X).text(), "X");
    EXPECT_EQ(plot.axisTitle(Y).text(), "Y");
    EXPECT_EQ(plot.axisTitle(Bar).text(), "C");
    EXPECT_EQ(plot.colorCurve()->colorRange(), QwtInterval(2, 8));
    EXPECT_EQ(plot.axisInterval(X), QwtInterval(1, 100));
    EXPECT_NEAR(plot.toCanvas({10, 0}).x() - plot.toCanvas({1, 0}).x(),
                plot.toCanvas({100, 0}).x() - plot.toCanvas({10, 0}).x(), 1e-6);
    EXPECT_NEAR(plot.toCanvas({1, 0}).y() - plot.toCanvas({1, 100}).y(),
                (plot.toCanvas({1, 0}).y() - plot.toCanvas({1, 1000}).y()) / 3.0, 1e-6);
    EXPECT_EQ(plot.contourCurveCount(), 2);
    EXPECT_EQ(plot.isoLabelTexts(), QStringList{"0.95 kPa"});
    EXPECT_EQ(plot.overlayIds(), (QList<int>{1, 1000002}));
    EXPECT_EQ(plot.highlightedPoint(), 1);

    // The zoom stays, unless the scene asks for everything or changes a scale.
    plot.setAxisScale(X, 2, 20);
    plot.setAxisScale(Y, 10, 20);
    plot.showScene(scene);
    EXPECT_EQ(plot.axisInterval(X), QwtInterval(2, 20));
    scene.yScaleMode = ScaleMode::Linear;
    plot.showScene(scene);
    EXPECT_EQ(plot.axisInterval(X), QwtInterval(2, 20));
    EXPECT_TRUE(plot.axisInterval(Y).contains(-50));
    scene.wholeRange = true;
    plot.showScene(scene);
    EXPECT_TRUE(plot.axisInterval(X).contains(100));
    scene.pointsVisible = false;
    plot.showScene(scene);
    EXPECT_FALSE(plot.colorCurve()->isVisible());
    EXPECT_FALSE(plot.isAxisVisible(Bar));

    plot.replots = 0;
    plot.showScene({});
    EXPECT_EQ(plot.replots, 1);
    EXPECT_TRUE(plot.xData().empty());
    EXPECT_EQ(plot.highlightedPoint(), -1);
    EXPECT_EQ(plot.contourCurveCount() + plot.isoLineCount(), 0);
    EXPECT_TRUE(plot.overlayIds().isEmpty());
}
