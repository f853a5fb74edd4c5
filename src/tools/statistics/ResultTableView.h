#pragma once

#include "session/compare/ResultTable.h"

#include <QTableWidget>

namespace Tessaly {

/// Shows a table of results. A click on a heading sorts by it, another one the other way round, a third one restores
/// the order; what is exported stays as it is. Ctrl+C copies the selected rows as text.
class ResultTableView : public QTableWidget {
    Q_OBJECT

public:
    explicit ResultTableView(QWidget* parent = nullptr);

    void setTable(const ResultTable& table);
    /// As it was set, in its own order.
    const ResultTable& table() const { return table_; }

protected:
    void keyPressEvent(QKeyEvent* event) override;

private:
    void onHeadingClicked(int column);
    void showRows();
    void copySelection() const;

    ResultTable table_;
    int sortColumn_ = -1; ///< -1: the table's own order
    bool descending_ = false;
};

} // namespace Tessaly
