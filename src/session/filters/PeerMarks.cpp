#include "session/filters/PeerMarks.h"

#include "io/VQDReader.h"
#include "session/Session.h"
#include "session/filters/FilterPropagation.h"

namespace Tessaly {

namespace {

/// Whether the gates differ, not their switches. NaN differs from everything, as comparison has it.
bool parametersDiffer(const FilterRule& own, const FilterRule& copy) {
    if (own.inverted != copy.inverted) {
        return true;
    }
    if (own.type == FilterRule::Polygon) {
        return own.polygonVertices != copy.polygonVertices || own.scaleXMode != copy.scaleXMode ||
               own.scaleYMode != copy.scaleYMode;
    }
    return own.minValue != copy.minValue || own.maxValue != copy.maxValue;
}

bool hasFeaturesOf(const FilterRule& rule, const DatasetEntry& entry) {
    return entry.reader && entry.reader->hasFeature(rule.featureName) &&
           (rule.type != FilterRule::Polygon || entry.reader->hasFeature(rule.featureNameY));
}

RuleMarks marksOf(const FilterRule& rule, const DatasetEntry* active, const Session& session) {
    RuleMarks marks;
    if (rule.propagationId.empty()) {
        return marks;
    }
    for (const auto& peer : session.datasets()) {
        if (peer.get() == active) {
            continue;
        }
        const int index = linkedRule(peer->filter, rule.propagationId);
        if (index < 0 || !hasFeaturesOf(rule, *peer)) {
            continue;
        }
        const FilterRule& copy = peer->filter.rules()[static_cast<std::size_t>(index)];
        marks.parametersDiffer |= parametersDiffer(rule, copy);
        if (rule.enabled != copy.enabled) {
            marks.enabledDiffers = true;
            break;
        }
    }
    return marks;
}

} // namespace

PeerMarks peerMarks(const Session& session) {
    PeerMarks marks;
    const DatasetEntry* active = session.active();
    if (!active) {
        return marks;
    }
    for (const auto& peer : session.datasets()) {
        marks.filteringDiffers |= peer->filter.isEnabled() != active->filter.isEnabled();
        marks.combineModeDiffers |= peer->filter.combineMode() != active->filter.combineMode();
    }
    for (const FilterRule& rule : active->filter.rules()) {
        marks.rules.push_back(marksOf(rule, active, session));
    }
    return marks;
}

} // namespace Tessaly
