#pragma once

#include "core/DatasetEntry.h"
#include "core/FilterGroup.h"
#include "session/SessionNotices.h"

#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace Tessaly {

/// What is loaded and the rules over it, without a window: datasets in row order, the active one, filter groups, ids.
/// Whatever changes it here is told through notices(). User interface thread only.
class Session {
public:
    Session();
    ~Session();

    /// Where changes are told. Operations that change records from outside tell them here, too.
    SessionNotices& notices() { return notices_; }

    // Datasets. An id names a dataset for good; a row is its position in datasets().
    const std::vector<std::unique_ptr<DatasetEntry>>& datasets() const { return datasets_; }
    int datasetCount() const { return static_cast<int>(datasets_.size()); }
    /// The dataset of a row, or null outside the list.
    DatasetEntry* datasetAt(int row) const;
    DatasetEntry* findById(int id) const;
    /// The first dataset opened from exactly this path, or null.
    DatasetEntry* findByPath(const std::string& filePath) const;
    /// Row of an id, -1 if absent.
    int rowOf(int id) const;

    /// A new entry with the next id, not yet listed. Its id is spent even if it is thrown away.
    std::unique_ptr<DatasetEntry> newEntry();
    /// Appends an entry.
    DatasetEntry& append(std::unique_ptr<DatasetEntry> entry);
    /// Removes a dataset. If it was the active one, the one that takes its row becomes active, or the last one.
    void remove(int id);
    /// Takes a dataset out and puts it in before what stands at toRow (0 to count). Returns whether anything moved.
    bool move(int id, int toRow);
    /// Appends a copy that shares reader and features, named with " (copy)" behind. Returns its id; -1 unless the
    /// dataset is ready.
    int duplicate(int id);
    /// Sorts the rows: the datasets of these ids first, in this order, the others behind as they stand.
    void arrange(const std::vector<int>& ids);
    /// Drops all datasets and groups. Dataset ids go on, group ids start at 0 again.
    void clear();

    void rename(int id, const QString& name);
    /// The dataset's columns are cached: it may be shown.
    void setReady(int id);
    void setPlotSettings(int id, const PlotSettings& settings);

    /// Id of the active dataset, -1 for none.
    int activeId() const { return activeId_; }
    int activeRow() const { return rowOf(activeId_); }
    DatasetEntry* active() const { return findById(activeId_); }
    /// Makes a dataset active; an unknown id for none.
    void setActive(int id);

    // Filter groups, in the order of their creation.
    const std::vector<std::unique_ptr<FilterGroup>>& filterGroups() const { return filterGroups_; }
    FilterGroup* findFilterGroup(int id) const;
    /// Id that the next group gets.
    int nextGroupId() const { return nextGroupId_; }
    /// Replaces all groups. Those with a negative id are left out; one whose id is taken gets the next free one. The
    /// datasets' switches are left alone.
    void replaceFilterGroups(std::vector<FilterGroup> groups, int nextGroupId);
    /// Adds a group that is off for every dataset; an empty name becomes "Filter group N". Returns its id.
    int addFilterGroup(const std::string& name);
    /// Adds many in one step, with new ids. Their rules lose their links to other datasets' rules.
    void addFilterGroups(std::vector<FilterGroup> groups);
    /// Removes a group from the list and from every dataset's switches. False for an unknown id.
    bool removeFilterGroup(int id);
    /// Appends a copy of the rule, without its link to other datasets' rules.
    void addRuleToGroup(int groupId, const FilterRule& rule);
    bool isGroupEnabled(const DatasetEntry* dataset, int groupId) const;
    void setGroupEnabled(int datasetId, int groupId, bool on);

    /// A dataset's own rules, then those of every group that it has switched on, under its own switches.
    EventFilter buildEffectiveFilter(const DatasetEntry* dataset) const;
    /// The events of a dataset that pass its effective filter, in rising order; nullopt if no filter is in force and
    /// all pass. The one way to ask, for every consumer.
    std::optional<std::vector<int>> passingEvents(const DatasetEntry& dataset) const;
    /// The same for a filter of one's own.
    static std::optional<std::vector<int>> passingEvents(const DatasetEntry& dataset, const EventFilter& filter);
    /// The same for a measurement. Any thread.
    static std::optional<std::vector<int>> passingEvents(VQDReader& reader, const EventFilter& filter);

    // Peers: the other datasets.
    /// Whether every dataset but the active one and `excluded` is plotted as the active one. True without an active
    /// one.
    bool activeMatchesAllPeers(const DatasetEntry* excluded = nullptr) const;
    /// Lets a new dataset, listed already or not, follow the others where they agree: filter switches, linked rules,
    /// and plot settings.
    void inheritPeerSettings(DatasetEntry& entry) const;
    /// Copies the active dataset's plot settings onto every other one.
    void applyPlotSettingsToPeers();

private:
    int takeGroupId();

    std::vector<std::unique_ptr<DatasetEntry>> datasets_;
    std::vector<std::unique_ptr<FilterGroup>> filterGroups_;
    SessionNotices notices_;
    int activeId_ = -1;
    int nextDatasetId_ = 0;
    int nextGroupId_ = 0;
};

} // namespace Tessaly
