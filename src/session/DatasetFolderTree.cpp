#include "session/DatasetFolderTree.h"

#include <QFileInfo>
#include <QHash>

#include <algorithm>
#include <cstddef>

namespace Tessaly {

namespace {

struct Folder {
    QString name;
    QString parent;  ///< key of the folder above
    int level = 0;   ///< 1 for the first folder of a path
    int deepest = 0; ///< most folders of any path that passes through
    int node = -1;   ///< index among the nodes of the view, -1 until it is shown
};

/// A node while the view grows: children by index, so that growing moves nothing that is referred to.
struct Node {
    QString label;
    int datasetIndex = -1;
    std::vector<int> children;
};

class Builder {
public:
    explicit Builder(int depth) : depth_(depth) {}

    /// Enters the folders of a path. Returns the key of its own folder, empty if it has none.
    QString enterFolders(const QString& filePath) {
        const QFileInfo info(filePath);
        if (filePath.isEmpty() || !info.isAbsolute()) {
            return {};
        }
        const QStringList segments = info.absolutePath().split('/', Qt::SkipEmptyParts);
        const int count = static_cast<int>(segments.size());
        QString key;
        for (int level = 1; level <= count; ++level) {
            const QString parent = key;
            const QString& name = segments[level - 1];
            key = parent.isEmpty() ? name : parent + '/' + name;
            Folder& folder = folders_[key];
            if (folder.level == 0) {
                folder = {.name = name, .parent = parent, .level = level};
            }
            folder.deepest = std::max(folder.deepest, count);
        }
        return key;
    }

    void addDataset(int row, const QString& folderKey) {
        const int parent = folderNode(folderKey);
        newNode({.label = {}, .datasetIndex = row, .children = {}}, parent);
    }

    std::vector<DatasetFolderNode> view() const { return viewOf(topLevel_); }

private:
    /// The node of a folder, made with its shown ancestors if need be; -1 if the folder isn't shown.
    int folderNode(const QString& key) {
        const auto found = folders_.find(key);
        if (found == folders_.end() || found->deepest - found->level + 1 > depth_) {
            return -1;
        }
        if (found->node < 0) {
            found->node =
                newNode({.label = found->name, .datasetIndex = -1, .children = {}}, folderNode(found->parent));
        }
        return found->node;
    }

    int newNode(Node&& node, int parent) {
        const int index = static_cast<int>(nodes_.size());
        nodes_.push_back(std::move(node));
        (parent < 0 ? topLevel_ : nodes_[static_cast<std::size_t>(parent)].children).push_back(index);
        return index;
    }

    std::vector<DatasetFolderNode> viewOf(const std::vector<int>& indices) const {
        std::vector<DatasetFolderNode> result;
        result.reserve(indices.size());
        for (const int index : indices) {
            const Node& node = nodes_[static_cast<std::size_t>(index)];
            result.push_back({node.label, node.datasetIndex, viewOf(node.children)});
        }
        return result;
    }

    int depth_;
    QHash<QString, Folder> folders_;
    std::vector<Node> nodes_;
    std::vector<int> topLevel_;
};

} // namespace

std::vector<DatasetFolderNode> buildDatasetFolderTree(const QStringList& filePaths, int depth) {
    Builder builder(depth);
    QStringList folderKeys;
    folderKeys.reserve(filePaths.size());
    for (const QString& path : filePaths) {
        folderKeys.append(builder.enterFolders(path));
    }
    for (int row = 0; row < filePaths.size(); ++row) {
        builder.addDataset(row, folderKeys[row]);
    }
    return builder.view();
}

} // namespace Tessaly
