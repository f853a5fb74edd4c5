#include "plot/WrappingRow.h"

#include <QBoxLayout>
#include <QResizeEvent>

#include <algorithm>

namespace Tessaly {

WrappingRow::WrappingRow(QLayout* first, QLayout* second, QWidget* parent)
    : QWidget(parent),
      first_(first),
      second_(second),
      row_(new QBoxLayout(QBoxLayout::LeftToRight, this)) {
    row_->setContentsMargins(0, 0, 0, 0);
    row_->setSizeConstraint(QLayout::SetNoConstraint);
    row_->addLayout(first_);
    row_->addLayout(second_);
    row_->addStretch(1);
    setSizePolicy(QSizePolicy::Preferred, QSizePolicy::Fixed);
}

QSize WrappingRow::minimumSizeHint() const {
    const QSize first = first_->sizeHint();
    const QSize second = second_->sizeHint();
    const bool stacked = row_->direction() == QBoxLayout::TopToBottom;
    const int height =
        stacked ? first.height() + row_->spacing() + second.height() : std::max(first.height(), second.height());
    return {std::max(first.width(), second.width()), height};
}

void WrappingRow::resizeEvent(QResizeEvent* event) {
    QWidget::resizeEvent(event);
    const bool fits = width() >= first_->sizeHint().width() + row_->spacing() + second_->sizeHint().width();
    const auto direction = fits ? QBoxLayout::LeftToRight : QBoxLayout::TopToBottom;
    if (direction != row_->direction()) {
        row_->setDirection(direction);
        updateGeometry();
    }
}

} // namespace Tessaly
