#include "FilterFixture.h"

#include "ui/filters/PolygonPreview.h"
#include "ui/filters/PolygonRuleWidget.h"

#include <QImage>
#include <QLabel>
#include <QLineEdit>

#include <cmath>
#include <limits>

namespace Tessaly {
namespace {

class FilterDockTest : public FilterFixture {
protected:
    FilterRule polygonRule(const std::string& x, const std::string& y) {
        FilterRule rule;
        rule.type = FilterRule::Polygon;
        rule.featureName = x;
        rule.featureNameY = y;
        rule.polygonVertices = {{10, 0.1}, {20, 0.3}, {30, 0.1}};
        return rule;
    }
    const std::vector<FilterRule>& rules() { return session.active()->filter.rules(); }
};

TEST_F(FilterDockTest, ANewRuleLetsEverythingThroughUntilABoundIsTyped) {
    session.setActive(add(four).id);
    refreshed.clear();
    click("addRuleButton");
    ASSERT_EQ(rules().size(), 1U);
    EXPECT_EQ(rules()[0], rangeRule("area_um", 10, 40));
    EXPECT_EQ(refreshed.count(), 1);
    EXPECT_EQ(counts(), "4 events (no filter active)");
    type(row(0), "minimumSpinBox", "20");
    EXPECT_EQ(rules()[0], rangeRule("area_um", 20, 40));
    EXPECT_EQ(counts(), "3 / 4 events shown (75.0%)");
    click(row(0), "invertCheckBox");
    EXPECT_EQ(counts(), "1 / 4 events shown (25.0%)");
    click(row(0), "ruleEnabledCheckBox");
    EXPECT_EQ(counts(), "4 events (no filter active)");
    EXPECT_FALSE(rules()[0].enabled);
    click(row(0), "removeRuleButton");
    EXPECT_TRUE(rules().empty());
    EXPECT_EQ(row(0), nullptr);
}

TEST_F(FilterDockTest, ChoosingAFeatureTakesItsRange) {
    const double nan = std::numeric_limits<double>::quiet_NaN();
    const double inf = std::numeric_limits<double>::infinity();
    struct Case {
        const char* feature;
        std::vector<double> values;
        double minimum;
        double maximum;
        int decimals;
        double step;
    };
    // Decimals and step by hand from the widths of the ranges: 0.02, 0.5, 40, 500, none.
    const std::vector<Case> cases{
        {"deform", {0.01, nan, 0.03}, 0.01, 0.03, 6, 0.0002},
        {"aspect", {1.0, 1.5, inf}, 1.0, 1.5, 4, 0.005},
        {"area_um", {-10, 30, -inf}, -10, 30, 2, 0.4},
        {"fl1_max", {0, 500, 3}, 0, 500, 1, 5.0},
        {"bright_avg", {7, 7, 7}, 7, 7, 6, 0.01},
    };
    Columns columns{{"area_cvx", {1, 2, 3}}};
    for (const Case& c : cases) {
        columns[c.feature] = c.values;
    }
    session.setActive(add(columns).id);
    click("addRuleButton");
    auto* feature = part<QComboBox>(row(0), "ruleFeatureCombo");
    ASSERT_EQ(feature->count(), 6);
    for (const Case& c : cases) {
        while (feature->currentData() != QLatin1String(c.feature)) {
            QTest::keyClick(feature,
                            feature->currentIndex() < feature->findData(c.feature) ? Qt::Key_Down : Qt::Key_Up);
        }
        for (const auto& [name, value] : {std::pair("minimumSpinBox", c.minimum), {"maximumSpinBox", c.maximum}}) {
            const auto* box = part<QDoubleSpinBox>(row(0), name);
            EXPECT_EQ(box->value(), value) << c.feature;
            EXPECT_EQ(box->decimals(), c.decimals) << c.feature;
            EXPECT_DOUBLE_EQ(box->singleStep(), c.step) << c.feature;
        }
        EXPECT_EQ(rules()[0], rangeRule(c.feature, c.minimum, c.maximum));
    }
}

TEST_F(FilterDockTest, WhatTheUserDoesNotTouchStaysBitForBit) {
    DatasetEntry& dataset = add(four);
    FilterRule fine = rangeRule("area_um", 1.0 / 3.0, 1e300);
    fine.featureNameY = "left over";
    fine.polygonVertices = {{1.0 / 7.0, 2}};
    FilterRule gate = polygonRule("area_um", "deform");
    gate.polygonVertices[0].first = 0.1 + 0.2;
    gate.scaleXMode = 1;
    FilterRule missing = rangeRule("no such feature", -1.0 / 3.0, std::numeric_limits<double>::infinity());
    for (const FilterRule& rule : {fine, gate, missing}) {
        dataset.filter.addRule(rule);
    }
    session.setActive(dataset.id);
    // Through every field, without typing.
    find<QCheckBox>("filteringEnabledCheckBox")->setFocus();
    for (int i = 0; i < 40; ++i) {
        QTest::keyClick(QApplication::focusWidget(), Qt::Key_Tab);
    }
    EXPECT_EQ(rules(), (std::vector{fine, gate, missing}));
    type(row(0), "maximumSpinBox", "35");
    click(row(1), "invertCheckBox");
    click(row(2), "invertCheckBox");
    fine.maxValue = 35;
    gate.inverted = true;
    missing.inverted = true;
    EXPECT_EQ(rules(), (std::vector{fine, gate, missing}));
    session.setActive(-1);
    session.setActive(dataset.id);
    EXPECT_EQ(rules(), (std::vector{fine, gate, missing}));
}

TEST_F(FilterDockTest, ARuleOnAMissingFeatureWaitsForAnotherFeature) {
    DatasetEntry& dataset = add(four);
    dataset.filter.addRule(rangeRule("<b>&%1\"", 2, 3));
    session.setActive(dataset.id);
    auto* feature = part<QComboBox>(row(0), "ruleFeatureCombo");
    EXPECT_EQ(feature->currentText(), "<b>&%1\" (n/a)");
    EXPECT_EQ(feature->count(), 3);
    for (const char* name : {"ruleEnabledCheckBox", "minimumSpinBox", "maximumSpinBox"}) {
        EXPECT_FALSE(part<QWidget>(row(0), name)->isEnabled()) << name;
    }
    EXPECT_EQ(part<QDoubleSpinBox>(row(0), "maximumSpinBox")->value(), 3);
    QTest::keyClick(feature, Qt::Key_Up);
    EXPECT_EQ(rules()[0], rangeRule("deform", 0.1, 0.4));
    EXPECT_EQ(feature->count(), 2);
    EXPECT_EQ(feature->currentData().toString(), "deform");
    EXPECT_TRUE(part<QWidget>(row(0), "minimumSpinBox")->isEnabled());
    EXPECT_TRUE(part<QWidget>(row(0), "ruleEnabledCheckBox")->isEnabled());
    // Another row isn't touched by what one row lists.
    click("addRuleButton");
    EXPECT_EQ(part<QComboBox>(row(1), "ruleFeatureCombo")->count(), 2);
}

TEST_F(FilterDockTest, APolygonTellsItsAxesAndVertices) {
    DatasetEntry& dataset = add(four);
    dataset.filter.addRule(polygonRule("area_um", "deform"));
    dataset.filter.addRule(polygonRule("area_um", "gone"));
    session.setActive(dataset.id);
    const QString x = part<QComboBox>(&window, "xFeatureCombo")->currentText();
    const QString y = part<QComboBox>(&window, "yFeatureCombo")->currentText();
    EXPECT_EQ(part<QLabel>(row(0), "polygonAxesLabel")->text(), x + " vs " + y);
    EXPECT_EQ(part<QLabel>(row(1), "polygonAxesLabel")->text(), x + " vs gone (n/a)");
    EXPECT_EQ(part<QLabel>(row(0), "polygonCountLabel")->text(), "(3 pts)");
    QSignalSpy asked(&filters, &FilterDockWidget::polygonEditRequested);
    click(row(1), "editPolygonButton");
    EXPECT_EQ(asked, (QList<QVariantList>{{1, true}}));
    filters.showEditing(-1, 0);
    EXPECT_FALSE(part<QAbstractButton>(row(1), "editPolygonButton")->isChecked());
    EXPECT_TRUE(part<QAbstractButton>(row(0), "editPolygonButton")->isChecked());
    EXPECT_EQ(asked.count(), 1) << "only the user asks";
}

TEST(PolygonPreview, ShowsTheShapeInTheSpaceOfItsAxes) {
    PolygonPreview preview;
    FilterRule rule;
    rule.type = FilterRule::Polygon;
    // A triangle that points up. On a logarithmic axis its top lies at ln(10) / ln(100), in the middle.
    rule.polygonVertices = {{1, 1}, {10, 2}, {100, 1}, {5, std::nan("")}};
    const auto filled = [&](double across, double down) {
        preview.setRule(rule);
        const QImage picture = preview.grab().toImage();
        const QPoint place(static_cast<int>(across * picture.width()), static_cast<int>(down * picture.height()));
        return picture.pixelColor(place) == QColor(0xa6, 0xd7, 0xd5);
    };
    EXPECT_TRUE(filled(0.15, 0.5) && filled(0.3, 0.8) && !filled(0.5, 0.3) && !filled(0.8, 0.3));
    rule.scaleXMode = 1;
    EXPECT_TRUE(filled(0.5, 0.3) && filled(0.3, 0.8) && filled(0.7, 0.8) && !filled(0.1, 0.3) && !filled(0.9, 0.3));
    rule.polygonVertices.clear();
    EXPECT_FALSE(filled(0.5, 0.5));
}

TEST_F(FilterDockTest, ControlsTellWhatTheyAreForOutOfContext) {
    DatasetEntry& dataset = add(four);
    dataset.filter.addRule(rangeRule("area_um", 1, 50));
    dataset.filter.addRule(rangeRule("gone %1", 1, 50));
    session.addRuleToGroup(session.addFilterGroup("a %2 <b>"), rangeRule("area_um", 1, 50));
    session.setActive(dataset.id);
    const QString area = part<QComboBox>(&window, "xFeatureCombo")->currentText();
    const auto nameOf = [](const QWidget* row, const char* name) { return part<QWidget>(row, name)->accessibleName(); };
    EXPECT_EQ(nameOf(row(0), "minimumSpinBox"), "Minimum of rule 1, " + area);
    EXPECT_EQ(nameOf(row(1), "maximumSpinBox"), "Maximum of rule 2, gone %1 (n/a)");
    EXPECT_EQ(nameOf(groupRow(0, 0), "minimumSpinBox"), "Minimum of rule 1 in a %2 <b>, " + area);
    EXPECT_EQ(nameOf(groups()[0], "groupNameEdit"), "Name of filter group a %2 <b>");
}

TEST_F(FilterDockTest, RemovingARowLeavesTheOthersAndOneLineLess) {
    DatasetEntry& dataset = add(four);
    for (int i = 0; i < 4; ++i) {
        dataset.filter.addRule(rangeRule("area_um", i, 50));
    }
    session.setActive(dataset.id);
    const auto lines = [this] {
        QCoreApplication::sendPostedEvents();
        return std::ranges::count_if(find<QWidget>("ruleRows")->findChildren<QFrame*>(Qt::FindDirectChildrenOnly),
                                     [](const QFrame* line) { return !line->isHidden(); });
    };
    EXPECT_EQ(lines(), 3);
    RuleRow* last = row(3);
    for (const int removed : {2, 0}) {
        click(row(removed), "removeRuleButton");
    }
    EXPECT_EQ(lines(), 1);
    EXPECT_EQ(rules(), (std::vector{rangeRule("area_um", 1, 50), rangeRule("area_um", 3, 50)}));
    EXPECT_EQ(row(1), last);
    EXPECT_EQ(part<QWidget>(last, "minimumSpinBox")->accessibleName().left(17), "Minimum of rule 2");
    type(last, "minimumSpinBox", "9");
    EXPECT_EQ(rules()[1].minValue, 9);
}

TEST_F(FilterDockTest, TheKeysFollowTheEye) {
    DatasetEntry& dataset = add(four);
    add(four);
    dataset.filter.addRule(rangeRule("area_um", 1, 50, "linked"));
    dataset.filter.addRule(polygonRule("area_um", "deform"));
    const int group = session.addFilterGroup("G");
    session.addRuleToGroup(group, rangeRule("deform", 0, 1));
    session.setActive(dataset.id);
    click("addRuleButton");
    const QWidget* content = find<QWidget>("filterRows");
    ASSERT_TRUE(QTest::qWaitFor(
        [content] { return content->height() >= content->minimumSizeHint().height() && content->height() > 250; }));
    find<QCheckBox>("filteringEnabledCheckBox")->setFocus();
    const QWidget* rows = find<QWidget>("filterRowsScrollArea")->findChild<QWidget*>("filterRows");
    const QWidget* before = nullptr;
    int stops = 0;
    for (QWidget* at = QApplication::focusWidget(); stops < 99; at = QApplication::focusWidget(), ++stops) {
        ASSERT_TRUE(filters.isAncestorOf(at)) << at->objectName().toStdString();
        if (before) {
            // What scrolls is compared within itself.
            const QWidget* frame = rows->isAncestorOf(before) && rows->isAncestorOf(at) ? rows : &filters;
            const QRect first(before->mapTo(frame, QPoint()), before->size());
            const QRect second(at->mapTo(frame, QPoint()), at->size());
            const bool below = second.center().y() > first.bottom();
            const bool beside = second.center().y() >= first.top() && second.left() > first.right();
            EXPECT_TRUE(below || beside || frame == &filters)
                << before->objectName().toStdString() << " to " << at->objectName().toStdString();
        }
        if (at->objectName() == "moreFilterActionsButton") {
            break;
        }
        before = at;
        QTest::keyClick(at, Qt::Key_Tab);
    }
    EXPECT_GT(stops, 25);
}

} // namespace
} // namespace Tessaly
