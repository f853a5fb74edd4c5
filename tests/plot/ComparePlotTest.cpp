#include "plot/ComparePlot.h"

#include "plot/PlainDotCurve.h"
#include "plot/PlotPoints.h"
#include "plot/RoundSpectroCurve.h"

#include <QLabel>
#include <qwt_color_map.h>
#include <qwt_plot_curve.h>
#include <qwt_plot_legenditem.h>
#include <qwt_plot_textlabel.h>
#include <qwt_symbol.h>
#include <qwt_text.h>

#include <gtest/gtest.h>

using namespace Tessaly;

namespace {

template <typename Item>
std::vector<Item*> itemsOf(const QwtPlot& plot) {
    std::vector<Item*> items;
    for (QwtPlotItem* item : plot.itemList()) {
        if (auto* found = dynamic_cast<Item*>(item)) {
            items.push_back(found);
        }
    }
    return items;
}

CompareScene sceneOfTwo(bool colored) {
    CompareScene scene;
    scene.title = "a title";
    scene.titleColor = Qt::red;
    scene.xLabel = "Area";
    for (const char* name : {"first", "<i>second</i>"}) {
        CompareSeries series;
        series.points = std::make_shared<const PlotPoints>(std::vector<double>{1, 2}, std::vector<double>{3, 4},
                                                           colored ? std::vector<double>{5, 5} : std::vector<double>{});
        series.contours = {{0.1, 1.0, {{{0, 0}, {1, 1}}}}, {0.9, 2.0, {{{0, 0}, {1, 1}}, {{7, 7}}}}};
        series.name = name;
        series.colors = {Qt::blue, QColor(1, 2, 3, 40), Qt::green};
        scene.series.push_back(series);
    }
    return scene;
}

} // namespace

TEST(ComparePlot, ShowsItsScene) {
    CompareScene scene = sceneOfTwo(false);
    scene.count = 12;
    scene.legend = true;
    scene.xBounds = {0.5, 9.5};
    const ComparePlot plot(scene);
    const auto dots = itemsOf<PlainDotCurve>(plot);
    ASSERT_EQ(dots.size(), 2U);
    EXPECT_EQ(dots[0]->symbol()->brush().color(), QColor(0, 0, 255, 100));
    EXPECT_EQ(dots[0]->symbol()->pen().color(), QColor(Qt::blue));
    EXPECT_EQ(plot.axisInterval(QwtAxis::XBottom), QwtInterval(0.5, 9.5));
    EXPECT_TRUE(plot.axisAutoScale(QwtAxis::YLeft));
    EXPECT_EQ(plot.axisFont(QwtAxis::XBottom).pointSize(), 8);
    EXPECT_EQ(plot.axisTitle(QwtAxis::XBottom).font().pointSize(), 10);
    EXPECT_EQ(plot.title().font().pointSize(), 10);
    EXPECT_EQ(plot.title().font().weight(), 400);
    EXPECT_EQ(plot.title().color(), QColor(Qt::red));
    EXPECT_EQ(plot.minimumSize(), QSize(300, 250));

    const auto labels = itemsOf<QwtPlotTextLabel>(plot);
    ASSERT_EQ(labels.size(), 1U);
    EXPECT_EQ(labels[0]->text().text(), "N = 12");
    EXPECT_EQ(labels[0]->text().renderFlags(), 34);
    EXPECT_EQ(labels[0]->text().font().pointSize(), 8);
    EXPECT_EQ(labels[0]->margin(), 4);

    const auto legends = itemsOf<QwtPlotLegendItem>(plot);
    ASSERT_EQ(legends.size(), 1U);
    EXPECT_EQ(legends[0]->alignmentInCanvas(), Qt::Alignment(34));
    EXPECT_EQ(legends[0]->maxColumns(), 1U);
    EXPECT_EQ(legends[0]->backgroundBrush().color(), QColor(255, 255, 255, 200));
    EXPECT_EQ(legends[0]->borderPen().color(), QColor(Qt::gray));
    QStringList entries;
    for (const QwtPlotCurve* curve : itemsOf<QwtPlotCurve>(plot)) {
        if (curve->testItemAttribute(QwtPlotItem::Legend)) {
            EXPECT_EQ(curve->title().color(), QColor(Qt::green));
            entries << curve->title().text();
        }
    }
    EXPECT_EQ(entries, (QStringList{"first", "<i>second</i>"}));
}

TEST(ComparePlot, ASharedPlotHasLargerTexts) {
    CompareScene scene = sceneOfTwo(false);
    scene.compact = false;
    scene.title.clear();
    const ComparePlot plot(scene);
    EXPECT_NE(plot.axisTitle(QwtAxis::XBottom).font().pointSize(), 10);
    EXPECT_TRUE(plot.title().isEmpty());
    EXPECT_TRUE(itemsOf<QwtPlotLegendItem>(plot).empty());
}

TEST(ComparePlot, OnlyColoursChange) {
    for (const bool colored : {false, true}) {
        CompareScene scene = sceneOfTwo(colored);
        scene.legend = true;
        ComparePlot plot(scene);
        const auto before = plot.itemList();
        plot.setColors({{Qt::cyan, Qt::magenta, Qt::yellow}, {Qt::red, Qt::red, Qt::red}}, Qt::darkRed, 5);
        EXPECT_EQ(plot.itemList(), before);
        EXPECT_EQ(plot.title().color(), QColor(Qt::darkRed));
        int lines = 0;
        for (const QwtPlotCurve* curve : itemsOf<QwtPlotCurve>(plot)) {
            const bool isLine = curve->style() == QwtPlotCurve::Lines;
            lines += isLine && curve->pen().color() == QColor(Qt::magenta) ? 1 : 0;
        }
        EXPECT_EQ(lines, 2); // the polyline of one point has none
        if (colored) {
            const RoundSpectroCurve* dots = itemsOf<RoundSpectroCurve>(plot)[0];
            EXPECT_EQ(dots->colorRange(), QwtInterval(5, 6));                      // equal values have a range
            EXPECT_EQ(dots->colorMap()->rgb(QwtInterval(0, 1), 1.0), 0xffffffffU); // grey scale ends in white
        } else {
            EXPECT_EQ(itemsOf<PlainDotCurve>(plot)[1]->symbol()->brush().color(), QColor(255, 0, 0, 100));
        }
    }
}

TEST(ComparePlot, LongTitlesAreShortenedInTheMiddle) {
    CompareScene scene = sceneOfTwo(false);
    scene.title = QString(200, 'a') + "<end>";
    ComparePlot plot(scene);
    plot.resize(400, 300);
    plot.show();
    EXPECT_TRUE(plot.title().text().endsWith("<end>"));
    EXPECT_LT(plot.title().text().size(), 150);
    EXPECT_LE(plot.title().textSize().width(), plot.canvas()->width()); // where it is centred
    EXPECT_EQ(plot.fullTitle(), scene.title);
    plot.resize(4000, 300);
    EXPECT_EQ(plot.title().text(), scene.title);
    EXPECT_EQ(plot.toolTip(), "");
}

TEST(ComparePlot, SaysThatItIsEmpty) {
    CompareScene scene;
    scene.series.emplace_back();
    const ComparePlot plot(scene);
    EXPECT_TRUE(plot.findChild<QLabel*>("emptyHint"));
    EXPECT_FALSE(ComparePlot(sceneOfTwo(false)).findChild<QLabel*>("emptyHint"));
}
