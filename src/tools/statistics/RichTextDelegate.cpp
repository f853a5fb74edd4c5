#include "tools/statistics/RichTextDelegate.h"

#include <QAbstractItemView>
#include <QAbstractTextDocumentLayout>
#include <QApplication>
#include <QPainter>
#include <QTextBlock>
#include <QTextCursor>
#include <QTextDocument>

namespace Tessaly {

namespace {

constexpr int Inset = 4;

void layOut(QTextDocument& document, const QStyleOptionViewItem& option, double width) {
    document.setDocumentMargin(2);
    document.setDefaultFont(option.font);
    QTextOption wrapping = document.defaultTextOption();
    wrapping.setWrapMode(QTextOption::NoWrap);
    document.setDefaultTextOption(wrapping);
    document.setHtml(option.text);
    document.setTextWidth(-1);
    const double excess = document.idealWidth() - width;
    const QTextBlock::iterator first = document.firstBlock().begin();
    if (excess <= 0.0 || first.atEnd()) {
        return;
    }
    QTextCursor name(&document);
    name.setPosition(first.fragment().position());
    name.setPosition(first.fragment().position() + first.fragment().length(), QTextCursor::KeepAnchor);
    const QFontMetricsF metrics(option.font);
    const double room = metrics.horizontalAdvance(name.selectedText()) - excess;
    name.insertText(metrics.elidedText(name.selectedText(), Qt::ElideMiddle, room));
}

} // namespace

void RichTextDelegate::paint(QPainter* painter, const QStyleOptionViewItem& option, const QModelIndex& index) const {
    QStyleOptionViewItem item = option;
    initStyleOption(&item, index);
    QTextDocument document;
    layOut(document, item, item.rect.width() - 2 * Inset);
    item.text.clear();
    // The background, the selection and the focus as the style draws them.
    const QStyle* style = item.widget ? item.widget->style() : QApplication::style();
    style->drawControl(QStyle::CE_ItemViewItem, &item, painter, item.widget);

    QAbstractTextDocumentLayout::PaintContext context;
    const bool selected = item.state.testFlag(QStyle::State_Selected);
    context.palette.setColor(QPalette::Text, item.palette.color(selected ? QPalette::HighlightedText : QPalette::Text));
    const QRectF place(item.rect.left() + Inset, item.rect.top(), item.rect.width() - 2 * Inset, item.rect.height());
    painter->save();
    painter->setClipRect(place);
    painter->translate(place.left(), place.top() + (place.height() - document.size().height()) / 2.0);
    document.documentLayout()->draw(painter, context);
    painter->restore();
}

QSize RichTextDelegate::sizeHint(const QStyleOptionViewItem& option, const QModelIndex& index) const {
    QStyleOptionViewItem item = option;
    initStyleOption(&item, index);
    QTextDocument document;
    const auto* view = qobject_cast<const QAbstractItemView*>(option.widget);
    layOut(document, item, (view ? view->viewport()->width() : QWIDGETSIZE_MAX) - 2 * Inset);
    return document.size().toSize() + QSize(2 * Inset, 0);
}

} // namespace Tessaly
