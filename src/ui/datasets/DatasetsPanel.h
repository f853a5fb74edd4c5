#pragma once

#include <QWidget>

#include <vector>

class QComboBox;
class QLabel;
class QSpinBox;
class QStackedWidget;
class QTreeWidgetItem;

namespace Tessaly {

class DatasetListWidget;
class DatasetTreeWidget;
struct DatasetFolderNode;

/// One row of the dataset list, as text.
struct DatasetRow {
    int id = -1;
    QString html;
    QString filePath;
    QStringList narrow{}; ///< for narrow lists, see HtmlItemDelegate::NarrowTextsRole
};

/// Content of the "Datasets" dock: the flat list and the folder tree over the same rows. Knows datasets only by id.
class DatasetsPanel : public QWidget {
    Q_OBJECT

public:
    /// Reads view mode and depth from the settings.
    explicit DatasetsPanel(QWidget* parent = nullptr);

    /// Shows these rows in list and tree, keeping the current one by id. Emits nothing.
    void setRows(const std::vector<DatasetRow>& rows);
    /// Replaces the texts of one row.
    void setRowText(int id, const QString& html, const QStringList& narrow = {});
    /// Makes a dataset current in list and tree; -1 for none. Emits nothing.
    void setCurrentId(int id);
    /// The list's current row, -1 for none.
    int currentRow() const;

    /// Whether the folder tree is shown.
    bool folderViewActive() const;
    /// Folder levels that the tree shows, 1 to 4.
    int folderDepth() const;

    DatasetListWidget* list() const { return list_; }
    DatasetTreeWidget* tree() const { return tree_; }

signals:
    /// The user has chosen a dataset in list or tree.
    void datasetChosen(int id);
    void duplicateRequested(int id);
    void removeRequested(int id);
    /// The user has dragged a row: take the dataset out and put it in before what stands at toRow.
    void reorderRequested(int id, int toRow);
    /// The user has chosen list or folders, or another depth.
    void folderViewChanged();

protected:
    void resizeEvent(QResizeEvent* event) override;

private:
    QWidget* buildModeRow();
    void buildViews();
    void rebuildTree();
    void addNodes(const std::vector<DatasetFolderNode>& nodes, QTreeWidgetItem* parent);
    void selectInTree(int id);
    void showListMenu(const QPoint& position);
    void showTreeMenu(const QPoint& position);
    void showContextMenu(int id, const QPoint& globalPosition);
    void setMode(int index);
    void setDepth(int depth);
    int rowOf(int id) const;
    int currentListId() const;

    std::vector<DatasetRow> rows_;
    QComboBox* modeCombo_ = nullptr;
    QWidget* depthRow_ = nullptr;
    QLabel* depthLabel_ = nullptr;
    QSpinBox* depthSpin_ = nullptr;
    QStackedWidget* stack_ = nullptr;
    DatasetListWidget* list_ = nullptr;
    DatasetTreeWidget* tree_ = nullptr;
    bool updatingTree_ = false; ///< the tree's selection changes by the program, not by the user
};

} // namespace Tessaly
