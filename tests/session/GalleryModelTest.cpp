// Pages, sizes, contrasts and generations without a window. A reader is slow while the test holds the file library's
// lock; pictures tell their event by their grey.

#include "session/gallery/GalleryModel.h"

#include "SessionBuilder.h"

#include "io/Hdf5Library.h"
#include "support/FilterRules.h"

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QThreadPool>

#include <gtest/gtest.h>

#include <algorithm>
#include <numeric>
#include <optional>

namespace Tessaly {
namespace {

using Events = std::vector<int>;
using Pages = std::vector<Events>;

Events eventsFrom(int first, int count) {
    Events events(static_cast<std::size_t>(count));
    std::iota(events.begin(), events.end(), first);
    return events;
}

class GalleryModelTest : public testing::Test {
protected:
    ~GalleryModelTest() override {
        free();
        model.reset();
        QThreadPool::globalInstance()->waitForDone();
    }

    /// A dataset of 64 x 32 pictures with "area_um" = number of the event and the columns asked for.
    DatasetEntry& add(int events, Columns columns = {}, bool images = true) {
        SampleFileOptions options;
        options.events = static_cast<std::size_t>(events);
        options.defaultColumns = options.masks = options.traces = false;
        options.images = images;
        options.columns = std::move(columns);
        std::vector<double>& area = options.columns["area_um"];
        area.resize(options.events);
        std::iota(area.begin(), area.end(), 0.0);
        return builder.add(options);
    }

    void open() {
        model = std::make_unique<GalleryModel>(builder.session);
        QObject::connect(model.get(), &GalleryModel::pageMade, [this](const GalleryPage& page) {
            Events events;
            for (const GalleryTile& tile : page->tiles) {
                events.push_back(tile.eventId);
            }
            pages.push_back(events);
            last = page;
        });
        QObject::connect(model.get(), &GalleryModel::datasetGone, [this] { ++gone; });
    }

    static bool waitFor(const std::function<bool()>& condition) {
        const QDeadlineTimer deadline(20000);
        while (!condition() && !deadline.hasExpired()) {
            QCoreApplication::processEvents(QEventLoop::AllEvents, 20);
        }
        return condition();
    }
    /// Until nothing is under way, news included.
    void settle() {
        QCoreApplication::processEvents();
        EXPECT_TRUE(waitFor([this] { return !model->isBusy() && !model->state().autoRunning; }));
        QCoreApplication::processEvents();
    }

    /// From now on no picture can be read, until free().
    void hold() { lock.emplace(); }
    void free() { lock.reset(); }

    void filter(DatasetEntry& dataset, double minimum, double maximum) {
        dataset.filter.setEnabled(true);
        dataset.filter.addRule(rangeRule("area_um", minimum, maximum));
        emit builder.session.notices().eventsChanged();
    }

    SessionBuilder builder;
    std::unique_ptr<GalleryModel> model;
    Pages pages; ///< as they were handed out
    GalleryPage last;
    int gone = 0;
    std::optional<Hdf5Lock> lock;
};

TEST_F(GalleryModelTest, PagesHoldTheEventsThatPassInTheirOrder) {
    DatasetEntry& dataset = add(230);
    builder.session.setActive(dataset.id);
    open();
    settle();
    EXPECT_EQ(pages, Pages{eventsFrom(0, 100)});
    EXPECT_EQ(model->pageText(), "1 / 3");
    EXPECT_EQ(model->statusText(), "230 events · cutout 64 × 32 px"); // of the pictures
    EXPECT_EQ(model->nameText(), dataset.displayName);
    model->setPage(2);
    settle();
    EXPECT_EQ(pages.back(), eventsFrom(200, 30));
    model->setPage(3);
    model->setPage(99);
    EXPECT_EQ(model->state().page, 2);
    EXPECT_FALSE(model->isBusy());
    model->setPage(-7);
    settle();
    EXPECT_EQ(model->state().page, 0);
    model->setPage(1);
    model->setPageSize(25);
    settle();
    EXPECT_EQ(model->pageText(), "1 / 10");
    EXPECT_EQ(pages.back(), eventsFrom(0, 25));
    model->setPage(4);
    filter(dataset, 30, 69); // 40 events
    filter(dataset, 30, 200);
    settle();
    EXPECT_EQ(model->pageText(), "1 / 2");
    EXPECT_EQ(pages.back(), eventsFrom(30, 25));
    filter(dataset, 1000, 2000);
    settle();
    EXPECT_EQ(model->pageText(), "0 / 0");
    EXPECT_EQ(model->statusText(), "No events to display.");
    EXPECT_EQ(pages.back(), Events());
    dataset.filter.setEnabled(false);
    emit builder.session.notices().eventsChanged();
    settle();
    EXPECT_EQ(model->state().eventIds.size(), 230U);
}

TEST_F(GalleryModelTest, QuickChangesDuringARenderMakeOneMorePageAndTheOldOneIsNeverShown) {
    builder.session.setActive(add(500).id);
    open();
    settle();
    pages.clear();
    hold();
    model->setPage(1);
    const int running = model->state().renderGeneration;
    EXPECT_EQ(model->statusText(), "Rendering…");
    model->setPage(2);
    model->setPage(3);
    model->setPage(4);
    EXPECT_TRUE(model->state().rerenderPending);
    EXPECT_EQ(model->state().renderGeneration, running + 3);
    QCoreApplication::processEvents();
    EXPECT_TRUE(pages.empty());
    free();
    settle();
    EXPECT_EQ(pages, Pages{eventsFrom(400, 100)});
    EXPECT_FALSE(model->state().rerenderPending);
    EXPECT_EQ(model->state().renderGeneration, running + 4);
    EXPECT_EQ(model->statusText(), "500 events · cutout 64 × 32 px");
}

TEST_F(GalleryModelTest, ARunningPageNeverFillsAPageThatWasJustEmptied) {
    DatasetEntry& dataset = add(50);
    DatasetEntry& other = add(20);
    struct Change {
        const char* name;
        std::function<void()> make;
    };
    const std::vector<Change> changes{
        {"no events", [&] { filter(dataset, 1000, 2000); }},
        {"unknown dataset", [&] { model->setDataset(4711); }},
        {"no dataset", [&] { model->setDataset(-1); }},
        {"contrast not found yet", [&] { model->setContrastMode(GalleryContrast::Auto, 0, 255); }},
    };
    for (const Change& change : changes) {
        SCOPED_TRACE(change.name);
        dataset.filter = {};
        builder.session.setActive(dataset.id);
        pages.clear();
        open();
        settle();
        hold();
        model->setShowIds(false); // a page is on its way
        pages.clear();
        const int before = model->state().renderGeneration;
        change.make();
        EXPECT_TRUE(waitFor([this] { return !pages.empty(); }));
        EXPECT_EQ(pages, Pages{Events()});
        EXPECT_GT(model->state().renderGeneration, before);
        free();
        settle();
        if (model->state().contrastMode == GalleryContrast::Auto) {
            EXPECT_EQ(pages.back(), eventsFrom(0, 50));
            pages.pop_back();
        }
        EXPECT_EQ(pages, Pages{Events()}) << "the page that was running";
    }
    EXPECT_EQ(other.id, builder.session.datasetAt(1)->id);
}

TEST_F(GalleryModelTest, AnotherDatasetsPageTakesTheRunningOnesPlace) {
    DatasetEntry& first = add(50);
    DatasetEntry& second = add(20);
    builder.session.setActive(first.id);
    open();
    hold(); // before or while the first page is made
    model->setDataset(second.id);
    free();
    settle();
    EXPECT_EQ(pages, Pages{eventsFrom(0, 20)});
    // Removing the record doesn't pull the reader away from under the page.
    hold();
    model->setPageSize(25);
    builder.session.remove(second.id);
    EXPECT_EQ(gone, 1);
    free();
    model->stop();
    EXPECT_EQ(pages.size(), 1U);
}

TEST_F(GalleryModelTest, CutoutsComeFromSizesElseFromTheFirstPictureElseFromNowhere) {
    struct Case {
        const char* name;
        Columns columns;
        bool images;
        int width, height;
    };
    // By hand: ceil(size / 0.34) + 10, made even. Pictures are 64 x 32.
    const std::vector<Case> cases{
        {"both", {{"size_x", {17, 17, 17}}, {"size_y", {10, 11, 12}}}, true, 60, 44}, // 60; ceil(32.4) + 10 = 43
        {"one", {{"size_x", {18, 18, 18}}}, true, 64, 32},                            // 63
        {"none", {}, true, 64, 32},
        {"zero", {{"size_x", {0, 0, 0}}, {"size_y", {-1, -1, -1}}}, true, 64, 32},
        {"no pictures", {}, false, 64, 64},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        builder.session.setActive(add(3, c.columns, c.images).id);
        open();
        settle();
        EXPECT_EQ(model->state().cutoutW, c.width);
        EXPECT_EQ(model->state().cutoutH, c.height);
        EXPECT_EQ(model->hasImages(), c.images);
        EXPECT_EQ(pages.back(), eventsFrom(0, 3));
    }
}

TEST_F(GalleryModelTest, SizesSetByHandStayUntilTheyAreAutomaticAgain) {
    DatasetEntry& dataset = add(3, {{"size_x", {17, 17, 17}}, {"size_y", {10, 10, 10}}});
    builder.session.setActive(dataset.id);
    open();
    model->setCutout(100, 100);
    EXPECT_EQ(model->state().cutoutW, 60) << "only while the size isn't automatic";
    model->setMargin(0);
    EXPECT_EQ(std::pair(model->state().cutoutW, model->state().cutoutH), std::pair(50, 30));
    model->setAutoCutout(false);
    const int before = model->state().renderGeneration;
    model->setMargin(20);
    EXPECT_EQ(model->state().renderGeneration, before);
    EXPECT_EQ(model->state().cutoutW, 50);
    model->setCutout(9, 11);
    filter(dataset, 0, 1);
    settle();
    EXPECT_EQ(last->tiles.at(1).width, 9);
    EXPECT_EQ(last->tiles.at(1).height, 11);
    model->setAutoCutout(true);
    settle();
    EXPECT_EQ(std::pair(last->tiles.at(1).width, last->tiles.at(1).height), std::pair(90, 70));
}

TEST_F(GalleryModelTest, AutomaticContrastIsFoundOnceForTheEventsAndAnewForOthers) {
    DatasetEntry& dataset = add(300);
    builder.session.setActive(dataset.id);
    open();
    settle();
    EXPECT_EQ(model->state().autoGeneration, 1) << "not before it is wanted, but the events are new";
    hold();
    model->setContrastMode(GalleryContrast::Auto, 0, 255);
    EXPECT_TRUE(model->state().autoRunning);
    EXPECT_EQ(model->statusText(), "Computing auto-contrast…");
    EXPECT_EQ(pages.back(), Events());
    // Other events make it stale, though the task runs on.
    filter(dataset, 0, 99);
    EXPECT_TRUE(waitFor([this] { return model->state().eventIds.size() == 100; }));
    EXPECT_EQ(model->state().autoGeneration, 3);
    free();
    settle();
    EXPECT_TRUE(model->state().autoValid);
    EXPECT_EQ(model->state().autoGeneration, 4) << "a second task for the events of now";
    EXPECT_EQ(pages.back(), eventsFrom(0, 100));
    const GalleryAutoContrastResult expected = findAutoContrast(*dataset.reader, eventsFrom(0, 100), 0);
    EXPECT_EQ(std::pair(model->state().autoLo, model->state().autoHi), std::pair(expected.lo, expected.hi));
    EXPECT_GT(expected.lo, 0); // or the next line says nothing
    model->setPageSize(25);
    settle();
    EXPECT_EQ(model->state().autoGeneration, 4) << "another page needs no other contrast";
    const auto greys = [this] {
        const auto [low, high] = std::ranges::minmax(last->tiles.at(0).pixels);
        return std::pair<int, int>(low, high);
    };
    EXPECT_EQ(greys(), std::pair(0, 255));
    model->setContrastMode(GalleryContrast::FullRange, 0, 255);
    settle();
    EXPECT_GT(greys().first, 0);
    model->setManualContrast(254, 255);
    EXPECT_FALSE(model->isBusy()) << "limits that aren't in force";
    model->setContrastMode(GalleryContrast::Manual, 254, 255);
    settle();
    EXPECT_EQ(greys(), std::pair(0, 0));
    model->setManualContrast(1, 2);
    settle();
    EXPECT_EQ(greys(), std::pair(255, 255));
}

TEST_F(GalleryModelTest, FollowsTheNewsOfItsDatasetOnly) {
    DatasetEntry& first = add(10);
    DatasetEntry& second = add(20);
    second.featuresLoaded = false;
    open();
    EXPECT_EQ(model->nameText(), "(no dataset)");
    builder.session.setActive(first.id);
    settle();
    EXPECT_EQ(model->state().datasetId, -1);
    model->setFollowActive(true);
    EXPECT_EQ(model->state().datasetId, first.id);
    builder.session.setActive(second.id);
    settle();
    EXPECT_EQ(model->nameText(), second.displayName);
    EXPECT_EQ(model->statusText(), "No events to display."); // it still loads
    builder.session.setReady(second.id);
    settle();
    EXPECT_EQ(pages.back(), eventsFrom(0, 20));
    builder.session.setActive(-1);
    EXPECT_EQ(model->state().datasetId, second.id);
    model->setFollowActive(false);
    builder.session.setActive(first.id);
    EXPECT_EQ(model->state().datasetId, second.id);
    builder.session.rename(first.id, "one");
    builder.session.rename(second.id, "two");
    EXPECT_EQ(model->nameText(), "two");
    const int before = model->state().renderGeneration;
    emit builder.session.notices().columnsChanged(second.id);
    settle();
    EXPECT_EQ(model->state().renderGeneration, before) << "no rule asks for the column";
    second.filter.setEnabled(true);
    second.filter.addRule(rangeRule("userdef1", 5, 6));
    emit builder.session.notices().columnsChanged(first.id);
    settle();
    EXPECT_EQ(model->state().eventIds.size(), 20U);
    std::vector<double> computed(20);
    std::iota(computed.begin(), computed.end(), 0.0);
    second.reader->setFeature("userdef1", std::move(computed));
    emit builder.session.notices().columnsChanged(second.id);
    settle();
    EXPECT_EQ(pages.back(), (Events{5, 6}));
    const int secondId = second.id;
    builder.session.remove(first.id);
    EXPECT_EQ(gone, 0);
    builder.session.remove(secondId);
    EXPECT_EQ(gone, 1);
    model->setDataset(secondId);
    EXPECT_EQ(model->nameText(), "(dataset not found)");
}

TEST_F(GalleryModelTest, ManyChangesInOneTurnAreFollowedOnce) {
    DatasetEntry& dataset = add(100);
    builder.session.setActive(dataset.id);
    open();
    settle();
    const int before = model->state().renderGeneration;
    for (int i = 0; i < 50; ++i) {
        emit builder.session.notices().eventsChanged();
    }
    filter(dataset, 7, 9);
    settle();
    EXPECT_EQ(model->state().renderGeneration, before + 1);
    EXPECT_EQ(pages.back(), (Events{7, 8, 9}));
    // After the end nothing is followed, and nothing is handed out.
    hold();
    model->setShowIds(false);
    emit builder.session.notices().eventsChanged();
    pages.clear();
    free();
    model->stop();
    settle();
    EXPECT_TRUE(pages.empty());
}

TEST_F(GalleryModelTest, PagesThatWouldTakeTooMuchMemoryAreRefused) {
    const std::vector<double> sizes(400, 680.0); // 2000 pixels
    builder.session.setActive(add(400, {{"size_x", sizes}, {"size_y", sizes}}).id);
    open();
    model->setMargin(0);
    settle();
    EXPECT_EQ(model->state().cutoutW, 2000);
    EXPECT_EQ(model->statusText(), "Cutouts of 2000 × 2000 px are too large for a page of 100.");
    EXPECT_EQ(pages.back(), Events());
    model->setPageSize(25);
    settle();
    EXPECT_EQ(pages.back(), eventsFrom(0, 25));
    EXPECT_EQ(model->statusText(), "400 events · cutout 2000 × 2000 px");
}

} // namespace
} // namespace Tessaly
