#include "session/filters/FilterPropagation.h"

#include "session/Session.h"

#include <QUuid>

#include <algorithm>
#include <optional>

namespace Tessaly {

namespace {

/// Runs an action on the filter of every dataset but the active one, then tells that other events may pass. Without an
/// active one it does nothing and returns false.
template <typename Action>
bool forEachPeer(Session& session, Action action) {
    const DatasetEntry* active = session.active();
    if (!active) {
        return false;
    }
    for (const auto& peer : session.datasets()) {
        if (peer.get() != active) {
            action(peer->filter);
        }
    }
    emit session.notices().eventsChanged();
    return true;
}

/// A copy of one of the active dataset's rules. A copy, since the operations change the list that it stands in.
std::optional<FilterRule> activeRule(const Session& session, int ruleIndex) {
    const DatasetEntry* active = session.active();
    if (!active || ruleIndex < 0 || ruleIndex >= active->filter.ruleCount()) {
        return std::nullopt;
    }
    return active->filter.rules()[static_cast<std::size_t>(ruleIndex)];
}

std::optional<FilterRule> activeLinkedRule(const Session& session, int ruleIndex) {
    std::optional<FilterRule> rule = activeRule(session, ruleIndex);
    return rule && !rule->propagationId.empty() ? rule : std::nullopt;
}

} // namespace

int linkedRule(const EventFilter& filter, const std::string& propagationId) {
    if (propagationId.empty()) {
        return -1;
    }
    const auto& rules = filter.rules();
    const auto found = std::ranges::find(rules, propagationId, &FilterRule::propagationId);
    return found == rules.end() ? -1 : static_cast<int>(found - rules.begin());
}

bool applyFilterToAll(Session& session) {
    const DatasetEntry* active = session.active();
    return forEachPeer(session, [active](EventFilter& filter) { filter = active->filter; });
}

std::string applyRuleToAll(Session& session, int ruleIndex) {
    std::optional<FilterRule> rule = activeRule(session, ruleIndex);
    if (!rule) {
        return {};
    }
    if (rule->propagationId.empty()) {
        rule->propagationId = QUuid::createUuid().toString().toStdString();
        session.active()->filter.setRule(ruleIndex, *rule);
    }
    forEachPeer(session, [&](EventFilter& filter) {
        const int index = linkedRule(filter, rule->propagationId);
        if (index >= 0) {
            filter.setRule(index, *rule);
        } else {
            filter.addRule(*rule);
        }
    });
    return rule->propagationId;
}

bool updateRuleInAll(Session& session, int ruleIndex) {
    const std::optional<FilterRule> rule = activeLinkedRule(session, ruleIndex);
    return rule && forEachPeer(session, [&](EventFilter& filter) {
               filter.setRule(linkedRule(filter, rule->propagationId), *rule);
           });
}

bool setRuleEnabledInAll(Session& session, int ruleIndex, bool on) {
    const std::optional<FilterRule> rule = activeLinkedRule(session, ruleIndex);
    if (!rule) {
        return false;
    }
    const auto setEnabled = [on](EventFilter& filter, int index) {
        if (index >= 0) {
            FilterRule changed = filter.rules()[static_cast<std::size_t>(index)];
            changed.enabled = on;
            filter.setRule(index, changed);
        }
    };
    setEnabled(session.active()->filter, ruleIndex);
    return forEachPeer(session,
                       [&](EventFilter& filter) { setEnabled(filter, linkedRule(filter, rule->propagationId)); });
}

bool deleteRuleFromAll(Session& session, int ruleIndex) {
    const std::optional<FilterRule> rule = activeLinkedRule(session, ruleIndex);
    if (!rule) {
        return false;
    }
    session.active()->filter.removeRule(ruleIndex);
    return forEachPeer(session,
                       [&](EventFilter& filter) { filter.removeRule(linkedRule(filter, rule->propagationId)); });
}

bool setFilteringEnabledInAll(Session& session, bool on) {
    return forEachPeer(session, [on](EventFilter& filter) { filter.setEnabled(on); });
}

bool setCombineModeInAll(Session& session, int mode) {
    return forEachPeer(session, [mode](EventFilter& filter) { filter.setCombineMode(mode); });
}

} // namespace Tessaly
