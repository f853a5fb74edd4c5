#include "plot/ImageViewer.h"

#include "io/Codecs.h"
#include "plot/WrappingRow.h"
#include "widgets/FocusEdge.h"

#include <QCheckBox>
#include <QContextMenuEvent>
#include <QFileInfo>
#include <QHBoxLayout>
#include <QLabel>
#include <QMenu>
#include <QMouseEvent>
#include <QPushButton>
#include <QSaveFile>
#include <QScrollArea>
#include <QScrollBar>
#include <QVBoxLayout>

#include <opencv2/imgproc.hpp>

#include <algorithm>

namespace Tessaly {

namespace {

constexpr double SmallestZoom = 0.1;
constexpr double LargestZoom = 10.0;
constexpr double ZoomStep = 1.25;
const cv::Scalar MaskTint(0, 204, 254); // blue, green, red
constexpr double MaskTintShare = 0.3;

cv::Mat matFromBytes(const std::vector<std::uint8_t>& bytes, int width, int height) {
    cv::Mat mat(height, width, CV_8UC1);
    std::copy_n(bytes.data(), mat.total(), mat.data);
    return mat;
}

bool holdsFrame(const std::vector<std::uint8_t>& bytes, int width, int height) {
    return !bytes.empty() && width >= 1 && height >= 1 &&
           static_cast<std::size_t>(width) * static_cast<std::size_t>(height) <= bytes.size();
}

void stretchContrast(cv::Mat& image) {
    cv::Mat gray = image;
    if (image.channels() == 3) {
        cv::cvtColor(image, gray, cv::COLOR_BGR2GRAY);
    }
    double lowest = 0.0;
    double highest = 0.0;
    cv::minMaxLoc(gray, &lowest, &highest);
    if (highest > lowest) {
        const double alpha = 255.0 / (highest - lowest);
        image.convertTo(image, -1, alpha, -lowest * alpha);
    }
}

void tintMask(cv::Mat& image, const cv::Mat& mask) {
    if (image.channels() == 1) {
        cv::cvtColor(image, image, cv::COLOR_GRAY2BGR);
    }
    cv::Mat overlay = image.clone();
    cv::Mat(image.size(), image.type(), MaskTint).copyTo(overlay, mask);
    cv::addWeighted(image, 1.0 - MaskTintShare, overlay, MaskTintShare, 0.0, image);
}

cv::Mat scaled(const cv::Mat& image, double factor) {
    const cv::Size size(static_cast<int>(image.cols * factor), static_cast<int>(image.rows * factor));
    cv::Mat result;
    if (size.width > 0 && size.height > 0) {
        cv::resize(image, result, size, 0.0, 0.0, cv::INTER_LINEAR);
    }
    return result;
}

QPixmap pixmapOf(const cv::Mat& image) {
    if (image.empty() || (image.channels() != 1 && image.channels() != 3)) {
        return {};
    }
    cv::Mat rows = image;
    if (image.channels() == 3) {
        cv::cvtColor(image, rows, cv::COLOR_BGR2RGB);
    }
    const auto format = rows.channels() == 1 ? QImage::Format_Grayscale8 : QImage::Format_RGB888;
    return QPixmap::fromImage(QImage(rows.data, rows.cols, rows.rows, static_cast<qsizetype>(rows.step), format));
}

/// Encodes in memory and writes in one go, so that a failure leaves no half image and an older file whole.
/// @return the reason of a failure, or nothing
QString encodeToFile(const cv::Mat& image, const QString& fileName) {
    const QString suffix = QFileInfo(fileName).suffix();
    if (suffix.isEmpty()) {
        return ImageViewer::tr("The file name has no suffix that tells the format, such as .png or .jpg.");
    }
    const Codecs* const coders = codecs();
    if (coders == nullptr) {
        return ImageViewer::tr(
            "Images can't be written, as a part of the program is missing. Please install it again.");
    }
    const std::string pattern = "image." + suffix.toStdString();
    if (!coders->canEncode(pattern)) {
        return ImageViewer::tr("Images can't be written as \".%1\". Please use .png or .jpg.").arg(suffix);
    }
    std::vector<std::uint8_t> bytes;
    try {
        bytes = coders->encode(pattern, {image.data, image.cols, image.rows, image.channels(), image.step});
    } catch (const std::exception& error) {
        return QString::fromStdString(error.what());
    }
    if (bytes.empty()) {
        return ImageViewer::tr("The image could not be encoded.");
    }
    QSaveFile file(fileName);
    const auto size = static_cast<qint64>(bytes.size());
    const bool written = file.open(QIODevice::WriteOnly) &&
                         file.write(reinterpret_cast<const char*>(bytes.data()), size) == size &&
                         file.flush() && // commit() takes no notice of what goes wrong in its own flushing
                         file.commit();
    return written ? QString() : file.errorString();
}

} // namespace

struct ImageViewer::Images {
    cv::Mat current; // what saving writes
    cv::Mat original;
    cv::Mat mask;
};

ImageViewer::ImageViewer(QWidget* parent) : QWidget(parent), images_(std::make_unique<Images>()) {
    setObjectName("imageViewer");
    setAccessibleName(tr("Event image"));
    buildLayout();
    clearImage();
}

ImageViewer::~ImageViewer() = default;

void ImageViewer::buildLayout() {
    infoLabel_ = new QLabel(this);
    infoLabel_->setObjectName("imageInfoLabel");
    infoLabel_->setAccessibleName(tr("Image description"));
    infoLabel_->setAlignment(Qt::AlignCenter);

    imageLabel_ = new QLabel;
    imageLabel_->setObjectName("imageLabel");
    imageLabel_->setAccessibleName(tr("Image"));
    imageLabel_->setAlignment(Qt::AlignCenter);

    scrollArea_ = new QScrollArea(this);
    scrollArea_->setObjectName("imageScrollArea");
    scrollArea_->setAccessibleName(tr("Image area"));
    scrollArea_->setAlignment(Qt::AlignCenter);
    scrollArea_->setWidget(imageLabel_);
    scrollArea_->setMinimumHeight(80);
    scrollArea_->viewport()->installEventFilter(this);
    new FocusEdge(scrollArea_);

    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(4, 4, 4, 4);
    layout->setSpacing(4);
    layout->addWidget(infoLabel_);
    layout->addWidget(scrollArea_, 1);
    layout->addWidget(buildControls());
}

QWidget* ImageViewer::buildControls() {
    auto* buttons = new QHBoxLayout;
    const auto addButton = [&](const char* name, const QString& text, const QString& toolTip, auto action) {
        auto* button = new QPushButton(text, this);
        button->setObjectName(name);
        button->setToolTip(toolTip);
        button->setAccessibleName(toolTip);
        button->setStyleSheet("QPushButton { padding: 2px 6px; min-height: 16px; min-width: 20px; }");
        connect(button, &QPushButton::clicked, this, action);
        buttons->addWidget(button);
    };
    addButton("zoomInButton", tr("+"), tr("Zoom In"), &ImageViewer::zoomIn);
    addButton("zoomOutButton", tr("-"), tr("Zoom Out"), &ImageViewer::zoomOut);
    addButton("actualSizeButton", tr("1:1"), tr("Actual Size"), &ImageViewer::actualSize);
    addButton("fitButton", tr("Fit"), tr("Fit to Window"), &ImageViewer::fitToWindow);
    buttons->addStretch(1);

    auto* checks = new QVBoxLayout; // one below the other, so that the panel can be narrow
    checks->setSpacing(0);
    const auto addCheck = [&](const char* name, const QString& text, const QString& toolTip) {
        auto* check = new QCheckBox(text, this);
        check->setObjectName(name);
        check->setToolTip(toolTip);
        check->setAccessibleName(text);
        checks->addWidget(check);
        return check;
    };
    maskCheck_ = addCheck("showMaskCheck", tr("Show Mask"), tr("Show mask overlay"));
    maskCheck_->setChecked(true);
    contrastCheck_ = addCheck("autoContrastCheck", tr("Auto Contrast"), tr("Stretch image contrast to full range"));

    connect(maskCheck_, &QCheckBox::toggled, this, &ImageViewer::showMaskToggled);
    connect(contrastCheck_, &QCheckBox::toggled, this, [this](bool checked) {
        autoContrast_ = checked;
        updateDisplay();
        emit autoContrastToggled(checked);
    });
    auto* row = new WrappingRow(buttons, checks, this);
    row->setObjectName("imageControls");
    return row;
}

void ImageViewer::setImage(const std::vector<std::uint8_t>& pixels, int width, int height, const QString& info) {
    if (!holdsFrame(pixels, width, height)) {
        clearImage();
        return;
    }
    images_->original = matFromBytes(pixels, width, height);
    images_->mask = cv::Mat();
    showImages(info);
}

void ImageViewer::setImageWithMask(const std::vector<std::uint8_t>& pixels, const std::vector<std::uint8_t>& mask,
                                   int width, int height, const QString& info) {
    if (!holdsFrame(pixels, width, height) || !holdsFrame(mask, width, height)) {
        clearImage();
        return;
    }
    images_->original = matFromBytes(pixels, width, height);
    images_->mask = matFromBytes(mask, width, height);
    showImages(info);
}

void ImageViewer::showImages(const QString& info) {
    images_->current = images_->original.clone();
    infoLabel_->setText(info);
    if (fitMode_) {
        fitToWindow();
    } else {
        updateDisplay();
    }
}

void ImageViewer::clearImage() {
    *images_ = Images();
    imageLabel_->clear();
    imageLabel_->resize(0, 0);
    infoLabel_->setText(tr("No Image"));
}

bool ImageViewer::isMaskShown() const {
    return maskCheck_->isChecked();
}

bool ImageViewer::isAutoContrast() const {
    return contrastCheck_->isChecked();
}

void ImageViewer::setMaskControlEnabled(bool enabled) {
    maskCheck_->setEnabled(enabled);
}

void ImageViewer::zoomTo(double factor) {
    // What is seen in the middle stays there.
    const auto middle = [this] { return QPointF(scrollArea_->viewport()->rect().center()); };
    const QPointF origin = imageLabel_->mapFrom(scrollArea_->viewport(), QPoint());
    const QPointF kept = (origin + middle()) / zoomFactor_;
    zoomFactor_ = std::clamp(factor, SmallestZoom, LargestZoom);
    updateDisplay();
    scrollTo(kept * zoomFactor_ - middle());
}

void ImageViewer::scrollTo(const QPointF& corner) {
    scrollArea_->horizontalScrollBar()->setValue(qRound(corner.x()));
    scrollArea_->verticalScrollBar()->setValue(qRound(corner.y()));
}

void ImageViewer::zoomIn() {
    fitMode_ = false;
    zoomTo(zoomFactor_ * ZoomStep);
}

void ImageViewer::zoomOut() {
    fitMode_ = false;
    zoomTo(zoomFactor_ / ZoomStep);
}

void ImageViewer::actualSize() {
    fitMode_ = false;
    zoomTo(1.0);
}

void ImageViewer::fitToWindow() {
    fitMode_ = true;
    const cv::Mat& image = images_->current;
    if (image.empty()) {
        return;
    }
    // The viewport as it is without scroll bars: the fitted image needs none.
    const QSize viewport = scrollArea_->maximumViewportSize();
    zoomTo(std::min(static_cast<double>(viewport.width()) / image.cols,
                    static_cast<double>(viewport.height()) / image.rows));
}

void ImageViewer::updateDisplay() {
    if (images_->current.empty()) {
        return;
    }
    cv::Mat image = images_->original.empty() ? images_->current.clone() : images_->original.clone();
    if (autoContrast_) {
        stretchContrast(image);
    }
    if (!images_->mask.empty()) {
        tintMask(image, images_->mask);
    }
    const QPixmap pixmap = pixmapOf(scaled(image, zoomFactor_));
    imageLabel_->setPixmap(pixmap);
    imageLabel_->resize(pixmap.size());
    if (!dragging_) {
        showDragCursor();
    }
}

void ImageViewer::showDragCursor() {
    const QSize image = imageLabel_->size();
    const QSize room = scrollArea_->maximumViewportSize();
    const bool movable = hasImage() && (image.width() > room.width() || image.height() > room.height());
    scrollArea_->viewport()->setCursor(movable ? Qt::OpenHandCursor : Qt::ArrowCursor);
}

bool ImageViewer::eventFilter(QObject* object, QEvent* event) {
    if (object != scrollArea_->viewport()) {
        return QWidget::eventFilter(object, event);
    }
    const auto* mouse = dynamic_cast<QMouseEvent*>(event);
    if (mouse && event->type() == QEvent::MouseButtonPress && mouse->button() == Qt::LeftButton && hasImage()) {
        dragging_ = true;
        dragFrom_ = mouse->globalPosition() +
                    QPointF(scrollArea_->horizontalScrollBar()->value(), scrollArea_->verticalScrollBar()->value());
        scrollArea_->viewport()->setCursor(Qt::ClosedHandCursor);
        return true;
    }
    if (mouse && event->type() == QEvent::MouseMove && dragging_) {
        scrollTo(dragFrom_ - mouse->globalPosition());
        return true;
    }
    if (mouse && event->type() == QEvent::MouseButtonRelease && mouse->button() == Qt::LeftButton && dragging_) {
        dragging_ = false;
        showDragCursor();
        return true;
    }
    if (event->type() == QEvent::Resize && !dragging_) {
        showDragCursor();
    }
    return QWidget::eventFilter(object, event);
}

bool ImageViewer::hasImage() const {
    return !images_->current.empty();
}

QString ImageViewer::writeImage(const QString& fileName) {
    if (!hasImage()) {
        return tr("There is no image to save.");
    }
    QString failure = encodeToFile(images_->current, fileName);
    if (failure.isEmpty()) {
        emit imageSaved(fileName);
    } else {
        qWarning("ImageViewer: %s not written: %s", qPrintable(fileName), qPrintable(failure));
    }
    return failure;
}

void ImageViewer::saveImage() {
    emit saveRequested();
}

void ImageViewer::contextMenuEvent(QContextMenuEvent* event) {
    if (images_->current.empty()) {
        QWidget::contextMenuEvent(event);
        return;
    }
    QMenu menu(this);
    const QAction* save = menu.addAction(tr("Save Image..."));
    // The dialog opens when the menu is gone.
    if (menu.exec(event->globalPos()) == save) {
        saveImage();
    }
}

} // namespace Tessaly
