#include "session/Session.h"

#include "core/FeatureCatalogue.h"
#include "io/VQDReader.h"
#include "session/PlotChoices.h"

#include <QCoreApplication>

#include <algorithm>
#include <limits>
#include <unordered_map>
#include <unordered_set>
#include <utility>

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
    if (id < 0) {
        return -1; // asked for often while nothing is active
    }
    const auto found = std::ranges::find(datasets_, id, [](const auto& entry) { return entry->id; });
    return found == datasets_.end() ? -1 : static_cast<int>(found - datasets_.begin());
}

std::unique_ptr<DatasetEntry> Session::newEntry() {
    auto entry = std::make_unique<DatasetEntry>();
    entry->id = nextDatasetId_++;
    return entry;
}

DatasetEntry& Session::append(std::unique_ptr<DatasetEntry> entry) {
    DatasetEntry& appended = *entry;
    datasets_.push_back(std::move(entry));
    emit notices_.datasetsChanged();
    return appended;
}

void Session::remove(int id) {
    const int row = rowOf(id);
    if (row < 0) {
        return;
    }
    // Listeners let go of the record before it is gone.
    const std::unique_ptr<DatasetEntry> removed = std::move(datasets_[static_cast<std::size_t>(row)]);
    datasets_.erase(datasets_.begin() + row);
    const bool wasActive = id == activeId_;
    if (wasActive) {
        const DatasetEntry* next = datasetAt(std::min(row, datasetCount() - 1));
        activeId_ = next ? next->id : -1;
    }
    emit notices_.datasetRemoved(id);
    emit notices_.datasetsChanged();
    if (wasActive) {
        emit notices_.activeChanged(activeId_);
    }
}

bool Session::move(int id, int toRow) {
    const int fromRow = rowOf(id);
    if (fromRow < 0 || toRow < 0 || toRow > datasetCount() || toRow == fromRow || toRow == fromRow + 1) {
        return false;
    }
    const auto first = datasets_.begin();
    if (toRow > fromRow) {
        std::rotate(first + fromRow, first + fromRow + 1, first + toRow);
    } else {
        std::rotate(first + toRow, first + fromRow, first + fromRow + 1);
    }
    emit notices_.datasetsChanged();
    return true;
}

int Session::duplicate(int id) {
    const DatasetEntry* source = findById(id);
    if (!source || !source->featuresLoaded) {
        return -1;
    }
    auto copy = newEntry();
    copy->setPlotSettings(*source);
    copy->reader = source->reader;
    copy->metadata = source->metadata;
    copy->filePath = source->filePath;
    copy->displayName = source->displayName + " (copy)";
    copy->currentEventIndex = source->currentEventIndex;
    copy->filter = source->filter;
    copy->featuresLoaded = true;
    return append(std::move(copy)).id;
}

void Session::arrange(const std::vector<int>& ids) {
    std::unordered_map<int, std::size_t> places;
    for (const int id : ids) {
        places.try_emplace(id, places.size());
    }
    const auto placeOf = [&places](const std::unique_ptr<DatasetEntry>& entry) {
        const auto found = places.find(entry->id);
        return found == places.end() ? places.size() : found->second;
    };
    std::ranges::stable_sort(datasets_, {}, placeOf);
    emit notices_.datasetsChanged();
}

void Session::clear() {
    emit notices_.aboutToClear();
    activeId_ = -1;
    nextGroupId_ = 0;
    // Listeners let go of the records before they are gone.
    const std::vector<std::unique_ptr<DatasetEntry>> removed = std::exchange(datasets_, {});
    const std::vector<std::unique_ptr<FilterGroup>> groups = std::exchange(filterGroups_, {});
    for (const auto& entry : removed) {
        emit notices_.datasetRemoved(entry->id);
    }
    emit notices_.datasetsChanged();
    emit notices_.groupsChanged();
    emit notices_.activeChanged(-1);
}

void Session::rename(int id, const QString& name) {
    DatasetEntry* dataset = findById(id);
    if (dataset && dataset->displayName != name) {
        dataset->displayName = name;
        emit notices_.datasetRenamed(id);
    }
}

void Session::setReady(int id) {
    if (DatasetEntry* dataset = findById(id)) {
        dataset->featuresLoaded = true;
        emit notices_.datasetReady(id);
    }
}

void Session::setPlotSettings(int id, const PlotSettings& settings) {
    DatasetEntry* dataset = findById(id);
    if (dataset && dataset->plotSettings() != settings) {
        dataset->setPlotSettings(settings);
        emit notices_.plotSettingsChanged(id);
    }
}

void Session::setActive(int id) {
    const DatasetEntry* dataset = findById(id);
    const int chosen = dataset ? dataset->id : -1;
    if (chosen != activeId_) {
        activeId_ = chosen;
        emit notices_.activeChanged(chosen);
    }
}

FilterGroup* Session::findFilterGroup(int id) const {
    const auto found = std::ranges::find(filterGroups_, id, [](const auto& group) { return group->id; });
    return found == filterGroups_.end() ? nullptr : found->get();
}

int Session::takeGroupId() {
    if (nextGroupId_ < std::numeric_limits<int>::max()) {
        return nextGroupId_++;
    }
    int free = 0; // only files that were made by hand lead here
    while (findFilterGroup(free)) {
        ++free;
    }
    return free;
}

void Session::replaceFilterGroups(std::vector<FilterGroup> groups, int nextGroupId) {
    // Listeners let go of the old groups before they are gone.
    const std::vector<std::unique_ptr<FilterGroup>> replaced = std::exchange(filterGroups_, {});
    std::unordered_set<int> taken;
    std::vector<FilterGroup*> withoutId;
    nextGroupId_ = nextGroupId;
    for (FilterGroup& group : groups) {
        if (group.id < 0) {
            continue;
        }
        nextGroupId_ = std::max(nextGroupId_, std::min(group.id, std::numeric_limits<int>::max() - 1) + 1);
        const bool isFree = taken.insert(group.id).second;
        filterGroups_.push_back(std::make_unique<FilterGroup>(std::move(group)));
        if (!isFree) {
            filterGroups_.back()->id = -1;
            withoutId.push_back(filterGroups_.back().get());
        }
    }
    for (FilterGroup* group : withoutId) {
        group->id = takeGroupId();
    }
    emit notices_.groupsChanged();
}

int Session::addFilterGroup(const std::string& name) {
    FilterGroup group;
    group.name = name;
    addFilterGroups({std::move(group)});
    return filterGroups_.back()->id;
}

void Session::addFilterGroups(std::vector<FilterGroup> groups) {
    for (FilterGroup& added : groups) {
        added.id = takeGroupId();
        if (added.name.empty()) {
            const QString name = QCoreApplication::translate("Tessaly::Session", "Filter group %1");
            added.name = name.arg(nextGroupId_).toStdString();
        }
        for (FilterRule& rule : added.rules) {
            rule.propagationId.clear();
        }
        for (const auto& dataset : datasets_) {
            dataset->groupEnabled[added.id] = false;
        }
        filterGroups_.push_back(std::make_unique<FilterGroup>(std::move(added)));
    }
    emit notices_.groupsChanged();
}

bool Session::removeFilterGroup(int id) {
    if (std::erase_if(filterGroups_, [id](const auto& group) { return group->id == id; }) == 0) {
        return false;
    }
    for (const auto& dataset : datasets_) {
        dataset->groupEnabled.erase(id);
    }
    emit notices_.groupsChanged();
    emit notices_.eventsChanged();
    return true;
}

void Session::addRuleToGroup(int groupId, const FilterRule& rule) {
    if (FilterGroup* group = findFilterGroup(groupId)) {
        group->rules.push_back(rule);
        group->rules.back().propagationId.clear();
        emit notices_.groupsChanged();
        emit notices_.eventsChanged();
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
        emit notices_.groupsChanged();
        emit notices_.eventsChanged();
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
    return passingEvents(dataset, buildEffectiveFilter(&dataset));
}

std::optional<std::vector<int>> Session::passingEvents(const DatasetEntry& dataset, const EventFilter& filter) {
    if (dataset.reader) {
        return passingEvents(*dataset.reader, filter);
    }
    return filter.isEnabled() && filter.ruleCount() > 0 ? std::optional(std::vector<int>()) : std::nullopt;
}

std::optional<std::vector<int>> Session::passingEvents(VQDReader& reader, const EventFilter& filter) {
    if (!filter.isEnabled() || filter.ruleCount() < 1) {
        return std::nullopt;
    }
    std::vector<SharedColumn> held;
    ColumnMap columns;
    for (const std::string& feature : filter.requiredFeatures()) {
        // Pictures are not columns, though a rule from a file may name them.
        if (isScalarFeature(feature)) {
            held.push_back(reader.column(feature));
            columns.emplace(feature, held.back().get());
        }
    }
    return filter.evaluate(columns, reader.eventCount());
}

bool Session::activeMatchesAllPeers(const DatasetEntry* excluded) const {
    const DatasetEntry* model = active();
    return !model || std::ranges::all_of(datasets_, [&](const auto& peer) {
        return peer.get() == model || peer.get() == excluded || peer->plotSettings() == model->plotSettings();
    });
}

void Session::inheritPeerSettings(DatasetEntry& entry) const {
    const DatasetEntry* model = active();
    if (!model) {
        const auto other = std::ranges::find_if(datasets_, [&](const auto& peer) { return peer.get() != &entry; });
        model = other == datasets_.end() ? nullptr : other->get();
    }
    if (!model || model == &entry) {
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
    if (activeMatchesAllPeers(&entry)) {
        copyPlotSettings(*model, entry);
    }
}

void Session::applyPlotSettingsToPeers() {
    const DatasetEntry* model = active();
    if (!model) {
        return;
    }
    for (const auto& peer : datasets_) {
        if (peer.get() != model) {
            copyPlotSettings(*model, *peer);
            emit notices_.plotSettingsChanged(peer->id);
        }
    }
}

} // namespace Tessaly
