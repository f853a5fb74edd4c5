#include "FilterFixture.h"

#include "core/OverlayId.h"

#include <functional>

namespace Tessaly {
namespace {

class PolygonControllerTest : public FilterFixture {
protected:
    QPoint place(double x, double y) { return plot.toCanvas({x, y}).toPoint(); }
    void press(double x, double y) { QTest::mouseClick(plot.canvas(), Qt::LeftButton, {}, place(x, y)); }
    void drag(double x, double y, double toX, double toY) {
        QTest::mousePress(plot.canvas(), Qt::LeftButton, {}, place(x, y));
        QTest::mouseMove(plot.canvas(), place(toX, toY));
        QTest::mouseRelease(plot.canvas(), Qt::LeftButton, {}, place(toX, toY));
    }
    /// Two clicks and a double click: a triangle round (20, 0.2) and (30, 0.3), but not (10, 0.1) and (40, 0.4).
    void drawTriangle() {
        press(15, 0.12);
        press(38, 0.35);
        doubleClick(16, 0.38);
    }
    void doubleClick(double x, double y) {
        press(x, y);
        QTest::mouseDClick(plot.canvas(), Qt::LeftButton, {}, place(x, y)); // sends the second press only
    }
    static FilterRule gate(const std::string& x = "area_um", const std::string& y = "deform") {
        FilterRule rule;
        rule.type = FilterRule::Polygon;
        rule.featureName = x;
        rule.featureNameY = y;
        rule.polygonVertices = {{15, 0.15}, {35, 0.15}, {35, 0.35}, {15, 0.35}};
        rule.scaleXMode = 2;
        rule.propagationId = "link";
        return rule;
    }
    /// The corner of a rule is where the mouse was, to a pixel.
    void expectCorner(const FilterRule& rule, std::size_t corner, double x, double y) {
        ASSERT_LT(corner, rule.polygonVertices.size());
        const QPointF pixel = plot.toData({1, 0}) - plot.toData({0, 1});
        EXPECT_NEAR(rule.polygonVertices[corner].first, x, std::abs(pixel.x()));
        EXPECT_NEAR(rule.polygonVertices[corner].second, y, std::abs(pixel.y()));
    }
    bool isChecked(const QWidget* of, const char* name) { return part<QAbstractButton>(of, name)->isChecked(); }
    DatasetEntry& show(const std::vector<FilterRule>& rules = {}) {
        DatasetEntry& dataset = add(four);
        for (const FilterRule& rule : rules) {
            dataset.filter.addRule(rule);
        }
        session.setActive(dataset.id);
        QApplication::processEvents();
        plot.setAxisScale(QwtPlot::xBottom, 5, 45);
        plot.setAxisScale(QwtPlot::yLeft, 0.05, 0.45);
        plot.replot();
        refreshed.clear();
        return dataset;
    }
};

TEST(OverlayId, KeepsRulesOfGroupsApart) {
    const struct {
        OverlayId id;
        int number;
    } cases[] = {{{-1, 0}, 0},      {{-1, 999999}, 999999}, {{0, 0}, 1000000},
                 {{0, 3}, 1000003}, {{7, 9999}, 1079999},   {{8, 0}, 1080000}};
    for (const auto& [id, number] : cases) {
        EXPECT_EQ(id.number(), number);
        EXPECT_EQ(OverlayId::of(number), id);
    }
}

TEST_F(PolygonControllerTest, APolygonIsDrawnForTheDatasetOnItsAxes) {
    DatasetEntry& dataset = show();
    choose("xScaleCombo", 2);
    refreshed.clear();
    click("addPolygonButton");
    EXPECT_TRUE(plot.isDrawing());
    drawTriangle();
    ASSERT_EQ(dataset.filter.ruleCount(), 1);
    const FilterRule rule = dataset.filter.rules()[0];
    EXPECT_EQ(rule.type, FilterRule::Polygon);
    EXPECT_EQ(rule.featureName, "area_um");
    EXPECT_EQ(rule.featureNameY, "deform");
    EXPECT_EQ(rule.scaleXMode, 2);
    EXPECT_EQ(rule.scaleYMode, 0);
    EXPECT_TRUE(rule.enabled && !rule.inverted && rule.propagationId.empty());
    EXPECT_EQ(rule.polygonVertices.size(), 3U);
    EXPECT_EQ(refreshed.count(), 1);
    EXPECT_EQ(counts(), "2 / 4 events shown (50.0%)");
    EXPECT_EQ(plot.overlayIds(), QList<int>{0});
    EXPECT_FALSE(isChecked(&filters, "addPolygonButton") || plot.isDrawing());
    EXPECT_EQ(part<QLabel>(row(0), "polygonCountLabel")->text(), "(3 pts)");
}

TEST_F(PolygonControllerTest, XAndYAreWhatThePlotShows) {
    DatasetEntry& dataset = show();
    chooseFeature("yFeatureCombo", "area_um");
    chooseFeature("xFeatureCombo", "deform");
    plot.setAxisScale(QwtPlot::xBottom, 0.05, 0.45);
    plot.setAxisScale(QwtPlot::yLeft, 5, 45);
    plot.replot();
    click("addPolygonButton");
    press(0.12, 15);
    press(0.35, 38);
    doubleClick(0.38, 16);
    ASSERT_EQ(dataset.filter.ruleCount(), 1);
    EXPECT_EQ(dataset.filter.rules()[0].featureName, "deform");
    EXPECT_EQ(dataset.filter.rules()[0].featureNameY, "area_um");
    expectCorner(dataset.filter.rules()[0], 1, 0.35, 38);
    EXPECT_EQ(counts(), "2 / 4 events shown (50.0%)");
}

TEST_F(PolygonControllerTest, AGroupsPolygonJoinsTheGroupAndNoOtherDoes) {
    DatasetEntry& dataset = show();
    const int group = session.addFilterGroup("G");
    click(groups()[0], "addGroupPolygonButton");
    EXPECT_TRUE(plot.isDrawing() && isChecked(&filters, "addPolygonButton"));
    press(15, 0.12);
    QTest::keyClick(plot.canvas(), Qt::Key_Escape);
    EXPECT_FALSE(plot.isDrawing() || isChecked(&filters, "addPolygonButton"));
    click("addPolygonButton");
    drawTriangle();
    EXPECT_EQ(dataset.filter.ruleCount(), 1) << "Esc has ended the group's claim";
    click(groups()[0], "addGroupPolygonButton");
    click("addPolygonButton"); // off
    EXPECT_FALSE(plot.isDrawing());
    click("addPolygonButton");
    drawTriangle();
    EXPECT_EQ(dataset.filter.ruleCount(), 2);
    EXPECT_TRUE(session.findFilterGroup(group)->rules.empty());
    click(groups()[0], "addGroupPolygonButton");
    drawTriangle();
    EXPECT_EQ(dataset.filter.ruleCount(), 2);
    ASSERT_EQ(session.findFilterGroup(group)->rules.size(), 1U);
    expectCorner(session.findFilterGroup(group)->rules[0], 0, 15, 0.12);
    // One drawing takes the place of another.
    click(groups()[0], "addGroupPolygonButton");
    session.addFilterGroup("H");
    click(groups()[0], "addGroupPolygonButton");
    click(groups()[1], "addGroupPolygonButton");
    drawTriangle();
    EXPECT_EQ(session.filterGroups()[1]->rules.size(), 1U);
    EXPECT_EQ(session.filterGroups()[0]->rules.size(), 1U);
}

TEST_F(PolygonControllerTest, WhatItWasBegunForEndsDrawingAndEditing) {
    const int other = add(four).id;
    const int group = session.addFilterGroup("G");
    const std::vector<std::pair<const char*, std::function<void()>>> changes{
        {"dataset", [&] { session.setActive(other); }},
        {"x feature", [&] { chooseFeature("xFeatureCombo", "deform"); }},
        {"y feature", [&] { chooseFeature("yFeatureCombo", "area_um"); }},
        {"new rule", [&] { click("addRuleButton"); }},
        {"rule gone", [&] { click(row(1), "removeRuleButton"); }},
        {"rule of a group", [&] { session.addRuleToGroup(group, rangeRule("area_um", 1, 2)); }},
        {"group gone", [&] { session.removeFilterGroup(group); }},
        {"dataset gone", [&] { session.remove(session.activeId()); }},
    };
    for (const auto& [what, change] : changes) {
        for (const bool draw : {true, false}) {
            if (!session.findFilterGroup(group) && QByteArrayView(what) == "group gone") {
                continue;
            }
            DatasetEntry& dataset = show({gate(), rangeRule("area_um", 0, 100)});
            const int id = dataset.id;
            const auto rules = dataset.filter.rules();
            if (draw) {
                click("addPolygonButton");
                press(15, 0.12);
                press(35, 0.12);
            } else {
                click(row(0), "editPolygonButton");
                QTest::mousePress(plot.canvas(), Qt::LeftButton, {}, place(15, 0.15));
                QTest::mouseMove(plot.canvas(), place(12, 0.12));
            }
            ASSERT_TRUE(draw ? plot.isDrawing() : plot.isEditing()) << what;
            change();
            EXPECT_FALSE(plot.isDrawing() || plot.isEditing()) << what;
            EXPECT_FALSE(isChecked(&filters, "addPolygonButton")) << what;
            QTest::mouseRelease(plot.canvas(), Qt::LeftButton, {}, place(12, 0.12));
            for (const auto& entry : session.datasets()) {
                for (const FilterRule& rule : entry->filter.rules()) {
                    EXPECT_TRUE(std::ranges::find(rules, rule) != rules.end() || rule.type == FilterRule::Range)
                        << what;
                }
            }
            session.remove(id);
        }
    }
}

TEST_F(PolygonControllerTest, CornersAreMovedAddedAndRemoved) {
    DatasetEntry& dataset = show({rangeRule("area_um", 0, 100), gate()});
    EXPECT_EQ(counts(), "2 / 4 events shown (50.0%)");
    click(row(1), "editPolygonButton");
    EXPECT_EQ(plot.editId(), 1);
    const auto corners = [&dataset] { return dataset.filter.rules()[1].polygonVertices.size(); };
    drag(15, 0.15, 7, 0.07); // now (10, 0.1) is inside
    expectCorner(dataset.filter.rules()[1], 0, 7, 0.07);
    EXPECT_EQ(refreshed.count(), 1);
    EXPECT_EQ(counts(), "3 / 4 events shown (75.0%)");
    drag(35, 0.25, 42, 0.42); // a new corner on the right edge
    EXPECT_EQ(corners(), 5U);
    expectCorner(dataset.filter.rules()[1], 2, 42, 0.42);
    EXPECT_EQ(part<QLabel>(row(1), "polygonCountLabel")->text(), "(5 pts)");
    QTest::mouseClick(plot.canvas(), Qt::RightButton, {}, place(42, 0.42));
    EXPECT_EQ(corners(), 4U);
    EXPECT_TRUE(plot.isEditing() && isChecked(row(1), "editPolygonButton"));
    // A bound typed meanwhile doesn't disturb, and the switches of the polygon don't either.
    type(row(0), "maximumSpinBox", "35");
    click(row(1), "invertCheckBox");
    EXPECT_TRUE(plot.isEditing());
    EXPECT_EQ(corners(), 4U);
    QTest::keyClick(plot.canvas(), Qt::Key_Escape);
    EXPECT_FALSE(plot.isEditing() || isChecked(row(1), "editPolygonButton"));
    FilterRule expected = gate();
    expected.inverted = true;
    expected.polygonVertices = dataset.filter.rules()[1].polygonVertices;
    EXPECT_EQ(dataset.filter.rules()[1], expected) << "space, link and the rest are kept";
    click(row(1), "editPolygonButton");
    click(row(1), "editPolygonButton");
    EXPECT_FALSE(plot.isEditing());
    EXPECT_EQ(plot.overlayIds(), QList<int>{1});
}

TEST_F(PolygonControllerTest, OnOtherAxesAPolygonIsNotEdited) {
    show({gate("deform", "area_um"), gate("area_um", "gone"), gate()});
    for (const int index : {0, 1}) {
        click(row(index), "editPolygonButton");
        EXPECT_FALSE(plot.isEditing() || isChecked(row(index), "editPolygonButton")) << index;
    }
    click(row(2), "editPolygonButton");
    click(row(0), "editPolygonButton");
    EXPECT_EQ(plot.editId(), 2) << "the edit that is under way stays";
    EXPECT_TRUE(isChecked(row(2), "editPolygonButton") && !isChecked(row(0), "editPolygonButton"));
    click("addPolygonButton");
    EXPECT_TRUE(plot.isDrawing() && !plot.isEditing());
    EXPECT_FALSE(isChecked(row(2), "editPolygonButton"));
    click(row(2), "editPolygonButton");
    EXPECT_TRUE(!plot.isDrawing() && plot.isEditing());
    EXPECT_FALSE(isChecked(&filters, "addPolygonButton"));
}

TEST_F(PolygonControllerTest, APolygonOfAGroupIsEditedThere) {
    DatasetEntry& dataset = show({gate()});
    for (const char* name : {"G", "H"}) {
        session.addRuleToGroup(session.addFilterGroup(name), gate());
    }
    session.setGroupEnabled(dataset.id, 1, true);
    EXPECT_EQ(plot.overlayIds(), (QList<int>{0, 1010000}));
    plot.setAxisScale(QwtPlot::xBottom, 5, 45);
    plot.setAxisScale(QwtPlot::yLeft, 0.05, 0.45);
    plot.replot();
    click(groupRow(1, 0), "editPolygonButton");
    EXPECT_EQ(plot.editId(), 1010000);
    drag(35, 0.15, 42, 0.07);
    expectCorner(session.findFilterGroup(1)->rules[0], 1, 42, 0.07);
    EXPECT_EQ(session.findFilterGroup(0)->rules[0].polygonVertices, gate().polygonVertices);
    EXPECT_EQ(dataset.filter.rules()[0].polygonVertices, gate().polygonVertices);
    EXPECT_TRUE(isChecked(groupRow(1, 0), "editPolygonButton"));
    click(groupRow(1, 0), "editPolygonButton");
    EXPECT_FALSE(plot.isEditing());
}

TEST_F(PolygonControllerTest, NothingIsBegunOnAnEmptyPlot) {
    const int group = session.addFilterGroup("G");
    DatasetEntry& loading = add(four, false);
    loading.filter.addRule(gate());
    session.setActive(loading.id);
    emit filters.polygonDrawRequested();
    emit filters.addPolygonToGroupRequested(group);
    click(row(0), "editPolygonButton");
    EXPECT_FALSE(plot.isDrawing() || plot.isEditing());
    EXPECT_FALSE(isChecked(row(0), "editPolygonButton") || isChecked(&filters, "addPolygonButton"));
    session.setReady(loading.id);
    click(row(0), "editPolygonButton");
    EXPECT_TRUE(plot.isEditing());
}

} // namespace
} // namespace Tessaly
