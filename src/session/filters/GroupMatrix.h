#pragma once

#include <QString>

#include <vector>

namespace Tessaly {

class Session;

/// Which filter group is on for which dataset, as a table to be shown: folders and datasets down the side, groups
/// across the top. A value; to show a newer one, compare first: with equal columns and rows only ticks have changed.
struct GroupMatrix {
    struct Column {
        int groupId = -1;
        QString name;

        bool operator==(const Column&) const = default;
    };
    /// A dataset or a folder, each in front of what it holds.
    struct Row {
        int datasetId = -1; ///< -1 for a folder, which has no ticks
        int level = 0;      ///< number of folders around it that are shown
        QString label;      ///< the dataset's name, or the folder's

        bool operator==(const Row&) const = default;
    };

    std::vector<Column> columns;
    std::vector<Row> rows;
    std::vector<bool> ticks; ///< row by row, a place for every column

    bool isTicked(std::size_t row, std::size_t column) const { return ticks[row * columns.size() + column]; }
    bool operator==(const GroupMatrix&) const = default;
};

/// The session's table; groups in the order of their creation.
/// @param folderDepth  folder levels above the datasets, see buildDatasetFolderTree(); 0 for the plain list
/// O(datasets x groups), user interface thread only.
GroupMatrix groupMatrix(const Session& session, int folderDepth);

} // namespace Tessaly
