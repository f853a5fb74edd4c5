#include "session/compare/DatasetValue.h"

#include "core/DatasetEntry.h"
#include "core/FeatureCatalogue.h"
#include "io/VQDReader.h"
#include "session/Session.h"
#include "session/compare/Categories.h"

#include <algorithm>
#include <cmath>
#include <cstdint>

namespace Tessaly {

namespace {

/// Whether no value is NaN or infinite. Compares without branches, so that it runs at the speed of memory.
bool allFinite(std::span<const double> values) {
    constexpr std::size_t block = 1024;
    for (std::size_t first = 0; first < values.size(); first += block) {
        int odd = 0;
        for (const double value : values.subspan(first, std::min(block, values.size() - first))) {
            odd |= value - value == 0.0 ? 0 : 1;
        }
        if (odd != 0) {
            return false;
        }
    }
    return true;
}

} // namespace

std::vector<DatasetSource> sourcesOf(std::span<const Category> categories, const Session& session) {
    std::vector<DatasetSource> sources;
    std::set<int> seen;
    for (const Category& category : categories) {
        for (const CategoryEntry& entry : category.entries) {
            const DatasetEntry* dataset = session.findById(entry.datasetId);
            if (dataset && seen.insert(entry.datasetId).second) {
                sources.push_back({entry.datasetId, dataset->reader, session.buildEffectiveFilter(dataset)});
            }
        }
    }
    return sources;
}

FiniteValues::FiniteValues(std::shared_ptr<const std::vector<double>> column,
                           const std::optional<std::vector<int>>& events, std::size_t eventCount)
    : column_(std::move(column)) {
    if (!column_) {
        return;
    }
    count_ = std::min(column_->size(), eventCount);
    const std::span<const double> all(column_->data(), count_);
    if (!events && allFinite(all)) {
        return; // the column as it stands
    }
    const auto take = [this](double value) {
        if (std::isfinite(value)) {
            taken_.push_back(value);
        }
    };
    if (!events) {
        taken_.reserve(count_);
        std::ranges::for_each(all, take);
    } else {
        taken_.reserve(events->size());
        for (const int event : *events) {
            if (event >= 0 && static_cast<std::size_t>(event) < column_->size()) {
                take((*column_)[static_cast<std::size_t>(event)]);
            }
        }
    }
    column_.reset();
}

std::span<const double> FiniteValues::values() const {
    return column_ ? std::span(column_->data(), count_) : std::span<const double>(taken_);
}

PassingValues::PassingValues(const DatasetSource& source) : reader_(source.reader) {
    if (reader_) {
        eventCount_ = reader_->eventCount();
        events_ = Session::passingEvents(*reader_, source.filter);
    }
}

FiniteValues PassingValues::of(const std::string& feature) const {
    const bool known = reader_ && isScalarFeature(feature) && reader_->hasFeature(feature);
    return {known ? reader_->column(feature) : nullptr, events_, eventCount_};
}

DatasetValues datasetValues(const DatasetSource& source, std::span<const std::string> features, SampleSummary summary,
                            const std::stop_token& stop) {
    DatasetValues result;
    result.values.resize(features.size(), 0.0);
    const PassingValues passing(source);
    for (std::size_t i = 0; i < features.size() && !stop.stop_requested(); ++i) {
        const FiniteValues values = passing.of(features[i]);
        result.values[i] = summarize(values.values(), summary);
        result.complete = result.complete && !values.empty();
    }
    return result;
}

std::set<int> datasetsWithValues(const ValueTable& table) {
    std::set<int> ids;
    for (const auto& [id, values] : table) {
        if (values.complete) {
            ids.insert(id);
        }
    }
    return ids;
}

QStringList namesWithoutValues(std::span<const Category> categories, const std::set<int>& withValues) {
    QStringList names;
    std::set<int> named = withValues;
    for (const Category& category : categories) {
        for (const CategoryEntry& entry : category.entries) {
            if (named.insert(entry.datasetId).second) {
                names += entry.name;
            }
        }
    }
    return names;
}

double valueIn(const ValueTable& table, int datasetId, std::size_t feature) {
    const auto found = table.find(datasetId);
    return found == table.end() || feature >= found->second.values.size() ? 0.0 : found->second.values[feature];
}

} // namespace Tessaly
