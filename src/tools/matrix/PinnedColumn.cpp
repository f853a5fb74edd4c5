#include "tools/matrix/PinnedColumn.h"

#include <QEvent>
#include <QHeaderView>
#include <QPainter>
#include <QScrollBar>
#include <QStyledItemDelegate>
#include <QTreeWidget>

#include <algorithm>

namespace Tessaly {

namespace {

/// Rows as high as in the tree, where the hidden columns have a say, too.
class RowHeights : public QStyledItemDelegate {
public:
    RowHeights(const QTreeWidget& tree, QObject* parent) : QStyledItemDelegate(parent), tree_(tree) {}

    QSize sizeHint(const QStyleOptionViewItem& option, const QModelIndex& index) const override {
        return {QStyledItemDelegate::sizeHint(option, index).width(), tree_.visualRect(index).height()};
    }

private:
    const QTreeWidget& tree_;
};

} // namespace

PinnedColumn::PinnedColumn(QTreeWidget& tree) : QTreeView(&tree), tree_(tree) {
    setObjectName(QStringLiteral("pinnedColumn"));
    setAccessibleName(tree.accessibleName());
    setItemDelegate(new RowHeights(tree, this));
    setFrameShape(QFrame::NoFrame);
    setSelectionMode(tree.selectionMode());
    setFocusPolicy(tree.focusPolicy());
    setAlternatingRowColors(tree.alternatingRowColors());
    setItemsExpandable(tree.itemsExpandable());
    setRootIsDecorated(tree.rootIsDecorated());
    setTextElideMode(tree.textElideMode());
    setVerticalScrollMode(tree.verticalScrollMode());
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    setVerticalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    header()->setStretchLastSection(false);
    hide();

    QScrollBar* vertical = tree.verticalScrollBar();
    connect(vertical, &QScrollBar::valueChanged, verticalScrollBar(), &QScrollBar::setValue);
    connect(verticalScrollBar(), &QScrollBar::valueChanged, vertical, &QScrollBar::setValue);
    connect(tree.horizontalScrollBar(), &QScrollBar::valueChanged, this, &PinnedColumn::follow);
    connect(tree.header(), &QHeaderView::sectionResized, this, [this](int section) {
        if (section == 0) {
            follow();
        }
    });
    tree.viewport()->installEventFilter(this);
}

void PinnedColumn::letGo() {
    hide();
    setModel(nullptr);
}

void PinnedColumn::follow() {
    if (tree_.horizontalScrollBar()->value() == 0) {
        letGo();
        return;
    }
    if (!model()) {
        showRows();
    }
    const QWidget& covered = *tree_.viewport();
    const int width = std::min(tree_.columnWidth(0), covered.width() / 2);
    setColumnWidth(0, width);
    header()->setFixedHeight(tree_.header()->height());
    const int top = covered.y() - tree_.header()->height();
    setGeometry(covered.x(), top, width, covered.geometry().bottom() + 1 - top);
    show();
    verticalScrollBar()->setValue(tree_.verticalScrollBar()->value());
}

void PinnedColumn::showRows() {
    setModel(tree_.model());
    header()->setSectionResizeMode(QHeaderView::Fixed);
    for (int column = 1; column < model()->columnCount(); ++column) {
        setColumnHidden(column, true);
    }
    expandAll();
}

bool PinnedColumn::eventFilter(QObject* watched, QEvent* event) {
    // The kind first: the viewport still sends events when the tree is half gone and can't be asked any more.
    if (event->type() == QEvent::Resize && watched == tree_.viewport()) {
        follow();
    }
    return QTreeView::eventFilter(watched, event);
}

void PinnedColumn::paintEvent(QPaintEvent* event) {
    QTreeView::paintEvent(event);
    // An edge tells it from what passes beneath.
    QPainter painter(viewport());
    painter.setPen(palette().color(QPalette::Dark));
    painter.drawLine(viewport()->rect().topRight(), viewport()->rect().bottomRight());
}

} // namespace Tessaly
