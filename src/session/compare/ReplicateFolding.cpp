#include "session/compare/ReplicateFolding.h"

#include <QCoreApplication>

#include <algorithm>
#include <utility>

namespace Tessaly {

namespace {

struct Texts {
    Q_DECLARE_TR_FUNCTIONS(Tessaly::ReplicateFolding)
};

QString idName(int id) {
    return Texts::tr("ID %1").arg(id);
}

/// Folds all values of one ID.
std::map<int, double> foldById(const std::multimap<int, double>& values, SampleSummary summary) {
    std::map<int, double> folded;
    for (auto first = values.begin(); first != values.end();) {
        const auto end = values.upper_bound(first->first);
        std::vector<double> group;
        std::transform(first, end, std::back_inserter(group), [](const auto& pair) { return pair.second; });
        folded.emplace(first->first, foldValues(group, summary));
        first = end;
    }
    return folded;
}

std::map<int, double> foldAtOnce(const Category& category, std::span<const double> values, SampleSummary summary) {
    std::multimap<int, double> byId;
    for (std::size_t i = 0; i < category.entries.size(); ++i) {
        byId.emplace(category.entries[i].numberId, values[i]);
    }
    return foldById(byId, summary);
}

/// Folds the values of each biological replicate, then the replicates of each ID.
std::map<int, double> foldTwice(const Category& category, std::span<const double> values, SampleSummary summary) {
    std::map<std::pair<int, int>, std::vector<double>> replicates;
    for (std::size_t i = 0; i < category.entries.size(); ++i) {
        const CategoryEntry& entry = category.entries[i];
        replicates[{entry.numberId, entry.bioRepId}].push_back(values[i]);
    }
    std::multimap<int, double> byId; // keeps the order of replicates
    for (const auto& [ids, group] : replicates) {
        byId.emplace(ids.first, foldValues(group, summary));
    }
    return foldById(byId, summary);
}

} // namespace

CategorySamples independentSamples(const Category& category, std::span<const double> values,
                                   const CompareSettings& settings) {
    CategorySamples samples;
    if (!settings.replicates) {
        samples.values.assign(values.begin(), values.end());
        for (const CategoryEntry& entry : category.entries) {
            samples.names += entry.name;
        }
        return samples;
    }
    const bool biological =
        std::ranges::any_of(category.entries, [](const CategoryEntry& entry) { return entry.bioRepId >= 1; });
    const auto folded =
        biological ? foldTwice(category, values, settings.summary) : foldAtOnce(category, values, settings.summary);
    for (const auto& [id, value] : folded) {
        samples.values.push_back(value);
        samples.names += idName(id);
    }
    return samples;
}

std::map<int, double> matchedSamples(const Category& category, std::span<const double> values,
                                     const CompareSettings& settings) {
    return settings.replicates ? foldTwice(category, values, settings.summary)
                               : foldAtOnce(category, values, settings.summary);
}

std::vector<int> commonIds(std::span<const std::map<int, double>> categories) {
    std::vector<int> ids;
    if (categories.empty()) {
        return ids;
    }
    for (const auto& [id, value] : categories[0]) {
        if (std::ranges::all_of(categories, [id = id](const auto& samples) { return samples.contains(id); })) {
            ids.push_back(id);
        }
    }
    return ids;
}

std::vector<CategorySamples> samplesOf(std::span<const Category> categories,
                                       std::span<const std::vector<double>> values, const CompareSettings& settings) {
    std::vector<CategorySamples> samples;
    if (!settings.matched()) {
        for (std::size_t i = 0; i < categories.size(); ++i) {
            samples.push_back(independentSamples(categories[i], values[i], settings));
        }
        return samples;
    }
    std::vector<std::map<int, double>> byId;
    for (std::size_t i = 0; i < categories.size(); ++i) {
        byId.push_back(matchedSamples(categories[i], values[i], settings));
    }
    samples.resize(categories.size());
    for (const int id : commonIds(byId)) {
        for (std::size_t i = 0; i < categories.size(); ++i) {
            samples[i].values.push_back(byId[i].at(id));
            samples[i].names += idName(id);
        }
    }
    return samples;
}

} // namespace Tessaly
