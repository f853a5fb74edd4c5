#include "MessageBoxWatcher.h"
#include "PlotFixture.h"

#include "core/ScaleMath.h"
#include "support/FilterRules.h"

#include <QCheckBox>
#include <QPushButton>
#include <QSignalSpy>
#include <qwt_scale_map.h>

namespace Tessaly {
namespace {

class PlotControllerTest : public PlotFixture {
protected:
    /// A value in the middle of an axis, as a fraction of the canvas: 0.5 on a linear one, more on the others.
    double middleOf(int axis, double low, double high) {
        const QwtScaleMap map = plot.canvasMap(axis);
        const double from = map.transform(low);
        return (map.transform((low + high) / 2) - from) / (map.transform(high) - from);
    }
    bool isLinear(int axis) { return std::abs(middleOf(axis, 1000, 9000) - 0.5) < 1e-6; }

    const Columns wide{{"area_um", {1, 10, 100, 10000}}, {"deform", {2, 20, 200, 20000}}};
};

TEST_F(PlotControllerTest, ScalesBelongToTheirDatasetAndAxis) {
    const int first = add(wide).id;
    const int second = add(wide).id;
    session.setActive(first);
    choose("xScaleCombo", ScaleMode::Log);
    EXPECT_FALSE(isLinear(QwtPlot::xBottom));
    EXPECT_TRUE(isLinear(QwtPlot::yLeft));
    session.setActive(second);
    EXPECT_TRUE(isLinear(QwtPlot::xBottom));
    choose("yScaleCombo", ScaleMode::PseudoLog);
    EXPECT_TRUE(isLinear(QwtPlot::xBottom));
    EXPECT_FALSE(isLinear(QwtPlot::yLeft));
    session.setActive(first);
    EXPECT_FALSE(isLinear(QwtPlot::xBottom));
    EXPECT_TRUE(isLinear(QwtPlot::yLeft));
    EXPECT_EQ(session.findById(first)->scaleXMode, ScaleMode::Log);
    EXPECT_EQ(session.findById(first)->scaleYMode, ScaleMode::Linear);
    EXPECT_EQ(session.findById(second)->scaleXMode, ScaleMode::Linear);
    EXPECT_EQ(session.findById(second)->scaleYMode, ScaleMode::PseudoLog);
}

TEST_F(PlotControllerTest, WithoutADatasetTheScalesFollowTheControls) {
    choose("yScaleCombo", ScaleMode::Log);
    choose("xScaleCombo", ScaleMode::Log);
    choose("yScaleCombo", ScaleMode::Linear);
    plot.setAxisScale(QwtPlot::xBottom, 1, 10000);
    plot.setAxisScale(QwtPlot::yLeft, 1, 10000);
    plot.updateAxes();
    EXPECT_FALSE(isLinear(QwtPlot::xBottom));
    EXPECT_TRUE(isLinear(QwtPlot::yLeft));
}

TEST_F(PlotControllerTest, WhatIsChosenWhileADatasetLoadsIsItsOwn) {
    DatasetEntry& before = add(wide);
    DatasetEntry& loading = add(wide, false);
    loading.scaleXMode = ScaleMode::PseudoLog;
    session.setActive(before.id);
    const PlotSettings untouched = before;
    session.setActive(loading.id);
    EXPECT_EQ(controls.settings().scaleXMode, ScaleMode::PseudoLog) << "the controls are those of the active dataset";
    EXPECT_FALSE(find<QComboBox>("xFeatureCombo")->isEnabled());
    choose("xScaleCombo", ScaleMode::Log);
    choose("yScaleCombo", ScaleMode::PseudoLog);
    choose("contourModeCombo", ContourMode::Overlay);
    QTest::keyClick(find<QSpinBox>("innerFractionSpinBox"), Qt::Key_Up);
    QTest::keyClick(find<QSpinBox>("outerFractionSpinBox"), Qt::Key_Down);
    EXPECT_TRUE(plot.xData().empty());
    session.setReady(loading.id);
    const PlotSettings expected{"area_um", "deform", "", ScaleMode::Log, ScaleMode::PseudoLog, ContourMode::Overlay,
                                0.15,      0.62};
    EXPECT_TRUE(loading.plotSettings() == expected);
    EXPECT_TRUE(controls.settings() == expected);
    EXPECT_FALSE(isLinear(QwtPlot::xBottom) || isLinear(QwtPlot::yLeft));
    EXPECT_EQ(plot.xData().size(), 4U);
    EXPECT_TRUE(before.plotSettings() == untouched);
}

TEST_F(PlotControllerTest, FeaturesChosenDuringAPreloadAreShownWhenItEnds) {
    session.setActive(add({{"area_um", {1, 2}}, {"deform", {3, 4}}, {"time", {5, 6}}}).id);
    controller.setPreloadRunning(true);
    chooseFeature("xFeatureCombo", "time");
    EXPECT_EQ(plot.xData(), (std::vector<double>{1, 2}));
    EXPECT_EQ(session.active()->xFeatureName, "time");
    controller.setPreloadRunning(false);
    EXPECT_EQ(plot.xData(), (std::vector<double>{5, 6}));
    chooseFeature("yFeatureCombo", "area_um");
    EXPECT_EQ(plot.yData(), (std::vector<double>{1, 2})) << "without a preload at once";
    chooseFeature("colorFeatureCombo", "deform");
    EXPECT_EQ(plot.colorData(), (std::vector<double>{3, 4}));
}

TEST_F(PlotControllerTest, TheFocusComesBackWhenADatasetHasLoaded) {
    session.setActive(add(wide).id);
    DatasetEntry& loading = add(wide, false);
    for (const char* name : {"xFeatureCombo", "yFeatureCombo", "colorFeatureCombo"}) {
        loading.featuresLoaded = false;
        session.setActive(0);
        find<QComboBox>(name)->setFocus();
        session.setActive(loading.id);
        EXPECT_FALSE(find<QComboBox>(name)->hasFocus());
        session.setReady(loading.id);
        EXPECT_TRUE(find<QComboBox>(name)->hasFocus()) << name;
    }
    loading.featuresLoaded = false;
    session.setActive(0);
    find<QComboBox>("xFeatureCombo")->setFocus();
    session.setActive(loading.id);
    find<QComboBox>("contourModeCombo")->setFocus();
    session.setReady(loading.id);
    EXPECT_TRUE(find<QComboBox>("contourModeCombo")->hasFocus()) << "the user went there meanwhile";
}

TEST_F(PlotControllerTest, NoPictureOfAnotherDatasetStays) {
    const int good = add(wide).id;
    DatasetEntry& brokenX = add({{"area_um", {1, 2}}, {"deform", {3, 4}}});
    DatasetEntry& brokenY = add({{"area_um", {1, 2}}, {"deform", {3, 4}}});
    brokenX.reader->setFeature("gone", {});
    brokenX.setPlotSettings({"gone", "deform", "", 0, 0, 0, 0.1, 0.67});
    brokenY.reader->setFeature("gone", {});
    brokenY.setPlotSettings({"area_um", "gone", "", 0, 0, 0, 0.1, 0.67});
    for (const DatasetEntry* broken : {&brokenX, &brokenY}) {
        session.setActive(good);
        ASSERT_EQ(plot.xData().size(), 4U);
        QSignalSpy cleared(&controller, &PlotController::cleared);
        MessageBoxWatcher boxes;
        session.setActive(broken->id);
        ASSERT_EQ(boxes.seen().size(), 1U);
        EXPECT_EQ(boxes.seen()[0].text, "Failed to read feature data.");
        EXPECT_TRUE(plot.xData().empty());
        EXPECT_TRUE(controller.frame().x.empty());
        EXPECT_EQ(cleared.count(), 1) << "the statistics go, too";
    }
    // Within one dataset the picture stays.
    chooseFeature("yFeatureCombo", "deform");
    EXPECT_EQ(plot.yData(), (std::vector<double>{3, 4}));
    MessageBoxWatcher boxes;
    chooseFeature("yFeatureCombo", "gone");
    EXPECT_EQ(boxes.seen().size(), 1U);
    EXPECT_EQ(plot.yData(), (std::vector<double>{3, 4}));
}

TEST_F(PlotControllerTest, EachAxisTellsItsOwnUndrawablePoints) {
    session.setActive(add({{"area_um", {-1, 5, 6, 7}}, {"deform", {0, -2, 3, 4}}}).id);
    const auto* x = find<QComboBox>("xScaleCombo");
    const auto* y = find<QComboBox>("yScaleCombo");
    choose("yScaleCombo", ScaleMode::Log);
    EXPECT_TRUE(y->toolTip().contains("2 points with value")) << y->toolTip().toStdString();
    EXPECT_EQ(x->toolTip(), "X-axis scale mode");
    choose("xScaleCombo", ScaleMode::Log);
    EXPECT_TRUE(x->toolTip().contains("1 point with value")) << x->toolTip().toStdString();
    choose("yScaleCombo", ScaleMode::Linear);
    EXPECT_EQ(y->toolTip(), "Y-axis scale mode");
    EXPECT_TRUE(x->toolTip().contains("1 point with value"));
    session.setActive(add(wide).id);
    EXPECT_EQ(x->toolTip(), "X-axis scale mode") << "hints go with their dataset";
}

TEST_F(PlotControllerTest, ContoursAndZoomFollowTheirReasons) {
    Columns columns{{"area_um", {}}, {"deform", {}}, {"time", {}}};
    for (int i = 0; i < 200; ++i) {
        columns["area_um"].push_back(50 + i % 17);
        columns["deform"].push_back(0.1 + 0.001 * (i % 13));
        columns["time"].push_back(i);
    }
    session.setActive(add(columns).id);
    choose("contourModeCombo", ContourMode::Overlay);
    EXPECT_GT(plot.contourCurveCount(), 0);
    EXPECT_TRUE(plot.isDataVisible());
    choose("contourModeCombo", ContourMode::Only);
    EXPECT_FALSE(plot.isDataVisible());
    choose("contourModeCombo", ContourMode::Off);
    EXPECT_EQ(plot.contourCurveCount(), 0);
    EXPECT_TRUE(plot.isDataVisible());

    const auto zoomIn = [&] {
        plot.setAxisScale(QwtPlot::xBottom, 50, 55);
        plot.setAxisScale(QwtPlot::yLeft, 0.1, 0.105);
        plot.replot();
    };
    const auto isZoomed = [&] {
        EXPECT_EQ(plot.axisAutoScale(QwtPlot::xBottom), plot.axisAutoScale(QwtPlot::yLeft));
        return !plot.axisAutoScale(QwtPlot::xBottom);
    };
    zoomIn();
    chooseFeature("colorFeatureCombo", "time");
    choose("contourModeCombo", ContourMode::Overlay);
    EXPECT_TRUE(isZoomed()) << "neither colours nor contours move the view";
    chooseFeature("yFeatureCombo", "time");
    EXPECT_FALSE(isZoomed());
    zoomIn();
    chooseFeature("xFeatureCombo", "time");
    EXPECT_FALSE(isZoomed());
    zoomIn();
    session.setActive(add(columns).id);
    EXPECT_FALSE(isZoomed()) << "another dataset is seen whole";
}

TEST_F(PlotControllerTest, TheApplyButtonCopiesToAllAndTellsWhenTheyDiffer) {
    const int first = add(wide).id;
    auto* apply = find<QPushButton>("applyToAllButton");
    session.setActive(first);
    EXPECT_FALSE(apply->isEnabled());
    DatasetEntry& second = add(wide);
    EXPECT_TRUE(apply->isEnabled());
    second.setPlotSettings(*session.active());
    QTest::keyClick(find<QComboBox>("yScaleCombo"), Qt::Key_Down);
    EXPECT_FALSE(apply->styleSheet().isEmpty());
    QTest::mouseClick(apply, Qt::LeftButton);
    EXPECT_EQ(second.scaleYMode, ScaleMode::Log);
    EXPECT_TRUE(apply->styleSheet().isEmpty());
    session.remove(second.id);
    EXPECT_FALSE(apply->isEnabled());
}

TEST_F(PlotControllerTest, GatesOfThePlottedFeaturesAreDrawn) {
    DatasetEntry& dataset = add(wide);
    FilterRule gate;
    gate.type = FilterRule::Polygon;
    gate.featureName = "area_um";
    gate.featureNameY = "deform";
    gate.polygonVertices = {{0, 0}, {20000, 0}, {0, 40000}};
    FilterRule turned = gate;
    std::swap(turned.featureName, turned.featureNameY);
    dataset.filter.addRule(rangeRule("area_um", 0, 1e6));
    dataset.filter.addRule(gate);
    dataset.filter.addRule(turned);
    const int on = session.addFilterGroup("on");
    const int off = session.addFilterGroup("off");
    session.addRuleToGroup(on, gate);
    session.addRuleToGroup(off, gate);
    session.setGroupEnabled(dataset.id, on, true);
    session.setActive(dataset.id);
    EXPECT_EQ(plot.overlayIds(), QList<int>({1, 1000000}));
    chooseFeature("xFeatureCombo", "deform");
    chooseFeature("yFeatureCombo", "area_um");
    EXPECT_EQ(plot.overlayIds(), QList<int>({2}));
    session.setActive(-1);
    EXPECT_TRUE(plot.overlayIds().isEmpty());
}

TEST_F(PlotControllerTest, IsoelasticLinesLieOverAreaAgainstDeformation) {
    session.setActive(add({{"area_um", {30, 80, 300}}, {"deform", {0.001, 0.03, 0.07}}, {"time", {1, 2, 3}}}).id);
    auto* box = find<QCheckBox>("isoelasticsCheck");
    EXPECT_TRUE(box->isVisible());
    EXPECT_EQ(plot.isoLineCount(), 0);
    QTest::mouseClick(box, Qt::LeftButton, {}, QPoint(8, box->height() / 2));
    const int lines = plot.isoLineCount();
    EXPECT_GT(lines, 5);
    EXPECT_TRUE(plot.isoLabelTexts().isEmpty());
    auto* labels = find<QCheckBox>("isoelasticLabelsCheck");
    QTest::mouseClick(labels, Qt::LeftButton, {}, QPoint(8, labels->height() / 2));
    EXPECT_EQ(plot.isoLabelTexts().size(), lines);
    chooseFeature("yFeatureCombo", "time");
    EXPECT_FALSE(box->isVisible());
    EXPECT_EQ(plot.isoLineCount(), 0);
    chooseFeature("xFeatureCombo", "deform");
    chooseFeature("yFeatureCombo", "area_um");
    EXPECT_TRUE(box->isVisible());
    EXPECT_EQ(plot.isoLineCount(), lines);
    add({{"area_um", {30, 80}}, {"deform", {0.01, 0.03}}}, false);
    session.setActive(session.datasets().back()->id);
    EXPECT_EQ(plot.isoLineCount(), 0) << "while another dataset loads";
    session.setActive(-1);
    EXPECT_FALSE(box->isVisible());
}

} // namespace
} // namespace Tessaly
