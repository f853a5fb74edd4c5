#pragma once

#include "core/EventFilter.h"
#include "stats/SampleSummary.h"

#include <QStringList>

#include <map>
#include <memory>
#include <optional>
#include <set>
#include <span>
#include <stop_token>
#include <string>
#include <vector>

namespace Tessaly {

class Session;
class VQDReader;
struct Category;
struct DatasetEntry;

/// What a comparison needs to know of a dataset, apart from the session: may go to another thread.
struct DatasetSource {
    int datasetId = -1;
    std::shared_ptr<VQDReader> reader; ///< null: there is nothing to read
    EventFilter filter;                ///< own rules and those of its groups, as they are now
};

/// The sources of all datasets in some categories, each once. User interface thread.
std::vector<DatasetSource> sourcesOf(std::span<const Category> categories, const Session& session);

/// The finite values of a column at some events; holds the column or what was taken out of it.
class FiniteValues {
public:
    /// @param events  nothing for all events up to a number
    FiniteValues(std::shared_ptr<const std::vector<double>> column, const std::optional<std::vector<int>>& events,
                 std::size_t eventCount);

    std::span<const double> values() const;
    bool empty() const { return values().empty(); }

private:
    std::shared_ptr<const std::vector<double>> column_; ///< null once values had to be taken out
    std::size_t count_ = 0;
    std::vector<double> taken_;
};

/// The events of a source that pass its filter, and the features' values at them. Any thread, one at a time.
class PassingValues {
public:
    /// Evaluates the filter.
    explicit PassingValues(const DatasetSource& source);

    /// Nothing for a feature that the dataset lacks or that can't be read.
    FiniteValues of(const std::string& feature) const;

private:
    std::shared_ptr<VQDReader> reader_;
    std::optional<std::vector<int>> events_;
    std::size_t eventCount_ = 0;
};

/// The numbers that stand for a dataset.
struct DatasetValues {
    std::vector<double> values; ///< one for each feature; 0 where there is no value
    bool complete = true;       ///< every feature has values

    bool operator==(const DatasetValues&) const = default;
};

/// By dataset id. A dataset that isn't there counts as one without values.
using ValueTable = std::map<int, DatasetValues>;

/// Reduces each feature's values to one number. The filter is evaluated once. Any thread.
/// @param stop  ends early, between two features, with what there is
DatasetValues datasetValues(const DatasetSource& source, std::span<const std::string> features, SampleSummary summary,
                            const std::stop_token& stop = {});

/// The datasets that have values of every feature.
std::set<int> datasetsWithValues(const ValueTable& table);
/// Names of all other datasets of some categories, in order, each once.
QStringList namesWithoutValues(std::span<const Category> categories, const std::set<int>& withValues);

/// The value of one dataset; 0 for one that isn't there.
double valueIn(const ValueTable& table, int datasetId, std::size_t feature);

} // namespace Tessaly
