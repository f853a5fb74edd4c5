#pragma once

#include "core/FilterRule.h"

#include <string>

namespace Tessaly {

class Session;

/// Operations on filter groups and their switches, beside those that Session has itself. A rule of a group never has a
/// link to rules of datasets.
///
/// Each tells the session's notices once what it changed, records first: groupsChanged() if lists of groups or their
/// switches have to be shown anew, then eventsChanged() if other events may pass. An unknown group or an index outside
/// its rules changes nothing, tells nothing and returns false. User interface thread only.

bool renameFilterGroup(Session& session, int groupId, const std::string& name);

/// Replaces a rule and tells nothing: for a rule that is being typed. The caller tells eventsChanged(), if not at once.
bool storeRuleInGroup(Session& session, int groupId, int ruleIndex, const FilterRule& rule);

/// Replaces a rule. Tells eventsChanged() only, so that the row in which it is being edited isn't made anew.
bool updateRuleInGroup(Session& session, int groupId, int ruleIndex, const FilterRule& rule);

bool removeRuleFromGroup(Session& session, int groupId, int ruleIndex);

/// Whether every dataset has the group switched on; true without datasets.
bool isGroupEnabledInAll(const Session& session, int groupId);

bool setGroupEnabledInAll(Session& session, int groupId, bool on);

/// Switches a group on in all datasets; off in all if all of them have it on.
bool toggleGroupInAll(Session& session, int groupId);

/// Switches every group on for a dataset; off if it has all of them on. False for an unknown dataset or without groups.
bool toggleAllGroups(Session& session, int datasetId);

} // namespace Tessaly
