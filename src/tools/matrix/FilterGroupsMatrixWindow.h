#pragma once

#include "session/filters/GroupMatrix.h"

#include <QMainWindow>

#include <vector>

class QCheckBox;
class QTreeWidget;
class QTreeWidgetItem;

namespace Tessaly {

class PinnedColumn;
class Session;
class SessionHost;

/// Which filter group is on for which dataset, as a table of check boxes: datasets down the side, groups across the
/// top. A view on the session without a state of its own; follows the session's notices.
///
/// Keys in a box: Space switches it, the arrows go to its neighbours, Shift+Space switches every group for the dataset
/// and Ctrl+Space the group for every dataset, as clicks on the dataset's and the group's name do.
class FilterGroupsMatrixWindow : public QMainWindow {
    Q_OBJECT

public:
    /// Both outlive the window, which has no parent.
    FilterGroupsMatrixWindow(Session& session, const SessionHost& host);

    /// Shows the session as it is now. Keeps every row and box that is still right; a box that has just been clicked
    /// stays where it is.
    void refresh();

signals:
    void windowClosed(FilterGroupsMatrixWindow* self);

protected:
    void closeEvent(QCloseEvent* event) override;
    bool eventFilter(QObject* watched, QEvent* event) override;

private slots:
    void onColumnHeaderClicked(int column);
    void onItemClicked(QTreeWidgetItem* item, int column);

private:
    void buildTree();
    void listenToNews();
    void rebuildColumns(const GroupMatrix& matrix);
    void rebuildRows(const GroupMatrix& matrix);
    void appendRows(const GroupMatrix& matrix);
    void appendBoxes(QTreeWidgetItem* item, int datasetId, const GroupMatrix& matrix);
    void showHeader(const GroupMatrix& matrix);
    void showNames(const GroupMatrix& matrix);
    void showTicks(const GroupMatrix& matrix);
    void fitFirstColumn();
    bool handleKey(QCheckBox* box, int key, Qt::KeyboardModifiers modifiers);
    void showCell(const QCheckBox* box);

    Session& session_;
    const SessionHost& host_;
    QTreeWidget* tree_ = nullptr;
    PinnedColumn* names_ = nullptr;
    GroupMatrix shown_;
    std::vector<QTreeWidgetItem*> items_; ///< by row of shown_
    std::vector<QCheckBox*> boxes_;       ///< like the ticks of shown_; null in a folder's row
    bool rebuilding_ = false;             ///< boxes change by the program, not by the user
    bool autoSizeFirstColumn_ = true;     ///< until the user drags its edge
    bool resizingFirstColumn_ = false;
};

} // namespace Tessaly
