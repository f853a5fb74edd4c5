#pragma once

#include <QTreeView>

class QTreeWidget;

namespace Tessaly {

/// The first column of a tree, laid over the tree's left edge while the rest is scrolled sideways: what a row stands
/// for stays in view. It takes at most half of the tree's width. Emits clicked() as the tree does.
class PinnedColumn : public QTreeView {
    Q_OBJECT

public:
    /// Lies over the tree, which is its parent.
    explicit PinnedColumn(QTreeWidget& tree);

    /// Hides and looks at the tree no more. To be called before rows or columns change, which would be laid out twice.
    void letGo();
    /// Takes its place over the tree if that is scrolled sideways.
    void follow();
    /// Pixels of the tree's left edge that it covers, 0 while hidden.
    int coveredWidth() const { return isVisible() ? width() : 0; }

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;
    void paintEvent(QPaintEvent* event) override;

private:
    void showRows();

    QTreeWidget& tree_;
};

} // namespace Tessaly
