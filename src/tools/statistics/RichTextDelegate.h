#pragma once

#include <QStyledItemDelegate>

namespace Tessaly {

/// Draws items whose text is rich text, in one line as wide as the view. Where that isn't enough, the text before the
/// first markup is shortened in its middle.
class RichTextDelegate : public QStyledItemDelegate {
    Q_OBJECT

public:
    using QStyledItemDelegate::QStyledItemDelegate;

    void paint(QPainter* painter, const QStyleOptionViewItem& option, const QModelIndex& index) const override;
    QSize sizeHint(const QStyleOptionViewItem& option, const QModelIndex& index) const override;
};

} // namespace Tessaly
