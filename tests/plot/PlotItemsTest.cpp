#include "plot/PlotItems.h"

#include "calc/density/Contours.h"
#include "calc/emodulus/EModulus.h"
#include "core/ScaleMath.h"
#include "plot/PlainDotCurve.h"
#include "plot/PlotPoints.h"
#include "plot/PolygonOverlay.h"
#include "plot/RoundSpectroCurve.h"

#include <qwt_plot.h>
#include <qwt_plot_curve.h>
#include <qwt_plot_marker.h>
#include <qwt_scale_engine.h>
#include <qwt_symbol.h>
#include <qwt_text.h>
#include <qwt_transform.h>

#include <gtest/gtest.h>

#include <cmath>
#include <memory>

using namespace Tessaly;

namespace {

struct Line {
    QColor color;
    double width;
    Qt::PenStyle style;
    double z;
    bool scales;
};

void expectLine(const QwtPlotCurve& curve, const Line& expected) {
    EXPECT_EQ(curve.pen().color(), expected.color);
    EXPECT_EQ(curve.pen().widthF(), expected.width);
    EXPECT_EQ(curve.pen().style(), expected.style);
    EXPECT_EQ(curve.pen().capStyle(), Qt::SquareCap);
    EXPECT_EQ(curve.pen().joinStyle(), Qt::BevelJoin);
    EXPECT_EQ(curve.z(), expected.z);
    EXPECT_EQ(curve.testItemAttribute(QwtPlotItem::AutoScale), expected.scales);
    EXPECT_FALSE(curve.testItemAttribute(QwtPlotItem::Legend));
}

} // namespace

TEST(PlotItems, LookAlikeOnAnyPlot) {
    QwtPlot plot;
    const Polyline line{{0, 0}, {1, 2}, {3, 1}};
    const auto contours = addContours(plot, {{0.1, 1.0, {line, {{0, 0}}}}, {0.67, 2.0, {line}}}, Qt::blue);
    ASSERT_EQ(contours.size(), 2U);
    expectLine(*contours[0], {Qt::blue, 2.0, Qt::DashLine, 40.0, true});
    expectLine(*contours[1], {Qt::blue, 2.0, Qt::SolidLine, 40.0, true});
    EXPECT_EQ(contours[0]->sample(1), QPointF(1, 2));
    EXPECT_EQ(addContours(plot, {{0.1, 1.0, {line}}})[0]->pen().color(), QColor(Qt::black));

    IsoelasticLine iso;
    iso.value = 1.2;
    iso.points = line;
    EXPECT_TRUE(addIsoelastics(plot, {iso}, false).labels.empty());
    const IsoelasticItems items = addIsoelastics(plot, {iso, {}}, true);
    ASSERT_EQ(items.lines.size(), 1U);
    ASSERT_EQ(items.labels.size(), 1U);
    expectLine(*items.lines[0], {QColor(180, 180, 180), 1.0, Qt::SolidLine, -10.0, false});
    const QwtPlotMarker& label = *items.labels[0];
    EXPECT_EQ(label.value(), QPointF(3, 1));
    EXPECT_EQ(label.label().text(), "1.2 kPa");
    EXPECT_EQ(label.label().font().pointSize(), 8);
    EXPECT_EQ(label.label().color(), QColor(150, 150, 150));
    EXPECT_EQ(label.z(), -9.0);
    EXPECT_FALSE(label.testItemAttribute(QwtPlotItem::Legend));
    EXPECT_FALSE(label.testItemAttribute(QwtPlotItem::AutoScale));
}

TEST(PlotItems, DotsAndMarksHaveTheirSymbols) {
    QwtPlot plot;
    const PlainDotCurve* dots = addPlainDots(plot, QColor(10, 20, 30));
    EXPECT_EQ(dots->style(), QwtPlotCurve::NoCurve);
    EXPECT_EQ(dots->symbol()->size(), QSize(6, 6));
    EXPECT_EQ(dots->symbol()->brush().color(), QColor(10, 20, 30, 100));
    EXPECT_EQ(dots->symbol()->pen().color(), QColor(10, 20, 30));
    EXPECT_EQ(dots->symbol()->pen().widthF(), 1.0);
    EXPECT_EQ(addPlainDots(plot)->symbol()->pen().color(), QColor(0, 68, 108));
    EXPECT_EQ(addColorDots(plot)->penWidth(), 6.0);

    const PlainDotCurve* mark = addMark(plot);
    EXPECT_FALSE(mark->isVisible());
    EXPECT_EQ(mark->symbol()->size(), QSize(12, 12));
    EXPECT_EQ(mark->symbol()->brush().color(), QColor(254, 204, 0));
    EXPECT_EQ(mark->symbol()->pen().widthF(), 2.0);

    const struct {
        bool enabled;
        QColor line, fill;
        Qt::PenStyle style;
    } rows[] = {{true, QColor(255, 0, 0, 180), QColor(255, 0, 0, 30), Qt::SolidLine},
                {false, QColor(160, 160, 160, 180), QColor(160, 160, 160, 25), Qt::DashLine}};
    for (const auto& row : rows) {
        const PolygonOverlay gate(QPolygonF({{0, 0}, {1, 0}, {1, 1}}), row.enabled);
        EXPECT_EQ(gate.pen().color(), row.line);
        EXPECT_EQ(gate.pen().style(), row.style);
        EXPECT_EQ(gate.pen().widthF(), 2.0);
        EXPECT_EQ(gate.brush().color(), row.fill);
        EXPECT_EQ(gate.z(), 50.0);
    }
}

TEST(PlotItems, ScaleModesInstallTheirTransformsAndAutoScale) {
    QwtPlot plot;
    const struct {
        int mode;
        double thousand; // in axis space
    } rows[] = {
        {ScaleMode::Linear, 1000.0}, {ScaleMode::Log, std::log(1000.0)}, {ScaleMode::PseudoLog, 1.5}, {7, 1000.0}};
    for (const int axis : {int(QwtAxis::XBottom), int(QwtAxis::YLeft)}) {
        for (const auto& row : rows) {
            plot.setAxisScale(axis, 5, 6);
            setScaleMode(plot, axis, row.mode);
            EXPECT_TRUE(plot.axisAutoScale(axis));
            const std::unique_ptr<QwtTransform> transform(plot.axisScaleEngine(axis)->transformation());
            EXPECT_NEAR(transform ? transform->transform(1000.0) : 1000.0, row.thousand, 1e-9) << row.mode;
        }
    }
}
