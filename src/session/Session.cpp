#include "session/Session.h"

#include "core/FeatureCatalogue.h"
#include "io/VQDReader.h"

#include <QCoreApplication>

#include <algorithm>

namespace Tessaly {

Session::Session() = default;
Session::~Session() = default;

DatasetEntry* Session::datasetAt(int row) const {
    return row >= 0 && row < datasetCount() ? datasets_[static_cast<std::size_t>(row)].get() : nullptr;
}

DatasetEntry* Session::findById(int id) const {
    return datasetAt(rowOf(id));
}

DatasetEntry* Session::findByPath(const std::string& filePath) const {
    const auto found =
        std::ranges::find(datasets_, filePath, [](const auto& entry) -> const std::string& { return entry->filePath; });
    return found == datasets_.end() ? nullptr : found->get();
}

int Session::rowOf(int id) const {
    const auto found = std::ranges::find(datasets_, id, [](const auto& entry) { return entry->id; });
    return found == datasets_.end() ? -1 : static_cast<int>(found - datasets_.begin());
}

std::unique_ptr<DatasetEntry> Session::newEntry() {
    auto entry = std::make_unique<DatasetEntry>();
    entry->id = nextDatasetId_++;
    return entry;
}

int Session::append(std::unique_ptr<DatasetEntry> entry) {
    datasets_.push_back(std::move(entry));
    return datasetCount() - 1;
}

void Session::remove(int row) {
    if (!datasetAt(row)) {
        return;
    }
    datasets_.erase(datasets_.begin() + row);
    if (row == activeRow_) {
        activeRow_ = -1;
    } else if (row < activeRow_) {
        --activeRow_;
    }
}

bool Session::move(int fromRow, int toRow) {
    if (!datasetAt(fromRow) || toRow < 0 || toRow > datasetCount() || toRow == fromRow || toRow == fromRow + 1) {
        return false;
    }
    const int activeDataset = activeId();
    const auto first = datasets_.begin();
    if (toRow > fromRow) {
        std::rotate(first + fromRow, first + fromRow + 1, first + toRow);
    } else {
        std::rotate(first + toRow, first + fromRow, first + fromRow + 1);
    }
    activeRow_ = rowOf(activeDataset);
    return true;
}

int Session::duplicate(int row) {
    const DatasetEntry* source = datasetAt(row);
    if (!source || !source->featuresLoaded) {
        return -1;
    }
    auto copy = newEntry();
    copy->reader = source->reader;
    copy->metadata = source->metadata;
    copy->filePath = source->filePath;
    copy->displayName = source->displayName + " (copy)";
    storePlotSettings(plotSettingsOf(*source), *copy);
    copy->currentEventIndex = source->currentEventIndex;
    copy->filter = source->filter;
    copy->featuresLoaded = true;
    return append(std::move(copy));
}

void Session::clear() {
    activeRow_ = -1;
    datasets_.clear();
    filterGroups_.clear();
    nextGroupId_ = 0;
}

void Session::setActiveRow(int row) {
    activeRow_ = datasetAt(row) ? row : -1;
}

int Session::activeId() const {
    const DatasetEntry* entry = active();
    return entry ? entry->id : -1;
}

FilterGroup* Session::findFilterGroup(int id) const {
    const auto found = std::ranges::find(filterGroups_, id, [](const auto& group) { return group->id; });
    return found == filterGroups_.end() ? nullptr : found->get();
}

int Session::addFilterGroup(const std::string& name) {
    auto group = std::make_unique<FilterGroup>();
    group->id = nextGroupId_++;
    group->name =
        name.empty()
            ? QCoreApplication::translate("Tessaly::Session", "Filter group %1").arg(nextGroupId_).toStdString()
            : name;
    const int id = group->id;
    for (const auto& dataset : datasets_) {
        dataset->groupEnabled[id] = false;
    }
    filterGroups_.push_back(std::move(group));
    return id;
}

void Session::addRuleToGroup(int groupId, const FilterRule& rule) {
    if (FilterGroup* group = findFilterGroup(groupId)) {
        group->rules.push_back(rule);
        group->rules.back().propagationId.clear();
    }
}

bool Session::isGroupEnabled(const DatasetEntry* dataset, int groupId) const {
    if (!dataset) {
        return false;
    }
    const auto found = dataset->groupEnabled.find(groupId);
    return found != dataset->groupEnabled.end() && found->second;
}

void Session::setGroupEnabled(int datasetId, int groupId, bool on) {
    if (DatasetEntry* dataset = findById(datasetId)) {
        dataset->groupEnabled[groupId] = on;
    }
}

EventFilter Session::buildEffectiveFilter(const DatasetEntry* dataset) const {
    if (!dataset) {
        return {};
    }
    EventFilter effective = dataset->filter;
    for (const auto& group : filterGroups_) {
        if (!isGroupEnabled(dataset, group->id)) {
            continue;
        }
        for (const FilterRule& rule : group->rules) {
            effective.addRule(rule);
        }
    }
    return effective;
}

std::optional<std::vector<int>> Session::passingEvents(const DatasetEntry& dataset) const {
    const EventFilter effective = buildEffectiveFilter(&dataset);
    if (!effective.isEnabled() || effective.ruleCount() < 1) {
        return std::nullopt;
    }
    if (!dataset.reader) {
        return std::vector<int>();
    }
    ColumnMap columns;
    for (const std::string& feature : effective.requiredFeatures()) {
        // Pictures are not columns, though a rule from a file may name them.
        if (isScalarFeature(feature)) {
            columns.emplace(feature, &dataset.reader->getFeature(feature));
        }
    }
    return effective.evaluate(columns, dataset.reader->eventCount());
}

bool Session::activeMatchesAllPeers(const PlotSettings& shown, const DatasetEntry* excluded) const {
    const DatasetEntry* activeEntry = active();
    if (!activeEntry) {
        return true;
    }
    return std::ranges::all_of(datasets_, [&](const auto& peer) {
        return peer.get() == activeEntry || peer.get() == excluded || plotSettingsOf(*peer) == shown;
    });
}

void Session::inheritPeerSettings(DatasetEntry& entry, const PlotSettings& controls) const {
    if (datasetCount() < 2) {
        return;
    }
    const DatasetEntry* model = active();
    if (!model) {
        const auto other = std::ranges::find_if(datasets_, [&](const auto& peer) { return peer.get() != &entry; });
        model = other->get();
    }
    if (model == &entry) {
        return;
    }
    const auto peersAgree = [&](auto property) {
        return std::ranges::all_of(datasets_, [&](const auto& peer) {
            return peer.get() == &entry || (peer->filter.*property)() == (model->filter.*property)();
        });
    };
    if (peersAgree(&EventFilter::isEnabled)) {
        entry.filter.setEnabled(model->filter.isEnabled());
    }
    if (peersAgree(&EventFilter::combineMode)) {
        entry.filter.setCombineMode(model->filter.combineMode());
    }
    for (const FilterRule& rule : model->filter.rules()) {
        if (!rule.propagationId.empty()) {
            entry.filter.addRule(rule);
        }
    }
    if (activeMatchesAllPeers(controls, &entry)) {
        copyPlotSettings(active() ? controls : plotSettingsOf(*model), entry);
    }
}

void Session::applyPlotSettingsToPeers(const PlotSettings& settings) {
    for (const auto& peer : datasets_) {
        if (peer.get() != active()) {
            copyPlotSettings(settings, *peer);
        }
    }
}

} // namespace Tessaly
