#include "tools/statistics/CategoryPanel.h"

#include "core/DatasetEntry.h"
#include "session/Session.h"
#include "tools/combine/AddDatasetsDialog.h"
#include "tools/statistics/RichTextDelegate.h"
#include "widgets/DatasetDrag.h"
#include "widgets/EmptyHint.h"
#include "widgets/FocusEdge.h"
#include "widgets/PlainText.h"

#include <QColorDialog>
#include <QDialog>
#include <QDialogButtonBox>
#include <QDragEnterEvent>
#include <QFormLayout>
#include <QInputDialog>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QMenu>
#include <QPainter>
#include <QPushButton>
#include <QSpinBox>
#include <QVBoxLayout>

#include <algorithm>
#include <array>
#include <set>

namespace Tessaly {

namespace {

constexpr int LowestList = 50;
constexpr int HighestList = 150;
constexpr int ColorButtonSize = 20;

int idOf(const QListWidgetItem& item) {
    return item.data(Qt::UserRole).toInt();
}

} // namespace

CategoryPanel::CategoryPanel(Session& session, const Category& category, QWidget* parent)
    : QWidget(parent),
      session_(session),
      color_(category.color),
      removable_(category.removable),
      entries_(category.entries) {
    setObjectName(QStringLiteral("categoryPanel"));
    setAcceptDrops(true);
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(4, 4, 4, 4);
    layout->setSpacing(4);
    layout->addWidget(makeHead());
    makeList();
    layout->addWidget(list_);
    layout->addWidget(makeButtons());
    name_->setText(category.name);
    name_->setCursorPosition(0); // a long one shows its beginning
    showColor();
    nameControls();
    rebuildList();
    onSelectionChanged();
}

QWidget* CategoryPanel::makeHead() {
    auto* head = new QWidget;
    auto* layout = new QHBoxLayout(head);
    layout->setContentsMargins(0, 0, 0, 0);
    colorButton_ = new QPushButton;
    colorButton_->setObjectName(QStringLiteral("categoryColor"));
    colorButton_->setFixedSize(ColorButtonSize, ColorButtonSize);
    colorButton_->setToolTip(tr("Click to change category color"));
    new FocusEdge(colorButton_); // its border has a colour of its own
    connect(colorButton_, &QPushButton::clicked, this, &CategoryPanel::chooseColor);
    name_ = new QLineEdit;
    name_->setObjectName(QStringLiteral("categoryName"));
    name_->setAccessibleName(tr("Category name"));
    name_->setFrame(false);
    name_->setStyleSheet(QStringLiteral("QLineEdit { background: transparent; }"));
    QFont bold = name_->font();
    bold.setBold(true);
    name_->setFont(bold);
    name_->setAcceptDrops(false); // datasets go to the panel
    connect(name_, &QLineEdit::textEdited, this, [this] {
        nameControls();
        emit changed();
    });
    count_ = new QLabel;
    count_->setObjectName(QStringLiteral("categoryCount"));
    layout->addWidget(colorButton_);
    layout->addWidget(name_, 1);
    layout->addWidget(count_);
    if (removable_) {
        delete_ = new QPushButton(tr("Delete"));
        delete_->setObjectName(QStringLiteral("deleteCategory"));
        connect(delete_, &QPushButton::clicked, this, [this] { emit deleteRequested(this); });
        layout->addWidget(delete_);
    }
    return head;
}

void CategoryPanel::makeList() {
    list_ = new QListWidget;
    list_->setObjectName(QStringLiteral("categoryList"));
    list_->setMinimumHeight(LowestList);
    list_->setMaximumHeight(HighestList);
    list_->setSelectionMode(QAbstractItemView::ExtendedSelection);
    list_->setDragDropMode(QAbstractItemView::NoDragDrop);
    list_->setItemDelegate(new RichTextDelegate(list_));
    list_->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff); // names are shortened
    list_->setContextMenuPolicy(Qt::CustomContextMenu);
    list_->installEventFilter(this);
    new EmptyHint(tr("Drag datasets here or press \"Add...\"."), list_);
    connect(list_, &QWidget::customContextMenuRequested, this, &CategoryPanel::showMenu);
    connect(list_, &QListWidget::itemDoubleClicked, this, [this](const QListWidgetItem* item) { askIds(idOf(*item)); });
    connect(list_, &QListWidget::itemSelectionChanged, this, &CategoryPanel::onSelectionChanged);
}

QWidget* CategoryPanel::makeButtons() {
    auto* buttons = new QWidget;
    auto* layout = new QHBoxLayout(buttons);
    layout->setContentsMargins(0, 0, 0, 0);
    addDatasets_ = new QPushButton(tr("Add..."));
    addDatasets_->setObjectName(QStringLiteral("addDatasets"));
    connect(addDatasets_, &QPushButton::clicked, this, &CategoryPanel::onAddDatasets);
    clearAll_ = new QPushButton(tr("Clear All"));
    clearAll_->setObjectName(QStringLiteral("clearCategory"));
    connect(clearAll_, &QPushButton::clicked, this, &CategoryPanel::onClearAll);
    removeSelected_ = new QPushButton(tr("Remove Selected"));
    removeSelected_->setObjectName(QStringLiteral("removeSelected"));
    connect(removeSelected_, &QPushButton::clicked, this, &CategoryPanel::onRemoveSelected);
    layout->addWidget(addDatasets_);
    layout->addWidget(clearAll_);
    layout->addWidget(removeSelected_);
    return buttons;
}

Category CategoryPanel::category() const {
    return {name_->text(), color_.name(), removable_, entries_};
}

void CategoryPanel::showIds(bool visible, bool technical) {
    if (visible != idsVisible_ || technical != technicalIds_) {
        idsVisible_ = visible;
        technicalIds_ = technical;
        rebuildList();
    }
}

std::size_t CategoryPanel::detectAllIds() {
    const auto detected = static_cast<std::size_t>(std::ranges::count_if(entries_, detectIds));
    rebuildList();
    return detected;
}

void CategoryPanel::renameDataset(int id, const QString& name) {
    const auto found = std::ranges::find(entries_, id, &CategoryEntry::datasetId);
    if (found != entries_.end()) {
        found->name = name;
        rebuildList();
    }
}

bool CategoryPanel::removeDataset(int id) {
    const bool removed =
        std::erase_if(entries_, [id](const CategoryEntry& entry) { return entry.datasetId == id; }) > 0;
    if (removed) {
        rebuildList();
    }
    return removed;
}

bool CategoryPanel::mayAdd(int id) const {
    const DatasetEntry* dataset = session_.findById(id);
    return dataset && dataset->featuresLoaded && dataset->reader &&
           std::ranges::find(entries_, id, &CategoryEntry::datasetId) == entries_.end();
}

void CategoryPanel::add(const std::vector<int>& ids) {
    bool added = false;
    for (const int id : ids) {
        if (mayAdd(id)) {
            entries_.push_back(categoryEntryOf(*session_.findById(id)));
            added = true;
        }
    }
    if (added) {
        rebuildList();
        emit changed();
    }
}

void CategoryPanel::rebuildList() {
    std::set<int> selected;
    for (const QListWidgetItem* item : list_->selectedItems()) {
        selected.insert(idOf(*item));
    }
    const int currentId = list_->currentItem() ? idOf(*list_->currentItem()) : -1;
    list_->clear();
    for (const CategoryEntry& entry : entries_) {
        auto* item = new QListWidgetItem(entryHtml(entry, idsVisible_, technicalIds_), list_);
        item->setData(Qt::UserRole, entry.datasetId);
        item->setData(Qt::AccessibleTextRole, entryText(entry, idsVisible_, technicalIds_));
        item->setToolTip(plainToolTip(entry.name));
        if (entry.datasetId == currentId) {
            list_->setCurrentItem(item, QItemSelectionModel::NoUpdate);
        }
        item->setSelected(selected.contains(entry.datasetId));
    }
    count_->setText(datasetCountText(entries_.size()));
    clearAll_->setEnabled(!entries_.empty());
    clearAll_->setToolTip(entries_.empty() ? tr("The category holds no datasets") : QString());
}

void CategoryPanel::onSelectionChanged() {
    const bool any = !list_->selectedItems().isEmpty();
    removeSelected_->setEnabled(any);
    removeSelected_->setToolTip(any ? QString() : tr("Select datasets in the list first"));
}

void CategoryPanel::onRemoveSelected() {
    std::set<int> selected;
    for (const QListWidgetItem* item : list_->selectedItems()) {
        selected.insert(idOf(*item));
    }
    if (selected.empty()) {
        return;
    }
    std::erase_if(entries_, [&](const CategoryEntry& entry) { return selected.contains(entry.datasetId); });
    rebuildList();
    emit changed();
}

void CategoryPanel::onClearAll() {
    entries_.clear();
    rebuildList();
    emit changed();
}

void CategoryPanel::onAddDatasets() {
    std::vector<int> ids;
    for (const auto& dataset : session_.datasets()) {
        if (mayAdd(dataset->id)) {
            ids.push_back(dataset->id);
        }
    }
    add(askForDatasetsToAdd(this, session_, ids, tr("All loaded datasets are in this category already.")));
}

void CategoryPanel::chooseColor() {
    const QColor color = QColorDialog::getColor(color_, this, tr("Category Color"));
    if (color.isValid() && color != color_) {
        color_ = color;
        showColor();
        nameControls();
        emit changed();
    }
}

void CategoryPanel::showColor() {
    colorButton_->setStyleSheet(
        QStringLiteral("QPushButton { background-color: %1; border: 1px solid #888; border-radius: 3px; }")
            .arg(color_.name()));
}

void CategoryPanel::nameControls() {
    const QString name = singleLine(name_->text());
    colorButton_->setAccessibleName(tr("Color of %1, %2").arg(name, color_.name()));
    name_->setToolTip(plainToolTip(name));
    list_->setAccessibleName(tr("Datasets of %1").arg(name));
    addDatasets_->setAccessibleName(tr("Add datasets to %1").arg(name));
    clearAll_->setAccessibleName(tr("Remove all datasets from %1").arg(name));
    removeSelected_->setAccessibleName(tr("Remove selected datasets from %1").arg(name));
    if (delete_) {
        delete_->setAccessibleName(tr("Delete %1").arg(name));
    }
}

void CategoryPanel::showMenu(const QPoint& position) {
    const QListWidgetItem* item = list_->itemAt(position);
    if (!item) {
        return;
    }
    auto* menu = new QMenu(list_);
    menu->setAttribute(Qt::WA_DeleteOnClose);
    menu->setObjectName(QStringLiteral("categoryMenu"));
    if (idsVisible_) {
        QAction* set = menu->addAction(tr("Set IDs..."), this, [this, id = idOf(*item)] { askIds(id); });
        set->setObjectName(QStringLiteral("setIds"));
    }
    QAction* remove = menu->addAction(tr("Remove Selected"), this, &CategoryPanel::onRemoveSelected);
    remove->setObjectName(QStringLiteral("removeSelected"));
    remove->setEnabled(removeSelected_->isEnabled());
    menu->popup(list_->viewport()->mapToGlobal(position));
}

void CategoryPanel::askIds(int id) {
    auto found = std::ranges::find(entries_, id, &CategoryEntry::datasetId);
    if (!idsVisible_ || found == entries_.end()) {
        return;
    }
    // The dialog runs an event loop: the dataset may be gone when it returns.
    CategoryEntry asked = *found;
    if (!(technicalIds_ ? askAllNumbers(asked) : askNumber(asked))) {
        return;
    }
    found = std::ranges::find(entries_, id, &CategoryEntry::datasetId);
    if (found != entries_.end()) {
        found->numberId = asked.numberId;
        found->bioRepId = asked.bioRepId;
        found->techRepId = asked.techRepId;
        rebuildList();
        emit changed();
    }
}

bool CategoryPanel::askNumber(CategoryEntry& entry) {
    QInputDialog dialog(this);
    dialog.setObjectName(QStringLiteral("numberIdDialog"));
    dialog.setWindowTitle(tr("Set ID"));
    dialog.setInputMode(QInputDialog::IntInput);
    dialog.setIntRange(0, HighestId);
    dialog.setIntValue(entry.numberId);
    // The name as it is: neither markup nor the mark of a shortcut.
    dialog.setLabelText(tr("ID for \"%1\":").arg(singleLine(entry.name).replace(u'&', QStringLiteral("&&"))));
    dialog.findChild<QLabel*>()->setTextFormat(Qt::PlainText);
    if (dialog.exec() != QDialog::Accepted) {
        return false;
    }
    entry.numberId = dialog.intValue();
    return true;
}

bool CategoryPanel::askAllNumbers(CategoryEntry& entry) {
    QDialog dialog(this);
    dialog.setObjectName(QStringLiteral("replicateIdsDialog"));
    dialog.setWindowTitle(tr("Set Replicate IDs"));
    auto* layout = new QVBoxLayout(&dialog);
    auto* heading = new QLabel(tr("Assign IDs for \"%1\"").arg(singleLine(entry.name)));
    heading->setTextFormat(Qt::PlainText);
    layout->addWidget(heading);
    auto* form = new QFormLayout;
    layout->addLayout(form);
    const std::array labels{tr("ID:"), tr("Biological replicate:"), tr("Technical replicate:")};
    const std::array numbers{&entry.numberId, &entry.bioRepId, &entry.techRepId};
    std::array<QSpinBox*, 3> boxes{};
    for (std::size_t i = 0; i < boxes.size(); ++i) {
        boxes[i] = new QSpinBox;
        boxes[i]->setObjectName(QStringLiteral("replicateId%1").arg(i));
        boxes[i]->setRange(0, HighestId);
        boxes[i]->setValue(*numbers[i]);
        form->addRow(labels[i], boxes[i]);
    }
    boxes[0]->selectAll();
    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel);
    connect(buttons, &QDialogButtonBox::accepted, &dialog, &QDialog::accept);
    connect(buttons, &QDialogButtonBox::rejected, &dialog, &QDialog::reject);
    layout->addWidget(buttons);
    if (dialog.exec() != QDialog::Accepted) {
        return false;
    }
    for (std::size_t i = 0; i < boxes.size(); ++i) {
        *numbers[i] = boxes[i]->value();
    }
    return true;
}

void CategoryPanel::setDropMark(bool shown) {
    dropMark_ = shown;
    update();
}

void CategoryPanel::dragEnterEvent(QDragEnterEvent* event) {
    const std::optional<int> id = datasetIdOf(event->mimeData());
    if (id && mayAdd(*id)) {
        setDropMark(true);
        event->acceptProposedAction();
    }
}

void CategoryPanel::dragMoveEvent(QDragMoveEvent* event) {
    if (dropMark_) {
        event->acceptProposedAction();
    }
}

void CategoryPanel::dragLeaveEvent(QDragLeaveEvent* event) {
    setDropMark(false);
    QWidget::dragLeaveEvent(event);
}

void CategoryPanel::dropEvent(QDropEvent* event) {
    setDropMark(false);
    const std::optional<int> id = datasetIdOf(event->mimeData());
    if (id && mayAdd(*id)) {
        event->acceptProposedAction();
        add({*id});
    }
}

void CategoryPanel::paintEvent(QPaintEvent* event) {
    QWidget::paintEvent(event);
    if (dropMark_) {
        QPainter painter(this);
        painter.setPen(QPen(palette().color(QPalette::Highlight), 2));
        painter.drawRect(rect().adjusted(1, 1, -1, -1));
    }
}

bool CategoryPanel::eventFilter(QObject* watched, QEvent* event) {
    if (watched == list_ && event->type() == QEvent::KeyPress) {
        switch (static_cast<QKeyEvent*>(event)->key()) {
        case Qt::Key_Delete:
            onRemoveSelected();
            return true;
        case Qt::Key_F2:
        case Qt::Key_Return:
        case Qt::Key_Enter:
            if (const QListWidgetItem* item = list_->currentItem()) {
                askIds(idOf(*item));
            }
            return true;
        default:
            break;
        }
    }
    return QWidget::eventFilter(watched, event);
}

} // namespace Tessaly
