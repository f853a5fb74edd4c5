#include "session/document/SessionDocument.h"

#include "core/FileReplacement.h"
#include "io/VQDReader.h"
#include "session/Session.h"
#include "session/document/JsonText.h"
#include "session/filters/RuleJson.h"

#include <QCoreApplication>
#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonDocument>
#include <QJsonObject>

#include <algorithm>
#include <limits>
#include <unordered_map>

namespace Tessaly {

namespace {

struct Texts {
    Q_DECLARE_TR_FUNCTIONS(Tessaly::SessionDocument)
};

UserMessage critical(const QString& text) {
    return {UserMessage::Kind::Critical, Texts::tr("Error"), text};
}

// Writing.

// In the order in which JSON objects keep their keys, whoever writes them.

constexpr QLatin1StringView operator""_key(const char* text, std::size_t size) {
    return {text, static_cast<qsizetype>(size)};
}

void writeCorners(JsonText& json, QLatin1StringView key, const std::vector<std::pair<double, double>>& corners) {
    json.key(key);
    json.beginArray();
    for (const auto& [x, y] : corners) {
        json.beginArray();
        json.value(x);
        json.value(y);
        json.endArray();
    }
    json.endArray();
}

void writeRules(JsonText& json, const std::vector<FilterRule>& rules) {
    json.key("rules"_key);
    json.beginArray();
    for (const FilterRule& rule : rules) {
        json.beginObject();
        forEachKey(rule, [&json](QLatin1StringView key, const auto& value) {
            if constexpr (requires { json.value(value); }) {
                json.member(key, value);
            } else {
                writeCorners(json, key, value);
            }
        });
        json.endObject();
    }
    json.endArray();
}

template <typename Value>
void writeNumbers(JsonText& json, QLatin1StringView key, const std::vector<Value>& values) {
    json.key(key);
    json.beginArray();
    for (const Value value : values) {
        json.value(value);
    }
    json.endArray();
}

void writeFilter(JsonText& json, const EventFilter& filter) {
    json.key("filter"_key);
    json.beginObject();
    json.member("combineMode"_key, filter.combineMode() == EventFilter::ShowPassing ? "AND"_key : "NOT"_key);
    json.member("enabled"_key, filter.isEnabled());
    writeRules(json, filter.rules());
    json.endObject();
}

void writeFingerprint(JsonText& json, const Fingerprint& fingerprint) {
    json.key("fingerprint"_key);
    json.beginObject();
    json.member("eventCount"_key, fingerprint.eventCount);
    json.member("featureHash"_key, fingerprint.featureHash);
    json.member("fileSize"_key, fingerprint.fileSize);
    json.endObject();
}

void writeGroupSwitches(JsonText& json, const std::vector<std::pair<int, bool>>& switches) {
    json.key("groupEnabled"_key);
    json.beginArray();
    for (const auto& [id, enabled] : switches) {
        json.beginObject();
        json.member("enabled"_key, enabled);
        json.member("groupId"_key, id);
        json.endObject();
    }
    json.endArray();
}

void writeDataset(JsonText& json, const SessionDataset& dataset) {
    json.beginObject();
    json.member("colorFeatureName"_key, dataset.colorFeatureName);
    json.member("contourFraction1"_key, dataset.contourFraction1);
    json.member("contourFraction2"_key, dataset.contourFraction2);
    json.member("contourMode"_key, static_cast<int>(dataset.contourMode));
    json.member("ctcApplied"_key, dataset.ctcApplied);
    writeNumbers(json, "ctcChannels"_key, dataset.ctcChannels);
    json.member("currentEventIndex"_key, dataset.currentEventIndex);
    json.member("displayName"_key, dataset.displayName);
    json.member("duplicateOfIndex"_key, dataset.duplicateOfIndex);
    json.member("emodApplied"_key, dataset.emodApplied);
    json.member("filePath"_key, dataset.filePath);
    writeFilter(json, dataset.filter);
    writeFingerprint(json, dataset.fingerprint);
    json.member("flRefinementApplied"_key, dataset.flRefinementApplied);
    writeGroupSwitches(json, dataset.groupEnabled);
    json.member("isDuplicate"_key, dataset.isDuplicate);
    json.member("scaleXMode"_key, static_cast<int>(dataset.scaleXMode));
    json.member("scaleYMode"_key, static_cast<int>(dataset.scaleYMode));
    writeNumbers(json, "spilloverMatrix"_key, dataset.spilloverMatrix);
    json.member("xFeatureName"_key, dataset.xFeatureName);
    json.member("yFeatureName"_key, dataset.yFeatureName);
    json.endObject();
}

void writeGroups(JsonText& json, const std::vector<FilterGroup>& groups) {
    json.key("filterGroups"_key);
    json.beginArray();
    for (const FilterGroup& group : groups) {
        json.beginObject();
        json.member("id"_key, group.id);
        json.member("name"_key, group.name);
        writeRules(json, group.rules);
        json.endObject();
    }
    json.endArray();
}

// Reading.

QString textOf(const QJsonObject& object, QLatin1StringView key) {
    return object.value(key).toString();
}

/// A whole number of the range of int, or the default.
int intOf(const QJsonObject& object, QLatin1StringView key, int otherwise) {
    return object.value(key).toInt(otherwise);
}

/// As intOf(); what lies outside of 0 to `last` is unknown here and counts as missing.
int choiceOf(const QJsonObject& object, QLatin1StringView key, int last) {
    const int value = intOf(object, key, 0);
    return value < 0 || value > last ? 0 : value;
}

std::vector<FilterRule> rulesFromJson(const QJsonValue& value) {
    std::vector<FilterRule> rules;
    for (const QJsonValue rule : value.toArray()) {
        if (rule.isObject()) {
            rules.push_back(ruleFromJson(rule.toObject()));
        }
    }
    return rules;
}

EventFilter filterFromJson(const QJsonObject& object) {
    EventFilter filter;
    filter.setEnabled(object.value(QLatin1StringView("enabled")).toBool());
    filter.setCombineMode(textOf(object, QLatin1StringView("combineMode")) == QLatin1StringView("NOT")
                              ? EventFilter::ShowExcluded
                              : EventFilter::ShowPassing);
    for (const FilterRule& rule : rulesFromJson(object.value(QLatin1StringView("rules")))) {
        filter.addRule(rule);
    }
    return filter;
}

std::vector<std::pair<int, bool>> groupSwitchesFromJson(const QJsonValue& value) {
    std::vector<std::pair<int, bool>> switches;
    for (const QJsonValue entry : value.toArray()) {
        if (entry.isObject()) {
            const QJsonObject object = entry.toObject();
            switches.emplace_back(intOf(object, QLatin1StringView("groupId"), 0),
                                  object.value(QLatin1StringView("enabled")).toBool());
        }
    }
    return switches;
}

/// Channels and matrix of the compensation: both or, as far as the matrix is concerned, only the channels.
void readCompensation(const QJsonObject& object, SessionDataset& dataset) {
    const QJsonValue channels = object.value(QLatin1StringView("ctcChannels"));
    const QJsonValue matrix = object.value(QLatin1StringView("spilloverMatrix"));
    if (!dataset.ctcApplied || !channels.isArray() || !matrix.isArray()) {
        return;
    }
    for (const QJsonValue channel : channels.toArray()) {
        dataset.ctcChannels.push_back(channel.toInt());
    }
    const QJsonArray cells = matrix.toArray();
    if (static_cast<std::size_t>(cells.size()) == dataset.ctcChannels.size() * dataset.ctcChannels.size()) {
        for (const QJsonValue cell : cells) {
            dataset.spilloverMatrix.push_back(cell.toDouble());
        }
    }
}

SessionDataset datasetFromJson(const QJsonValue& value) {
    SessionDataset dataset;
    dataset.isObject = value.isObject();
    const QJsonObject object = value.toObject();
    const auto flag = [&object](const char* key) { return object.value(QLatin1StringView(key)).toBool(); };
    const auto text = [&object](const char* key) { return textOf(object, QLatin1StringView(key)); };
    constexpr int lastChoice = 2; // of contour and scale modes
    dataset.filePath = text("filePath");
    dataset.displayName = text("displayName");
    dataset.xFeatureName = text("xFeatureName").toStdString();
    dataset.yFeatureName = text("yFeatureName").toStdString();
    dataset.colorFeatureName = text("colorFeatureName").toStdString();
    dataset.currentEventIndex = std::max(intOf(object, QLatin1StringView("currentEventIndex"), -1), -1);
    dataset.contourMode = choiceOf(object, QLatin1StringView("contourMode"), lastChoice);
    dataset.contourFraction1 = object.value(QLatin1StringView("contourFraction1")).toDouble(dataset.contourFraction1);
    dataset.contourFraction2 = object.value(QLatin1StringView("contourFraction2")).toDouble(dataset.contourFraction2);
    dataset.scaleXMode = choiceOf(object, QLatin1StringView("scaleXMode"), lastChoice);
    dataset.scaleYMode = choiceOf(object, QLatin1StringView("scaleYMode"), lastChoice);
    dataset.flRefinementApplied = flag("flRefinementApplied");
    dataset.ctcApplied = flag("ctcApplied");
    dataset.emodApplied = flag("emodApplied");
    readCompensation(object, dataset);
    dataset.isDuplicate = flag("isDuplicate");
    dataset.duplicateOfIndex = intOf(object, QLatin1StringView("duplicateOfIndex"), -1);
    const QJsonObject print = object.value(QLatin1StringView("fingerprint")).toObject();
    dataset.fingerprint = {print.value(QLatin1StringView("fileSize")).toInteger(),
                           print.value(QLatin1StringView("eventCount")).toInteger(),
                           textOf(print, QLatin1StringView("featureHash"))};
    dataset.filter = filterFromJson(object.value(QLatin1StringView("filter")).toObject());
    dataset.groupEnabled = groupSwitchesFromJson(object.value(QLatin1StringView("groupEnabled")));
    return dataset;
}

FilterGroup groupFromJson(const QJsonObject& object) {
    return {intOf(object, QLatin1StringView("id"), -1), textOf(object, QLatin1StringView("name")).toStdString(),
            rulesFromJson(object.value(QLatin1StringView("rules")))};
}

QJsonArray objectsOf(const QJsonValue& value) {
    QJsonArray objects;
    for (const QJsonValue entry : value.toArray()) {
        if (entry.isObject()) {
            objects.append(entry);
        }
    }
    return objects;
}

QDir folderOf(const QString& sessionPath) {
    return QFileInfo(sessionPath).absoluteDir();
}

SessionDataset captureDataset(const DatasetEntry& entry, const QString& sessionPath) {
    SessionDataset dataset;
    const QString path = QString::fromStdString(entry.filePath);
    dataset.filePath = storedPath(path, sessionPath);
    dataset.displayName = entry.displayName;
    static_cast<PlotSettings&>(dataset) = entry.plotSettings();
    dataset.currentEventIndex = entry.currentEventIndex;
    dataset.flRefinementApplied = entry.flRefinementApplied;
    dataset.ctcApplied = entry.ctcApplied;
    dataset.emodApplied = entry.emodApplied;
    if (entry.ctcApplied) {
        dataset.ctcChannels = entry.ctcChannels;
        for (const std::vector<double>& row : entry.spilloverMatrix) {
            dataset.spilloverMatrix.insert(dataset.spilloverMatrix.end(), row.begin(), row.end());
        }
    }
    if (entry.reader) {
        dataset.fingerprint = fingerprintOf(*entry.reader, path);
    }
    dataset.filter = entry.filter;
    dataset.groupEnabled.assign(entry.groupEnabled.begin(), entry.groupEnabled.end());
    std::ranges::sort(dataset.groupEnabled);
    return dataset;
}

} // namespace

SessionDocument captureSession(const Session& session, const QString& sessionPath, int colorMapIndex) {
    SessionDocument document;
    document.savedAt = QDateTime::currentDateTimeUtc().toString(Qt::ISODate);
    document.activeDatasetIndex = std::max(session.activeRow(), 0);
    document.colorMapIndex = colorMapIndex;
    std::unordered_map<const VQDReader*, int> firstOfReader;
    for (const auto& entry : session.datasets()) {
        SessionDataset dataset = captureDataset(*entry, sessionPath);
        const int index = static_cast<int>(document.datasets.size());
        const auto [first, isFirst] = firstOfReader.try_emplace(entry->reader.get(), index);
        if (!isFirst && entry->reader) {
            dataset.isDuplicate = true;
            dataset.duplicateOfIndex = first->second;
        }
        document.datasets.push_back(std::move(dataset));
    }
    for (const auto& group : session.filterGroups()) {
        document.filterGroups.push_back(*group);
    }
    document.nextGroupId = session.nextGroupId();
    return document;
}

QByteArray sessionToJson(const SessionDocument& document) {
    JsonText json;
    json.beginObject();
    json.member("combineWindows"_key, QJsonValue(document.combineWindows));
    json.key("datasets"_key);
    json.beginArray();
    for (const SessionDataset& dataset : document.datasets) {
        writeDataset(json, dataset);
    }
    json.endArray();
    writeGroups(json, document.filterGroups);
    json.key("mainWindow"_key);
    json.beginObject();
    json.member("activeDatasetIndex"_key, document.activeDatasetIndex);
    json.member("colorMapIndex"_key, document.colorMapIndex);
    json.member("expertMode"_key, document.expertMode);
    json.endObject();
    json.member("nextGroupId"_key, document.nextGroupId);
    json.member("savedAt"_key, document.savedAt);
    json.member("statEvalWindows"_key, QJsonValue(document.statEvalWindows));
    json.member("version"_key, SessionDocument::currentVersion);
    json.endObject();
    return json.take();
}

SessionReading sessionFromJson(const QByteArray& json) {
    SessionReading reading;
    QJsonParseError problem;
    const QJsonDocument parsed = QJsonDocument::fromJson(json, &problem);
    if (parsed.isNull()) {
        reading.error = critical(Texts::tr("Invalid session file: ") + problem.errorString());
        return reading;
    }
    const QJsonObject root = parsed.object();
    const double version = root.value(QLatin1StringView("version")).toDouble();
    if (!(version >= 1.0)) {
        reading.error = critical(Texts::tr("Unrecognized session file format."));
        return reading;
    }
    if (version > SessionDocument::currentVersion) {
        reading.warning = UserMessage{UserMessage::Kind::Warning, Texts::tr("Warning"),
                                      Texts::tr("This session was saved by a newer version of Tessaly.\n"
                                                "Some settings may not be restored correctly.")};
    }
    SessionDocument& document = reading.document;
    document.version = static_cast<int>(std::min<double>(version, std::numeric_limits<int>::max()));
    document.savedAt = textOf(root, QLatin1StringView("savedAt"));
    const QJsonObject mainWindow = root.value(QLatin1StringView("mainWindow")).toObject();
    document.activeDatasetIndex = intOf(mainWindow, QLatin1StringView("activeDatasetIndex"), 0);
    document.colorMapIndex = intOf(mainWindow, QLatin1StringView("colorMapIndex"), 0);
    document.expertMode = mainWindow.value(QLatin1StringView("expertMode")).toBool();
    for (const QJsonValue dataset : root.value(QLatin1StringView("datasets")).toArray()) {
        document.datasets.push_back(datasetFromJson(dataset));
    }
    for (const QJsonValue group : root.value(QLatin1StringView("filterGroups")).toArray()) {
        if (group.isObject()) {
            document.filterGroups.push_back(groupFromJson(group.toObject()));
        }
    }
    document.nextGroupId = std::max(intOf(root, QLatin1StringView("nextGroupId"), 0), 0);
    document.combineWindows = objectsOf(root.value(QLatin1StringView("combineWindows")));
    document.statEvalWindows = objectsOf(root.value(QLatin1StringView("statEvalWindows")));
    return reading;
}

std::optional<UserMessage> writeSessionFile(const QString& path, const SessionDocument& document) {
    if (replaceFile(path, sessionToJson(document))) {
        return std::nullopt;
    }
    return critical(Texts::tr("Failed to write session file: ") + path);
}

SessionReading readSessionFile(const QString& path) {
    QFile file(path);
    const bool regular = QFileInfo(path).isFile();
    if (!regular || !file.open(QIODevice::ReadOnly)) {
        SessionReading reading;
        reading.error = critical(Texts::tr("Failed to read session file: ") + path);
        return reading;
    }
    const QByteArray json = file.readAll();
    if (file.error() != QFileDevice::NoError) {
        SessionReading reading;
        reading.error = critical(Texts::tr("Failed to read session file: ") + path);
        return reading;
    }
    return sessionFromJson(json);
}

QString withSessionSuffix(const QString& path) {
    const QString suffix = QStringLiteral(".TSY");
    return path.endsWith(suffix, Qt::CaseInsensitive) ? path : path + suffix;
}

QString storedPath(const QString& filePath, const QString& sessionPath) {
    const QFileInfo file(filePath);
    const QString absolute = QDir::cleanPath(file.absoluteFilePath());
    const QDir folder = folderOf(sessionPath);
    const QString canonical = file.canonicalFilePath();
    // Links on the way may make ".." lead elsewhere than the names say.
    for (const QString& base : {folder.absolutePath(), folder.canonicalPath()}) {
        if (base.isEmpty()) {
            continue;
        }
        const QString relative = QDir(base).relativeFilePath(absolute);
        const QFileInfo reached(resolvedPath(relative, sessionPath));
        if (canonical.isEmpty() ? reached.filePath() == absolute : reached.canonicalFilePath() == canonical) {
            return relative;
        }
    }
    return absolute;
}

QString resolvedPath(const QString& stored, const QString& sessionPath) {
    const QDir folder = folderOf(sessionPath);
    const QString joined = folder.absoluteFilePath(stored);
    const QString cleaned = QDir::cleanPath(joined);
    if (QFileInfo::exists(cleaned) || QDir::isAbsolutePath(stored)) {
        return cleaned;
    }
    const QString real = QDir::cleanPath(QDir(folder.canonicalPath()).absoluteFilePath(stored));
    return QFileInfo::exists(real) ? real : cleaned;
}

} // namespace Tessaly
