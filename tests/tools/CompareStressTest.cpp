// Many datasets and many windows at once, changed, closed and removed while they draw: what stands in the end is what
// the session holds.

#include "CombineFixture.h"

#include "plot/ComparePlot.h"
#include "plot/PlainDotCurve.h"
#include "support/FilterRules.h"
#include "tools/gallery/GalleryGridWidget.h"
#include "tools/gallery/ImageGalleryWindow.h"
#include "ui/MessageBoxWatcher.h"

#include <QLabel>
#include <QScrollArea>
#include <QThreadPool>
#include <qwt_text.h>

#include <numeric>
#include <random>

namespace Tessaly {
namespace {

class CompareStressTest : public CombineFixture {
protected:
    ~CompareStressTest() override {
        combines.clear();
        galleries.clear();
        QThreadPool::globalInstance()->waitForDone();
    }

    /// A dataset with pictures and "area_um" = number of the event.
    DatasetEntry& addWithPictures(int events) {
        SampleFileOptions options;
        options.events = static_cast<std::size_t>(events);
        options.masks = options.traces = false;
        options.gzip = true;
        options.columns["area_um"].resize(options.events);
        std::iota(options.columns["area_um"].begin(), options.columns["area_um"].end(), 0.0);
        return builder.add(options);
    }
    void openWindows(int each) {
        for (int i = 0; i < each; ++i) {
            auto& combine = *combines.emplace_back(std::make_unique<CombinePlotWindow>(session(), host));
            for (const auto& entry : session().datasets()) {
                combine.addDataset(entry->id);
            }
            combine.show();
            session().setActive(session().datasetAt(i % session().datasetCount())->id);
            auto& gallery = *galleries.emplace_back(std::make_unique<ImageGalleryWindow>(session(), host));
            QObject::connect(&gallery, &ImageGalleryWindow::windowClosed,
                             [this](const ImageGalleryWindow* closed) { gone.push_back(closed); });
            gallery.show();
        }
    }
    /// Deletes the galleries that have closed themselves, as the main window does.
    void sweep() {
        for (const ImageGalleryWindow* closed : std::exchange(gone, {})) {
            std::erase_if(galleries, [closed](const auto& gallery) { return gallery.get() == closed; });
        }
    }
    std::vector<int> passing(const DatasetEntry& entry) {
        std::vector<int> all(entry.reader->eventCount());
        std::iota(all.begin(), all.end(), 0);
        return session().passingEvents(entry).value_or(all);
    }
    void expectUpToDate(CombinePlotWindow& combine) {
        combine.finishRefresh();
        ASSERT_EQ(combine.plots().size(), session().datasets().size());
        for (std::size_t i = 0; i < combine.plots().size(); ++i) {
            const DatasetEntry& entry = *session().findById(combine.model().datasets()[i].datasetId);
            EXPECT_EQ(combine.plots()[i]->fullTitle(), entry.displayName);
            std::size_t dots = 0;
            for (const QwtPlotItem* item : combine.plots()[i]->itemList()) {
                if (const auto* curve = dynamic_cast<const PlainDotCurve*>(item)) {
                    dots += curve->dataSize();
                }
            }
            EXPECT_EQ(dots, passing(entry).size());
        }
    }
    void expectUpToDate(const ImageGalleryWindow& gallery) {
        const DatasetEntry* entry = session().findById(gallery.state().datasetId);
        ASSERT_TRUE(entry);
        std::vector<int> shown = passing(*entry);
        const auto begin = static_cast<std::size_t>(gallery.state().page) * 100;
        const std::size_t count = std::min<std::size_t>(shown.size() - begin, 100);
        const auto* grid = gallery.findChild<GalleryGridWidget*>("galleryGrid");
        const auto* status = gallery.findChild<QLabel*>("galleryStatusLabel");
        ASSERT_TRUE(QTest::qWaitFor(
            [&] {
                return !grid->isPreparing() && grid->tileCount() == static_cast<int>(count) &&
                       (count == 0 || status->text().contains("cutout"));
            },
            60000));
        if (count > 0) {
            EXPECT_EQ(grid->eventAt({20, 20}), shown[begin]);
        }
    }
    void changeSomething(std::mt19937& random) {
        const auto pick = [&random](int count) { return static_cast<int>(random() % static_cast<unsigned>(count)); };
        DatasetEntry& entry = *session().datasetAt(pick(session().datasetCount()));
        switch (pick(6)) {
        case 0:
            entry.filter = EventFilter();
            entry.filter.addRule(rangeRule("area_um", pick(100), 100 + pick(100)));
            emit session().notices().eventsChanged();
            break;
        case 1:
            session().rename(entry.id, QStringLiteral("name %1").arg(pick(1000)));
            break;
        case 2:
            galleries[static_cast<std::size_t>(pick(static_cast<int>(galleries.size())))]->onNextPage();
            break;
        case 3:
            entry.reader->setFeature("userdef1", std::vector<double>(entry.reader->eventCount(), pick(9)));
            emit session().notices().columnsChanged(entry.id);
            break;
        case 4:
            emit session().notices().conditionsChanged();
            break;
        default:
            QTest::qWait(pick(30)); // some of it is drawn
        }
        QCoreApplication::processEvents();
    }

    std::vector<std::unique_ptr<CombinePlotWindow>> combines;
    std::vector<std::unique_ptr<ImageGalleryWindow>> galleries;
    std::vector<const ImageGalleryWindow*> gone;
};

TEST_F(CompareStressTest, ThirtyDatasetsInOneWindow) {
    for (int i = 0; i < 30; ++i) {
        add(40 + i, i);
    }
    click("combineAddAllButton");
    ASSERT_EQ(window->plots().size(), 30U); // 6 x 5
    const auto* area = part<QScrollArea>("combinePlots");
    QTRY_VERIFY(area->widget()->width() >= 6 * 300 && area->widget()->height() >= 5 * 250);
    EXPECT_EQ(window->plots()[29]->pos().y(), window->plots()[24]->pos().y());
    EXPECT_LT(window->plots()[23]->pos().y(), window->plots()[24]->pos().y());
    choose("colorModeCombo", 0);
    choose("contourModeCombo", 1);
    {
        MessageBoxWatcher agree(QMessageBox::Ok);
        choose("displayModeCombo", 1);
    }
    EXPECT_EQ(window->plots().size(), 31U);
    choose("displayModeCombo", 2);
    EXPECT_EQ(window->plots().size(), 1U);
    // Half of them go while the plots are drawn anew.
    for (int id = 0; id < 30; id += 2) {
        emit session().notices().eventsChanged();
        QCoreApplication::processEvents();
        session().remove(id);
    }
    choose("displayModeCombo", 0);
    ASSERT_EQ(window->plots().size(), 15U);
    EXPECT_EQ(window->plots()[14]->fullTitle(), "dataset 29");
}

TEST_F(CompareStressTest, TwelveWindowsFollowWhateverHappens) {
    for (int i = 0; i < 6; ++i) {
        addWithPictures(150 + 10 * i);
    }
    openWindows(6);
    std::mt19937 random(7);
    for (int round = 0; round < 4; ++round) {
        for (int i = 0; i < 12; ++i) {
            changeSomething(random);
        }
        // A dataset goes while its plots and pages are made, and with it its galleries; a window closes meanwhile.
        emit session().notices().eventsChanged();
        QCoreApplication::processEvents();
        session().remove(session().datasetAt(round % session().datasetCount())->id);
        sweep();
        emit session().notices().eventsChanged();
        QCoreApplication::processEvents();
        combines.back()->close();
        combines.pop_back();
        if (round == 0) {
            galleries.back()->close();
            sweep();
        }
    }
    ASSERT_EQ(session().datasetCount(), 2);
    ASSERT_EQ(combines.size(), 2U);
    ASSERT_EQ(galleries.size(), 1U); // of dataset 3
    for (const auto& combine : combines) {
        expectUpToDate(*combine);
    }
    for (const auto& gallery : galleries) {
        expectUpToDate(*gallery);
    }
}

} // namespace
} // namespace Tessaly
