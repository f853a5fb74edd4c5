#pragma once

#include <QString>

#include <map>

namespace Tessaly {

struct VQDMetadata;

/// The instrument's fluorescence channels, from the metadata.
struct FluorescenceSettings {
    std::map<int, QString> channelNames; ///< channel number to its text, e.g. "525/50"
    std::map<int, double> offsets;       ///< baseline offsets by channel number
    double sampleRate = 0.0;             ///< Hz; 0 if unknown
};

/// Reads the keys "channel N name" or "channel_N_name", "baseline N offset" or "baseline_N_offset", and "sample rate"
/// or "sample_rate" of the section "fluorescence".
FluorescenceSettings fluorescenceSettingsOf(const VQDMetadata& metadata);

} // namespace Tessaly
