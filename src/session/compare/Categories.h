#pragma once

#include <QString>
#include <QStringList>

#include <span>
#include <string>
#include <vector>

namespace Tessaly {

struct DatasetEntry;

/// A dataset as a member of a category.
struct CategoryEntry {
    int datasetId = -1;
    QString name;           ///< the dataset's name
    std::string sampleName; ///< as measured; empty if the file has none
    int numberId = 0;       ///< sample or subject; 0 for none, as the two below
    int bioRepId = 0;       ///< biological replicate
    int techRepId = 0;      ///< technical replicate

    bool operator==(const CategoryEntry&) const = default;
};

/// A group of datasets to be compared with others. A dataset stands in it once, and may stand in several.
struct Category {
    QString name;
    QString color; ///< such as "#4682b4"
    bool removable = true;
    std::vector<CategoryEntry> entries; ///< in order of adding

    bool operator==(const Category&) const = default;
};

/// Highest number that a user can give as an ID.
inline constexpr int HighestId = 9999;

/// Colour of the category at a position: six in turn.
QString categoryColor(std::size_t position);

/// A new entry for a dataset, without IDs.
CategoryEntry categoryEntryOf(const DatasetEntry& dataset);

/// Reads "ID7", "BR2" and "TR1" from the entry's name, or from its sample name if the name has no ID. Only with an ID
/// the others are looked for, in the same text. What isn't found stays as it is, and so does what has more digits than
/// a number holds.
/// @return whether an ID that can be used was found
bool detectIds(CategoryEntry& entry);
/// What to tell after an attempt to detect all; empty if all were found.
QString detectionMessage(std::size_t entries, std::size_t detected);

/// Rich text of an entry in its category's list: the name and, if wanted, its ID or all three, a red question mark for
/// each that isn't set.
QString entryHtml(const CategoryEntry& entry, bool idsVisible, bool technicalIds);
/// The same in words, for those who hear it.
QString entryText(const CategoryEntry& entry, bool idsVisible, bool technicalIds);
/// "3 datasets".
QString datasetCountText(std::size_t count);

/// Whether samples can be matched by ID: two categories or more, none empty, every entry with an ID, and the same IDs
/// in all of them.
bool idsArePaired(std::span<const Category> categories);
/// Whether an entry has no ID.
bool anyIdMissing(std::span<const Category> categories);
/// The number of different IDs of the category that has fewest; those without any don't count. 0 if there are none.
std::size_t matchedCount(std::span<const Category> categories);

} // namespace Tessaly
