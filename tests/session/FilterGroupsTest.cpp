#include "session/filters/FilterGroups.h"

#include "session/Session.h"
#include "session/filters/GroupMatrix.h"
#include "support/FilterRules.h"

#include <QSignalSpy>

#include <gtest/gtest.h>

#include <algorithm>

using namespace Tessaly;

namespace {

/// Three datasets and two groups, of which the first is on for the first dataset.
class FilterGroupsTest : public testing::Test {
protected:
    FilterGroupsTest() {
        for (const char* path : {"/data/day 1/a.vqd", "/data/day 2/b.vqd", "/data/day 1/c.vqd"}) {
            auto entry = session.newEntry();
            entry->filePath = path;
            entry->displayName = QString::fromUtf8(path).right(5).left(1);
            session.append(std::move(entry));
        }
        live = session.addFilterGroup("Live");
        bright = session.addFilterGroup("<b>&%1\n\"\u05d0");
        session.addRuleToGroup(live, rangeRule("area_um", 1, 2));
        session.addRuleToGroup(live, rangeRule("deform", 3, 4));
        session.setGroupEnabled(0, live, true);
        connect(&SessionNotices::groupsChanged, 'g');
        connect(&SessionNotices::eventsChanged, 'e');
    }

    void connect(void (SessionNotices::*signal)(), char letter) {
        QObject::connect(&session.notices(), signal, [this, letter] { told += letter; });
    }
    std::string toldSince() { return std::exchange(told, {}); }

    const std::vector<FilterRule>& rules(int group) const { return session.findFilterGroup(group)->rules; }
    /// The switches of a group by row, as ones and zeros.
    std::string switches(int group) const {
        std::string text;
        for (const auto& dataset : session.datasets()) {
            text += session.isGroupEnabled(dataset.get(), group) ? '1' : '0';
        }
        return text;
    }

    Session session;
    std::string told; ///< notices in their order
    int live = -1;
    int bright = -1;
};

TEST_F(FilterGroupsTest, RulesOfAGroupAreAddedReplacedAndRemovedWithoutLinks) {
    session.addRuleToGroup(live, rangeRule("area_um", 5, 6, "{link}"));
    EXPECT_EQ(toldSince(), "ge");
    EXPECT_TRUE(updateRuleInGroup(session, live, 1, rangeRule("deform", 7, 8, "{link}")));
    EXPECT_EQ(toldSince(), "e") << "the row being edited stays";
    EXPECT_EQ(rules(live),
              (std::vector{rangeRule("area_um", 1, 2), rangeRule("deform", 7, 8), rangeRule("area_um", 5, 6)}));
    EXPECT_TRUE(removeRuleFromGroup(session, live, 0));
    EXPECT_EQ(toldSince(), "ge");
    EXPECT_EQ(rules(live), (std::vector{rangeRule("deform", 7, 8), rangeRule("area_um", 5, 6)}));
    EXPECT_TRUE(rules(bright).empty());
}

TEST_F(FilterGroupsTest, AGroupIsRenamedToAnyText) {
    EXPECT_TRUE(renameFilterGroup(session, bright, ""));
    EXPECT_EQ(session.findFilterGroup(bright)->name, "");
    EXPECT_TRUE(renameFilterGroup(session, bright, "Live"));
    EXPECT_EQ(session.findFilterGroup(bright)->name, "Live") << "names may repeat";
    EXPECT_EQ(toldSince(), "gg") << "no other events pass";
}

TEST_F(FilterGroupsTest, ARemovedGroupLeavesNothingBehind) {
    const EventFilter before = session.datasetAt(0)->filter;
    EXPECT_EQ(session.buildEffectiveFilter(session.datasetAt(0)).ruleCount(), 2);
    EXPECT_TRUE(session.removeFilterGroup(live));
    EXPECT_EQ(toldSince(), "ge");
    EXPECT_EQ(session.findFilterGroup(live), nullptr);
    EXPECT_EQ(session.buildEffectiveFilter(session.datasetAt(0)), before);
    for (const auto& dataset : session.datasets()) {
        EXPECT_FALSE(dataset->groupEnabled.contains(live));
        EXPECT_TRUE(dataset->groupEnabled.contains(bright));
    }
    EXPECT_GT(session.addFilterGroup("next"), bright) << "ids are not used again";
}

TEST_F(FilterGroupsTest, WhatIsNotThereChangesNothing) {
    for (const int group : {-1, 99}) {
        EXPECT_FALSE(renameFilterGroup(session, group, "x") || session.removeFilterGroup(group) ||
                     updateRuleInGroup(session, group, 0, {}) || removeRuleFromGroup(session, group, 0) ||
                     setGroupEnabledInAll(session, group, true) || toggleGroupInAll(session, group));
    }
    for (const int rule : {-1, 2}) {
        EXPECT_FALSE(updateRuleInGroup(session, live, rule, {}) || removeRuleFromGroup(session, live, rule));
    }
    EXPECT_FALSE(toggleAllGroups(session, 99));
    session.setGroupEnabled(99, live, true);
    session.addRuleToGroup(99, {});
    EXPECT_EQ(toldSince(), "");
    EXPECT_EQ(session.datasetAt(0)->groupEnabled.size(), 2U);
    EXPECT_EQ(rules(live).size(), 2U);
}

TEST_F(FilterGroupsTest, AGroupIsSwitchedForAllInOneStep) {
    for (const bool on : {true, false}) {
        EXPECT_TRUE(setGroupEnabledInAll(session, bright, on));
        EXPECT_EQ(switches(bright), on ? "111" : "000");
        EXPECT_EQ(switches(live), "100");
        EXPECT_EQ(toldSince(), "ge");
    }
}

TEST_F(FilterGroupsTest, AClickOnAGroupSwitchesItOnUnlessAllHaveIt) {
    for (const char* expected : {"111", "000", "111"}) {
        EXPECT_TRUE(toggleGroupInAll(session, live));
        EXPECT_EQ(switches(live), expected);
        EXPECT_EQ(toldSince(), "ge");
    }
    session.datasetAt(2)->groupEnabled.clear(); // an absent id counts as off
    toggleGroupInAll(session, live);
    EXPECT_EQ(switches(live), "111");
    EXPECT_EQ(switches(bright), "000");

    Session empty;
    EXPECT_TRUE(isGroupEnabledInAll(empty, empty.addFilterGroup("")));
}

TEST_F(FilterGroupsTest, AClickOnADatasetSwitchesAllGroupsOnUnlessItHasThem) {
    for (const char* expected : {"100", "000"}) {
        EXPECT_TRUE(toggleAllGroups(session, 0));
        EXPECT_EQ(switches(live), expected);
        EXPECT_EQ(switches(bright), expected);
        EXPECT_EQ(toldSince(), "ge");
    }
    session.removeFilterGroup(live);
    session.removeFilterGroup(bright);
    toldSince();
    EXPECT_FALSE(toggleAllGroups(session, 0));
    EXPECT_EQ(toldSince(), "");
}

TEST_F(FilterGroupsTest, TheMatrixListsDatasetsAndTheirSwitches) {
    session.setGroupEnabled(2, bright, true);
    session.datasetAt(1)->groupEnabled.clear();
    const GroupMatrix matrix = groupMatrix(session, 0);
    EXPECT_EQ(matrix.columns,
              (std::vector<GroupMatrix::Column>{{live, "Live"}, {bright, QStringLiteral("<b>&%1\n\"\u05d0")}}));
    EXPECT_EQ(matrix.rows, (std::vector<GroupMatrix::Row>{{0, 0, "a"}, {1, 0, "b"}, {2, 0, "c"}}));
    EXPECT_EQ(matrix.ticks, (std::vector{true, false, false, false, false, true}));
    EXPECT_TRUE(matrix.isTicked(2, 1));
    EXPECT_FALSE(matrix.isTicked(2, 0));

    session.removeFilterGroup(live);
    session.removeFilterGroup(bright);
    EXPECT_EQ(groupMatrix(session, 0).rows, matrix.rows) << "without groups there is nothing to tick";
    EXPECT_TRUE(groupMatrix(session, 0).ticks.empty());
}

TEST_F(FilterGroupsTest, TheMatrixFollowsTheFolderView) {
    session.setGroupEnabled(2, bright, true);
    const GroupMatrix matrix = groupMatrix(session, 1);
    EXPECT_EQ(matrix.rows, (std::vector<GroupMatrix::Row>{
                               {-1, 0, "day 1"}, {0, 1, "a"}, {2, 1, "c"}, {-1, 0, "day 2"}, {1, 1, "b"}}));
    EXPECT_EQ(matrix.ticks, (std::vector{false, false, true, false, false, true, false, false, false, false}));
    // With two levels there is one more folder round all of it.
    const GroupMatrix deeper = groupMatrix(session, 2);
    EXPECT_EQ(deeper.rows.at(0), (GroupMatrix::Row{-1, 0, "data"}));
    EXPECT_EQ(std::ranges::max(deeper.rows, {}, &GroupMatrix::Row::level).level, 2);
}

} // namespace
