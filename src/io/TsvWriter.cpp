#include "io/TsvWriter.h"

#include "io/Hdf5Library.h"
#include "io/NumberText.h"
#include "io/VQDReader.h"

#include <QSaveFile>
#include <QString>

#include <algorithm>
#include <array>
#include <cstdint>
#include <ctime>
#include <vector>

namespace Tessaly {

namespace {

constexpr std::size_t rowsAtOnce = 2048;

/// A text that may break neither its line nor its cell.
std::string onOneLine(std::string text) {
    std::ranges::replace_if(
        text, [](char c) { return c == '\t' || c == '\n' || c == '\r'; }, ' ');
    return text;
}

void appendHeaderLine(std::string& text, const std::string& key, const std::string& value) {
    text.append("# ").append(onOneLine(key)).append(" = ").append(onOneLine(value)).append("\n");
}

std::string headerText(const VQDMetadata& metadata, const std::optional<std::string>& changedSampleName,
                       std::size_t eventCount) {
    std::string text = "# Tessaly TSV Export\n";
    appendHeaderLine(text, "export:date", exportDate());
    appendHeaderLine(text, "export:event count", std::to_string(eventCount));
    if (changedSampleName) {
        appendHeaderLine(text, "export:changed sample name", *changedSampleName);
    }
    for (const auto& [name, value] : metadata.allAttributes) {
        appendHeaderLine(text, name, value);
    }
    return text.append("#\n");
}

std::string labelsText(std::span<const std::string> features, const VQDReader& reader) {
    std::string text;
    for (std::size_t i = 0; i < features.size(); ++i) {
        text.append(i > 0 ? "\t" : "").append(onOneLine(reader.featureLabel(features[i])));
    }
    return text + '\n';
}

void appendRows(std::string& text, std::span<const int> events, std::span<const SharedColumn> columns) {
    for (const int event : events) {
        const auto index = static_cast<std::size_t>(event);
        for (std::size_t i = 0; i < columns.size(); ++i) {
            if (i > 0) {
                text += '\t';
            }
            if (index < columns[i]->size()) {
                appendExact(text, (*columns[i])[index]);
            }
        }
        text += '\n';
    }
}

} // namespace

std::string exportDate() {
    const std::time_t now = std::time(nullptr);
    std::tm parts{};
    localtime_r(&now, &parts);
    std::array<char, 32> text{};
    std::strftime(text.data(), text.size(), "%Y-%m-%d", &parts);
    return text.data();
}

bool writeTsv(const std::string& path, const VQDMetadata& metadata, const std::optional<std::string>& changedSampleName,
              std::span<const std::string> features, std::span<const int> events, VQDReader& reader,
              const std::function<void()>& onPause) {
    const auto failed = [&path](const std::string& why) {
        reportError("Error writing table '" + path + "': " + why);
        return false;
    };
    QSaveFile file(QString::fromStdString(path));
    if (!file.open(QIODevice::WriteOnly)) {
        return failed(file.errorString().toStdString());
    }
    const std::uint64_t failedReadings = reader.failedReadings();
    std::vector<SharedColumn> columns; // held, for they may be computed anew during a pause
    for (const std::string& feature : features) {
        columns.push_back(reader.column(feature));
    }
    // On a disk that fills up, a part is written and no error is told.
    const auto put = [&file](const std::string& text) {
        const auto size = static_cast<qint64>(text.size());
        return file.write(text.data(), size) == size;
    };
    std::string text = headerText(metadata, changedSampleName, events.size()) + labelsText(features, reader);
    for (std::size_t begin = 0; begin < events.size(); begin += rowsAtOnce) {
        appendRows(text, events.subspan(begin, std::min(rowsAtOnce, events.size() - begin)), columns);
        if (!put(text)) {
            return failed("not all of it could be written");
        }
        text.clear();
        if (onPause) {
            onPause();
        }
    }
    if (reader.failedReadings() != failedReadings) {
        return failed("a column can't be read");
    }
    // Flushed here, because commit() takes no notice of what goes wrong in its own flushing.
    return (put(text) && file.flush() && file.commit()) || failed(file.errorString().toStdString());
}

} // namespace Tessaly
