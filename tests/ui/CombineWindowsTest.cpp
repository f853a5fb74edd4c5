#include "DialogUser.h"
#include "PlotFixture.h"
#include "WindowFixture.h"

#include "plot/ComparePlot.h"
#include "session/document/SessionDocument.h"
#include "tools/combine/CombinePlotWindow.h"
#include "ui/ToolWindows.h"
#include "ui/datasets/DatasetListWidget.h"

#include <QCheckBox>
#include <QPointer>
#include <QRadioButton>
#include <qwt_plot_marker.h>
#include <qwt_text.h>

#include <gtest/gtest.h>

namespace Tessaly {
namespace {

/// Combine windows as the main window opens, feeds and closes them.
class CombineWindowsTest : public WindowFixture {
protected:
    void SetUp() override {
        WindowFixture::SetUp();
        for (const char* name : {"treated", "control"}) {
            SampleFileOptions options;
            options.events = 30;
            options.columns["temp"] = std::vector<double>(30, 31.0);
            options.textAttributes["setup:medium"] = "Water";
            options.numberAttributes["setup:temperature"] = 22.0;
            openAndWait(sample(name, options));
        }
    }

    CombinePlotWindow* open() {
        window->findChild<QAction*>("combinePlotAction")->trigger();
        return windows().back();
    }
    const std::vector<CombinePlotWindow*>& windows() const { return window->toolWindows().combinePlots(); }
    int id(int row) const { return window->datasets()[static_cast<std::size_t>(row)]->id; }
    static void finish(CombinePlotWindow& combine) {
        QApplication::processEvents();
        combine.finishRefresh();
    }

    /// The moduli and ends of the isoelastic lines.
    static QStringList linesOf(const QwtPlot& plot) {
        QStringList lines;
        for (const QwtPlotItem* item : plot.itemList(QwtPlotItem::Rtti_PlotMarker)) {
            const auto* label = static_cast<const QwtPlotMarker*>(item);
            if (label->z() == -9.0) {
                lines << QStringLiteral("%1 at %2, %3")
                             .arg(label->label().text())
                             .arg(label->xValue())
                             .arg(label->yValue());
            }
        }
        return lines;
    }
};

TEST_F(CombineWindowsTest, RowsOfTheMainListCanBeDropped) {
    CombinePlotWindow* first = open();
    CombinePlotWindow* second = open();
    EXPECT_TRUE(first->isVisible() && second->isVisible() && !first->parent());
    // A new row shows what is shown in the main window.
    window->session().setActive(id(1));
    auto* combo = window->findChild<QComboBox*>("xFeatureCombo");
    combo->setCurrentIndex(combo->findData("bright_avg"));
    auto* list = window->findChild<DatasetListWidget*>();
    const std::unique_ptr<QMimeData> data(list->model()->mimeData({list->model()->index(1, 0)}));
    QDragEnterEvent enter(QPoint(500, 300), Qt::CopyAction, data.get(), Qt::LeftButton, Qt::NoModifier);
    QApplication::sendEvent(second, &enter);
    QDropEvent drop(QPoint(500, 300), Qt::CopyAction, data.get(), Qt::LeftButton, Qt::NoModifier);
    QApplication::sendEvent(second, &drop);
    EXPECT_TRUE(drop.isAccepted());
    finish(*second);
    ASSERT_EQ(second->plots().size(), 1U);
    EXPECT_EQ(second->model().datasets()[0].datasetId, id(1));
    EXPECT_EQ(second->model().datasets()[0].xFeatureName, "bright_avg");
    EXPECT_TRUE(first->plots().empty());
}

TEST_F(CombineWindowsTest, TheyComeBackWithTheSession) {
    CombinePlotWindow* first = open();
    CombinePlotWindow* second = open();
    first->addDataset(id(0));
    second->addDataset(id(1));
    second->addDataset(id(0));
    auto& tools = const_cast<ToolWindows&>(window->toolWindows()); // as who loads sessions
    EXPECT_TRUE(tools.anyForSession());
    SessionDocument document;
    tools.saveInto(document, {{id(0), 0}, {id(1), 1}});
    ASSERT_EQ(document.combineWindows.size(), 2);
    tools.closeAll();
    EXPECT_FALSE(tools.anyForSession());
    tools.reopen(document, {{0, id(0)}, {1, id(1)}});
    ASSERT_EQ(windows().size(), 2U);
    finish(*windows()[0]);
    finish(*windows()[1]);
    EXPECT_EQ(windows()[0]->plots().size(), 1U);
    ASSERT_EQ(windows()[1]->plots().size(), 2U);
    EXPECT_EQ(windows()[1]->model().datasets()[0].datasetId, id(1));
    EXPECT_TRUE(windows()[1]->isVisible());
}

TEST_F(CombineWindowsTest, TwoWindowsAreSavedAndLoadedThroughTheMenus) {
    const auto click = [](QWidget* in, const char* name) {
        auto* box = in->findChild<QAbstractButton*>(name);
        QTest::mouseClick(box, Qt::LeftButton, {}, {8, box->height() / 2});
    };
    for (int i = 0; i < 2; ++i) {
        open();
    }
    windows()[0]->addDataset(id(0));
    click(windows()[0], "showCountCheckBox");
    click(windows()[0], "manualArraySizeCheckBox");
    windows()[1]->addDataset(id(1));
    windows()[1]->addDataset(id(0));
    for (const char* name : {"syncAxesCheckBox", "syncFeaturesCheckBox", "showLegendCheckBox"}) {
        click(windows()[1], name);
    }
    QTest::keyClick(windows()[1]->findChild<QComboBox*>("displayModeCombo"), Qt::Key_End);
    window->findChild<QAction*>("imageGalleryAction")->trigger();
    const auto states = [this] {
        std::vector<QJsonObject> found;
        for (CombinePlotWindow* each : windows()) {
            finish(*each);
            found.push_back(each->sessionState({{id(0), 0}, {id(1), 1}}));
        }
        return found;
    };
    const std::vector<QJsonObject> before = states();
    ASSERT_EQ(before.size(), 2U);
    EXPECT_EQ(before[1]["displayMode"].toInt(), 2);
    EXPECT_GT(before[1]["xMax"].toDouble(), before[1]["xMin"].toDouble());

    DialogUser user;
    const QString file = QString::fromStdString(folder.file("two.TSY"));
    user.file(file);
    window->findChild<QAction*>("saveSessionAction")->trigger();
    EXPECT_EQ(user.takeSeen(), QStringList{"Save Session"});
    // Over the session that is open, then into a fresh program.
    for (const bool fresh : {false, true}) {
        if (fresh) {
            window = std::make_unique<MainWindow>();
            window->show();
        } else {
            user.press(QMessageBox::Yes);
        }
        user.file(file);
        window->findChild<QAction*>("loadSessionAction")->trigger();
        ASSERT_TRUE(QTest::qWaitFor([this] { return !window->sessionLoading() && windows().size() == 2; }, 20000));
        EXPECT_EQ(states(), before) << fresh;
        EXPECT_EQ(windows()[0]->plots().size(), 1U);
        EXPECT_EQ(windows()[1]->plots().size(), 1U); // both datasets in it
        EXPECT_EQ(windows()[1]->model().datasets()[0].datasetId, id(1));
        EXPECT_TRUE(windows()[0]->isVisible() && windows()[1]->isVisible());
        EXPECT_TRUE(window->toolWindows().imageGalleries().empty());
        user.takeSeen();
    }
}

TEST_F(CombineWindowsTest, IsoelasticsAreThoseOfTheMainPlot) {
    window->session().setActive(id(0));
    for (const auto& [name, feature] : {std::pair("xFeatureCombo", "area_um"), {"yFeatureCombo", "deform"}}) {
        auto* combo = window->findChild<QComboBox*>(name);
        combo->setCurrentIndex(combo->findData(feature));
    }
    window->findChild<QCheckBox*>("isoelasticsCheck")->click();
    window->findChild<QCheckBox*>("isoelasticLabelsCheck")->click();
    CombinePlotWindow* combine = open();
    combine->addDataset(id(0));
    combine->findChild<QCheckBox*>("isoelasticsCheckBox")->click();
    combine->findChild<QCheckBox*>("isoLabelsCheckBox")->click();
    finish(*combine);
    const auto* main = window->findChild<ScatterPlot*>();
    const QStringList ofTheFile = linesOf(*main);
    EXPECT_FALSE(ofTheFile.isEmpty());
    for (const auto& [source, isOwn] :
         {std::pair("temperatureManual", true), {"temperatureEvent", false}, {"temperatureMeta", false}}) {
        window->findChild<QRadioButton*>(source)->click();
        window->findChild<QDoubleSpinBox*>("temperatureSpinBox")->setValue(35.0);
        finish(*combine);
        const QStringList lines = linesOf(*combine->plots().front());
        EXPECT_EQ(lines, linesOf(*main)) << source;
        EXPECT_EQ(lines != ofTheFile, isOwn) << source;
    }
}

TEST_F(CombineWindowsTest, TheyGoWithTheSession) {
    const QPointer<CombinePlotWindow> first = open();
    const QPointer<CombinePlotWindow> second = open();
    for (CombinePlotWindow* each : windows()) {
        each->addDataset(id(0));
        each->addDataset(id(1));
    }
    QApplication::processEvents(); // they prepare their plots
    first->close();
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    EXPECT_TRUE(first.isNull());
    EXPECT_EQ(windows().size(), 1U);
    window->session().remove(id(0));
    EXPECT_EQ(second->model().count(), 1);
    emit window->session().notices().eventsChanged();
    QApplication::processEvents();
    window->session().clear();
    EXPECT_TRUE(second.isNull());
    EXPECT_TRUE(windows().empty());
}

} // namespace
} // namespace Tessaly
