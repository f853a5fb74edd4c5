#include "widgets/HtmlItemDelegate.h"

#include <QAbstractItemView>
#include <QPainter>
#include <QTextBlock>
#include <QTextCursor>
#include <QTextDocument>
#include <QTextLayout>
#include <QTreeView>

#include <algorithm>
#include <cmath>
#include <optional>

namespace Tessaly {

namespace {

constexpr int SideMargin = 4;
constexpr int WholeName = 16;   ///< average characters that a name gets before the text is wrapped for it
constexpr int ShortestName = 3; ///< no shorter than that

// Selects the first bold stretch of the text, else all of it.
QTextCursor elidablePart(QTextDocument& document) {
    QTextCursor cursor(&document);
    const QTextBlock block = document.firstBlock();
    for (auto it = block.begin(); !it.atEnd(); ++it) {
        if (it.fragment().charFormat().fontWeight() >= QFont::Bold) {
            cursor.setPosition(it.fragment().position());
            cursor.setPosition(it.fragment().position() + it.fragment().length(), QTextCursor::KeepAnchor);
            return cursor;
        }
    }
    cursor.select(QTextCursor::Document);
    return cursor;
}

void setText(QTextDocument& document, const QFont& font, const QString& html) {
    document.setDefaultFont(font);
    document.setHtml(html);
    document.setTextWidth(-1);
}

// Shortens the name in the first line down to so many characters at least. Whether all fits then.
bool shortenTo(QTextDocument& document, double width, int shortestName) {
    if (document.idealWidth() <= width) {
        return true;
    }
    const double name = document.firstBlock().layout()->lineAt(0).naturalTextWidth();
    const double excess = name + 2.0 * document.documentMargin() - width;
    if (excess > 0.0) {
        QTextCursor part = elidablePart(document);
        const QTextCharFormat format = part.charFormat();
        QFont font = document.defaultFont();
        font.setBold(format.fontWeight() >= QFont::Bold);
        const QFontMetricsF metrics(font);
        const QString text = part.selectedText();
        const double room = metrics.horizontalAdvance(text) - excess;
        part.insertText(
            metrics.elidedText(text, Qt::ElideMiddle, std::max(room, shortestName * metrics.averageCharWidth())),
            format);
    }
    return document.idealWidth() <= width + 1.0;
}

// Fills the document with the widest of an item's texts that fits.
void fill(QTextDocument& document, const QStyleOptionViewItem& item, const QModelIndex& index, int width) {
    const double room = width - 2 * SideMargin;
    const QStringList narrow = index.data(HtmlItemDelegate::NarrowTextsRole).toStringList();
    setText(document, item.font, item.text);
    bool fits = shortenTo(document, room, narrow.isEmpty() ? ShortestName : WholeName);
    for (qsizetype i = 0; !fits && i < narrow.size(); ++i) {
        setText(document, item.font, narrow[i]);
        fits = shortenTo(document, room, ShortestName);
    }
}

// The width that a view has for an item, if its rows are to fit the view; else nothing.
std::optional<int> widthInView(const QWidget* widget, const QModelIndex& index) {
    const auto* view = qobject_cast<const QAbstractItemView*>(widget);
    if (!view || view->horizontalScrollBarPolicy() != Qt::ScrollBarAlwaysOff) {
        return std::nullopt;
    }
    int width = view->viewport()->width();
    if (const auto* tree = qobject_cast<const QTreeView*>(view)) {
        width -= tree->rootIsDecorated() ? tree->indentation() : 0;
        for (QModelIndex above = index.parent(); above.isValid(); above = above.parent()) {
            width -= tree->indentation();
        }
    }
    return width;
}

} // namespace

QString HtmlItemDelegate::shownText(const QStyleOptionViewItem& option, const QModelIndex& index, int width) const {
    QStyleOptionViewItem item = option;
    initStyleOption(&item, index);
    QTextDocument document;
    fill(document, item, index, width);
    return document.toPlainText();
}

void HtmlItemDelegate::paint(QPainter* painter, const QStyleOptionViewItem& option, const QModelIndex& index) const {
    QStyleOptionViewItem item = option;
    initStyleOption(&item, index);
    painter->save();
    if (item.state & QStyle::State_Selected) {
        painter->fillRect(item.rect, item.palette.brush(QPalette::Active, QPalette::Highlight));
    } else if (item.state & QStyle::State_HasFocus) {
        // The keys are at a row that isn't the chosen one, a folder for example.
        painter->setPen(item.palette.color(QPalette::Active, QPalette::Highlight));
        painter->drawRect(item.rect.adjusted(0, 0, -1, -1));
    }
    QTextDocument document;
    fill(document, item, index, item.rect.width());
    painter->translate(item.rect.left() + SideMargin, item.rect.top());
    document.drawContents(painter, QRectF(0, 0, item.rect.width() - 2 * SideMargin, item.rect.height()));
    painter->restore();
}

QSize HtmlItemDelegate::sizeHint(const QStyleOptionViewItem& option, const QModelIndex& index) const {
    QStyleOptionViewItem item = option;
    initStyleOption(&item, index);
    QTextDocument document;
    const std::optional<int> room = widthInView(option.widget, index);
    if (room) {
        fill(document, item, index, *room);
    } else {
        setText(document, item.font, item.text);
    }
    const int width = room ? 0 : static_cast<int>(std::ceil(document.idealWidth())) + 2 * SideMargin;
    return {width, static_cast<int>(std::ceil(document.size().height()))};
}

} // namespace Tessaly
