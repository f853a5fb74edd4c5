#pragma once

#include "core/FilterRule.h"

#include <QStandardItemModel>

#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace Tessaly {

struct DatasetEntry;
class VQDReader;

/// The features on which rules of one dataset can be made. Shared by the rows that offer them, so that a list is filled
/// once and not per row.
class RuleFeatures {
public:
    /// @param dataset  null for none: then there are no features
    explicit RuleFeatures(const DatasetEntry* dataset);

    /// Whether this is still what the dataset offers.
    bool fits(const DatasetEntry* dataset) const;

    /// Columns can be read without waiting for a file that is still being loaded.
    bool isReady() const { return ready_; }
    bool isEmpty() const { return keys_.empty(); }
    bool has(const std::string& key) const;
    /// What the user reads; the key itself for a feature that the dataset lacks.
    QString label(const std::string& key) const;
    /// One row per feature: text the label, item data the key.
    QStandardItemModel* model() { return &model_; }

    /// Smallest and largest finite value; nullopt if there is none. O(events)
    std::optional<std::pair<double, double>> range(const std::string& key) const;
    /// A rule on the first feature that lets all of its finite values through; nullopt without features.
    std::optional<FilterRule> firstRule() const;

private:
    std::shared_ptr<VQDReader> reader_;
    bool ready_ = false;
    std::vector<std::string> keys_;
    QStandardItemModel model_;
};

} // namespace Tessaly
