#include "plot/TracePlot.h"

#include <QApplication>
#include <QImage>
#include <QPen>
#include <qwt_plot_curve.h>
#include <qwt_plot_legenditem.h>
#include <qwt_scale_div.h>
#include <qwt_text.h>

#include <gtest/gtest.h>

#include <limits>
#include <map>

namespace Tessaly {
namespace {

constexpr float nan = std::numeric_limits<float>::quiet_NaN();

QList<QwtPlotCurve*> curvesOf(const QwtPlot& plot) {
    QList<QwtPlotCurve*> curves;
    for (QwtPlotItem* item : plot.itemList(QwtPlotItem::Rtti_PlotCurve)) {
        curves << static_cast<QwtPlotCurve*>(item);
    }
    return curves;
}

TEST(WavelengthColorTest, FollowsThePiecewiseSpectrum) {
    // Calculated with Python's pow() from the table of pieces: truncate(255 * (f * c)^0.8).
    const std::pair<int, QColor> cases[] = {{379, {128, 128, 128}}, {400, {130, 0, 180}},    // r = 2/3, f = 0.65
                                            {465, {0, 146, 255}},                            // g = 1/2
                                            {500, {0, 255, 146}},                            // b = 1/2
                                            {525, {74, 255, 0}},                             // r = 15/70
                                            {593, {255, 213, 0}},                            // g = 52/65
                                            {740, {180, 0, 0}},     {781, {128, 128, 128}}}; // f = 0.65
    for (const auto& [wavelength, color] : cases) {
        EXPECT_EQ(wavelengthColor(wavelength).name().toStdString(), color.name().toStdString()) << wavelength;
    }
}

TEST(TracePlotTest, ChannelsTakeNamesColoursAndOffsets) {
    TracePlot plot;
    EXPECT_FALSE(plot.hasChannels());
    plot.setupChannels({{3, "unknown"}, {1, "525/50"}, {2, "593"}}, {{1, 7.0}}, 1e6, {"fl1_median_rf", "fl2_median"},
                       true);
    ASSERT_TRUE(plot.hasChannels());
    struct Case {
        const char* traceName;
        const char* title;
        QColor color;
        double offset;
    };
    const Case cases[] = {{"fl1_median_rf", "FL1 refined (525/50)", wavelengthColor(525), 7.0},
                          {"fl2_median", "FL2 (593)", wavelengthColor(593), 0.0},
                          {"fl3_median", "FL3 (unknown)", QColor(Qt::gray), 0.0}};
    const auto curves = curvesOf(plot);
    ASSERT_EQ(curves.size(), 3);
    for (std::size_t i = 0; i < 3; ++i) {
        const TraceChannel& channel = plot.channels()[i];
        EXPECT_EQ(channel.traceName, cases[i].traceName);
        EXPECT_EQ(channel.color, cases[i].color);
        EXPECT_EQ(channel.offset, cases[i].offset);
        const QwtPlotCurve* curve = curves[static_cast<qsizetype>(i)];
        EXPECT_EQ(curve->title().text().toStdString(), cases[i].title);
        EXPECT_EQ(curve->pen().color(), cases[i].color);
        EXPECT_FALSE(curve->isVisible());
    }
    // Without the wish for refined traces the plain ones are taken, and the old curves go.
    plot.setupChannels({{1, "525/50"}}, {}, 1e6, {"fl1_median_rf"}, false);
    ASSERT_EQ(curvesOf(plot).size(), 1);
    EXPECT_EQ(plot.channels()[0].traceName, "fl1_median");
    EXPECT_EQ(curvesOf(plot)[0]->title().text(), "FL1 (525/50)");
}

TEST(TracePlotTest, TracesAreDrawnAgainstTimeWithTheirOffset) {
    struct Case {
        double sampleRate;
        double step; // microseconds, or samples if the rate is not known
    };
    for (const Case& c : {Case{500000.0, 2.0}, Case{0.0, 1.0}, Case{-5.0, 1.0}}) {
        TracePlot plot;
        plot.setupChannels({{1, "525/50"}, {2, "593/46"}, {3, "700/75"}}, {{2, -10.0}}, c.sampleRate, {}, false);
        plot.setTraces({{"fl1_median", {1.0F, 50000.0F, 3.0F}}, {"fl2_median", {nan, 30.0F}}, {"fl3_median", {}}});
        const auto curves = curvesOf(plot);
        ASSERT_EQ(curves.size(), 3);
        ASSERT_EQ(curves[0]->dataSize(), 3U);
        EXPECT_EQ(curves[0]->sample(2), QPointF(2 * c.step, 3.0));
        ASSERT_EQ(curves[1]->dataSize(), 1U); // what is no number is left out
        EXPECT_EQ(curves[1]->sample(0), QPointF(c.step, 20.0));
        EXPECT_TRUE(curves[0]->isVisible() && curves[1]->isVisible());
        EXPECT_FALSE(curves[2]->isVisible());
        // A sample above the scale does not widen it.
        EXPECT_EQ(plot.axisScaleDiv(QwtPlot::yLeft).lowerBound(), -10.0);
        EXPECT_EQ(plot.axisScaleDiv(QwtPlot::yLeft).upperBound(), 35000.0);
        EXPECT_TRUE(plot.axisAutoScale(QwtPlot::xBottom));

        plot.setTraces({});
        for (const QwtPlotCurve* curve : curves) {
            EXPECT_EQ(curve->dataSize(), 0U);
            EXPECT_FALSE(curve->isVisible());
        }
    }
}

TEST(TracePlotTest, AxesAreSetUpOnce) {
    TracePlot plot;
    plot.updateAxes();
    const char* const titles[] = {"Time [µs]", "Fluorescence [a.u.]"};
    const int axes[] = {QwtPlot::xBottom, QwtPlot::yLeft};
    for (std::size_t i = 0; i < 2; ++i) {
        EXPECT_EQ(plot.axisTitle(axes[i]).text(), titles[i]);
        EXPECT_EQ(plot.axisTitle(axes[i]).font().pointSize(), 8);
        EXPECT_EQ(plot.axisFont(axes[i]).pointSize(), 7);
    }
    EXPECT_EQ(plot.minimumSize(), QSize(260, 180));
    EXPECT_EQ(plot.maximumHeight(), 260);
    EXPECT_EQ(plot.axisInterval(QwtPlot::yLeft), QwtInterval(-10, 35000));
}

TEST(TracePlotTest, ALegendOverTheCanvasNamesTheShownChannels) {
    TracePlot plot;
    plot.resize(300, 200);
    plot.setupChannels({{1, "525/50"}, {2, "593/46"}, {3, "700/75"}}, {}, 1e6, {}, false);
    plot.show();
    QApplication::processEvents();
    const QSize canvas = plot.canvas()->size();
    const QImage empty = plot.canvas()->grab().toImage();
    const std::vector<float> low(400, -1.0F);
    plot.setTraces({{"fl1_median", low}, {"fl3_median", low}});
    QApplication::processEvents();

    const QwtPlotItemList legends = plot.itemList(QwtPlotItem::Rtti_PlotLegend);
    ASSERT_EQ(legends.size(), 1);
    const auto* legend = static_cast<const QwtPlotLegendItem*>(legends[0]);
    const auto namesByHeight = [&] {
        std::map<double, QString> names;
        for (const QwtPlotItem* item : legend->plotItems()) {
            names[legend->legendGeometries(item).value(0).top()] = item->title().text();
        }
        QStringList sorted;
        for (const auto& [height, name] : names) {
            sorted << name;
        }
        return sorted;
    };
    EXPECT_EQ(namesByHeight(), (QStringList{"FL1 (525/50)", "FL3 (700/75)"}));
    EXPECT_EQ(plot.canvas()->size(), canvas); // it takes no room
    const QRect corner(canvas.width() / 2, 2, canvas.width() / 2 - 4, 20);
    EXPECT_NE(plot.canvas()->grab().toImage().copy(corner), empty.copy(corner));

    // A channel that appears later takes its place.
    plot.setTraces({{"fl1_median", low}, {"fl2_median", low}, {"fl3_median", low}});
    plot.canvas()->grab();
    EXPECT_EQ(namesByHeight(), (QStringList{"FL1 (525/50)", "FL2 (593/46)", "FL3 (700/75)"}));
    plot.clearTraces();
    EXPECT_TRUE(legend->plotItems().isEmpty());
}

} // namespace
} // namespace Tessaly
