#include "ui/datasets/DatasetsPanel.h"

#include "session/DatasetFolderTree.h"
#include "ui/datasets/DatasetListWidget.h"
#include "ui/datasets/DatasetTreeWidget.h"
#include "widgets/EmptyHint.h"
#include "widgets/HtmlItemDelegate.h"
#include "widgets/ToolTips.h"
#include "widgets/WideCombo.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QMenu>
#include <QScopedValueRollback>
#include <QSettings>
#include <QSignalBlocker>
#include <QSpinBox>
#include <QStackedWidget>
#include <QTextDocumentFragment>
#include <QVBoxLayout>

#include <algorithm>
#include <functional>

namespace Tessaly {

namespace {

constexpr char ModeKey[] = "datasetView/mode";
constexpr char DepthKey[] = "datasetView/depth";
constexpr int FolderMode = 1;
constexpr int DefaultDepth = 2;
constexpr int MaxDepth = 4;
constexpr int LabelledRowSpare = 24; ///< margins and gaps of the row with the depth

QString plainText(const QString& html) {
    return QTextDocumentFragment::fromHtml(html).toPlainText();
}

// All of a row: name and details, which the row itself may cut, and where the file is.
QString toolTipOf(const DatasetRow& row) {
    return QStringLiteral("%1<br>%2").arg(row.html, row.filePath.toHtmlEscaped());
}

// List and tree show a row alike.
void describeRow(const DatasetRow& row, const std::function<void(int role, const QVariant& value)>& set) {
    set(Qt::DisplayRole, row.html);
    set(Qt::UserRole, row.id);
    set(Qt::AccessibleTextRole, plainText(row.html));
    set(Qt::ToolTipRole, toolTipOf(row));
    set(HtmlItemDelegate::NarrowTextsRole, row.narrow);
}

void fillItem(QListWidgetItem* item, const DatasetRow& row) {
    describeRow(row, [item](int role, const QVariant& value) { item->setData(role, value); });
}

} // namespace

DatasetsPanel::DatasetsPanel(QWidget* parent) : QWidget(parent) {
    setObjectName(QStringLiteral("datasetsPanel"));
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(4, 4, 4, 4);
    layout->setSpacing(4);
    layout->addWidget(buildModeRow());
    buildViews();
    layout->addWidget(stack_, 1);

    const QSettings settings;
    depthSpin_->setValue(std::clamp(settings.value(QLatin1String(DepthKey), DefaultDepth).toInt(), 1, MaxDepth));
    const bool folders = settings.value(QLatin1String(ModeKey), 0).toInt() == FolderMode;
    modeCombo_->setCurrentIndex(folders ? FolderMode : 0);
    stack_->setCurrentIndex(modeCombo_->currentIndex());
    depthRow_->setVisible(folders);

    connect(modeCombo_, &QComboBox::currentIndexChanged, this, &DatasetsPanel::setMode);
    connect(depthSpin_, &QSpinBox::valueChanged, this, &DatasetsPanel::setDepth);
}

QWidget* DatasetsPanel::buildModeRow() {
    modeCombo_ = new WideCombo;
    modeCombo_->setObjectName(QStringLiteral("datasetModeCombo"));
    modeCombo_->setAccessibleName(tr("Dataset view"));
    modeCombo_->addItems({tr("List"), tr("Folders")});

    depthSpin_ = new QSpinBox;
    depthSpin_->setObjectName(QStringLiteral("folderDepthSpinBox"));
    depthSpin_->setAccessibleName(tr("Folder depth"));
    depthSpin_->setRange(1, MaxDepth);
    depthSpin_->setValue(DefaultDepth);
    depthSpin_->setToolTip(tr("Number of parent folder levels to show"));
    depthLabel_ = new QLabel(tr("Depth:"));
    depthLabel_->setBuddy(depthSpin_);
    depthLabel_->setToolTip(depthSpin_->toolTip());
    depthRow_ = new QWidget;
    auto* depthLayout = new QHBoxLayout(depthRow_);
    depthLayout->setContentsMargins(0, 0, 0, 0);
    depthLayout->addWidget(depthLabel_);
    depthLayout->addWidget(depthSpin_);

    auto* row = new QWidget;
    auto* layout = new QHBoxLayout(row);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(modeCombo_);
    layout->addStretch();
    layout->addWidget(depthRow_);
    return row;
}

void DatasetsPanel::buildViews() {
    list_ = new DatasetListWidget;
    list_->setObjectName(QStringLiteral("datasetList"));
    list_->setAccessibleName(tr("Datasets"));
    list_->setItemDelegate(new HtmlItemDelegate(list_));
    list_->setContextMenuPolicy(Qt::CustomContextMenu);
    tree_ = new DatasetTreeWidget;
    tree_->setObjectName(QStringLiteral("datasetTree"));
    tree_->setAccessibleName(tr("Datasets by folder"));
    tree_->setItemDelegate(new HtmlItemDelegate(tree_));
    tree_->setContextMenuPolicy(Qt::CustomContextMenu);
    for (QAbstractItemView* view : std::initializer_list<QAbstractItemView*>{list_, tree_}) {
        // Rows are shortened to the width of the view, so that flow rate and count stay in sight.
        view->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
        new EmptyHint(tr("No datasets yet. Drop .vqd files or folders here, or use File > Open."), view);
    }
    stack_ = new QStackedWidget;
    stack_->addWidget(list_);
    stack_->addWidget(tree_);

    connect(list_, &QListWidget::currentRowChanged, this, [this](int row) {
        if (row >= 0) {
            emit datasetChosen(currentListId());
        }
    });
    connect(tree_, &QTreeWidget::currentItemChanged, this, [this](QTreeWidgetItem* item) {
        const int id = DatasetTreeWidget::idOf(item);
        if (!updatingTree_ && id >= 0) {
            emit datasetChosen(id);
        }
    });
    connect(list_, &DatasetListWidget::internalReorderRequested, this, [this](int fromRow, int toRow) {
        if (fromRow < static_cast<int>(rows_.size())) {
            emit reorderRequested(rows_[static_cast<std::size_t>(fromRow)].id, toRow);
        }
    });
    connect(tree_, &DatasetTreeWidget::internalReorderRequested, this, [this](int sourceId, int targetId, bool after) {
        const int targetRow = rowOf(targetId);
        if (targetRow >= 0) {
            emit reorderRequested(sourceId, targetRow + (after ? 1 : 0));
        }
    });
    connect(list_, &QWidget::customContextMenuRequested, this, &DatasetsPanel::showListMenu);
    connect(tree_, &QWidget::customContextMenuRequested, this, &DatasetsPanel::showTreeMenu);
}

void DatasetsPanel::setRows(const std::vector<DatasetRow>& rows) {
    const int current = currentListId();
    rows_ = rows;
    {
        const QSignalBlocker blocker(list_);
        list_->clear();
        for (const DatasetRow& row : rows_) {
            auto* item = new QListWidgetItem(list_);
            fillItem(item, row);
            item->setFlags(item->flags() & ~Qt::ItemIsDropEnabled);
        }
        list_->setCurrentRow(rowOf(current));
    }
    if (folderViewActive()) {
        rebuildTree();
    }
}

void DatasetsPanel::setRowText(int id, const QString& html, const QStringList& narrow) {
    const int row = rowOf(id);
    if (row < 0) {
        return;
    }
    DatasetRow& changed = rows_[static_cast<std::size_t>(row)];
    changed.html = html;
    changed.narrow = narrow;
    const QSignalBlocker blocker(list_);
    fillItem(list_->item(row), changed);
    if (folderViewActive()) {
        rebuildTree();
    }
}

void DatasetsPanel::setCurrentId(int id) {
    {
        const QSignalBlocker blocker(list_);
        list_->setCurrentRow(rowOf(id));
    }
    if (folderViewActive()) {
        selectInTree(id);
    }
}

void DatasetsPanel::resizeEvent(QResizeEvent* event) {
    QWidget::resizeEvent(event);
    // Rather no label than a cut one; the field has a tool tip.
    const int needed = modeCombo_->sizeHint().width() + depthLabel_->sizeHint().width() +
                       depthSpin_->sizeHint().width() + LabelledRowSpare;
    depthLabel_->setVisible(width() >= needed);
}

int DatasetsPanel::currentRow() const {
    return list_->currentRow();
}

bool DatasetsPanel::folderViewActive() const {
    return stack_->currentIndex() == FolderMode;
}

int DatasetsPanel::folderDepth() const {
    return depthSpin_->value();
}

void DatasetsPanel::setMode(int index) {
    QSettings().setValue(QLatin1String(ModeKey), index == FolderMode ? FolderMode : 0);
    stack_->setCurrentIndex(index);
    depthRow_->setVisible(index == FolderMode);
    if (folderViewActive()) {
        rebuildTree();
    }
    emit folderViewChanged();
}

void DatasetsPanel::setDepth(int depth) {
    QSettings().setValue(QLatin1String(DepthKey), depth);
    rebuildTree();
    emit folderViewChanged();
}

void DatasetsPanel::rebuildTree() {
    const QScopedValueRollback updating(updatingTree_, true);
    tree_->clear();
    QStringList paths;
    for (const DatasetRow& row : rows_) {
        paths.append(row.filePath);
    }
    addNodes(buildDatasetFolderTree(paths, folderDepth()), tree_->invisibleRootItem());
    tree_->expandAll();
    selectInTree(currentListId());
}

void DatasetsPanel::addNodes(const std::vector<DatasetFolderNode>& nodes, QTreeWidgetItem* parent) {
    for (const DatasetFolderNode& node : nodes) {
        auto* item = new QTreeWidgetItem(parent);
        if (node.datasetIndex < 0) {
            item->setText(0, node.label.toHtmlEscaped());
            item->setData(0, Qt::AccessibleTextRole, node.label);
            item->setToolTip(0, plainToolTip(node.label));
            item->setFlags(item->flags() & ~(Qt::ItemIsSelectable | Qt::ItemIsDragEnabled));
            addNodes(node.children, item);
            continue;
        }
        describeRow(rows_[static_cast<std::size_t>(node.datasetIndex)],
                    [item](int role, const QVariant& value) { item->setData(0, role, value); });
        item->setFlags((item->flags() | Qt::ItemIsDragEnabled) & ~Qt::ItemIsDropEnabled);
    }
}

void DatasetsPanel::selectInTree(int id) {
    const QScopedValueRollback updating(updatingTree_, true);
    QTreeWidgetItem* item = id < 0 ? nullptr : tree_->itemOfId(id);
    tree_->setCurrentItem(item);
    if (!item) {
        tree_->clearSelection();
    }
}

void DatasetsPanel::showListMenu(const QPoint& position) {
    if (const QListWidgetItem* item = list_->itemAt(position)) {
        showContextMenu(item->data(Qt::UserRole).toInt(), list_->viewport()->mapToGlobal(position));
    }
}

void DatasetsPanel::showTreeMenu(const QPoint& position) {
    QTreeWidgetItem* item = tree_->itemAt(position);
    const int id = DatasetTreeWidget::idOf(item);
    if (id < 0) {
        return;
    }
    tree_->setCurrentItem(item);
    showContextMenu(id, tree_->viewport()->mapToGlobal(position));
}

void DatasetsPanel::showContextMenu(int id, const QPoint& globalPosition) {
    auto* menu = new QMenu(this);
    connect(menu, &QMenu::aboutToHide, menu, &QObject::deleteLater);
    menu->setObjectName(QStringLiteral("datasetMenu"));
    const auto addRequest = [&](const QString& text, const char* name, void (DatasetsPanel::*signal)(int)) {
        QAction* action = menu->addAction(text);
        action->setObjectName(QLatin1String(name));
        // Queued: a dialog that the request brings up must not run while the menu is still at work beneath it. Another
        // dataset may have become current while the menu was open.
        connect(
            action, &QAction::triggered, this,
            [this, id, signal] {
                if (rowOf(id) < 0) {
                    return;
                }
                if (id != currentListId()) {
                    emit datasetChosen(id);
                }
                emit(this->*signal)(id);
            },
            Qt::QueuedConnection);
    };
    addRequest(tr("Duplicate Dataset"), "duplicateDatasetAction", &DatasetsPanel::duplicateRequested);
    addRequest(tr("Remove Dataset"), "removeDatasetAction", &DatasetsPanel::removeRequested);
    menu->popup(globalPosition);
}

int DatasetsPanel::rowOf(int id) const {
    const auto found = std::find_if(rows_.begin(), rows_.end(), [id](const DatasetRow& row) { return row.id == id; });
    return found == rows_.end() ? -1 : static_cast<int>(found - rows_.begin());
}

int DatasetsPanel::currentListId() const {
    const QListWidgetItem* item = list_->currentItem();
    return item ? item->data(Qt::UserRole).toInt() : -1;
}

} // namespace Tessaly
