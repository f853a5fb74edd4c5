// What stands in each plot of a combine window, as values.

#include "tools/combine/CombineScenes.h"

#include "CombineFixture.h"

#include "plot/PlotPoints.h"
#include "session/compare/CombineModel.h"

#include <functional>

namespace Tessaly {
namespace {

const QColor FirstColor(10, 20, 30, 40);
const QColor SecondColor("#ff7f0e");

class CombineScenesTest : public testing::Test {
protected:
    /// Two datasets of 30 events with all features and one without any that passes.
    CombineScenesTest() {
        std::vector<double> area;
        std::vector<double> deform;
        for (int i = 0; i < 30; ++i) {
            area.push_back(40.0 + i * 7 % 29);
            deform.push_back(0.02 + 0.001 * (i * 5 % 23));
        }
        for (int i = 0; i < 2; ++i) {
            builder.add(Columns{{"area_um", area}, {"deform", deform}, {"sign", {-1.0, 0.0, 4.0}}});
            model.add(i);
        }
        builder.add(Columns{{"area_um", {50.0, 60.0}}, {"deform", {0.1, 0.2}}}).featuresLoaded = false;
        setRow(0, [](CombineDatasetSettings& row) { row.color = FirstColor; });
    }

    void setRow(int row, const std::function<void(CombineDatasetSettings&)>& change) {
        CombineDatasetSettings settings = model.datasets()[static_cast<std::size_t>(row)];
        change(settings);
        model.setRow(row, settings);
    }
    void set(const std::function<void(CombineOptions&)>& change) {
        CombineOptions options = model.options();
        change(options);
        model.setOptions(options);
    }
    std::vector<CompareScene> scenes() {
        CombineDataList data;
        for (const CombineSource& source : combineSources(builder.session, model)) {
            data.push_back(std::make_shared<const CombineData>(prepareCombineData(source)));
        }
        return combineScenes(builder.session, host, model, data);
    }

    SessionBuilder builder;
    CombineHost host;
    CombineModel model{builder.session};
};

TEST_F(CombineScenesTest, ColoursFollowTheModeAndThePlot) {
    const QColor opaque(10, 20, 30);
    struct Case {
        int display, color;
        std::size_t scene;
        QColor dots, lines, legend, title;
    };
    const std::vector<Case> cases{
        {0, CombineColor::Dataset, 0, opaque, FirstColor, opaque, opaque},
        {0, CombineColor::Uniform, 0, Qt::black, FirstColor, opaque, opaque},
        {0, CombineColor::Dataset, 1, SecondColor, SecondColor, SecondColor, SecondColor},
        {1, CombineColor::Uniform, 2, Qt::black, FirstColor, opaque, QColor()}, // the contours of all
        {2, CombineColor::Dataset, 0, opaque, FirstColor, opaque, QColor()},
        {2, CombineColor::Uniform, 0, Qt::black, FirstColor, Qt::black, QColor()},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(testing::Message() << c.display << ", " << c.color << ", " << c.scene);
        set([&](CombineOptions& options) {
            options.displayMode = c.display;
            options.colorMode = c.color;
        });
        const SceneColors colors = combineColors(model, c.scene);
        EXPECT_EQ(colors.series.size(), c.display == 2 || c.scene == 2 ? 2U : 1U);
        EXPECT_EQ(colors.series[0].dots, c.dots);
        EXPECT_EQ(colors.series[0].lines, c.lines);
        EXPECT_EQ(colors.series[0].legend, c.legend);
        EXPECT_EQ(colors.title, c.title);
    }
}

TEST_F(CombineScenesTest, EachDisplayHasItsPlots) {
    set([](CombineOptions& options) { options.showCount = options.showLegend = true; });
    auto made = scenes();
    ASSERT_EQ(made.size(), 2U);
    EXPECT_EQ(made[1].title, "dataset 1");
    EXPECT_EQ(made[1].count, 30);
    EXPECT_FALSE(made[1].legend); // its title says it
    EXPECT_TRUE(made[1].compact);
    EXPECT_EQ(made[1].background, QColor(Qt::white));
    EXPECT_TRUE(made[0].series[0].contours.empty());

    set([](CombineOptions& options) { options.displayMode = CombineDisplay::ArrayAndContour; });
    made = scenes();
    ASSERT_EQ(made.size(), 3U);
    EXPECT_TRUE(made[0].series[0].contours.empty()); // of the overlay only
    const CompareScene& overlay = made[2];
    EXPECT_EQ(overlay.title, "Contour Overlay");
    EXPECT_EQ(overlay.background, QColor(245, 245, 255));
    EXPECT_TRUE(overlay.legend && overlay.compact);
    EXPECT_FALSE(overlay.count);
    ASSERT_EQ(overlay.series.size(), 2U);
    for (const CompareSeries& series : overlay.series) {
        EXPECT_FALSE(series.points);
        EXPECT_EQ(series.contours.size(), 2U);
    }
    EXPECT_EQ(overlay.xLabel, made[0].xLabel);

    set([](CombineOptions& options) { options.displayMode = CombineDisplay::SamePlot; });
    made = scenes();
    ASSERT_EQ(made.size(), 1U);
    EXPECT_TRUE(made[0].title.isEmpty());
    EXPECT_TRUE(made[0].legend && !made[0].compact);
    EXPECT_FALSE(made[0].count);
    EXPECT_EQ(made[0].series[1].name, "dataset 1");
    EXPECT_EQ(made[0].series[1].colors.dots, SecondColor);
    EXPECT_TRUE(combineScenes(builder.session, host, model, {}).empty());
}

TEST_F(CombineScenesTest, DotsAndContoursAsTheyAreAskedFor) {
    struct Case {
        int color, contours;
        bool dots, colored, lines;
    };
    for (const Case& c : {Case{CombineColor::Dataset, ContourMode::Off, true, false, false},
                          Case{CombineColor::Heatmap, ContourMode::Off, true, true, false},
                          Case{CombineColor::Heatmap, ContourMode::Overlay, true, true, true},
                          Case{CombineColor::Uniform, ContourMode::Only, false, false, true}}) {
        SCOPED_TRACE(testing::Message() << c.color << ", " << c.contours);
        set([&](CombineOptions& options) {
            options.colorMode = c.color;
            options.contourMode = c.contours;
        });
        const CompareSeries series = scenes()[0].series[0];
        EXPECT_EQ(series.points != nullptr, c.dots);
        EXPECT_EQ(series.points && series.points->hasColors(), c.colored);
        EXPECT_EQ(series.contours.size(), c.lines ? 2U : 0U);
    }
    // Three events have no density: a heat map shows none of them, other colours do.
    setRow(0, [](CombineDatasetSettings& row) { row.xFeatureName = row.yFeatureName = "sign"; });
    set([](CombineOptions& options) {
        options.colorMode = CombineColor::Heatmap;
        options.contourMode = ContourMode::Overlay;
        options.showCount = true;
    });
    CompareScene few = scenes()[0];
    EXPECT_FALSE(few.series[0].points);
    EXPECT_TRUE(few.series[0].contours.empty());
    EXPECT_EQ(few.count, 3);
    set([](CombineOptions& options) { options.colorMode = CombineColor::Dataset; });
    EXPECT_EQ(scenes()[0].series[0].points->size(), 3U);
}

TEST_F(CombineScenesTest, CommonAxesAreThoseOfAllOrTheUsers) {
    setRow(1, [](CombineDatasetSettings& row) {
        row.xFeatureName = "sign";
        row.yFeatureName = "sign";
        row.scaleXMode = 1;
    });
    EXPECT_FALSE(scenes()[0].xBounds);
    EXPECT_EQ(scenes()[1].xScaleMode, 1);
    set([](CombineOptions& options) { options.syncAxes = true; });
    // x: -1 to 68, y: -1 to 4, with 5 % on either side.
    EXPECT_EQ(scenes()[1].xScaleMode, 0);
    EXPECT_EQ(scenes()[1].xBounds, AxisBounds(-1.0 - 69.0 * 0.05, 68.0 + 69.0 * 0.05));
    EXPECT_EQ(scenes()[0].yBounds, AxisBounds(-1.25, 4.25));
    setRow(0, [](CombineDatasetSettings& row) { row.scaleXMode = 1; });
    EXPECT_EQ(scenes()[0].xBounds->first, 4.0); // the smallest value above 0
    setRow(0, [](CombineDatasetSettings& row) { row.scaleXMode = 0; });
    set([](CombineOptions& options) {
        options.manualLimits = true;
        options.limits = {1.0, 2.0, 3.0, 3.0};
    });
    EXPECT_EQ(scenes()[1].xBounds, AxisBounds(1.0, 2.0));
    EXPECT_FALSE(scenes()[1].yBounds); // an axis can't show a range of nothing
    CombineOptions automatic;
    automatic.syncAxes = true;
    model.restore({{2, "area_um", "deform", Qt::red, 0, 0}}, automatic, {});
    EXPECT_FALSE(scenes()[0].xBounds); // nor what nobody has
}

TEST_F(CombineScenesTest, IsoelasticsLieOverAreaAgainstDeformationOnly) {
    const auto pairOf = [this](const char* x, const char* y) {
        setRow(0, [=](CombineDatasetSettings& row) {
            row.xFeatureName = x;
            row.yFeatureName = y;
        });
        return scenes()[0];
    };
    EXPECT_TRUE(scenes()[0].isoelastics.empty());
    set([](CombineOptions& options) { options.isoelasticity = true; });
    const CompareScene straight = scenes()[0];
    ASSERT_FALSE(straight.isoelastics.empty());
    EXPECT_FALSE(straight.isoelasticLabels);
    EXPECT_GT(straight.isoelastics[0].points[0].first, 1.0); // um^2
    const CompareScene swapped = pairOf("deform", "area_um");
    ASSERT_EQ(swapped.isoelastics.size(), straight.isoelastics.size());
    const auto [area, deformation] = straight.isoelastics[0].points[0];
    EXPECT_EQ(swapped.isoelastics[0].points[0], std::pair(deformation, area));
    for (const auto& [x, y] : {std::pair("area_um", "area_um"), {"deform", "deform"}, {"area_um", "sign"}}) {
        EXPECT_TRUE(pairOf(x, y).isoelastics.empty()) << x << ", " << y;
    }
    set([](CombineOptions& options) {
        options.displayMode = CombineDisplay::ArrayAndContour;
        options.isoLabels = true;
    });
    EXPECT_TRUE(scenes()[2].isoelastics.empty()); // those of the first dataset
    EXPECT_FALSE(scenes()[1].isoelastics.empty());
    EXPECT_TRUE(scenes()[1].isoelasticLabels);
    set([](CombineOptions& options) { options.displayMode = CombineDisplay::SamePlot; });
    EXPECT_TRUE(scenes()[0].isoelastics.empty());
    pairOf("area_um", "deform");
    EXPECT_FALSE(scenes()[0].isoelastics.empty());
    model.restore({{2, "area_um", "deform", Qt::red, 0, 0}}, model.options(), {});
    EXPECT_TRUE(scenes()[0].isoelastics.empty()); // it still loads
}

} // namespace
} // namespace Tessaly
