#include "tools/matrix/FilterGroupsMatrixWindow.h"

#include "session/Session.h"
#include "session/SessionHost.h"
#include "session/filters/FilterGroups.h"
#include "tools/matrix/PinnedColumn.h"
#include "widgets/KeepOnTop.h"
#include "widgets/PlainText.h"

#include <QCheckBox>
#include <QHeaderView>
#include <QKeyEvent>
#include <QLabel>
#include <QScopedValueRollback>
#include <QScrollBar>
#include <QSignalBlocker>
#include <QStyle>
#include <QTreeWidget>
#include <QVBoxLayout>

#include <algorithm>

namespace Tessaly {

namespace {

constexpr int CellPadding = 12;
constexpr int WidestHeader = 240;

/// A box in the middle of its cell. A layout for one box would cost more than the box.
class Cell : public QWidget {
public:
    explicit Cell(QWidget* parent) : QWidget(parent), box_(new QCheckBox(this)) {}

    QCheckBox* box() const { return box_; }
    QSize sizeHint() const override { return box_->sizeHint(); }
    QSize minimumSizeHint() const override { return box_->minimumSizeHint(); }

protected:
    void resizeEvent(QResizeEvent* /*event*/) override {
        const QSize size = box_->sizeHint().boundedTo(this->size());
        box_->setGeometry(QStyle::alignedRect(layoutDirection(), Qt::AlignCenter, size, rect()));
    }

private:
    QCheckBox* box_;
};

bool sameRow(const GroupMatrix::Row& a, const GroupMatrix::Row& b) {
    // A dataset keeps its row under another name; a folder has nothing but its name.
    return a.datasetId == b.datasetId && a.level == b.level && (a.datasetId >= 0 || a.label == b.label);
}

void showLabel(QTreeWidgetItem& item, const QString& label) {
    item.setText(0, singleLine(label));
    item.setToolTip(0, plainToolTip(label));
}

bool sameGroups(const GroupMatrix& a, const GroupMatrix& b) {
    return std::ranges::equal(a.columns, b.columns, {}, &GroupMatrix::Column::groupId, &GroupMatrix::Column::groupId);
}

} // namespace

FilterGroupsMatrixWindow::FilterGroupsMatrixWindow(Session& session, const SessionHost& host)
    : session_(session),
      host_(host) {
    setObjectName(QStringLiteral("filterGroupsMatrixWindow"));
    setWindowTitle(tr("Filter Groups – Datasets Matrix"));
    resize(720, 480);
    auto* centre = new QWidget;
    auto* layout = new QVBoxLayout(centre);
    layout->setContentsMargins(6, 6, 6, 6);
    auto* hint = new QLabel(
        tr("Tick a cell to enable a filter group for a dataset. Click a group's column header to bulk-toggle it across "
           "datasets, or click a dataset's name to bulk-toggle every group for it."));
    hint->setObjectName(QStringLiteral("matrixHint"));
    hint->setWordWrap(true);
    hint->setStyleSheet(QStringLiteral("QLabel { color: #555; padding-bottom: 4px; }"));
    layout->addWidget(hint);
    buildTree();
    layout->addWidget(tree_, 1);
    setCentralWidget(centre);
    installKeepOnTop(*this);
    listenToNews();
    refresh();
}

void FilterGroupsMatrixWindow::buildTree() {
    tree_ = new QTreeWidget;
    tree_->setObjectName(QStringLiteral("matrixTree"));
    tree_->setAccessibleName(tr("Filter groups by dataset"));
    tree_->setColumnCount(1);
    tree_->setHeaderLabels({tr("Dataset")});
    tree_->setSelectionMode(QAbstractItemView::NoSelection);
    tree_->setFocusPolicy(Qt::NoFocus);
    tree_->setAlternatingRowColors(true);
    tree_->setItemsExpandable(false);
    tree_->setRootIsDecorated(true);
    tree_->setTextElideMode(Qt::ElideMiddle);
    tree_->setVerticalScrollMode(QAbstractItemView::ScrollPerPixel);
    tree_->setHorizontalScrollMode(QAbstractItemView::ScrollPerPixel);
    QHeaderView* header = tree_->header();
    header->setSectionsClickable(true);
    header->setStretchLastSection(false);
    header->setSectionResizeMode(QHeaderView::ResizeToContents);
    header->setSectionResizeMode(0, QHeaderView::Interactive);
    connect(header, &QHeaderView::sectionClicked, this, &FilterGroupsMatrixWindow::onColumnHeaderClicked);
    connect(header, &QHeaderView::sectionResized, this, [this](int section) {
        if (section == 0 && !resizingFirstColumn_) {
            autoSizeFirstColumn_ = false;
        }
    });
    connect(tree_, &QTreeWidget::itemClicked, this, &FilterGroupsMatrixWindow::onItemClicked);
    names_ = new PinnedColumn(*tree_);
    connect(names_, &QTreeView::clicked, this,
            [this](const QModelIndex& index) { onItemClicked(tree_->itemFromIndex(index), index.column()); });
}

void FilterGroupsMatrixWindow::listenToNews() {
    const SessionNotices& news = session_.notices();
    connect(&news, &SessionNotices::datasetsChanged, this, &FilterGroupsMatrixWindow::refresh);
    connect(&news, &SessionNotices::datasetRenamed, this, &FilterGroupsMatrixWindow::refresh);
    connect(&news, &SessionNotices::groupsChanged, this, &FilterGroupsMatrixWindow::refresh);
    connect(&news, &SessionNotices::folderViewChanged, this, &FilterGroupsMatrixWindow::refresh);
}

void FilterGroupsMatrixWindow::refresh() {
    GroupMatrix matrix = groupMatrix(session_, host_.datasetFolderViewActive() ? host_.datasetFolderDepth() : 0);
    if (matrix == shown_) {
        return;
    }
    const QScopedValueRollback rebuilding(rebuilding_, true);
    const bool ticksOnly = matrix.columns == shown_.columns && matrix.rows == shown_.rows;
    if (!ticksOnly) {
        tree_->setUpdatesEnabled(false);
        names_->letGo();
        rebuildColumns(matrix);
        showHeader(matrix);
        rebuildRows(matrix);
        showNames(matrix);
    }
    shown_ = std::move(matrix);
    showTicks(shown_);
    if (!ticksOnly) {
        fitFirstColumn();
        names_->follow();
        tree_->setUpdatesEnabled(true);
    }
}

void FilterGroupsMatrixWindow::rebuildColumns(const GroupMatrix& matrix) {
    if (sameGroups(matrix, shown_)) {
        return;
    }
    // Other groups: no row can stay. Forgotten first: the focus wanders from box to box while they go.
    items_.clear();
    boxes_.clear();
    tree_->clear();
    const QScopedValueRollback resizing(resizingFirstColumn_, true);
    tree_->setColumnCount(static_cast<int>(matrix.columns.size()) + 1);
}

void FilterGroupsMatrixWindow::rebuildRows(const GroupMatrix& matrix) {
    // Rows stay up to the first that differs. Going from the back, children leave before their folder.
    std::size_t kept = 0;
    while (kept < items_.size() && kept < matrix.rows.size() && sameRow(matrix.rows[kept], shown_.rows[kept])) {
        ++kept;
    }
    boxes_.resize(kept * matrix.columns.size());
    while (items_.size() > kept) {
        const QTreeWidgetItem* gone = items_.back();
        items_.pop_back();
        delete gone;
    }
    appendRows(matrix);
    for (std::size_t row = kept; row < matrix.rows.size(); ++row) {
        appendBoxes(items_[row], matrix.rows[row].datasetId, matrix);
    }
    // Last, since it lays out the rows: every box after that would do so once more. A plain list needs none of it.
    if (std::ranges::any_of(matrix.rows, [](const GroupMatrix::Row& row) { return row.datasetId < 0; })) {
        tree_->expandAll();
    }
}

void FilterGroupsMatrixWindow::appendRows(const GroupMatrix& matrix) {
    // Items enter the tree when they are complete: what is changed in the tree makes it lay out its columns.
    const QSize hint(0, tree_->fontMetrics().height() + CellPadding);
    QList<QTreeWidgetItem*> topLevel;
    for (std::size_t row = items_.size(); row < matrix.rows.size(); ++row) {
        const auto& [datasetId, level, label] = matrix.rows[row];
        auto* item = new QTreeWidgetItem;
        showLabel(*item, label);
        if (datasetId >= 0) {
            item->setData(0, Qt::UserRole, datasetId);
            for (int column = 1; column < tree_->columnCount(); ++column) {
                item->setSizeHint(column, hint);
            }
        }
        std::size_t folder = row;
        while (level > 0 && folder > 0 && matrix.rows[folder].level >= level) {
            --folder;
        }
        if (level > 0) {
            items_[folder]->addChild(item);
        } else {
            topLevel.append(item);
        }
        items_.push_back(item);
    }
    tree_->addTopLevelItems(topLevel);
}

void FilterGroupsMatrixWindow::appendBoxes(QTreeWidgetItem* item, int datasetId, const GroupMatrix& matrix) {
    for (std::size_t column = 0; column < matrix.columns.size(); ++column) {
        if (datasetId < 0) {
            boxes_.push_back(nullptr);
            continue;
        }
        const int groupId = matrix.columns[column].groupId;
        // Born where it belongs: a widget that is a window first is set up twice.
        auto* cell = new Cell(tree_->viewport());
        QCheckBox* box = cell->box();
        box->setObjectName(QStringLiteral("dataset%1Group%2CheckBox").arg(datasetId).arg(groupId));
        box->installEventFilter(this);
        connect(box, &QCheckBox::toggled, this, [this, datasetId, groupId](bool on) {
            if (!rebuilding_) {
                session_.setGroupEnabled(datasetId, groupId, on);
            }
        });
        tree_->setItemWidget(item, static_cast<int>(column) + 1, cell);
        boxes_.push_back(box);
    }
}

void FilterGroupsMatrixWindow::showHeader(const GroupMatrix& matrix) {
    if (matrix.columns == shown_.columns) {
        return;
    }
    {
        // Told once for all: every telling makes the tree measure all of its columns.
        const QSignalBlocker blocker(tree_->model());
        QTreeWidgetItem* header = tree_->headerItem();
        for (std::size_t column = 0; column < matrix.columns.size(); ++column) {
            const QString& name = matrix.columns[column].name;
            const int section = static_cast<int>(column) + 1;
            header->setText(section, tree_->fontMetrics().elidedText(singleLine(name), Qt::ElideMiddle, WidestHeader));
            header->setToolTip(section, plainToolTip(name));
            header->setTextAlignment(section, Qt::AlignCenter);
        }
    }
    emit tree_->model()->headerDataChanged(Qt::Horizontal, 0, tree_->columnCount() - 1);
}

void FilterGroupsMatrixWindow::showNames(const GroupMatrix& matrix) {
    for (std::size_t row = 0; row < items_.size(); ++row) {
        const QString& label = matrix.rows[row].label;
        showLabel(*items_[row], label);
        for (std::size_t column = 0; column < matrix.columns.size(); ++column) {
            if (QCheckBox* box = boxes_[row * matrix.columns.size() + column]) {
                box->setAccessibleName(tr("Group %1 for dataset %2").arg(matrix.columns[column].name, label));
            }
        }
    }
}

void FilterGroupsMatrixWindow::showTicks(const GroupMatrix& matrix) {
    for (std::size_t i = 0; i < boxes_.size(); ++i) {
        if (boxes_[i]) {
            boxes_[i]->setChecked(matrix.ticks[i]);
        }
    }
}

void FilterGroupsMatrixWindow::fitFirstColumn() {
    if (autoSizeFirstColumn_) {
        const QScopedValueRollback resizing(resizingFirstColumn_, true);
        tree_->resizeColumnToContents(0);
    }
}

void FilterGroupsMatrixWindow::onColumnHeaderClicked(int column) {
    if (column >= 1 && static_cast<std::size_t>(column) <= shown_.columns.size()) {
        toggleGroupInAll(session_, shown_.columns[static_cast<std::size_t>(column) - 1].groupId);
    }
}

void FilterGroupsMatrixWindow::onItemClicked(QTreeWidgetItem* item, int column) {
    const QVariant id = item->data(0, Qt::UserRole);
    if (column == 0 && id.isValid()) {
        toggleAllGroups(session_, id.toInt());
    }
}

bool FilterGroupsMatrixWindow::eventFilter(QObject* watched, QEvent* event) {
    if (auto* box = qobject_cast<QCheckBox*>(watched)) {
        if (event->type() == QEvent::KeyPress) {
            const auto* press = static_cast<const QKeyEvent*>(event);
            return handleKey(box, press->key(), press->modifiers());
        }
        // What the program moves the focus to is no reason to scroll.
        if (event->type() == QEvent::FocusIn && !rebuilding_) {
            showCell(box);
        }
    }
    return QMainWindow::eventFilter(watched, event);
}

bool FilterGroupsMatrixWindow::handleKey(QCheckBox* box, int key, Qt::KeyboardModifiers modifiers) {
    const auto place = static_cast<std::size_t>(std::ranges::find(boxes_, box) - boxes_.begin());
    if (place == boxes_.size()) {
        return false;
    }
    const std::size_t columns = shown_.columns.size();
    const std::size_t row = place / columns;
    const std::size_t column = place % columns;
    if (key == Qt::Key_Space && modifiers == Qt::ControlModifier) {
        toggleGroupInAll(session_, shown_.columns[column].groupId);
        return true;
    }
    if (key == Qt::Key_Space && modifiers == Qt::ShiftModifier) {
        toggleAllGroups(session_, shown_.rows[row].datasetId);
        return true;
    }
    if (modifiers & ~Qt::KeypadModifier) {
        return false;
    }
    const auto step = [&](std::ptrdiff_t by, bool sameLine) {
        for (auto next = static_cast<std::ptrdiff_t>(place) + by; next >= 0 && next < std::ssize(boxes_); next += by) {
            if (sameLine && static_cast<std::size_t>(next) / columns != row) {
                break;
            }
            if (QCheckBox* target = boxes_[static_cast<std::size_t>(next)]) {
                target->setFocus(Qt::TabFocusReason);
                break;
            }
        }
        return true;
    };
    const auto line = static_cast<std::ptrdiff_t>(columns);
    switch (key) {
    case Qt::Key_Left:
        return step(-1, true);
    case Qt::Key_Right:
        return step(1, true);
    case Qt::Key_Up:
        return step(-line, false);
    case Qt::Key_Down:
        return step(line, false);
    default:
        return false;
    }
}

void FilterGroupsMatrixWindow::showCell(const QCheckBox* box) {
    const auto place = static_cast<std::size_t>(std::ranges::find(boxes_, box) - boxes_.begin());
    if (place == boxes_.size()) {
        return;
    }
    const std::size_t columns = shown_.columns.size();
    const QModelIndex index = tree_->indexFromItem(items_[place / columns], static_cast<int>(place % columns) + 1);
    tree_->scrollTo(index);
    // What is scrolled just into view may lie beneath the names.
    const int hidden = names_->coveredWidth() - tree_->visualRect(index).left();
    if (hidden > 0) {
        QScrollBar* bar = tree_->horizontalScrollBar();
        bar->setValue(bar->value() - hidden);
    }
}

void FilterGroupsMatrixWindow::closeEvent(QCloseEvent* event) {
    emit windowClosed(this);
    QMainWindow::closeEvent(event);
}

} // namespace Tessaly
