#include "widgets/DatasetDrag.h"

#include <QAbstractItemView>
#include <QMimeData>
#include <QString>

namespace Tessaly {

void prepareForDatasetDrags(QAbstractItemView* view) {
    view->setDragEnabled(true);
    view->setAcceptDrops(true);
    view->setDragDropMode(QAbstractItemView::DragDrop);
    view->setDefaultDropAction(Qt::CopyAction);
    view->setDropIndicatorShown(true);
}

QMimeData* datasetMimeData(int id) {
    auto* data = new QMimeData;
    const QString text = QString::number(id);
    data->setData(QLatin1String(DatasetMimeType), text.toUtf8());
    data->setText(text);
    return data;
}

std::optional<int> datasetIdOf(const QMimeData* data) {
    if (!data || !data->hasFormat(QLatin1String(DatasetMimeType))) {
        return std::nullopt;
    }
    bool ok = false;
    const int id = QString::fromUtf8(data->data(QLatin1String(DatasetMimeType))).toInt(&ok);
    return ok ? std::optional(id) : std::nullopt;
}

int dropTargetRow(int itemRow, bool lowerHalf, int rowCount) {
    if (itemRow < 0) {
        return rowCount;
    }
    return itemRow + (lowerHalf ? 1 : 0);
}

bool moveChangesOrder(int fromRow, int toRow) {
    return fromRow != toRow && fromRow + 1 != toRow;
}

} // namespace Tessaly
