#pragma once

#include <QStyledItemDelegate>

namespace Tessaly {

/// Draws items whose text is rich text.
class HtmlItemDelegate : public QStyledItemDelegate {
    Q_OBJECT

public:
    using QStyledItemDelegate::QStyledItemDelegate;

    void paint(QPainter* painter, const QStyleOptionViewItem& option, const QModelIndex& index) const override;
    /// The text without wrapping.
    QSize sizeHint(const QStyleOptionViewItem& option, const QModelIndex& index) const override;
};

} // namespace Tessaly
