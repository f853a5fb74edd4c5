#pragma once

#include "session/UserMessage.h"
#include "session/compare/CompareSettings.h"
#include "session/compare/DatasetValue.h"
#include "stats/DensityCurves.h"

#include <memory>
#include <optional>
#include <set>
#include <stop_token>
#include <vector>

namespace Tessaly {

/// The distribution of one feature in one dataset of one category.
struct DistributionSeries {
    std::size_t category = 0;
    QString name;
    std::vector<double> density; ///< at the points of the grid

    bool operator==(const DistributionSeries&) const = default;
};

/// All distributions of one feature.
struct FeatureDistribution {
    ComparedFeature feature;
    CurveGrid grid;
    std::vector<DistributionSeries> series; ///< by category, then in the order of its entries

    bool operator==(const FeatureDistribution&) const = default;
};

/// The mean distribution of a category.
struct CategoryDistribution {
    std::size_t category = 0;
    MeanCurve curve;
};

/// What keeps distributions from being shown; nothing if they can be.
std::optional<UserMessage> distributionRefusal(const Comparison& comparison);

/// Computes the distributions of many datasets in three steps: look() at each dataset, then layGrids() once, then
/// estimate() for each dataset; datasets of one step may go to several threads. Each dataset's filter is evaluated
/// once. The results don't depend on the threads. Holds the events that pass, not the values.
class DistributionWork {
public:
    DistributionWork(Comparison comparison, std::vector<DatasetSource> sources);

    std::size_t datasetCount() const { return datasets_.size(); }
    void look(std::size_t dataset, const std::stop_token& stop = {});
    void layGrids();
    void estimate(std::size_t dataset, const std::stop_token& stop = {});

    /// One for each feature that any dataset has values of, unless their range is beyond what numbers can hold.
    std::vector<FeatureDistribution> results() const;
    /// The datasets that have values of every feature.
    std::set<int> datasetsWithValues() const;

private:
    struct Extent {
        double min = 0.0;
        double max = 0.0;
        bool any = false;
    };
    struct Dataset {
        DatasetSource source;
        std::optional<PassingValues> passing;
        std::vector<Extent> extents;                ///< by feature
        std::vector<std::vector<double>> densities; ///< by feature; empty without values
    };

    Comparison comparison_;
    std::vector<Dataset> datasets_;
    std::vector<std::optional<CurveGrid>> grids_; ///< by feature
};

/// The mean of each category that has series, in order.
std::vector<CategoryDistribution> categoryMeans(const FeatureDistribution& distribution);

} // namespace Tessaly
