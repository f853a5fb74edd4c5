// Galleries beside the main window: opened from its menu, following what is done there.

#include "MessageBoxWatcher.h"
#include "WindowFixture.h"

#include "support/FilterRules.h"
#include "tools/gallery/GalleryGridWidget.h"
#include "tools/gallery/ImageGalleryWindow.h"

#include <QAction>
#include <QLabel>
#include <QPointer>
#include <QSpinBox>

#include <gtest/gtest.h>

#include <numeric>

namespace Tessaly {
namespace {

class GalleryInMainWindow : public WindowFixture {
protected:
    /// Begins to open a file of 60 events with area_um = number of the event.
    void begin(const std::string& name) {
        SampleFileOptions options;
        options.events = 60;
        options.masks = options.traces = false;
        std::vector<double> numbers(60);
        std::iota(numbers.begin(), numbers.end(), 0.0);
        options.columns = {{"area_um", numbers}};
        window->openDataset(sample(name, options));
    }
    int load(const std::string& name) {
        begin(name);
        EXPECT_TRUE(QTest::qWaitFor([this] { return window->datasets().back()->featuresLoaded; }, 20000));
        return window->datasets().back()->id;
    }
    ImageGalleryWindow* open() {
        window->findChild<QAction*>("imageGalleryAction")->trigger();
        return window->toolWindows().imageGalleries().back();
    }
    static bool showsTiles(const ImageGalleryWindow* gallery, int count) {
        const auto* grid = gallery->findChild<GalleryGridWidget*>("galleryGrid");
        return QTest::qWaitFor([=] { return !grid->isPreparing() && grid->tileCount() == count; }, 20000);
    }
};

TEST_F(GalleryInMainWindow, FillsWhenItsDatasetHasLoadedAndFollowsItsFilters) {
    begin("treated");
    const ImageGalleryWindow* gallery = open(); // while the file loads
    EXPECT_TRUE(showsTiles(gallery, 0) || window->datasets().back()->featuresLoaded);
    if (gallery->state().datasetId < 0) {
        window->session().setActive(window->datasets().back()->id);
        gallery = open();
    }
    EXPECT_TRUE(showsTiles(gallery, 60));
    const int treated = window->activeDatasetId();
    // By a group, for this dataset and for another one.
    const int group = window->addFilterGroup("some");
    window->addRuleToGroup(group, rangeRule("area_um", 10, 19));
    window->setGroupEnabled(treated, group, true);
    EXPECT_TRUE(showsTiles(gallery, 10));
    const int control = load("control");
    EXPECT_EQ(gallery->state().datasetId, treated);
    window->setGroupEnabled(control, group, true);
    EXPECT_TRUE(showsTiles(gallery, 10));
    window->removeFilterGroup(group);
    EXPECT_TRUE(showsTiles(gallery, 60));
}

TEST_F(GalleryInMainWindow, AClickOnAPictureLeadsToItsEvent) {
    const int id = load("treated");
    const ImageGalleryWindow* gallery = open();
    EXPECT_TRUE(showsTiles(gallery, 60));
    auto* grid = gallery->findChild<GalleryGridWidget*>("galleryGrid");
    const QPoint place(90, 20); // in the second picture, each of which is 64 wide
    const int event = grid->eventAt(place);
    ASSERT_EQ(event, 1);
    QTest::mouseClick(grid, Qt::LeftButton, {}, place);
    EXPECT_EQ(window->panels().eventNumber->value(), event);
    EXPECT_EQ(window->findDatasetById(id)->currentEventIndex, event);
}

TEST_F(GalleryInMainWindow, GoesWithItsDatasetItsSessionOrTheProgram) {
    const QPointer<ImageGalleryWindow> empty = open();
    window->findChild<QAction*>("clearSessionAction")->trigger(); // nothing to clear: no question
    EXPECT_FALSE(empty.isNull());
    const int treated = load("treated");
    const QPointer<ImageGalleryWindow> removed = open();
    load("control");
    const QPointer<ImageGalleryWindow> cleared = open();
    EXPECT_EQ(window->toolWindows().imageGalleries().size(), 3U);
    window->session().remove(treated);
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    EXPECT_TRUE(removed.isNull());
    EXPECT_EQ(window->toolWindows().imageGalleries().size(), 2U);
    {
        const MessageBoxWatcher watcher(QMessageBox::Ok);
        window->findChild<QAction*>("clearSessionAction")->trigger();
        EXPECT_EQ(watcher.seen().size(), 1U);
    }
    EXPECT_TRUE(cleared.isNull() && empty.isNull());
    load("again");
    const QPointer<ImageGalleryWindow> last = open();
    window->close();
    EXPECT_TRUE(last.isNull());
}

} // namespace
} // namespace Tessaly
