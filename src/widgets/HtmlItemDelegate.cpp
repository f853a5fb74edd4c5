#include "widgets/HtmlItemDelegate.h"

#include <QPainter>
#include <QTextDocument>

#include <cmath>

namespace Tessaly {

namespace {

constexpr int SideMargin = 4;

} // namespace

void HtmlItemDelegate::paint(QPainter* painter, const QStyleOptionViewItem& option, const QModelIndex& index) const {
    QStyleOptionViewItem item = option;
    initStyleOption(&item, index);
    painter->save();
    if (item.state & QStyle::State_Selected) {
        painter->fillRect(item.rect, item.palette.brush(QPalette::Active, QPalette::Highlight));
    }
    QTextDocument document;
    document.setDefaultFont(item.font);
    document.setHtml(item.text);
    painter->translate(item.rect.left() + SideMargin, item.rect.top());
    document.drawContents(painter, QRectF(0, 0, item.rect.width() - 2 * SideMargin, item.rect.height()));
    painter->restore();
}

QSize HtmlItemDelegate::sizeHint(const QStyleOptionViewItem& option, const QModelIndex& index) const {
    QStyleOptionViewItem item = option;
    initStyleOption(&item, index);
    QTextDocument document;
    document.setDefaultFont(item.font);
    document.setHtml(item.text);
    document.setTextWidth(-1);
    return {static_cast<int>(std::ceil(document.idealWidth())) + 2 * SideMargin,
            static_cast<int>(std::ceil(document.size().height()))};
}

} // namespace Tessaly
