#include "session/compare/Categories.h"

#include "core/DatasetEntry.h"

#include <QCoreApplication>

#include <algorithm>
#include <array>
#include <limits>
#include <optional>
#include <set>

namespace Tessaly {

namespace {

struct Texts {
    Q_DECLARE_TR_FUNCTIONS(Tessaly::Categories)
};

/// The digits behind the first mark that is followed by some; nothing without.
std::optional<QString> digitsBehind(const QString& text, const QString& mark) {
    const auto isDigit = [](QChar c) { return c >= u'0' && c <= u'9'; };
    for (qsizetype at = text.indexOf(mark); at >= 0; at = text.indexOf(mark, at + 1)) {
        const qsizetype first = at + mark.size();
        qsizetype end = first;
        while (end < text.size() && isDigit(text[end])) {
            ++end;
        }
        if (end > first) {
            return text.mid(first, end - first);
        }
    }
    return std::nullopt;
}

/// Takes over a number; false if it has more digits than fit.
bool takeNumber(const QString& digits, int& number) {
    bool fits = false;
    const int value = digits.toInt(&fits);
    if (fits) {
        number = value;
    }
    return fits;
}

/// The ID, or all three.
std::vector<int> shownIds(const CategoryEntry& entry, bool technicalIds) {
    return technicalIds ? std::vector{entry.numberId, entry.bioRepId, entry.techRepId} : std::vector{entry.numberId};
}

std::set<int> idsOf(const Category& category) {
    std::set<int> ids;
    for (const CategoryEntry& entry : category.entries) {
        if (entry.numberId > 0) {
            ids.insert(entry.numberId);
        }
    }
    return ids;
}

} // namespace

QString categoryColor(std::size_t position) {
    static const std::array colors{"#4682b4", "#dc503c", "#3cb44b", "#ffa500", "#9467bd", "#8c564b"};
    return QString::fromLatin1(colors[position % colors.size()]);
}

CategoryEntry categoryEntryOf(const DatasetEntry& dataset) {
    CategoryEntry entry;
    entry.datasetId = dataset.id;
    entry.name = dataset.displayName;
    entry.sampleName = metadataValue(dataset.metadata.experiment, "sample");
    return entry;
}

bool detectIds(CategoryEntry& entry) {
    const QString id = QStringLiteral("ID");
    QString text = entry.name;
    std::optional<QString> digits = digitsBehind(text, id);
    if (!digits) {
        text = QString::fromStdString(entry.sampleName);
        digits = digitsBehind(text, id);
    }
    if (!digits) {
        return false;
    }
    const bool usable = takeNumber(*digits, entry.numberId);
    if (const std::optional<QString> biological = digitsBehind(text, QStringLiteral("BR"))) {
        takeNumber(*biological, entry.bioRepId);
    }
    if (const std::optional<QString> technical = digitsBehind(text, QStringLiteral("TR"))) {
        takeNumber(*technical, entry.techRepId);
    }
    return usable;
}

QString detectionMessage(std::size_t entries, std::size_t detected) {
    if (detected == 0 && entries > 0) {
        return Texts::tr("No IDs detected. Use the naming convention ID#, BR#, TR# in dataset names (e.g. \"Sample ID1 "
                         "BR2 TR1\").\n\nID = subject/sample identifier\nBR = biological replicate (optional)\nTR = "
                         "technical replicate (optional)");
    }
    if (detected < entries) {
        return Texts::tr("Detected IDs in %1 of %2 datasets. Remaining datasets need manual assignment or names "
                         "containing ID#.")
            .arg(detected)
            .arg(entries);
    }
    return {};
}

QString entryHtml(const CategoryEntry& entry, bool idsVisible, bool technicalIds) {
    QString html = entry.name.toHtmlEscaped();
    if (!idsVisible) {
        return html;
    }
    const std::vector<int> ids = shownIds(entry, technicalIds);
    QStringList shown;
    for (const int id : ids) {
        shown += id < 1 ? QStringLiteral("<b style=\"color:#c04040\">?</b>") : QString::number(id);
    }
    const bool complete = std::ranges::all_of(ids, [](int id) { return id >= 1; });
    const QString color = complete ? QStringLiteral("#3070b0") : QStringLiteral("#a0a0a0");
    return html + QStringLiteral("  <span style=\"color:%1\">[#%2]</span>").arg(color, shown.join(u'.'));
}

QString entryText(const CategoryEntry& entry, bool idsVisible, bool technicalIds) {
    if (!idsVisible) {
        return entry.name;
    }
    const QStringList kinds{Texts::tr("ID"), Texts::tr("biological replicate"), Texts::tr("technical replicate")};
    QStringList parts{entry.name};
    for (const int id : shownIds(entry, technicalIds)) {
        const QString& kind = kinds[parts.size() - 1];
        parts += id < 1 ? Texts::tr("%1 not set").arg(kind) : Texts::tr("%1 %2").arg(kind).arg(id);
    }
    return parts.join(QStringLiteral(", "));
}

QString datasetCountText(std::size_t count) {
    return Texts::tr("%1 datasets").arg(count);
}

bool idsArePaired(std::span<const Category> categories) {
    return categories.size() >= 2 && !anyIdMissing(categories) &&
           std::ranges::all_of(categories, [first = idsOf(categories[0])](const Category& category) {
               return !category.entries.empty() && idsOf(category) == first;
           });
}

bool anyIdMissing(std::span<const Category> categories) {
    return std::ranges::any_of(categories, [](const Category& category) {
        return std::ranges::any_of(category.entries, [](const CategoryEntry& entry) { return entry.numberId < 1; });
    });
}

std::size_t matchedCount(std::span<const Category> categories) {
    std::size_t smallest = std::numeric_limits<std::size_t>::max();
    for (const Category& category : categories) {
        const std::size_t count = idsOf(category).size();
        smallest = count > 0 ? std::min(smallest, count) : smallest;
    }
    return smallest == std::numeric_limits<std::size_t>::max() ? 0 : smallest;
}

} // namespace Tessaly
