// The gallery's window, worked with mouse and keys. A reader is slow while the test holds the file library's lock.

#include "io/VQDReader.h"
#include "session/Session.h"
#include "support/FilterRules.h"
#include "support/PlainHost.h"
#include "support/SampleFile.h"
#include "support/TemporaryFolder.h"
#include "tools/gallery/GalleryGridWidget.h"
#include "tools/gallery/ImageGalleryWindow.h"
#include "widgets/EmptyHint.h"

#include <QAction>
#include <QApplication>
#include <QCheckBox>
#include <QComboBox>
#include <QFile>
#include <QFileDialog>
#include <QGridLayout>
#include <QLabel>
#include <QLineEdit>
#include <QMessageBox>
#include <QPointer>
#include <QPushButton>
#include <QScrollArea>
#include <QScrollBar>
#include <QSignalSpy>
#include <QSpinBox>
#include <QTest>
#include <QThreadPool>
#include <QTimer>

#include <gtest/gtest.h>

#include <cmath>
#include <future>
#include <memory>
#include <mutex>
#include <numeric>
#include <thread>

namespace Tessaly {
namespace {

struct SelectingHost : PlainHost {
    bool selectEvent(int datasetId, int event) override {
        selected.emplace_back(datasetId, event);
        return true;
    }

    std::vector<std::pair<int, int>> selected;
};

class ImageGalleryTest : public testing::Test {
protected:
    ~ImageGalleryTest() override {
        windows.clear();
        QThreadPool::globalInstance()->waitForDone();
    }

    /// A dataset with "area_um" = number of the event, cells of 20 x 10 pixels in pictures of 64 x 32.
    DatasetEntry& add(const QString& name, int events, bool images = true) {
        SampleFileOptions options;
        options.events = static_cast<std::size_t>(events);
        options.masks = options.traces = false;
        options.images = images;
        options.gzip = true;
        std::vector<double> numbers(options.events);
        std::iota(numbers.begin(), numbers.end(), 0.0);
        std::vector<double> x;
        std::vector<double> y;
        for (int i = 0; i < events; ++i) {
            x.push_back(0.34 * (26 + i % 12));
            y.push_back(0.34 * (14 + i % 5));
        }
        options.columns = {{"area_um", numbers},
                           {"pos_x", x},
                           {"pos_y", y},
                           {"size_x", std::vector<double>(options.events, 6.8)},
                           {"size_y", std::vector<double>(options.events, 3.4)}};
        auto entry = session.newEntry();
        entry->displayName = name;
        entry->filePath = folder.file(std::to_string(entry->id) + ".vqd");
        writeSampleFile(entry->filePath, options);
        entry->reader = std::make_shared<VQDReader>();
        EXPECT_TRUE(entry->reader->open(entry->filePath));
        entry->metadata = entry->reader->readMetadata();
        entry->featuresLoaded = true;
        return session.append(std::move(entry));
    }

    ImageGalleryWindow& open() {
        auto& window = *windows.emplace_back(std::make_unique<ImageGalleryWindow>(session, host));
        window.show();
        EXPECT_TRUE(QTest::qWaitForWindowActive(&window));
        return window;
    }

    template <typename T>
    static T* part(const ImageGalleryWindow& window, const char* name) {
        T* found = window.findChild<T*>(name);
        EXPECT_TRUE(found) << name;
        return found;
    }
    static GalleryGridWidget& grid(const ImageGalleryWindow& window) {
        return *part<GalleryGridWidget>(window, "galleryGrid");
    }
    static QString text(const ImageGalleryWindow& window, const char* label) {
        return part<QLabel>(window, label)->text();
    }
    static void click(const ImageGalleryWindow& window, const char* button) {
        auto* target = part<QAbstractButton>(window, button);
        QTest::mouseClick(target, Qt::LeftButton, {}, {8, target->height() / 2});
    }
    static void choose(const ImageGalleryWindow& window, const char* name, int row) {
        auto* combo = part<QComboBox>(window, name);
        combo->setFocus();
        QTest::keyClick(combo, Qt::Key_Home);
        for (int i = 0; i < row; ++i) {
            QTest::keyClick(combo, Qt::Key_Down);
        }
        EXPECT_EQ(combo->currentIndex(), row);
    }
    static void type(const ImageGalleryWindow& window, const char* name, const QString& typed) {
        auto* box = part<QSpinBox>(window, name);
        box->setFocus();
        box->selectAll();
        QTest::keyClicks(box, typed);
        QTest::keyClick(box, Qt::Key_Return);
    }

    /// Until the window shows a page of so many pictures and is at rest.
    static void waitForPage(const ImageGalleryWindow& window, int tiles) {
        const GalleryGridWidget& shown = grid(window);
        const auto atRest = [&] {
            return !shown.isPreparing() && shown.tileCount() == tiles &&
                   (tiles == 0 || text(window, "galleryStatusLabel").contains("cutout"));
        };
        EXPECT_TRUE(QTest::qWaitFor(atRest, 20000))
            << shown.tileCount() << ", " << text(window, "galleryStatusLabel").toStdString();
    }
    /// Numbers under the pictures that can be seen, and "x" for a picture without one.
    static QStringList captions(const ImageGalleryWindow& window) {
        QStringList found;
        auto* layout = qobject_cast<QGridLayout*>(grid(window).layout());
        for (int row = 0; row < layout->rowCount(); row += 2) {
            for (int column = 0; column < layout->columnCount(); ++column) {
                if (!at(window, row, column)) {
                    continue;
                }
                const QLabel* caption = at(window, row + 1, column);
                found << (caption ? caption->text() : QStringLiteral("x"));
            }
        }
        return found;
    }
    /// The label that can be seen in a cell of the layout, or null.
    static QLabel* at(const ImageGalleryWindow& window, int row, int column) {
        const auto* layout = qobject_cast<QGridLayout*>(grid(window).layout());
        for (int i = 0; i < layout->count(); ++i) {
            int itemRow = 0;
            int itemColumn = 0;
            int span = 0;
            layout->getItemPosition(i, &itemRow, &itemColumn, &span, &span);
            auto* label = qobject_cast<QLabel*>(layout->itemAt(i)->widget());
            if (itemRow == row && itemColumn == column && label->isVisible()) {
                return label;
            }
        }
        return nullptr;
    }
    static QStringList numbers(int first, int count) {
        QStringList found;
        for (int i = 0; i < count; ++i) {
            found << QString::number(first + i);
        }
        return found;
    }

    TemporaryFolder folder;
    Session session;
    SelectingHost host;
    std::vector<std::unique_ptr<ImageGalleryWindow>> windows;
};

TEST_F(ImageGalleryTest, ControlsStandAsDescribed) {
    session.setActive(add("blood <b>", 130).id);
    ImageGalleryWindow& window = open();
    waitForPage(window, 100);
    EXPECT_EQ(window.windowTitle(), "Image Gallery");
    EXPECT_EQ(window.size(), QSize(1100, 800));
    EXPECT_EQ(text(window, "galleryNameLabel"), "blood <b>");
    EXPECT_EQ(text(window, "pageLabel"), "1 / 2");
    EXPECT_GE(part<QLabel>(window, "pageLabel")->minimumWidth(), 80);
    EXPECT_EQ(text(window, "galleryStatusLabel"), "130 events · cutout 30 × 20 px"); // 20 + 10, 10 + 10
    struct Combo {
        const char* name;
        QStringList texts;
        QList<int> data;
        int current;
    };
    for (const auto& [name, texts, data, current] :
         {Combo{"pageSizeCombo", {"5 × 5 (25)", "10 × 10 (100)", "20 × 20 (400)"}, {25, 100, 400}, 1},
          Combo{"contrastCombo", {"Full range", "Auto (dataset)", "Manual"}, {0, 1, 2}, 0}}) {
        const auto* combo = part<QComboBox>(window, name);
        EXPECT_EQ(combo->currentIndex(), current);
        for (int i = 0; i < combo->count(); ++i) {
            EXPECT_EQ(combo->itemText(i), texts.value(i));
            EXPECT_EQ(combo->itemData(i), data.value(i));
        }
    }
    struct Box {
        const char* name;
        int minimum, maximum, value, step;
        QString suffix;
        bool enabled;
    };
    for (const Box& box :
         {Box{"cutoutWidthSpinBox", 8, 1024, 30, 2, " px", false},
          Box{"cutoutHeightSpinBox", 8, 1024, 20, 2, " px", false}, Box{"marginSpinBox", 0, 100, 5, 1, " px", true},
          Box{"contrastLoSpinBox", 0, 254, 0, 1, "", false}, Box{"contrastHiSpinBox", 1, 255, 255, 1, "", false}}) {
        const auto* spin = part<QSpinBox>(window, box.name);
        EXPECT_EQ(spin->minimum(), box.minimum) << box.name;
        EXPECT_EQ(spin->maximum(), box.maximum) << box.name;
        EXPECT_EQ(spin->value(), box.value) << box.name;
        EXPECT_EQ(spin->singleStep(), box.step) << box.name;
        EXPECT_EQ(spin->suffix(), box.suffix) << box.name;
        EXPECT_EQ(spin->isEnabled(), box.enabled) << box.name;
    }
    for (const auto& [name, checked] :
         {std::pair("showIdsCheckBox", true), {"followActiveCheckBox", false}, {"autoCutoutCheckBox", true}}) {
        EXPECT_EQ(part<QCheckBox>(window, name)->isChecked(), checked) << name;
    }
    EXPECT_TRUE(window.findChild<QAction*>("keepOnTopAction"));
    for (const QWidget* control : window.centralWidget()->findChildren<QWidget*>()) {
        const bool editor = qobject_cast<const QLineEdit*>(control) || control->objectName().startsWith("qt_");
        if (control->focusPolicy() != Qt::NoFocus && control->isVisible() && !editor) {
            EXPECT_FALSE(control->accessibleName().isEmpty()) << control->metaObject()->className();
        }
    }
}

TEST_F(ImageGalleryTest, PagesAreTurnedByButtonsAndKeys) {
    session.setActive(add("blood", 230).id);
    ImageGalleryWindow& window = open();
    auto* page = part<QScrollArea>(window, "galleryScrollArea");
    waitForPage(window, 100);
    EXPECT_EQ(captions(window), numbers(0, 100));
    EXPECT_TRUE(page->hasFocus());
    EXPECT_FALSE(part<QPushButton>(window, "prevPageButton")->isEnabled());
    click(window, "nextPageButton");
    waitForPage(window, 100);
    EXPECT_EQ(captions(window), numbers(100, 100));
    // The button has the focus; the keys turn pages nevertheless.
    QTest::keyClick(window.focusWidget(), Qt::Key_Right);
    waitForPage(window, 30);
    EXPECT_EQ(captions(window), numbers(200, 30));
    EXPECT_EQ(text(window, "pageLabel"), "3 / 3");
    EXPECT_FALSE(part<QPushButton>(window, "nextPageButton")->isEnabled());
    EXPECT_TRUE(page->hasFocus()) << "a button that can't be used leaves the focus to the page";
    struct Key {
        Qt::Key key;
        int page;
    };
    for (const auto& [key, shown] : {Key{Qt::Key_Down, 2},
                                     {Qt::Key_Up, 1},
                                     {Qt::Key_PageUp, 0},
                                     {Qt::Key_Left, 0},
                                     {Qt::Key_PageDown, 1},
                                     {Qt::Key_Right, 2},
                                     {Qt::Key_Left, 1},
                                     {Qt::Key_Down, 2}}) {
        QTest::keyClick(page, key);
        EXPECT_EQ(window.state().page, shown) << key;
    }
    QTest::keyClick(page, Qt::Key_Up, Qt::ControlModifier); // scrolls
    EXPECT_EQ(window.state().page, 2);
    choose(window, "pageSizeCombo", 2);
    waitForPage(window, 230);
    EXPECT_EQ(text(window, "pageLabel"), "1 / 1");
    EXPECT_EQ(captions(window), numbers(0, 230));
    choose(window, "pageSizeCombo", 0);
    waitForPage(window, 25);
    EXPECT_EQ(captions(window), numbers(0, 25));
    EXPECT_TRUE(at(window, 8, 4) && !at(window, 8, 5) && !at(window, 10, 0));
    click(window, "prevPageButton");
    EXPECT_EQ(window.state().page, 0);
}

TEST_F(ImageGalleryTest, TilesAreCutFromTheirPictures) {
    DatasetEntry& dataset = add("blood", 30);
    session.setActive(dataset.id);
    ImageGalleryWindow& window = open();
    waitForPage(window, 30);
    const auto tile = [&window](int event) { return at(window, 2 * (event / 10), event % 10)->pixmap().toImage(); };
    // By hand: the cell's place in pixels, rounded, less half of the size.
    int width = 0;
    int height = 0;
    const std::vector<std::uint8_t> picture = dataset.reader->getImage(17, &width, &height);
    const auto expectCut = [&](int w, int h) {
        const QImage image = tile(17);
        ASSERT_EQ(image.size(), QSize(w, h));
        const int left = static_cast<int>(std::round(dataset.reader->getFeature("pos_x")[17] / 0.34)) - w / 2;
        const int top = static_cast<int>(std::round(dataset.reader->getFeature("pos_y")[17] / 0.34)) - h / 2;
        for (const QPoint at : {QPoint(0, 0), QPoint(w / 2, h / 2), QPoint(w - 1, h - 1), QPoint(3, h - 2)}) {
            const QPoint in(left + at.x(), top + at.y());
            const bool inside = in.x() >= 0 && in.y() >= 0 && in.x() < width && in.y() < height;
            const int grey = inside ? picture[static_cast<std::size_t>(in.y() * width + in.x())] : 0;
            EXPECT_EQ(qRed(image.pixel(at)), grey) << at.x() << ", " << at.y();
        }
    };
    expectCut(30, 20);
    type(window, "marginSpinBox", "10");
    waitForPage(window, 30);
    expectCut(40, 30);
    click(window, "autoCutoutCheckBox");
    type(window, "cutoutWidthSpinBox", "200");
    type(window, "cutoutHeightSpinBox", "12");
    waitForPage(window, 30);
    expectCut(200, 12);
    type(window, "marginSpinBox", "0");
    waitForPage(window, 30);
    expectCut(200, 12);
    click(window, "autoCutoutCheckBox");
    waitForPage(window, 30);
    expectCut(20, 10);
    EXPECT_EQ(part<QSpinBox>(window, "cutoutWidthSpinBox")->value(), 20);
    click(window, "showIdsCheckBox");
    waitForPage(window, 30);
    EXPECT_TRUE(QTest::qWaitFor([&] { return captions(window).front() == "x"; }, 5000));
    EXPECT_EQ(captions(window), QStringList(30, "x"));
}

TEST_F(ImageGalleryTest, ContrastIsFullAutomaticOrTyped) {
    session.setActive(add("blood", 40).id);
    ImageGalleryWindow& window = open();
    waitForPage(window, 40);
    const auto greys = [&window] {
        std::pair<int, int> range(255, 0);
        const QLabel* first = at(window, 0, 0); // none while a contrast is being found
        const QImage image = first ? first->pixmap().toImage() : QImage();
        for (int x = 0; x < image.width(); ++x) {
            const int grey = qRed(image.pixel(x, image.height() / 2));
            range = {std::min(range.first, grey), std::max(range.second, grey)};
        }
        return range;
    };
    const std::pair<int, int> full = greys();
    EXPECT_TRUE(full.first >= 100 && full.second < 176); // as the file was written
    auto* lo = part<QSpinBox>(window, "contrastLoSpinBox");
    auto* hi = part<QSpinBox>(window, "contrastHiSpinBox");
    choose(window, "contrastCombo", 1);
    EXPECT_TRUE(QTest::qWaitFor([&] { return greys().second > 200; }, 20000));
    EXPECT_EQ(lo->value(), window.state().autoLo);
    EXPECT_EQ(hi->value(), window.state().autoHi);
    EXPECT_FALSE(lo->isEnabled());
    choose(window, "contrastCombo", 2);
    EXPECT_TRUE(lo->isEnabled() && hi->isEnabled());
    EXPECT_EQ(window.state().manualLo, window.state().autoLo);
    EXPECT_EQ(window.state().manualHi, window.state().autoHi);
    type(window, "contrastLoSpinBox", "200");
    EXPECT_EQ(hi->value(), 201);
    for (const char* tooLow : {"100", "200"}) {
        type(window, "contrastHiSpinBox", tooLow);
        EXPECT_EQ(hi->value(), 201) << tooLow;
        EXPECT_EQ(window.state().manualHi, 201) << tooLow;
    }
    hi->selectAll();
    QTest::keyClicks(hi, "25");
    EXPECT_EQ(window.state().manualHi, 201); // a number being typed is no number yet
    QTest::keyClicks(hi, "0");
    QTest::keyClick(hi, Qt::Key_Return);
    EXPECT_EQ(window.state().manualHi, 250);
    type(window, "contrastLoSpinBox", "254");
    EXPECT_EQ(hi->value(), 255);
    EXPECT_TRUE(QTest::qWaitFor([&] { return greys() == std::pair(0, 0); }, 20000));
    choose(window, "contrastCombo", 0);
    EXPECT_TRUE(QTest::qWaitFor([&] { return greys() == full; }, 20000));
    EXPECT_EQ(window.state().manualLo, 254);
}

TEST_F(ImageGalleryTest, AClickSelectsTheEventOfTheActiveDatasetOnly) {
    DatasetEntry& dataset = add("blood", 130);
    DatasetEntry& other = add("other", 10);
    session.setActive(dataset.id);
    ImageGalleryWindow& window = open();
    waitForPage(window, 100);
    click(window, "nextPageButton");
    waitForPage(window, 30);
    QTest::mouseClick(at(window, 2, 3), Qt::LeftButton);
    QTest::mouseClick(at(window, 3, 4), Qt::LeftButton); // a number
    QTest::mouseClick(at(window, 2, 3), Qt::RightButton);
    QTest::mouseClick(&grid(window), Qt::LeftButton, {}, {2, 2}); // the margin
    EXPECT_EQ(host.selected, (std::vector<std::pair<int, int>>{{dataset.id, 113}, {dataset.id, 114}}));
    session.setActive(other.id);
    QTest::mouseClick(at(window, 2, 3), Qt::LeftButton);
    EXPECT_EQ(host.selected.size(), 2U);
}

TEST_F(ImageGalleryTest, EachWindowFollowsItsOwnDataset) {
    DatasetEntry& blood = add("blood", 120);
    DatasetEntry& cells = add("cells", 60);
    session.setActive(blood.id);
    ImageGalleryWindow& first = open();
    ImageGalleryWindow& second = open();
    const int copy = session.duplicate(blood.id);
    session.setActive(copy);
    ImageGalleryWindow& third = open();
    click(second, "followActiveCheckBox");
    waitForPage(first, 100);
    waitForPage(second, 100);
    waitForPage(third, 100);
    EXPECT_EQ(second.state().datasetId, copy);
    session.setActive(cells.id);
    waitForPage(second, 60);
    EXPECT_EQ(text(second, "galleryNameLabel"), "cells");
    session.rename(blood.id, "red cells");
    EXPECT_EQ(text(first, "galleryNameLabel"), "red cells");
    // A filter of one dataset says nothing about its copy.
    blood.filter.setEnabled(true);
    blood.filter.addRule(rangeRule("area_um", 50, 54));
    emit session.notices().eventsChanged();
    waitForPage(first, 5);
    EXPECT_EQ(captions(first), numbers(50, 5));
    waitForPage(third, 100);
    waitForPage(second, 60);
    // Removed while pages of it are being made: the window waits for its page, then goes.
    QSignalSpy closed(&third, &ImageGalleryWindow::windowClosed);
    const std::weak_ptr<VQDReader> reader = session.findById(copy)->reader;
    std::promise<void> held;
    std::thread holder([&held] {
        const std::lock_guard slow(hdf5Mutex());
        held.set_value();
        QTest::qSleep(50);
    });
    held.get_future().wait();
    choose(third, "pageSizeCombo", 0);
    choose(second, "pageSizeCombo", 0);
    session.remove(copy);
    holder.join();
    EXPECT_FALSE(third.isVisible());
    EXPECT_EQ(closed.count(), 1);
    session.remove(blood.id);
    EXPECT_FALSE(first.isVisible());
    waitForPage(second, 25);
    EXPECT_TRUE(second.isVisible());
    QThreadPool::globalInstance()->waitForDone();
    QApplication::processEvents();
    EXPECT_TRUE(reader.expired()) << "nobody keeps the file open";
}

TEST_F(ImageGalleryTest, AWindowClosedWhileItsPageIsMadeGoesForGood) {
    DatasetEntry& dataset = add("blood", 400);
    session.setActive(dataset.id);
    ImageGalleryWindow& window = open();
    choose(window, "pageSizeCombo", 2);
    choose(window, "contrastCombo", 1);
    QSignalSpy closed(&window, &ImageGalleryWindow::windowClosed);
    emit session.notices().eventsChanged();
    window.close();
    EXPECT_EQ(closed.count(), 1);
    windows.clear(); // a contrast may still be on its way
    session.remove(dataset.id);
    QApplication::processEvents();
    QThreadPool::globalInstance()->waitForDone();
    QApplication::processEvents();
}

TEST_F(ImageGalleryTest, EmptyPagesSayWhy) {
    const auto hint = [](const ImageGalleryWindow& window) {
        const auto* shown = window.findChild<EmptyHint*>();
        return shown->isVisible() ? shown->text() : QString();
    };
    ImageGalleryWindow& window = open();
    EXPECT_EQ(text(window, "galleryNameLabel"), "(no dataset)");
    EXPECT_EQ(text(window, "galleryStatusLabel"), "No events to display.");
    EXPECT_EQ(text(window, "pageLabel"), "0 / 0");
    EXPECT_TRUE(hint(window).contains("Follow active dataset"));
    EXPECT_FALSE(part<QPushButton>(window, "exportPageButton")->isEnabled());
    DatasetEntry& blind = add("blind", 30, false);
    session.setActive(blind.id);
    click(window, "followActiveCheckBox");
    waitForPage(window, 0);
    EXPECT_TRUE(QTest::qWaitFor([&] { return text(window, "galleryStatusLabel").startsWith("30 events"); }, 20000));
    EXPECT_EQ(hint(window), "This dataset has no images.");
    session.setActive(add("blood", 30).id);
    waitForPage(window, 30);
    EXPECT_EQ(hint(window), "");
    EXPECT_TRUE(part<QPushButton>(window, "exportPageButton")->isEnabled());
    DatasetEntry& loading = add("loading", 20);
    loading.featuresLoaded = false;
    session.setActive(loading.id);
    waitForPage(window, 0);
    EXPECT_TRUE(hint(window).startsWith("No events to display."));
    session.setReady(loading.id);
    waitForPage(window, 20);
    EXPECT_EQ(hint(window), "");
}

TEST_F(ImageGalleryTest, APageIsWrittenAsItIsShown) {
    session.setActive(add("a/b", 130).id);
    ImageGalleryWindow& window = open();
    waitForPage(window, 100);
    click(window, "nextPageButton");
    waitForPage(window, 30);
    QString proposed;
    QStringList told;
    QString path = folder.file("page").c_str();
    QTimer user;
    bool accepted = false;
    QObject::connect(&user, &QTimer::timeout, [&] {
        QWidget* modal = QApplication::activeModalWidget();
        if (auto* dialog = qobject_cast<QFileDialog*>(modal)) {
            if (!std::exchange(accepted, true)) {
                EXPECT_EQ(dialog->windowTitle(), "Export Gallery Page");
                EXPECT_EQ(dialog->nameFilters(), QStringList("PNG image (*.png)"));
                auto* name = dialog->findChild<QLineEdit*>("fileNameEdit");
                proposed = name->text();
                name->setText(path);
                QMetaObject::invokeMethod(dialog, "accept", Qt::QueuedConnection);
            }
        } else if (auto* box = qobject_cast<QMessageBox*>(modal)) {
            told << box->windowTitle() << box->text();
            box->close();
        }
    });
    user.start(5);
    click(window, "exportPageButton");
    EXPECT_EQ(proposed, "gallery_a_b_p2.png");
    EXPECT_EQ(told, QStringList());
    const QImage page(path + ".png");
    EXPECT_EQ(page.size(), grid(window).size());
    EXPECT_EQ(page.pixelColor(1, 1), QColor(Qt::white));
    const QLabel* shown = at(window, 2, 3);
    const QImage picture = shown->pixmap().toImage();
    EXPECT_EQ(page.pixel(shown->pos() + QPoint(7, 5)), picture.pixel(7, 5));
    EXPECT_EQ(page.pixel(shown->pos() + QPoint(20, 11)), picture.pixel(20, 11));
    accepted = false;
    path = folder.file("missing/page.png").c_str();
    click(window, "exportPageButton");
    EXPECT_EQ(told, (QStringList{"Export failed", "Could not write PNG to:\n" + path}));
}

} // namespace
} // namespace Tessaly
