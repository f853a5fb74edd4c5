#pragma once

#include <QTreeWidget>

namespace Tessaly {

/// The datasets by folder. Dataset items carry the dataset's id in Qt::UserRole, folder items carry nothing there. A
/// dataset can be dragged onto another dataset of this very tree; the tree itself moves nothing, it asks for it.
class DatasetTreeWidget : public QTreeWidget {
    Q_OBJECT

public:
    explicit DatasetTreeWidget(QWidget* parent = nullptr);

    /// The dataset id of an item, -1 for a folder and for null.
    static int idOf(const QTreeWidgetItem* item);
    /// The item of a dataset, or null.
    QTreeWidgetItem* itemOfId(int id) const;

signals:
    /// A dataset was dropped above or below another one. Comes from the event loop, not from within the drag.
    void internalReorderRequested(int sourceId, int targetId, bool after);

protected:
    QItemSelectionModel::SelectionFlags selectionCommand(const QModelIndex& index,
                                                         const QEvent* event = nullptr) const override;
    void resizeEvent(QResizeEvent* event) override;
    void drawBranches(QPainter* painter, const QRect& rect, const QModelIndex& index) const override;
    QStringList mimeTypes() const override;
    QMimeData* mimeData(const QList<QTreeWidgetItem*>& items) const override;
    void startDrag(Qt::DropActions supportedActions) override;
    void dragMoveEvent(QDragMoveEvent* event) override;
    void dropEvent(QDropEvent* event) override;
    /// Whether a dataset that was picked up in this widget is over it. Virtual for platforms that can't drag.
    virtual bool isOwnDrag(const QDropEvent* event) const;

private:
    /// The dataset under a drag, -1 where it can't be dropped.
    int dropTargetId(const QDropEvent* event) const;
};

} // namespace Tessaly
