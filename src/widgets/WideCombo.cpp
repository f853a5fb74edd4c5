#include "widgets/WideCombo.h"

#include <QAbstractItemView>
#include <QScrollBar>

#include <algorithm>

namespace Tessaly {

namespace {

constexpr int MaxRows = 20;
constexpr int EntryMargin = 24; // frame, and what the style puts around the text

} // namespace

WideCombo::WideCombo(QWidget* parent) : QComboBox(parent) {
    setMaxVisibleItems(MaxRows);
}

void WideCombo::showPopup() {
    int width = 0;
    for (int i = 0; i < count(); ++i) {
        width = std::max(width, view()->fontMetrics().horizontalAdvance(itemText(i)));
    }
    const int scrollBar = count() > maxVisibleItems() ? view()->verticalScrollBar()->sizeHint().width() : 0;
    view()->setMinimumWidth(width + scrollBar + EntryMargin);
    QComboBox::showPopup();
}

} // namespace Tessaly
