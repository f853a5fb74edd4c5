#pragma once

#include "session/compare/CompareSettings.h"
#include "session/compare/DatasetValue.h"
#include "session/compare/ResultTable.h"

#include <initializer_list>
#include <vector>

namespace Tessaly {

struct Ids {
    int number = 0;
    int biological = 0;
    int technical = 0;
};

/// Categories over datasets that exist in name only, and the values of one feature or more.
class CompareBuilder {
public:
    Comparison comparison;
    ValueTable values;

    explicit CompareBuilder(std::size_t features = 1) {
        for (std::size_t i = 0; i < features; ++i) {
            const char letter = static_cast<char>('a' + i);
            comparison.features.push_back({std::string(1, letter), QStringLiteral("Label %1").arg(QChar(letter))});
        }
    }

    /// Adds a category whose datasets have these values and, where given, these IDs. Of several features each has the
    /// value of the one before, negated.
    CompareBuilder& add(const QString& name, const std::vector<double>& members, const std::vector<Ids>& ids = {}) {
        Category category;
        category.name = name;
        category.color = categoryColor(comparison.categories.size());
        for (std::size_t i = 0; i < members.size(); ++i) {
            CategoryEntry entry;
            entry.datasetId = nextId_++;
            entry.name = name + QStringLiteral(" %1").arg(i + 1);
            if (i < ids.size()) {
                entry.numberId = ids[i].number;
                entry.bioRepId = ids[i].biological;
                entry.techRepId = ids[i].technical;
            }
            DatasetValues& row = values[entry.datasetId];
            for (std::size_t feature = 0; feature < comparison.features.size(); ++feature) {
                row.values.push_back(feature % 2 == 0 ? members[i] : -members[i]);
            }
            category.entries.push_back(entry);
        }
        comparison.categories.push_back(category);
        return *this;
    }

    CompareBuilder& matched() {
        comparison.settings.design = CompareDesign::Matched;
        return *this;
    }
    CompareBuilder& replicates() {
        comparison.settings.replicates = true;
        return *this;
    }
    CompareBuilder& corrected(Correction correction) {
        comparison.settings.correction = correction;
        return *this;
    }

private:
    int nextId_ = 10;
};

/// IDs 1 to n.
inline std::vector<Ids> plainIds(int count) {
    std::vector<Ids> ids;
    for (int i = 1; i <= count; ++i) {
        ids.push_back({i});
    }
    return ids;
}

/// A table line by line, headings first.
inline QStringList rowTexts(const ResultTable& table) {
    QStringList texts{table.headings.join(u'|')};
    for (const ResultRow& row : table.rows) {
        texts += row.cells.join(u'|');
    }
    return texts;
}

} // namespace Tessaly
