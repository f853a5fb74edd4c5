#pragma once

#include <QWidget>

#include <cstdint>
#include <memory>
#include <vector>

class QCheckBox;
class QLabel;
class QScrollArea;

namespace Tessaly {

/// The camera image of one event, with an optional tint over the mask, an optional contrast stretch and zoom. It takes
/// copies of the pixels, knows nothing of the file they come from, and writes the original ones where it is told to.
class ImageViewer : public QWidget {
    Q_OBJECT

public:
    explicit ImageViewer(QWidget* parent = nullptr);
    ~ImageViewer() override;

    /// Shows an image without a mask.
    /// @param pixels  8-bit grey, row by row; clears the view if there are fewer than width * height
    /// @param info    the text above the image
    void setImage(const std::vector<std::uint8_t>& pixels, int width, int height, const QString& info);
    /// Shows an image whose masked pixels are tinted.
    /// @param mask  one byte a pixel, non-zero is inside; the same size as the image, else the view is cleared
    void setImageWithMask(const std::vector<std::uint8_t>& pixels, const std::vector<std::uint8_t>& mask, int width,
                          int height, const QString& info);
    void clearImage();

    /// Whether the user wants masks to be shown; the caller then hands them over with setImageWithMask().
    bool isMaskShown() const;
    bool isAutoContrast() const;
    /// Enables the check box "Show Mask", which has no meaning for a dataset without masks.
    void setMaskControlEnabled(bool enabled);

    bool hasImage() const;
    /// Writes the original pixels, in the format of the name's suffix, whole or not at all; emits imageSaved().
    /// @return the reason of a failure, empty if all went well
    QString writeImage(const QString& fileName);

    /// Screen pixels per image pixel, 0.1 to 10.
    double zoomFactor() const { return zoomFactor_; }

public slots:
    /// Zoom by a step; the middle of what is seen stays in the middle.
    void zoomIn();
    void zoomOut();
    /// Zooms so that the whole image is visible, now and for each image to come, until another zoom is asked for.
    void fitToWindow();
    void actualSize();

signals:
    /// The user wants the image in a file; who listens asks for a name and calls writeImage().
    void saveRequested();
    void imageSaved(QString filename);
    void showMaskToggled(bool checked);
    void autoContrastToggled(bool checked);

protected:
    void contextMenuEvent(QContextMenuEvent* event) override;
    /// Of the image area: dragging moves the image.
    bool eventFilter(QObject* object, QEvent* event) override;

private slots:
    void saveImage();

private:
    struct Images;

    void buildLayout();
    QWidget* buildControls();
    void showImages(const QString& info);
    void zoomTo(double factor);
    /// Brings a place of the scaled image into the upper left corner, as far as it goes.
    void scrollTo(const QPointF& corner);
    void updateDisplay();
    void showDragCursor();

    std::unique_ptr<Images> images_;
    QScrollArea* scrollArea_ = nullptr;
    QLabel* imageLabel_ = nullptr;
    QLabel* infoLabel_ = nullptr;
    QCheckBox* maskCheck_ = nullptr;
    QCheckBox* contrastCheck_ = nullptr;
    double zoomFactor_ = 1.0;
    bool fitMode_ = true;
    bool autoContrast_ = false;
    bool dragging_ = false;
    QPointF dragFrom_; ///< where the mouse took hold, on the scaled image
};

} // namespace Tessaly
