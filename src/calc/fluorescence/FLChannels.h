#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace Tessaly {

/// Number of the fluorescence channel whose peak heights a feature holds: the digits between "fl" and "_max".
/// Nothing for any other name, "fl1_max_ctc" and "fl7x_max" among them.
std::optional<int> fluorescenceChannelOf(std::string_view featureName);

/// The channels that have peak heights, rising, each once.
std::vector<int> fluorescenceChannels(const std::vector<std::string>& featureNames);

/// Names of a channel's traces: as measured, and through the filters of the refinement.
std::string rawTraceName(int channel);
std::string refinedTraceName(int channel);

} // namespace Tessaly
