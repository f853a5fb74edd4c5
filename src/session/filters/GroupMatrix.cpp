#include "session/filters/GroupMatrix.h"

#include "session/DatasetFolderTree.h"
#include "session/Session.h"

namespace Tessaly {

namespace {

void appendDataset(GroupMatrix& matrix, const Session& session, const DatasetEntry& dataset, int level) {
    matrix.rows.push_back({dataset.id, level, dataset.displayName});
    for (const GroupMatrix::Column& column : matrix.columns) {
        matrix.ticks.push_back(session.isGroupEnabled(&dataset, column.groupId));
    }
}

void appendNodes(GroupMatrix& matrix, const Session& session, const std::vector<DatasetFolderNode>& nodes, int level) {
    for (const DatasetFolderNode& node : nodes) {
        if (const DatasetEntry* dataset = session.datasetAt(node.datasetIndex)) {
            appendDataset(matrix, session, *dataset, level);
        } else {
            matrix.rows.push_back({-1, level, node.label});
            matrix.ticks.resize(matrix.rows.size() * matrix.columns.size());
            appendNodes(matrix, session, node.children, level + 1);
        }
    }
}

} // namespace

GroupMatrix groupMatrix(const Session& session, int folderDepth) {
    GroupMatrix matrix;
    for (const auto& group : session.filterGroups()) {
        matrix.columns.push_back({group->id, QString::fromStdString(group->name)});
    }
    if (folderDepth < 1) {
        for (const auto& dataset : session.datasets()) {
            appendDataset(matrix, session, *dataset, 0);
        }
        return matrix;
    }
    QStringList paths;
    for (const auto& dataset : session.datasets()) {
        paths.append(QString::fromStdString(dataset->filePath));
    }
    appendNodes(matrix, session, buildDatasetFolderTree(paths, folderDepth), 0);
    return matrix;
}

} // namespace Tessaly
