#include "batch/GateCounts.h"

#include "core/DatasetEntry.h"
#include "io/VQDReader.h"
#include "session/Session.h"

#include <algorithm>

namespace Tessaly {

namespace {

std::string inOneCell(std::string text) {
    std::ranges::replace_if(
        text, [](char c) { return c == '\t' || c == '\n' || c == '\r'; }, ' ');
    return text;
}

/// "Living cells: area_um" or "deform, area_um polygon".
std::string nameOf(const PlanGate& gate, const FilterRule& rule) {
    std::string name = gate.name.empty() ? std::string() : gate.name + ": ";
    name += rule.featureName;
    if (rule.type == FilterRule::Polygon) {
        name += ", " + rule.featureNameY + " polygon";
    }
    return inOneCell(rule.inverted ? name + " inverted" : name);
}

std::size_t countOf(const DatasetEntry& dataset, const EventFilter& filter) {
    const std::optional<std::vector<int>> events = Session::passingEvents(dataset, filter);
    return events ? events->size() : dataset.reader->eventCount();
}

} // namespace

GateCounts gateCounts(const DatasetEntry& dataset, const BatchPlan& plan) {
    GateCounts counts{"Dataset\tEvents\tPassed", inOneCell(dataset.displayName.toStdString())};
    const auto add = [&counts](const std::string& cell) { counts.line.append("\t").append(cell); };
    add(std::to_string(dataset.reader->eventCount()));
    add(std::to_string(countOf(dataset, filterOf(plan))));
    for (const PlanGate& gate : plan.gates) {
        for (const FilterRule& rule : gate.rules) {
            if (!rule.enabled) {
                continue;
            }
            counts.heading.append("\t").append(nameOf(gate, rule));
            EventFilter alone;
            alone.addRule(rule);
            const std::vector<std::string> features = alone.requiredFeatures();
            const bool takesPart = std::ranges::all_of(
                features, [&dataset](const std::string& feature) { return dataset.reader->hasFeature(feature); });
            add(takesPart ? std::to_string(countOf(dataset, alone)) : std::string());
        }
    }
    return counts;
}

} // namespace Tessaly
