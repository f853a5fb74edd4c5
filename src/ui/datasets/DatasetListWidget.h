#pragma once

#include <QListWidget>

namespace Tessaly {

/// The flat list of datasets. Rows carry the dataset's id in Qt::UserRole and can be dragged to another place in this
/// very list; the list itself moves nothing, it asks for it.
class DatasetListWidget : public QListWidget {
    Q_OBJECT

public:
    explicit DatasetListWidget(QWidget* parent = nullptr);

    /// Row of a dataset id, -1 if absent.
    int rowOfId(int id) const;

signals:
    /// A row was dropped before what stands at toRow. Comes from the event loop, not from within the drag.
    void internalReorderRequested(int fromRow, int toRow);

protected:
    QItemSelectionModel::SelectionFlags selectionCommand(const QModelIndex& index,
                                                         const QEvent* event = nullptr) const override;
    QStringList mimeTypes() const override;
    QMimeData* mimeData(const QList<QListWidgetItem*>& items) const override;
    void startDrag(Qt::DropActions supportedActions) override;
    void dragEnterEvent(QDragEnterEvent* event) override;
    void dragMoveEvent(QDragMoveEvent* event) override;
    void dropEvent(QDropEvent* event) override;
    /// Whether a dataset that was picked up in this widget is over it. Virtual for platforms that can't drag.
    virtual bool isOwnDrag(const QDropEvent* event) const;
    void mousePressEvent(QMouseEvent* event) override;
};

} // namespace Tessaly
