#include "tools/combine/AspectRatioLabel.h"

#include <QPainter>
#include <QStyle>

namespace Tessaly {

namespace {

constexpr int MinimumWidth = 300;

} // namespace

AspectRatioLabel::AspectRatioLabel(double ratio, QWidget* parent) : QLabel(parent), aspectRatio_(ratio) {
    setScaledContents(true);
    setMinimumSize(MinimumWidth, static_cast<int>(MinimumWidth / ratio));
    QSizePolicy policy(QSizePolicy::Expanding, QSizePolicy::Expanding);
    policy.setHeightForWidth(true);
    setSizePolicy(policy);
}

int AspectRatioLabel::heightForWidth(int width) const {
    return static_cast<int>(width / aspectRatio_);
}

void AspectRatioLabel::paintEvent(QPaintEvent* /*event*/) {
    const QPixmap picture = pixmap(Qt::ReturnByValue);
    if (picture.isNull()) {
        return;
    }
    const QSizeF room = contentsRect().size();
    const double width = qMin(room.width(), room.height() * aspectRatio_);
    const QSize shown(qRound(width), qRound(width / aspectRatio_));
    QPainter painter(this);
    const QRect place = QStyle::alignedRect(layoutDirection(), Qt::AlignCenter, shown, contentsRect());
    const QSize pixels = shown * devicePixelRatioF();
    painter.drawPixmap(place, picture.scaled(pixels, Qt::IgnoreAspectRatio, Qt::SmoothTransformation));
}

} // namespace Tessaly
