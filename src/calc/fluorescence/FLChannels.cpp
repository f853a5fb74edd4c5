#include "calc/fluorescence/FLChannels.h"

#include <algorithm>
#include <charconv>
#include <system_error>

namespace Tessaly {

std::optional<int> fluorescenceChannelOf(std::string_view featureName) {
    constexpr std::string_view prefix = "fl";
    constexpr std::string_view suffix = "_max";
    if (featureName.size() <= prefix.size() + suffix.size() || !featureName.starts_with(prefix) ||
        !featureName.ends_with(suffix)) {
        return std::nullopt;
    }
    featureName.remove_prefix(prefix.size());
    featureName.remove_suffix(suffix.size());
    int number = 0;
    const char* const end = featureName.data() + featureName.size();
    const auto [parsedTo, problem] = std::from_chars(featureName.data(), end, number);
    if (problem != std::errc() || parsedTo != end || featureName.front() == '-') {
        return std::nullopt;
    }
    return number;
}

std::vector<int> fluorescenceChannels(const std::vector<std::string>& featureNames) {
    std::vector<int> channels;
    for (const std::string& name : featureNames) {
        if (const auto channel = fluorescenceChannelOf(name)) {
            channels.push_back(*channel);
        }
    }
    std::sort(channels.begin(), channels.end());
    channels.erase(std::unique(channels.begin(), channels.end()), channels.end());
    return channels;
}

std::string rawTraceName(int channel) {
    return "fl" + std::to_string(channel) + "_raw";
}

std::string refinedTraceName(int channel) {
    return "fl" + std::to_string(channel) + "_median_rf";
}

} // namespace Tessaly
