#include "ui/datasets/DatasetListWidget.h"

#include "widgets/DatasetDrag.h"

#include <QDragEnterEvent>
#include <QDropEvent>
#include <QMimeData>
#include <QMouseEvent>
#include <QTimer>

namespace Tessaly {

DatasetListWidget::DatasetListWidget(QWidget* parent) : QListWidget(parent) {
    prepareForDatasetDrags(this);
    setSelectionMode(QAbstractItemView::SingleSelection);
    setAlternatingRowColors(true);
    setHorizontalScrollMode(QAbstractItemView::ScrollPerPixel);
    setResizeMode(QListView::Adjust); // rows get higher where the list is narrow
}

int DatasetListWidget::rowOfId(int id) const {
    for (int row = 0; row < count(); ++row) {
        if (item(row)->data(Qt::UserRole).toInt() == id) {
            return row;
        }
    }
    return -1;
}

QItemSelectionModel::SelectionFlags DatasetListWidget::selectionCommand(const QModelIndex& index, const QEvent*) const {
    // The mark stays on the active dataset, also when the Control key is held down.
    return index.isValid() ? QItemSelectionModel::ClearAndSelect : QItemSelectionModel::NoUpdate;
}

QStringList DatasetListWidget::mimeTypes() const {
    return {QLatin1String(DatasetMimeType)};
}

QMimeData* DatasetListWidget::mimeData(const QList<QListWidgetItem*>& items) const {
    return items.isEmpty() ? nullptr : datasetMimeData(items.front()->data(Qt::UserRole).toInt());
}

void DatasetListWidget::startDrag(Qt::DropActions) {
    QListWidget::startDrag(Qt::CopyAction);
}

bool DatasetListWidget::isOwnDrag(const QDropEvent* event) const {
    return event->source() == this && event->mimeData()->hasFormat(QLatin1String(DatasetMimeType));
}

void DatasetListWidget::dragEnterEvent(QDragEnterEvent* event) {
    QListWidget::dragEnterEvent(event);
    if (isOwnDrag(event)) {
        event->setDropAction(Qt::CopyAction);
        event->accept();
    }
}

void DatasetListWidget::dragMoveEvent(QDragMoveEvent* event) {
    // The base class draws the drop line and scrolls at the edges.
    QListWidget::dragMoveEvent(event);
    if (isOwnDrag(event)) {
        event->setDropAction(Qt::CopyAction);
        event->accept();
    }
}

void DatasetListWidget::dropEvent(QDropEvent* event) {
    if (!isOwnDrag(event)) {
        QListWidget::dropEvent(event);
        return;
    }
    const QPoint position = event->position().toPoint();
    const QListWidgetItem* target = itemAt(position);
    const bool lowerHalf = target && position.y() > visualItemRect(target).center().y();
    const int toRow = dropTargetRow(target ? row(target) : -1, lowerHalf, count());
    const std::optional<int> id = datasetIdOf(event->mimeData());
    const int fromRow = id ? rowOfId(*id) : -1;
    if (fromRow < 0 || !moveChangesOrder(fromRow, toRow)) {
        event->ignore();
        return;
    }
    event->setDropAction(Qt::CopyAction);
    event->accept();
    // The rows are rebuilt by the receiver, which must not happen while the drag still runs on them.
    QTimer::singleShot(0, this, [this, fromRow, toRow] { emit internalReorderRequested(fromRow, toRow); });
}

void DatasetListWidget::mousePressEvent(QMouseEvent* event) {
    // A click on empty space would take the current row away.
    if (event->button() == Qt::LeftButton && !itemAt(event->position().toPoint())) {
        event->accept();
        return;
    }
    QListWidget::mousePressEvent(event);
}

} // namespace Tessaly
