#include "session/compare/Distributions.h"

#include "stats/Quantiles.h"

#include <QCoreApplication>

#include <algorithm>
#include <map>
#include <utility>

namespace Tessaly {

namespace {

struct Texts {
    Q_DECLARE_TR_FUNCTIONS(Tessaly::Distributions)
};

} // namespace

std::optional<UserMessage> distributionRefusal(const Comparison& comparison) {
    if (comparison.features.empty()) {
        return UserMessage{UserMessage::Kind::Warning, Texts::tr("Distribution Explorer"),
                           Texts::tr("Select at least one feature.")};
    }
    return std::nullopt;
}

DistributionWork::DistributionWork(Comparison comparison, std::vector<DatasetSource> sources)
    : comparison_(std::move(comparison)) {
    for (DatasetSource& source : sources) {
        datasets_.push_back({std::move(source), std::nullopt, {}, {}});
    }
    grids_.resize(comparison_.features.size());
}

void DistributionWork::look(std::size_t dataset, const std::stop_token& stop) {
    Dataset& looked = datasets_[dataset];
    looked.passing.emplace(looked.source);
    looked.extents.resize(comparison_.features.size());
    for (std::size_t i = 0; i < comparison_.features.size() && !stop.stop_requested(); ++i) {
        const FiniteValues values = looked.passing->of(comparison_.features[i].name);
        if (!values.empty()) {
            const AxisRange axis(values.values());
            looked.extents[i] = {axis.min, axis.max, true};
        }
    }
}

void DistributionWork::layGrids() {
    for (std::size_t i = 0; i < grids_.size(); ++i) {
        Extent whole;
        for (const Dataset& dataset : datasets_) {
            if (i < dataset.extents.size() && dataset.extents[i].any) {
                const Extent& extent = dataset.extents[i];
                whole.min = whole.any ? std::min(whole.min, extent.min) : extent.min;
                whole.max = whole.any ? std::max(whole.max, extent.max) : extent.max;
                whole.any = true;
            }
        }
        grids_[i] = whole.any ? densityGrid(whole.min, whole.max) : std::nullopt;
    }
}

void DistributionWork::estimate(std::size_t dataset, const std::stop_token& stop) {
    Dataset& estimated = datasets_[dataset];
    estimated.densities.resize(comparison_.features.size());
    for (std::size_t i = 0; i < comparison_.features.size() && !stop.stop_requested(); ++i) {
        if (grids_[i] && estimated.passing) {
            const FiniteValues values = estimated.passing->of(comparison_.features[i].name);
            if (!values.empty()) {
                estimated.densities[i] = densityCurve(values.values(), *grids_[i]);
            }
        }
    }
    estimated.passing.reset();
}

std::vector<FeatureDistribution> DistributionWork::results() const {
    std::map<int, const Dataset*> byId;
    for (const Dataset& dataset : datasets_) {
        byId.emplace(dataset.source.datasetId, &dataset);
    }
    std::vector<FeatureDistribution> results;
    for (std::size_t feature = 0; feature < grids_.size(); ++feature) {
        if (!grids_[feature]) {
            continue;
        }
        FeatureDistribution result{comparison_.features[feature], *grids_[feature], {}};
        for (std::size_t category = 0; category < comparison_.categories.size(); ++category) {
            for (const CategoryEntry& entry : comparison_.categories[category].entries) {
                const auto found = byId.find(entry.datasetId);
                if (found != byId.end() && feature < found->second->densities.size() &&
                    !found->second->densities[feature].empty()) {
                    result.series.push_back({category, entry.name, found->second->densities[feature]});
                }
            }
        }
        results.push_back(std::move(result));
    }
    return results;
}

std::set<int> DistributionWork::datasetsWithValues() const {
    std::set<int> ids;
    for (const Dataset& dataset : datasets_) {
        if (std::ranges::all_of(dataset.extents, &Extent::any)) {
            ids.insert(dataset.source.datasetId);
        }
    }
    return ids;
}

std::vector<CategoryDistribution> categoryMeans(const FeatureDistribution& distribution) {
    std::map<std::size_t, std::vector<std::vector<double>>> curves;
    for (const DistributionSeries& series : distribution.series) {
        curves[series.category].push_back(series.density);
    }
    std::vector<CategoryDistribution> means;
    for (const auto& [category, densities] : curves) {
        means.push_back({category, averageCurves(densities)});
    }
    return means;
}

} // namespace Tessaly
