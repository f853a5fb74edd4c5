#include "widgets/ElidedButton.h"

#include <QStyleOptionButton>
#include <QStylePainter>

#include <algorithm>

namespace Tessaly {

namespace {

constexpr int LeastCharacters = 6;

} // namespace

QSize ElidedButton::minimumSizeHint() const {
    const int least = fontMetrics().averageCharWidth() * LeastCharacters;
    const int text = fontMetrics().horizontalAdvance(this->text());
    const QSize whole = sizeHint();
    return {whole.width() - std::max(text - least, 0), whole.height()};
}

void ElidedButton::paintEvent(QPaintEvent*) {
    QStyleOptionButton option;
    initStyleOption(&option);
    const int frame = sizeHint().width() - fontMetrics().horizontalAdvance(text());
    option.text = fontMetrics().elidedText(text(), Qt::ElideMiddle, width() - std::min(frame, width() / 2));
    QStylePainter(this).drawControl(QStyle::CE_PushButton, option);
}

} // namespace Tessaly
