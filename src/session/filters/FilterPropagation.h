#pragma once

#include "core/EventFilter.h"

#include <string>

namespace Tessaly {

class Session;

/// Carrying a rule, a switch or a whole filter from the active dataset to its peers, which are all others, ready or
/// not. Copies of a rule in different datasets are linked by equal, non-empty `propagationId`s; of several rules of one
/// dataset with the same id the first counts. Peers get rules on features that they lack, too; duplicates have filters
/// of their own and are peers like any other.
///
/// Every operation changes the records first and then tells eventsChanged() once, through the session's notices.
/// Without an active dataset, for a rule index outside its list, or without the link that an operation needs, nothing
/// happens, nothing is told, and the result is false. O(datasets x rules), user interface thread only.

/// Index of the first rule with a link, -1 if there is none or the link is empty.
int linkedRule(const EventFilter& filter, const std::string& propagationId);

/// Peers take over the active dataset's filter as a whole: its switch, its combine mode and its rules instead of
/// theirs.
bool applyFilterToAll(Session& session);

/// Links a rule and gives every peer a copy: in place of its linked rule, else behind its rules.
/// @return the rule's link; empty if there was nothing to do
std::string applyRuleToAll(Session& session, int ruleIndex);

/// Replaces the linked rule in all peers that have one.
bool updateRuleInAll(Session& session, int ruleIndex);

/// Checks or unchecks the rule and the linked rules of all peers; all else in them stays.
bool setRuleEnabledInAll(Session& session, int ruleIndex, bool on);

/// Removes the rule and the linked rules of all peers.
bool deleteRuleFromAll(Session& session, int ruleIndex);

/// Switches the filtering of all peers on or off as a whole.
bool setFilteringEnabledInAll(Session& session, bool on);

/// Gives all peers a combine mode, see EventFilter.
bool setCombineModeInAll(Session& session, int mode);

} // namespace Tessaly
