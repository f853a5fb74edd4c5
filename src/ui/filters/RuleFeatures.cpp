#include "ui/filters/RuleFeatures.h"

#include "core/DatasetEntry.h"
#include "io/VQDReader.h"
#include "session/PlotChoices.h"

#include <algorithm>
#include <cmath>

namespace Tessaly {

namespace {

std::vector<std::string> keysOf(const std::shared_ptr<VQDReader>& reader) {
    return reader && reader->isOpen() ? scalarFeatureNames(*reader) : std::vector<std::string>();
}

} // namespace

RuleFeatures::RuleFeatures(const DatasetEntry* dataset)
    : reader_(dataset ? dataset->reader : nullptr),
      ready_(dataset && dataset->featuresLoaded),
      keys_(keysOf(reader_)) {
    for (const std::string& key : keys_) {
        auto* item = new QStandardItem(QString::fromStdString(reader_->featureLabel(key)));
        item->setData(QString::fromStdString(key), Qt::UserRole);
        model_.appendRow(item);
    }
}

bool RuleFeatures::fits(const DatasetEntry* dataset) const {
    return reader_ == (dataset ? dataset->reader : nullptr) && ready_ == (dataset && dataset->featuresLoaded) &&
           keys_ == keysOf(reader_);
}

bool RuleFeatures::has(const std::string& key) const {
    return std::ranges::find(keys_, key) != keys_.end();
}

QString RuleFeatures::label(const std::string& key) const {
    return QString::fromStdString(reader_ ? reader_->featureLabel(key) : key);
}

std::optional<std::pair<double, double>> RuleFeatures::range(const std::string& key) const {
    std::optional<std::pair<double, double>> range;
    if (!reader_) {
        return range;
    }
    for (const double value : reader_->getFeature(key)) {
        if (!std::isfinite(value)) {
            continue;
        }
        if (!range) {
            range.emplace(value, value);
        }
        range->first = std::min(range->first, value);
        range->second = std::max(range->second, value);
    }
    return range;
}

std::optional<FilterRule> RuleFeatures::firstRule() const {
    if (keys_.empty()) {
        return std::nullopt;
    }
    FilterRule rule;
    rule.featureName = keys_.front();
    if (const auto bounds = range(rule.featureName)) {
        std::tie(rule.minValue, rule.maxValue) = *bounds;
    }
    return rule;
}

} // namespace Tessaly
