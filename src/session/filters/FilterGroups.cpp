#include "session/filters/FilterGroups.h"

#include "session/Session.h"

#include <algorithm>

namespace Tessaly {

namespace {

void tellSwitched(Session& session) {
    emit session.notices().groupsChanged();
    emit session.notices().eventsChanged();
}

/// A group that has a rule of this index, or null.
FilterGroup* groupWithRule(const Session& session, int groupId, int ruleIndex) {
    FilterGroup* group = session.findFilterGroup(groupId);
    return group && ruleIndex >= 0 && static_cast<std::size_t>(ruleIndex) < group->rules.size() ? group : nullptr;
}

} // namespace

bool renameFilterGroup(Session& session, int groupId, const std::string& name) {
    FilterGroup* group = session.findFilterGroup(groupId);
    if (!group) {
        return false;
    }
    group->name = name;
    emit session.notices().groupsChanged();
    return true;
}

bool storeRuleInGroup(Session& session, int groupId, int ruleIndex, const FilterRule& rule) {
    FilterGroup* group = groupWithRule(session, groupId, ruleIndex);
    if (!group) {
        return false;
    }
    FilterRule& changed = group->rules[static_cast<std::size_t>(ruleIndex)];
    changed = rule;
    changed.propagationId.clear();
    return true;
}

bool updateRuleInGroup(Session& session, int groupId, int ruleIndex, const FilterRule& rule) {
    if (!storeRuleInGroup(session, groupId, ruleIndex, rule)) {
        return false;
    }
    emit session.notices().eventsChanged();
    return true;
}

bool removeRuleFromGroup(Session& session, int groupId, int ruleIndex) {
    FilterGroup* group = groupWithRule(session, groupId, ruleIndex);
    if (!group) {
        return false;
    }
    group->rules.erase(group->rules.begin() + ruleIndex);
    tellSwitched(session);
    return true;
}

bool isGroupEnabledInAll(const Session& session, int groupId) {
    return std::ranges::all_of(session.datasets(),
                               [&](const auto& dataset) { return session.isGroupEnabled(dataset.get(), groupId); });
}

bool setGroupEnabledInAll(Session& session, int groupId, bool on) {
    if (!session.findFilterGroup(groupId)) {
        return false;
    }
    for (const auto& dataset : session.datasets()) {
        dataset->groupEnabled[groupId] = on;
    }
    tellSwitched(session);
    return true;
}

bool toggleGroupInAll(Session& session, int groupId) {
    return setGroupEnabledInAll(session, groupId, !isGroupEnabledInAll(session, groupId));
}

bool toggleAllGroups(Session& session, int datasetId) {
    DatasetEntry* dataset = session.findById(datasetId);
    if (!dataset || session.filterGroups().empty()) {
        return false;
    }
    const bool on = std::ranges::any_of(session.filterGroups(),
                                        [&](const auto& group) { return !session.isGroupEnabled(dataset, group->id); });
    for (const auto& group : session.filterGroups()) {
        dataset->groupEnabled[group->id] = on;
    }
    tellSwitched(session);
    return true;
}

} // namespace Tessaly
