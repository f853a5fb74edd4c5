#pragma once

#include <QStyledItemDelegate>

class QTextDocument;

namespace Tessaly {

/// Draws items whose text is rich text. Where it doesn't fit, what is bold (the name) is shortened in its middle and
/// the rest is kept; without anything bold the whole is shortened.
class HtmlItemDelegate : public QStyledItemDelegate {
    Q_OBJECT

public:
    /// Texts for narrow views (QStringList), the narrowest last: drawn where the text of the display role would leave
    /// hardly anything of the name. They may hold a line break.
    static constexpr int NarrowTextsRole = Qt::UserRole + 1;

    using QStyledItemDelegate::QStyledItemDelegate;

    void paint(QPainter* painter, const QStyleOptionViewItem& option, const QModelIndex& index) const override;
    /// The text without wrapping. In a view that doesn't scroll sideways it is as high as what fits the view's width.
    QSize sizeHint(const QStyleOptionViewItem& option, const QModelIndex& index) const override;

    /// What is drawn of an item in a rectangle of this width, without markup.
    QString shownText(const QStyleOptionViewItem& option, const QModelIndex& index, int width) const;

private:
};

} // namespace Tessaly
