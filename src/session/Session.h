#pragma once

#include "core/DatasetEntry.h"
#include "core/FilterGroup.h"
#include "session/PlotSettings.h"

#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace Tessaly {

/// What is loaded and the rules over it, without a window: datasets in row order, the active row, filter groups, ids.
/// User interface thread only.
class Session {
public:
    Session();
    ~Session();

    // Datasets. A row is a position in datasets(); an id names a dataset for good.
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
    /// Appends an entry and returns its row.
    int append(std::unique_ptr<DatasetEntry> entry);
    /// Removes a row. The active row follows its dataset, and is -1 if that was removed.
    void remove(int row);
    /// Takes the dataset at fromRow out and puts it in before what stood at toRow (0 to count). The active row follows
    /// its dataset. Returns whether anything moved.
    bool move(int fromRow, int toRow);
    /// Appends a copy that shares reader and features, named with " (copy)" behind; -1 unless the row is ready.
    int duplicate(int row);
    /// Drops all datasets and groups. Dataset ids go on, group ids start at 0 again.
    void clear();

    int activeRow() const { return activeRow_; }
    void setActiveRow(int row);
    DatasetEntry* active() const { return datasetAt(activeRow_); }
    int activeId() const;

    // Filter groups, in the order of their creation.
    const std::vector<std::unique_ptr<FilterGroup>>& filterGroups() const { return filterGroups_; }
    FilterGroup* findFilterGroup(int id) const;
    /// Adds a group that is off for every dataset; an empty name becomes "Filter group N". Returns its id.
    int addFilterGroup(const std::string& name);
    /// Appends a copy of the rule, without its link to other datasets' rules.
    void addRuleToGroup(int groupId, const FilterRule& rule);
    bool isGroupEnabled(const DatasetEntry* dataset, int groupId) const;
    void setGroupEnabled(int datasetId, int groupId, bool on);

    /// A dataset's own rules, then those of every group that it has switched on, under its own switches.
    EventFilter buildEffectiveFilter(const DatasetEntry* dataset) const;
    /// The events of a dataset that pass its effective filter, in rising order; nullopt if no filter is in force and
    /// all pass. The one way to ask, for every consumer.
    std::optional<std::vector<int>> passingEvents(const DatasetEntry& dataset) const;

    // Peers: the other datasets.
    /// Whether every dataset but the active one and `excluded` is plotted as `active` says. True without an active one.
    bool activeMatchesAllPeers(const PlotSettings& active, const DatasetEntry* excluded) const;
    /// Lets a dataset that has just been appended follow the others where they agree: filter switches, linked rules,
    /// and plot settings. @param controls  the settings shown, which stand for the active dataset
    void inheritPeerSettings(DatasetEntry& entry, const PlotSettings& controls) const;
    /// Copies settings onto every dataset but the active one.
    void applyPlotSettingsToPeers(const PlotSettings& settings);

private:
    std::vector<std::unique_ptr<DatasetEntry>> datasets_;
    std::vector<std::unique_ptr<FilterGroup>> filterGroups_;
    int activeRow_ = -1;
    int nextDatasetId_ = 0;
    int nextGroupId_ = 0;
};

} // namespace Tessaly
