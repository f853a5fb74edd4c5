#pragma once

#include "calc/emodulus/EModulus.h"
#include "io/VQDReader.h"
#include "plot/ScatterPlot.h"
#include "session/Session.h"
#include "support/SampleFile.h"
#include "support/TemporaryFolder.h"
#include "ui/calculations/CalculationsDockWidget.h"
#include "ui/event/EventController.h"
#include "ui/event/EventPanel.h"
#include "ui/filters/FilterController.h"
#include "ui/filters/FilterDockWidget.h"
#include "ui/filters/PolygonController.h"
#include "ui/plot/PlotController.h"
#include "ui/plot/PlotSettingsPanel.h"

#include <QApplication>
#include <QComboBox>
#include <QSpinBox>
#include <QTest>
#include <QVBoxLayout>
#include <QWidget>

#include <gtest/gtest.h>

#include <map>
#include <memory>
#include <string>
#include <vector>

namespace Tessaly {

/// A session with the plot and its controls in a plain window, without the main window and its docks.
class PlotFixture : public testing::Test {
protected:
    using Columns = std::map<std::string, std::vector<double>>;

    PlotFixture() {
        auto* layout = new QVBoxLayout(&window);
        for (QWidget* part : std::initializer_list<QWidget*>{&controls, &number, &plot, &filters, &panel}) {
            layout->addWidget(part);
        }
        window.resize(900, 1000);
        window.show();
        EXPECT_TRUE(QTest::qWaitForWindowActive(&window));
    }

    ~PlotFixture() override {
        for (QWidget* part : std::initializer_list<QWidget*>{&controls, &number, &plot, &filters, &panel}) {
            part->setParent(nullptr); // they aren't the window's to delete
        }
    }

    /// Adds a dataset over a small file; it still loads until setReady().
    DatasetEntry& add(const Columns& columns, bool ready = true) {
        SampleFileOptions options;
        options.events = columns.begin()->second.size();
        options.columns = columns;
        options.defaultColumns = false;
        return add(options, ready);
    }
    /// The same with whatever a file may hold.
    DatasetEntry& add(const SampleFileOptions& options, bool ready) {
        auto entry = session.newEntry();
        entry->filePath = folder.file(std::to_string(entry->id) + ".vqd");
        writeSampleFile(entry->filePath, options);
        entry->reader = std::make_shared<VQDReader>();
        EXPECT_TRUE(entry->reader->open(entry->filePath));
        entry->metadata = entry->reader->readMetadata();
        entry->displayName = QStringLiteral("dataset %1").arg(entry->id);
        entry->featuresLoaded = ready;
        return session.append(std::move(entry));
    }

    template <typename T>
    T* find(const char* name) {
        return window.findChild<T*>(name);
    }

    /// Takes a row of a combo box with the keys.
    void choose(const char* name, int row) {
        auto* combo = find<QComboBox>(name);
        ASSERT_LT(row, combo->count()) << name;
        while (combo->currentIndex() != row) {
            QTest::keyClick(combo, combo->currentIndex() < row ? Qt::Key_Down : Qt::Key_Up);
        }
    }
    void chooseFeature(const char* name, const char* key) { choose(name, find<QComboBox>(name)->findData(key)); }

    void clickPoint(double x, double y) {
        QApplication::processEvents();
        QTest::mouseClick(plot.canvas(), Qt::LeftButton, {}, plot.toCanvas({x, y}).toPoint());
    }

    TemporaryFolder folder;
    QWidget window;
    ScatterPlot plot;
    PlotSettingsPanel controls;
    QSpinBox number;
    FilterDockWidget filters;
    EventPanel panel;
    CalculationsDockWidget conditions;

    Session session;
    EModulus emodulus;
    PolygonController polygons{session, filters, plot, controller, nullptr};
    FilterController filterController{session, filters, nullptr};
    EventController events{session, plot, panel, number, nullptr};
    PlotController controller{session, emodulus, plot, controls, conditions, &window};
};

} // namespace Tessaly
