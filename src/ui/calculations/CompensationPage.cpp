#include "ui/calculations/CompensationPage.h"

#include "ui/calculations/PageControls.h"

#include <QCheckBox>
#include <QEvent>
#include <QHeaderView>
#include <QPushButton>
#include <QSignalBlocker>
#include <QTableWidget>
#include <QVBoxLayout>

#include <cmath>
#include <optional>

namespace Tessaly {

namespace {

std::optional<double> numberIn(const QTableWidgetItem& cell) {
    bool parsed = false;
    const double value = cell.text().trimmed().toDouble(&parsed);
    return parsed && std::isfinite(value) ? std::optional(value) : std::nullopt;
}

} // namespace

CompensationPage::CompensationPage(QWidget* parent) : QWidget(parent) {
    table_ = new QTableWidget;
    table_->setObjectName(QStringLiteral("spilloverTable"));
    table_->setAccessibleName(tr("Spillover matrix: part of the column's channel that shows in the row's channel"));
    table_->setToolTip(tr("Part of the light of the column's channel that shows in the row's channel"));
    table_->setSelectionMode(QAbstractItemView::SingleSelection);
    table_->setVerticalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    table_->horizontalHeader()->setSectionResizeMode(QHeaderView::Stretch);
    table_->horizontalHeader()->setMinimumSectionSize(40);
    applyToAll_ = makeApplyToAll("compensationApplyToAll", tr("Crosstalk compensation of all datasets"));
    start_ = makeStartButton(tr("Compensate Crosstalk"), "compensateButton");
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(table_);
    layout->addWidget(applyToAll_);
    layout->addWidget(start_);
    layout->addStretch();
    connect(start_, &QPushButton::clicked, this, &CompensationPage::startRequested);
    connect(table_, &QTableWidget::itemChanged, this, &CompensationPage::showWhetherNumber);
    setChannels({});
}

void CompensationPage::setChannels(const std::vector<int>& channels) {
    const QSignalBlocker blocker(table_);
    const int count = static_cast<int>(channels.size());
    table_->setRowCount(count);
    table_->setColumnCount(count);
    QStringList headers;
    for (const int channel : channels) {
        headers << tr("FL-%1").arg(channel);
    }
    table_->setHorizontalHeaderLabels(headers);
    table_->setVerticalHeaderLabels(headers);
    for (int row = 0; row < count; ++row) {
        for (int column = 0; column < count; ++column) {
            auto* item = new QTableWidgetItem(row == column ? QStringLiteral("1.0") : QStringLiteral("0.0"));
            item->setTextAlignment(Qt::AlignCenter);
            if (row == column) {
                item->setBackground(QColor(230, 230, 230));
                item->setFlags(item->flags() & ~Qt::ItemIsEditable);
            }
            table_->setItem(row, column, item);
        }
    }
    table_->setVisible(count > 0);
    fitTable();
}

void CompensationPage::fitTable() {
    table_->setFixedHeight(table_->horizontalHeader()->sizeHint().height() + table_->verticalHeader()->length() + 4);
}

void CompensationPage::changeEvent(QEvent* event) {
    QWidget::changeEvent(event);
    if (event->type() == QEvent::FontChange || event->type() == QEvent::StyleChange) {
        fitTable();
    }
}

void CompensationPage::showEvent(QShowEvent* event) {
    QWidget::showEvent(event);
    fitTable(); // the style sheet has its say on headers only now
}

SquareMatrix CompensationPage::spilloverMatrix() const {
    const auto count = static_cast<std::size_t>(table_->rowCount());
    SquareMatrix matrix(count, std::vector<double>(count, 0.0));
    for (std::size_t row = 0; row < count; ++row) {
        for (std::size_t column = 0; column < count; ++column) {
            matrix[row][column] =
                numberIn(*table_->item(static_cast<int>(row), static_cast<int>(column))).value_or(0.0);
        }
        matrix[row][row] = 1.0;
    }
    return matrix;
}

void CompensationPage::setSpilloverMatrix(const SquareMatrix& matrix) {
    if (matrix.size() != static_cast<std::size_t>(table_->rowCount())) {
        return;
    }
    const QSignalBlocker blocker(table_);
    for (std::size_t row = 0; row < matrix.size(); ++row) {
        for (std::size_t column = 0; column < matrix.size() && column < matrix[row].size(); ++column) {
            if (row != column) {
                QTableWidgetItem* cell = table_->item(static_cast<int>(row), static_cast<int>(column));
                cell->setText(QString::number(matrix[row][column], 'g', 6));
                showWhetherNumber(cell);
            }
        }
    }
}

void CompensationPage::showWhetherNumber(QTableWidgetItem* cell) {
    const QSignalBlocker blocker(table_);
    const bool counts = numberIn(*cell).has_value();
    QFont font = cell->font();
    font.setStrikeOut(!counts);
    cell->setFont(font);
    cell->setForeground(counts ? QBrush() : QBrush(QColor(0xc6, 0x28, 0x28)));
    cell->setToolTip(counts ? QString() : tr("This is no number and counts as 0. Decimals follow a point."));
}

bool CompensationPage::appliesToAll() const {
    return applyToAll_->isChecked();
}

} // namespace Tessaly
