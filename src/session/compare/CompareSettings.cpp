#include "session/compare/CompareSettings.h"

#include "core/DatasetEntry.h"
#include "session/Session.h"

#include <QCoreApplication>
#include <QJsonArray>

#include <algorithm>
#include <cmath>

namespace Tessaly {

namespace {

struct Texts {
    Q_DECLARE_TR_FUNCTIONS(Tessaly::CompareSettings)
};

constexpr double LowestAlpha = 0.001;
constexpr double HighestAlpha = 0.5;
constexpr int LastTab = 2;

template <typename Choice>
Choice choiceNamed(const QJsonValue& name, const QStringList& names, Choice otherwise) {
    const qsizetype found = names.indexOf(name.toString());
    return found < 0 ? otherwise : static_cast<Choice>(found);
}

QJsonObject entryToJson(const CategoryEntry& entry, const DatasetNumbers& idToIndex) {
    return {{"datasetSessionIndex", otherNumber(idToIndex, entry.datasetId)},
            {"numberId", entry.numberId},
            {"bioRepId", entry.bioRepId},
            {"techRepId", entry.techRepId}};
}

QJsonObject categoryToJson(const Category& category, const DatasetNumbers& idToIndex) {
    QJsonArray entries;
    for (const CategoryEntry& entry : category.entries) {
        entries.append(entryToJson(entry, idToIndex));
    }
    return {
        {"name", category.name}, {"removable", category.removable}, {"color", category.color}, {"entries", entries}};
}

/// Whether a text is a colour as it was written: "#" and six hexadecimal digits.
bool isColor(const QString& text) {
    const auto isHexDigit = [](QChar c) {
        return (c >= u'0' && c <= u'9') || (c >= u'a' && c <= u'f') || (c >= u'A' && c <= u'F');
    };
    return text.size() == 7 && text[0] == u'#' && std::all_of(text.begin() + 1, text.end(), isHexDigit);
}

Category categoryFromJson(const QJsonObject& object, std::size_t position, const DatasetNumbers& indexToId,
                          const Session& session) {
    Category category;
    category.name = object["name"].toString();
    category.removable = object["removable"].toBool(false);
    const QString color = object["color"].toString();
    category.color = isColor(color) ? color : categoryColor(position);
    for (const QJsonValue value : object["entries"].toArray()) {
        const QJsonObject saved = value.toObject();
        const int id = otherNumber(indexToId, saved["datasetSessionIndex"].toInt(-1));
        const DatasetEntry* dataset = session.findById(id);
        if (!dataset || std::ranges::find(category.entries, id, &CategoryEntry::datasetId) != category.entries.end()) {
            continue;
        }
        CategoryEntry entry = categoryEntryOf(*dataset);
        entry.numberId = std::max(0, saved["numberId"].toInt());
        entry.bioRepId = std::max(0, saved["bioRepId"].toInt());
        entry.techRepId = std::max(0, saved["techRepId"].toInt());
        category.entries.push_back(entry);
    }
    return category;
}

} // namespace

QStringList summaryNames() {
    return {Texts::tr("Median"), Texts::tr("Mean"), Texts::tr("Standard Deviation"),
            Texts::tr("Coefficient of Variation"), Texts::tr("IQR")};
}

QStringList designNames() {
    return {Texts::tr("Independent / No matching"), Texts::tr("Repeated measures / Matched")};
}

QStringList correctionNames() {
    return {Texts::tr("Bonferroni"), Texts::tr("Holm-Bonferroni"), Texts::tr("None (discouraged)")};
}

std::size_t Comparison::pairCount() const {
    const std::size_t count = categories.size();
    return count < 3 ? 1 : count * (count - 1) / 2;
}

QJsonObject compareStateToJson(const CompareState& state, const DatasetNumbers& idToIndex) {
    QJsonArray categories;
    for (const Category& category : state.categories) {
        categories.append(categoryToJson(category, idToIndex));
    }
    const CompareSettings& settings = state.settings;
    return {{"categories", categories},
            {"selectedFeatures", QJsonArray::fromStringList(state.selectedFeatures)},
            {"alpha", settings.alpha},
            {"correctionMethod", correctionNames()[static_cast<int>(settings.correction)]},
            {"averageMethod", summaryNames()[static_cast<int>(settings.summary)]},
            {"pairingMode", designNames()[static_cast<int>(settings.design)]},
            {"technicalReplicates", settings.replicates},
            {"connectionLines", settings.connectionLines},
            {"nextCategoryIndex", state.nextCategoryIndex},
            {"activeTab", state.activeTab}};
}

CompareState compareStateFromJson(const QJsonObject& object, const DatasetNumbers& indexToId, const Session& session) {
    CompareState state;
    for (const QJsonValue value : object["categories"].toArray()) {
        state.categories.push_back(categoryFromJson(value.toObject(), state.categories.size(), indexToId, session));
    }
    for (const QJsonValue value : object["selectedFeatures"].toArray()) {
        if (value.isString()) {
            state.selectedFeatures += value.toString();
        }
    }
    CompareSettings& settings = state.settings;
    settings.alpha = std::clamp(object["alpha"].toDouble(settings.alpha), LowestAlpha, HighestAlpha);
    settings.correction = choiceNamed(object["correctionMethod"], correctionNames(), settings.correction);
    settings.summary = choiceNamed(object["averageMethod"], summaryNames(), settings.summary);
    settings.design = choiceNamed(object["pairingMode"], designNames(), settings.design);
    settings.replicates = object["technicalReplicates"].toBool(false);
    settings.connectionLines = object["connectionLines"].toBool(false) && settings.matched();
    state.nextCategoryIndex = std::max(1, object["nextCategoryIndex"].toInt(state.nextCategoryIndex));
    state.activeTab = std::clamp(object["activeTab"].toInt(0), 0, LastTab);
    return state;
}

} // namespace Tessaly
