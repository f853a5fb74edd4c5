#include "SessionBuilder.h"

#include <gtest/gtest.h>

#include <cmath>

using namespace Tessaly;

namespace {

const Columns threeEvents{{"area_um", {10, 20, 30}}, {"deform", {0.1, 0.2, 0.3}}};

/// Listed entries without files, for what doesn't look into them.
void appendEmpty(Session& session, int count) {
    for (int i = 0; i < count; ++i) {
        session.append(session.newEntry());
    }
}

std::vector<int> idsOf(const Session& session) {
    std::vector<int> ids;
    for (const auto& entry : session.datasets()) {
        ids.push_back(entry->id);
    }
    return ids;
}

TEST(SessionTest, IdsGoOnAfterClearingButGroupIdsStartAgain) {
    Session session;
    appendEmpty(session, 2);
    session.newEntry(); // thrown away: its id is spent
    EXPECT_EQ(session.addFilterGroup("a"), 0);
    session.setActive(1);
    session.clear();
    EXPECT_EQ(session.datasetCount(), 0);
    EXPECT_EQ(session.activeId(), -1);
    EXPECT_EQ(session.newEntry()->id, 3);
    EXPECT_EQ(session.addFilterGroup(""), 0);
    EXPECT_EQ(session.findFilterGroup(0)->name, "Filter group 1");
}

TEST(SessionTest, LooksUpByRowIdAndExactPath) {
    Session session;
    appendEmpty(session, 3);
    session.datasetAt(1)->filePath = session.datasetAt(2)->filePath = "/data/A.vqd";
    EXPECT_EQ(session.findByPath("/data/A.vqd")->id, 1);
    EXPECT_EQ(session.findByPath("/data/a.vqd"), nullptr);
    EXPECT_EQ(session.findById(9), nullptr);
    EXPECT_EQ(session.datasetAt(3), nullptr);
    EXPECT_EQ(session.datasetAt(-1), nullptr);
    session.setActive(3);
    EXPECT_EQ(session.active(), nullptr) << "a row outside the list is no row";
}

TEST(SessionTest, MovesKeepTheActiveDataset) {
    const std::vector<int> unmoved{0, 1, 2, 3};
    const struct {
        int from, to;
        std::vector<int> order;
    } cases[] = {{0, 3, {1, 2, 0, 3}}, {0, 4, {1, 2, 3, 0}}, {3, 0, {3, 0, 1, 2}},
                 {2, 1, {0, 2, 1, 3}}, {1, 1, unmoved},      {1, 2, unmoved},
                 {1, 5, unmoved},      {4, 0, unmoved},      {1, -1, unmoved}};
    for (const auto& c : cases) {
        for (int active = -1; active < 4; ++active) {
            Session session;
            appendEmpty(session, 4);
            session.setActive(active);
            EXPECT_EQ(session.move(c.from, c.to), c.order != unmoved);
            EXPECT_EQ(idsOf(session), c.order) << c.from << " to " << c.to;
            EXPECT_EQ(session.activeId(), active) << c.from << " to " << c.to;
        }
    }
}

TEST(SessionTest, RemovalKeepsTheActiveDatasetUnlessItGoes) {
    const int takesItsPlace[] = {1, 2, 1};
    for (int active = 0; active < 3; ++active) {
        for (int removed = 0; removed < 3; ++removed) {
            Session session;
            appendEmpty(session, 3);
            session.setActive(active);
            session.remove(removed);
            EXPECT_EQ(session.datasetCount(), 2);
            EXPECT_EQ(session.findById(removed), nullptr);
            EXPECT_EQ(session.activeId(), active == removed ? takesItsPlace[removed] : active);
        }
    }
}

TEST(SessionTest, DuplicateSharesTheReaderAndTakesViewAndFilterOnly) {
    SessionBuilder builder;
    DatasetEntry& source = builder.add(threeEvents);
    source.metadata.setup["chip region"] = "channel";
    source.setPlotSettings({"area_um", "deform", "__density_kde__", 1, 2, 1, 0.2, 0.8});
    source.currentEventIndex = 2;
    source.filter.addRule(rangeRule("deform", 0, 1, "{link}"));
    source.filter.setEnabled(false);
    source.filter.setCombineMode(1);
    source.flRefinementApplied = source.ctcApplied = source.emodApplied = source.fourierApplied = true;
    source.ctcChannels = {1, 2};
    source.spilloverMatrix = {{1, 0}, {0, 1}};
    source.groupEnabled[0] = true;

    ASSERT_EQ(builder.session.duplicate(0), 1);
    const DatasetEntry& copy = *builder.session.findById(1);
    EXPECT_EQ(copy.displayName, "dataset 0 (copy)");
    EXPECT_EQ(copy.reader, source.reader);
    EXPECT_EQ(copy.metadata, source.metadata);
    EXPECT_EQ(copy.plotSettings(), source.plotSettings());
    EXPECT_EQ(copy.currentEventIndex, 2);
    EXPECT_EQ(copy.filter, source.filter);
    EXPECT_TRUE(copy.featuresLoaded);
    EXPECT_FALSE(copy.flRefinementApplied || copy.ctcApplied || copy.emodApplied || copy.fourierApplied);
    EXPECT_TRUE(copy.ctcChannels.empty() && copy.spilloverMatrix.empty() && copy.groupEnabled.empty());

    builder.session.datasetAt(1)->filter.clearRules();
    EXPECT_EQ(source.filter.ruleCount(), 1) << "the rules are copies";
    source.featuresLoaded = false;
    EXPECT_EQ(builder.session.duplicate(0), -1);
    EXPECT_EQ(builder.session.duplicate(7), -1);
    EXPECT_EQ(builder.session.datasetCount(), 2);
}

TEST(SessionTest, GroupsStartOffAndTheirRulesHaveNoLink) {
    Session session;
    appendEmpty(session, 2);
    const int group = session.addFilterGroup("Live");
    EXPECT_EQ(session.datasetAt(0)->groupEnabled.count(group), 1U);
    EXPECT_FALSE(session.isGroupEnabled(session.datasetAt(0), group));
    session.addRuleToGroup(group, rangeRule("deform", 0, 1, "{link}"));
    EXPECT_EQ(session.findFilterGroup(group)->rules.at(0).propagationId, "");
    session.addRuleToGroup(99, rangeRule("deform", 0, 1));
    session.setGroupEnabled(1, group, true);
    session.setGroupEnabled(99, group, true);
    EXPECT_FALSE(session.isGroupEnabled(session.datasetAt(0), group));
    EXPECT_TRUE(session.isGroupEnabled(session.datasetAt(1), group));
}

TEST(SessionTest, EffectiveFilterJoinsOwnAndGroupRulesUnderTheOwnSwitches) {
    SessionBuilder builder;
    DatasetEntry& dataset = builder.add(threeEvents);
    DatasetEntry& other = builder.add(threeEvents);
    Session& session = builder.session;
    const int first = session.addFilterGroup("first");
    const int second = session.addFilterGroup("second");
    session.addRuleToGroup(second, rangeRule("deform", 0.0, 0.2));
    session.addRuleToGroup(first, rangeRule("area_um", 0, 100));
    dataset.filter.addRule(rangeRule("area_um", 15, 100));
    dataset.filter.setCombineMode(1);
    session.setGroupEnabled(dataset.id, second, true);
    session.setGroupEnabled(dataset.id, first, true);

    const EventFilter effective = session.buildEffectiveFilter(&dataset);
    ASSERT_EQ(effective.ruleCount(), 3);
    EXPECT_EQ(effective.rules()[0].minValue, 15);
    EXPECT_EQ(effective.rules()[1].featureName, "area_um") << "groups in the order of their creation";
    EXPECT_EQ(effective.rules()[2].featureName, "deform");
    // Only the second event has an area above 15 and a deformation up to 0.2: excluded are the others.
    EXPECT_EQ(session.passingEvents(dataset), (std::vector<int>{0, 2}));
    dataset.filter.setCombineMode(0);
    EXPECT_EQ(session.passingEvents(dataset), std::vector<int>{1});
    EXPECT_EQ(session.passingEvents(other), std::nullopt);
    dataset.filter.setEnabled(false);
    EXPECT_EQ(session.passingEvents(dataset), std::nullopt) << "group rules do not override the dataset's switch";
    // Rules on missing features or pictures take no part.
    other.filter.addRule(rangeRule("volume", 5, 6));
    other.filter.addRule(rangeRule("image", 5, 6));
    EXPECT_EQ(session.passingEvents(other), (std::vector<int>{0, 1, 2}));
    DatasetEntry withoutFile;
    withoutFile.filter.addRule(rangeRule("deform", 0, 1));
    EXPECT_EQ(session.passingEvents(withoutFile), std::vector<int>());
}

class PeersTest : public testing::Test {
protected:
    PeersTest() {
        for (int i = 0; i < 3; ++i) {
            builder.add(threeEvents).setPlotSettings(common);
        }
    }

    DatasetEntry& at(int row) { return *session.datasetAt(row); }

    const PlotSettings common{"area_um", "deform", "", 1, 0, 1, 0.2, 0.7};
    SessionBuilder builder;
    Session& session = builder.session;
};

TEST_F(PeersTest, EverySettingCountsInTheComparison) {
    EXPECT_TRUE(session.activeMatchesAllPeers()) << "no active dataset, nothing to differ from";
    session.setActive(0);
    EXPECT_TRUE(session.activeMatchesAllPeers());
    const std::vector<void (*)(DatasetEntry&)> changes{
        [](DatasetEntry& e) { e.xFeatureName = "deform"; },
        [](DatasetEntry& e) { e.yFeatureName = "area_um"; },
        [](DatasetEntry& e) { e.colorFeatureName = "deform"; },
        [](DatasetEntry& e) { e.scaleXMode = 2; },
        [](DatasetEntry& e) { e.scaleYMode = 2; },
        [](DatasetEntry& e) { e.contourMode = 2; },
        [](DatasetEntry& e) { e.contourFraction1 = std::nextafter(0.2, 1.0); },
        [](DatasetEntry& e) { e.contourFraction2 = 0.7000000000000002; },
        [](DatasetEntry& e) { e.contourFraction2 = std::nan(""); },
    };
    for (const auto& change : changes) {
        at(2).setPlotSettings(common);
        change(at(2));
        EXPECT_FALSE(session.activeMatchesAllPeers());
        EXPECT_TRUE(session.activeMatchesAllPeers(&at(2)));
    }
}

TEST_F(PeersTest, ANewDatasetTakesSwitchesWhereTheOthersAgree) {
    session.setActive(1);
    at(0).filter.setEnabled(false);
    at(1).filter.setEnabled(false);
    at(2).filter.setEnabled(true);
    for (int row = 0; row < 3; ++row) {
        at(row).filter.setCombineMode(1);
    }
    DatasetEntry& added = builder.add(threeEvents);
    session.inheritPeerSettings(added);
    EXPECT_TRUE(added.filter.isEnabled()) << "the others disagree";
    EXPECT_EQ(added.filter.combineMode(), 1);

    at(2).filter.setEnabled(false);
    DatasetEntry& next = builder.add(threeEvents);
    added.filter.setEnabled(false);
    session.inheritPeerSettings(next);
    EXPECT_FALSE(next.filter.isEnabled());
}

TEST_F(PeersTest, ANewDatasetTakesTheModelsLinkedRules) {
    session.setActive(1);
    at(0).filter.addRule(rangeRule("deform", 0, 3, "{other}"));
    at(1).filter.addRule(rangeRule("deform", 0, 1));
    at(1).filter.addRule(rangeRule("deform", 0, 2, "{linked}"));
    DatasetEntry& added = builder.add(threeEvents);
    session.inheritPeerSettings(added);
    EXPECT_EQ(added.filter.rules(), std::vector{at(1).filter.rules()[1]});

    session.setActive(-1); // then the first one is the model
    at(1).contourMode = 2;
    DatasetEntry& next = builder.add(threeEvents);
    session.inheritPeerSettings(next);
    EXPECT_EQ(next.filter.rules(), at(0).filter.rules());
    EXPECT_EQ(next.plotSettings(), common);
}

TEST_F(PeersTest, PlotSettingsAreInheritedOnlyFromAModelThatStandsNotAlone) {
    session.setActive(0);
    at(0).scaleYMode = 2;
    DatasetEntry& added = builder.add({{"area_um", {1, 2}}});
    session.inheritPeerSettings(added);
    EXPECT_EQ(added.plotSettings(), PlotSettings()) << "the active dataset differs from the others";

    at(0).setPlotSettings(common);
    session.inheritPeerSettings(added);
    PlotSettings expected = common;
    expected.yFeatureName.clear(); // its file has no deform
    EXPECT_EQ(added.plotSettings(), expected);
}

TEST(SessionTest, TheOnlyDatasetInheritsNothing) {
    SessionBuilder builder;
    DatasetEntry& only = builder.add(threeEvents);
    only.filter.addRule(rangeRule("deform", 0, 2, "{linked}"));
    builder.session.setActive(0);
    builder.session.inheritPeerSettings(only);
    EXPECT_EQ(only.filter.ruleCount(), 1);
    EXPECT_EQ(only.xFeatureName, "");
}

TEST_F(PeersTest, SettingsGoToAllPeersWithinWhatTheirFilesHave) {
    DatasetEntry& poor = builder.add({{"deform", {1, 2}}});
    poor.setPlotSettings({"deform", "deform", "deform", 0, 0, 0, 0.1, 0.67});
    session.applyPlotSettingsToPeers();
    EXPECT_EQ(poor.scaleXMode, 0) << "without an active dataset there is nothing to apply";
    session.setActive(0);
    const PlotSettings wanted{"area_um", "deform", "area_um", 2, 1, 2, 0.3, 0.6};
    session.setPlotSettings(0, wanted);
    session.applyPlotSettingsToPeers();
    EXPECT_EQ(at(1).plotSettings(), wanted);
    EXPECT_EQ(poor.plotSettings(), (PlotSettings{"deform", "deform", "deform", 2, 1, 2, 0.3, 0.6}));
    at(0).colorFeatureName = "__density_anything";
    session.applyPlotSettingsToPeers();
    EXPECT_EQ(poor.colorFeatureName, "__density_anything");
}

TEST(SessionTest, TellsWhatHasChangedOnceItHas) {
    Session session;
    appendEmpty(session, 3);
    std::vector<std::string> news;
    const auto note = [&](const char* what, int id) { news.push_back(what + (" " + std::to_string(id))); };
    const SessionNotices& notices = session.notices();
    QObject::connect(&notices, &SessionNotices::datasetsChanged, [&] { note("datasets", session.datasetCount()); });
    QObject::connect(&notices, &SessionNotices::datasetRemoved, [&](int id) {
        EXPECT_EQ(session.findById(id), nullptr);
        note("removed", id);
    });
    QObject::connect(&notices, &SessionNotices::activeChanged, [&](int id) {
        EXPECT_EQ(session.activeId(), id);
        note("active", id);
    });
    QObject::connect(&notices, &SessionNotices::datasetRenamed, [&](int id) { note("renamed", id); });
    QObject::connect(&notices, &SessionNotices::datasetReady, [&](int id) { note("ready", id); });
    QObject::connect(&notices, &SessionNotices::plotSettingsChanged, [&](int id) { note("settings", id); });
    QObject::connect(&notices, &SessionNotices::groupsChanged, [&] { note("groups", 0); });
    const auto expectNews = [&](const char* when, const std::vector<std::string>& expected) {
        EXPECT_EQ(news, expected) << when;
        news.clear();
    };
    session.setActive(1);
    session.setActive(1);
    session.rename(2, "name");
    session.rename(2, "name");
    session.setReady(0);
    session.setReady(7);
    session.setPlotSettings(1, {"a", "b", "", 0, 0, 0, 0.1, 0.67});
    session.setPlotSettings(1, {"a", "b", "", 0, 0, 0, 0.1, 0.67});
    expectNews("what stays as it is makes no news", {"active 1", "renamed 2", "ready 0", "settings 1"});
    session.remove(7);
    session.remove(1);
    expectNews("the active one removed", {"removed 1", "datasets 2", "active 2"});
    session.remove(0);
    session.move(2, 0);
    expectNews("another removed, nothing moved", {"removed 0", "datasets 1"});
    session.addFilterGroup("gates");
    session.clear();
    expectNews("cleared", {"groups 0", "removed 2", "datasets 0", "groups 0", "active -1"});
}

} // namespace
