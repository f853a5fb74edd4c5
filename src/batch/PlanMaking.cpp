#include "batch/PlanMaking.h"

#include "core/DatasetEntry.h"
#include "session/CalculationJobs.h"
#include "session/Session.h"
#include "session/filters/GroupFile.h"

#include <QStringList>

#include <algorithm>
#include <cmath>
#include <iterator>
#include <set>

namespace Tessaly {

namespace {

/// Whether a rule can take part at all: one that is still being set up has no feature or too few corners.
bool isComplete(const FilterRule& rule) {
    return !rule.featureName.empty() &&
           (rule.type == FilterRule::Range || (!rule.featureNameY.empty() && rule.polygonVertices.size() >= 3));
}

void addGate(BatchPlan& plan, const std::string& name, const std::vector<FilterRule>& rules) {
    PlanGate gate{name, {}};
    std::ranges::copy_if(rules, std::back_inserter(gate.rules), isComplete);
    if (!gate.rules.empty()) {
        plan.gates.push_back(std::move(gate));
    }
}

void takeFilter(BatchPlan& plan, const EventFilter& filter) {
    plan.filterEnabled = filter.isEnabled();
    plan.combineMode = filter.combineMode();
    addGate(plan, {}, filter.rules());
}

/// The first gate without a name, made if there is none: it comes before the groups.
PlanGate& ownGate(BatchPlan& plan) {
    const auto found = std::ranges::find_if(plan.gates, [](const PlanGate& gate) { return gate.name.empty(); });
    return found != plan.gates.end() ? *found : *plan.gates.insert(plan.gates.begin(), PlanGate());
}

} // namespace

void takeDataset(BatchPlan& plan, const Session& session, const DatasetEntry& dataset,
                 const FLRefinementParams& refinement, const EModulusSettings& modulus) {
    takeFilter(plan, dataset.filter);
    for (const auto& group : session.filterGroups()) {
        if (session.isGroupEnabled(&dataset, group->id)) {
            addGate(plan, group->name, group->rules);
        }
    }
    if (dataset.flRefinementApplied) {
        plan.refinement = refinement;
    }
    if (dataset.ctcApplied && dataset.ctcChannels.size() >= 2) {
        plan.compensation = PlanCompensation{dataset.ctcChannels, dataset.spilloverMatrix};
    }
    plan.fourier = dataset.fourierApplied;
    if (dataset.emodApplied) {
        plan.modulus = modulus;
    }
}

void takeDataset(BatchPlan& plan, const SessionDocument& document, int index) {
    const SessionDataset& dataset = document.datasets.at(static_cast<std::size_t>(index));
    takeFilter(plan, dataset.filter);
    std::set<int> enabled;
    for (const auto& [id, isOn] : dataset.groupEnabled) {
        if (isOn) {
            enabled.insert(id);
        }
    }
    for (const FilterGroup& group : document.filterGroups) {
        if (enabled.contains(group.id)) {
            addGate(plan, group.name, group.rules);
        }
    }
    if (dataset.flRefinementApplied) {
        plan.refinement.emplace();
    }
    const std::size_t width = dataset.ctcChannels.size();
    if (dataset.ctcApplied && width >= 2 && dataset.spilloverMatrix.size() == width * width) {
        plan.compensation.emplace().channels = dataset.ctcChannels;
        for (auto row = dataset.spilloverMatrix.begin(); row != dataset.spilloverMatrix.end();
             row += static_cast<std::ptrdiff_t>(width)) {
            plan.compensation->matrix.emplace_back(row, row + static_cast<std::ptrdiff_t>(width));
        }
    }
    if (dataset.emodApplied) {
        plan.modulus.emplace();
    }
}

QString takeGroupFile(BatchPlan& plan, const QString& path) {
    Session session;
    const GroupFileOutcome outcome = importFilterGroups(session, path);
    if (!outcome.failure.isEmpty() || !outcome.remark.isEmpty()) {
        return (outcome.failure.isEmpty() ? outcome.remark : outcome.failure).split('\n').first();
    }
    for (const auto& group : session.filterGroups()) {
        addGate(plan, group->name, group->rules);
    }
    return {};
}

bool takeRange(BatchPlan& plan, const QString& text) {
    const QStringList parts = text.split(',');
    if (parts.size() != 3 || parts[0].trimmed().isEmpty()) {
        return false;
    }
    FilterRule rule;
    rule.featureName = parts[0].trimmed().toStdString();
    bool isLower = false;
    bool isUpper = false;
    rule.minValue = parts[1].trimmed().toDouble(&isLower);
    rule.maxValue = parts[2].trimmed().toDouble(&isUpper);
    if (!isLower || !isUpper || std::isnan(rule.minValue) || std::isnan(rule.maxValue)) {
        return false;
    }
    ownGate(plan).rules.push_back(std::move(rule));
    return true;
}

std::vector<std::string> proposedFeatures(const BatchPlan& plan, const PlotSettings& plot) {
    std::vector<std::string> features;
    const auto add = [&features](const std::string& feature) {
        if (!feature.empty() && std::ranges::find(features, feature) == features.end()) {
            features.push_back(feature);
        }
    };
    add(plot.xFeatureName);
    add(plot.yFeatureName);
    for (const std::string& feature : filterOf(plan).requiredFeatures()) {
        add(feature);
    }
    if (plan.modulus) {
        add("emodulus");
    }
    if (plan.fourier) {
        for (const char* feature : {"deform_odd", "deform_even", "deform_fc"}) {
            add(feature);
        }
    }
    return features;
}

} // namespace Tessaly
