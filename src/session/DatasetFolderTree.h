#pragma once

#include <QString>
#include <QStringList>

#include <vector>

namespace Tessaly {

/// A folder or a dataset in the folder view.
struct DatasetFolderNode {
    QString label;         ///< folder name; empty for a dataset
    int datasetIndex = -1; ///< row of a dataset, -1 for a folder
    std::vector<DatasetFolderNode> children;

    bool operator==(const DatasetFolderNode&) const = default;
};

/// Groups files by their folders.
/// @param filePaths  by row; relative and empty paths have no folder and stay at the top
/// @param depth      folder levels to show, counted upward from the deepest folder of a branch
/// @return top-level nodes in order of first appearance
std::vector<DatasetFolderNode> buildDatasetFolderTree(const QStringList& filePaths, int depth);

} // namespace Tessaly
