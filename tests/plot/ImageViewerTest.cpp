#include "plot/ImageViewer.h"

#include <QApplication>
#include <QCheckBox>
#include <QContextMenuEvent>
#include <QDir>
#include <QLabel>
#include <QMenu>
#include <QPushButton>
#include <QScrollArea>
#include <QScrollBar>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>
#include <QTimer>

#include <gtest/gtest.h>
#include <opencv2/imgcodecs.hpp>

namespace Tessaly {
namespace {

using Bytes = std::vector<std::uint8_t>;

class ImageViewerTest : public ::testing::Test {
protected:
    void SetUp() override {
        viewer.resize(300, 400);
        viewer.show();
        QApplication::processEvents();
    }

    template <class Widget>
    Widget* child(const char* name) {
        return viewer.findChild<Widget*>(name);
    }
    QImage shown() { return child<QLabel>("imageLabel")->pixmap().toImage(); }
    int grayAt(int x, int y) { return qGray(shown().pixel(x, y)); }
    QString info() { return child<QLabel>("imageInfoLabel")->text(); }
    QSize viewport() { return child<QScrollArea>("imageScrollArea")->maximumViewportSize(); }

    ImageViewer viewer;
};

TEST_F(ImageViewerTest, ClearsTheViewUnlessTheBytesFillTheFrame) {
    struct Case {
        std::size_t pixels;
        std::size_t mask; // 0: without a mask
        int width;
        int height;
        bool valid;
    };
    const Case cases[] = {{12, 0, 4, 3, true},         {13, 0, 4, 3, true},   {11, 0, 4, 3, false},
                          {12, 0, 0, 3, false},        {12, 0, 4, -1, false}, {0, 0, 1, 1, false},
                          {12, 12, 4, 3, true},        {12, 11, 4, 3, false}, {11, 12, 4, 3, false},
                          {12, 0, 65536, 65536, false} /* does not wrap */};
    for (const Case& c : cases) {
        viewer.setImage(Bytes(4, 9), 2, 2, "earlier");
        if (c.mask == 0) {
            viewer.setImage(Bytes(c.pixels, 50), c.width, c.height, "Event 1");
        } else {
            viewer.setImageWithMask(Bytes(c.pixels, 50), Bytes(c.mask, 1), c.width, c.height, "Event 1");
        }
        EXPECT_EQ(info(), c.valid ? "Event 1" : "No Image") << c.pixels << " " << c.width << " x " << c.height;
        EXPECT_EQ(shown().isNull(), !c.valid);
    }
}

TEST_F(ImageViewerTest, StretchesContrastAndTintsTheMask) {
    viewer.actualSize();
    viewer.setImage({50, 60, 100, 150}, 4, 1, "");
    const int plain[] = {50, 60, 100, 150};
    for (int x = 0; x < 4; ++x) {
        EXPECT_EQ(grayAt(x, 0), plain[x]);
    }

    QSignalSpy toggled(&viewer, &ImageViewer::autoContrastToggled);
    child<QCheckBox>("autoContrastCheck")->click();
    EXPECT_TRUE(viewer.isAutoContrast());
    ASSERT_EQ(toggled.count(), 1);
    const int stretched[] = {0, 26, 128, 255}; // (v - 50) * 2.55: 0, 25.5 and 127.5 to even, 255
    for (int x = 0; x < 4; ++x) {
        EXPECT_NEAR(grayAt(x, 0), stretched[x], 1);
    }

    // Tinted after the stretch: 0.7 v + 0.3 (254, 204, 0); every non-zero byte is inside.
    viewer.setImageWithMask({50, 60, 100, 150}, {1, 0, 0, 255}, 4, 1, "");
    const auto rgb = [&](int x) { return shown().pixelColor(x, 0); };
    EXPECT_EQ(rgb(0), QColor(76, 61, 0)); // v = 0: 76.2, 61.2, 0
    EXPECT_EQ(rgb(3).red(), 255);         // v = 255: 254.7, 239.7, 178.5
    EXPECT_EQ(rgb(3).green(), 240);
    EXPECT_NEAR(rgb(3).blue(), 178.5, 0.5);
    EXPECT_EQ(rgb(1).red(), rgb(1).blue());
    EXPECT_NEAR(rgb(1).red(), 26, 1);
    viewer.setImage(Bytes(9, 77), 3, 3, "");
    EXPECT_EQ(grayAt(1, 1), 77) << "a flat image has no contrast to stretch";
}

TEST_F(ImageViewerTest, ZoomsBySteppingWithinItsLimits) {
    viewer.actualSize();
    viewer.setImage(Bytes(200, 1), 20, 10, "");
    viewer.zoomIn();
    EXPECT_DOUBLE_EQ(viewer.zoomFactor(), 1.25);
    EXPECT_EQ(shown().size(), QSize(25, 12)); // 12.5 is cut off
    EXPECT_EQ(child<QLabel>("imageLabel")->size(), QSize(25, 12));
    for (int i = 0; i < 20; ++i) {
        viewer.zoomIn();
    }
    EXPECT_DOUBLE_EQ(viewer.zoomFactor(), 10.0);
    for (int i = 0; i < 40; ++i) {
        viewer.zoomOut();
    }
    EXPECT_DOUBLE_EQ(viewer.zoomFactor(), 0.1);
    EXPECT_EQ(shown().size(), QSize(2, 1));

    viewer.setImage(Bytes(25, 1), 5, 5, "");
    EXPECT_TRUE(shown().isNull()); // half a pixel is none
    child<QPushButton>("actualSizeButton")->click();
    EXPECT_DOUBLE_EQ(viewer.zoomFactor(), 1.0);
}

TEST_F(ImageViewerTest, ZoomingKeepsTheMiddle) {
    auto* area = child<QScrollArea>("imageScrollArea");
    viewer.actualSize();
    viewer.setImage(Bytes(2000 * 1500, 1), 2000, 1500, "");
    area->horizontalScrollBar()->setValue(1200);
    area->verticalScrollBar()->setValue(300);
    const auto middle = [&] {
        const QPointF corner(area->horizontalScrollBar()->value(), area->verticalScrollBar()->value());
        return (corner + QPointF(area->viewport()->rect().center())) / viewer.zoomFactor();
    };
    const QPointF before = middle();
    for (const char* button : {"zoomInButton", "zoomInButton", "zoomOutButton", "actualSizeButton", "zoomOutButton"}) {
        QTest::mouseClick(child<QPushButton>(button), Qt::LeftButton);
        EXPECT_NEAR(middle().x(), before.x(), 2.5) << button;
        EXPECT_NEAR(middle().y(), before.y(), 2.5) << button;
    }
}

TEST_F(ImageViewerTest, TheImageFollowsTheMouse) {
    auto* area = child<QScrollArea>("imageScrollArea");
    viewer.actualSize();
    viewer.setImage(Bytes(2000 * 1500, 1), 2000, 1500, "");
    EXPECT_EQ(area->viewport()->cursor().shape(), Qt::OpenHandCursor);
    area->horizontalScrollBar()->setValue(500);
    area->verticalScrollBar()->setValue(400);
    QWidget* viewport = area->viewport();
    QTest::mousePress(viewport, Qt::LeftButton, {}, {100, 100});
    EXPECT_EQ(viewport->cursor().shape(), Qt::ClosedHandCursor);
    QTest::mouseMove(viewport, {80, 130});
    EXPECT_EQ(QPoint(area->horizontalScrollBar()->value(), area->verticalScrollBar()->value()), QPoint(520, 370));
    QTest::mouseMove(viewport, {110, 90});
    QTest::mouseRelease(viewport, Qt::LeftButton, {}, {110, 90});
    EXPECT_EQ(QPoint(area->horizontalScrollBar()->value(), area->verticalScrollBar()->value()), QPoint(490, 410));
    EXPECT_EQ(viewport->cursor().shape(), Qt::OpenHandCursor);
    QTest::mouseMove(viewport, {10, 10}); // let go
    EXPECT_EQ(area->horizontalScrollBar()->value(), 490);
    viewer.setImage(Bytes(4, 1), 2, 2, "");
    EXPECT_EQ(viewport->cursor().shape(), Qt::ArrowCursor);
}

TEST_F(ImageViewerTest, TheImageAreaShowsItsFocus) {
    auto* area = child<QScrollArea>("imageScrollArea");
    QWidget* edge = area->findChild<QWidget*>("focusEdge", Qt::FindDirectChildrenOnly);
    viewer.activateWindow();
    ASSERT_TRUE(QTest::qWaitForWindowActive(&viewer));
    child<QPushButton>("fitButton")->setFocus();
    EXPECT_FALSE(edge->isVisible());
    QTest::mouseClick(area->viewport(), Qt::LeftButton);
    EXPECT_TRUE(area->hasFocus());
    EXPECT_TRUE(edge->isVisible());
    EXPECT_EQ(edge->geometry(), area->rect());
    QTest::keyClick(area, Qt::Key_Tab);
    EXPECT_FALSE(edge->isVisible());
}

TEST_F(ImageViewerTest, FitsEachNewImageUntilTheUserZooms) {
    const auto fitted = [&](double columns, double rows) {
        return std::min(viewport().width() / columns, viewport().height() / rows);
    };
    viewer.setImage(Bytes(250 * 80, 1), 250, 80, "");
    EXPECT_DOUBLE_EQ(viewer.zoomFactor(), fitted(250, 80));
    viewer.setImage(Bytes(100 * 400, 1), 100, 400, "");
    EXPECT_DOUBLE_EQ(viewer.zoomFactor(), fitted(100, 400));
    viewer.setImage(Bytes(4, 1), 2, 2, "");
    EXPECT_DOUBLE_EQ(viewer.zoomFactor(), 10.0);

    child<QPushButton>("zoomOutButton")->click();
    viewer.setImage(Bytes(250 * 80, 1), 250, 80, "");
    EXPECT_DOUBLE_EQ(viewer.zoomFactor(), 8.0);
    child<QPushButton>("fitButton")->click(); // scroll bars are up by now and have to go
    EXPECT_DOUBLE_EQ(viewer.zoomFactor(), fitted(250, 80));
    viewer.setImage(Bytes(100 * 400, 1), 100, 400, "");
    EXPECT_DOUBLE_EQ(viewer.zoomFactor(), fitted(100, 400));
}

TEST_F(ImageViewerTest, MaskBoxReportsAndCanBeDisabled) {
    EXPECT_TRUE(viewer.isMaskShown());
    QSignalSpy toggled(&viewer, &ImageViewer::showMaskToggled);
    child<QCheckBox>("showMaskCheck")->click();
    EXPECT_FALSE(viewer.isMaskShown());
    ASSERT_EQ(toggled.count(), 1);
    viewer.setMaskControlEnabled(false);
    child<QCheckBox>("showMaskCheck")->click();
    EXPECT_EQ(toggled.count(), 1);
}

TEST_F(ImageViewerTest, SavesTheOriginalPixels) {
    const QTemporaryDir folder;
    const Bytes pixels{50, 60, 70, 80, 90, 250};
    viewer.setImageWithMask(pixels, Bytes(6, 1), 3, 2, "");
    child<QCheckBox>("autoContrastCheck")->setChecked(true);
    QSignalSpy saved(&viewer, &ImageViewer::imageSaved);

    const QString path = folder.filePath("gap 0.5.png");
    EXPECT_EQ(viewer.writeImage(path), "");
    ASSERT_EQ(saved.count(), 1);
    EXPECT_EQ(saved[0][0].toString(), path);
    const cv::Mat read = cv::imread(path.toStdString(), cv::IMREAD_UNCHANGED);
    ASSERT_EQ(read.type(), CV_8UC1);
    ASSERT_EQ(read.cols, 3);
    EXPECT_EQ(Bytes(read.begin<std::uint8_t>(), read.end<std::uint8_t>()), pixels);
}

TEST_F(ImageViewerTest, TellsWhyWritingFailedAndLeavesNoFile) {
    const QTemporaryDir folder;
    QSignalSpy saved(&viewer, &ImageViewer::imageSaved);
    EXPECT_FALSE(viewer.hasImage());
    EXPECT_FALSE(viewer.writeImage(folder.filePath("image.png")).isEmpty());
    viewer.setImage(Bytes(4, 1), 2, 2, "");
    EXPECT_TRUE(viewer.hasImage());
    for (const char* name : {"image.unknown", "image", "missing folder/image.png"}) {
        const QString failure = viewer.writeImage(folder.filePath(name));
        EXPECT_FALSE(failure.isEmpty()) << name;
        // A sentence for people, not a place in a library's source.
        EXPECT_FALSE(failure.contains(".cpp") || failure.contains("OpenCV")) << failure.toStdString();
    }
    EXPECT_TRUE(viewer.writeImage(folder.filePath("image")).contains("no suffix"));
    EXPECT_TRUE(viewer.writeImage(folder.filePath("image.unknown")).contains("\".unknown\""));
    EXPECT_EQ(saved.count(), 0);
    EXPECT_TRUE(QDir(folder.path()).isEmpty());
}

TEST_F(ImageViewerTest, TheContextMenuAsksForSaving) {
    QSignalSpy requested(&viewer, &ImageViewer::saveRequested);
    const auto openMenu = [&] {
        int entries = -1;
        QTimer::singleShot(0, &viewer, [&] {
            if (auto* menu = qobject_cast<QMenu*>(QApplication::activePopupWidget())) {
                entries = static_cast<int>(menu->actions().size());
                EXPECT_EQ(menu->actions().first()->text(), "Save Image...");
                QTest::keyClick(menu, Qt::Key_Down);
                QTest::keyClick(menu, Qt::Key_Return);
            }
        });
        QContextMenuEvent event(QContextMenuEvent::Mouse, QPoint(20, 60), viewer.mapToGlobal(QPoint(20, 60)));
        QApplication::sendEvent(&viewer, &event);
        QApplication::processEvents();
        return entries;
    };
    EXPECT_EQ(openMenu(), -1); // nothing to save, no menu
    viewer.setImage(Bytes(4, 1), 2, 2, "");
    EXPECT_EQ(openMenu(), 1);
    EXPECT_EQ(requested.count(), 1);
}

} // namespace
} // namespace Tessaly
