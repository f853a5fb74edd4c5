#include "session/filters/FilterPropagation.h"

#include "SessionBuilder.h"

#include "session/filters/PeerMarks.h"

#include <QSignalSpy>
#include <QUuid>

#include <gtest/gtest.h>

#include <limits>

using namespace Tessaly;

namespace {

FilterRule polygonRule(const std::string& x, const std::string& y, const std::string& link) {
    FilterRule rule;
    rule.type = FilterRule::Polygon;
    rule.featureName = x;
    rule.featureNameY = y;
    rule.polygonVertices = {{10, 0.1}, {30, 0.1}, {20, 0.3}};
    rule.scaleXMode = 1;
    rule.propagationId = link;
    return rule;
}

/// The active dataset in the middle of the list; before it one that lacks the feature deform, behind it its duplicate
/// and one without rules.
class FilterPropagationTest : public testing::Test {
protected:
    FilterPropagationTest() {
        builder.add({{"area_um", {10, 20, 30}}});
        DatasetEntry& source = builder.add({{"area_um", {10, 20, 30}}, {"deform", {0.1, 0.2, 0.3}}});
        source.filter.addRule(rangeRule("area_um", 1, 2));
        source.filter.addRule(rangeRule("area_um", 3, 4, "{range}"));
        source.filter.addRule(polygonRule("area_um", "deform", "{polygon}"));
        session.setActive(source.id);
        session.duplicate(source.id);
        builder.add({{"area_um", {1, 2}}, {"deform", {1, 2}}});

        EventFilter& poor = at(0).filter;
        poor.setCombineMode(EventFilter::ShowExcluded);
        poor.setEnabled(false);
        poor.addRule(polygonRule("area_um", "deform", "{polygon}"));
        poor.addRule(rangeRule("area_um", 5, 6, "{elsewhere}"));
        poor.addRule(rangeRule("area_um", 7, 8, "{range}"));
        poor.addRule(rangeRule("area_um", 9, 10, "{range}")); // only the first of a link counts
    }

    DatasetEntry& at(int row) { return *session.datasetAt(row); }
    DatasetEntry& active() { return at(1); }

    std::vector<EventFilter> filters() {
        std::vector<EventFilter> all;
        for (const auto& entry : session.datasets()) {
            all.push_back(entry->filter);
        }
        return all;
    }

    void changeActiveRule(int index, const std::function<void(FilterRule&)>& change) {
        changeRule(active().filter, index, change);
    }
    static void changeRule(EventFilter& filter, int index, const std::function<void(FilterRule&)>& change) {
        FilterRule rule = filter.rules().at(static_cast<std::size_t>(index));
        change(rule);
        filter.setRule(index, rule);
    }

    SessionBuilder builder;
    Session& session = builder.session;
};

TEST_F(FilterPropagationTest, AFilterReplacesThoseOfAllPeersAndTheyStayIndependent) {
    active().filter.setEnabled(false);
    active().filter.setCombineMode(1);
    const EventFilter source = active().filter;
    EXPECT_TRUE(applyFilterToAll(session));
    EXPECT_EQ(filters(), std::vector<EventFilter>(4, source));
    active().filter.clearRules();
    EXPECT_EQ(at(2).filter, source) << "a duplicate shares the reader, not the filter";
}

TEST_F(FilterPropagationTest, ALocalRuleGetsALinkAndGoesBehindThePeersRules) {
    std::vector<EventFilter> expected = filters();
    const std::string link = applyRuleToAll(session, 0);
    EXPECT_EQ(QUuid(QString::fromStdString(link)).toString().toStdString(), link) << "in the form with braces";
    const FilterRule linked = rangeRule("area_um", 1, 2, link);
    expected[1].setRule(0, linked);
    for (const std::size_t peer : {0U, 2U, 3U}) {
        expected[peer].addRule(linked);
    }
    EXPECT_EQ(filters(), expected);
    EXPECT_NE(applyRuleToAll(session, 1), link);
}

TEST_F(FilterPropagationTest, ALinkedRuleReplacesTheFirstCopyOrIsAppended) {
    changeActiveRule(1, [](FilterRule& rule) { rule.inverted = true; });
    std::vector<EventFilter> expected = filters();
    const FilterRule rule = active().filter.rules()[1];
    expected[0].setRule(2, rule);
    expected[2].setRule(1, rule);
    expected[3].addRule(rule);
    EXPECT_EQ(applyRuleToAll(session, 1), "{range}");
    EXPECT_EQ(filters(), expected);
}

TEST_F(FilterPropagationTest, AnUpdateLeavesPeersWithoutACopyAlone) {
    changeActiveRule(2, [](FilterRule& rule) {
        rule.polygonVertices.emplace_back(-0.0, std::numeric_limits<double>::denorm_min());
        rule.scaleYMode = 2;
        rule.enabled = false;
    });
    std::vector<EventFilter> expected = filters();
    const FilterRule rule = active().filter.rules()[2];
    expected[0].setRule(0, rule);
    expected[2].setRule(2, rule);
    EXPECT_TRUE(updateRuleInAll(session, 2));
    EXPECT_EQ(filters(), expected);
}

TEST_F(FilterPropagationTest, ACheckMarkChangesNothingElse) {
    changeActiveRule(1, [](FilterRule& rule) { rule.maxValue = 99; });
    for (const bool on : {false, true}) {
        std::vector<EventFilter> expected = filters();
        const auto set = [on](FilterRule& rule) { rule.enabled = on; };
        changeRule(expected[0], 2, set);
        changeRule(expected[1], 1, set);
        changeRule(expected[2], 1, set);
        EXPECT_TRUE(setRuleEnabledInAll(session, 1, on));
        EXPECT_EQ(filters(), expected) << on;
    }
}

TEST_F(FilterPropagationTest, ADeletionTakesOneRuleOutOfEachAndKeepsTheOrder) {
    std::vector<EventFilter> expected = filters();
    expected[0].removeRule(2);
    expected[1].removeRule(1);
    expected[2].removeRule(1);
    EXPECT_TRUE(deleteRuleFromAll(session, 1));
    EXPECT_EQ(filters(), expected);
}

TEST_F(FilterPropagationTest, SwitchesGoToPeersOnly) {
    std::vector<EventFilter> expected = filters();
    for (const std::size_t peer : {0U, 2U, 3U}) {
        expected[peer].setEnabled(false);
        expected[peer].setCombineMode(1);
    }
    EXPECT_TRUE(setFilteringEnabledInAll(session, false));
    EXPECT_TRUE(setCombineModeInAll(session, 1));
    EXPECT_EQ(filters(), expected);
}

TEST_F(FilterPropagationTest, EachOperationIsToldOnceWhenAllRecordsHaveChanged) {
    const std::vector<std::function<bool()>> operations{
        [this] { return applyFilterToAll(session); },
        [this] { return !applyRuleToAll(session, 1).empty(); },
        [this] { return updateRuleInAll(session, 1); },
        [this] { return setRuleEnabledInAll(session, 1, false); },
        [this] { return setFilteringEnabledInAll(session, false); },
        [this] { return setCombineModeInAll(session, 1); },
        [this] { return deleteRuleFromAll(session, 1); },
    };
    for (std::size_t i = 0; i < operations.size(); ++i) {
        std::vector<std::vector<EventFilter>> seen;
        const auto listening =
            QObject::connect(&session.notices(), &SessionNotices::eventsChanged, [&] { seen.push_back(filters()); });
        EXPECT_TRUE(operations[i]());
        QObject::disconnect(listening);
        EXPECT_EQ(seen, std::vector<std::vector<EventFilter>>(1, filters())) << "operation " << i;
    }
}

TEST_F(FilterPropagationTest, WithoutLinkRuleOrActiveDatasetNothingHappens) {
    const std::vector<EventFilter> before = filters();
    QSignalSpy told(&session.notices(), &SessionNotices::eventsChanged);
    EXPECT_FALSE(updateRuleInAll(session, 0) || setRuleEnabledInAll(session, 0, false) || deleteRuleFromAll(session, 0))
        << "the rule is local";
    for (const int index : {-1, 3}) {
        EXPECT_FALSE(updateRuleInAll(session, index) || setRuleEnabledInAll(session, index, false) ||
                     deleteRuleFromAll(session, index));
        EXPECT_EQ(applyRuleToAll(session, index), "");
    }
    session.setActive(-1);
    EXPECT_FALSE(applyFilterToAll(session) || updateRuleInAll(session, 1) || setRuleEnabledInAll(session, 1, false) ||
                 deleteRuleFromAll(session, 1) || setFilteringEnabledInAll(session, false) ||
                 setCombineModeInAll(session, 1));
    EXPECT_EQ(applyRuleToAll(session, 1), "");
    EXPECT_EQ(filters(), before);
    EXPECT_EQ(told.size(), 0);
}

TEST_F(FilterPropagationTest, MarksShowWhichSwitchesDiffer) {
    at(0).filter = {};
    EXPECT_FALSE(peerMarks(session).filteringDiffers || peerMarks(session).combineModeDiffers);
    at(3).filter.setEnabled(false);
    EXPECT_TRUE(peerMarks(session).filteringDiffers);
    EXPECT_FALSE(peerMarks(session).combineModeDiffers);
    at(3).filter.setEnabled(true);
    at(0).filter.setCombineMode(1);
    EXPECT_FALSE(peerMarks(session).filteringDiffers);
    EXPECT_TRUE(peerMarks(session).combineModeDiffers);
    session.setActive(-1);
    EXPECT_EQ(peerMarks(session), PeerMarks());
}

TEST_F(FilterPropagationTest, MarksShowInWhatCopiesDiffer) {
    const double nan = std::numeric_limits<double>::quiet_NaN();
    constexpr RuleMarks same{false, false};
    constexpr RuleMarks switched{true, false};
    constexpr RuleMarks reshaped{false, true};
    const struct {
        const char* what;
        int rule;
        std::function<void(FilterRule&)> change;
        RuleMarks expected;
    } cases[] = {
        {"nothing", 1, [](FilterRule&) {}, same},
        {"switch", 1, [](FilterRule& r) { r.enabled = false; }, switched},
        {"both", 1, [](FilterRule& r) { r.enabled = false, r.maxValue = 5; }, {true, true}},
        {"inversion", 1, [](FilterRule& r) { r.inverted = true; }, reshaped},
        {"lower bound", 1, [](FilterRule& r) { r.minValue = 3.0000000000000004; }, reshaped},
        {"upper bound", 1, [](FilterRule& r) { r.maxValue = 5; }, reshaped},
        {"what a range doesn't use", 1, [](FilterRule& r) { r.polygonVertices.emplace_back(1, 1), r.scaleXMode = 2; },
         same},
        {"polygon's switch", 2, [](FilterRule& r) { r.enabled = false; }, switched},
        {"polygon's inversion", 2, [](FilterRule& r) { r.inverted = true; }, reshaped},
        {"corner", 2, [](FilterRule& r) { r.polygonVertices[2].second = 0.31; }, reshaped},
        {"corner that is none", 2, [nan](FilterRule& r) { r.polygonVertices[0].first = nan; }, reshaped},
        {"number of corners", 2, [](FilterRule& r) { r.polygonVertices.emplace_back(1, 1); }, reshaped},
        {"x axis", 2, [](FilterRule& r) { r.scaleXMode = 0; }, reshaped},
        {"y axis", 2, [](FilterRule& r) { r.scaleYMode = 2; }, reshaped},
        {"what a polygon doesn't use", 2, [](FilterRule& r) { r.minValue = r.maxValue = 7; }, same},
        {"link", 2, [](FilterRule& r) { r.propagationId = "{other}", r.inverted = true; }, same},
        {"local rule", 0, [](FilterRule& r) { r.inverted = true; }, same},
    };
    at(0).filter = {};
    const EventFilter original = active().filter;
    for (const auto& c : cases) {
        at(2).filter = original;
        changeRule(at(2).filter, c.rule, c.change);
        std::vector<RuleMarks> expected(3, same);
        expected[static_cast<std::size_t>(c.rule)] = c.expected;
        EXPECT_EQ(peerMarks(session).rules, expected) << c.what;
    }
    at(2).filter = original;
    changeActiveRule(2, [nan](FilterRule& r) { r.polygonVertices[1].second = nan; });
    applyRuleToAll(session, 2);
    EXPECT_EQ(peerMarks(session).rules[2], reshaped) << "not a number differs from itself";
}

TEST_F(FilterPropagationTest, OnlyPeersThatHaveTheFeaturesAreCompared) {
    // The first dataset's range differs, and so would its polygon, but it lacks one of the polygon's features.
    changeRule(at(0).filter, 0, [](FilterRule& rule) { rule.inverted = true; });
    EXPECT_EQ(peerMarks(session).rules, (std::vector<RuleMarks>{{}, {false, true}, {}}));
    changeActiveRule(2, [](FilterRule& rule) { std::swap(rule.featureName, rule.featureNameY); });
    EXPECT_EQ(peerMarks(session).rules[2], RuleMarks()) << "neither as x nor as y";
    changeActiveRule(2, [](FilterRule& rule) { rule.featureName = "area_um"; });
    EXPECT_TRUE(peerMarks(session).rules[2].parametersDiffer) << "here it has both";
    at(0).reader.reset();
    EXPECT_EQ(peerMarks(session).rules[1], RuleMarks());
}

TEST_F(FilterPropagationTest, TheFirstPeerThatIsCheckedOtherwiseEndsTheComparison) {
    changeRule(at(0).filter, 2, [](FilterRule& rule) { rule = rangeRule("area_um", 3, 4, "{range}"); });
    at(3).filter.addRule(rangeRule("area_um", 3, 99, "{range}"));
    EXPECT_EQ(peerMarks(session).rules[1], (RuleMarks{false, true}));
    changeRule(at(2).filter, 1, [](FilterRule& rule) { rule.enabled = false; });
    EXPECT_EQ(peerMarks(session).rules[1], (RuleMarks{true, false}));
}

} // namespace
