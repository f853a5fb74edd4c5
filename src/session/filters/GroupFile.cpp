#include "session/filters/GroupFile.h"

#include "core/FileReplacement.h"
#include "session/Session.h"
#include "session/filters/RuleJson.h"

#include <QCoreApplication>
#include <QFile>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <optional>
#include <unordered_map>

namespace Tessaly {

namespace {

// Far above what anybody can look at. A file beyond it would only fill the memory: a rule takes two characters there
// and hundreds of bytes here, and the parser sorts the keys of an object.
constexpr qint64 mostBytes = 128LL << 20;
constexpr qsizetype mostKeys = 5'000'000;
constexpr std::size_t mostGroups = 10'000;
constexpr std::size_t mostRules = 100'000;
constexpr std::size_t mostCorners = 1'000'000;

QString translated(const char* text) {
    return QCoreApplication::translate("Tessaly::GroupFile", text);
}

QJsonObject groupToJson(const FilterGroup& group) {
    QJsonArray rules;
    for (const FilterRule& rule : group.rules) {
        rules.append(ruleToJson(rule));
    }
    return {{"name", QString::fromStdString(group.name)}, {"rules", rules}};
}

/// The groups of a document, or nothing if there are too many of them or of what they hold.
class GroupReading {
public:
    std::optional<std::vector<FilterGroup>> groupsOf(const QJsonArray& list) {
        std::vector<FilterGroup> groups;
        for (const QJsonValue entry : list) {
            if (entry.isObject() && !(groups.size() < mostGroups && addGroup(groups, entry.toObject()))) {
                return std::nullopt;
            }
        }
        return groups;
    }

private:
    bool addGroup(std::vector<FilterGroup>& groups, const QJsonObject& object) {
        FilterGroup group;
        group.name = object.value(QLatin1String("name")).toString().toStdString();
        if (group.name.empty()) {
            group.name = translated("Imported group").toStdString();
        }
        const QJsonArray rules = object.value(QLatin1String("rules")).toArray();
        for (const QJsonValue entry : rules) {
            if (!entry.isObject()) {
                continue;
            }
            group.rules.push_back(ruleFromJson(entry.toObject()));
            corners_ += group.rules.back().polygonVertices.size();
            if (++rules_ > mostRules || corners_ > mostCorners) {
                return false;
            }
        }
        groups.push_back(std::move(group));
        return true;
    }

    std::size_t rules_ = 0;
    std::size_t corners_ = 0;
};

/// The groups of these ids that are still there.
std::vector<const FilterGroup*> chosenGroups(const Session& session, std::span<const int> groupIds) {
    std::unordered_map<int, const FilterGroup*> present;
    for (const auto& group : session.filterGroups()) {
        present.emplace(group->id, group.get());
    }
    std::vector<const FilterGroup*> chosen;
    for (const int id : groupIds) {
        if (const auto found = present.find(id); found != present.end()) {
            chosen.push_back(found->second);
        }
    }
    return chosen;
}

std::optional<QByteArray> contentsOf(const QString& path) {
    const QFileInfo info(path);
    QFile file(path);
    // A device or a pipe would never end.
    if (!info.isFile() || info.size() > mostBytes || !file.open(QIODevice::ReadOnly)) {
        return std::nullopt;
    }
    QByteArray contents = file.readAll();
    if (file.error() != QFileDevice::NoError || contents.count(':') > mostKeys) {
        return std::nullopt;
    }
    return contents;
}

GroupFileOutcome unreadable(const QString& path) {
    return {translated("Failed to read file:\n") + path, {}, {}};
}

} // namespace

QString checkGroupsToExport(const Session& session) {
    return session.filterGroups().empty() ? translated("There are no filter groups to export.") : QString();
}

QByteArray groupDocument(const Session& session, std::span<const int> groupIds) {
    QJsonArray groups;
    for (const FilterGroup* group : chosenGroups(session, groupIds)) {
        groups.append(groupToJson(*group));
    }
    return QJsonDocument(QJsonObject{{"formatVersion", 1}, {"groups", groups}}).toJson(QJsonDocument::Indented);
}

GroupFileOutcome exportFilterGroups(const Session& session, std::span<const int> groupIds, const QString& path) {
    if (!replaceFile(path, groupDocument(session, groupIds))) {
        return {translated("Failed to open file for writing:\n") + path, {}, {}};
    }
    return {{}, {}, translated("Exported %1 filter group(s).").arg(chosenGroups(session, groupIds).size())};
}

GroupFileOutcome importFilterGroups(Session& session, const QString& path) {
    const std::optional<QByteArray> contents = contentsOf(path);
    if (!contents) {
        return unreadable(path);
    }
    QJsonParseError error;
    const QJsonDocument document = QJsonDocument::fromJson(*contents, &error);
    if (!document.isObject()) {
        return {translated("File is not a valid filter-groups JSON: ") + error.errorString(), {}, {}};
    }
    const QJsonArray list = document.object().value(QLatin1String("groups")).toArray();
    if (list.isEmpty()) {
        return {{}, translated("The file contains no filter groups."), {}};
    }
    std::optional<std::vector<FilterGroup>> groups = GroupReading().groupsOf(list);
    if (!groups) {
        return unreadable(path);
    }
    const QString done = translated("Imported %1 filter group(s).").arg(groups->size());
    session.addFilterGroups(std::move(*groups));
    emit session.notices().eventsChanged();
    return {{}, {}, done};
}

} // namespace Tessaly
