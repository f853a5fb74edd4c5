#pragma once

#include "calc/LinearAlgebra.h"

#include <QWidget>

#include <vector>

class QCheckBox;
class QPushButton;
class QTableWidget;
class QTableWidgetItem;

namespace Tessaly {

/// Page "Crosstalk Compensation" of the calculations dock: the spillover matrix as a table.
class CompensationPage : public QWidget {
    Q_OBJECT

public:
    explicit CompensationPage(QWidget* parent = nullptr);

    /// Builds the table anew, with no spillover, for these channels.
    void setChannels(const std::vector<int>& channels);
    /// The matrix in the table: 1 on the diagonal, 0 for what is no number.
    SquareMatrix spilloverMatrix() const;
    /// Writes a matrix of the table's size into it; another one is ignored.
    void setSpilloverMatrix(const SquareMatrix& matrix);

    bool appliesToAll() const;
    QPushButton* startButton() const { return start_; }

signals:
    void startRequested();

protected:
    void changeEvent(QEvent* event) override;
    void showEvent(QShowEvent* event) override;

private:
    void fitTable();
    /// Strikes out what is typed into a cell and doesn't count.
    void showWhetherNumber(QTableWidgetItem* cell);

    QTableWidget* table_ = nullptr;
    QCheckBox* applyToAll_ = nullptr;
    QPushButton* start_ = nullptr;
};

} // namespace Tessaly
