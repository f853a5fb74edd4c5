#include "ui/event/ImageSaving.h"

#include "plot/ImageViewer.h"
#include "widgets/PlainText.h"
#include "widgets/SaveFileDialog.h"

#include <QCoreApplication>
#include <QMessageBox>

namespace Tessaly {

namespace {

QString translated(const char* text) {
    return QCoreApplication::translate("ImageSaving", text);
}

} // namespace

void saveImageOf(ImageViewer& viewer, QWidget* parent) {
    if (!viewer.hasImage()) {
        QMessageBox::warning(parent, translated("No Image"), translated("There is no image to save."));
        return;
    }
    const QString fileName = askSaveFileName(parent, translated("Save Image"),
                                             translated("PNG Images (*.png);;JPEG Images (*.jpg);;All Files (*)"));
    if (fileName.isEmpty()) {
        return;
    }
    const QString failure = viewer.writeImage(fileName);
    if (!failure.isEmpty()) {
        showMessage(parent, QMessageBox::Critical, translated("Error"),
                    translated("Failed to save image: %1").arg(failure));
        return;
    }
    QMessageBox::information(parent, translated("Success"), translated("Image saved successfully."));
}

} // namespace Tessaly
