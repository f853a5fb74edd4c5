#include "FilterFixture.h"
#include "MessageBoxWatcher.h"

#include <QAction>
#include <QDialog>
#include <QDialogButtonBox>
#include <QFile>
#include <QFileDialog>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QPushButton>
#include <QTimer>

#include <stdexcept>

namespace Tessaly {
namespace {

class FilterControllerTest : public FilterFixture {
protected:
    /// A dataset that is active, one that lacks "deform", and a duplicate of the first.
    void addThree() {
        first = &add(four);
        lacking = &add({{"area_um", {1, 2}}, {"aspect", {3, 4}}});
        session.setActive(first->id);
        copy = session.findById(session.duplicate(first->id));
        ASSERT_NE(copy, nullptr);
        refreshed.clear();
    }
    static const std::vector<FilterRule>& rulesOf(const DatasetEntry* dataset) { return dataset->filter.rules(); }
    void trigger(const char* name) { part<QAction>(&filters, name)->trigger(); }
    bool rowHas(int index, const char* name) {
        const auto* button = part<QAbstractButton>(row(index), name);
        return !button->isHidden() && button->isEnabled();
    }

    DatasetEntry* first = nullptr;
    DatasetEntry* lacking = nullptr;
    DatasetEntry* copy = nullptr;
};

TEST_F(FilterControllerTest, OneDatasetHasNobodyToCarryTo) {
    DatasetEntry& dataset = add(four);
    dataset.filter.addRule(rangeRule("area_um", 1, 50));
    dataset.filter.addRule(rangeRule("area_um", 1, 50, "link"));
    session.addFilterGroup("G");
    session.setActive(dataset.id);
    const auto allEnabled = [this](bool on) {
        for (const char* name : {"filteringInAllButton", "excludedInAllButton", "propagateGroupButton"}) {
            EXPECT_EQ(part<QWidget>(&filters, name)->isEnabled(), on) << name;
        }
        for (const char* name : {"updateRuleToAllButton", "uncheckCheckButton", "deleteRuleFromAllButton"}) {
            EXPECT_TRUE(part<QWidget>(row(0), name)->isHidden()) << name;
            EXPECT_FALSE(part<QWidget>(row(1), name)->isHidden()) << name;
            EXPECT_EQ(part<QWidget>(row(1), name)->isEnabled(), on) << name;
        }
        EXPECT_FALSE(part<QWidget>(row(0), "applyRuleToAllButton")->isHidden());
        EXPECT_TRUE(part<QWidget>(row(1), "applyRuleToAllButton")->isHidden());
        EXPECT_EQ(part<QWidget>(row(0), "applyRuleToAllButton")->isEnabled(), on);
    };
    allEnabled(false);
    const int second = add(four, false).id;
    allEnabled(true);
    session.remove(second);
    allEnabled(false);
}

TEST_F(FilterControllerTest, SwitchesAreCarriedAndTheirDifferenceIsMarked) {
    addThree();
    EXPECT_EQ(textOf(&filters, "filteringInAllButton"), "Enable in All Datasets");
    EXPECT_EQ(textOf(&filters, "excludedInAllButton"), "Hide Excluded in All Datasets");
    click("filteringEnabledCheckBox");
    EXPECT_EQ(textOf(&filters, "filteringInAllButton"), "Disable in All Datasets");
    EXPECT_TRUE(isMarked(&filters, "filteringInAllButton"));
    EXPECT_FALSE(isMarked(&filters, "excludedInAllButton"));
    refreshed.clear();
    click("filteringInAllButton");
    EXPECT_EQ(refreshed.count(), 1);
    EXPECT_FALSE(lacking->filter.isEnabled() || copy->filter.isEnabled());
    EXPECT_FALSE(isMarked(&filters, "filteringInAllButton"));
    click("showExcludedCheckBox");
    EXPECT_EQ(textOf(&filters, "excludedInAllButton"), "Show Excluded in All Datasets");
    EXPECT_TRUE(isMarked(&filters, "excludedInAllButton"));
    click("excludedInAllButton");
    EXPECT_EQ(copy->filter.combineMode(), EventFilter::ShowExcluded);
    EXPECT_FALSE(isMarked(&filters, "excludedInAllButton"));
}

TEST_F(FilterControllerTest, ARuleIsCarriedChangedUpdatedSwitchedAndDeletedInAll) {
    addThree();
    lacking->filter.addRule(rangeRule("aspect", 0, 9));
    click("addRuleButton");
    refreshed.clear();
    click(row(0), "applyRuleToAllButton");
    EXPECT_EQ(refreshed.count(), 1);
    const FilterRule carried = rulesOf(first)[0];
    EXPECT_EQ(carried.propagationId.front(), '{');
    EXPECT_EQ(rulesOf(copy), std::vector{carried});
    EXPECT_EQ(rulesOf(lacking), (std::vector{rangeRule("aspect", 0, 9), carried}));
    EXPECT_TRUE(rowHas(0, "updateRuleToAllButton"));
    EXPECT_FALSE(isMarked(row(0), "updateRuleToAllButton"));

    type(row(0), "minimumSpinBox", "15");
    EXPECT_TRUE(isMarked(row(0), "updateRuleToAllButton"));
    EXPECT_FALSE(isMarked(row(0), "uncheckCheckButton"));
    EXPECT_EQ(rulesOf(copy)[0].minValue, 10);
    click(row(0), "updateRuleToAllButton");
    EXPECT_EQ(rulesOf(copy)[0].minValue, 15);
    EXPECT_EQ(rulesOf(lacking)[1].minValue, 15);
    EXPECT_FALSE(isMarked(row(0), "updateRuleToAllButton"));

    EXPECT_EQ(textOf(row(0), "uncheckCheckButton"), "Check in All");
    click(row(0), "ruleEnabledCheckBox");
    EXPECT_EQ(textOf(row(0), "uncheckCheckButton"), "Uncheck in All");
    EXPECT_TRUE(isMarked(row(0), "uncheckCheckButton"));
    click(row(0), "uncheckCheckButton");
    EXPECT_FALSE(rulesOf(copy)[0].enabled || rulesOf(lacking)[1].enabled || rulesOf(first)[0].enabled);
    EXPECT_FALSE(isMarked(row(0), "uncheckCheckButton"));
    click(row(0), "ruleEnabledCheckBox");
    click(row(0), "uncheckCheckButton");
    EXPECT_TRUE(rulesOf(copy)[0].enabled && rulesOf(lacking)[1].enabled);

    // The link survives what the row stores next.
    type(row(0), "maximumSpinBox", "35");
    EXPECT_EQ(rulesOf(first)[0].propagationId, carried.propagationId);
    refreshed.clear();
    click(row(0), "deleteRuleFromAllButton");
    EXPECT_EQ(refreshed.count(), 1);
    EXPECT_TRUE(rulesOf(first).empty() && rulesOf(copy).empty());
    EXPECT_EQ(rulesOf(lacking), std::vector{rangeRule("aspect", 0, 9)});
    EXPECT_EQ(row(0), nullptr);
}

TEST_F(FilterControllerTest, TheWholeFilterReplacesAllOthers) {
    addThree();
    lacking->filter.addRule(rangeRule("aspect", 0, 9));
    click("showExcludedCheckBox");
    click("addRuleButton");
    type(row(0), "minimumSpinBox", "25");
    refreshed.clear();
    trigger("applyFilterToAllAction");
    EXPECT_EQ(refreshed.count(), 1);
    EXPECT_EQ(lacking->filter, first->filter);
    EXPECT_EQ(copy->filter, first->filter);
    session.setActive(lacking->id);
    EXPECT_EQ(part<QDoubleSpinBox>(row(0), "minimumSpinBox")->value(), 25);
    EXPECT_TRUE(find<QAbstractButton>("showExcludedCheckBox")->isChecked());
    type(row(0), "minimumSpinBox", "1");
    EXPECT_EQ(rulesOf(copy)[0].minValue, 25) << "a row belongs to the dataset that is shown";
}

TEST_F(FilterControllerTest, AGroupIsMadeNamedSwitchedAndDeleted) {
    addThree();
    click("addGroupButton");
    ASSERT_EQ(groups().size(), 1);
    auto* name = part<QLineEdit>(groups()[0], "groupNameEdit");
    EXPECT_EQ(name->text(), "Filter group 1");
    EXPECT_FALSE(part<QAbstractButton>(groups()[0], "groupEnabledCheckBox")->isChecked());

    name->setFocus();
    name->selectAll();
    QTest::keyClicks(name, "<b>a&%1");
    emit session.notices().groupsChanged(); // somebody else's news
    QTest::keyClicks(name, "!");
    EXPECT_EQ(name->text(), "<b>a&%1!");
    EXPECT_EQ(session.filterGroups()[0]->name, "Filter group 1");
    QTest::keyClick(name, Qt::Key_Return);
    EXPECT_EQ(session.filterGroups()[0]->name, "<b>a&%1!");
    QTest::keyClicks(name, "gone");
    QTest::keyClick(name, Qt::Key_Escape);
    EXPECT_EQ(name->text(), "<b>a&%1!");

    click(groups()[0], "addGroupRuleButton");
    ASSERT_EQ(session.filterGroups()[0]->rules, std::vector{rangeRule("area_um", 10, 40)});
    click(groups()[0], "groupEnabledCheckBox");
    EXPECT_TRUE(session.isGroupEnabled(first, 0));
    EXPECT_FALSE(session.isGroupEnabled(copy, 0)) << "a duplicate has switches of its own";
    EXPECT_EQ(textOf(groups()[0], "propagateGroupButton"), "Check in All Datasets");
    RuleRow* rule = groupRow(0, 0);
    for (const char* button : {"applyRuleToAllButton", "updateRuleToAllButton"}) {
        EXPECT_EQ(rule->findChild<QWidget*>(button), nullptr);
    }
    auto* minimum = part<QDoubleSpinBox>(rule, "minimumSpinBox");
    minimum->setFocus();
    minimum->selectAll();
    refreshed.clear();
    QTest::keyClicks(minimum, "25");
    EXPECT_EQ(refreshed.count(), 2);
    EXPECT_EQ(QApplication::focusWidget(), minimum) << "the row being typed in survives";
    EXPECT_EQ(session.filterGroups()[0]->rules[0].minValue, 25);
    EXPECT_EQ(counts(), "2 / 4 events shown (50.0%)");

    click(groups()[0], "propagateGroupButton");
    EXPECT_TRUE(session.isGroupEnabled(copy, 0) && session.isGroupEnabled(lacking, 0));
    session.setActive(lacking->id);
    EXPECT_TRUE(part<QAbstractButton>(groups()[0], "groupEnabledCheckBox")->isChecked());
    click(groups()[0], "groupEnabledCheckBox");
    EXPECT_EQ(textOf(groups()[0], "propagateGroupButton"), "Uncheck in All Datasets");
    click(groupRow(0, 0), "removeRuleButton");
    EXPECT_TRUE(session.filterGroups()[0]->rules.empty());
    EXPECT_EQ(groupRow(0, 0), nullptr);
    click("addGroupButton");
    click(groups()[0], "deleteGroupButton");
    ASSERT_EQ(groups().size(), 1);
    EXPECT_EQ(part<QLineEdit>(groups()[0], "groupNameEdit")->text(), "Filter group 2");
}

TEST_F(FilterControllerTest, SoftLimitsAreImportedAsFarAsTheyCanBeRead) {
    addThree();
    MessageBoxWatcher boxes;
    trigger("importForAllAction");
    ASSERT_EQ(boxes.seen().size(), 1U);
    EXPECT_EQ(boxes.seen()[0].title, "Import Measurement Filters");
    EXPECT_EQ(boxes.seen()[0].text, "No features with soft limit enabled found.");
    first->metadata.online_filter = {{"area_um soft limit", "1"}, {"area_um min", "15"}, {"area_um max", "35"}};
    copy->metadata = first->metadata;
    copy->metadata.online_filter["deform soft limit"] = "1";
    copy->metadata.online_filter["deform min"] = "10abc";
    copy->metadata.online_filter["deform max"] = "1";
    trigger("importForActiveAction");
    EXPECT_EQ(rulesOf(first), std::vector{rangeRule("area_um", 15, 35)});
    EXPECT_EQ(counts(), "2 / 4 events shown (50.0%)");
    EXPECT_TRUE(rulesOf(copy).empty());
    EXPECT_THROW(trigger("importForAllAction"), std::invalid_argument);
    EXPECT_EQ(rulesOf(first).size(), 2U);
    EXPECT_NE(row(1), nullptr) << "what was read before the failure is shown";
    EXPECT_EQ(rulesOf(copy).size(), 1U);
    EXPECT_EQ(boxes.seen().size(), 1U);
}

TEST_F(FilterControllerTest, GroupsAreWrittenAndReadAgain) {
    addThree();
    MessageBoxWatcher boxes;
    trigger("exportGroupsAction");
    ASSERT_EQ(boxes.seen().size(), 1U);
    EXPECT_EQ(boxes.seen()[0].text, "There are no filter groups to export.");
    const int kept = session.addFilterGroup("kept");
    session.addRuleToGroup(kept, rangeRule("area_um", 1, 2));
    session.addFilterGroup("left out");
    QString fileName = QString::fromStdString(folder.file("gates 0.5"));
    QTimer user;
    QObject::connect(&user, &QTimer::timeout, [&] {
        QWidget* modal = QApplication::activeModalWidget();
        if (auto* dialog = qobject_cast<QFileDialog*>(modal)) {
            dialog->findChild<QLineEdit*>("fileNameEdit")->setText(fileName);
            QMetaObject::invokeMethod(dialog, "accept");
        } else if (modal && modal->objectName() == "exportGroupsDialog") {
            EXPECT_EQ(modal->windowTitle(), "Export Filter Groups");
            EXPECT_EQ(modal->size(), QSize(360, 360));
            modal->findChild<QPushButton*>("selectNoneButton")->click();
            modal->findChild<QListWidget*>()->item(0)->setCheckState(Qt::Checked);
            QTest::keyClick(modal, Qt::Key_Return);
        }
    });
    user.start(5);
    QSignalSpy told(&filterController, &FilterController::statusChanged);
    trigger("exportGroupsAction");
    ASSERT_EQ(told.count(), 1);
    EXPECT_EQ(told[0][0], "Exported 1 filter group(s).");
    fileName += ".tsyfg";
    ASSERT_TRUE(QFile::exists(fileName));
    trigger("importGroupsAction");
    ASSERT_EQ(told.count(), 2);
    EXPECT_EQ(told[1][0], "Imported 1 filter group(s).");
    ASSERT_EQ(groups().size(), 3);
    EXPECT_EQ(part<QLineEdit>(groups()[2], "groupNameEdit")->text(), "kept");
    EXPECT_EQ(session.filterGroups()[2]->rules, std::vector{rangeRule("area_um", 1, 2)});
    {
        QFile broken(fileName);
        ASSERT_TRUE(broken.open(QIODevice::WriteOnly));
        broken.write("{");
    }
    trigger("importGroupsAction");
    EXPECT_EQ(told.count(), 2);
    ASSERT_EQ(boxes.seen().size(), 2U);
    EXPECT_TRUE(boxes.seen()[1].text.startsWith("File is not a valid filter-groups JSON: "));
    EXPECT_EQ(boxes.seen()[1].title, "Import Filter Groups");
    EXPECT_EQ(groups().size(), 3);
}

TEST_F(FilterControllerTest, WithManyEventsOvertakenChangesAreNotRefreshed) {
    Columns many{{"area_um", {}}, {"deform", {}}};
    for (int i = 0; i < 60000; ++i) {
        many["area_um"].push_back(i);
        many["deform"].push_back(i % 7);
    }
    session.setActive(add(many).id);
    click("addRuleButton");
    QApplication::processEvents();
    refreshed.clear();
    type(row(0), "minimumSpinBox", "59000");
    EXPECT_EQ(refreshed.count(), 0);
    EXPECT_EQ(session.active()->filter.rules()[0].minValue, 59000) << "the record is never behind";
    QApplication::processEvents();
    EXPECT_EQ(refreshed.count(), 1);
    EXPECT_EQ(counts(), "1000 / 60000 events shown (1.7%)");
    // In a group's row, too; another refresh makes the waiting one superfluous.
    const int group = session.addFilterGroup("G");
    session.addRuleToGroup(group, rangeRule("area_um", 0, 59499));
    session.setGroupEnabled(session.activeId(), group, true);
    refreshed.clear();
    type(groupRow(0, 0), "maximumSpinBox", "59099");
    EXPECT_EQ(refreshed.count(), 0);
    EXPECT_EQ(session.filterGroups()[0]->rules[0].maxValue, 59099);
    emit session.notices().eventsChanged();
    QApplication::processEvents();
    EXPECT_EQ(refreshed.count(), 1);
    EXPECT_EQ(counts(), "100 / 60000 events shown (0.2%)");
}

TEST_F(FilterControllerTest, WhileADatasetLoadsItsRulesAreShownButNotMade) {
    DatasetEntry& loading = add(four, false);
    loading.filter.addRule(rangeRule("area_um", 15, 100));
    session.addFilterGroup("G");
    session.setActive(loading.id);
    EXPECT_FALSE(part<QWidget>(row(0), "ruleFeatureCombo")->isEnabled());
    for (const char* name : {"addRuleButton", "addPolygonButton", "addGroupRuleButton", "addGroupPolygonButton"}) {
        EXPECT_FALSE(find<QWidget>(name)->isEnabled()) << name;
    }
    type(row(0), "minimumSpinBox", "25");
    EXPECT_EQ(rulesOf(&loading)[0], rangeRule("area_um", 25, 100));
    session.setReady(loading.id);
    EXPECT_TRUE(part<QWidget>(row(0), "ruleFeatureCombo")->isEnabled());
    EXPECT_TRUE(find<QWidget>("addRuleButton")->isEnabled() && find<QWidget>("addGroupRuleButton")->isEnabled());
    EXPECT_EQ(counts(), "2 / 4 events shown (50.0%)");
    session.setActive(-1);
    EXPECT_EQ(row(0), nullptr);
    EXPECT_FALSE(find<QWidget>("activeFilterBox")->isEnabled());
}

} // namespace
} // namespace Tessaly
