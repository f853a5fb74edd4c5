#include "ui/datasets/DatasetTreeWidget.h"

#include "widgets/DatasetDrag.h"

#include <QDragMoveEvent>
#include <QDropEvent>
#include <QHeaderView>
#include <QMimeData>
#include <QPainter>
#include <QTimer>
#include <QTreeWidgetItemIterator>

namespace Tessaly {

DatasetTreeWidget::DatasetTreeWidget(QWidget* parent) : QTreeWidget(parent) {
    setHeaderHidden(true);
    setColumnCount(1);
    setIndentation(14);
    prepareForDatasetDrags(this);
    setSelectionMode(QAbstractItemView::SingleSelection);
    setAlternatingRowColors(true);
}

int DatasetTreeWidget::idOf(const QTreeWidgetItem* item) {
    const QVariant id = item ? item->data(0, Qt::UserRole) : QVariant();
    return id.isValid() ? id.toInt() : -1;
}

QTreeWidgetItem* DatasetTreeWidget::itemOfId(int id) const {
    for (QTreeWidgetItemIterator it(const_cast<DatasetTreeWidget*>(this)); *it; ++it) {
        if ((*it)->data(0, Qt::UserRole).isValid() && idOf(*it) == id) {
            return *it;
        }
    }
    return nullptr;
}

void DatasetTreeWidget::resizeEvent(QResizeEvent* event) {
    QTreeWidget::resizeEvent(event);
    scheduleDelayedItemsLayout(); // rows get higher where the tree is narrow
}

QItemSelectionModel::SelectionFlags DatasetTreeWidget::selectionCommand(const QModelIndex& index,
                                                                        const QEvent* event) const {
    // The mark stays on the active dataset, whatever is clicked and with whatever key held down.
    if (idOf(itemFromIndex(index)) < 0) {
        return QItemSelectionModel::NoUpdate;
    }
    return QTreeWidget::selectionCommand(index, event) & QItemSelectionModel::NoUpdate
               ? QItemSelectionModel::NoUpdate
               : QItemSelectionModel::ClearAndSelect | QItemSelectionModel::Rows;
}

void DatasetTreeWidget::drawBranches(QPainter* painter, const QRect& rect, const QModelIndex& index) const {
    // In one colour with the item itself.
    if (selectionModel()->isSelected(index)) {
        painter->fillRect(rect, palette().brush(QPalette::Active, QPalette::Highlight));
    }
    QTreeWidget::drawBranches(painter, rect, index);
}

QStringList DatasetTreeWidget::mimeTypes() const {
    return {QLatin1String(DatasetMimeType)};
}

QMimeData* DatasetTreeWidget::mimeData(const QList<QTreeWidgetItem*>& items) const {
    const int id = items.isEmpty() ? -1 : idOf(items.front());
    return id < 0 ? nullptr : datasetMimeData(id);
}

void DatasetTreeWidget::startDrag(Qt::DropActions) {
    QTreeWidget::startDrag(Qt::CopyAction);
}

bool DatasetTreeWidget::isOwnDrag(const QDropEvent* event) const {
    return event->source() == this && event->mimeData()->hasFormat(QLatin1String(DatasetMimeType));
}

int DatasetTreeWidget::dropTargetId(const QDropEvent* event) const {
    const int target = idOf(itemAt(event->position().toPoint()));
    return isOwnDrag(event) && datasetIdOf(event->mimeData()) != target ? target : -1;
}

void DatasetTreeWidget::dragMoveEvent(QDragMoveEvent* event) {
    // The base class draws the drop line and scrolls at the edges.
    QTreeWidget::dragMoveEvent(event);
    if (dropTargetId(event) >= 0) {
        event->setDropAction(Qt::CopyAction);
        event->accept();
    } else {
        event->ignore();
    }
}

void DatasetTreeWidget::dropEvent(QDropEvent* event) {
    const int targetId = dropTargetId(event);
    const std::optional<int> sourceId = datasetIdOf(event->mimeData());
    if (targetId < 0 || !sourceId || !itemOfId(*sourceId)) {
        event->ignore();
        return;
    }
    const QPoint position = event->position().toPoint();
    const bool after = position.y() > visualItemRect(itemAt(position)).center().y();
    event->setDropAction(Qt::CopyAction);
    event->accept();
    // The tree is rebuilt by the receiver, which must not happen while the drag still runs on its items.
    const int source = *sourceId;
    QTimer::singleShot(0, this,
                       [this, source, targetId, after] { emit internalReorderRequested(source, targetId, after); });
}

} // namespace Tessaly
