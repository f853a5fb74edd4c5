#include "session/FluorescenceSettings.h"

#include "core/VQDMetadata.h"

#include <QRegularExpression>

#include <optional>

namespace Tessaly {

namespace {

/// Channel number in a key of the form "<what> N <which>" or "<what>_N_<which>".
std::optional<int> channelIn(const QRegularExpression& pattern, const QString& key) {
    const QRegularExpressionMatch match = pattern.match(key);
    if (!match.hasMatch()) {
        return std::nullopt;
    }
    bool parsed = false;
    const int channel = match.captured(2).toInt(&parsed);
    return parsed ? std::optional(channel) : std::nullopt;
}

} // namespace

FluorescenceSettings fluorescenceSettingsOf(const VQDMetadata& metadata) {
    const QRegularExpression namePattern(QStringLiteral("\\Achannel([ _])([0-9]+)\\1name\\z"));
    const QRegularExpression offsetPattern(QStringLiteral("\\Abaseline([ _])([0-9]+)\\1offset\\z"));
    FluorescenceSettings result;
    // Where both spellings are there, the one with blanks counts: it comes first.
    for (const auto& [keyText, value] : metadata.fluorescence) {
        const QString key = QString::fromStdString(keyText);
        if (const auto named = channelIn(namePattern, key)) {
            result.channelNames.emplace(*named, QString::fromStdString(value));
        } else if (const auto shifted = channelIn(offsetPattern, key)) {
            if (const auto offset = numberIn(value)) {
                result.offsets.emplace(*shifted, *offset);
            }
        }
    }
    for (const char* key : {"sample rate", "sample_rate"}) {
        const auto rate = metadataNumber(metadata.fluorescence, key);
        if (rate && *rate > 0.0) {
            result.sampleRate = *rate;
            break;
        }
    }
    return result;
}

} // namespace Tessaly
