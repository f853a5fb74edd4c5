// Calculations in the main window, and what the user may do while one runs. Holding the lock of the file library holds
// up a job at its next column or event; the window, on this thread, goes on.

#include "MessageBoxWatcher.h"
#include "UserActions.h"
#include "WindowFixture.h"

#include "core/DatasetEntry.h"
#include "io/VQDReader.h"
#include "plot/TracePlot.h"
#include "session/CalculationJobs.h"
#include "ui/MainPanels.h"
#include "ui/calculations/CalculationsDockWidget.h"
#include "ui/datasets/DatasetListWidget.h"
#include "ui/datasets/DatasetsPanel.h"
#include "ui/event/EventPanel.h"

#include <QAction>
#include <QCheckBox>
#include <QComboBox>
#include <QDockWidget>
#include <QProgressBar>
#include <QPushButton>
#include <QSpinBox>

#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

namespace Tessaly {
namespace {

/// A calculation as the user finds it, and what it leaves.
struct Way {
    int page;
    const char* applyToAll;
    const char* button;
    bool DatasetEntry::*flag;
    const char* feature;
};

const Way Ways[] = {
    {0, "modulusApplyToAll", "computeModulusButton", &DatasetEntry::emodApplied, "emodulus"},
    {1, "compensationApplyToAll", "compensateButton", &DatasetEntry::ctcApplied, "fl2_max_ctc"},
    {2, "refinementApplyToAll", "refineButton", &DatasetEntry::flRefinementApplied, "fl1_pos_rf"},
    {3, "fourierApplyToAll", "fourierButton", &DatasetEntry::fourierApplied, "deform_even"},
};

class CalculationWindowTest : public WindowFixture {
protected:
    void SetUp() override {
        WindowFixture::SetUp();
        window->panels().calculationsDock->raise();
    }

    static SampleFileOptions usual() {
        SampleFileOptions options;
        options.events = 300;
        options.gzip = true;
        options.textAttributes = {{"setup:medium", "water"}, {"fluorescence:channel 1 name", "525/50"}};
        options.numberAttributes = {
            {"setup:channel width", 20}, {"setup:flow rate", 0.16}, {"imaging:pixel size", 0.34}};
        return options;
    }
    void open(const std::string& name, const SampleFileOptions& options = usual()) {
        openAndWait(sample(name, options));
    }

    template <typename T>
    T* find(const char* name) {
        return window->findChild<T*>(QLatin1String(name));
    }
    DatasetListWidget& list() { return *window->panels().datasets->list(); }
    void showPage(int page) {
        auto* combo = find<QComboBox>("calculationCombo");
        while (combo->currentIndex() != page) {
            QTest::keyClick(combo, combo->currentIndex() < page ? Qt::Key_Down : Qt::Key_Up);
        }
    }
    void click(const char* name) {
        auto* button = find<QAbstractButton>(name);
        QTest::mouseClick(button, Qt::LeftButton, {}, QPoint(8, button->height() / 2));
    }
    void start(const Way& way, bool all) {
        showPage(way.page);
        if (find<QCheckBox>(way.applyToAll)->isChecked() != all) {
            click(way.applyToAll);
        }
        click(way.button);
    }
    bool isRunning() { return !find<QProgressBar>("calculationProgress")->isHidden(); }
    bool waitForEnd() {
        return QTest::qWaitFor([this] { return !isRunning(); }, 20000);
    }
    DatasetEntry& at(std::size_t row) { return *window->datasets().at(row); }
    std::size_t lengthOf(std::size_t row, const char* feature) { return at(row).reader->getFeature(feature).size(); }
};

TEST_F(CalculationWindowTest, TheUserGoesOnWhileACalculationRuns) {
    open("first");
    open("second");
    open("third");
    for (const Way& way : Ways) {
        SCOPED_TRACE(way.button);
        clickListRow(list(), 0);
        std::unique_lock lock(hdf5Mutex());
        start(way, true);
        ASSERT_TRUE(isRunning());
        EXPECT_FALSE(find<QPushButton>(way.button)->isEnabled());
        {
            MessageBoxWatcher boxes;
            chooseInContextMenu(list(), 1, "removeDatasetAction");
            ASSERT_EQ(boxes.seen().size(), 1U);
            EXPECT_EQ(boxes.seen()[0].title, "Cannot Remove");
            EXPECT_EQ(boxes.seen()[0].text, "A calculation is using this dataset.");
        }
        chooseInContextMenu(list(), 0, "duplicateDatasetAction"); // which makes it the active one
        clickListRow(list(), 1);
        QTest::keyClick(window->panels().eventNumber, Qt::Key_Up);
        EXPECT_NE(window->panels().event->tracePlot()->channels().size(), 0U);
        if (way.page >= 2) { // columns that are known need no file
            EXPECT_TRUE(isRunning());
            EXPECT_FALSE(find<QPushButton>(way.button)->isEnabled()) << "for another dataset neither";
            EXPECT_FALSE(at(1).*way.flag);
        }
        lock.unlock();
        ASSERT_TRUE(waitForEnd());
        EXPECT_TRUE(find<QPushButton>(way.button)->isEnabled());
        const std::size_t copy = window->datasets().size() - 1;
        EXPECT_EQ(at(copy).reader, at(0).reader);
        for (const std::size_t row : {std::size_t{0}, std::size_t{1}, std::size_t{2}, copy}) {
            // A copy that was made when all was over has the features but not the mark.
            EXPECT_TRUE(at(row).*way.flag || (row == copy && way.page < 2)) << row;
            EXPECT_EQ(lengthOf(row, way.feature), 300U) << row;
        }
        chooseInContextMenu(list(), static_cast<int>(copy), "removeDatasetAction");
        EXPECT_EQ(window->datasets().size(), 3U) << "nothing holds it any more";
    }
    EXPECT_TRUE(find<QPushButton>("assessQualityButton")->isEnabled());
    EXPECT_EQ(window->panels().event->tracePlot()->channels().front().traceName, "fl1_median_rf");
}

TEST_F(CalculationWindowTest, OneDatasetIsCalculatedAndAnotherOneRemovedMeanwhile) {
    open("first");
    open("second");
    clickListRow(list(), 0);
    for (const Way& way : Ways) {
        SCOPED_TRACE(way.button);
        std::unique_lock lock(hdf5Mutex());
        start(way, false);
        ASSERT_TRUE(isRunning());
        const MessageBoxWatcher boxes;
        chooseInContextMenu(list(), 1, "removeDatasetAction");
        EXPECT_EQ(boxes.seen().size(), 0U);
        ASSERT_EQ(window->datasets().size(), 1U);
        lock.unlock();
        ASSERT_TRUE(waitForEnd());
        EXPECT_TRUE(at(0).*way.flag);
        open(std::string("another for ") + way.button);
        EXPECT_FALSE(at(1).*way.flag);
        clickListRow(list(), 0);
    }
}

TEST_F(CalculationWindowTest, AClearedSessionAndAClosedWindowEndTheCalculation) {
    for (const bool closed : {false, true}) {
        for (const Way& way : Ways) {
            SCOPED_TRACE(std::string(way.button) + (closed ? ", closed" : ", cleared"));
            open("first");
            open("second");
            const std::weak_ptr<VQDReader> reader = at(0).reader;
            start(way, true);
            ASSERT_TRUE(isRunning());
            if (closed) {
                window->close();
                EXPECT_FALSE(isRunning());
                EXPECT_FALSE(at(0).*way.flag);
                window.reset();
                SetUp();
            } else {
                const MessageBoxWatcher boxes(QMessageBox::Ok);
                find<QAction>("clearSessionAction")->trigger();
                EXPECT_EQ(window->datasets().size(), 0U);
                EXPECT_FALSE(isRunning());
                EXPECT_FALSE(find<QPushButton>(way.button)->isEnabled());
            }
            QApplication::processEvents();
            EXPECT_TRUE(reader.expired());
        }
    }
    open("first");
    start(Ways[3], true);
    ASSERT_TRUE(waitForEnd());
    EXPECT_TRUE(at(0).fourierApplied);
}

TEST_F(CalculationWindowTest, AllMeansThoseThatHaveWhatItTakes) {
    SampleFileOptions dark = usual();
    dark.columns = {{"area_um", std::vector<double>(300, 90.0)}, {"deform", std::vector<double>(300, 0.05)}};
    dark.defaultColumns = dark.traces = false;
    SampleFileOptions blind = usual();
    blind.images = blind.masks = blind.traces = false;
    open("dark", dark);
    open("blind", blind);
    open("whole");
    for (const Way& way : Ways) {
        start(way, true);
        ASSERT_TRUE(waitForEnd());
    }
    struct Case {
        std::size_t row;
        bool refined, compensated, moduli, fourier;
    };
    for (const Case& c :
         {Case{0, false, false, true, true}, Case{1, false, true, true, false}, Case{2, true, true, true, true}}) {
        EXPECT_EQ(at(c.row).flRefinementApplied, c.refined) << c.row;
        EXPECT_EQ(at(c.row).ctcApplied, c.compensated) << c.row;
        EXPECT_EQ(at(c.row).emodApplied, c.moduli) << c.row;
        EXPECT_EQ(at(c.row).fourierApplied, c.fourier) << c.row;
        clickListRow(list(), static_cast<int>(c.row));
        EXPECT_EQ(find<QPushButton>("refineButton")->isEnabled(), c.refined) << c.row;
        EXPECT_EQ(find<QPushButton>("compensateButton")->isEnabled(), c.compensated) << c.row;
        EXPECT_EQ(find<QPushButton>("fourierButton")->isEnabled(), c.fourier) << c.row;
    }
}

} // namespace
} // namespace Tessaly
