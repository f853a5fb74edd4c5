#include "tools/gallery/GalleryGridWidget.h"

#include <QElapsedTimer>
#include <QGridLayout>
#include <QHelpEvent>
#include <QLabel>
#include <QMouseEvent>
#include <QPainter>
#include <QToolTip>

#include <algorithm>

namespace Tessaly {

namespace {

constexpr int SliceMilliseconds = 8;
constexpr int Margin = 8;
constexpr int Spacing = 4;

QPixmap pixmapOf(const GalleryTile& tile) {
    if (tile.pixels.empty()) {
        return {};
    }
    const QImage grey(tile.pixels.data(), tile.width, tile.height, tile.width, QImage::Format_Grayscale8);
    return QPixmap::fromImage(grey.convertToFormat(QImage::Format_RGB32)); // a copy, in the form that is painted
}

/// Its picture and nothing else: what a style draws around it costs more time than a hundred pictures have.
class PictureLabel : public QLabel {
public:
    using QLabel::QLabel;

protected:
    void paintEvent(QPaintEvent*) override {
        const QPixmap picture = pixmap();
        if (!picture.isNull()) {
            QPainter(this).drawPixmap(0, 0, picture);
        }
    }
};

QLabel* prepared(QLabel* label) {
    label->setTextFormat(Qt::PlainText);
    label->setAlignment(Qt::AlignCenter);
    label->setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
    label->hide(); // even if the parent is shown
    return label;
}

} // namespace

GalleryGridWidget::GalleryGridWidget(QWidget* parent) : QWidget(parent), layout_(new QGridLayout(this)) {
    setObjectName(QStringLiteral("galleryGrid"));
    setAccessibleName(tr("Pictures of events"));
    // One sheet for all: labels with sheets of their own would be styled one by one. Pictures have no text.
    setStyleSheet(QStringLiteral("QLabel { color: #555; font-size: 9px; }"));
    layout_->setContentsMargins(Margin, Margin, Margin, Margin);
    layout_->setSpacing(Spacing);
    layout_->setSizeConstraint(QLayout::SetNoConstraint);
    layout_->setEnabled(false); // laid out when a page is shown, not at every label
    slices_.setSingleShot(true);
    slices_.setInterval(0);
    connect(&slices_, &QTimer::timeout, this, &GalleryGridWidget::prepareSlice);
    resize(0, 0);
}

int GalleryGridWidget::rowLength(int pageSize) {
    return pageSize <= 25 ? 5 : pageSize <= 100 ? 10 : 20;
}

void GalleryGridWidget::showPage(const GalleryPage& page, int pageSize, bool showIds) {
    slices_.stop();
    preparing_ = page;
    pictures_.clear();
    rowLength_ = rowLength(pageSize);
    showIds_ = showIds;
    prepareSlice();
}

void GalleryGridWidget::prepareSlice() {
    QElapsedTimer clock;
    clock.start();
    while (pictures_.size() < preparing_->tiles.size()) {
        prepareCell(pictures_.size());
        if (clock.elapsed() >= SliceMilliseconds && pictures_.size() < preparing_->tiles.size()) {
            slices_.start();
            return;
        }
    }
    present();
}

void GalleryGridWidget::prepareCell(std::size_t index) {
    if (index == cells_.size()) {
        Cell made{prepared(new PictureLabel(this)), prepared(new QLabel(this))};
        made.image->ensurePolished();
        made.caption->ensurePolished();
        cells_.push_back(made);
    }
    Cell& cell = cells_[index];
    if (cell.rowLength != rowLength_) {
        const int row = 2 * (static_cast<int>(index) / rowLength_);
        const int column = static_cast<int>(index) % rowLength_;
        if (cell.rowLength != 0) {
            layout_->removeWidget(cell.image);
            layout_->removeWidget(cell.caption);
        }
        layout_->addWidget(cell.image, row, column, Qt::AlignCenter);
        layout_->addWidget(cell.caption, row + 1, column, Qt::AlignCenter);
        cell.rowLength = rowLength_;
        layoutStale_ = true;
    }
    pictures_.push_back(pixmapOf(preparing_->tiles[index]));
}

void GalleryGridWidget::present() {
    const GalleryPage page = std::exchange(preparing_, nullptr);
    const std::vector<QPixmap> pictures = std::exchange(pictures_, {});
    shown_ = static_cast<int>(page->tiles.size());
    setUpdatesEnabled(false);
    for (std::size_t i = 0; i < cells_.size(); ++i) {
        if (i < page->tiles.size()) {
            fillCell(cells_[i], page->tiles[i], pictures[i]);
        } else if (cells_[i].eventId >= 0) {
            cells_[i].image->hide();
            cells_[i].caption->hide();
            cells_[i].image->clear();
            cells_[i].caption->clear();
            cells_[i].eventId = -1;
            layoutStale_ = true;
        }
    }
    // A page like the one before leaves all labels where they are.
    if (std::exchange(layoutStale_, false)) {
        layout_->setEnabled(true);
        layout_->invalidate();
        resize(shown_ > 0 ? layout_->sizeHint() : QSize(0, 0));
        layout_->activate();
        layout_->setEnabled(false);
    }
    setUpdatesEnabled(true);
    emit pageShown();
}

void GalleryGridWidget::fillCell(Cell& cell, const GalleryTile& tile, const QPixmap& picture) {
    // A picture that can't be read leaves its place, so that the others keep theirs.
    const QSize size = picture.isNull() ? QSize(tile.width, tile.height) : picture.size();
    cell.image->setPixmap(picture);
    if (cell.image->size() != size || cell.image->minimumSize() != size) {
        cell.image->setFixedSize(size);
        layoutStale_ = true;
    }
    layoutStale_ = layoutStale_ || cell.image->isHidden() || cell.caption->isHidden() == showIds_;
    cell.image->show();
    if (showIds_) {
        cell.caption->setText(QString::number(tile.eventId));
        if (cell.caption->minimumWidth() != size.width()) {
            cell.caption->setFixedWidth(size.width());
            layoutStale_ = true;
        }
    }
    cell.caption->setVisible(showIds_);
    cell.eventId = tile.eventId;
}

int GalleryGridWidget::eventAt(const QPoint& position) const {
    const QWidget* label = childAt(position);
    const auto found = std::ranges::find_if(
        cells_, [label](const Cell& cell) { return label && (cell.image == label || cell.caption == label); });
    return found == cells_.end() ? -1 : found->eventId;
}

bool GalleryGridWidget::event(QEvent* event) {
    if (event->type() == QEvent::ToolTip) {
        const auto* help = static_cast<const QHelpEvent*>(event);
        const int hovered = eventAt(help->pos());
        if (hovered < 0) {
            QToolTip::hideText();
        } else {
            QToolTip::showText(help->globalPos(), tr("Event %1").arg(hovered), this);
        }
        return true;
    }
    return QWidget::event(event);
}

void GalleryGridWidget::mousePressEvent(QMouseEvent* event) {
    pressedEvent_ = event->button() == Qt::LeftButton ? eventAt(event->position().toPoint()) : -1;
    if (pressedEvent_ < 0) {
        QWidget::mousePressEvent(event);
    }
}

void GalleryGridWidget::mouseReleaseEvent(QMouseEvent* event) {
    const int pressed = std::exchange(pressedEvent_, -1);
    if (event->button() == Qt::LeftButton && pressed >= 0 && eventAt(event->position().toPoint()) == pressed) {
        emit eventClicked(pressed);
    }
}

} // namespace Tessaly
