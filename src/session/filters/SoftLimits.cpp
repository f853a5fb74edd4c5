#include "session/filters/SoftLimits.h"

#include "session/Session.h"

#include <QCoreApplication>

#include <algorithm>
#include <optional>
#include <stdexcept>
#include <string_view>

namespace Tessaly {

namespace {

constexpr std::string_view suffix = " soft limit";

double numberOf(const std::string& key, const std::string& text) {
    bool isNumber = false;
    const double value = QString::fromStdString(text).toDouble(&isNumber); // C locale
    if (!isNumber) {
        throw std::invalid_argument(key + ": \"" + text + "\" is not a number");
    }
    return value;
}

std::optional<FilterRule> polygonLimit(const VQDMetadata& metadata, const std::string& x, const std::string& y) {
    const auto gate = std::ranges::find_if(metadata.polygonFilters, [&](const PolygonFilterDef& candidate) {
        return candidate.section == "online_filter" && candidate.xFeature == x && candidate.yFeature == y &&
               !candidate.vertices.empty();
    });
    if (gate == metadata.polygonFilters.end()) {
        return std::nullopt;
    }
    FilterRule rule;
    rule.type = FilterRule::Polygon;
    rule.featureName = x;
    rule.featureNameY = y;
    rule.polygonVertices = gate->vertices;
    return rule;
}

std::optional<FilterRule> rangeLimit(const VQDMetadata::Section& limits, const std::string& feature) {
    const auto low = limits.find(feature + " min");
    const auto high = limits.find(feature + " max");
    if (low == limits.end() || high == limits.end()) {
        return std::nullopt;
    }
    FilterRule rule;
    rule.featureName = feature;
    rule.minValue = numberOf(low->first, low->second);
    rule.maxValue = numberOf(high->first, high->second);
    return rule;
}

} // namespace

int importSoftLimits(DatasetEntry& entry) {
    const VQDMetadata::Section& limits = entry.metadata.online_filter;
    int added = 0;
    for (const auto& [key, value] : limits) {
        if (key.size() <= suffix.size() || !key.ends_with(suffix) || value != "1") {
            continue;
        }
        const std::string base = key.substr(0, key.size() - suffix.size());
        const std::size_t comma = base.find(',');
        const std::optional<FilterRule> rule =
            comma == std::string::npos ? rangeLimit(limits, base)
                                       : polygonLimit(entry.metadata, base.substr(0, comma), base.substr(comma + 1));
        if (rule) {
            entry.filter.addRule(*rule);
            entry.filter.setEnabled(true); // at once: a later bound may end the import
            ++added;
        }
    }
    return added;
}

SoftLimitImport importMeasurementFilters(Session& session, bool toAll) {
    SoftLimitImport result;
    for (const auto& entry : session.datasets()) {
        if (!toAll && entry.get() != session.active()) {
            continue;
        }
        const int before = entry->filter.ruleCount();
        try {
            importSoftLimits(*entry);
        } catch (const std::invalid_argument&) {
            result.failure = std::current_exception();
        }
        result.added += entry->filter.ruleCount() - before;
        if (result.failure) {
            break;
        }
    }
    if (result.added > 0) {
        emit session.notices().eventsChanged();
    } else if (!result.failure) {
        result.remark =
            QCoreApplication::translate("Tessaly::SoftLimits", "No features with soft limit enabled found.");
    }
    return result;
}

} // namespace Tessaly
