#pragma once

#include <QLabel>

class QAbstractItemView;

namespace Tessaly {

/// A grey sentence in the middle of a panel that has nothing to show yet: what will be there and how to get it. It
/// lies over the panel, follows its size and lets the mouse through.
class EmptyHint : public QLabel {
    Q_OBJECT

public:
    /// Lies over any widget; shown until it is hidden.
    EmptyHint(const QString& sentence, QWidget* over);
    /// Lies over a list, tree or table; shown while that has no rows.
    EmptyHint(const QString& sentence, QAbstractItemView* view);

protected:
    bool eventFilter(QObject* object, QEvent* event) override;

private:
    void fillParent();
};

} // namespace Tessaly
