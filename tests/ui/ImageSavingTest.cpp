#include "ui/event/ImageSaving.h"

#include "plot/ImageViewer.h"

#include <QApplication>
#include <QFileDialog>
#include <QFileInfo>
#include <QLineEdit>
#include <QMessageBox>
#include <QPushButton>
#include <QTemporaryDir>
#include <QTimer>

#include <gtest/gtest.h>

namespace Tessaly {
namespace {

/// Answers the save dialog with a name and confirms the boxes behind it.
/// @return titles and texts of the boxes
QStringList saveAs(ImageViewer& viewer, const QString& fileName) {
    QStringList boxes;
    QTimer timer;
    QObject::connect(&timer, &QTimer::timeout, [&] {
        QWidget* modal = QApplication::activeModalWidget();
        if (auto* dialog = qobject_cast<QFileDialog*>(modal)) {
            EXPECT_EQ(dialog->windowTitle(), "Save Image");
            EXPECT_EQ(dialog->nameFilters(),
                      (QStringList{"PNG Images (*.png)", "JPEG Images (*.jpg)", "All Files (*)"}));
            dialog->findChild<QLineEdit*>("fileNameEdit")->setText(fileName);
            QMetaObject::invokeMethod(dialog, "accept");
        } else if (auto* box = qobject_cast<QMessageBox*>(modal)) {
            boxes << box->windowTitle() << box->text();
            box->button(QMessageBox::Ok)->click();
        }
    });
    timer.start(5);
    saveImageOf(viewer, nullptr);
    return boxes;
}

TEST(ImageSaving, TellsWhatCameOfIt) {
    const QTemporaryDir folder;
    ImageViewer viewer;
    EXPECT_EQ(saveAs(viewer, folder.filePath("never asked for")),
              (QStringList{"No Image", "There is no image to save."}));

    viewer.setImage({1, 2, 3, 4}, 2, 2, "");
    EXPECT_EQ(saveAs(viewer, folder.filePath("gap 0.5")), (QStringList{"Success", "Image saved successfully."}));
    EXPECT_TRUE(QFileInfo::exists(folder.filePath("gap 0.5.png")));

    const QStringList refused = saveAs(viewer, folder.filePath("image.unknown"));
    ASSERT_EQ(refused.size(), 2);
    EXPECT_EQ(refused[0], "Error");
    EXPECT_TRUE(refused[1].startsWith("Failed to save image: ")) << refused[1].toStdString();
}

} // namespace
} // namespace Tessaly
