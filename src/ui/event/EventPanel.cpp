#include "ui/event/EventPanel.h"

#include "plot/ImageViewer.h"
#include "plot/TracePlot.h"
#include "widgets/EmptyHint.h"
#include "widgets/ToolTips.h"

#include <QHeaderView>
#include <QSplitter>
#include <QTabBar>
#include <QTableWidget>

#include <algorithm>

namespace Tessaly {

namespace {

constexpr int ValueWidth = 84;

QTableWidgetItem* itemAt(QTableWidget* table, int row, int column) {
    QTableWidgetItem* item = table->item(row, column);
    if (!item) {
        item = new QTableWidgetItem;
        table->setItem(row, column, item);
    }
    return item;
}

// The labels get what they need as long as the values stay in sight.
void fitLabelColumn(QTableWidget* table) {
    table->resizeColumnToContents(0);
    const int room = std::max(table->viewport()->width() - ValueWidth, ValueWidth);
    table->setColumnWidth(0, std::min(table->columnWidth(0), room));
}

class EventTable : public QTableWidget {
public:
    EventTable() : QTableWidget(0, 2) {}

protected:
    void resizeEvent(QResizeEvent* event) override {
        QTableWidget::resizeEvent(event);
        fitLabelColumn(this);
    }
};

} // namespace

EventPanel::EventPanel(QWidget* parent)
    : QTabWidget(parent),
      imageViewer_(new ImageViewer),
      tracePlot_(new TracePlot),
      table_(new EventTable) {
    setObjectName(QStringLiteral("eventPanel"));
    setAccessibleName(tr("Event"));
    if (imageViewer_->objectName().isEmpty()) {
        imageViewer_->setObjectName(QStringLiteral("imageViewer"));
    }
    if (tracePlot_->objectName().isEmpty()) {
        tracePlot_->setObjectName(QStringLiteral("tracePlot"));
    }
    tabBar()->setElideMode(Qt::ElideRight);
    setUsesScrollButtons(false);
    auto* splitter = new QSplitter(Qt::Vertical);
    splitter->setObjectName(QStringLiteral("imageTraceSplitter"));
    splitter->addWidget(imageViewer_);
    splitter->addWidget(tracePlot_);
    splitter->setStretchFactor(0, 3);
    splitter->setStretchFactor(1, 1);
    splitter->setChildrenCollapsible(false);
    addTab(splitter, tr("Image"));
    setTabToolTip(0, tabText(0));

    buildTable();
    addTab(table_, tr("Event Data"));
    setTabToolTip(1, tabText(1));
}

void EventPanel::buildTable() {
    table_->setObjectName(QStringLiteral("eventTable"));
    table_->setAccessibleName(tr("Event Data"));
    table_->setHorizontalHeaderLabels({tr("Feature"), tr("Value")});
    table_->setAlternatingRowColors(true);
    table_->verticalHeader()->hide();
    table_->verticalHeader()->setDefaultSectionSize(table_->fontMetrics().height() + 8);
    table_->horizontalHeader()->setStretchLastSection(true);
    // The stretched section never gets narrower than it was asked to be.
    table_->horizontalHeader()->resizeSection(1, table_->horizontalHeader()->minimumSectionSize());
    table_->horizontalHeader()->setDefaultAlignment(Qt::AlignLeft | Qt::AlignVCenter);
    table_->setEditTriggers(QAbstractItemView::NoEditTriggers);
    table_->setSelectionBehavior(QAbstractItemView::SelectRows);
    table_->setWordWrap(false);
    // Tab leaves the table instead of walking through hundreds of cells.
    table_->setTabKeyNavigation(false);
    new EmptyHint(tr("No event yet. Click a point in the plot to see the values of its event."), table_);
}

void EventPanel::setValues(const std::vector<EventValue>& values) {
    const bool otherRows = table_->rowCount() != static_cast<int>(values.size());
    table_->setUpdatesEnabled(false);
    table_->setRowCount(static_cast<int>(values.size()));
    for (int row = 0; row < table_->rowCount(); ++row) {
        const EventValue& value = values[static_cast<std::size_t>(row)];
        QTableWidgetItem* label = itemAt(table_, row, 0);
        label->setText(value.label);
        label->setToolTip(plainToolTip(value.key));
        itemAt(table_, row, 1)->setText(value.value);
    }
    if (otherRows) {
        fitLabelColumn(table_);
    }
    table_->setUpdatesEnabled(true);
}

void EventPanel::clearValues() {
    table_->setRowCount(0);
}

} // namespace Tessaly
