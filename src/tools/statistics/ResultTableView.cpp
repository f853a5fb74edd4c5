#include "tools/statistics/ResultTableView.h"

#include "widgets/PlainText.h"

#include <QClipboard>
#include <QGuiApplication>
#include <QHeaderView>
#include <QKeyEvent>

#include <algorithm>

namespace Tessaly {

namespace {

constexpr int WidestColumn = 240; ///< at first; names may be long
constexpr int WidestHeading = 200;

} // namespace

ResultTableView::ResultTableView(QWidget* parent) : QTableWidget(parent) {
    setEditTriggers(QAbstractItemView::NoEditTriggers);
    setSelectionBehavior(QAbstractItemView::SelectRows);
    setAlternatingRowColors(true);
    setWordWrap(false);
    setTextElideMode(Qt::ElideMiddle);
    verticalHeader()->hide();
    horizontalHeader()->setSectionsClickable(true);
    horizontalHeader()->setStretchLastSection(true);
    connect(horizontalHeader(), &QHeaderView::sectionClicked, this, &ResultTableView::onHeadingClicked);
}

void ResultTableView::setTable(const ResultTable& table) {
    table_ = table;
    sortColumn_ = -1;
    setColumnCount(static_cast<int>(table_.headings.size()));
    QStringList headings;
    const QFontMetrics metrics(horizontalHeader()->font());
    for (const QString& heading : table_.headings) {
        // The header itself would cut a long one at both ends.
        headings += metrics.elidedText(singleLine(heading), Qt::ElideMiddle, WidestHeading);
    }
    setHorizontalHeaderLabels(headings);
    showRows();
    for (int column = 0; column < columnCount(); ++column) {
        horizontalHeaderItem(column)->setToolTip(plainToolTip(table_.headings[column]));
        // The last one, which takes what is left over, would be too narrow when it is sized to its contents.
        const int needed = std::max(sizeHintForColumn(column), horizontalHeader()->sectionSizeHint(column));
        setColumnWidth(column, std::min(needed + 1, WidestColumn));
    }
}

void ResultTableView::onHeadingClicked(int column) {
    if (column != sortColumn_) {
        sortColumn_ = column;
        descending_ = false;
    } else if (!descending_) {
        descending_ = true;
    } else {
        sortColumn_ = -1;
    }
    showRows();
}

void ResultTableView::showRows() {
    horizontalHeader()->setSortIndicatorShown(sortColumn_ >= 0);
    if (sortColumn_ >= 0) {
        horizontalHeader()->setSortIndicator(sortColumn_, descending_ ? Qt::DescendingOrder : Qt::AscendingOrder);
    }
    const std::vector<std::size_t> order = sortedRows(table_, sortColumn_, descending_);
    setRowCount(static_cast<int>(order.size()));
    for (int row = 0; row < rowCount(); ++row) {
        const ResultRow& shown = table_.rows[order[static_cast<std::size_t>(row)]];
        for (int column = 0; column < columnCount(); ++column) {
            const QString text = shown.cells.value(column);
            auto* item = new QTableWidgetItem(singleLine(text));
            item->setToolTip(plainToolTip(text));
            const bool right = table_.rightAligned[static_cast<std::size_t>(column)];
            item->setTextAlignment((right ? Qt::AlignRight : Qt::AlignLeft) | Qt::AlignVCenter);
            setItem(row, column, item);
        }
    }
}

void ResultTableView::copySelection() const {
    QString text;
    for (int row = 0; row < rowCount(); ++row) {
        if (!selectionModel()->isRowSelected(row, {})) {
            continue;
        }
        QStringList cells;
        for (int column = 0; column < columnCount(); ++column) {
            cells += item(row, column)->text();
        }
        text += cells.join(u'\t') + u'\n';
    }
    if (!text.isEmpty()) {
        QGuiApplication::clipboard()->setText(text);
    }
}

void ResultTableView::keyPressEvent(QKeyEvent* event) {
    if (event->matches(QKeySequence::Copy)) {
        copySelection();
        return;
    }
    QTableWidget::keyPressEvent(event);
}

} // namespace Tessaly
